// Keys and random numbers: C_GenerateKey, C_GenerateKeyPair, C_WrapKey,
// C_UnwrapKey, C_DeriveKey, C_SeedRandom, C_GenerateRandom.
//
// New handles go into the caller's wrappers only on CKR_OK, and then the
// mechanism's parameter gets what the token library wrote into it; a store
// that fails leaves the key in the token and the native returns null.
// C_WrapKey writes no parameter back.
#include <jni.h>

#include <cstdlib>
#include <tuple>

#include "cryptoki.h"
#include "kaltrix_morlin_Cryptoki.h"
#include "morlin/attributes.h"
#include "morlin/frames.h"
#include "morlin/jutil.h"
#include "morlin/mechanism.h"

using namespace frame;

namespace {

// The two new handles of a key pair, one class lookup for both; the private
// key's store is skipped when the public key's fails.
struct NewKeyPair {
    jobject publicKey;
    jobject privateKey;
    jclass cls = nullptr;
    CK_OBJECT_HANDLE publicHandle = 0;
    CK_OBJECT_HANDLE privateHandle = 0;

    bool prepare(JNIEnv* env) {
        cls = env->FindClass(jn::kObjectHandle.path);
        return !env->ExceptionCheck();
    }
    bool check() const { return publicKey != nullptr && privateKey != nullptr; }
    std::tuple<CK_OBJECT_HANDLE_PTR, CK_OBJECT_HANDLE_PTR> args() { return {&publicHandle, &privateHandle}; }
    void writeBack(JNIEnv* env, CK_RV rv) {
        if (rv != CKR_OK) return;
        SetLongField(env, cls, publicKey, jn::kObjectHandleValue, static_cast<jlong>(publicHandle));
        if (env->ExceptionCheck()) return;
        SetLongField(env, cls, privateKey, jn::kObjectHandleValue, static_cast<jlong>(privateHandle));
    }
};

// The wrapping key of C_WrapKey: a null wrapper is CK_INVALID_HANDLE here,
// where everywhere else it reads as the handle of all bits set.
struct WrappingKey {
    jobject object;
    CK_OBJECT_HANDLE value = 0;

    bool convert(JNIEnv* env) {
        if (object == nullptr) return true;
        value = jObjectHandleToCKObjectHandle(env, object);
        return !env->ExceptionCheck();
    }
    std::tuple<CK_OBJECT_HANDLE> args() const { return {value}; }
};

// The wrapped key of C_UnwrapKey, refused when null whatever its count.
struct WrappedKey : Bytes {
    bool check() const { return array != nullptr; }
};

// Random bytes: a buffer of the Java length for a non-null array, copied
// into it on CKR_OK, at most as many bytes as it holds.
struct RandomOut {
    jbyteArray array;
    jlong length;
    CK_BYTE_PTR buffer = nullptr;

    bool check() const { return !(length > 0 && array == nullptr); }
    bool convert(JNIEnv*) {
        if (array != nullptr) buffer = static_cast<CK_BYTE_PTR>(calloc(static_cast<size_t>(length), 1));
        return true;
    }
    std::tuple<CK_BYTE_PTR, CK_ULONG> args() const { return {buffer, static_cast<CK_ULONG>(length)}; }
    void writeBack(JNIEnv* env, CK_RV rv) {
        if (rv == CKR_OK) CopyCKByteArrayToJByteArray(env, buffer, static_cast<CK_ULONG>(length), array);
    }
    void release(JNIEnv*) { free(buffer); }
};

OutLong NewKey(jobject key, bool required = true) { return OutLong{jn::kObjectHandleValue, key, required}; }

}  // namespace

