// Java objects into Cryptoki memory that exists already. The caller owns the
// target and says how much of it may be written; nothing here allocates for
// the caller, and the one block taken for itself (the handles of a PKCS#12
// import) is freed before it returns. An ExceptionCheck follows every JNI
// step and ends the copy, leaving the exception pending and what was
// written in place.
#include "morlin/copyToCK.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <utility>

#include "morlin/attributes.h"
#include "morlin/infoLayout.h"
#include "morlin/jutil.h"
#include "morlin/names/attributes.h"
#include "morlin/names/params.h"
#include "morlin/values.h"
#include "morlin/wrappers.h"
#include "morlin_util.h"

namespace {

// ---- arrays ------------------------------------------------------------------------

CK_ULONG LongToULong(jlong v) { return static_cast<CK_ULONG>(v); }
CK_ULONG IntToULong(jint v) { return static_cast<CK_ULONG>(static_cast<std::uint32_t>(v)); }
CK_BBOOL BooleanToBBool(jboolean v) { return v == 1 ? CK_TRUE : CK_FALSE; }
CK_CHAR CharToChar(jchar v) { return static_cast<CK_CHAR>(v & 0xFF); }

// Length, elements, element by element up to the shorter of the two, then
// the release in the mode of the family. A shorter array leaves the rest of
// the target alone.
template <class JArray, class JElem, class CkElem, JElem* (JNIEnv::*Get)(JArray, jboolean*),
          void (JNIEnv::*Release)(JArray, JElem*, jint), CkElem (*Convert)(JElem), jint Mode>
void CopyJArray(JNIEnv* env, JArray array, CkElem* target, CK_ULONG maximum) {
    if (array == nullptr || target == nullptr) return;
    const jsize size = env->GetArrayLength(array);
    if (env->ExceptionCheck()) return;
    JElem* elements = (env->*Get)(array, nullptr);
    if (env->ExceptionCheck()) return;
    const CK_ULONG n = std::min<CK_ULONG>(maximum, static_cast<CK_ULONG>(size));
    for (CK_ULONG i = 0; i < n; ++i) target[i] = Convert(elements[i]);
    (env->*Release)(array, elements, Mode);
}

// ---- the value dispatch ------------------------------------------------------------

// Writes one value of its class into buffer, which holds length bytes.
using Store = void (*)(JNIEnv*, jclass, jobject, CK_VOID_PTR, CK_ULONG);

template <class T>
void Put(CK_VOID_PTR buffer, T value) {
    memcpy(buffer, &value, sizeof value);  // a value buffer need not be aligned
}

void Bytes(JNIEnv* env, jclass, jobject o, CK_VOID_PTR b, CK_ULONG n) {
    CopyJByteArrayToCKByteArray(env, static_cast<jbyteArray>(o), static_cast<CK_BYTE_PTR>(b), n);
}

// The boxed value through its accessor method on the class that was looked up.
template <class JT, class CkT, CkT (*Convert)(JT), const jn::Method& M, JT (JNIEnv::*Call)(jobject, jmethodID, ...)>
void Unboxed(JNIEnv* env, jclass cls, jobject o, CK_VOID_PTR b, CK_ULONG) {
    jmethodID method = env->GetMethodID(cls, M.name, M.sig);
    if (env->ExceptionCheck()) return;
    const JT value = (env->*Call)(o, method);
    if (env->ExceptionCheck()) return;
    Put(b, Convert(value));
}

CK_BYTE ByteToByte(jbyte v) { return static_cast<CK_BYTE>(v); }

void BBool(JNIEnv* env, jclass, jobject o, CK_VOID_PTR b, CK_ULONG) {
    const CK_BBOOL value = jBBoolToCKBBool(env, o);
    if (!env->ExceptionCheck()) Put(b, value);
}

void Date(JNIEnv* env, jclass, jobject o, CK_VOID_PTR b, CK_ULONG n) {
    CopyJDateToCKDate(env, o, static_cast<CK_DATE*>(b), n);
}

template <Wrapper Kind>
void Wrapped(JNIEnv* env, jclass, jobject o, CK_VOID_PTR b, CK_ULONG) {
    const CK_ULONG value = jWrapperToCKULong(env, Kind, o);
    if (!env->ExceptionCheck()) Put(b, value);
}

// length is bytes here, 8 to a mechanism type.
void MechanismTypes(JNIEnv* env, jclass, jobject o, CK_VOID_PTR b, CK_ULONG n) {
    CopyJMechanismTypeArrayToCKMechanismTypeArray(env, static_cast<jobjectArray>(o), static_cast<CK_ULONG_PTR>(b),
                                                  n >> 3);
}

// length counts elements for long[] and int[], though it comes as bytes:
// the caller's buffer must hold length CK_ULONGs.
void Longs(JNIEnv* env, jclass, jobject o, CK_VOID_PTR b, CK_ULONG n) {
    CopyJLongArrayToCKULongArray(env, static_cast<jlongArray>(o), static_cast<CK_ULONG_PTR>(b), n);
}
void Ints(JNIEnv* env, jclass, jobject o, CK_VOID_PTR b, CK_ULONG n) {
    CopyJIntArrayToCKULongArray(env, static_cast<jintArray>(o), static_cast<CK_ULONG_PTR>(b), n);
}
void Text(JNIEnv* env, jclass, jobject o, CK_VOID_PTR b, CK_ULONG n) {
    CopyJStringToCKCharArray(env, static_cast<jstring>(o), static_cast<CK_CHAR_PTR>(b), n);
}
void Booleans(JNIEnv* env, jclass, jobject o, CK_VOID_PTR b, CK_ULONG n) {
    CopyJBooleanArrayToCKBBoolArray(env, static_cast<jbooleanArray>(o), static_cast<CK_BBOOL*>(b), n);
}
void Chars(JNIEnv* env, jclass, jobject o, CK_VOID_PTR b, CK_ULONG n) {
    CopyJCharArrayToCKCharArray(env, static_cast<jcharArray>(o), static_cast<CK_CHAR_PTR>(b), n);
}

struct CopyRow {
    Store store;
    // The value is a CK_ULONG or a CK_DATE: below 8 bytes the class is not
    // matched at all, and the tests go on to the next one.
    bool needsEight;
};

// One row for each class, in the order of jn::kValueClasses; they are tested
// in the order of jn::kValueTestOrder, shared with the dispatch that
// allocates. Unlike there, Character reaches its own class and works.
constexpr CopyRow kCopyRows[] = {
    {Bytes, false},
    {Unboxed<jlong, CK_ULONG, LongToULong, jn::kLongValue, &JNIEnv::CallLongMethod>, true},
    {BBool, false},
    {Date, true},
    {Wrapped<Wrapper::ObjectHandle>, true},
    {Wrapped<Wrapper::SessionHandle>, true},
    {Wrapped<Wrapper::AttributeType>, true},
    {Wrapped<Wrapper::CertificateType>, true},
    {Wrapped<Wrapper::HWFeatureType>, true},
    {Wrapped<Wrapper::KeyType>, true},
    {Wrapped<Wrapper::MechanismType>, true},
    {MechanismTypes, false},
    {Wrapped<Wrapper::ObjectClass>, true},
    {Wrapped<Wrapper::RsaPkcsOaepSourceType>, true},
    {Wrapped<Wrapper::RV>, true},
    {Wrapped<Wrapper::State>, true},
    {Wrapped<Wrapper::UserType>, true},
    {Unboxed<jboolean, CK_BBOOL, BooleanToBBool, jn::kBooleanValue, &JNIEnv::CallBooleanMethod>, false},
    {Longs, false},
    {Text, false},
    {Unboxed<jint, CK_ULONG, IntToULong, jn::kIntegerValue, &JNIEnv::CallIntMethod>, true},
    {Ints, false},
    {Booleans, false},
    {Chars, false},
    {Unboxed<jbyte, CK_BYTE, ByteToByte, jn::kByteValue, &JNIEnv::CallByteMethod>, false},
    {Unboxed<jchar, CK_CHAR, CharToChar, jn::kCharacterValue, &JNIEnv::CallCharMethod>, false},
};
static_assert(std::size(kCopyRows) == std::size(jn::kValueClasses), "every class looked up has its row");

// ---- fixed-shape structures --------------------------------------------------------

// FindClass, IsInstanceOf, then the fields in table order: a byte[] into the
// structure's field, at most its length; a long; a CK_VERSION; the state of
// a session through its wrapper.
template <size_t N>
void CopyFields(JNIEnv* env, const jn::Class& javaClass, jobject object, void* target,
                const layout::InfoField (&fields)[N]) {
    jclass cls = env->FindClass(javaClass.path);
    if (env->ExceptionCheck() || object == nullptr || target == nullptr) return;
    const jboolean isInstance = env->IsInstanceOf(object, cls);
    if (env->ExceptionCheck() || !isInstance) return;
    auto* base = static_cast<unsigned char*>(target);
    for (const layout::InfoField& f : fields) {
        unsigned char* at = base + f.offset;
        switch (jn::SigOf(f.field.sig)) {
            case jn::Sig::Long: {
                const jlong value = GetLongField(env, cls, object, static_cast<const jn::LongField&>(f.field));
                if (env->ExceptionCheck()) return;
                Put(at, static_cast<CK_ULONG>(value));
                break;
            }
            case jn::Sig::Bytes: {
                jbyteArray array = GetByteArrayField(env, cls, object, static_cast<const jn::BytesField&>(f.field));
                if (env->ExceptionCheck()) return;
                CopyJByteArrayToCKByteArray(env, array, at, f.length);
                if (env->ExceptionCheck()) return;
                break;
            }
            default: {
                jobject value = GetObjectArrayField(env, cls, object, static_cast<const jn::ObjectField&>(f.field));
                if (env->ExceptionCheck()) return;
                if (&f.field == &jn::kSessionInfoState) {
                    const CK_STATE state = jStateToCKState(env, value);
                    if (env->ExceptionCheck()) return;
                    Put(at, state);
                } else {
                    CopyJVersionToCKVersion(env, value, reinterpret_cast<CK_VERSION_PTR>(at));
                    if (env->ExceptionCheck()) return;
                }
                break;
            }
        }
    }
}

// ---- mechanism parameters ----------------------------------------------------------

// The IV of a password-based mechanism, at most 8 bytes, the bound fixed.
void PbeInitVector(JNIEnv* env, jobject parameter, CK_PBE_PARAMS& s) {
    jclass cls = env->FindClass(jn::kPbeParams.path);
    if (env->ExceptionCheck()) return;
    jbyteArray iv = GetByteArrayField(env, cls, parameter, jn::kPbeInitVector);
    if (env->ExceptionCheck()) return;
    CopyJByteArrayToCKByteArray(env, iv, s.pInitVector, 8);
}

// The count, then as many handles as the Java array holds. A count equal to
// a length above 0x7FFF copies no handles; kept as it stands.
void Pkcs12Import(JNIEnv* env, jobject parameter, CK_PKCS12_PBE_IMPORT_PARAMS& s) {
    jclass cls = env->FindClass(jn::kPkcs12PbeImportParams.path);
    if (env->ExceptionCheck()) return;
    jobject countRef = GetObjectArrayField(env, cls, parameter, jn::kPkcs12CertCount);
    if (env->ExceptionCheck()) return;
    jclass longRef = env->FindClass(jn::kLongRef.path);
    if (env->ExceptionCheck()) return;
    const jlong count = GetLongField(env, longRef, countRef, jn::kLongRefValue);
    if (env->ExceptionCheck() || s.hCertCount == nullptr) return;
    *s.hCertCount = static_cast<CK_ULONG>(count);
    if (*s.hCertCount == 0) return;
    auto array = static_cast<jobjectArray>(GetObjectArrayField(env, cls, parameter, jn::kPkcs12Cert));
    if (env->ExceptionCheck()) return;
    CK_OBJECT_HANDLE_PTR handles = nullptr;
    CK_ULONG bytes = 0;
    jObjectHandleArrayToCKObjectHandleArray(env, array, &handles, &bytes);
    if (!env->ExceptionCheck()) {
        const CK_ULONG length = bytes / sizeof(CK_OBJECT_HANDLE);
        const bool kept = *s.hCertCount == length && length > 0x7FFF;
        if (!kept && length > 0 && s.hCert != nullptr) memcpy(s.hCert, handles, bytes);
    }
    free(handles);
}

// A structure whose room is below the Java XLen gets nothing.
void KeyWrapSetOaep(JNIEnv* env, jobject parameter, CK_KEY_WRAP_SET_OAEP_PARAMS& s) {
    jclass cls = env->FindClass(jn::kKeyWrapSetOaepParams.path);
    if (env->ExceptionCheck()) return;
    jbyteArray x = GetByteArrayField(env, cls, parameter, jn::kKeyWrapOaepX);
    if (env->ExceptionCheck()) return;
    const auto xLen = static_cast<CK_ULONG>(GetLongField(env, cls, parameter, jn::kKeyWrapOaepXLen));
    if (env->ExceptionCheck() || s.ulXLen < xLen) return;
    s.ulXLen = xLen;
    if (s.pX != nullptr) CopyJByteArrayToCKByteArray(env, x, s.pX, xLen);
}

void Ssl3MasterKey(JNIEnv* env, jobject parameter, CK_SSL3_MASTER_KEY_DERIVE_PARAMS& s) {
    jclass cls = env->FindClass(jn::kSsl3MasterKeyDeriveParams.path);
    if (env->ExceptionCheck()) return;
    jobject version = GetObjectArrayField(env, cls, parameter, jn::kSsl3MasterVersion);
    if (env->ExceptionCheck()) return;
    CopyJVersionToCKVersion(env, version, s.pVersion);
}

// The four handles in their order, then (IVSizeInBits + 7) >> 3 bytes of
// each IV, the size taken from the Java parameter.
void Ssl3KeyAndMac(JNIEnv* env, jobject parameter, CK_SSL3_KEY_MAT_PARAMS& s) {
    jclass cls = env->FindClass(jn::kSsl3KeyMatParams.path);
    if (env->ExceptionCheck()) return;
    jobject material = GetObjectArrayField(env, cls, parameter, jn::kSsl3KeyMatOutField);
    if (env->ExceptionCheck()) return;
    jclass outCls = env->FindClass(jn::kSsl3KeyMatOut.path);
    if (env->ExceptionCheck() || s.pReturnedKeyMaterial == nullptr) return;
    CK_SSL3_KEY_MAT_OUT& out = *s.pReturnedKeyMaterial;
    const std::pair<const jn::ObjectField&, CK_OBJECT_HANDLE&> handles[] = {
        {jn::kSsl3ClientMacSecret, out.hClientMacSecret},
        {jn::kSsl3ServerMacSecret, out.hServerMacSecret},
        {jn::kSsl3ClientKey, out.hClientKey},
        {jn::kSsl3ServerKey, out.hServerKey},
    };
    for (const auto& [field, handle] : handles) {
        jobject wrapper = GetObjectArrayField(env, outCls, material, field);
        if (env->ExceptionCheck()) return;
        const CK_OBJECT_HANDLE value = jObjectHandleToCKObjectHandle(env, wrapper);
        if (env->ExceptionCheck()) return;
        handle = value;
    }
    const auto bits = static_cast<CK_ULONG>(GetLongField(env, cls, parameter, jn::kSsl3KeyMatIVSize));
    if (env->ExceptionCheck()) return;
    const CK_ULONG n = (bits + 7) >> 3;
    const std::pair<const jn::BytesField&, CK_BYTE_PTR> ivs[] = {
        {jn::kSsl3IVClient, out.pIVClient},
        {jn::kSsl3IVServer, out.pIVServer},
    };
    for (const auto& [field, target] : ivs) {
        jbyteArray iv = GetByteArrayField(env, outCls, material, field);
        if (env->ExceptionCheck()) return;
        CopyJByteArrayToCKByteArray(env, iv, target, n);
        if (env->ExceptionCheck()) return;
    }
}

}  // namespace

