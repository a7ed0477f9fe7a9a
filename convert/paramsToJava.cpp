// Mechanism parameters from Cryptoki to new Java objects. The opposite way
// (mechanism.cpp) goes by the Java class of the parameter; here there is
// none, so a row of the table below is chosen by the mechanism number and
// the parameter length together, and its converter builds the object from
// nothing. A number with a length that no row has, or a number that no row
// knows, comes back as the raw bytes of the structure.
//
// A converter: FindClass of its class, AllocObject (no constructor runs),
// then each field in the order the Java side expects them set, an
// ExceptionCheck after every JNI call. The first pending exception drops the
// half-built object and gives null; the exception stays pending.
#include "morlin/paramsToJava.h"

#include <cstring>
#include <iterator>

#include "morlin/attributes.h"
#include "morlin/copyToJava.h"
#include "morlin/jutil.h"
#include "morlin/names/core.h"
#include "morlin/names/params.h"
#include "morlin/names/paramsDerive.h"
#include "morlin/names/paramsRsaPbe.h"
#include "morlin/names/paramsVendor.h"
#include "morlin/values.h"
#include "morlin/wrappers.h"

namespace {

// FindClass and AllocObject of a class; null with the exception pending.
jobject New(JNIEnv* env, const jn::Class& cls, jclass* found) {
    *found = env->FindClass(cls.path);
    if (env->ExceptionCheck()) return nullptr;
    jobject object = env->AllocObject(*found);
    if (env->ExceptionCheck()) return nullptr;
    return object;
}

// A new object under construction and its class, which serves every field
// lookup. Each setter answers false with the exception pending.
struct Target {
    JNIEnv* env;
    jclass cls;
    jobject object;

