// The name tables and their lookups: the rows that callers rely on for their
// oddities, a round trip over every row, and the fall-backs. Row counts and
// closing rows are checked by the compiler beside the tables.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>

#include "morlin_util.h"

namespace {

struct TableCase {
    const char* title;
    const StrMapEntry* rows;
    CK_ULONG count;
    const char* prefix;
    const char* (*str)(CK_ULONG);
    CK_ULONG (*val)(const char*);
};

const TableCase kTables[] = {
    {"ObjClassTable", ObjClassTable, OBJ_CLASS_TABLE_ROWS, "CKO_", strObjClass, valObjClass},
    {"KeyTypeTable", KeyTypeTable, KEY_TYPE_TABLE_ROWS, "CKK_", strKeyType, valKeyType},
    {"AttributeTable", AttributeTable, ATTRIBUTE_TABLE_ROWS, "CKA_", strAttribute, valAttribute},
    {"MechanismTable", MechanismTable, MECHANISM_TABLE_ROWS, "CKM_", strMechanism, valMechanism},
    {"SesStateTable", SesStateTable, SES_STATE_TABLE_ROWS, "CKM_", strSesState, valSesState},
    {"ErrorTable", ErrorTable, ERROR_TABLE_ROWS, "CKR_", strError, valError},
    {"KdfKDFTable", KdfKDFTable, KDF_TABLE_ROWS, "CKD_", strKDF, valKDF},
};

// Every row: strX answers the first row of its value, valX the first row of
// its name, with and without the prefix.
TEST(StrMapTest, EveryRowRoundTrips) {
    for (const TableCase& t : kTables) {
        SCOPED_TRACE(t.title);
        for (CK_ULONG i = 0; i < t.count; ++i) {
            const StrMapEntry& row = t.rows[i];
            CK_ULONG first = 0;
            while (t.rows[first].value != row.value) ++first;
            EXPECT_STREQ(t.str(row.value), t.rows[first].name) << "row " << i;
            // A name that carries the prefix itself loses it to the lookup.
            const bool keepsPrefix = strncmp(row.name, t.prefix, 4) == 0;
            EXPECT_EQ(t.val(row.name), keepsPrefix ? ~0UL : row.value) << row.name;
            EXPECT_EQ(t.val((std::string(t.prefix) + row.name).c_str()), row.value) << row.name;
        }
    }
}

// A value may stand in more than one row, and then strX shows the first. The
// tables mean that for these four names alone: any other row that strX cannot
// show is a value typed twice.
TEST(StrMapTest, OnlyTheIntendedRowsShareAValue) {
    std::set<std::string> shadowed;
    for (const TableCase& t : kTables) {
        for (CK_ULONG i = 0; i < t.count; ++i) {
            if (strcmp(t.str(t.rows[i].value), t.rows[i].name) != 0) shadowed.insert(t.rows[i].name);
        }
    }
    EXPECT_EQ(shadowed,
              (std::set<std::string>{"CAST5", "PBE_MD5_CAST5_CBC", "PBE_SHA1_CAST5_CBC", "Object Read-Only"}));
    EXPECT_STREQ(strKeyType(0x18), "CAST128");
    EXPECT_EQ(valKeyType("CAST5"), 0x18u);
}

TEST(StrMapTest, FallBackTextFollowsBit31Alone) {
    EXPECT_STREQ(strObjClass(0x8000020a), "ADAPTER");
    EXPECT_STREQ(strObjClass(0x80000203), "Vendor defined (0x80000203)");
    EXPECT_STREQ(strObjClass(7), "UNKNOWN (0x7)");
    EXPECT_STREQ(strAttribute(0x100000000), "UNKNOWN (0x100000000)");
    EXPECT_STREQ(strAttribute(0x180000000), "Vendor defined (0x180000000)");
    EXPECT_STREQ(strMechanism(~0UL), "Vendor defined (0xffffffffffffffff)");
    EXPECT_STREQ(strSesState(5), "UNKNOWN (0x5)");
    EXPECT_STREQ(strError(0x80000000), "Vendor defined (0x80000000)");
    // A closing row's value 0 is data only where a real row holds it.
    EXPECT_STREQ(strError(0), "success");
    EXPECT_STREQ(strKeyType(0), "RSA");
    EXPECT_STREQ(strKDF(0), "UNKNOWN (0x0)");
}

TEST(StrMapTest, FallBacksShareOneBuffer) {
    const char* first = strError(0x7777);
    const char* second = strKeyType(0x8888);
    EXPECT_EQ(first, second);
    EXPECT_STREQ(first, "UNKNOWN (0x8888)");
    // Table names are not the buffer.
    EXPECT_NE(strKeyType(0x1f), first);
}

TEST(StrMapTest, SessionKdfCodesDropTheirLowBitsOnly) {
    EXPECT_STREQ(strKDF(0x84000005), "SHA256_SES_KDF");
    EXPECT_STREQ(strKDF(0x85001234), "SHA384_SES_KDF");
    EXPECT_STREQ(strKDF(0x8200ffff), "SHA1_SES_KDF");
    EXPECT_STREQ(strKDF(0x87000000), "RIPEMD160_SES_KDF");
    EXPECT_STREQ(strKDF(0x85010000), "Vendor defined (0x85010000)");
    EXPECT_STREQ(strKDF(0x80200005), "Vendor defined (0x80200005)");  // an _ASN1 code takes no modifier
    EXPECT_STREQ(strKDF(0x88000001), "Vendor defined (0x88000001)");
    EXPECT_STREQ(strKDF(0x100000000UL | 0x84000005), "Vendor defined (0x184000005)");
    EXPECT_STREQ(strKDF(0x12), "SHA1_NIST_KDF");
}

TEST(StrMapTest, NamesMatchExactlyAfterOnePrefix) {
    EXPECT_EQ(valAttribute("CKA_LABEL"), 0x3u);
    EXPECT_EQ(valAttribute("LABEL"), 0x3u);
    EXPECT_EQ(valAttribute("CKA_CKA_LABEL"), ~0UL);
    EXPECT_EQ(valAttribute("CKA_TR31_INFO"), ~0UL);
    EXPECT_EQ(valAttribute("CKA_CKA_TR31_INFO"), 0x800002a0u);
    EXPECT_STREQ(strAttribute(0x800002a0), "CKA_TR31_INFO");
    EXPECT_EQ(valAttribute("TMP_PIN"), ~0UL);
    EXPECT_EQ(valAttribute("TMP_PIN (deprecated)"), 0x80000281u);
    EXPECT_EQ(valMechanism("FM_DOWNLOAD (deprecated)"), ~0UL);  // capital D in this table
    EXPECT_EQ(valKeyType("RSA"), 0u);
    EXPECT_EQ(valKeyType("CKK_RSA"), 0u);
    EXPECT_EQ(valKeyType("rsa"), ~0UL);
    EXPECT_EQ(valKeyType("ckk_rsa"), ~0UL);
    EXPECT_EQ(valKeyType("RSA "), ~0UL);
    EXPECT_EQ(valKeyType(""), ~0UL);
    EXPECT_EQ(valKeyType("CKK"), ~0UL);
    EXPECT_EQ(valKeyType("CKK_"), ~0UL);
    EXPECT_EQ(valError("success"), 0u);
    EXPECT_EQ(valError("CKR_OK"), ~0UL);
    EXPECT_EQ(valKDF("CKD_NULL"), 1u);
}

TEST(StrMapTest, SessionStatesTakeTheMechanismPrefix) {
    EXPECT_EQ(valSesState("Read Only User Functions"), 1u);
    EXPECT_EQ(valSesState("CKM_Read Only User Functions"), 1u);
    EXPECT_EQ(valSesState("CKS_Read Only User Functions"), ~0UL);
    EXPECT_EQ(valSesState("CKS_RO_USER_FUNCTIONS"), ~0UL);
    EXPECT_EQ(valSesState("RO_USER_FUNCTIONS"), ~0UL);
}

}  // namespace
