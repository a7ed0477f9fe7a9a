// Shared pieces of the native tests: the fixture (JVM, fake token reset),
// the entry points under test, and small readers of the bridge's results.
#ifndef MORLIN_TESTS_BRIDGE_TEST_H
#define MORLIN_TESTS_BRIDGE_TEST_H

#include <gtest/gtest.h>
#include <jni.h>

#include <string>

#include "cryptoki.h"
#include "fake_cryptoki.h"
#include "faults.h"
#include "jvm.h"

extern "C" {
#define MORLIN_TEST_ENTRY_(name, ...) \
    JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_##name(JNIEnv*, jclass, __VA_ARGS__);
MORLIN_TEST_ENTRY_(C_1Initialize, jobject)
MORLIN_TEST_ENTRY_(C_1Finalize, jobject)
MORLIN_TEST_ENTRY_(C_1GetInfo, jobject)
MORLIN_TEST_ENTRY_(C_1GetFunctionStatus, jobject)
MORLIN_TEST_ENTRY_(C_1CancelFunction, jobject)
#undef MORLIN_TEST_ENTRY_
}

namespace morlin_test {

using morlin_test::Jni;

inline constexpr const char* kRV = "kaltrix/morlin/constants/CK_RV";
inline constexpr const char* kSession = "kaltrix/morlin/CK_SESSION_HANDLE";
inline constexpr const char* kObjectHandle = "kaltrix/morlin/CK_OBJECT_HANDLE";
inline constexpr const char* kLongRef = "kaltrix/morlin/LongRef";

class BridgeTest : public JniTest {
protected:
    void SetUp() override {
        JniTest::SetUp();
        fake::reset();
    }

    // A wrapper of the class with m_value set, built as the bridge builds them.
    jobject wrapper(const char* cls, jlong value) {
        jobject o = allocObject(cls);
        setLong(o, "m_value", value);
        return o;
    }
    jobject session(jlong h) { return wrapper(kSession, h); }
    jobject longRef(jlong v) {
        jobject o = allocObject(kLongRef);
        setLong(o, "value", v);
        return o;
    }

    // The m_value of a returned CK_RV; fails the test for null or another class.
    CK_RV rvOf(jobject rv) {
        EXPECT_NE(rv, nullptr);
        if (rv == nullptr) return ~0UL;
        EXPECT_TRUE(env->IsInstanceOf(rv, findClass(kRV)));
        return static_cast<CK_RV>(getLong(rv, "m_value"));
    }
};

// What every exception path of a frame must show: null returned and the
// exception still pending. The one exception to null is a failure inside the
// making of the CK_RV object itself after AllocObject, whose store is not
// checked, so the object comes back with the exception pending.
#define EXPECT_EXCEPTION_PATH(result, entry)                                                        \
    do {                                                                                            \
        EXPECT_TRUE(env->ExceptionCheck()) << "no exception pending after fault in " << (entry);    \
        if ((result) != nullptr) {                                                                  \
            EXPECT_TRUE(std::string(entry) == "GetFieldID" || std::string(entry) == "SetLongField") \
                << "non-null result after fault in " << (entry);                                    \
        }                                                                                           \
    } while (0)

}  // namespace morlin_test

#endif
