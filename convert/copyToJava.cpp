// Cryptoki results into existing Java objects: the information structures
// and CK_VERSION. Each structure is a table of its Java fields in the order
// in which they are written, with where each sits in the Cryptoki structure
// (infoLayout.h, shared with the copies into Cryptoki); the field's
// signature says how it is written.
#include "morlin/copyToJava.h"

#include <cstddef>
#include <cstring>
#include <iterator>

#include "morlin/infoLayout.h"
#include "morlin/javaNames.h"
#include "morlin/jutil.h"
#include "morlin/names/infos.h"
#include "morlin/values.h"

namespace {

using layout::InfoField;

// FindClass, IsInstanceOf, then each field in table order into a new byte[]
// or CK_VERSION, or with SetLongField, an ExceptionCheck after every step.
template <size_t N>
void CopyFields(JNIEnv* env, const jn::Class& javaClass, const void* info, jobject object,
                const InfoField (&fields)[N]) {
    jclass cls = env->FindClass(javaClass.path);
    if (env->ExceptionCheck() || info == nullptr || object == nullptr) return;
    const jboolean isInstance = env->IsInstanceOf(object, cls);
    if (env->ExceptionCheck() || !isInstance) return;
    const auto* base = static_cast<const unsigned char*>(info);
    for (const InfoField& f : fields) {
        const unsigned char* at = base + f.offset;
        const jn::Sig sig = jn::SigOf(f.field.sig);
        if (sig == jn::Sig::Long) {
            CK_ULONG value;
            memcpy(&value, at, sizeof value);
            SetLongField(env, cls, object, static_cast<const jn::LongField&>(f.field), static_cast<jlong>(value));
            if (env->ExceptionCheck()) return;
            continue;
        }
        jfieldID id = env->GetFieldID(cls, f.field.name, f.field.sig);
        if (env->ExceptionCheck()) return;
        jobject value = sig == jn::Sig::Bytes ? ckByteArrayToJByteArray(env, at, f.length)
                                              : ckVersionPtrToJVersion(env, reinterpret_cast<const CK_VERSION*>(at));
        if (env->ExceptionCheck()) return;
        env->SetObjectField(object, id, value);
        if (env->ExceptionCheck()) return;
    }
}

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

void CopyCKInfoToJInfo(JNIEnv* env, const CK_INFO* info, jobject object) {
    CopyFields(env, jn::kInfo, info, object, layout::kInfoFields);
}

void CopyCKSlotInfoToJSlotInfo(JNIEnv* env, const CK_SLOT_INFO* info, jobject object) {
    CopyFields(env, jn::kSlotInfo, info, object, layout::kSlotInfoFields);
}

void CopyCKTokenInfoToJTokenInfo(JNIEnv* env, const CK_TOKEN_INFO* info, jobject object) {
    CopyFields(env, jn::kTokenInfo, info, object, layout::kTokenInfoFields);
}

void CopyCKMechanismInfoToJMechanismInfo(JNIEnv* env, const CK_MECHANISM_INFO* info, jobject object) {
    CopyFields(env, jn::kMechanismInfo, info, object, layout::kMechanismInfoFields);
}

// Written out rather than driven by a table: state is updated in place
// through setValue on the CK_STATE object that the field holds, and both
// classes are looked up before one check.
void CopyCKSessionInfoToJSessionInfo(JNIEnv* env, const CK_SESSION_INFO* info, jobject object) {
    jclass cls = env->FindClass(jn::kSessionInfo.path);
    jclass stateCls = env->FindClass(jn::kState.path);
    if (env->ExceptionCheck() || info == nullptr || object == nullptr) return;
    const jboolean isInstance = env->IsInstanceOf(object, cls);
    if (env->ExceptionCheck() || !isInstance) return;
    SetLongField(env, cls, object, jn::kSessionInfoSlotID, static_cast<jlong>(info->slotID));
    if (env->ExceptionCheck()) return;
    jobject state = GetObjectArrayField(env, cls, object, jn::kSessionInfoState);
    if (env->ExceptionCheck()) return;
    setLongValue(env, stateCls, state, static_cast<jlong>(info->state));
    if (env->ExceptionCheck()) return;
    SetLongField(env, cls, object, jn::kSessionInfoFlags, static_cast<jlong>(info->flags));
    if (env->ExceptionCheck()) return;
    SetLongField(env, cls, object, jn::kSessionInfoDeviceError, static_cast<jlong>(info->ulDeviceError));
}

jobject ckVersionPtrToJVersion(JNIEnv* env, const CK_VERSION* version) {
    jclass cls = env->FindClass(jn::kVersion.path);
    if (env->ExceptionCheck() || version == nullptr) return nullptr;
    jobject object = env->AllocObject(cls);
    if (env->ExceptionCheck()) return nullptr;
    return WriteVersion(env, cls, object, version) ? object : nullptr;
}

void CopyCKVersionToJVersion(JNIEnv* env, const CK_VERSION* version, jobject object) {
    jclass cls = env->FindClass(jn::kVersion.path);
    if (env->ExceptionCheck() || version == nullptr || object == nullptr) return;
    const jboolean isInstance = env->IsInstanceOf(object, cls);
    if (env->ExceptionCheck() || !isInstance) return;
    WriteVersion(env, cls, object, version);
}
