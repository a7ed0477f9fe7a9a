// The utility library's C API on a real SoftHSM2 token, through the
// forwarding libcryptoki.so: data objects as named files (create, open,
// rename, write, read), and an EC key pair made from a curve name whose
// size the library reads back and whose signature OpenSSL verifies.
//
// Run with SOFTHSM2_CONF naming a provisioned token and MORLIN_TEST_LABEL,
// MORLIN_TEST_USER_PIN naming its label and user PIN.
#include <gtest/gtest.h>
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/params.h>

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "cryptoki.h"
#include "morlin_util.h"

namespace {

using Bytes = std::vector<CK_BYTE>;

std::string Env(const char* name) {
    const char* v = getenv(name);
    return v == nullptr ? std::string() : std::string(v);
}

// An EC public key of the named group from an uncompressed point.
EVP_PKEY* PublicKey(const char* group, const CK_BYTE* point, size_t length) {
    OSSL_PARAM params[] = {
        OSSL_PARAM_construct_utf8_string("group", const_cast<char*>(group), 0),
        OSSL_PARAM_construct_octet_string("pub", const_cast<CK_BYTE*>(point), length),
        OSSL_PARAM_construct_end(),
    };
    EVP_PKEY* key = nullptr;
    EVP_PKEY_CTX* ctx = EVP_PKEY_CTX_new_from_name(nullptr, "EC", nullptr);
    if (EVP_PKEY_fromdata_init(ctx) != 1 || EVP_PKEY_fromdata(ctx, &key, EVP_PKEY_PUBLIC_KEY, params) != 1)
        key = nullptr;
    EVP_PKEY_CTX_free(ctx);
    return key;
}

// Whether the token's r || s verifies over the digest.
bool Verifies(EVP_PKEY* key, const CK_BYTE* digest, size_t digestLength, const CK_BYTE* rs, CK_ULONG rsLength) {
    const int half = static_cast<int>(rsLength / 2);
    ECDSA_SIG* signature = ECDSA_SIG_new();
    ECDSA_SIG_set0(signature, BN_bin2bn(rs, half, nullptr), BN_bin2bn(rs + half, half, nullptr));
    unsigned char* der = nullptr;
    const int derLength = i2d_ECDSA_SIG(signature, &der);
    EVP_PKEY_CTX* ctx = EVP_PKEY_CTX_new(key, nullptr);
    const bool ok = EVP_PKEY_verify_init(ctx) == 1 &&
                    EVP_PKEY_verify(ctx, der, static_cast<size_t>(derLength), digest, digestLength) == 1;
    EVP_PKEY_CTX_free(ctx);
    OPENSSL_free(der);
    ECDSA_SIG_free(signature);
    return ok;
}

class UtilityOnSoftHsm : public ::testing::Test {
protected:
    void SetUp() override {
        // A run that cannot reach its token fails: it must never pass by not running.
        ASSERT_FALSE(Env("SOFTHSM2_CONF").empty()) << "SOFTHSM2_CONF names no provisioned token";
        ASSERT_EQ(C_Initialize(nullptr), CKR_OK);
        initialized_ = true;
        CK_SLOT_ID slots[16];
        CK_ULONG count = 16;
        ASSERT_EQ(C_GetSlotList(CK_TRUE, slots, &count), CKR_OK);
        const std::string label = Env("MORLIN_TEST_LABEL");
        bool found = false;
        for (CK_ULONG i = 0; i < count && !found; ++i) {
            CK_TOKEN_INFO info;
            if (C_GetTokenInfo(slots[i], &info) != CKR_OK) continue;
            const std::string padded(reinterpret_cast<char*>(info.label), sizeof info.label);
            found = padded.substr(0, padded.find_last_not_of(' ') + 1) == label;
            if (found) slot_ = slots[i];
        }
        ASSERT_TRUE(found) << "no token labelled " << label;
        ASSERT_EQ(C_OpenSession(slot_, CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &session_), CKR_OK);
        std::string pin = Env("MORLIN_TEST_USER_PIN");
        ASSERT_EQ(C_Login(session_, CKU_USER, reinterpret_cast<CK_UTF8CHAR_PTR>(pin.data()), pin.size()), CKR_OK);
    }
    void TearDown() override {
        for (CK_OBJECT_HANDLE h : made_) C_DestroyObject(session_, h);
        if (initialized_) {
            EXPECT_EQ(C_Finalize(nullptr), CKR_OK);
        }
    }

