/*
 * morlin_util.h - the token utility library: names of Cryptoki constants,
 * attribute sets, attribute classification and the helpers built on them.
 * Plain C, for any C or C++ code that links libmorlin_util.a.
 *
 * Nothing here raises or reports beyond its return value: a CK_RV, a pointer
 * that is null for nothing, or all ones (-1) where a number is asked for.
 */
#ifndef MORLIN_UTIL_H
#define MORLIN_UTIL_H

#include "cryptoki.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- name maps (strmap) ------------------------------------------------------ */

/* One row of a name table: a Cryptoki value and the text shown for it. */
typedef struct StrMapEntry {
    CK_ULONG value;
    const char* name;
} StrMapEntry;

/* The tables, constant for ever. A lookup takes the first row that matches,
 * so row order decides which of two names of one value is shown. The searched
 * rows are counted below; all tables but KdfKDFTable carry one more row after
 * them, value 0 and a null name, which no lookup reaches. */
extern const StrMapEntry ObjClassTable[];
extern const StrMapEntry KeyTypeTable[];
extern const StrMapEntry AttributeTable[];
extern const StrMapEntry MechanismTable[];
extern const StrMapEntry SesStateTable[];
extern const StrMapEntry ErrorTable[];
extern const StrMapEntry KdfKDFTable[];

#define OBJ_CLASS_TABLE_ROWS 12
#define KEY_TYPE_TABLE_ROWS 29
#define ATTRIBUTE_TABLE_ROWS 137
#define MECHANISM_TABLE_ROWS 344
#define SES_STATE_TABLE_ROWS 5
#define ERROR_TABLE_ROWS 162
#define KDF_TABLE_ROWS 29

/* Value to text. The result is never freed: it is a table's name, or, for a
 * value without a row, "Vendor defined (0x...)" when bit 31 is set and
 * "UNKNOWN (0x...)" otherwise, formatted into one static 256-byte buffer that
 * all seven share and the next fall-back in any thread overwrites. */
const char* strObjClass(CK_OBJECT_CLASS value);
const char* strKeyType(CK_KEY_TYPE value);
const char* strAttribute(CK_ATTRIBUTE_TYPE value);
const char* strMechanism(CK_MECHANISM_TYPE value);
const char* strSesState(CK_STATE value);
const char* strError(CK_RV value);
/* As above; the _SES_KDF codes carry a modifier in their low 16 bits, which
 * is ignored for them alone. */
const char* strKDF(CK_ULONG value);

/* Text to value: an optional prefix ("CKO_", "CKK_", "CKA_", "CKM_", "CKR_",
 * "CKD_"; "CKM_" for session states too) is taken off once, then the rest is
 * compared byte for byte with the table's names. All ones if none is equal. */
CK_OBJECT_CLASS valObjClass(const char* text);
CK_KEY_TYPE valKeyType(const char* text);
CK_ATTRIBUTE_TYPE valAttribute(const char* text);
CK_MECHANISM_TYPE valMechanism(const char* text);
CK_STATE valSesState(const char* text);
CK_RV valError(const char* text);
CK_ULONG valKDF(const char* text);

/* ---- attribute search and access (findattr, gsattr) -------------------------- */

/* A list of attribute rows on the heap. Each non-null pValue is a block the
 * set owns; rows are in no particular order. */
typedef struct AttributeSet {
    CK_ATTRIBUTE* attributes;
    CK_ULONG count;
} AttributeSet;

/* A search for this type matches the first row of any list. */
#define FIND_ANY_ATTRIBUTE 0xFFFFUL
/* The token library's older name of the check value; a search for it that
 * finds no exact row takes a CKA_CHECK_VALUE row instead. */
#ifndef CKA_CHECK_VALUE_DEPRECATED
#define CKA_CHECK_VALUE_DEPRECATED 0x80000103UL
#endif

/* The first row of the type, or null (also for a null array or count 0). */
CK_ATTRIBUTE* FindAttribute(CK_ATTRIBUTE_TYPE type, CK_ATTRIBUTE* pAttributes, CK_ULONG count);
/* The same over a set; null for a null or empty set. */
CK_ATTRIBUTE* FindAttr(CK_ATTRIBUTE_TYPE type, const AttributeSet* set);

