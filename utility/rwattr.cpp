// rwattr: reading, writing and editing the attributes of an AttributeSet
// that stands for a token object, and the order of mechanism values.
//
// The edit rule mirrors what a token lets change on an object once it has
// been made: identity (class, key type, check value, ...) never changes,
// EXTRACTABLE may only go down and SENSITIVE only up, and key material stays
// fixed once set. A value that must stay may be given again as it is.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "rowStore.h"

namespace rowstore {
namespace {

// The token library's own attribute types that the rule names.
constexpr CK_ATTRIBUTE_TYPE kUsageCount = 0x80000101;
constexpr CK_ATTRIBUTE_TYPE kTimeStamp = 0x80000102;
constexpr CK_ATTRIBUTE_TYPE kExport = 0x80000128;
constexpr CK_ATTRIBUTE_TYPE kExportable = 0x80000129;
constexpr CK_ATTRIBUTE_TYPE kImport = 0x8000012b;
constexpr CK_ATTRIBUTE_TYPE kKeySize = 0x8000012c;
constexpr CK_ATTRIBUTE_TYPE kSlotId = 0x80000151;
constexpr CK_ATTRIBUTE_TYPE kUsageLimit = 0x80000200;
constexpr CK_ATTRIBUTE_TYPE kAdminCert = 0x80000201;

constexpr CK_ATTRIBUTE_TYPE kDates[] = {CKA_START_DATE, CKA_END_DATE, kAdminCert};
constexpr CK_ATTRIBUTE_TYPE kIdentity[] = {CKA_CLASS,   CKA_CERTIFICATE_TYPE,  CKA_CHECK_VALUE,
                                           CKA_KEY_TYPE, CKA_LOCAL,            CKA_KEY_GEN_MECHANISM,
                                           kUsageCount,  kTimeStamp,           CKA_CHECK_VALUE_DEPRECATED,
                                           kSlotId,      kUsageLimit};
constexpr CK_ATTRIBUTE_TYPE kStorage[] = {CKA_TOKEN, CKA_PRIVATE, CKA_MODIFIABLE};
constexpr CK_ATTRIBUTE_TYPE kMayOnlyFall[] = {CKA_EXTRACTABLE, kExportable};
constexpr CK_ATTRIBUTE_TYPE kDsaUsage[] = {CKA_ENCRYPT, CKA_DECRYPT, CKA_WRAP, CKA_UNWRAP, kExport, kImport};

template <size_t N>
bool In(const CK_ATTRIBUTE_TYPE (&list)[N], CK_ATTRIBUTE_TYPE type) {
    return std::find(list, list + N, type) != list + N;
}

// The key material of a public or private key: VALUE, the RSA and DSA
// numbers (0x120 to 0x128, 0x130 to 0x134), the value's size in bits, the
// curve and point, and the token library's key size.
bool KeyMaterial(CK_ATTRIBUTE_TYPE type) {
    return type == CKA_VALUE || (type >= 0x120 && type <= 0x128) || (type >= 0x130 && type <= 0x134) ||
           type == CKA_VALUE_BITS || type == CKA_EC_PARAMS || type == CKA_EC_POINT || type == kKeySize;
}

// The first byte of a value, if it has one.
bool FirstByte(const CK_ATTRIBUTE& row, CK_BYTE* byte) {
    if (row.ulValueLen == 0 || row.pValue == nullptr) return false;
    *byte = *static_cast<const CK_BYTE*>(row.pValue);
    return true;
}

bool SameValue(const CK_ATTRIBUTE& row, const void* value, CK_ULONG len) {
    if (row.ulValueLen != len) return false;
    if (len == 0 || row.pValue == value) return true;
    if (row.pValue == nullptr || value == nullptr) return false;
    return memcmp(row.pValue, value, len) == 0;
}

}  // namespace

void Drop(CK_ATTRIBUTE& row) {
    if (row.pValue == nullptr) return;
    memset(row.pValue, ATTRIBUTE_FILL_BYTE, row.ulValueLen);
    free(row.pValue);
    row.pValue = nullptr;
}

CK_VOID_PTR Copy(const void* value, CK_ULONG len, bool* failed) {
    *failed = false;
    if (len == 0) return nullptr;
    CK_VOID_PTR block = calloc(len, 1);
    if (block == nullptr) {
        *failed = true;
        return nullptr;
    }
    if (value != nullptr) memcpy(block, value, len);
    return block;
}

CK_RV Refill(CK_ATTRIBUTE& row, CK_ATTRIBUTE_TYPE type, const void* value, CK_ULONG len) {
    Drop(row);
    row.type = type;
    row.ulValueLen = len;
    bool failed = false;
    row.pValue = Copy(value, len, &failed);
    return failed ? CKR_HOST_MEMORY : CKR_OK;
}

CK_RV Append(AttributeSet* set, CK_ATTRIBUTE_TYPE type, const void* value, CK_ULONG len) {
    CK_ATTRIBUTE* rows = set->attributes == nullptr
                             ? static_cast<CK_ATTRIBUTE*>(calloc(1, sizeof(CK_ATTRIBUTE)))
                             : static_cast<CK_ATTRIBUTE*>(realloc(set->attributes, (set->count + 1) * sizeof(CK_ATTRIBUTE)));
    if (rows == nullptr) return CKR_HOST_MEMORY;
    set->attributes = rows;
    bool failed = false;
    CK_VOID_PTR copy = Copy(value, len, &failed);
    if (failed) return CKR_HOST_MEMORY;
    rows[set->count] = CK_ATTRIBUTE{type, copy, len};
    ++set->count;
    return CKR_OK;
}

// The first line of the rule that matches decides; the set's class and key
// type are read as numbers, and one that cannot be read matches nothing.
Decision Rule(const CK_ATTRIBUTE& row, AttributeSet* set, bool strict) {
    const CK_ATTRIBUTE_TYPE type = row.type;
    CK_BYTE first = 0;
    if (In(kDates, type)) return row.ulValueLen == 0 ? Decision::Replace : Decision::Compare;
    if (In(kIdentity, type)) return Decision::Compare;
    if (strict && In(kStorage, type)) return Decision::Compare;
    if (In(kMayOnlyFall, type)) return !FirstByte(row, &first) || first != 0 ? Decision::Replace : Decision::Compare;
    if (type == CKA_SENSITIVE) return !FirstByte(row, &first) || first == 0 ? Decision::Replace : Decision::Compare;
    if (type == CKA_VALUE && (numAttrLookup(CKA_SENSITIVE, set->attributes, set->count) == 1 ||
                              numAttrLookup(CKA_TRUSTED, set->attributes, set->count) == 1))
        return Decision::Compare;
    const CK_ULONG objectClass = numAttrLookup(CKA_CLASS, set->attributes, set->count);
    if (objectClass == CKO_SECRET_KEY && (type == CKA_VALUE || type == CKA_VALUE_LEN)) return Decision::Compare;
    const bool key = objectClass == CKO_PUBLIC_KEY || objectClass == CKO_PRIVATE_KEY;
    if (key && KeyMaterial(type)) return Decision::Compare;
    if (key && numAttrLookup(CKA_KEY_TYPE, set->attributes, set->count) == CKK_DSA && In(kDsaUsage, type))
        return Decision::Compare;
    return Decision::Replace;
}

CK_RV Edit(const void* value, CK_ULONG len, CK_ATTRIBUTE_TYPE type, AttributeSet* set, bool strict) {
    if (Full(set)) return CKR_HOST_MEMORY;
    CK_ATTRIBUTE* row = FindAttr(type, set);
    if (row == nullptr) return Append(set, type, value, len);
    if (Rule(*row, set, strict) == Decision::Compare) return SameValue(*row, value, len) ? CKR_OK : CKR_ATTRIBUTE_READ_ONLY;
    return Refill(*row, type, value, len);
}

}  // namespace rowstore

