// CK_ATTRIBUTE templates from Java. The value's class decides its
// conversion through one table, walked in a fixed order; every value block
// belongs to the template, which freeCKAttributeArray gives back.
#include <cstdlib>
#include <iterator>
#include <type_traits>

#include "morlin/attributes.h"
#include "morlin/jutil.h"
#include "morlin/names/attributes.h"
#include "morlin/values.h"
#include "morlin/wrappers.h"
#include "morlin_util.h"

namespace {

using Convert = void (*)(JNIEnv*, jobject, CK_VOID_PTR*, CK_ULONG*);

// ---- the conversions of the rows ---------------------------------------------------

// The array and string routines, which write pointer and length themselves.
// They leave the pointer alone when they fail early, so it starts as the
// caller's.
template <class E, class A, void (*Route)(JNIEnv*, A, E**, CK_ULONG*)>
void Routed(JNIEnv* env, jobject o, CK_VOID_PTR* p, CK_ULONG* n) {
    E* elements = static_cast<E*>(*p);
    Route(env, static_cast<A>(o), &elements, n);
    *p = elements;
}

// A boxed value into a fresh block of its own width; the pointer is written
// even when the unboxing failed.
template <class E, E* (*Unbox)(JNIEnv*, jobject)>
void Boxed(JNIEnv* env, jobject o, CK_VOID_PTR* p, CK_ULONG* n) {
    *p = Unbox(env, o);
    *n = sizeof(E);
}

// A wrapper into a block that is allocated first and filled after, so that
// a failed read leaves the block in the template, to be freed with it.
template <class E, E (*ToCK)(JNIEnv*, jobject)>
void Wrapped(JNIEnv* env, jobject o, CK_VOID_PTR* p, CK_ULONG* n) {
    auto* block = static_cast<E*>(malloc(sizeof(E)));
    *p = block;
    *n = sizeof(E);
    *block = ToCK(env, o);
}

// A CK_DATE is 8 bytes, as the block that holds it.
void Date(JNIEnv* env, jobject o, CK_VOID_PTR* p, CK_ULONG* n) {
    *p = jDateObjectToCKDatePtr(env, o);
    *n = sizeof(CK_DATE);
}

// ---- the table -----------------------------------------------------------------------

constexpr size_t kClasses = std::size(jn::kValueClasses);

// The conversion of each class, in the order of jn::kValueClasses; the
// classes are tested in the order of jn::kValueTestOrder, the first hit
// deciding. int[] goes down the long[] route as it stands: its length from
// the array and its contents read as longs, with no widening. Both report
// the element count, not bytes; only CKA_MECHANISM_LIST and a numeric type
// with valueLen 4 keep that count. Character looks up a class of its own
// that does not exist, and always fails.
constexpr Convert kConvert[] = {
    Routed<CK_BYTE, jbyteArray, jByteArrayToCKByteArray>,
    Boxed<CK_ULONG, jLongObjectToCKULongPtr>,
    Wrapped<CK_BBOOL, jBBoolToCKBBool>,
    Date,
    Wrapped<CK_ULONG, jObjectHandleToCKObjectHandle>,
    Wrapped<CK_ULONG, jSessionHandleToCKSessionHandle>,
    Wrapped<CK_ULONG, jAttributeTypeToCKAttributeType>,
    Wrapped<CK_ULONG, jCertificateTypeToCKCertificateType>,
    Wrapped<CK_ULONG, jHWFeatureTypeToCKHWFeatureType>,
    Wrapped<CK_ULONG, jKeyTypeToCKKeyType>,
    Wrapped<CK_ULONG, jMechanismTypeToCKMechanismType>,
    Routed<CK_ULONG, jobjectArray, jMechanismTypeArrayToCKMechanismTypeArray>,
    Wrapped<CK_ULONG, jObjectClassToCKObjectClass>,
    Wrapped<CK_ULONG, jRsaPkcsOaepSourceTypeToCKRsaPkcsOaepSourceType>,
    Wrapped<CK_ULONG, jRVToCKRV>,
    Wrapped<CK_ULONG, jStateToCKState>,
    Wrapped<CK_ULONG, jUserTypeToCKUserType>,
    Boxed<CK_BBOOL, jBooleanObjectToCKBBoolPtr>,
    Routed<CK_ULONG, jlongArray, jLongArrayToCKULongArray>,
    Routed<CK_CHAR, jstring, jStringToCKCharArray>,
    Boxed<CK_ULONG, jIntegerObjectToCKULongPtr>,
    Routed<CK_ULONG, jlongArray, jLongArrayToCKULongArray>,
    Routed<CK_BBOOL, jbooleanArray, jBooleanArrayToCKBBoolArray>,
    Routed<CK_CHAR, jcharArray, jCharArrayToCKCharArray>,
    Boxed<CK_BYTE, jByteObjectToCKBytePtr>,
    Boxed<CK_CHAR, jCharObjectToCKCharPtr>,
};
static_assert(std::size(kConvert) == kClasses, "every class looked up has its conversion");
static_assert(std::extent_v<ValueClasses> == kClasses, "ValueClasses holds every class");

constexpr bool EveryClassTestedOnce() {
    for (size_t c = 0; c < kClasses; ++c) {
        int hits = 0;
        for (size_t t : jn::kValueTestOrder) hits += t == c;
        if (hits != 1) return false;
    }
    return true;
}
static_assert(EveryClassTestedOnce(), "each class is tested exactly once");

constexpr CK_ATTRIBUTE_TYPE kMechanismList = 0x80000104;

}  // namespace