// ---- arrays --------------------------------------------------------------------------

// Mode 0 writes the unchanged copy back into the Java array; only the char
// and byte copies release with JNI_ABORT. The difference is kept as it is.
void CopyJLongArrayToCKULongArray(JNIEnv* env, jlongArray array, CK_ULONG_PTR target, CK_ULONG maximum) {
    CopyJArray<jlongArray, jlong, CK_ULONG, &JNIEnv::GetLongArrayElements, &JNIEnv::ReleaseLongArrayElements,
               LongToULong, 0>(env, array, target, maximum);
}

void CopyJIntArrayToCKULongArray(JNIEnv* env, jintArray array, CK_ULONG_PTR target, CK_ULONG maximum) {
    CopyJArray<jintArray, jint, CK_ULONG, &JNIEnv::GetIntArrayElements, &JNIEnv::ReleaseIntArrayElements, IntToULong,
               0>(env, array, target, maximum);
}

void CopyJBooleanArrayToCKBBoolArray(JNIEnv* env, jbooleanArray array, CK_BBOOL* target, CK_ULONG maximum) {
    CopyJArray<jbooleanArray, jboolean, CK_BBOOL, &JNIEnv::GetBooleanArrayElements,
               &JNIEnv::ReleaseBooleanArrayElements, BooleanToBBool, 0>(env, array, target, maximum);
}

