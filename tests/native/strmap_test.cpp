// The name tables and their lookups: row counts, the rows that callers rely
// on for their oddities, a round trip over every row, and the fall-backs.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "morlin_util.h"

namespace {

struct TableCase {
    const char* title;
    const StrMapEntry* rows;
    CK_ULONG count;
    bool closingRow;
    const char* prefix;
    const char* (*str)(CK_ULONG);
    CK_ULONG (*val)(const char*);
};

const TableCase kTables[] = {
    {"ObjClassTable", ObjClassTable, OBJ_CLASS_TABLE_ROWS, true, "CKO_", strObjClass, valObjClass},
    {"KeyTypeTable", KeyTypeTable, KEY_TYPE_TABLE_ROWS, true, "CKK_", strKeyType, valKeyType},
    {"AttributeTable", AttributeTable, ATTRIBUTE_TABLE_ROWS, true, "CKA_", strAttribute, valAttribute},
    {"MechanismTable", MechanismTable, MECHANISM_TABLE_ROWS, true, "CKM_", strMechanism, valMechanism},
    {"SesStateTable", SesStateTable, SES_STATE_TABLE_ROWS, true, "CKM_", strSesState, valSesState},
    {"ErrorTable", ErrorTable, ERROR_TABLE_ROWS, true, "CKR_", strError, valError},
    {"KdfKDFTable", KdfKDFTable, KDF_TABLE_ROWS, false, "CKD_", strKDF, valKDF},
};

TEST(StrMapTest, RowCountsAndClosingRows) {
    EXPECT_EQ(OBJ_CLASS_TABLE_ROWS, 12);
    EXPECT_EQ(KEY_TYPE_TABLE_ROWS, 29);
    EXPECT_EQ(ATTRIBUTE_TABLE_ROWS, 137);
    EXPECT_EQ(MECHANISM_TABLE_ROWS, 344);
    EXPECT_EQ(SES_STATE_TABLE_ROWS, 5);
    EXPECT_EQ(ERROR_TABLE_ROWS, 162);
    EXPECT_EQ(KDF_TABLE_ROWS, 29);
    for (const TableCase& t : kTables) {
        SCOPED_TRACE(t.title);
        for (CK_ULONG i = 0; i < t.count; ++i) ASSERT_NE(t.rows[i].name, nullptr) << "row " << i;
        if (t.closingRow) {
            EXPECT_EQ(t.rows[t.count].value, 0u);
            EXPECT_EQ(t.rows[t.count].name, nullptr);
        }
    }
    // The first and last rows, as a check that nothing slid.
    EXPECT_STREQ(ObjClassTable[11].name, "FM");
    EXPECT_STREQ(KeyTypeTable[28].name, "X9_42_DH");
    EXPECT_STREQ(MechanismTable[0].name, "RSA_PKCS_KEY_PAIR_GEN");
    EXPECT_STREQ(MechanismTable[343].name, "WRAP_TR31_DERIVE_CTR");
    EXPECT_EQ(MechanismTable[343].value, 0x80000414u);
    EXPECT_STREQ(ErrorTable[161].name, "TR31 Hdr Inconsistent");
    EXPECT_EQ(KdfKDFTable[28].value, 0x80b00000u);
    EXPECT_STREQ(KdfKDFTable[28].name, "SHA512_KDF_CONCATENATE");
}

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

TEST(StrMapTest, SharedValuesShowTheFirstName) {
    EXPECT_STREQ(strKeyType(0x18), "CAST128");
    EXPECT_EQ(valKeyType("CAST5"), 0x18u);
    EXPECT_STREQ(strMechanism(0x3a4), "PBE_MD5_CAST128_CBC");
    EXPECT_STREQ(strMechanism(0x3a5), "PBE_SHA1_CAST128_CBC");
    EXPECT_EQ(valMechanism("PBE_SHA1_CAST5_CBC"), 0x3a5u);
    EXPECT_STREQ(strError(0x80000114), "Object read only");
    EXPECT_EQ(valError("Object Read-Only"), 0x80000114u);
    EXPECT_EQ(valError("Object read only"), 0x80000114u);
}

TEST(StrMapTest, TextsAreKeptLetterForLetter) {
    EXPECT_STREQ(strError(0x6c), "Key length should be devidable by 512");
    EXPECT_STREQ(strError(0xa3), "PIN expiered");
    EXPECT_STREQ(strError(0x80000102), "Acces Denied");
    EXPECT_STREQ(strError(0x41), "encrypted data len_range");
    EXPECT_STREQ(strError(0x80002006), "WLD_ERROR a WLD configuration has the slot description too long ");
    EXPECT_STREQ(strError(0x80000140), "value not odd parity");
    EXPECT_STREQ(strAttribute(0x80000281), "TMP_PIN (deprecated)");
    EXPECT_STREQ(strMechanism(0x80000990), "OS_UPGRADE (Deprecated)");
    EXPECT_STREQ(strMechanism(0x1043), "ECDH1_DERIVE_DEPRECATED");
    EXPECT_STREQ(strAttribute(0x90), "CHECK_VALUE");
    EXPECT_STREQ(strAttribute(0x80000103), "CHECK_VALUE_DEPRECATED");
    EXPECT_STREQ(strAttribute(0x80000128), "EXPORT");
    EXPECT_STREQ(strAttribute(0x80000129), "EXPORTABLE");
    EXPECT_STREQ(strSesState(4), "Read Write Security Officer Functions");
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
