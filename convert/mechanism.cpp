// CK_MECHANISM from Java and back to the allocator. The parameter's run-time
// Java class picks its converter, by one table searched in row order, both
// when converting and when releasing; the mechanism number plays no part.
#include <cstdlib>
#include <iterator>

#include "morlin/attributes.h"
#include "morlin/mechanism.h"
#include "morlin/names/core.h"
#include "morlin/names/params.h"
#include "morlin/params.h"
#include "morlin/wrappers.h"

namespace {

struct ParameterClass {
    const jn::Class& cls;
    ParameterConverter convert;
    ParameterReleaser release;
};

// The search order is part of the design: a subclass takes its first
// ancestor's row.
const ParameterClass s_converters[] = {
    {jn::kRsaPkcsOaepParams, convertRsaPkcsOaepParams, freeRsaPkcsOaepParams},
    {jn::kRsaPkcsPssParams, convertRsaPkcsPssParams, freeRsaPkcsPssParams},
    {jn::kLong, convertLongParam, freeLongParam},
    {jn::kRc2CbcParams, convertRc2CbcParams, freeRc2CbcParams},
    {jn::kRc2MacGeneralParams, convertRc2MacGeneralParams, freeRc2MacGeneralParams},
    {jn::kPbeParams, convertPbeParams, freePbeParams},
    {jn::kPkcs12PbeImportParams, convertPKCS12PbeImportParams, freePKCS12PbeImportParams},
    {jn::kPkcs12PbeExportParams, convertPKCS12PbeExportParams, freePKCS12PbeExportParams},
    {jn::kKeyWrapSetOaepParams, convertKeyWrapSetOaepParams, freeKeyWrapSetOaepParams},
    {jn::kSsl3MasterKeyDeriveParams, convertSsl3MasterKeyDeriveParams, freeSsl3MasterKeyDeriveParams},
    {jn::kSsl3KeyMatParams, convertSsl3KeyMatParams, freeSsl3KeyMatParams},
    {jn::kVersion, convertVersionParam, freeVersionParam},
    {jn::kKeyDerivationStringData, convertKeyDerivationStringData, freeKeyDerivationStringData},
    {jn::kMechTypeAndObject, convertMechTypeAndObject, freeMechTypeAndObject},
    {jn::kDesCbcParams, convertDesCbcParams_deprecated, freeDesCbcParams_deprecated},
    {jn::kDes2CbcParams, convertDes2CbcParams_deprecated, freeDes2CbcParams_deprecated},
    {jn::kDes3CbcParams, convertDes3CbcParams_deprecated, freeDes3CbcParams_deprecated},
    {jn::kDesCbcEncryptDataParams, convertDesCbcEncryptDataParams, freeDesCbcEncryptDataParams},
    {jn::kAesCbcEncryptDataParams, convertAesCbcEncryptDataParams, freeAesCbcEncryptDataParams},
    {jn::kAesGcmParams, convertAesGcmParams, freeAesGcmParams},
    {jn::kGcmParams, convertAesGcmParams, freeAesGcmParams},
    {jn::kAesCtrParams, convertAesCtrParams, freeAesCtrParams},
    {jn::kAesCcmParams, convertAesCcmParams, freeAesCcmParams},
    {jn::kEddsaParams, convertEDDSAParams, freeEDDSAParams},
    {jn::kPpLoadSecretParams, convertPpLoadSecretParams, freePpLoadSecretParams},
    {jn::kTimestampParams, convertTimestampParams, freeTimestampParams},
    {jn::kReplicateTokenParams, convertReplicateTokenParams, freeReplicateTokenParams},
    {jn::kSecretShareParams, convertSecretShareParams, freeSecretShareParams},
    {jn::kEciesParams, convertEcIesParams, freeEcIesParams},
    {jn::kEcdh1DeriveParams, convertEcDhParams, freeEcDhParams},
    {jn::kBip32MasterDeriveParams, convertBIP32MasterDeriveParams, freeBIP32MasterDeriveParams},
    {jn::kBip32ChildDeriveParams, convertBIP32ChildDeriveParams, freeBIP32ChildDeriveParams},
    {jn::kGenPikParam, convertGenPIKParamClass, freeGenPIKParamClass},
    {jn::kKdeEccP521DeriveParams, convertKdeECCP521DeriveParamsClass, freeKdeECCP521DeriveParamsClass},
    {jn::kKdeTokenWrapParams, convertKdeTokenWrapParamsClass, freeKdeTokenWrapParamsClass},
};
static_assert(std::size(s_converters) == 35, "the table has 35 rows");

// The first row whose class the object is an instance of, and that class;
// null at the end of the table. A class of the table that cannot be loaded
// ends the search at its row with its exception pending, and *failed says so.
// IsInstanceOf raises nothing (JNI lists no exception for it), so only a hit
// is followed by a check; a miss goes straight on to the next row.
const ParameterClass* RowOf(JNIEnv* env, jobject object, jclass* cls, bool* failed) {
    *failed = true;
    for (const ParameterClass& row : s_converters) {
        *cls = env->FindClass(row.cls.path);
        if (env->ExceptionCheck()) return nullptr;
        if (!env->IsInstanceOf(object, *cls)) continue;
        if (env->ExceptionCheck()) return nullptr;
        *failed = false;
        return &row;
    }
    *failed = false;
    return nullptr;
}

}  // namespace

