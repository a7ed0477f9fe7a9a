/*
 * cryptoki.h - the Cryptoki interface as libmorlin.so sees the token library.
 *
 * Written from the public PKCS#11 standard (types, structures, return codes
 * and function prototypes) plus the token library's own structures and its
 * four vendor functions. The layouts are those of x86-64 Linux: CK_ULONG is
 * 64 bits, structures are packed by the platform's natural alignment (no
 * #pragma pack), so a Java long and a CK_ULONG carry the same bits.
 *
 * Usable from C and C++.
 */
#ifndef MORLIN_CRYPTOKI_H
#define MORLIN_CRYPTOKI_H

#ifdef __cplusplus
extern "C" {
#endif

/* Functions of the token library keep default visibility even when the
 * including unit builds with -fvisibility=hidden (test fakes, forwarders). */
#define CK_EXPORT __attribute__((visibility("default")))

/* ---- basic types -------------------------------------------------------- */

typedef unsigned char CK_BYTE;
typedef CK_BYTE CK_CHAR;
typedef CK_BYTE CK_UTF8CHAR;
typedef CK_BYTE CK_BBOOL;
typedef unsigned long int CK_ULONG;
typedef long int CK_LONG;
typedef CK_ULONG CK_FLAGS;

typedef CK_BYTE *CK_BYTE_PTR;
typedef CK_CHAR *CK_CHAR_PTR;
typedef CK_UTF8CHAR *CK_UTF8CHAR_PTR;
typedef CK_ULONG *CK_ULONG_PTR;
typedef void *CK_VOID_PTR;
typedef CK_VOID_PTR *CK_VOID_PTR_PTR;

#define CK_TRUE 1
#define CK_FALSE 0
#define NULL_PTR 0
#define CK_UNAVAILABLE_INFORMATION (~0UL)
#define CK_EFFECTIVELY_INFINITE 0UL
#define CK_INVALID_HANDLE 0UL

typedef CK_ULONG CK_SLOT_ID;
typedef CK_SLOT_ID *CK_SLOT_ID_PTR;
typedef CK_ULONG CK_SESSION_HANDLE;
typedef CK_SESSION_HANDLE *CK_SESSION_HANDLE_PTR;
typedef CK_ULONG CK_OBJECT_HANDLE;
typedef CK_OBJECT_HANDLE *CK_OBJECT_HANDLE_PTR;
typedef CK_ULONG CK_OBJECT_CLASS;
typedef CK_ULONG CK_HW_FEATURE_TYPE;
typedef CK_ULONG CK_KEY_TYPE;
typedef CK_ULONG CK_CERTIFICATE_TYPE;
typedef CK_ULONG CK_ATTRIBUTE_TYPE;
typedef CK_ULONG CK_MECHANISM_TYPE;
typedef CK_MECHANISM_TYPE *CK_MECHANISM_TYPE_PTR;
typedef CK_ULONG CK_USER_TYPE;
typedef CK_ULONG CK_STATE;
typedef CK_ULONG CK_RV;
typedef CK_ULONG CK_NOTIFICATION;
typedef CK_ULONG CK_RSA_PKCS_MGF_TYPE;
typedef CK_ULONG CK_RSA_PKCS_OAEP_SOURCE_TYPE;
typedef CK_ULONG CK_EC_KDF_TYPE;

/* ---- standard structures ----------------------------------------------- */

typedef struct CK_VERSION {
    CK_BYTE major;
    CK_BYTE minor;
} CK_VERSION;
typedef CK_VERSION *CK_VERSION_PTR;

typedef struct CK_INFO {
    CK_VERSION cryptokiVersion;
    CK_UTF8CHAR manufacturerID[32];
    CK_FLAGS flags;
    CK_UTF8CHAR libraryDescription[32];
    CK_VERSION libraryVersion;
} CK_INFO;
typedef CK_INFO *CK_INFO_PTR;

typedef struct CK_SLOT_INFO {
    CK_UTF8CHAR slotDescription[64];
    CK_UTF8CHAR manufacturerID[32];
    CK_FLAGS flags;
    CK_VERSION hardwareVersion;
    CK_VERSION firmwareVersion;
} CK_SLOT_INFO;
typedef CK_SLOT_INFO *CK_SLOT_INFO_PTR;

typedef struct CK_TOKEN_INFO {
    CK_UTF8CHAR label[32];
    CK_UTF8CHAR manufacturerID[32];
    CK_UTF8CHAR model[16];
    CK_CHAR serialNumber[16];
    CK_FLAGS flags;
    CK_ULONG ulMaxSessionCount;
    CK_ULONG ulSessionCount;
    CK_ULONG ulMaxRwSessionCount;
    CK_ULONG ulRwSessionCount;
    CK_ULONG ulMaxPinLen;
    CK_ULONG ulMinPinLen;
    CK_ULONG ulTotalPublicMemory;
    CK_ULONG ulFreePublicMemory;
    CK_ULONG ulTotalPrivateMemory;
    CK_ULONG ulFreePrivateMemory;
    CK_VERSION hardwareVersion;
    CK_VERSION firmwareVersion;
    CK_CHAR utcTime[16];
} CK_TOKEN_INFO;
typedef CK_TOKEN_INFO *CK_TOKEN_INFO_PTR;

typedef struct CK_SESSION_INFO {
    CK_SLOT_ID slotID;
    CK_STATE state;
    CK_FLAGS flags;
    CK_ULONG ulDeviceError;
} CK_SESSION_INFO;
typedef CK_SESSION_INFO *CK_SESSION_INFO_PTR;

typedef struct CK_ATTRIBUTE {
    CK_ATTRIBUTE_TYPE type;
    CK_VOID_PTR pValue;
    CK_ULONG ulValueLen;
} CK_ATTRIBUTE;
typedef CK_ATTRIBUTE *CK_ATTRIBUTE_PTR;

typedef struct CK_DATE {
    CK_CHAR year[4];
    CK_CHAR month[2];
    CK_CHAR day[2];
} CK_DATE;

typedef struct CK_MECHANISM {
    CK_MECHANISM_TYPE mechanism;
    CK_VOID_PTR pParameter;
    CK_ULONG ulParameterLen;
} CK_MECHANISM;
typedef CK_MECHANISM *CK_MECHANISM_PTR;

typedef struct CK_MECHANISM_INFO {
    CK_ULONG ulMinKeySize;
    CK_ULONG ulMaxKeySize;
    CK_FLAGS flags;
} CK_MECHANISM_INFO;
typedef CK_MECHANISM_INFO *CK_MECHANISM_INFO_PTR;

typedef CK_RV (*CK_NOTIFY)(CK_SESSION_HANDLE hSession, CK_NOTIFICATION event,
                           CK_VOID_PTR pApplication);
typedef CK_RV (*CK_CREATEMUTEX)(CK_VOID_PTR_PTR ppMutex);
typedef CK_RV (*CK_DESTROYMUTEX)(CK_VOID_PTR pMutex);
typedef CK_RV (*CK_LOCKMUTEX)(CK_VOID_PTR pMutex);
typedef CK_RV (*CK_UNLOCKMUTEX)(CK_VOID_PTR pMutex);

typedef struct CK_C_INITIALIZE_ARGS {
    CK_CREATEMUTEX CreateMutex;
    CK_DESTROYMUTEX DestroyMutex;
    CK_LOCKMUTEX LockMutex;
    CK_UNLOCKMUTEX UnlockMutex;
    CK_FLAGS flags;
    CK_VOID_PTR pReserved;
} CK_C_INITIALIZE_ARGS;
typedef CK_C_INITIALIZE_ARGS *CK_C_INITIALIZE_ARGS_PTR;

/* ---- flags -------------------------------------------------------------- */

#define CKF_TOKEN_PRESENT 0x00000001UL
#define CKF_REMOVABLE_DEVICE 0x00000002UL
#define CKF_HW_SLOT 0x00000004UL

#define CKF_RNG 0x00000001UL
#define CKF_WRITE_PROTECTED 0x00000002UL
#define CKF_LOGIN_REQUIRED 0x00000004UL
#define CKF_USER_PIN_INITIALIZED 0x00000008UL
#define CKF_TOKEN_INITIALIZED 0x00000400UL

#define CKF_RW_SESSION 0x00000002UL
#define CKF_SERIAL_SESSION 0x00000004UL

#define CKF_LIBRARY_CANT_CREATE_OS_THREADS 0x00000001UL
#define CKF_OS_LOCKING_OK 0x00000002UL

#define CKF_DONT_BLOCK 0x00000001UL

#define CKU_SO 0UL
#define CKU_USER 1UL
#define CKU_CONTEXT_SPECIFIC 2UL

#define CKS_RO_PUBLIC_SESSION 0UL
#define CKS_RO_USER_FUNCTIONS 1UL
#define CKS_RW_PUBLIC_SESSION 2UL
#define CKS_RW_USER_FUNCTIONS 3UL
#define CKS_RW_SO_FUNCTIONS 4UL

#define CKO_DATA 0x00000000UL
#define CKO_CERTIFICATE 0x00000001UL
#define CKO_PUBLIC_KEY 0x00000002UL
#define CKO_PRIVATE_KEY 0x00000003UL
#define CKO_SECRET_KEY 0x00000004UL
#define CKO_HW_FEATURE 0x00000005UL
#define CKO_DOMAIN_PARAMETERS 0x00000006UL

#define CKA_CLASS 0x00000000UL
#define CKA_TOKEN 0x00000001UL
#define CKA_PRIVATE 0x00000002UL
#define CKA_LABEL 0x00000003UL
#define CKA_APPLICATION 0x00000010UL
#define CKA_VALUE 0x00000011UL
#define CKA_CERTIFICATE_TYPE 0x00000080UL
#define CKA_TRUSTED 0x00000086UL
#define CKA_CHECK_VALUE 0x00000090UL
#define CKA_KEY_TYPE 0x00000100UL
#define CKA_ID 0x00000102UL
#define CKA_SENSITIVE 0x00000103UL
#define CKA_ENCRYPT 0x00000104UL
#define CKA_DECRYPT 0x00000105UL
#define CKA_WRAP 0x00000106UL
#define CKA_UNWRAP 0x00000107UL
#define CKA_SIGN 0x00000108UL
#define CKA_VERIFY 0x0000010AUL
#define CKA_START_DATE 0x00000110UL
#define CKA_END_DATE 0x00000111UL
#define CKA_PRIVATE_EXPONENT 0x00000123UL
#define CKA_EC_PARAMS 0x00000180UL
#define CKA_EC_POINT 0x00000181UL
#define CKA_COEFFICIENT 0x00000128UL
#define CKA_VALUE_BITS 0x00000160UL
#define CKA_VALUE_LEN 0x00000161UL
#define CKA_EXTRACTABLE 0x00000162UL
#define CKA_LOCAL 0x00000163UL
#define CKA_KEY_GEN_MECHANISM 0x00000166UL
#define CKA_MODIFIABLE 0x00000170UL
#define CKA_VENDOR_DEFINED 0x80000000UL

#define CKK_DSA 0x00000001UL
#define CKK_EC 0x00000003UL
#define CKK_AES 0x0000001FUL

#define CKM_RSA_PKCS 0x00000001UL
#define CKM_EC_KEY_PAIR_GEN 0x00001040UL
#define CKM_ECDSA 0x00001041UL
#define CKM_AES_KEY_GEN 0x00001080UL
#define CKM_AES_ECB 0x00001081UL
#define CKM_AES_CBC 0x00001082UL
#define CKM_AES_GCM 0x00001087UL
#define CKM_AES_GMAC 0x0000108EUL
#define CKM_VENDOR_DEFINED 0x80000000UL

/* ---- return codes --------------------------------------------------------- */

#define CKR_OK 0x00000000UL
#define CKR_CANCEL 0x00000001UL
#define CKR_HOST_MEMORY 0x00000002UL
#define CKR_SLOT_ID_INVALID 0x00000003UL
#define CKR_GENERAL_ERROR 0x00000005UL
#define CKR_FUNCTION_FAILED 0x00000006UL
#define CKR_ARGUMENTS_BAD 0x00000007UL
#define CKR_NO_EVENT 0x00000008UL
#define CKR_NEED_TO_CREATE_THREADS 0x00000009UL
#define CKR_CANT_LOCK 0x0000000AUL
#define CKR_ATTRIBUTE_READ_ONLY 0x00000010UL
#define CKR_ATTRIBUTE_SENSITIVE 0x00000011UL
#define CKR_ATTRIBUTE_TYPE_INVALID 0x00000012UL
#define CKR_ATTRIBUTE_VALUE_INVALID 0x00000013UL
#define CKR_DATA_INVALID 0x00000020UL
#define CKR_DATA_LEN_RANGE 0x00000021UL
#define CKR_DEVICE_ERROR 0x00000030UL
#define CKR_DEVICE_MEMORY 0x00000031UL
#define CKR_DEVICE_REMOVED 0x00000032UL
#define CKR_ENCRYPTED_DATA_INVALID 0x00000040UL
#define CKR_ENCRYPTED_DATA_LEN_RANGE 0x00000041UL
#define CKR_FUNCTION_CANCELED 0x00000050UL
#define CKR_FUNCTION_NOT_PARALLEL 0x00000051UL
#define CKR_FUNCTION_NOT_SUPPORTED 0x00000054UL
#define CKR_KEY_HANDLE_INVALID 0x00000060UL
#define CKR_KEY_SIZE_RANGE 0x00000062UL
#define CKR_KEY_TYPE_INCONSISTENT 0x00000063UL
#define CKR_KEY_NOT_NEEDED 0x00000064UL
#define CKR_KEY_CHANGED 0x00000065UL
#define CKR_KEY_NEEDED 0x00000066UL
#define CKR_KEY_INDIGESTIBLE 0x00000067UL
#define CKR_KEY_FUNCTION_NOT_PERMITTED 0x00000068UL
#define CKR_KEY_NOT_WRAPPABLE 0x00000069UL
#define CKR_KEY_UNEXTRACTABLE 0x0000006AUL
#define CKR_KEY_PARAMS_INVALID 0x0000006BUL
#define CKR_MECHANISM_INVALID 0x00000070UL
#define CKR_MECHANISM_PARAM_INVALID 0x00000071UL
#define CKR_OBJECT_HANDLE_INVALID 0x00000082UL
#define CKR_OPERATION_ACTIVE 0x00000090UL
#define CKR_OPERATION_NOT_INITIALIZED 0x00000091UL
#define CKR_PIN_INCORRECT 0x000000A0UL
#define CKR_PIN_INVALID 0x000000A1UL
#define CKR_PIN_LEN_RANGE 0x000000A2UL
#define CKR_PIN_EXPIRED 0x000000A3UL
#define CKR_PIN_LOCKED 0x000000A4UL
#define CKR_SESSION_CLOSED 0x000000B0UL
#define CKR_SESSION_COUNT 0x000000B1UL
#define CKR_SESSION_HANDLE_INVALID 0x000000B3UL
#define CKR_SESSION_PARALLEL_NOT_SUPPORTED 0x000000B4UL
#define CKR_SESSION_READ_ONLY 0x000000B5UL
#define CKR_SESSION_EXISTS 0x000000B6UL
#define CKR_SESSION_READ_ONLY_EXISTS 0x000000B7UL
#define CKR_SESSION_READ_WRITE_SO_EXISTS 0x000000B8UL
#define CKR_SIGNATURE_INVALID 0x000000C0UL
#define CKR_SIGNATURE_LEN_RANGE 0x000000C1UL
#define CKR_TEMPLATE_INCOMPLETE 0x000000D0UL
#define CKR_TEMPLATE_INCONSISTENT 0x000000D1UL
#define CKR_TOKEN_NOT_PRESENT 0x000000E0UL
#define CKR_TOKEN_NOT_RECOGNIZED 0x000000E1UL
#define CKR_TOKEN_WRITE_PROTECTED 0x000000E2UL
#define CKR_UNWRAPPING_KEY_HANDLE_INVALID 0x000000F0UL
#define CKR_UNWRAPPING_KEY_SIZE_RANGE 0x000000F1UL
#define CKR_UNWRAPPING_KEY_TYPE_INCONSISTENT 0x000000F2UL
#define CKR_USER_ALREADY_LOGGED_IN 0x00000100UL
#define CKR_USER_NOT_LOGGED_IN 0x00000101UL
#define CKR_USER_PIN_NOT_INITIALIZED 0x00000102UL
#define CKR_USER_TYPE_INVALID 0x00000103UL
#define CKR_USER_ANOTHER_ALREADY_LOGGED_IN 0x00000104UL
#define CKR_USER_TOO_MANY_TYPES 0x00000105UL
#define CKR_WRAPPED_KEY_INVALID 0x00000110UL
#define CKR_WRAPPED_KEY_LEN_RANGE 0x00000112UL
#define CKR_WRAPPING_KEY_HANDLE_INVALID 0x00000113UL
#define CKR_WRAPPING_KEY_SIZE_RANGE 0x00000114UL
#define CKR_WRAPPING_KEY_TYPE_INCONSISTENT 0x00000115UL
#define CKR_RANDOM_SEED_NOT_SUPPORTED 0x00000120UL
#define CKR_RANDOM_NO_RNG 0x00000121UL
#define CKR_DOMAIN_PARAMS_INVALID 0x00000130UL
#define CKR_BUFFER_TOO_SMALL 0x00000150UL
#define CKR_SAVED_STATE_INVALID 0x00000160UL
#define CKR_INFORMATION_SENSITIVE 0x00000170UL
#define CKR_STATE_UNSAVEABLE 0x00000180UL
#define CKR_CRYPTOKI_NOT_INITIALIZED 0x00000190UL
#define CKR_CRYPTOKI_ALREADY_INITIALIZED 0x00000191UL
#define CKR_MUTEX_BAD 0x000001A0UL
#define CKR_MUTEX_NOT_LOCKED 0x000001A1UL
#define CKR_FUNCTION_REJECTED 0x00000200UL
#define CKR_VENDOR_DEFINED 0x80000000UL

/* ---- the token library's own parameter structures ------------------------ */
/* Field order as the token library declares them; arrays are inline bytes,
 * pointers own separate blocks. */

typedef struct CK_RC2_CBC_PARAMS {
    CK_ULONG ulEffectiveBits;
    CK_BYTE iv[8];
} CK_RC2_CBC_PARAMS;

typedef struct CK_RC2_MAC_GENERAL_PARAMS {
    CK_ULONG ulEffectiveBits;
    CK_ULONG ulMacLength;
} CK_RC2_MAC_GENERAL_PARAMS;

/* The token library's deprecated DES layouts keep the data inline. */
typedef struct CK_DES_CBC_PARAMS {
    CK_BYTE iv[8];
    CK_BYTE data[8];
} CK_DES_CBC_PARAMS;

typedef struct CK_DES2_CBC_PARAMS {
    CK_BYTE iv[8];
    CK_BYTE data[16];
} CK_DES2_CBC_PARAMS;

typedef struct CK_DES3_CBC_PARAMS {
    CK_BYTE iv[8];
    CK_BYTE data[24];
} CK_DES3_CBC_PARAMS;

typedef struct CK_DES_CBC_ENCRYPT_DATA_PARAMS {
    CK_BYTE iv[8];
    CK_BYTE_PTR pData;
    CK_ULONG length;
} CK_DES_CBC_ENCRYPT_DATA_PARAMS;

typedef struct CK_AES_CBC_ENCRYPT_DATA_PARAMS {
    CK_BYTE iv[16];
    CK_BYTE_PTR pData;
    CK_ULONG length;
} CK_AES_CBC_ENCRYPT_DATA_PARAMS;

/* Five fields: the token library has no ulIvBits word. Serves both Java
 * classes CK_AES_GCM_PARAMS and CK_GCM_PARAMS. */
typedef struct CK_AES_GCM_PARAMS {
    CK_BYTE_PTR pIv;
    CK_ULONG ulIvLen;
    CK_BYTE_PTR pAAD;
    CK_ULONG ulAADLen;
    CK_ULONG ulTagBits;
} CK_AES_GCM_PARAMS;
typedef CK_AES_GCM_PARAMS CK_GCM_PARAMS;

typedef struct CK_AES_CTR_PARAMS {
    CK_ULONG ulCounterBits;
    CK_BYTE cb[16];
} CK_AES_CTR_PARAMS;

typedef struct CK_AES_CCM_PARAMS {
    CK_ULONG ulDataLen;
    CK_BYTE_PTR pNonce;
    CK_ULONG ulNonceLen;
    CK_BYTE_PTR pAAD;
    CK_ULONG ulAADLen;
    CK_ULONG ulMACLen;
} CK_AES_CCM_PARAMS;

typedef struct CK_RSA_PKCS_OAEP_PARAMS {
    CK_MECHANISM_TYPE hashAlg;
    CK_RSA_PKCS_MGF_TYPE mgf;
    CK_RSA_PKCS_OAEP_SOURCE_TYPE source;
    CK_VOID_PTR pSourceData;
    CK_ULONG ulSourceDataLen;
} CK_RSA_PKCS_OAEP_PARAMS;

typedef struct CK_RSA_PKCS_PSS_PARAMS {
    CK_MECHANISM_TYPE hashAlg;
    CK_RSA_PKCS_MGF_TYPE mgf;
    CK_ULONG sLen;
} CK_RSA_PKCS_PSS_PARAMS;

typedef struct CK_KEY_WRAP_SET_OAEP_PARAMS {
    CK_BYTE bBC;
    CK_BYTE_PTR pX;
    CK_ULONG ulXLen;
} CK_KEY_WRAP_SET_OAEP_PARAMS;

typedef struct CK_PBE_PARAMS {
    CK_BYTE_PTR pInitVector;
    CK_UTF8CHAR_PTR pPassword;
    CK_ULONG ulPasswordLen;
    CK_BYTE_PTR pSalt;
    CK_ULONG ulSaltLen;
    CK_ULONG ulIteration;
} CK_PBE_PARAMS;

typedef struct CK_PKCS12_PBE_IMPORT_PARAMS {
    CK_BYTE_PTR passwordAuthSafe;
    CK_ULONG passwordAuthSafeLen;
    CK_BYTE_PTR passwordHMAC;
    CK_ULONG passwordHMACLen;
    CK_ATTRIBUTE_PTR certAttr;
    CK_ULONG certAttrCount;
    CK_OBJECT_HANDLE_PTR hCert;
    CK_ULONG_PTR hCertCount;
} CK_PKCS12_PBE_IMPORT_PARAMS;

typedef struct CK_PKCS12_PBE_EXPORT_PARAMS {
    CK_OBJECT_HANDLE keyCert;
    CK_BYTE_PTR passwordAuthSafe;
    CK_ULONG passwordAuthSafeLen;
    CK_BYTE_PTR passwordHMAC;
    CK_ULONG passwordHMACLen;
    CK_MECHANISM_TYPE safeBagKgMech;
    CK_MECHANISM_TYPE safeContentKgMech;
    CK_MECHANISM_TYPE hmacKgMech;
} CK_PKCS12_PBE_EXPORT_PARAMS;

typedef struct CK_SSL3_RANDOM_DATA {
    CK_BYTE_PTR pClientRandom;
    CK_ULONG ulClientRandomLen;
    CK_BYTE_PTR pServerRandom;
    CK_ULONG ulServerRandomLen;
} CK_SSL3_RANDOM_DATA;

typedef struct CK_SSL3_MASTER_KEY_DERIVE_PARAMS {
    CK_SSL3_RANDOM_DATA RandomInfo;
    CK_VERSION_PTR pVersion;
} CK_SSL3_MASTER_KEY_DERIVE_PARAMS;

typedef struct CK_SSL3_KEY_MAT_OUT {
    CK_OBJECT_HANDLE hClientMacSecret;
    CK_OBJECT_HANDLE hServerMacSecret;
    CK_OBJECT_HANDLE hClientKey;
    CK_OBJECT_HANDLE hServerKey;
    CK_BYTE_PTR pIVClient;
    CK_BYTE_PTR pIVServer;
} CK_SSL3_KEY_MAT_OUT;

typedef struct CK_SSL3_KEY_MAT_PARAMS {
    CK_ULONG ulMacSizeInBits;
    CK_ULONG ulKeySizeInBits;
    CK_ULONG ulIVSizeInBits;
    CK_BBOOL bIsExport;
    CK_SSL3_RANDOM_DATA RandomInfo;
    CK_SSL3_KEY_MAT_OUT *pReturnedKeyMaterial;
} CK_SSL3_KEY_MAT_PARAMS;

typedef struct CK_KEY_DERIVATION_STRING_DATA {
    CK_BYTE_PTR pData;
    CK_ULONG ulLen;
} CK_KEY_DERIVATION_STRING_DATA;

typedef struct CK_ECDH1_DERIVE_PARAMS {
    CK_EC_KDF_TYPE kdf;
    CK_ULONG ulSharedDataLen;
    CK_BYTE_PTR pSharedData;
    CK_ULONG ulPublicDataLen;
    CK_BYTE_PTR pPublicData;
} CK_ECDH1_DERIVE_PARAMS;

typedef struct CK_ECIES_PARAMS {
    CK_ULONG dhPrimitive;
    CK_ULONG kdf;
    CK_ULONG ulSharedDataLen1;
    CK_BYTE_PTR pSharedData1;
    CK_ULONG encScheme;
    CK_ULONG ulEncKeyLenInBits;
    CK_ULONG macScheme;
    CK_ULONG ulMacKeyLenInBits;
    CK_ULONG ulMacLenInBits;
    CK_ULONG ulSharedDataLen2;
    CK_BYTE_PTR pSharedData2;
} CK_ECIES_PARAMS;

typedef struct CK_EDDSA_PARAMS {
    CK_BBOOL phFlag;
    CK_ULONG ulContextDataLen;
    CK_BYTE_PTR pContextData;
} CK_EDDSA_PARAMS;

typedef struct CK_BIP32_MASTER_DERIVE_PARAMS {
    CK_ATTRIBUTE_PTR publicKeyTemplate;
    CK_ULONG publicKeyAttributeCount;
    CK_ATTRIBUTE_PTR privateKeyTemplate;
    CK_ULONG privateKeyAttributeCount;
    CK_OBJECT_HANDLE hPublicKey;
    CK_OBJECT_HANDLE hPrivateKey;
} CK_BIP32_MASTER_DERIVE_PARAMS;

typedef struct CK_BIP32_CHILD_DERIVE_PARAMS {
    CK_ATTRIBUTE_PTR publicKeyTemplate;
    CK_ULONG publicKeyAttributeCount;
    CK_ATTRIBUTE_PTR privateKeyTemplate;
    CK_ULONG privateKeyAttributeCount;
    CK_ULONG_PTR path;
    CK_ULONG pathLen;
    CK_OBJECT_HANDLE hPublicKey;
    CK_OBJECT_HANDLE hPrivateKey;
    CK_ULONG pathErrorIndex;
} CK_BIP32_CHILD_DERIVE_PARAMS;

typedef struct CK_GEN_PIK_PARAM {
    CK_BBOOL bSelfSign;
} CK_GEN_PIK_PARAM;

typedef struct CK_KDE_ECCP521_DERIVE_PARAMS {
    CK_BYTE_PTR pPeerKTC;
    CK_ULONG ulPeerKTCLen;
    CK_BYTE bMacTagOut[64];
} CK_KDE_ECCP521_DERIVE_PARAMS;

typedef struct CK_KDE_TOKEN_WRAP_PARAMS {
    CK_BYTE bPeerMacTag[64];
} CK_KDE_TOKEN_WRAP_PARAMS;

typedef struct CK_MECH_TYPE_AND_OBJECT {
    CK_MECHANISM_TYPE mechanism;
    CK_OBJECT_HANDLE hObj;
} CK_MECH_TYPE_AND_OBJECT;

typedef struct CK_PP_LOAD_SECRET_PARAMS {
    CK_BBOOL bMaskInput;
    CK_CHAR cConvert;
    CK_CHAR cTimeout;
    CK_CHAR_PTR prompt; /* NUL-terminated */
} CK_PP_LOAD_SECRET_PARAMS;

typedef struct CK_TIMESTAMP_PARAMS {
    CK_BBOOL useMilliseconds;
    CK_ULONG timestampFormat;
} CK_TIMESTAMP_PARAMS;

typedef struct CK_REPLICATE_TOKEN_PARAMS {
    CK_BYTE peerId[16];
} CK_REPLICATE_TOKEN_PARAMS;

typedef struct CK_SECRET_SHARE_PARAMS {
    CK_ULONG n;
    CK_ULONG m;
} CK_SECRET_SHARE_PARAMS;

/* ---- functions ------------------------------------------------------------ */

/* One X-macro row per standard function, in the order of CK_FUNCTION_LIST:
 * X(name, (parameter declarations), (argument names)). Fakes and forwarders
 * expand it; callers use the prototypes below. */
#define CK_STANDARD_FUNCTIONS(X) CK_STANDARD_FUNCTIONS_HEAD(X) CK_STANDARD_FUNCTIONS_TAIL(X)

/* C_GetFunctionList sits between the two halves in CK_FUNCTION_LIST. */
#define CK_STANDARD_FUNCTIONS_HEAD(X)                                                                                \
    X(C_Initialize, (CK_VOID_PTR pInitArgs), (pInitArgs))                                                          \
    X(C_Finalize, (CK_VOID_PTR pReserved), (pReserved))                                                            \
    X(C_GetInfo, (CK_INFO_PTR pInfo), (pInfo))

#define CK_STANDARD_FUNCTIONS_TAIL(X)                                                                                \
    X(C_GetSlotList, (CK_BBOOL tokenPresent, CK_SLOT_ID_PTR pSlotList, CK_ULONG_PTR pulCount),                     \
      (tokenPresent, pSlotList, pulCount))                                                                         \
    X(C_GetSlotInfo, (CK_SLOT_ID slotID, CK_SLOT_INFO_PTR pInfo), (slotID, pInfo))                                 \
    X(C_GetTokenInfo, (CK_SLOT_ID slotID, CK_TOKEN_INFO_PTR pInfo), (slotID, pInfo))                               \
    X(C_GetMechanismList, (CK_SLOT_ID slotID, CK_MECHANISM_TYPE_PTR pMechanismList, CK_ULONG_PTR pulCount),        \
      (slotID, pMechanismList, pulCount))                                                                          \
    X(C_GetMechanismInfo, (CK_SLOT_ID slotID, CK_MECHANISM_TYPE type, CK_MECHANISM_INFO_PTR pInfo),                \
      (slotID, type, pInfo))                                                                                       \
    X(C_InitToken, (CK_SLOT_ID slotID, CK_UTF8CHAR_PTR pPin, CK_ULONG ulPinLen, CK_UTF8CHAR_PTR pLabel),           \
      (slotID, pPin, ulPinLen, pLabel))                                                                            \
    X(C_InitPIN, (CK_SESSION_HANDLE hSession, CK_UTF8CHAR_PTR pPin, CK_ULONG ulPinLen), (hSession, pPin, ulPinLen)) \
    X(C_SetPIN,                                                                                                    \
      (CK_SESSION_HANDLE hSession, CK_UTF8CHAR_PTR pOldPin, CK_ULONG ulOldLen, CK_UTF8CHAR_PTR pNewPin,            \
       CK_ULONG ulNewLen),                                                                                         \
      (hSession, pOldPin, ulOldLen, pNewPin, ulNewLen))                                                            \
    X(C_OpenSession,                                                                                               \
      (CK_SLOT_ID slotID, CK_FLAGS flags, CK_VOID_PTR pApplication, CK_NOTIFY Notify,                              \
       CK_SESSION_HANDLE_PTR phSession),                                                                           \
      (slotID, flags, pApplication, Notify, phSession))                                                            \
    X(C_CloseSession, (CK_SESSION_HANDLE hSession), (hSession))                                                    \
    X(C_CloseAllSessions, (CK_SLOT_ID slotID), (slotID))                                                           \
    X(C_GetSessionInfo, (CK_SESSION_HANDLE hSession, CK_SESSION_INFO_PTR pInfo), (hSession, pInfo))                \
    X(C_GetOperationState,                                                                                         \
      (CK_SESSION_HANDLE hSession, CK_BYTE_PTR pOperationState, CK_ULONG_PTR pulOperationStateLen),                \
      (hSession, pOperationState, pulOperationStateLen))                                                           \
    X(C_SetOperationState,                                                                                         \
      (CK_SESSION_HANDLE hSession, CK_BYTE_PTR pOperationState, CK_ULONG ulOperationStateLen,                      \
       CK_OBJECT_HANDLE hEncryptionKey, CK_OBJECT_HANDLE hAuthenticationKey),                                      \
      (hSession, pOperationState, ulOperationStateLen, hEncryptionKey, hAuthenticationKey))                        \
    X(C_Login, (CK_SESSION_HANDLE hSession, CK_USER_TYPE userType, CK_UTF8CHAR_PTR pPin, CK_ULONG ulPinLen),       \
      (hSession, userType, pPin, ulPinLen))                                                                        \
    X(C_Logout, (CK_SESSION_HANDLE hSession), (hSession))                                                          \
    X(C_CreateObject,                                                                                              \
      (CK_SESSION_HANDLE hSession, CK_ATTRIBUTE_PTR pTemplate, CK_ULONG ulCount, CK_OBJECT_HANDLE_PTR phObject),   \
      (hSession, pTemplate, ulCount, phObject))                                                                    \
    X(C_CopyObject,                                                                                                \
      (CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject, CK_ATTRIBUTE_PTR pTemplate, CK_ULONG ulCount,         \
       CK_OBJECT_HANDLE_PTR phNewObject),                                                                          \
      (hSession, hObject, pTemplate, ulCount, phNewObject))                                                        \
    X(C_DestroyObject, (CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject), (hSession, hObject))                \
    X(C_GetObjectSize, (CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject, CK_ULONG_PTR pulSize),               \
      (hSession, hObject, pulSize))                                                                                \
    X(C_GetAttributeValue,                                                                                         \
      (CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject, CK_ATTRIBUTE_PTR pTemplate, CK_ULONG ulCount),        \
      (hSession, hObject, pTemplate, ulCount))                                                                     \
    X(C_SetAttributeValue,                                                                                         \
      (CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject, CK_ATTRIBUTE_PTR pTemplate, CK_ULONG ulCount),        \
      (hSession, hObject, pTemplate, ulCount))                                                                     \
    X(C_FindObjectsInit, (CK_SESSION_HANDLE hSession, CK_ATTRIBUTE_PTR pTemplate, CK_ULONG ulCount),               \
      (hSession, pTemplate, ulCount))                                                                              \
    X(C_FindObjects,                                                                                               \
      (CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE_PTR phObject, CK_ULONG ulMaxObjectCount,                       \
       CK_ULONG_PTR pulObjectCount),                                                                               \
      (hSession, phObject, ulMaxObjectCount, pulObjectCount))                                                      \
    X(C_FindObjectsFinal, (CK_SESSION_HANDLE hSession), (hSession))                                                \
    X(C_EncryptInit, (CK_SESSION_HANDLE hSession, CK_MECHANISM_PTR pMechanism, CK_OBJECT_HANDLE hKey),             \
      (hSession, pMechanism, hKey))                                                                                \
    X(C_Encrypt,                                                                                                   \
      (CK_SESSION_HANDLE hSession, CK_BYTE_PTR pData, CK_ULONG ulDataLen, CK_BYTE_PTR pEncryptedData,              \
       CK_ULONG_PTR pulEncryptedDataLen),                                                                          \
      (hSession, pData, ulDataLen, pEncryptedData, pulEncryptedDataLen))                                           \
    X(C_EncryptUpdate,                                                                                             \
      (CK_SESSION_HANDLE hSession, CK_BYTE_PTR pPart, CK_ULONG ulPartLen, CK_BYTE_PTR pEncryptedPart,              \
       CK_ULONG_PTR pulEncryptedPartLen),                                                                          \
      (hSession, pPart, ulPartLen, pEncryptedPart, pulEncryptedPartLen))                                           \
    X(C_EncryptFinal, (CK_SESSION_HANDLE hSession, CK_BYTE_PTR pLastEncryptedPart, CK_ULONG_PTR pulLastEncryptedPartLen), \
      (hSession, pLastEncryptedPart, pulLastEncryptedPartLen))                                                     \
    X(C_DecryptInit, (CK_SESSION_HANDLE hSession, CK_MECHANISM_PTR pMechanism, CK_OBJECT_HANDLE hKey),             \
      (hSession, pMechanism, hKey))                                                                                \
    X(C_Decrypt,                                                                                                   \
      (CK_SESSION_HANDLE hSession, CK_BYTE_PTR pEncryptedData, CK_ULONG ulEncryptedDataLen, CK_BYTE_PTR pData,     \
       CK_ULONG_PTR pulDataLen),                                                                                   \
      (hSession, pEncryptedData, ulEncryptedDataLen, pData, pulDataLen))                                           \
    X(C_DecryptUpdate,                                                                                             \
      (CK_SESSION_HANDLE hSession, CK_BYTE_PTR pEncryptedPart, CK_ULONG ulEncryptedPartLen, CK_BYTE_PTR pPart,     \
       CK_ULONG_PTR pulPartLen),                                                                                   \
      (hSession, pEncryptedPart, ulEncryptedPartLen, pPart, pulPartLen))                                           \
    X(C_DecryptFinal, (CK_SESSION_HANDLE hSession, CK_BYTE_PTR pLastPart, CK_ULONG_PTR pulLastPartLen),            \
      (hSession, pLastPart, pulLastPartLen))                                                                       \
    X(C_DigestInit, (CK_SESSION_HANDLE hSession, CK_MECHANISM_PTR pMechanism), (hSession, pMechanism))             \
    X(C_Digest,                                                                                                    \
      (CK_SESSION_HANDLE hSession, CK_BYTE_PTR pData, CK_ULONG ulDataLen, CK_BYTE_PTR pDigest,                     \
       CK_ULONG_PTR pulDigestLen),                                                                                 \
      (hSession, pData, ulDataLen, pDigest, pulDigestLen))                                                         \
    X(C_DigestUpdate, (CK_SESSION_HANDLE hSession, CK_BYTE_PTR pPart, CK_ULONG ulPartLen), (hSession, pPart, ulPartLen)) \
    X(C_DigestKey, (CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hKey), (hSession, hKey))                          \
    X(C_DigestFinal, (CK_SESSION_HANDLE hSession, CK_BYTE_PTR pDigest, CK_ULONG_PTR pulDigestLen),                 \
      (hSession, pDigest, pulDigestLen))                                                                           \
    X(C_SignInit, (CK_SESSION_HANDLE hSession, CK_MECHANISM_PTR pMechanism, CK_OBJECT_HANDLE hKey),                \
      (hSession, pMechanism, hKey))                                                                                \
    X(C_Sign,                                                                                                      \
      (CK_SESSION_HANDLE hSession, CK_BYTE_PTR pData, CK_ULONG ulDataLen, CK_BYTE_PTR pSignature,                  \
       CK_ULONG_PTR pulSignatureLen),                                                                              \
      (hSession, pData, ulDataLen, pSignature, pulSignatureLen))                                                   \
    X(C_SignUpdate, (CK_SESSION_HANDLE hSession, CK_BYTE_PTR pPart, CK_ULONG ulPartLen), (hSession, pPart, ulPartLen)) \
    X(C_SignFinal, (CK_SESSION_HANDLE hSession, CK_BYTE_PTR pSignature, CK_ULONG_PTR pulSignatureLen),             \
      (hSession, pSignature, pulSignatureLen))                                                                     \
    X(C_SignRecoverInit, (CK_SESSION_HANDLE hSession, CK_MECHANISM_PTR pMechanism, CK_OBJECT_HANDLE hKey),         \
      (hSession, pMechanism, hKey))                                                                                \
    X(C_SignRecover,                                                                                               \
      (CK_SESSION_HANDLE hSession, CK_BYTE_PTR pData, CK_ULONG ulDataLen, CK_BYTE_PTR pSignature,                  \
       CK_ULONG_PTR pulSignatureLen),                                                                              \
      (hSession, pData, ulDataLen, pSignature, pulSignatureLen))                                                   \
    X(C_VerifyInit, (CK_SESSION_HANDLE hSession, CK_MECHANISM_PTR pMechanism, CK_OBJECT_HANDLE hKey),              \
      (hSession, pMechanism, hKey))                                                                                \
    X(C_Verify,                                                                                                    \
      (CK_SESSION_HANDLE hSession, CK_BYTE_PTR pData, CK_ULONG ulDataLen, CK_BYTE_PTR pSignature,                  \
       CK_ULONG ulSignatureLen),                                                                                   \
      (hSession, pData, ulDataLen, pSignature, ulSignatureLen))                                                    \
    X(C_VerifyUpdate, (CK_SESSION_HANDLE hSession, CK_BYTE_PTR pPart, CK_ULONG ulPartLen), (hSession, pPart, ulPartLen)) \
    X(C_VerifyFinal, (CK_SESSION_HANDLE hSession, CK_BYTE_PTR pSignature, CK_ULONG ulSignatureLen),                \
      (hSession, pSignature, ulSignatureLen))                                                                      \
    X(C_VerifyRecoverInit, (CK_SESSION_HANDLE hSession, CK_MECHANISM_PTR pMechanism, CK_OBJECT_HANDLE hKey),       \
      (hSession, pMechanism, hKey))                                                                                \
    X(C_VerifyRecover,                                                                                             \
      (CK_SESSION_HANDLE hSession, CK_BYTE_PTR pSignature, CK_ULONG ulSignatureLen, CK_BYTE_PTR pData,             \
       CK_ULONG_PTR pulDataLen),                                                                                   \
      (hSession, pSignature, ulSignatureLen, pData, pulDataLen))                                                   \
    X(C_DigestEncryptUpdate,                                                                                       \
      (CK_SESSION_HANDLE hSession, CK_BYTE_PTR pPart, CK_ULONG ulPartLen, CK_BYTE_PTR pEncryptedPart,              \
       CK_ULONG_PTR pulEncryptedPartLen),                                                                          \
      (hSession, pPart, ulPartLen, pEncryptedPart, pulEncryptedPartLen))                                           \
    X(C_DecryptDigestUpdate,                                                                                       \
      (CK_SESSION_HANDLE hSession, CK_BYTE_PTR pEncryptedPart, CK_ULONG ulEncryptedPartLen, CK_BYTE_PTR pPart,     \
       CK_ULONG_PTR pulPartLen),                                                                                   \
      (hSession, pEncryptedPart, ulEncryptedPartLen, pPart, pulPartLen))                                           \
    X(C_SignEncryptUpdate,                                                                                         \
      (CK_SESSION_HANDLE hSession, CK_BYTE_PTR pPart, CK_ULONG ulPartLen, CK_BYTE_PTR pEncryptedPart,              \
       CK_ULONG_PTR pulEncryptedPartLen),                                                                          \
      (hSession, pPart, ulPartLen, pEncryptedPart, pulEncryptedPartLen))                                           \
    X(C_DecryptVerifyUpdate,                                                                                       \
      (CK_SESSION_HANDLE hSession, CK_BYTE_PTR pEncryptedPart, CK_ULONG ulEncryptedPartLen, CK_BYTE_PTR pPart,     \
       CK_ULONG_PTR pulPartLen),                                                                                   \
      (hSession, pEncryptedPart, ulEncryptedPartLen, pPart, pulPartLen))                                           \
    X(C_GenerateKey,                                                                                               \
      (CK_SESSION_HANDLE hSession, CK_MECHANISM_PTR pMechanism, CK_ATTRIBUTE_PTR pTemplate, CK_ULONG ulCount,      \
       CK_OBJECT_HANDLE_PTR phKey),                                                                                \
      (hSession, pMechanism, pTemplate, ulCount, phKey))                                                           \
    X(C_GenerateKeyPair,                                                                                           \
      (CK_SESSION_HANDLE hSession, CK_MECHANISM_PTR pMechanism, CK_ATTRIBUTE_PTR pPublicKeyTemplate,               \
       CK_ULONG ulPublicKeyAttributeCount, CK_ATTRIBUTE_PTR pPrivateKeyTemplate,                                   \
       CK_ULONG ulPrivateKeyAttributeCount, CK_OBJECT_HANDLE_PTR phPublicKey, CK_OBJECT_HANDLE_PTR phPrivateKey),  \
      (hSession, pMechanism, pPublicKeyTemplate, ulPublicKeyAttributeCount, pPrivateKeyTemplate,                   \
       ulPrivateKeyAttributeCount, phPublicKey, phPrivateKey))                                                     \
    X(C_WrapKey,                                                                                                   \
      (CK_SESSION_HANDLE hSession, CK_MECHANISM_PTR pMechanism, CK_OBJECT_HANDLE hWrappingKey,                     \
       CK_OBJECT_HANDLE hKey, CK_BYTE_PTR pWrappedKey, CK_ULONG_PTR pulWrappedKeyLen),                             \
      (hSession, pMechanism, hWrappingKey, hKey, pWrappedKey, pulWrappedKeyLen))                                   \
    X(C_UnwrapKey,                                                                                                 \
      (CK_SESSION_HANDLE hSession, CK_MECHANISM_PTR pMechanism, CK_OBJECT_HANDLE hUnwrappingKey,                   \
       CK_BYTE_PTR pWrappedKey, CK_ULONG ulWrappedKeyLen, CK_ATTRIBUTE_PTR pTemplate, CK_ULONG ulAttributeCount,    \
       CK_OBJECT_HANDLE_PTR phKey),                                                                                \
      (hSession, pMechanism, hUnwrappingKey, pWrappedKey, ulWrappedKeyLen, pTemplate, ulAttributeCount, phKey))    \
    X(C_DeriveKey,                                                                                                 \
      (CK_SESSION_HANDLE hSession, CK_MECHANISM_PTR pMechanism, CK_OBJECT_HANDLE hBaseKey,                         \
       CK_ATTRIBUTE_PTR pTemplate, CK_ULONG ulAttributeCount, CK_OBJECT_HANDLE_PTR phKey),                         \
      (hSession, pMechanism, hBaseKey, pTemplate, ulAttributeCount, phKey))                                        \
    X(C_SeedRandom, (CK_SESSION_HANDLE hSession, CK_BYTE_PTR pSeed, CK_ULONG ulSeedLen), (hSession, pSeed, ulSeedLen)) \
    X(C_GenerateRandom, (CK_SESSION_HANDLE hSession, CK_BYTE_PTR RandomData, CK_ULONG ulRandomLen),                \
      (hSession, RandomData, ulRandomLen))                                                                         \
    X(C_GetFunctionStatus, (CK_SESSION_HANDLE hSession), (hSession))                                               \
    X(C_CancelFunction, (CK_SESSION_HANDLE hSession), (hSession))                                                  \
    X(C_WaitForSlotEvent, (CK_FLAGS flags, CK_SLOT_ID_PTR pSlot, CK_VOID_PTR pReserved), (flags, pSlot, pReserved))

/* The token library's vendor functions. */
#define CK_VENDOR_FUNCTIONS(X)                                                                                       \
    X(CT_CopyObject,                                                                                               \
      (CK_SESSION_HANDLE hSession, CK_SESSION_HANDLE hSecondSession, CK_OBJECT_HANDLE hObject,                     \
       CK_ATTRIBUTE_PTR pTemplate, CK_ULONG ulCount, CK_OBJECT_HANDLE_PTR phNewObject),                            \
      (hSession, hSecondSession, hObject, pTemplate, ulCount, phNewObject))                                        \
    X(CT_InitToken,                                                                                                \
      (CK_SESSION_HANDLE hSession, CK_SLOT_ID slotID, CK_CHAR_PTR pPin, CK_ULONG ulPinLen, CK_CHAR_PTR pLabel),    \
      (hSession, slotID, pPin, ulPinLen, pLabel))                                                                  \
    X(CT_ResetToken, (CK_SESSION_HANDLE hSession, CK_CHAR_PTR pPin, CK_ULONG ulPinLen, CK_CHAR_PTR pLabel),        \
      (hSession, pPin, ulPinLen, pLabel))                                                                          \
    X(FMSC_SendReceive,                                                                                            \
      (CK_SESSION_HANDLE hSession, unsigned short fmNumber, CK_BYTE_PTR pRequest, CK_ULONG requestLen,             \
       CK_BYTE_PTR pResponse, CK_ULONG responseLen, CK_ULONG_PTR pReceivedLen, unsigned int *pStatus),             \
      (hSession, fmNumber, pRequest, requestLen, pResponse, responseLen, pReceivedLen, pStatus))

#define CK_DECLARE_FUNCTION_(name, params, args) CK_EXPORT CK_RV name params;
CK_STANDARD_FUNCTIONS(CK_DECLARE_FUNCTION_)
CK_VENDOR_FUNCTIONS(CK_DECLARE_FUNCTION_)
#undef CK_DECLARE_FUNCTION_

/* The standard function list, for modules reached through C_GetFunctionList. */
typedef struct CK_FUNCTION_LIST CK_FUNCTION_LIST;
typedef CK_FUNCTION_LIST *CK_FUNCTION_LIST_PTR;
typedef CK_FUNCTION_LIST_PTR *CK_FUNCTION_LIST_PTR_PTR;

#define CK_FUNCTION_POINTER_(name, params, args) CK_RV(*name) params;
struct CK_FUNCTION_LIST {
    CK_VERSION version;
    CK_STANDARD_FUNCTIONS_HEAD(CK_FUNCTION_POINTER_)
    CK_RV (*C_GetFunctionList)(CK_FUNCTION_LIST_PTR_PTR ppFunctionList);
    CK_STANDARD_FUNCTIONS_TAIL(CK_FUNCTION_POINTER_)
};
#undef CK_FUNCTION_POINTER_

CK_EXPORT CK_RV C_GetFunctionList(CK_FUNCTION_LIST_PTR_PTR ppFunctionList);

#ifdef __cplusplus
} /* extern "C" */
#endif

