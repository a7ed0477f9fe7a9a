// Attribute values back to Java, in two families that answer different
// questions. The in-place copies ask what the caller's target object is and
// write into it; the new-object family asks what the attribute type is and
// makes an object to suit. Neither is the other's mirror.
#include <cstdlib>
#include <iterator>

#include "morlin/attributes.h"
#include "morlin/jutil.h"
#include "morlin/names/attributes.h"
#include "morlin/values.h"
#include "morlin/wrappers.h"

namespace {

// ---- in place, by the class of the target ---------------------------------------------

using Write = void (*)(JNIEnv*, jclass, jobject, const CK_BYTE*, CK_ULONG);

CK_ULONG FirstULong(const CK_BYTE* value) { return *reinterpret_cast<const CK_ULONG*>(value); }

void Bytes(JNIEnv* env, jclass, jobject o, const CK_BYTE* v, CK_ULONG n) {
    CopyCKByteArrayToJByteArray(env, v, n, static_cast<jbyteArray>(o));
}
// Through the private field of java.lang.Long: the object changes for every
// holder of it, which is why the Java side hands in private instances.
void Long(JNIEnv* env, jclass cls, jobject o, const CK_BYTE* v, CK_ULONG) {
    SetLongField(env, cls, o, jn::kLongField, static_cast<jlong>(FirstULong(v)));
}
// True exactly when the byte is CK_TRUE.
void BBool(JNIEnv* env, jclass cls, jobject o, const CK_BYTE* v, CK_ULONG) {
    jmethodID setValue = env->GetMethodID(cls, jn::kBBoolSetValue.name, jn::kBBoolSetValue.sig);
    if (env->ExceptionCheck()) return;
    env->CallVoidMethod(o, setValue, static_cast<jboolean>(v[0] == CK_TRUE ? JNI_TRUE : JNI_FALSE));
}
void Date(JNIEnv* env, jclass, jobject o, const CK_BYTE* v, CK_ULONG) {
    CopyCKDateToJDate(env, reinterpret_cast<const CK_DATE*>(v), o);
}
// The handles' field is written directly, the constants go through setValue.
void Handle(JNIEnv* env, jclass cls, jobject o, const CK_BYTE* v, CK_ULONG) {
    SetLongField(env, cls, o, jn::kObjectHandleValue, static_cast<jlong>(FirstULong(v)));
}
void Constant(JNIEnv* env, jclass cls, jobject o, const CK_BYTE* v, CK_ULONG) {
    setLongValue(env, cls, o, static_cast<jlong>(FirstULong(v)));
}
void MechanismTypes(JNIEnv* env, jclass, jobject o, const CK_BYTE* v, CK_ULONG n) {
    CopyCKMechanismTypeArrayToJMechanismTypeArray(env, reinterpret_cast<const CK_MECHANISM_TYPE*>(v),
                                                  n / sizeof(CK_ULONG), static_cast<jobjectArray>(o));
}
// The byte as it stands, not reduced to 0 or 1, unlike CK_BBOOL.
void Boolean(JNIEnv* env, jclass cls, jobject o, const CK_BYTE* v, CK_ULONG) {
    jfieldID value = env->GetFieldID(cls, jn::kBooleanField.name, jn::kBooleanField.sig);
    if (env->ExceptionCheck()) return;
    env->SetBooleanField(o, value, static_cast<jboolean>(v[0]));
}

// The classes that can be written in place, looked up in this order.
constexpr size_t kTargets = jn::kInPlaceValueClasses;
static_assert(jn::kValueClasses[kTargets - 1] == &jn::kBoolean, "the in-place classes end with Boolean");

struct Target {
    size_t lookup;     // index into jn::kValueClasses
    CK_ULONG minimum;  // shorter values are passed over in silence
    bool wholeULongs;  // the length must be a multiple of 8 as well
    Write write;
};

constexpr CK_ULONG kULong = sizeof(CK_ULONG);

// Tested in this order, the mechanism-type array before the mechanism type.
constexpr Target kCopies[] = {
    {0, 0, false, Bytes},          {1, kULong, false, Long},           {2, 0, false, BBool},
    {3, kULong, false, Date},      {4, kULong, false, Handle},         {5, kULong, false, Handle},
    {6, kULong, false, Constant},  {7, kULong, false, Constant},       {8, kULong, false, Constant},
    {9, kULong, false, Constant},  {11, kULong, true, MechanismTypes}, {10, kULong, false, Constant},
    {12, kULong, false, Constant}, {13, kULong, false, Constant},      {14, kULong, false, Constant},
    {15, kULong, false, Constant}, {16, kULong, false, Constant},      {17, 0, false, Boolean},
};
static_assert(std::size(kCopies) == kTargets, "every target class has its row");

// ---- new objects, by the attribute type ------------------------------------------------

constexpr CK_ATTRIBUTE_TYPE kBooleanGroup[] = {
    0x1,         // TOKEN
    0x2,         // PRIVATE
    0x86,        // TRUSTED
    0x103,       // SENSITIVE
    0x104,       // ENCRYPT
    0x105,       // DECRYPT
    0x106,       // WRAP
    0x107,       // UNWRAP
    0x108,       // SIGN
    0x109,       // SIGN_RECOVER
    0x10A,       // VERIFY
    0x10B,       // VERIFY_RECOVER
    0x10C,       // DERIVE
    0x162,       // EXTRACTABLE
    0x163,       // LOCAL
    0x164,       // NEVER_EXTRACTABLE
    0x165,       // ALWAYS_SENSITIVE
    0x170,       // MODIFIABLE
    0x200,       // SECONDARY_AUTH
    0x301,       // RESET_ON_INIT
    0x302,       // HAS_RESET
    0x80000127,  // SIGN_LOCAL_CERT
    0x80000128,  // EXPORT
    0x80000129,  // EXPORTABLE
    0x8000012A,  // DELETABLE
    0x8000012B,  // IMPORT
    0x80000139,  // PURGE
    0x8000013A,  // EVENT_LOG_FULL
    0x80000145,  // TAMPER_CMD
    0x80000147,  // HALT_CMD
    0x8000014B,  // RTC_AAC_ENABLED
    0x80000170,  // VERIFY_OS
    0x80000250,  // HIFACE_MASTER
};

// This dispatch's own numbers; the attribute classification of the utility
// library counts more types as numeric, and those arrive here as bytes.
constexpr CK_ATTRIBUTE_TYPE kNumericGroup[] = {
    0x121,       // MODULUS_BITS
    0x133,       // PRIME_BITS
    0x134,       // SUB_PRIME_BITS
    0x160,       // VALUE_BITS
    0x161,       // VALUE_LEN
    0x201,       // AUTH_PIN_FLAGS
    0x80000101,  // USAGE_COUNT
    0x80000136,  // RECORD_COUNT
    0x80000137,  // RECORD_NUMBER
    0x80000140,  // SECURITY_MODE
    0x80000141,  // TRANSPORT_MODE
    0x80000142,  // BATCH
    0x80000143,  // HW_STATUS
    0x80000144,  // FREE_MEM
    0x80000148,  // APPLICATION_COUNT
    0x8000014C,  // RTC_AAC_GUARD_SECONDS
    0x8000014D,  // RTC_AAC_GUARD_COUNT
    0x8000014E,  // AAC_GUARD_DURATION
    0x80000150,  // PERFORMANCE_LEVEL
    0x80000151,  // SLOT_ID
    0x80000155,  // MAX_SESSIONS
    0x80000156,  // MIN_PIN_LEN
    0x80000158,  // MAX_PIN_FAIL
    0x80000159,  // FLAGS
    0x80000185,  // ROM_SPACE
    0x80000186,  // RAM_SPACE
    0x80000187,  // FM_STATUS
    0x80000189,  // FM_STARTUP_STATUS
    0x8000018A,  // FM_ID
    0x80000200,  // USAGE_LIMIT
};

template <size_t N>
bool In(const CK_ATTRIBUTE_TYPE (&group)[N], CK_ATTRIBUTE_TYPE type) {
    for (CK_ATTRIBUTE_TYPE t : group)
        if (t == type) return true;
    return false;
}

}  // namespace

