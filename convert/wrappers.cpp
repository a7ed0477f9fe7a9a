// The wrapper classes in both directions, driven by one table of class path
// and failure value. Every conversion resolves its class with FindClass on
// each call; nothing is cached.
#include "morlin/wrappers.h"

#include "morlin/java_names.h"
#include "morlin/jutil.h"

namespace {

struct WrapperRow {
    Wrapper kind;
    const char* classPath;
    CK_ULONG wrongClass;  // what an object of another class converts to
};

// The two handles and CK_ATTRIBUTE_TYPE answer 0 (CK_INVALID_HANDLE for the
// handles) for an object of another class; every other class answers -1.
constexpr WrapperRow kWrappers[] = {
    {Wrapper::SessionHandle, jn::kSessionHandle, 0},
    {Wrapper::ObjectHandle, jn::kObjectHandle, 0},
    {Wrapper::AttributeType, jn::kAttributeType, 0},
    {Wrapper::CertificateType, jn::kCertificateType, ~0UL},
    {Wrapper::HWFeatureType, jn::kHWFeatureType, ~0UL},
    {Wrapper::KeyType, jn::kKeyType, ~0UL},
    {Wrapper::MechanismType, jn::kMechanismType, ~0UL},
    {Wrapper::ObjectClass, jn::kObjectClass, ~0UL},
    {Wrapper::RsaPkcsOaepSourceType, jn::kOaepSourceType, ~0UL},
    {Wrapper::RV, jn::kRV, ~0UL},
    {Wrapper::State, jn::kState, ~0UL},
    {Wrapper::UserType, jn::kUserType, ~0UL},
};

constexpr bool RowsFollowEnum() {
    for (size_t i = 0; i < sizeof kWrappers / sizeof kWrappers[0]; ++i)
        if (static_cast<size_t>(kWrappers[i].kind) != i) return false;
    return true;
}
static_assert(RowsFollowEnum(), "kWrappers rows must be in the order of enum Wrapper");

const WrapperRow& RowOf(Wrapper kind) { return kWrappers[static_cast<size_t>(kind)]; }

}  // namespace

const char* WrapperClassPath(Wrapper kind) { return RowOf(kind).classPath; }

CK_ULONG jWrapperToCKULong(JNIEnv* env, Wrapper kind, jobject object) {
    const WrapperRow& row = RowOf(kind);
    jclass cls = env->FindClass(row.classPath);
    if (env->ExceptionCheck()) return row.wrongClass;
    const jboolean isInstance = env->IsInstanceOf(object, cls);
    if (env->ExceptionCheck() || !isInstance) return row.wrongClass;
    // A null object passes IsInstanceOf and reads as -1 here, with nothing
    // pending: the token library then judges the handle of all bits set.
    return static_cast<CK_ULONG>(GetLongField(env, cls, object, jn::kValueField));
}

jobject ckULongToJWrapper(JNIEnv* env, Wrapper kind, CK_ULONG value) {
    jclass cls = env->FindClass(RowOf(kind).classPath);
    if (env->ExceptionCheck()) return nullptr;
    jobject object = env->AllocObject(cls);
    if (env->ExceptionCheck()) return nullptr;
    // Not checked: a failed store leaves its exception for the caller.
    SetLongField(env, cls, object, jn::kValueField, static_cast<jlong>(value));
    return object;
}

CK_BBOOL jBBoolToCKBBool(JNIEnv* env, jobject object) {
    jclass cls = env->FindClass(jn::kBBool);
    if (env->ExceptionCheck()) return CK_FALSE;
    const jboolean isInstance = env->IsInstanceOf(object, cls);
    if (env->ExceptionCheck() || !isInstance) return CK_FALSE;
    jfieldID id = env->GetFieldID(cls, jn::kValueField, "Z");
    if (env->ExceptionCheck()) return CK_FALSE;
    const jboolean value = env->GetBooleanField(object, id);
    if (env->ExceptionCheck()) return CK_FALSE;
    return value == 1 ? CK_TRUE : CK_FALSE;
}

jobject ckBBoolToJBBool(JNIEnv* env, CK_BBOOL value) {
    jclass cls = env->FindClass(jn::kBBool);
    if (env->ExceptionCheck()) return nullptr;
    jobject object = env->AllocObject(cls);
    if (env->ExceptionCheck()) return nullptr;
    jmethodID setValue = env->GetMethodID(cls, jn::kSetValue, jn::kSetBoolValueSig);
    if (env->ExceptionCheck()) return nullptr;
    env->CallVoidMethod(object, setValue, static_cast<jboolean>(value == CK_TRUE ? JNI_TRUE : JNI_FALSE));
    return object;
}
