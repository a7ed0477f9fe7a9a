// The object natives where they go beyond their frames: the Java count
// beside the template, the copy-back of C_GetAttributeValue on every answer,
// the conversion order of C_SetAttributeValue, and the search's handles.
#include <string>
#include <vector>

#include "bridgeTest.h"

namespace morlin_test {
namespace {

class ObjectsTest : public BridgeTest {
protected:
    jobject getAttributes(jobjectArray t, jlong count) {
        return Java_kaltrix_morlin_Cryptoki_C_1GetAttributeValue(env, nullptr, session(1), handle(2), t, count);
    }
    jlong valueLen(jobject attribute) { return getLong(attribute, "valueLen"); }
    jobject valueOf(jobject attribute) { return getObject(attribute, "pValue", jn::kAttributeValue.sig); }
};

TEST_F(ObjectsTest, TheJavaCountGoesToTheTokenWithTheTemplate) {
    jobject made = handle(0);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1CreateObject(env, nullptr, session(1), nullptr, 0, made)), CKR_OK);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1CreateObject(env, nullptr, session(1), nullptr, -1, made)), CKR_OK);
    const std::vector<fake::Call> calls = fake::calls("C_CreateObject");
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_TRUE(calls[0].nulls[0]);
    EXPECT_EQ(calls[0].scalars.back(), 0u);
    EXPECT_EQ(calls[1].scalars.back(), ~0UL);

    // Refused before any conversion: a null output, a null template that
    // claims attributes.
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1CreateObject(env, nullptr, session(1), nullptr, 0, nullptr)),
              CKR_ARGUMENTS_BAD);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1FindObjectsInit(env, nullptr, session(1), nullptr, 1)),
              CKR_ARGUMENTS_BAD);
    EXPECT_EQ(fake::count("C_FindObjectsInit"), 0u);

    // The token sees valueLen as the contract has it: a CK_OBJECT_CLASS with
    // 4 as 8, a byte[2] announced as 5.
    jobjectArray t = attributes(
        {attribute(CKA_CLASS, wrapper(jn::kObjectClass, CKO_DATA), 4), attribute(CKA_VALUE, makeBytes({1, 2}), 5)});
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1CopyObject(env, nullptr, session(1), handle(2), t, 2, made)),
              CKR_OK);
    const fake::Template sent = *fake::last("C_CopyObject")->templates[0];
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_EQ(sent[0].valueLen, 8u);
    EXPECT_EQ(sent[0].value, fake::Reply::raw(CKO_DATA));
    EXPECT_EQ(sent[1].valueLen, 5u);
}

