// Parameters of RSA padding (OAEP, PSS, the OAEP of SET key wrapping),
// password-based encryption and the token library's PKCS#12 import and
// export.
//
// Every byte[] of these classes becomes a fresh block whose measured length
// is dropped: the Java length field read after it is what the structure
// keeps, never compared with the array. Each releaser frees the blocks that
// its structure points to, then the structure; a converter's clean-up after
// an exception is its releaser.
#include <cstdlib>

#include "morlin/attributes.h"
#include "morlin/names/paramsRsaPbe.h"
#include "morlin/params.h"
#include "morlin/wrappers.h"

using params::Build;
using params::Fresh;
using params::Long;

namespace {

// A wrapper held by an object field, converted by its row of the wrapper
// table; a null wrapper reads as all bits set. False with the exception
// pending, the target then untouched.
template <CK_ULONG (*ToCK)(JNIEnv*, jobject)>
bool Wrapped(JNIEnv* env, jclass cls, jobject object, const jn::ObjectField& field, CK_ULONG* target) {
    jobject wrapper = GetObjectArrayField(env, cls, object, field);
    if (env->ExceptionCheck()) return false;
    const CK_ULONG value = ToCK(env, wrapper);
    if (env->ExceptionCheck()) return false;
    *target = value;
    return true;
}

// A "B" field, one byte with its bit pattern. jutil has no byte accessor:
// no other class of the bridge reads one. False with the exception pending.
bool Byte(JNIEnv* env, jclass cls, jobject object, const jn::ByteField& field, CK_BYTE* target) {
    jfieldID id = env->GetFieldID(cls, field.name, field.sig);
    if (env->ExceptionCheck()) return false;
    const jbyte value = env->GetByteField(object, id);
    if (env->ExceptionCheck()) return false;
    *target = static_cast<CK_BYTE>(value);
    return true;
}

// A fresh array whose measured length goes nowhere. The pointer is stored
// whatever happens, so that a clean-up finds what was allocated.
bool Dropped(JNIEnv* env, jclass cls, jobject object, const jn::BytesField& field, CK_BYTE_PTR* pointer) {
    CK_ULONG measured = 0;
    return Fresh(env, cls, object, field, pointer, &measured);
}

// The import's in-and-out pair: the count goes into the CK_ULONG block that
// hCertCount already points to, from the LongRef's value (all bits set for
// a null LongRef, as the accessor answers). The handles are read only for a
// count other than zero, and their length is dropped: the count stays the
// Java one, whatever the array holds.
bool CertificateSlots(JNIEnv* env, jclass cls, jobject object, CK_PKCS12_PBE_IMPORT_PARAMS* s,
                      CK_OBJECT_HANDLE_PTR* handles) {
    jobject countRef = GetObjectArrayField(env, cls, object, jn::kPkcs12CertCount);
    if (env->ExceptionCheck()) return false;
    jclass longRef = env->FindClass(jn::kLongRef.path);
    if (env->ExceptionCheck()) return false;
    const jlong count = GetLongField(env, longRef, countRef, jn::kLongRefValue);
    if (env->ExceptionCheck()) return false;
    *s->hCertCount = static_cast<CK_ULONG>(count);
    if (*s->hCertCount == 0) return true;
    auto array = static_cast<jobjectArray>(GetObjectArrayField(env, cls, object, jn::kPkcs12Cert));
    if (env->ExceptionCheck()) return false;
    CK_ULONG dropped = 0;
    jObjectHandleArrayToCKObjectHandleArray(env, array, handles, &dropped);
    return !env->ExceptionCheck();
}

}  // namespace

