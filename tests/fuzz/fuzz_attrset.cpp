// Attribute sets under random sequences of writes, rule-bound edits,
// deletions, merges, copies and matches, each checked against a small
// model of the rows it must leave. After every step the set's count and
// array agree and every value block is as long as its row says; every value
// a set frees is first filled; the single-row helpers (number reads,
// assignment by width, transfer, read, compare) agree with their contracts.
// LeakSanitizer checks that FreeAttributeSet leaves nothing behind.
#include <sanitizer/allocator_interface.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <tuple>

#include "input.h"
#include "morlin_util.h"

namespace {

// The types the edit rule names, the two that search differently, and a
// vendor date and flag; other types come raw from the input.
const CK_ATTRIBUTE_TYPE kTypes[] = {
    CKA_CLASS,      CKA_TOKEN,       CKA_PRIVATE,     CKA_LABEL,          CKA_VALUE,          CKA_CHECK_VALUE,
    CKA_KEY_TYPE,   CKA_SENSITIVE,   CKA_ENCRYPT,     CKA_START_DATE,     CKA_VALUE_LEN,      CKA_EXTRACTABLE,
    CKA_MODIFIABLE, CKA_EC_POINT,    0x121UL /* modulus bits */, CKA_TRUSTED,       CKA_CHECK_VALUE_DEPRECATED,
    FIND_ANY_ATTRIBUTE, 0x80000104UL /* mechanism list */, 0x80000129UL /* exportable */, 0x80000201UL /* admin cert */};

struct Row {
    CK_ATTRIBUTE_TYPE type;
    CK_ULONG length;
    bool null;
    std::vector<uint8_t> bytes;
    bool operator==(const Row& o) const { return std::tie(type, length, null, bytes) == std::tie(o.type, o.length, o.null, o.bytes); }
    bool operator<(const Row& o) const { return std::tie(type, length, null, bytes) < std::tie(o.type, o.length, o.null, o.bytes); }
};
using Rows = std::vector<Row>;

Row Stored(CK_ATTRIBUTE_TYPE type, const std::vector<uint8_t>& value, bool null) {
    // A value is a fresh block of its length, zeros for a null source, and
    // no block at all for length 0.
    if (value.empty()) return {type, 0, true, {}};
    return {type, value.size(), false, null ? std::vector<uint8_t>(value.size()) : value};
}

// The rows as they stand, every value read over its whole length.
Rows Snap(const AttributeSet* set) {
    Rows rows;
    if (set == nullptr) return rows;
    FUZZ_CHECK((set->count == 0) == (set->attributes == nullptr));
    for (CK_ULONG i = 0; i < set->count; ++i) {
        const CK_ATTRIBUTE& a = set->attributes[i];
        if (a.ulValueLen == 0) FUZZ_CHECK(a.pValue == nullptr);
        const auto* p = static_cast<const uint8_t*>(a.pValue);
        rows.push_back({a.type, a.ulValueLen, p == nullptr, p ? std::vector<uint8_t>(p, p + a.ulValueLen) : std::vector<uint8_t>{}});
    }
    return rows;
}

// First exact row; the wild card takes the first row; the deprecated check
// value falls back to CKA_CHECK_VALUE.
int Find(const Rows& rows, CK_ATTRIBUTE_TYPE type) {
    if (rows.empty()) return -1;
    if (type == FIND_ANY_ATTRIBUTE) return 0;
    for (size_t i = 0; i < rows.size(); ++i)
        if (rows[i].type == type) return static_cast<int>(i);
    return type == CKA_CHECK_VALUE_DEPRECATED ? Find(rows, CKA_CHECK_VALUE) : -1;
}

CK_ULONG Num(const Row& r) {
    if (r.null || (r.length != 1 && r.length != 2 && r.length != 4 && r.length != 8)) return ~0UL;
    CK_ULONG v = 0;
    memcpy(&v, r.bytes.data(), r.length);
    return v;
}
// Four bytes of eight, the low half on this host.
int Int(const Row& r) {
    if (r.null || (r.length != 1 && r.length != 2 && r.length != 4 && r.length != 8)) return -1;
    uint32_t v = 0;
    memcpy(&v, r.bytes.data(), std::min<CK_ULONG>(r.length, 4));
    return static_cast<int>(v);
}
CK_ULONG NumOf(const Rows& rows, CK_ATTRIBUTE_TYPE type) {
    const int k = Find(rows, type);
    return k < 0 ? ~0UL : Num(rows[k]);
}

template <size_t N>
bool In(const CK_ATTRIBUTE_TYPE (&list)[N], CK_ATTRIBUTE_TYPE t) {
    return std::find(list, list + N, t) != list + N;
}

// Whether the row that a new value meets must keep its value: the edit
// rule, first line that matches.
bool MustStay(const Rows& rows, int k, bool strict) {
    static const CK_ATTRIBUTE_TYPE kDates[] = {CKA_START_DATE, CKA_END_DATE, 0x80000201};
    static const CK_ATTRIBUTE_TYPE kIdentity[] = {CKA_CLASS, CKA_CERTIFICATE_TYPE, CKA_CHECK_VALUE, CKA_KEY_TYPE,
                                                  CKA_LOCAL, CKA_KEY_GEN_MECHANISM, 0x80000101, 0x80000102,
                                                  CKA_CHECK_VALUE_DEPRECATED, 0x80000151, 0x80000200};
    static const CK_ATTRIBUTE_TYPE kStorage[] = {CKA_TOKEN, CKA_PRIVATE, CKA_MODIFIABLE};
    static const CK_ATTRIBUTE_TYPE kFalls[] = {CKA_EXTRACTABLE, 0x80000129};
    static const CK_ATTRIBUTE_TYPE kDsa[] = {CKA_ENCRYPT, CKA_DECRYPT, CKA_WRAP, CKA_UNWRAP, 0x80000128, 0x8000012b};
    const Row& r = rows[k];
    const CK_ATTRIBUTE_TYPE t = r.type;
    const bool first = r.length != 0 && !r.null;
    if (In(kDates, t)) return r.length != 0;
    if (In(kIdentity, t) || (strict && In(kStorage, t))) return true;
    if (In(kFalls, t)) return first && r.bytes[0] == 0;
    if (t == CKA_SENSITIVE) return first && r.bytes[0] != 0;
    if (t == CKA_VALUE && (NumOf(rows, CKA_SENSITIVE) == 1 || NumOf(rows, CKA_TRUSTED) == 1)) return true;
    const CK_ULONG cls = NumOf(rows, CKA_CLASS);
    if (cls == CKO_SECRET_KEY && (t == CKA_VALUE || t == CKA_VALUE_LEN)) return true;
    const bool key = cls == CKO_PUBLIC_KEY || cls == CKO_PRIVATE_KEY;
    if (key && (t == CKA_VALUE || (t >= 0x120 && t <= 0x128) || (t >= 0x130 && t <= 0x134) || t == CKA_VALUE_BITS ||
                t == CKA_EC_PARAMS || t == CKA_EC_POINT || t == 0x8000012c))
        return true;
    return key && NumOf(rows, CKA_KEY_TYPE) == CKK_DSA && In(kDsa, t);
}

bool Same(const Row& r, const Row& v) {
    if (r.length != v.length) return false;
    if (r.length == 0 || (r.null && v.null)) return true;
    return !r.null && !v.null && r.bytes == v.bytes;
}

// Every value block a set frees must hold the fill byte over its length.
std::vector<std::pair<const void*, CK_ULONG>> gValues;  // sorted
bool gWatching = false;

void FreeHook(const volatile void* p) {
    if (!gWatching || p == nullptr) return;
    auto it = std::lower_bound(gValues.begin(), gValues.end(), std::make_pair(const_cast<const void*>(p), 0UL));
    if (it == gValues.end() || it->first != p) return;
    const auto* bytes = static_cast<const uint8_t*>(it->first);
    for (CK_ULONG i = 0; i < it->second; ++i)
        if (bytes[i] != ATTRIBUTE_FILL_BYTE) FuzzFail("a dropped value was freed without the fill", __FILE__, __LINE__);
}

void MallocHook(const volatile void*, size_t) {}  // the runtime takes both hooks or neither

void Watch(AttributeSet* const* sets, size_t n) {
    gWatching = false;
    gValues.clear();
    for (size_t s = 0; s < n; ++s)
        for (CK_ULONG i = 0; sets[s] != nullptr && i < sets[s]->count; ++i)
            if (sets[s]->attributes[i].pValue != nullptr)
                gValues.emplace_back(sets[s]->attributes[i].pValue, sets[s]->attributes[i].ulValueLen);
    std::sort(gValues.begin(), gValues.end());
    gWatching = true;
}

CK_ATTRIBUTE_TYPE Type(Input& in) {
    const uint8_t b = in.Byte();
    return b < 0xF0 ? kTypes[b % std::size(kTypes)] : in.Number(4);
}

// A short value, now and then a longer one, now and then a null pointer
// with a length.
std::vector<uint8_t> Value(Input& in, bool* null) {
    const uint8_t b = in.Byte();
    *null = b >= 0xE0 && b < 0xF0;
    const size_t n = b < 0xE0 ? b % 9 : b < 0xF0 ? b % 4 : (b - 0xF0) * 4;
    std::vector<uint8_t> v = in.Take(n);
    v.resize(n);
    return v;
}

using EditFn = CK_RV (*)(const void*, CK_ULONG, CK_ATTRIBUTE_TYPE, AttributeSet*);

void Edit(Input& in, AttributeSet* set, int kind) {
    static const EditFn kFns[] = {WriteAttr, CopyAttr, AddAttr};
    const Rows before = Snap(set);
    const CK_ATTRIBUTE_TYPE type = Type(in);
    bool null = false;
    const std::vector<uint8_t> value = Value(in, &null);
    uint8_t* block = null ? nullptr : Block(value.size(), value.data());
    const int k = Find(before, type);
    const CK_RV rv = kFns[kind](block, value.size(), type, set);
    free(block);
    const Row stored = Stored(type, value, null);
    if (before.size() > ATTRIBUTE_SET_LIMIT) {
        FUZZ_CHECK(rv == CKR_HOST_MEMORY && Snap(set) == before);
    } else if (k >= 0 && kind > 0 && MustStay(before, k, kind == 2)) {
        const Row given = {type, value.size(), null || value.empty(), value};
        FUZZ_CHECK(rv == (Same(before[k], given) ? CKR_OK : CKR_ATTRIBUTE_READ_ONLY) && Snap(set) == before);
    } else {
        Rows expected = before;
        if (k < 0) expected.push_back(stored); else expected[k] = stored;
        FUZZ_CHECK(rv == CKR_OK && Snap(set) == expected);
    }
}

void Delete(Input& in, AttributeSet* set) {
    const Rows before = Snap(set);
    const CK_ATTRIBUTE_TYPE type = Type(in);
    const int k = Find(before, type);
    const CK_RV rv = DelAttr(type, set);
    Rows expected = before;
    if (k >= 0) {
        // The last row takes the place of the one deleted.
        expected[k] = expected.back();
        expected.pop_back();
    }
    FUZZ_CHECK(rv == (k < 0 ? CKR_ATTRIBUTE_TYPE_INVALID : CKR_OK) && Snap(set) == expected);
}

void Concat(AttributeSet* dst, const AttributeSet* src) {
    const Rows before = Snap(dst), rows = Snap(src);
    const CK_RV rv = ConcatAttributeSets(dst, src);
    const int modifiable = Find(before, CKA_MODIFIABLE);
    if (rows.empty() || (modifiable >= 0 && Int(before[modifiable]) == 0)) {
        FUZZ_CHECK(rv == (rows.empty() ? CKR_OK : CKR_ATTRIBUTE_READ_ONLY) && Snap(dst) == before);
        return;
    }
    Rows expected = before;
    CK_RV want = CKR_OK;
    for (const Row& r : rows) {
        if (Find(expected, r.type) >= 0) continue;
        if (expected.size() > ATTRIBUTE_SET_LIMIT) {
            want = CKR_HOST_MEMORY;
            break;
        }
        expected.push_back(r.null ? Row{r.type, r.length, r.length == 0, std::vector<uint8_t>(r.length)} : r);
    }
    FUZZ_CHECK(rv == want && Snap(dst) == expected);
}

// The merged set is the base's copy with the rows laid over it one by one
// under the non-strict rule, then sorted by type.
AttributeSet* Merge(const AttributeSet* add, const AttributeSet* base) {
    Rows expected = Snap(base);
    for (Row& r : expected)
        if (r.type == CKA_CHECK_VALUE_DEPRECATED) r.type = CKA_CHECK_VALUE;
    CK_RV want = CKR_OK;
    for (const Row& r : Snap(add)) {
        if (expected.size() > ATTRIBUTE_SET_LIMIT) {
            want = CKR_HOST_MEMORY;
            break;
        }
        const int k = Find(expected, r.type);
        const Row stored = r.null && r.length ? Row{r.type, r.length, false, std::vector<uint8_t>(r.length)} : r;
        if (k < 0) {
            expected.push_back(stored);
        } else if (!MustStay(expected, k, false)) {
            expected[k] = stored;
        } else if (!Same(expected[k], r)) {
            want = CKR_TEMPLATE_INCONSISTENT;
            break;
        }
    }
    AttributeSet* result = reinterpret_cast<AttributeSet*>(&want);
    const CK_RV rv = AddAttributeSets(&result, add, base);
    FUZZ_CHECK(rv == want);
    if (rv != CKR_OK) {
        FUZZ_CHECK(result == nullptr);
        return nullptr;
    }
    Rows got = Snap(result);
    for (size_t i = 1; i < got.size(); ++i) FUZZ_CHECK(got[i - 1].type <= got[i].type);
    std::sort(got.begin(), got.end());
    std::sort(expected.begin(), expected.end());
    FUZZ_CHECK(got == expected);
    return result;
}

// Deep copies of a set, and of a plain array that may hold a length with
// a null value.
void Duplicate(Input& in, const AttributeSet* set) {
    Rows expected = Snap(set);
    for (Row& r : expected)
        if (r.type == CKA_CHECK_VALUE_DEPRECATED) r.type = CKA_CHECK_VALUE;
    AttributeSet* copy = DupAttributeSet(set);
    FUZZ_CHECK(copy != nullptr && Snap(copy) == expected);
    for (CK_ULONG i = 0; i < copy->count; ++i)
        if (copy->attributes[i].pValue != nullptr) FUZZ_CHECK(copy->attributes[i].pValue != set->attributes[i].pValue);
    Watch(&copy, 1);
    FreeAttributeSet(copy);
    gWatching = false;

    CK_ATTRIBUTE raw[4];
    const CK_ULONG n = in.Byte() % 5;
    expected.clear();
    for (CK_ULONG i = 0; i < n; ++i) {
        bool null = false;
        const std::vector<uint8_t> v = Value(in, &null);
        raw[i] = {Type(in), null ? nullptr : Block(v.size(), v.data()), v.size()};
        expected.push_back({raw[i].type == CKA_CHECK_VALUE_DEPRECATED ? CKA_CHECK_VALUE : raw[i].type, v.size(),
                            null || v.empty(), null || v.empty() ? std::vector<uint8_t>{} : v});
    }
    copy = DupAttributes(n ? raw : nullptr, n);
    FUZZ_CHECK(copy != nullptr && copy->count == n && Snap(copy) == expected);
    FreeAttributesNoClear(copy->attributes, copy->count);
    free(copy);
    for (CK_ULONG i = 0; i < n; ++i) free(raw[i].pValue);
}

int Match(const AttributeSet* needle, const AttributeSet* haystack) {
    if (needle == haystack) return 1;
    if (needle == nullptr) return haystack->count == 0;
    if (haystack == nullptr || needle->count == 0) return needle->count == 0;
    const Rows hay = Snap(haystack);
    for (const Row& w : Snap(needle)) {
        int k = -1;
        for (size_t j = 0; j < hay.size() && k < 0; ++j)
            if (hay[j].type == w.type) k = static_cast<int>(j);
        if (k < 0) return 0;
        const Row& h = hay[k];
        CK_ULONG length = w.length;
        if (h.length != length) {
            // A label matches with or without its terminating NUL.
            const Row& longer = h.length > length ? h : w;
            const CK_ULONG shorter = std::min(h.length, length);
            if (w.type != CKA_LABEL || longer.length - shorter != 1 || longer.null || longer.bytes[shorter] != 0)
                return 0;
            length = shorter;
        }
        if (length == 0) continue;
        if (w.null || h.null) {
            if (w.null != h.null) return 0;
            continue;
        }
        if (memcmp(w.bytes.data(), h.bytes.data(), length) != 0) return 0;
    }
    return 1;
}

// One row's value into a caller's buffer: by width for numbers, else as
// bytes. dst is the buffer as it must be afterwards.
CK_RV Assign(Row& dst, CK_ULONG& dstLen, const CK_ATTRIBUTE& src) {
    const CK_ULONG n = src.ulValueLen;
    if (src.pValue == nullptr || dst.null) {
        dstLen = n;
        return CKR_OK;
    }
    if (dstLen < n) return CKR_BUFFER_TOO_SMALL;
    const auto* s = static_cast<const uint8_t*>(src.pValue);
    if (isNumericAttr(&src) && n <= 8) {
        const CK_ULONG w = dstLen;
        if (w != 1 && w != 2 && w != 4 && w != 8) return CKR_GENERAL_ERROR;
        const CK_ULONG number = Num({src.type, n, false, {s, s + n}});  // all ones for an odd width
        memcpy(dst.bytes.data(), &number, w);
        return CKR_OK;
    }
    std::copy(s, s + n, dst.bytes.begin());
    dstLen = n;
    return CKR_OK;
}

struct Cell {
    CK_ATTRIBUTE row;
    Row model;  // type, buffer bytes, null; model.length is the buffer's size
    CK_ULONG modelLen;
};

Cell MakeCell(Input& in, CK_ATTRIBUTE_TYPE type) {
    bool null = false;
    std::vector<uint8_t> v = Value(in, &null);
    Cell c{{type, null ? nullptr : Block(v.size(), v.data()), v.size()}, {type, v.size(), null, v}, v.size()};
    return c;
}

bool CellAsModel(const Cell& c) {
    if (c.row.type != c.model.type || c.row.ulValueLen != c.modelLen) return false;
    return c.row.pValue == nullptr || c.model.length == 0 || memcmp(c.row.pValue, c.model.bytes.data(), c.model.length) == 0;
}

void SingleRows(Input& in, const AttributeSet* set) {
    // Classification and number reads of one row.
    Cell a = MakeCell(in, Type(in));
    const Row ra = {a.row.type, a.row.ulValueLen, a.row.pValue == nullptr, a.model.bytes};
    const CK_ULONG n = a.row.ulValueLen;
    FUZZ_CHECK(numAttr(&a.row) == Num(ra) && intAttr(&a.row) == Int(ra));
    FUZZ_CHECK(isNumericAttr(&a.row) == (isNumericAttrType(a.row.type) &&
                                         (a.row.type == 0x80000104 ? n != 0 && n % 8 == 0 : n >= 1 && n <= 8)));
    if (isBooleanAttr(&a.row)) FUZZ_CHECK(n >= 1 && n <= 8);
    static const CK_ATTRIBUTE_TYPE kEnumerated[] = {CKA_CLASS, CKA_CERTIFICATE_TYPE, CKA_KEY_TYPE, 0x300UL /* hardware feature type */};
    FUZZ_CHECK(isEnumeratedAttr(&a.row) == (In(kEnumerated, a.row.type) && n >= 1 && n <= 8));

    // Assignment into a buffer of another size, of the same or another type.
    const uint8_t how = in.Byte();
    Cell b = MakeCell(in, how & 1 ? Type(in) : a.row.type);
    CK_RV want = b.row.type != a.row.type ? CKR_DATA_INVALID : Assign(b.model, b.modelLen, a.row);
    FUZZ_CHECK(at_assign(&b.row, &a.row) == want && CellAsModel(b));

    // Transfer of two pairs: types that agree, else a stop.
    Cell c = MakeCell(in, how & 2 ? FIND_ANY_ATTRIBUTE : how & 4 ? CKA_CHECK_VALUE_DEPRECATED : Type(in));
    Cell d = MakeCell(in, how & 8 ? CKA_CHECK_VALUE : Type(in));
    b.row.ulValueLen = b.modelLen = b.model.length;  // a length query above may have changed it
    Cell* dst[] = {&b, &c};
    const CK_ATTRIBUTE src[] = {a.row, d.row};
    CK_ATTRIBUTE rows[] = {b.row, c.row};
    want = CKR_OK;
    for (int i = 0; i < 2; ++i) {
        const CK_ATTRIBUTE_TYPE t = dst[i]->model.type, s = src[i].type;
        if (!(t == s || t == FIND_ANY_ATTRIBUTE || (t == CKA_CHECK_VALUE && s == CKA_CHECK_VALUE_DEPRECATED) ||
              (t == CKA_CHECK_VALUE_DEPRECATED && s == CKA_CHECK_VALUE))) {
            want = CKR_ATTRIBUTE_TYPE_INVALID;
            break;
        }
        dst[i]->model.type = s;
        want = Assign(dst[i]->model, dst[i]->modelLen, src[i]);
    }
    FUZZ_CHECK(TransferAttr(rows, src, 2) == want);
    b.row = rows[0];
    c.row = rows[1];
    FUZZ_CHECK(CellAsModel(b) && CellAsModel(c));

    // Comparison orders by length first, then by the bytes.
    const int order = attrcmpbuf(&a.row, d.row.pValue, d.row.ulValueLen);
    int expected = a.row.ulValueLen < d.row.ulValueLen ? -1 : a.row.ulValueLen > d.row.ulValueLen ? 1 : 0;
    if (expected == 0 && n > 0 && a.row.pValue != d.row.pValue) {
        expected = a.row.pValue == nullptr ? -1 : d.row.pValue == nullptr ? 1 : memcmp(a.row.pValue, d.row.pValue, n);
    }
    FUZZ_CHECK((order > 0) == (expected > 0) && (order < 0) == (expected < 0));

    // A read of the set's row into a buffer of any size.
    const Rows rowsOfSet = Snap(set);
    const CK_ATTRIBUTE_TYPE type = Type(in);
    const CK_ULONG size = in.Byte() % 12;
    uint8_t* buffer = Block(size);
    CK_ULONG length = 0xA5A5;
    const int k = Find(rowsOfSet, type);
    FUZZ_CHECK(ReadAttr(buffer, size, &length, type, set) == (k >= 0));
    for (CK_ULONG i = 0; i < size; ++i) {
        const uint8_t byte = k < 0 ? 0x5C : i < rowsOfSet[k].bytes.size() ? rowsOfSet[k].bytes[i] : 0;
        FUZZ_CHECK(buffer[i] == byte);
    }
    FUZZ_CHECK(length == (k < 0 ? 0xA5A5 : rowsOfSet[k].length));
    free(buffer);
    for (Cell* cell : {&a, &b, &c, &d}) free(cell->row.pValue);
}

// A set one row past the limit, of distinct vendor types: copied in one go,
// as a thousand appends would take most of the time there is.
AttributeSet* FullSet() {
    static CK_ATTRIBUTE rows[ATTRIBUTE_SET_LIMIT + 1];
    static CK_BYTE byte = 1;
    for (CK_ULONG i = 0; i <= ATTRIBUTE_SET_LIMIT; ++i) rows[i] = {0x90000000 + i, &byte, 1};
    return DupAttributes(rows, ATTRIBUTE_SET_LIMIT + 1);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    gValues.reserve(4 * ATTRIBUTE_SET_LIMIT);  // no growth inside a run, which would look like a leak
    FUZZ_CHECK(__sanitizer_install_malloc_and_free_hooks(MallocHook, FreeHook) != 0);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in(data, size);
    AttributeSet* sets[2] = {NewAttributeSet(in.Byte() % 3), NewAttributeSet(0)};
    FUZZ_CHECK(sets[0] != nullptr && sets[1] != nullptr);
    for (const Row& r : Snap(sets[0])) FUZZ_CHECK(r == (Row{0, 0, true, {}}));
    for (int step = 0; step < 64 && !in.Empty(); ++step) {
        const uint8_t op = in.Byte();
        AttributeSet*& set = sets[(op >> 4) & 1];
        AttributeSet* other = sets[((op >> 4) & 1) ^ ((op >> 5) & 1)];  // itself now and then
        Watch(sets, 2);
        switch (op & 15) {
            case 0: case 1: case 2: Edit(in, set, 0); break;
            case 3: case 4: Edit(in, set, 1); break;
            case 5: case 6: Edit(in, set, 2); break;
            case 7: Delete(in, set); break;
            case 8: Concat(set, other); break;
            case 9:
                if (AttributeSet* merged = Merge(set, other)) {
                    FreeAttributeSet(set);
                    set = merged;
                }
                break;
            case 10: gWatching = false; Duplicate(in, set); break;
            case 11: {
                const AttributeSet* pick[] = {set, other, nullptr};
                const AttributeSet* needle = pick[in.Byte() % 3];
                const AttributeSet* haystack = pick[in.Byte() % 3];
                if (needle != nullptr || haystack != nullptr)
                    FUZZ_CHECK(MatchAttributeSet(needle, haystack) == Match(needle, haystack));
                break;
            }
            case 12: case 13: gWatching = false; SingleRows(in, set); break;
            case 14:
                // The limit, on a set of its own: too slow to carry through
                // the sequence. Over it every store is refused; one row
                // fewer takes one more.
                if (in.Byte() == 0xFF) {
                    AttributeSet* full = FullSet();
                    Watch(&full, 1);
                    for (int kind = 0; kind < 3; ++kind) Edit(in, full, kind);
                    Concat(full, set);
                    Delete(in, full);
                    Edit(in, full, in.Byte() % 3);
                    FreeAttributeSet(full);
                }
                break;
            default: break;
        }
        gWatching = false;
        Snap(sets[0]);
        Snap(sets[1]);
    }
    Watch(sets, 2);
    FreeAttributeSet(sets[0]);
    FreeAttributeSet(sets[1]);
    gWatching = false;
    return 0;
}
