// jutil: field accessors and the small helpers that every native and
// conversion of libmorlin.so builds on.
//
// Error contract (the whole bridge keeps it): a helper that meets a Java
// exception leaves it pending and returns its failure value; the caller
// decides with ExceptionCheck, never by the value alone, since the failure
// values are legal field values too. Nothing here clears an exception.
//
// No field or method id is cached: every accessor runs GetFieldID anew.
#ifndef MORLIN_JUTIL_H
#define MORLIN_JUTIL_H

#include <jni.h>

#include "cryptoki.h"

// ---- field accessors --------------------------------------------------------
// Each returns its failure value at once, with no JNI call, when cls or obj is
// null; otherwise GetFieldID, ExceptionCheck, then the get or set.

// The jint sign-extended to 64 bits; -1 on failure.
jlong GetIntField(JNIEnv* env, jclass cls, jobject obj, const char* name);
// The jboolean as an int; -1 on failure.
int GetBoolField(JNIEnv* env, jclass cls, jobject obj, const char* name);
// Stores the low 32 bits of value; does nothing on failure.
void SetIntField(JNIEnv* env, jclass cls, jobject obj, const char* name, jlong value);
// The jlong; -1 on failure.
jlong GetLongField(JNIEnv* env, jclass cls, jobject obj, const char* name);
// Does nothing on failure.
void SetLongField(JNIEnv* env, jclass cls, jobject obj, const char* name, jlong value);
// The byte[] held by the field; null on failure.
jbyteArray GetByteArrayField(JNIEnv* env, jclass cls, jobject obj, const char* name);
// The object held by a field of the caller's signature; null on failure.
jobject GetObjectArrayField(JNIEnv* env, jclass cls, jobject obj, const char* name, const char* signature);

// Run-time class name of obj in the dotted form of Class.getName, from strdup
// (the caller frees it), or null with the exception pending.
char* GetClassName(JNIEnv* env, jobject obj);

// Hands a NUL-terminated text to Java as byte[] plus LongRef under the
// two-phase convention; returns the CK_RV object, or null with an exception
// pending. A too-short length answers CKR_DATA_LEN_RANGE.
jobject ReturnLongStringToJava(JNIEnv* env, const char* text, jbyteArray bytes, jobject lengthRef);

// ---- bytes and text -----------------------------------------------------------

// Private copy of a byte[]; outputs stay 0 for a null or empty array, on an
// exception (left pending) and on a failed allocation (silent).
void jByteArrayToCKByteArray(JNIEnv* env, jbyteArray array, CK_BYTE_PTR* pointer, CK_ULONG* length);
// strdup of the modified UTF-8 of a String; outputs 0 for null, on an
// exception (left pending) and on a failed strdup (silent).
void jStringToCKCharArray(JNIEnv* env, jstring string, CK_CHAR_PTR* pointer, CK_ULONG* length);
// New byte[] of the low 32 bits of length; null for a null pointer (no
// exception) or with an exception pending.
jbyteArray ckByteArrayToJByteArray(JNIEnv* env, const CK_BYTE* pointer, CK_ULONG length);
// Writes min(length, array length) bytes into an existing byte[]; silent on
// a null source or array. Reports nothing.
void CopyCKByteArrayToJByteArray(JNIEnv* env, const CK_BYTE* source, CK_ULONG length, jbyteArray array);
// As above for long[] from CK_ULONGs.
void CopyCKULongArrayToJLongArray(JNIEnv* env, const CK_ULONG* source, CK_ULONG count, jlongArray array);

#endif
