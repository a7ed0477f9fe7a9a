// attrtst: what kind of value an attribute type holds, which attributes are
// secret, and a row's value read as a number whatever its stored width.
//
// The type lists are this library's own view: the token library's types
// (0x80000000 and up) stand beside the standard ones, and membership alone
// decides. A row's ulValueLen is the only mark of a number's width.
#include <cstring>
#include <iterator>

#include "morlin_util.h"

namespace {

constexpr CK_ATTRIBUTE_TYPE kBooleanTypes[] = {
    0x1,         // TOKEN
    0x2,         // PRIVATE
    0x86,        // TRUSTED
    0x103,       // SENSITIVE
    0x104,       // ENCRYPT
    0x105,       // DECRYPT
    0x106,       // WRAP
    0x107,       // UNWRAP
    0x108,       // SIGN
    0x109,       // SIGN_RECOVER
    0x10a,       // VERIFY
    0x10b,       // VERIFY_RECOVER
    0x10c,       // DERIVE
    0x162,       // EXTRACTABLE
    0x163,       // LOCAL
    0x164,       // NEVER_EXTRACTABLE
    0x165,       // ALWAYS_SENSITIVE
    0x170,       // MODIFIABLE
    0x301,       // RESET_ON_INIT
    0x302,       // HAS_RESET
    0x80000127,  // SIGN_LOCAL_CERT
    0x80000128,  // EXPORT
    0x80000129,  // EXPORTABLE
    0x8000012a,  // DELETABLE
    0x8000012b,  // IMPORT
    0x80000139,  // PURGE
    0x8000013a,  // EVENT_LOG_FULL
    0x80000145,  // TAMPER_CMD
    0x8000014b,  // RTC_AAC_ENABLED
    0x80000170,  // VERIFY_OS
    // Named like values, stored as flags: an object is or is not one of these.
    0x80000290,  // LOCAL_IDENTITY_CERT
    0x80000291,  // HSM_OWNER_CERT
    0x80000292,  // HSM_ROOT_CERT
    0x80002000,  // AUDIT_KEY
};

constexpr CK_ATTRIBUTE_TYPE kEnumeratedTypes[] = {
    0x0,    // CLASS
    0x80,   // CERTIFICATE_TYPE
    0x100,  // KEY_TYPE
    0x300,  // HW_FEATURE_TYPE
};

constexpr CK_ATTRIBUTE_TYPE kMechanismList = 0x80000104;

constexpr CK_ATTRIBUTE_TYPE kNumericTypes[] = {
    0x0,             // CLASS
    0x80,            // CERTIFICATE_TYPE
    0x100,           // KEY_TYPE
    0x121,           // MODULUS_BITS
    0x133,           // PRIME_BITS
    0x134,           // SUB_PRIME_BITS
    0x160,           // VALUE_BITS
    0x161,           // VALUE_LEN
    0x166,           // KEY_GEN_MECHANISM
    0x300,           // HW_FEATURE_TYPE
    0x80000101,      // USAGE_COUNT
    kMechanismList,  // MECHANISM_LIST, an array of mechanism values
    0x8000012c,      // KEY_SIZE
    0x80000132,      // SERIAL_NUMBER_INT
    0x80000136,      // RECORD_COUNT
    0x80000137,      // RECORD_NUMBER
    0x80000140,      // SECURITY_MODE
    0x80000141,      // TRANSPORT_MODE
    0x80000142,      // BATCH
    0x80000143,      // HW_STATUS
    0x80000144,      // FREE_MEM
    0x80000148,      // APPLICATION_COUNT
    0x8000014c,      // RTC_AAC_GUARD_SECONDS
    0x8000014d,      // RTC_AAC_GUARD_COUNT
    0x8000014e,      // AAC_GUARD_DURATION
    0x80000150,      // PERFORMANCE_LEVEL
    0x80000151,      // SLOT_ID
    0x80000155,      // MAX_SESSIONS
    0x80000156,      // MIN_PIN_LEN
    0x80000158,      // MAX_PIN_FAIL
    0x80000159,      // FLAGS
    0x80000185,      // ROM_SPACE
    0x80000186,      // RAM_SPACE
    0x80000187,      // FM_STATUS
    0x80000189,      // FM_STARTUP_STATUS
    0x8000018a,      // FM_ID
    0x80000200,      // USAGE_LIMIT
    0x80001101,      // BIP32_VERSION_BYTES
    0x80001102,      // BIP32_CHILD_INDEX
    0x80001103,      // BIP32_CHILD_DEPTH
};

template <size_t N>
bool Holds(const CK_ATTRIBUTE_TYPE (&list)[N], CK_ATTRIBUTE_TYPE type) {
    for (CK_ATTRIBUTE_TYPE t : list)
        if (t == type) return true;
    return false;
}

// A flag or a number stored in a CK_BBOOL up to a CK_ULONG.
bool ScalarWidth(CK_ULONG length) { return length >= 1 && length <= 8; }

// Zero-extended read of a width that the caller has checked.
CK_ULONG Read(const void* value, CK_ULONG width) {
    switch (width) {
        case 1: {
            CK_BYTE v;
            memcpy(&v, value, 1);
            return v;
        }
        case 2: {
            unsigned short v;
            memcpy(&v, value, 2);
            return v;
        }
        case 4: {
            unsigned int v;
            memcpy(&v, value, 4);
            return v;
        }
        default: {
            CK_ULONG v;
            memcpy(&v, value, 8);
            return v;
        }
    }
}

bool Readable(const CK_ATTRIBUTE* pAttr) {
    if (pAttr == nullptr || pAttr->pValue == nullptr) return false;
    const CK_ULONG n = pAttr->ulValueLen;
    return n == 1 || n == 2 || n == 4 || n == 8;
}

}  // namespace

