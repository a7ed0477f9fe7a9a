// Attribute sets against a model kept beside them: random edits, merges and
// matches of small sets whose types and values collide often, so that the
// edit rule, the wild card and the check value's alias all come into play.
// The seed is printed with every failure; MORLIN_PROPERTY_SEED replays it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "morlin_util.h"

namespace {

using Bytes = std::vector<CK_BYTE>;
using Rng = std::mt19937_64;

struct Row {
    CK_ATTRIBUTE_TYPE type;
    Bytes value;  // the set holds a null pValue exactly for an empty value
};
using Model = std::vector<Row>;

constexpr int kCases = 3000;
constexpr CK_ATTRIBUTE_TYPE kWild = 0xFFFF, kOldCheck = 0x80000103, kExportable = 0x80000129;
constexpr CK_ATTRIBUTE_TYPE kPool[] = {
    CKA_CLASS,      CKA_TOKEN,       CKA_PRIVATE,   CKA_LABEL,       CKA_VALUE,      CKA_CERTIFICATE_TYPE,
    CKA_TRUSTED,    CKA_CHECK_VALUE, CKA_KEY_TYPE,  CKA_ID,          CKA_SENSITIVE,  CKA_ENCRYPT,
    CKA_START_DATE, CKA_EC_POINT,    CKA_VALUE_LEN, CKA_EXTRACTABLE, CKA_MODIFIABLE, kOldCheck,
    kExportable,    0x80000201};

uint64_t Seed() {
    static const char* text = getenv("MORLIN_PROPERTY_SEED");
    static const uint64_t seed = text != nullptr && *text != '\0' ? strtoull(text, nullptr, 0) : std::random_device()();
    return seed;
}

size_t Pick(Rng& rng, size_t n) { return std::uniform_int_distribution<size_t>(0, n - 1)(rng); }
bool In(CK_ATTRIBUTE_TYPE t, std::initializer_list<CK_ATTRIBUTE_TYPE> list) {
    return std::find(list.begin(), list.end(), t) != list.end();
}
Bytes Number(uint64_t v, size_t width) {
    Bytes b(width);
    for (size_t i = 0; i < width; ++i) b[i] = static_cast<CK_BYTE>(v >> (8 * i));
    return b;
}

// ---- the rules, over the model ------------------------------------------------

// First row of the type; the wild card takes the first row, and the old check
// value falls back to CKA_CHECK_VALUE.
int Find(const Model& m, CK_ATTRIBUTE_TYPE type) {
    for (size_t i = 0; i < m.size(); ++i)
        if (type == kWild || m[i].type == type) return static_cast<int>(i);
    if (type == kOldCheck)
        for (size_t i = 0; i < m.size(); ++i)
            if (m[i].type == CKA_CHECK_VALUE) return static_cast<int>(i);
    return -1;
}

// Little-endian number of width 1, 2, 4 or 8; all ones when unreadable.
uint64_t NumLookup(const Model& m, CK_ATTRIBUTE_TYPE type) {
    const int i = Find(m, type);
    if (i < 0 || !In(m[i].value.size(), {1, 2, 4, 8})) return ~0ULL;
    uint64_t v = 0;
    for (size_t k = 0; k < m[i].value.size(); ++k) v |= static_cast<uint64_t>(m[i].value[k]) << (8 * k);
    return v;
}
// The same as a signed 32-bit number: 4 and 8 bytes give their low half.
int64_t IntLookup(const Model& m, CK_ATTRIBUTE_TYPE type) {
    const uint64_t v = NumLookup(m, type);
    if (v == ~0ULL) return -1;
    return m[Find(m, type)].value.size() >= 4 ? static_cast<int32_t>(v) : static_cast<int64_t>(v);
}

// Whether a new value of row r must equal r's: the first line that applies.
bool MustEqual(const Model& m, const Row& r, bool strict) {
    const CK_ATTRIBUTE_TYPE t = r.type;
    if (In(t, {CKA_START_DATE, CKA_END_DATE, 0x80000201})) return !r.value.empty();
    if (In(t, {CKA_CLASS, CKA_CERTIFICATE_TYPE, CKA_CHECK_VALUE, CKA_KEY_TYPE, CKA_LOCAL, CKA_KEY_GEN_MECHANISM,
               0x80000101, 0x80000102, kOldCheck, 0x80000151, 0x80000200}))
        return true;
    if (strict && In(t, {CKA_TOKEN, CKA_PRIVATE, CKA_MODIFIABLE})) return true;
    if (In(t, {CKA_EXTRACTABLE, kExportable})) return !r.value.empty() && r.value[0] == 0;
    if (t == CKA_SENSITIVE) return !r.value.empty() && r.value[0] != 0;
    if (t == CKA_VALUE && (NumLookup(m, CKA_SENSITIVE) == 1 || NumLookup(m, CKA_TRUSTED) == 1)) return true;
    const uint64_t cls = NumLookup(m, CKA_CLASS);
    if (cls == CKO_SECRET_KEY && In(t, {CKA_VALUE, CKA_VALUE_LEN})) return true;
    if (cls != CKO_PUBLIC_KEY && cls != CKO_PRIVATE_KEY) return false;
    if (t == CKA_VALUE || (t >= 0x120 && t <= 0x128) || (t >= 0x130 && t <= 0x134) ||
        In(t, {CKA_VALUE_BITS, CKA_EC_PARAMS, CKA_EC_POINT, 0x8000012c}))
        return true;
    return NumLookup(m, CKA_KEY_TYPE) == CKK_DSA && In(t, {0x104, 0x105, 0x106, 0x107, 0x80000128, 0x8000012b});
}

enum Op { kWrite, kCopy, kAdd, kDel };
const char* const kOpName[] = {"WriteAttr", "CopyAttr", "AddAttr", "DelAttr"};

CK_RV Edit(Model& m, Op op, CK_ATTRIBUTE_TYPE type, const Bytes& v) {
    const int i = Find(m, type);
    if (op == kDel && i < 0) return CKR_ATTRIBUTE_TYPE_INVALID;
    if (op == kDel) {
        m[i] = m.back();  // the last row fills the gap
        m.pop_back();
    } else if (i < 0) {
        m.push_back({type, v});
    } else if (op != kWrite && MustEqual(m, m[i], op == kAdd)) {
        return m[i].value == v ? CKR_OK : CKR_ATTRIBUTE_READ_ONLY;
    } else {
        m[i] = {type, v};  // the found row takes the type asked for
    }
    return CKR_OK;
}

Model Dup(Model m) {
    for (Row& r : m)
        if (r.type == kOldCheck) r.type = CKA_CHECK_VALUE;
    return m;
}

bool Match(const Model& needle, const Model& haystack) {
    for (const Row& w : needle) {
        auto h = std::find_if(haystack.begin(), haystack.end(), [&](const Row& r) { return r.type == w.type; });
        if (h == haystack.end()) return false;
        if (h->value == w.value) continue;
        const Bytes& longer = h->value.size() > w.value.size() ? h->value : w.value;
        const Bytes& shorter = h->value.size() > w.value.size() ? w.value : h->value;
        if (w.type != CKA_LABEL || longer.size() != shorter.size() + 1 || longer.back() != 0 ||
            !std::equal(shorter.begin(), shorter.end(), longer.begin()))
            return false;
    }
    return true;
}

// ---- random sets ------------------------------------------------------------------

CK_ATTRIBUTE_TYPE RandomType(Rng& rng) { return Pick(rng, 40) == 0 ? kWild : kPool[Pick(rng, std::size(kPool))]; }

// Few distinct values, so that equal ones are common. Numbers are 1 to 4 in
// 1 or 8 bytes, now and then 2 or 4, or with a high half that only a
// full-width reading sees; flags are one byte.
Bytes RandomValue(Rng& rng, CK_ATTRIBUTE_TYPE type) {
    static const Bytes kShort[] = {{}, {0}, {1}, {'a'}, {'a', 0}, {'a', 'b'}, {'a', 'b', 0}, {1, 0, 0, 0}};
    const bool number = In(type, {CKA_CLASS, CKA_CERTIFICATE_TYPE, CKA_KEY_TYPE, CKA_VALUE_LEN});
    const bool flag = In(type, {CKA_TOKEN, CKA_PRIVATE, CKA_TRUSTED, CKA_SENSITIVE, CKA_ENCRYPT, CKA_EXTRACTABLE,
                                CKA_MODIFIABLE, kExportable});
    if (Pick(rng, 8) == 0) {
        Bytes b(Pick(rng, 5));
        for (CK_BYTE& c : b) c = "\0\1a"[Pick(rng, 3)];
        return b;
    }
    if (number || flag) {
        const uint64_t v = number ? 1 + Pick(rng, 4) : Pick(rng, 2);
        constexpr size_t kWidth[] = {2, 4, 8, 8, 8, 1, 1, 1, 1, 1};
        const size_t form = Pick(rng, std::size(kWidth));
        return Number(form == 2 ? v | 1ULL << 32 : v, kWidth[form]);
    }
    return kShort[Pick(rng, std::size(kShort))];
}

// 0 to 12 rows; unique sets hold each exact type once.
Model RandomSet(Rng& rng, bool unique) {
    Model m;
    const size_t n = Pick(rng, 13);
    while (m.size() < n) {
        const CK_ATTRIBUTE_TYPE t = RandomType(rng);
        if (unique && std::any_of(m.begin(), m.end(), [t](const Row& r) { return r.type == t; })) continue;
        m.push_back({t, RandomValue(rng, t)});
    }
    return m;
}

// A real set with malloc'd values, as FreeAttributeSet expects.
AttributeSet* Build(const Model& m) {
    AttributeSet* set = NewAttributeSet(m.size());
    for (size_t i = 0; i < m.size(); ++i) {
        void* value = m[i].value.empty() ? nullptr : malloc(m[i].value.size());
        if (value != nullptr) memcpy(value, m[i].value.data(), m[i].value.size());
        set->attributes[i] = CK_ATTRIBUTE{m[i].type, value, m[i].value.size()};
    }
    return set;
}

std::string Show(const Model& m) {
    std::ostringstream out;
    out << std::hex << "{";
    for (const Row& r : m) {
        out << " 0x" << r.type << ":";
        for (CK_BYTE b : r.value) out << (b < 16 ? "0" : "") << static_cast<int>(b);
    }
    return out.str() + " }";
}

Bytes ValueOf(const CK_ATTRIBUTE& a) {
    const auto* p = static_cast<const CK_BYTE*>(a.pValue);
    return p == nullptr ? Bytes() : Bytes(p, p + a.ulValueLen);
}

// The set holds the model's rows in the model's order, and a null value
// exactly where the value is empty.
::testing::AssertionResult Agrees(const AttributeSet* set, const Model& m) {
    const auto same = [](const Row& r, const CK_ATTRIBUTE& a) {
        return a.type == r.type && a.ulValueLen == r.value.size() && (a.pValue == nullptr) == r.value.empty() &&
               (r.value.empty() || memcmp(a.pValue, r.value.data(), r.value.size()) == 0);
    };
    if (set != nullptr && set->count == m.size() && std::equal(m.begin(), m.end(), set->attributes, same))
        return ::testing::AssertionSuccess();
    Model seen;
    std::string nulls;
    for (CK_ULONG i = 0; set != nullptr && i < set->count; ++i) {
        const CK_ATTRIBUTE& a = set->attributes[i];
        seen.push_back({a.type, ValueOf(a)});
        if ((a.pValue == nullptr) != (a.ulValueLen == 0)) nulls += " row " + std::to_string(i) + " has a null value";
    }
    return ::testing::AssertionFailure() << "set " << (set ? Show(seen) : "null") << nulls << "\nmodel " << Show(m);
}

// The generator still leads to both answers: n of total is neither rare nor
// nearly all (not judged once a case has failed).
void Reached(int n, int total, const char* what) {
    if (::testing::Test::HasFailure()) return;
    EXPECT_TRUE(n > total / 50 && n < total - total / 50) << what << ": " << n << " of " << total;
}

#define CASE_TRACE(c) SCOPED_TRACE(::testing::Message() << "MORLIN_PROPERTY_SEED=" << Seed() << " case " << (c))

// ---- properties ---------------------------------------------------------------------

CK_RV Apply(Op op, CK_ATTRIBUTE_TYPE type, const Bytes& v, AttributeSet* set) {
    if (op == kDel) return DelAttr(type, set);
    return (op == kWrite ? WriteAttr : op == kCopy ? CopyAttr : AddAttr)(v.data(), v.size(), type, set);
}

TEST(AttrSetPropertyTest, EditsAgreeWithTheRuleAfterEveryStep) {
    Rng rng(Seed() ^ 1);
    int outcomes[3] = {};  // stored, refused, no row to delete
    for (int c = 0; c < kCases && !HasFailure(); ++c) {
        CASE_TRACE(c);
        Model model = RandomSet(rng, Pick(rng, 4) != 0);
        AttributeSet* set = Build(model);
        for (int step = 0; step < 10 && !HasFailure(); ++step) {
            const Op op = static_cast<Op>(Pick(rng, 4));
            const CK_ATTRIBUTE_TYPE type = RandomType(rng);
            const int held = Find(model, type);
            const Bytes value = held >= 0 && Pick(rng, 5) < 2 ? model[held].value : RandomValue(rng, type);
            const Model before = model;
            const CK_RV expected = Edit(model, op, type, value);
            EXPECT_EQ(Apply(op, type, value, set), expected);
            EXPECT_TRUE(Agrees(set, model));
            if (model.empty()) {
                EXPECT_EQ(set->attributes, nullptr) << "an emptied set keeps no array";
            }
            if (HasFailure())
                ADD_FAILURE() << "at step " << step << ": " << kOpName[op] << " of type 0x" << std::hex << type
                              << " value " << Show({{type, value}}) << " on " << Show(before);
            ++outcomes[expected == CKR_OK ? 0 : expected == CKR_ATTRIBUTE_READ_ONLY ? 1 : 2];
        }
        FreeAttributeSet(set);
    }
    Reached(outcomes[0], kCases * 10, "stored");
    Reached(outcomes[1], kCases * 10, "refused");
    Reached(outcomes[2], kCases * 10, "nothing to delete");
}

TEST(AttrSetPropertyTest, AddAttributeSetsIsASortedCopyUnderTheRuleOrNothing) {
    Rng rng(Seed() ^ 2);
    int failures = 0;
    for (int c = 0; c < kCases && !HasFailure(); ++c) {
        CASE_TRACE(c);
        const Model base = RandomSet(rng, Pick(rng, 4) != 0), add = RandomSet(rng, Pick(rng, 4) != 0);
        Model expected = Dup(base);
        CK_RV expectedRv = CKR_OK;
        for (size_t i = 0; i < add.size() && expectedRv == CKR_OK; ++i)
            if (Edit(expected, kCopy, add[i].type, add[i].value) != CKR_OK) expectedRv = CKR_TEMPLATE_INCONSISTENT;
        AttributeSet *baseSet = Build(base), *addSet = Build(add);
        AttributeSet sentinel{nullptr, 0};
        AttributeSet* result = &sentinel;  // must be overwritten
        EXPECT_EQ(AddAttributeSets(&result, addSet, baseSet), expectedRv);
        if (expectedRv != CKR_OK) {
            ++failures;
            EXPECT_EQ(result, nullptr);
        } else if (result != nullptr && result != &sentinel) {
            // qsort may put rows of one type either way round: see the set
            // sorted by type, then compare both sorted by type and value.
            CK_ATTRIBUTE* rows = result->attributes;
            EXPECT_TRUE(std::is_sorted(rows, rows + result->count, [](auto& x, auto& y) { return x.type < y.type; }));
            if (result->count > 1)
                std::sort(rows, rows + result->count, [](auto& x, auto& y) {
                    return std::make_pair(x.type, ValueOf(x)) < std::make_pair(y.type, ValueOf(y));
                });
            std::sort(expected.begin(), expected.end(),
                      [](auto& x, auto& y) { return std::tie(x.type, x.value) < std::tie(y.type, y.value); });
            EXPECT_TRUE(Agrees(result, expected));
        } else {
            ADD_FAILURE() << "no result set";
        }
        EXPECT_TRUE(Agrees(baseSet, base)) << "the base is not written";
        EXPECT_TRUE(Agrees(addSet, add)) << "the added set is not written";
        if (result != &sentinel) FreeAttributeSet(result);
        if (HasFailure()) ADD_FAILURE() << "base " << Show(base) << "\nadd " << Show(add);
        FreeAttributeSet(baseSet);
        FreeAttributeSet(addSet);
    }
    Reached(failures, kCases, "inconsistent");
}

TEST(AttrSetPropertyTest, ConcatAppendsWhatTheDestinationLacksInOrder) {
    Rng rng(Seed() ^ 3);
    int refused = 0;
    for (int c = 0; c < kCases && !HasFailure(); ++c) {
        CASE_TRACE(c);
        const Model src = RandomSet(rng, Pick(rng, 4) != 0), dst = RandomSet(rng, Pick(rng, 4) != 0);
        Model expected = dst;
        CK_RV expectedRv = CKR_OK;
        if (!src.empty() && IntLookup(dst, CKA_MODIFIABLE) == 0) {
            expectedRv = CKR_ATTRIBUTE_READ_ONLY;
            ++refused;
        } else {
            for (const Row& r : src)
                if (Find(expected, r.type) < 0) expected.push_back(r);
        }
        AttributeSet *dstSet = Build(dst), *srcSet = Build(src);
        EXPECT_EQ(ConcatAttributeSets(dstSet, srcSet), expectedRv);
        EXPECT_TRUE(Agrees(dstSet, expected));
        EXPECT_TRUE(Agrees(srcSet, src)) << "the source is not written";
        EXPECT_EQ(ConcatAttributeSets(nullptr, srcSet), src.empty() ? CKR_OK : CKR_HOST_MEMORY);
        if (HasFailure()) ADD_FAILURE() << "destination " << Show(dst) << "\nsource " << Show(src);
        FreeAttributeSet(dstSet);
        FreeAttributeSet(srcSet);
    }
    Reached(refused, kCases, "read-only destination");
}

// Another set close to m: shuffled, some values changed, labels with their
// NUL put on or taken off, rows dropped, rows of any type put anywhere.
Model Variant(Rng& rng, Model m) {
    std::shuffle(m.begin(), m.end(), rng);
    for (size_t i = 0; i < m.size(); ++i) {
        Bytes& v = m[i].value;
        const size_t dice = Pick(rng, 12);
        if (dice == 0) v = RandomValue(rng, m[i].type);
        if (dice == 1 || (m[i].type == CKA_LABEL && dice < 5)) v.empty() || v.back() ? v.push_back(0) : v.pop_back();
        if (dice == 11) m.erase(m.begin() + static_cast<long>(i--));
    }
    for (size_t n = Pick(rng, 3); n > 0; --n) {
        const CK_ATTRIBUTE_TYPE t = RandomType(rng);
        m.insert(m.begin() + static_cast<long>(Pick(rng, m.size() + 1)), Row{t, RandomValue(rng, t)});
    }
    return m;
}

TEST(AttrSetPropertyTest, MatchIsOneWayByExactTypeAndACopyMatchesItsOriginal) {
    Rng rng(Seed() ^ 4);
    int matched = 0;
    EXPECT_EQ(MatchAttributeSet(nullptr, nullptr), 1);
    for (int c = 0; c < kCases && !HasFailure(); ++c) {
        CASE_TRACE(c);
        const bool unique = Pick(rng, 4) != 0;
        const Model a = RandomSet(rng, unique);
        const Model b = Pick(rng, 4) == 0 ? RandomSet(rng, unique) : Variant(rng, a);
        AttributeSet *aSet = Build(a), *bSet = Build(b), *copy = DupAttributeSet(aSet);
        EXPECT_EQ(MatchAttributeSet(aSet, bSet), Match(a, b) ? 1 : 0);
        EXPECT_EQ(MatchAttributeSet(bSet, aSet), Match(b, a) ? 1 : 0);
        matched += Match(a, b);
        EXPECT_EQ(MatchAttributeSet(aSet, aSet), 1);  // one set, whatever rows it holds
        EXPECT_EQ(MatchAttributeSet(nullptr, aSet), a.empty() ? 1 : 0);
        EXPECT_EQ(MatchAttributeSet(aSet, nullptr), a.empty() ? 1 : 0);
        // The copy stores the old check value as CKA_CHECK_VALUE, which then
        // no longer matches; otherwise a set of one row per type matches it.
        EXPECT_TRUE(Agrees(copy, Dup(a)));
        EXPECT_EQ(MatchAttributeSet(aSet, copy), Match(a, Dup(a)) ? 1 : 0);
        if (unique && Find(a, kOldCheck) < 0) {
            EXPECT_EQ(MatchAttributeSet(aSet, copy), 1);
        }
        if (HasFailure()) ADD_FAILURE() << "a " << Show(a) << "\nb " << Show(b);
        FreeAttributeSet(aSet);
        FreeAttributeSet(bSet);
        FreeAttributeSet(copy);
    }
    Reached(matched, kCases, "matched");
}

}  // namespace
