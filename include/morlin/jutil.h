// jutil: field accessors and the small helpers that every native and
// conversion of libmorlin.so builds on, with the argument kinds of the frames
// that move bytes and lengths (see frames.h).
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

#include <cstdlib>
#include <tuple>
#include <type_traits>

#include "cryptoki.h"
#include "morlin/javaNames.h"
#include "morlin/names/core.h"

// ---- field accessors --------------------------------------------------------
// Each returns its failure value at once, with no JNI call, when cls or obj is
// null; otherwise GetFieldID with the field's name and signature,
// ExceptionCheck, then the get or set.

// The jint sign-extended to 64 bits; -1 on failure.
jlong GetIntField(JNIEnv* env, jclass cls, jobject obj, const jn::IntField& field);
// The jboolean as an int; -1 on failure.
int GetBoolField(JNIEnv* env, jclass cls, jobject obj, const jn::BooleanField& field);
// Stores the low 32 bits of value; does nothing on failure.
void SetIntField(JNIEnv* env, jclass cls, jobject obj, const jn::IntField& field, jlong value);
// The jlong; -1 on failure.
jlong GetLongField(JNIEnv* env, jclass cls, jobject obj, const jn::LongField& field);
// Does nothing on failure.
void SetLongField(JNIEnv* env, jclass cls, jobject obj, const jn::LongField& field, jlong value);
// The byte[] held by the field; null on failure.
jbyteArray GetByteArrayField(JNIEnv* env, jclass cls, jobject obj, const jn::BytesField& field);
// The object held by a field of any reference signature; null on failure.
jobject GetObjectArrayField(JNIEnv* env, jclass cls, jobject obj, const jn::ObjectField& field);

// Run-time class name of obj in the dotted form of Class.getName, from strdup
// (the caller frees it), or null with the exception pending.
char* GetClassName(JNIEnv* env, jobject obj);

// Raises java.lang.UnsupportedOperationException with format's one %s
// filled by obj's dotted class name, the message cut to limit - 1 (at most
// 1023) characters. A failure on the way leaves its own exception pending
// instead.
void ThrowUnsupportedFor(JNIEnv* env, jobject obj, const char* format, size_t limit = 256);

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

// ---- new object arrays -----------------------------------------------------------

// A new array of class path with count elements (its low 32 bits), element
// i made by make(env, source[i]). Null for a null source, for a count of 0
// where nullWhenEmpty says so, and at the first failure.
template <class E, class Make>
jobjectArray NewObjectArrayOf(JNIEnv* env, const char* path, const E* source, CK_ULONG count, bool nullWhenEmpty,
                              Make make) {
    jclass cls = env->FindClass(path);
    if (env->ExceptionCheck() || source == nullptr) return nullptr;
    if (nullWhenEmpty && count == 0) return nullptr;
    const auto size = static_cast<jsize>(count);
    jobjectArray array = env->NewObjectArray(size, cls, nullptr);
    if (env->ExceptionCheck()) return nullptr;
    for (jsize i = 0; i < size; ++i) {
        jobject element = make(env, source[i]);
        if (env->ExceptionCheck()) return nullptr;
        env->SetObjectArrayElement(array, i, element);
        if (env->ExceptionCheck()) return nullptr;
    }
    return array;
}

// ---- argument kinds of the frames ------------------------------------------------
namespace frame {

// A byte[] as a private copy; the token library gets the Java count that
// travels beside it, never the measured length.
struct Bytes {
    jbyteArray array;
    CK_BYTE_PTR copy = nullptr;

    bool convert(JNIEnv* env) {
        CK_ULONG measured = 0;
        jByteArrayToCKByteArray(env, array, &copy, &measured);
        return !env->ExceptionCheck();
    }
    std::tuple<CK_BYTE_PTR> args() const { return {copy}; }
    void release(JNIEnv*) { free(copy); }
};

// A byte[] with its Java count, refused when the count is above 0 and the
// array null; a null array with a count of 0 or below goes on as null.
struct CountedBytes {
    jbyteArray array;
    jlong count;
    Bytes bytes{array};

    bool check() const { return !(count > 0 && array == nullptr); }
    bool convert(JNIEnv* env) { return bytes.convert(env); }
    std::tuple<CK_BYTE_PTR, CK_ULONG> args() const { return {bytes.copy, static_cast<CK_ULONG>(count)}; }
    void release(JNIEnv* env) { bytes.release(env); }
};

// A value that the token library writes into a local, stored in a long field
// of the caller's object only on CKR_OK: a new handle, a slot, a size. The
// field's class is resolved before the checks; a target that is not
// required goes unwritten when null.
struct OutLong {
    const jn::LongField& field;
    jobject target;
    bool required = true;
    jclass cls = nullptr;
    CK_ULONG value = 0;

    bool prepare(JNIEnv* env) {
        cls = env->FindClass(field.cls);
        return !env->ExceptionCheck();
    }
    bool check() const { return !required || target != nullptr; }
    std::tuple<CK_ULONG_PTR> args() { return {&value}; }
    void writeBack(JNIEnv* env, CK_RV rv) {
        if (rv == CKR_OK) SetLongField(env, cls, target, field, static_cast<jlong>(value));
    }
};

// The element and array types of an in-place copy into Java.
template <class F>
struct CopyInto;
template <class E, class A>
struct CopyInto<void (*)(JNIEnv*, const E*, CK_ULONG, A)> {
    using Elem = E;
    using JArray = A;
};

// Two-phase output: a Java array that may be null (the PKCS#11 size query)
// and a LongRef that may not. After the inputs, value is read into a local
// length, and a buffer of that many elements is allocated only for a
// non-null array (calloc, or malloc where UseMalloc says so). After the call
// the local goes back into value whatever the answer; only on CKR_OK is the
// buffer copied, at most as many elements as the array holds. The buffer is
// freed after every input.
template <auto Copy, bool UseMalloc = false>
struct TwoPhase {
    using Elem = typename CopyInto<decltype(Copy)>::Elem;
    using JArray = typename CopyInto<decltype(Copy)>::JArray;

    JArray array;
    jobject lengthRef;
    jclass cls = nullptr;
    CK_ULONG length = 0;
    Elem* buffer = nullptr;

    bool prepare(JNIEnv* env) {
        cls = env->FindClass(jn::kLongRef.path);
        return !env->ExceptionCheck();
    }
    bool check() const { return lengthRef != nullptr; }
    bool convert(JNIEnv* env) {
        length = static_cast<CK_ULONG>(GetLongField(env, cls, lengthRef, jn::kLongRefValue));
        if (env->ExceptionCheck()) return false;
        if (array != nullptr)
            buffer = static_cast<Elem*>(UseMalloc ? malloc(length * sizeof(Elem)) : calloc(length, sizeof(Elem)));
        return true;
    }
    std::tuple<Elem*, CK_ULONG_PTR> args() { return {buffer, &length}; }
    void writeBack(JNIEnv* env, CK_RV rv) {
        SetLongField(env, cls, lengthRef, jn::kLongRefValue, static_cast<jlong>(length));
        if (!env->ExceptionCheck() && rv == CKR_OK) Copy(env, buffer, length, array);
    }
    void release(JNIEnv*) { free(buffer); }
};

}  // namespace frame

#endif
