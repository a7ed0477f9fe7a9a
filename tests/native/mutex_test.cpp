// The arming path of C_Initialize and the four mutex trampolines, with the
// fake token library calling the callbacks it received, on the calling
// thread and on other Java threads.
#include <atomic>
#include <thread>
#include <vector>

#include "bridge_test.h"
#include "morlin/init_args.h"

namespace morlin_test {
namespace {

constexpr const char* kScripted = "kaltrix/morlin/testing/ScriptedMutexes";

class MutexTest : public BridgeTest {
protected:
    void SetUp() override {
        BridgeTest::SetUp();
        callStatic("reset", "()V");
    }
    void TearDown() override {
        // Back to the clear state for the next test: a C_Finalize that the
        // fake accepts.
        fake::reset();
        if (!pending()) Java_kaltrix_morlin_Cryptoki_C_1Finalize(env, nullptr, nullptr);
        EXPECT_EQ(gInitArgsObject, nullptr);
        EXPECT_EQ(gInitArgs, nullptr);
        BridgeTest::TearDown();
    }

    jclass scripted() { return findClass(kScripted); }
    void callStatic(const char* name, const char* sig) {
        env->CallStaticVoidMethod(scripted(), env->GetStaticMethodID(scripted(), name, sig));
    }
    void setStaticBool(const char* name, bool v) {
        env->SetStaticBooleanField(scripted(), env->GetStaticFieldID(scripted(), name, "Z"), v);
    }
    void setStaticLong(const char* name, jlong v) {
        env->SetStaticLongField(scripted(), env->GetStaticFieldID(scripted(), name, "J"), v);
    }
    int counter(const char* name) {
        jobject c = env->GetStaticObjectField(
            scripted(), env->GetStaticFieldID(scripted(), name, "Ljava/util/concurrent/atomic/AtomicInteger;"));
        return env->CallIntMethod(c, env->GetMethodID(env->GetObjectClass(c), "get", "()I"));
    }
    jobject args(bool create, bool destroy, bool lock, bool unlock, jlong flags = 0) {
        jmethodID m = env->GetStaticMethodID(scripted(), "args", "(ZZZZJ)Lkaltrix/morlin/CK_C_INITIALIZE_ARGS;");
        return env->CallStaticObjectMethod(scripted(), m, create, destroy, lock, unlock, flags);
    }
    CK_RV initialize(jobject a) { return rvOf(Java_kaltrix_morlin_Cryptoki_C_1Initialize(env, nullptr, a)); }
    CK_RV finalize() { return rvOf(Java_kaltrix_morlin_Cryptoki_C_1Finalize(env, nullptr, nullptr)); }
};

TEST_F(MutexTest, NoCallbacksPassesFlagsAndKeepsTheStateClear) {
    EXPECT_EQ(initialize(args(false, false, false, false, -1)), CKR_OK);
    auto init = fake::last("C_Initialize")->initArgs;
    ASSERT_TRUE(init);
    EXPECT_EQ(init->CreateMutex, nullptr);
    EXPECT_EQ(init->UnlockMutex, nullptr);
    EXPECT_EQ(init->flags, ~0UL);  // -1 goes through as all bits set
    EXPECT_EQ(init->pReserved, nullptr);
    EXPECT_EQ(gInitArgsObject, nullptr);
    EXPECT_EQ(gInitArgs, nullptr);
}

TEST_F(MutexTest, ArmedStateIgnoresLaterArgumentsUntilFinalizeSucceeds) {
    EXPECT_EQ(initialize(args(true, true, true, true, CKF_OS_LOCKING_OK)), CKR_OK);
    auto init = fake::last("C_Initialize")->initArgs;
    ASSERT_TRUE(init);
    EXPECT_EQ(init->CreateMutex, &callJCreateMutex);
    EXPECT_EQ(init->DestroyMutex, &callJDestroyMutex);
    EXPECT_EQ(init->LockMutex, &callJLockMutex);
    EXPECT_EQ(init->UnlockMutex, &callJUnlockMutex);
    EXPECT_EQ(init->flags, CKF_OS_LOCKING_OK);
    ASSERT_NE(gInitArgsObject, nullptr);
    ASSERT_NE(gInitArgs, nullptr);
    // The kept copy has the callbacks, but flags and pReserved stay 0.
    EXPECT_EQ(gInitArgs->LockMutex, &callJLockMutex);
    EXPECT_EQ(gInitArgs->flags, 0u);

    // A second C_Initialize with other arguments passes NULL.
    fake::enqueue("C_Initialize", fake::Reply().returns(CKR_CRYPTOKI_ALREADY_INITIALIZED));
    jobject first = gInitArgsObject;
    EXPECT_EQ(initialize(args(false, false, true, false)), CKR_CRYPTOKI_ALREADY_INITIALIZED);
    EXPECT_FALSE(fake::last("C_Initialize")->initArgs);
    EXPECT_EQ(gInitArgsObject, first);

    // A refused C_Finalize keeps the callbacks usable.
    fake::enqueue("C_Finalize", fake::Reply().returns(CKR_FUNCTION_FAILED));
    EXPECT_EQ(finalize(), CKR_FUNCTION_FAILED);
    ASSERT_NE(gInitArgsObject, nullptr);
    void* mutex = nullptr;
    EXPECT_EQ(callJCreateMutex(&mutex), CKR_OK);
    EXPECT_EQ(callJLockMutex(mutex), CKR_OK);
    EXPECT_EQ(callJUnlockMutex(mutex), CKR_OK);
    EXPECT_EQ(callJDestroyMutex(mutex), CKR_OK);

    // Success clears both; new callbacks are then taken up.
    EXPECT_EQ(finalize(), CKR_OK);
    EXPECT_EQ(gInitArgsObject, nullptr);
    EXPECT_EQ(gInitArgs, nullptr);
    EXPECT_EQ(initialize(args(false, false, true, false)), CKR_OK);
    init = fake::last("C_Initialize")->initArgs;
    ASSERT_TRUE(init);
    EXPECT_EQ(init->CreateMutex, nullptr);
    EXPECT_EQ(init->LockMutex, &callJLockMutex);  // a partial set goes as it is
    EXPECT_NE(gInitArgsObject, nullptr);
}

TEST_F(MutexTest, FailedInitializeStaysArmedAndTheRetryPassesNull) {
    fake::enqueue("C_Initialize", fake::Reply().returns(CKR_CANT_LOCK));
    EXPECT_EQ(initialize(args(true, true, true, true)), CKR_CANT_LOCK);
    EXPECT_NE(gInitArgsObject, nullptr);
    EXPECT_EQ(initialize(args(true, true, true, true)), CKR_OK);
    EXPECT_FALSE(fake::last("C_Initialize")->initArgs);
}

TEST_F(MutexTest, TrampolineAnswers) {
    ASSERT_EQ(initialize(args(true, true, true, true)), CKR_OK);
    EXPECT_EQ(callJLockMutex(nullptr), CKR_MUTEX_BAD);
    EXPECT_EQ(callJUnlockMutex(nullptr), CKR_MUTEX_BAD);
    EXPECT_EQ(callJDestroyMutex(nullptr), CKR_MUTEX_BAD);
    EXPECT_EQ(callJCreateMutex(nullptr), CKR_MUTEX_BAD);
    EXPECT_EQ(counter("locks"), 0);

    setStaticBool("createReturnsNull", true);
    void* mutex = reinterpret_cast<void*>(1);
    EXPECT_EQ(callJCreateMutex(&mutex), CKR_MUTEX_BAD);
    EXPECT_EQ(mutex, nullptr);
    setStaticBool("createReturnsNull", false);

    ASSERT_EQ(callJCreateMutex(&mutex), CKR_OK);
    setStaticLong("lockAnswer", 5);
    EXPECT_EQ(callJLockMutex(mutex), 5u);  // the Java long is the answer
    EXPECT_EQ(callJUnlockMutex(mutex), CKR_OK);

    // A throwing callback answers CKR_MUTEX_BAD and leaves its exception.
    setStaticBool("lockThrows", true);
    EXPECT_EQ(callJLockMutex(mutex), CKR_MUTEX_BAD);
    EXPECT_EQ(takeException(), "java.lang.IllegalStateException");

    // A DestroyMutex that throws keeps the global reference: still usable.
    setStaticBool("lockThrows", false);
    setStaticLong("lockAnswer", 0);
    setStaticBool("destroyThrows", true);
    EXPECT_EQ(callJDestroyMutex(mutex), CKR_MUTEX_BAD);
    EXPECT_EQ(takeException(), "java.lang.IllegalStateException");
    EXPECT_EQ(callJLockMutex(mutex), CKR_OK);
    EXPECT_EQ(callJUnlockMutex(mutex), CKR_OK);
    setStaticBool("destroyThrows", false);
    EXPECT_EQ(callJDestroyMutex(mutex), CKR_OK);
    EXPECT_EQ(counter("destroys"), 2);
}

// The token library calls back from inside a native; a throwing LockMutex
// makes that native return null with the exception still pending.
TEST_F(MutexTest, CallbackExceptionReachesTheOuterNative) {
    ASSERT_EQ(initialize(args(true, true, true, true)), CKR_OK);
    setStaticBool("lockThrows", true);
    fake::setDefault("C_GetFunctionStatus", fake::Reply().hook([](const fake::Call&, void* const*) {
        auto a = fake::lastInitArgs();
        void* m = nullptr;
        a->CreateMutex(&m);
        const CK_RV rv = a->LockMutex(m);
        a->DestroyMutex(m);  // runs with the exception pending, as a token library might
        return rv == CKR_MUTEX_BAD ? CKR_CANT_LOCK : CKR_OK;
    }));
    EXPECT_EQ(Java_kaltrix_morlin_Cryptoki_C_1GetFunctionStatus(env, nullptr, session(1)), nullptr);
    EXPECT_EQ(takeException(), "java.lang.IllegalStateException");
}

// Several Java threads inside natives at once, the fake locking through the
// Java callbacks around a non-atomic counter: no deadlock, no lost unlock.
TEST_F(MutexTest, JavaThreadsShareARealLockThroughTheCallbacks) {
    ASSERT_EQ(initialize(args(true, true, true, true)), CKR_OK);
    void* mutex = nullptr;
    ASSERT_EQ(callJCreateMutex(&mutex), CKR_OK);
    static long shared;
    shared = 0;
    fake::setDefault("C_CancelFunction", fake::Reply().hook([mutex](const fake::Call&, void* const*) {
        auto a = fake::lastInitArgs();
        if (a->LockMutex(mutex) != CKR_OK) return CKR_CANT_LOCK;
        const long seen = shared;
        std::this_thread::yield();
        shared = seen + 1;
        return a->UnlockMutex(mutex);
    }));
    constexpr int kThreads = 4, kCalls = 200;
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&] {
            JNIEnv* e = morlin_test::env();  // attaches this thread to the JVM
            e->PushLocalFrame(16);
            jclass cls = e->FindClass(kSession);
            jobject s = e->AllocObject(cls);
            for (int i = 0; i < kCalls; ++i) {
                jobject rv = Java_kaltrix_morlin_Cryptoki_C_1CancelFunction(e, nullptr, s);
                if (rv == nullptr || e->GetLongField(rv, e->GetFieldID(e->FindClass(kRV), "m_value", "J")) != 0)
                    failures++;
                e->DeleteLocalRef(rv);
            }
            e->PopLocalFrame(nullptr);
        });
    }
    for (auto& t : threads) t.join();
    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(shared, kThreads * kCalls);
    EXPECT_EQ(counter("locks"), kThreads * kCalls);
    EXPECT_EQ(counter("unlocks"), kThreads * kCalls);
    EXPECT_EQ(callJDestroyMutex(mutex), CKR_OK);
}

TEST_F(MutexTest, ArmingPathExceptions) {
    jobject a = args(true, true, true, true, 3);
    jobject result = nullptr;
    sweepAllFaults(
        env,
        [&] {
            fake::reset();
            result = Java_kaltrix_morlin_Cryptoki_C_1Initialize(env, nullptr, a);
        },
        [&](const char* entry, int) {
            EXPECT_EXCEPTION_PATH(result, entry);
            // Before the token call: the copy is freed on every exception path.
            if (fake::count("C_Initialize") == 0) {
                EXPECT_EQ(gInitArgs, nullptr) << entry;
            }
            // An exception after the global reference leaves it standing
            // (half-armed); a successful C_Finalize clears it.
            env->ExceptionClear();
            fake::reset();
            if (gInitArgsObject != nullptr) {
                EXPECT_EQ(finalize(), CKR_OK);
            }
        });
}

}  // namespace
}  // namespace morlin_test
