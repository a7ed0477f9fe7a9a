// Session, login and operation-state natives against the fake token library.
#include "slot_session_test.h"

namespace morlin_test {
namespace {

constexpr const char* kState = "kaltrix/morlin/constants/CK_STATE";
constexpr const char* kUserType = "kaltrix/morlin/constants/CK_USER_TYPE";

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

TEST_F(SessionsTest, SessionFramesAndPassThrough) {
    fake::enqueue("C_CloseSession", fake::Reply().returns(CKR_SESSION_HANDLE_INVALID));
    jobject s = session(0x31);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1CloseSession(env, nullptr, s)), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(getLong(s, "m_value"), 0x31);  // no book-keeping on the Java side
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1Logout(env, nullptr, nullptr)), CKR_OK);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1CloseAllSessions(env, nullptr, -2)), CKR_OK);
    EXPECT_EQ(fake::last("C_CloseSession")->scalars[0], 0x31u);
    EXPECT_EQ(fake::last("C_Logout")->scalars[0], ~0UL);
    EXPECT_EQ(fake::last("C_CloseAllSessions")->scalars[0], static_cast<CK_ULONG>(-2));
}

TEST_F(SessionsTest, SessionInfoUpdatesTheStateObjectInPlace) {
    fake::enqueue("C_GetSessionInfo", fake::Reply().info(CK_SESSION_INFO{4, CKS_RW_USER_FUNCTIONS, 6, 0x80000000}));
    jobject info = allocObject("kaltrix/morlin/CK_SESSION_INFO");
    jobject state = wrapper(kState, 0);
    setObject(info, "state", "Lkaltrix/morlin/constants/CK_STATE;", state);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetSessionInfo(env, nullptr, session(9), info)), CKR_OK);
    EXPECT_EQ(fake::last("C_GetSessionInfo")->scalars[0], 9u);
    EXPECT_EQ(getLong(info, "slotID"), 4);
    EXPECT_TRUE(env->IsSameObject(getObject(info, "state", "Lkaltrix/morlin/constants/CK_STATE;"), state));
    EXPECT_EQ(getLong(state, "m_value"), static_cast<jlong>(CKS_RW_USER_FUNCTIONS));
    EXPECT_EQ(getLong(info, "flags"), 6);
    EXPECT_EQ(getLong(info, "deviceError"), 0x80000000LL);

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

    EXPECT_EQ(rvOf(setOperationState(session(1), state, 2, wrapper(kObjectHandle, 0), wrapper(kObjectHandle, 12))),
              CKR_OK);
    call = fake::last("C_SetOperationState");
    EXPECT_EQ(call->inputs[0], fake::Bytes({1, 2}));
    EXPECT_EQ(call->scalars, (std::vector<CK_ULONG>{1, 2, 0, 12}));
    // Only zero is refused: a negative length with an array goes on.
    EXPECT_EQ(rvOf(setOperationState(session(1), state, -1, nullptr, nullptr)), CKR_OK);
    EXPECT_EQ(fake::count("C_SetOperationState"), 3u);
}

TEST_F(SessionsTest, LoginChecksThePinFirst) {
    jobject badSession = wrapper(kObjectHandle, 1);
    jobject user = wrapper(kUserType, CKU_USER);
    jobject rv;
    {
        Fault f(env, Jni::IsInstanceOf, 1);  // the session's conversion, were it reached
        rv = login(badSession, user, nullptr, 3);
        EXPECT_FALSE(f.fired());
    }
    EXPECT_EQ(rvOf(rv), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(fake::count("C_Login"), 0u);

    EXPECT_EQ(rvOf(login(session(2), wrapper(kUserType, CKU_USER), nullptr, 0)), CKR_OK);  // protected path
    auto call = fake::last("C_Login");
    EXPECT_FALSE(call->inputs[0].has_value());
    EXPECT_EQ(call->scalars, (std::vector<CK_ULONG>{2, CKU_USER, 0}));

    fake::enqueue("C_Login", fake::Reply().returns(CKR_PIN_INCORRECT));
    EXPECT_EQ(rvOf(login(session(2), nullptr, makeBytes({'1', '2', '3', '4'}), 4)), CKR_PIN_INCORRECT);
    call = fake::last("C_Login");
    EXPECT_EQ(call->scalars, (std::vector<CK_ULONG>{2, ~0UL, 4}));
    EXPECT_EQ(call->inputs[0], fake::Bytes({'1', '2', '3', '4'}));
}

TEST_F(SessionsTest, ExceptionPaths) {
    TokenWatch watch;
    jobject result = nullptr;
    watch.install("C_OpenSession", [](void* const* a) {
        *fake::arg<CK_SESSION_HANDLE_PTR>(a, 4) = 0x42;
        return CKR_OK;
    });
    jobject out = session(0);
    sweepNative(env, watch, result, [&] { result = openSession(1, CKF_SERIAL_SESSION, nullptr, nullptr, out); });

    watch.install("C_GetSessionInfo", [](void* const* a) {
        *fake::arg<CK_SESSION_INFO_PTR>(a, 1) = CK_SESSION_INFO{1, 2, 3, 4};
        return CKR_OK;
    });
    jobject info = allocObject("kaltrix/morlin/CK_SESSION_INFO");
    setObject(info, "state", "Lkaltrix/morlin/constants/CK_STATE;", wrapper(kState, 0));
    jobject s = session(7);
    sweepNative(env, watch, result,
                [&] { result = Java_kaltrix_morlin_Cryptoki_C_1GetSessionInfo(env, nullptr, s, info); });

    watch.install("C_GetOperationState", [](void* const* a) {
        if (CK_BYTE_PTR buffer = fake::arg<CK_BYTE_PTR>(a, 1)) buffer[0] = 0x5A;
        fake::arg<CK_ULONG_PTR>(a, 2)[0] = 1;
        return CKR_OK;
    });
    jbyteArray buffer = makeBytes({0, 0});
    sweepNative(env, watch, result, [&] { result = operationState(s, buffer, longRef(2)); });

    watch.install("C_SetOperationState");
    jbyteArray state = makeBytes({1, 2, 3});
    jobject key = wrapper(kObjectHandle, 3);
    sweepNative(env, watch, result, [&] { result = setOperationState(s, state, 3, key, key); });

    watch.install("C_Login");
    jobject user = wrapper(kUserType, CKU_USER);
    sweepNative(env, watch, result, [&] { result = login(s, user, state, 3); });
}

}  // namespace
}  // namespace morlin_test
