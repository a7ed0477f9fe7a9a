// Slot, token and mechanism natives beyond what their frame and sweep row pin.
#include <cstring>

#include "bridgeTest.h"

namespace morlin_test {
namespace {

class SlotsTest : public BridgeTest {
protected:
    jobject slotList(jboolean present, jlongArray out, jobject count) {
        return Java_kaltrix_morlin_Cryptoki_C_1GetSlotList(env, nullptr, present, out, count);
    }
    jobject mechanismList(jlong slot, jobjectArray out, jobject count) {
        return Java_kaltrix_morlin_Cryptoki_C_1GetMechanismList(env, nullptr, slot, out, count);
    }
};

TEST_F(SlotsTest, SlotListFollowsTheSizeQueryRules) {
    fake::setDefault("C_GetSlotList", fake::Reply().ulongs({10, 11, 12, 13, 14}));
    // Size query: whatever value held goes in, the count comes back.
    jobject count = longRef(-5);
    EXPECT_EQ(rvOf(slotList(JNI_TRUE, nullptr, count)), CKR_OK);
    EXPECT_EQ(getLong(count, "value"), 5);
    auto call = fake::last("C_GetSlotList");
    EXPECT_EQ(call->scalars[0], CK_TRUE);
    EXPECT_TRUE(call->nulls[0]);
    EXPECT_EQ(call->lengthsIn[0], static_cast<CK_ULONG>(-5));

    // Too small: the need in value, the array untouched; only exactly 1 is true.
    setLong(count, "value", 4);
    jlongArray four = makeLongs({-1, -1, -1, -1});
    EXPECT_EQ(rvOf(slotList(2, four, count)), CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(fake::last("C_GetSlotList")->scalars[0], CK_FALSE);
    EXPECT_EQ(getLong(count, "value"), 5);
    EXPECT_EQ(readLongs(four), std::vector<jlong>(4, -1));

    // value larger than the array: the excess is dropped, value says 5.
    setLong(count, "value", 10);
    jlongArray two = makeLongs({0, 0});
    EXPECT_EQ(rvOf(slotList(JNI_TRUE, two, count)), CKR_OK);
    EXPECT_EQ(readLongs(two), (std::vector<jlong>{10, 11}));
    EXPECT_EQ(getLong(count, "value"), 5);
    EXPECT_EQ(fake::last("C_GetSlotList")->lengthsIn[0], 10u);

    const auto calls = fake::count("C_GetSlotList");
    EXPECT_EQ(rvOf(slotList(JNI_TRUE, two, nullptr)), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(fake::count("C_GetSlotList"), calls);
}

TEST_F(SlotsTest, LengthIsWrittenOnEveryAnswerAndTheListOnlyOnOk) {
    fake::enqueue("C_GetSlotList", fake::Reply().ulongs({1, 2}).length(2).returns(CKR_DEVICE_ERROR));
    jobject count = longRef(8);
    jlongArray out = makeLongs({0, 0});
    EXPECT_EQ(rvOf(slotList(JNI_TRUE, out, count)), CKR_DEVICE_ERROR);
    EXPECT_EQ(getLong(count, "value"), 2);
    EXPECT_EQ(readLongs(out), (std::vector<jlong>{0, 0}));
}

TEST_F(SlotsTest, MechanismListOverwritesTheCallersWrappers) {
    fake::setDefault("C_GetMechanismList", fake::Reply().ulongs({0x1081, 0x80000001}));
    jobject count = longRef(0);
    EXPECT_EQ(rvOf(mechanismList(3, nullptr, count)), CKR_OK);
    EXPECT_EQ(getLong(count, "value"), 2);
    EXPECT_EQ(fake::last("C_GetMechanismList")->scalars[0], 3u);

    jobjectArray three = wrappers(jn::kMechanismType, {5, 5, 5});
    jobject first = readObjects(three)[0];
    setLong(count, "value", 1);
    EXPECT_EQ(rvOf(mechanismList(3, three, count)), CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(values(three), (std::vector<jlong>{5, 5, 5}));

    setLong(count, "value", 3);
    EXPECT_EQ(rvOf(mechanismList(3, three, count)), CKR_OK);
    EXPECT_EQ(getLong(count, "value"), 2);
    EXPECT_TRUE(env->IsSameObject(readObjects(three)[0], first));
    EXPECT_EQ(values(three), (std::vector<jlong>{0x1081, 0x80000001LL, 5}));  // the tail keeps its value

    jobjectArray one = wrappers(jn::kMechanismType, {0});
    setLong(count, "value", 2);
    EXPECT_EQ(rvOf(mechanismList(3, one, count)), CKR_OK);  // surplus dropped in silence
    EXPECT_EQ(values(one), (std::vector<jlong>{0x1081}));
    EXPECT_EQ(getLong(count, "value"), 2);
}

TEST_F(SlotsTest, InfoQueriesWithNullOrOtherClassOrAnError) {
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetSlotInfo(env, nullptr, 1, nullptr)), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetTokenInfo(env, nullptr, 1, nullptr)), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetMechanismInfo(env, nullptr, 1, nullptr, nullptr)),
              CKR_ARGUMENTS_BAD);
    EXPECT_EQ(fake::calls().size(), 0u);
    // Another class: called, CKR_OK, nothing written.
    jobject token = allocObject(jn::kTokenInfo.path);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetSlotInfo(env, nullptr, 1, token)), CKR_OK);
    EXPECT_EQ(fake::count("C_GetSlotInfo"), 1u);
    EXPECT_EQ(getObject(token, "manufacturerID", "[B"), nullptr);
    // A null type goes on as -1; an error leaves the object alone.
    fake::enqueue("C_GetMechanismInfo", fake::Reply().info(CK_MECHANISM_INFO{1, 1, 1}).returns(CKR_MECHANISM_INVALID));
    jobject mech = allocObject(jn::kMechanismInfo.path);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetMechanismInfo(env, nullptr, 2, nullptr, mech)),
              CKR_MECHANISM_INVALID);
    EXPECT_EQ(fake::last("C_GetMechanismInfo")->scalars, (std::vector<CK_ULONG>{2, ~0UL}));
    EXPECT_EQ(getLong(mech, "minKeySize"), 0);
}

