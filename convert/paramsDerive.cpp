// Parameters of key derivation: SSL 3 master key and key material, string
// data, ECDH, ECIES and EdDSA, and the token library's BIP32, PIK and KDE
// classes.
//
// Each releaser frees the blocks that its structure points to, then the
// structure; the BIP32 releasers free a template with one free, leaving the
// values of its attributes, and the EdDSA releaser frees only at the
// structure's own size. A converter's clean-up after an exception is its
// releaser, but for the ECDH clean-up, which is the ECIES releaser, and for
// the string data and the SSL 3 key material, whose malloc blocks are freed
// with what their unset words hold.
#include <cstdlib>

#include "morlin/attributes.h"
#include "morlin/names/paramsDerive.h"
#include "morlin/params.h"
#include "morlin/wrappers.h"

using params::Build;
using params::Fixed;
using params::Fresh;
using params::Long;

namespace {

void FreeBlock(void* parameter) { free(parameter); }

// The one size at which an EdDSA structure is released.
constexpr CK_ULONG kEddsaSize = 24;
static_assert(sizeof(CK_EDDSA_PARAMS) == kEddsaSize, "CK_EDDSA_PARAMS is three words");

// A fresh array whose measured length goes nowhere: a Java length field
// read next, or nothing, says how long it is. False with the exception
// pending.
bool Dropped(JNIEnv* env, jclass cls, jobject object, const jn::BytesField& field, CK_BYTE_PTR* pointer) {
    CK_ULONG measured = 0;
    return Fresh(env, cls, object, field, pointer, &measured);
}

// A Java length that gates its array: the length stays in the structure,
// and the array is read only when it isn't zero. False with the exception
// pending.
bool Gated(JNIEnv* env, jclass cls, jobject object, const jn::LongField& lengthField, CK_ULONG* length,
           const jn::BytesField& arrayField, CK_BYTE_PTR* pointer) {
    if (!Long(env, cls, object, lengthField, length)) return false;
    return *length == 0 || Dropped(env, cls, object, arrayField, pointer);
}

// A CK_OBJECT_HANDLE held by an object field; a null wrapper reads as all
// bits set. False with the exception pending.
bool Handle(JNIEnv* env, jclass cls, jobject object, const jn::ObjectField& field, CK_OBJECT_HANDLE* target) {
    jobject wrapper = GetObjectArrayField(env, cls, object, field);
    if (env->ExceptionCheck()) return false;
    const CK_OBJECT_HANDLE value = jObjectHandleToCKObjectHandle(env, wrapper);
    if (env->ExceptionCheck()) return false;
    *target = value;
    return true;
}

// The CK_SSL3_RANDOM_DATA held by field, into the structure's inline one:
// each array fresh, each length Java's. A null object isn't refused: the
// accessors answer null for its arrays and -1 for its lengths. False with
// the exception pending.
bool RandomInfo(JNIEnv* env, jclass cls, jobject object, const jn::ObjectField& field, CK_SSL3_RANDOM_DATA* r) {
    jobject random = GetObjectArrayField(env, cls, object, field);
    if (env->ExceptionCheck()) return false;
    jclass randomCls = env->FindClass(jn::kSsl3RandomData.path);
    if (env->ExceptionCheck()) return false;
    return Dropped(env, randomCls, random, jn::kSsl3ClientRandom, &r->pClientRandom) &&
           Long(env, randomCls, random, jn::kSsl3ClientRandomLen, &r->ulClientRandomLen) &&
           Dropped(env, randomCls, random, jn::kSsl3ServerRandom, &r->pServerRandom) &&
           Long(env, randomCls, random, jn::kSsl3ServerRandomLen, &r->ulServerRandomLen);
}

// pVersion as the 2-byte block of the CK_VERSION converter. A null
// CK_VERSION object isn't tested for. False with the exception pending.
bool Version(JNIEnv* env, jclass cls, jobject object, CK_VERSION_PTR* target) {
    jobject version = GetObjectArrayField(env, cls, object, jn::kSsl3MasterVersion);
    if (env->ExceptionCheck()) return false;
    jclass versionCls = env->FindClass(jn::kVersion.path);
    if (env->ExceptionCheck()) return false;
    void* block = nullptr;
    CK_ULONG size = 0;
    convertVersionParam(env, versionCls, version, &block, &size);
    if (env->ExceptionCheck()) return false;
    *target = static_cast<CK_VERSION_PTR>(block);
    return true;
}

// The CK_SSL3_KEY_MAT_OUT that the token library fills: four handles from
// the Java out object, and two IV buffers as long as the caller's arrays.
// The block comes from malloc and is pointed to at once, so that until both
// IV pointers are stored a clean-up frees those two words as they stand.
// False with the exception pending, or with nothing pending when the block
// cannot be had.
bool KeyMaterial(JNIEnv* env, jclass cls, jobject object, CK_SSL3_KEY_MAT_OUT** target) {
    jobject material = GetObjectArrayField(env, cls, object, jn::kSsl3KeyMatOutField);
    if (env->ExceptionCheck()) return false;
    auto* out = static_cast<CK_SSL3_KEY_MAT_OUT*>(malloc(sizeof(CK_SSL3_KEY_MAT_OUT)));
    *target = out;
    if (out == nullptr) return false;
    jclass outCls = env->FindClass(jn::kSsl3KeyMatOut.path);
    if (env->ExceptionCheck()) return false;
    return Handle(env, outCls, material, jn::kSsl3ClientMacSecret, &out->hClientMacSecret) &&
           Handle(env, outCls, material, jn::kSsl3ServerMacSecret, &out->hServerMacSecret) &&
           Handle(env, outCls, material, jn::kSsl3ClientKey, &out->hClientKey) &&
           Handle(env, outCls, material, jn::kSsl3ServerKey, &out->hServerKey) &&
           Dropped(env, outCls, material, jn::kSsl3IVClient, &out->pIVClient) &&
           Dropped(env, outCls, material, jn::kSsl3IVServer, &out->pIVServer);
}

// A CK_ATTRIBUTE[] through the attribute conversion, its element count into
// a local: the Java count read next is what the structure keeps. False with
// the exception pending, the partial template then held by target.
bool Template(JNIEnv* env, jclass cls, jobject object, const jn::ObjectField& field, CK_ATTRIBUTE_PTR* target) {
    auto array = static_cast<jobjectArray>(GetObjectArrayField(env, cls, object, field));
    if (env->ExceptionCheck()) return false;
    CK_ULONG count = 0;
    jAttributeArrayToCKAttributeArray(env, array, target, &count);
    return !env->ExceptionCheck();
}

// The two templates and the public count of both BIP32 classes; the private
// count is left to the caller, whose last read it may be.
template <class S>
bool Bip32Templates(JNIEnv* env, jclass cls, jobject object, S* s, const jn::ObjectField& publicTemplate,
                    const jn::LongField& publicCount, const jn::ObjectField& privateTemplate) {
    return Template(env, cls, object, publicTemplate, &s->publicKeyTemplate) &&
           Long(env, cls, object, publicCount, &s->publicKeyAttributeCount) &&
           Template(env, cls, object, privateTemplate, &s->privateKeyTemplate);
}

// A "J" field read with no ExceptionCheck behind it: a failed read stores
// -1 and leaves its exception for the caller, who gets the structure anyway.
CK_ULONG Unchecked(JNIEnv* env, jclass cls, jobject object, const jn::LongField& field) {
    return static_cast<CK_ULONG>(GetLongField(env, cls, object, field));
}

}  // namespace