/* Reads one attribute of a token object into pValue (bufferLen bytes). The
 * length the token reports goes to *pValueLen if that is not null; with
 * bufferLen 0 nothing more happens. A value longer than bufferLen gives
 * CKR_ATTRIBUTE_TYPE_INVALID and leaves pValue unwritten. */
CK_RV GetAttr(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject, CK_ATTRIBUTE_TYPE type, CK_VOID_PTR pValue,
              CK_ULONG bufferLen, CK_ULONG_PTR pValueLen);
/* Writes one attribute of a token object. */
CK_RV SetAttr(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject, CK_ATTRIBUTE_TYPE type, CK_VOID_PTR pValue,
              CK_ULONG valueLen);

/* ---- attribute classification (attrtst) -------------------------------------- */
/* Numbers are stored in host byte order, 1, 2, 4 or 8 bytes wide; the row's
 * ulValueLen is the only mark of the width. Truth values are 1 or 0. */

/* The type holds a flag, and the row 1 to 8 bytes. */
int isBooleanAttr(const CK_ATTRIBUTE* pAttr);
/* The type holds an enumeration (class, certificate, key, feature type), and
 * the row 1 to 8 bytes. */
int isEnumeratedAttr(const CK_ATTRIBUTE* pAttr);
/* The type holds a number, whatever the width. */
int isNumericAttrType(CK_ATTRIBUTE_TYPE type);
/* The type holds a number and the row 1 to 8 bytes; a mechanism list instead
 * any non-zero multiple of 8. */
int isNumericAttr(const CK_ATTRIBUTE* pAttr);
/* Whether the row, of an object that set describes, holds a secret. */
int isSensitiveAttr(const AttributeSet* set, const CK_ATTRIBUTE* pAttr);
/* The value as an unsigned number; all ones for no row, no value or a width
 * other than 1, 2, 4 or 8. */
CK_ULONG numAttr(const CK_ATTRIBUTE* pAttr);
/* The same as a signed 32-bit number; 4 and 8 bytes both give the first four
 * bytes of the value. -1 when unreadable. */
int intAttr(const CK_ATTRIBUTE* pAttr);
/* numAttr and intAttr of the row that FindAttribute finds; -1 for no row. */
CK_ULONG numAttrLookup(CK_ATTRIBUTE_TYPE type, CK_ATTRIBUTE* pAttributes, CK_ULONG count);
int intAttrLookup(CK_ATTRIBUTE_TYPE type, CK_ATTRIBUTE* pAttributes, CK_ULONG count);

/* ---- mechanism catalogue (mech) ---------------------------------------------- */
/* Answers from constant lists, without asking a token. All counts go to
 * *pCount, which must not be null. Results of the mechFrom.. and gen..
 * operations are fresh blocks that the caller frees with free(); those of
 * ktFromMech, hashMech, kgMech and kpgMech are the constant lists themselves,
 * neither written nor freed. No list carries a terminator. */

/* The mechanisms a token offers. The array and the record are heap blocks of
 * whoever built them; FreeMechData gives both back. */
typedef struct MechanismTab {
    CK_MECHANISM_TYPE* mechanisms;
    unsigned int count; /* 32 bits */
} MechanismTab;

/* PBE_MD2_DES_CBC (0x3a0) to PBE_SHA1_RC2_40_CBC (0x3ab), and
 * PBA_SHA1_WITH_SHA1_HMAC (0x3c0). */
int isPbeMech(CK_MECHANISM_TYPE mech);
/* RC2_ECB (0x101) to RC2_CBC_PAD (0x105), and RC2_ECB_PAD (0x80000101). */
int isRc2Mech(CK_MECHANISM_TYPE mech);
/* 1 if the token offers the mechanism; 0 otherwise, and for a null or empty
 * tab. */
int LookupMech(const MechanismTab* tab, CK_MECHANISM_TYPE mech);
/* Frees the array, then the record; nothing for null. */
void FreeMechData(MechanismTab* tab);

/* The key types a mechanism takes; GENERIC_SECRET alone for any mechanism
 * without an entry, unknown values included. */
const CK_KEY_TYPE* ktFromMech(CK_MECHANISM_TYPE mech, CK_ULONG_PTR pCount);

