// Session, login and operation-state natives beyond what their frame and
// sweep row pin.
#include "bridgeTest.h"

namespace morlin_test {
namespace {

class SessionsTest : public BridgeTest {
protected:
    jobject openSession(jlong slot, jlong flags, jobject app, jobject notify, jobject out) {
        return Java_kaltrix_morlin_Cryptoki_C_1OpenSession(env, nullptr, slot, flags, app, notify, out);
    }
    jobject operationState(jobject s, jbyteArray out, jobject len) {
        return Java_kaltrix_morlin_Cryptoki_C_1GetOperationState(env, nullptr, s, out, len);
    }
    jobject setOperationState(jobject s, jbyteArray state, jlong len, jobject enc, jobject auth) {
        return Java_kaltrix_morlin_Cryptoki_C_1SetOperationState(env, nullptr, s, state, len, enc, auth);
    }
    jobject login(jobject s, jobject user, jbyteArray pin, jlong len) {
        return Java_kaltrix_morlin_Cryptoki_C_1Login(env, nullptr, s, user, pin, len);
    }
};

TEST_F(SessionsTest, OpenSessionStoresIntoTheCallersWrapperOnlyOnOk) {
    fake::enqueue("C_OpenSession", fake::Reply().handle(0x77));
    fake::enqueue("C_OpenSession", fake::Reply().handle(0x88).returns(CKR_TOKEN_NOT_PRESENT));
    jobject out = session(5);
    jobject app = makeString("app");
    EXPECT_EQ(rvOf(openSession(2, CKF_SERIAL_SESSION | CKF_RW_SESSION, app, nullptr, out)), CKR_OK);
    EXPECT_EQ(getLong(out, "m_value"), 0x77);
    auto call = fake::last("C_OpenSession");
    EXPECT_EQ(call->scalars, (std::vector<CK_ULONG>{2, CKF_SERIAL_SESSION | CKF_RW_SESSION}));
    // Both references go through raw.
    EXPECT_EQ(call->pointers[0], reinterpret_cast<std::uintptr_t>(app));
    EXPECT_TRUE(call->nulls[1]);

    EXPECT_EQ(rvOf(openSession(2, CKF_SERIAL_SESSION, nullptr, nullptr, out)), CKR_TOKEN_NOT_PRESENT);
    EXPECT_EQ(getLong(out, "m_value"), 0x77);

    EXPECT_EQ(rvOf(openSession(2, CKF_SERIAL_SESSION, nullptr, nullptr, nullptr)), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(fake::count("C_OpenSession"), 2u);
}

TEST_F(SessionsTest, SessionNativesAndThePassThrough) {
    fake::enqueue("C_CloseSession", fake::Reply().returns(CKR_SESSION_HANDLE_INVALID));
    jobject s = session(0x31);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1CloseSession(env, nullptr, s)), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(getLong(s, "m_value"), 0x31);  // no book-keeping on the Java side
    fake::enqueue("C_CloseAllSessions", fake::Reply().returns(CKR_SLOT_ID_INVALID));
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1CloseAllSessions(env, nullptr, -2)), CKR_SLOT_ID_INVALID);
    EXPECT_EQ(fake::last("C_CloseSession")->scalars[0], 0x31u);
    EXPECT_EQ(fake::last("C_CloseAllSessions")->scalars[0], static_cast<CK_ULONG>(-2));
}

TEST_F(SessionsTest, SessionInfoKeepsTheStateObjectAndWritesNothingOnAnError) {
    fake::enqueue("C_GetSessionInfo", fake::Reply().info(CK_SESSION_INFO{4, CKS_RW_USER_FUNCTIONS, 6, 7}));
    jobject info = allocObject(jn::kSessionInfo.path);
    jobject state = wrapper(jn::kState, 0);
    setObject(info, "state", jn::kSessionInfoState.sig, state);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetSessionInfo(env, nullptr, session(9), info)), CKR_OK);
    EXPECT_EQ(fake::last("C_GetSessionInfo")->scalars[0], 9u);
    EXPECT_TRUE(env->IsSameObject(getObject(info, "state", jn::kSessionInfoState.sig), state));
    EXPECT_EQ(getLong(state, "m_value"), static_cast<jlong>(CKS_RW_USER_FUNCTIONS));

    fake::enqueue("C_GetSessionInfo", fake::Reply().info(CK_SESSION_INFO{1, 1, 1, 1}).returns(CKR_DEVICE_ERROR));
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetSessionInfo(env, nullptr, session(9), info)), CKR_DEVICE_ERROR);
    EXPECT_EQ(getLong(info, "slotID"), 4);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetSessionInfo(env, nullptr, session(9), nullptr)),
              CKR_ARGUMENTS_BAD);
    EXPECT_EQ(fake::count("C_GetSessionInfo"), 2u);
}

