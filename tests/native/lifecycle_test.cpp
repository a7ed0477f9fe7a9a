// C_Initialize (no-callback path), C_Finalize, C_GetInfo, C_GetFunctionStatus
// and C_CancelFunction against the fake token library.
#include <cstring>

#include "bridge_test.h"
#include "morlin/init_args.h"

namespace morlin_test {
namespace {

class LifecycleTest : public BridgeTest {};

TEST_F(LifecycleTest, InitializeWithNullPassesNullAndLeavesStateClear) {
    fake::enqueue("C_Initialize", fake::Reply().returns(CKR_CRYPTOKI_ALREADY_INITIALIZED));
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1Initialize(env, nullptr, nullptr)),
              CKR_CRYPTOKI_ALREADY_INITIALIZED);
    auto call = fake::last("C_Initialize");
    ASSERT_TRUE(call);
    EXPECT_FALSE(call->initArgs.has_value());
    EXPECT_EQ(gInitArgs, nullptr);
    EXPECT_EQ(gInitArgsObject, nullptr);
}

TEST_F(LifecycleTest, FinalizeHandsOnTheReservedReferenceUnconverted) {
    jobject reserved = makeString("reserved");
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1Finalize(env, nullptr, reserved)), CKR_OK);
    auto call = fake::last("C_Finalize");
    ASSERT_TRUE(call);
    ASSERT_EQ(call->pointers.size(), 1u);
    EXPECT_EQ(call->pointers[0], reinterpret_cast<std::uintptr_t>(reserved));

    fake::enqueue("C_Finalize", fake::Reply().returns(CKR_CRYPTOKI_NOT_INITIALIZED));
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1Finalize(env, nullptr, nullptr)), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_TRUE(fake::last("C_Finalize")->nulls[0]);
}

CK_INFO SampleInfo() {
    CK_INFO info{};
    info.cryptokiVersion = {2, 20};
    memcpy(info.manufacturerID, "Kaltrix Systems                 ", 32);
    info.flags = 0x80000001UL;
    memcpy(info.libraryDescription, "Token library\0\0\0 with NUL inside", 32);
    info.libraryVersion = {7, 255};
    return info;
}

TEST_F(LifecycleTest, GetInfoReplacesEveryFieldWithNewObjects) {
    const CK_INFO info = SampleInfo();
    fake::enqueue("C_GetInfo", fake::Reply().info(info));
    jobject jInfo = allocObject("kaltrix/morlin/CK_INFO");
    jbyteArray old = makeBytes({1, 2, 3});
    setObject(jInfo, "manufacturerID", "[B", old);

    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetInfo(env, nullptr, jInfo)), CKR_OK);

    auto manufacturer = static_cast<jbyteArray>(getObject(jInfo, "manufacturerID", "[B"));
    EXPECT_FALSE(env->IsSameObject(manufacturer, old));
    EXPECT_EQ(readBytes(old), (std::vector<unsigned char>{1, 2, 3}));
    EXPECT_EQ(readBytes(manufacturer), std::vector<unsigned char>(info.manufacturerID, info.manufacturerID + 32));
    auto description = static_cast<jbyteArray>(getObject(jInfo, "libraryDescription", "[B"));
    EXPECT_EQ(readBytes(description),
              std::vector<unsigned char>(info.libraryDescription, info.libraryDescription + 32));
    EXPECT_EQ(getLong(jInfo, "flags"), 0x80000001LL);
    jobject version = getObject(jInfo, "cryptokiVersion", "Lkaltrix/morlin/CK_VERSION;");
    EXPECT_EQ(getByte(version, "major"), 2);
    EXPECT_EQ(getByte(version, "minor"), 20);
    jobject libraryVersion = getObject(jInfo, "libraryVersion", "Lkaltrix/morlin/CK_VERSION;");
    EXPECT_EQ(getByte(libraryVersion, "minor"), -1);
}

TEST_F(LifecycleTest, GetInfoWritesNothingOnAnError) {
    fake::enqueue("C_GetInfo", fake::Reply().info(SampleInfo()).returns(CKR_DEVICE_ERROR));
    jobject jInfo = allocObject("kaltrix/morlin/CK_INFO");
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetInfo(env, nullptr, jInfo)), CKR_DEVICE_ERROR);
    EXPECT_EQ(getObject(jInfo, "manufacturerID", "[B"), nullptr);
    EXPECT_EQ(getLong(jInfo, "flags"), 0);
}

TEST_F(LifecycleTest, GetInfoWithNullOrOtherClass) {
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetInfo(env, nullptr, nullptr)), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(fake::count("C_GetInfo"), 0u);

    // An object of another class is called for, then silently not written.
    fake::enqueue("C_GetInfo", fake::Reply().info(SampleInfo()));
    jobject other = allocObject("kaltrix/morlin/CK_VERSION");
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetInfo(env, nullptr, other)), CKR_OK);
    EXPECT_EQ(fake::count("C_GetInfo"), 1u);
    EXPECT_EQ(getByte(other, "major"), 0);
}

TEST_F(LifecycleTest, GetInfoExceptionPaths) {
    fake::setDefault("C_GetInfo", fake::Reply().info(SampleInfo()));
    jobject jInfo = allocObject("kaltrix/morlin/CK_INFO");
    jobject result = nullptr;
    sweepAllFaults(
        env, [&] { result = Java_kaltrix_morlin_Cryptoki_C_1GetInfo(env, nullptr, jInfo); },
        [&](const char* entry, int) { EXPECT_EXCEPTION_PATH(result, entry); });
}

TEST_F(LifecycleTest, SessionFrameNativesConvertTheWrapper) {
    using Native = jobject (*)(JNIEnv*, jclass, jobject);
    const std::pair<const char*, Native> natives[] = {
        {"C_GetFunctionStatus", Java_kaltrix_morlin_Cryptoki_C_1GetFunctionStatus},
        {"C_CancelFunction", Java_kaltrix_morlin_Cryptoki_C_1CancelFunction},
    };
    for (auto [name, native] : natives) {
        SCOPED_TRACE(name);
        fake::reset();
        fake::enqueue(name, fake::Reply().returns(CKR_FUNCTION_NOT_PARALLEL));
        EXPECT_EQ(rvOf(native(env, nullptr, session(0x1234))), CKR_FUNCTION_NOT_PARALLEL);
        // A null session goes through as all bits set, another class as 0.
        EXPECT_EQ(rvOf(native(env, nullptr, nullptr)), CKR_OK);
        EXPECT_EQ(rvOf(native(env, nullptr, wrapper(kObjectHandle, 7))), CKR_OK);
        auto calls = fake::calls(name);
        ASSERT_EQ(calls.size(), 3u);
        EXPECT_EQ(calls[0].scalars[0], 0x1234u);
        EXPECT_EQ(calls[1].scalars[0], ~0UL);
        EXPECT_EQ(calls[2].scalars[0], 0u);

        jobject result = nullptr;
        jobject s = session(5);
        sweepAllFaults(
            env,
            [&] {
                fake::reset();
                result = native(env, nullptr, s);
            },
            [&](const char* entry, int n) {
                EXPECT_EXCEPTION_PATH(result, entry);
                // The first call of each of these belongs to the session's
                // conversion: its failure keeps the token library out of it.
                const std::string e = entry;
                if (n == 1 && (e == "FindClass" || e == "IsInstanceOf" || e == "GetFieldID" || e == "GetLongField")) {
                    EXPECT_EQ(fake::count(name), 0u) << entry;
                }
            });
    }
}

}  // namespace
}  // namespace morlin_test