/* ---- layout checks for x86-64 -------------------------------------------- */
#if defined(__x86_64__)
#ifdef __cplusplus
#define CK_LAYOUT_ASSERT_(cond, msg) static_assert(cond, msg)
#else
#define CK_LAYOUT_ASSERT_(cond, msg) _Static_assert(cond, msg)
#endif
CK_LAYOUT_ASSERT_(sizeof(CK_ULONG) == 8, "CK_ULONG must carry a Java long");
CK_LAYOUT_ASSERT_(sizeof(CK_VERSION) == 2, "CK_VERSION");
CK_LAYOUT_ASSERT_(sizeof(CK_DATE) == 8, "CK_DATE");
CK_LAYOUT_ASSERT_(sizeof(CK_INFO) == 88, "CK_INFO");
CK_LAYOUT_ASSERT_(sizeof(CK_ATTRIBUTE) == 24, "CK_ATTRIBUTE");
CK_LAYOUT_ASSERT_(sizeof(CK_MECHANISM) == 24, "CK_MECHANISM");
CK_LAYOUT_ASSERT_(sizeof(CK_C_INITIALIZE_ARGS) == 48, "CK_C_INITIALIZE_ARGS");
CK_LAYOUT_ASSERT_(sizeof(CK_PKCS12_PBE_IMPORT_PARAMS) == 64, "CK_PKCS12_PBE_IMPORT_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_PKCS12_PBE_EXPORT_PARAMS) == 64, "CK_PKCS12_PBE_EXPORT_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_RSA_PKCS_OAEP_PARAMS) == 40, "CK_RSA_PKCS_OAEP_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_RSA_PKCS_PSS_PARAMS) == 24, "CK_RSA_PKCS_PSS_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_RC2_CBC_PARAMS) == 16, "CK_RC2_CBC_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_RC2_MAC_GENERAL_PARAMS) == 16, "CK_RC2_MAC_GENERAL_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_PBE_PARAMS) == 48, "CK_PBE_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_KEY_WRAP_SET_OAEP_PARAMS) == 24, "CK_KEY_WRAP_SET_OAEP_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_SSL3_MASTER_KEY_DERIVE_PARAMS) == 40, "CK_SSL3_MASTER_KEY_DERIVE_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_SSL3_KEY_MAT_PARAMS) == 72, "CK_SSL3_KEY_MAT_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_KEY_DERIVATION_STRING_DATA) == 16, "CK_KEY_DERIVATION_STRING_DATA");
CK_LAYOUT_ASSERT_(sizeof(CK_MECH_TYPE_AND_OBJECT) == 16, "CK_MECH_TYPE_AND_OBJECT");
CK_LAYOUT_ASSERT_(sizeof(CK_DES_CBC_PARAMS) == 16, "CK_DES_CBC_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_DES2_CBC_PARAMS) == 24, "CK_DES2_CBC_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_DES3_CBC_PARAMS) == 32, "CK_DES3_CBC_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_DES_CBC_ENCRYPT_DATA_PARAMS) == 24, "CK_DES_CBC_ENCRYPT_DATA_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_AES_CBC_ENCRYPT_DATA_PARAMS) == 32, "CK_AES_CBC_ENCRYPT_DATA_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_AES_GCM_PARAMS) == 40, "CK_AES_GCM_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_GCM_PARAMS) == 40, "CK_GCM_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_AES_CTR_PARAMS) == 24, "CK_AES_CTR_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_AES_CCM_PARAMS) == 48, "CK_AES_CCM_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_TIMESTAMP_PARAMS) == 16, "CK_TIMESTAMP_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_REPLICATE_TOKEN_PARAMS) == 16, "CK_REPLICATE_TOKEN_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_SECRET_SHARE_PARAMS) == 16, "CK_SECRET_SHARE_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_ECIES_PARAMS) == 88, "CK_ECIES_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_ECDH1_DERIVE_PARAMS) == 40, "CK_ECDH1_DERIVE_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_BIP32_MASTER_DERIVE_PARAMS) == 48, "CK_BIP32_MASTER_DERIVE_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_BIP32_CHILD_DERIVE_PARAMS) == 72, "CK_BIP32_CHILD_DERIVE_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_GEN_PIK_PARAM) == 1, "CK_GEN_PIK_PARAM");
CK_LAYOUT_ASSERT_(sizeof(CK_KDE_ECCP521_DERIVE_PARAMS) == 80, "CK_KDE_ECCP521_DERIVE_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_KDE_TOKEN_WRAP_PARAMS) == 64, "CK_KDE_TOKEN_WRAP_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_EDDSA_PARAMS) == 24, "CK_EDDSA_PARAMS");
CK_LAYOUT_ASSERT_(sizeof(CK_PP_LOAD_SECRET_PARAMS) == 16, "CK_PP_LOAD_SECRET_PARAMS");
#undef CK_LAYOUT_ASSERT_
#endif

#endif /* MORLIN_CRYPTOKI_H */
