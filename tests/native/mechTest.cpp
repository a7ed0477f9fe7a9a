// The mechanism catalogue: list choice by key type and by mechanism, the
// cut to a token's list with its short walk, the generator walk with its
// stop between entries, who owns which result, and the mechanism comparator.
// List lengths are checked by the compiler beside the lists; names here go
// through MechanismTable, so a slip in a list's values shows up as well.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "allocations.h"
#include "morlin_util.h"

namespace {

using morlin_test::AllocationWatch;
using Values = std::vector<CK_ULONG>;

CK_MECHANISM_TYPE M(const char* name) { return valMechanism(name); }
CK_KEY_TYPE K(const char* name) { return valKeyType(name); }

// Takes a fresh block: its values, then frees it. The count is read here, by
// reference, after the call that fills it in the same argument list.
Values Take(CK_MECHANISM_TYPE* block, const CK_ULONG& count) {
    if (block == nullptr) return {};
    Values v(block, block + count);
    free(block);
    return v;
}

using KtList = CK_MECHANISM_TYPE* (*)(CK_KEY_TYPE, CK_ULONG_PTR);

struct ListCase {
    const char* title;
    KtList get;
    CK_KEY_TYPE keyType;
    CK_ULONG count;
    const char* first;
    const char* last;
};

// ---- lists by key type --------------------------------------------------------

TEST(MechListTest, KeyTypeChoosesTheListAndOthersGetTheGeneralOne) {
    const ListCase cases[] = {
        {"cipher RSA", mechFromKt, K("RSA"), 4, "RSA_X_509", "RSA_PKCS_OAEP"},
        {"cipher BIP32", mechFromKt, K("BIP32"), 2, "ECDSA", "ECIES"},
        {"cipher SEED", mechFromKt, K("SEED"), 6, "SEED_ECB", "SEED_CBC_PAD"},
        {"cipher DES2", mechFromKt, K("DES2"), 18, "DES3_ECB", "WRAP_TR31_VARIANT"},
        {"cipher DES3", mechFromKt, K("DES3"), 17, "DES3_ECB", "WRAP_TR31_VARIANT"},
        {"cipher AES", mechFromKt, K("AES"), 21, "AES_ECB", "WRAP_TR31_DERIVE_CTR"},
        {"cipher DH", mechFromKt, K("DH"), 67, "DES_ECB", "WRAP_TR31_VARIANT"},
        {"cipher GENERIC_SECRET", mechFromKt, K("GENERIC_SECRET"), 67, "DES_ECB", "WRAP_TR31_VARIANT"},
        {"cipher EC_EDWARDS", mechFromKt, K("EC_EDWARDS"), 67, "DES_ECB", "WRAP_TR31_VARIANT"},
        {"cipher unknown", mechFromKt, 0x12345, 67, "DES_ECB", "WRAP_TR31_VARIANT"},
        {"sign RSA", mechSignFromKt, K("RSA"), 28, "RSA_X_509", "FM_DOWNLOAD_2"},
        {"sign BIP32", mechSignFromKt, K("BIP32"), 11, "ECDSA", "ECDSA_GBCS_SHA256"},
        {"sign EC_EDWARDS_DEPRECATED", mechSignFromKt, K("EC_EDWARDS_DEPRECATED"), 11, "EDDSA_DEPRECATED",
         "SHA3_512_EDDSA"},
        {"sign DES2", mechSignFromKt, K("DES2"), 7, "DES3_MAC", "DES3_CMAC_GENERAL"},
        {"sign DH", mechSignFromKt, K("DH"), 93, "DES_MAC", "ARIA_MAC_GENERAL"},
        {"derive DSA", mechDeriveFromKt, K("DSA"), 3, "ENCODE_X_509_LOCAL_CERT", "ENCODE_PKCS_10"},
        {"derive EC", mechDeriveFromKt, K("EC"), 6, "ENCODE_X_509_LOCAL_CERT", "ECDH1_DERIVE"},
        {"derive ARIA", mechDeriveFromKt, K("ARIA"), 15, "SHA1_KEY_DERIVATION", "TUAK_DERIVE"},
        {"derive DES2", mechDeriveFromKt, K("DES2"), 16, "XOR_BASE_AND_DATA", "ZKA_MDC_2_KEY_DERIVATION"},
        {"derive BIP32", mechDeriveFromKt, K("BIP32"), 1, "BIP32_CHILD_DERIVE", "BIP32_CHILD_DERIVE"},
        {"derive GENERIC_SECRET", mechDeriveFromKt, K("GENERIC_SECRET"), 24, "DH_PKCS_DERIVE", "ECDH1_DERIVE"},
        {"signrec BIP32", mechSignRecFromKt, K("BIP32"), 1, "ECDSA", "ECDSA"},
        {"signrec AES", mechSignRecFromKt, K("AES"), 4, "RSA_X_509", "ECDSA"},
    };
    for (const ListCase& c : cases) {
        SCOPED_TRACE(c.title);
        CK_ULONG count = 0;
        const Values v = Take(c.get(c.keyType, &count), count);
        ASSERT_EQ(count, c.count);
        EXPECT_EQ(v.front(), M(c.first));
        EXPECT_EQ(v.back(), M(c.last));
    }
}

// The general lists hold every other list's values; each has a name but the
// two ARIA numbers.
TEST(MechListTest, GeneralListsAndFixedListsHoldOnlyNamedValues) {
    CK_ULONG count = 0;
    std::vector<Values> lists = {Take(mechFromKt(0x12345, &count), count), Take(mechSignFromKt(0x12345, &count), count),
                                 Take(mechDeriveFromKt(0x12345, &count), count)};
    for (auto fixed : {hashMech, kgMech, kpgMech}) {
        const CK_MECHANISM_TYPE* list = fixed(&count);
        lists.emplace_back(list, list + count);
    }
    ASSERT_EQ(lists[3].size(), 20u);
    ASSERT_EQ(lists[4].size(), 11u);
    ASSERT_EQ(lists[5].size(), 8u);
    EXPECT_EQ(lists[3][13], M("KECCAK_1600"));
    EXPECT_EQ(lists[4][8], M("PP_LOAD_SECRET"));
    EXPECT_EQ(lists[5][7], M("DH_PKCS_KEY_PAIR_GEN"));

    int unnamed = 0;
    for (const Values& list : lists)
        for (CK_ULONG v : list) {
            const std::string name = strMechanism(v);
            if (name.rfind("UNKNOWN", 0) == 0 || name.rfind("Vendor", 0) == 0) {
                EXPECT_TRUE(v == 0x566 || v == 0x567) << name;
                ++unnamed;
            }
        }
    EXPECT_EQ(unnamed, 2);  // in the cipher list
}

TEST(MechListTest, FreshBlocksForKeyTypesConstantListsOtherwise) {
    AllocationWatch memory;
    CK_ULONG count = 0;
    CK_MECHANISM_TYPE* a = mechSignFromKt(K("RSA"), &count);
    CK_MECHANISM_TYPE* b = mechSignFromKt(K("RSA"), &count);
    EXPECT_NE(a, b);
    EXPECT_EQ(memory.tally().blocks, 2);
    EXPECT_EQ(memory.tally().bytes, 2 * 28 * static_cast<long>(sizeof(CK_MECHANISM_TYPE)));
    a[0] = 0xdead;  // the caller's own copy
    free(b);
    b = mechSignFromKt(K("RSA"), &count);
    EXPECT_EQ(b[0], M("RSA_X_509"));
    free(a);
    free(b);

    CK_ULONG n1 = 0, n2 = 0;
    EXPECT_EQ(hashMech(&n1), hashMech(&n2));
    EXPECT_EQ(kgMech(&n1), kgMech(&n2));
    EXPECT_EQ(kpgMech(&n1), kpgMech(&n2));
    EXPECT_EQ(ktFromMech(M("AES_GCM"), &n1), ktFromMech(M("AES_KEY_GEN"), &n2));
    EXPECT_EQ(memory.tally().blocks, 0);
    EXPECT_EQ(memory.tally().foreignFrees, 0);
}

// ---- key types by mechanism ---------------------------------------------------

TEST(MechListTest, KeyTypesByMechanismWithTheirGaps) {
    struct Case {
        const char* mech;
        Values keyTypes;
    } cases[] = {
        {"AES_GCM", {K("AES")}},
        {"RSA_PKCS_KEY_PAIR_GEN", {K("RSA")}},  // value 0
        {"DH_PKCS_DERIVE", {K("DH"), K("X9_42_DH")}},
        {"DES_OFB64", {K("DES2"), K("DES3")}},
        {"CAST128_KEY_GEN", {K("CAST128"), K("CAST"), K("CAST3"), K("CAST128")}},
        {"EC_MONTGOMERY_KEY_PAIR_GEN", {K("EC")}},
        {"EDDSA", {K("EC_EDWARDS"), K("EC_EDWARDS_DEPRECATED")}},
        {"WRAP_TR31_DERIVE", {K("DES2"), K("DES3"), K("AES")}},
        {"RSA_PKCS_PSS", {K("GENERIC_SECRET")}},
        {"DES3_CBC_PAD", {K("GENERIC_SECRET")}},
        {"CAST128_ECB", {K("GENERIC_SECRET")}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.mech);
        CK_ULONG count = 0;
        const CK_KEY_TYPE* kt = ktFromMech(M(c.mech), &count);
        EXPECT_EQ(Values(kt, kt + count), c.keyTypes);
    }
    CK_ULONG count = 0;
    const CK_KEY_TYPE* kt = ktFromMech(0xffffffff, &count);
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(kt[0], K("GENERIC_SECRET"));
    kt = ktFromMech(0x566, &count);
    EXPECT_EQ(Values(kt, kt + count), Values{K("ARIA")});
}

// ---- a token's list -----------------------------------------------------------

class MechTokenTest : public ::testing::Test {
protected:
    MechanismTab Tab(Values& v) { return MechanismTab{v.data(), static_cast<unsigned int>(v.size())}; }
};

TEST_F(MechTokenTest, PredicatesAndLookup) {
    EXPECT_FALSE(isPbeMech(0x39f));
    EXPECT_TRUE(isPbeMech(0x3a0));
    EXPECT_TRUE(isPbeMech(0x3ab));
    EXPECT_FALSE(isPbeMech(0x3ac));
    EXPECT_FALSE(isPbeMech(0x3b0));
    EXPECT_TRUE(isPbeMech(0x3c0));
    EXPECT_FALSE(isRc2Mech(0x100));
    EXPECT_TRUE(isRc2Mech(0x101));
    EXPECT_TRUE(isRc2Mech(0x105));
    EXPECT_FALSE(isRc2Mech(0x106));
    EXPECT_TRUE(isRc2Mech(0x80000101));

    Values offered = {M("AES_ECB"), 0x80000101, 0};
    MechanismTab tab = Tab(offered);
    EXPECT_EQ(LookupMech(&tab, 0), 1);
    EXPECT_EQ(LookupMech(&tab, 0x80000101), 1);
    EXPECT_EQ(LookupMech(&tab, M("AES_CBC")), 0);
    EXPECT_EQ(LookupMech(nullptr, 0), 0);
    tab.count = 0;
    EXPECT_EQ(LookupMech(&tab, M("AES_ECB")), 0);
}

TEST_F(MechTokenTest, FreeMechDataReleasesArrayAndRecord) {
    AllocationWatch memory;
    auto* tab = static_cast<MechanismTab*>(calloc(1, sizeof(MechanismTab)));
    tab->mechanisms = static_cast<CK_MECHANISM_TYPE*>(calloc(4, sizeof(CK_MECHANISM_TYPE)));
    tab->count = 4;
    FreeMechData(tab);
    FreeMechData(nullptr);
    EXPECT_EQ(memory.tally().blocks, 0);
    EXPECT_EQ(memory.tally().foreignFrees, 0);
}

// m counts matching pairs, but only the first m list entries are walked.
TEST_F(MechTokenTest, CutToTokenWalksOnlyTheFirstMListEntries) {
    AllocationWatch memory;
    CK_ULONG count = 0;
    Values ecb = {M("AES_ECB")};
    MechanismTab tab = Tab(ecb);
    EXPECT_EQ(Take(mechFromTokKt(&tab, K("AES"), &count), count), Values{M("AES_ECB")});

    Values cbc = {M("RSA_PKCS"), M("AES_CBC")};
    tab = Tab(cbc);
    EXPECT_EQ(Take(mechFromTokKt(&tab, K("AES"), &count), count), Values{0});  // AES_CBC is list entry 2

    // List order, not the token's; a value offered twice counts twice.
    Values both = {M("AES_CBC"), M("AES_ECB"), M("AES_ECB")};
    tab = Tab(both);
    EXPECT_EQ(Take(mechFromTokKt(&tab, K("AES"), &count), count), (Values{M("AES_ECB"), M("AES_ECB"), M("AES_CBC")}));
    EXPECT_EQ(memory.tally().blocks, 0);  // the key type's list is gone too

    count = 0;
    Values none = {M("RSA_PKCS")};
    tab = Tab(none);
    EXPECT_EQ(mechFromTokKt(&tab, K("AES"), &count), nullptr);
    EXPECT_EQ(count, 21u);  // mechFromKt's length stays
    EXPECT_EQ(mechFromTokKt(nullptr, K("SEED"), &count), nullptr);
    EXPECT_EQ(count, 6u);
    EXPECT_EQ(memory.tally().blocks, 0);
}

// ---- generators ---------------------------------------------------------------

TEST_F(MechTokenTest, SecretKeyGeneratorsInFirstSeenOrderWithoutDuplicates) {
    AllocationWatch memory;
    CK_ULONG count = 0;
    Values offered = {M("AES_ECB"), M("AES_CBC"), M("DES3_CBC")};
    MechanismTab tab = Tab(offered);
    EXPECT_EQ(Take(genkMechanismTabFromMechanismTab(&tab, &count), count),
              (Values{M("AES_KEY_GEN"), M("DES2_KEY_GEN"), M("DES3_KEY_GEN")}));

    // One entry, three generators: two past the token's count.
    Values param = {M("DSA_PARAMETER_GEN")};
    tab = Tab(param);
    EXPECT_EQ(Take(genkMechanismTabFromMechanismTab(&tab, &count), count),
              (Values{M("DH_PKCS_PARAMETER_GEN"), M("DSA_PARAMETER_GEN"), M("X9_42_DH_PARAMETER_GEN")}));
    EXPECT_EQ(memory.tally().blocks, 0);
}

TEST_F(MechTokenTest, GeneratorWalkStopsBetweenEntriesOnceFull) {
    CK_ULONG count = 0;
    Values offered = {M("DES3_ECB"), M("DES_ECB"), M("AES_ECB")};
    MechanismTab tab = Tab(offered);
    EXPECT_EQ(Take(genkMechanismTabFromMechanismTab(&tab, &count), count),
              (Values{M("DES2_KEY_GEN"), M("DES3_KEY_GEN"), M("DES_KEY_GEN")}));  // AES_ECB never looked at

    Values pairs = {0, M("ECDSA"), M("RSA_PKCS")};
    tab = Tab(pairs);
    EXPECT_EQ(Take(genkpMechanismTabFromMechanismTab(&tab, &count), count),
              (Values{M("EC_KEY_PAIR_GEN"), M("EC_EDWARDS_KEY_PAIR_GEN"), M("EC_EDWARDS_KEY_PAIR_GEN_DEPRECATED")}));

    // RSA_PKCS_KEY_PAIR_GEN is 0, the value of a fresh block's free room.
    Values rsa = {M("RSA_PKCS"), M("DSA"), M("RSA_X_509"), M("DH_PKCS_DERIVE")};
    tab = Tab(rsa);
    EXPECT_EQ(Take(genkpMechanismTabFromMechanismTab(&tab, &count), count),
              (Values{0, M("DSA_KEY_PAIR_GEN"), M("DH_PKCS_KEY_PAIR_GEN")}));
}

TEST_F(MechTokenTest, NoGeneratorLeavesTheCountAlone) {
    AllocationWatch memory;
    CK_ULONG count = 77;
    Values offered = {M("RSA_PKCS"), M("SHA256"), M("AES_CBC_PAD")};
    MechanismTab tab = Tab(offered);
    EXPECT_EQ(genkMechanismTabFromMechanismTab(&tab, &count), nullptr);
    Values secret = {M("AES_ECB"), 0};
    tab = Tab(secret);
    EXPECT_EQ(genkpMechanismTabFromMechanismTab(&tab, &count), nullptr);
    tab.count = 0;
    EXPECT_EQ(genkMechanismTabFromMechanismTab(&tab, &count), nullptr);
    EXPECT_EQ(genkpMechanismTabFromMechanismTab(nullptr, &count), nullptr);
    EXPECT_EQ(count, 77u);
    EXPECT_EQ(memory.tally().blocks, 0);
}

// ---- the comparator -----------------------------------------------------------

TEST(MechCompareTest, OrdersUnsignedWithoutTruncation) {
    const CK_MECHANISM_TYPE zero = 0, big = 0x100000000UL, vendor = 0x80000000UL, all = ~0UL;
    EXPECT_EQ(compMech(&big, &zero), 1);  // a difference cut to int would say 0
    EXPECT_EQ(compMech(&zero, &all), -1);
    EXPECT_EQ(compMech(&vendor, &vendor), 0);

    CK_MECHANISM_TYPE v[] = {all, vendor, 0x1081, zero, big, 0x1081};
    qsort(v, 6, sizeof v[0], compMech);
    EXPECT_EQ(Values(v, v + 6), (Values{zero, 0x1081, 0x1081, vendor, big, all}));
}

}  // namespace
