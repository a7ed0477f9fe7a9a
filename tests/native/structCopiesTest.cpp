// Every copy of a Cryptoki structure into Java, with a structure whose every
// byte differs from every other, compared field by field: a field read from
// another field's offset, or given another field's length, fails.
#include <cstring>
#include <string>

#include "bridgeTest.h"
#include "morlin/copyToJava.h"
#include "morlin/values.h"

namespace morlin_test {
namespace {

using Bytes = std::vector<unsigned char>;

// Byte i of the structure is 151 i + 7 (mod 256): no two bytes alike while
// the structure is under 256 bytes, so every field holds its own value.
template <size_t N>
Bytes Of(const CK_BYTE (&field)[N]) {
    return Bytes(field, field + N);
}

class StructCopiesTest : public BridgeTest {
protected:
    Bytes bytesOf(jobject o, const char* field) {
        return readBytes(static_cast<jbyteArray>(getObject(o, field, "[B")));
    }
    void expectVersion(jobject o, const char* field, const CK_VERSION& v) {
        jobject version = getObject(o, field, "Lkaltrix/morlin/CK_VERSION;");
        ASSERT_NE(version, nullptr) << field;
        EXPECT_EQ(static_cast<unsigned char>(getByte(version, "major")), v.major) << field;
        EXPECT_EQ(static_cast<unsigned char>(getByte(version, "minor")), v.minor) << field;
    }
    void expectLong(jobject o, const char* field, CK_ULONG v) {
        EXPECT_EQ(static_cast<CK_ULONG>(getLong(o, field)), v) << field;
    }
};

TEST_F(StructCopiesTest, Info) {
    const auto s = Distinct<CK_INFO>();
    fake::enqueue("C_GetInfo", fake::Reply().info(s));
    jobject o = allocObject(jn::kInfo.path);
    ASSERT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetInfo(env, nullptr, o)), CKR_OK);
    expectVersion(o, "cryptokiVersion", s.cryptokiVersion);
    EXPECT_EQ(bytesOf(o, "manufacturerID"), Of(s.manufacturerID));
    expectLong(o, "flags", s.flags);
    EXPECT_EQ(bytesOf(o, "libraryDescription"), Of(s.libraryDescription));
    expectVersion(o, "libraryVersion", s.libraryVersion);
}

TEST_F(StructCopiesTest, SlotInfo) {
    const auto s = Distinct<CK_SLOT_INFO>();
    fake::enqueue("C_GetSlotInfo", fake::Reply().info(s));
    jobject o = allocObject(jn::kSlotInfo.path);
    ASSERT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetSlotInfo(env, nullptr, 1, o)), CKR_OK);
    EXPECT_EQ(bytesOf(o, "slotDescription"), Of(s.slotDescription));
    EXPECT_EQ(bytesOf(o, "manufacturerID"), Of(s.manufacturerID));
    expectLong(o, "flags", s.flags);
    expectVersion(o, "hardwareVersion", s.hardwareVersion);
    expectVersion(o, "firmwareVersion", s.firmwareVersion);
}

TEST_F(StructCopiesTest, TokenInfo) {
    const auto s = Distinct<CK_TOKEN_INFO>();
    fake::enqueue("C_GetTokenInfo", fake::Reply().info(s));
    jobject o = allocObject(jn::kTokenInfo.path);
    ASSERT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetTokenInfo(env, nullptr, 1, o)), CKR_OK);
    EXPECT_EQ(bytesOf(o, "label"), Of(s.label));
    EXPECT_EQ(bytesOf(o, "manufacturerID"), Of(s.manufacturerID));
    EXPECT_EQ(bytesOf(o, "model"), Of(s.model));
    EXPECT_EQ(bytesOf(o, "serialNumber"), Of(s.serialNumber));
    expectLong(o, "flags", s.flags);
    expectLong(o, "maxSessionCount", s.ulMaxSessionCount);
    expectLong(o, "sessionCount", s.ulSessionCount);
    expectLong(o, "maxRwSessionCount", s.ulMaxRwSessionCount);
    expectLong(o, "rwSessionCount", s.ulRwSessionCount);
    expectLong(o, "maxPinLen", s.ulMaxPinLen);
    expectLong(o, "minPinLen", s.ulMinPinLen);
    expectLong(o, "totalPublicMemory", s.ulTotalPublicMemory);
    expectLong(o, "freePublicMemory", s.ulFreePublicMemory);
    expectLong(o, "totalPrivateMemory", s.ulTotalPrivateMemory);
    expectLong(o, "freePrivateMemory", s.ulFreePrivateMemory);
    expectVersion(o, "hardwareVersion", s.hardwareVersion);
    expectVersion(o, "firmwareVersion", s.firmwareVersion);
    EXPECT_EQ(bytesOf(o, "utcTime"), Of(s.utcTime));
}