    // A name no earlier run left on the token.
    static std::string Unique(const char* stem) { return stem + std::to_string(std::random_device{}()); }

    CK_BBOOL Boolean(CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type) {
        CK_BBOOL value = 0xEE;
        EXPECT_EQ(GetAttr(session_, object, type, &value, sizeof value, nullptr), CKR_OK);
        return value;
    }

    bool initialized_ = false;
    CK_SLOT_ID slot_ = 0;
    CK_SESSION_HANDLE session_ = 0;
    std::vector<CK_OBJECT_HANDLE> made_;
};

TEST_F(UtilityOnSoftHsm, DataObjectsAreNamedFiles) {
    const std::string name = Unique("notes-");
    const std::string renamed = name + "-renamed";
    CK_OBJECT_HANDLE file = CK_INVALID_HANDLE, shared = CK_INVALID_HANDLE;
    ASSERT_EQ(CT_CreateObject(session_, CKO_DATA, name.c_str(), &file), CKR_OK);
    made_.push_back(file);
    ASSERT_EQ(CT_CreatePublicObject(session_, CKO_DATA, (name + "-public").c_str(), &shared), CKR_OK);
    made_.push_back(shared);
    EXPECT_EQ(Boolean(file, CKA_TOKEN), CK_TRUE);
    EXPECT_EQ(Boolean(file, CKA_PRIVATE), CK_TRUE);
    EXPECT_EQ(Boolean(shared, CKA_PRIVATE), CK_FALSE);

    // PKCS#11 lets a data object's value change; SoftHSM2 keeps it as it was
    // created and answers that it is read-only. Either way the write
    // reports the length it was given.
    Bytes content(300);
    for (size_t i = 0; i < content.size(); ++i) content[i] = static_cast<CK_BYTE>(i * 13);
    CK_ULONG written = 0;
    const CK_RV wrote = CT_WriteObject(session_, file, content.data(), content.size(), &written);
    EXPECT_TRUE(wrote == CKR_OK || wrote == CKR_ATTRIBUTE_READ_ONLY) << wrote;
    EXPECT_EQ(written, content.size());

    CK_OBJECT_HANDLE opened = CK_INVALID_HANDLE;
    ASSERT_EQ(CT_RenameObject(session_, CKO_DATA, name.c_str(), renamed.c_str()), CKR_OK);
    EXPECT_EQ(CT_OpenObject(session_, CKO_DATA, name.c_str(), &opened), CKR_GENERAL_ERROR);
    ASSERT_EQ(CT_OpenObject(session_, CKO_DATA, renamed.c_str(), &opened), CKR_OK);
    EXPECT_EQ(opened, file);
    // The class is part of the name.
    EXPECT_EQ(CT_OpenObject(session_, CKO_CERTIFICATE, renamed.c_str(), &opened), CKR_GENERAL_ERROR);

    // A file with content, made with its value, read by its name.
    const std::string filledName = name + "-filled";
    CK_OBJECT_CLASS data = CKO_DATA;
    CK_BBOOL yes = CK_TRUE;
    CK_ATTRIBUTE filled[] = {{CKA_CLASS, &data, sizeof data},
                             {CKA_TOKEN, &yes, 1},
                             {CKA_LABEL, const_cast<char*>(filledName.data()), filledName.size()},
                             {CKA_VALUE, content.data(), content.size()}};
    CK_OBJECT_HANDLE filledFile = CK_INVALID_HANDLE;
    ASSERT_EQ(C_CreateObject(session_, filled, 4, &filledFile), CKR_OK);
    made_.push_back(filledFile);
    ASSERT_EQ(CT_OpenObject(session_, CKO_DATA, filledName.c_str(), &opened), CKR_OK);
    EXPECT_EQ(opened, filledFile);
    CK_ULONG length = 0;
    ASSERT_EQ(CT_ReadObject(session_, opened, nullptr, 0, &length), CKR_OK);
    EXPECT_EQ(length, content.size());
    Bytes shortBuffer(length - 1, 0x5A);
    EXPECT_EQ(CT_ReadObject(session_, opened, shortBuffer.data(), shortBuffer.size(), &length),
              CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(shortBuffer, Bytes(content.size() - 1, 0x5A));
    Bytes back(length + 8, 0);
    ASSERT_EQ(CT_ReadObject(session_, opened, back.data(), back.size(), &length), CKR_OK);
    back.resize(length);
    EXPECT_EQ(back, content);

    // A public object can be found by a session that has not logged in.
    CK_SESSION_HANDLE plain = CK_INVALID_HANDLE;
    ASSERT_EQ(C_OpenSession(slot_, CKF_SERIAL_SESSION, nullptr, nullptr, &plain), CKR_OK);
    ASSERT_EQ(C_Logout(session_), CKR_OK);
    EXPECT_EQ(CT_OpenObject(plain, CKO_DATA, (name + "-public").c_str(), &opened), CKR_OK);
    EXPECT_EQ(opened, shared);
    EXPECT_EQ(CT_OpenObject(plain, CKO_DATA, renamed.c_str(), &opened), CKR_GENERAL_ERROR);
    std::string pin = Env("MORLIN_TEST_USER_PIN");
    ASSERT_EQ(C_Login(session_, CKU_USER, reinterpret_cast<CK_UTF8CHAR_PTR>(pin.data()), pin.size()), CKR_OK);
}

// The key pair is made from the encoder's DER; the library reads its size
// back from the token's CKA_EC_PARAMS, and OpenSSL verifies the signature
// with the public point on the curve that the same DER names to it.
TEST_F(UtilityOnSoftHsm, EcKeyPairFromACurveName) {
    const struct {
        const char* name;
        CK_ULONG bits;
    } curves[] = {{"P-256", 256}, {"P-384", 384}, {"secp256k1", 256}, {"brainpoolP320r1", 320}};
    for (const auto& curve : curves) {
        SCOPED_TRACE(curve.name);
        CK_BYTE der[64];
        CK_ULONG derLength = sizeof der;
        ASSERT_EQ(CT_DerEncodeNamedCurve(der, &derLength, curve.name), CKR_OK);
        CK_BBOOL no = CK_FALSE, yes = CK_TRUE;
        CK_ATTRIBUTE publicKey[] = {{CKA_TOKEN, &no, 1}, {CKA_VERIFY, &yes, 1}, {CKA_EC_PARAMS, der, derLength}};
        CK_ATTRIBUTE privateKey[] = {{CKA_TOKEN, &no, 1}, {CKA_SIGN, &yes, 1}};
        CK_MECHANISM generate{CKM_EC_KEY_PAIR_GEN, nullptr, 0};
        CK_OBJECT_HANDLE pub = 0, priv = 0;
        ASSERT_EQ(C_GenerateKeyPair(session_, &generate, publicKey, 3, privateKey, 2, &pub, &priv), CKR_OK);

        CK_BYTE params[64];
        CK_ATTRIBUTE stored{CKA_EC_PARAMS, params, sizeof params};
        ASSERT_EQ(C_GetAttributeValue(session_, pub, &stored, 1), CKR_OK);
        CK_ULONG bits = 0;
        ASSERT_EQ(CT_GetECKeySize(&stored, &bits), CKR_OK);
        EXPECT_EQ(bits, curve.bits);

        CK_BYTE digest[32];
        for (CK_BYTE& b : digest) b = 0x3C;
        CK_MECHANISM ecdsa{CKM_ECDSA, nullptr, 0};
        ASSERT_EQ(C_SignInit(session_, &ecdsa, priv), CKR_OK);
        CK_BYTE rs[160];
        CK_ULONG rsLength = sizeof rs;
        ASSERT_EQ(C_Sign(session_, digest, sizeof digest, rs, &rsLength), CKR_OK);
        CK_BYTE point[200];
        CK_ULONG pointLength = 0;
        ASSERT_EQ(GetAttr(session_, pub, CKA_EC_POINT, point, sizeof point, &pointLength), CKR_OK);

        // The curve as OpenSSL reads the DER, the point out of its OCTET STRING.
        const unsigned char* cursor = der;
        EC_GROUP* group = d2i_ECPKParameters(nullptr, &cursor, static_cast<long>(derLength));
        ASSERT_NE(group, nullptr);
        const char* groupName = OBJ_nid2sn(EC_GROUP_get_curve_name(group));
        EC_GROUP_free(group);
        ASSERT_EQ(point[0], 0x04);
        const size_t header = point[1] & 0x80 ? 2 + (point[1] & 0x7F) : 2;
        EVP_PKEY* key = PublicKey(groupName, point + header, pointLength - header);
        ASSERT_NE(key, nullptr);
        EXPECT_TRUE(Verifies(key, digest, sizeof digest, rs, rsLength));
        rs[rsLength - 1] ^= 1;
        EXPECT_FALSE(Verifies(key, digest, sizeof digest, rs, rsLength));
        EVP_PKEY_free(key);
    }
}

}  // namespace