/* Mechanisms by key type: ciphers and wrapping, signing and MACs, signing
 * with recovery, derivation. A key type without a list of its own gets a
 * general one. The count is written before the block is allocated: on null,
 * *pCount may still hold a size, so test the pointer. */
CK_MECHANISM_TYPE* mechFromKt(CK_KEY_TYPE keyType, CK_ULONG_PTR pCount);
CK_MECHANISM_TYPE* mechSignFromKt(CK_KEY_TYPE keyType, CK_ULONG_PTR pCount);
CK_MECHANISM_TYPE* mechSignRecFromKt(CK_KEY_TYPE keyType, CK_ULONG_PTR pCount);
CK_MECHANISM_TYPE* mechDeriveFromKt(CK_KEY_TYPE keyType, CK_ULONG_PTR pCount);

/* mechFromKt cut to what the token offers. The count m is the number of
 * (list entry, token entry) pairs that are equal, but only the first m list
 * entries are copied out, so the block can end in zero entries. Null when
 * nothing matches, with *pCount left at the size of mechFromKt's list (a null
 * tab offers nothing). */
CK_MECHANISM_TYPE* mechFromTokKt(const MechanismTab* tab, CK_KEY_TYPE keyType, CK_ULONG_PTR pCount);

/* Digest (20), key generation (11) and key pair generation (8) mechanisms. */
const CK_MECHANISM_TYPE* hashMech(CK_ULONG_PTR pCount);
const CK_MECHANISM_TYPE* kgMech(CK_ULONG_PTR pCount);
const CK_MECHANISM_TYPE* kpgMech(CK_ULONG_PTR pCount);

/* The secret-key (and domain parameter) generators, or the key pair
 * generators, for what the token offers: each once, in the order first met.
 * The walk stops once the result holds as many values as the token has
 * entries, and may then hold up to two more. Null for a null or empty tab or
 * when no entry leads to a generator; *pCount is then left alone. */
CK_MECHANISM_TYPE* genkMechanismTabFromMechanismTab(const MechanismTab* tab, CK_ULONG_PTR pCount);
CK_MECHANISM_TYPE* genkpMechanismTabFromMechanismTab(const MechanismTab* tab, CK_ULONG_PTR pCount);

/* ---- named curves (ecattr) ----------------------------------------------------- */

/* The DER of a named curve's object identifier, the value of CKA_EC_PARAMS,
 * under the two-phase rule: a null buffer asks for the length, a buffer whose
 * length (in *pulDerEcParamsLen) is too small gets CKR_BUFFER_TOO_SMALL and
 * the length needed. Names are exact and case-sensitive ("P-256",
 * "prime256v1", "secp256r1", "brainpoolP384r1", "ed25519", ...); an unknown
 * or null name gives CKR_KEY_PARAMS_INVALID. curve25519 and ed25519 encode to
 * their older long object identifiers. With a null length pointer and a null
 * buffer nothing is done and CKR_OK returned. */
CK_RV CT_DerEncodeNamedCurve(CK_BYTE_PTR pDerEcParams, CK_ULONG_PTR pulDerEcParamsLen, const char* curveName);

/* The key size in bits of the curve whose DER is the attribute's value. The
 * value is compared with each known DER over the value's own length, first
 * match wins: a value that stops short of a known DER matches it, an empty
 * one gives 191. Unknown: CKR_ATTRIBUTE_VALUE_INVALID. */
CK_RV CT_GetECKeySize(const CK_ATTRIBUTE* pEcParamsAttribute, CK_ULONG_PTR pulBits);

/* Fills the attribute with the curve's DER as CT_DerEncodeNamedCurve does
 * (pValue and ulValueLen as its buffer and length). Failing that, a buffer
 * too small included, it looks on the token for a CKO_DOMAIN_PARAMETERS
 * object of key type CKK_EC labelled with the name, without and then with
 * its terminating NUL, and reads its CKA_EC_PARAMS into the attribute (type
 * set to CKA_EC_PARAMS). None found: CKR_DOMAIN_PARAMS_INVALID; a failing
 * token call: its code (a failed C_FindObjects leaves the search open).
 * A buffer too small for a known curve's encoding has its ulValueLen raised
 * to the encoding's length before the token is asked, and the token may
 * write that many bytes: give a buffer at least as long as the encoding
 * (CT_DerEncodeNamedCurve with a null buffer tells the length). */
