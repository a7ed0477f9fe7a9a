// ecattr: named elliptic curves. A curve's text name gives the DER of its
// object identifier, the value of CKA_EC_PARAMS in a key template; such a
// DER gives back the key size in bits; and a curve that the tables do not
// hold is looked for on the token as a domain-parameter object labelled with
// its name.
//
// Two tables: the names, several per curve, each with a private id, and the
// DER values by id. curve25519 and ed25519 have two DER rows each, the older
// long object identifier first: a name encodes to the first row of its id,
// so to the long form, while a size is found for either form.
#include <cstdint>
#include <cstring>
#include <iterator>

#include "morlin_util.h"

namespace {

struct Curve {
    const char* name;
    uint32_t id;
};

constexpr Curve curves[] = {
    {"P-192", 0x7101},           {"prime192v1", 0x7101},      {"secp192r1", 0x7101},       {"P-224", 0x7108},
    {"secp224r1", 0x7108},       {"P-224K1", 0x710a},         {"secp224k1", 0x710a},       {"P-256", 0x7107},
    {"prime256v1", 0x7107},      {"secp256r1", 0x7107},       {"P-384", 0x7109},           {"secp384r1", 0x7109},
    {"P-521", 0x7110},           {"secp521r1", 0x7110},       {"c2tnb191v1", 0x7005},      {"c2tnb191v1e", 0x7050},
    {"secp256k1", 0x7111},       {"brainpoolP160r1", 0x7401}, {"brainpoolP160t1", 0x7402}, {"brainpoolP192r1", 0x7403},
    {"brainpoolP192t1", 0x7404}, {"brainpoolP224r1", 0x7405}, {"brainpoolP224t1", 0x7406}, {"brainpoolP256r1", 0x7407},
    {"brainpoolP256t1", 0x7408}, {"brainpoolP320r1", 0x7409}, {"brainpoolP320t1", 0x740a}, {"brainpoolP384r1", 0x740b},
    {"brainpoolP384t1", 0x740c}, {"brainpoolP512r1", 0x740d}, {"brainpoolP512t1", 0x740e}, {"curve25519", 0x7501},
    {"curve448", 0x7503},        {"ed25519", 0x7502},         {"ed448", 0x7504},
};
static_assert(std::size(curves) == 35, "35 names");

// The DER of each object identifier: tag 06, length, the encoded arcs.
constexpr CK_BYTE s_c2tnb191v1[] = {0x06, 0x08, 0x2a, 0x86, 0x48, 0xce, 0x3d, 0x03, 0x00, 0x05};
constexpr CK_BYTE s_prime192v1[] = {0x06, 0x08, 0x2a, 0x86, 0x48, 0xce, 0x3d, 0x03, 0x01, 0x01};
constexpr CK_BYTE s_secp224k1[] = {0x06, 0x05, 0x2b, 0x81, 0x04, 0x00, 0x20};
constexpr CK_BYTE s_secp224r1[] = {0x06, 0x05, 0x2b, 0x81, 0x04, 0x00, 0x21};
constexpr CK_BYTE s_secp256k1[] = {0x06, 0x05, 0x2b, 0x81, 0x04, 0x00, 0x0a};
constexpr CK_BYTE s_prime256v1[] = {0x06, 0x08, 0x2a, 0x86, 0x48, 0xce, 0x3d, 0x03, 0x01, 0x07};
constexpr CK_BYTE s_secp384r1[] = {0x06, 0x05, 0x2b, 0x81, 0x04, 0x00, 0x22};
constexpr CK_BYTE s_secp521r1[] = {0x06, 0x05, 0x2b, 0x81, 0x04, 0x00, 0x23};
constexpr CK_BYTE s_c2tnb191v1e[] = {0x06, 0x08, 0x2a, 0x86, 0x48, 0xce, 0x3d, 0x03, 0x00, 0x15};
// brainpool: 1.3.36.3.3.2.8.1.1.n
#define MORLIN_BRAINPOOL_(n) \
    { 0x06, 0x09, 0x2b, 0x24, 0x03, 0x03, 0x02, 0x08, 0x01, 0x01, n }
constexpr CK_BYTE s_bpoolP160r1[] = MORLIN_BRAINPOOL_(0x01);
constexpr CK_BYTE s_bpoolP160t1[] = MORLIN_BRAINPOOL_(0x02);
constexpr CK_BYTE s_bpoolP192r1[] = MORLIN_BRAINPOOL_(0x03);
constexpr CK_BYTE s_bpoolP192t1[] = MORLIN_BRAINPOOL_(0x04);
constexpr CK_BYTE s_bpoolP224r1[] = MORLIN_BRAINPOOL_(0x05);
constexpr CK_BYTE s_bpoolP224t1[] = MORLIN_BRAINPOOL_(0x06);
constexpr CK_BYTE s_bpoolP256r1[] = MORLIN_BRAINPOOL_(0x07);
constexpr CK_BYTE s_bpoolP256t1[] = MORLIN_BRAINPOOL_(0x08);
constexpr CK_BYTE s_bpoolP320r1[] = MORLIN_BRAINPOOL_(0x09);
constexpr CK_BYTE s_bpoolP320t1[] = MORLIN_BRAINPOOL_(0x0a);
constexpr CK_BYTE s_bpoolP384r1[] = MORLIN_BRAINPOOL_(0x0b);
constexpr CK_BYTE s_bpoolP384t1[] = MORLIN_BRAINPOOL_(0x0c);
constexpr CK_BYTE s_bpoolP512r1[] = MORLIN_BRAINPOOL_(0x0d);
constexpr CK_BYTE s_bpoolP512t1[] = MORLIN_BRAINPOOL_(0x0e);
#undef MORLIN_BRAINPOOL_
constexpr CK_BYTE s_curve25519[] = {0x06, 0x0a, 0x2b, 0x06, 0x01, 0x04, 0x01, 0x97, 0x55, 0x01, 0x05, 0x01};
constexpr CK_BYTE s_ed25519[] = {0x06, 0x09, 0x2b, 0x06, 0x01, 0x04, 0x01, 0xda, 0x47, 0x0f, 0x01};
constexpr CK_BYTE s_curve25519_rfc8410[] = {0x06, 0x03, 0x2b, 0x65, 0x6e};
constexpr CK_BYTE s_ed25519_rfc8410[] = {0x06, 0x03, 0x2b, 0x65, 0x70};
constexpr CK_BYTE s_curve448_rfc8410[] = {0x06, 0x03, 0x2b, 0x65, 0x6f};
constexpr CK_BYTE s_ed448_rfc8410[] = {0x06, 0x03, 0x2b, 0x65, 0x71};

struct DerRow {
    uint32_t id;
    const CK_BYTE* der;
    CK_ULONG length;
    CK_ULONG bits;
};

#define MORLIN_DER_(id, array, bits) \
    { id, array, sizeof array, bits }
constexpr DerRow s_DerTable[] = {
    MORLIN_DER_(0x7005, s_c2tnb191v1, 191),
    MORLIN_DER_(0x7101, s_prime192v1, 192),
    MORLIN_DER_(0x710a, s_secp224k1, 224),
    MORLIN_DER_(0x7108, s_secp224r1, 224),
    MORLIN_DER_(0x7111, s_secp256k1, 256),
    MORLIN_DER_(0x7107, s_prime256v1, 256),
    MORLIN_DER_(0x7109, s_secp384r1, 384),
    MORLIN_DER_(0x7110, s_secp521r1, 521),
    MORLIN_DER_(0x7050, s_c2tnb191v1e, 191),
    MORLIN_DER_(0x7401, s_bpoolP160r1, 160),
    MORLIN_DER_(0x7402, s_bpoolP160t1, 160),
    MORLIN_DER_(0x7403, s_bpoolP192r1, 192),
    MORLIN_DER_(0x7404, s_bpoolP192t1, 192),
    MORLIN_DER_(0x7405, s_bpoolP224r1, 224),
    MORLIN_DER_(0x7406, s_bpoolP224t1, 224),
    MORLIN_DER_(0x7407, s_bpoolP256r1, 256),
    MORLIN_DER_(0x7408, s_bpoolP256t1, 256),
    MORLIN_DER_(0x7409, s_bpoolP320r1, 320),
    MORLIN_DER_(0x740a, s_bpoolP320t1, 320),
    MORLIN_DER_(0x740b, s_bpoolP384r1, 384),
    MORLIN_DER_(0x740c, s_bpoolP384t1, 384),
    MORLIN_DER_(0x740d, s_bpoolP512r1, 512),
    MORLIN_DER_(0x740e, s_bpoolP512t1, 512),
    MORLIN_DER_(0x7501, s_curve25519, 256),
    MORLIN_DER_(0x7502, s_ed25519, 256),
    MORLIN_DER_(0x7501, s_curve25519_rfc8410, 256),
    MORLIN_DER_(0x7502, s_ed25519_rfc8410, 256),
    MORLIN_DER_(0x7503, s_curve448_rfc8410, 448),
    // 456, not 448: the size the token library gives an Ed448 key.
    MORLIN_DER_(0x7504, s_ed448_rfc8410, 456),
};
#undef MORLIN_DER_
static_assert(std::size(s_DerTable) == 29, "29 DER rows");

// Every DER value is one whole OBJECT IDENTIFIER, and every name has one.
constexpr bool WholeIdentifiers() {
    for (const DerRow& row : s_DerTable)
        if (row.der[0] != 0x06 || row.length != 2u + row.der[1]) return false;
    return true;
}
static_assert(WholeIdentifiers(), "each DER row is tag 06, its length, its arcs");

constexpr bool EveryNameEncodes() {
    for (const Curve& c : curves) {
        bool found = false;
        for (const DerRow& row : s_DerTable) found = found || row.id == c.id;
        if (!found) return false;
    }
    return true;
}
static_assert(EveryNameEncodes(), "each name has a DER row");

// Searches for one object of the domain-parameter template, whose label is
// the first labelLength bytes of the name. The first failing call is the
// result; a failed C_FindObjects leaves the search open.
CK_RV FindDomainParameters(CK_SESSION_HANDLE session, const char* name, CK_ULONG labelLength, CK_OBJECT_HANDLE* found,
                           CK_ULONG* count) {
    CK_OBJECT_CLASS cls = CKO_DOMAIN_PARAMETERS;
    CK_KEY_TYPE keyType = CKK_EC;
    CK_ATTRIBUTE tmpl[] = {
        {CKA_LABEL, const_cast<char*>(name), labelLength},
        {CKA_CLASS, &cls, sizeof cls},
        {CKA_KEY_TYPE, &keyType, sizeof keyType},
    };
    CK_RV rv = C_FindObjectsInit(session, tmpl, std::size(tmpl));
    if (rv != CKR_OK) return rv;
    rv = C_FindObjects(session, found, 1, count);
    if (rv != CKR_OK) return rv;
    return C_FindObjectsFinal(session);
}

}  // namespace

