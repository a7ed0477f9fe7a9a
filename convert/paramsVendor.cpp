// Parameters of the token library's own mechanisms: a local certificate's
// mechanism and object, a secret loaded from the PIN pad, timestamp
// signatures, token replication and secret sharing.
#include <cstdlib>

#include "morlin/names/paramsVendor.h"
#include "morlin/params.h"
#include "morlin/wrappers.h"

using params::Build;
using params::Fail;
using params::Fixed;
using params::Long;

namespace {

void FreeBlock(void* parameter) { free(parameter); }

// A CK_BBOOL held in an object field. jBBoolToCKBBool has no guard for null
// (IsInstanceOf takes null for an instance, and its GetBooleanField would
// then read through a null reference), so a null wrapper is kept from it and
// leaves the zeroed CK_FALSE.
bool BBool(JNIEnv* env, jclass cls, jobject object, const jn::ObjectField& field, CK_BBOOL* target) {
    jobject wrapper = GetObjectArrayField(env, cls, object, field);
    if (env->ExceptionCheck()) return false;
    if (wrapper == nullptr) return true;
    *target = jBBoolToCKBBool(env, wrapper);
    return !env->ExceptionCheck();
}

// One byte from an int field: above 255 it is 255, anything else keeps its
// low byte, so a negative int wraps rather than clamps (-1 is 0xFF).
bool Byte(JNIEnv* env, jclass cls, jobject object, const jn::IntField& field, CK_CHAR* target) {
    const jlong value = GetIntField(env, cls, object, field);
    if (env->ExceptionCheck()) return false;
    *target = value > 255 ? 255 : static_cast<CK_CHAR>(value);
    return true;
}

// A wrapper held in an object field, through the wrapper's own conversion: a
// null wrapper reads as all bits set.
template <CK_ULONG (*ToCK)(JNIEnv*, jobject)>
bool Wrapped(JNIEnv* env, jclass cls, jobject object, const jn::ObjectField& field, CK_ULONG* target) {
    jobject wrapper = GetObjectArrayField(env, cls, object, field);
    if (env->ExceptionCheck()) return false;
    const CK_ULONG value = ToCK(env, wrapper);
    if (env->ExceptionCheck()) return false;
    *target = value;
    return true;
}

// The prompt as a NUL-terminated copy of the whole array. The array goes to
// GetArrayLength with no test for null, so the Java side must always give
// one: an empty array is the empty prompt, a single NUL. A prompt block that
// cannot be had ends the conversion in silence, as a structure would.
bool Prompt(JNIEnv* env, jclass cls, jobject object, CK_CHAR_PTR* target) {
    jbyteArray array = GetByteArrayField(env, cls, object, jn::kPpLoadSecretPrompt);
    if (env->ExceptionCheck()) return false;
    const jsize length = env->GetArrayLength(array);
    if (env->ExceptionCheck()) return false;
    auto* prompt = static_cast<CK_CHAR_PTR>(calloc(static_cast<size_t>(length) + 1, 1));
    if (prompt == nullptr) return false;
    *target = prompt;
    CopyJByteArrayToCKByteArray(env, array, prompt, static_cast<CK_ULONG>(length));
    if (env->ExceptionCheck()) return false;
    prompt[length] = 0;
    return true;
}

}  // namespace

// The one structure from malloc: both fields are always written before it
// is handed out, so nothing of it needs zeroing.
void convertMechTypeAndObject(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    *length = sizeof(CK_MECH_TYPE_AND_OBJECT);
    auto* s = static_cast<CK_MECH_TYPE_AND_OBJECT*>(malloc(sizeof(CK_MECH_TYPE_AND_OBJECT)));
    if (s == nullptr) {
        Fail(result, length);
        return;
    }
    if (Wrapped<jMechanismTypeToCKMechanismType>(env, cls, object, jn::kMechTypeAndObjectMechanism, &s->mechanism) &&
        Wrapped<jObjectHandleToCKObjectHandle>(env, cls, object, jn::kMechTypeAndObjectHandle, &s->hObj)) {
        *result = s;
        return;
    }
    free(s);
    Fail(result, length);
}
void freeMechTypeAndObject(void* parameter, CK_ULONG) { free(parameter); }

void convertPpLoadSecretParams(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    Build<CK_PP_LOAD_SECRET_PARAMS>(
        result, length,
        [&](CK_PP_LOAD_SECRET_PARAMS* s) {
            return BBool(env, cls, object, jn::kPpLoadSecretMaskInput, &s->bMaskInput) &&
                   Byte(env, cls, object, jn::kPpLoadSecretConvert, &s->cConvert) &&
                   Byte(env, cls, object, jn::kPpLoadSecretTimeout, &s->cTimeout) &&
                   Prompt(env, cls, object, &s->prompt);
        },
        [](CK_PP_LOAD_SECRET_PARAMS* s) { freePpLoadSecretParams(s, 0); });
}
void freePpLoadSecretParams(void* parameter, CK_ULONG) {
    if (auto* s = static_cast<CK_PP_LOAD_SECRET_PARAMS*>(parameter)) free(s->prompt);
    free(parameter);
}

void convertTimestampParams(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    Build<CK_TIMESTAMP_PARAMS>(
        result, length,
        [&](CK_TIMESTAMP_PARAMS* s) {
            return BBool(env, cls, object, jn::kTimestampUseMilliseconds, &s->useMilliseconds) &&
                   Long(env, cls, object, jn::kTimestampFormat, &s->timestampFormat);
        },
        FreeBlock);
}
void freeTimestampParams(void* parameter, CK_ULONG) { free(parameter); }

void convertReplicateTokenParams(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    Build<CK_REPLICATE_TOKEN_PARAMS>(
        result, length,
        [&](CK_REPLICATE_TOKEN_PARAMS* s) {
            return Fixed(env, cls, object, jn::kReplicateTokenPeerId, s->peerId, sizeof s->peerId);
        },
        FreeBlock);
}
void freeReplicateTokenParams(void* parameter, CK_ULONG) { free(parameter); }

void convertSecretShareParams(JNIEnv* env, jclass cls, jobject object, void** result, CK_ULONG* length) {
    Build<CK_SECRET_SHARE_PARAMS>(
        result, length,
        [&](CK_SECRET_SHARE_PARAMS* s) {
            return Long(env, cls, object, jn::kSecretShareN, &s->n) && Long(env, cls, object, jn::kSecretShareM, &s->m);
        },
        FreeBlock);
}
void freeSecretShareParams(void* parameter, CK_ULONG) { free(parameter); }
