// The slot and session natives under test, and a watch on the token library
// that catches a call made while a Java exception is pending.
#ifndef MORLIN_TESTS_SLOT_SESSION_TEST_H
#define MORLIN_TESTS_SLOT_SESSION_TEST_H

#include <functional>
#include <string>

#include "bridge_test.h"

extern "C" {
#define MORLIN_TEST_ENTRY_(name, ...) \
    JNIEXPORT jobject JNICALL Java_kaltrix_morlin_Cryptoki_##name(JNIEnv*, jclass, __VA_ARGS__);
MORLIN_TEST_ENTRY_(C_1GetSlotList, jboolean, jlongArray, jobject)
MORLIN_TEST_ENTRY_(C_1GetSlotInfo, jlong, jobject)
MORLIN_TEST_ENTRY_(C_1GetTokenInfo, jlong, jobject)
MORLIN_TEST_ENTRY_(C_1WaitForSlotEvent, jlong, jobject, jobject)
MORLIN_TEST_ENTRY_(C_1GetMechanismList, jlong, jobjectArray, jobject)
MORLIN_TEST_ENTRY_(C_1GetMechanismInfo, jlong, jobject, jobject)
MORLIN_TEST_ENTRY_(C_1InitToken, jlong, jbyteArray, jlong, jbyteArray)
MORLIN_TEST_ENTRY_(C_1InitPIN, jobject, jbyteArray, jlong)
MORLIN_TEST_ENTRY_(C_1SetPIN, jobject, jbyteArray, jlong, jbyteArray, jlong)
MORLIN_TEST_ENTRY_(C_1OpenSession, jlong, jlong, jobject, jobject, jobject)
MORLIN_TEST_ENTRY_(C_1CloseSession, jobject)
MORLIN_TEST_ENTRY_(C_1CloseAllSessions, jlong)
MORLIN_TEST_ENTRY_(C_1GetSessionInfo, jobject, jobject)
MORLIN_TEST_ENTRY_(C_1GetOperationState, jobject, jbyteArray, jobject)
MORLIN_TEST_ENTRY_(C_1SetOperationState, jobject, jbyteArray, jlong, jobject, jobject)
MORLIN_TEST_ENTRY_(C_1Login, jobject, jobject, jbyteArray, jlong)
MORLIN_TEST_ENTRY_(C_1Logout, jobject)
#undef MORLIN_TEST_ENTRY_
}

namespace morlin_test {

inline constexpr const char* kMechType = "kaltrix/morlin/constants/CK_MECHANISM_TYPE";

// Installed as the default answer of one token function: notes whether a
// Java exception was pending when the bridge called it (a frame must never
// call the token library after a failed conversion), then answers through
// answer, or CKR_OK. Arguments as in fake::Hook.
struct TokenWatch {
    bool calledWithPending = false;

    void install(const char* function, std::function<CK_RV(void* const*)> answer = nullptr) {
        calledWithPending = false;
        fake::setDefault(function, fake::Reply().hook([this, answer](const fake::Call&, void* const* args) {
            calledWithPending = calledWithPending || morlin_test::env()->ExceptionCheck();
            return answer ? answer(args) : CKR_OK;
        }));
    }
};

// Every exception path of a native: null (or see EXPECT_EXCEPTION_PATH), the
// exception pending, and the token library never called after the failure.
template <class Run>
void sweepNative(JNIEnv* env, TokenWatch& watch, jobject& result, Run run) {
    sweepAllFaults(env, run, [&](const char* entry, int) {
        EXPECT_EXCEPTION_PATH(result, entry);
        EXPECT_FALSE(watch.calledWithPending) << entry;
    });
}

}  // namespace morlin_test

#endif
