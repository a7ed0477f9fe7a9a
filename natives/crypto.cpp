// Encryption, decryption, digests, signatures and verification: the data,
// final, input and init shapes, each written once and instantiated per token
// function, with an entry point of its own for each native.
//
// Data and final: a size query is a call with a null output; the LongRef
// gets the token library's length on every answer, the bytes only on
// CKR_OK. Input: no argument is checked, a null array reaches the token
// library as null with the Java length, and a verification failure is an
// answer (CKR_SIGNATURE_INVALID), not an exception. Init: only
// C_EncryptInit copies what the token library put into the parameter (a
// generated IV, say) back into the Java parameter; the other initialisers
// leave it alone.
#include <jni.h>

#include "cryptoki.h"
#include "kaltrix_morlin_Cryptoki.h"
#include "morlin/frames.h"
#include "morlin/jutil.h"
#include "morlin/mechanism.h"

using namespace frame;

namespace {

using Output = TwoPhase<CopyCKByteArrayToJByteArray>;

// CK_RV f(CK_SESSION_HANDLE hSession, byte[] in, long inLen, byte[] out, LongRef outLen)
template <auto Fn>
jobject Data(JNIEnv* env, jobject session, jbyteArray in, jlong inLen, jbyteArray out, jobject outLen) {
    return Call<Fn>(env, Session{session}, Bytes{in}, inLen, Output{out, outLen});
}

// CK_RV f(CK_SESSION_HANDLE hSession, byte[] out, LongRef outLen)
template <auto Fn>
jobject Final(JNIEnv* env, jobject session, jbyteArray out, jobject outLen) {
    return Call<Fn>(env, Session{session}, Output{out, outLen});
}

// CK_RV f(CK_SESSION_HANDLE hSession, byte[] in, long inLen)
template <auto Fn>
jobject Input(JNIEnv* env, jobject session, jbyteArray in, jlong inLen) {
    return Call<Fn>(env, Session{session}, Bytes{in}, inLen);
}

// CK_RV f(CK_SESSION_HANDLE hSession, CK_MECHANISM pMechanism, CK_OBJECT_HANDLE hKey)
template <auto Fn, class M = Mechanism>
jobject Init(JNIEnv* env, jobject session, jobject mechanism, jobject key) {
    return Call<Fn>(env, Session{session}, M{{mechanism}}, Object{key});
}

}  // namespace

extern "C" {

#define MORLIN_DATA_NATIVE(name)                                                                            \
    JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1##name(                                       \
        JNIEnv* env, jclass, jobject session, jbyteArray in, jlong inLen, jbyteArray out, jobject outLen) { \
        return Data<C_##name>(env, session, in, inLen, out, outLen);                                        \
    }
#define MORLIN_FINAL_NATIVE(name)                                                                          \
    JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1##name(JNIEnv* env, jclass, jobject session, \
                                                                     jbyteArray out, jobject outLen) {     \
        return Final<C_##name>(env, session, out, outLen);                                                 \
    }
#define MORLIN_INPUT_NATIVE(name)                                                                          \
    JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1##name(JNIEnv* env, jclass, jobject session, \
                                                                     jbyteArray in, jlong inLen) {         \
        return Input<C_##name>(env, session, in, inLen);                                                   \
    }
#define MORLIN_INIT_NATIVE(name)                                                                           \
    JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1##name(JNIEnv* env, jclass, jobject session, \
                                                                     jobject mechanism, jobject key) {     \
        return Init<C_##name>(env, session, mechanism, key);                                               \
    }

MORLIN_DATA_NATIVE(Encrypt)
MORLIN_DATA_NATIVE(EncryptUpdate)
MORLIN_DATA_NATIVE(Decrypt)
MORLIN_DATA_NATIVE(DecryptUpdate)
MORLIN_DATA_NATIVE(Digest)
MORLIN_DATA_NATIVE(Sign)
MORLIN_DATA_NATIVE(SignRecover)
MORLIN_DATA_NATIVE(VerifyRecover)
MORLIN_DATA_NATIVE(DigestEncryptUpdate)
MORLIN_DATA_NATIVE(DecryptDigestUpdate)
MORLIN_DATA_NATIVE(SignEncryptUpdate)
MORLIN_DATA_NATIVE(DecryptVerifyUpdate)

MORLIN_FINAL_NATIVE(EncryptFinal)
MORLIN_FINAL_NATIVE(DecryptFinal)
MORLIN_FINAL_NATIVE(DigestFinal)
MORLIN_FINAL_NATIVE(SignFinal)

MORLIN_INPUT_NATIVE(DigestUpdate)
MORLIN_INPUT_NATIVE(SignUpdate)
MORLIN_INPUT_NATIVE(VerifyUpdate)
MORLIN_INPUT_NATIVE(VerifyFinal)

// CK_RV C_Verify(CK_SESSION_HANDLE hSession, byte[] pData, long ulDataLen,
// byte[] pSignature, long ulSignatureLen).
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1Verify(JNIEnv* env, jclass, jobject session, jbyteArray data,
                                                                 jlong dataLen, jbyteArray signature,
                                                                 jlong signatureLen) {
    return Call<C_Verify>(env, Session{session}, Bytes{data}, dataLen, Bytes{signature}, signatureLen);
}

// C_EncryptInit alone writes the parameter back, on CKR_OK.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1EncryptInit(JNIEnv* env, jclass, jobject session,
                                                                      jobject mechanism, jobject key) {
    return Init<C_EncryptInit, OutMechanism>(env, session, mechanism, key);
}
MORLIN_INIT_NATIVE(DecryptInit)
MORLIN_INIT_NATIVE(SignInit)
MORLIN_INIT_NATIVE(SignRecoverInit)
MORLIN_INIT_NATIVE(VerifyInit)
MORLIN_INIT_NATIVE(VerifyRecoverInit)

// CK_RV C_DigestInit(CK_SESSION_HANDLE hSession, CK_MECHANISM pMechanism).
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1DigestInit(JNIEnv* env, jclass, jobject session,
                                                                     jobject mechanism) {
    return Call<C_DigestInit>(env, Session{session}, Mechanism{mechanism});
}

// CK_RV C_DigestKey(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hKey).
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1DigestKey(JNIEnv* env, jclass, jobject session, jobject key) {
    return Call<C_DigestKey>(env, Session{session}, Object{key});
}

}  // extern "C"