// ---- SSL 3 ---------------------------------------------------------------------------------

void convertSsl3MasterKeyDeriveParams(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    Build<CK_SSL3_MASTER_KEY_DERIVE_PARAMS>(
        result, length,
        [&](CK_SSL3_MASTER_KEY_DERIVE_PARAMS* s) {
            return RandomInfo(env, cls, object, jn::kSsl3MasterRandomInfo, &s->RandomInfo) &&
                   Version(env, cls, object, &s->pVersion);
        },
        [](CK_SSL3_MASTER_KEY_DERIVE_PARAMS* s) { freeSsl3MasterKeyDeriveParams(s, 0); });
}
void freeSsl3MasterKeyDeriveParams(void* parameter, CK_ULONG) {
    if (auto* s = static_cast<CK_SSL3_MASTER_KEY_DERIVE_PARAMS*>(parameter)) {
        free(s->RandomInfo.pClientRandom);
        free(s->RandomInfo.pServerRandom);
        free(s->pVersion);
    }
    free(parameter);
}

// When the key material's block cannot be had, nothing is pending and the
// clean-up runs as after an exception.
void convertSsl3KeyMatParams(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    Build<CK_SSL3_KEY_MAT_PARAMS>(
        result, length,
        [&](CK_SSL3_KEY_MAT_PARAMS* s) {
            if (!Long(env, cls, object, jn::kSsl3KeyMatMacSize, &s->ulMacSizeInBits) ||
                !Long(env, cls, object, jn::kSsl3KeyMatKeySize, &s->ulKeySizeInBits) ||
                !Long(env, cls, object, jn::kSsl3KeyMatIVSize, &s->ulIVSizeInBits))
                return false;
            jobject isExport = GetObjectArrayField(env, cls, object, jn::kSsl3KeyMatIsExport);
            if (env->ExceptionCheck()) return false;
            // jBBoolToCKBBool has no guard for null, which its callers keep:
            // a missing CK_BBOOL stays CK_FALSE from the zeroed block.
            if (isExport != nullptr) {
                s->bIsExport = jBBoolToCKBBool(env, isExport);
                if (env->ExceptionCheck()) return false;
            }
            return RandomInfo(env, cls, object, jn::kSsl3KeyMatRandomInfo, &s->RandomInfo) &&
                   KeyMaterial(env, cls, object, &s->pReturnedKeyMaterial);
        },
        [](CK_SSL3_KEY_MAT_PARAMS* s) { freeSsl3KeyMatParams(s, 0); });
}
void freeSsl3KeyMatParams(void* parameter, CK_ULONG) {
    if (auto* s = static_cast<CK_SSL3_KEY_MAT_PARAMS*>(parameter)) {
        free(s->RandomInfo.pClientRandom);
        free(s->RandomInfo.pServerRandom);
        if (CK_SSL3_KEY_MAT_OUT* out = s->pReturnedKeyMaterial) {
            free(out->pIVClient);
            free(out->pIVServer);
            free(out);
        }
    }
    free(parameter);
}

