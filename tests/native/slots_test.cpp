// Slot, token and mechanism natives against the fake token library.
#include <cstring>

#include "slot_session_test.h"

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
    // A CK_MECHANISM_TYPE[] filled with wrappers holding the values.
    jobjectArray mechanismTypes(std::initializer_list<jlong> values) {
        jobjectArray array = env->NewObjectArray(static_cast<jsize>(values.size()), findClass(kMechType), nullptr);
        jsize i = 0;
        for (jlong v : values) env->SetObjectArrayElement(array, i++, wrapper(kMechType, v));
        return array;
    }
    jlong element(jobjectArray array, jsize i) { return getLong(env->GetObjectArrayElement(array, i), "m_value"); }
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

    // Too small: the need in value, the array untouched.
    setLong(count, "value", 4);
    jlongArray four = makeLongs({-1, -1, -1, -1});
    EXPECT_EQ(rvOf(slotList(JNI_FALSE, four, count)), CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(getLong(count, "value"), 5);
    EXPECT_EQ(readLongs(four), std::vector<jlong>(4, -1));

    // value larger than the array: the excess is dropped, value says 5.
    setLong(count, "value", 10);
    jlongArray two = makeLongs({0, 0});
    EXPECT_EQ(rvOf(slotList(JNI_TRUE, two, count)), CKR_OK);
    EXPECT_EQ(readLongs(two), (std::vector<jlong>{10, 11}));
    EXPECT_EQ(getLong(count, "value"), 5);

    // A larger array keeps its tail.
    setLong(count, "value", 7);
    jlongArray seven = makeLongs({0, 0, 0, 0, 0, 99, 99});
    EXPECT_EQ(rvOf(slotList(JNI_TRUE, seven, count)), CKR_OK);
    EXPECT_EQ(readLongs(seven), (std::vector<jlong>{10, 11, 12, 13, 14, 99, 99}));

    const auto calls = fake::count("C_GetSlotList");
    EXPECT_EQ(rvOf(slotList(JNI_TRUE, two, nullptr)), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(fake::count("C_GetSlotList"), calls);
}

TEST_F(SlotsTest, MechanismListOverwritesTheCallersWrappers) {
    fake::setDefault("C_GetMechanismList", fake::Reply().ulongs({0x1081, 0x80000001}));
    jobject count = longRef(0);
    EXPECT_EQ(rvOf(mechanismList(3, nullptr, count)), CKR_OK);
    EXPECT_EQ(getLong(count, "value"), 2);
    EXPECT_EQ(fake::last("C_GetMechanismList")->scalars[0], 3u);

    jobjectArray three = mechanismTypes({5, 5, 5});
    jobject first = env->GetObjectArrayElement(three, 0);
    setLong(count, "value", 1);
    EXPECT_EQ(rvOf(mechanismList(3, three, count)), CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(element(three, 0), 5);

    setLong(count, "value", 3);
    EXPECT_EQ(rvOf(mechanismList(3, three, count)), CKR_OK);
    EXPECT_EQ(getLong(count, "value"), 2);
    EXPECT_TRUE(env->IsSameObject(env->GetObjectArrayElement(three, 0), first));
    EXPECT_EQ(element(three, 0), 0x1081);
    EXPECT_EQ(element(three, 1), 0x80000001LL);
    EXPECT_EQ(element(three, 2), 5);  // the tail keeps its value

    jobjectArray one = mechanismTypes({0});
    setLong(count, "value", 2);
    EXPECT_EQ(rvOf(mechanismList(3, one, count)), CKR_OK);  // surplus dropped in silence
    EXPECT_EQ(element(one, 0), 0x1081);
    EXPECT_EQ(getLong(count, "value"), 2);
}

CK_TOKEN_INFO SampleToken() {
    CK_TOKEN_INFO t{};
    memcpy(t.label, "My token                        ", 32);
    memcpy(t.manufacturerID, "Kaltrix                         ", 32);
    memcpy(t.model, "KX-1            ", 16);
    memcpy(t.serialNumber, "0000000000000042", 16);
    t.flags = 0x40D;
    t.ulMaxSessionCount = CK_UNAVAILABLE_INFORMATION;
    t.ulSessionCount = 1;
    t.ulMaxRwSessionCount = 0;  // CK_EFFECTIVELY_INFINITE
    t.ulRwSessionCount = 2;
    t.ulMaxPinLen = 64;
    t.ulMinPinLen = 4;
    t.ulTotalPublicMemory = 5;
    t.ulFreePublicMemory = 6;
    t.ulTotalPrivateMemory = 7;
    t.ulFreePrivateMemory = 8;
    t.hardwareVersion = {1, 2};
    t.firmwareVersion = {3, 200};
    memcpy(t.utcTime, "2026031512000000", 16);
    return t;
}

TEST_F(SlotsTest, TokenInfoCarriesEveryFieldAsItCame) {
    const CK_TOKEN_INFO t = SampleToken();
    fake::enqueue("C_GetTokenInfo", fake::Reply().info(t));
    jobject info = allocObject("kaltrix/morlin/CK_TOKEN_INFO");
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetTokenInfo(env, nullptr, 9, info)), CKR_OK);
    EXPECT_EQ(fake::last("C_GetTokenInfo")->scalars[0], 9u);
    auto bytes = [&](const char* f) { return readBytes(static_cast<jbyteArray>(getObject(info, f, "[B"))); };
    EXPECT_EQ(bytes("label"), std::vector<unsigned char>(t.label, t.label + 32));  // blanks kept
    EXPECT_EQ(bytes("manufacturerID").size(), 32u);
    EXPECT_EQ(bytes("model"), std::vector<unsigned char>(t.model, t.model + 16));
    EXPECT_EQ(bytes("serialNumber"), std::vector<unsigned char>(t.serialNumber, t.serialNumber + 16));
    EXPECT_EQ(bytes("utcTime"), std::vector<unsigned char>(t.utcTime, t.utcTime + 16));
    const std::pair<const char*, jlong> longs[] = {
        {"flags", 0x40D},        {"maxSessionCount", -1},   {"sessionCount", 1},      {"maxRwSessionCount", 0},
        {"rwSessionCount", 2},   {"maxPinLen", 64},         {"minPinLen", 4},         {"totalPublicMemory", 5},
        {"freePublicMemory", 6}, {"totalPrivateMemory", 7}, {"freePrivateMemory", 8},
    };
    for (auto [name, value] : longs) EXPECT_EQ(getLong(info, name), value) << name;
    jobject firmware = getObject(info, "firmwareVersion", "Lkaltrix/morlin/CK_VERSION;");
    EXPECT_EQ(getByte(firmware, "major"), 3);
    EXPECT_EQ(static_cast<unsigned char>(getByte(firmware, "minor")), 200);
    EXPECT_EQ(getByte(getObject(info, "hardwareVersion", "Lkaltrix/morlin/CK_VERSION;"), "minor"), 2);
}