CK_RV CT_GetECCDomainParameters(CK_SESSION_HANDLE hSession, CK_ATTRIBUTE* pAttribute, const char* curveName);

/* ---- data objects as named files (ctobjio) ------------------------------------- */

/* A token object of the class labelled with the name (its length without the
 * terminating NUL), private or public; the handle goes to *phObject. What
 * C_CreateObject returns; a null name gives CKR_ARGUMENTS_BAD. */
CK_RV CT_CreateObject(CK_SESSION_HANDLE hSession, CK_OBJECT_CLASS objectClass, const char* name,
                      CK_OBJECT_HANDLE_PTR phObject);
CK_RV CT_CreatePublicObject(CK_SESSION_HANDLE hSession, CK_OBJECT_CLASS objectClass, const char* name,
                            CK_OBJECT_HANDLE_PTR phObject);
/* The first object of the class with the label, by a search for one handle
 * (written straight to *phObject). None: CKR_GENERAL_ERROR. A failing token
 * call gives its code; a failed C_FindObjects leaves the search open. */
CK_RV CT_OpenObject(CK_SESSION_HANDLE hSession, CK_OBJECT_CLASS objectClass, const char* name,
                    CK_OBJECT_HANDLE_PTR phObject);
/* Opens by the old name, then sets the label to the new one. */
CK_RV CT_RenameObject(CK_SESSION_HANDLE hSession, CK_OBJECT_CLASS objectClass, const char* oldName,
                      const char* newName);
/* CKA_VALUE through GetAttr: bufferLen 0 asks for the length, a short buffer
 * gives CKR_ATTRIBUTE_TYPE_INVALID; the length goes to *pValueLen (if not
 * null) whatever the result, and means something on success only. */
CK_RV CT_ReadObject(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject, CK_VOID_PTR pBuffer, CK_ULONG bufferLen,
                    CK_ULONG_PTR pValueLen);
/* CKA_VALUE through SetAttr; bufferLen goes to *pWritten (if not null)
 * whatever the result. */
CK_RV CT_WriteObject(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject, CK_VOID_PTR pBuffer, CK_ULONG bufferLen,
                     CK_ULONG_PTR pWritten);

/* ---- object attribute read and write (rwattr) -------------------------------- */

/* qsort comparator of two CK_MECHANISM_TYPE values, ascending and unsigned:
 * -1, 0 or 1. Rows that begin with such a value, as CK_ATTRIBUTE does with
 * its type, sort by it too. */
int compMech(const void* a, const void* b);

/* A set that stands for a token object grows to at most this many rows and
 * one more: writes are refused while count is above it. */
#define ATTRIBUTE_SET_LIMIT 1000UL
/* Every value a set drops is overwritten with this byte over its whole
 * length before its block is freed. */
#define ATTRIBUTE_FILL_BYTE 0xAA

/* CKA_CLASS and CKA_KEY_TYPE into two 8-byte places, cleared first and
 * filled with at most 8 bytes of the value. No class row, or no key type
 * row (the class is then written): CKR_KEY_HANDLE_INVALID. */
CK_RV GetObjectClassAndKeyType(const AttributeSet* set, CK_ULONG_PTR pClass, CK_ULONG_PTR pKeyType);
/* 1 if the set has a row of the type: the buffer is cleared, filled with as
 * much of the value as fits, and the full length goes to *pValueLen (if not
 * null). 0, touching nothing, otherwise. */
int ReadAttr(CK_VOID_PTR pBuffer, CK_ULONG bufferLen, CK_ULONG_PTR pValueLen, CK_ATTRIBUTE_TYPE type,
             const AttributeSet* set);
/* Shorter first (-1 or 1), then memcmp of equal lengths. */
int attrcmpbuf(const CK_ATTRIBUTE* pAttr, const void* pBuffer, CK_ULONG len);
int attrcmp(const CK_ATTRIBUTE* pAttrA, const CK_ATTRIBUTE* pAttrB);
/* Stores a copy of the value under the type with no rule: the row that
 * FindAttr finds is refilled, else a row is appended. CKR_HOST_MEMORY for a
 * null set, a set over the limit, or a failed allocation. */
