// mech: the mechanism catalogue. Which mechanisms go with a key type, which
// key types a mechanism takes, and which generator makes a key for what a
// token offers, all answered from constant lists without asking the token.
//
// A list carries no terminator; its length is the count that goes out with
// it. Two kinds of result are kept apart: the per-key-type lists and those
// cut to a token are fresh calloc blocks that the caller frees, while
// ktFromMech, hashMech, kgMech and kpgMech hand out the constant list itself.
//
// The lists are this library's own view and stay as they are, gaps and
// oddities included: callers show them to users and compare them with what
// tokens report. 0x566 and 0x567, the ARIA encrypt-data derivations, have no
// row in MechanismTable and so stand as bare numbers.
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "morlin_util.h"

static_assert(sizeof(MechanismTab::count) == 4, "MechanismTab::count is 32 bits wide");

namespace {

// A constant list and its length. CK_MECHANISM_TYPE and CK_KEY_TYPE are both
// CK_ULONG, so one shape serves both kinds.
struct List {
    const CK_ULONG* values;
    CK_ULONG count;
};

template <size_t N>
constexpr List Of(const CK_ULONG (&values)[N]) {
    return {values, N};
}

bool Holds(List list, CK_ULONG value) {
    for (CK_ULONG i = 0; i < list.count; ++i)
        if (list.values[i] == value) return true;
    return false;
}

// One row of a lookup by mechanism: any value in `from` answers `to`.
struct Rule {
    List from;
    List to;
};

// The first row that names the mechanism; a list of no entries for none.
List Answer(const Rule* rules, size_t n, CK_MECHANISM_TYPE mech) {
    for (size_t i = 0; i < n; ++i)
        if (Holds(rules[i].from, mech)) return rules[i].to;
    return {nullptr, 0};
}

// ---- mechFromKt: ciphers, wrapping and derivation by encryption --------------

constexpr CK_MECHANISM_TYPE kCipherRsa[] = {
    0x3,  // RSA_X_509
    0x1,  // RSA_PKCS
    0x2,  // RSA_9796
    0x9,  // RSA_PKCS_OAEP
};
static_assert(std::size(kCipherRsa) == 4);

constexpr CK_MECHANISM_TYPE kCipherDsa[] = {
    0x11,  // DSA
};
static_assert(std::size(kCipherDsa) == 1);

constexpr CK_MECHANISM_TYPE kCipherEc[] = {
    0x1041,      // ECDSA
    0x80000a00,  // ECIES
};
static_assert(std::size(kCipherEc) == 2);

constexpr CK_MECHANISM_TYPE kCipherRc2[] = {
    0x101,       // RC2_ECB
    0x102,       // RC2_CBC
    0x80000101,  // RC2_ECB_PAD
    0x105,       // RC2_CBC_PAD
};
static_assert(std::size(kCipherRc2) == 4);

constexpr CK_MECHANISM_TYPE kCipherRc4[] = {
    0x111,  // RC4
};
static_assert(std::size(kCipherRc4) == 1);

constexpr CK_MECHANISM_TYPE kCipherDes[] = {
    0x121,       // DES_ECB
    0x122,       // DES_CBC
    0x80000940,  // DES_OFB64
    0x80000500,  // DES_DERIVE_ECB_DEPRECATED
    0x80000501,  // DES_DERIVE_CBC_DEPRECATED
    0x1100,      // DES_ECB_ENCRYPT_DATA
    0x1101,      // DES_CBC_ENCRYPT_DATA
};
static_assert(std::size(kCipherDes) == 7);

constexpr CK_MECHANISM_TYPE kCipherDes2[] = {
    0x132,       // DES3_ECB
    0x80000132,  // DES3_ECB_PAD
    0x133,       // DES3_CBC
    0x136,       // DES3_CBC_PAD
    0x80000941,  // DES3_OFB64
    0x80000961,  // WRAPKEY_DES3_ECB
    0x80000962,  // WRAPKEY_DES3_CBC
    0x80000971,  // WRAPKEYBLOB_DES3_CBC
    0x80000502,  // DES3_DERIVE_ECB_DEPRECATED
    0x80000503,  // DES3_DERIVE_CBC_DEPRECATED
    0x1102,      // DES3_ECB_ENCRYPT_DATA
    0x1103,      // DES3_CBC_ENCRYPT_DATA
    0x80000964,  // DES3_DDD_CBC
    0x800009b0,  // VISA_CVV
    0x80000410,  // UNWRAP_TR31_DISCARD
    0x80000411,  // UNWRAP_TR31
    0x80000412,  // WRAP_TR31_DERIVE
    0x80000413,  // WRAP_TR31_VARIANT
};
static_assert(std::size(kCipherDes2) == 18);

constexpr CK_MECHANISM_TYPE kCipherDes3[] = {
    0x132,       // DES3_ECB
    0x80000132,  // DES3_ECB_PAD
    0x133,       // DES3_CBC
    0x136,       // DES3_CBC_PAD
    0x80000941,  // DES3_OFB64
    0x80000172,  // TDEA_TKW
    0x80000961,  // WRAPKEY_DES3_ECB
    0x80000962,  // WRAPKEY_DES3_CBC
    0x80000971,  // WRAPKEYBLOB_DES3_CBC
    0x80000502,  // DES3_DERIVE_ECB_DEPRECATED
    0x80000503,  // DES3_DERIVE_CBC_DEPRECATED
    0x1102,      // DES3_ECB_ENCRYPT_DATA
    0x1103,      // DES3_CBC_ENCRYPT_DATA
    0x80000410,  // UNWRAP_TR31_DISCARD
    0x80000411,  // UNWRAP_TR31
    0x80000412,  // WRAP_TR31_DERIVE
    0x80000413,  // WRAP_TR31_VARIANT
};
static_assert(std::size(kCipherDes3) == 17);

constexpr CK_MECHANISM_TYPE kCipherCast[] = {
    0x301,  // CAST_ECB
    0x302,  // CAST_CBC
};
static_assert(std::size(kCipherCast) == 2);

constexpr CK_MECHANISM_TYPE kCipherCast128[] = {
    0x321,       // CAST128_ECB
    0x322,       // CAST128_CBC
    0x80000321,  // CAST128_ECB_PAD
    0x325,       // CAST128_CBC_PAD
};
static_assert(std::size(kCipherCast128) == 4);

constexpr CK_MECHANISM_TYPE kCipherIdea[] = {
    0x341,       // IDEA_ECB
    0x342,       // IDEA_CBC
    0x80000341,  // IDEA_ECB_PAD
    0x345,       // IDEA_CBC_PAD
};
static_assert(std::size(kCipherIdea) == 4);

constexpr CK_MECHANISM_TYPE kCipherAes[] = {
    0x1081,      // AES_ECB
    0x1082,      // AES_CBC
    0x1085,      // AES_CBC_PAD
    0x80000963,  // WRAPKEY_AES_CBC
    0x2104,      // AES_OFB
    0x80000970,  // WRAPKEYBLOB_AES_CBC
    0x2109,      // AES_KEY_WRAP
    0x210a,      // AES_KEY_WRAP_PAD
    0x1090,      // AES_KEY_WRAP_DEPRECATED
    0x1091,      // AES_KEY_WRAP_PAD_DEPRECATED
    0x80000170,  // AES_KW
    0x80000171,  // AES_KWP
    0x80000965,  // WRAPKEY_AES_KWP
    0x1087,      // AES_GCM
    0x80000966,  // AES_GCM_OLD
    0x1088,      // AES_CCM
    0x1086,      // AES_CTR
    0x80000410,  // UNWRAP_TR31_DISCARD
    0x80000411,  // UNWRAP_TR31
    0x80000412,  // WRAP_TR31_DERIVE
    0x80000414,  // WRAP_TR31_DERIVE_CTR
};
static_assert(std::size(kCipherAes) == 21);

constexpr CK_MECHANISM_TYPE kCipherAria[] = {
    0x561,  // ARIA_ECB
    0x562,  // ARIA_CBC
    0x563,  // ARIA_MAC
    0x564,  // ARIA_MAC_GENERAL
    0x565,  // ARIA_CBC_PAD
    0x566,  // ARIA_ECB_ENCRYPT_DATA, no row in MechanismTable
    0x567,  // ARIA_CBC_ENCRYPT_DATA, no row in MechanismTable
};
static_assert(std::size(kCipherAria) == 7);

constexpr CK_MECHANISM_TYPE kCipherSeed[] = {
    0x800009d1,  // SEED_ECB
    0x800009d2,  // SEED_CBC
    0x800009d3,  // SEED_MAC
    0x800009d4,  // SEED_MAC_GENERAL
    0x800009d5,  // SEED_ECB_PAD
    0x800009d6,  // SEED_CBC_PAD
};
static_assert(std::size(kCipherSeed) == 6);

constexpr CK_MECHANISM_TYPE kCipherAny[] = {
    0x121,       // DES_ECB
    0x80000132,  // DES3_ECB_PAD
    0x122,       // DES_CBC
    0x125,       // DES_CBC_PAD
    0x80000940,  // DES_OFB64
    0x132,       // DES3_ECB
    0x133,       // DES3_CBC
    0x80000941,  // DES3_OFB64
    0x80000172,  // TDEA_TKW
    0x80000961,  // WRAPKEY_DES3_ECB
    0x80000962,  // WRAPKEY_DES3_CBC
    0x80000963,  // WRAPKEY_AES_CBC
    0x80000971,  // WRAPKEYBLOB_DES3_CBC
    0x80000970,  // WRAPKEYBLOB_AES_CBC
    0x80000171,  // AES_KWP
    0x80000170,  // AES_KW
    0x80000965,  // WRAPKEY_AES_KWP
    0x80000964,  // DES3_DDD_CBC
    0x80000500,  // DES_DERIVE_ECB_DEPRECATED
    0x80000501,  // DES_DERIVE_CBC_DEPRECATED
    0x1100,      // DES_ECB_ENCRYPT_DATA
    0x1101,      // DES_CBC_ENCRYPT_DATA
    0x80000502,  // DES3_DERIVE_ECB_DEPRECATED
    0x80000503,  // DES3_DERIVE_CBC_DEPRECATED
    0x1102,      // DES3_ECB_ENCRYPT_DATA
    0x1103,      // DES3_CBC_ENCRYPT_DATA
    0x341,       // IDEA_ECB
    0x342,       // IDEA_CBC
    0x301,       // CAST_ECB
    0x302,       // CAST_CBC
    0x321,       // CAST128_ECB
    0x322,       // CAST128_CBC
    0x1081,      // AES_ECB
    0x1082,      // AES_CBC
    0x1085,      // AES_CBC_PAD
    0x2104,      // AES_OFB
    0x1087,      // AES_GCM
    0x80000966,  // AES_GCM_OLD
    0x1088,      // AES_CCM
    0x101,       // RC2_ECB
    0x102,       // RC2_CBC
    0x111,       // RC4
    0x11,        // DSA
    0x1041,      // ECDSA
    0x80000a00,  // ECIES
    0x3,         // RSA_X_509
    0x1,         // RSA_PKCS
    0x2,         // RSA_9796
    0x800009b0,  // VISA_CVV
    0x800009d1,  // SEED_ECB
    0x800009d2,  // SEED_CBC
    0x800009d3,  // SEED_MAC
    0x800009d4,  // SEED_MAC_GENERAL
    0x800009d5,  // SEED_ECB_PAD
    0x800009d6,  // SEED_CBC_PAD
    0x561,       // ARIA_ECB
    0x562,       // ARIA_CBC
    0x563,       // ARIA_MAC
    0x564,       // ARIA_MAC_GENERAL
    0x565,       // ARIA_CBC_PAD
    0x566,       // ARIA_ECB_ENCRYPT_DATA, no row in MechanismTable
    0x567,       // ARIA_CBC_ENCRYPT_DATA, no row in MechanismTable
    0x80000410,  // UNWRAP_TR31_DISCARD
    0x80000411,  // UNWRAP_TR31
    0x80000412,  // WRAP_TR31_DERIVE
    0x80000414,  // WRAP_TR31_DERIVE_CTR
    0x80000413,  // WRAP_TR31_VARIANT
};
static_assert(std::size(kCipherAny) == 67);

List CipherList(CK_KEY_TYPE keyType) {
    switch (keyType) {
        case 0x0:  // RSA
            return Of(kCipherRsa);
        case 0x1:  // DSA
            return Of(kCipherDsa);
        case 0x3:         // EC
        case 0x80000014:  // BIP32
            return Of(kCipherEc);
        case 0x11:  // RC2
            return Of(kCipherRc2);
        case 0x12:  // RC4
            return Of(kCipherRc4);
        case 0x13:  // DES
            return Of(kCipherDes);
        case 0x14:  // DES2
            return Of(kCipherDes2);
        case 0x15:  // DES3
            return Of(kCipherDes3);
        case 0x16:  // CAST
            return Of(kCipherCast);
        case 0x18:  // CAST128
            return Of(kCipherCast128);
        case 0x1a:  // IDEA
            return Of(kCipherIdea);
        case 0x1f:  // AES
            return Of(kCipherAes);
        case 0x26:  // ARIA
            return Of(kCipherAria);
        case 0x80000203:  // SEED
            return Of(kCipherSeed);
        default:  // DH, GENERIC_SECRET and EC_EDWARDS among them
            return Of(kCipherAny);
    }
}

// ---- mechSignFromKt: signatures and MACs -------------------------------------

constexpr CK_MECHANISM_TYPE kSignRsa[] = {
    0x3,         // RSA_X_509
    0x1,         // RSA_PKCS
    0x2,         // RSA_9796
    0x6,         // SHA1_RSA_PKCS
    0x5,         // MD5_RSA_PKCS
    0x46,        // SHA224_RSA_PKCS
    0x40,        // SHA256_RSA_PKCS
    0x41,        // SHA384_RSA_PKCS
    0x42,        // SHA512_RSA_PKCS
    0x66,        // SHA3_224_RSA_PKCS
    0x60,        // SHA3_256_RSA_PKCS
    0x61,        // SHA3_384_RSA_PKCS
    0x62,        // SHA3_512_RSA_PKCS
    0x7,         // RIPEMD128_RSA_PKCS
    0x8,         // RIPEMD160_RSA_PKCS
    0x80000600,  // SHA1_RSA_PKCS_TIMESTAMP
    0xd,         // RSA_PKCS_PSS
    0xe,         // SHA1_RSA_PKCS_PSS
    0x47,        // SHA224_RSA_PKCS_PSS
    0x43,        // SHA256_RSA_PKCS_PSS
    0x44,        // SHA384_RSA_PKCS_PSS
    0x45,        // SHA512_RSA_PKCS_PSS
    0x67,        // SHA3_224_RSA_PKCS_PSS
    0x63,        // SHA3_256_RSA_PKCS_PSS
    0x64,        // SHA3_384_RSA_PKCS_PSS
    0x65,        // SHA3_512_RSA_PKCS_PSS
    0x80000994,  // OS_UPGRADE_2
    0x80000995,  // FM_DOWNLOAD_2
};
static_assert(std::size(kSignRsa) == 28);

constexpr CK_MECHANISM_TYPE kSignDsa[] = {
    0x11,        // DSA
    0x12,        // DSA_SHA1
    0x80000013,  // DSA_SHA1_PKCS
    0x13,        // DSA_SHA224
    0x80000032,  // DSA_SHA224_DEPRECATED
    0x80000033,  // DSA_SHA224_PKCS
    0x14,        // DSA_SHA256
    0x80000034,  // DSA_SHA256_DEPRECATED
    0x80000035,  // DSA_SHA256_PKCS
    0x15,        // DSA_SHA384
    0x80000036,  // DSA_SHA384_PKCS
    0x16,        // DSA_SHA512
    0x80000037,  // DSA_SHA512_PKCS
};
static_assert(std::size(kSignDsa) == 13);

constexpr CK_MECHANISM_TYPE kSignEc[] = {
    0x1041,      // ECDSA
    0x1042,      // ECDSA_SHA1
    0x80000122,  // ECDSA_SHA224
    0x80000123,  // ECDSA_SHA256
    0x80000124,  // ECDSA_SHA384
    0x80000125,  // ECDSA_SHA512
    0x1047,      // ECDSA_SHA3_224
    0x1048,      // ECDSA_SHA3_256
    0x1049,      // ECDSA_SHA3_384
    0x104a,      // ECDSA_SHA3_512
    0x80000161,  // ECDSA_GBCS_SHA256
};
static_assert(std::size(kSignEc) == 11);

constexpr CK_MECHANISM_TYPE kSignGeneric[] = {
    0x201,  // MD2_HMAC
    0x202,  // MD2_HMAC_GENERAL
    0x211,  // MD5_HMAC
    0x212,  // MD5_HMAC_GENERAL
    0x221,  // SHA_1_HMAC
    0x222,  // SHA_1_HMAC_GENERAL
    0x256,  // SHA224_HMAC
    0x257,  // SHA224_HMAC_GENERAL
    0x251,  // SHA256_HMAC
    0x252,  // SHA256_HMAC_GENERAL
    0x261,  // SHA384_HMAC
    0x262,  // SHA384_HMAC_GENERAL
    0x271,  // SHA512_HMAC
    0x272,  // SHA512_HMAC_GENERAL
    0x231,  // RIPEMD128_HMAC
    0x232,  // RIPEMD128_HMAC_GENERAL
    0x241,  // RIPEMD160_HMAC
    0x242,  // RIPEMD160_HMAC_GENERAL
};
static_assert(std::size(kSignGeneric) == 18);

constexpr CK_MECHANISM_TYPE kSignRc2[] = {
    0x103,  // RC2_MAC
    0x104,  // RC2_MAC_GENERAL
};
static_assert(std::size(kSignRc2) == 2);

constexpr CK_MECHANISM_TYPE kSignDes[] = {
    0x123,  // DES_MAC
    0x124,  // DES_MAC_GENERAL
};
static_assert(std::size(kSignDes) == 2);

constexpr CK_MECHANISM_TYPE kSignDes2[] = {
    0x134,       // DES3_MAC
    0x135,       // DES3_MAC_GENERAL
    0x80000134,  // DES3_X919_MAC
    0x80000510,  // DES3_RETAIL_CFB_MAC
    0x800009b0,  // VISA_CVV
    0x138,       // DES3_CMAC
    0x137,       // DES3_CMAC_GENERAL
};
static_assert(std::size(kSignDes2) == 7);

constexpr CK_MECHANISM_TYPE kSignDes3[] = {
    0x134,       // DES3_MAC
    0x135,       // DES3_MAC_GENERAL
    0x80000134,  // DES3_X919_MAC
    0x80000510,  // DES3_RETAIL_CFB_MAC
    0x138,       // DES3_CMAC
    0x137,       // DES3_CMAC_GENERAL
};
static_assert(std::size(kSignDes3) == 6);

constexpr CK_MECHANISM_TYPE kSignCast[] = {
    0x303,  // CAST_MAC
    0x304,  // CAST_MAC_GENERAL
};
static_assert(std::size(kSignCast) == 2);

constexpr CK_MECHANISM_TYPE kSignCast128[] = {
    0x323,  // CAST128_MAC
    0x324,  // CAST128_MAC_GENERAL
};
static_assert(std::size(kSignCast128) == 2);

constexpr CK_MECHANISM_TYPE kSignIdea[] = {
    0x343,  // IDEA_MAC
    0x344,  // IDEA_MAC_GENERAL
};
static_assert(std::size(kSignIdea) == 2);

constexpr CK_MECHANISM_TYPE kSignAes[] = {
    0x1083,      // AES_MAC
    0x1084,      // AES_MAC_GENERAL
    0x108a,      // AES_CMAC
    0x108b,      // AES_CMAC_GENERAL
    0x80000512,  // MILENAGE_SIGN
    0x80000513,  // TUAK_SIGN
};
static_assert(std::size(kSignAes) == 6);

constexpr CK_MECHANISM_TYPE kSignAria[] = {
    0x563,  // ARIA_MAC
    0x564,  // ARIA_MAC_GENERAL
};
static_assert(std::size(kSignAria) == 2);

constexpr CK_MECHANISM_TYPE kSignEdwards[] = {
    0x80000c03,  // EDDSA_DEPRECATED
    0x1057,      // EDDSA
    0x80000c09,  // SHA1_EDDSA
    0x80000c0a,  // SHA224_EDDSA
    0x80000c0b,  // SHA256_EDDSA
    0x80000c0c,  // SHA384_EDDSA
    0x80000c0d,  // SHA512_EDDSA
    0x80001c0a,  // SHA3_224_EDDSA
    0x80001c0b,  // SHA3_256_EDDSA
    0x80001c0c,  // SHA3_384_EDDSA
    0x80001c0d,  // SHA3_512_EDDSA
};
static_assert(std::size(kSignEdwards) == 11);

constexpr CK_MECHANISM_TYPE kSignSeed[] = {
    0x800009d3,  // SEED_MAC
    0x800009d4,  // SEED_MAC_GENERAL
};
static_assert(std::size(kSignSeed) == 2);

constexpr CK_MECHANISM_TYPE kSignAny[] = {
    0x123,       // DES_MAC
    0x134,       // DES3_MAC
    0x80000134,  // DES3_X919_MAC
    0x80000510,  // DES3_RETAIL_CFB_MAC
    0x343,       // IDEA_MAC
    0x1083,      // AES_MAC
    0x303,       // CAST_MAC
    0x323,       // CAST128_MAC
    0x103,       // RC2_MAC
    0x800009d3,  // SEED_MAC
    0x800009d4,  // SEED_MAC_GENERAL
    0x3,         // RSA_X_509
    0x1,         // RSA_PKCS
    0x2,         // RSA_9796
    0x6,         // SHA1_RSA_PKCS
    0x5,         // MD5_RSA_PKCS
    0x46,        // SHA224_RSA_PKCS
    0x40,        // SHA256_RSA_PKCS
    0x41,        // SHA384_RSA_PKCS
    0x42,        // SHA512_RSA_PKCS
    0x66,        // SHA3_224_RSA_PKCS
    0x60,        // SHA3_256_RSA_PKCS
    0x61,        // SHA3_384_RSA_PKCS
    0x62,        // SHA3_512_RSA_PKCS
    0x7,         // RIPEMD128_RSA_PKCS
    0x8,         // RIPEMD160_RSA_PKCS
    0x80000600,  // SHA1_RSA_PKCS_TIMESTAMP
    0xd,         // RSA_PKCS_PSS
    0xe,         // SHA1_RSA_PKCS_PSS
    0x47,        // SHA224_RSA_PKCS_PSS
    0x43,        // SHA256_RSA_PKCS_PSS
    0x44,        // SHA384_RSA_PKCS_PSS
    0x45,        // SHA512_RSA_PKCS_PSS
    0x67,        // SHA3_224_RSA_PKCS_PSS
    0x63,        // SHA3_256_RSA_PKCS_PSS
    0x64,        // SHA3_384_RSA_PKCS_PSS
    0x65,        // SHA3_512_RSA_PKCS_PSS
    0x11,        // DSA
    0x12,        // DSA_SHA1
    0x80000013,  // DSA_SHA1_PKCS
    0x13,        // DSA_SHA224
    0x80000032,  // DSA_SHA224_DEPRECATED
    0x80000033,  // DSA_SHA224_PKCS
    0x14,        // DSA_SHA256
    0x80000034,  // DSA_SHA256_DEPRECATED
    0x80000035,  // DSA_SHA256_PKCS
    0x15,        // DSA_SHA384
    0x80000036,  // DSA_SHA384_PKCS
    0x16,        // DSA_SHA512
    0x80000037,  // DSA_SHA512_PKCS
    0x1041,      // ECDSA
    0x1042,      // ECDSA_SHA1
    0x80000122,  // ECDSA_SHA224
    0x80000123,  // ECDSA_SHA256
    0x80000124,  // ECDSA_SHA384
    0x80000125,  // ECDSA_SHA512
    0x80000161,  // ECDSA_GBCS_SHA256
    0x1047,      // ECDSA_SHA3_224
    0x1048,      // ECDSA_SHA3_256
    0x1049,      // ECDSA_SHA3_384
    0x104a,      // ECDSA_SHA3_512
    0x80000c03,  // EDDSA_DEPRECATED
    0x1057,      // EDDSA
    0x80000c09,  // SHA1_EDDSA
    0x80000c0a,  // SHA224_EDDSA
    0x80000c0b,  // SHA256_EDDSA
    0x80000c0c,  // SHA384_EDDSA
    0x80000c0d,  // SHA512_EDDSA
    0x80001c0a,  // SHA3_224_EDDSA
    0x80001c0b,  // SHA3_256_EDDSA
    0x80001c0c,  // SHA3_384_EDDSA
    0x80001c0d,  // SHA3_512_EDDSA
    0x800009b0,  // VISA_CVV
    0x201,       // MD2_HMAC
    0x202,       // MD2_HMAC_GENERAL
    0x211,       // MD5_HMAC
    0x212,       // MD5_HMAC_GENERAL
    0x221,       // SHA_1_HMAC
    0x222,       // SHA_1_HMAC_GENERAL
    0x256,       // SHA224_HMAC
    0x257,       // SHA224_HMAC_GENERAL
    0x251,       // SHA256_HMAC
    0x252,       // SHA256_HMAC_GENERAL
    0x261,       // SHA384_HMAC
    0x262,       // SHA384_HMAC_GENERAL
    0x271,       // SHA512_HMAC
    0x272,       // SHA512_HMAC_GENERAL
    0x231,       // RIPEMD128_HMAC
    0x232,       // RIPEMD128_HMAC_GENERAL
    0x241,       // RIPEMD160_HMAC
    0x242,       // RIPEMD160_HMAC_GENERAL
    0x563,       // ARIA_MAC
    0x564,       // ARIA_MAC_GENERAL
};
static_assert(std::size(kSignAny) == 93);

List SignList(CK_KEY_TYPE keyType) {
    switch (keyType) {
        case 0x0:  // RSA
            return Of(kSignRsa);
        case 0x1:  // DSA
            return Of(kSignDsa);
        case 0x3:         // EC
        case 0x80000014:  // BIP32
            return Of(kSignEc);
        case 0x10:  // GENERIC_SECRET
            return Of(kSignGeneric);
        case 0x11:  // RC2
            return Of(kSignRc2);
        case 0x13:  // DES
            return Of(kSignDes);
        case 0x14:  // DES2
            return Of(kSignDes2);
        case 0x15:  // DES3
            return Of(kSignDes3);
        case 0x16:  // CAST
            return Of(kSignCast);
        case 0x18:  // CAST128
            return Of(kSignCast128);
        case 0x1a:  // IDEA
            return Of(kSignIdea);
        case 0x1f:  // AES
            return Of(kSignAes);
        case 0x26:  // ARIA
            return Of(kSignAria);
        case 0x40:        // EC_EDWARDS
        case 0x80000012:  // EC_EDWARDS_DEPRECATED
            return Of(kSignEdwards);
        case 0x80000203:  // SEED
            return Of(kSignSeed);
        default:
            return Of(kSignAny);
    }
}

// ---- mechDeriveFromKt --------------------------------------------------------

// Both RSA and DSA keys derive only the encodings of certificates and
// requests that they sign.
constexpr CK_MECHANISM_TYPE kDeriveEncode[] = {
    0x80000955,  // ENCODE_X_509_LOCAL_CERT
    0x80000951,  // ENCODE_X_509
    0x80000952,  // ENCODE_PKCS_10
};
static_assert(std::size(kDeriveEncode) == 3);

constexpr CK_MECHANISM_TYPE kDeriveDh[] = {
    0x21,  // DH_PKCS_DERIVE
};
static_assert(std::size(kDeriveDh) == 1);

constexpr CK_MECHANISM_TYPE kDeriveEc[] = {
    0x80000955,  // ENCODE_X_509_LOCAL_CERT
    0x80000951,  // ENCODE_X_509
    0x80000952,  // ENCODE_PKCS_10
    0x80000e00,  // BIP32_MASTER_DERIVE
    0x80000e01,  // BIP32_CHILD_DERIVE
    0x1050,      // ECDH1_DERIVE
};
static_assert(std::size(kDeriveEc) == 6);

constexpr CK_MECHANISM_TYPE kDeriveSecret[] = {
    0x392,       // SHA1_KEY_DERIVATION
    0x396,       // SHA224_KEY_DERIVATION
    0x393,       // SHA256_KEY_DERIVATION
    0x394,       // SHA384_KEY_DERIVATION
    0x395,       // SHA512_KEY_DERIVATION
    0x1104,      // AES_ECB_ENCRYPT_DATA
    0x1105,      // AES_CBC_ENCRYPT_DATA
    0x364,       // XOR_BASE_AND_DATA
    0x80000364,  // XOR_BASE_AND_KEY
    0x362,       // CONCATENATE_BASE_AND_DATA
    0x363,       // CONCATENATE_DATA_AND_BASE
    0x360,       // CONCATENATE_BASE_AND_KEY
    0x365,       // EXTRACT_KEY_FROM_KEY
    0x80000511,  // MILENAGE_DERIVE
    0x80000514,  // TUAK_DERIVE
};
static_assert(std::size(kDeriveSecret) == 15);

constexpr CK_MECHANISM_TYPE kDeriveDes[] = {
    0x364,       // XOR_BASE_AND_DATA
    0x80000364,  // XOR_BASE_AND_KEY
    0x362,       // CONCATENATE_BASE_AND_DATA
    0x363,       // CONCATENATE_DATA_AND_BASE
    0x360,       // CONCATENATE_BASE_AND_KEY
    0x365,       // EXTRACT_KEY_FROM_KEY
    0x392,       // SHA1_KEY_DERIVATION
    0x396,       // SHA224_KEY_DERIVATION
    0x393,       // SHA256_KEY_DERIVATION
    0x394,       // SHA384_KEY_DERIVATION
    0x395,       // SHA512_KEY_DERIVATION
    0x1100,      // DES_ECB_ENCRYPT_DATA
    0x1101,      // DES_CBC_ENCRYPT_DATA
    0x1102,      // DES3_ECB_ENCRYPT_DATA
    0x1103,      // DES3_CBC_ENCRYPT_DATA
    0x800009c0,  // ZKA_MDC_2_KEY_DERIVATION
};
static_assert(std::size(kDeriveDes) == 16);

constexpr CK_MECHANISM_TYPE kDeriveBip32[] = {
    0x80000e01,  // BIP32_CHILD_DERIVE
};
static_assert(std::size(kDeriveBip32) == 1);

constexpr CK_MECHANISM_TYPE kDeriveAny[] = {
    0x21,        // DH_PKCS_DERIVE
    0x364,       // XOR_BASE_AND_DATA
    0x80000364,  // XOR_BASE_AND_KEY
    0x362,       // CONCATENATE_BASE_AND_DATA
    0x363,       // CONCATENATE_DATA_AND_BASE
    0x360,       // CONCATENATE_BASE_AND_KEY
    0x365,       // EXTRACT_KEY_FROM_KEY
    0x391,       // MD2_KEY_DERIVATION
    0x390,       // MD5_KEY_DERIVATION
    0x392,       // SHA1_KEY_DERIVATION
    0x396,       // SHA224_KEY_DERIVATION
    0x393,       // SHA256_KEY_DERIVATION
    0x394,       // SHA384_KEY_DERIVATION
    0x395,       // SHA512_KEY_DERIVATION
    0x80000950,  // ENCODE_ATTRIBUTES
    0x80000934,  // ENCODE_PKCS_7
    0x80000935,  // DECODE_PKCS_7
    0x80000955,  // ENCODE_X_509_LOCAL_CERT
    0x80000951,  // ENCODE_X_509
    0x80000953,  // DECODE_X_509
    0x80000952,  // ENCODE_PKCS_10
    0x80000e00,  // BIP32_MASTER_DERIVE
    0x80000e01,  // BIP32_CHILD_DERIVE
    0x1050,      // ECDH1_DERIVE
};
static_assert(std::size(kDeriveAny) == 24);

List DeriveList(CK_KEY_TYPE keyType) {
    switch (keyType) {
        case 0x0:  // RSA
        case 0x1:  // DSA
            return Of(kDeriveEncode);
        case 0x2:  // DH
            return Of(kDeriveDh);
        case 0x3:  // EC
            return Of(kDeriveEc);
        case 0x11:  // RC2
        case 0x16:  // CAST
        case 0x18:  // CAST128
        case 0x1a:  // IDEA
        case 0x1f:  // AES
        case 0x26:  // ARIA
            return Of(kDeriveSecret);
        case 0x13:  // DES
        case 0x14:  // DES2
        case 0x15:  // DES3
            return Of(kDeriveDes);
        case 0x80000014:  // BIP32
            return Of(kDeriveBip32);
        default:
            return Of(kDeriveAny);
    }
}

// ---- mechSignRecFromKt -------------------------------------------------------

constexpr CK_MECHANISM_TYPE kSignRecRsa[] = {
    0x3,  // RSA_X_509
    0x1,  // RSA_PKCS
};
static_assert(std::size(kSignRecRsa) == 2);

constexpr CK_MECHANISM_TYPE kSignRecDsa[] = {
    0x11,  // DSA
};
static_assert(std::size(kSignRecDsa) == 1);

constexpr CK_MECHANISM_TYPE kSignRecEc[] = {
    0x1041,  // ECDSA
};
static_assert(std::size(kSignRecEc) == 1);

constexpr CK_MECHANISM_TYPE kSignRecAny[] = {
    0x3,     // RSA_X_509
    0x1,     // RSA_PKCS
    0x11,    // DSA
    0x1041,  // ECDSA
};
static_assert(std::size(kSignRecAny) == 4);

List SignRecList(CK_KEY_TYPE keyType) {
    switch (keyType) {
        case 0x0:  // RSA
            return Of(kSignRecRsa);
        case 0x1:  // DSA
            return Of(kSignRecDsa);
        case 0x3:         // EC
        case 0x80000014:  // BIP32
            return Of(kSignRecEc);
        default:
            return Of(kSignRecAny);
    }
}

// ---- hashMech, kgMech, kpgMech -----------------------------------------------

constexpr CK_MECHANISM_TYPE kHash[] = {
    0x200,       // MD2
    0x80000201,  // MD4
    0x210,       // MD5
    0x80000202,  // SHA
    0x220,       // SHA_1
    0x255,       // SHA224
    0x250,       // SHA256
    0x260,       // SHA384
    0x270,       // SHA512
    0x2b5,       // SHA3_224
    0x2b0,       // SHA3_256
    0x2c0,       // SHA3_384
    0x2d0,       // SHA3_512
    0x80000515,  // KECCAK_1600
    0x80000200,  // DES_MDC_2_PAD1
    0x80000203,  // RIPEMD
    0x230,       // RIPEMD128
    0x240,       // RIPEMD160
    0x80000204,  // ARDFP
    0x80000205,  // NVB
};
static_assert(std::size(kHash) == 20);

constexpr CK_MECHANISM_TYPE kKeyGen[] = {
    0x120,       // DES_KEY_GEN
    0x130,       // DES2_KEY_GEN
    0x131,       // DES3_KEY_GEN
    0x340,       // IDEA_KEY_GEN
    0x1080,      // AES_KEY_GEN
    0x300,       // CAST_KEY_GEN
    0x100,       // RC2_KEY_GEN
    0x110,       // RC4_KEY_GEN
    0x800009a0,  // PP_LOAD_SECRET
    0x800009d0,  // SEED_KEY_GEN
    0x560,       // ARIA_KEY_GEN
};
static_assert(std::size(kKeyGen) == 11);

constexpr CK_MECHANISM_TYPE kKeyPairGen[] = {
    0x0,         // RSA_PKCS_KEY_PAIR_GEN
    0xa,         // RSA_X9_31_KEY_PAIR_GEN
    0x10,        // DSA_KEY_PAIR_GEN
    0x1040,      // EC_KEY_PAIR_GEN
    0x1056,      // EC_MONTGOMERY_KEY_PAIR_GEN
    0x1055,      // EC_EDWARDS_KEY_PAIR_GEN
    0x80000c01,  // EC_EDWARDS_KEY_PAIR_GEN_DEPRECATED
    0x20,        // DH_PKCS_KEY_PAIR_GEN
};
static_assert(std::size(kKeyPairGen) == 8);

// ---- ktFromMech: the key types a mechanism takes -----------------------------
// Rows name only some modes of each family: the _PAD modes, RSA_PKCS_PSS,
// RSA_PKCS_OAEP, AES_MAC_GENERAL, AES_CMAC, AES_CTS, the CAST128 modes and the
// X9.42 mechanisms have no row and answer kKtGen like any unknown value.

constexpr CK_KEY_TYPE kKtRsa[] = {
    0x0,  // RSA
};
static_assert(std::size(kKtRsa) == 1);

constexpr CK_MECHANISM_TYPE kKtRsaFrom[] = {
    0x0,         // RSA_PKCS_KEY_PAIR_GEN
    0x1,         // RSA_PKCS
    0x2,         // RSA_9796
    0x3,         // RSA_X_509
    0x5,         // MD5_RSA_PKCS
    0x6,         // SHA1_RSA_PKCS
    0x7,         // RIPEMD128_RSA_PKCS
    0x8,         // RIPEMD160_RSA_PKCS
    0xa,         // RSA_X9_31_KEY_PAIR_GEN
    0x40,        // SHA256_RSA_PKCS
    0x41,        // SHA384_RSA_PKCS
    0x42,        // SHA512_RSA_PKCS
    0x46,        // SHA224_RSA_PKCS
    0x60,        // SHA3_256_RSA_PKCS
    0x61,        // SHA3_384_RSA_PKCS
    0x62,        // SHA3_512_RSA_PKCS
    0x66,        // SHA3_224_RSA_PKCS
    0x80000600,  // SHA1_RSA_PKCS_TIMESTAMP
};
static_assert(std::size(kKtRsaFrom) == 18);

constexpr CK_KEY_TYPE kKtDsa[] = {
    0x1,  // DSA
};
static_assert(std::size(kKtDsa) == 1);

constexpr CK_MECHANISM_TYPE kKtDsaFrom[] = {
    0x10,        // DSA_KEY_PAIR_GEN
    0x11,        // DSA
    0x12,        // DSA_SHA1
    0x13,        // DSA_SHA224
    0x14,        // DSA_SHA256
    0x15,        // DSA_SHA384
    0x16,        // DSA_SHA512
    0x80000013,  // DSA_SHA1_PKCS
    0x80000032,  // DSA_SHA224_DEPRECATED
    0x80000033,  // DSA_SHA224_PKCS
    0x80000034,  // DSA_SHA256_DEPRECATED
    0x80000035,  // DSA_SHA256_PKCS
    0x80000036,  // DSA_SHA384_PKCS
    0x80000037,  // DSA_SHA512_PKCS
};
static_assert(std::size(kKtDsaFrom) == 14);

constexpr CK_KEY_TYPE kKtDh[] = {
    0x2,  // DH
    0x4,  // X9_42_DH
};
static_assert(std::size(kKtDh) == 2);

constexpr CK_MECHANISM_TYPE kKtDhFrom[] = {
    0x20,  // DH_PKCS_KEY_PAIR_GEN
    0x21,  // DH_PKCS_DERIVE
};
static_assert(std::size(kKtDhFrom) == 2);

constexpr CK_KEY_TYPE kKtRc2[] = {
    0x11,  // RC2
};
static_assert(std::size(kKtRc2) == 1);

constexpr CK_MECHANISM_TYPE kKtRc2From[] = {
    0x100,  // RC2_KEY_GEN
    0x101,  // RC2_ECB
    0x102,  // RC2_CBC
    0x103,  // RC2_MAC
};
static_assert(std::size(kKtRc2From) == 4);

constexpr CK_KEY_TYPE kKtRc4[] = {
    0x12,  // RC4
};
static_assert(std::size(kKtRc4) == 1);

constexpr CK_MECHANISM_TYPE kKtRc4From[] = {
    0x110,  // RC4_KEY_GEN
    0x111,  // RC4
};
static_assert(std::size(kKtRc4From) == 2);

constexpr CK_KEY_TYPE kKtDes[] = {
    0x13,  // DES
};
static_assert(std::size(kKtDes) == 1);

constexpr CK_MECHANISM_TYPE kKtDesFrom[] = {
    0x120,  // DES_KEY_GEN
    0x121,  // DES_ECB
    0x122,  // DES_CBC
    0x123,  // DES_MAC
};
static_assert(std::size(kKtDesFrom) == 4);

constexpr CK_KEY_TYPE kKtDes2[] = {
    0x14,  // DES2
};
static_assert(std::size(kKtDes2) == 1);

constexpr CK_MECHANISM_TYPE kKtDes2From[] = {
    0x130,       // DES2_KEY_GEN
    0x80000964,  // DES3_DDD_CBC
    0x800009b0,  // VISA_CVV
};
static_assert(std::size(kKtDes2From) == 3);

constexpr CK_KEY_TYPE kKtDes3[] = {
    0x15,  // DES3
};
static_assert(std::size(kKtDes3) == 1);

constexpr CK_MECHANISM_TYPE kKtDes3From[] = {
    0x131,  // DES3_KEY_GEN
};
static_assert(std::size(kKtDes3From) == 1);

constexpr CK_KEY_TYPE kKtDes23[] = {
    0x14,  // DES2
    0x15,  // DES3
};
static_assert(std::size(kKtDes23) == 2);

constexpr CK_MECHANISM_TYPE kKtDes23From[] = {
    0x132,       // DES3_ECB
    0x133,       // DES3_CBC
    0x134,       // DES3_MAC
    0x80000134,  // DES3_X919_MAC
    0x80000413,  // WRAP_TR31_VARIANT
    0x80000510,  // DES3_RETAIL_CFB_MAC
    0x80000940,  // DES_OFB64
    0x80000941,  // DES3_OFB64
};
static_assert(std::size(kKtDes23From) == 8);

constexpr CK_KEY_TYPE kKtCast[] = {
    0x18,  // CAST128
    0x16,  // CAST
    0x17,  // CAST3
    0x18,  // CAST128
};
static_assert(std::size(kKtCast) == 4);

constexpr CK_MECHANISM_TYPE kKtCastFrom[] = {
    0x300,  // CAST_KEY_GEN
    0x301,  // CAST_ECB
    0x302,  // CAST_CBC
    0x303,  // CAST_MAC
    0x320,  // CAST128_KEY_GEN
};
static_assert(std::size(kKtCastFrom) == 5);

constexpr CK_KEY_TYPE kKtIdea[] = {
    0x1a,  // IDEA
};
static_assert(std::size(kKtIdea) == 1);

constexpr CK_MECHANISM_TYPE kKtIdeaFrom[] = {
    0x340,  // IDEA_KEY_GEN
    0x341,  // IDEA_ECB
    0x342,  // IDEA_CBC
    0x343,  // IDEA_MAC
};
static_assert(std::size(kKtIdeaFrom) == 4);

constexpr CK_KEY_TYPE kKtAria[] = {
    0x26,  // ARIA
};
static_assert(std::size(kKtAria) == 1);

constexpr CK_MECHANISM_TYPE kKtAriaFrom[] = {
    0x561,  // ARIA_ECB
    0x562,  // ARIA_CBC
    0x563,  // ARIA_MAC
    0x564,  // ARIA_MAC_GENERAL
    0x565,  // ARIA_CBC_PAD
    0x566,  // ARIA_ECB_ENCRYPT_DATA, no row in MechanismTable
    0x567,  // ARIA_CBC_ENCRYPT_DATA, no row in MechanismTable
};
static_assert(std::size(kKtAriaFrom) == 7);

constexpr CK_KEY_TYPE kKtEc[] = {
    0x3,  // EC
};
static_assert(std::size(kKtEc) == 1);

constexpr CK_MECHANISM_TYPE kKtEcFrom[] = {
    0x1040,      // EC_KEY_PAIR_GEN
    0x1041,      // ECDSA
    0x1042,      // ECDSA_SHA1
    0x1043,      // ECDH1_DERIVE_DEPRECATED
    0x1047,      // ECDSA_SHA3_224
    0x1048,      // ECDSA_SHA3_256
    0x1049,      // ECDSA_SHA3_384
    0x104a,      // ECDSA_SHA3_512
    0x1050,      // ECDH1_DERIVE
    0x1056,      // EC_MONTGOMERY_KEY_PAIR_GEN
    0x80000122,  // ECDSA_SHA224
    0x80000123,  // ECDSA_SHA256
    0x80000124,  // ECDSA_SHA384
    0x80000125,  // ECDSA_SHA512
    0x80000161,  // ECDSA_GBCS_SHA256
    0x80000a00,  // ECIES
};
static_assert(std::size(kKtEcFrom) == 16);

constexpr CK_KEY_TYPE kKtEd[] = {
    0x40,        // EC_EDWARDS
    0x80000012,  // EC_EDWARDS_DEPRECATED
};
static_assert(std::size(kKtEd) == 2);

constexpr CK_MECHANISM_TYPE kKtEdFrom[] = {
    0x1055,      // EC_EDWARDS_KEY_PAIR_GEN
    0x1057,      // EDDSA
    0x80000c01,  // EC_EDWARDS_KEY_PAIR_GEN_DEPRECATED
    0x80000c03,  // EDDSA_DEPRECATED
    0x80000c09,  // SHA1_EDDSA
    0x80000c0a,  // SHA224_EDDSA
    0x80000c0b,  // SHA256_EDDSA
    0x80000c0c,  // SHA384_EDDSA
    0x80000c0d,  // SHA512_EDDSA
    0x80001c0a,  // SHA3_224_EDDSA
    0x80001c0b,  // SHA3_256_EDDSA
    0x80001c0c,  // SHA3_384_EDDSA
    0x80001c0d,  // SHA3_512_EDDSA
};
static_assert(std::size(kKtEdFrom) == 13);

constexpr CK_KEY_TYPE kKtAes[] = {
    0x1f,  // AES
};
static_assert(std::size(kKtAes) == 1);

constexpr CK_MECHANISM_TYPE kKtAesFrom[] = {
    0x1080,      // AES_KEY_GEN
    0x1081,      // AES_ECB
    0x1082,      // AES_CBC
    0x1083,      // AES_MAC
    0x1085,      // AES_CBC_PAD
    0x1086,      // AES_CTR
    0x1087,      // AES_GCM
    0x1088,      // AES_CCM
    0x2104,      // AES_OFB
    0x80000414,  // WRAP_TR31_DERIVE_CTR
    0x80000511,  // MILENAGE_DERIVE
    0x80000514,  // TUAK_DERIVE
    0x80000966,  // AES_GCM_OLD
};
static_assert(std::size(kKtAesFrom) == 13);

constexpr CK_KEY_TYPE kKtTdesAes[] = {
    0x14,  // DES2
    0x15,  // DES3
    0x1f,  // AES
};
static_assert(std::size(kKtTdesAes) == 3);

constexpr CK_MECHANISM_TYPE kKtTdesAesFrom[] = {
    0x80000410,  // UNWRAP_TR31_DISCARD
    0x80000411,  // UNWRAP_TR31
    0x80000412,  // WRAP_TR31_DERIVE
};
static_assert(std::size(kKtTdesAesFrom) == 3);

constexpr CK_KEY_TYPE kKtSeed[] = {
    0x80000203,  // SEED
};
static_assert(std::size(kKtSeed) == 1);

constexpr CK_MECHANISM_TYPE kKtSeedFrom[] = {
    0x800009d0,  // SEED_KEY_GEN
    0x800009d1,  // SEED_ECB
    0x800009d2,  // SEED_CBC
    0x800009d3,  // SEED_MAC
    0x800009d4,  // SEED_MAC_GENERAL
    0x800009d5,  // SEED_ECB_PAD
    0x800009d6,  // SEED_CBC_PAD
};
static_assert(std::size(kKtSeedFrom) == 7);

constexpr CK_KEY_TYPE kKtBip32[] = {
    0x80000014,  // BIP32
};
static_assert(std::size(kKtBip32) == 1);

constexpr CK_MECHANISM_TYPE kKtBip32From[] = {
    0x80000e00,  // BIP32_MASTER_DERIVE
    0x80000e01,  // BIP32_CHILD_DERIVE
};
static_assert(std::size(kKtBip32From) == 2);

constexpr CK_KEY_TYPE kKtGen[] = {
    0x10,  // GENERIC_SECRET
};
static_assert(std::size(kKtGen) == 1);

constexpr Rule kKeyTypeRules[] = {
    {Of(kKtRsaFrom), Of(kKtRsa)},         {Of(kKtDsaFrom), Of(kKtDsa)},   {Of(kKtDhFrom), Of(kKtDh)},
    {Of(kKtRc2From), Of(kKtRc2)},         {Of(kKtRc4From), Of(kKtRc4)},   {Of(kKtDesFrom), Of(kKtDes)},
    {Of(kKtDes2From), Of(kKtDes2)},       {Of(kKtDes3From), Of(kKtDes3)}, {Of(kKtDes23From), Of(kKtDes23)},
    {Of(kKtCastFrom), Of(kKtCast)},       {Of(kKtIdeaFrom), Of(kKtIdea)}, {Of(kKtAriaFrom), Of(kKtAria)},
    {Of(kKtEcFrom), Of(kKtEc)},           {Of(kKtEdFrom), Of(kKtEd)},     {Of(kKtAesFrom), Of(kKtAes)},
    {Of(kKtTdesAesFrom), Of(kKtTdesAes)}, {Of(kKtSeedFrom), Of(kKtSeed)}, {Of(kKtBip32From), Of(kKtBip32)},
};

// ---- generators for what a token offers --------------------------------------
// Each kGenX lists the generators for the token mechanisms in kGenXFrom.

// Secret keys and domain parameters.
constexpr CK_MECHANISM_TYPE kGenDes[] = {
    0x120,  // DES_KEY_GEN
};
static_assert(std::size(kGenDes) == 1);

constexpr CK_MECHANISM_TYPE kGenDesFrom[] = {
    0x121,  // DES_ECB
    0x122,  // DES_CBC
    0x123,  // DES_MAC
};
static_assert(std::size(kGenDesFrom) == 3);

constexpr CK_MECHANISM_TYPE kGenDes2[] = {
    0x130,  // DES2_KEY_GEN
};
static_assert(std::size(kGenDes2) == 1);

constexpr CK_MECHANISM_TYPE kGenDes2From[] = {
    0x80000964,  // DES3_DDD_CBC
    0x800009b0,  // VISA_CVV
};
static_assert(std::size(kGenDes2From) == 2);

constexpr CK_MECHANISM_TYPE kGenDes23[] = {
    0x130,  // DES2_KEY_GEN
    0x131,  // DES3_KEY_GEN
};
static_assert(std::size(kGenDes23) == 2);

constexpr CK_MECHANISM_TYPE kGenDes23From[] = {
    0x132,       // DES3_ECB
    0x133,       // DES3_CBC
    0x134,       // DES3_MAC
    0x80000134,  // DES3_X919_MAC
    0x80000510,  // DES3_RETAIL_CFB_MAC
    0x80000940,  // DES_OFB64
    0x80000941,  // DES3_OFB64
};
static_assert(std::size(kGenDes23From) == 7);

constexpr CK_MECHANISM_TYPE kGenRc2[] = {
    0x100,  // RC2_KEY_GEN
};
static_assert(std::size(kGenRc2) == 1);

constexpr CK_MECHANISM_TYPE kGenRc2From[] = {
    0x101,  // RC2_ECB
    0x102,  // RC2_CBC
    0x103,  // RC2_MAC
};
static_assert(std::size(kGenRc2From) == 3);

constexpr CK_MECHANISM_TYPE kGenRc4[] = {
    0x110,  // RC4_KEY_GEN
};
static_assert(std::size(kGenRc4) == 1);

constexpr CK_MECHANISM_TYPE kGenRc4From[] = {
    0x111,  // RC4
};
static_assert(std::size(kGenRc4From) == 1);

constexpr CK_MECHANISM_TYPE kGenCast[] = {
    0x320,  // CAST128_KEY_GEN
};
static_assert(std::size(kGenCast) == 1);

constexpr CK_MECHANISM_TYPE kGenCastFrom[] = {
    0x321,  // CAST128_ECB
    0x322,  // CAST128_CBC
    0x323,  // CAST128_MAC
};
static_assert(std::size(kGenCastFrom) == 3);

constexpr CK_MECHANISM_TYPE kGenIdea[] = {
    0x340,  // IDEA_KEY_GEN
};
static_assert(std::size(kGenIdea) == 1);

constexpr CK_MECHANISM_TYPE kGenIdeaFrom[] = {
    0x341,  // IDEA_ECB
    0x342,  // IDEA_CBC
    0x343,  // IDEA_MAC
};
static_assert(std::size(kGenIdeaFrom) == 3);

constexpr CK_MECHANISM_TYPE kGenAes[] = {
    0x1080,  // AES_KEY_GEN
};
static_assert(std::size(kGenAes) == 1);

constexpr CK_MECHANISM_TYPE kGenAesFrom[] = {
    0x1081,      // AES_ECB
    0x1082,      // AES_CBC
    0x1083,      // AES_MAC
    0x1086,      // AES_CTR
    0x1087,      // AES_GCM
    0x1088,      // AES_CCM
    0x2104,      // AES_OFB
    0x80000966,  // AES_GCM_OLD
};
static_assert(std::size(kGenAesFrom) == 8);

constexpr CK_MECHANISM_TYPE kGenAria[] = {
    0x560,  // ARIA_KEY_GEN
};
static_assert(std::size(kGenAria) == 1);

constexpr CK_MECHANISM_TYPE kGenAriaFrom[] = {
    0x561,  // ARIA_ECB
    0x562,  // ARIA_CBC
    0x563,  // ARIA_MAC
    0x564,  // ARIA_MAC_GENERAL
    0x565,  // ARIA_CBC_PAD
    0x566,  // ARIA_ECB_ENCRYPT_DATA, no row in MechanismTable
    0x567,  // ARIA_CBC_ENCRYPT_DATA, no row in MechanismTable
};
static_assert(std::size(kGenAriaFrom) == 7);

constexpr CK_MECHANISM_TYPE kGenSeed[] = {
    0x800009d0,  // SEED_KEY_GEN
};
static_assert(std::size(kGenSeed) == 1);

constexpr CK_MECHANISM_TYPE kGenSeedFrom[] = {
    0x800009d1,  // SEED_ECB
    0x800009d2,  // SEED_CBC
    0x800009d3,  // SEED_MAC
    0x800009d4,  // SEED_MAC_GENERAL
    0x800009d5,  // SEED_ECB_PAD
    0x800009d6,  // SEED_CBC_PAD
};
static_assert(std::size(kGenSeedFrom) == 6);

constexpr CK_MECHANISM_TYPE kGenGeneric[] = {
    0x350,  // GENERIC_SECRET_KEY_GEN
};
static_assert(std::size(kGenGeneric) == 1);

constexpr CK_MECHANISM_TYPE kGenGenericFrom[] = {
    0x201,  // MD2_HMAC
    0x211,  // MD5_HMAC
    0x221,  // SHA_1_HMAC
    0x251,  // SHA256_HMAC
    0x256,  // SHA224_HMAC
    0x261,  // SHA384_HMAC
    0x271,  // SHA512_HMAC
};
static_assert(std::size(kGenGenericFrom) == 7);

constexpr CK_MECHANISM_TYPE kGenParam[] = {
    0x2001,  // DH_PKCS_PARAMETER_GEN
    0x2000,  // DSA_PARAMETER_GEN
    0x2002,  // X9_42_DH_PARAMETER_GEN
};
static_assert(std::size(kGenParam) == 3);

constexpr CK_MECHANISM_TYPE kGenParamFrom[] = {
    0x2000,  // DSA_PARAMETER_GEN
    0x2001,  // DH_PKCS_PARAMETER_GEN
    0x2002,  // X9_42_DH_PARAMETER_GEN
};
static_assert(std::size(kGenParamFrom) == 3);

constexpr Rule kSecretKeyRules[] = {
    {Of(kGenDesFrom), Of(kGenDes)},   {Of(kGenDes2From), Of(kGenDes2)},       {Of(kGenDes23From), Of(kGenDes23)},
    {Of(kGenRc2From), Of(kGenRc2)},   {Of(kGenRc4From), Of(kGenRc4)},         {Of(kGenCastFrom), Of(kGenCast)},
    {Of(kGenIdeaFrom), Of(kGenIdea)}, {Of(kGenAesFrom), Of(kGenAes)},         {Of(kGenAriaFrom), Of(kGenAria)},
    {Of(kGenSeedFrom), Of(kGenSeed)}, {Of(kGenGenericFrom), Of(kGenGeneric)}, {Of(kGenParamFrom), Of(kGenParam)},
};

// Key pairs.
constexpr CK_MECHANISM_TYPE kGenRsa[] = {
    0x0,  // RSA_PKCS_KEY_PAIR_GEN
};
static_assert(std::size(kGenRsa) == 1);

constexpr CK_MECHANISM_TYPE kGenRsaFrom[] = {
    0x1,         // RSA_PKCS
    0x2,         // RSA_9796
    0x3,         // RSA_X_509
    0x5,         // MD5_RSA_PKCS
    0x6,         // SHA1_RSA_PKCS
    0x7,         // RIPEMD128_RSA_PKCS
    0x8,         // RIPEMD160_RSA_PKCS
    0x40,        // SHA256_RSA_PKCS
    0x41,        // SHA384_RSA_PKCS
    0x42,        // SHA512_RSA_PKCS
    0x46,        // SHA224_RSA_PKCS
    0x60,        // SHA3_256_RSA_PKCS
    0x61,        // SHA3_384_RSA_PKCS
    0x62,        // SHA3_512_RSA_PKCS
    0x66,        // SHA3_224_RSA_PKCS
    0x80000600,  // SHA1_RSA_PKCS_TIMESTAMP
};
static_assert(std::size(kGenRsaFrom) == 16);

constexpr CK_MECHANISM_TYPE kGenDsa[] = {
    0x10,  // DSA_KEY_PAIR_GEN
};
static_assert(std::size(kGenDsa) == 1);

constexpr CK_MECHANISM_TYPE kGenDsaFrom[] = {
    0x11,        // DSA
    0x12,        // DSA_SHA1
    0x13,        // DSA_SHA224
    0x14,        // DSA_SHA256
    0x15,        // DSA_SHA384
    0x16,        // DSA_SHA512
    0x80000013,  // DSA_SHA1_PKCS
    0x80000032,  // DSA_SHA224_DEPRECATED
    0x80000033,  // DSA_SHA224_PKCS
    0x80000034,  // DSA_SHA256_DEPRECATED
    0x80000035,  // DSA_SHA256_PKCS
    0x80000036,  // DSA_SHA384_PKCS
    0x80000037,  // DSA_SHA512_PKCS
};
static_assert(std::size(kGenDsaFrom) == 13);

constexpr CK_MECHANISM_TYPE kGenDh[] = {
    0x20,  // DH_PKCS_KEY_PAIR_GEN
};
static_assert(std::size(kGenDh) == 1);

constexpr CK_MECHANISM_TYPE kGenDhFrom[] = {
    0x21,  // DH_PKCS_DERIVE
};
static_assert(std::size(kGenDhFrom) == 1);

constexpr CK_MECHANISM_TYPE kGenEc[] = {
    0x1040,      // EC_KEY_PAIR_GEN
    0x1055,      // EC_EDWARDS_KEY_PAIR_GEN
    0x80000c01,  // EC_EDWARDS_KEY_PAIR_GEN_DEPRECATED
};
static_assert(std::size(kGenEc) == 3);

constexpr CK_MECHANISM_TYPE kGenEcFrom[] = {
    0x1041,      // ECDSA
    0x1042,      // ECDSA_SHA1
    0x1043,      // ECDH1_DERIVE_DEPRECATED
    0x1047,      // ECDSA_SHA3_224
    0x1048,      // ECDSA_SHA3_256
    0x1049,      // ECDSA_SHA3_384
    0x104a,      // ECDSA_SHA3_512
    0x1050,      // ECDH1_DERIVE
    0x1057,      // EDDSA
    0x80000122,  // ECDSA_SHA224
    0x80000123,  // ECDSA_SHA256
    0x80000124,  // ECDSA_SHA384
    0x80000125,  // ECDSA_SHA512
    0x80000161,  // ECDSA_GBCS_SHA256
    0x80000a00,  // ECIES
    0x80000c03,  // EDDSA_DEPRECATED
    0x80000c09,  // SHA1_EDDSA
    0x80000c0a,  // SHA224_EDDSA
    0x80000c0b,  // SHA256_EDDSA
    0x80000c0c,  // SHA384_EDDSA
    0x80000c0d,  // SHA512_EDDSA
    0x80001c0a,  // SHA3_224_EDDSA
    0x80001c0b,  // SHA3_256_EDDSA
    0x80001c0c,  // SHA3_384_EDDSA
    0x80001c0d,  // SHA3_512_EDDSA
};
static_assert(std::size(kGenEcFrom) == 25);

constexpr Rule kKeyPairRules[] = {
    {Of(kGenRsaFrom), Of(kGenRsa)},
    {Of(kGenDsaFrom), Of(kGenDsa)},
    {Of(kGenDhFrom), Of(kGenDh)},
    {Of(kGenEcFrom), Of(kGenEc)},
};

template <size_t N>
constexpr CK_ULONG Longest(const Rule (&rules)[N]) {
    CK_ULONG longest = 0;
    for (const Rule& r : rules)
        if (r.to.count > longest) longest = r.to.count;
    return longest;
}

// The walk over a token's list tests for a full result only between entries,
// so the last entry it takes can append a whole generator list to a result
// one short of full: room for all but one of the longest list is kept past
// the token's count.
constexpr CK_ULONG kGenSpare = 2;
static_assert(Longest(kSecretKeyRules) <= kGenSpare + 1 && Longest(kKeyPairRules) <= kGenSpare + 1,
              "a generator list outgrows the spare room");

enum class GenMode { kSecretKey, kKeyPair };

// genMechanismTabFromMechanismTab: the generators for the token's
// mechanisms, each once, in the order first met. The count is left alone when
// nothing comes out.
CK_MECHANISM_TYPE* genMechanismTabFromMechanismTab(const MechanismTab* tab, GenMode mode, CK_ULONG_PTR pCount) {
    if (tab == nullptr) return nullptr;
    const CK_ULONG tokenCount = tab->count;
    auto* result = static_cast<CK_MECHANISM_TYPE*>(calloc(tokenCount + kGenSpare, sizeof(CK_MECHANISM_TYPE)));
    if (result == nullptr) return nullptr;
    if (tokenCount == 0) {
        free(result);
        return nullptr;
    }
    const Rule* rules = mode == GenMode::kSecretKey ? kSecretKeyRules : kKeyPairRules;
    const size_t ruleCount = mode == GenMode::kSecretKey ? std::size(kSecretKeyRules) : std::size(kKeyPairRules);

    CK_ULONG n = 0;
    for (CK_ULONG i = 0; i < tokenCount; ++i) {
        const List generators = Answer(rules, ruleCount, tab->mechanisms[i]);
        for (CK_ULONG g = 0; g < generators.count; ++g)
            if (!Holds({result, n}, generators.values[g])) result[n++] = generators.values[g];
        if (i + 1 < tokenCount && n >= tokenCount) break;
    }
    if (n == 0) {
        free(result);
        return nullptr;
    }
    *pCount = n;
    return result;
}

// A fresh copy of a constant list. The count goes out before the allocation,
// so a caller that looks only at the count sees a size with no block behind
// it when memory runs out.
CK_MECHANISM_TYPE* Copy(List list, CK_ULONG_PTR pCount) {
    *pCount = list.count;
    auto* block = static_cast<CK_MECHANISM_TYPE*>(calloc(list.count, sizeof(CK_MECHANISM_TYPE)));
    if (block == nullptr) return nullptr;
    memcpy(block, list.values, list.count * sizeof(CK_MECHANISM_TYPE));
    return block;
}

const CK_ULONG* Give(List list, CK_ULONG_PTR pCount) {
    *pCount = list.count;
    return list.values;
}

}  // namespace

