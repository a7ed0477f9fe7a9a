// The frame templates instantiated directly, as the natives of later
// families will instantiate them, against the fake token library.
#include <cstdlib>

#include "bridge_test.h"
#include "morlin/frames.h"

namespace morlin_test {
namespace {

using frame::Bool;
using frame::Bytes;
using frame::Mechanism;
using frame::Object;
using frame::Session;

class FramesTest : public BridgeTest {
protected:
    // The data frame as C_Encrypt has it.
    jobject encrypt(jobject s, jbyteArray in, jlong inLen, jbyteArray out, jobject len) {
        return frame::TwoPhaseFrame<C_Encrypt, CopyCKByteArrayToJByteArray, CK_BYTE, false>(env, out, len, Session{s},
                                                                                            Bytes{in}, inLen);
    }
    // The final frame as C_EncryptFinal has it, and C_GetOperationState with malloc.
    jobject encryptFinal(jobject s, jbyteArray out, jobject len) {
        return frame::TwoPhaseFrame<C_EncryptFinal, CopyCKByteArrayToJByteArray, CK_BYTE, false>(env, out, len,
                                                                                                 Session{s});
    }
    jobject operationState(jobject s, jbyteArray out, jobject len) {
        return frame::TwoPhaseFrame<C_GetOperationState, CopyCKByteArrayToJByteArray, CK_BYTE, true>(env, out, len,
                                                                                                     Session{s});
    }
    // The list frame as C_GetSlotList has it.
    jobject slotList(jboolean present, jlongArray out, jobject len) {
        return frame::TwoPhaseFrame<C_GetSlotList, CopyCKULongArrayToJLongArray, CK_ULONG, false>(env, out, len,
                                                                                                  Bool{present});
    }
};

// ---- two-phase output --------------------------------------------------------

TEST_F(FramesTest, NullLengthRefIsArgumentsBadAndTokenUntouched) {
    EXPECT_EQ(rvOf(encrypt(session(1), makeBytes({1}), 1, makeBytes({0}), nullptr)), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(rvOf(encryptFinal(session(1), nullptr, nullptr)), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(fake::calls().size(), 0u);
}

TEST_F(FramesTest, NullOutputArrayIsTheSizeQuery) {
    fake::setDefault("C_Encrypt", fake::Reply().bytes({1, 2, 3, 4, 5, 6}));
    jobject len = longRef(-77);  // whatever it held goes in as it is
    EXPECT_EQ(rvOf(encrypt(session(3), makeBytes({9, 8}), 2, nullptr, len)), CKR_OK);
    EXPECT_EQ(getLong(len, "value"), 6);
    auto call = fake::last("C_Encrypt");
    ASSERT_TRUE(call);
    EXPECT_EQ(call->scalars, (std::vector<CK_ULONG>{3, 2}));
    EXPECT_EQ(call->inputs[0], fake::Bytes({9, 8}));
    EXPECT_EQ(call->lengthsIn[0], static_cast<CK_ULONG>(-77));
    EXPECT_TRUE(call->nulls[1]);  // the output buffer
}

TEST_F(FramesTest, TooSmallKeepsTheArrayAndReportsTheNeed) {
    fake::setDefault("C_Encrypt", fake::Reply().bytes({1, 2, 3, 4, 5, 6}));
    jobject len = longRef(4);
    jbyteArray out = makeBytes({7, 7, 7, 7, 7, 7, 7, 7});
    EXPECT_EQ(rvOf(encrypt(session(3), nullptr, 0, out, len)), CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(getLong(len, "value"), 6);
    EXPECT_EQ(readBytes(out), std::vector<unsigned char>(8, 7));
}

TEST_F(FramesTest, ValueSizesTheBufferNotTheArray) {
    // value 10 with a two-element array and 5 bytes of answer: 2 copied, value 5.
    fake::setDefault("C_Encrypt", fake::Reply().bytes({1, 2, 3, 4, 5}));
    jobject len = longRef(10);
    jbyteArray two = makeBytes({0, 0});
    EXPECT_EQ(rvOf(encrypt(session(3), nullptr, 0, two, len)), CKR_OK);
    EXPECT_EQ(readBytes(two), (std::vector<unsigned char>{1, 2}));
    EXPECT_EQ(getLong(len, "value"), 5);
    EXPECT_EQ(fake::last("C_Encrypt")->lengthsIn[0], 10u);

    // A larger array keeps its tail.
    setLong(len, "value", 8);
    jbyteArray eight = makeBytes({9, 9, 9, 9, 9, 9, 9, 9});
    EXPECT_EQ(rvOf(encrypt(session(3), nullptr, 0, eight, len)), CKR_OK);
    EXPECT_EQ(readBytes(eight), (std::vector<unsigned char>{1, 2, 3, 4, 5, 9, 9, 9}));
}

TEST_F(FramesTest, LengthIsWrittenOnEveryAnswerAndBytesOnlyOnOk) {
    fake::enqueue("C_Encrypt", fake::Reply().bytes({1, 2}).length(2).returns(CKR_DEVICE_ERROR));
    jobject len = longRef(8);
    jbyteArray out = makeBytes({0, 0});
    EXPECT_EQ(rvOf(encrypt(session(3), nullptr, 0, out, len)), CKR_DEVICE_ERROR);
    EXPECT_EQ(getLong(len, "value"), 2);
    EXPECT_EQ(readBytes(out), (std::vector<unsigned char>{0, 0}));
}

TEST_F(FramesTest, InputArrayNullOrEmptyReachesTheTokenAsNullWithTheJavaCount) {
    EXPECT_EQ(rvOf(encrypt(session(3), nullptr, 7, nullptr, longRef(0))), CKR_OK);
    EXPECT_EQ(rvOf(encrypt(session(3), makeBytes({}), 4, nullptr, longRef(0))), CKR_OK);
    EXPECT_EQ(rvOf(encrypt(session(3), makeBytes({1, 2, 3}), 1, nullptr, longRef(0))), CKR_OK);
    auto calls = fake::calls("C_Encrypt");
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_FALSE(calls[0].inputs[0].has_value());
    EXPECT_EQ(calls[0].scalars[1], 7u);
    EXPECT_FALSE(calls[1].inputs[0].has_value());
    EXPECT_EQ(calls[1].scalars[1], 4u);
    EXPECT_EQ(calls[2].inputs[0], fake::Bytes({1}));  // the Java count, not the array's length
}

TEST_F(FramesTest, DataFrameExceptionPaths) {
    fake::setDefault("C_Encrypt", fake::Reply().bytes({1, 2, 3}));
    jobject s = session(3);
    jbyteArray in = makeBytes({5, 6});
    jbyteArray out = makeBytes({0, 0, 0});
    jobject len = longRef(3);
    jobject result = nullptr;
    sweepAllFaults(
        env, [&] { result = encrypt(s, in, 2, out, len); },
        [&](const char* entry, int) { EXPECT_EXCEPTION_PATH(result, entry); });
}

TEST_F(FramesTest, ExceptionBeforeTheCallKeepsTheTokenOut) {
    // FindClass #1 is LongRef's; #2 the session's; GetByteArrayRegion the input copy.
    for (auto [entry, n] : {std::pair{Jni::FindClass, 1}, std::pair{Jni::FindClass, 2},
                            std::pair{Jni::GetByteArrayRegion, 1}, std::pair{Jni::GetFieldID, 2}}) {
        fake::reset();
        jobject s = session(3);
        jbyteArray in = makeBytes({5, 6});
        jobject len = longRef(3);
        jobject result;
        {
            Fault f(env, entry, n);
            result = encrypt(s, in, 2, makeBytes({0}), len);
            EXPECT_TRUE(f.fired());
        }
        EXPECT_EQ(result, nullptr);
        EXPECT_EQ(takeException(), kInjectedException);
        EXPECT_EQ(fake::count("C_Encrypt"), 0u) << jniName(entry) << " #" << n;
        EXPECT_EQ(getLong(len, "value"), 3);
    }
}

TEST_F(FramesTest, FinalFrameAndMallocVariant) {
    fake::setDefault("C_EncryptFinal", fake::Reply().bytes({4, 3, 2, 1}));
    fake::setDefault("C_GetOperationState", fake::Reply().bytes({8, 8}));
    jobject len = longRef(0);
    EXPECT_EQ(rvOf(encryptFinal(session(2), nullptr, len)), CKR_OK);
    EXPECT_EQ(getLong(len, "value"), 4);
    jbyteArray out = makeBytes({0, 0, 0, 0});
    EXPECT_EQ(rvOf(encryptFinal(session(2), out, len)), CKR_OK);
    EXPECT_EQ(readBytes(out), (std::vector<unsigned char>{4, 3, 2, 1}));

    setLong(len, "value", 2);
    jbyteArray state = makeBytes({0, 0});
    EXPECT_EQ(rvOf(operationState(session(2), state, len)), CKR_OK);
    EXPECT_EQ(readBytes(state), (std::vector<unsigned char>{8, 8}));

    jobject result = nullptr;
    sweepAllFaults(
        env, [&] { result = encryptFinal(session(2), out, len); },
        [&](const char* entry, int) { EXPECT_EXCEPTION_PATH(result, entry); });
}

TEST_F(FramesTest, ListFrameCopiesWhatFitsAndCountsAll) {
    fake::setDefault("C_GetSlotList", fake::Reply().ulongs({10, 11, 12, 13, 14}));
    jobject count = longRef(10);
    jlongArray two = makeLongs({0, 0});
    EXPECT_EQ(rvOf(slotList(JNI_TRUE, two, count)), CKR_OK);
    EXPECT_EQ(readLongs(two), (std::vector<jlong>{10, 11}));
    EXPECT_EQ(getLong(count, "value"), 5);
    EXPECT_EQ(fake::last("C_GetSlotList")->scalars[0], CK_TRUE);

    setLong(count, "value", 3);
    jlongArray three = makeLongs({-1, -1, -1});
    EXPECT_EQ(rvOf(slotList(2, three, count)), CKR_BUFFER_TOO_SMALL);  // only exactly 1 is true
    EXPECT_EQ(fake::last("C_GetSlotList")->scalars[0], CK_FALSE);
    EXPECT_EQ(readLongs(three), (std::vector<jlong>{-1, -1, -1}));
    EXPECT_EQ(getLong(count, "value"), 5);

    jobject result = nullptr;
    sweepAllFaults(
        env, [&] { result = slotList(JNI_TRUE, two, longRef(9)); },
        [&](const char* entry, int) { EXPECT_EXCEPTION_PATH(result, entry); });
}

// ---- input frame ------------------------------------------------------------------

TEST_F(FramesTest, InputFramePassesArraysAndJavaCounts) {
    auto digestUpdate = [&](jbyteArray part, jlong n) {
        return frame::CallFrame<C_DigestUpdate>(env, true, Session{session(4)}, Bytes{part}, n);
    };
    EXPECT_EQ(rvOf(digestUpdate(nullptr, 5)), CKR_OK);  // unchecked natives hand null on
    EXPECT_EQ(rvOf(digestUpdate(makeBytes({1, 2, 3}), 3)), CKR_OK);
    auto calls = fake::calls("C_DigestUpdate");
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_FALSE(calls[0].inputs[0].has_value());
    EXPECT_EQ(calls[0].scalars, (std::vector<CK_ULONG>{4, 5}));
    EXPECT_EQ(calls[1].inputs[0], fake::Bytes({1, 2, 3}));

    // The count-and-array check of the checking natives.
    EXPECT_FALSE(frame::ArrayCountOk(nullptr, 1));
    EXPECT_TRUE(frame::ArrayCountOk(nullptr, 0));
    EXPECT_TRUE(frame::ArrayCountOk(nullptr, -1));
    jobject rv = frame::CallFrame<C_InitPIN>(env, frame::ArrayCountOk(nullptr, 4), Session{session(4)}, Bytes{nullptr},
                                             jlong{4});
    EXPECT_EQ(rvOf(rv), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(fake::count("C_InitPIN"), 0u);

    jbyteArray pin = makeBytes({'1', '2'});
    jobject result = nullptr;
    sweepAllFaults(
        env, [&] { result = frame::CallFrame<C_InitPIN>(env, true, Session{session(4)}, Bytes{pin}, jlong{2}); },
        [&](const char* entry, int) { EXPECT_EXCEPTION_PATH(result, entry); });
}

TEST_F(FramesTest, TwoHandleFrameConvertsBothInOrder) {
    fake::enqueue("C_DestroyObject", fake::Reply().returns(CKR_OBJECT_HANDLE_INVALID));
    jobject rv = frame::CallFrame<C_DestroyObject>(env, true, Session{session(4)}, Object{wrapper(kObjectHandle, 99)});
    EXPECT_EQ(rvOf(rv), CKR_OBJECT_HANDLE_INVALID);
    EXPECT_EQ(fake::last("C_DestroyObject")->scalars, (std::vector<CK_ULONG>{4, 99}));
    // A session wrapper where the object belongs converts to 0.
    frame::CallFrame<C_DestroyObject>(env, true, Session{session(4)}, Object{session(99)});
    EXPECT_EQ(fake::last("C_DestroyObject")->scalars, (std::vector<CK_ULONG>{4, 0}));
}

// ---- new-handle frame -------------------------------------------------------------

TEST_F(FramesTest, NewHandleFrameStoresOnlyOnOk) {
    auto openSession = [&](jobject out, bool argsOk) {
        return frame::NewHandleFrame<C_OpenSession>(env, kSession, argsOk, out, jlong{1}, jlong{CKF_SERIAL_SESSION},
                                                    static_cast<CK_VOID_PTR>(nullptr), static_cast<CK_NOTIFY>(nullptr));
    };
    fake::enqueue("C_OpenSession", fake::Reply().handle(0x55));
    fake::enqueue("C_OpenSession", fake::Reply().handle(0x66).returns(CKR_SESSION_COUNT));
    jobject out = session(0);
    EXPECT_EQ(rvOf(openSession(out, true)), CKR_OK);
    EXPECT_EQ(getLong(out, "m_value"), 0x55);
    EXPECT_EQ(rvOf(openSession(out, true)), CKR_SESSION_COUNT);
    EXPECT_EQ(getLong(out, "m_value"), 0x55);
    EXPECT_EQ(fake::last("C_OpenSession")->scalars, (std::vector<CK_ULONG>{1, CKF_SERIAL_SESSION}));

    EXPECT_EQ(rvOf(openSession(nullptr, false)), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(fake::count("C_OpenSession"), 2u);
    // A null wrapper that the native lets through simply goes unwritten.
    EXPECT_EQ(rvOf(openSession(nullptr, true)), CKR_OK);

    {
        // The handle class is resolved before anything else.
        Fault f(env, Jni::FindClass, 1);
        EXPECT_EQ(openSession(nullptr, false), nullptr);
    }
    EXPECT_EQ(takeException(), kInjectedException);
    EXPECT_EQ(fake::count("C_OpenSession"), 3u);

    jobject result = nullptr;
    sweepAllFaults(
        env, [&] { result = openSession(out, true); },
        [&](const char* entry, int) { EXPECT_EXCEPTION_PATH(result, entry); });
}

// ---- init frame, with a stand-in for the mechanism conversion -------------------

int gReleased = 0;

// Reads the mechanism type from m_value of whatever object it gets, and owns a
// parameter block for every non-zero type.
CK_MECHANISM StandInConvert(JNIEnv* env, jobject jMechanism) {
    CK_MECHANISM m{};
    jclass cls = env->GetObjectClass(jMechanism);
    if (env->ExceptionCheck()) return m;
    jfieldID id = env->GetFieldID(cls, "m_value", "J");
    if (env->ExceptionCheck()) return m;
    m.mechanism = static_cast<CK_ULONG>(env->GetLongField(jMechanism, id));
    if (!env->ExceptionCheck() && m.mechanism != 0) {
        m.pParameter = malloc(4);
        memcpy(m.pParameter, "parm", 4);
        m.ulParameterLen = 4;
    }
    return m;
}
void StandInFree(JNIEnv*, jobject, CK_MECHANISM* m) {
    free(m->pParameter);
    ++gReleased;
}
using StandInScope = frame::Scope<StandInConvert, StandInFree>;

TEST_F(FramesTest, InitFrameConvertsInOrderAndReleasesTheMechanism) {
    auto encryptInit = [&](jobject mech) {
        return frame::InitFrame<C_EncryptInit, StandInScope>(env, mech, Session{session(6)}, Mechanism{mech},
                                                             Object{wrapper(kObjectHandle, 8)});
    };
    gReleased = 0;
    EXPECT_EQ(rvOf(encryptInit(nullptr)), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(fake::count("C_EncryptInit"), 0u);

    EXPECT_EQ(rvOf(encryptInit(wrapper(kObjectHandle, 0x1082))), CKR_OK);
    auto call = fake::last("C_EncryptInit");
    ASSERT_TRUE(call && call->mechanism);
    EXPECT_EQ(call->mechanism->type, 0x1082u);
    EXPECT_EQ(call->mechanism->parameter, fake::Bytes({'p', 'a', 'r', 'm'}));
    EXPECT_EQ(call->scalars, (std::vector<CK_ULONG>{6, 8}));
    EXPECT_EQ(gReleased, 1);

    // A mechanism of type 0 is not released by the frame.
    EXPECT_EQ(rvOf(encryptInit(wrapper(kObjectHandle, 0))), CKR_OK);
    EXPECT_EQ(gReleased, 1);

    jobject mech = wrapper(kObjectHandle, 0x1082);
    jobject result = nullptr;
    sweepAllFaults(
        env, [&] { result = encryptInit(mech); },
        [&](const char* entry, int) { EXPECT_EXCEPTION_PATH(result, entry); });
}

}  // namespace
}  // namespace morlin_test
