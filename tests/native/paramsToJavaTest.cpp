// Cryptoki mechanisms into new Java CK_MECHANISM objects: every converter
// with its own value in every field, read back from the Java object; the
// choice of a row by number and length together, and the raw bytes of what
// no row takes; the behaviours this direction keeps on purpose; every
// exception path; and round trips through the Java-to-Cryptoki direction.
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "bridgeTest.h"
#include "morlin/mechanism.h"
#include "morlin/names/paramsDerive.h"
#include "morlin/names/paramsRsaPbe.h"
#include "morlin/paramsToJava.h"
#include "sweep.h"

namespace morlin_test {
namespace {

using Bytes = std::vector<unsigned char>;
constexpr const char* kHandleSig = "Lkaltrix/morlin/CK_OBJECT_HANDLE;";
constexpr const char* kMechSig = "Lkaltrix/morlin/constants/CK_MECHANISM_TYPE;";
constexpr const char* kBBoolSig = "Lkaltrix/morlin/CK_BBOOL;";
constexpr const char* kObjectSig = "Ljava/lang/Object;";

Bytes Counting(unsigned char first, size_t n) {
    Bytes b(n);
    for (size_t i = 0; i < n; ++i) b[i] = static_cast<unsigned char>(first + i);
    return b;
}
template <size_t N>
void Fill(CK_BYTE (&target)[N], unsigned char first) {
    const Bytes b = Counting(first, N);
    memcpy(target, b.data(), N);
}
Bytes Of(const void* p, size_t n) {
    const auto* b = static_cast<const unsigned char*>(p);
    return b == nullptr ? Bytes{} : Bytes(b, b + n);
}
// A number field's value: its own low bits, and high bits set so that a
// field cut to 32 bits or read as another shows.
constexpr CK_ULONG V(unsigned n) { return 0xC0DE000000000000ULL | n; }

// One structure of every converter, each field its own value; byte arrays
// count up from their own first byte, lengths differ within a structure.
struct Samples {
    Bytes b5 = Counting(0x50, 5), b6 = Counting(0x60, 6), b7 = Counting(0x70, 7), b8 = Counting(0x80, 8),
          b9 = Counting(0x90, 9), b12 = Counting(0xB0, 12), b3 = Counting(0x30, 3), b4 = Counting(0x40, 4);
    char prompt[5] = "PIN?";
    CK_ULONG certCount = 2;
    CK_OBJECT_HANDLE certs[2] = {V(40), V(41)};
    CK_ULONG attrClass = CKO_SECRET_KEY;
    CK_ATTRIBUTE attrs[2] = {{CKA_CLASS, &attrClass, sizeof attrClass}, {CKA_LABEL, b3.data(), 3}};
    CK_VERSION version{3, 1};
    CK_SSL3_KEY_MAT_OUT out{V(30), V(31), V(32), V(33), b8.data(), b9.data()};

    CK_RC2_CBC_PARAMS rc2{V(1), {}};
    CK_RC2_MAC_GENERAL_PARAMS rc2Mac{V(2), V(3)};
    CK_DES_CBC_PARAMS des{};
    CK_DES2_CBC_PARAMS des2{};
    CK_DES3_CBC_PARAMS des3{};
    CK_DES_CBC_ENCRYPT_DATA_PARAMS desData{{}, b5.data(), 5};
    CK_AES_CBC_ENCRYPT_DATA_PARAMS aesData{{}, b6.data(), 6};
    CK_AES_GCM_PARAMS gcm{b12.data(), 12, b5.data(), 5, V(4)};
    CK_AES_CCM_PARAMS ccm{V(5), b7.data(), 7, b4.data(), 4, V(6)};
    CK_AES_CTR_PARAMS ctr{V(7), {}};
    CK_KEY_DERIVATION_STRING_DATA stringData{b9.data(), 9};
    CK_KEY_WRAP_SET_OAEP_PARAMS setOaep{0xC3, b6.data(), 6};
    CK_MECH_TYPE_AND_OBJECT mechAndObject{V(8), V(9)};
    CK_OBJECT_HANDLE handle = V(10);
    CK_ULONG macLength = V(11);
    CK_PBE_PARAMS pbe{b8.data(), b5.data(), 5, b7.data(), 7, V(12)};
    CK_RSA_PKCS_OAEP_PARAMS oaep{V(13), V(14), V(15), b4.data(), 4};
    CK_RSA_PKCS_PSS_PARAMS pss{V(16), V(17), V(18)};
    CK_SSL3_MASTER_KEY_DERIVE_PARAMS master{{b5.data(), 5, b6.data(), 6}, &version};
    CK_SSL3_KEY_MAT_PARAMS keyMat{V(19), V(20), 64, CK_TRUE, {b7.data(), 7, b4.data(), 4}, &out};
    CK_ECDH1_DERIVE_PARAMS ecdh{V(21), 6, b6.data(), 9, b9.data()};
    CK_ECIES_PARAMS ecies{V(22), V(23), 5, b5.data(), V(24), V(25), V(26), V(27), V(28), 4, b4.data()};
    CK_PP_LOAD_SECRET_PARAMS ppLoad{CK_TRUE, 0x81, 0xFE, reinterpret_cast<CK_CHAR_PTR>(prompt)};
    CK_TIMESTAMP_PARAMS timestamp{CK_TRUE, V(29)};
    CK_REPLICATE_TOKEN_PARAMS replicate{};
    CK_SECRET_SHARE_PARAMS share{V(34), V(35)};
    CK_PKCS12_PBE_IMPORT_PARAMS import{b5.data(), 5, b6.data(), 6, attrs, 2, certs, &certCount};
    CK_PKCS12_PBE_EXPORT_PARAMS exportP{V(36), b7.data(), 7, b8.data(), 8, V(37), V(38), V(39)};

