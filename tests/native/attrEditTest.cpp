// Attribute rows assigned, copied, matched, edited and merged: the cases
// that the random comparison with a model does not single out, every value
// that is dropped seen by the allocator before it goes back (it must be
// filled), and every allocation failed in turn.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "allocations.h"
#include "morlin_util.h"

namespace {

using Bytes = std::vector<CK_BYTE>;
using morlin_test::AllocationWatch;

Bytes Num(CK_ULONG v, size_t width = sizeof(CK_ULONG)) {
    Bytes b(width);
    memcpy(b.data(), &v, width);
    return b;
}
Bytes Text(const char* s) { return Bytes(s, s + strlen(s)); }

// A set built row by row as the library builds one.
AttributeSet* Make(const std::vector<std::pair<CK_ATTRIBUTE_TYPE, Bytes>>& rows) {
    AttributeSet* set = NewAttributeSet(0);
    for (const auto& [type, value] : rows) EXPECT_EQ(WriteAttr(value.data(), value.size(), type, set), CKR_OK);
    return set;
}
Bytes ValueOf(const AttributeSet* set, CK_ATTRIBUTE_TYPE type) {
    const CK_ATTRIBUTE* row = FindAttr(type, set);
    if (row == nullptr || row->pValue == nullptr) return {};
    const auto* p = static_cast<const CK_BYTE*>(row->pValue);
    return Bytes(p, p + row->ulValueLen);
}
std::vector<CK_ATTRIBUTE_TYPE> Types(const AttributeSet* set) {
    std::vector<CK_ATTRIBUTE_TYPE> types;
    for (CK_ULONG i = 0; set != nullptr && i < set->count; ++i) types.push_back(set->attributes[i].type);
    return types;
}

// The blocks freed while it lives, with whether each was all fill bytes.
class Freed {
public:
    Freed() {
        watch_.onFree(
            [](const void* block, size_t size, void* self) {
                const auto* p = static_cast<const CK_BYTE*>(block);
                bool filled = size > 0;
                for (size_t i = 0; i < size; ++i) filled = filled && p[i] == ATTRIBUTE_FILL_BYTE;
                static_cast<Freed*>(self)->blocks_[block] = filled;
            },
            this);
    }
    // Whether the block was freed, and filled before.
    bool filled(const void* block) const {
        auto it = blocks_.find(block);
        return it != blocks_.end() && it->second;
    }
    bool freed(const void* block) const { return blocks_.count(block) != 0; }
    // Forgets what was freed so far: the allocator hands the same addresses out again.
    void forget() { blocks_.clear(); }
    AllocationWatch& watch() { return watch_; }

private:
    AllocationWatch watch_;
    std::map<const void*, bool> blocks_;
};

// ---- assignment into caller-owned rows ------------------------------------------------

TEST(AtAssignTest, NumbersTakeTheDestinationsWidthOtherValuesTheirOwnLength) {
    Bytes four = Num(0x11223344, 4);
    CK_ULONG wide = ~0UL;
    CK_ATTRIBUTE src{CKA_VALUE_LEN, four.data(), 4}, dst{CKA_VALUE_LEN, &wide, 8};
    ASSERT_EQ(at_assign(&dst, &src), CKR_OK);
    EXPECT_EQ(wide, 0x11223344u);
    EXPECT_EQ(dst.ulValueLen, 8u);
    CK_BYTE odd[3] = {9, 9, 9};
    Bytes two = Num(7, 2);
    CK_ATTRIBUTE narrow{CKA_VALUE_LEN, two.data(), 2}, three{CKA_VALUE_LEN, odd, 3};
    EXPECT_EQ(at_assign(&three, &narrow), CKR_GENERAL_ERROR);

    Bytes label(16, 'x');
    Bytes room(32, 0);
    CK_ATTRIBUTE text{CKA_LABEL, label.data(), 16}, into{CKA_LABEL, room.data(), 32};
    ASSERT_EQ(at_assign(&into, &text), CKR_OK);
    EXPECT_EQ(into.ulValueLen, 16u);
    EXPECT_EQ(Bytes(room.begin(), room.begin() + 16), label);
    CK_ATTRIBUTE small{CKA_LABEL, room.data(), 8};
    EXPECT_EQ(at_assign(&small, &text), CKR_BUFFER_TOO_SMALL);
    CK_ATTRIBUTE query{CKA_LABEL, nullptr, 0};
    ASSERT_EQ(at_assign(&query, &text), CKR_OK);
    EXPECT_EQ(query.ulValueLen, 16u);
    CK_ATTRIBUTE other{CKA_ID, room.data(), 32};
    EXPECT_EQ(at_assign(&other, &text), CKR_DATA_INVALID);
}

TEST(TransferAttrTest, OnlyTheLastRowDecidesAndTypesFollowTheSource) {
    Bytes a = Text("abcd");
    CK_BYTE b0[8], b1[2], b2[8];
    const CK_ATTRIBUTE src[] = {{CKA_LABEL, a.data(), 4}, {CKA_ID, a.data(), 4}, {CKA_CHECK_VALUE, a.data(), 3}};
    CK_ATTRIBUTE dst[] = {{FIND_ANY_ATTRIBUTE, b0, 8}, {CKA_ID, b1, 2}, {CKA_CHECK_VALUE_DEPRECATED, b2, 8}};
    EXPECT_EQ(TransferAttr(dst, src, 3), CKR_OK);  // the middle row did not fit
    EXPECT_EQ(dst[0].type, CKA_LABEL);
    EXPECT_EQ(dst[0].ulValueLen, 4u);
    EXPECT_EQ(dst[2].type, CKA_CHECK_VALUE);
    EXPECT_EQ(TransferAttr(dst, src, 2), CKR_BUFFER_TOO_SMALL);
    CK_ATTRIBUTE mismatched[] = {{CKA_CLASS, b0, 8}, {CKA_ID, b1, 8}};
    EXPECT_EQ(TransferAttr(mismatched, src, 2), CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(mismatched[1].ulValueLen, 8u);  // the walk stopped before it
    EXPECT_EQ(TransferAttr(nullptr, nullptr, 0), CKR_OK);
}

// ---- copies and matching -------------------------------------------------------------

TEST(DupAttributesTest, DeepCopiesWithoutTheDeprecatedCheckValue) {
    Bytes v = Text("key");
    const CK_ATTRIBUTE rows[] = {{CKA_CHECK_VALUE_DEPRECATED, v.data(), 3}, {CKA_LABEL, nullptr, 5}};
    AttributeSet* copy = DupAttributes(rows, 2);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(Types(copy), (std::vector<CK_ATTRIBUTE_TYPE>{CKA_CHECK_VALUE, CKA_LABEL}));
    EXPECT_NE(copy->attributes[0].pValue, v.data());
    EXPECT_EQ(ValueOf(copy, CKA_CHECK_VALUE), v);
    EXPECT_EQ(copy->attributes[1].pValue, nullptr);
    EXPECT_EQ(copy->attributes[1].ulValueLen, 5u);
    FreeAttributeSet(copy);
    AttributeSet* empty = DupAttributes(nullptr, 2);
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(empty->count, 2u);
    EXPECT_EQ(empty->attributes[1].type, 0u);
    FreeAttributeSet(empty);
}

TEST(MatchAttributeSetTest, LabelsMatchWithOrWithoutTheirNulOtherValuesExactly) {
    for (CK_ATTRIBUTE_TYPE type : {CKA_LABEL, CKA_ID}) {
        AttributeSet* bare = Make({{type, Text("abc")}});
        AttributeSet* terminated = Make({{type, Bytes{'a', 'b', 'c', 0}}});
        EXPECT_EQ(MatchAttributeSet(bare, terminated), type == CKA_LABEL);
        EXPECT_EQ(MatchAttributeSet(terminated, bare), type == CKA_LABEL);
        AttributeSet* twoMore = Make({{type, Bytes{'a', 'b', 'c', 0, 0}}});
        EXPECT_EQ(MatchAttributeSet(bare, twoMore), 0);
        FreeAttributeSet(bare);
        FreeAttributeSet(terminated);
        FreeAttributeSet(twoMore);
    }
    AttributeSet* empty = NewAttributeSet(0);
    AttributeSet* some = Make({{CKA_TOKEN, Bytes{1}}, {CKA_LABEL, Text("x")}});
    AttributeSet* subset = Make({{CKA_LABEL, Text("x")}});
    EXPECT_EQ(MatchAttributeSet(empty, some), 1);
    EXPECT_EQ(MatchAttributeSet(subset, some), 1);
    EXPECT_EQ(MatchAttributeSet(some, subset), 0);  // one way only
    EXPECT_EQ(MatchAttributeSet(nullptr, empty), 1);
    EXPECT_EQ(MatchAttributeSet(some, nullptr), 0);
    for (AttributeSet* s : {empty, some, subset}) FreeAttributeSet(s);
}

TEST(CopyAttributeTest, WritesTheSourceRowAndAnswersTheDestinations) {
    AttributeSet* src = Make({{CKA_LABEL, Text("new")}});
    AttributeSet* dst = Make({{CKA_LABEL, Text("old")}, {CKA_ID, Text("7")}});
    const CK_ATTRIBUTE* row = CopyAttribute(CKA_LABEL, dst, src);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(ValueOf(dst, CKA_LABEL), Text("new"));
    EXPECT_EQ(CopyAttribute(CKA_ID, dst, src), FindAttr(CKA_ID, dst));  // nothing to copy
    EXPECT_EQ(CopyAttribute(CKA_VALUE, dst, src), nullptr);
    FreeAttributeSet(src);
    FreeAttributeSet(dst);
}

// ---- the edit rule ---------------------------------------------------------------------

struct EditCase {
    const char* what;
    std::vector<std::pair<CK_ATTRIBUTE_TYPE, Bytes>> object;
    CK_ATTRIBUTE_TYPE type;
    Bytes value;
    CK_RV copy;  // CopyAttr's answer; AddAttr's is the same unless add says otherwise
    CK_RV add;
};

TEST(EditRuleTest, WhatMayChangeOnAnObject) {
    const Bytes date = Text("20261123");
    const EditCase cases[] = {
        {"TOKEN again", {{CKA_TOKEN, {1}}}, CKA_TOKEN, {1}, CKR_OK, CKR_OK},
        {"TOKEN changed", {{CKA_TOKEN, {1}}}, CKA_TOKEN, {0}, CKR_OK, CKR_ATTRIBUTE_READ_ONLY},
        {"CLASS changed", {{CKA_CLASS, Num(4)}}, CKA_CLASS, Num(3), CKR_ATTRIBUTE_READ_ONLY, CKR_ATTRIBUTE_READ_ONLY},
        {"EXTRACTABLE lowered", {{CKA_EXTRACTABLE, {1}}}, CKA_EXTRACTABLE, {0}, CKR_OK, CKR_OK},
        {"EXTRACTABLE raised", {{CKA_EXTRACTABLE, {0}}}, CKA_EXTRACTABLE, {1}, CKR_ATTRIBUTE_READ_ONLY,
         CKR_ATTRIBUTE_READ_ONLY},
        {"SENSITIVE raised", {{CKA_SENSITIVE, {0}}}, CKA_SENSITIVE, {1}, CKR_OK, CKR_OK},
        {"SENSITIVE lowered", {{CKA_SENSITIVE, {1}}}, CKA_SENSITIVE, {0}, CKR_ATTRIBUTE_READ_ONLY,
         CKR_ATTRIBUTE_READ_ONLY},
        {"data VALUE", {{CKA_CLASS, Num(0)}, {CKA_VALUE, {1}}}, CKA_VALUE, {2}, CKR_OK, CKR_OK},
        {"sensitive VALUE", {{CKA_SENSITIVE, {1}}, {CKA_VALUE, {1}}}, CKA_VALUE, {2}, CKR_ATTRIBUTE_READ_ONLY,
         CKR_ATTRIBUTE_READ_ONLY},
        {"sensitive VALUE again", {{CKA_SENSITIVE, {1}}, {CKA_VALUE, {1}}}, CKA_VALUE, {1}, CKR_OK, CKR_OK},
        {"trusted VALUE", {{CKA_TRUSTED, {1}}, {CKA_VALUE, {1}}}, CKA_VALUE, {2}, CKR_ATTRIBUTE_READ_ONLY,
         CKR_ATTRIBUTE_READ_ONLY},
        {"empty START_DATE", {{CKA_START_DATE, {}}}, CKA_START_DATE, date, CKR_OK, CKR_OK},
        {"set START_DATE", {{CKA_START_DATE, date}}, CKA_START_DATE, Text("20270101"), CKR_ATTRIBUTE_READ_ONLY,
         CKR_ATTRIBUTE_READ_ONLY},
        {"secret VALUE_LEN", {{CKA_CLASS, Num(4, 4)}, {CKA_VALUE_LEN, Num(16)}}, CKA_VALUE_LEN, Num(32),
         CKR_ATTRIBUTE_READ_ONLY, CKR_ATTRIBUTE_READ_ONLY},
        {"public EC_POINT", {{CKA_CLASS, Num(2)}, {CKA_EC_POINT, {4}}}, CKA_EC_POINT, {5}, CKR_ATTRIBUTE_READ_ONLY,
         CKR_ATTRIBUTE_READ_ONLY},
        {"DSA ENCRYPT", {{CKA_CLASS, Num(3)}, {CKA_KEY_TYPE, Num(CKK_DSA)}, {CKA_ENCRYPT, {0}}}, CKA_ENCRYPT, {1},
         CKR_ATTRIBUTE_READ_ONLY, CKR_ATTRIBUTE_READ_ONLY},
        {"RSA ENCRYPT", {{CKA_CLASS, Num(3)}, {CKA_KEY_TYPE, Num(0)}, {CKA_ENCRYPT, {0}}}, CKA_ENCRYPT, {1}, CKR_OK,
         CKR_OK},
        {"class unreadable", {{CKA_CLASS, Bytes(3, 0)}, {CKA_EC_POINT, {4}}}, CKA_EC_POINT, {5}, CKR_OK, CKR_OK},
    };
    for (const EditCase& c : cases) {
        for (bool add : {false, true}) {
            SCOPED_TRACE(std::string(c.what) + (add ? " by AddAttr" : " by CopyAttr"));
            AttributeSet* set = Make(c.object);
            const Bytes before = ValueOf(set, c.type);
            const CK_RV rv = (add ? AddAttr : CopyAttr)(c.value.data(), c.value.size(), c.type, set);
            EXPECT_EQ(rv, add ? c.add : c.copy);
            EXPECT_EQ(ValueOf(set, c.type), rv == CKR_OK ? c.value : before);
            EXPECT_EQ(set->count, c.object.size());
            FreeAttributeSet(set);
        }
    }
}

TEST(EditRuleTest, ASetStopsGrowingAboveTheLimit) {
    AttributeSet* set = NewAttributeSet(0);
    const CK_BYTE one = 1;
    for (CK_ULONG i = 0; i < ATTRIBUTE_SET_LIMIT; ++i) ASSERT_EQ(WriteAttr(&one, 1, 0x1000 + i, set), CKR_OK);
    EXPECT_EQ(CopyAttr(&one, 1, CKA_LABEL, set), CKR_OK);  // 1,000 rows take one more
    EXPECT_EQ(set->count, ATTRIBUTE_SET_LIMIT + 1);
    for (auto op : {WriteAttr, CopyAttr, AddAttr}) {
        EXPECT_EQ(op(&one, 1, CKA_ID, set), CKR_HOST_MEMORY);
        EXPECT_EQ(op(&one, 1, CKA_LABEL, set), CKR_HOST_MEMORY);  // a row it holds, too
    }
    FreeAttributeSet(set);
}

// ---- reading and deleting -----------------------------------------------------------------

TEST(RwAttrTest, ReadDeleteAndTheObjectsIdentity) {
    Freed freed;
    AttributeSet* set = Make({{CKA_LABEL, Text("0123456789")}, {CKA_ID, {1}}, {CKA_CLASS, Num(CKO_SECRET_KEY, 4)}});
    CK_BYTE buffer[4] = {9, 9, 9, 9};
    CK_ULONG length = 0;
    ASSERT_EQ(ReadAttr(buffer, 4, &length, CKA_LABEL, set), 1);
    EXPECT_EQ(Bytes(buffer, buffer + 4), Text("0123"));
    EXPECT_EQ(length, 10u);
    EXPECT_EQ(ReadAttr(buffer, 4, &length, CKA_VALUE, set), 0);
    EXPECT_EQ(length, 10u);

    CK_ULONG objectClass = ~0UL, keyType = 77;
    EXPECT_EQ(GetObjectClassAndKeyType(set, &objectClass, &keyType), CKR_KEY_HANDLE_INVALID);
    EXPECT_EQ(objectClass, CKO_SECRET_KEY);  // four bytes of it, the rest cleared
    EXPECT_EQ(keyType, 77u);

    const void* label = FindAttr(CKA_LABEL, set)->pValue;
    ASSERT_EQ(DelAttr(CKA_LABEL, set), CKR_OK);
    EXPECT_TRUE(freed.filled(label));
    EXPECT_EQ(Types(set), (std::vector<CK_ATTRIBUTE_TYPE>{CKA_CLASS, CKA_ID}));
    EXPECT_EQ(DelAttr(CKA_LABEL, set), CKR_ATTRIBUTE_TYPE_INVALID);
    ASSERT_EQ(DelAttr(CKA_ID, set), CKR_OK);
    ASSERT_EQ(DelAttr(CKA_CLASS, set), CKR_OK);
    EXPECT_EQ(set->attributes, nullptr);
    EXPECT_EQ(set->count, 0u);
    EXPECT_EQ(DelAttr(CKA_CLASS, nullptr), CKR_HOST_MEMORY);
    FreeAttributeSet(set);

    const CK_ATTRIBUTE shorter{CKA_ID, buffer, 3}, longer{CKA_ID, buffer, 4};
    EXPECT_EQ(attrcmp(&shorter, &longer), -1);
    EXPECT_EQ(attrcmp(&longer, &shorter), 1);
    EXPECT_EQ(attrcmpbuf(&longer, "0124", 4), memcmp("0123", "0124", 4));
}

// ---- merging -----------------------------------------------------------------------------

TEST(AddAttributeSetsTest, LaysTheAddedRowsOverACopySortedByType) {
    AttributeSet* base = Make({{0x80000201, {}}, {CKA_LABEL, Text("a")}, {CKA_CHECK_VALUE_DEPRECATED, {7}},
                               {CKA_CLASS, Num(CKO_SECRET_KEY)}});
    AttributeSet* add = Make({{CKA_LABEL, Text("b")}, {CKA_TOKEN, {1}}});
    AttributeSet* result = nullptr;
    ASSERT_EQ(AddAttributeSets(&result, add, base), CKR_OK);
    EXPECT_EQ(Types(result), (std::vector<CK_ATTRIBUTE_TYPE>{CKA_CLASS, CKA_TOKEN, CKA_LABEL, CKA_CHECK_VALUE,
                                                             0x80000201}));
    EXPECT_EQ(ValueOf(result, CKA_LABEL), Text("b"));
    EXPECT_EQ(ValueOf(base, CKA_LABEL), Text("a"));
    FreeAttributeSet(result);

    AttributeSet* clash = Make({{CKA_CLASS, Num(CKO_PRIVATE_KEY)}});
    result = base;
    EXPECT_EQ(AddAttributeSets(&result, clash, base), CKR_TEMPLATE_INCONSISTENT);
    EXPECT_EQ(result, nullptr);
    result = base;
    EXPECT_EQ(AddAttributeSets(&result, nullptr, base), CKR_HOST_MEMORY);
    EXPECT_EQ(result, nullptr);
    for (AttributeSet* s : {base, add, clash}) FreeAttributeSet(s);
}

TEST(ConcatAttributeSetsTest, FillsInWhatTheDestinationLacks) {
    AttributeSet* dst = Make({{CKA_LABEL, Text("a")}});
    AttributeSet* src = Make({{CKA_ID, {1}}, {CKA_LABEL, Text("b")}, {CKA_VALUE, {}}});
    ASSERT_EQ(ConcatAttributeSets(dst, src), CKR_OK);
    EXPECT_EQ(Types(dst), (std::vector<CK_ATTRIBUTE_TYPE>{CKA_LABEL, CKA_ID, CKA_VALUE}));
    EXPECT_EQ(ValueOf(dst, CKA_LABEL), Text("a"));
    EXPECT_EQ(dst->attributes[2].pValue, nullptr);

    AttributeSet* fixed = Make({{CKA_MODIFIABLE, {0}}});
    AttributeSet* empty = NewAttributeSet(0);
    EXPECT_EQ(ConcatAttributeSets(fixed, empty), CKR_OK);
    EXPECT_EQ(ConcatAttributeSets(nullptr, empty), CKR_OK);
    EXPECT_EQ(ConcatAttributeSets(fixed, src), CKR_ATTRIBUTE_READ_ONLY);
    EXPECT_EQ(ConcatAttributeSets(nullptr, src), CKR_HOST_MEMORY);
    for (AttributeSet* s : {dst, src, fixed, empty}) FreeAttributeSet(s);
}

// ---- what is dropped is filled; what fails to allocate leaves a whole set -------------------

TEST(AttributeMemoryTest, EveryDroppedValueIsFilledFirst) {
    Freed freed;  // sees the blocks taken while it lives
    AttributeSet* set = Make({{CKA_LABEL, Text("secret label")}, {CKA_VALUE, Text("key bytes")}});
    std::vector<const void*> values = {set->attributes[0].pValue, set->attributes[1].pValue};
    ASSERT_EQ(WriteAttr("x", 1, CKA_LABEL, set), CKR_OK);
    ASSERT_EQ(CopyAttr("y", 1, CKA_VALUE, set), CKR_OK);
    EXPECT_TRUE(freed.filled(values[0]));
    EXPECT_TRUE(freed.filled(values[1]));
    values = {set->attributes[0].pValue, set->attributes[1].pValue};
    FreeAttributeSet(set);
    EXPECT_TRUE(freed.filled(values[0]));
    EXPECT_TRUE(freed.filled(values[1]));

    auto* rows = static_cast<CK_ATTRIBUTE*>(calloc(2, sizeof(CK_ATTRIBUTE)));
    const void* value = rows[0].pValue = calloc(4, 1);
    rows[0].ulValueLen = 4;
    FreeAttributesNoClear(rows, 2);
    EXPECT_TRUE(freed.freed(value));
    EXPECT_FALSE(freed.filled(value));
    EXPECT_TRUE(freed.freed(rows));

    freed.forget();
    rows = static_cast<CK_ATTRIBUTE*>(calloc(1, sizeof(CK_ATTRIBUTE)));
    value = rows[0].pValue = calloc(4, 1);
    rows[0].ulValueLen = 4;
    FreeAttributes(rows, 0);  // the array alone
    EXPECT_TRUE(freed.freed(rows));
    EXPECT_FALSE(freed.freed(value));
    free(const_cast<void*>(value));
    EXPECT_EQ(freed.watch().tally().blocks, 0);
}

// Each allocation of each operation fails in turn: the answer is
// CKR_HOST_MEMORY or null, and once the sets are released nothing is left,
// so no value was lost between a set and its caller.
TEST(AttributeMemoryTest, EveryAllocationFailureLeavesAWholeSet) {
    const std::vector<std::pair<CK_ATTRIBUTE_TYPE, Bytes>> rows = {
        {CKA_CLASS, Num(CKO_DATA)}, {CKA_LABEL, Text("label")}, {CKA_VALUE, Text("value")}};
    const Bytes added = Text("added");
    for (int op = 0; op < 5; ++op) {
        int failures = 0;
        for (int n = 1;; ++n) {
            // The row array of a copy, which DupAttributes uses untested.
            if ((op == 2 || op == 3) && n == 2) continue;
            SCOPED_TRACE("operation " + std::to_string(op) + ", allocation " + std::to_string(n) + " fails");
            AllocationWatch watch;
            AttributeSet* base = Make(rows);
            AttributeSet* other = Make({{CKA_ID, added}, {CKA_APPLICATION, added}, {CKA_LABEL, added}});
            AttributeSet* result = nullptr;
            CK_RV rv = CKR_OK;
            const int before = watch.allocations();
            watch.failAllocation(n);
            switch (op) {
                case 0: rv = WriteAttr(added.data(), added.size(), CKA_ID, base); break;
                case 1: rv = CopyAttr(added.data(), added.size(), CKA_LABEL, base); break;
                case 2: result = DupAttributeSet(base); rv = result ? CKR_OK : CKR_HOST_MEMORY; break;
                case 3: rv = AddAttributeSets(&result, other, base); break;
                case 4: rv = ConcatAttributeSets(base, other); break;
            }
            const bool failed = watch.allocations() - before >= n;
            watch.failAllocation(0);
            EXPECT_EQ(rv, failed ? CKR_HOST_MEMORY : CKR_OK);
            if (failed) {
                EXPECT_EQ(result, nullptr);
            }
            FreeAttributeSet(result);
            FreeAttributeSet(base);
            FreeAttributeSet(other);
            const morlin_test::AllocationTally t = watch.tally();
            EXPECT_EQ(t.blocks, 0) << t.bytes << " bytes left behind";
            if (!failed) break;
            ++failures;
        }
        EXPECT_GE(failures, 1) << "operation " << op;
    }
}

}  // namespace