TEST_F(SlotsTest, WaitForSlotEventWritesOnlyOnOk) {
    fake::enqueue("C_WaitForSlotEvent", fake::Reply().slot(4));
    fake::enqueue("C_WaitForSlotEvent", fake::Reply().slot(5).returns(CKR_NO_EVENT));
    jobject slot = longRef(77);
    jobject reserved = makeString("r");
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1WaitForSlotEvent(env, nullptr, CKF_DONT_BLOCK, slot, reserved)),
              CKR_OK);
    EXPECT_EQ(getLong(slot, "value"), 4);
    auto call = fake::last("C_WaitForSlotEvent");
    EXPECT_EQ(call->scalars[0], CKF_DONT_BLOCK);
    EXPECT_EQ(call->lengthsIn[0], 0u);  // pSlot is not read
    EXPECT_EQ(call->pointers[1], reinterpret_cast<std::uintptr_t>(reserved));

    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1WaitForSlotEvent(env, nullptr, 0, slot, nullptr)), CKR_NO_EVENT);
    EXPECT_EQ(getLong(slot, "value"), 4);

    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1WaitForSlotEvent(env, nullptr, 0, nullptr, nullptr)),
              CKR_ARGUMENTS_BAD);
    EXPECT_EQ(fake::count("C_WaitForSlotEvent"), 2u);
}

// The count-and-array tests come before any conversion: not even the
// session's class is looked at.
TEST_F(SlotsTest, PinChecksComeBeforeAnyConversion) {
    jbyteArray pin = makeBytes({'1', '2', '3', '4'});
    jobject badSession = handle(1);
    std::vector<jobject> results;
    JniMonitor monitor(env);
    results.push_back(Java_kaltrix_morlin_Cryptoki_C_1SetPIN(env, nullptr, badSession, nullptr, 4, pin, 4));
    results.push_back(Java_kaltrix_morlin_Cryptoki_C_1SetPIN(env, nullptr, badSession, pin, 4, nullptr, 1));
    results.push_back(Java_kaltrix_morlin_Cryptoki_C_1InitPIN(env, nullptr, badSession, nullptr, 2));
    results.push_back(Java_kaltrix_morlin_Cryptoki_C_1InitToken(env, nullptr, 0, nullptr, 1, pin));
    for (Jni e : monitor.tally().trace) EXPECT_NE(e, Jni::IsInstanceOf);
    for (jobject rv : results) EXPECT_EQ(rvOf(rv), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(fake::calls().size(), 0u);
}

TEST_F(SlotsTest, NullPinWithNoPositiveLengthIsTheProtectedPath) {
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1InitToken(env, nullptr, 3, nullptr, 0, nullptr)), CKR_OK);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1InitPIN(env, nullptr, session(6), nullptr, -1)), CKR_OK);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1SetPIN(env, nullptr, session(6), nullptr, 0, nullptr, 0)), CKR_OK);
    auto initToken = fake::last("C_InitToken");
    EXPECT_EQ(initToken->scalars, (std::vector<CK_ULONG>{3, 0}));
    EXPECT_FALSE(initToken->inputs[0].has_value());
    EXPECT_FALSE(initToken->inputs[1].has_value());  // a null label goes on as null
    EXPECT_EQ(fake::last("C_InitPIN")->scalars, (std::vector<CK_ULONG>{6, ~0UL}));
    EXPECT_FALSE(fake::last("C_SetPIN")->inputs[0].has_value());
}

TEST_F(SlotsTest, PinsAndLabelReachTheTokenAsGiven) {
    std::vector<unsigned char> label(32, ' ');
    memcpy(label.data(), "fresh", 5);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1InitToken(env, nullptr, 1, makeBytes({'s', 'o', '!'}), 2,
                                                             makeBytes(label))),
              CKR_OK);
    auto call = fake::last("C_InitToken");
    EXPECT_EQ(call->inputs[0], fake::Bytes({'s', 'o'}));  // the Java length, not the array's
    EXPECT_EQ(call->inputs[1], fake::Bytes(label.begin(), label.end()));

    fake::enqueue("C_SetPIN", fake::Reply().returns(CKR_PIN_INCORRECT));
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1SetPIN(env, nullptr, session(8), makeBytes({'o', 'l', 'd'}), 3,
                                                          makeBytes({'n', 'e', 'w', '!'}), 4)),
              CKR_PIN_INCORRECT);
    call = fake::last("C_SetPIN");
    EXPECT_EQ(call->scalars, (std::vector<CK_ULONG>{8, 3, 4}));
    EXPECT_EQ(call->inputs[0], fake::Bytes({'o', 'l', 'd'}));
    EXPECT_EQ(call->inputs[1], fake::Bytes({'n', 'e', 'w', '!'}));
}

}  // namespace
}  // namespace morlin_test