extern "C" {

CK_RV CT_DerEncodeNamedCurve(CK_BYTE_PTR pDerEcParams, CK_ULONG_PTR pulDerEcParamsLen, const char* curveName) {
    if (pulDerEcParamsLen == nullptr) return pDerEcParams == nullptr ? CKR_OK : CKR_ARGUMENTS_BAD;
    if (curveName == nullptr) return CKR_KEY_PARAMS_INVALID;
    const Curve* curve = nullptr;
    for (const Curve& c : curves) {
        if (strcmp(c.name, curveName) == 0) {
            curve = &c;
            break;
        }
    }
    if (curve == nullptr) return CKR_KEY_PARAMS_INVALID;
    for (const DerRow& row : s_DerTable) {
        if (row.id != curve->id) continue;
        if (pDerEcParams != nullptr) {
            if (*pulDerEcParamsLen < row.length) {
                *pulDerEcParamsLen = row.length;
                return CKR_BUFFER_TOO_SMALL;
            }
            memcpy(pDerEcParams, row.der, row.length);
        }
        *pulDerEcParamsLen = row.length;
        return CKR_OK;
    }
    return CKR_KEY_PARAMS_INVALID;
}

CK_RV CT_GetECKeySize(const CK_ATTRIBUTE* pEcParamsAttribute, CK_ULONG_PTR pulBits) {
    if (pEcParamsAttribute == nullptr || pulBits == nullptr) return CKR_ARGUMENTS_BAD;
    const CK_ULONG length = pEcParamsAttribute->ulValueLen;
    const void* value = pEcParamsAttribute->pValue;
    // The given length decides how much is compared, so a value that stops
    // short of a row and agrees with it so far matches, and an empty one
    // matches the first row. A value longer than a row matches none: the
    // row has no bytes to compare with the rest.
    for (const DerRow& row : s_DerTable) {
        if (length > row.length) continue;
        if (length > 0 && (value == nullptr || memcmp(value, row.der, length) != 0)) continue;
        *pulBits = row.bits;
        return CKR_OK;
    }
    return CKR_ATTRIBUTE_VALUE_INVALID;
}

CK_RV CT_GetECCDomainParameters(CK_SESSION_HANDLE hSession, CK_ATTRIBUTE* pAttribute, const char* curveName) {
    if (pAttribute == nullptr || curveName == nullptr) return CKR_ARGUMENTS_BAD;
    const CK_RV encoded =
        CT_DerEncodeNamedCurve(static_cast<CK_BYTE_PTR>(pAttribute->pValue), &pAttribute->ulValueLen, curveName);
    if (encoded == CKR_OK) return CKR_OK;
    // Any other answer, a buffer too small included, asks the token. Labels
    // are stored with or without the name's terminating NUL: without first.
    CK_OBJECT_HANDLE object = CK_INVALID_HANDLE;
    CK_ULONG count = 0;
    CK_ULONG labelLength = strlen(curveName);
    CK_RV rv = FindDomainParameters(hSession, curveName, labelLength, &object, &count);
    if (rv != CKR_OK) return rv;
    if (count == 0) {
        rv = FindDomainParameters(hSession, curveName, labelLength + 1, &object, &count);
        if (rv != CKR_OK) return rv;
        if (count == 0) return CKR_DOMAIN_PARAMS_INVALID;
    }
    pAttribute->type = CKA_EC_PARAMS;
    return C_GetAttributeValue(hSession, object, pAttribute, 1);
}

}  // extern "C"
