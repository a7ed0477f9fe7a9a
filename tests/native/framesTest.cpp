// The frame with argument kinds that the natives of this library do not use
// yet, as the key natives will: a mechanism with its parameter block and its
// write-back, templates that become two arguments each, and two new handles
// in one call. The stand-in kinds here keep to the contract of frames.h and
// nothing more.
#include <cstdlib>
#include <cstring>

#include "bridgeTest.h"
#include "morlin/frames.h"
#include "morlin/jutil.h"
#include "sweep.h"

namespace morlin_test {
namespace {

using namespace frame;

// A mechanism read from m_value of a CK_MECHANISM_TYPE wrapper, with a
// parameter block of its own; on CKR_OK the type plus one is written back,
// after every other output.
struct StandInMechanism {
    jobject object;
    CK_MECHANISM mechanism{};
    static constexpr int kWriteBackPhase = 1;

    bool convert(JNIEnv* env) {
        jclass cls = env->FindClass(jn::kMechanismType.path);
        if (env->ExceptionCheck()) return false;
        mechanism.mechanism = static_cast<CK_ULONG>(GetLongField(env, cls, object, jn::kMechanismTypeValue));
        if (env->ExceptionCheck()) return false;
        mechanism.pParameter = malloc(4);
        memcpy(mechanism.pParameter, "parm", 4);
        mechanism.ulParameterLen = 4;
        return true;
    }
    std::tuple<CK_MECHANISM_PTR> args() { return {&mechanism}; }
    void writeBack(JNIEnv* env, CK_RV rv) {
        if (rv != CKR_OK) return;
        jclass cls = env->FindClass(jn::kMechanismType.path);
        if (!env->ExceptionCheck())
            SetLongField(env, cls, object, jn::kMechanismTypeValue, static_cast<jlong>(mechanism.mechanism + 1));
    }
    void release(JNIEnv*) { free(mechanism.pParameter); }
};

// A template of one CK_ULONG attribute whose value is the Java count; the
// token library gets the array and the count.
struct StandInTemplate {
    jlong count;
    CK_ATTRIBUTE* rows = nullptr;

    bool convert(JNIEnv*) {
        rows = static_cast<CK_ATTRIBUTE*>(calloc(1, sizeof(CK_ATTRIBUTE) + sizeof(CK_ULONG)));
        auto* value = reinterpret_cast<CK_ULONG*>(rows + 1);
        *value = static_cast<CK_ULONG>(count);
        rows[0] = CK_ATTRIBUTE{CKA_VALUE_LEN, value, sizeof(CK_ULONG)};
        return true;
    }
    std::tuple<CK_ATTRIBUTE_PTR, CK_ULONG> args() { return {rows, 1}; }
    void release(JNIEnv*) { free(rows); }
};

class FramesTest : public BridgeTest {
protected:
    jobject generateKeyPair(jobject mechanism, jobject publicKey, jobject privateKey) {
        return Call<C_GenerateKeyPair>(env, Session{session(3)}, StandInMechanism{mechanism}, StandInTemplate{16},
                                       StandInTemplate{32}, OutLong{jn::kObjectHandleValue, publicKey},
                                       OutLong{jn::kObjectHandleValue, privateKey});
    }
};

TEST_F(FramesTest, TwoTemplatesAndTwoNewHandlesInOneCall) {
    fake::setDefault("C_GenerateKeyPair", fake::Reply().handles(0x51, 0x52));
    jobject mechanism = wrapper(jn::kMechanismType, 0x1040);
    jobject publicKey = handle(0);
    jobject privateKey = handle(0);
    EXPECT_EQ(rvOf(generateKeyPair(mechanism, publicKey, privateKey)), CKR_OK);
    auto call = fake::last("C_GenerateKeyPair");
    ASSERT_TRUE(call && call->mechanism);
    EXPECT_EQ(call->mechanism->type, 0x1040u);
    EXPECT_EQ(call->mechanism->parameter, fake::Bytes({'p', 'a', 'r', 'm'}));
    ASSERT_EQ(call->templates.size(), 2u);
    EXPECT_EQ(call->templates[0]->at(0).value, fake::Reply::raw(CK_ULONG{16}));
    EXPECT_EQ(call->templates[1]->at(0).value, fake::Reply::raw(CK_ULONG{32}));
    EXPECT_EQ(getLong(publicKey, "m_value"), 0x51);
    EXPECT_EQ(getLong(privateKey, "m_value"), 0x52);
    EXPECT_EQ(getLong(mechanism, "m_value"), 0x1041);  // written back last

    // A failed first store skips the second and the mechanism's write-back.
    {
        JniMonitor monitor(env);
        monitor.failCall(Jni::SetLongField, 1);
        EXPECT_EQ(generateKeyPair(mechanism, publicKey, privateKey), nullptr);
    }
    EXPECT_EQ(takeException(), kInjectedException);
    EXPECT_EQ(getLong(privateKey, "m_value"), 0x52);
    EXPECT_EQ(getLong(mechanism, "m_value"), 0x1041);

    SweepCase c;
    c.name = "C_GenerateKeyPair with stand-in kinds";
    c.reaches = "C_GenerateKeyPair";
    c.setup = [] { fake::setDefault("C_GenerateKeyPair", fake::Reply().handles(1, 2)); };
    c.run = [&] { return Result::of(generateKeyPair(mechanism, publicKey, privateKey)); };
    EXPECT_GT(sweep(env, c), 10);
}

}  // namespace
}  // namespace morlin_test
