// long CK_MECHANISM.getMechanismParameterSize(Object pParameter): the size in
// bytes of the Cryptoki parameter that a Java parameter object stands for,
// so that the Java side can fill parameterLen. The sizes are those of the
// token library's structures on x86-64; no field of the object is read.
#include <jni.h>

#include <cstring>
#include <iterator>

#include "kaltrix_morlin_CK_MECHANISM.h"
#include "morlin/jutil.h"
#include "morlin/names/attributes.h"
#include "morlin/names/params.h"

namespace {

// Every class the chain tests, looked up before anything else, in this
// order; java/lang/Long stands four times, as the chain has it.
constexpr const jn::Class* kLookups[] = {
    &jn::kRsaPkcsOaepParams,
    &jn::kRsaPkcsPssParams,
    &jn::kLong,
    &jn::kRc2CbcParams,
    &jn::kRc2MacGeneralParams,
    &jn::kLong,
    &jn::kPbeParams,
    &jn::kKeyWrapSetOaepParams,
    &jn::kSsl3MasterKeyDeriveParams,
    &jn::kSsl3KeyMatParams,
    &jn::kLong,
    &jn::kVersion,
    &jn::kKeyDerivationStringData,
    &jn::kMechTypeAndObject,
    &jn::kObjectHandle,
    &jn::kDesCbcParams,
    &jn::kDes2CbcParams,
    &jn::kDes3CbcParams,
    &jn::kDesCbcEncryptDataParams,
    &jn::kAesCbcEncryptDataParams,
    &jn::kAesGcmParams,
    &jn::kGcmParams,
    &jn::kAesCtrParams,
    &jn::kAesCcmParams,
    &jn::kPpLoadSecretParams,
    &jn::kTimestampParams,
    &jn::kReplicateTokenParams,
    &jn::kPkcs12PbeImportParams,
    &jn::kPkcs12PbeExportParams,
    &jn::kSecretShareParams,
    &jn::kEciesParams,
    &jn::kEcdh1DeriveParams,
    &jn::kBip32MasterDeriveParams,
    &jn::kBip32ChildDeriveParams,
    &jn::kGenPikParam,
    &jn::kKdeEccP521DeriveParams,
    &jn::kKdeTokenWrapParams,
    &jn::kEddsaParams,
    &jn::kByteArray,
    &jn::kString,
    &jn::kLong,
    &jn::kBoolean,
    &jn::kCharArray,
};
static_assert(std::size(kLookups) == 43, "43 lookups");

enum Measure : jlong { kArrayLength = -1, kUtfLength = -2 };

struct Row {
    size_t lookup;  // index into kLookups
    jlong size;     // or how to measure
};

// The chain in test order; a subclass answers to its first ancestor. The
// second, third and fourth tests of java/lang/Long, which can never hit
// after the first, are left out; the answers are the same.
constexpr Row kChain[] = {
    {27, 64},            // CK_PKCS12_PBE_IMPORT_PARAMS
    {28, 64},            // CK_PKCS12_PBE_EXPORT_PARAMS
    {0, 40},             // CK_RSA_PKCS_OAEP_PARAMS
    {1, 24},             // CK_RSA_PKCS_PSS_PARAMS
    {2, 8},              // java/lang/Long: one CK_ULONG
    {3, 16},             // CK_RC2_CBC_PARAMS
    {4, 16},             // CK_RC2_MAC_GENERAL_PARAMS
    {6, 48},             // CK_PBE_PARAMS
    {7, 24},             // CK_KEY_WRAP_SET_OAEP_PARAMS
    {8, 40},             // CK_SSL3_MASTER_KEY_DERIVE_PARAMS
    {9, 72},             // CK_SSL3_KEY_MAT_PARAMS
    {11, 2},             // CK_VERSION
    {12, 16},            // CK_KEY_DERIVATION_STRING_DATA
    {13, 16},            // CK_MECH_TYPE_AND_OBJECT
    {14, 8},             // CK_OBJECT_HANDLE
    {15, 16},            // CK_DES_CBC_PARAMS
    {16, 24},            // CK_DES2_CBC_PARAMS
    {17, 32},            // CK_DES3_CBC_PARAMS
    {18, 24},            // CK_DES_CBC_ENCRYPT_DATA_PARAMS
    {19, 32},            // CK_AES_CBC_ENCRYPT_DATA_PARAMS
    {20, 40},            // CK_AES_GCM_PARAMS
    {21, 40},            // CK_GCM_PARAMS
    {22, 24},            // CK_AES_CTR_PARAMS
    {23, 48},            // CK_AES_CCM_PARAMS
    {25, 16},            // CK_TIMESTAMP_PARAMS
    {26, 16},            // CK_REPLICATE_TOKEN_PARAMS
    {29, 16},            // CK_SECRET_SHARE_PARAMS
    {30, 88},            // CK_ECIES_PARAMS
    {31, 40},            // CK_ECDH1_DERIVE_PARAMS
    {32, 48},            // CK_BIP32_MASTER_DERIVE_PARAMS
    {33, 72},            // CK_BIP32_CHILD_DERIVE_PARAMS
    {34, 1},             // CK_GEN_PIK_PARAM: 1, as for a CK_BBOOL, not its structure's size
    {35, 80},            // CK_KDE_ECCP521_DERIVE_PARAMS
    {36, 64},            // CK_KDE_TOKEN_WRAP_PARAMS
    {37, 24},            // CK_EDDSA_PARAMS
    {38, kArrayLength},  // byte[]: its length
    {39, kUtfLength},    // String: its modified UTF-8 bytes
    {41, 1},             // java/lang/Boolean: one CK_BBOOL
    {42, kArrayLength},  // char[]: the element count
    {24, 16},            // CK_PP_LOAD_SECRET_PARAMS
};

jlong UtfLength(JNIEnv* env, jstring string) {
    const char* chars = env->GetStringUTFChars(string, nullptr);
    if (env->ExceptionCheck()) return 0;
    const auto length = static_cast<jlong>(strlen(chars));
    env->ReleaseStringUTFChars(string, chars);
    return length;
}

}  // namespace

extern "C" JNIEXPORT jlong JNICALL Java_kaltrix_morlin_CK_1MECHANISM_getMechanismParameterSize(JNIEnv* env, jclass,
                                                                                               jobject parameter) {
    jclass classes[std::size(kLookups)];
    // Looked up back to back and checked once, after the last.
    for (size_t i = 0; i < std::size(kLookups); ++i) classes[i] = env->FindClass(kLookups[i]->path);
    if (env->ExceptionCheck() || parameter == nullptr) return 0;
    // IsInstanceOf raises nothing (JNI lists no exception for it): the one
    // check comes before the hit's answer is given.
    for (const Row& row : kChain) {
        if (!env->IsInstanceOf(parameter, classes[row.lookup])) continue;
        jlong size = row.size;
        if (size == kArrayLength) size = env->GetArrayLength(static_cast<jarray>(parameter));
        if (size == kUtfLength) size = UtfLength(env, static_cast<jstring>(parameter));
        return env->ExceptionCheck() ? 0 : size;
    }
    ThrowUnsupportedFor(env, parameter, "No Conversion from %s to a CK type", 1024);
    return 0;
}