void CopyJCharArrayToCKCharArray(JNIEnv* env, jcharArray array, CK_CHAR_PTR target, CK_ULONG maximum) {
    CopyJArray<jcharArray, jchar, CK_CHAR, &JNIEnv::GetCharArrayElements, &JNIEnv::ReleaseCharArrayElements, CharToChar,
               JNI_ABORT>(env, array, target, maximum);
}

void CopyJStringToCKCharArray(JNIEnv* env, jstring string, CK_CHAR_PTR target, CK_ULONG length) {
    if (string == nullptr || target == nullptr) return;
    const char* text = env->GetStringUTFChars(string, nullptr);
    if (env->ExceptionCheck() || text == nullptr) return;
    strncpy(reinterpret_cast<char*>(target), text, length);
    env->ReleaseStringUTFChars(string, text);
}

void CopyJDateToCKDate(JNIEnv* env, jobject date, CK_DATE* target, CK_ULONG) {
    jclass cls = env->FindClass(jn::kDate.path);
    if (env->ExceptionCheck() || date == nullptr || target == nullptr) return;
    const jboolean isDate = env->IsInstanceOf(date, cls);
    if (env->ExceptionCheck() || !isDate) return;
    auto* base = reinterpret_cast<CK_BYTE_PTR>(target);
    // A null or short field leaves its bytes as they were.
    for (const DateField& f : kDateCopyLayout) {
        jbyteArray field = GetByteArrayField(env, cls, date, f.field);
        CopyJByteArrayToCKByteArray(env, field, base + f.offset, f.length);
        if (env->ExceptionCheck()) return;
    }
}

