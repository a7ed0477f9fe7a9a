// Plain values both ways: scalar and wrapper arrays, boxed values, CK_DATE.
// Memory handed out here comes from calloc or malloc and belongs to the
// caller. The families differ only in element type, class and a check or
// two, so each family is one template and its members are one-line rows.
#include "morlin/values.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "morlin/jutil.h"
#include "morlin/wrappers.h"

namespace {

// ---- arrays from Java ------------------------------------------------------------

CK_ULONG LongToULong(jlong v) { return static_cast<CK_ULONG>(v); }
CK_BBOOL BooleanToBBool(jboolean v) { return v == 1 ? CK_TRUE : CK_FALSE; }
CK_CHAR CharToChar(jchar v) { return static_cast<CK_CHAR>(v & 0xFF); }

// The region is read into a temporary of Java elements, then converted into
// the output one by one. Neither allocation is tested; an empty array gets a
// non-null pointer from calloc(0, ...).
template <typename JArray, typename JElem, typename CkElem, void (JNIEnv::*Region)(JArray, jsize, jsize, JElem*),
          CkElem (*Convert)(JElem)>
void JArrayThroughTemporary(JNIEnv* env, JArray array, CkElem** pointer, CK_ULONG* length) {
    if (array == nullptr) {
        *pointer = nullptr;
        *length = 0;
        return;
    }
    const jsize count = env->GetArrayLength(array);
    *length = static_cast<CK_ULONG>(count);
    if (env->ExceptionCheck()) return;
    auto* temporary = static_cast<JElem*>(calloc(static_cast<size_t>(count), sizeof(JElem)));
    (env->*Region)(array, 0, count, temporary);
    if (!env->ExceptionCheck()) {
        auto* out = static_cast<CkElem*>(calloc(static_cast<size_t>(count), sizeof(CkElem)));
        *pointer = out;
        for (jsize i = 0; i < count; ++i) out[i] = Convert(temporary[i]);
    }
    free(temporary);
}

// Each element through its wrapper conversion. The array is handed out
// before the first element is read, so after an exception the caller frees
// it; the length then still counts elements, and becomes bytes only at the end.
template <CK_ULONG (*Convert)(JNIEnv*, jobject)>
void JWrapperArrayToCK(JNIEnv* env, jobjectArray array, CK_ULONG_PTR* pointer, CK_ULONG* length) {
    if (array == nullptr) {
        *pointer = nullptr;
        *length = 0;
        return;
    }
    const jsize count = env->GetArrayLength(array);
    if (env->ExceptionCheck()) return;
    *length = static_cast<CK_ULONG>(count);
    auto* out = static_cast<CK_ULONG_PTR>(calloc(static_cast<size_t>(count), sizeof(CK_ULONG)));
    *pointer = out;
    for (jsize i = 0; i < count; ++i) {
        jobject element = env->GetObjectArrayElement(array, i);
        if (env->ExceptionCheck()) return;
        out[i] = Convert(env, element);
        if (env->ExceptionCheck()) return;
    }
    *length *= sizeof(CK_ULONG);
}

// ---- boxed values ------------------------------------------------------------------

CK_ULONG IntToULong(jint v) { return static_cast<CK_ULONG>(static_cast<std::uint32_t>(v)); }
CK_BYTE ByteToByte(jbyte v) { return static_cast<CK_BYTE>(v); }

// FindClass, GetMethodID, the unboxing call, each checked; then a fresh
// one-element buffer. Only the Long conversion tests its allocation.
template <typename JT, typename CkT, CkT (*Convert)(JT), bool TestsAllocation>
CkT* BoxedToCK(JNIEnv* env, jobject object, const jn::Method& unbox, JT (JNIEnv::*call)(jobject, jmethodID, ...)) {
    jclass cls = env->FindClass(unbox.cls);
    if (env->ExceptionCheck()) return nullptr;
    jmethodID method = env->GetMethodID(cls, unbox.name, unbox.sig);
    if (env->ExceptionCheck()) return nullptr;
    const JT value = (env->*call)(object, method);
    if (env->ExceptionCheck()) return nullptr;
    auto* buffer = static_cast<CkT*>(malloc(sizeof(CkT)));
    if constexpr (TestsAllocation) {
        if (buffer == nullptr) return nullptr;
    }
    *buffer = Convert(value);
    return buffer;
}

// ---- in-place copies into wrapper arrays ------------------------------------------

void StoreMValue(JNIEnv* env, jclass cls, jobject element, CK_ULONG value) {
    SetLongField(env, cls, element, jn::kObjectHandleValue, static_cast<jlong>(value));
}
void StoreSetValue(JNIEnv* env, jclass cls, jobject element, CK_ULONG value) {
    setLongValue(env, cls, element, static_cast<jlong>(value));
}

struct WrapperArrayCopy {
    const jn::Class& elementClass;
    const jn::Class& arrayClass;
    bool arrayClassFirst;  // the order of the two lookups
    bool checksElements;   // IsInstanceOf on each element, stopping at another class
    void (*store)(JNIEnv*, jclass, jobject, CK_ULONG);
};

// A null element passes IsInstanceOf; SetLongField then ignores it, while a
// setValue call on it reaches the JVM with a null receiver.
void CopyIntoWrappers(JNIEnv* env, const WrapperArrayCopy& how, const CK_ULONG* source, CK_ULONG count,
                      jobjectArray array) {
    jclass cls = nullptr;
    jclass arrayCls = nullptr;
    if (how.arrayClassFirst) {
        arrayCls = env->FindClass(how.arrayClass.path);
        cls = env->FindClass(how.elementClass.path);
    } else {
        cls = env->FindClass(how.elementClass.path);
        arrayCls = env->FindClass(how.arrayClass.path);
    }
    if (env->ExceptionCheck() || source == nullptr || array == nullptr) return;
    const jboolean isArray = env->IsInstanceOf(array, arrayCls);
    if (env->ExceptionCheck() || !isArray) return;
    const jsize size = env->GetArrayLength(array);
    if (env->ExceptionCheck()) return;
    const CK_ULONG n = std::min<CK_ULONG>(count, static_cast<CK_ULONG>(size));
    for (CK_ULONG i = 0; i < n; ++i) {
        jobject element = env->GetObjectArrayElement(array, static_cast<jsize>(i));
        if (env->ExceptionCheck()) return;
        if (how.checksElements) {
            const jboolean isElement = env->IsInstanceOf(element, cls);
            if (env->ExceptionCheck() || !isElement) return;
        }
        how.store(env, cls, element, source[i]);
        if (env->ExceptionCheck()) return;
    }
}

}  // namespace