    bool Long(const jn::LongField& field, CK_ULONG value) const {
        SetLongField(env, cls, object, field, static_cast<jlong>(value));
        return !env->ExceptionCheck();
    }
    // A one-byte count into an int field, unsigned: 0xFE is 254.
    bool Int(const jn::IntField& field, CK_BYTE value) const {
        SetIntField(env, cls, object, field, static_cast<jlong>(value));
        return !env->ExceptionCheck();
    }
    // A byte into a Java byte field, keeping its bits: 0xC3 reads as -61.
    bool Byte(const jn::ByteField& field, CK_BYTE value) const {
        jfieldID id = env->GetFieldID(cls, field.name, field.sig);
        if (env->ExceptionCheck()) return false;
        env->SetByteField(object, id, static_cast<jbyte>(value));
        return !env->ExceptionCheck();
    }
    // count bytes (its low 32 bits) as a new byte[]; a null source leaves the
    // field null, as AllocObject made it.
    bool Bytes(const jn::BytesField& field, const void* source, CK_ULONG count) const {
        jfieldID id = env->GetFieldID(cls, field.name, field.sig);
        if (env->ExceptionCheck()) return false;
        if (source == nullptr) return true;
        jbyteArray array = ckByteArrayToJByteArray(env, static_cast<const CK_BYTE*>(source), count);
        if (env->ExceptionCheck()) return false;
        env->SetObjectField(object, id, array);
        return !env->ExceptionCheck();
    }
    // An object field: the field's id, then the value that make() builds
    // (a wrapper, a sub-object, an array), then the store.
    template <class Make>
    bool Object(const jn::ObjectField& field, Make make) const {
        jfieldID id = env->GetFieldID(cls, field.name, field.sig);
        if (env->ExceptionCheck()) return false;
        jobject value = make();
        if (env->ExceptionCheck()) return false;
        env->SetObjectField(object, id, value);
        return !env->ExceptionCheck();
    }
};

// A new object of the class, filled by fill(target) in field order; null if
// anything on the way left an exception pending.
template <class Fill>
jobject Build(JNIEnv* env, const jn::Class& cls, Fill fill) {
    jclass found = nullptr;
    jobject object = New(env, cls, &found);
    if (object == nullptr) return nullptr;
    return fill(Target{env, found, object}) ? object : nullptr;
}

template <class S>
const S& As(const void* parameter) {
    return *static_cast<const S*>(parameter);
}

// ---- the converters, by the names of their Java-to-Cryptoki counterparts -------------
// None reads its length: the table has matched it already.

jobject convertLongParams(JNIEnv* env, const void* parameter, CK_ULONG) {
    // The one converter that runs a constructor: java.lang.Long(long).
    jclass cls = env->FindClass(jn::kLong.path);
    if (env->ExceptionCheck()) return nullptr;
    jmethodID init = env->GetMethodID(cls, jn::kLongInit.name, jn::kLongInit.sig);
    if (env->ExceptionCheck()) return nullptr;
    jobject value = env->NewObject(cls, init, static_cast<jlong>(As<CK_ULONG>(parameter)));
    if (env->ExceptionCheck()) return nullptr;
    return value;
}

jobject convertObjectHandleParams(JNIEnv* env, const void* parameter, CK_ULONG) {
    return ckObjectHandleToJObjectHandle(env, As<CK_OBJECT_HANDLE>(parameter));
}

jobject convertVersionParams(JNIEnv* env, const void* parameter, CK_ULONG) {
    env->FindClass(jn::kVersion.path);
    if (env->ExceptionCheck()) return nullptr;
    return ckVersionPtrToJVersion(env, static_cast<const CK_VERSION*>(parameter));
}

jobject convertRc2CbcParams(JNIEnv* env, const void* parameter, CK_ULONG) {
    const auto& s = As<CK_RC2_CBC_PARAMS>(parameter);
    return Build(env, jn::kRc2CbcParams, [&](const Target& t) {
        return t.Long(jn::kRc2CbcEffectiveBits, s.ulEffectiveBits) && t.Bytes(jn::kRc2CbcIv, s.iv, sizeof s.iv);
    });
}

jobject convertRc2MacGeneralParams(JNIEnv* env, const void* parameter, CK_ULONG) {
    const auto& s = As<CK_RC2_MAC_GENERAL_PARAMS>(parameter);
    return Build(env, jn::kRc2MacGeneralParams, [&](const Target& t) {
        return t.Long(jn::kRc2MacEffectiveBits, s.ulEffectiveBits) && t.Long(jn::kRc2MacLength, s.ulMacLength);
    });
}

// The three deprecated DES layouts differ only in the width of data.
template <class S, const jn::Class& Cls, const jn::BytesField& Iv, const jn::BytesField& Data>
jobject DesCbc(JNIEnv* env, const void* parameter) {
    const auto& s = As<S>(parameter);
    return Build(env, Cls, [&](const Target& t) {
        return t.Bytes(Iv, s.iv, sizeof s.iv) && t.Bytes(Data, s.data, sizeof s.data);
    });
}

jobject convertDesCbcParams_deprecated(JNIEnv* env, const void* parameter, CK_ULONG) {
    return DesCbc<CK_DES_CBC_PARAMS, jn::kDesCbcParams, jn::kDesCbcIv, jn::kDesCbcData>(env, parameter);
}

jobject convertDes2CbcParams_deprecated(JNIEnv* env, const void* parameter, CK_ULONG) {
    return DesCbc<CK_DES2_CBC_PARAMS, jn::kDes2CbcParams, jn::kDes2CbcIv, jn::kDes2CbcData>(env, parameter);
}

jobject convertDes3CbcParams_deprecated(JNIEnv* env, const void* parameter, CK_ULONG) {
    return DesCbc<CK_DES3_CBC_PARAMS, jn::kDes3CbcParams, jn::kDes3CbcIv, jn::kDes3CbcData>(env, parameter);
}

// DES and AES differ only in the width of iv.
template <class S, const jn::Class& Cls, const jn::BytesField& Iv, const jn::BytesField& Data,
          const jn::LongField& Length>
jobject CbcEncryptData(JNIEnv* env, const void* parameter) {
    const auto& s = As<S>(parameter);
    return Build(env, Cls, [&](const Target& t) {
        return t.Bytes(Iv, s.iv, sizeof s.iv) && t.Bytes(Data, s.pData, s.length) && t.Long(Length, s.length);
    });
}

jobject convertDesCbcEncryptDataParams(JNIEnv* env, const void* parameter, CK_ULONG) {
    return CbcEncryptData<CK_DES_CBC_ENCRYPT_DATA_PARAMS, jn::kDesCbcEncryptDataParams, jn::kDesEncryptDataIv,
                          jn::kDesEncryptDataData, jn::kDesEncryptDataLength>(env, parameter);
}

jobject convertAesCbcEncryptDataParams(JNIEnv* env, const void* parameter, CK_ULONG) {
    return CbcEncryptData<CK_AES_CBC_ENCRYPT_DATA_PARAMS, jn::kAesCbcEncryptDataParams, jn::kAesEncryptDataIv,
                          jn::kAesEncryptDataData, jn::kAesEncryptDataLength>(env, parameter);
}

// CK_AES_GCM_PARAMS for AES_GCM, AES_GCM_OLD and AES_GMAC alike, though the
// write-back of AES_GCM reaches the IV through CK_GCM_PARAMS: the Java class
// extends that one, so either answers the same fields.
jobject convertAesGcmParams(JNIEnv* env, const void* parameter, CK_ULONG) {
    const auto& s = As<CK_AES_GCM_PARAMS>(parameter);
    return Build(env, jn::kAesGcmParams, [&](const Target& t) {
        return t.Bytes(jn::kAesGcmIv, s.pIv, s.ulIvLen) && t.Long(jn::kAesGcmIvLen, s.ulIvLen) &&
               t.Bytes(jn::kAesGcmAAD, s.pAAD, s.ulAADLen) && t.Long(jn::kAesGcmAADLen, s.ulAADLen) &&
               t.Long(jn::kAesGcmTagBits, s.ulTagBits);
    });
}

jobject convertAesCcmParams(JNIEnv* env, const void* parameter, CK_ULONG) {
    const auto& s = As<CK_AES_CCM_PARAMS>(parameter);
    return Build(env, jn::kAesCcmParams, [&](const Target& t) {
        return t.Long(jn::kAesCcmDataLen, s.ulDataLen) && t.Bytes(jn::kAesCcmNonce, s.pNonce, s.ulNonceLen) &&
               t.Long(jn::kAesCcmNonceLen, s.ulNonceLen) && t.Bytes(jn::kAesCcmAAD, s.pAAD, s.ulAADLen) &&
               t.Long(jn::kAesCcmAADLen, s.ulAADLen) && t.Long(jn::kAesCcmMACLen, s.ulMACLen);
    });
}

// The counter block is made as a byte[] of its 16 bytes and never stored:
// the Java cb stays null. Settled behaviour of this direction; the Java side
// does not rely on getting the counter back.
jobject convertAesCtrParams(JNIEnv* env, const void* parameter, CK_ULONG) {
    const auto& s = As<CK_AES_CTR_PARAMS>(parameter);
    return Build(env, jn::kAesCtrParams, [&](const Target& t) {
        if (!t.Long(jn::kAesCtrCounterBits, s.ulCounterBits)) return false;
        env->GetFieldID(t.cls, jn::kAesCtrCb.name, jn::kAesCtrCb.sig);
        if (env->ExceptionCheck()) return false;
        ckByteArrayToJByteArray(env, s.cb, sizeof s.cb);
        return !env->ExceptionCheck();
    });
}

jobject convertKeyDerivationStringData(JNIEnv* env, const void* parameter, CK_ULONG) {
    const auto& s = As<CK_KEY_DERIVATION_STRING_DATA>(parameter);
    return Build(env, jn::kKeyDerivationStringData, [&](const Target& t) {
        return t.Bytes(jn::kStringDataData, s.pData, s.ulLen) && t.Long(jn::kStringDataLen, s.ulLen);
    });
}

jobject convertKeyWrapSetOaepParams(JNIEnv* env, const void* parameter, CK_ULONG) {
    const auto& s = As<CK_KEY_WRAP_SET_OAEP_PARAMS>(parameter);
    return Build(env, jn::kKeyWrapSetOaepParams, [&](const Target& t) {
        return t.Byte(jn::kKeyWrapOaepBC, s.bBC) && t.Bytes(jn::kKeyWrapOaepX, s.pX, s.ulXLen) &&
               t.Long(jn::kKeyWrapOaepXLen, s.ulXLen);
    });
}

jobject convertMechTypeAndObject(JNIEnv* env, const void* parameter, CK_ULONG) {
    const auto& s = As<CK_MECH_TYPE_AND_OBJECT>(parameter);
    return Build(env, jn::kMechTypeAndObject, [&](const Target& t) {
        return t.Object(jn::kMechTypeAndObjectMechanism, [&] {
            return ckMechanismTypeToJMechanismType(env, s.mechanism);
        }) && t.Object(jn::kMechTypeAndObjectHandle, [&] { return ckObjectHandleToJObjectHandle(env, s.hObj); });
    });
}

// The structure has no length for the IV: it is the 8 bytes that
// password-based key generation writes.
jobject convertPbeParams(JNIEnv* env, const void* parameter, CK_ULONG) {
    const auto& s = As<CK_PBE_PARAMS>(parameter);
    return Build(env, jn::kPbeParams, [&](const Target& t) {
        return t.Bytes(jn::kPbeInitVector, s.pInitVector, 8) &&
               t.Bytes(jn::kPbePassword, s.pPassword, s.ulPasswordLen) &&
               t.Long(jn::kPbePasswordLen, s.ulPasswordLen) && t.Bytes(jn::kPbeSalt, s.pSalt, s.ulSaltLen) &&
               t.Long(jn::kPbeSaltLen, s.ulSaltLen) && t.Long(jn::kPbeIteration, s.ulIteration);
    });
}

jobject convertRsaPkcsOaepParams(JNIEnv* env, const void* parameter, CK_ULONG) {
    const auto& s = As<CK_RSA_PKCS_OAEP_PARAMS>(parameter);
    return Build(env, jn::kRsaPkcsOaepParams, [&](const Target& t) {
        return t.Object(jn::kOaepHashAlg, [&] { return ckMechanismTypeToJMechanismType(env, s.hashAlg); }) &&
               t.Long(jn::kOaepMgf, s.mgf) &&
               t.Object(jn::kOaepSource,
                        [&] { return ckRsaPkcsOaepSourceTypeToJRsaPkcsOaepSourceType(env, s.source); }) &&
               t.Bytes(jn::kOaepSourceData, s.pSourceData, s.ulSourceDataLen) &&
               t.Long(jn::kOaepSourceDataLen, s.ulSourceDataLen);
    });
}

jobject convertRsaPkcsPssParams(JNIEnv* env, const void* parameter, CK_ULONG) {
    const auto& s = As<CK_RSA_PKCS_PSS_PARAMS>(parameter);
    return Build(env, jn::kRsaPkcsPssParams, [&](const Target& t) {
        return t.Object(jn::kPssHashAlg, [&] { return ckMechanismTypeToJMechanismType(env, s.hashAlg); }) &&
               t.Long(jn::kPssMgf, s.mgf) && t.Long(jn::kPssSLen, s.sLen);
    });
}

// ulSharedDataLen is set twice and ulPublicDataLen never, so the Java
// ulPublicDataLen stays 0 beside a pPublicData that has its bytes. Settled
// behaviour; the arrays' own lengths tell the Java side what came.
jobject convertEcDhParams(JNIEnv* env, const void* parameter, CK_ULONG) {
    const auto& s = As<CK_ECDH1_DERIVE_PARAMS>(parameter);
    return Build(env, jn::kEcdh1DeriveParams, [&](const Target& t) {
        return t.Long(jn::kEcdhKdf, s.kdf) && t.Long(jn::kEcdhSharedDataLen, s.ulSharedDataLen) &&
               (s.ulSharedDataLen == 0 || t.Bytes(jn::kEcdhSharedData, s.pSharedData, s.ulSharedDataLen)) &&
               t.Long(jn::kEcdhSharedDataLen, s.ulSharedDataLen) &&
               (s.ulPublicDataLen == 0 || t.Bytes(jn::kEcdhPublicData, s.pPublicData, s.ulPublicDataLen));
    });
}

jobject convertEcIesParams(JNIEnv* env, const void* parameter, CK_ULONG) {
    const auto& s = As<CK_ECIES_PARAMS>(parameter);
    return Build(env, jn::kEciesParams, [&](const Target& t) {
        return t.Long(jn::kEciesDhPrimitive, s.dhPrimitive) && t.Long(jn::kEciesKdf, s.kdf) &&
               t.Long(jn::kEciesSharedDataLen1, s.ulSharedDataLen1) &&
               (s.ulSharedDataLen1 == 0 || t.Bytes(jn::kEciesSharedData1, s.pSharedData1, s.ulSharedDataLen1)) &&
               t.Long(jn::kEciesEncScheme, s.encScheme) && t.Long(jn::kEciesEncKeyLenInBits, s.ulEncKeyLenInBits) &&
               t.Long(jn::kEciesMacScheme, s.macScheme) && t.Long(jn::kEciesMacKeyLenInBits, s.ulMacKeyLenInBits) &&
               t.Long(jn::kEciesMacLenInBits, s.ulMacLenInBits) &&
               t.Long(jn::kEciesSharedDataLen2, s.ulSharedDataLen2) &&
               (s.ulSharedDataLen2 == 0 || t.Bytes(jn::kEciesSharedData2, s.pSharedData2, s.ulSharedDataLen2));
    });
}

jobject convertTimestampParams(JNIEnv* env, const void* parameter, CK_ULONG) {
    const auto& s = As<CK_TIMESTAMP_PARAMS>(parameter);
    return Build(env, jn::kTimestampParams, [&](const Target& t) {
        return t.Object(jn::kTimestampUseMilliseconds, [&] { return ckBBoolToJBBool(env, s.useMilliseconds); }) &&
               t.Long(jn::kTimestampFormat, s.timestampFormat);
    });
}

// The prompt's array counts its terminating NUL in, where the Java-to-
// Cryptoki side appends one to whatever it reads: each round trip makes the
// array a byte longer. The structure always carries a prompt, so strlen runs
// without a test for null.
jobject convertPpLoadSecretParams(JNIEnv* env, const void* parameter, CK_ULONG) {
    const auto& s = As<CK_PP_LOAD_SECRET_PARAMS>(parameter);
    return Build(env, jn::kPpLoadSecretParams, [&](const Target& t) {
        return t.Object(jn::kPpLoadSecretMaskInput, [&] { return ckBBoolToJBBool(env, s.bMaskInput); }) &&
               t.Int(jn::kPpLoadSecretTimeout, s.cTimeout) && t.Int(jn::kPpLoadSecretConvert, s.cConvert) &&
               t.Bytes(jn::kPpLoadSecretPrompt, s.prompt, strlen(reinterpret_cast<const char*>(s.prompt)) + 1);
    });
}

jobject convertReplicateTokenParams(JNIEnv* env, const void* parameter, CK_ULONG) {
    const auto& s = As<CK_REPLICATE_TOKEN_PARAMS>(parameter);
    return Build(env, jn::kReplicateTokenParams,
                 [&](const Target& t) { return t.Bytes(jn::kReplicateTokenPeerId, s.peerId, sizeof s.peerId); });
}

jobject convertSecretShareParams(JNIEnv* env, const void* parameter, CK_ULONG) {
    const auto& s = As<CK_SECRET_SHARE_PARAMS>(parameter);
    return Build(env, jn::kSecretShareParams,
                 [&](const Target& t) { return t.Long(jn::kSecretShareN, s.n) && t.Long(jn::kSecretShareM, s.m); });
}

jobject convertPKCS12PbeExportParams(JNIEnv* env, const void* parameter, CK_ULONG) {
    const auto& s = As<CK_PKCS12_PBE_EXPORT_PARAMS>(parameter);
    return Build(env, jn::kPkcs12PbeExportParams, [&](const Target& t) {
        return t.Object(jn::kPkcs12ExportKeyCert, [&] { return ckObjectHandleToJObjectHandle(env, s.keyCert); }) &&
               t.Bytes(jn::kPkcs12ExportAuthSafe, s.passwordAuthSafe, s.passwordAuthSafeLen) &&
               t.Long(jn::kPkcs12ExportAuthSafeLen, s.passwordAuthSafeLen) &&
               t.Bytes(jn::kPkcs12ExportHmac, s.passwordHMAC, s.passwordHMACLen) &&
               t.Long(jn::kPkcs12ExportHmacLen, s.passwordHMACLen) &&
               t.Object(jn::kPkcs12ExportSafeBagKgMech,
                        [&] { return ckMechanismTypeToJMechanismType(env, s.safeBagKgMech); }) &&
               t.Object(jn::kPkcs12ExportSafeContentKgMech,
                        [&] { return ckMechanismTypeToJMechanismType(env, s.safeContentKgMech); }) &&
               t.Object(jn::kPkcs12ExportHmacKgMech,
                        [&] { return ckMechanismTypeToJMechanismType(env, s.hmacKgMech); });
    });
}

// hCertCount points to the count that the token library reports; it is
// always there in a structure that went through the Java-to-Cryptoki side,
// which allocates it. The handles come only with a count and an array.
jobject convertPKCS12PbeImportParams(JNIEnv* env, const void* parameter, CK_ULONG) {
    const auto& s = As<CK_PKCS12_PBE_IMPORT_PARAMS>(parameter);
    return Build(env, jn::kPkcs12PbeImportParams, [&](const Target& t) {
        const CK_ULONG certCount = *s.hCertCount;
        auto countRef = [&]() -> jobject {
            jclass longRef = nullptr;
            jobject ref = New(env, jn::kLongRef, &longRef);
            if (ref == nullptr) return nullptr;
            SetLongField(env, longRef, ref, jn::kLongRefValue, static_cast<jlong>(certCount));
            return ref;
        };
        return t.Bytes(jn::kPkcs12ImportAuthSafe, s.passwordAuthSafe, s.passwordAuthSafeLen) &&
               t.Long(jn::kPkcs12ImportAuthSafeLen, s.passwordAuthSafeLen) &&
               t.Bytes(jn::kPkcs12ImportHmac, s.passwordHMAC, s.passwordHMACLen) &&
               t.Long(jn::kPkcs12ImportHmacLen, s.passwordHMACLen) &&
               t.Long(jn::kPkcs12ImportCertAttrCount, s.certAttrCount) &&
               t.Object(jn::kPkcs12ImportCertAttr,
                        [&] { return ckAttributeArrayToJAttributeArray(env, s.certAttr, s.certAttrCount); }) &&
               t.Object(jn::kPkcs12CertCount, countRef) &&
               (certCount == 0 || s.hCert == nullptr ||
                t.Object(jn::kPkcs12Cert, [&] { return ckObjHandleArrayToJObjHandleArray(env, s.hCert, certCount); }));
    });
}

jobject convertSsl3MasterKeyDeriveParams(JNIEnv* env, const void* parameter, CK_ULONG) {
    const auto& s = As<CK_SSL3_MASTER_KEY_DERIVE_PARAMS>(parameter);
    return Build(env, jn::kSsl3MasterKeyDeriveParams, [&](const Target& t) {
        return t.Object(jn::kSsl3MasterRandomInfo, [&] {
            return ckSsl3RandomDataPtrToJSsl3RandomData(env, &s.RandomInfo);
        }) && t.Object(jn::kSsl3MasterVersion, [&] { return ckVersionPtrToJVersion(env, s.pVersion); });
    });
}

jobject convertSsl3KeyMatParams(JNIEnv* env, const void* parameter, CK_ULONG) {
    const auto& s = As<CK_SSL3_KEY_MAT_PARAMS>(parameter);
    return Build(env, jn::kSsl3KeyMatParams, [&](const Target& t) {
        return t.Long(jn::kSsl3KeyMatMacSize, s.ulMacSizeInBits) && t.Long(jn::kSsl3KeyMatKeySize, s.ulKeySizeInBits) &&
               t.Long(jn::kSsl3KeyMatIVSize, s.ulIVSizeInBits) &&
               t.Object(jn::kSsl3KeyMatIsExport, [&] { return ckBBoolToJBBool(env, s.bIsExport); }) &&
               t.Object(jn::kSsl3KeyMatRandomInfo,
                        [&] { return ckSsl3RandomDataPtrToJSsl3RandomData(env, &s.RandomInfo); }) &&
               t.Object(jn::kSsl3KeyMatOutField, [&] {
                   return ckSsl3KeyMatOutPtrToJSsl3KeyMatOut(env, s.pReturnedKeyMaterial, s.ulIVSizeInBits);
               });
    });
}

using Converter = jobject (*)(JNIEnv* env, const void* parameter, CK_ULONG length);

struct MechanismConverter {
    CK_MECHANISM_TYPE mechanism;
    CK_ULONG length;  // the structure's size in the token library's 64-bit layout
    Converter convert;
};

// Searched first to last; number and length must both match. The length
// is part of the key: DES3_DERIVE_CBC_DEPRECATED stands twice, once for
// each of its two layouts.
constexpr MechanismConverter s_converters[] = {
    {0x80000501, 16, convertDesCbcParams_deprecated},   // DES_DERIVE_CBC_DEPRECATED
    {0x80000503, 24, convertDes2CbcParams_deprecated},  // DES3_DERIVE_CBC_DEPRECATED
    {0x80000503, 32, convertDes3CbcParams_deprecated},  // DES3_DERIVE_CBC_DEPRECATED
    {0x1101, 24, convertDesCbcEncryptDataParams},       // DES_CBC_ENCRYPT_DATA
    {0x1103, 24, convertDesCbcEncryptDataParams},       // DES3_CBC_ENCRYPT_DATA
    {0x1105, 32, convertAesCbcEncryptDataParams},       // AES_CBC_ENCRYPT_DATA
    {0x1087, 40, convertAesGcmParams},                  // AES_GCM
    {0x80000966, 40, convertAesGcmParams},              // AES_GCM_OLD
    {0x108E, 40, convertAesGcmParams},                  // AES_GMAC
    {0x1088, 48, convertAesCcmParams},                  // AES_CCM
    {0x1086, 24, convertAesCtrParams},                  // AES_CTR
    {0x362, 16, convertKeyDerivationStringData},        // CONCATENATE_BASE_AND_DATA
    {0x364, 16, convertKeyDerivationStringData},        // XOR_BASE_AND_DATA
    {0x401, 24, convertKeyWrapSetOaepParams},           // KEY_WRAP_SET_OAEP
    {0x80000955, 16, convertMechTypeAndObject},         // ENCODE_X_509_LOCAL_CERT
    {0x360, 8, convertObjectHandleParams},              // CONCATENATE_BASE_AND_KEY
    {0x80000364, 8, convertObjectHandleParams},         // XOR_BASE_AND_KEY
    {0x3A0, 48, convertPbeParams},                      // PBE_MD2_DES_CBC
    {0x3A4, 48, convertPbeParams},                      // PBE_MD5_CAST128_CBC
    {0x3A1, 48, convertPbeParams},                      // PBE_MD5_DES_CBC
    {0x3A5, 48, convertPbeParams},                      // PBE_SHA1_CAST128_CBC
    {0x3A9, 48, convertPbeParams},                      // PBE_SHA1_DES2_EDE_CBC
    {0x3A8, 48, convertPbeParams},                      // PBE_SHA1_DES3_EDE_CBC
    {0x3A7, 48, convertPbeParams},                      // PBE_SHA1_RC4_40
    {0x3A6, 48, convertPbeParams},                      // PBE_SHA1_RC4_128
    {0x3AB, 48, convertPbeParams},                      // PBE_SHA1_RC2_40_CBC
    {0x3AA, 48, convertPbeParams},                      // PBE_SHA1_RC2_128_CBC
    {0x3C0, 48, convertPbeParams},                      // PBA_SHA1_WITH_SHA1_HMAC
    {0x102, 16, convertRc2CbcParams},                   // RC2_CBC
    {0x105, 16, convertRc2CbcParams},                   // RC2_CBC_PAD
    {0x104, 16, convertRc2MacGeneralParams},            // RC2_MAC_GENERAL
    {0x9, 40, convertRsaPkcsOaepParams},                // RSA_PKCS_OAEP
    {0xD, 24, convertRsaPkcsPssParams},                 // RSA_PKCS_PSS
    {0x372, 72, convertSsl3KeyMatParams},               // SSL3_KEY_AND_MAC_DERIVE
    {0x371, 40, convertSsl3MasterKeyDeriveParams},      // SSL3_MASTER_KEY_DERIVE
    {0x370, 2, convertVersionParams},                   // SSL3_PRE_MASTER_KEY_GEN
    {0x1084, 8, convertLongParams},                     // AES_MAC_GENERAL
    {0x108B, 8, convertLongParams},                     // AES_CMAC_GENERAL
    {0x324, 8, convertLongParams},                      // CAST128_MAC_GENERAL
    {0x123, 8, convertLongParams},                      // DES_MAC
    {0x124, 8, convertLongParams},                      // DES_MAC_GENERAL
    {0x135, 8, convertLongParams},                      // DES3_MAC_GENERAL
    {0x137, 8, convertLongParams},                      // DES3_CMAC_GENERAL
    {0x80000135, 8, convertLongParams},                 // DES3_X919_MAC_GENERAL
    {0x344, 8, convertLongParams},                      // IDEA_MAC_GENERAL
    {0x202, 8, convertLongParams},                      // MD2_HMAC_GENERAL
    {0x212, 8, convertLongParams},                      // MD5_HMAC_GENERAL
    {0x242, 8, convertLongParams},                      // RIPEMD160_HMAC_GENERAL
    {0x232, 8, convertLongParams},                      // RIPEMD128_HMAC_GENERAL
    {0x222, 8, convertLongParams},                      // SHA_1_HMAC_GENERAL
    {0x380, 8, convertLongParams},                      // SSL3_MD5_MAC
    {0x381, 8, convertLongParams},                      // SSL3_SHA1_MAC
    {0x365, 8, convertLongParams},                      // EXTRACT_KEY_FROM_KEY
    {0x101, 8, convertLongParams},                      // RC2_ECB
    {0x80000101, 8, convertLongParams},                 // RC2_ECB_PAD
    {0x103, 8, convertLongParams},                      // RC2_MAC
    {0x800009A0, 16, convertPpLoadSecretParams},        // PP_LOAD_SECRET
    {0x80000600, 16, convertTimestampParams},           // SHA1_RSA_PKCS_TIMESTAMP
    {0x800009D4, 8, convertLongParams},                 // SEED_MAC_GENERAL
    {0x800009E0, 16, convertReplicateTokenParams},      // REPLICATE_TOKEN_RSA_AES
    {0x800009F0, 16, convertSecretShareParams},         // SECRET_SHARE_WITH_ATTRIBUTES
    {0x800009F3, 64, convertPKCS12PbeImportParams},     // PKCS12_PBE_IMPORT
    {0x800009F2, 64, convertPKCS12PbeExportParams},     // PKCS12_PBE_EXPORT
    {0x80000A00, 88, convertEcIesParams},               // ECIES
    {0x1050, 40, convertEcDhParams},                    // ECDH1_DERIVE
};
static_assert(std::size(s_converters) == 65, "the table has 65 rows");

// The lengths above are the token library's; the structures here must have
// the same sizes, or a converter would read another layout than it matched.
static_assert(sizeof(CK_DES_CBC_PARAMS) == 16 && sizeof(CK_DES2_CBC_PARAMS) == 24 && sizeof(CK_DES3_CBC_PARAMS) == 32);
static_assert(sizeof(CK_DES_CBC_ENCRYPT_DATA_PARAMS) == 24 && sizeof(CK_AES_CBC_ENCRYPT_DATA_PARAMS) == 32);
static_assert(sizeof(CK_AES_GCM_PARAMS) == 40 && sizeof(CK_AES_CCM_PARAMS) == 48 && sizeof(CK_AES_CTR_PARAMS) == 24);
static_assert(sizeof(CK_KEY_DERIVATION_STRING_DATA) == 16 && sizeof(CK_KEY_WRAP_SET_OAEP_PARAMS) == 24);
static_assert(sizeof(CK_MECH_TYPE_AND_OBJECT) == 16 && sizeof(CK_OBJECT_HANDLE) == 8 && sizeof(CK_ULONG) == 8);
static_assert(sizeof(CK_PBE_PARAMS) == 48 && sizeof(CK_RC2_CBC_PARAMS) == 16 &&
              sizeof(CK_RC2_MAC_GENERAL_PARAMS) == 16);
static_assert(sizeof(CK_RSA_PKCS_OAEP_PARAMS) == 40 && sizeof(CK_RSA_PKCS_PSS_PARAMS) == 24);
static_assert(sizeof(CK_SSL3_KEY_MAT_PARAMS) == 72 && sizeof(CK_SSL3_MASTER_KEY_DERIVE_PARAMS) == 40);
static_assert(sizeof(CK_VERSION) == 2 && sizeof(CK_PP_LOAD_SECRET_PARAMS) == 16 && sizeof(CK_TIMESTAMP_PARAMS) == 16);
static_assert(sizeof(CK_REPLICATE_TOKEN_PARAMS) == 16 && sizeof(CK_SECRET_SHARE_PARAMS) == 16);
static_assert(sizeof(CK_PKCS12_PBE_IMPORT_PARAMS) == 64 && sizeof(CK_PKCS12_PBE_EXPORT_PARAMS) == 64);
static_assert(sizeof(CK_ECIES_PARAMS) == 88 && sizeof(CK_ECDH1_DERIVE_PARAMS) == 40);

}  // namespace

