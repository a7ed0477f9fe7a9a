// The twelve numeric wrappers and CK_BBOOL in both directions.
#include "bridgeTest.h"
#include "morlin/wrappers.h"
#include "sweep.h"

namespace morlin_test {
namespace {

class WrappersTest : public BridgeTest {};

constexpr Wrapper kAll[] = {
    Wrapper::SessionHandle,         Wrapper::ObjectHandle, Wrapper::AttributeType, Wrapper::CertificateType,
    Wrapper::HWFeatureType,         Wrapper::KeyType,      Wrapper::MechanismType, Wrapper::ObjectClass,
    Wrapper::RsaPkcsOaepSourceType, Wrapper::RV,           Wrapper::State,         Wrapper::UserType,
};

bool AnswersZeroForWrongClass(Wrapper w) {
    return w == Wrapper::SessionHandle || w == Wrapper::ObjectHandle || w == Wrapper::AttributeType;
}

TEST_F(WrappersTest, RoundTripKeepsAllSixtyFourBits) {
    for (Wrapper w : kAll) {
        SCOPED_TRACE(WrapperClassPath(w));
        for (CK_ULONG v : {0UL, 0x80000000UL, ~0UL}) {
            jobject o = ckULongToJWrapper(env, w, v);
            ASSERT_NE(o, nullptr);
            EXPECT_TRUE(isInstance(o, WrapperClassPath(w)));
            EXPECT_EQ(static_cast<CK_ULONG>(getLong(o, "m_value")), v);
            EXPECT_EQ(jWrapperToCKULong(env, w, o), v);
        }
    }
}

TEST_F(WrappersTest, WrongClassAndNullGiveTheFailureValues) {
    jobject version = allocObject(jn::kVersion.path);
    for (Wrapper w : kAll) {
        SCOPED_TRACE(WrapperClassPath(w));
        EXPECT_EQ(jWrapperToCKULong(env, w, version), AnswersZeroForWrongClass(w) ? 0UL : ~0UL);
        // Null is an instance of every class, and reads as -1 with nothing pending.
        EXPECT_EQ(jWrapperToCKULong(env, w, nullptr), ~0UL);
        EXPECT_FALSE(pending());
    }
    // A handle of the other handle class is the wrong class: 0.
    EXPECT_EQ(jSessionHandleToCKSessionHandle(env, handle(9)), 0u);
}

TEST_F(WrappersTest, NamedConversionsUseTheirRow) {
    jobject rv = ckRVToJRV(env, 0);
    ASSERT_NE(rv, nullptr);  // CKR_OK is an object, not null
    EXPECT_EQ(rvOf(rv), 0u);
    EXPECT_EQ(getLong(ckRVToJRV(env, 0x80000000UL), "m_value"), 0x80000000LL);  // positive long
    EXPECT_TRUE(isInstance(ckKeyTypeToJKeyType(env, 3), jn::kKeyType.path));
    EXPECT_EQ(jKeyTypeToCKKeyType(env, nullptr), ~0UL);
    EXPECT_EQ(jObjectHandleToCKObjectHandle(env, handle(0)), 0u);
}

TEST_F(WrappersTest, BBoolIsTrueOnlyForExactlyOne) {
    // The setValue call is the conversion's last, unchecked: check after each.
    jobject t = ckBBoolToJBBool(env, 1);
    ASSERT_FALSE(pending());
    jobject f = ckBBoolToJBBool(env, 2);
    ASSERT_FALSE(pending());
    ASSERT_NE(t, nullptr);
    ASSERT_NE(f, nullptr);
    EXPECT_TRUE(getBoolean(t, "m_value"));
    EXPECT_FALSE(getBoolean(f, "m_value"));
    EXPECT_EQ(jBBoolToCKBBool(env, t), CK_TRUE);
    EXPECT_EQ(jBBoolToCKBBool(env, f), CK_FALSE);
    EXPECT_EQ(jBBoolToCKBBool(env, session(1)), CK_FALSE);

    // The setValue call is not checked: its failure leaves the object in hand.
    sweepConversion(env, "ckBBoolToJBBool", [this] { ckBBoolToJBBool(env, 1); });
    CK_BBOOL b = 0;
    SweepCase toCK;
    toCK.name = "jBBoolToCKBBool";
    toCK.run = [&] {
        b = jBBoolToCKBBool(env, t);
        return Result::of(jlong{b});
    };
    sweep(env, toCK);
}

}  // namespace
}  // namespace morlin_test
