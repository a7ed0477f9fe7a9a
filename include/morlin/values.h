// Plain values between the JVM and Cryptoki memory: arrays of scalars and of
// wrappers, boxed values, CK_DATE, and the in-place copies of these.
//
// j...To... hand out memory from calloc or malloc that the caller frees with
// free, also after a Java exception, when the output may hold a partial
// result or null. ck...ToJ... return new local references, or null. The
// Copy... operations write into a target that exists already and end without
// a word for null arguments or a target of another class.
//
// None reports failure by a return code: a Java exception stays pending for
// the caller, who decides with ExceptionCheck. jByteArrayToCKByteArray,
// jStringToCKCharArray, ckByteArrayToJByteArray, CopyCKByteArrayToJByteArray
// and CopyCKULongArrayToJLongArray live in jutil.h.
#ifndef MORLIN_VALUES_H
#define MORLIN_VALUES_H

#include <jni.h>

#include <cstddef>
#include <tuple>

#include "cryptoki.h"
#include "morlin/names/core.h"

// ---- arrays from Java: operation(env, array, &pointer, &length) --------------
// A null array gives null and 0. The long, boolean and char arrays report
// elements and hand out a non-null pointer for an empty array; on an
// exception the pointer stays as the caller set it.
void jLongArrayToCKULongArray(JNIEnv* env, jlongArray array, CK_ULONG_PTR* pointer, CK_ULONG* length);
// 1 only for an element that is exactly 1.
void jBooleanArrayToCKBBoolArray(JNIEnv* env, jbooleanArray array, CK_BBOOL** pointer, CK_ULONG* length);
// The low 8 bits of each char.
void jCharArrayToCKCharArray(JNIEnv* env, jcharArray array, CK_CHAR_PTR* pointer, CK_ULONG* length);
// Wrapper arrays report bytes (count times 8), as they feed a ulValueLen; a
// null element converts to -1. An exception mid-way returns at once, with the
// length still counting elements and the partly filled array handed out.
void jObjectHandleArrayToCKObjectHandleArray(JNIEnv* env, jobjectArray array, CK_OBJECT_HANDLE_PTR* pointer,
                                             CK_ULONG* length);
void jMechanismTypeArrayToCKMechanismTypeArray(JNIEnv* env, jobjectArray array, CK_MECHANISM_TYPE_PTR* pointer,
                                               CK_ULONG* length);

// ---- boxed values from Java ------------------------------------------------------
// A fresh one-element buffer, or null with the exception pending. The caller
// has chosen the operation by the object's class; the object is not tested.
CK_ULONG_PTR jLongObjectToCKULongPtr(JNIEnv* env, jobject object);
// Zero-extended: -1 becomes 0xFFFFFFFF.
CK_ULONG_PTR jIntegerObjectToCKULongPtr(JNIEnv* env, jobject object);
// Looks up "java/lang/Char", which does not exist: always null with the JVM's
// class-not-found error pending.
CK_CHAR_PTR jCharObjectToCKCharPtr(JNIEnv* env, jobject object);
CK_BYTE_PTR jByteObjectToCKBytePtr(JNIEnv* env, jobject object);
CK_BBOOL* jBooleanObjectToCKBBoolPtr(JNIEnv* env, jobject object);

// ---- CK_DATE ---------------------------------------------------------------------
// One byte[] field of the Java CK_DATE and where its bytes sit in a CK_DATE.
struct DateField {
    const jn::BytesField& field;
    std::size_t offset;
    std::size_t length;
};
// The true layout: year at 0, month at 4, day at 6.
inline constexpr DateField kDateLayout[] = {
    {jn::kDateYear, 0, 4},
    {jn::kDateMonth, 4, 2},
    {jn::kDateDay, 6, 2},
};
// The layout of the in-place date copies, in both directions, and of
// jDateObjectToCKDatePtr: the month at offset 0, over the first two digits of
// the year, and the month bytes of the structure left alone. Meant; keep it.
inline constexpr DateField kDateCopyLayout[] = {
    {jn::kDateYear, 0, 4},
    {jn::kDateMonth, 0, 2},
    {jn::kDateDay, 6, 2},
};

// malloc(8), not zeroed; null for another class or with an exception pending.
CK_DATE* jDateObjectToCKDatePtr(JNIEnv* env, jobject object);
// A new CK_DATE with the true offsets; null for a null date or on an exception.
jobject ckDatePtrToJDateObject(JNIEnv* env, const CK_DATE* date);
// Into the byte arrays that an existing CK_DATE holds, by kDateCopyLayout.
void CopyCKDateToJDate(JNIEnv* env, const CK_DATE* date, jobject object);

// ---- values to Java --------------------------------------------------------------
jlongArray ckULongArrayToJLongArray(JNIEnv* env, const CK_ULONG* pointer, CK_ULONG count);
// The pointer must not be null.
jobject ckULongPtrToJLongObject(JNIEnv* env, const CK_ULONG* pointer);
// A count of 0 gives an empty array here, and null for mechanism types.
jobjectArray ckObjHandleArrayToJObjHandleArray(JNIEnv* env, const CK_OBJECT_HANDLE* pointer, CK_ULONG count);
jobjectArray ckMechanismTypeArrayToJMechanismTypeArray(JNIEnv* env, const CK_MECHANISM_TYPE* pointer, CK_ULONG count);

// ---- in-place copies ---------------------------------------------------------------
// Into the wrappers that the caller put in the array (none is created), at
// most as many as the array holds. The handle copy stores m_value and stops
// at an element of another class; the mechanism-type copies call setValue.
void CopyCKULongArrayToJObjectHandleArray(JNIEnv* env, const CK_ULONG* source, CK_ULONG count, jobjectArray array);
void CopyCKULongArrayToJMechanismTypeArray(JNIEnv* env, const CK_ULONG* source, CK_ULONG count, jobjectArray array);
// As above without the class test of each element.
void CopyCKMechanismTypeArrayToJMechanismTypeArray(JNIEnv* env, const CK_MECHANISM_TYPE* source, CK_ULONG count,
                                                   jobjectArray array);
// At most maximum bytes, at most the array's length; the rest of the target
// keeps what it held. Reports nothing.
void CopyJByteArrayToCKByteArray(JNIEnv* env, jbyteArray array, CK_BYTE_PTR target, CK_ULONG maximum);
// object.setValue(value) through the "(J)V" method of cls.
void setLongValue(JNIEnv* env, jclass cls, jobject object, jlong value);

// ---- argument kinds of the frames (see frames.h) -----------------------------------
namespace frame {

// A Java boolean as CK_BBOOL: CK_TRUE only if it is exactly 1.
struct Bool {
    jboolean value;
    std::tuple<CK_BBOOL> args() const { return {value == 1 ? CK_TRUE : CK_FALSE}; }
};

}  // namespace frame

#endif
