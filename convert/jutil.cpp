// jutil: field accessors, the run-time class name, and the byte and text
// moves that every frame needs. Memory handed out here comes from calloc or
// strdup and belongs to the caller, who frees it with free.
#include "morlin/jutil.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "morlin/wrappers.h"

namespace {

// GetFieldID guarded as every accessor needs it: null when cls or obj is
// null (no JNI call at all) or when the lookup left an exception pending.
jfieldID FieldOf(JNIEnv* env, jclass cls, jobject obj, const jn::Field& field) {
    if (cls == nullptr || obj == nullptr) return nullptr;
    jfieldID id = env->GetFieldID(cls, field.name, field.sig);
    if (env->ExceptionCheck()) return nullptr;
    return id;
}

// The answer after a store that nothing checked: null if the store left an
// exception pending, without making the CK_RV object while it is pending.
jobject Answer(JNIEnv* env, CK_RV rv) { return env->ExceptionCheck() ? nullptr : ckRVToJRV(env, rv); }

}  // namespace

jlong GetIntField(JNIEnv* env, jclass cls, jobject obj, const jn::IntField& field) {
    jfieldID id = FieldOf(env, cls, obj, field);
    return id ? static_cast<jlong>(env->GetIntField(obj, id)) : -1;
}

int GetBoolField(JNIEnv* env, jclass cls, jobject obj, const jn::BooleanField& field) {
    jfieldID id = FieldOf(env, cls, obj, field);
    return id ? static_cast<int>(env->GetBooleanField(obj, id)) : -1;
}

void SetIntField(JNIEnv* env, jclass cls, jobject obj, const jn::IntField& field, jlong value) {
    if (jfieldID id = FieldOf(env, cls, obj, field)) env->SetIntField(obj, id, static_cast<jint>(value));
}

jlong GetLongField(JNIEnv* env, jclass cls, jobject obj, const jn::LongField& field) {
    jfieldID id = FieldOf(env, cls, obj, field);
    return id ? env->GetLongField(obj, id) : -1;
}

void SetLongField(JNIEnv* env, jclass cls, jobject obj, const jn::LongField& field, jlong value) {
    if (jfieldID id = FieldOf(env, cls, obj, field)) env->SetLongField(obj, id, value);
}

jbyteArray GetByteArrayField(JNIEnv* env, jclass cls, jobject obj, const jn::BytesField& field) {
    jfieldID id = FieldOf(env, cls, obj, field);
    return id ? static_cast<jbyteArray>(env->GetObjectField(obj, id)) : nullptr;
}

jobject GetObjectArrayField(JNIEnv* env, jclass cls, jobject obj, const jn::ObjectField& field) {
    jfieldID id = FieldOf(env, cls, obj, field);
    return id ? env->GetObjectField(obj, id) : nullptr;
}

char* GetClassName(JNIEnv* env, jobject obj) {
    // Both classes are looked up before the one check, as a batch.
    jclass objectClass = env->FindClass(jn::kObject.path);
    jclass classClass = env->FindClass(jn::kClassClass.path);
    if (env->ExceptionCheck()) return nullptr;
    jmethodID getClass = env->GetMethodID(objectClass, jn::kObjectGetClass.name, jn::kObjectGetClass.sig);
    if (env->ExceptionCheck()) return nullptr;
    jobject cls = env->CallObjectMethod(obj, getClass);
    if (env->ExceptionCheck()) return nullptr;
    jmethodID getName = env->GetMethodID(classClass, jn::kClassGetName.name, jn::kClassGetName.sig);
    if (env->ExceptionCheck()) return nullptr;
    jobject name = env->CallObjectMethod(cls, getName);
    if (env->ExceptionCheck()) return nullptr;
    CK_CHAR_PTR text = nullptr;
    CK_ULONG length = 0;
    jStringToCKCharArray(env, static_cast<jstring>(name), &text, &length);
    if (env->ExceptionCheck()) {
        free(text);
        return nullptr;
    }
    return reinterpret_cast<char*>(text);
}

void ThrowUnsupportedFor(JNIEnv* env, jobject obj, const char* format, size_t limit) {
    jclass unsupported = env->FindClass(jn::kUnsupportedOperation.path);
    if (env->ExceptionCheck()) return;
    char* name = GetClassName(env, obj);
    if (env->ExceptionCheck()) return;
    char message[1024];
    snprintf(message, std::min(limit, sizeof message), format, name);
    free(name);
    env->ThrowNew(unsupported, message);
}