void CopyCKObjectPtrToJObjectPrimitive(JNIEnv* env, CK_VOID_PTR value, CK_ULONG length, jobject object) {
    jclass classes[kTargets];
    // Looked up back to back and checked once, after the last.
    for (size_t i = 0; i < kTargets; ++i) classes[i] = env->FindClass(jn::kValueClasses[i]->path);
    if (env->ExceptionCheck() || object == nullptr || value == nullptr || length == 0) return;
    // IsInstanceOf raises nothing (JNI lists no exception for it): only the
    // hit is followed by a check, a miss goes straight on to the next class.
    for (const Target& t : kCopies) {
        if (!env->IsInstanceOf(object, classes[t.lookup])) continue;
        if (env->ExceptionCheck()) return;
        if (length < t.minimum || (t.wholeULongs && length % kULong != 0)) return;
        t.write(env, classes[t.lookup], object, static_cast<const CK_BYTE*>(value), length);
        return;
    }
    ThrowUnsupportedFor(env, object, "Can not copy from CK type to %s");
}

void CopyCKAttributeToJAttribute(JNIEnv* env, const CK_ATTRIBUTE* attribute, jobject object) {
    jclass cls = env->FindClass(jn::kAttribute.path);
    jclass typeCls = env->FindClass(jn::kAttributeType.path);
    if (env->ExceptionCheck() || attribute == nullptr || object == nullptr) return;
    const jboolean isAttribute = env->IsInstanceOf(object, cls);
    if (env->ExceptionCheck() || !isAttribute) return;
    jobject type = GetObjectArrayField(env, cls, object, jn::kAttributeTypeField);
    if (env->ExceptionCheck()) return;
    const jlong javaType = GetLongField(env, typeCls, type, jn::kAttributeTypeValue);
    if (env->ExceptionCheck()) return;
    // The wildcard of an attribute search learns which attribute it found.
    if (javaType == 0xFFFF) {
        setLongValue(env, typeCls, type, static_cast<jlong>(attribute->type));
        if (env->ExceptionCheck()) return;
    }
    jobject value = GetObjectArrayField(env, cls, object, jn::kAttributeValue);
    if (env->ExceptionCheck()) return;
    CopyCKObjectPtrToJObjectPrimitive(env, attribute->pValue, attribute->ulValueLen, value);
    if (env->ExceptionCheck()) return;
    // Written with or without a value: this is the answer to a size query,
    // and -1 for CK_UNAVAILABLE_INFORMATION.
    SetLongField(env, cls, object, jn::kAttributeValueLen, static_cast<jlong>(attribute->ulValueLen));
}