extern "C" {

// CK_RV C_GenerateKey(CK_SESSION_HANDLE hSession, CK_MECHANISM pMechanism,
// CK_ATTRIBUTE[] pTemplate, long ulCount, CK_OBJECT_HANDLE phKey).
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1GenerateKey(JNIEnv* env, jclass, jobject session,
                                                                      jobject mechanism, jobjectArray attributes,
                                                                      jlong count, jobject key) {
    return Call<C_GenerateKey>(env, Session{session}, OutMechanism{{mechanism}}, Template{attributes, count},
                               NewKey(key));
}

// CK_RV C_GenerateKeyPair(CK_SESSION_HANDLE hSession, CK_MECHANISM
// pMechanism, CK_ATTRIBUTE[] pPublicKeyTemplate, long ulPublicKeyAttributeCount,
// CK_ATTRIBUTE[] pPrivateKeyTemplate, long ulPrivateKeyAttributeCount,
// CK_OBJECT_HANDLE phPublicKey, CK_OBJECT_HANDLE phPrivateKey).
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1GenerateKeyPair(
    JNIEnv* env, jclass, jobject session, jobject mechanism, jobjectArray publicAttributes, jlong publicCount,
    jobjectArray privateAttributes, jlong privateCount, jobject publicKey, jobject privateKey) {
    return Call<C_GenerateKeyPair>(env, Session{session}, OutMechanism{{mechanism}},
                                   Template{publicAttributes, publicCount}, Template{privateAttributes, privateCount},
                                   NewKeyPair{publicKey, privateKey});
}

// CK_RV C_WrapKey(CK_SESSION_HANDLE hSession, CK_MECHANISM pMechanism,
// CK_OBJECT_HANDLE hWrappingKey, CK_OBJECT_HANDLE hKey, byte[] pWrappedKey,
// LongRef pulWrappedKeyLen): a null pWrappedKey is the size query.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1WrapKey(JNIEnv* env, jclass, jobject session,
                                                                  jobject mechanism, jobject wrappingKey, jobject key,
                                                                  jbyteArray wrapped, jobject wrappedLen) {
    return Call<C_WrapKey>(env, Session{session}, Mechanism{mechanism}, WrappingKey{wrappingKey}, Object{key},
                           TwoPhase<CopyCKByteArrayToJByteArray>{wrapped, wrappedLen});
}

// CK_RV C_UnwrapKey(CK_SESSION_HANDLE hSession, CK_MECHANISM pMechanism,
// CK_OBJECT_HANDLE hUnwrappingKey, byte[] pWrappedKey, long ulWrappedKeyLen,
// CK_ATTRIBUTE[] pTemplate, long ulAttributeCount, CK_OBJECT_HANDLE phKey).
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1UnwrapKey(JNIEnv* env, jclass, jobject session,
                                                                    jobject mechanism, jobject unwrappingKey,
                                                                    jbyteArray wrapped, jlong wrappedLen,
                                                                    jobjectArray attributes, jlong count, jobject key) {
    return Call<C_UnwrapKey>(env, Session{session}, OutMechanism{{mechanism}}, Object{unwrappingKey},
                             WrappedKey{{wrapped}}, wrappedLen, Template{attributes, count}, NewKey(key));
}

// CK_RV C_DeriveKey(CK_SESSION_HANDLE hSession, CK_MECHANISM pMechanism,
// CK_OBJECT_HANDLE hBaseKey, CK_ATTRIBUTE[] pTemplate, long ulAttributeCount,
// CK_OBJECT_HANDLE phKey): a null phKey is not refused, and the new key's
// handle is then lost to Java.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1DeriveKey(JNIEnv* env, jclass, jobject session,
                                                                    jobject mechanism, jobject baseKey,
                                                                    jobjectArray attributes, jlong count, jobject key) {
    return Call<C_DeriveKey>(env, Session{session}, OutMechanism{{mechanism}}, Object{baseKey},
                             Template{attributes, count}, NewKey(key, false));
}

// CK_RV C_SeedRandom(CK_SESSION_HANDLE hSession, byte[] pSeed, long ulSeedLen).
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1SeedRandom(JNIEnv* env, jclass, jobject session,
                                                                     jbyteArray seed, jlong seedLen) {
    return Call<C_SeedRandom>(env, Session{session}, CountedBytes{seed, seedLen});
}

// CK_RV C_GenerateRandom(CK_SESSION_HANDLE hSession, byte[] pRandomData,
// long ulRandomLen): ulRandomLen bytes are drawn, as many as fit are kept.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1GenerateRandom(JNIEnv* env, jclass, jobject session,
                                                                         jbyteArray random, jlong randomLen) {
    return Call<C_GenerateRandom>(env, Session{session}, RandomOut{random, randomLen});
}

}  // extern "C"