TEST_F(SlotsTest, SlotAndMechanismInfo) {
    CK_SLOT_INFO s{};
    memset(s.slotDescription, ' ', 64);
    memcpy(s.slotDescription, "Reader 0", 8);
    memset(s.manufacturerID, ' ', 32);
    s.flags = 7;
    s.hardwareVersion = {4, 5};
    fake::enqueue("C_GetSlotInfo", fake::Reply().info(s));
    jobject slot = allocObject("kaltrix/morlin/CK_SLOT_INFO");
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetSlotInfo(env, nullptr, 2, slot)), CKR_OK);
    EXPECT_EQ(readBytes(static_cast<jbyteArray>(getObject(slot, "slotDescription", "[B"))),
              std::vector<unsigned char>(s.slotDescription, s.slotDescription + 64));
    EXPECT_EQ(getLong(slot, "flags"), 7);
    EXPECT_EQ(getByte(getObject(slot, "hardwareVersion", "Lkaltrix/morlin/CK_VERSION;"), "major"), 4);

    fake::enqueue("C_GetMechanismInfo", fake::Reply().info(CK_MECHANISM_INFO{1024, 4096, 0x10000}));
    jobject mech = allocObject("kaltrix/morlin/CK_MECHANISM_INFO");
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetMechanismInfo(env, nullptr, 2, wrapper(kMechType, 0x1081), mech)),
              CKR_OK);
    EXPECT_EQ(getLong(mech, "minKeySize"), 1024);
    EXPECT_EQ(getLong(mech, "maxKeySize"), 4096);
    EXPECT_EQ(getLong(mech, "flags"), 0x10000);
    EXPECT_EQ(fake::last("C_GetMechanismInfo")->scalars, (std::vector<CK_ULONG>{2, 0x1081}));

    // A null type goes on as -1; an error leaves the object alone.
    fake::enqueue("C_GetMechanismInfo", fake::Reply().info(CK_MECHANISM_INFO{1, 1, 1}).returns(CKR_MECHANISM_INVALID));
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetMechanismInfo(env, nullptr, 2, nullptr, mech)),
              CKR_MECHANISM_INVALID);
    EXPECT_EQ(fake::last("C_GetMechanismInfo")->scalars[1], ~0UL);
    EXPECT_EQ(getLong(mech, "minKeySize"), 1024);
}

