// Named curves: the DER of every name checked against OpenSSL's own object
// identifiers and key sizes, not against the tables themselves; the
// two-phase length rule; the prefix rule of the size lookup; and the token
// search for curves the tables lack, against the fake token.
#include <gtest/gtest.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/objects.h>

#include <cstring>
#include <string>
#include <vector>

#include "fakeCryptoki.h"
#include "morlin_util.h"

namespace {

using Bytes = std::vector<CK_BYTE>;

// OpenSSL's DER of an object identifier it knows by short name.
Bytes OpenSslDer(const char* shortName) {
    const int nid = OBJ_sn2nid(shortName);
    EXPECT_NE(nid, NID_undef) << shortName;
    ASN1_OBJECT* object = OBJ_nid2obj(nid);
    unsigned char* der = nullptr;
    const int length = i2d_ASN1_OBJECT(object, &der);
    Bytes bytes(der, der + (length > 0 ? length : 0));
    OPENSSL_free(der);
    return bytes;
}

// OpenSSL's key size for the curve or key type.
int OpenSslBits(const char* shortName) {
    const int nid = OBJ_sn2nid(shortName);
    if (EC_GROUP* group = EC_GROUP_new_by_curve_name(nid)) {
        const int bits = EC_GROUP_get_degree(group);
        EC_GROUP_free(group);
        return bits;
    }
    EVP_PKEY_CTX* ctx = EVP_PKEY_CTX_new_id(nid, nullptr);
    EVP_PKEY* key = nullptr;
    int bits = -1;
    if (ctx != nullptr && EVP_PKEY_keygen_init(ctx) > 0 && EVP_PKEY_keygen(ctx, &key) > 0)
        bits = EVP_PKEY_get_bits(key);
    EVP_PKEY_free(key);
    EVP_PKEY_CTX_free(ctx);
    return bits;
}

Bytes Encode(const char* name, CK_RV* rv = nullptr) {
    CK_BYTE buffer[64] = {};
    CK_ULONG length = sizeof buffer;
    const CK_RV result = CT_DerEncodeNamedCurve(buffer, &length, name);
    if (rv != nullptr) *rv = result;
    return result == CKR_OK ? Bytes(buffer, buffer + length) : Bytes();
}

CK_ULONG Bits(Bytes der, CK_RV expected = CKR_OK) {
    CK_ATTRIBUTE attribute{CKA_EC_PARAMS, der.data(), der.size()};
    CK_ULONG bits = 0;
    EXPECT_EQ(CT_GetECKeySize(&attribute, &bits), expected);
    return bits;
}

TEST(Ecattr, EveryNameOpenSslKnowsEncodesAsOpenSslDoesWithItsSize) {
    struct Known {
        const char* ours;
        const char* openssl;
    };
    const Known known[] = {
        {"P-192", "prime192v1"},
        {"prime192v1", "prime192v1"},
        {"secp192r1", "prime192v1"},
        {"P-224", "secp224r1"},
        {"secp224r1", "secp224r1"},
        {"P-224K1", "secp224k1"},
        {"secp224k1", "secp224k1"},
        {"P-256", "prime256v1"},
        {"prime256v1", "prime256v1"},
        {"secp256r1", "prime256v1"},
        {"P-384", "secp384r1"},
        {"secp384r1", "secp384r1"},
        {"P-521", "secp521r1"},
        {"secp521r1", "secp521r1"},
        {"c2tnb191v1", "c2tnb191v1"},
        {"secp256k1", "secp256k1"},
        {"brainpoolP160r1", "brainpoolP160r1"},
        {"brainpoolP160t1", "brainpoolP160t1"},
        {"brainpoolP192r1", "brainpoolP192r1"},
        {"brainpoolP192t1", "brainpoolP192t1"},
        {"brainpoolP224r1", "brainpoolP224r1"},
        {"brainpoolP224t1", "brainpoolP224t1"},
        {"brainpoolP256r1", "brainpoolP256r1"},
        {"brainpoolP256t1", "brainpoolP256t1"},
        {"brainpoolP320r1", "brainpoolP320r1"},
        {"brainpoolP320t1", "brainpoolP320t1"},
        {"brainpoolP384r1", "brainpoolP384r1"},
        {"brainpoolP384t1", "brainpoolP384t1"},
        {"brainpoolP512r1", "brainpoolP512r1"},
        {"brainpoolP512t1", "brainpoolP512t1"},
        {"curve448", "X448"},
        {"ed448", "ED448"},
    };
    for (const Known& k : known) {
        const Bytes der = Encode(k.ours);
        EXPECT_EQ(der, OpenSslDer(k.openssl)) << k.ours;
        EXPECT_EQ(Bits(der), static_cast<CK_ULONG>(OpenSslBits(k.openssl))) << k.ours;
    }
    // The 25519 names encode to their older long identifiers, which OpenSSL
    // does not know; its own RFC 8410 forms are still sized.
    EXPECT_EQ(Encode("curve25519"), (Bytes{0x06, 0x0a, 0x2b, 0x06, 0x01, 0x04, 0x01, 0x97, 0x55, 0x01, 0x05, 0x01}));
    EXPECT_EQ(Encode("ed25519"), (Bytes{0x06, 0x09, 0x2b, 0x06, 0x01, 0x04, 0x01, 0xda, 0x47, 0x0f, 0x01}));
    EXPECT_EQ(Bits(OpenSslDer("X25519")), 256u);
    EXPECT_EQ(Bits(OpenSslDer("ED25519")), 256u);
    EXPECT_EQ(Bits(Encode("c2tnb191v1e")), 191u);
}

TEST(Ecattr, EncodingFollowsTheTwoPhaseRuleAndExactNames) {
    CK_ULONG length = 0;
    EXPECT_EQ(CT_DerEncodeNamedCurve(nullptr, &length, "P-256"), CKR_OK);
    EXPECT_EQ(length, 10u);
    CK_BYTE buffer[10] = {};
    length = 9;
    EXPECT_EQ(CT_DerEncodeNamedCurve(buffer, &length, "P-256"), CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, 10u);
    EXPECT_EQ(buffer[0], 0);
    length = 10;
    EXPECT_EQ(CT_DerEncodeNamedCurve(buffer, &length, "P-256"), CKR_OK);
    EXPECT_EQ(Bytes(buffer, buffer + 10), OpenSslDer("prime256v1"));

    EXPECT_EQ(CT_DerEncodeNamedCurve(nullptr, nullptr, "no such curve"), CKR_OK);
    EXPECT_EQ(CT_DerEncodeNamedCurve(buffer, nullptr, "P-256"), CKR_ARGUMENTS_BAD);
    CK_RV rv = CKR_OK;
    for (const char* unknown : {"p-192", "P-256 ", "P-25", ""}) {
        Encode(unknown, &rv);
        EXPECT_EQ(rv, CKR_KEY_PARAMS_INVALID) << unknown;
    }
    EXPECT_EQ(CT_DerEncodeNamedCurve(buffer, &length, nullptr), CKR_KEY_PARAMS_INVALID);
}

TEST(Ecattr, SizesGoByTheGivenLengthFirstRowFirst) {
    EXPECT_EQ(Bits({}), 191u);                                    // nothing to compare: the first row
    EXPECT_EQ(Bits({0x06, 0x05, 0x2b, 0x81, 0x04, 0x00}), 224u);  // a prefix of secp224k1, before secp224r1
    EXPECT_EQ(Bits({0x06, 0x03, 0x2b, 0x65, 0x70}), 256u);
    Bits({0x06, 0x03, 0x2b, 0x65, 0x72}, CKR_ATTRIBUTE_VALUE_INVALID);
    // Longer than every row that it begins like.
    Bits({0x06, 0x05, 0x2b, 0x81, 0x04, 0x00, 0x22, 0x00}, CKR_ATTRIBUTE_VALUE_INVALID);
    CK_ULONG bits = 0;
    CK_ATTRIBUTE nothing{CKA_EC_PARAMS, nullptr, 5};
    EXPECT_EQ(CT_GetECKeySize(&nothing, &bits), CKR_ATTRIBUTE_VALUE_INVALID);
    EXPECT_EQ(CT_GetECKeySize(nullptr, &bits), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(CT_GetECKeySize(&nothing, nullptr), CKR_ARGUMENTS_BAD);
}

class DomainParameters : public ::testing::Test {
protected:
    void SetUp() override { fake::reset(); }

    // The labels of the searches, in order.
    static std::vector<std::string> labels() {
        std::vector<std::string> out;
        for (const fake::Call& call : fake::calls("C_FindObjectsInit")) {
            const fake::Attribute& label = (*call.templates[0])[0];
            EXPECT_EQ(label.type, CKA_LABEL);
            out.emplace_back(label.value.begin(), label.value.end());
        }
        return out;
    }
};

TEST_F(DomainParameters, KnownNamesNeedNoToken) {
    CK_BYTE buffer[16];
    CK_ATTRIBUTE attribute{CKA_VALUE, buffer, sizeof buffer};
    EXPECT_EQ(CT_GetECCDomainParameters(1, &attribute, "secp384r1"), CKR_OK);
    EXPECT_EQ(attribute.ulValueLen, 7u);
    EXPECT_EQ(attribute.type, CKA_VALUE);  // untouched on this path
    EXPECT_TRUE(fake::calls().empty());
}

TEST_F(DomainParameters, OtherNamesAreLookedUpWithoutThenWithTheTerminator) {
    fake::enqueue("C_FindObjects", fake::Reply().ulongs({}));
    fake::enqueue("C_FindObjects", fake::Reply().ulongs({77}));
    fake::setDefault("C_GetAttributeValue", fake::Reply().attribute(CKA_EC_PARAMS, Bytes{0x30, 0x01, 0x00}));
    CK_BYTE buffer[16];
    CK_ATTRIBUTE attribute{CKA_VALUE, buffer, sizeof buffer};
    EXPECT_EQ(CT_GetECCDomainParameters(5, &attribute, "myCurve"), CKR_OK);
    EXPECT_EQ(labels(), (std::vector<std::string>{"myCurve", std::string("myCurve\0", 8)}));
    const fake::Template tmpl = *fake::last("C_FindObjectsInit")->templates[0];
    ASSERT_EQ(tmpl.size(), 3u);
    EXPECT_EQ(tmpl[1].type, CKA_CLASS);
    EXPECT_EQ(tmpl[1].value, fake::Reply::raw(CK_ULONG{CKO_DOMAIN_PARAMETERS}));
    EXPECT_EQ(tmpl[2].type, CKA_KEY_TYPE);
    EXPECT_EQ(tmpl[2].value, fake::Reply::raw(CK_ULONG{CKK_EC}));
    EXPECT_EQ(fake::count("C_FindObjectsFinal"), 2u);
    EXPECT_EQ(fake::last("C_GetAttributeValue")->scalars[1], 77u);
    EXPECT_EQ(attribute.type, CKA_EC_PARAMS);
    EXPECT_EQ(attribute.ulValueLen, 3u);
}

TEST_F(DomainParameters, ATooSmallBufferSearchesTooAndTokenErrorsEndIt) {
    fake::setDefault("C_FindObjects", fake::Reply().ulongs({}));
    CK_BYTE buffer[4];
    CK_ATTRIBUTE attribute{CKA_EC_PARAMS, buffer, sizeof buffer};
    EXPECT_EQ(CT_GetECCDomainParameters(5, &attribute, "P-256"), CKR_DOMAIN_PARAMS_INVALID);
    EXPECT_EQ(fake::count("C_FindObjectsInit"), 2u);

    fake::reset();
    fake::setDefault("C_FindObjects", fake::Reply().returns(CKR_SESSION_HANDLE_INVALID));
    EXPECT_EQ(CT_GetECCDomainParameters(5, &attribute, "myCurve"), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(fake::count("C_FindObjectsFinal"), 0u);  // the search is left open
    EXPECT_EQ(CT_GetECCDomainParameters(5, nullptr, "myCurve"), CKR_ARGUMENTS_BAD);
}

}  // namespace
