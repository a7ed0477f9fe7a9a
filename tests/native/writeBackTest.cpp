// What the token library leaves in a mechanism parameter, copied back into
// the caller's Java parameter branch by branch, and the size that the Java
// side learns for each parameter class, compared with the token library's
// own structures.
#include <algorithm>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "bridgeTest.h"
#include "kaltrix_morlin_CK_MECHANISM.h"
#include "morlin/mechanism.h"
#include "sweep.h"

namespace morlin_test {
namespace {

using Bytes = std::vector<unsigned char>;
using Longs = std::vector<jlong>;
constexpr const char* kHandleSig = "Lkaltrix/morlin/CK_OBJECT_HANDLE;";

// The first n bytes of source, then zeros up to size.
Bytes Prefix(const CK_BYTE* source, size_t n, size_t size) {
    Bytes b(size, 0);
    std::copy(source, source + n, b.begin());
    return b;
}

class WriteBackTest : public BridgeTest {
protected:
    // The write-back of structure into a Java CK_MECHANISM holding parameter;
    // the Cryptoki length is the structure's size, the Java parameterLen free.
    template <class S>
    void copyBack(CK_MECHANISM_TYPE type, S& structure, jobject parameter, jlong parameterLen = sizeof(S)) {
        CK_MECHANISM converted{type, &structure, sizeof(S)};
        CopyCKMechanismToJMechanism(env, &converted, mechanism(type, parameter, parameterLen));
    }
    // An object of the class with its fields set; "[B" fields get n zeros.
    jobject make(const jn::Class& cls, std::initializer_list<std::pair<const char*, const char*>> fields,
                 std::initializer_list<jobject> values = {}, size_t n = 0) {
        jobject o = allocObject(cls.path);
        const jobject* value = values.begin();
        for (const auto& [name, sig] : fields)
            setObject(o, name, sig, std::string(sig) == "[B" ? makeBytes(Bytes(n, 0)) : *value++);
        return o;
    }
    Bytes bytes(jobject o, const char* field) { return readBytes(static_cast<jbyteArray>(getObject(o, field, "[B"))); }
    Longs handlesIn(jobject o, std::initializer_list<const char*> fields) {
        Longs out;
        for (const char* f : fields) out.push_back(getLong(getObject(o, f, kHandleSig), "m_value"));
        return out;
    }
    // Four zero handles and two IV arrays of 4 bytes in the out object.
    jobject keyMat(jlong ivBits) {
        jobject out = make(jn::kSsl3KeyMatOut, {{"pIVClient", "[B"}, {"pIVServer", "[B"}}, {}, 4);
        for (const char* h : {"hClientMacSecret", "hServerMacSecret", "hClientKey", "hServerKey"})
            setObject(out, h, kHandleSig, handle(0));
        jobject p = make(jn::kSsl3KeyMatParams, {{"pReturnedKeyMaterial", jn::kSsl3KeyMatOutField.sig}}, {out});
        setLong(p, "IVSizeInBits", ivBits);
        return p;
    }
    jobject import(jobject count, jobjectArray handles) {
        return make(jn::kPkcs12PbeImportParams,
                    {{"hCertCount", jn::kPkcs12CertCount.sig}, {"hCert", jn::kPkcs12Cert.sig}}, {count, handles});
    }
    jobject keys(const jn::Class& cls, jobject pub, jobject priv) {
        return make(cls, {{"hPublicKey", kHandleSig}, {"hPrivateKey", kHandleSig}}, {pub, priv});
    }
};

TEST_F(WriteBackTest, PbeNumbersGetAtMostEightBytesOfTheIv) {
    CK_BYTE iv[16];
    for (int i = 0; i < 16; ++i) iv[i] = static_cast<CK_BYTE>(0xA0 + i);
    CK_PBE_PARAMS s{iv, nullptr, 0, nullptr, 0, 1000};
    const std::pair<CK_MECHANISM_TYPE, size_t> cases[] = {{0x3A0, 8}, {0x3AB, 8}, {0x3C0, 8},
                                                          {0x39F, 0}, {0x3AC, 0}, {0x3C1, 0}};
    for (const auto& [type, n] : cases) {
        jobject p = make(jn::kPbeParams, {{"pInitVector", "[B"}}, {}, 16);
        copyBack(type, s, p);
        EXPECT_EQ(bytes(p, "pInitVector"), Prefix(iv, n, 16)) << std::hex << type;
    }
    jobject five = make(jn::kPbeParams, {{"pInitVector", "[B"}}, {}, 5);
    copyBack(0x3A5, s, five);
    EXPECT_EQ(bytes(five, "pInitVector"), Prefix(iv, 5, 5));
    copyBack(0x3A5, s, allocObject(jn::kPbeParams.path));  // no Java array
}

TEST_F(WriteBackTest, Pkcs12ImportReturnsTheCountAndTheHandlesThatFit) {
    CK_ULONG count = 5;
    CK_OBJECT_HANDLE certs[] = {0x101, 0x102, 0x103, 0x104, 0x105};
    CK_PKCS12_PBE_IMPORT_PARAMS s{nullptr, 11, nullptr, 12, nullptr, 13, certs, &count};
    jobject ref = longRef(3);
    jobjectArray three = wrappers(jn::kObjectHandle, {0x71, 0x72, 0x73});
    copyBack(0x800009F3, s, import(ref, three));
    EXPECT_EQ(getLong(ref, "value"), 5);
    EXPECT_EQ(values(three), (Longs{0x101, 0x102, 0x103}));

    count = 2;  // the smaller count stops first; a null LongRef is passed over
    three = wrappers(jn::kObjectHandle, {0x71, 0x72, 0x73});
    copyBack(0x800009F3, s, import(nullptr, three));
    EXPECT_EQ(values(three), (Longs{0x101, 0x102, 0x73}));

    s.hCert = nullptr;  // the count alone
    three = wrappers(jn::kObjectHandle, {0x71, 0x72, 0x73});
    copyBack(0x800009F3, s, import(ref, three));
    EXPECT_EQ(getLong(ref, "value"), 2);
    EXPECT_EQ(values(three), (Longs{0x71, 0x72, 0x73}));
}

TEST_F(WriteBackTest, OaepLengthAndBytesAndTheSsl3MasterVersion) {
    CK_BYTE x[] = {0xD1, 0xD2, 0xD3, 0xD4};
    CK_KEY_WRAP_SET_OAEP_PARAMS oaep{0x42, x, 3};
    jobject p = make(jn::kKeyWrapSetOaepParams, {{"pX", "[B"}}, {}, 5);
    copyBack(0x401, oaep, p);
    EXPECT_EQ(getLong(p, "XLen"), 3);
    EXPECT_EQ(bytes(p, "pX"), Prefix(x, 3, 5));
    setObject(p, "pX", "[B", nullptr);
    oaep.ulXLen = 4;
    copyBack(0x401, oaep, p);
    EXPECT_EQ(getLong(p, "XLen"), 4);

    // The version goes by the Java parameterLen, not the structure's 40;
    // -1 is huge as unsigned.
    CK_VERSION version{3, 1};
    CK_SSL3_MASTER_KEY_DERIVE_PARAMS master{{nullptr, 32, nullptr, 32}, &version};
    for (const auto& [parameterLen, written] : {std::pair<jlong, bool>{1, false}, {2, true}, {-1, true}}) {
        jobject v = allocObject(jn::kVersion.path);
        copyBack(0x371, master, make(jn::kSsl3MasterKeyDeriveParams, {{"pVersion", jn::kSsl3MasterVersion.sig}}, {v}),
                 parameterLen);
        EXPECT_EQ(getByte(v, "major"), written ? 3 : 0) << parameterLen;
        EXPECT_EQ(getByte(v, "minor"), written ? 1 : 0) << parameterLen;
    }
}

TEST_F(WriteBackTest, Ssl3KeyMaterialHandlesAndIvsByTheJavaIvSize) {
    CK_BYTE client[] = {0xC1, 0xC2, 0xC3, 0xC4}, server[] = {0x51, 0x52, 0x53, 0x54};
    CK_SSL3_KEY_MAT_OUT out{0x11, 0x12, 0x13, 0x14, client, server};
    // The structure's IV size would copy all four bytes.
    CK_SSL3_KEY_MAT_PARAMS s{160, 128, 32, CK_TRUE, {nullptr, 32, nullptr, 32}, &out};
    for (const auto& [ivBits, n] : {std::pair<jlong, size_t>{12, 2}, {0, 0}}) {
        jobject p = keyMat(ivBits);
        copyBack(0x372, s, p);
        jobject o = getObject(p, "pReturnedKeyMaterial", jn::kSsl3KeyMatOutField.sig);
        EXPECT_EQ(handlesIn(o, {"hClientMacSecret", "hServerMacSecret", "hClientKey", "hServerKey"}),
                  (Longs{0x11, 0x12, 0x13, 0x14}));
        EXPECT_EQ(bytes(o, "pIVClient"), Prefix(client, n, 4)) << ivBits;
        EXPECT_EQ(bytes(o, "pIVServer"), Prefix(server, n, 4)) << ivBits;
    }
}

TEST_F(WriteBackTest, HandlesOfBip32AndTheKdeTag) {
    CK_BIP32_MASTER_DERIVE_PARAMS master{nullptr, 1, nullptr, 2, 0x21, 0x22};
    jobject p = keys(jn::kBip32MasterDeriveParams, handle(0), handle(0));
    copyBack(0x80000E00, master, p);
    EXPECT_EQ(handlesIn(p, {"hPublicKey", "hPrivateKey"}), (Longs{0x21, 0x22}));

    CK_ULONG path[] = {0x80000000, 1};
    CK_BIP32_CHILD_DERIVE_PARAMS child{nullptr, 3, nullptr, 4, path, 2, 0x31, 0x32, 0x33};
    p = keys(jn::kBip32ChildDeriveParams, handle(0), handle(0));
    setLong(p, "pathErrorIndex", -5);
    copyBack(0x80000E01, child, p);
    EXPECT_EQ(handlesIn(p, {"hPublicKey", "hPrivateKey"}), (Longs{0x31, 0x32}));
    EXPECT_EQ(getLong(p, "pathErrorIndex"), 0x33);

    // The KDE pair: 64 bytes of the inline tag, for send and receive.
    CK_BYTE peer[] = {0xEE, 0xEE};
    CK_KDE_ECCP521_DERIVE_PARAMS kde{peer, 2, {}};
    for (int i = 0; i < 64; ++i) kde.bMacTagOut[i] = static_cast<CK_BYTE>(0x40 + i);
    for (CK_MECHANISM_TYPE type : {0x80001002UL, 0x80001003UL}) {
        p = make(jn::kKdeEccP521DeriveParams, {{"bMacTagOut", "[B"}}, {}, 66);
        copyBack(type, kde, p);
        EXPECT_EQ(bytes(p, "bMacTagOut"), Prefix(kde.bMacTagOut, 64, 66)) << std::hex << type;
    }
    copyBack(0x80001002UL, kde, allocObject(jn::kKdeEccP521DeriveParams.path));
}

TEST_F(WriteBackTest, GcmIvOnlyForAesGcmAndOnlyIntoAMechanism) {
    CK_BYTE iv[12], aad[] = {1, 2, 3};
    for (int i = 0; i < 12; ++i) iv[i] = static_cast<CK_BYTE>(0x90 + i);
    CK_AES_GCM_PARAMS s{iv, 12, aad, 3, 128};
    // Either class; the structure's length bounds the copy.
    for (const auto& [cls, n] : {std::pair{&jn::kGcmParams, 12}, {&jn::kAesGcmParams, 5}}) {
        jobject p = gcm(makeBytes(Bytes(12, 0)), nullptr, 96, cls->path);
        s.ulIvLen = n;
        copyBack(CKM_AES_GCM, s, p);
        EXPECT_EQ(bytes(p, "pIv"), Prefix(iv, n, 12)) << cls->path;
    }
    // AES_GCM_OLD and AES_GMAC share the structure, not the write-back;
    // AES_CBC has none either.
    s.ulIvLen = 12;
    jobject p = gcm(makeBytes(Bytes(12, 0)), nullptr, 96);
    for (CK_MECHANISM_TYPE type : {0x80000966UL, CKM_AES_GMAC, 0x1082UL}) copyBack(type, s, p);
    CK_MECHANISM converted{CKM_AES_GCM, &s, sizeof s};
    CopyCKMechanismToJMechanism(env, nullptr, mechanism(CKM_AES_GCM, p, 40));
    CopyCKMechanismToJMechanism(env, &converted, nullptr);
    // A CK_ATTRIBUTE has the shape of a CK_MECHANISM but is none.
    CopyCKMechanismToJMechanism(env, &converted, attribute(CKA_VALUE, p, 40));
    EXPECT_EQ(bytes(p, "pIv"), Bytes(12, 0));
}

TEST_F(WriteBackTest, LongerBranchesOnEveryExceptionPath) {
    auto sweepOf = [this](const char* name, CK_MECHANISM converted, jobject java) {
        return sweepConversion(env, name, [&] { CopyCKMechanismToJMechanism(env, &converted, java); });
    };
    CK_BYTE client[] = {1, 2}, server[] = {3, 4};
    CK_SSL3_KEY_MAT_OUT out{1, 2, 3, 4, client, server};
    CK_SSL3_KEY_MAT_PARAMS ssl{0, 0, 16, CK_FALSE, {}, &out};
    EXPECT_GT(sweepOf("SSL3 key material", {0x372, &ssl, sizeof ssl}, mechanism(0x372, keyMat(16), 72)), 0);

    CK_ULONG count = 2;
    CK_OBJECT_HANDLE certs[] = {7, 8};
    CK_PKCS12_PBE_IMPORT_PARAMS pkcs12{nullptr, 0, nullptr, 0, nullptr, 0, certs, &count};
    jobject holder = import(longRef(0), wrappers(jn::kObjectHandle, {0, 0}));
    EXPECT_GT(sweepOf("PKCS#12 import", {0x800009F3, &pkcs12, sizeof pkcs12}, mechanism(0x800009F3, holder, 64)), 0);

    // The child branch has a class lookup of its own, whose result nothing reads.
    CK_BIP32_CHILD_DERIVE_PARAMS child{nullptr, 0, nullptr, 0, nullptr, 0, 5, 6, 7};
    holder = keys(jn::kBip32ChildDeriveParams, handle(0), handle(0));
    EXPECT_GT(sweepOf("BIP32 child", {0x80000E01, &child, sizeof child}, mechanism(0x80000E01, holder, 72)), 0);
}

class ParameterSizeTest : public BridgeTest {
protected:
    jlong sizeOf(jobject p) { return Java_kaltrix_morlin_CK_1MECHANISM_getMechanismParameterSize(env, nullptr, p); }
};

TEST_F(ParameterSizeTest, JavaValuesCountTheirBytesOrElements) {
    EXPECT_EQ(sizeOf(nullptr), 0);
    EXPECT_FALSE(pending());
    // Modified UTF-8: 1 + 2 + 3 + 3 + 3 + 2 bytes; NUL takes two.
    const jchar text[] = {'a', 0x00E9, 0x20AC, 0xD83D, 0xDE00, 0};
    const std::pair<jobject, jlong> cases[] = {{newLong(-1), 8},
                                               {boxed(jn::kBoolean, "(Z)V", jvalue{.z = JNI_TRUE}), 1},
                                               {allocObject(jn::kVersion.path), sizeof(CK_VERSION)},
                                               {handle(7), sizeof(CK_OBJECT_HANDLE)},
                                               {makeBytes({1, 2, 3, 4, 5}), 5},
                                               {env->NewCharArray(5), 5},
                                               {makeString("abc"), 3},
                                               {env->NewString(text, 6), 14},
                                               {allocObject(jn::kGenPikParam.path), 1}};
    for (const auto& [value, size] : cases) EXPECT_EQ(sizeOf(value), size) << size;
    EXPECT_FALSE(pending());

    std::string message;
    EXPECT_EQ(sizeOf(boxed(jn::kInteger, "(I)V", jvalue{.i = 8})), 0);
    EXPECT_EQ(takeException(&message), "java.lang.UnsupportedOperationException");
    EXPECT_EQ(message, "No Conversion from java.lang.Integer to a CK type");
}

// The Java class of each parameter bears the name of its structure.
#define MORLIN_ROW(S) std::pair<const char*, size_t>(#S, sizeof(S))

TEST_F(ParameterSizeTest, EachParameterClassAnswersItsStructureSize) {
    // clang-format off
    const std::pair<const char*, size_t> structures[] = {
        MORLIN_ROW(CK_PKCS12_PBE_IMPORT_PARAMS), MORLIN_ROW(CK_PKCS12_PBE_EXPORT_PARAMS), MORLIN_ROW(CK_RC2_CBC_PARAMS),
        MORLIN_ROW(CK_RSA_PKCS_OAEP_PARAMS), MORLIN_ROW(CK_RSA_PKCS_PSS_PARAMS), MORLIN_ROW(CK_RC2_MAC_GENERAL_PARAMS),
        MORLIN_ROW(CK_PBE_PARAMS), MORLIN_ROW(CK_KEY_WRAP_SET_OAEP_PARAMS),
        MORLIN_ROW(CK_SSL3_MASTER_KEY_DERIVE_PARAMS), MORLIN_ROW(CK_SSL3_KEY_MAT_PARAMS),
        MORLIN_ROW(CK_KEY_DERIVATION_STRING_DATA), MORLIN_ROW(CK_MECH_TYPE_AND_OBJECT), MORLIN_ROW(CK_DES_CBC_PARAMS),
        MORLIN_ROW(CK_DES2_CBC_PARAMS), MORLIN_ROW(CK_DES3_CBC_PARAMS), MORLIN_ROW(CK_DES_CBC_ENCRYPT_DATA_PARAMS),
        MORLIN_ROW(CK_AES_CBC_ENCRYPT_DATA_PARAMS), MORLIN_ROW(CK_AES_GCM_PARAMS), MORLIN_ROW(CK_GCM_PARAMS),
        MORLIN_ROW(CK_AES_CTR_PARAMS), MORLIN_ROW(CK_AES_CCM_PARAMS), MORLIN_ROW(CK_TIMESTAMP_PARAMS),
        MORLIN_ROW(CK_REPLICATE_TOKEN_PARAMS), MORLIN_ROW(CK_SECRET_SHARE_PARAMS), MORLIN_ROW(CK_ECIES_PARAMS),
        MORLIN_ROW(CK_ECDH1_DERIVE_PARAMS), MORLIN_ROW(CK_BIP32_MASTER_DERIVE_PARAMS),
        MORLIN_ROW(CK_BIP32_CHILD_DERIVE_PARAMS), MORLIN_ROW(CK_EDDSA_PARAMS), MORLIN_ROW(CK_KDE_ECCP521_DERIVE_PARAMS),
        MORLIN_ROW(CK_KDE_TOKEN_WRAP_PARAMS), MORLIN_ROW(CK_PP_LOAD_SECRET_PARAMS),
    };
    // clang-format on
    for (const auto& [name, size] : structures)
        EXPECT_EQ(sizeOf(allocObject((std::string("kaltrix/morlin/params/") + name).c_str())), jlong(size)) << name;
}

// A class with no row of its own answers by its ancestor: a class file of
// no members extending CK_ECIES_PARAMS, defined once per process.
TEST_F(ParameterSizeTest, ASubclassAnswersByItsAncestor) {
    // clang-format off
    static const char kFile[] = "\xCA\xFE\xBA\xBE\0\0\0\x34\0\5"                            // Java 8, four constants:
                                "\1\0\14" "morlintest/D" "\7\0\1"                           // this class,
                                "\1\0\45" "kaltrix/morlin/params/CK_ECIES_PARAMS" "\7\0\3"  // its superclass;
                                "\0\x21\0\2\0\4\0\0\0\0\0\0\0\0";                           // public, no members
    // clang-format on
    jclass derived = env->FindClass("morlintest/D");
    if (derived == nullptr) {
        takeException();
        jobject loader = callStatic("java/lang/ClassLoader", "getSystemClassLoader", "()Ljava/lang/ClassLoader;");
        derived = env->DefineClass("morlintest/D", loader, reinterpret_cast<const jbyte*>(kFile), sizeof kFile - 1);
    }
    ASSERT_NE(derived, nullptr) << takeException();
    EXPECT_EQ(sizeOf(allocObject("morlintest/D")), jlong(sizeof(CK_ECIES_PARAMS)));
}

}  // namespace
}  // namespace morlin_test
