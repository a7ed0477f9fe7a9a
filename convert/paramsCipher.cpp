// Parameters of block ciphers and AEAD: RC2, the token library's DES layouts,
// CBC key derivation data, GCM, CTR and CCM.
#include <cstdlib>

#include "morlin/names/params.h"
#include "morlin/params.h"

using params::Build;
using params::Fixed;
using params::Fresh;
using params::Long;

namespace {

void FreeBlock(void* parameter) { free(parameter); }

// The DES layouts differ only in the width of data.
template <class S>
void DesCbc(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    Build<S>(
        result, length,
        [&](S* s) {
            return Fixed(env, cls, object, jn::kDesCbcIv, s->iv, sizeof s->iv) &&
                   Fixed(env, cls, object, jn::kDesCbcData, s->data, sizeof s->data);
        },
        FreeBlock);
}

// The CBC key derivation data differ only in the width of iv. The length
// field is Java's: it replaces the array's length, unchecked.
template <class S>
void CbcEncryptData(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    Build<S>(
        result, length,
        [&](S* s) {
            return Fixed(env, cls, object, jn::kAesEncryptDataIv, s->iv, sizeof s->iv) &&
                   Fresh(env, cls, object, jn::kAesEncryptDataData, &s->pData, &s->length) &&
                   Long(env, cls, object, jn::kAesEncryptDataLength, &s->length);
        },
        [](S* s) {
            free(s->pData);
            free(s);
        });
}

template <class S>
void FreeCbcEncryptData(void* parameter) {
    if (auto* s = static_cast<S*>(parameter)) free(s->pData);
    free(parameter);
}

}  // namespace

void convertRc2CbcParams(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    Build<CK_RC2_CBC_PARAMS>(
        result, length,
        [&](CK_RC2_CBC_PARAMS* s) {
            return Long(env, cls, object, jn::kRc2CbcEffectiveBits, &s->ulEffectiveBits) &&
                   Fixed(env, cls, object, jn::kRc2CbcIv, s->iv, sizeof s->iv);
        },
        FreeBlock);
}
void freeRc2CbcParams(void* parameter, CK_ULONG) { free(parameter); }

void convertRc2MacGeneralParams(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    Build<CK_RC2_MAC_GENERAL_PARAMS>(
        result, length,
        [&](CK_RC2_MAC_GENERAL_PARAMS* s) {
            return Long(env, cls, object, jn::kRc2MacEffectiveBits, &s->ulEffectiveBits) &&
                   Long(env, cls, object, jn::kRc2MacLength, &s->ulMacLength);
        },
        FreeBlock);
}
void freeRc2MacGeneralParams(void* parameter, CK_ULONG) { free(parameter); }

void convertDesCbcParams_deprecated(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    DesCbc<CK_DES_CBC_PARAMS>(env, cls, object, result, length);
}
void freeDesCbcParams_deprecated(void* parameter, CK_ULONG) { free(parameter); }

void convertDes2CbcParams_deprecated(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    DesCbc<CK_DES2_CBC_PARAMS>(env, cls, object, result, length);
}
void freeDes2CbcParams_deprecated(void* parameter, CK_ULONG) { free(parameter); }

void convertDes3CbcParams_deprecated(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    DesCbc<CK_DES3_CBC_PARAMS>(env, cls, object, result, length);
}
void freeDes3CbcParams_deprecated(void* parameter, CK_ULONG) { free(parameter); }

void convertDesCbcEncryptDataParams(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    CbcEncryptData<CK_DES_CBC_ENCRYPT_DATA_PARAMS>(env, cls, object, result, length);
}
void freeDesCbcEncryptDataParams(void* parameter, CK_ULONG) {
    FreeCbcEncryptData<CK_DES_CBC_ENCRYPT_DATA_PARAMS>(parameter);
}

void convertAesCbcEncryptDataParams(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    CbcEncryptData<CK_AES_CBC_ENCRYPT_DATA_PARAMS>(env, cls, object, result, length);
}
void freeAesCbcEncryptDataParams(void* parameter, CK_ULONG) {
    FreeCbcEncryptData<CK_AES_CBC_ENCRYPT_DATA_PARAMS>(parameter);
}

// Both GCM classes. Their two length fields are read and stored, then
// replaced by the arrays' lengths: they must exist and have no effect.
void convertAesGcmParams(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    Build<CK_AES_GCM_PARAMS>(
        result, length,
        [&](CK_AES_GCM_PARAMS* s) {
            return Long(env, cls, object, jn::kAesGcmIvLen, &s->ulIvLen) &&
                   Fresh(env, cls, object, jn::kAesGcmIv, &s->pIv, &s->ulIvLen) &&
                   Long(env, cls, object, jn::kAesGcmAADLen, &s->ulAADLen) &&
                   Fresh(env, cls, object, jn::kAesGcmAAD, &s->pAAD, &s->ulAADLen) &&
                   Long(env, cls, object, jn::kAesGcmTagBits, &s->ulTagBits);
        },
        [](CK_AES_GCM_PARAMS* s) { freeAesGcmParams(s, 0); });
}
void freeAesGcmParams(void* parameter, CK_ULONG) {
    if (auto* s = static_cast<CK_AES_GCM_PARAMS*>(parameter)) {
        free(s->pIv);
        free(s->pAAD);
    }
    free(parameter);
}

void convertAesCtrParams(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    if (result == nullptr || length == nullptr) return;
    Build<CK_AES_CTR_PARAMS>(
        result, length,
        [&](CK_AES_CTR_PARAMS* s) {
            return Long(env, cls, object, jn::kAesCtrCounterBits, &s->ulCounterBits) &&
                   Fixed(env, cls, object, jn::kAesCtrCb, s->cb, sizeof s->cb);
        },
        FreeBlock);
}
void freeAesCtrParams(void* parameter, CK_ULONG) { free(parameter); }

// The clean-up after an exception is this converter's own, and not its
// releaser's: it frees the ulNonceLen word taken as a pointer, then the
// block, and leaves pNonce and pAAD. Settled behaviour; a failure before
// the nonce length is read, or with no nonce, finds the word zero.
void convertAesCcmParams(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    Build<CK_AES_CCM_PARAMS>(
        result, length,
        [&](CK_AES_CCM_PARAMS* s) {
            return Long(env, cls, object, jn::kAesCcmDataLen, &s->ulDataLen) &&
                   Long(env, cls, object, jn::kAesCcmNonceLen, &s->ulNonceLen) &&
                   Fresh(env, cls, object, jn::kAesCcmNonce, &s->pNonce, &s->ulNonceLen) &&
                   Long(env, cls, object, jn::kAesCcmAADLen, &s->ulAADLen) &&
                   Fresh(env, cls, object, jn::kAesCcmAAD, &s->pAAD, &s->ulAADLen) &&
                   Long(env, cls, object, jn::kAesCcmMACLen, &s->ulMACLen);
        },
        [](CK_AES_CCM_PARAMS* s) {
            free(reinterpret_cast<void*>(s->ulNonceLen));
            free(s);
        });
}
void freeAesCcmParams(void* parameter, CK_ULONG) {
    if (auto* s = static_cast<CK_AES_CCM_PARAMS*>(parameter)) {
        free(s->pNonce);
        free(s->pAAD);
    }
    free(parameter);
}