// ---- arrays from Java ------------------------------------------------------------

void jLongArrayToCKULongArray(JNIEnv* env, jlongArray array, CK_ULONG_PTR* pointer, CK_ULONG* length) {
    JArrayThroughTemporary<jlongArray, jlong, CK_ULONG, &JNIEnv::GetLongArrayRegion, LongToULong>(env, array, pointer,
                                                                                                  length);
}

void jBooleanArrayToCKBBoolArray(JNIEnv* env, jbooleanArray array, CK_BBOOL** pointer, CK_ULONG* length) {
    JArrayThroughTemporary<jbooleanArray, jboolean, CK_BBOOL, &JNIEnv::GetBooleanArrayRegion, BooleanToBBool>(
        env, array, pointer, length);
}

void jCharArrayToCKCharArray(JNIEnv* env, jcharArray array, CK_CHAR_PTR* pointer, CK_ULONG* length) {
    JArrayThroughTemporary<jcharArray, jchar, CK_CHAR, &JNIEnv::GetCharArrayRegion, CharToChar>(env, array, pointer,
                                                                                                length);
}

void jObjectHandleArrayToCKObjectHandleArray(JNIEnv* env, jobjectArray array, CK_OBJECT_HANDLE_PTR* pointer,
                                             CK_ULONG* length) {
    JWrapperArrayToCK<jObjectHandleToCKObjectHandle>(env, array, pointer, length);
}

void jMechanismTypeArrayToCKMechanismTypeArray(JNIEnv* env, jobjectArray array, CK_MECHANISM_TYPE_PTR* pointer,
                                               CK_ULONG* length) {
    JWrapperArrayToCK<jMechanismTypeToCKMechanismType>(env, array, pointer, length);
}

// ---- boxed values ------------------------------------------------------------------

