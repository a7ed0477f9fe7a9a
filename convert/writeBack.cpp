// What the token library writes into a mechanism parameter, back into the
// Java parameter object that the caller handed in: a generated IV, new
// handles, a MAC tag. The mechanism number picks the branch, whatever the
// Java class of the parameter was; only existing Java objects and arrays are
// written, none is created. An ExceptionCheck follows each JNI call and ends
// the copy; what was written stays.
#include "morlin/attributes.h"
#include "morlin/copyToJava.h"
#include "morlin/jutil.h"
#include "morlin/mechanism.h"
#include "morlin/names/params.h"
#include "morlin/values.h"
#include "morlin_util.h"

namespace {

// The Java parameter and what the branches need to reach it.
struct Target {
    JNIEnv* env;
    jobject parameter;
    jlong parameterLen;
    const void* structure;  // the Cryptoki parameter, trusted to match the number

    template <class S>
    const S& as() const {
        return *static_cast<const S*>(structure);
    }
    // FindClass of the branch's class; false with the exception pending.
    bool find(const jn::Class& cls, jclass* out) const {
        *out = env->FindClass(cls.path);
        return !env->ExceptionCheck();
    }
    // n bytes from source into the Java array held by field, when both exist.
    bool bytes(jclass cls, jobject object, const jn::BytesField& field, const CK_BYTE* source, CK_ULONG n) const {
        jbyteArray array = GetByteArrayField(env, cls, object, field);
        if (env->ExceptionCheck()) return false;
        if (array != nullptr && source != nullptr) CopyCKByteArrayToJByteArray(env, source, n, array);
        return !env->ExceptionCheck();
    }
    // The handle into m_value of the CK_OBJECT_HANDLE held by field; a null
    // handle object is passed over by SetLongField.
    bool handle(jclass cls, jobject object, const jn::ObjectField& field, jclass handleCls,
                CK_OBJECT_HANDLE value) const {
        jobject wrapper = GetObjectArrayField(env, cls, object, field);
        if (env->ExceptionCheck()) return false;
        SetLongField(env, handleCls, wrapper, jn::kObjectHandleValue, static_cast<jlong>(value));
        return !env->ExceptionCheck();
    }
};

// Password-based key generation: at most 8 bytes of the IV, the bound fixed.
void InitVector(const Target& t) {
    jclass cls = nullptr;
    if (!t.find(jn::kPbeParams, &cls)) return;
    t.bytes(cls, t.parameter, jn::kPbeInitVector, t.as<CK_PBE_PARAMS>().pInitVector, 8);
}

void Pkcs12Import(const Target& t) {
    JNIEnv* env = t.env;
    const auto& s = t.as<CK_PKCS12_PBE_IMPORT_PARAMS>();
    jclass cls = nullptr, longRef = nullptr;
    if (!t.find(jn::kPkcs12PbeImportParams, &cls)) return;
    jobject count = GetObjectArrayField(env, cls, t.parameter, jn::kPkcs12CertCount);
    if (env->ExceptionCheck() || !t.find(jn::kLongRef, &longRef)) return;
    SetLongField(env, longRef, count, jn::kLongRefValue, static_cast<jlong>(*s.hCertCount));
    if (env->ExceptionCheck() || *s.hCertCount == 0 || s.hCert == nullptr) return;
    auto handles = static_cast<jobjectArray>(GetObjectArrayField(env, cls, t.parameter, jn::kPkcs12Cert));
    // A Java array that went null since the conversion has no length to ask.
    if (env->ExceptionCheck() || handles == nullptr) return;
    const jsize size = env->GetArrayLength(handles);
    if (env->ExceptionCheck()) return;
    // The count is read anew in each round.
    for (CK_ULONG i = 0; i < *s.hCertCount && i < static_cast<CK_ULONG>(size); ++i) {
        jobject element = env->GetObjectArrayElement(handles, static_cast<jsize>(i));
        if (env->ExceptionCheck()) return;
        CopyCKObjectPtrToJObjectPrimitive(env, &s.hCert[i], sizeof(CK_OBJECT_HANDLE), element);
        if (env->ExceptionCheck()) return;
    }
}

void KeyWrapSetOaep(const Target& t) {
    JNIEnv* env = t.env;
    const auto& s = t.as<CK_KEY_WRAP_SET_OAEP_PARAMS>();
    jclass cls = nullptr;
    if (!t.find(jn::kKeyWrapSetOaepParams, &cls)) return;
    jbyteArray x = GetByteArrayField(env, cls, t.parameter, jn::kKeyWrapOaepX);
    if (env->ExceptionCheck()) return;
    SetLongField(env, cls, t.parameter, jn::kKeyWrapOaepXLen, static_cast<jlong>(s.ulXLen));
    if (env->ExceptionCheck()) return;
    if (s.pX != nullptr && x != nullptr) CopyCKByteArrayToJByteArray(env, s.pX, s.ulXLen, x);
}

// Gated by the Java parameterLen, not by the structure.
void Ssl3MasterKey(const Target& t) {
    JNIEnv* env = t.env;
    const auto& s = t.as<CK_SSL3_MASTER_KEY_DERIVE_PARAMS>();
    jclass cls = nullptr;
    if (!t.find(jn::kSsl3MasterKeyDeriveParams, &cls)) return;
    if (static_cast<CK_ULONG>(t.parameterLen) < 2 || s.pVersion == nullptr) return;
    jobject version = GetObjectArrayField(env, cls, t.parameter, jn::kSsl3MasterVersion);
    if (env->ExceptionCheck()) return;
    CopyCKVersionToJVersion(env, s.pVersion, version);
}

void Ssl3KeyAndMac(const Target& t) {
    JNIEnv* env = t.env;
    const CK_SSL3_KEY_MAT_OUT& out = *t.as<CK_SSL3_KEY_MAT_PARAMS>().pReturnedKeyMaterial;
    // Three lookups, one check.
    jclass cls = env->FindClass(jn::kSsl3KeyMatParams.path);
    jclass outCls = env->FindClass(jn::kSsl3KeyMatOut.path);
    jclass handleCls = env->FindClass(jn::kObjectHandle.path);
    if (env->ExceptionCheck()) return;
    jobject material = GetObjectArrayField(env, cls, t.parameter, jn::kSsl3KeyMatOutField);
    if (env->ExceptionCheck()) return;
    if (!t.handle(outCls, material, jn::kSsl3ClientMacSecret, handleCls, out.hClientMacSecret) ||
        !t.handle(outCls, material, jn::kSsl3ServerMacSecret, handleCls, out.hServerMacSecret) ||
        !t.handle(outCls, material, jn::kSsl3ClientKey, handleCls, out.hClientKey) ||
        !t.handle(outCls, material, jn::kSsl3ServerKey, handleCls, out.hServerKey))
        return;
    // The IV size of the Java parameter, not of the structure.
    const auto bits = static_cast<CK_ULONG>(GetLongField(env, cls, t.parameter, jn::kSsl3KeyMatIVSize));
    if (env->ExceptionCheck()) return;
    const CK_ULONG n = (bits + 7) >> 3;
    if (!t.bytes(outCls, material, jn::kSsl3IVClient, out.pIVClient, n)) return;
    t.bytes(outCls, material, jn::kSsl3IVServer, out.pIVServer, n);
}

template <class S, const jn::Class& Cls, const jn::ObjectField& PublicKey, const jn::ObjectField& PrivateKey>
bool Bip32Keys(const Target& t, jclass* cls) {
    jclass handleCls = nullptr;
    if (!t.find(Cls, cls) || !t.find(jn::kObjectHandle, &handleCls)) return false;
    const S& s = t.as<S>();
    return t.handle(*cls, t.parameter, PublicKey, handleCls, s.hPublicKey) &&
           t.handle(*cls, t.parameter, PrivateKey, handleCls, s.hPrivateKey);
}

void Bip32Master(const Target& t) {
    jclass cls = nullptr;
    Bip32Keys<CK_BIP32_MASTER_DERIVE_PARAMS, jn::kBip32MasterDeriveParams, jn::kBip32MasterPublicKey,
              jn::kBip32MasterPrivateKey>(t, &cls);
}

void Bip32Child(const Target& t) {
    JNIEnv* env = t.env;
    jclass cls = nullptr, unused = nullptr;
    if (!Bip32Keys<CK_BIP32_CHILD_DERIVE_PARAMS, jn::kBip32ChildDeriveParams, jn::kBip32ChildPublicKey,
                   jn::kBip32ChildPrivateKey>(t, &cls))
        return;
    // A lookup that stands in this branch, its result unused.
    if (!t.find(jn::kLong, &unused)) return;
    SetLongField(env, cls, t.parameter, jn::kBip32ChildPathErrorIndex,
                 static_cast<jlong>(t.as<CK_BIP32_CHILD_DERIVE_PARAMS>().pathErrorIndex));
}

void KdeMacTag(const Target& t) {
    jclass cls = nullptr;
    if (!t.find(jn::kKdeEccP521DeriveParams, &cls)) return;
    const auto& s = t.as<CK_KDE_ECCP521_DERIVE_PARAMS>();
    t.bytes(cls, t.parameter, jn::kKdeMacTagOut, s.bMacTagOut, sizeof s.bMacTagOut);
}

// Through CK_GCM_PARAMS whichever GCM class the object is: the Java side
// makes CK_AES_GCM_PARAMS a CK_GCM_PARAMS, so the field reaches both.
void GcmIv(const Target& t) {
    jclass cls = nullptr;
    if (!t.find(jn::kGcmParams, &cls)) return;
    const auto& s = t.as<CK_AES_GCM_PARAMS>();
    t.bytes(cls, t.parameter, jn::kGcmIv, s.pIv, s.ulIvLen);
}

}  // namespace

