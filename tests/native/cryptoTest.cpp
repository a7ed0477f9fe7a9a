// The cryptographic, key and random natives where they go beyond their
// frames: the size query and short buffers of the data shape, which
// initialiser writes the parameter back, the release gated by the mechanism
// number, and the departures of the key natives.
#include <cstring>
#include <vector>

#include "allocations.h"
#include "bridgeTest.h"

namespace morlin_test {
namespace {

using Bytes = std::vector<unsigned char>;

class CryptoTest : public BridgeTest {
protected:
    jobject decrypt(jbyteArray out, jobject outLen) {
        return Java_kaltrix_morlin_Cryptoki_C_1Decrypt(env, nullptr, session(1), makeBytes({1, 2}), 2, out, outLen);
    }
    // A token function that overwrites the IV of the GCM parameter it gets.
    static fake::Reply fillingIv(unsigned char fill) {
        return fake::Reply().hook([fill](const fake::Call&, void* const* args) {
            auto* p = static_cast<CK_AES_GCM_PARAMS*>(fake::arg<CK_MECHANISM_PTR>(args, 1)->pParameter);
            memset(p->pIv, fill, p->ulIvLen);
            return CKR_OK;
        });
    }
};

TEST_F(CryptoTest, DataShapeAnswersSizeQueriesAndShortBuffers) {
    fake::setDefault("C_Decrypt", fake::Reply().bytes(Bytes(12, 7)));
    jobject length = longRef(0);
    EXPECT_EQ(rvOf(decrypt(nullptr, length)), CKR_OK);  // the size query
    EXPECT_TRUE(fake::last("C_Decrypt")->nulls[1]);
    EXPECT_EQ(getLong(length, "value"), 12);

    jbyteArray out = makeBytes(Bytes(16, 0));
    setLong(length, "value", 8);
    EXPECT_EQ(rvOf(decrypt(out, length)), CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(getLong(length, "value"), 12);
    EXPECT_EQ(readBytes(out), Bytes(16, 0));

    // Room for 256 in the buffer, 16 in the array: what fits is delivered
    // and the length says what the token library returned.
    fake::setDefault("C_Sign", fake::Reply().bytes(Bytes(20, 5)));
    setLong(length, "value", 256);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1Sign(env, nullptr, session(1), nullptr, 0, out, length)), CKR_OK);
    EXPECT_EQ(fake::last("C_Sign")->lengthsIn[0], 256u);
    EXPECT_EQ(getLong(length, "value"), 20);
    EXPECT_EQ(readBytes(out), Bytes(16, 5));

    // An empty input is a null pointer; the Java length goes as it came.
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1Digest(env, nullptr, session(1), makeBytes({}), 0, nullptr, length)),
              CKR_OK);
    EXPECT_FALSE(fake::last("C_Digest")->inputs[0].has_value());
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1VerifyUpdate(env, nullptr, session(1), nullptr, 5)), CKR_OK);
    EXPECT_EQ(fake::last("C_VerifyUpdate")->scalars[1], 5u);

    // A failed verification is an answer, not an exception.
    fake::setDefault("C_Verify", fake::Reply().returns(CKR_SIGNATURE_INVALID));
    EXPECT_EQ(
        rvOf(Java_kaltrix_morlin_Cryptoki_C_1Verify(env, nullptr, session(1), makeBytes({1}), 1, makeBytes({2}), 1)),
        CKR_SIGNATURE_INVALID);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1EncryptFinal(env, nullptr, session(1), nullptr, nullptr)),
              CKR_ARGUMENTS_BAD);
}

TEST_F(CryptoTest, OnlyEncryptInitWritesTheParameterBackAndOnlyOnOk) {
    auto iv = [this](jobject m) {
        return readBytes(
            static_cast<jbyteArray>(getObject(getObject(m, "pParameter", jn::kMechanismParameter.sig), "pIv", "[B")));
    };
    jobject decrypting = mechanism(CKM_AES_GCM, gcm(makeBytes(Bytes(12, 0)), nullptr, 128), 40);
    fake::setDefault("C_DecryptInit", fillingIv(0x11));
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1DecryptInit(env, nullptr, session(1), decrypting, handle(2))),
              CKR_OK);
    EXPECT_EQ(iv(decrypting), Bytes(12, 0));

    jobject encrypting = mechanism(CKM_AES_GCM, gcm(makeBytes(Bytes(12, 0)), nullptr, 128), 40);
    fake::setDefault("C_EncryptInit", fillingIv(0x22));
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1EncryptInit(env, nullptr, session(1), encrypting, handle(2))),
              CKR_OK);
    EXPECT_EQ(iv(encrypting), Bytes(12, 0x22));
    const fake::Mechanism sent = *fake::last("C_EncryptInit")->mechanism;
    EXPECT_EQ(sent.type, CKM_AES_GCM);
    EXPECT_EQ(sent.parameterLen, 40u);

    fake::setDefault("C_EncryptInit", fake::Reply().returns(CKR_KEY_HANDLE_INVALID));
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1EncryptInit(env, nullptr, session(1), encrypting, handle(2))),
              CKR_KEY_HANDLE_INVALID);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1SignInit(env, nullptr, session(1), nullptr, handle(2))),
              CKR_ARGUMENTS_BAD);
    EXPECT_EQ(fake::count("C_SignInit"), 0u);
}

