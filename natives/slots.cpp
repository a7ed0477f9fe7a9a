// Slots, tokens and mechanism queries: C_GetSlotList, C_GetSlotInfo,
// C_GetTokenInfo, C_WaitForSlotEvent, C_GetMechanismList,
// C_GetMechanismInfo, C_InitToken, C_InitPIN, C_SetPIN.
//
// Slot ids travel as bare Java longs, not wrappers. PINs and the label are
// private copies that the frame frees with plain free, unwiped; neither is
// padded nor measured against its Java length.
#include <jni.h>

#include "cryptoki.h"
#include "kaltrix_morlin_Cryptoki.h"
#include "morlin/copyToJava.h"
#include "morlin/frames.h"
#include "morlin/jutil.h"
#include "morlin/values.h"

using namespace frame;

extern "C" {

// CK_RV C_GetSlotList(boolean tokenPresent, long[] pSlotList, LongRef pulCount):
// two-phase output of CK_ULONGs. tokenPresent is CK_TRUE only if it is exactly 1.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1GetSlotList(JNIEnv* env, jclass, jboolean tokenPresent,
                                                                      jlongArray slots, jobject count) {
    return Call<C_GetSlotList>(env, Bool{tokenPresent}, TwoPhase<CopyCKULongArrayToJLongArray>{slots, count});
}

// CK_RV C_GetSlotInfo(long slotID, CK_SLOT_INFO pInfo).
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1GetSlotInfo(JNIEnv* env, jclass, jlong slotID, jobject info) {
    return Call<C_GetSlotInfo>(env, slotID, Info<CopyCKSlotInfoToJSlotInfo>{info});
}

// CK_RV C_GetTokenInfo(long slotID, CK_TOKEN_INFO pInfo).
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1GetTokenInfo(JNIEnv* env, jclass, jlong slotID,
                                                                       jobject info) {
    return Call<C_GetTokenInfo>(env, slotID, Info<CopyCKTokenInfoToJTokenInfo>{info});
}

// CK_RV C_WaitForSlotEvent(long flags, LongRef pSlot, Object pReserved): flags
// and the reserved reference go through as they came; the slot goes into a
// local that is not read from pSlot and is stored back only on CKR_OK, so
// CKR_NO_EVENT leaves the caller's value in place.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1WaitForSlotEvent(JNIEnv* env, jclass, jlong flags,
                                                                           jobject slotRef, jobject reserved) {
    return Call<C_WaitForSlotEvent>(env, flags, OutLong{jn::kLongRefValue, slotRef},
                                    static_cast<CK_VOID_PTR>(reserved));
}

// CK_RV C_GetMechanismList(long slotID, CK_MECHANISM_TYPE[] pMechanismList,
// LongRef pulCount): two-phase output. The array must come filled with
// wrappers, whose values are replaced through setValue; surplus types are
// dropped.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1GetMechanismList(JNIEnv* env, jclass, jlong slotID,
                                                                           jobjectArray types, jobject count) {
    return Call<C_GetMechanismList>(env, slotID, TwoPhase<CopyCKULongArrayToJMechanismTypeArray>{types, count});
}

// CK_RV C_GetMechanismInfo(long slotID, CK_MECHANISM_TYPE type,
// CK_MECHANISM_INFO pInfo): a null or wrong-class type goes on as -1.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1GetMechanismInfo(JNIEnv* env, jclass, jlong slotID,
                                                                           jobject type, jobject info) {
    return Call<C_GetMechanismInfo>(env, slotID, MechType{type}, Info<CopyCKMechanismInfoToJMechanismInfo>{info});
}

// CK_RV C_InitToken(long slotID, byte[] pPin, long ulPinLen, byte[] pLabel):
// only the PIN is checked against its length; the label has no length and
// reaches the token library as the caller's bytes, or null.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1InitToken(JNIEnv* env, jclass, jlong slotID, jbyteArray pin,
                                                                    jlong pinLen, jbyteArray label) {
    return Call<C_InitToken>(env, slotID, CountedBytes{pin, pinLen}, Bytes{label});
}

// CK_RV C_InitPIN(CK_SESSION_HANDLE hSession, byte[] pPin, long ulPinLen).
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1InitPIN(JNIEnv* env, jclass, jobject session, jbyteArray pin,
                                                                  jlong pinLen) {
    return Call<C_InitPIN>(env, Session{session}, CountedBytes{pin, pinLen});
}

// CK_RV C_SetPIN(CK_SESSION_HANDLE hSession, byte[] pOldPin, long ulOldLen,
// byte[] pNewPin, long ulNewLen): both PINs are checked before the session
// is looked at.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1SetPIN(JNIEnv* env, jclass, jobject session,
                                                                 jbyteArray oldPin, jlong oldLen, jbyteArray newPin,
                                                                 jlong newLen) {
    return Call<C_SetPIN>(env, Session{session}, CountedBytes{oldPin, oldLen}, CountedBytes{newPin, newLen});
}

}  // extern "C"