jobject ckSsl3RandomDataPtrToJSsl3RandomData(JNIEnv* env, const CK_SSL3_RANDOM_DATA* randomData) {
    if (randomData == nullptr) return nullptr;
    const auto& s = *randomData;
    return Build(env, jn::kSsl3RandomData, [&](const Target& t) {
        return t.Bytes(jn::kSsl3ClientRandom, s.pClientRandom, s.ulClientRandomLen) &&
               t.Long(jn::kSsl3ClientRandomLen, s.ulClientRandomLen) &&
               t.Bytes(jn::kSsl3ServerRandom, s.pServerRandom, s.ulServerRandomLen) &&
               t.Long(jn::kSsl3ServerRandomLen, s.ulServerRandomLen);
    });
}

// The IVs are ivSizeInBits >> 3 bytes, rounded down, where the write-back
// into an existing object rounds up; 12 bits give one byte here.
jobject ckSsl3KeyMatOutPtrToJSsl3KeyMatOut(JNIEnv* env, const CK_SSL3_KEY_MAT_OUT* keyMatOut, CK_ULONG ivSizeInBits) {
    if (keyMatOut == nullptr) return nullptr;
    const auto& s = *keyMatOut;
    const CK_ULONG ivBytes = ivSizeInBits >> 3;
    return Build(env, jn::kSsl3KeyMatOut, [&](const Target& t) {
        auto handle = [&](const jn::ObjectField& field, CK_OBJECT_HANDLE value) {
            return t.Object(field, [&] { return ckObjectHandleToJObjectHandle(env, value); });
        };
        return handle(jn::kSsl3ClientMacSecret, s.hClientMacSecret) &&
               handle(jn::kSsl3ServerMacSecret, s.hServerMacSecret) && handle(jn::kSsl3ClientKey, s.hClientKey) &&
               handle(jn::kSsl3ServerKey, s.hServerKey) && t.Bytes(jn::kSsl3IVClient, s.pIVClient, ivBytes) &&
               t.Bytes(jn::kSsl3IVServer, s.pIVServer, ivBytes);
    });
}

