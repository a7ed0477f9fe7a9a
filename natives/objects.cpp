// Objects: C_CreateObject, C_CopyObject, C_DestroyObject, C_GetObjectSize,
// C_GetAttributeValue, C_SetAttributeValue, C_FindObjectsInit,
// C_FindObjects, C_FindObjectsFinal.
//
// Every template goes to the token library with the Java count beside it,
// not the array's length, and is released by the array's length. The two
// may differ; keeping them equal is the caller's part.
#include <jni.h>

#include <cstdlib>
#include <tuple>

#include "cryptoki.h"
#include "kaltrix_morlin_Cryptoki.h"
#include "morlin/attributes.h"
#include "morlin/frames.h"
#include "morlin/jutil.h"
#include "morlin/values.h"

using namespace frame;

namespace {

// The object handle of C_SetAttributeValue, converted after the template and
// handed to the token library with no ExceptionCheck in between: a failed
// conversion reaches the token library as the handle of all bits set, and
// the native returns null after the token library has acted.
struct UncheckedObject {
    jobject object;
    CK_OBJECT_HANDLE value = 0;

    bool convert(JNIEnv* env) {
        value = jObjectHandleToCKObjectHandle(env, object);
        return true;
    }
    std::tuple<CK_OBJECT_HANDLE> args() const { return {value}; }
};

// C_SetAttributeValue with its arguments in the order of their conversion.
CK_RV SetAttributeValueAfterTemplate(CK_SESSION_HANDLE session, CK_ATTRIBUTE_PTR attributes, CK_ULONG count,
                                     CK_OBJECT_HANDLE object) {
    return C_SetAttributeValue(session, object, attributes, count);
}

// The handles a search delivers: a buffer of maxCount handles for a non-null
// array, sized by maxCount and not by the array; the count, written back
// whatever the answer; on CKR_OK the handles, stored into the wrappers the
// array already holds, at most as many as it holds. The LongRef is not read.
struct FoundHandles {
    jobjectArray objects;
    jlong maxCount;
    jobject foundRef;
    jclass cls = nullptr;
    CK_ULONG found = 0;
    CK_OBJECT_HANDLE_PTR buffer = nullptr;

    bool prepare(JNIEnv* env) {
        cls = env->FindClass(jn::kLongRef.path);
        return !env->ExceptionCheck();
    }
    bool check() const { return !(maxCount > 0 && objects == nullptr) && foundRef != nullptr; }
    bool convert(JNIEnv*) {
        if (objects != nullptr)
            buffer = static_cast<CK_OBJECT_HANDLE_PTR>(calloc(static_cast<size_t>(maxCount), sizeof(CK_OBJECT_HANDLE)));
        return true;
    }
    std::tuple<CK_OBJECT_HANDLE_PTR, CK_ULONG, CK_ULONG_PTR> args() {
        return {buffer, static_cast<CK_ULONG>(maxCount), &found};
    }
    void writeBack(JNIEnv* env, CK_RV rv) {
        SetLongField(env, cls, foundRef, jn::kLongRefValue, static_cast<jlong>(found));
        if (!env->ExceptionCheck() && rv == CKR_OK) CopyCKULongArrayToJObjectHandleArray(env, buffer, found, objects);
    }
    void release(JNIEnv*) { free(buffer); }
};

}  // namespace

extern "C" {

// CK_RV C_CreateObject(CK_SESSION_HANDLE hSession, CK_ATTRIBUTE[] pTemplate,
// long ulCount, CK_OBJECT_HANDLE phObject): the new handle into phObject on
// CKR_OK.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1CreateObject(JNIEnv* env, jclass, jobject session,
                                                                       jobjectArray attributes, jlong count,
                                                                       jobject object) {
    return Call<C_CreateObject>(env, Session{session}, Template{attributes, count},
                                OutLong{jn::kObjectHandleValue, object});
}

// CK_RV C_CopyObject(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject,
// CK_ATTRIBUTE[] pTemplate, long ulCount, CK_OBJECT_HANDLE phNewObject).
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1CopyObject(JNIEnv* env, jclass, jobject session,
                                                                     jobject object, jobjectArray attributes,
                                                                     jlong count, jobject newObject) {
    return Call<C_CopyObject>(env, Session{session}, Object{object}, Template{attributes, count},
                              OutLong{jn::kObjectHandleValue, newObject});
}

// CK_RV C_DestroyObject(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject).
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1DestroyObject(JNIEnv* env, jclass, jobject session,
                                                                        jobject object) {
    return Call<C_DestroyObject>(env, Session{session}, Object{object});
}

// CK_RV C_GetObjectSize(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject,
// LongRef pulSize): the size into pulSize on CKR_OK only; it is not read.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1GetObjectSize(JNIEnv* env, jclass, jobject session,
                                                                        jobject object, jobject size) {
    return Call<C_GetObjectSize>(env, Session{session}, Object{object}, OutLong{jn::kLongRefValue, size});
}

// CK_RV C_GetAttributeValue(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE
// hObject, CK_ATTRIBUTE[] pTemplate, long ulCount): lengths and values go
// back into the template whatever the answer.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1GetAttributeValue(JNIEnv* env, jclass, jobject session,
                                                                            jobject object, jobjectArray attributes,
                                                                            jlong count) {
    return Call<C_GetAttributeValue>(env, Session{session}, Object{object}, ReadTemplate{{attributes, count}});
}

// CK_RV C_SetAttributeValue(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE
// hObject, CK_ATTRIBUTE[] pTemplate, long ulCount): the session, then the
// template, then the object, unchecked (see UncheckedObject).
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1SetAttributeValue(JNIEnv* env, jclass, jobject session,
                                                                            jobject object, jobjectArray attributes,
                                                                            jlong count) {
    return Call<SetAttributeValueAfterTemplate>(env, Session{session}, Template{attributes, count},
                                                UncheckedObject{object});
}

// CK_RV C_FindObjectsInit(CK_SESSION_HANDLE hSession, CK_ATTRIBUTE[]
// pTemplate, long ulCount): a null template with a count of 0 finds every
// object.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1FindObjectsInit(JNIEnv* env, jclass, jobject session,
                                                                          jobjectArray attributes, jlong count) {
    return Call<C_FindObjectsInit>(env, Session{session}, Template{attributes, count});
}

// CK_RV C_FindObjects(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE[]
// phObject, long ulMaxObjectCount, LongRef pulObjectCount).
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1FindObjects(JNIEnv* env, jclass, jobject session,
                                                                      jobjectArray objects, jlong maxCount,
                                                                      jobject found) {
    return Call<C_FindObjects>(env, Session{session}, FoundHandles{objects, maxCount, found});
}

// CK_RV C_FindObjectsFinal(CK_SESSION_HANDLE hSession).
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1FindObjectsFinal(JNIEnv* env, jclass, jobject session) {
    return Call<C_FindObjectsFinal>(env, Session{session});
}

}  // extern "C"
