// The mutex callbacks: plain C functions that the token library calls with
// the standard's signatures, and that call the Java mutex operations of the
// CK_C_INITIALIZE_ARGS held in gInitArgsObject. They run on whatever thread
// the token library uses, find the JVM and an environment for that thread
// themselves, and keep nothing between calls. The mutex handle that the
// token library carries is a JNI global reference to the Java object that
// CreateMutex returned; DestroyMutex deletes it.
//
// A Java exception raised here is neither cleared nor described: it stays
// pending on the thread (a Cryptoki native below then returns null), and the
// token library sees CKR_MUTEX_BAD.
#include <jni.h>

#include "cryptoki.h"
#include "morlin/initArgs.h"
#include "morlin/names/initArgs.h"

namespace {

// One callback: the field of CK_C_INITIALIZE_ARGS that holds the Java object,
// and the method of the interface that object implements.
struct MutexCallback {
    const jn::ObjectField& field;
    const jn::Method& method;
};
constexpr MutexCallback kCreate{jn::kInitArgsCreateMutex, jn::kCreateMutexMethod};
constexpr MutexCallback kDestroy{jn::kInitArgsDestroyMutex, jn::kDestroyMutexMethod};
constexpr MutexCallback kLock{jn::kInitArgsLockMutex, jn::kLockMutexMethod};
constexpr MutexCallback kUnlock{jn::kInitArgsUnlockMutex, jn::kUnlockMutexMethod};

// The environment of the calling thread, and whether to detach afterwards.
struct ThreadEnv {
    JavaVM* vm = nullptr;
    JNIEnv* env = nullptr;
    bool detach = false;
};

bool FindJvm(ThreadEnv& t) {
    jsize count = 0;
    return JNI_GetCreatedJavaVMs(&t.vm, 1, &count) == JNI_OK && count >= 1;
}

// GetEnv, then ExceptionCheck through the pointer it gave, before its status
// is looked at: the callbacks serve threads that the JVM knows, and this
// order is kept as it is. Returns false with an exception pending.
bool AttachEnv(ThreadEnv& t) {
    const jint status = t.vm->GetEnv(reinterpret_cast<void**>(&t.env), JNI_VERSION_1_2);
    if (t.env->ExceptionCheck()) return false;
    if (status == JNI_EDETACHED || status == JNI_EVERSION) {
        t.vm->AttachCurrentThread(reinterpret_cast<void**>(&t.env), nullptr);
        if (t.env->ExceptionCheck()) return false;
        t.detach = status == JNI_EDETACHED;  // after JNI_EVERSION the thread stays attached
    }
    return true;
}

// Resolves the callback object from gInitArgsObject's field and the method
// of its interface. Returns false with an exception pending.
bool ResolveCallback(JNIEnv* env, const MutexCallback& cb, jobject* receiver, jmethodID* method) {
    jclass argsClass = env->FindClass(jn::kInitArgs.path);
    if (env->ExceptionCheck()) return false;
    jclass iface = env->FindClass(cb.method.cls);
    if (env->ExceptionCheck()) return false;
    jfieldID field = env->GetFieldID(argsClass, cb.field.name, cb.field.sig);
    if (env->ExceptionCheck()) return false;
    *receiver = env->GetObjectField(gInitArgsObject, field);
    if (env->ExceptionCheck()) return false;
    *method = env->GetMethodID(iface, cb.method.name, cb.method.sig);
    return !env->ExceptionCheck();
}

void DetachIfAttached(ThreadEnv& t) {
    if (!t.detach) return;
    t.vm->DetachCurrentThread();
    t.env->ExceptionCheck();  // asked, and its answer ignored
}

// Destroy, lock and unlock: the Java method's long is the answer. A missing
// JVM is taken as success for these three.
template <const MutexCallback& Callback, bool DeleteMutexRef>
CK_RV CallJMutexMethod(CK_VOID_PTR mutex) {
    if (mutex == nullptr) return CKR_MUTEX_BAD;
    ThreadEnv t;
    if (!FindJvm(t)) return CKR_OK;
    jlong answer = 0;
    jobject receiver = nullptr;
    jmethodID method = nullptr;
    if (AttachEnv(t) && ResolveCallback(t.env, Callback, &receiver, &method)) {
        auto* mutexRef = static_cast<jobject>(mutex);
        answer = t.env->CallLongMethod(receiver, method, mutexRef);
        bool ok = !t.env->ExceptionCheck();
        if (ok && DeleteMutexRef) {
            // The reference dies with the mutex only if DestroyMutex did not throw.
            t.env->DeleteGlobalRef(mutexRef);
            ok = !t.env->ExceptionCheck();
        }
        if (ok) DetachIfAttached(t);
    }
    return t.env->ExceptionCheck() ? CKR_MUTEX_BAD : static_cast<CK_RV>(answer);
}

}  // namespace

CK_RV callJCreateMutex(CK_VOID_PTR_PTR ppMutex) {
    if (ppMutex == nullptr) return CKR_MUTEX_BAD;
    *ppMutex = nullptr;
    ThreadEnv t;
    if (!FindJvm(t)) return CKR_MUTEX_BAD;  // unlike the other three, no JVM is a failure here
    jobject receiver = nullptr;
    jmethodID method = nullptr;
    if (AttachEnv(t) && ResolveCallback(t.env, kCreate, &receiver, &method)) {
        jobject mutex = t.env->CallObjectMethod(receiver, method);
        if (!t.env->ExceptionCheck()) {
            jobject ref = t.env->NewGlobalRef(mutex);
            if (!t.env->ExceptionCheck()) {
                *ppMutex = ref;
                DetachIfAttached(t);
            }
        }
    }
    // The stored handle alone decides: a Java method that returned null, or
    // any exception on the way, leaves it null.
    return *ppMutex != nullptr ? CKR_OK : CKR_MUTEX_BAD;
}

CK_RV callJDestroyMutex(CK_VOID_PTR pMutex) { return CallJMutexMethod<kDestroy, true>(pMutex); }
CK_RV callJLockMutex(CK_VOID_PTR pMutex) { return CallJMutexMethod<kLock, false>(pMutex); }
CK_RV callJUnlockMutex(CK_VOID_PTR pMutex) { return CallJMutexMethod<kUnlock, false>(pMutex); }
