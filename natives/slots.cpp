// Slots, tokens and mechanism queries: C_GetSlotList, C_GetSlotInfo,
// C_GetTokenInfo, C_WaitForSlotEvent, C_GetMechanismList,
// C_GetMechanismInfo, C_InitToken, C_InitPIN, C_SetPIN.
//
// Slot ids travel as bare Java longs, not wrappers. PINs and the label are
// private copies that the frame frees with plain free, unwiped; neither is
// padded nor measured against its Java length. C_WaitForSlotEvent is written
// out whole: its LongRef is an output only, in the middle of the arguments.
#include <jni.h>

#include <iterator>

#include "cryptoki.h"
#include "morlin/frames.h"
#include "morlin/infos.h"
#include "morlin/java_names.h"
#include "morlin/values.h"

using namespace frame;

void CopyCKSlotInfoToJSlotInfo(JNIEnv* env, const CK_SLOT_INFO* info, jobject object) {
    CopyCKInfoFields(env, jn::kSlotInfo, info, object, kSlotInfoFields, std::size(kSlotInfoFields));
}

void CopyCKTokenInfoToJTokenInfo(JNIEnv* env, const CK_TOKEN_INFO* info, jobject object) {
    CopyCKInfoFields(env, jn::kTokenInfo, info, object, kTokenInfoFields, std::size(kTokenInfoFields));
}

void CopyCKMechanismInfoToJMechanismInfo(JNIEnv* env, const CK_MECHANISM_INFO* info, jobject object) {
    CopyCKInfoFields(env, jn::kMechanismInfo, info, object, kMechanismInfoFields, std::size(kMechanismInfoFields));
}

extern "C" {

// CK_RV C_GetSlotList(boolean tokenPresent, long[] pSlotList, LongRef pulCount):
// list frame. tokenPresent is CK_TRUE only if its low byte is exactly 1.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1GetSlotList(JNIEnv* env, jclass, jboolean tokenPresent,
                                                                      jlongArray slots, jobject count) {
    return TwoPhaseFrame<C_GetSlotList, CopyCKULongArrayToJLongArray, CK_ULONG, false>(env, slots, count,
                                                                                       Bool{tokenPresent});
}

// CK_RV C_GetSlotInfo(long slotID, CK_SLOT_INFO pInfo): query frame.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1GetSlotInfo(JNIEnv* env, jclass, jlong slotID, jobject info) {
    return QueryFrame<C_GetSlotInfo, CopyCKSlotInfoToJSlotInfo>(env, info, slotID);
}

// CK_RV C_GetTokenInfo(long slotID, CK_TOKEN_INFO pInfo): query frame.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1GetTokenInfo(JNIEnv* env, jclass, jlong slotID,
                                                                       jobject info) {
    return QueryFrame<C_GetTokenInfo, CopyCKTokenInfoToJTokenInfo>(env, info, slotID);
}

// CK_RV C_WaitForSlotEvent(long flags, LongRef pSlot, Object pReserved): flags
// and the reserved reference go through as they came; the slot goes into a
// local, which is not read from pSlot and is stored back only on CKR_OK, so
// CKR_NO_EVENT leaves the caller's value in place.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1WaitForSlotEvent(JNIEnv* env, jclass, jlong flags,
                                                                           jobject slotRef, jobject reserved) {
    jclass longRef = env->FindClass(jn::kLongRef);
    if (env->ExceptionCheck()) return nullptr;
    if (slotRef == nullptr) return ckRVToJRV(env, CKR_ARGUMENTS_BAD);
    CK_SLOT_ID slot = 0;
    const CK_RV rv = C_WaitForSlotEvent(static_cast<CK_FLAGS>(flags), &slot, static_cast<CK_VOID_PTR>(reserved));
    if (rv == CKR_OK) {
        SetLongField(env, longRef, slotRef, jn::kLongRefValue.name, static_cast<jlong>(slot));
        env->ExceptionCheck();  // decides nothing further: Finish looks again
    }
    return Finish(env, rv);
}

// CK_RV C_GetMechanismList(long slotID, CK_MECHANISM_TYPE[] pMechanismList,
// LongRef pulCount): list frame. The array must come filled with wrappers,
// whose values are replaced through setValue; surplus types are dropped.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1GetMechanismList(JNIEnv* env, jclass, jlong slotID,
                                                                           jobjectArray types, jobject count) {
    return TwoPhaseFrame<C_GetMechanismList, CopyCKULongArrayToJMechanismTypeArray, CK_ULONG, false>(env, types, count,
                                                                                                     slotID);
}

// CK_RV C_GetMechanismInfo(long slotID, CK_MECHANISM_TYPE type,
// CK_MECHANISM_INFO pInfo): query frame; a null or wrong-class type goes on as -1.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1GetMechanismInfo(JNIEnv* env, jclass, jlong slotID,
                                                                           jobject type, jobject info) {
    return QueryFrame<C_GetMechanismInfo, CopyCKMechanismInfoToJMechanismInfo>(env, info, slotID, MechType{type});
}

// CK_RV C_InitToken(long slotID, byte[] pPin, long ulPinLen, byte[] pLabel):
// input frame. Only the PIN is checked against its length; the label has no
// length and reaches the token library as the caller's bytes, or null.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1InitToken(JNIEnv* env, jclass, jlong slotID, jbyteArray pin,
                                                                    jlong pinLen, jbyteArray label) {
    return CallFrame<C_InitToken>(env, ArrayCountOk(pin, pinLen), slotID, Bytes{pin}, pinLen, Bytes{label});
}

// CK_RV C_InitPIN(CK_SESSION_HANDLE hSession, byte[] pPin, long ulPinLen): input frame.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1InitPIN(JNIEnv* env, jclass, jobject session, jbyteArray pin,
                                                                  jlong pinLen) {
    return CallFrame<C_InitPIN>(env, ArrayCountOk(pin, pinLen), Session{session}, Bytes{pin}, pinLen);
}

// CK_RV C_SetPIN(CK_SESSION_HANDLE hSession, byte[] pOldPin, long ulOldLen,
// byte[] pNewPin, long ulNewLen): input frame; both PINs are checked before
// the session is looked at.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1SetPIN(JNIEnv* env, jclass, jobject session,
                                                                 jbyteArray oldPin, jlong oldLen, jbyteArray newPin,
                                                                 jlong newLen) {
    return CallFrame<C_SetPIN>(env, ArrayCountOk(oldPin, oldLen) && ArrayCountOk(newPin, newLen), Session{session},
                               Bytes{oldPin}, oldLen, Bytes{newPin}, newLen);
}

}  // extern "C"
