// C_Initialize without callbacks, C_Finalize, C_GetFunctionStatus and
// C_CancelFunction beyond what their frame and sweep row pin. C_GetInfo's
// query shape is the slot and token queries' (slotsTest.cpp), its copy is
// pinned field by field in structCopiesTest.cpp.
#include "bridgeTest.h"
#include "morlin/initArgs.h"

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
    EXPECT_EQ(call->pointers, (std::vector<std::uintptr_t>{reinterpret_cast<std::uintptr_t>(reserved)}));
}

// A null session goes through as all bits set, another class as 0, and the
// token library's answer comes back as it is.
TEST_F(LifecycleTest, SessionNativesConvertTheWrapper) {
    using Native = jobject (*)(JNIEnv*, jclass, jobject);
    const std::pair<const char*, Native> natives[] = {
        {"C_GetFunctionStatus", Java_kaltrix_morlin_Cryptoki_C_1GetFunctionStatus},
        {"C_CancelFunction", Java_kaltrix_morlin_Cryptoki_C_1CancelFunction},
    };
    for (auto [name, native] : natives) {
        SCOPED_TRACE(name);
        fake::enqueue(name, fake::Reply().returns(CKR_FUNCTION_NOT_PARALLEL));
        EXPECT_EQ(rvOf(native(env, nullptr, session(0x1234))), CKR_FUNCTION_NOT_PARALLEL);
        native(env, nullptr, nullptr);
        native(env, nullptr, handle(7));
        std::vector<CK_ULONG> sessions;
        for (const fake::Call& c : fake::calls(name)) sessions.push_back(c.scalars[0]);
        EXPECT_EQ(sessions, (std::vector<CK_ULONG>{0x1234, ~0UL, 0}));
    }
}

}  // namespace
}  // namespace morlin_test
