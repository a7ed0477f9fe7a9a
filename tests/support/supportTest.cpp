// Tests of the test support itself: the JVM, the fixture helpers, the JNI
// monitor and the allocation watch. A fault here would make every native
// test pass or fail for the wrong reason, so the points where that could
// happen are pinned.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "allocations.h"
#include "jniMonitor.h"
#include "jvm.h"

namespace {

using morlin_test::AllocationWatch;
using morlin_test::Jni;
using morlin_test::JniMonitor;
using morlin_test::kInjectedException;

// A JDK class with a private long field "value", for field access.
constexpr const char* kAtomicLong = "java/util/concurrent/atomic/AtomicLong";

class SupportTest : public morlin_test::JniTest {};

// Helpers used while a native's exception is pending leave it as it was;
// a helper that cannot do its work throws and leaves nothing pending.
TEST_F(SupportTest, HelpersKeepAPendingExceptionAndFailLoudly) {
    jobject counter = allocObject(kAtomicLong);
    setLong(counter, "value", -5);
    env->ThrowNew(findClass("java/lang/ArithmeticException"), "left by a native");
    EXPECT_EQ(getLong(counter, "value"), -5);
    EXPECT_EQ(readString(makeString("x")), "x");
    std::string message;
    EXPECT_EQ(takeException(&message), "java.lang.ArithmeticException");
    EXPECT_EQ(message, "left by a native");
    EXPECT_THROW(findClass("kaltrix/morlin/NoSuchClass"), morlin_test::HelperFailure);
    EXPECT_THROW(getLong(counter, "noSuchField"), morlin_test::HelperFailure);
    EXPECT_FALSE(pending());
}

TEST_F(SupportTest, MonitorFailsExactlyTheNthCallAndRestoresTheTable) {
    const JNINativeInterface_* original = env->functions;
    jbyteArray array = makeBytes({1, 2, 3});
    {
        JniMonitor monitor(env);
        EXPECT_NE(env->functions, original);
        monitor.failCall(3);
        EXPECT_NE(env->FindClass("java/lang/String"), nullptr);
        EXPECT_EQ(env->GetArrayLength(array), 3);
        EXPECT_FALSE(monitor.fired());
        EXPECT_EQ(env->GetArrayLength(array), 0);  // a scalar fails as 0
        EXPECT_TRUE(monitor.fired());
        std::string message;
        EXPECT_EQ(takeException(&message), kInjectedException);
        EXPECT_EQ(message, "injected fault #3 in GetArrayLength");
        EXPECT_EQ(env->ExceptionCheck(), JNI_FALSE);  // not counted: it cannot fail
        EXPECT_NE(env->FindClass("java/lang/Object"), nullptr);
        EXPECT_EQ(monitor.tally().calls, 4);
        EXPECT_EQ(monitor.tally().firedEntry, Jni::GetArrayLength);

        // One entry alone: its second call; a status entry fails negative.
        monitor.reset();
        monitor.failCall(Jni::EnsureLocalCapacity, 1);
        EXPECT_NE(env->FindClass("java/lang/Object"), nullptr);
        EXPECT_LT(env->EnsureLocalCapacity(4), 0);
        EXPECT_EQ(takeException(), kInjectedException);
        EXPECT_EQ(monitor.tally().firedAt, 1);
        EXPECT_TRUE(monitor.tally().violations.empty());
    }
    EXPECT_EQ(env->functions, original);
}

TEST_F(SupportTest, HelpersAndPausedCallsAreNotCounted) {
    JniMonitor monitor(env);
    monitor.failCall(1);
    EXPECT_NE(findClass("java/lang/String"), nullptr);
    EXPECT_EQ(getLong(allocObject(kAtomicLong), "value"), 0);
    monitor.pause(true);
    EXPECT_NE(env->FindClass("java/lang/String"), nullptr);
    EXPECT_EQ(monitor.tally().calls, 0);
    EXPECT_FALSE(pending());
}

// A call with an exception pending is noted, but for the entries that JNI
// allows then and for two class lookups that the bridge makes on purpose
// before one check.
TEST_F(SupportTest, CallsWithAnExceptionPendingAreViolations) {
    jclass atomic = findClass(kAtomicLong);
    JniMonitor monitor(env);
    env->ThrowNew(findClass("java/lang/ArithmeticException"), "pending");
    env->ExceptionCheck();
    env->DeleteLocalRef(nullptr);
    EXPECT_TRUE(monitor.tally().violations.empty());
    env->GetFieldID(atomic, "value", "J");
    EXPECT_EQ(monitor.tally().violations.size(), 1u);
    takeException();

    monitor.reset();
    monitor.failCall(1);
    env->FindClass("java/lang/Object");
    env->FindClass("java/lang/Class");  // the prescribed pair
    EXPECT_TRUE(monitor.tally().violations.empty());
    takeException();
    monitor.reset();
    monitor.failCall(1);
    env->FindClass("java/lang/Object");
    env->FindClass("java/lang/String");  // not a prescribed pair
    EXPECT_EQ(monitor.tally().violations.size(), 1u);
    takeException();
}

TEST_F(SupportTest, GlobalReferencesAndJvmBuffersAreBalanced) {
    jstring text = makeString("abc");
    jbyteArray bytes = makeBytes({1, 2});
    JniMonitor monitor(env);
    jobject global = env->NewGlobalRef(text);
    const char* chars = env->GetStringUTFChars(text, nullptr);
    jbyte* elements = env->GetByteArrayElements(bytes, nullptr);
    EXPECT_EQ(monitor.tally().globalRefs, 1);
    EXPECT_EQ(monitor.tally().heldBuffers, 2);
    env->ReleaseStringUTFChars(text, chars);
    env->ReleaseByteArrayElements(bytes, elements, JNI_ABORT);
    env->DeleteGlobalRef(global);
    EXPECT_EQ(monitor.tally().globalRefs, 0);
    EXPECT_EQ(monitor.tally().heldBuffers, 0);
}

// Blocks the compiler cannot prove unused, so that it keeps each call.
void* volatile gKept;
template <class T>
T* Kept(T* p) {
    gKept = p;
    return p;
}

TEST_F(SupportTest, AllocationWatchCountsBlocksAndBytes) {
    void* before = Kept(malloc(4));
    AllocationWatch watch;
    void* a = Kept(malloc(10));
    void* b = Kept(calloc(3, 4));
    char* c = Kept(strdup("hello"));
    b = Kept(realloc(b, 20));
    EXPECT_EQ(watch.tally().blocks, 3);
    EXPECT_EQ(watch.tally().bytes, 10 + 20 + 6);
    free(a);
    free(b);
    free(c);
    free(before);  // taken before the watch
    EXPECT_EQ(watch.tally().blocks, 0);
    EXPECT_EQ(watch.tally().bytes, 0);
    EXPECT_EQ(watch.tally().foreignFrees, 1);
}

}  // namespace
