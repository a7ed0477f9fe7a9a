// Library lifecycle and information: C_Initialize, C_Finalize, C_GetInfo,
// C_GetFunctionStatus, C_CancelFunction. C_Initialize is written out whole:
// its arming path keeps the Java CK_C_INITIALIZE_ARGS for the mutex
// callbacks in mutex.cpp.
#include <jni.h>

#include <cstdlib>
#include <cstring>

#include "cryptoki.h"
#include "kaltrix_morlin_Cryptoki.h"
#include "morlin/copyToJava.h"
#include "morlin/frames.h"
#include "morlin/initArgs.h"
#include "morlin/names/initArgs.h"

using namespace frame;

jobject gInitArgsObject = nullptr;
CK_C_INITIALIZE_ARGS* gInitArgs = nullptr;

namespace {

// While either global is set, or without arguments, the token library gets
// NULL: a later CK_C_INITIALIZE_ARGS is not even read.
jobject InitializeWithoutArgs(JNIEnv* env) {
    const CK_RV rv = C_Initialize(nullptr);
    return Finish(env, rv);
}

// Reads the Java CK_C_INITIALIZE_ARGS into *args. Returns false with an
// exception pending; the globals may have been set on the way.
bool ReadInitArgs(JNIEnv* env, jobject jArgs, CK_C_INITIALIZE_ARGS* args) {
    jclass cls = env->FindClass(jn::kInitArgs.path);
    if (env->ExceptionCheck()) return false;
    struct Member {
        const jn::ObjectField& field;
        void* trampoline;
        void** slot;
    };
    const Member members[] = {
        {jn::kInitArgsCreateMutex, reinterpret_cast<void*>(&callJCreateMutex),
         reinterpret_cast<void**>(&args->CreateMutex)},
        {jn::kInitArgsDestroyMutex, reinterpret_cast<void*>(&callJDestroyMutex),
         reinterpret_cast<void**>(&args->DestroyMutex)},
        {jn::kInitArgsLockMutex, reinterpret_cast<void*>(&callJLockMutex), reinterpret_cast<void**>(&args->LockMutex)},
        {jn::kInitArgsUnlockMutex, reinterpret_cast<void*>(&callJUnlockMutex),
         reinterpret_cast<void**>(&args->UnlockMutex)},
    };
    bool anyCallback = false;
    for (const Member& m : members) {
        jfieldID id = env->GetFieldID(cls, m.field.name, m.field.sig);
        if (env->ExceptionCheck()) return false;
        jobject callback = env->GetObjectField(jArgs, id);
        if (env->ExceptionCheck()) return false;
        *m.slot = callback != nullptr ? m.trampoline : nullptr;
        anyCallback = anyCallback || callback != nullptr;
    }
    if (anyCallback) {
        gInitArgsObject = env->NewGlobalRef(jArgs);
        if (env->ExceptionCheck()) return false;
        // Taken before flags and pReserved are read: in the copy both stay 0.
        gInitArgs = static_cast<CK_C_INITIALIZE_ARGS*>(calloc(1, sizeof(CK_C_INITIALIZE_ARGS)));
        memcpy(gInitArgs, args, sizeof(CK_C_INITIALIZE_ARGS));
    }
    jfieldID flags = env->GetFieldID(cls, jn::kInitArgsFlags.name, jn::kInitArgsFlags.sig);
    if (env->ExceptionCheck()) return false;
    args->flags = static_cast<CK_FLAGS>(env->GetLongField(jArgs, flags));
    if (env->ExceptionCheck()) return false;
    jfieldID reserved = env->GetFieldID(cls, jn::kInitArgsReserved.name, jn::kInitArgsReserved.sig);
    if (env->ExceptionCheck()) return false;
    // The reference value itself goes to the token library as pReserved.
    args->pReserved = env->GetObjectField(jArgs, reserved);
    return !env->ExceptionCheck();
}

void ClearInitArgsOnSuccess(JNIEnv* env, CK_RV rv) {
    if (rv != CKR_OK) return;  // a refused C_Finalize keeps the callbacks armed
    if (gInitArgsObject != nullptr) {
        env->DeleteGlobalRef(gInitArgsObject);
        gInitArgsObject = nullptr;
    }
    if (gInitArgs != nullptr) {
        free(gInitArgs);
        gInitArgs = nullptr;
    }
}

}  // namespace

extern "C" {

// CK_RV C_Initialize(CK_C_INITIALIZE_ARGS pInitArgs): null, or armed state,
// passes NULL; otherwise the callbacks present in the Java object become
// trampolines, flags and reserved are copied, and the token library is
// called with that temporary structure. Nothing is undone if it refuses.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1Initialize(JNIEnv* env, jclass, jobject jArgs) {
    if (jArgs == nullptr || gInitArgsObject != nullptr || gInitArgs != nullptr) return InitializeWithoutArgs(env);
    auto* args = static_cast<CK_C_INITIALIZE_ARGS*>(calloc(1, sizeof(CK_C_INITIALIZE_ARGS)));
    if (!ReadInitArgs(env, jArgs, args)) {
        // The global reference, if taken, stays: the next C_Initialize with
        // arguments then passes NULL until a C_Finalize succeeds.
        free(args);
        free(gInitArgs);
        gInitArgs = nullptr;
        return nullptr;
    }
    const CK_RV rv = C_Initialize(args);
    free(args);
    return Finish(env, rv);
}

// CK_RV C_Finalize(Object pReserved): the reference value goes through as
// it came. The globals stand during the call (the token library may still
// destroy mutexes) and are cleared only if it answers CKR_OK.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1Finalize(JNIEnv* env, jclass, jobject reserved) {
    return PassThrough<C_Finalize, ClearInitArgsOnSuccess>(env, static_cast<CK_VOID_PTR>(reserved));
}

// CK_RV C_GetInfo(CK_INFO pInfo): the query shape.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1GetInfo(JNIEnv* env, jclass, jobject info) {
    return Call<C_GetInfo>(env, Info<CopyCKInfoToJInfo>{info});
}

// CK_RV C_GetFunctionStatus(CK_SESSION_HANDLE hSession).
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1GetFunctionStatus(JNIEnv* env, jclass, jobject session) {
    return Call<C_GetFunctionStatus>(env, Session{session});
}

// CK_RV C_CancelFunction(CK_SESSION_HANDLE hSession).
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_C_1CancelFunction(JNIEnv* env, jclass, jobject session) {
    return Call<C_CancelFunction>(env, Session{session});
}

}  // extern "C"
