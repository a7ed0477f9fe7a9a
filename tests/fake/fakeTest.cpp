// Checks of the fake token library itself, for what the native tests lean on
// without seeing it: records that outlive the caller's memory, and reads
// that stop at a block's end.
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "fakeCryptoki.h"

namespace {

using fake::Bytes;
using fake::Reply;

class Fake : public ::testing::Test {
protected:
    void SetUp() override { fake::reset(); }
    void TearDown() override { fake::reset(); }
};

TEST_F(Fake, RecordsDeepCopiesOfTemplatesMechanismsAndInputs) {
    auto* label = static_cast<CK_BYTE*>(std::malloc(3));
    label[0] = 'a', label[1] = 'b', label[2] = 'c';
    auto* iv = static_cast<CK_BYTE*>(std::malloc(4));
    for (int i = 0; i < 4; ++i) iv[i] = static_cast<CK_BYTE>(0xA0 + i);
    CK_ATTRIBUTE tmpl[3] = {
        {CKA_LABEL, label, 3}, {CKA_VALUE, nullptr, 16}, {CKA_CLASS, label, CK_UNAVAILABLE_INFORMATION}};
    CK_MECHANISM mech = {0x1082, iv, 4};
    CK_OBJECT_HANDLE key = 0;
    fake::enqueue("C_GenerateKey", Reply().handle(42));
    EXPECT_EQ(C_GenerateKey(9, &mech, tmpl, 3, &key), CKR_OK);
    EXPECT_EQ(key, 42u);
    // The record must not point into the caller's memory.
    std::free(label);
    std::free(iv);

    auto call = fake::last("C_GenerateKey");
    ASSERT_TRUE(call);
    EXPECT_EQ(call->scalars, (std::vector<CK_ULONG>{9, 3}));
    ASSERT_TRUE(call->mechanism);
    EXPECT_EQ(call->mechanism->type, 0x1082u);
    EXPECT_FALSE(call->mechanism->parameterNull);
    EXPECT_EQ(call->mechanism->parameter, Bytes({0xA0, 0xA1, 0xA2, 0xA3}));
    ASSERT_EQ(call->templates.size(), 1u);
    const fake::Template& t = *call->templates[0];
    ASSERT_EQ(t.size(), 3u);
    EXPECT_EQ(t[0].value, Bytes({'a', 'b', 'c'}));
    EXPECT_TRUE(t[1].valueNull);
    EXPECT_EQ(t[1].valueLen, 16u);
    EXPECT_FALSE(t[2].valueNull);
    EXPECT_TRUE(t[2].value.empty()) << "an unavailable length is not read";

    // Null template and null mechanism.
    C_GenerateKey(9, nullptr, nullptr, 0, nullptr);
    call = fake::last("C_GenerateKey");
    EXPECT_FALSE(call->mechanism);
    EXPECT_FALSE(call->templates[0]);
    EXPECT_EQ(call->nulls, (std::vector<bool>{true, true, true}));
}

#if defined(__SANITIZE_ADDRESS__)
// The bridge hands on Java counts unchecked; the fake must record what is
// there instead of reading past the block.
TEST_F(Fake, CountBeyondTheBlockIsClampedUnderAsan) {
    auto* data = static_cast<CK_BYTE*>(std::calloc(3, 1));
    C_SignUpdate(1, data, 100);
    EXPECT_EQ(fake::last("C_SignUpdate")->inputs[0]->size(), 3u);

    // An empty Java array arrives as a block of no elements with the Java count.
    auto* none = static_cast<CK_ATTRIBUTE*>(std::calloc(0, sizeof(CK_ATTRIBUTE)));
    fake::enqueue("C_GetAttributeValue", Reply().attribute(CKA_LABEL, {1}));
    C_GetAttributeValue(1, 2, none, 3);
    EXPECT_TRUE(fake::last("C_GetAttributeValue")->templates[0]->empty());

    // Writes stop at the block's end too, even with a bypassed length.
    fake::enqueue("C_Sign", Reply().bytes(Bytes(50, 0xEE)).length(50));
    CK_ULONG len = 3;
    EXPECT_EQ(C_Sign(1, nullptr, 0, data, &len), CKR_OK);
    EXPECT_EQ(len, 50u);
    EXPECT_EQ(data[2], 0xEE);
    std::free(none);
    std::free(data);
}
#endif

}  // namespace