void CopyJMechanismTypeArrayToCKMechanismTypeArray(JNIEnv* env, jobjectArray array, CK_MECHANISM_TYPE_PTR target,
                                                   CK_ULONG count) {
    if (array == nullptr || target == nullptr) return;
    // Asked, and not used: the count alone bounds the loop.
    env->GetArrayLength(array);
    if (env->ExceptionCheck()) return;
    for (CK_ULONG i = 0; i < count; ++i) {
        jobject element = env->GetObjectArrayElement(array, static_cast<jsize>(i));
        if (env->ExceptionCheck()) return;
        target[i] = jMechanismTypeToCKMechanismType(env, element);
        if (env->ExceptionCheck()) return;
    }
}

// ---- values and attributes -------------------------------------------------------------

void CopyJObjectPrimativeToCKObjectPtr(JNIEnv* env, jobject object, CK_VOID_PTR buffer, CK_ULONG length) {
    ValueClasses classes;
    if (!FindValueClasses(env, classes)) return;
    if (object == nullptr || buffer == nullptr || length == 0) return;
    // IsInstanceOf raises nothing: only a hit is followed by a check.
    for (size_t c : jn::kValueTestOrder) {
        const CopyRow& row = kCopyRows[c];
        if (row.needsEight && length < 8) continue;
        if (!env->IsInstanceOf(object, classes[c])) continue;
        if (env->ExceptionCheck()) return;
        row.store(env, classes[c], object, buffer, length);
        return;
    }
    ThrowUnsupportedFor(env, object, "Can not copy from %s to a CK type");
}

