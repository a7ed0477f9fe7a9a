// Mechanism parameter classes: the converter and releaser of each Java class
// that the mechanism conversion knows, and the small steps they share.
//
// A converter turns a Java parameter object into a Cryptoki parameter
// structure, by the rules every one of them keeps:
//   - *length gets the structure's size before anything else; *result is
//     written only when the whole structure is done;
//   - the structure is one zero-filled block from calloc, unless said else;
//   - after each JNI read an exception frees what the converter made so far
//     (its own clean-up), leaves null and 0 in the outputs and stays pending;
//   - an allocation failure of the structure raises nothing: null and 0.
// The class passed in is the one of the matching table row, so a subclass is
// read through its parent's fields. A releaser frees a structure and what it
// owns, and tolerates null.
#ifndef MORLIN_PARAMS_H
#define MORLIN_PARAMS_H

#include <jni.h>

#include <cstdlib>

#include "cryptoki.h"
#include "morlin/javaNames.h"
#include "morlin/jutil.h"
#include "morlin/values.h"

using ParameterConverter = void (*)(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length);
using ParameterReleaser = void (*)(void* parameter, CK_ULONG length);

// ---- the shared steps ------------------------------------------------------------
namespace params {

// The structure's block, its size already in *length; null (and 0 written)
// when calloc fails.
template <class S>
S* Begin(CK_ULONG* length) {
    *length = sizeof(S);
    auto* s = static_cast<S*>(calloc(1, sizeof(S)));
    if (s == nullptr) *length = 0;
    return s;
}

// The end of every failed conversion: nothing handed out.
inline void Fail(void** result, CK_ULONG* length) {
    *result = nullptr;
    *length = 0;
}

// A "J" field, stored bit for bit; false with the exception pending, and
// the target then untouched (a failed read stores no -1 for a clean-up to
// find).
inline bool Long(JNIEnv* env, jclass cls, jobject object, const jn::LongField& field, CK_ULONG* target) {
    const jlong value = GetLongField(env, cls, object, field);
    if (env->ExceptionCheck()) return false;
    *target = static_cast<CK_ULONG>(value);
    return true;
}

// A byte[] into a fixed array of n inside the structure: a null array leaves
// zeros, a short one a zero tail, a long one is cut.
inline bool Fixed(JNIEnv* env, jclass cls, jobject object, const jn::BytesField& field, CK_BYTE* target, CK_ULONG n) {
    jbyteArray array = GetByteArrayField(env, cls, object, field);
    if (env->ExceptionCheck()) return false;
    CopyJByteArrayToCKByteArray(env, array, target, n);
    return !env->ExceptionCheck();
}

// A byte[] as a fresh block of exactly its length, pointer and length stored
// (null and 0 for a null or empty array, and silently for a failed
// allocation).
inline bool Fresh(JNIEnv* env, jclass cls, jobject object, const jn::BytesField& field, CK_BYTE_PTR* pointer,
                  CK_ULONG* length) {
    jbyteArray array = GetByteArrayField(env, cls, object, field);
    if (env->ExceptionCheck()) return false;
    *pointer = nullptr;
    *length = 0;
    jByteArrayToCKByteArray(env, array, pointer, length);
    return !env->ExceptionCheck();
}

// A converter's whole course: the structure's block, fill() reading the Java
// fields into it in their order, and on success the block handed out; on
// failure cleanup() gets the block back and the outputs say nothing.
template <class S, class Fill, class Cleanup>
void Build(void** result, CK_ULONG* length, Fill fill, Cleanup cleanup) {
    S* s = Begin<S>(length);
    if (s == nullptr) {
        *result = nullptr;
        return;
    }
    if (fill(s)) {
        *result = s;
        return;
    }
    cleanup(s);
    Fail(result, length);
}

}  // namespace params

