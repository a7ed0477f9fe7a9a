// The name maps, value to text and text to value, on all seven tables:
// every answer is the first matching row, a text without a row is the
// fall-back chosen by bit 31, and a name that a lookup shows leads back to
// its value.
#include <cstring>
#include <iterator>

#include "input.h"
#include "morlin_util.h"

namespace {

struct Map {
    const StrMapEntry* table;
    CK_ULONG rows;
    const char* prefix;
    const char* (*str)(CK_ULONG);
    CK_ULONG (*val)(const char*);
    bool closed;  // a {0, null} row after the searched ones
};

const Map kMaps[] = {
    {ObjClassTable, OBJ_CLASS_TABLE_ROWS, "CKO_", strObjClass, valObjClass, true},
    {KeyTypeTable, KEY_TYPE_TABLE_ROWS, "CKK_", strKeyType, valKeyType, true},
    {AttributeTable, ATTRIBUTE_TABLE_ROWS, "CKA_", strAttribute, valAttribute, true},
    {MechanismTable, MECHANISM_TABLE_ROWS, "CKM_", strMechanism, valMechanism, true},
    {SesStateTable, SES_STATE_TABLE_ROWS, "CKM_", strSesState, valSesState, true},
    {ErrorTable, ERROR_TABLE_ROWS, "CKR_", strError, valError, true},
    {KdfKDFTable, KDF_TABLE_ROWS, "CKD_", strKDF, valKDF, false},
};

const StrMapEntry* ByValue(const Map& m, CK_ULONG value) {
    for (CK_ULONG i = 0; i < m.rows; ++i)
        if (m.table[i].value == value) return &m.table[i];
    return nullptr;
}

const StrMapEntry* ByName(const Map& m, const char* name) {
    for (CK_ULONG i = 0; i < m.rows; ++i)
        if (strcmp(m.table[i].name, name) == 0) return &m.table[i];
    return nullptr;
}

// The value that strKDF looks up: a session KDF code loses its modifier.
CK_ULONG Key(const Map& m, CK_ULONG value) {
    if (m.table != KdfKDFTable) return value;
    const CK_ULONG masked = value & ~0xFFFFUL;
    return masked >= 0x82000000UL && masked <= 0x87000000UL && (masked & 0xFFFFFFUL) == 0 ? masked : value;
}

void CheckText(const Map& m, CK_ULONG value) {
    const char* text = m.str(value);
    FUZZ_CHECK(text != nullptr);
    const CK_ULONG key = Key(m, value);
    const StrMapEntry* row = ByValue(m, key);
    if (row == nullptr) {
        char expected[64];
        snprintf(expected, sizeof expected, (value & 0x80000000UL) ? "Vendor defined (0x%lx)" : "UNKNOWN (0x%lx)",
                 value);
        FUZZ_CHECK(strcmp(text, expected) == 0);
        return;
    }
    FUZZ_CHECK(text == row->name);  // the table's own text, no copy
    // Back again: with the prefix always, and bare unless the name itself
    // begins with the prefix, which is then taken off it.
    const std::string prefixed = std::string(m.prefix) + text;
    FUZZ_CHECK(m.val(prefixed.c_str()) == key);
    if (strncmp(text, m.prefix, 4) != 0) FUZZ_CHECK(m.val(text) == key);
}

void CheckValue(const Map& m, const std::string& text) {
    const CK_ULONG value = m.val(text.c_str());
    const char* rest = text.c_str();
    if (strncmp(rest, m.prefix, 4) == 0) rest += 4;
    const StrMapEntry* row = ByName(m, rest);
    FUZZ_CHECK(value == (row != nullptr ? row->value : ~0UL));
    if (row != nullptr) {
        FUZZ_CHECK(value != ~0UL);  // all ones stays free to mean no match
        // The value shows a name of this table, maybe an earlier synonym.
        FUZZ_CHECK(ByValue(m, Key(m, value)) != nullptr && m.str(value) == ByValue(m, Key(m, value))->name);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in(data, size);
    const Map& m = kMaps[in.Byte() % std::size(kMaps)];
    if (m.closed) FUZZ_CHECK(m.table[m.rows].value == 0 && m.table[m.rows].name == nullptr);
    const uint8_t how = in.Byte();
    const StrMapEntry& row = m.table[in.Number(2) % m.rows];
    FUZZ_CHECK(row.name != nullptr);
    // Values near the rows: a row's own, with low or high bits changed, or any.
    CK_ULONG value = row.value;
    switch (how & 3) {
        case 1: value ^= in.Number(2); break;
        case 2: value ^= in.Number(8) & ~0xFFFFFFFFUL; break;
        case 3: value = in.Number(8); break;
    }
    CheckText(m, value);
    // Texts near the names: a name, with one or two prefixes, or any.
    std::string text = row.name;
    switch ((how >> 2) & 3) {
        case 1: text = m.prefix + text; break;
        case 2: text = std::string(m.prefix) + m.prefix + text; break;
        case 3: text = in.Text(); break;
    }
    if (how & 0x10) text += in.Text();
    CheckValue(m, text);
    return 0;
}
