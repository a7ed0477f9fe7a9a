// jutil: field accessors, the run-time class name, and the byte and text
// moves that every frame needs. Memory handed out here comes from calloc or
// strdup and belongs to the caller, who frees it with free.
#include "morlin/jutil.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "morlin/java_names.h"
#include "morlin/wrappers.h"

namespace {

// GetFieldID guarded as every accessor needs it: null when cls or obj is
// null (no JNI call at all) or when the lookup left an exception pending.
jfieldID FieldOf(JNIEnv* env, jclass cls, jobject obj, const char* name, const char* sig) {
    if (cls == nullptr || obj == nullptr) return nullptr;
    jfieldID id = env->GetFieldID(cls, name, sig);
    if (env->ExceptionCheck()) return nullptr;
    return id;
}

}  // namespace

jlong GetIntField(JNIEnv* env, jclass cls, jobject obj, const char* name) {
    jfieldID id = FieldOf(env, cls, obj, name, "I");
    return id ? static_cast<jlong>(env->GetIntField(obj, id)) : -1;
}

int GetBoolField(JNIEnv* env, jclass cls, jobject obj, const char* name) {
    jfieldID id = FieldOf(env, cls, obj, name, "Z");
    return id ? static_cast<int>(env->GetBooleanField(obj, id)) : -1;
}

void SetIntField(JNIEnv* env, jclass cls, jobject obj, const char* name, jlong value) {
    if (jfieldID id = FieldOf(env, cls, obj, name, "I")) env->SetIntField(obj, id, static_cast<jint>(value));
}

jlong GetLongField(JNIEnv* env, jclass cls, jobject obj, const char* name) {
    jfieldID id = FieldOf(env, cls, obj, name, "J");
    return id ? env->GetLongField(obj, id) : -1;
}

void SetLongField(JNIEnv* env, jclass cls, jobject obj, const char* name, jlong value) {
    if (jfieldID id = FieldOf(env, cls, obj, name, "J")) env->SetLongField(obj, id, value);
}

jbyteArray GetByteArrayField(JNIEnv* env, jclass cls, jobject obj, const char* name) {
    jfieldID id = FieldOf(env, cls, obj, name, "[B");
    return id ? static_cast<jbyteArray>(env->GetObjectField(obj, id)) : nullptr;
}

jobject GetObjectArrayField(JNIEnv* env, jclass cls, jobject obj, const char* name, const char* signature) {
    jfieldID id = FieldOf(env, cls, obj, name, signature);
    return id ? env->GetObjectField(obj, id) : nullptr;
}

char* GetClassName(JNIEnv* env, jobject obj) {
    // Both classes are looked up before the one check, as a batch.
    jclass objectClass = env->FindClass(jn::kObject);
    jclass classClass = env->FindClass(jn::kClass);
    if (env->ExceptionCheck()) return nullptr;
    jmethodID getClass = env->GetMethodID(objectClass, jn::kGetClass, jn::kGetClassSig);
    if (env->ExceptionCheck()) return nullptr;
    jobject cls = env->CallObjectMethod(obj, getClass);
    if (env->ExceptionCheck()) return nullptr;
    jmethodID getName = env->GetMethodID(classClass, jn::kGetName, jn::kGetNameSig);
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

jobject ReturnLongStringToJava(JNIEnv* env, const char* text, jbyteArray bytes, jobject lengthRef) {
    jclass longRef = env->FindClass(jn::kLongRef);
    const CK_ULONG length = strlen(text);
    if (env->ExceptionCheck()) return nullptr;
    if (lengthRef == nullptr) return ckRVToJRV(env, CKR_ARGUMENTS_BAD);
    if (bytes == nullptr) {
        SetLongField(env, longRef, lengthRef, jn::kLongRefValue.name, static_cast<jlong>(length));
        return ckRVToJRV(env, CKR_OK);
    }
    jfieldID valueId = env->GetFieldID(longRef, jn::kLongRefValue.name, jn::kLongRefValue.sig);
    if (env->ExceptionCheck()) return nullptr;
    const CK_ULONG room = static_cast<CK_ULONG>(env->GetLongField(lengthRef, valueId));
    if (env->ExceptionCheck()) return nullptr;
    // Unsigned comparison: a negative value counts as plenty of room. The
    // answer for too little room is CKR_DATA_LEN_RANGE, not the
    // CKR_BUFFER_TOO_SMALL that the token library's two-phase calls give.
    if (length > room) {
        SetLongField(env, longRef, lengthRef, jn::kLongRefValue.name, static_cast<jlong>(length));
        return ckRVToJRV(env, CKR_DATA_LEN_RANGE);
    }
    CopyCKByteArrayToJByteArray(env, reinterpret_cast<const CK_BYTE*>(text), length, bytes);
    if (env->ExceptionCheck()) return nullptr;
    SetLongField(env, longRef, lengthRef, jn::kLongRefValue.name, static_cast<jlong>(length));
    return ckRVToJRV(env, CKR_OK);
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