// ---- string data -------------------------------------------------------------------------------

// The block comes from malloc, not zeroed: a failure at the first read, the
// array's, leaves pData as it came, and the clean-up frees that word
// whatever it holds. The Java len replaces the array's length, unchecked.
void convertKeyDerivationStringData(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    *length = sizeof(CK_KEY_DERIVATION_STRING_DATA);
    auto* s = static_cast<CK_KEY_DERIVATION_STRING_DATA*>(malloc(sizeof(CK_KEY_DERIVATION_STRING_DATA)));
    if (s == nullptr) {
        params::Fail(result, length);
        return;
    }
    if (Fresh(env, cls, object, jn::kStringDataData, &s->pData, &s->ulLen) &&
        Long(env, cls, object, jn::kStringDataLen, &s->ulLen)) {
        *result = s;
        return;
    }
    freeKeyDerivationStringData(s, 0);
    params::Fail(result, length);
}
void freeKeyDerivationStringData(void* parameter, CK_ULONG) {
    if (auto* s = static_cast<CK_KEY_DERIVATION_STRING_DATA*>(parameter)) free(s->pData);
    free(parameter);
}

// ---- elliptic curves ------------------------------------------------------------------------------

// The clean-up after an exception is the ECIES releaser, not this class's:
// over the smaller block it frees the ulPublicDataLen word taken as a
// pointer, then the word where CK_ECIES_PARAMS keeps pSharedData2, past the
// end of this block, then the block; pSharedData and pPublicData stay.
// Settled behaviour, whichever field failed.
void convertEcDhParams(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    Build<CK_ECDH1_DERIVE_PARAMS>(
        result, length,
        [&](CK_ECDH1_DERIVE_PARAMS* s) {
            return Long(env, cls, object, jn::kEcdhKdf, &s->kdf) &&
                   Gated(env, cls, object, jn::kEcdhSharedDataLen, &s->ulSharedDataLen, jn::kEcdhSharedData,
                         &s->pSharedData) &&
                   Gated(env, cls, object, jn::kEcdhPublicDataLen, &s->ulPublicDataLen, jn::kEcdhPublicData,
                         &s->pPublicData);
        },
        [](CK_ECDH1_DERIVE_PARAMS* s) { freeEcIesParams(s, 0); });
}
void freeEcDhParams(void* parameter, CK_ULONG) {
    if (auto* s = static_cast<CK_ECDH1_DERIVE_PARAMS*>(parameter)) {
        free(s->pSharedData);
        free(s->pPublicData);
    }
    free(parameter);
}