// A null attribute ends in silence like a null row: there is nothing to read.
void CopyJAttributeToCKAttribute(JNIEnv* env, jobject attribute, CK_ATTRIBUTE_PTR row) {
    jclass cls = env->FindClass(jn::kAttribute.path);
    if (env->ExceptionCheck() || attribute == nullptr || row == nullptr) return;
    const jboolean isAttribute = env->IsInstanceOf(attribute, cls);
    if (env->ExceptionCheck() || !isAttribute) return;
    jobject type = GetObjectArrayField(env, cls, attribute, jn::kAttributeTypeField);
    if (env->ExceptionCheck()) return;
    const CK_ATTRIBUTE_TYPE ckType = jAttributeTypeToCKAttributeType(env, type);
    if (env->ExceptionCheck()) return;
    row->type = ckType;
    jobject value = GetObjectArrayField(env, cls, attribute, jn::kAttributeValue);
    if (env->ExceptionCheck()) return;
    // The row arrives with its buffer and that buffer's capacity.
    CopyJObjectPrimativeToCKObjectPtr(env, value, row->pValue, row->ulValueLen);
    if (env->ExceptionCheck()) return;
    const jlong valueLen = GetLongField(env, cls, attribute, jn::kAttributeValueLen);
    if (env->ExceptionCheck()) return;
    row->ulValueLen = static_cast<CK_ULONG>(valueLen);
}