TEST_F(ObjectsTest, GetAttributeValueAnswersEveryAttributeWhateverTheResult) {
    // The size query: no values, every length.
    fake::setDefault("C_GetAttributeValue",
                     fake::Reply().attribute(CKA_LABEL, {'k', 'e', 'y'}).attribute(CKA_VALUE, fake::Bytes(32, 7)));
    jobjectArray t = attributes({attribute(CKA_LABEL, nullptr, 0), attribute(CKA_VALUE, nullptr, 0)});
    EXPECT_EQ(rvOf(getAttributes(t, 2)), CKR_OK);
    for (jobject a : readObjects(t)) EXPECT_EQ(valueOf(a), nullptr);
    EXPECT_EQ(valueLen(readObjects(t)[0]), 3);
    EXPECT_EQ(valueLen(readObjects(t)[1]), 32);

    // A sensitive attribute says -1 and its neighbours are delivered; count
    // 2 of an array of 3 leaves the third as it was.
    fake::setDefault("C_GetAttributeValue", fake::Reply()
                                                .attribute(CKA_LABEL, {'k', 'e', 'y'})
                                                .attributeUlong(CKA_VALUE_LEN, 32)
                                                .attributeError(CKA_VALUE, CKR_ATTRIBUTE_SENSITIVE));
    t = attributes({attribute(CKA_VALUE, makeBytes({0, 0}), 2), attribute(CKA_LABEL, makeBytes({0, 0, 0}), 3),
                    attribute(CKA_VALUE_LEN, newLong(0), 8)});
    EXPECT_EQ(rvOf(getAttributes(t, 2)), CKR_ATTRIBUTE_SENSITIVE);
    const std::vector<jobject> got = readObjects(t);
    EXPECT_EQ(valueLen(got[0]), -1);
    EXPECT_EQ(readBytes(static_cast<jbyteArray>(valueOf(got[1]))), (std::vector<unsigned char>{'k', 'e', 'y'}));
    EXPECT_EQ(getLong(valueOf(got[2]), "value"), 0);
    EXPECT_EQ(valueLen(got[2]), 8);

    // Too small a buffer: -1 for it, and CKR_BUFFER_TOO_SMALL.
    t = attributes({attribute(CKA_LABEL, makeBytes({0}), 1)});
    EXPECT_EQ(rvOf(getAttributes(t, 1)), CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(valueLen(readObjects(t)[0]), -1);

    // A value that cannot be written back loses the result.
    t = attributes({attribute(CKA_LABEL, makeString("abc"), 3)});
    EXPECT_EQ(getAttributes(t, 1), nullptr);
    EXPECT_EQ(takeException(), "java.lang.UnsupportedOperationException");
}

TEST_F(ObjectsTest, SetAttributeValueConvertsItsObjectLastAndUnchecked) {
    jobjectArray t = attributes({attribute(CKA_LABEL, makeBytes({'n'}), 1)});
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1SetAttributeValue(env, nullptr, session(1), nullptr, t, 1)), CKR_OK);
    EXPECT_EQ(fake::last("C_SetAttributeValue")->scalars[1], ~0UL);  // a null wrapper

    // The object's conversion fails: the token library is called all the
    // same, with the handle's failure value, and the native returns null.
    jobject rv = nullptr;
    {
        JniMonitor monitor(env);
        // Lookups: the session's class, then the object's (the template is null).
        monitor.failCall(Jni::FindClass, 2);
        rv = Java_kaltrix_morlin_Cryptoki_C_1SetAttributeValue(env, nullptr, session(1), handle(9), nullptr, 0);
    }
    EXPECT_EQ(rv, nullptr);
    EXPECT_EQ(takeException(), kInjectedException);
    ASSERT_EQ(fake::count("C_SetAttributeValue"), 2u);
    EXPECT_EQ(fake::last("C_SetAttributeValue")->scalars[1], 0u);
}

TEST_F(ObjectsTest, FindObjectsFillsTheWrappersThereAre) {
    fake::setDefault("C_FindObjects", fake::Reply().ulongs({11, 12, 13, 14, 15, 16}));
    jobjectArray four = wrappers(jn::kObjectHandle, {0, 0, 0, 0});
    jobject found = longRef(-5);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1FindObjects(env, nullptr, session(1), four, 10, found)), CKR_OK);
    EXPECT_EQ(getLong(found, "value"), 6);
    EXPECT_EQ(values(four), (std::vector<jlong>{11, 12, 13, 14}));

    // No array, no room: a null buffer, and the count still answered.
    fake::setDefault("C_FindObjects", fake::Reply().ulongs({}));
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1FindObjects(env, nullptr, session(1), nullptr, 0, found)), CKR_OK);
    EXPECT_TRUE(fake::last("C_FindObjects")->nulls[0]);
    EXPECT_EQ(getLong(found, "value"), 0);

    // An error: the count is written, the handles are not.
    fake::setDefault("C_FindObjects", fake::Reply().ulongs({21}).returns(CKR_OPERATION_NOT_INITIALIZED));
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1FindObjects(env, nullptr, session(1), four, 4, found)),
              CKR_OPERATION_NOT_INITIALIZED);
    EXPECT_EQ(getLong(found, "value"), 1);
    EXPECT_EQ(values(four), (std::vector<jlong>{11, 12, 13, 14}));

    // Refused: room for handles but no array; no LongRef for the count.
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1FindObjects(env, nullptr, session(1), nullptr, 1, found)),
              CKR_ARGUMENTS_BAD);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1FindObjects(env, nullptr, session(1), four, 4, nullptr)),
              CKR_ARGUMENTS_BAD);

    // The object size is kept on an error.
    fake::setDefault("C_GetObjectSize", fake::Reply().size(99).returns(CKR_FUNCTION_NOT_SUPPORTED));
    jobject size = longRef(3);
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetObjectSize(env, nullptr, session(1), handle(2), size)),
              CKR_FUNCTION_NOT_SUPPORTED);
    EXPECT_EQ(getLong(size, "value"), 3);
}

}  // namespace
}  // namespace morlin_test
