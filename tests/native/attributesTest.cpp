// Attribute values both ways: each class of the value dispatch, the valueLen
// contract, a template that fails half way, the in-place copies by target
// class and the new objects by attribute type.
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "allocations.h"
#include "bridgeTest.h"
#include "morlin/attributes.h"
#include "morlin_util.h"
#include "sweep.h"

namespace morlin_test {
namespace {

class AttributesTest : public BridgeTest {
protected:
    struct Converted {
        std::vector<unsigned char> block;  // the first `size` bytes, or empty for null
        CK_ULONG length = 0;
        bool null = true;
    };
    // The dispatch on one value; size is how much of the block to keep.
    Converted convert(jobject value, size_t size) {
        CK_VOID_PTR p = nullptr;
        Converted c;
        jObjectToPrimitiveCKObjectPtrPtr(env, value, &p, &c.length);
        c.null = p == nullptr;
        if (p != nullptr) c.block.assign(static_cast<unsigned char*>(p), static_cast<unsigned char*>(p) + size);
        free(p);
        return c;
    }
    static std::vector<unsigned char> ulong(CK_ULONG v) {
        std::vector<unsigned char> b(8);
        memcpy(b.data(), &v, 8);
        return b;
    }
    CK_ATTRIBUTE one(CK_ATTRIBUTE_TYPE type, jobject value, jlong valueLen) {
        return jAttributeToCKAttribute(env, attribute(type, value, valueLen));
    }
    jobject box(const jn::Class& cls, const char* sig, jvalue v) { return boxed(cls, sig, v); }
    jlong typeOf(jobject attribute) {
        return getLong(getObject(attribute, "type", jn::kAttributeTypeField.sig), "m_value");
    }
};

TEST_F(AttributesTest, EachValueClassHasItsBlockAndLength) {
    const std::vector<unsigned char> twoLongs = [] {
        std::vector<unsigned char> b = ulong(0x1081), c = ulong(0x1082);
        b.insert(b.end(), c.begin(), c.end());
        return b;
    }();
    jcharArray chars = env->NewCharArray(2);
    const jchar raw[] = {0x0141, 'A'};
    env->SetCharArrayRegion(chars, 0, 2, raw);
    struct Case {
        const char* what;
        jobject value;
        std::vector<unsigned char> block;
        CK_ULONG length;
    };
    const Case cases[] = {
        {"byte[]", makeBytes({1, 2, 3}), {1, 2, 3}, 3},
        {"Long", newLong(-1), ulong(~0UL), 8},
        {"CK_BBOOL", box(jn::kBBool, "(Z)V", jvalue{.z = JNI_TRUE}), {1}, 1},
        {"CK_OBJECT_HANDLE", handle(6), ulong(6), 8},
        {"CK_SESSION_HANDLE", session(7), ulong(7), 8},
        {"CK_ATTRIBUTE_TYPE", wrapper(jn::kAttributeType, 0x11), ulong(0x11), 8},
        {"CK_CERTIFICATE_TYPE", wrapper(jn::kCertificateType, 0x12), ulong(0x12), 8},
        {"CK_HW_FEATURE_TYPE", wrapper(jn::kHWFeatureType, 0x13), ulong(0x13), 8},
        {"CK_KEY_TYPE", wrapper(jn::kKeyType, 0x14), ulong(0x14), 8},
        {"CK_MECHANISM_TYPE[] counts bytes", wrappers(jn::kMechanismType, {0x1081, 0x1082}), twoLongs, 16},
        {"CK_MECHANISM_TYPE", wrapper(jn::kMechanismType, 0x15), ulong(0x15), 8},
        {"CK_OBJECT_CLASS", wrapper(jn::kObjectClass, 0x16), ulong(0x16), 8},
        {"CK_RSA_PKCS_OAEP_SOURCE_TYPE", wrapper(jn::kOaepSourceType, 0x17), ulong(0x17), 8},
        {"CK_RV", wrapper(jn::kRV, 0x18), ulong(0x18), 8},
        {"CK_STATE", wrapper(jn::kState, 0x19), ulong(0x19), 8},
        {"CK_USER_TYPE", wrapper(jn::kUserType, 0x1A), ulong(0x1A), 8},
        {"Boolean", box(jn::kBoolean, "(Z)V", jvalue{.z = JNI_TRUE}), {1}, 1},
        {"long[] counts elements", makeLongs({0x1081, 0x1082}), twoLongs, 2},
        {"String without its NUL", makeString("label"), {'l', 'a', 'b', 'e', 'l', 0}, 5},
        {"Integer zero-extended", box(jn::kInteger, "(I)V", jvalue{.i = -1}), ulong(0xFFFFFFFFUL), 8},
        {"boolean[]", env->NewBooleanArray(2), {0, 0}, 2},
        {"char[] keeps the low byte", chars, {0x41, 0x41}, 2},
        {"Byte", box(jn::kByte, "(B)V", jvalue{.b = -2}), {0xFE}, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Converted got = convert(c.value, c.block.size());
        EXPECT_EQ(got.block, c.block);
        EXPECT_EQ(got.length, c.length);
    }
    // CK_DATE: malloc of 8 filled by the in-place layout, the month over the
    // first two year digits; bytes 4 and 5 are not written.
    CK_VOID_PTR p = nullptr;
    CK_ULONG n = 0;
    jObjectToPrimitiveCKObjectPtrPtr(env, date("20261123"), &p, &n);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(n, 8u);
    EXPECT_EQ(std::string(static_cast<char*>(p), 4), "1126");
    EXPECT_EQ(std::string(static_cast<char*>(p) + 6, 2), "23");
    free(p);
}

TEST_F(AttributesTest, NullEmptyAndUnconvertibleValues) {
    for (jobject value : {jobject{}, static_cast<jobject>(makeBytes({}))}) {
        const Converted c = convert(value, 0);
        EXPECT_TRUE(c.null);
        EXPECT_EQ(c.length, 0u);
    }
    Converted c = convert(boxed(jn::kCharacter, "(C)V", jvalue{.c = 'x'}), 0);
    EXPECT_TRUE(c.null);
    EXPECT_EQ(c.length, 1u);
    EXPECT_EQ(takeException(), "java.lang.NoClassDefFoundError");

    std::string message;
    c = convert(boxed(jn::Class{"java/lang/Double"}, "(D)V", jvalue{.d = 1.5}), 0);
    EXPECT_TRUE(c.null);
    EXPECT_EQ(c.length, 0u);
    EXPECT_EQ(takeException(&message), "java.lang.UnsupportedOperationException");
    EXPECT_EQ(message, "No Conversion from java.lang.Double to a CK type");
}

// int[] is read with the long[] region call, unwidened. -Xcheck:jni stops
// that call as a type mismatch, which is the point of the route.
TEST_F(AttributesTest, IntArrayTakesTheLongArrayRoute) {
    if (checkJniMode()) GTEST_SKIP() << "-Xcheck:jni aborts on the mismatched region call by design";
    jintArray ints = env->NewIntArray(2);
    const jint raw[] = {1, 2};
    env->SetIntArrayRegion(ints, 0, 2, raw);
    const Converted c = convert(ints, 8);
    EXPECT_EQ(c.length, 2u);
    EXPECT_EQ(c.block, ulong((2UL << 32) | 1));
}

TEST_F(AttributesTest, ValueLenReplacesTheComputedLengthButForTwoCases) {
    auto lengthOf = [this](CK_ATTRIBUTE_TYPE type, jobject value, jlong valueLen) {
        CK_ATTRIBUTE a = one(type, value, valueLen);
        free(a.pValue);
        return a.ulValueLen;
    };
    const jobject objectClass = wrapper(jn::kObjectClass, CKO_DATA);
    EXPECT_EQ(lengthOf(CKA_CLASS, objectClass, 4), 8u);  // numeric type, 32-bit length
    EXPECT_EQ(lengthOf(CKA_CLASS, objectClass, 8), 8u);
    EXPECT_EQ(lengthOf(CKA_CLASS, objectClass, 7), 7u);
    EXPECT_EQ(lengthOf(CKA_VALUE_LEN, makeLongs({1, 2, 3}), 4), 3u);  // the element count survives
    EXPECT_EQ(lengthOf(CKA_LABEL, makeString("a label"), 4), 4u);     // not numeric
    EXPECT_EQ(lengthOf(CKA_VALUE, makeBytes({1, 2}), 20), 20u);       // unchecked against the block
    EXPECT_EQ(lengthOf(0x80000104, wrappers(jn::kMechanismType, {1, 2, 3}), 5), 24u);
    EXPECT_EQ(lengthOf(CKA_LABEL, nullptr, 256), 256u);  // the size query

    CK_ATTRIBUTE label = one(CKA_LABEL, makeString("a label"), 4);
    EXPECT_STREQ(static_cast<char*>(label.pValue), "a label");
    free(label.pValue);

    // A null type raises nothing and reads as all bits set.
    jobject untyped = attribute(CKA_LABEL, nullptr, 3);
    setObject(untyped, "type", jn::kAttributeTypeField.sig, nullptr);
    CK_ATTRIBUTE a = jAttributeToCKAttribute(env, untyped);
    EXPECT_EQ(a.type, ~0UL);
    EXPECT_EQ(a.ulValueLen, 3u);
    EXPECT_FALSE(pending());
}

TEST_F(AttributesTest, AFailureHalfWayLeavesTheArrayToTheRelease) {
    AllocationWatch memory;
    jobject dbl = boxed(jn::Class{"java/lang/Double"}, "(D)V", jvalue{.d = 1.0});
    jobjectArray array = attributes({attribute(CKA_VALUE_LEN, newLong(5), 8), attribute(CKA_LABEL, dbl, 3),
                                     attribute(CKA_VALUE, makeBytes({1}), 1)});
    CK_ATTRIBUTE_PTR converted = nullptr;
    CK_ULONG count = 0;
    jAttributeArrayToCKAttributeArray(env, array, &converted, &count);
    EXPECT_EQ(takeException(), "java.lang.UnsupportedOperationException");
    ASSERT_EQ(count, 3u);
    EXPECT_EQ(*static_cast<CK_ULONG*>(converted[0].pValue), 5u);
    EXPECT_EQ(converted[1].type, CKA_LABEL);  // stored as far as it went
    EXPECT_EQ(converted[1].pValue, nullptr);
    EXPECT_EQ(converted[2].type, 0u);
    EXPECT_EQ(converted[2].pValue, nullptr);
    freeCKAttributeArray(converted, count);

    // Empty: a block from calloc of nothing, freed all the same.
    jAttributeArrayToCKAttributeArray(env, attributes({}), &converted, &count);
    EXPECT_EQ(count, 0u);
    freeCKAttributeArray(converted, count);
    EXPECT_EQ(memory.tally().blocks, 0);
}

TEST_F(AttributesTest, InPlaceCopyGoesByTheTargetClassAndItsLength) {
    const std::vector<unsigned char> nine = ulong(9);
    auto copy = [this](std::vector<unsigned char> value, CK_ULONG length, jobject target) {
        CopyCKObjectPtrToJObjectPrimitive(env, value.data(), length, target);
    };
    jobject number = newLong(1);
    copy(nine, 4, number);  // too short for a CK_ULONG: left alone
    EXPECT_EQ(getLong(number, "value"), 1);
    copy(nine, 8, number);
    EXPECT_EQ(getLong(number, "value"), 9);

    jobject bbool = box(jn::kBBool, "(Z)V", jvalue{.z = JNI_TRUE});
    copy({1, 0}, 2, bbool);
    EXPECT_TRUE(getBoolean(bbool, "m_value"));
    copy({2, 1}, 2, bbool);  // only CK_TRUE is true
    EXPECT_FALSE(getBoolean(bbool, "m_value"));
    jobject boolean = box(jn::kBoolean, "(Z)V", jvalue{.z = JNI_FALSE});
    copy({3}, 1, boolean);  // the raw byte, of which the JVM keeps the low bit
    EXPECT_TRUE(getBoolean(boolean, "value"));

    jbyteArray bytes = makeBytes({0, 0, 0, 0});
    copy({1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, 10, bytes);
    EXPECT_EQ(readBytes(bytes), (std::vector<unsigned char>{1, 2, 3, 4}));

    for (const jn::Class* cls : {&jn::kObjectHandle, &jn::kSessionHandle, &jn::kAttributeType, &jn::kCertificateType,
                                 &jn::kHWFeatureType, &jn::kKeyType, &jn::kMechanismType, &jn::kObjectClass,
                                 &jn::kOaepSourceType, &jn::kRV, &jn::kState, &jn::kUserType}) {
        jobject target = wrapper(*cls, 0);
        copy(nine, 8, target);
        EXPECT_EQ(getLong(target, "m_value"), 9) << cls->path;
    }
    CopyCKObjectPtrToJObjectPrimitive(env, nullptr, 8, number);  // no value, whatever the length
    EXPECT_EQ(getLong(number, "value"), 9);

    jobjectArray types = wrappers(jn::kMechanismType, {0, 0, 7});
    std::vector<unsigned char> two = ulong(1);
    const std::vector<unsigned char> second = ulong(2);
    two.insert(two.end(), second.begin(), second.end());
    copy(two, 12, types);  // not whole CK_ULONGs
    EXPECT_EQ(values(types), (std::vector<jlong>{0, 0, 7}));
    copy(two, 16, types);
    EXPECT_EQ(values(types), (std::vector<jlong>{1, 2, 7}));

    // A String is accepted going in, not coming back; with nothing to copy
    // no class is even tested.
    copy({'a'}, 0, makeString("x"));
    EXPECT_FALSE(pending());
    copy({'a'}, 1, makeString("x"));
    std::string message;
    EXPECT_EQ(takeException(&message), "java.lang.UnsupportedOperationException");
    EXPECT_EQ(message, "Can not copy from CK type to java.lang.String");
}

TEST_F(AttributesTest, AttributeCopyWritesValueThenLength) {
    CK_ULONG sixteen = 16;
    CK_ATTRIBUTE answer{CKA_VALUE_LEN, &sixteen, 4};
    jobject target = attribute(CKA_VALUE_LEN, newLong(0), 8);
    CopyCKAttributeToJAttribute(env, &answer, target);
    EXPECT_EQ(getLong(getObject(target, "pValue", "Ljava/lang/Object;"), "value"), 0);  // too short
    EXPECT_EQ(getLong(target, "valueLen"), 4);

    // The wildcard type learns the attribute; any other type stays.
    unsigned char label[] = {'a', 'b', 'c'};
    CK_ATTRIBUTE found{CKA_LABEL, label, 3};
    jobject wildcard = attribute(0xFFFF, makeBytes({0, 0, 0}), 3);
    jobject typed = attribute(CKA_VALUE, nullptr, 0);
    CopyCKAttributeToJAttribute(env, &found, wildcard);
    CopyCKAttributeToJAttribute(env, &found, typed);
    EXPECT_EQ(typeOf(wildcard), static_cast<jlong>(CKA_LABEL));
    EXPECT_EQ(typeOf(typed), static_cast<jlong>(CKA_VALUE));
    EXPECT_EQ(readBytes(static_cast<jbyteArray>(getObject(wildcard, "pValue", "Ljava/lang/Object;"))),
              (std::vector<unsigned char>{'a', 'b', 'c'}));
    EXPECT_EQ(getLong(typed, "valueLen"), 3);  // the size query's answer

    // A value that cannot be written back keeps valueLen unwritten.
    jobject text = attribute(CKA_LABEL, makeString("x"), 77);
    CopyCKAttributeToJAttribute(env, &found, text);
    EXPECT_EQ(takeException(), "java.lang.UnsupportedOperationException");
    EXPECT_EQ(getLong(text, "valueLen"), 77);

    // Nothing to copy from, or a target that is no attribute: silence.
    CopyCKAttributeToJAttribute(env, nullptr, typed);
    CopyCKAttributeToJAttribute(env, &found, makeString("not an attribute"));
    EXPECT_FALSE(pending());

    // The array copy stops at the smaller of the two counts.
    CK_ATTRIBUTE three[] = {found, found, found};
    auto lengths = [this](jobjectArray array) {
        std::vector<jlong> out;
        for (jobject a : readObjects(array)) out.push_back(getLong(a, "valueLen"));
        return out;
    };
    jobjectArray java = attributes(
        {attribute(CKA_LABEL, nullptr, 0), attribute(CKA_LABEL, nullptr, 0), attribute(CKA_LABEL, nullptr, 0)});
    CopyCKAttributeArrayToJAttributeArray(env, nullptr, 2, java);
    EXPECT_EQ(lengths(java), (std::vector<jlong>{0, 0, 0}));
    CopyCKAttributeArrayToJAttributeArray(env, three, 2, java);
    EXPECT_EQ(lengths(java), (std::vector<jlong>{3, 3, 0}));
    jobjectArray two = attributes({attribute(CKA_LABEL, nullptr, 0), attribute(CKA_LABEL, nullptr, 0)});
    CopyCKAttributeArrayToJAttributeArray(env, three, 3, two);
    EXPECT_EQ(lengths(two), (std::vector<jlong>{3, 3}));
    EXPECT_FALSE(pending());
}

TEST_F(AttributesTest, NewObjectsGoByTheAttributeType) {
    CK_ULONG number = 0x1082;
    unsigned char bytes[] = {'2', '0', '2', '6', '1', '1', '2', '3', 0, 0, 0, 0, 0, 0, 0, 0, 0};
    auto make = [&](CK_ATTRIBUTE_TYPE type, void* value, CK_ULONG length) {
        CK_ATTRIBUTE a{type, value, length};
        return ckAttributeValueToJObject(env, &a);
    };
    EXPECT_EQ(make(CKA_LABEL, nullptr, 3), nullptr);
    EXPECT_EQ(make(CKA_LABEL, bytes, 0), nullptr);

    jobject keyType = make(CKA_KEY_TYPE, &number, 8);
    EXPECT_TRUE(isInstance(keyType, jn::kKeyType.path));
    EXPECT_EQ(getLong(keyType, "m_value"), 0x1082);
    EXPECT_TRUE(isInstance(make(CKA_CLASS, &number, 8), jn::kObjectClass.path));
    EXPECT_TRUE(isInstance(make(0x80, &number, 8), jn::kCertificateType.path));
    EXPECT_TRUE(isInstance(make(0x300, &number, 8), jn::kHWFeatureType.path));

    jobject start = make(0x110, bytes, 8);  // the true date layout
    EXPECT_EQ(readBytes(static_cast<jbyteArray>(getObject(start, "month", "[B"))),
              (std::vector<unsigned char>{'1', '1'}));
    EXPECT_TRUE(isInstance(make(0x111, bytes, 8), jn::kDate.path));

    EXPECT_EQ(readObjects(static_cast<jobjectArray>(make(0x80000104, bytes, 17))).size(), 2u);
    // The two groups by the names of the attribute table.
    bytes[0] = 1;
    for (const char* name : {"TOKEN",
                             "PRIVATE",
                             "TRUSTED",
                             "SENSITIVE",
                             "ENCRYPT",
                             "DECRYPT",
                             "WRAP",
                             "UNWRAP",
                             "SIGN",
                             "SIGN_RECOVER",
                             "VERIFY",
                             "VERIFY_RECOVER",
                             "DERIVE",
                             "EXTRACTABLE",
                             "LOCAL",
                             "NEVER_EXTRACTABLE",
                             "ALWAYS_SENSITIVE",
                             "MODIFIABLE",
                             "SECONDARY_AUTH",
                             "RESET_ON_INIT",
                             "HAS_RESET",
                             "SIGN_LOCAL_CERT",
                             "EXPORT",
                             "EXPORTABLE",
                             "DELETABLE",
                             "IMPORT",
                             "PURGE",
                             "EVENT_LOG_FULL",
                             "TAMPER_CMD",
                             "HALT_CMD",
                             "RTC_AAC_ENABLED",
                             "VERIFY_OS",
                             "HIFACE_MASTER"}) {
        EXPECT_TRUE(getBoolean(make(valAttribute(name), bytes, 1), "m_value")) << name;
    }
    for (const char* name : {"MODULUS_BITS",
                             "PRIME_BITS",
                             "SUB_PRIME_BITS",
                             "VALUE_BITS",
                             "VALUE_LEN",
                             "AUTH_PIN_FLAGS",
                             "USAGE_COUNT",
                             "RECORD_COUNT",
                             "RECORD_NUMBER",
                             "SECURITY_MODE",
                             "TRANSPORT_MODE",
                             "BATCH",
                             "HW_STATUS",
                             "FREE_MEM",
                             "APPLICATION_COUNT",
                             "RTC_AAC_GUARD_SECONDS",
                             "RTC_AAC_GUARD_COUNT",
                             "AAC_GUARD_DURATION",
                             "PERFORMANCE_LEVEL",
                             "SLOT_ID",
                             "MAX_SESSIONS",
                             "MIN_PIN_LEN",
                             "MAX_PIN_FAIL",
                             "FLAGS",
                             "ROM_SPACE",
                             "RAM_SPACE",
                             "FM_STATUS",
                             "FM_STARTUP_STATUS",
                             "FM_ID",
                             "USAGE_LIMIT"}) {
        EXPECT_EQ(getLong(make(valAttribute(name), &number, 8), "value"), 0x1082) << name;
    }
    // Numeric to the utility library, bytes here: KEY_GEN_MECHANISM.
    EXPECT_TRUE(isInstance(make(0x166, &number, 8), "[B"));
    EXPECT_EQ(readBytes(static_cast<jbyteArray>(make(CKA_LABEL, bytes, 3))).size(), 3u);

    CK_ATTRIBUTE pair[] = {{CKA_VALUE_LEN, &number, 8}, {CKA_LABEL, nullptr, 5}};
    const std::vector<jobject> made = readObjects(ckAttributeArrayToJAttributeArray(env, pair, 2));
    ASSERT_EQ(made.size(), 2u);
    EXPECT_EQ(typeOf(made[0]), static_cast<jlong>(CKA_VALUE_LEN));
    EXPECT_EQ(getLong(getObject(made[0], "pValue", "Ljava/lang/Object;"), "value"), 0x1082);
    EXPECT_EQ(getObject(made[1], "pValue", "Ljava/lang/Object;"), nullptr);
    EXPECT_EQ(getLong(made[1], "valueLen"), 5);
    EXPECT_EQ(readObjects(ckAttributeArrayToJAttributeArray(env, pair, 0)).size(), 0u);
    EXPECT_EQ(ckAttributeArrayToJAttributeArray(env, nullptr, 2), nullptr);
}

// The new-object family is reached by no native yet: its exception paths
// are swept here.
TEST_F(AttributesTest, NewObjectsOnEveryExceptionPath) {
    CK_ULONG number = 5;
    unsigned char bytes[] = {'2', '0', '2', '6', '1', '1', '2', '3', 1, 0, 0, 0, 0, 0, 0, 0};
    CK_ATTRIBUTE all[] = {{CKA_CLASS, &number, 8},   {0x110, bytes, 8},           {0x80000104, bytes, 16},
                          {CKA_TOKEN, bytes + 8, 1}, {CKA_VALUE_LEN, &number, 8}, {CKA_LABEL, bytes, 3}};
    EXPECT_GT(sweepConversion(env, "ckAttributeArrayToJAttributeArray",
                              [&] { ckAttributeArrayToJAttributeArray(env, all, 6); }),
              0);
}

}  // namespace
}  // namespace morlin_test