void CopyJAttributeArrayToCKAttributeArray(JNIEnv* env, jobjectArray array, CK_ATTRIBUTE_PTR rows, CK_ULONG count) {
    if (array == nullptr || rows == nullptr) return;
    // Asked, and not used: the count alone bounds the loop.
    env->GetArrayLength(array);
    if (env->ExceptionCheck()) return;
    for (CK_ULONG i = 0; i < count; ++i) {
        jobject element = env->GetObjectArrayElement(array, static_cast<jsize>(i));
        if (env->ExceptionCheck()) return;
        CopyJAttributeToCKAttribute(env, element, &rows[i]);
        if (env->ExceptionCheck()) return;
    }
}

// ---- fixed-shape structures -------------------------------------------------------------

void CopyJVersionToCKVersion(JNIEnv* env, jobject version, CK_VERSION_PTR target) {
    jclass cls = env->FindClass(jn::kVersion.path);
    if (env->ExceptionCheck() || version == nullptr || target == nullptr) return;
    const jboolean isVersion = env->IsInstanceOf(version, cls);
    if (env->ExceptionCheck() || !isVersion) return;
    jfieldID major = env->GetFieldID(cls, jn::kVersionMajor.name, jn::kVersionMajor.sig);
    if (env->ExceptionCheck()) return;
    const jbyte majorValue = env->GetByteField(version, major);
    if (env->ExceptionCheck()) return;
    target->major = static_cast<CK_BYTE>(majorValue);
    jfieldID minor = env->GetFieldID(cls, jn::kVersionMinor.name, jn::kVersionMinor.sig);
    if (env->ExceptionCheck()) return;
    const jbyte minorValue = env->GetByteField(version, minor);
    if (env->ExceptionCheck()) return;
    target->minor = static_cast<CK_BYTE>(minorValue);
}

