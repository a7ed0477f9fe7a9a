// The token library's own functions: CT_CopyObject, CT_InitToken,
// CT_ResetToken and FMSC_SendReceive. PKCS#11 does not define them; the
// library exports them beside the C_* functions, and the bridge only hands
// them what they take.
#include <jni.h>

#include <cstdlib>

#include "cryptoki.h"
#include "kaltrix_morlin_Cryptoki.h"
#include "morlin/attributes.h"
#include "morlin/frames.h"
#include "morlin/jutil.h"

using namespace frame;

namespace {

// FMSC_SendReceive once its arguments are converted: the exchange, then the
// two LongRefs whatever the answer, then the response only for a clean
// exchange. A status other than 0 is the module's report, left to Java in
// its LongRef and not folded into the CK_RV.
CK_RV Exchange(JNIEnv* env, jclass longRef, CK_SESSION_HANDLE session, jlong fmNumber, CK_BYTE_PTR request,
               CK_ULONG requestLength, jbyteArray response, CK_BYTE_PTR responseCopy, CK_ULONG responseLength,
               jobject receivedLen, jobject status) {
    CK_ULONG received = 0;
    unsigned int answer;  // no initial value: it is the token library's to write
    const CK_RV rv = FMSC_SendReceive(session, static_cast<unsigned short>(fmNumber), request, requestLength,
                                      responseCopy, responseLength, &received, &answer);
    SetLongField(env, longRef, receivedLen, jn::kLongRefValue, static_cast<jlong>(received));
    if (env->ExceptionCheck()) return rv;
    SetLongField(env, longRef, status, jn::kLongRefValue, static_cast<jlong>(answer));
    if (rv == CKR_OK && !env->ExceptionCheck() && answer == 0)
        CopyCKByteArrayToJByteArray(env, responseCopy, received, response);
    return rv;
}

}  // namespace

extern "C" {

// CK_RV CT_CopyObject(CK_SESSION_HANDLE hSession, CK_SESSION_HANDLE
// hSecondSession, CK_OBJECT_HANDLE hObject, CK_ATTRIBUTE[] pTemplate, long
// ulCount, CK_OBJECT_HANDLE phNewObject): C_CopyObject with a second
// session in second place.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_CT_1CopyObject(JNIEnv* env, jclass, jobject session,
                                                                      jobject secondSession, jobject object,
                                                                      jobjectArray attributes, jlong count,
                                                                      jobject newObject) {
    return Call<CT_CopyObject>(env, Session{session}, Session{secondSession}, Object{object},
                               Template{attributes, count}, OutLong{jn::kObjectHandleValue, newObject});
}

// CK_RV CT_InitToken(CK_SESSION_HANDLE hSession, long slotID, byte[] pPin,
// long ulPinLen, byte[] pLabel). Nothing is checked: a null PIN goes as a
// null pointer whatever its length, and the label goes as the array's own
// bytes, with no length of its own.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_CT_1InitToken(JNIEnv* env, jclass, jobject session, jlong slotID,
                                                                     jbyteArray pin, jlong pinLen, jbyteArray label) {
    return Call<CT_InitToken>(env, Session{session}, slotID, Bytes{pin}, pinLen, Bytes{label});
}

// CK_RV CT_ResetToken(CK_SESSION_HANDLE hSession, byte[] pPin, long ulPinLen,
// byte[] pLabel): as CT_InitToken without the slot.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_CT_1ResetToken(JNIEnv* env, jclass, jobject session,
                                                                      jbyteArray pin, jlong pinLen, jbyteArray label) {
    return Call<CT_ResetToken>(env, Session{session}, Bytes{pin}, pinLen, Bytes{label});
}

// CK_RV FMSC_SendReceive(CK_SESSION_HANDLE hSession, long fmNumber, byte[]
// request, long requestLen, byte[] response, long responseLen, LongRef
// pReceivedLen, LongRef pStatus). The lengths are the arrays' own: the two
// Java lengths are never read, and the response goes out as a copy of the
// array with its contents. The LongRef class is looked up first and checked
// together with the session's conversion; the LongRefs themselves are tested
// only once both arrays are copied.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_FMSC_1SendReceive(JNIEnv* env, jclass, jobject session,
                                                                         jlong fmNumber, jbyteArray request, jlong,
                                                                         jbyteArray response, jlong,
                                                                         jobject receivedLen, jobject status) {
    CK_BYTE_PTR requestCopy = nullptr;
    CK_BYTE_PTR responseCopy = nullptr;
    CK_ULONG requestLength = 0;
    CK_ULONG responseLength = 0;
    CK_RV rv = CKR_OK;
    jclass longRef = env->FindClass(jn::kLongRef.path);
    const CK_SESSION_HANDLE hSession = jSessionHandleToCKSessionHandle(env, session);
    if (!env->ExceptionCheck()) {
        jByteArrayToCKByteArray(env, request, &requestCopy, &requestLength);
        if (!env->ExceptionCheck()) jByteArrayToCKByteArray(env, response, &responseCopy, &responseLength);
        if (!env->ExceptionCheck()) {
            if (receivedLen == nullptr || status == nullptr) {
                free(requestCopy);
                free(responseCopy);
                return ckRVToJRV(env, CKR_ARGUMENTS_BAD);
            }
            rv = Exchange(env, longRef, hSession, fmNumber, requestCopy, requestLength, response, responseCopy,
                          responseLength, receivedLen, status);
        }
    }
    free(requestCopy);
    free(responseCopy);
    return Finish(env, rv);
}

}  // extern "C"