jobject ReturnLongStringToJava(JNIEnv* env, const char* text, jbyteArray bytes, jobject lengthRef) {
    jclass longRef = env->FindClass(jn::kLongRef.path);
    const CK_ULONG length = strlen(text);
    if (env->ExceptionCheck()) return nullptr;
    if (lengthRef == nullptr) return ckRVToJRV(env, CKR_ARGUMENTS_BAD);
    if (bytes == nullptr) {
        SetLongField(env, longRef, lengthRef, jn::kLongRefValue, static_cast<jlong>(length));
        return Answer(env, CKR_OK);
    }
    jfieldID valueId = env->GetFieldID(longRef, jn::kLongRefValue.name, jn::kLongRefValue.sig);
    if (env->ExceptionCheck()) return nullptr;
    const CK_ULONG room = static_cast<CK_ULONG>(env->GetLongField(lengthRef, valueId));
    if (env->ExceptionCheck()) return nullptr;
    // Unsigned comparison: a negative value counts as plenty of room. The
    // answer for too little room is CKR_DATA_LEN_RANGE, not the
    // CKR_BUFFER_TOO_SMALL that the token library's two-phase calls give.
    if (length > room) {
        SetLongField(env, longRef, lengthRef, jn::kLongRefValue, static_cast<jlong>(length));
        return Answer(env, CKR_DATA_LEN_RANGE);
    }
    CopyCKByteArrayToJByteArray(env, reinterpret_cast<const CK_BYTE*>(text), length, bytes);
    if (env->ExceptionCheck()) return nullptr;
    SetLongField(env, longRef, lengthRef, jn::kLongRefValue, static_cast<jlong>(length));
    return Answer(env, CKR_OK);
}

void jByteArrayToCKByteArray(JNIEnv* env, jbyteArray array, CK_BYTE_PTR* pointer, CK_ULONG* length) {
    if (pointer == nullptr || length == nullptr) return;
    *pointer = nullptr;
    *length = 0;
    if (array == nullptr) return;
    const jsize count = env->GetArrayLength(array);
    if (env->ExceptionCheck() || count == 0) return;
    auto* buffer = static_cast<CK_BYTE_PTR>(calloc(static_cast<size_t>(count), 1));
    if (buffer == nullptr) return;
    env->GetByteArrayRegion(array, 0, count, reinterpret_cast<jbyte*>(buffer));
    if (env->ExceptionCheck()) {
        free(buffer);
        return;
    }
    *pointer = buffer;
    *length = static_cast<CK_ULONG>(count);
}

void jStringToCKCharArray(JNIEnv* env, jstring string, CK_CHAR_PTR* pointer, CK_ULONG* length) {
    *pointer = nullptr;
    *length = 0;
    if (string == nullptr) return;
    const char* utf = env->GetStringUTFChars(string, nullptr);
    if (env->ExceptionCheck()) return;
    if (utf != nullptr) {
        if (char* copy = strdup(utf)) {
            *pointer = reinterpret_cast<CK_CHAR_PTR>(copy);
            *length = strlen(copy);
        }
    }
    env->ReleaseStringUTFChars(string, utf);
}

jbyteArray ckByteArrayToJByteArray(JNIEnv* env, const CK_BYTE* pointer, CK_ULONG length) {
    if (pointer == nullptr) return nullptr;
    const auto count = static_cast<jsize>(length);  // the low 32 bits
    jbyteArray array = env->NewByteArray(count);
    if (env->ExceptionCheck()) return nullptr;
    env->SetByteArrayRegion(array, 0, count, reinterpret_cast<const jbyte*>(pointer));
    return array;
}

namespace {

// The in-place copy shared by byte[] and long[]: at most as many elements as
// both the source count and the array hold, released with mode 0 so that the
// JVM writes a copy back. Element sizes match (jbyte/CK_BYTE, jlong/CK_ULONG),
// so the element-by-element copy is one memcpy.
template <typename JArray, typename JElem, typename CkElem>
void CopyIntoArray(JNIEnv* env, const CkElem* source, CK_ULONG count, JArray array,
                   JElem* (JNIEnv::*get)(JArray, jboolean*), void (JNIEnv::*release)(JArray, JElem*, jint)) {
    static_assert(sizeof(JElem) == sizeof(CkElem), "element widths must match");
    if (array == nullptr || source == nullptr) return;
    const jsize size = env->GetArrayLength(array);
    if (env->ExceptionCheck()) return;
    JElem* elements = (env->*get)(array, nullptr);
    if (env->ExceptionCheck()) return;
    const CK_ULONG n = std::min<CK_ULONG>(count, static_cast<CK_ULONG>(size));
    if (n > 0) memcpy(elements, source, n * sizeof(JElem));
    (env->*release)(array, elements, 0);
}

}  // namespace

void CopyCKByteArrayToJByteArray(JNIEnv* env, const CK_BYTE* source, CK_ULONG length, jbyteArray array) {
    CopyIntoArray(env, source, length, array, &JNIEnv::GetByteArrayElements, &JNIEnv::ReleaseByteArrayElements);
}

void CopyCKULongArrayToJLongArray(JNIEnv* env, const CK_ULONG* source, CK_ULONG count, jlongArray array) {
    CopyIntoArray(env, source, count, array, &JNIEnv::GetLongArrayElements, &JNIEnv::ReleaseLongArrayElements);
}