void CopyJInfoToCKInfo(JNIEnv* env, jobject info, CK_INFO_PTR target) {
    CopyFields(env, jn::kInfo, info, target, layout::kInfoFields);
}

void CopyJMechInfoToCKMechInfo(JNIEnv* env, jobject info, CK_MECHANISM_INFO_PTR target) {
    CopyFields(env, jn::kMechanismInfo, info, target, layout::kMechanismInfoFields);
}

void CopyJSessionInfoToCKSessionInfo(JNIEnv* env, jobject info, CK_SESSION_INFO_PTR target) {
    CopyFields(env, jn::kSessionInfo, info, target, layout::kSessionInfoFields);
}

void CopyJSlotInfoToCKSlotInfo(JNIEnv* env, jobject info, CK_SLOT_INFO_PTR target) {
    CopyFields(env, jn::kSlotInfo, info, target, layout::kSlotInfoFields);
}

void CopyJTokenInfoToCKTokenInfo(JNIEnv* env, jobject info, CK_TOKEN_INFO_PTR target) {
    CopyFields(env, jn::kTokenInfo, info, target, layout::kTokenInfoFields);
}

// ---- mechanism parameters ------------------------------------------------------------

// The mirror of the write-back over its first branches, but as a strict
// either-or: a password-based number takes the IV and nothing else. A null
// parameter structure has no fields to fill.
void CopyJMechanismToCKMechanism(JNIEnv* env, jobject mechanism, CK_MECHANISM_PTR target) {
    jclass cls = env->FindClass(jn::kMechanism.path);
    if (env->ExceptionCheck() || mechanism == nullptr || target == nullptr) return;
    const jboolean isMechanism = env->IsInstanceOf(mechanism, cls);
    if (env->ExceptionCheck() || !isMechanism) return;
    jobject parameter = GetObjectArrayField(env, cls, mechanism, jn::kMechanismParameter);
    if (env->ExceptionCheck()) return;
    // Read as the write-back reads it; no branch here depends on it.
    GetLongField(env, cls, mechanism, jn::kMechanismParameterLen);
    if (env->ExceptionCheck() || target->pParameter == nullptr) return;
    void* structure = target->pParameter;
    if (isPbeMech(target->mechanism)) return PbeInitVector(env, parameter, *static_cast<CK_PBE_PARAMS*>(structure));
    switch (target->mechanism) {
        case 0x800009F3:  // PKCS12_PBE_IMPORT
            return Pkcs12Import(env, parameter, *static_cast<CK_PKCS12_PBE_IMPORT_PARAMS*>(structure));
        case 0x401:  // KEY_WRAP_SET_OAEP
            return KeyWrapSetOaep(env, parameter, *static_cast<CK_KEY_WRAP_SET_OAEP_PARAMS*>(structure));
        case 0x371:  // SSL3_MASTER_KEY_DERIVE
            return Ssl3MasterKey(env, parameter, *static_cast<CK_SSL3_MASTER_KEY_DERIVE_PARAMS*>(structure));
        case 0x372:  // SSL3_KEY_AND_MAC_DERIVE
            return Ssl3KeyAndMac(env, parameter, *static_cast<CK_SSL3_KEY_MAT_PARAMS*>(structure));
        default:
            return;
    }
}