extern "C" {

// qsort hands over pointers into the array; the values compare as the
// unsigned numbers they are, so vendor values (bit 31 set) sort last.
int compMech(const void* a, const void* b) {
    const CK_MECHANISM_TYPE x = *static_cast<const CK_MECHANISM_TYPE*>(a);
    const CK_MECHANISM_TYPE y = *static_cast<const CK_MECHANISM_TYPE*>(b);
    if (x == y) return 0;
    return x > y ? 1 : -1;
}

CK_RV GetObjectClassAndKeyType(const AttributeSet* set, CK_ULONG_PTR pClass, CK_ULONG_PTR pKeyType) {
    const CK_ATTRIBUTE* rows[] = {FindAttr(CKA_CLASS, set), FindAttr(CKA_KEY_TYPE, set)};
    CK_ULONG_PTR places[] = {pClass, pKeyType};
    for (int i = 0; i < 2; ++i) {
        if (rows[i] == nullptr) return CKR_KEY_HANDLE_INVALID;
        if (places[i] == nullptr) continue;
        *places[i] = 0;
        if (rows[i]->pValue != nullptr)
            memcpy(places[i], rows[i]->pValue, std::min<CK_ULONG>(rows[i]->ulValueLen, sizeof(CK_ULONG)));
    }
    return CKR_OK;
}

int ReadAttr(CK_VOID_PTR pBuffer, CK_ULONG bufferLen, CK_ULONG_PTR pValueLen, CK_ATTRIBUTE_TYPE type,
             const AttributeSet* set) {
    const CK_ATTRIBUTE* row = FindAttr(type, set);
    if (row == nullptr) return 0;
    if (pBuffer != nullptr && bufferLen != 0) {
        memset(pBuffer, 0, bufferLen);
        if (row->pValue != nullptr) memcpy(pBuffer, row->pValue, std::min(row->ulValueLen, bufferLen));
    }
    if (pValueLen != nullptr) *pValueLen = row->ulValueLen;
    return 1;
}

int attrcmpbuf(const CK_ATTRIBUTE* pAttr, const void* pBuffer, CK_ULONG len) {
    const long difference = static_cast<long>(pAttr->ulValueLen) - static_cast<long>(len);
    if (difference < 0) return -1;
    if (difference > 0) return 1;
    if (len == 0 || pAttr->pValue == pBuffer) return 0;
    // A missing value orders before any bytes.
    if (pAttr->pValue == nullptr || pBuffer == nullptr) return pAttr->pValue == nullptr ? -1 : 1;
    return memcmp(pAttr->pValue, pBuffer, len);
}

int attrcmp(const CK_ATTRIBUTE* pAttrA, const CK_ATTRIBUTE* pAttrB) {
    return attrcmpbuf(pAttrA, pAttrB->pValue, pAttrB->ulValueLen);
}

// The row is refilled in place, its type set to the one asked for: a wild
// card or the deprecated check value finds a row of another type, which
// then takes that type.
CK_RV WriteAttr(const void* value, CK_ULONG len, CK_ATTRIBUTE_TYPE type, AttributeSet* set) {
    if (rowstore::Full(set)) return CKR_HOST_MEMORY;
    CK_ATTRIBUTE* row = FindAttr(type, set);
    return row == nullptr ? rowstore::Append(set, type, value, len) : rowstore::Refill(*row, type, value, len);
}

CK_RV CopyAttr(const void* value, CK_ULONG len, CK_ATTRIBUTE_TYPE type, AttributeSet* set) {
    return rowstore::Edit(value, len, type, set, false);
}

CK_RV AddAttr(const void* value, CK_ULONG len, CK_ATTRIBUTE_TYPE type, AttributeSet* set) {
    return rowstore::Edit(value, len, type, set, true);
}

CK_RV DelAttr(CK_ATTRIBUTE_TYPE type, AttributeSet* set) {
    if (set == nullptr) return CKR_HOST_MEMORY;
    CK_ATTRIBUTE* row = FindAttr(type, set);
    if (row == nullptr) return CKR_ATTRIBUTE_TYPE_INVALID;
    rowstore::Drop(*row);
    if (--set->count == 0) {
        free(set->attributes);
        set->attributes = nullptr;
        return CKR_OK;
    }
    // The array keeps its size; the last row fills the gap.
    *row = set->attributes[set->count];
    return CKR_OK;
}

}  // extern "C"
