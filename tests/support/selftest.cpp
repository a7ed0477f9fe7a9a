// Tests of the test support itself: the JVM, the fixture helpers and fault
// injection. A fault here would make every native test pass or fail for the
// wrong reason, so the points where that could happen are pinned.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <thread>
#include <utility>

#include "faults.h"
#include "jvm.h"

namespace {

using morlin_test::Fault;
using morlin_test::Jni;
using morlin_test::kInjectedException;

// A JDK class with a private long field "value", for field access.
constexpr const char* kAtomicLong = "java/util/concurrent/atomic/AtomicLong";

class SupportTest : public morlin_test::JniTest {};

TEST_F(SupportTest, JvmRunsAndAttachesOtherThreads) {
    EXPECT_NE(findClass("java/lang/String"), nullptr);
    EXPECT_EQ(morlin_test::env(), env);

    JNIEnv* threadEnv = nullptr;
    bool found = false;
    std::thread([&] {
        threadEnv = morlin_test::env();
        if (threadEnv == nullptr) return;
        jclass cls = threadEnv->FindClass("java/lang/Object");
        found = cls != nullptr && !threadEnv->ExceptionCheck();
    }).join();
    EXPECT_NE(threadEnv, nullptr);
    EXPECT_NE(threadEnv, env);
    EXPECT_TRUE(found);
}

TEST_F(SupportTest, HelpersRoundTripAndKeepAPendingException) {
    const std::vector<unsigned char> bytes = {0x00, 0x7f, 0x80, 0xff};
    EXPECT_EQ(readBytes(makeBytes(bytes)), bytes);
    EXPECT_TRUE(readBytes(makeBytes({})).empty());
    const std::vector<jlong> longs = {0, -1, 0x7fffffffffffffffLL, static_cast<jlong>(0x8000000000000000ULL)};
    EXPECT_EQ(readLongs(makeLongs(longs)), longs);
    EXPECT_EQ(readString(makeString("CKM_AES_CBC")), "CKM_AES_CBC");

    jobject counter = allocObject(kAtomicLong);
    setLong(counter, "value", -5);
    EXPECT_EQ(getLong(counter, "value"), -5);

    // Helpers used while a native's exception is pending leave it as it was.
    env->ThrowNew(findClass("java/lang/ArithmeticException"), "left by a native");
    EXPECT_EQ(getLong(counter, "value"), -5);
    EXPECT_EQ(readString(makeString("x")), "x");
    EXPECT_EQ(pendingClassName(), "java.lang.ArithmeticException");
    EXPECT_TRUE(pending());
    std::string message;
    EXPECT_EQ(takeException(&message), "java.lang.ArithmeticException");
    EXPECT_EQ(message, "left by a native");
    EXPECT_FALSE(pending());
    EXPECT_EQ(takeException(), "");
}

TEST_F(SupportTest, HelperFailuresThrowAndLeaveNothingPending) {
    EXPECT_THROW(findClass("kaltrix/morlin/NoSuchClass"), morlin_test::HelperFailure);
    EXPECT_FALSE(pending());
    jobject counter = allocObject(kAtomicLong);
    EXPECT_THROW(getLong(counter, "noSuchField"), morlin_test::HelperFailure);
    EXPECT_THROW(getInt(counter, "value"), morlin_test::HelperFailure);  // wrong type
    EXPECT_FALSE(pending());
    EXPECT_THROW(readBytes(nullptr), morlin_test::HelperFailure);
}

TEST_F(SupportTest, FaultFailsExactlyTheNthCall) {
    const JNINativeInterface_* original = env->functions;
    {
        Fault fault(env, Jni::FindClass, 2);
        EXPECT_NE(env->functions, original);

        EXPECT_NE(env->FindClass("java/lang/String"), nullptr);
        EXPECT_FALSE(pending());
        EXPECT_FALSE(fault.fired());

        EXPECT_EQ(env->FindClass("java/lang/Object"), nullptr);
        EXPECT_TRUE(fault.fired());
        std::string message;
        EXPECT_EQ(takeException(&message), kInjectedException);
        EXPECT_EQ(message, "injected fault #2 in FindClass");

        EXPECT_NE(env->FindClass("java/lang/Object"), nullptr);
        EXPECT_FALSE(pending());
        EXPECT_EQ(fault.calls(), 3);
    }
    EXPECT_EQ(env->functions, original);
    EXPECT_NE(env->FindClass("java/lang/String"), nullptr);
}

TEST_F(SupportTest, FaultNamedByMemberIsTheSameEntry) {
    Fault fault(env, &JNINativeInterface_::FindClass, 1);
    EXPECT_EQ(fault.entry(), Jni::FindClass);
    EXPECT_EQ(env->FindClass("java/lang/String"), nullptr);
    EXPECT_TRUE(fault.fired());
    EXPECT_EQ(takeException(), kInjectedException);
}

// Each kind of entry fails with the value a JVM gives: null for references,
// 0 for scalars, a negative status where 0 means success, no effect for void.
TEST_F(SupportTest, FaultReturnsTheFailureValueOfEachKind) {
    jbyteArray array = makeBytes({1, 2, 3});
    {
        Fault fault(env, Jni::GetArrayLength, 1);
        EXPECT_EQ(env->GetArrayLength(array), 0);
        EXPECT_EQ(takeException(), kInjectedException);
    }
    {
        Fault fault(env, Jni::PushLocalFrame, 1);
        EXPECT_LT(env->PushLocalFrame(4), 0);
        EXPECT_EQ(takeException(), kInjectedException);
    }
    {
        Fault fault(env, Jni::ThrowNew, 1);
        EXPECT_LT(env->ThrowNew(findClass("java/lang/ArithmeticException"), "x"), 0);
        EXPECT_EQ(takeException(), kInjectedException);
    }
    jobject counter = allocObject(kAtomicLong);
    setLong(counter, "value", 7);
    jfieldID value = env->GetFieldID(findClass(kAtomicLong), "value", "J");
    {
        Fault fault(env, Jni::SetLongField, 1);
        env->SetLongField(counter, value, 99);
        EXPECT_TRUE(fault.fired());
        EXPECT_EQ(takeException(), kInjectedException);
    }
    EXPECT_EQ(getLong(counter, "value"), 7);
}

// jni.h's variadic C++ wrappers reach the V entry, and the shim passes the
// va_list on intact.
TEST_F(SupportTest, VariadicCallsGoThroughTheVEntry) {
    jclass string = findClass("java/lang/String");
    jmethodID valueOf = env->GetStaticMethodID(string, "valueOf", "(J)Ljava/lang/String;");
    ASSERT_NE(valueOf, nullptr);
    Fault fault(env, Jni::CallStaticObjectMethodV, 2);
    auto first = static_cast<jstring>(env->CallStaticObjectMethod(string, valueOf, jlong{-1234567890123}));
    EXPECT_EQ(readString(first), "-1234567890123");
    EXPECT_EQ(env->CallStaticObjectMethod(string, valueOf, jlong{1}), nullptr);
    EXPECT_EQ(takeException(), kInjectedException);
    EXPECT_EQ(fault.calls(), 2);
}

TEST_F(SupportTest, HelpersInsideAnArmedRegionAreNotCounted) {
    Fault fault(env, Jni::FindClass, 1);
    EXPECT_NE(findClass("java/lang/String"), nullptr);
    EXPECT_EQ(getLong(allocObject(kAtomicLong), "value"), 0);
    EXPECT_EQ(fault.calls(), 0);
    EXPECT_FALSE(pending());
}

TEST_F(SupportTest, NestedFaultsFireIndependentlyAndUnwind) {
    const JNINativeInterface_* original = env->functions;
    {
        Fault classes(env, Jni::FindClass, 2);
        {
            Fault fields(env, Jni::GetFieldID, 1);
            jclass cls = env->FindClass(kAtomicLong);
            ASSERT_NE(cls, nullptr);
            EXPECT_EQ(env->GetFieldID(cls, "value", "J"), nullptr);
            EXPECT_EQ(takeException(), kInjectedException);
        }
        EXPECT_NE(env->GetFieldID(findClass(kAtomicLong), "value", "J"), nullptr);
        EXPECT_EQ(env->FindClass(kAtomicLong), nullptr);
        EXPECT_EQ(takeException(), kInjectedException);
    }
    EXPECT_EQ(env->functions, original);
}

JNIEnv* gEnv = nullptr;
const JNINativeInterface_* gOriginal = nullptr;

TEST_F(SupportTest, TableIsRestoredWhenAnAssertionEndsTheTest) {
    gEnv = env;
    gOriginal = env->functions;
    EXPECT_FATAL_FAILURE(
        [] {
            Fault fault(gEnv, Jni::FindClass, 1);
            ASSERT_TRUE(false) << "stops the body with the fault armed";
        }(),
        "stops the body");
    EXPECT_EQ(env->functions, gOriginal);
}

TEST_F(SupportTest, ArmingAnArmedEntryFailsAndChangesNothing) {
    gEnv = env;
    EXPECT_NONFATAL_FAILURE(
        {
            Fault first(gEnv, Jni::FindClass, 1);
            Fault second(gEnv, Jni::FindClass, 2);
            gEnv->FindClass("java/lang/String");
            gEnv->ExceptionClear();
        },
        "already armed");
}

TEST_F(SupportTest, SweepChecksEveryCallThenStops) {
    int runs = 0;
    int nulls = 0;
    std::vector<int> checked;
    morlin_test::sweepFaults(
        env, Jni::FindClass,
        [&] {
            ++runs;
            nulls = 0;
            for (const char* name : {"java/lang/String", "java/lang/Object", "java/lang/Long"}) {
                if (env->FindClass(name) == nullptr) {
                    ++nulls;
                    env->ExceptionClear();  // go on to the next call regardless
                }
            }
            // Only the armed call failed; its exception is re-raised for the check.
            if (nulls != 0) env->ThrowNew(findClass("java/lang/ArithmeticException"), "failed");
        },
        [&](int n) {
            checked.push_back(n);
            EXPECT_EQ(nulls, 1);
            EXPECT_TRUE(pending());
        });
    EXPECT_EQ(runs, 4);
    EXPECT_EQ(checked, (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(nulls, 0);
    EXPECT_FALSE(pending());
}

TEST_F(SupportTest, SweepAllNamesEachEntryTheRunReaches) {
    jobject counter = allocObject(kAtomicLong);
    jlong result = 0;
    std::set<std::pair<std::string, int>> checked;
    morlin_test::sweepAllFaults(
        env,
        [&] {
            result = -1;
            jclass cls = env->FindClass(kAtomicLong);
            if (cls == nullptr) return;
            jfieldID id = env->GetFieldID(cls, "value", "J");
            if (id == nullptr) return;
            result = env->GetLongField(counter, id);
        },
        [&](const char* entry, int n) {
            checked.emplace(entry, n);
            EXPECT_EQ(pendingClassName(), kInjectedException);
        });
    const std::set<std::pair<std::string, int>> expected = {{"FindClass", 1}, {"GetFieldID", 1}, {"GetLongField", 1}};
    EXPECT_EQ(checked, expected);
    EXPECT_EQ(result, 0);
    EXPECT_FALSE(pending());
}

}  // namespace