jobject ckMechanismParameterToJMechanismParameter(JNIEnv* env, const CK_MECHANISM* mechanism) {
    if (mechanism == nullptr || mechanism->pParameter == nullptr) return nullptr;
    for (const MechanismConverter& row : s_converters) {
        if (row.mechanism != mechanism->mechanism || row.length != mechanism->ulParameterLen) continue;
        jobject parameter = row.convert(env, mechanism->pParameter, mechanism->ulParameterLen);
        if (env->ExceptionCheck()) return nullptr;
        if (parameter != nullptr) return parameter;
        break;
    }
    // The structure's own bytes, pointers and all, for the Java side to read
    // as it can.
    jbyteArray raw =
        ckByteArrayToJByteArray(env, static_cast<const CK_BYTE*>(mechanism->pParameter), mechanism->ulParameterLen);
    if (env->ExceptionCheck()) return nullptr;
    return raw;
}

jobject ckMechanismToJMechanism(JNIEnv* env, const CK_MECHANISM* mechanism) {
    jclass cls = env->FindClass(jn::kMechanism.path);
    if (env->ExceptionCheck() || mechanism == nullptr) return nullptr;
    jobject object = env->AllocObject(cls);
    if (env->ExceptionCheck()) return nullptr;
    const Target t{env, cls, object};
    if (!t.Object(jn::kMechanismTypeField,
                  [&] { return ckMechanismTypeToJMechanismType(env, mechanism->mechanism); }) ||
        !t.Object(jn::kMechanismParameter, [&] { return ckMechanismParameterToJMechanismParameter(env, mechanism); }))
        return nullptr;
    // The last store goes unchecked: a failure here leaves its exception
    // pending for the caller beside the returned object.
    SetLongField(env, cls, object, jn::kMechanismParameterLen, static_cast<jlong>(mechanism->ulParameterLen));
    return object;
}
