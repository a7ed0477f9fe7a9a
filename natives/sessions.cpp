// Sessions, login and operation state: C_OpenSession, C_CloseSession,
// C_CloseAllSessions, C_GetSessionInfo, C_GetOperationState,
// C_SetOperationState, C_Login, C_Logout.
//
// The bridge keeps no list of sessions: a closed session's wrapper keeps its
// m_value, and the token library judges any later use. PINs and saved state
// are private copies that the frame frees with plain free, unwiped.
#include <jni.h>

#include <cstdint>

#include "cryptoki.h"
#include "kaltrix_morlin_Cryptoki.h"
#include "morlin/copyToJava.h"
#include "morlin/frames.h"
#include "morlin/jutil.h"

using namespace frame;

extern "C" {

// CK_RV C_OpenSession(long slotID, long flags, Object pApplication, Object
// Notify, CK_SESSION_HANDLE phSession): slot and flags as they came, the two
// references as raw values (no notification comes back to Java, so callers
// pass null for both), the new handle into phSession on CKR_OK.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1OpenSession(JNIEnv* env, jclass, jlong slotID, jlong flags,
                                                                      jobject application, jobject notify,
                                                                      jobject session) {
    return Call<C_OpenSession>(env, slotID, flags, static_cast<CK_VOID_PTR>(application),
                               reinterpret_cast<CK_NOTIFY>(reinterpret_cast<std::uintptr_t>(notify)),
                               OutLong{jn::kSessionHandleValue, session});
}

// CK_RV C_CloseSession(CK_SESSION_HANDLE hSession).
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1CloseSession(JNIEnv* env, jclass, jobject session) {
    return Call<C_CloseSession>(env, Session{session});
}

// CK_RV C_CloseAllSessions(long slotID): the pass-through shape.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1CloseAllSessions(JNIEnv* env, jclass, jlong slotID) {
    return PassThrough<C_CloseAllSessions>(env, static_cast<CK_SLOT_ID>(slotID));
}

// CK_RV C_GetSessionInfo(CK_SESSION_HANDLE hSession, CK_SESSION_INFO pInfo).
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1GetSessionInfo(JNIEnv* env, jclass, jobject session,
                                                                         jobject info) {
    return Call<C_GetSessionInfo>(env, Session{session}, Info<CopyCKSessionInfoToJSessionInfo>{info});
}

// CK_RV C_GetOperationState(CK_SESSION_HANDLE hSession, byte[] pOperationState,
// LongRef pulOperationStateLen): two-phase output, its buffer from malloc
// since the token library fills the opaque state alone.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1GetOperationState(JNIEnv* env, jclass, jobject session,
                                                                            jbyteArray state, jobject length) {
    return Call<C_GetOperationState>(env, Session{session}, TwoPhase<CopyCKByteArrayToJByteArray, true>{state, length});
}

// CK_RV C_SetOperationState(CK_SESSION_HANDLE hSession, byte[] pOperationState,
// long ulOperationStateLen, CK_OBJECT_HANDLE hEncryptionKey,
// CK_OBJECT_HANDLE hAuthenticationKey): stricter than the other byte-array
// natives, a null array or a length of 0 is refused. A null key wrapper goes
// on as -1; an absent key is a wrapper holding 0.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1SetOperationState(JNIEnv* env, jclass, jobject session,
                                                                            jbyteArray state, jlong stateLen,
                                                                            jobject encryptionKey,
                                                                            jobject authenticationKey) {
    if (state == nullptr || stateLen == 0) return ckRVToJRV(env, CKR_ARGUMENTS_BAD);
    return Call<C_SetOperationState>(env, Session{session}, Bytes{state}, stateLen, Object{encryptionKey},
                                     Object{authenticationKey});
}

// CK_RV C_Login(CK_SESSION_HANDLE hSession, CK_USER_TYPE userType, byte[] pPin,
// long ulPinLen). A null PIN with a length of 0 is the protected-path login
// and reaches the token library.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1Login(JNIEnv* env, jclass, jobject session, jobject userType,
                                                                jbyteArray pin, jlong pinLen) {
    return Call<C_Login>(env, Session{session}, UserType{userType}, CountedBytes{pin, pinLen});
}

// CK_RV C_Logout(CK_SESSION_HANDLE hSession).
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1Logout(JNIEnv* env, jclass, jobject session) {
    return Call<C_Logout>(env, Session{session});
}

}  // extern "C"
