// The name natives of CTUtil beyond their sweep rows: text by value under the
// length convention, value by name.
#include <cstring>
#include <string>
#include <vector>

#include "bridgeTest.h"
#include "morlin_util.h"

namespace morlin_test {
namespace {

using StringNative = jobject (*)(JNIEnv*, jclass, jobject, jbyteArray, jobject);
using ValueNative = jobject (*)(JNIEnv*, jclass, jbyteArray);

constexpr const char* kConstants = "kaltrix/morlin/constants/";

struct NameNatives {
    const char* wrapper;  // class of the argument of the string native and of the value native's result
    StringNative string;
    ValueNative value;
    CK_ULONG sample;         // a value with a row
    const char* sampleName;  // its text
};

const NameNatives kNatives[] = {
    {"CK_ATTRIBUTE_TYPE", Java_kaltrix_morlin_CTUtil_CTU_1GetAttributeTypeString,
     Java_kaltrix_morlin_CTUtil_CTU_1GetAttributeTypeValue, 0x3, "LABEL"},
    {"CK_RV", Java_kaltrix_morlin_CTUtil_CTU_1GetErrorString, Java_kaltrix_morlin_CTUtil_CTU_1GetErrorValue, 0x150,
     "buffer too small"},
    {"CK_KEY_TYPE", Java_kaltrix_morlin_CTUtil_CTU_1GetKeyTypeString, Java_kaltrix_morlin_CTUtil_CTU_1GetKeyTypeValue,
     0x1f, "AES"},
    {"CK_MECHANISM_TYPE", Java_kaltrix_morlin_CTUtil_CTU_1GetMechanismTypeString,
     Java_kaltrix_morlin_CTUtil_CTU_1GetMechanismTypeValue, 0x1082, "AES_CBC"},
    {"CK_OBJECT_CLASS", Java_kaltrix_morlin_CTUtil_CTU_1GetObjectClassString,
     Java_kaltrix_morlin_CTUtil_CTU_1GetObjectClassValue, 0x4, "SECRET_KEY"},
    {"CK_STATE", Java_kaltrix_morlin_CTUtil_CTU_1GetSessionStateString,
     Java_kaltrix_morlin_CTUtil_CTU_1GetSessionStateValue, 3, "Read Write User Functions"},
};

std::vector<unsigned char> Text(const std::string& s) { return {s.begin(), s.end()}; }

class NamesTest : public BridgeTest {
protected:
    std::string path(const char* simple) { return std::string(kConstants) + simple; }
    jobject wrapperOf(const NameNatives& n, jlong value) {
        jobject o = allocObject(path(n.wrapper).c_str());
        setLong(o, "m_value", value);
        return o;
    }
    jbyteArray name(const std::string& s) { return makeBytes(Text(s)); }
    // The value of a wrapper of the expected class.
    jlong valueOf(jobject result, const char* simple) {
        EXPECT_NE(result, nullptr);
        if (result == nullptr) return 0;
        EXPECT_TRUE(isInstance(result, path(simple).c_str())) << simple;
        return getLong(result, "m_value");
    }
};

// Each string native reads its own wrapper class and names the value from its
// own table; the length convention itself is ReturnLongStringToJava's.
TEST_F(NamesTest, StringNativesNameTheValueFromTheirTable) {
    for (const NameNatives& n : kNatives) {
        SCOPED_TRACE(n.wrapper);
        const auto text = Text(n.sampleName);
        jobject ref = longRef(64);
        jbyteArray bytes = makeBytes(std::vector<unsigned char>(text.size(), '#'));
        EXPECT_EQ(rvOf(n.string(env, nullptr, wrapperOf(n, static_cast<jlong>(n.sample)), bytes, ref)), CKR_OK);
        EXPECT_EQ(readBytes(bytes), text);
        EXPECT_EQ(getLong(ref, "value"), static_cast<jlong>(text.size()));
    }
}

TEST_F(NamesTest, NullWrapperIsTheTextNull) {
    for (const NameNatives& n : kNatives) {
        SCOPED_TRACE(n.wrapper);
        jobject ref = longRef(10);
        jbyteArray bytes = makeBytes({0, 0, 0, 0, 0});
        EXPECT_EQ(rvOf(n.string(env, nullptr, nullptr, bytes, ref)), CKR_OK);
        EXPECT_EQ(getLong(ref, "value"), 4);
        EXPECT_EQ(readBytes(bytes), (std::vector<unsigned char>{'n', 'u', 'l', 'l', 0}));
    }
}

TEST_F(NamesTest, ValueNativesWrapTheValue) {
    for (const NameNatives& n : kNatives) {
        SCOPED_TRACE(n.wrapper);
        EXPECT_EQ(valueOf(n.value(env, nullptr, name(n.sampleName)), n.wrapper), static_cast<jlong>(n.sample));
        EXPECT_EQ(valueOf(n.value(env, nullptr, name("no such name")), n.wrapper), -1);
        EXPECT_EQ(valueOf(n.value(env, nullptr, makeBytes({})), n.wrapper), -1);
        // Not another wrapper class: CK_RV, whatever the declared result.
        EXPECT_EQ(rvOf(n.value(env, nullptr, nullptr)), CKR_ARGUMENTS_BAD);
    }
    EXPECT_EQ(valueOf(Java_kaltrix_morlin_CTUtil_CTU_1GetAttributeTypeValue(env, nullptr, name("CKA_LABEL")),
                      "CK_ATTRIBUTE_TYPE"),
              3);
    EXPECT_EQ(valueOf(Java_kaltrix_morlin_CTUtil_CTU_1GetErrorValue(env, nullptr, name("CKR_OK")), "CK_RV"), -1);
    EXPECT_EQ(valueOf(Java_kaltrix_morlin_CTUtil_CTU_1GetSessionStateValue(env, nullptr,
                                                                           name("CKM_Read Only User Functions")),
                      "CK_STATE"),
              1);
}

TEST_F(NamesTest, ValueNativesReadAtMost511BytesAsCText) {
    ValueNative keyType = Java_kaltrix_morlin_CTUtil_CTU_1GetKeyTypeValue;
    // The text ends at the first zero byte of the array.
    EXPECT_EQ(valueOf(keyType(env, nullptr, makeBytes({'A', 'E', 'S', 0, 'x'})), "CK_KEY_TYPE"), 0x1f);
    // A name that only its cut end would spoil still fails: nothing past 511
    // bytes is read, and "AES" plus 508 blanks is no name.
    std::string longName = "AES" + std::string(508, ' ') + "tail beyond the cut";
    EXPECT_EQ(valueOf(keyType(env, nullptr, name(longName)), "CK_KEY_TYPE"), -1);
}

}  // namespace
}  // namespace morlin_test