void convertRsaPkcsOaepParams(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    Build<CK_RSA_PKCS_OAEP_PARAMS>(
        result, length,
        [&](CK_RSA_PKCS_OAEP_PARAMS* s) {
            if (!Wrapped<jMechanismTypeToCKMechanismType>(env, cls, object, jn::kOaepHashAlg, &s->hashAlg) ||
                !Long(env, cls, object, jn::kOaepMgf, &s->mgf) ||
                !Wrapped<jRsaPkcsOaepSourceTypeToCKRsaPkcsOaepSourceType>(env, cls, object, jn::kOaepSource,
                                                                          &s->source))
                return false;
            CK_BYTE_PTR label = nullptr;
            const bool read = Dropped(env, cls, object, jn::kOaepSourceData, &label);
            s->pSourceData = label;
            return read && Long(env, cls, object, jn::kOaepSourceDataLen, &s->ulSourceDataLen);
        },
        [](CK_RSA_PKCS_OAEP_PARAMS* s) { freeRsaPkcsOaepParams(s, 0); });
}
void freeRsaPkcsOaepParams(void* parameter, CK_ULONG) {
    if (auto* s = static_cast<CK_RSA_PKCS_OAEP_PARAMS*>(parameter)) free(s->pSourceData);
    free(parameter);
}

void convertRsaPkcsPssParams(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    Build<CK_RSA_PKCS_PSS_PARAMS>(
        result, length,
        [&](CK_RSA_PKCS_PSS_PARAMS* s) {
            return Wrapped<jMechanismTypeToCKMechanismType>(env, cls, object, jn::kPssHashAlg, &s->hashAlg) &&
                   Long(env, cls, object, jn::kPssMgf, &s->mgf) && Long(env, cls, object, jn::kPssSLen, &s->sLen);
        },
        [](CK_RSA_PKCS_PSS_PARAMS* s) { free(s); });
}
void freeRsaPkcsPssParams(void* parameter, CK_ULONG) { free(parameter); }

// pX and ulXLen come back through the write-back. After an exception this
// converter alone leaves *length at the structure's size; nobody reads it
// then, and it stays so.
void convertKeyWrapSetOaepParams(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    auto* s = params::Begin<CK_KEY_WRAP_SET_OAEP_PARAMS>(length);
    if (s == nullptr) {
        *result = nullptr;
        return;
    }
    if (Byte(env, cls, object, jn::kKeyWrapOaepBC, &s->bBC) && Dropped(env, cls, object, jn::kKeyWrapOaepX, &s->pX) &&
        Long(env, cls, object, jn::kKeyWrapOaepXLen, &s->ulXLen)) {
        *result = s;
        return;
    }
    freeKeyWrapSetOaepParams(s, 0);
    *result = nullptr;
}
void freeKeyWrapSetOaepParams(void* parameter, CK_ULONG) {
    if (auto* s = static_cast<CK_KEY_WRAP_SET_OAEP_PARAMS*>(parameter)) free(s->pX);
    free(parameter);
}

// pInitVector has no length in the structure: its block is as long as the
// Java array, and the write-back returns at most 8 bytes of it. The
// iteration count is the last read and no ExceptionCheck follows it: the
// structure is handed out at once, and a failed read leaves it handed out,
// ulIteration all bits set, with the exception pending.
void convertPbeParams(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    auto* s = params::Begin<CK_PBE_PARAMS>(length);
    if (s == nullptr) {
        *result = nullptr;
        return;
    }
    if (!Dropped(env, cls, object, jn::kPbeInitVector, &s->pInitVector) ||
        !Dropped(env, cls, object, jn::kPbePassword, &s->pPassword) ||
        !Long(env, cls, object, jn::kPbePasswordLen, &s->ulPasswordLen) ||
        !Dropped(env, cls, object, jn::kPbeSalt, &s->pSalt) ||
        !Long(env, cls, object, jn::kPbeSaltLen, &s->ulSaltLen)) {
        freePbeParams(s, 0);
        params::Fail(result, length);
        return;
    }
    s->ulIteration = static_cast<CK_ULONG>(GetLongField(env, cls, object, jn::kPbeIteration));
    *result = s;
}
void freePbeParams(void* parameter, CK_ULONG) {
    if (auto* s = static_cast<CK_PBE_PARAMS*>(parameter)) {
        free(s->pInitVector);
        free(s->pPassword);
        free(s->pSalt);
    }
    free(parameter);
}

