// The object, attribute and curve natives of CTUtil beyond their sweep rows:
// what reaches the token, what is written back and when, and the numbers by
// which the curve encoder alone reports.
#include <string>
#include <vector>

#include "bridgeTest.h"

namespace morlin_test {
namespace {

using Bytes = std::vector<unsigned char>;

const Bytes kP256 = {0x06, 0x08, 0x2A, 0x86, 0x48, 0xCE, 0x3D, 0x03, 0x01, 0x07};

class TokenUtilityTest : public BridgeTest {
protected:
    jbyteArray text(const std::string& s) { return makeBytes(Bytes(s.begin(), s.end())); }
    jobject type(CK_ATTRIBUTE_TYPE t) { return wrapper(jn::kAttributeType, static_cast<jlong>(t)); }

    jobject find(jbyteArray label, jobject object) {
        return Java_kaltrix_morlin_CTUtil_CTU_1FindObject(env, nullptr, session(7),
                                                          wrapper(jn::kObjectClass, CKO_DATA), label, object);
    }
    jobject get(jobject value, jlong maxLen, jobject valueLen) {
        return Java_kaltrix_morlin_CTUtil_CTU_1GetAttributeValue(env, nullptr, session(7), handle(9), type(CKA_VALUE),
                                                                 value, maxLen, valueLen);
    }
    jobject encode(const char* name, jbyteArray der, jobject derLen) {
        return Java_kaltrix_morlin_CTUtil_CTU_1DerEncodeNamedCurve(env, nullptr, name ? text(name) : nullptr, der,
                                                                   derLen);
    }
};

TEST_F(TokenUtilityTest, FindObjectSearchesByClassAndTheLabelWithoutTerminator) {
    fake::setDefault("C_FindObjects", fake::Reply().ulongs({31}));
    jobject object = handle(0);
    ASSERT_EQ(rvOf(find(text("abc"), object)), CKR_OK);
    EXPECT_EQ(getLong(object, "m_value"), 31);
    const fake::Call init = *fake::last("C_FindObjectsInit");
    EXPECT_EQ(init.scalars.at(0), 7u);
    const fake::Template t = *init.templates.at(0);
    ASSERT_EQ(t.size(), 2u);
    EXPECT_EQ(t[0].value, fake::Reply::raw(CKO_DATA));
    EXPECT_EQ(t[1].value, (Bytes{'a', 'b', 'c'}));

    // A zero byte in the label ends the text there.
    ASSERT_EQ(rvOf(find(makeBytes({'a', 0, 'c'}), object)), CKR_OK);
    EXPECT_EQ(fake::last("C_FindObjectsInit")->templates.at(0)->at(1).value, Bytes{'a'});
}

TEST_F(TokenUtilityTest, FindObjectWritesNothingWithoutAMatchAndRefusesANullTarget) {
    jobject object = handle(5);
    EXPECT_EQ(rvOf(find(text("absent"), object)), CKR_GENERAL_ERROR);
    EXPECT_EQ(getLong(object, "m_value"), 5);
    fake::reset();
    EXPECT_EQ(rvOf(find(text("abc"), nullptr)), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(fake::calls().size(), 0u);
}

TEST_F(TokenUtilityTest, GetAttributeValueFillsThePrefixAndStoresTheLength) {
    const Bytes value(20, 0xA5);
    fake::setDefault("C_GetAttributeValue", fake::Reply().attribute(CKA_VALUE, value));
    jbyteArray buffer = makeBytes(Bytes(32, 0x11));
    jobject length = longRef(-3);
    ASSERT_EQ(rvOf(get(buffer, 32, length)), CKR_OK);
    EXPECT_EQ(getLong(length, "value"), 20);
    Bytes expected = value;
    expected.resize(32, 0x11);
    EXPECT_EQ(readBytes(buffer), expected);
    const fake::Call read = *fake::last("C_GetAttributeValue");
    EXPECT_EQ(read.scalars.at(0), 7u);
    EXPECT_EQ(read.scalars.at(1), 9u);
    EXPECT_EQ(read.templates.at(0)->at(0).type, CKA_VALUE);
}

TEST_F(TokenUtilityTest, GetAttributeValueWithMaxLenZeroOnlyAsksForTheLength) {
    fake::setDefault("C_GetAttributeValue", fake::Reply().attribute(CKA_VALUE, Bytes(20, 1)));
    jobject length = longRef(0);
    ASSERT_EQ(rvOf(get(nullptr, 0, length)), CKR_OK);
    EXPECT_EQ(getLong(length, "value"), 20);
    EXPECT_EQ(fake::count("C_GetAttributeValue"), 1u);
}

TEST_F(TokenUtilityTest, GetAttributeValueWritesNothingOnAnError) {
    fake::setDefault("C_GetAttributeValue", fake::Reply().attribute(CKA_VALUE, Bytes(20, 1)));
    jbyteArray buffer = makeBytes(Bytes(16, 0x11));
    jobject length = longRef(77);
    EXPECT_EQ(rvOf(get(buffer, 16, length)), CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(getLong(length, "value"), 77);
    EXPECT_EQ(readBytes(buffer), Bytes(16, 0x11));
    EXPECT_EQ(rvOf(get(buffer, 16, nullptr)), CKR_ARGUMENTS_BAD);
}

// A String converts into a block but cannot be written in place: the
// exception comes after the length has been stored.
TEST_F(TokenUtilityTest, GetAttributeValueIntoAClassThatCannotBeWrittenStoresTheLengthFirst) {
    fake::setDefault("C_GetAttributeValue", fake::Reply().attribute(CKA_VALUE, {'x', 'y'}));
    jobject length = longRef(0);
    EXPECT_EQ(get(makeString("ab"), 2, length), nullptr);
    EXPECT_EQ(takeException(), "java.lang.UnsupportedOperationException");
    EXPECT_EQ(getLong(length, "value"), 2);
}

TEST_F(TokenUtilityTest, SetAttributeValueSendsTheJavaLength) {
    auto set = [this](jobject value, jlong valueLen) {
        return rvOf(Java_kaltrix_morlin_CTUtil_CTU_1SetAttributeValue(env, nullptr, session(7), handle(9),
                                                                      type(CKA_VALUE), value, valueLen));
    };
    ASSERT_EQ(set(makeBytes({1, 2, 3, 4, 5, 6, 7, 8}), 4), CKR_OK);
    fake::Call call = *fake::last("C_SetAttributeValue");
    EXPECT_EQ(call.scalars.at(1), 9u);
    EXPECT_EQ(call.templates.at(0)->at(0).type, CKA_VALUE);
    EXPECT_EQ(call.templates.at(0)->at(0).value, (Bytes{1, 2, 3, 4}));
    // No widening of 4 to the size of a CK_ULONG.
    ASSERT_EQ(set(newLong(0x0102030405060708), 4), CKR_OK);
    Bytes low = fake::Reply::raw(0x0102030405060708);
    low.resize(4);
    EXPECT_EQ(fake::last("C_SetAttributeValue")->templates.at(0)->at(0).value, low);
}

TEST_F(TokenUtilityTest, DerEncodeNamedCurveReportsOnlyByTheNumbers) {
    {
        SCOPED_TRACE("null der: the length");
        jobject length = longRef(-5);
        EXPECT_EQ(rvOf(encode("P-256", nullptr, length)), CKR_OK);
        EXPECT_EQ(getLong(length, "value"), 10);
    }
    {
        SCOPED_TRACE("room for it");
        jbyteArray der = makeBytes(Bytes(16, 0xEE));
        jobject length = longRef(16);
        EXPECT_EQ(rvOf(encode("P-256", der, length)), CKR_OK);
        Bytes expected = kP256;
        expected.resize(16, 0xEE);
        EXPECT_EQ(readBytes(der), expected);
        EXPECT_EQ(getLong(length, "value"), 10);
    }
    {
        SCOPED_TRACE("a value below the array's length gets that length");
        jbyteArray der = makeBytes(Bytes(16, 0xEE));
        jobject length = longRef(8);
        EXPECT_EQ(rvOf(encode("P-256", der, length)), CKR_OK);
        EXPECT_EQ(readBytes(der), Bytes(16, 0xEE));
        EXPECT_EQ(getLong(length, "value"), 16);
    }
    {
        SCOPED_TRACE("compared as Java ints: 2^32 + 4 is 4, below the array's length");
        jbyteArray der = makeBytes(Bytes(16, 0xEE));
        jobject length = longRef((jlong{1} << 32) + 4);
        EXPECT_EQ(rvOf(encode("P-256", der, length)), CKR_OK);
        EXPECT_EQ(getLong(length, "value"), 16);
        EXPECT_EQ(readBytes(der), Bytes(16, 0xEE));
    }
    {
        SCOPED_TRACE("too small: the array stays, the length needed");
        jbyteArray der = makeBytes({1, 2, 3, 4});
        jobject length = longRef(4);
        EXPECT_EQ(rvOf(encode("P-256", der, length)), CKR_OK);
        EXPECT_EQ(readBytes(der), (Bytes{1, 2, 3, 4}));
        EXPECT_EQ(getLong(length, "value"), 10);
    }
    {
        SCOPED_TRACE("unknown curve: the array's length, the array as it was");
        jbyteArray der = makeBytes(Bytes(16, 0xEE));
        jobject length = longRef(40);
        EXPECT_EQ(rvOf(encode("P-999", der, length)), CKR_OK);
        EXPECT_EQ(readBytes(der), Bytes(16, 0xEE));
        EXPECT_EQ(getLong(length, "value"), 16);
        EXPECT_EQ(rvOf(encode("P-999", nullptr, length)), CKR_OK);
        EXPECT_EQ(getLong(length, "value"), 0);
    }
    {
        SCOPED_TRACE("an empty array is a size query");
        jobject length = longRef(0);
        EXPECT_EQ(rvOf(encode("P-256", makeBytes(Bytes{}), length)), CKR_OK);
        EXPECT_EQ(getLong(length, "value"), 10);
    }
    {
        SCOPED_TRACE("no name, or no LongRef: nothing written");
        jbyteArray der = makeBytes(Bytes(16, 0xEE));
        jobject length = longRef(16);
        EXPECT_EQ(rvOf(encode(nullptr, der, length)), CKR_OK);
        EXPECT_EQ(rvOf(encode("", der, length)), CKR_OK);
        EXPECT_EQ(rvOf(encode("P-256", der, nullptr)), CKR_OK);
        EXPECT_EQ(readBytes(der), Bytes(16, 0xEE));
        EXPECT_EQ(getLong(length, "value"), 16);
    }
}

}  // namespace
}  // namespace morlin_test