// ---- the classes of one parameter, a number or a version -------------------------------
void convertLongParam(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length);
void freeLongParam(void* parameter, CK_ULONG length);
void convertVersionParam(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length);
void freeVersionParam(void* parameter, CK_ULONG length);

// ---- block ciphers and AEAD --------------------------------------------------------------
#define MORLIN_CIPHER_PARAMS(X)                                      \
    X(convertRc2CbcParams, freeRc2CbcParams)                         \
    X(convertRc2MacGeneralParams, freeRc2MacGeneralParams)           \
    X(convertDesCbcParams_deprecated, freeDesCbcParams_deprecated)   \
    X(convertDes2CbcParams_deprecated, freeDes2CbcParams_deprecated) \
    X(convertDes3CbcParams_deprecated, freeDes3CbcParams_deprecated) \
    X(convertDesCbcEncryptDataParams, freeDesCbcEncryptDataParams)   \
    X(convertAesCbcEncryptDataParams, freeAesCbcEncryptDataParams)   \
    X(convertAesGcmParams, freeAesGcmParams)                         \
    X(convertAesCtrParams, freeAesCtrParams)                         \
    X(convertAesCcmParams, freeAesCcmParams)

// ---- RSA padding, password-based encryption, PKCS#12 (paramsRsaPbe.cpp) -------------
#define MORLIN_RSA_PBE_PARAMS(X)                               \
    X(convertRsaPkcsOaepParams, freeRsaPkcsOaepParams)         \
    X(convertRsaPkcsPssParams, freeRsaPkcsPssParams)           \
    X(convertPbeParams, freePbeParams)                         \
    X(convertPKCS12PbeImportParams, freePKCS12PbeImportParams) \
    X(convertPKCS12PbeExportParams, freePKCS12PbeExportParams) \
    X(convertKeyWrapSetOaepParams, freeKeyWrapSetOaepParams)

// ---- key derivation (paramsDerive.cpp) ----------------------------------------------------
#define MORLIN_DERIVE_PARAMS(X)                                            \
    X(convertSsl3MasterKeyDeriveParams, freeSsl3MasterKeyDeriveParams)     \
    X(convertSsl3KeyMatParams, freeSsl3KeyMatParams)                       \
    X(convertKeyDerivationStringData, freeKeyDerivationStringData)         \
    X(convertEDDSAParams, freeEDDSAParams)                                 \
    X(convertEcIesParams, freeEcIesParams)                                 \
    X(convertEcDhParams, freeEcDhParams)                                   \
    X(convertBIP32MasterDeriveParams, freeBIP32MasterDeriveParams)         \
    X(convertBIP32ChildDeriveParams, freeBIP32ChildDeriveParams)           \
    X(convertGenPIKParamClass, freeGenPIKParamClass)                       \
    X(convertKdeECCP521DeriveParamsClass, freeKdeECCP521DeriveParamsClass) \
    X(convertKdeTokenWrapParamsClass, freeKdeTokenWrapParamsClass)

// ---- the token library's own classes (paramsVendor.cpp) -----------------------------------
#define MORLIN_VENDOR_PARAMS(X)                              \
    X(convertMechTypeAndObject, freeMechTypeAndObject)       \
    X(convertPpLoadSecretParams, freePpLoadSecretParams)     \
    X(convertTimestampParams, freeTimestampParams)           \
    X(convertReplicateTokenParams, freeReplicateTokenParams) \
    X(convertSecretShareParams, freeSecretShareParams)

#define MORLIN_DECLARE_PARAMS_(convert, release)                                            \
    void convert(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length); \
    void release(void* parameter, CK_ULONG length);
MORLIN_CIPHER_PARAMS(MORLIN_DECLARE_PARAMS_)
MORLIN_RSA_PBE_PARAMS(MORLIN_DECLARE_PARAMS_)
MORLIN_DERIVE_PARAMS(MORLIN_DECLARE_PARAMS_)
MORLIN_VENDOR_PARAMS(MORLIN_DECLARE_PARAMS_)

#endif