CK_MECHANISM jMechanismToCKMechanism(JNIEnv* env, jobject mechanism) {
    CK_MECHANISM result{0, nullptr, 0};
    jclass cls = env->FindClass(jn::kMechanism.path);
    if (env->ExceptionCheck()) return result;
    jobject type = GetObjectArrayField(env, cls, mechanism, jn::kMechanismTypeField);
    if (env->ExceptionCheck()) return result;
    result.mechanism = jMechanismTypeToCKMechanismType(env, type);
    if (env->ExceptionCheck()) return result;
    jobject parameter = GetObjectArrayField(env, cls, mechanism, jn::kMechanismParameter);
    if (env->ExceptionCheck()) return result;
    if (parameter != nullptr) {
        jclass paramClass = nullptr;
        bool failed = false;
        const ParameterClass* row = RowOf(env, parameter, &paramClass, &failed);
        if (failed) return result;
        if (row != nullptr) {
            row->convert(env, paramClass, parameter, &result.pParameter, &result.ulParameterLen);
        } else {
            // A plain Java value or array as the parameter's bytes.
            jObjectToPrimitiveCKObjectPtrPtr(env, parameter, &result.pParameter, &result.ulParameterLen);
        }
        if (env->ExceptionCheck()) return result;
    }
    // The Java length wins over whatever the converter measured.
    result.ulParameterLen = static_cast<CK_ULONG>(GetLongField(env, cls, mechanism, jn::kMechanismParameterLen));
    return result;
}

void FreeCKMechanismParameter(JNIEnv* env, jobject mechanism, CK_MECHANISM_PTR converted) {
    // With an exception pending, nothing is released: the block stays. Asked
    // first, so that no lookup runs with the exception pending.
    if (env->ExceptionCheck()) return;
    jclass cls = env->FindClass(jn::kMechanism.path);
    if (env->ExceptionCheck()) return;
    jobject parameter = GetObjectArrayField(env, cls, mechanism, jn::kMechanismParameter);
    if (env->ExceptionCheck() || parameter == nullptr) return;
    jclass paramClass = nullptr;
    bool failed = false;
    const ParameterClass* row = RowOf(env, parameter, &paramClass, &failed);
    if (failed) return;
    if (row != nullptr) {
        row->release(converted->pParameter, converted->ulParameterLen);
    } else {
        // The plain values are single blocks.
        free(converted->pParameter);
    }
}

// ---- the two smallest parameter classes -------------------------------------------------

void convertLongParam(JNIEnv* env, jclass, jobject object, void** result, CK_ULONG* length) {
    *length = sizeof(CK_ULONG);
    *result = jLongObjectToCKULongPtr(env, object);
    if (*result == nullptr) params::Fail(result, length);
}

void freeLongParam(void* parameter, CK_ULONG) { free(parameter); }

void convertVersionParam(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    *length = sizeof(CK_VERSION);
    // Not tested: the first store goes through the pointer as it is.
    auto* version = static_cast<CK_VERSION*>(malloc(sizeof(CK_VERSION)));
    auto read = [&](const jn::ByteField& field, CK_BYTE* target) {
        jfieldID id = env->GetFieldID(cls, field.name, field.sig);
        if (env->ExceptionCheck()) return false;
        *target = static_cast<CK_BYTE>(env->GetByteField(object, id));
        return !env->ExceptionCheck();
    };
    if (read(jn::kVersionMajor, &version->major) && read(jn::kVersionMinor, &version->minor)) {
        *result = version;
        return;
    }
    free(version);
    params::Fail(result, length);
}

void freeVersionParam(void* parameter, CK_ULONG) { free(parameter); }