void CopyCKAttributeArrayToJAttributeArray(JNIEnv* env, const CK_ATTRIBUTE* array, CK_ULONG count,
                                           jobjectArray object) {
    jclass cls = env->FindClass(jn::kAttributeArray.path);
    if (env->ExceptionCheck() || array == nullptr || object == nullptr) return;
    const jboolean isArray = env->IsInstanceOf(object, cls);
    if (env->ExceptionCheck() || !isArray) return;
    const jsize size = env->GetArrayLength(object);
    if (env->ExceptionCheck() || count == 0 || size == 0) return;
    // Up to the smaller of the token's count, taken unsigned, and the Java length.
    for (CK_ULONG i = 0; i < count && i < static_cast<CK_ULONG>(size); ++i) {
        jobject element = env->GetObjectArrayElement(object, static_cast<jsize>(i));
        if (env->ExceptionCheck()) return;
        CopyCKAttributeToJAttribute(env, &array[i], element);
        if (env->ExceptionCheck()) return;
    }
}

jobject ckAttributeValueToJObject(JNIEnv* env, const CK_ATTRIBUTE* attribute) {
    if (attribute == nullptr || attribute->ulValueLen == 0 || attribute->pValue == nullptr) return nullptr;
    const auto* value = static_cast<const CK_BYTE*>(attribute->pValue);
    const auto* first = static_cast<const CK_ULONG*>(attribute->pValue);
    switch (attribute->type) {
        case 0x0:  // CLASS
            return ckObjectClassToJObjectClass(env, *first);
        case 0x80:  // CERTIFICATE_TYPE
            return ckCertificateTypeToJCertificateType(env, *first);
        case 0x100:  // KEY_TYPE
            return ckKeyTypeToJKeyType(env, *first);
        case 0x300:  // HW_FEATURE_TYPE
            return ckHWFeatureTypeToJHWFeatureType(env, *first);
        case 0x110:  // START_DATE
        case 0x111:  // END_DATE
            return ckDatePtrToJDateObject(env, static_cast<const CK_DATE*>(attribute->pValue));
        case 0x80000104:  // MECHANISM_LIST
            return ckMechanismTypeArrayToJMechanismTypeArray(env, first, attribute->ulValueLen / sizeof(CK_ULONG));
        default:
            break;
    }
    if (In(kBooleanGroup, attribute->type)) return ckBBoolToJBBool(env, value[0]);
    if (In(kNumericGroup, attribute->type)) return ckULongPtrToJLongObject(env, first);
    // Anything else is bytes, CKA_LABEL included.
    return ckByteArrayToJByteArray(env, value, attribute->ulValueLen);
}

jobject ckAttributePtrToJAttribute(JNIEnv* env, const CK_ATTRIBUTE* attribute) {
    jclass cls = env->FindClass(jn::kAttribute.path);
    if (env->ExceptionCheck() || attribute == nullptr) return nullptr;
    jobject object = env->AllocObject(cls);
    if (env->ExceptionCheck()) return nullptr;
    jfieldID typeId = env->GetFieldID(cls, jn::kAttributeTypeField.name, jn::kAttributeTypeField.sig);
    if (env->ExceptionCheck()) return nullptr;
    jobject type = ckAttributeTypeToJAttributeType(env, attribute->type);
    if (env->ExceptionCheck()) return nullptr;
    env->SetObjectField(object, typeId, type);
    if (env->ExceptionCheck()) return nullptr;
    jfieldID valueId = env->GetFieldID(cls, jn::kAttributeValue.name, jn::kAttributeValue.sig);
    if (env->ExceptionCheck()) return nullptr;
    // Null for a value that the type dispatch refuses: no length, no pointer.
    jobject value = ckAttributeValueToJObject(env, attribute);
    if (env->ExceptionCheck()) return nullptr;
    env->SetObjectField(object, valueId, value);
    if (env->ExceptionCheck()) return nullptr;
    // Not checked: a failed store leaves its exception for the caller.
    SetLongField(env, cls, object, jn::kAttributeValueLen, static_cast<jlong>(attribute->ulValueLen));
    return object;
}

jobjectArray ckAttributeArrayToJAttributeArray(JNIEnv* env, const CK_ATTRIBUTE* array, CK_ULONG count) {
    return NewObjectArrayOf(env, jn::kAttribute.path, array, count, false,
                            [](JNIEnv* e, const CK_ATTRIBUTE& a) { return ckAttributePtrToJAttribute(e, &a); });
}
