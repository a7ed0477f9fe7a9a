// Attribute search, the one-attribute accessors against the fake token, and
// the classification of attribute rows.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "fakeCryptoki.h"
#include "morlin_util.h"

namespace {

CK_ATTRIBUTE Row(CK_ATTRIBUTE_TYPE type, void* value = nullptr, CK_ULONG length = 0) {
    return CK_ATTRIBUTE{type, value, length};
}

// ---- search ---------------------------------------------------------------------

TEST(FindAttrTest, WildCardTakesTheFirstRowOfAnyList) {
    CK_ATTRIBUTE rows[] = {Row(CKA_LABEL), Row(CKA_CLASS), Row(FIND_ANY_ATTRIBUTE)};
    AttributeSet set{rows, 3};
    EXPECT_EQ(FindAttr(FIND_ANY_ATTRIBUTE, &set), &rows[0]);
    EXPECT_EQ(FindAttribute(FIND_ANY_ATTRIBUTE, rows + 1, 2), &rows[1]);
    AttributeSet empty{rows, 0};
    EXPECT_EQ(FindAttr(FIND_ANY_ATTRIBUTE, &empty), nullptr);
    AttributeSet noRows{nullptr, 3};
    EXPECT_EQ(FindAttr(FIND_ANY_ATTRIBUTE, &noRows), nullptr);
    EXPECT_EQ(FindAttr(CKA_LABEL, nullptr), nullptr);
    EXPECT_EQ(FindAttribute(CKA_LABEL, nullptr, 5), nullptr);
}

TEST(FindAttrTest, FirstRowOfTheTypeWins) {
    CK_ATTRIBUTE rows[] = {Row(CKA_TOKEN), Row(CKA_LABEL, nullptr, 1), Row(CKA_LABEL, nullptr, 2)};
    EXPECT_EQ(FindAttribute(CKA_LABEL, rows, 3), &rows[1]);
    EXPECT_EQ(FindAttribute(CKA_LABEL, rows, 1), nullptr);  // count bounds the walk
    EXPECT_EQ(FindAttribute(CKA_VALUE, rows, 3), nullptr);
}

TEST(FindAttrTest, DeprecatedCheckValueFallsBackOneWayOnly) {
    CK_ATTRIBUTE standard[] = {Row(CKA_LABEL), Row(CKA_CHECK_VALUE)};
    AttributeSet standardSet{standard, 2};
    EXPECT_EQ(FindAttr(CKA_CHECK_VALUE_DEPRECATED, &standardSet), &standard[1]);

    CK_ATTRIBUTE vendor[] = {Row(CKA_CHECK_VALUE_DEPRECATED)};
    AttributeSet vendorSet{vendor, 1};
    EXPECT_EQ(FindAttr(CKA_CHECK_VALUE, &vendorSet), nullptr);

    CK_ATTRIBUTE both[] = {Row(CKA_CHECK_VALUE), Row(CKA_CHECK_VALUE_DEPRECATED)};
    EXPECT_EQ(FindAttribute(CKA_CHECK_VALUE_DEPRECATED, both, 2), &both[1]);
}

// ---- GetAttr and SetAttr ----------------------------------------------------------

class AccessorTest : public ::testing::Test {
protected:
    void SetUp() override { fake::reset(); }
    static void Answer(CK_ATTRIBUTE_TYPE type, fake::Bytes value) {
        fake::setDefault("C_GetAttributeValue", fake::Reply().attribute(type, std::move(value)));
    }
};

TEST_F(AccessorTest, LengthQueryNeverTouchesTheBuffer) {
    Answer(CKA_LABEL, {'a', 'b', 'c', 'd'});
    unsigned char buffer[8];
    memset(buffer, 0x5a, sizeof buffer);
    CK_ULONG length = 99;
    EXPECT_EQ(GetAttr(7, 9, CKA_LABEL, buffer, 0, &length), CKR_OK);
    EXPECT_EQ(length, 4u);
    EXPECT_EQ(buffer[0], 0x5a);
    ASSERT_EQ(fake::count("C_GetAttributeValue"), 1u);
    const fake::Call call = *fake::last("C_GetAttributeValue");
    EXPECT_EQ(call.scalars, (std::vector<CK_ULONG>{7, 9, 1}));
    ASSERT_TRUE(call.templates[0]);
    const fake::Attribute& asked = (*call.templates[0])[0];
    EXPECT_EQ(asked.type, CKA_LABEL);
    EXPECT_TRUE(asked.valueNull);
    EXPECT_EQ(asked.valueLen, 0u);
}

// A buffer that fits reads the value in a second call, with the reported
// length, not the buffer's.
TEST_F(AccessorTest, ValueIsReadInASecondCallWithTheReportedLength) {
    Answer(CKA_LABEL, {'a', 'b', 'c', 'd'});
    unsigned char buffer[6] = {};
    EXPECT_EQ(GetAttr(1, 2, CKA_LABEL, buffer, 6, nullptr), CKR_OK);
    EXPECT_EQ(std::vector<unsigned char>(buffer, buffer + 4), (std::vector<unsigned char>{'a', 'b', 'c', 'd'}));
    const auto calls = fake::calls("C_GetAttributeValue");
    ASSERT_EQ(calls.size(), 2u);
    const fake::Attribute& read = (*calls[1].templates[0])[0];
    EXPECT_FALSE(read.valueNull);
    EXPECT_EQ(read.valueLen, 4u);  // the reported length, not the buffer's
}

TEST_F(AccessorTest, OneByteShortIsAttributeTypeInvalidWithTheFullLength) {
    Answer(CKA_LABEL, {'a', 'b', 'c', 'd'});
    unsigned char buffer[3] = {7, 7, 7};
    CK_ULONG length = 0;
    EXPECT_EQ(GetAttr(1, 2, CKA_LABEL, buffer, 3, &length), CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(length, 4u);
    EXPECT_EQ(std::vector<unsigned char>(buffer, buffer + 3), (std::vector<unsigned char>{7, 7, 7}));
    EXPECT_EQ(fake::count("C_GetAttributeValue"), 1u);
}

TEST_F(AccessorTest, TokenErrorOfTheLengthCallIsTheResult) {
    fake::setDefault("C_GetAttributeValue", fake::Reply().attributeError(CKA_VALUE, CKR_ATTRIBUTE_SENSITIVE));
    CK_ULONG length = 55;
    unsigned char buffer[4] = {};
    EXPECT_EQ(GetAttr(1, 2, CKA_VALUE, buffer, 4, &length), CKR_ATTRIBUTE_SENSITIVE);
    EXPECT_EQ(length, 55u);  // not stored
    EXPECT_EQ(fake::count("C_GetAttributeValue"), 1u);
}

TEST_F(AccessorTest, TokenErrorOfTheValueCallIsTheResult) {
    fake::enqueue("C_GetAttributeValue", fake::Reply().attribute(CKA_LABEL, {'x'}));
    fake::enqueue("C_GetAttributeValue", fake::Reply().returns(CKR_DEVICE_ERROR));
    unsigned char buffer[1] = {};
    EXPECT_EQ(GetAttr(1, 2, CKA_LABEL, buffer, 1, nullptr), CKR_DEVICE_ERROR);
}

TEST_F(AccessorTest, SetAttrSendsOneRow) {
    fake::enqueue("C_SetAttributeValue", fake::Reply().returns(CKR_ATTRIBUTE_READ_ONLY));
    unsigned char label[] = {'n', 'e', 'w'};
    EXPECT_EQ(SetAttr(3, 4, CKA_LABEL, label, 3), CKR_ATTRIBUTE_READ_ONLY);
    const fake::Call call = *fake::last("C_SetAttributeValue");
    EXPECT_EQ(call.scalars, (std::vector<CK_ULONG>{3, 4, 1}));
    const fake::Attribute& row = (*call.templates[0])[0];
    EXPECT_EQ(row.type, CKA_LABEL);
    EXPECT_EQ(row.valueLen, 3u);
    EXPECT_EQ(row.value, (fake::Bytes{'n', 'e', 'w'}));
}

// ---- classification ----------------------------------------------------------------

TEST(AttrClassTest, BooleanAndEnumeratedGoByTypeAndWidth) {
    CK_ULONG flag = 1;
    for (CK_ULONG width : {0UL, 9UL}) {
        CK_ATTRIBUTE row = Row(CKA_TOKEN, &flag, width);
        EXPECT_EQ(isBooleanAttr(&row), 0) << width;
    }
    CK_ATTRIBUTE token = Row(CKA_TOKEN, &flag, 8);  // a flag held in a CK_ULONG passes
    EXPECT_EQ(isBooleanAttr(&token), 1);
    CK_ATTRIBUTE auditKey = Row(0x80002000, &flag, 1);
    EXPECT_EQ(isBooleanAttr(&auditKey), 1);
    CK_ATTRIBUTE label = Row(CKA_LABEL, &flag, 1);
    EXPECT_EQ(isBooleanAttr(&label), 0);
    EXPECT_EQ(isBooleanAttr(nullptr), 0);

    CK_ATTRIBUTE keyType = Row(CKA_KEY_TYPE, &flag, 8);
    EXPECT_EQ(isEnumeratedAttr(&keyType), 1);
    CK_ATTRIBUTE keyTypeEmpty = Row(CKA_KEY_TYPE, &flag, 0);
    EXPECT_EQ(isEnumeratedAttr(&keyTypeEmpty), 0);
    CK_ATTRIBUTE valueLen = Row(CKA_VALUE_LEN, &flag, 8);
    EXPECT_EQ(isEnumeratedAttr(&valueLen), 0);
}

TEST(AttrClassTest, NumericTypesAndTheMechanismList) {
    const CK_ATTRIBUTE_TYPE mechanismList = 0x80000104;
    EXPECT_EQ(isNumericAttrType(mechanismList), 1);
    EXPECT_EQ(isNumericAttrType(0x166), 1);       // KEY_GEN_MECHANISM
    EXPECT_EQ(isNumericAttrType(0x80001103), 1);  // BIP32_CHILD_DEPTH
    EXPECT_EQ(isNumericAttrType(CKA_LABEL), 0);
    EXPECT_EQ(isNumericAttrType(CKA_TOKEN), 0);

    CK_ULONG mechanisms[3] = {};
    const std::pair<CK_ULONG, int> widths[] = {{24, 1}, {8, 1}, {7, 0}, {0, 0}, {12, 0}};
    for (auto [width, expected] : widths) {
        CK_ATTRIBUTE row = Row(mechanismList, mechanisms, width);
        EXPECT_EQ(isNumericAttr(&row), expected) << width;
    }
    CK_ATTRIBUTE bits = Row(0x121, mechanisms, 9);  // MODULUS_BITS
    EXPECT_EQ(isNumericAttr(&bits), 0);
    bits.ulValueLen = 3;  // any width from 1 to 8 passes the test of kind
    EXPECT_EQ(isNumericAttr(&bits), 1);
}

// Every type that a classification accepts is one the attribute name table
// knows: a type typed wrong in a classification list lands off the table.
TEST(AttrClassTest, ClassifiedTypesAreNamedAttributes) {
    CK_ULONG value = 1;
    int accepted = 0;
    for (CK_ULONG base : {0x0UL, 0x80000000UL}) {
        for (CK_ULONG type = base; type < base + 0x5000; ++type) {
            CK_ATTRIBUTE flag = Row(type, &value, 1);
            CK_ATTRIBUTE word = Row(type, &value, 8);
            if (!isNumericAttrType(type) && !isBooleanAttr(&flag) && !isEnumeratedAttr(&word)) continue;
            ++accepted;
            const std::string name = strAttribute(type);
            EXPECT_TRUE(name.rfind("Vendor defined", 0) != 0 && name.rfind("UNKNOWN", 0) != 0) << std::hex << type;
        }
    }
    EXPECT_GT(accepted, 40);
}

TEST(AttrClassTest, NumbersByWidth) {
    unsigned char bytes[8];
    memset(bytes, 0xff, sizeof bytes);
    CK_ATTRIBUTE row = Row(CKA_VALUE_LEN, bytes, 4);
    EXPECT_EQ(numAttr(&row), 0x00000000FFFFFFFFUL);
    EXPECT_EQ(intAttr(&row), -1);
    row.ulValueLen = 3;
    EXPECT_EQ(numAttr(&row), ~0UL);
    EXPECT_EQ(intAttr(&row), -1);
    row.ulValueLen = 2;
    EXPECT_EQ(numAttr(&row), 0xFFFFu);
    EXPECT_EQ(intAttr(&row), 0xFFFF);
    row.ulValueLen = 1;
    EXPECT_EQ(intAttr(&row), 0xFF);

    const CK_ULONG wide = 0x100000005UL;
    CK_ATTRIBUTE ulong = Row(CKA_VALUE_LEN, const_cast<CK_ULONG*>(&wide), 8);
    EXPECT_EQ(numAttr(&ulong), 0x100000005UL);
    EXPECT_EQ(intAttr(&ulong), 5);

    CK_ATTRIBUTE noValue = Row(CKA_VALUE_LEN, nullptr, 8);
    EXPECT_EQ(numAttr(&noValue), ~0UL);
    EXPECT_EQ(intAttr(&noValue), -1);
    EXPECT_EQ(numAttr(nullptr), ~0UL);

    // Reads at any alignment.
    unsigned char odd[9] = {0, 0x2a, 0, 0, 0, 0, 0, 0, 0};
    CK_ATTRIBUTE unaligned = Row(CKA_VALUE_LEN, odd + 1, 8);
    EXPECT_EQ(numAttr(&unaligned), 0x2au);
}

TEST(AttrClassTest, LookupsFindThenRead) {
    CK_ULONG modifiable = 0;
    CK_BBOOL sensitive = CK_TRUE;
    CK_ATTRIBUTE rows[] = {Row(0x170, &modifiable, 8), Row(0x103, &sensitive, 1)};
    EXPECT_EQ(intAttrLookup(0x170, rows, 2), 0);
    EXPECT_EQ(numAttrLookup(0x103, rows, 2), 1u);
    EXPECT_EQ(intAttrLookup(CKA_LABEL, rows, 2), -1);
    EXPECT_EQ(numAttrLookup(CKA_LABEL, rows, 2), ~0UL);
    EXPECT_EQ(numAttrLookup(0x103, nullptr, 2), ~0UL);
}

TEST(AttrClassTest, SensitiveRowsDependOnTheClass) {
    CK_ULONG cls = CKO_PRIVATE_KEY;
    CK_ATTRIBUTE classRow = Row(CKA_CLASS, &cls, sizeof cls);
    AttributeSet set{&classRow, 1};
    auto sensitive = [&](CK_ATTRIBUTE_TYPE type) {
        CK_ATTRIBUTE row = Row(type);
        return isSensitiveAttr(&set, &row);
    };
    EXPECT_EQ(sensitive(CKA_VALUE), 1);
    for (CK_ATTRIBUTE_TYPE t = 0x123; t <= 0x128; ++t) EXPECT_EQ(sensitive(t), 1) << t;
    EXPECT_EQ(sensitive(0x122), 0);  // PUBLIC_EXPONENT
    EXPECT_EQ(sensitive(0x129), 0);

    cls = CKO_PUBLIC_KEY;
    EXPECT_EQ(sensitive(CKA_VALUE), 1);
    EXPECT_EQ(sensitive(CKA_PRIVATE_EXPONENT), 0);
    cls = CKO_SECRET_KEY;
    EXPECT_EQ(sensitive(CKA_VALUE), 1);
    EXPECT_EQ(sensitive(CKA_VALUE_LEN), 0);
    cls = CKO_HW_FEATURE;
    EXPECT_EQ(sensitive(CKA_VALUE), 0);

    CK_ATTRIBUTE labelOnly = Row(CKA_LABEL);
    AttributeSet classless{&labelOnly, 1};
    CK_ATTRIBUTE value = Row(CKA_VALUE);
    EXPECT_EQ(isSensitiveAttr(&classless, &value), 0);
    EXPECT_EQ(isSensitiveAttr(nullptr, &value), 0);
    EXPECT_EQ(isSensitiveAttr(&set, nullptr), 0);
}

}  // namespace
