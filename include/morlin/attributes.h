// CK_ATTRIBUTE templates and values in both directions.
//
// From Java (attributesToCK.cpp): the value's Java class picks its
// conversion, every value becomes a heap block of its own, and the Java
// valueLen is what the token library sees. To Java (attributesToJava.cpp),
// two families that stay apart: the in-place copies look at the class of
// the Java target, the new-object family at the attribute type.
//
// Failures are Java exceptions left pending; the caller decides with
// ExceptionCheck. Whatever a conversion handed out before a failure stays
// where the caller can free it.
#ifndef MORLIN_ATTRIBUTES_H
#define MORLIN_ATTRIBUTES_H

#include <jni.h>

#include <tuple>

#include "cryptoki.h"

// ---- from Java -------------------------------------------------------------------

// The 26 value classes of jn::kValueClasses, in that order. Both dispatches
// from Java, the one that allocates and the one that copies in place, look
// them all up before any test, back to back with one ExceptionCheck after
// the last; false with the exception pending.
using ValueClasses = jclass[26];
bool FindValueClasses(JNIEnv* env, ValueClasses& classes);

// A value of any of the 26 value classes as a fresh block and its computed
// length: bytes for most classes, the element count for long[] and int[].
// Null gives null and 0; a class outside the table gives null and 0 with
// java.lang.UnsupportedOperationException pending.
void jObjectToPrimitiveCKObjectPtrPtr(JNIEnv* env, jobject object, CK_VOID_PTR* pointer, CK_ULONG* length);
// One Java CK_ATTRIBUTE, which must not be null. The Java valueLen replaces
// the computed length, except for CKA_MECHANISM_LIST and for a numeric type
// with valueLen 4. After a failure the result holds what was converted.
CK_ATTRIBUTE jAttributeToCKAttribute(JNIEnv* env, jobject attribute);
// A CK_ATTRIBUTE[] as one calloc block; *count is the Java length, also when
// an element fails half way. The caller sets both outputs to null and 0.
void jAttributeArrayToCKAttributeArray(JNIEnv* env, jobjectArray array, CK_ATTRIBUTE_PTR* pointer, CK_ULONG* count);
// Frees every non-null value below count, then the array.
void freeCKAttributeArray(CK_ATTRIBUTE_PTR array, CK_ULONG count);

// ---- into existing Java objects -------------------------------------------------------

// Writes a value into the Java object that will hold it, by that object's
// class; silent for a null object, a null value or a length of 0, and for a
// length below what the class needs. A class that cannot be written in place
// raises java.lang.UnsupportedOperationException.
void CopyCKObjectPtrToJObjectPrimitive(JNIEnv* env, CK_VOID_PTR value, CK_ULONG length, jobject object);
// The value, then valueLen; the type only when the Java type is the
// wildcard 0xFFFF.
void CopyCKAttributeToJAttribute(JNIEnv* env, const CK_ATTRIBUTE* attribute, jobject object);
// At most the smaller of count and the Java length.
void CopyCKAttributeArrayToJAttributeArray(JNIEnv* env, const CK_ATTRIBUTE* array, CK_ULONG count, jobjectArray object);

// ---- new Java objects -------------------------------------------------------------

// A new object chosen by the attribute type; null (nothing pending) for a
// null attribute, a null value or a length of 0.
jobject ckAttributeValueToJObject(JNIEnv* env, const CK_ATTRIBUTE* attribute);
// A new CK_ATTRIBUTE, made without running a constructor.
jobject ckAttributePtrToJAttribute(JNIEnv* env, const CK_ATTRIBUTE* attribute);
jobjectArray ckAttributeArrayToJAttributeArray(JNIEnv* env, const CK_ATTRIBUTE* array, CK_ULONG count);

// ---- argument kinds of the frames (see frames.h) -----------------------------------
namespace frame {

// A template with its Java count: converted and released as one. The token
// library gets the Java count, the release goes by the array's length. A
// null array with a count above 0 is refused; with 0 or below it goes on
// as null, the empty template.
struct Template {
    jobjectArray array;
    jlong count;
    CK_ATTRIBUTE_PTR converted = nullptr;
    CK_ULONG length = 0;

    bool check() const { return !(count > 0 && array == nullptr); }
    bool convert(JNIEnv* env) {
        jAttributeArrayToCKAttributeArray(env, array, &converted, &length);
        return !env->ExceptionCheck();
    }
    std::tuple<CK_ATTRIBUTE_PTR, CK_ULONG> args() const { return {converted, static_cast<CK_ULONG>(count)}; }
    void release(JNIEnv*) { freeCKAttributeArray(converted, length); }
};

// A template that the token library answers into: lengths and values go
// back into the Java attributes whatever the token library returned, since
// each attribute's ulValueLen is its own report.
struct ReadTemplate : Template {
    void writeBack(JNIEnv* env, CK_RV) {
        CopyCKAttributeArrayToJAttributeArray(env, converted, static_cast<CK_ULONG>(count), array);
    }
};

}  // namespace frame

#endif