CK_ULONG_PTR jLongObjectToCKULongPtr(JNIEnv* env, jobject object) {
    return BoxedToCK<jlong, CK_ULONG, LongToULong, true>(env, object, jn::kLongValue, &JNIEnv::CallLongMethod);
}

CK_ULONG_PTR jIntegerObjectToCKULongPtr(JNIEnv* env, jobject object) {
    return BoxedToCK<jint, CK_ULONG, IntToULong, false>(env, object, jn::kIntegerValue, &JNIEnv::CallIntMethod);
}

CK_CHAR_PTR jCharObjectToCKCharPtr(JNIEnv* env, jobject object) {
    return BoxedToCK<jchar, CK_CHAR, CharToChar, false>(env, object, jn::kCharValue, &JNIEnv::CallCharMethod);
}

CK_BYTE_PTR jByteObjectToCKBytePtr(JNIEnv* env, jobject object) {
    return BoxedToCK<jbyte, CK_BYTE, ByteToByte, false>(env, object, jn::kByteValue, &JNIEnv::CallByteMethod);
}

CK_BBOOL* jBooleanObjectToCKBBoolPtr(JNIEnv* env, jobject object) {
    return BoxedToCK<jboolean, CK_BBOOL, BooleanToBBool, false>(env, object, jn::kBooleanValue,
                                                                &JNIEnv::CallBooleanMethod);
}

// ---- CK_DATE ---------------------------------------------------------------------

CK_DATE* jDateObjectToCKDatePtr(JNIEnv* env, jobject object) {
    jclass cls = env->FindClass(jn::kDate.path);
    if (env->ExceptionCheck()) return nullptr;
    const jboolean isDate = env->IsInstanceOf(object, cls);
    if (env->ExceptionCheck() || !isDate) return nullptr;
    auto* date = static_cast<CK_DATE*>(malloc(sizeof(CK_DATE)));
    auto* base = reinterpret_cast<CK_BYTE_PTR>(date);
    // A null or short field leaves its bytes as malloc left them.
    for (const DateField& f : kDateCopyLayout) {
        jbyteArray field = GetByteArrayField(env, cls, object, f.field);
        CopyJByteArrayToCKByteArray(env, field, base + f.offset, f.length);
        if (env->ExceptionCheck()) {
            free(date);
            return nullptr;
        }
    }
    return date;
}

jobject ckDatePtrToJDateObject(JNIEnv* env, const CK_DATE* date) {
    jclass cls = env->FindClass(jn::kDate.path);
    if (env->ExceptionCheck() || date == nullptr) return nullptr;
    jobject object = env->AllocObject(cls);
    if (env->ExceptionCheck()) return nullptr;
    const auto* base = reinterpret_cast<const CK_BYTE*>(date);
    for (size_t i = 0; i < std::size(kDateLayout); ++i) {
        const DateField& f = kDateLayout[i];
        jfieldID id = env->GetFieldID(cls, f.field.name, f.field.sig);
        if (env->ExceptionCheck()) return nullptr;
        jbyteArray field = ckByteArrayToJByteArray(env, base + f.offset, f.length);
        if (env->ExceptionCheck()) return nullptr;
        env->SetObjectField(object, id, field);
        // The very last store goes unchecked: the caller's check sees it.
        if (i + 1 < std::size(kDateLayout) && env->ExceptionCheck()) return nullptr;
    }
    return object;
}

void CopyCKDateToJDate(JNIEnv* env, const CK_DATE* date, jobject object) {
    jclass cls = env->FindClass(jn::kDate.path);
    if (env->ExceptionCheck() || date == nullptr || object == nullptr) return;
    const jboolean isDate = env->IsInstanceOf(object, cls);
    if (env->ExceptionCheck() || !isDate) return;
    const auto* base = reinterpret_cast<const CK_BYTE*>(date);
    for (const DateField& f : kDateCopyLayout) {
        // A null field array is passed over by the copy.
        jbyteArray field = GetByteArrayField(env, cls, object, f.field);
        CopyCKByteArrayToJByteArray(env, base + f.offset, f.length, field);
        if (env->ExceptionCheck()) return;
    }
}

// ---- values to Java --------------------------------------------------------------