TEST_F(CryptoTest, TheReleaseGoesByTheMechanismNumber) {
    AllocationWatch memory;
    // Mechanism number 0 marks a conversion that never got that far: its
    // parameter is not released, and stays for the life of the process.
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1DigestInit(env, nullptr, session(1),
                                                              mechanism(0, makeBytes({1, 2, 3}), 3))),
              CKR_OK);
    EXPECT_EQ(memory.tally().blocks, 1);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1DigestInit(env, nullptr, session(1),
                                                              mechanism(0x250, makeBytes({1, 2, 3}), 3))),
              CKR_OK);
    EXPECT_EQ(memory.tally().blocks, 1);
    // A null key wrapper reads as all bits set.
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1DigestKey(env, nullptr, session(1), nullptr)), CKR_OK);
    EXPECT_EQ(fake::last("C_DigestKey")->scalars[1], ~0UL);
}

TEST_F(CryptoTest, KeyNativesCheckAndStoreAsEachOfThemDoes) {
    jobject m = mechanism(CKM_AES_KEY_GEN);
    jobject key = handle(-1);
    fake::setDefault("C_GenerateKey", fake::Reply().handle(0x42));
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GenerateKey(env, nullptr, session(1), m, nullptr, 0, key)), CKR_OK);
    EXPECT_EQ(getLong(key, "m_value"), 0x42);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GenerateKey(env, nullptr, session(1), m, nullptr, 1, key)),
              CKR_ARGUMENTS_BAD);

    // A key pair's handles, in their order; a null private key is refused
    // before anything is converted.
    jobject publicKey = handle(0), privateKey = handle(0);
    fake::setDefault("C_GenerateKeyPair", fake::Reply().handles(7, 8));
    jobjectArray t = attributes({attribute(CKA_TOKEN, boxed(jn::kBBool, "(Z)V", jvalue{.z = JNI_FALSE}), 1)});
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GenerateKeyPair(env, nullptr, session(1), m, nullptr, 0, t, 1,
                                                                   publicKey, privateKey)),
              CKR_OK);
    EXPECT_EQ(getLong(publicKey, "m_value"), 7);
    EXPECT_EQ(getLong(privateKey, "m_value"), 8);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GenerateKeyPair(env, nullptr, session(1), m, nullptr, 0, t, 1,
                                                                   publicKey, nullptr)),
              CKR_ARGUMENTS_BAD);
    EXPECT_EQ(fake::count("C_GenerateKeyPair"), 1u);

    // C_DeriveKey alone takes a null output; C_UnwrapKey alone refuses a
    // null wrapped key whatever its length.
    EXPECT_EQ(
        rvOf(Java_kaltrix_morlin_Cryptoki_C_1DeriveKey(env, nullptr, session(1), m, handle(1), nullptr, 0, nullptr)),
        CKR_OK);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1UnwrapKey(env, nullptr, session(1), m, handle(1), nullptr, 0,
                                                             nullptr, 0, key)),
              CKR_ARGUMENTS_BAD);

    // C_WrapKey: a null wrapping key is CK_INVALID_HANDLE, a null key all
    // bits set; a null output is the size query; an error leaves the bytes.
    fake::setDefault("C_WrapKey", fake::Reply().bytes(Bytes(24, 3)));
    jobject length = longRef(0);
    EXPECT_EQ(
        rvOf(Java_kaltrix_morlin_Cryptoki_C_1WrapKey(env, nullptr, session(1), m, nullptr, nullptr, nullptr, length)),
        CKR_OK);
    EXPECT_EQ(fake::last("C_WrapKey")->scalars[1], 0u);
    EXPECT_EQ(fake::last("C_WrapKey")->scalars[2], ~0UL);
    EXPECT_EQ(getLong(length, "value"), 24);
    fake::setDefault("C_WrapKey", fake::Reply().bytes(Bytes(24, 3)).returns(CKR_KEY_NOT_WRAPPABLE));
    jbyteArray wrapped = makeBytes(Bytes(24, 0));
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1WrapKey(env, nullptr, session(1), m, handle(1), handle(2), wrapped,
                                                           length)),
              CKR_KEY_NOT_WRAPPABLE);
    EXPECT_EQ(readBytes(wrapped), Bytes(24, 0));
}

TEST_F(CryptoTest, RandomBytesComeAsManyAsAskedAndAsManyAsFit) {
    fake::setDefault("C_GenerateRandom", fake::Reply().bytes(Bytes(16, 9)));
    jbyteArray eight = makeBytes(Bytes(8, 0));
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GenerateRandom(env, nullptr, session(1), eight, 16)), CKR_OK);
    EXPECT_EQ(readBytes(eight), Bytes(8, 9));
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GenerateRandom(env, nullptr, session(1), nullptr, 0)), CKR_OK);
    EXPECT_TRUE(fake::last("C_GenerateRandom")->nulls[0]);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GenerateRandom(env, nullptr, session(1), nullptr, 4)),
              CKR_ARGUMENTS_BAD);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1SeedRandom(env, nullptr, session(1), nullptr, 0)), CKR_OK);
    EXPECT_FALSE(fake::last("C_SeedRandom")->inputs[0].has_value());
}

}  // namespace
}  // namespace morlin_test