void convertEcIesParams(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    Build<CK_ECIES_PARAMS>(
        result, length,
        [&](CK_ECIES_PARAMS* s) {
            return Long(env, cls, object, jn::kEciesDhPrimitive, &s->dhPrimitive) &&
                   Long(env, cls, object, jn::kEciesKdf, &s->kdf) &&
                   Gated(env, cls, object, jn::kEciesSharedDataLen1, &s->ulSharedDataLen1, jn::kEciesSharedData1,
                         &s->pSharedData1) &&
                   Long(env, cls, object, jn::kEciesEncScheme, &s->encScheme) &&
                   Long(env, cls, object, jn::kEciesEncKeyLenInBits, &s->ulEncKeyLenInBits) &&
                   Long(env, cls, object, jn::kEciesMacScheme, &s->macScheme) &&
                   Long(env, cls, object, jn::kEciesMacKeyLenInBits, &s->ulMacKeyLenInBits) &&
                   Long(env, cls, object, jn::kEciesMacLenInBits, &s->ulMacLenInBits) &&
                   Gated(env, cls, object, jn::kEciesSharedDataLen2, &s->ulSharedDataLen2, jn::kEciesSharedData2,
                         &s->pSharedData2);
        },
        [](CK_ECIES_PARAMS* s) { freeEcIesParams(s, 0); });
}
// Kept out of line: the ECDH clean-up hands it the smaller ECDH block, and
// inlined there its settled read past that block's end would be flagged
// against the block's size at compile time.
__attribute__((noinline)) void freeEcIesParams(void* parameter, CK_ULONG) {
    if (auto* s = static_cast<CK_ECIES_PARAMS*>(parameter)) {
        free(s->pSharedData1);
        free(s->pSharedData2);
    }
    free(parameter);
}

// phFlag is the byte that GetBooleanField gives; the context's length is
// the array's, since the class has none. With nowhere to put its result the
// converter does nothing at all.
void convertEDDSAParams(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    if (result == nullptr || length == nullptr) return;
    Build<CK_EDDSA_PARAMS>(
        result, length,
        [&](CK_EDDSA_PARAMS* s) {
            const int flag = GetBoolField(env, cls, object, jn::kEddsaPhFlag);
            if (env->ExceptionCheck()) return false;
            s->phFlag = static_cast<CK_BBOOL>(flag);
            return Fresh(env, cls, object, jn::kEddsaContextData, &s->pContextData, &s->ulContextDataLen);
        },
        [length](CK_EDDSA_PARAMS* s) { freeEDDSAParams(s, *length); });
}
// Frees only at exactly the structure's size. What comes here is the Java
// parameterLen, so another value leaves the structure and its context
// allocated.
void freeEDDSAParams(void* parameter, CK_ULONG length) {
    if (length != kEddsaSize) return;
    if (auto* s = static_cast<CK_EDDSA_PARAMS*>(parameter)) free(s->pContextData);
    free(parameter);
}

// ---- BIP32 -------------------------------------------------------------------------------------------

