// The arming path of C_Initialize and the four mutex trampolines, with the
// fake token library calling the callbacks it received. Java threads that
// share the callbacks are the end-to-end suite's, on SoftHSM2.
#include <vector>

#include "bridgeTest.h"
#include "morlin/initArgs.h"

namespace morlin_test {
namespace {

constexpr const char* kScripted = "kaltrix/morlin/testing/ScriptedMutexes";

class MutexTest : public BridgeTest {
protected:
    void SetUp() override {
        BridgeTest::SetUp();
        callStatic(kScripted, "reset", "()V");
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
    // creates, locks, unlocks, destroys
    std::vector<jlong> counts() { return readLongs(static_cast<jlongArray>(callStatic(kScripted, "counts", "()[J"))); }
    jobject args(bool create, bool destroy, bool lock, bool unlock, jlong flags = 0) {
        std::vector<jvalue> a(5);
        a[0].z = create;
        a[1].z = destroy;
        a[2].z = lock;
        a[3].z = unlock;
        a[4].j = flags;
        return callStatic(kScripted, "args", "(ZZZZJ)Lkaltrix/morlin/CK_C_INITIALIZE_ARGS;", a);
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

// An exception after the global reference was taken leaves the half-armed
// state: the reference stays, the copy is gone, and the next C_Initialize
// with arguments passes NULL.
TEST_F(MutexTest, ExceptionAfterTheGlobalReferenceLeavesItHalfArmed) {
    jobject a = args(true, true, true, true);
    {
        JniMonitor monitor(env);
        monitor.failCall(Jni::GetFieldID, 5);  // flags, after the four callbacks
        EXPECT_EQ(Java_kaltrix_morlin_Cryptoki_C_1Initialize(env, nullptr, a), nullptr);
        EXPECT_TRUE(monitor.fired());
    }
    EXPECT_EQ(takeException(), kInjectedException);
    EXPECT_NE(gInitArgsObject, nullptr);
    EXPECT_EQ(gInitArgs, nullptr);
    EXPECT_EQ(fake::count("C_Initialize"), 0u);
    EXPECT_EQ(initialize(a), CKR_OK);
    EXPECT_FALSE(fake::last("C_Initialize")->initArgs);
}

TEST_F(MutexTest, TrampolineAnswers) {
    ASSERT_EQ(initialize(args(true, true, true, true)), CKR_OK);
    EXPECT_EQ(callJLockMutex(nullptr), CKR_MUTEX_BAD);
    EXPECT_EQ(callJUnlockMutex(nullptr), CKR_MUTEX_BAD);
    EXPECT_EQ(callJDestroyMutex(nullptr), CKR_MUTEX_BAD);
    EXPECT_EQ(callJCreateMutex(nullptr), CKR_MUTEX_BAD);
    EXPECT_EQ(counts(), (std::vector<jlong>{0, 0, 0, 0}));

    setStaticBoolean(kScripted, "createReturnsNull", true);
    void* mutex = reinterpret_cast<void*>(1);
    EXPECT_EQ(callJCreateMutex(&mutex), CKR_MUTEX_BAD);
    EXPECT_EQ(mutex, nullptr);
    setStaticBoolean(kScripted, "createReturnsNull", false);

    ASSERT_EQ(callJCreateMutex(&mutex), CKR_OK);
    setStaticLong(kScripted, "lockAnswer", 5);
    EXPECT_EQ(callJLockMutex(mutex), 5u);  // the Java long is the answer
    EXPECT_EQ(callJUnlockMutex(mutex), CKR_OK);

    // A throwing callback answers CKR_MUTEX_BAD and leaves its exception.
    setStaticBoolean(kScripted, "lockThrows", true);
    EXPECT_EQ(callJLockMutex(mutex), CKR_MUTEX_BAD);
    EXPECT_EQ(takeException(), "java.lang.IllegalStateException");

    // A DestroyMutex that throws keeps the global reference: still usable.
    setStaticBoolean(kScripted, "lockThrows", false);
    setStaticLong(kScripted, "lockAnswer", 0);
    setStaticBoolean(kScripted, "destroyThrows", true);
    EXPECT_EQ(callJDestroyMutex(mutex), CKR_MUTEX_BAD);
    EXPECT_EQ(takeException(), "java.lang.IllegalStateException");
    EXPECT_EQ(callJLockMutex(mutex), CKR_OK);
    EXPECT_EQ(callJUnlockMutex(mutex), CKR_OK);
    setStaticBoolean(kScripted, "destroyThrows", false);
    EXPECT_EQ(callJDestroyMutex(mutex), CKR_OK);
    EXPECT_EQ(counts()[3], 2);
}

// The token library calls back from inside a native; a throwing LockMutex
// makes that native return null with the exception still pending.
TEST_F(MutexTest, CallbackExceptionReachesTheOuterNative) {
    ASSERT_EQ(initialize(args(true, true, true, true)), CKR_OK);
    setStaticBoolean(kScripted, "lockThrows", true);
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

}  // namespace
}  // namespace morlin_test