void convertPKCS12PbeExportParams(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    Build<CK_PKCS12_PBE_EXPORT_PARAMS>(
        result, length,
        [&](CK_PKCS12_PBE_EXPORT_PARAMS* s) {
            return Wrapped<jObjectHandleToCKObjectHandle>(env, cls, object, jn::kPkcs12ExportKeyCert, &s->keyCert) &&
                   Dropped(env, cls, object, jn::kPkcs12ExportAuthSafe, &s->passwordAuthSafe) &&
                   Long(env, cls, object, jn::kPkcs12ExportAuthSafeLen, &s->passwordAuthSafeLen) &&
                   Dropped(env, cls, object, jn::kPkcs12ExportHmac, &s->passwordHMAC) &&
                   Long(env, cls, object, jn::kPkcs12ExportHmacLen, &s->passwordHMACLen) &&
                   Wrapped<jMechanismTypeToCKMechanismType>(env, cls, object, jn::kPkcs12ExportSafeBagKgMech,
                                                            &s->safeBagKgMech) &&
                   Wrapped<jMechanismTypeToCKMechanismType>(env, cls, object, jn::kPkcs12ExportSafeContentKgMech,
                                                            &s->safeContentKgMech) &&
                   Wrapped<jMechanismTypeToCKMechanismType>(env, cls, object, jn::kPkcs12ExportHmacKgMech,
                                                            &s->hmacKgMech);
        },
        [](CK_PKCS12_PBE_EXPORT_PARAMS* s) { freePKCS12PbeExportParams(s, 0); });
}
void freePKCS12PbeExportParams(void* parameter, CK_ULONG) {
    if (auto* s = static_cast<CK_PKCS12_PBE_EXPORT_PARAMS*>(parameter)) {
        free(s->passwordAuthSafe);
        free(s->passwordHMAC);
    }
    free(parameter);
}

// Two allocations before any read: the structure and the CK_ULONG that
// hCertCount points to, which the token library answers into. The handle
// array is held aside and stored last; every failure, of an allocation or
// of a read, frees it and hands the structure to the releaser.
//
// The template's converted length goes into certAttrCount until the Java
// count replaces it, so that a failure in between releases the values
// converted so far.
void convertPKCS12PbeImportParams(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    *length = sizeof(CK_PKCS12_PBE_IMPORT_PARAMS);
    auto* s = static_cast<CK_PKCS12_PBE_IMPORT_PARAMS*>(calloc(1, sizeof(CK_PKCS12_PBE_IMPORT_PARAMS)));
    CK_OBJECT_HANDLE_PTR handles = nullptr;
    auto fill = [&] {
        s->hCertCount = static_cast<CK_ULONG_PTR>(calloc(1, sizeof(CK_ULONG)));
        if (s->hCertCount == nullptr) return false;
        if (!Dropped(env, cls, object, jn::kPkcs12ImportAuthSafe, &s->passwordAuthSafe) ||
            !Long(env, cls, object, jn::kPkcs12ImportAuthSafeLen, &s->passwordAuthSafeLen) ||
            !Dropped(env, cls, object, jn::kPkcs12ImportHmac, &s->passwordHMAC) ||
            !Long(env, cls, object, jn::kPkcs12ImportHmacLen, &s->passwordHMACLen))
            return false;
        auto attributes = static_cast<jobjectArray>(GetObjectArrayField(env, cls, object, jn::kPkcs12ImportCertAttr));
        if (env->ExceptionCheck()) return false;
        jAttributeArrayToCKAttributeArray(env, attributes, &s->certAttr, &s->certAttrCount);
        return !env->ExceptionCheck() && Long(env, cls, object, jn::kPkcs12ImportCertAttrCount, &s->certAttrCount) &&
               CertificateSlots(env, cls, object, s, &handles);
    };
    if (s != nullptr && fill()) {
        s->hCert = handles;
        *result = s;
        return;
    }
    free(handles);
    freePKCS12PbeImportParams(s, 0);
    params::Fail(result, length);
}
// The template's values as far as certAttrCount says, the Java count: one
// above the array's length reads past it.
void freePKCS12PbeImportParams(void* parameter, CK_ULONG) {
    if (auto* s = static_cast<CK_PKCS12_PBE_IMPORT_PARAMS*>(parameter)) {
        free(s->passwordAuthSafe);
        free(s->passwordHMAC);
        if (s->certAttr != nullptr) freeCKAttributeArray(s->certAttr, s->certAttrCount);
        free(s->hCert);
        free(s->hCertCount);
    }
    free(parameter);
}