bool FindValueClasses(JNIEnv* env, ValueClasses& classes) {
    // Looked up back to back and checked once, after the last.
    for (size_t i = 0; i < kClasses; ++i) classes[i] = env->FindClass(jn::kValueClasses[i]->path);
    return !env->ExceptionCheck();
}

void jObjectToPrimitiveCKObjectPtrPtr(JNIEnv* env, jobject object, CK_VOID_PTR* pointer, CK_ULONG* length) {
    ValueClasses classes;
    if (!FindValueClasses(env, classes)) return;
    if (object == nullptr) {
        *pointer = nullptr;
        *length = 0;
        return;
    }
    // IsInstanceOf raises nothing (JNI lists no exception for it): only the
    // hit is followed by a check, a miss goes straight on to the next class.
    for (size_t c : jn::kValueTestOrder) {
        if (!env->IsInstanceOf(object, classes[c])) continue;
        if (env->ExceptionCheck()) return;
        kConvert[c](env, object, pointer, length);
        return;
    }
    *pointer = nullptr;
    *length = 0;
    ThrowUnsupportedFor(env, object, "No Conversion from %s to a CK type");
}

CK_ATTRIBUTE jAttributeToCKAttribute(JNIEnv* env, jobject attribute) {
    CK_ATTRIBUTE result{0, nullptr, 0};
    jclass cls = env->FindClass(jn::kAttribute.path);
    if (env->ExceptionCheck()) return result;
    jobject type = GetObjectArrayField(env, cls, attribute, jn::kAttributeTypeField);
    if (env->ExceptionCheck()) return result;
    result.type = jAttributeTypeToCKAttributeType(env, type);
    if (env->ExceptionCheck()) return result;
    jobject value = GetObjectArrayField(env, cls, attribute, jn::kAttributeValue);
    if (env->ExceptionCheck()) return result;
    jObjectToPrimitiveCKObjectPtrPtr(env, value, &result.pValue, &result.ulValueLen);
    if (env->ExceptionCheck()) return result;
    // A mechanism list counts 8 bytes an element, whatever Java says.
    if (result.type == kMechanismList) return result;
    // Not checked: a failed read gives -1, which the caller's check catches.
    const jlong valueLen = GetLongField(env, cls, attribute, jn::kAttributeValueLen);
    // A 32-bit length from Java gives way to the 8 bytes of a CK_ULONG.
    if (isNumericAttrType(result.type) && valueLen == 4) return result;
    result.ulValueLen = static_cast<CK_ULONG>(valueLen);
    return result;
}

void jAttributeArrayToCKAttributeArray(JNIEnv* env, jobjectArray array, CK_ATTRIBUTE_PTR* pointer, CK_ULONG* count) {
    if (array == nullptr) {
        *pointer = nullptr;
        *count = 0;
        return;
    }
    const jsize n = env->GetArrayLength(array);
    if (env->ExceptionCheck()) return;
    *count = static_cast<CK_ULONG>(n);
    auto* out = static_cast<CK_ATTRIBUTE_PTR>(calloc(static_cast<size_t>(n), sizeof(CK_ATTRIBUTE)));
    *pointer = out;
    for (jsize i = 0; i < n; ++i) {
        jobject element = env->GetObjectArrayElement(array, i);
        if (env->ExceptionCheck()) return;
        // Stored before the check, so that the template owns a half-made value.
        out[i] = jAttributeToCKAttribute(env, element);
        if (env->ExceptionCheck()) return;
    }
}

void freeCKAttributeArray(CK_ATTRIBUTE_PTR array, CK_ULONG count) {
    if (array != nullptr) {
        for (CK_ULONG i = 0; i < count; ++i) free(array[i].pValue);
    }
    free(array);
}