// The templates are released with one free each, their attributes' values
// left allocated. The last read, the private count, goes unchecked and the
// structure is handed out at once.
void convertBIP32MasterDeriveParams(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    Build<CK_BIP32_MASTER_DERIVE_PARAMS>(
        result, length,
        [&](CK_BIP32_MASTER_DERIVE_PARAMS* s) {
            if (!Bip32Templates(env, cls, object, s, jn::kBip32MasterPublicTemplate, jn::kBip32MasterPublicCount,
                                jn::kBip32MasterPrivateTemplate))
                return false;
            s->privateKeyAttributeCount = Unchecked(env, cls, object, jn::kBip32MasterPrivateCount);
            return true;
        },
        [](CK_BIP32_MASTER_DERIVE_PARAMS* s) { freeBIP32MasterDeriveParams(s, 0); });
}
void freeBIP32MasterDeriveParams(void* parameter, CK_ULONG) {
    if (auto* s = static_cast<CK_BIP32_MASTER_DERIVE_PARAMS*>(parameter)) {
        free(s->publicKeyTemplate);
        free(s->privateKeyTemplate);
    }
    free(parameter);
}

// As the master class, then the path as CK_ULONGs with the Java pathLen,
// which is the unchecked last read here.
void convertBIP32ChildDeriveParams(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    Build<CK_BIP32_CHILD_DERIVE_PARAMS>(
        result, length,
        [&](CK_BIP32_CHILD_DERIVE_PARAMS* s) {
            if (!Bip32Templates(env, cls, object, s, jn::kBip32ChildPublicTemplate, jn::kBip32ChildPublicCount,
                                jn::kBip32ChildPrivateTemplate) ||
                !Long(env, cls, object, jn::kBip32ChildPrivateCount, &s->privateKeyAttributeCount))
                return false;
            auto path = static_cast<jlongArray>(GetObjectArrayField(env, cls, object, jn::kBip32ChildPath));
            if (env->ExceptionCheck()) return false;
            CK_ULONG elements = 0;
            jLongArrayToCKULongArray(env, path, &s->path, &elements);
            if (env->ExceptionCheck()) return false;
            s->pathLen = Unchecked(env, cls, object, jn::kBip32ChildPathLen);
            return true;
        },
        [](CK_BIP32_CHILD_DERIVE_PARAMS* s) { freeBIP32ChildDeriveParams(s, 0); });
}
void freeBIP32ChildDeriveParams(void* parameter, CK_ULONG) {
    if (auto* s = static_cast<CK_BIP32_CHILD_DERIVE_PARAMS*>(parameter)) {
        free(s->publicKeyTemplate);
        free(s->privateKeyTemplate);
        free(s->path);
    }
    free(parameter);
}

// ---- the token library's PIK and KDE classes --------------------------------------------------

void convertGenPIKParamClass(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    Build<CK_GEN_PIK_PARAM>(
        result, length,
        [&](CK_GEN_PIK_PARAM* s) {
            const int selfSign = GetBoolField(env, cls, object, jn::kGenPikSelfSign);
            if (env->ExceptionCheck()) return false;
            s->bSelfSign = selfSign != 0 ? CK_TRUE : CK_FALSE;
            return true;
        },
        FreeBlock);
}
void freeGenPIKParamClass(void* parameter, CK_ULONG) { free(parameter); }

// bMacTagOut isn't read from Java: it stays zero for the token library to
// fill, and goes back through the write-back.
void convertKdeECCP521DeriveParamsClass(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    Build<CK_KDE_ECCP521_DERIVE_PARAMS>(
        result, length,
        [&](CK_KDE_ECCP521_DERIVE_PARAMS* s) {
            return Fresh(env, cls, object, jn::kKdePeerKTC, &s->pPeerKTC, &s->ulPeerKTCLen);
        },
        [](CK_KDE_ECCP521_DERIVE_PARAMS* s) { freeKdeECCP521DeriveParamsClass(s, 0); });
}
void freeKdeECCP521DeriveParamsClass(void* parameter, CK_ULONG) {
    if (auto* s = static_cast<CK_KDE_ECCP521_DERIVE_PARAMS*>(parameter)) free(s->pPeerKTC);
    free(parameter);
}

void convertKdeTokenWrapParamsClass(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    Build<CK_KDE_TOKEN_WRAP_PARAMS>(
        result, length,
        [&](CK_KDE_TOKEN_WRAP_PARAMS* s) {
            return Fixed(env, cls, object, jn::kKdePeerMacTag, s->bPeerMacTag, sizeof s->bPeerMacTag);
        },
        FreeBlock);
}
void freeKdeTokenWrapParamsClass(void* parameter, CK_ULONG) { free(parameter); }
