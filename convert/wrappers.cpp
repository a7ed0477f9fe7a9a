// The wrapper classes in both directions, driven by one table of class path
// and failure value. Every conversion resolves its class with FindClass on
// each call; nothing is cached.
#include "morlin/wrappers.h"

#include "morlin/jutil.h"
#include "morlin/names/core.h"

namespace {

struct WrapperRow {
    Wrapper kind;
    const jn::LongField& value;  // m_value, and through it the class
    CK_ULONG wrongClass;         // what an object of another class converts to
};

// The two handles and CK_ATTRIBUTE_TYPE answer 0 (CK_INVALID_HANDLE for the
// handles) for an object of another class; every other class answers -1.
constexpr WrapperRow kWrappers[] = {
    {Wrapper::SessionHandle, jn::kSessionHandleValue, 0},
    {Wrapper::ObjectHandle, jn::kObjectHandleValue, 0},
    {Wrapper::AttributeType, jn::kAttributeTypeValue, 0},
    {Wrapper::CertificateType, jn::kCertificateTypeValue, ~0UL},
    {Wrapper::HWFeatureType, jn::kHWFeatureTypeValue, ~0UL},
    {Wrapper::KeyType, jn::kKeyTypeValue, ~0UL},
    {Wrapper::MechanismType, jn::kMechanismTypeValue, ~0UL},
    {Wrapper::ObjectClass, jn::kObjectClassValue, ~0UL},
    {Wrapper::RsaPkcsOaepSourceType, jn::kOaepSourceTypeValue, ~0UL},
    {Wrapper::RV, jn::kRVValue, ~0UL},
    {Wrapper::State, jn::kStateValue, ~0UL},
    {Wrapper::UserType, jn::kUserTypeValue, ~0UL},
};

constexpr bool RowsFollowEnum() {
    for (size_t i = 0; i < sizeof kWrappers / sizeof kWrappers[0]; ++i)
        if (static_cast<size_t>(kWrappers[i].kind) != i) return false;
    return true;
}
static_assert(RowsFollowEnum(), "kWrappers rows must be in the order of enum Wrapper");

const WrapperRow& RowOf(Wrapper kind) { return kWrappers[static_cast<size_t>(kind)]; }

}  // namespace

const char* WrapperClassPath(Wrapper kind) { return RowOf(kind).value.cls; }

CK_ULONG jWrapperToCKULong(JNIEnv* env, Wrapper kind, jobject object) {
    const WrapperRow& row = RowOf(kind);
    jclass cls = env->FindClass(row.value.cls);
    if (env->ExceptionCheck()) return row.wrongClass;
    const jboolean isInstance = env->IsInstanceOf(object, cls);
    if (env->ExceptionCheck() || !isInstance) return row.wrongClass;
    // A null object passes IsInstanceOf and reads as -1 here, with nothing
    // pending: the token library then judges the handle of all bits set.
    return static_cast<CK_ULONG>(GetLongField(env, cls, object, row.value));
}

jobject ckULongToJWrapper(JNIEnv* env, Wrapper kind, CK_ULONG value) {
    const WrapperRow& row = RowOf(kind);
    jclass cls = env->FindClass(row.value.cls);
    if (env->ExceptionCheck()) return nullptr;
    jobject object = env->AllocObject(cls);
    if (env->ExceptionCheck()) return nullptr;
    // Not checked: a failed store leaves its exception for the caller.
    SetLongField(env, cls, object, row.value, static_cast<jlong>(value));
    return object;
}

CK_BBOOL jBBoolToCKBBool(JNIEnv* env, jobject object) {
    jclass cls = env->FindClass(jn::kBBool.path);
    if (env->ExceptionCheck()) return CK_FALSE;
    const jboolean isInstance = env->IsInstanceOf(object, cls);
    if (env->ExceptionCheck() || !isInstance) return CK_FALSE;
    // GetBooleanField called directly, not through the accessor.
    jfieldID id = env->GetFieldID(cls, jn::kBBoolValue.name, jn::kBBoolValue.sig);
    if (env->ExceptionCheck()) return CK_FALSE;
    const jboolean value = env->GetBooleanField(object, id);
    if (env->ExceptionCheck()) return CK_FALSE;
    return value == 1 ? CK_TRUE : CK_FALSE;
}

jobject ckBBoolToJBBool(JNIEnv* env, CK_BBOOL value) {
    jclass cls = env->FindClass(jn::kBBool.path);
    if (env->ExceptionCheck()) return nullptr;
    jobject object = env->AllocObject(cls);
    if (env->ExceptionCheck()) return nullptr;
    jmethodID setValue = env->GetMethodID(cls, jn::kBBoolSetValue.name, jn::kBBoolSetValue.sig);
    if (env->ExceptionCheck()) return nullptr;
    env->CallVoidMethod(object, setValue, static_cast<jboolean>(value == CK_TRUE ? JNI_TRUE : JNI_FALSE));
    return object;
}