extern "C" {

int isBooleanAttr(const CK_ATTRIBUTE* pAttr) {
    return pAttr != nullptr && Holds(kBooleanTypes, pAttr->type) && ScalarWidth(pAttr->ulValueLen);
}

int isEnumeratedAttr(const CK_ATTRIBUTE* pAttr) {
    return pAttr != nullptr && Holds(kEnumeratedTypes, pAttr->type) && ScalarWidth(pAttr->ulValueLen);
}

int isNumericAttrType(CK_ATTRIBUTE_TYPE type) { return Holds(kNumericTypes, type); }

int isNumericAttr(const CK_ATTRIBUTE* pAttr) {
    if (pAttr == nullptr || !isNumericAttrType(pAttr->type)) return 0;
    // A mechanism list holds any number of CK_MECHANISM_TYPE values.
    if (pAttr->type == kMechanismList) return pAttr->ulValueLen != 0 && pAttr->ulValueLen % 8 == 0;
    return ScalarWidth(pAttr->ulValueLen);
}

// The key material of a private key lies in its CRT parts as well as in
// VALUE; a hardware feature holds no secret; any other object keeps its
// secret, if it has one, in VALUE, which is why a public key's VALUE counts
// too.
int isSensitiveAttr(const AttributeSet* set, const CK_ATTRIBUTE* pAttr) {
    if (set == nullptr || pAttr == nullptr) return 0;
    const CK_ATTRIBUTE* classRow = FindAttr(CKA_CLASS, set);
    if (classRow == nullptr) return 0;
    const CK_ATTRIBUTE_TYPE type = pAttr->type;
    switch (numAttr(classRow)) {
        case CKO_PRIVATE_KEY:
            return type == CKA_VALUE || (type >= CKA_PRIVATE_EXPONENT && type <= CKA_COEFFICIENT);
        case CKO_HW_FEATURE:
            return 0;
        default:
            return type == CKA_VALUE;
    }
}

CK_ULONG numAttr(const CK_ATTRIBUTE* pAttr) { return Readable(pAttr) ? Read(pAttr->pValue, pAttr->ulValueLen) : ~0UL; }

// A CK_ULONG keeps its low half in its first four bytes on this host, so 8
// bytes read as 4: the high half is dropped without a mark.
int intAttr(const CK_ATTRIBUTE* pAttr) {
    if (!Readable(pAttr)) return -1;
    const CK_ULONG width = pAttr->ulValueLen == 8 ? 4 : pAttr->ulValueLen;
    return static_cast<int>(static_cast<unsigned int>(Read(pAttr->pValue, width)));
}

CK_ULONG numAttrLookup(CK_ATTRIBUTE_TYPE type, CK_ATTRIBUTE* pAttributes, CK_ULONG count) {
    const CK_ATTRIBUTE* row = FindAttribute(type, pAttributes, count);
    return row != nullptr ? numAttr(row) : ~0UL;
}

int intAttrLookup(CK_ATTRIBUTE_TYPE type, CK_ATTRIBUTE* pAttributes, CK_ULONG count) {
    const CK_ATTRIBUTE* row = FindAttribute(type, pAttributes, count);
    return row != nullptr ? intAttr(row) : -1;
}

}  // extern "C"
