// AES-GCM through the forwarder on a real SoftHSM2 token, with the token
// library's five-word parameter: the bytes that come out must be those that
// OpenSSL computes from the same key, IV, AAD and tag length. A field placed
// in the wrong word of the standard structure changes them, or makes
// SoftHSM2 refuse the parameter outright.
//
// Run with SOFTHSM2_CONF naming a provisioned token and MORLIN_TEST_LABEL,
// MORLIN_TEST_USER_PIN naming its label and user PIN.
#include <openssl/evp.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cryptoki.h"

namespace {

using Bytes = std::vector<CK_BYTE>;

std::string Env(const char* name) {
    const char* v = getenv(name);
    return v == nullptr ? std::string() : std::string(v);
}

Bytes OpenSslGcmEncrypt(const Bytes& key, const Bytes& iv, const Bytes& aad, const Bytes& plain, int tagBytes) {
    EVP_CIPHER_CTX* ctx = EVP_CIPHER_CTX_new();
    Bytes out(plain.size() + tagBytes);
    int len = 0, total = 0;
    EVP_EncryptInit_ex(ctx, EVP_aes_128_gcm(), nullptr, nullptr, nullptr);
    EVP_CIPHER_CTX_ctrl(ctx, EVP_CTRL_GCM_SET_IVLEN, static_cast<int>(iv.size()), nullptr);
    EVP_EncryptInit_ex(ctx, nullptr, nullptr, key.data(), iv.data());
    EVP_EncryptUpdate(ctx, nullptr, &len, aad.data(), static_cast<int>(aad.size()));
    EVP_EncryptUpdate(ctx, out.data(), &len, plain.data(), static_cast<int>(plain.size()));
    total = len;
    EVP_EncryptFinal_ex(ctx, out.data() + total, &len);
    total += len;
    EVP_CIPHER_CTX_ctrl(ctx, EVP_CTRL_GCM_GET_TAG, tagBytes, out.data() + total);
    EVP_CIPHER_CTX_free(ctx);
    return out;
}

class ForwardToSoftHsm : public ::testing::Test {
protected:
    void SetUp() override {
        // A run that cannot reach its token fails: it must never pass by not running.
        ASSERT_FALSE(Env("SOFTHSM2_CONF").empty()) << "SOFTHSM2_CONF names no provisioned token";
        ASSERT_EQ(C_Initialize(nullptr), CKR_OK);
        initialized_ = true;
        CK_SLOT_ID slot = FindSlot(Env("MORLIN_TEST_LABEL"));
        ASSERT_EQ(C_OpenSession(slot, CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &session_), CKR_OK);
        std::string pin = Env("MORLIN_TEST_USER_PIN");
        ASSERT_EQ(C_Login(session_, CKU_USER, reinterpret_cast<CK_UTF8CHAR_PTR>(pin.data()), pin.size()), CKR_OK);

        CK_OBJECT_CLASS keyClass = CKO_SECRET_KEY;
        CK_KEY_TYPE keyType = CKK_AES;
        CK_BBOOL yes = CK_TRUE, no = CK_FALSE;
        CK_ATTRIBUTE key[] = {
            {CKA_CLASS, &keyClass, sizeof keyClass},
            {CKA_KEY_TYPE, &keyType, sizeof keyType},
            {CKA_TOKEN, &no, sizeof no},
            {CKA_ENCRYPT, &yes, sizeof yes},
            {CKA_DECRYPT, &yes, sizeof yes},
            {CKA_VALUE, key_.data(), key_.size()},
        };
        ASSERT_EQ(C_CreateObject(session_, key, sizeof key / sizeof key[0], &key_handle_), CKR_OK);
    }
    void TearDown() override {
        if (initialized_) {
            EXPECT_EQ(C_Finalize(nullptr), CKR_OK);
        }
    }

    static CK_SLOT_ID FindSlot(const std::string& label) {
        CK_SLOT_ID slots[16];
        CK_ULONG count = 16;
        EXPECT_EQ(C_GetSlotList(CK_TRUE, slots, &count), CKR_OK);
        for (CK_ULONG i = 0; i < count; ++i) {
            CK_TOKEN_INFO info;
            if (C_GetTokenInfo(slots[i], &info) != CKR_OK) continue;
            std::string padded(reinterpret_cast<char*>(info.label), sizeof info.label);
            if (padded.substr(0, padded.find_last_not_of(' ') + 1) == label) return slots[i];
        }
        ADD_FAILURE() << "no token labelled " << label;
        return 0;
    }

    Bytes Run(bool encrypt, CK_AES_GCM_PARAMS params, const Bytes& in, CK_RV* rv) {
        CK_MECHANISM mechanism{CKM_AES_GCM, &params, sizeof params};
        *rv = encrypt ? C_EncryptInit(session_, &mechanism, key_handle_)
                      : C_DecryptInit(session_, &mechanism, key_handle_);
        if (*rv != CKR_OK) return {};
        Bytes input = in;
        CK_ULONG length = 0;
        auto call = encrypt ? C_Encrypt : C_Decrypt;
        *rv = call(session_, input.data(), input.size(), nullptr, &length);
        if (*rv != CKR_OK) return {};
        Bytes out(length);
        *rv = call(session_, input.data(), input.size(), out.data(), &length);
        if (*rv != CKR_OK) return {};
        out.resize(length);
        return out;
    }

    bool initialized_ = false;
    CK_SESSION_HANDLE session_ = 0;
    CK_OBJECT_HANDLE key_handle_ = 0;
    Bytes key_{0x2B, 0x7E, 0x15, 0x16, 0x28, 0xAE, 0xD2, 0xA6, 0xAB, 0xF7, 0x15, 0x88, 0x09, 0xCF, 0x4F, 0x3C};
};

TEST_F(ForwardToSoftHsm, GcmEncryptionMatchesOpenSslAndDecryptionChecksTheAad) {
    Bytes iv{0xCA, 0xFE, 0xBA, 0xBE, 0xFA, 0xCE, 0xDB, 0xAD, 0xDE, 0xCA, 0xF8, 0x88};
    Bytes aad{'h', 'e', 'a', 'd', 'e', 'r', ' ', 'o', 'f', ' ', 'm', 'o', 'r', 'l', 'i', 'n'};
    Bytes plain(45);
    for (size_t i = 0; i < plain.size(); ++i) plain[i] = static_cast<CK_BYTE>(i * 7);

    // 96-bit tags, not the default 128, so that a misplaced ulTagBits shows.
    CK_AES_GCM_PARAMS params{iv.data(), iv.size(), aad.data(), aad.size(), 96};
    CK_RV rv;
    Bytes sealed = Run(true, params, plain, &rv);
    ASSERT_EQ(rv, CKR_OK);
    EXPECT_EQ(sealed, OpenSslGcmEncrypt(key_, iv, aad, plain, 12));

    EXPECT_EQ(Run(false, params, sealed, &rv), plain);
    EXPECT_EQ(rv, CKR_OK);

    Bytes otherAad = aad;
    otherAad[0] ^= 1;
    CK_AES_GCM_PARAMS tampered{iv.data(), iv.size(), otherAad.data(), otherAad.size(), 96};
    // PKCS#11 asks for CKR_ENCRYPTED_DATA_INVALID; SoftHSM2 2.6 answers a
    // failed tag check with CKR_GENERAL_ERROR. Either way, no plaintext.
    EXPECT_TRUE(Run(false, tampered, sealed, &rv).empty());
    EXPECT_NE(rv, CKR_OK);
}

}  // namespace