jlongArray ckULongArrayToJLongArray(JNIEnv* env, const CK_ULONG* pointer, CK_ULONG count) {
    if (pointer == nullptr) return nullptr;
    auto* temporary = static_cast<jlong*>(calloc(count, sizeof(jlong)));
    if (count > 0) memcpy(temporary, pointer, count * sizeof(jlong));
    const auto size = static_cast<jsize>(count);
    jlongArray array = env->NewLongArray(size);
    if (!env->ExceptionCheck()) env->SetLongArrayRegion(array, 0, size, temporary);
    free(temporary);
    return env->ExceptionCheck() ? nullptr : array;
}

jobject ckULongPtrToJLongObject(JNIEnv* env, const CK_ULONG* pointer) {
    jclass cls = env->FindClass(jn::kLong.path);
    const auto value = static_cast<jlong>(*pointer);
    if (env->ExceptionCheck()) return nullptr;
    jmethodID constructor = env->GetMethodID(cls, jn::kLongInit.name, jn::kLongInit.sig);
    if (env->ExceptionCheck()) return nullptr;
    jobject object = env->NewObject(cls, constructor, value);
    return env->ExceptionCheck() ? nullptr : object;
}

jobjectArray ckObjHandleArrayToJObjHandleArray(JNIEnv* env, const CK_OBJECT_HANDLE* pointer, CK_ULONG count) {
    return NewObjectArrayOf(env, WrapperClassPath(Wrapper::ObjectHandle), pointer, count, false,
                            ckObjectHandleToJObjectHandle);
}

jobjectArray ckMechanismTypeArrayToJMechanismTypeArray(JNIEnv* env, const CK_MECHANISM_TYPE* pointer, CK_ULONG count) {
    return NewObjectArrayOf(env, WrapperClassPath(Wrapper::MechanismType), pointer, count, true,
                            ckMechanismTypeToJMechanismType);
}

// ---- in-place copies ---------------------------------------------------------------

void CopyCKULongArrayToJObjectHandleArray(JNIEnv* env, const CK_ULONG* source, CK_ULONG count, jobjectArray array) {
    static constexpr WrapperArrayCopy kHow{jn::kObjectHandle, jn::kObjectHandleArray, false, true, StoreMValue};
    CopyIntoWrappers(env, kHow, source, count, array);
}

void CopyCKULongArrayToJMechanismTypeArray(JNIEnv* env, const CK_ULONG* source, CK_ULONG count, jobjectArray array) {
    static constexpr WrapperArrayCopy kHow{jn::kMechanismType, jn::kMechanismTypeArray, false, true, StoreSetValue};
    CopyIntoWrappers(env, kHow, source, count, array);
}

void CopyCKMechanismTypeArrayToJMechanismTypeArray(JNIEnv* env, const CK_MECHANISM_TYPE* source, CK_ULONG count,
                                                   jobjectArray array) {
    static constexpr WrapperArrayCopy kHow{jn::kMechanismType, jn::kMechanismTypeArray, true, false, StoreSetValue};
    CopyIntoWrappers(env, kHow, source, count, array);
}

void CopyJByteArrayToCKByteArray(JNIEnv* env, jbyteArray array, CK_BYTE_PTR target, CK_ULONG maximum) {
    if (array == nullptr || target == nullptr) return;
    const jsize size = env->GetArrayLength(array);
    if (env->ExceptionCheck()) return;
    jbyte* elements = env->GetByteArrayElements(array, nullptr);
    if (env->ExceptionCheck()) return;
    const CK_ULONG n = std::min<CK_ULONG>(maximum, static_cast<CK_ULONG>(size));
    if (n > 0) memcpy(target, elements, n);
    // Nothing was changed, so nothing is written back.
    env->ReleaseByteArrayElements(array, elements, JNI_ABORT);
}

// Every class that is updated in place declares the same setValue "(J)V";
// the method is looked up on the class the caller resolved.
void setLongValue(JNIEnv* env, jclass cls, jobject object, jlong value) {
    jmethodID setValue = env->GetMethodID(cls, jn::kStateSetValue.name, jn::kStateSetValue.sig);
    if (env->ExceptionCheck()) return;
    env->CallVoidMethod(object, setValue, value);
}