TEST_F(StructCopiesTest, MechanismInfo) {
    const auto s = Distinct<CK_MECHANISM_INFO>();
    fake::enqueue("C_GetMechanismInfo", fake::Reply().info(s));
    jobject o = allocObject(jn::kMechanismInfo.path);
    ASSERT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetMechanismInfo(env, nullptr, 1, nullptr, o)), CKR_OK);
    expectLong(o, "minKeySize", s.ulMinKeySize);
    expectLong(o, "maxKeySize", s.ulMaxKeySize);
    expectLong(o, "flags", s.flags);
}

TEST_F(StructCopiesTest, SessionInfo) {
    const auto s = Distinct<CK_SESSION_INFO>();
    fake::enqueue("C_GetSessionInfo", fake::Reply().info(s));
    jobject o = allocObject(jn::kSessionInfo.path);
    jobject state = wrapper(jn::kState, 0);
    setObject(o, "state", jn::kSessionInfoState.sig, state);
    ASSERT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GetSessionInfo(env, nullptr, session(1), o)), CKR_OK);
    expectLong(o, "slotID", s.slotID);
    expectLong(state, "m_value", s.state);
    expectLong(o, "flags", s.flags);
    expectLong(o, "deviceError", s.ulDeviceError);
}

TEST_F(StructCopiesTest, VersionInPlace) {
    const CK_VERSION v{0xA1, 0x5B};
    jobject o = allocObject(jn::kVersion.path);
    CopyCKVersionToJVersion(env, &v, o);
    EXPECT_EQ(static_cast<unsigned char>(getByte(o, "major")), 0xA1);
    EXPECT_EQ(static_cast<unsigned char>(getByte(o, "minor")), 0x5B);
}

// The date copies keep their layouts as designed: the true offsets for a new
// CK_DATE, the month over the year's first two bytes for the copies in place
// and for the conversion to Cryptoki memory.
TEST_F(StructCopiesTest, Dates) {
    CK_DATE stored;
    memcpy(&stored, "abcdefgh", 8);
    jobject made = ckDatePtrToJDateObject(env, &stored);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(bytesOf(made, "year"), Bytes({'a', 'b', 'c', 'd'}));
    EXPECT_EQ(bytesOf(made, "month"), Bytes({'e', 'f'}));
    EXPECT_EQ(bytesOf(made, "day"), Bytes({'g', 'h'}));

    jobject existing = allocObject(jn::kDate.path);
    setObject(existing, "year", "[B", makeBytes(Bytes(4, '.')));
    setObject(existing, "month", "[B", makeBytes(Bytes(2, '.')));
    setObject(existing, "day", "[B", makeBytes(Bytes(1, '.')));  // a short array takes what fits
    CopyCKDateToJDate(env, &stored, existing);
    EXPECT_EQ(bytesOf(existing, "year"), Bytes({'a', 'b', 'c', 'd'}));
    EXPECT_EQ(bytesOf(existing, "month"), Bytes({'a', 'b'}));
    EXPECT_EQ(bytesOf(existing, "day"), Bytes({'g'}));

    jobject source = allocObject(jn::kDate.path);
    setObject(source, "year", "[B", makeBytes({'A', 'B', 'C', 'D'}));
    setObject(source, "month", "[B", makeBytes({'E', 'F'}));
    setObject(source, "day", "[B", makeBytes({'G', 'H'}));
    CK_DATE* converted = jDateObjectToCKDatePtr(env, source);
    ASSERT_NE(converted, nullptr);
    const auto* raw = reinterpret_cast<const char*>(converted);
    EXPECT_EQ(std::string(raw, 4), "EFCD");    // the month over the year's first digits
    EXPECT_EQ(std::string(raw + 6, 2), "GH");  // bytes 4 and 5 keep what malloc left
    free(converted);
}

}  // namespace
}  // namespace morlin_test