void CopyCKMechanismToJMechanism(JNIEnv* env, CK_MECHANISM_PTR converted, jobject mechanism) {
    jclass cls = env->FindClass(jn::kMechanism.path);
    if (env->ExceptionCheck() || mechanism == nullptr || converted == nullptr) return;
    const jboolean isMechanism = env->IsInstanceOf(mechanism, cls);
    if (env->ExceptionCheck() || !isMechanism) return;
    Target t{env, nullptr, 0, converted->pParameter};
    t.parameter = GetObjectArrayField(env, cls, mechanism, jn::kMechanismParameter);
    if (env->ExceptionCheck()) return;
    t.parameterLen = GetLongField(env, cls, mechanism, jn::kMechanismParameterLen);
    if (env->ExceptionCheck()) return;
    // The PBE numbers have no branch below, so the IV copy ends the routine.
    if (isPbeMech(converted->mechanism)) InitVector(t);
    switch (converted->mechanism) {
        case 0x800009F3:  // PKCS12_PBE_IMPORT
            return Pkcs12Import(t);
        case 0x401:  // KEY_WRAP_SET_OAEP
            return KeyWrapSetOaep(t);
        case 0x371:  // SSL3_MASTER_KEY_DERIVE
            return Ssl3MasterKey(t);
        case 0x372:  // SSL3_KEY_AND_MAC_DERIVE
            return Ssl3KeyAndMac(t);
        case 0x80000E00:  // BIP32_MASTER_DERIVE
            return Bip32Master(t);
        case 0x80000E01:  // BIP32_CHILD_DERIVE
            return Bip32Child(t);
        case 0x80001002:  // GEN_KDE_ECC_P521_DERIVE_SEND
        case 0x80001003:  // GEN_KDE_ECC_P521_DERIVE_RECV
            return KdeMacTag(t);
        case 0x1087:  // AES_GCM; AES_GCM_OLD and AES_GMAC share the structure, not this
            return GcmIv(t);
        default:
            return;
    }
}
