// Cryptoki results into Java objects: the info structures and CK_VERSION.
// Every field is replaced by a new object (byte[] or CK_VERSION); arrays and
// versions that the Java object held before are not written into.
#include "morlin/copy_to_java.h"

#include <cstddef>
#include <iterator>

#include "morlin/java_names.h"
#include "morlin/jutil.h"

void CopyCKInfoFields(JNIEnv* env, const char* classPath, const void* info, jobject object, const InfoField* fields,
                      size_t count) {
    jclass cls = env->FindClass(classPath);
    if (env->ExceptionCheck() || info == nullptr || object == nullptr) return;
    const jboolean isInstance = env->IsInstanceOf(object, cls);
    if (env->ExceptionCheck() || !isInstance) return;
    const auto* base = static_cast<const unsigned char*>(info);
    for (size_t i = 0; i < count; ++i) {
        const InfoField& f = fields[i];
        const unsigned char* at = base + f.offset;
        if (f.kind == InfoField::Long) {
            SetLongField(env, cls, object, f.name, static_cast<jlong>(*reinterpret_cast<const CK_ULONG*>(at)));
            if (env->ExceptionCheck()) return;
            continue;
        }
        jfieldID id = env->GetFieldID(cls, f.name, f.kind == InfoField::Bytes ? "[B" : jn::kVersionSig);
        if (env->ExceptionCheck()) return;
        jobject value = f.kind == InfoField::Bytes
                            ? ckByteArrayToJByteArray(env, at, f.length)
                            : ckVersionPtrToJVersion(env, reinterpret_cast<const CK_VERSION*>(at));
        if (env->ExceptionCheck()) return;
        env->SetObjectField(object, id, value);
        if (env->ExceptionCheck()) return;
    }
}

void CopyCKInfoToJInfo(JNIEnv* env, const CK_INFO* info, jobject object) {
    static constexpr InfoField kFields[] = {
        {jn::kInfoCryptokiVersion.name, InfoField::Version, offsetof(CK_INFO, cryptokiVersion), 0},
        {jn::kInfoManufacturerID.name, InfoField::Bytes, offsetof(CK_INFO, manufacturerID), 32},
        {jn::kInfoFlags.name, InfoField::Long, offsetof(CK_INFO, flags), 0},
        {jn::kInfoLibraryDescription.name, InfoField::Bytes, offsetof(CK_INFO, libraryDescription), 32},
        {jn::kInfoLibraryVersion.name, InfoField::Version, offsetof(CK_INFO, libraryVersion), 0},
    };
    CopyCKInfoFields(env, jn::kInfo, info, object, kFields, std::size(kFields));
}

namespace {

// major, then minor, each GetFieldID and SetByteField. Every step but the
// very last store is checked; returns false when an exception is pending.
bool WriteVersion(JNIEnv* env, jclass cls, jobject object, const CK_VERSION* version) {
    jfieldID major = env->GetFieldID(cls, jn::kVersionMajor.name, jn::kVersionMajor.sig);
    if (env->ExceptionCheck()) return false;
    env->SetByteField(object, major, static_cast<jbyte>(version->major));
    if (env->ExceptionCheck()) return false;
    jfieldID minor = env->GetFieldID(cls, jn::kVersionMinor.name, jn::kVersionMinor.sig);
    if (env->ExceptionCheck()) return false;
    env->SetByteField(object, minor, static_cast<jbyte>(version->minor));
    return true;
}

}  // namespace

jobject ckVersionPtrToJVersion(JNIEnv* env, const CK_VERSION* version) {
    jclass cls = env->FindClass(jn::kVersion);
    if (env->ExceptionCheck() || version == nullptr) return nullptr;
    jobject object = env->AllocObject(cls);
    if (env->ExceptionCheck()) return nullptr;
    return WriteVersion(env, cls, object, version) ? object : nullptr;
}

void CopyCKVersionToJVersion(JNIEnv* env, const CK_VERSION* version, jobject object) {
    jclass cls = env->FindClass(jn::kVersion);
    if (env->ExceptionCheck() || version == nullptr || object == nullptr) return;
    const jboolean isInstance = env->IsInstanceOf(object, cls);
    if (env->ExceptionCheck() || !isInstance) return;
    WriteVersion(env, cls, object, version);
}