TEST_F(SlotsTest, InfoQueriesWithNullOrOtherClass) {
    fake::setDefault("C_GetSlotInfo", fake::Reply().info(CK_SLOT_INFO{}));
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetSlotInfo(env, nullptr, 1, nullptr)), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetTokenInfo(env, nullptr, 1, nullptr)), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetMechanismInfo(env, nullptr, 1, nullptr, nullptr)),
              CKR_ARGUMENTS_BAD);
    EXPECT_EQ(fake::calls().size(), 0u);
    // Another class: called, CKR_OK, nothing written.
    jobject token = allocObject("kaltrix/morlin/CK_TOKEN_INFO");
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetSlotInfo(env, nullptr, 1, token)), CKR_OK);
    EXPECT_EQ(fake::count("C_GetSlotInfo"), 1u);
    EXPECT_EQ(getObject(token, "manufacturerID", "[B"), nullptr);
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
    EXPECT_TRUE(fake::last("C_WaitForSlotEvent")->nulls[1]);

    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1WaitForSlotEvent(env, nullptr, 0, nullptr, nullptr)),
              CKR_ARGUMENTS_BAD);
    EXPECT_EQ(fake::count("C_WaitForSlotEvent"), 2u);
}

TEST_F(SlotsTest, PinChecksComeBeforeAnyConversion) {
    jbyteArray pin = makeBytes({'1', '2', '3', '4'});
    jobject badSession = wrapper(kObjectHandle, 1);
    jobject results[4];
    {
        // Converting the session would test its class first: it must not.
        Fault f(env, Jni::IsInstanceOf, 1);
        results[0] = Java_kaltrix_morlin_Cryptoki_C_1SetPIN(env, nullptr, badSession, nullptr, 4, pin, 4);
        results[1] = Java_kaltrix_morlin_Cryptoki_C_1SetPIN(env, nullptr, badSession, pin, 4, nullptr, 1);
        results[2] = Java_kaltrix_morlin_Cryptoki_C_1InitPIN(env, nullptr, badSession, nullptr, 2);
        results[3] = Java_kaltrix_morlin_Cryptoki_C_1InitToken(env, nullptr, 0, nullptr, 1, pin);
        EXPECT_FALSE(f.fired());
    }
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

TEST_F(SlotsTest, ExceptionPaths) {
    TokenWatch watch;
    jobject result = nullptr;
    watch.install("C_GetSlotList", [](void* const* a) {
        if (CK_SLOT_ID_PTR list = fake::arg<CK_SLOT_ID_PTR>(a, 1)) list[0] = 7;
        fake::arg<CK_ULONG_PTR>(a, 2)[0] = 1;
        return CKR_OK;
    });
    jlongArray slots = makeLongs({0, 0});
    sweepNative(env, watch, result, [&] { result = slotList(JNI_TRUE, slots, longRef(2)); });

    watch.install("C_GetMechanismList", [](void* const* a) {
        if (CK_MECHANISM_TYPE_PTR list = fake::arg<CK_MECHANISM_TYPE_PTR>(a, 1)) list[0] = 0x1081;
        fake::arg<CK_ULONG_PTR>(a, 2)[0] = 1;
        return CKR_OK;
    });
    jobjectArray types = mechanismTypes({0, 0});
    sweepNative(env, watch, result, [&] { result = mechanismList(1, types, longRef(2)); });

    const CK_TOKEN_INFO token = SampleToken();
    watch.install("C_GetTokenInfo", [&token](void* const* a) {
        *fake::arg<CK_TOKEN_INFO_PTR>(a, 1) = token;
        return CKR_OK;
    });
    jobject tokenInfo = allocObject("kaltrix/morlin/CK_TOKEN_INFO");
    sweepNative(env, watch, result,
                [&] { result = Java_kaltrix_morlin_Cryptoki_C_1GetTokenInfo(env, nullptr, 1, tokenInfo); });

    watch.install("C_WaitForSlotEvent");
    jobject slot = longRef(0);
    sweepNative(env, watch, result,
                [&] { result = Java_kaltrix_morlin_Cryptoki_C_1WaitForSlotEvent(env, nullptr, 0, slot, nullptr); });

    watch.install("C_SetPIN");
    jbyteArray oldPin = makeBytes({'1', '2'});
    jbyteArray newPin = makeBytes({'3', '4', '5'});
    jobject s = session(3);
    sweepNative(env, watch, result,
                [&] { result = Java_kaltrix_morlin_Cryptoki_C_1SetPIN(env, nullptr, s, oldPin, 2, newPin, 3); });
}

}  // namespace
}  // namespace morlin_test