TEST_F(SessionsTest, GetOperationStateIsTwoPhase) {
    fake::setDefault("C_GetOperationState", fake::Reply().bytes({1, 2, 3, 4, 5}));
    jobject len = longRef(0);
    EXPECT_EQ(rvOf(operationState(session(2), nullptr, len)), CKR_OK);
    EXPECT_EQ(getLong(len, "value"), 5);
    setLong(len, "value", 3);
    jbyteArray out = makeBytes({9, 9, 9, 9, 9, 9});
    EXPECT_EQ(rvOf(operationState(session(2), out, len)), CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(getLong(len, "value"), 5);
    EXPECT_EQ(readBytes(out), std::vector<unsigned char>(6, 9));
    setLong(len, "value", 6);
    EXPECT_EQ(rvOf(operationState(session(2), out, len)), CKR_OK);
    EXPECT_EQ(readBytes(out), (std::vector<unsigned char>{1, 2, 3, 4, 5, 9}));
    EXPECT_EQ(rvOf(operationState(session(2), out, nullptr)), CKR_ARGUMENTS_BAD);
}

TEST_F(SessionsTest, SetOperationStateRefusesNullOrZeroOnly) {
    jbyteArray state = makeBytes({1, 2, 3});
    EXPECT_EQ(rvOf(setOperationState(session(1), nullptr, 3, nullptr, nullptr)), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(rvOf(setOperationState(session(1), state, 0, nullptr, nullptr)), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(fake::count("C_SetOperationState"), 0u);

    // An empty array with a length: a null pointer and that length. Null keys: -1.
    EXPECT_EQ(rvOf(setOperationState(session(1), makeBytes({}), 4, nullptr, nullptr)), CKR_OK);
    auto call = fake::last("C_SetOperationState");
    EXPECT_FALSE(call->inputs[0].has_value());
    EXPECT_EQ(call->scalars, (std::vector<CK_ULONG>{1, 4, ~0UL, ~0UL}));

    EXPECT_EQ(rvOf(setOperationState(session(1), state, 2, handle(0), handle(12))), CKR_OK);
    call = fake::last("C_SetOperationState");
    EXPECT_EQ(call->inputs[0], fake::Bytes({1, 2}));
    EXPECT_EQ(call->scalars, (std::vector<CK_ULONG>{1, 2, 0, 12}));
    // Only zero is refused: a negative length with an array goes on.
    EXPECT_EQ(rvOf(setOperationState(session(1), state, -1, nullptr, nullptr)), CKR_OK);
    EXPECT_EQ(fake::count("C_SetOperationState"), 3u);
}

TEST_F(SessionsTest, LoginChecksThePinFirst) {
    jobject user = wrapper(jn::kUserType, CKU_USER);
    jobject rv;
    {
        JniMonitor monitor(env);
        rv = login(handle(1), user, nullptr, 3);
        for (Jni e : monitor.tally().trace) EXPECT_NE(e, Jni::IsInstanceOf);  // the session is not looked at
    }
    EXPECT_EQ(rvOf(rv), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(fake::count("C_Login"), 0u);

    EXPECT_EQ(rvOf(login(session(2), user, nullptr, 0)), CKR_OK);  // protected path
    auto call = fake::last("C_Login");
    EXPECT_FALSE(call->inputs[0].has_value());
    EXPECT_EQ(call->scalars, (std::vector<CK_ULONG>{2, CKU_USER, 0}));

    fake::enqueue("C_Login", fake::Reply().returns(CKR_PIN_INCORRECT));
    EXPECT_EQ(rvOf(login(session(2), nullptr, makeBytes({'1', '2', '3', '4'}), 4)), CKR_PIN_INCORRECT);
    call = fake::last("C_Login");
    EXPECT_EQ(call->scalars, (std::vector<CK_ULONG>{2, ~0UL, 4}));
    EXPECT_EQ(call->inputs[0], fake::Bytes({'1', '2', '3', '4'}));
}

}  // namespace
}  // namespace morlin_test
