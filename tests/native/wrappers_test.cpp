// The twelve numeric wrappers and CK_BBOOL in both directions.
#include "morlin/wrappers.h"
#include "bridge_test.h"

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
        for (CK_ULONG v : {0UL, 1UL, 0x80000000UL, ~0UL}) {
            jobject o = ckULongToJWrapper(env, w, v);
            ASSERT_NE(o, nullptr);
            EXPECT_TRUE(env->IsInstanceOf(o, findClass(WrapperClassPath(w))));
            EXPECT_EQ(static_cast<CK_ULONG>(getLong(o, "m_value")), v);
            EXPECT_EQ(jWrapperToCKULong(env, w, o), v);
        }
    }
}

TEST_F(WrappersTest, WrongClassAndNullGiveTheFailureValues) {
    jobject version = allocObject("kaltrix/morlin/CK_VERSION");
    for (Wrapper w : kAll) {
        SCOPED_TRACE(WrapperClassPath(w));
        EXPECT_EQ(jWrapperToCKULong(env, w, version), AnswersZeroForWrongClass(w) ? 0UL : ~0UL);
        // Null is an instance of every class, and reads as -1 with nothing pending.
        EXPECT_EQ(jWrapperToCKULong(env, w, nullptr), ~0UL);
        EXPECT_FALSE(pending());
    }
    // A handle of the other handle class is the wrong class: 0.
    EXPECT_EQ(jSessionHandleToCKSessionHandle(env, wrapper(kObjectHandle, 9)), 0u);
}

TEST_F(WrappersTest, NamedConversionsUseTheirRow) {
    jobject rv = ckRVToJRV(env, 0);
    ASSERT_NE(rv, nullptr);  // CKR_OK is an object, not null
    EXPECT_EQ(rvOf(rv), 0u);
    EXPECT_EQ(getLong(ckRVToJRV(env, 0x80000000UL), "m_value"), 0x80000000LL);  // positive long
    EXPECT_TRUE(env->IsInstanceOf(ckKeyTypeToJKeyType(env, 3), findClass("kaltrix/morlin/constants/CK_KEY_TYPE")));
    EXPECT_EQ(jKeyTypeToCKKeyType(env, nullptr), ~0UL);
    EXPECT_EQ(jObjectHandleToCKObjectHandle(env, wrapper(kObjectHandle, 0)), 0u);
}

TEST_F(WrappersTest, ScalarToWrapperExceptionPaths) {
    jobject result = nullptr;
    sweepAllFaults(
        env, [&] { result = ckRVToJRV(env, 5); },
        [&](const char* entry, int) { EXPECT_EXCEPTION_PATH(result, entry); });
}

TEST_F(WrappersTest, WrapperToScalarExceptionPaths) {
    jobject key = wrapper("kaltrix/morlin/constants/CK_KEY_TYPE", 3);
    CK_ULONG value = 0;
    sweepAllFaults(
        env, [&] { value = jKeyTypeToCKKeyType(env, key); },
        [&](const char* entry, int) {
            // A real JVM never fails GetLongField itself; there the value is
            // whatever the faulted call gave.
            if (std::string(entry) != "GetLongField") {
                EXPECT_EQ(value, ~0UL) << entry;
            }
            EXPECT_TRUE(pending()) << entry;
        });
}

TEST_F(WrappersTest, BBoolIsTrueOnlyForExactlyOne) {
    jobject t = ckBBoolToJBBool(env, 1);
    jobject f = ckBBoolToJBBool(env, 2);
    ASSERT_NE(t, nullptr);
    ASSERT_NE(f, nullptr);
    EXPECT_TRUE(getBoolean(t, "m_value"));
    EXPECT_FALSE(getBoolean(f, "m_value"));
    EXPECT_EQ(jBBoolToCKBBool(env, t), CK_TRUE);
    EXPECT_EQ(jBBoolToCKBBool(env, f), CK_FALSE);
    EXPECT_EQ(jBBoolToCKBBool(env, session(1)), CK_FALSE);

    jobject result = nullptr;
    sweepAllFaults(
        env, [&] { result = ckBBoolToJBBool(env, 1); },
        [&](const char* entry, int) { EXPECT_TRUE(pending()) << entry; });
    CK_BBOOL b = 0;
    sweepAllFaults(
        env, [&] { b = jBBoolToCKBBool(env, t); },
        [&](const char* entry, int) {
            EXPECT_EQ(b, CK_FALSE) << entry;
            EXPECT_TRUE(pending()) << entry;
        });
}

}  // namespace
}  // namespace morlin_test
