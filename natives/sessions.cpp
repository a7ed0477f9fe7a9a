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
#include "morlin/frames.h"
#include "morlin/infos.h"
#include "morlin/java_names.h"
#include "morlin/jutil.h"
#include "morlin/values.h"

using namespace frame;

// Written out rather than driven by the info table: state is updated in place
// through setValue on the CK_STATE object that the field holds.
void CopyCKSessionInfoToJSessionInfo(JNIEnv* env, const CK_SESSION_INFO* info, jobject object) {
    jclass cls = env->FindClass(jn::kSessionInfo);
    jclass stateCls = env->FindClass(jn::kState);
    if (env->ExceptionCheck() || info == nullptr || object == nullptr) return;
    const jboolean isInstance = env->IsInstanceOf(object, cls);
    if (env->ExceptionCheck() || !isInstance) return;
    SetLongField(env, cls, object, jn::kSessionInfoSlotID.name, static_cast<jlong>(info->slotID));
    if (env->ExceptionCheck()) return;
    jobject state = GetObjectArrayField(env, cls, object, jn::kSessionInfoState.name, jn::kSessionInfoState.sig);
    if (env->ExceptionCheck()) return;
    setLongValue(env, stateCls, state, static_cast<jlong>(info->state));
    if (env->ExceptionCheck()) return;
    SetLongField(env, cls, object, jn::kSessionInfoFlags.name, static_cast<jlong>(info->flags));
    if (env->ExceptionCheck()) return;
    SetLongField(env, cls, object, jn::kSessionInfoDeviceError.name, static_cast<jlong>(info->ulDeviceError));
}

extern "C" {

// CK_RV C_OpenSession(long slotID, long flags, Object pApplication, Object
// Notify, CK_SESSION_HANDLE phSession): new-handle frame. The two references
// reach the token library as raw values; no notification comes back to Java,
// so callers pass null for both.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1OpenSession(JNIEnv* env, jclass, jlong slotID, jlong flags,
                                                                      jobject application, jobject notify,
                                                                      jobject session) {
    return NewHandleFrame<C_OpenSession>(env, jn::kSessionHandle, session != nullptr, session, slotID, flags,
                                         static_cast<CK_VOID_PTR>(application),
                                         reinterpret_cast<CK_NOTIFY>(reinterpret_cast<std::uintptr_t>(notify)));
}

// CK_RV C_CloseSession(CK_SESSION_HANDLE hSession): session frame.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1CloseSession(JNIEnv* env, jclass, jobject session) {
    return CallFrame<C_CloseSession>(env, true, Session{session});
}

// CK_RV C_CloseAllSessions(long slotID): pass-through frame.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1CloseAllSessions(JNIEnv* env, jclass, jlong slotID) {
    return PassThroughFrame<C_CloseAllSessions>(env, static_cast<CK_SLOT_ID>(slotID));
}

// CK_RV C_GetSessionInfo(CK_SESSION_HANDLE hSession, CK_SESSION_INFO pInfo): query frame.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1GetSessionInfo(JNIEnv* env, jclass, jobject session,
                                                                         jobject info) {
    return QueryFrame<C_GetSessionInfo, CopyCKSessionInfoToJSessionInfo>(env, info, Session{session});
}

// CK_RV C_GetOperationState(CK_SESSION_HANDLE hSession, byte[] pOperationState,
// LongRef pulOperationStateLen): final frame, its buffer from malloc since
// the token library fills the opaque state alone.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1GetOperationState(JNIEnv* env, jclass, jobject session,
                                                                            jbyteArray state, jobject length) {
    return TwoPhaseFrame<C_GetOperationState, CopyCKByteArrayToJByteArray, CK_BYTE, true>(env, state, length,
                                                                                          Session{session});
}

// CK_RV C_SetOperationState(CK_SESSION_HANDLE hSession, byte[] pOperationState,
// long ulOperationStateLen, CK_OBJECT_HANDLE hEncryptionKey,
// CK_OBJECT_HANDLE hAuthenticationKey): input frame, stricter than its
// family: a null array or a length of 0 is refused. A null key wrapper goes
// on as -1; an absent key is a wrapper holding 0.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1SetOperationState(JNIEnv* env, jclass, jobject session,
                                                                            jbyteArray state, jlong stateLen,
                                                                            jobject encryptionKey,
                                                                            jobject authenticationKey) {
    return CallFrame<C_SetOperationState>(env, state != nullptr && stateLen != 0, Session{session}, Bytes{state},
                                          stateLen, Object{encryptionKey}, Object{authenticationKey});
}

// CK_RV C_Login(CK_SESSION_HANDLE hSession, CK_USER_TYPE userType, byte[] pPin,
// long ulPinLen): input frame. A null PIN with a length of 0 is the
// protected-path login and reaches the token library.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1Login(JNIEnv* env, jclass, jobject session, jobject userType,
                                                                jbyteArray pin, jlong pinLen) {
    return CallFrame<C_Login>(env, ArrayCountOk(pin, pinLen), Session{session}, UserType{userType}, Bytes{pin}, pinLen);
}

// CK_RV C_Logout(CK_SESSION_HANDLE hSession): session frame.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1Logout(JNIEnv* env, jclass, jobject session) {
    return CallFrame<C_Logout>(env, true, Session{session});
}

}  // extern "C"