    Samples() {
        Fill(rc2.iv, 0x11);
        Fill(des.iv, 0x21), Fill(des.data, 0x29);
        Fill(des2.iv, 0x31), Fill(des2.data, 0x39);
        Fill(des3.iv, 0x41), Fill(des3.data, 0x49);
        Fill(desData.iv, 0x61), Fill(aesData.iv, 0x71), Fill(ctr.cb, 0x81), Fill(replicate.peerId, 0xA1);
    }
};

struct Case {
    const char* name;
    CK_MECHANISM_TYPE type;
    const void* parameter;
    CK_ULONG length;
};

class ParamsToJavaTest : public BridgeTest {
protected:
    Samples s;

    // The Java CK_MECHANISM made from the Cryptoki one, its frame fields
    // checked; returns its parameter.
    jobject param(CK_MECHANISM_TYPE type, const void* p, CK_ULONG length) {
        CK_MECHANISM m{type, const_cast<void*>(p), length};
        jobject jm = ckMechanismToJMechanism(env, &m);
        if (pending()) {
            ADD_FAILURE() << takeException();
            return nullptr;
        }
        EXPECT_TRUE(exactly(jm, jn::kMechanism.path));
        EXPECT_EQ(std::tuple(wrapped(jm, "mechanism", kMechSig), getLong(jm, "parameterLen")),
                  std::tuple(type, jlong(length)));
        return getObject(jm, "pParameter", kObjectSig);
    }
    // The same for a structure, whose parameter must be of exactly the class.
    template <class S>
    jobject param(CK_MECHANISM_TYPE type, const S& structure, const jn::Class& cls) {
        jobject p = param(type, &structure, sizeof structure);
        EXPECT_TRUE(exactly(p, cls.path)) << cls.path << " for 0x" << std::hex << type;
        return p;
    }
    bool exactly(jobject o, const char* path) {
        return o != nullptr && env->IsSameObject(env->GetObjectClass(o), findClass(path));
    }
    jobject field(jobject o, const char* name, const char* sig = "[B") { return getObject(o, name, sig); }
    Bytes bytes(jobject o, const char* name) { return readBytes(static_cast<jbyteArray>(field(o, name))); }
    CK_ULONG u(jobject o, const char* name) { return static_cast<CK_ULONG>(getLong(o, name)); }
    CK_ULONG wrapped(jobject o, const char* name, const char* sig) {
        return static_cast<CK_ULONG>(getLong(field(o, name, sig), "m_value"));
    }
    jint getInt(jobject o, const char* name) {
        return env->GetIntField(o, env->GetFieldID(env->GetObjectClass(o), name, "I"));
    }
    // Java to Cryptoki, to a new Java object and to Cryptoki again: the two
    // structures must agree through view.
    template <class S, class View>
    void roundTrip(CK_MECHANISM_TYPE type, jobject parameter, View view) {
        jobject first = mechanism(type, parameter, sizeof(S));
        CK_MECHANISM a = jMechanismToCKMechanism(env, first);
        ASSERT_FALSE(pending()) << takeException();
        jobject back = ckMechanismToJMechanism(env, &a);
        ASSERT_FALSE(pending()) << takeException();
        CK_MECHANISM b = jMechanismToCKMechanism(env, back);
        ASSERT_FALSE(pending()) << takeException();
        EXPECT_EQ(std::tuple(b.mechanism, b.ulParameterLen), std::tuple(a.mechanism, a.ulParameterLen));
        EXPECT_EQ(view(*static_cast<const S*>(a.pParameter)), view(*static_cast<const S*>(b.pParameter)));
        FreeCKMechanismParameter(env, back, &b);
        FreeCKMechanismParameter(env, first, &a);
    }
};

TEST_F(ParamsToJavaTest, BlockCipherAndAeadStructuresFieldByField) {
    jobject p = param(0x102, s.rc2, jn::kRc2CbcParams);
    EXPECT_EQ(std::tuple(u(p, "effectiveBits"), bytes(p, "iv")), std::tuple(V(1), Of(s.rc2.iv, 8)));
    p = param(0x104, s.rc2Mac, jn::kRc2MacGeneralParams);
    EXPECT_EQ(std::tuple(u(p, "effectiveBits"), u(p, "macLength")), std::tuple(V(2), V(3)));
    p = param(0x80000501, s.des, jn::kDesCbcParams);
    EXPECT_EQ(std::tuple(bytes(p, "iv"), bytes(p, "data")), std::tuple(Of(s.des.iv, 8), Of(s.des.data, 8)));
    p = param(0x80000503, s.des2, jn::kDes2CbcParams);
    EXPECT_EQ(std::tuple(bytes(p, "iv"), bytes(p, "data")), std::tuple(Of(s.des2.iv, 8), Of(s.des2.data, 16)));
    p = param(0x80000503, s.des3, jn::kDes3CbcParams);
    EXPECT_EQ(std::tuple(bytes(p, "iv"), bytes(p, "data")), std::tuple(Of(s.des3.iv, 8), Of(s.des3.data, 24)));
    for (CK_MECHANISM_TYPE type : {0x1101UL, 0x1103UL}) {
        p = param(type, s.desData, jn::kDesCbcEncryptDataParams);
        EXPECT_EQ(std::tuple(bytes(p, "iv"), bytes(p, "pData"), u(p, "length")),
                  std::tuple(Of(s.desData.iv, 8), s.b5, 5UL));
    }
    p = param(0x1105, s.aesData, jn::kAesCbcEncryptDataParams);
    EXPECT_EQ(std::tuple(bytes(p, "iv"), bytes(p, "pData"), u(p, "length")),
              std::tuple(Of(s.aesData.iv, 16), s.b6, 6UL));
    // The structure of the token library's own name for all three numbers.
    for (CK_MECHANISM_TYPE type : {0x1087UL, 0x80000966UL, 0x108EUL}) {
        p = param(type, s.gcm, jn::kAesGcmParams);
        EXPECT_EQ(std::tuple(bytes(p, "pIv"), u(p, "ulIvLen"), bytes(p, "pAAD"), u(p, "ulAADLen"), u(p, "ulTagBits")),
                  std::tuple(s.b12, 12UL, s.b5, 5UL, V(4)));
    }
    p = param(0x1088, s.ccm, jn::kAesCcmParams);
    EXPECT_EQ(std::tuple(u(p, "ulDataLen"), bytes(p, "pNonce"), u(p, "ulNonceLen"), bytes(p, "pAAD"), u(p, "ulAADLen"),
                         u(p, "ulMACLen")),
              std::tuple(V(5), s.b7, 7UL, s.b4, 4UL, V(6)));
}

TEST_F(ParamsToJavaTest, RsaPbeAndPkcs12StructuresFieldByField) {
    jobject p = param(0x9, s.oaep, jn::kRsaPkcsOaepParams);
    EXPECT_EQ(std::tuple(wrapped(p, "hashAlg", kMechSig), u(p, "mgf"), wrapped(p, "source", jn::kOaepSource.sig),
                         bytes(p, "pSourceData"), u(p, "sourceDataLen")),
              std::tuple(V(13), V(14), V(15), s.b4, 4UL));
    p = param(0xD, s.pss, jn::kRsaPkcsPssParams);
    EXPECT_EQ(std::tuple(wrapped(p, "hashAlg", kMechSig), u(p, "mgf"), u(p, "sLen")), std::tuple(V(16), V(17), V(18)));
    p = param(0x401, s.setOaep, jn::kKeyWrapSetOaepParams);
    EXPECT_EQ(std::tuple(getByte(p, "bBC"), bytes(p, "pX"), u(p, "XLen")), std::tuple(jbyte(-61), s.b6, 6UL));
    p = param(0x3A8, s.pbe, jn::kPbeParams);
    EXPECT_EQ(std::tuple(bytes(p, "pInitVector"), bytes(p, "pPassword"), u(p, "passwordLen"), bytes(p, "pSalt"),
                         u(p, "saltLen"), u(p, "iteration")),
              std::tuple(s.b8, s.b5, 5UL, s.b7, 7UL, V(12)));
    p = param(0x800009F2, s.exportP, jn::kPkcs12PbeExportParams);
    EXPECT_EQ(std::tuple(wrapped(p, "keyCert", kHandleSig), bytes(p, "passwordAuthSafe"), u(p, "passwordAuthSafeLen"),
                         bytes(p, "passwordHMAC"), u(p, "passwordHMACLen"), wrapped(p, "safeBagKgMech", kMechSig),
                         wrapped(p, "safeContentKgMech", kMechSig), wrapped(p, "hmacKgMech", kMechSig)),
              std::tuple(V(36), s.b7, 7UL, s.b8, 8UL, V(37), V(38), V(39)));
    p = param(0x800009F3, s.import, jn::kPkcs12PbeImportParams);
    EXPECT_EQ(std::tuple(bytes(p, "passwordAuthSafe"), u(p, "passwordAuthSafeLen"), bytes(p, "passwordHMAC"),
                         u(p, "passwordHMACLen"), u(p, "certAttrCount"),
                         getLong(field(p, "hCertCount", jn::kPkcs12CertCount.sig), "value"),
                         values(static_cast<jobjectArray>(field(p, "hCert", jn::kPkcs12Cert.sig)))),
              std::tuple(s.b5, 5UL, s.b6, 6UL, 2UL, jlong(2), std::vector<jlong>{jlong(V(40)), jlong(V(41))}));
    const auto attrs = readObjects(static_cast<jobjectArray>(field(p, "certAttr", jn::kPkcs12ImportCertAttr.sig)));
    ASSERT_EQ(attrs.size(), 2u);
    EXPECT_EQ(std::tuple(wrapped(attrs[0], "type", jn::kAttributeTypeField.sig),
                         wrapped(attrs[1], "type", jn::kAttributeTypeField.sig), getLong(attrs[1], "valueLen")),
              std::tuple(CKA_CLASS, CKA_LABEL, jlong(3)));
}

TEST_F(ParamsToJavaTest, DerivationStructuresAndSingleValuesFieldByField) {
    for (CK_MECHANISM_TYPE type : {0x362UL, 0x364UL}) {
        jobject p = param(type, s.stringData, jn::kKeyDerivationStringData);
        EXPECT_EQ(std::tuple(bytes(p, "pData"), u(p, "len")), std::tuple(s.b9, 9UL));
    }
    jobject p = param(0x80000A00, s.ecies, jn::kEciesParams);
    EXPECT_EQ(std::tuple(u(p, "dhPrimitive"), u(p, "kdf"), u(p, "ulSharedDataLen1"), bytes(p, "pSharedData1"),
                         u(p, "encScheme"), u(p, "ulEncKeyLenInBits"), u(p, "macScheme"), u(p, "ulMacKeyLenInBits"),
                         u(p, "ulMacLenInBits"), u(p, "ulSharedDataLen2"), bytes(p, "pSharedData2")),
              std::tuple(V(22), V(23), 5UL, s.b5, V(24), V(25), V(26), V(27), V(28), 4UL, s.b4));
    p = param(0x371, s.master, jn::kSsl3MasterKeyDeriveParams);
    jobject random = field(p, "RandomInfo", jn::kSsl3MasterRandomInfo.sig);
    jobject version = field(p, "pVersion", jn::kSsl3MasterVersion.sig);
    EXPECT_EQ(std::tuple(bytes(random, "pClientRandom"), u(random, "clientRandomLen"), bytes(random, "pServerRandom"),
                         u(random, "serverRandomLen"), getByte(version, "major"), getByte(version, "minor")),
              std::tuple(s.b5, 5UL, s.b6, 6UL, jbyte(3), jbyte(1)));
    p = param(0x372, s.keyMat, jn::kSsl3KeyMatParams);
    random = field(p, "RandomInfo", jn::kSsl3KeyMatRandomInfo.sig);
    jobject out = field(p, "pReturnedKeyMaterial", jn::kSsl3KeyMatOutField.sig);
    EXPECT_EQ(std::tuple(u(p, "macSizeInBits"), u(p, "keySizeInBits"), u(p, "IVSizeInBits"),
                         getBoolean(field(p, "bIsExport", kBBoolSig), "m_value"), bytes(random, "pClientRandom"),
                         u(random, "clientRandomLen"), bytes(random, "pServerRandom"), u(random, "serverRandomLen")),
              std::tuple(V(19), V(20), 64UL, true, s.b7, 7UL, s.b4, 4UL));
    EXPECT_EQ(std::tuple(wrapped(out, "hClientMacSecret", kHandleSig), wrapped(out, "hServerMacSecret", kHandleSig),
                         wrapped(out, "hClientKey", kHandleSig), wrapped(out, "hServerKey", kHandleSig),
                         bytes(out, "pIVClient"), bytes(out, "pIVServer")),
              std::tuple(V(30), V(31), V(32), V(33), s.b8, Of(s.b9.data(), 8)));
    // Single values: a handle, a version, a CK_ULONG as java.lang.Long.
    for (CK_MECHANISM_TYPE type : {0x360UL, 0x80000364UL}) {
        EXPECT_EQ(getLong(param(type, s.handle, jn::kObjectHandle), "m_value"), jlong(V(10)));
    }
    version = param(0x370, s.version, jn::kVersion);
    EXPECT_EQ(std::tuple(getByte(version, "major"), getByte(version, "minor")), std::tuple(jbyte(3), jbyte(1)));
    EXPECT_EQ(getLong(param(0x1084, s.macLength, jn::kLong), "value"), jlong(V(11)));
}

TEST_F(ParamsToJavaTest, VendorStructuresFieldByField) {
    jobject p = param(0x80000955, s.mechAndObject, jn::kMechTypeAndObject);
    EXPECT_EQ(std::tuple(wrapped(p, "mechanism", kMechSig), wrapped(p, "hObj", kHandleSig)), std::tuple(V(8), V(9)));
    // Both counts are unsigned bytes into ints; the prompt counts its NUL in.
    p = param(0x800009A0, s.ppLoad, jn::kPpLoadSecretParams);
    EXPECT_EQ(std::tuple(getBoolean(field(p, "bMaskInput", kBBoolSig), "m_value"), getInt(p, "cConvert"),
                         getInt(p, "cTimeout"), bytes(p, "prompt")),
              std::tuple(true, 0x81, 0xFE, Bytes{'P', 'I', 'N', '?', 0}));
    p = param(0x80000600, s.timestamp, jn::kTimestampParams);
    EXPECT_EQ(std::tuple(getBoolean(field(p, "useMilliseconds", kBBoolSig), "m_value"), u(p, "timestampFormat")),
              std::tuple(true, V(29)));
    p = param(0x800009E0, s.replicate, jn::kReplicateTokenParams);
    EXPECT_EQ(bytes(p, "peerId"), Of(s.replicate.peerId, 16));
    p = param(0x800009F0, s.share, jn::kSecretShareParams);
    EXPECT_EQ(std::tuple(u(p, "n"), u(p, "m")), std::tuple(V(34), V(35)));
}

// Every row of the table: its number at its length gives its class, at one
// byte more the raw bytes. The block is one that every converter can read:
// zeros, but for a pointer to an empty text in word 1 (where the prompt
// lies) and to a zero count in word 7 (hCertCount).
TEST_F(ParamsToJavaTest, EveryRowTakesItsNumberAtItsLengthOnly) {
    struct Rows {
        const jn::Class& cls;
        CK_ULONG length;
        std::vector<CK_MECHANISM_TYPE> numbers;
    };
    const Rows rows[] = {
        {jn::kDesCbcParams, 16, {0x80000501}},
        {jn::kDes2CbcParams, 24, {0x80000503}},
        {jn::kDes3CbcParams, 32, {0x80000503}},
        {jn::kDesCbcEncryptDataParams, 24, {0x1101, 0x1103}},
        {jn::kAesCbcEncryptDataParams, 32, {0x1105}},
        {jn::kAesGcmParams, 40, {0x1087, 0x80000966, 0x108E}},
        {jn::kAesCcmParams, 48, {0x1088}},
        {jn::kAesCtrParams, 24, {0x1086}},
        {jn::kKeyDerivationStringData, 16, {0x362, 0x364}},
        {jn::kKeyWrapSetOaepParams, 24, {0x401}},
        {jn::kMechTypeAndObject, 16, {0x80000955}},
        {jn::kObjectHandle, 8, {0x360, 0x80000364}},
        {jn::kPbeParams, 48, {0x3A0, 0x3A4, 0x3A1, 0x3A5, 0x3A9, 0x3A8, 0x3A7, 0x3A6, 0x3AB, 0x3AA, 0x3C0}},
        {jn::kRc2CbcParams, 16, {0x102, 0x105}},
        {jn::kRc2MacGeneralParams, 16, {0x104}},
        {jn::kRsaPkcsOaepParams, 40, {0x9}},
        {jn::kRsaPkcsPssParams, 24, {0xD}},
        {jn::kSsl3KeyMatParams, 72, {0x372}},
        {jn::kSsl3MasterKeyDeriveParams, 40, {0x371}},
        {jn::kVersion, 2, {0x370}},
        {jn::kLong, 8, {0x1084, 0x108B, 0x324, 0x123, 0x124, 0x135, 0x137, 0x80000135, 0x344, 0x202,     0x212,
                        0x242,  0x232,  0x222, 0x380, 0x381, 0x365, 0x101, 0x80000101, 0x103, 0x800009D4}},
        {jn::kPpLoadSecretParams, 16, {0x800009A0}},
        {jn::kTimestampParams, 16, {0x80000600}},
        {jn::kReplicateTokenParams, 16, {0x800009E0}},
        {jn::kSecretShareParams, 16, {0x800009F0}},
        {jn::kPkcs12PbeImportParams, 64, {0x800009F3}},
        {jn::kPkcs12PbeExportParams, 64, {0x800009F2}},
        {jn::kEciesParams, 88, {0x80000A00}},
        {jn::kEcdh1DeriveParams, 40, {0x1050}},
    };
    CK_ULONG zero = 0;
    const void* words[16] = {};
    words[1] = "";
    words[7] = &zero;
    for (const Rows& row : rows) {
        for (CK_MECHANISM_TYPE type : row.numbers) {
            SCOPED_TRACE(testing::Message() << "0x" << std::hex << type << " at " << std::dec << row.length);
            EXPECT_TRUE(exactly(param(type, words, row.length), row.cls.path));
            jobject raw = param(type, words, row.length + 1);
            ASSERT_TRUE(exactly(raw, "[B"));
            EXPECT_EQ(readBytes(static_cast<jbyteArray>(raw)), Of(words, row.length + 1));
        }
    }
}

// A number that no row has gives the structure's bytes, its pointers among
// them; a parameter of none gives none, with the length as it stood; no
// mechanism gives no object.
TEST_F(ParamsToJavaTest, RawBytesForWhatNoRowTakes) {
    jobject raw = param(0x80000E00, &s.stringData, sizeof s.stringData);  // BIP32_MASTER_DERIVE
    ASSERT_TRUE(exactly(raw, "[B"));
    EXPECT_EQ(readBytes(static_cast<jbyteArray>(raw)), Of(&s.stringData, sizeof s.stringData));
    raw = param(0x80000503, &s.des3, 16);
    EXPECT_EQ(readBytes(static_cast<jbyteArray>(raw)), Of(&s.des3, 16));
    EXPECT_EQ(param(0x1086, nullptr, 16), nullptr);
    EXPECT_EQ(ckMechanismToJMechanism(env, nullptr), nullptr);
    EXPECT_FALSE(pending());
}

// What this direction does differently from the other and from the
// write-back, kept as it is.
TEST_F(ParamsToJavaTest, KeptBehaviours) {
    // AES_CTR: the counter block is never stored; one byte more is raw.
    jobject p = param(0x1086, s.ctr, jn::kAesCtrParams);
    EXPECT_EQ(std::tuple(u(p, "ulCounterBits"), field(p, "cb")), std::tuple(V(7), nullptr));
    EXPECT_EQ(readBytes(static_cast<jbyteArray>(param(0x1086, &s.ctr, 25))).size(), 25u);
    // ECDH: ulSharedDataLen twice, ulPublicDataLen never.
    s.ecdh.ulPublicDataLen = 65;
    const Bytes publicData = Counting(0x01, 65);
    s.ecdh.pPublicData = const_cast<CK_BYTE*>(publicData.data());
    p = param(0x1050, s.ecdh, jn::kEcdh1DeriveParams);
    EXPECT_EQ(std::tuple(u(p, "kdf"), u(p, "ulSharedDataLen"), bytes(p, "pSharedData"), u(p, "ulPublicDataLen"),
                         bytes(p, "pPublicData")),
              std::tuple(V(21), 6UL, s.b6, 0UL, publicData));
    // A zero length hides its array, whatever the pointer.
    s.ecdh.ulSharedDataLen = 0;
    s.ecies.ulSharedDataLen2 = 0;
    EXPECT_EQ(field(param(0x1050, s.ecdh, jn::kEcdh1DeriveParams), "pSharedData"), nullptr);
    EXPECT_EQ(field(param(0x80000A00, s.ecies, jn::kEciesParams), "pSharedData2"), nullptr);
    // SSL3 IVs round down: 12 bits make one byte.
    s.keyMat.ulIVSizeInBits = 12;
    jobject out =
        field(param(0x372, s.keyMat, jn::kSsl3KeyMatParams), "pReturnedKeyMaterial", jn::kSsl3KeyMatOutField.sig);
    EXPECT_EQ(std::tuple(bytes(out, "pIVClient"), bytes(out, "pIVServer")), std::tuple(Bytes{0x80}, Bytes{0x90}));
    // Null pointers give null fields, and their lengths stay as they were.
    s.gcm.pIv = nullptr;
    s.keyMat.pReturnedKeyMaterial = nullptr;
    s.master.pVersion = nullptr;
    p = param(0x1087, s.gcm, jn::kAesGcmParams);
    EXPECT_EQ(std::tuple(field(p, "pIv"), u(p, "ulIvLen")), std::tuple(nullptr, 12UL));
    EXPECT_EQ(field(param(0x372, s.keyMat, jn::kSsl3KeyMatParams), "pReturnedKeyMaterial", jn::kSsl3KeyMatOutField.sig),
              nullptr);
    EXPECT_EQ(field(param(0x371, s.master, jn::kSsl3MasterKeyDeriveParams), "pVersion", jn::kSsl3MasterVersion.sig),
              nullptr);
    // PKCS12 import: no handles without both a count and an array.
    s.import.hCert = nullptr;
    p = param(0x800009F3, s.import, jn::kPkcs12PbeImportParams);
    EXPECT_EQ(std::tuple(getLong(field(p, "hCertCount", jn::kPkcs12CertCount.sig), "value"),
                         field(p, "hCert", jn::kPkcs12Cert.sig)),
              std::tuple(jlong(2), nullptr));
    s.import.hCert = s.certs;
    s.certCount = 0;
    EXPECT_EQ(field(param(0x800009F3, s.import, jn::kPkcs12PbeImportParams), "hCert", jn::kPkcs12Cert.sig), nullptr);
}

// Every converter, and the raw path, with each of its JNI calls failed in
// turn: null with the injected exception pending, but for the last, unchecked
// store of parameterLen, which leaves the object in hand.
TEST_F(ParamsToJavaTest, EveryExceptionPathGivesNull) {
    const Case cases[] = {
        {"RC2_CBC", 0x102, &s.rc2, 16},
        {"RC2_MAC_GENERAL", 0x104, &s.rc2Mac, 16},
        {"DES_CBC", 0x80000501, &s.des, 16},
        {"DES2_CBC", 0x80000503, &s.des2, 24},
        {"DES3_CBC", 0x80000503, &s.des3, 32},
        {"DES_CBC_ENCRYPT_DATA", 0x1101, &s.desData, 24},
        {"AES_CBC_ENCRYPT_DATA", 0x1105, &s.aesData, 32},
        {"AES_GCM", 0x1087, &s.gcm, 40},
        {"AES_CCM", 0x1088, &s.ccm, 48},
        {"AES_CTR", 0x1086, &s.ctr, 24},
        {"STRING_DATA", 0x362, &s.stringData, 16},
        {"KEY_WRAP_SET_OAEP", 0x401, &s.setOaep, 24},
        {"MECH_TYPE_AND_OBJECT", 0x80000955, &s.mechAndObject, 16},
        {"OBJECT_HANDLE", 0x360, &s.handle, 8},
        {"LONG", 0x1084, &s.macLength, 8},
        {"VERSION", 0x370, &s.version, 2},
        {"PBE", 0x3A0, &s.pbe, 48},
        {"OAEP", 0x9, &s.oaep, 40},
        {"PSS", 0xD, &s.pss, 24},
        {"SSL3_MASTER", 0x371, &s.master, 40},
        {"SSL3_KEY_MAT", 0x372, &s.keyMat, 72},
        {"ECDH", 0x1050, &s.ecdh, 40},
        {"ECIES", 0x80000A00, &s.ecies, 88},
        {"PP_LOAD_SECRET", 0x800009A0, &s.ppLoad, 16},
        {"TIMESTAMP", 0x80000600, &s.timestamp, 16},
        {"REPLICATE_TOKEN", 0x800009E0, &s.replicate, 16},
        {"SECRET_SHARE", 0x800009F0, &s.share, 16},
        {"PKCS12_IMPORT", 0x800009F3, &s.import, 64},
        {"PKCS12_EXPORT", 0x800009F2, &s.exportP, 64},
        {"raw bytes", 0x80000E00, &s.stringData, 16},
    };
    for (const Case& c : cases) {
        SweepCase sc;
        sc.name = c.name;
        sc.run = [this, c] {
            CK_MECHANISM m{c.type, const_cast<void*>(c.parameter), c.length};
            return Result::of(ckMechanismToJMechanism(env, &m));
        };
        EXPECT_GT(sweep(env, sc), 0) << c.name;
    }
}

// Round trips where both directions keep the same fields.
TEST_F(ParamsToJavaTest, RoundTripsThroughTheOtherDirection) {
    jobject pbe = allocObject(jn::kPbeParams.path);
    setObject(pbe, "pInitVector", "[B", makeBytes(s.b8));
    setObject(pbe, "pPassword", "[B", makeBytes(s.b5));
    setLong(pbe, "passwordLen", 5);
    setObject(pbe, "pSalt", "[B", makeBytes(s.b7));
    setLong(pbe, "saltLen", 7);
    setLong(pbe, "iteration", 4096);
    roundTrip<CK_PBE_PARAMS>(0x3A5, pbe, [](const CK_PBE_PARAMS& v) {
        return std::tuple(Of(v.pInitVector, 8), Of(v.pPassword, v.ulPasswordLen), v.ulPasswordLen,
                          Of(v.pSalt, v.ulSaltLen), v.ulSaltLen, v.ulIteration);
    });
    jobject oaep = allocObject(jn::kRsaPkcsOaepParams.path);
    setObject(oaep, "hashAlg", kMechSig, wrapper(jn::kMechanismType, 0x250));
    setLong(oaep, "mgf", 2);
    setObject(oaep, "source", jn::kOaepSource.sig, wrapper(jn::kOaepSourceType, 1));
    setObject(oaep, "pSourceData", "[B", makeBytes(s.b4));
    setLong(oaep, "sourceDataLen", 4);
    roundTrip<CK_RSA_PKCS_OAEP_PARAMS>(0x9, oaep, [](const CK_RSA_PKCS_OAEP_PARAMS& v) {
        return std::tuple(v.hashAlg, v.mgf, v.source, Of(v.pSourceData, v.ulSourceDataLen), v.ulSourceDataLen);
    });
    jobject rc2 = allocObject(jn::kRc2CbcParams.path);
    setLong(rc2, "effectiveBits", 40);
    setObject(rc2, "iv", "[B", makeBytes(s.b8));
    roundTrip<CK_RC2_CBC_PARAMS>(0x105, rc2, [](const auto& v) { return std::tuple(v.ulEffectiveBits, Of(v.iv, 8)); });
    jobject data = allocObject(jn::kKeyDerivationStringData.path);
    setObject(data, "pData", "[B", makeBytes(s.b9));
    setLong(data, "len", 9);
    roundTrip<CK_KEY_DERIVATION_STRING_DATA>(0x364, data,
                                             [](const auto& v) { return std::tuple(Of(v.pData, v.ulLen), v.ulLen); });
    // The prompt comes back a byte longer: its NUL counted in.
    jobject pp = allocObject(jn::kPpLoadSecretParams.path);
    setObject(pp, "bMaskInput", kBBoolSig, boxed(jn::kBBool, "(Z)V", jvalue{.z = JNI_TRUE}));
    setObject(pp, "prompt", "[B", makeBytes({'a', 'b', 'c'}));
    CK_MECHANISM a = jMechanismToCKMechanism(env, mechanism(0x800009A0, pp, 16));
    jobject back = getObject(ckMechanismToJMechanism(env, &a), "pParameter", kObjectSig);
    EXPECT_EQ(bytes(back, "prompt"), (Bytes{'a', 'b', 'c', 0}));
    FreeCKMechanismParameter(env, mechanism(0x800009A0, pp, 16), &a);
}

}  // namespace
}  // namespace morlin_test