CK_RV WriteAttr(const void* value, CK_ULONG len, CK_ATTRIBUTE_TYPE type, AttributeSet* set);
/* WriteAttr under the edit rule of an object's attributes: a value that may
 * not change once set must be given again exactly (CKR_ATTRIBUTE_READ_ONLY
 * otherwise, the set unchanged). AddAttr also keeps CKA_TOKEN, CKA_PRIVATE
 * and CKA_MODIFIABLE. */
CK_RV CopyAttr(const void* value, CK_ULONG len, CK_ATTRIBUTE_TYPE type, AttributeSet* set);
CK_RV AddAttr(const void* value, CK_ULONG len, CK_ATTRIBUTE_TYPE type, AttributeSet* set);
/* Removes the row of the type; the last row moves into its place.
 * CKR_ATTRIBUTE_TYPE_INVALID if there is none, CKR_HOST_MEMORY for a null
 * set. */
CK_RV DelAttr(CK_ATTRIBUTE_TYPE type, AttributeSet* set);

/* ---- attribute copying and matching (attrutil) --------------------------------- */

/* The source's value into the destination's own buffer, whose ulValueLen
 * is its size. A null value on either side only sets the length (a length
 * query). A number is converted to the destination's width (1, 2, 4 or 8;
 * another width gives CKR_GENERAL_ERROR), which stays; anything else is
 * copied and the length set. Too small: CKR_BUFFER_TOO_SMALL. Rows of two
 * types: CKR_DATA_INVALID. */
CK_RV at_assign(CK_ATTRIBUTE_PTR pDst, const CK_ATTRIBUTE* pSrc);
/* count rows pairwise: each destination takes the source's type (a
 * destination of type FIND_ANY_ATTRIBUTE takes any, the check value's two
 * numbers stand for each other) and its value. A pair of other types stops
 * the walk with CKR_ATTRIBUTE_TYPE_INVALID; otherwise the result is that of
 * the last row alone. */
CK_RV TransferAttr(CK_ATTRIBUTE_PTR pDstRows, const CK_ATTRIBUTE* pSrcRows, CK_ULONG count);
/* A new set with deep copies of the rows (CKA_CHECK_VALUE_DEPRECATED stored
 * as CKA_CHECK_VALUE), or null when memory runs out. */
AttributeSet* DupAttributes(const CK_ATTRIBUTE* pAttributes, CK_ULONG count);
AttributeSet* DupAttributeSet(const AttributeSet* set);
/* WriteAttr of the source's row of the type into the destination, if there
 * is one; the destination's row of the type, or null. */
CK_ATTRIBUTE* CopyAttribute(CK_ATTRIBUTE_TYPE type, AttributeSet* pDstSet, const AttributeSet* pSrcSet);
/* 1 if every row of the needle is in the haystack with an equal value (a
 * CKA_LABEL also with or without a terminating NUL), else 0. */
int MatchAttributeSet(const AttributeSet* pNeedle, const AttributeSet* pHaystack);

/* ---- attribute sets (attrset) ------------------------------------------------ */

/* A new set of count zeroed rows, or null. */
AttributeSet* NewAttributeSet(CK_ULONG count);
/* Release with every value overwritten first; FreeAttributesNoClear does not
 * overwrite. Null does nothing. */
void FreeAttributeSet(AttributeSet* set);
void FreeAttributes(CK_ATTRIBUTE_PTR pAttributes, CK_ULONG count);
void FreeAttributesNoClear(CK_ATTRIBUTE_PTR pAttributes, CK_ULONG count);
/* A new set, sorted by type: a copy of the base with the rows of pAdd laid
 * over it under CopyAttr's rule. A value that may not change and differs
 * gives CKR_TEMPLATE_INCONSISTENT; on any failure *pResult is null. */
CK_RV AddAttributeSets(AttributeSet** pResult, const AttributeSet* pAdd, const AttributeSet* pBase);
/* Appends the rows of pSrc whose type pDst lacks, in order; rows pDst has
 * stay as they are. CKR_ATTRIBUTE_READ_ONLY if pDst's CKA_MODIFIABLE is
 * false. */
CK_RV ConcatAttributeSets(AttributeSet* pDst, const AttributeSet* pSrc);

#ifdef __cplusplus
}
#endif

#endif