extern "C" {

// PBE_MD2_DES_CBC to PBE_SHA1_RC2_40_CBC and PBA_SHA1_WITH_SHA1_HMAC: the
// password-based generators whose CK_PBE_PARAMS hand an initialisation vector
// back. PKCS5_PBKDF2 (0x3b0) takes parameters of another shape.
int isPbeMech(CK_MECHANISM_TYPE mech) { return (mech >= 0x3a0 && mech <= 0x3ab) || mech == 0x3c0; }

// The RC2 modes, which take an effective key length in their parameters:
// ECB, CBC, MAC, MAC_GENERAL, CBC_PAD and the token library's ECB_PAD.
int isRc2Mech(CK_MECHANISM_TYPE mech) { return (mech >= 0x101 && mech <= 0x105) || mech == 0x80000101; }

int LookupMech(const MechanismTab* tab, CK_MECHANISM_TYPE mech) {
    if (tab == nullptr || tab->count == 0) return 0;
    return Holds({tab->mechanisms, tab->count}, mech) ? 1 : 0;
}

void FreeMechData(MechanismTab* tab) {
    if (tab == nullptr) return;
    free(tab->mechanisms);
    free(tab);
}

const CK_KEY_TYPE* ktFromMech(CK_MECHANISM_TYPE mech, CK_ULONG_PTR pCount) {
    const List found = Answer(kKeyTypeRules, std::size(kKeyTypeRules), mech);
    return Give(found.count != 0 ? found : Of(kKtGen), pCount);
}

CK_MECHANISM_TYPE* mechFromKt(CK_KEY_TYPE keyType, CK_ULONG_PTR pCount) { return Copy(CipherList(keyType), pCount); }

CK_MECHANISM_TYPE* mechSignFromKt(CK_KEY_TYPE keyType, CK_ULONG_PTR pCount) { return Copy(SignList(keyType), pCount); }

CK_MECHANISM_TYPE* mechSignRecFromKt(CK_KEY_TYPE keyType, CK_ULONG_PTR pCount) {
    return Copy(SignRecList(keyType), pCount);
}

CK_MECHANISM_TYPE* mechDeriveFromKt(CK_KEY_TYPE keyType, CK_ULONG_PTR pCount) {
    return Copy(DeriveList(keyType), pCount);
}

// The block is sized by the number m of (list entry, token entry) pairs that
// are equal, but only the first m entries of the key type's list are walked
// to fill it. A match further down the list is never copied, and the block's
// tail stays zero, which reads as RSA_PKCS_KEY_PAIR_GEN; callers have always
// had the count m with it.
CK_MECHANISM_TYPE* mechFromTokKt(const MechanismTab* tab, CK_KEY_TYPE keyType, CK_ULONG_PTR pCount) {
    CK_MECHANISM_TYPE* list = mechFromKt(keyType, pCount);
    const CK_ULONG n = *pCount;
    if (list == nullptr || n == 0) {
        free(list);
        return nullptr;
    }
    const CK_ULONG tokenCount = tab != nullptr ? tab->count : 0;

    CK_ULONG m = 0;
    for (CK_ULONG i = 0; i < n; ++i)
        for (CK_ULONG j = 0; j < tokenCount; ++j)
            if (list[i] == tab->mechanisms[j]) ++m;
    if (m == 0) {
        free(list);
        return nullptr;
    }
    auto* result = static_cast<CK_MECHANISM_TYPE*>(calloc(m, sizeof(CK_MECHANISM_TYPE)));
    if (result == nullptr) {
        free(list);
        return nullptr;
    }
    *pCount = m;

    // The first m entries hold at most m matches between them, so k stays
    // inside the block.
    CK_ULONG k = 0;
    for (CK_ULONG i = 0; i < m; ++i)
        for (CK_ULONG j = 0; j < tokenCount; ++j)
            if (list[i] == tab->mechanisms[j]) result[k++] = tab->mechanisms[j];
    free(list);
    return result;
}

const CK_MECHANISM_TYPE* hashMech(CK_ULONG_PTR pCount) { return Give(Of(kHash), pCount); }

const CK_MECHANISM_TYPE* kgMech(CK_ULONG_PTR pCount) { return Give(Of(kKeyGen), pCount); }

const CK_MECHANISM_TYPE* kpgMech(CK_ULONG_PTR pCount) { return Give(Of(kKeyPairGen), pCount); }

CK_MECHANISM_TYPE* genkMechanismTabFromMechanismTab(const MechanismTab* tab, CK_ULONG_PTR pCount) {
    return genMechanismTabFromMechanismTab(tab, GenMode::kSecretKey, pCount);
}

CK_MECHANISM_TYPE* genkpMechanismTabFromMechanismTab(const MechanismTab* tab, CK_ULONG_PTR pCount) {
    return genMechanismTabFromMechanismTab(tab, GenMode::kKeyPair, pCount);
}

}  // extern "C"
