// Field accessors, the class name, the text hand-over and the byte moves.
#include <cstdlib>
#include <cstring>

#include "bridgeTest.h"
#include "morlin/jutil.h"
#include "sweep.h"

namespace morlin_test {
namespace {

class JutilTest : public BridgeTest {};

// Fields of JDK classes, for the accessors that no name of ours reads yet.
constexpr jn::IntField kIntegerValue{{"java/lang/Integer", "value", "I"}};
constexpr jn::BooleanField kBooleanValue{{"java/lang/Boolean", "value", "Z"}};
constexpr jn::LongField kNoSuchField{{"kaltrix/morlin/LongRef", "nosuch", "J"}};

TEST_F(JutilTest, AccessorsFailWithoutExceptionOnNullObjectOrClass) {
    jclass cls = findClass(jn::kLongRef.path);
    jobject ref = longRef(42);
    JniMonitor monitor(env);
    EXPECT_EQ(GetLongField(env, cls, nullptr, jn::kLongRefValue), -1);
    EXPECT_EQ(GetLongField(env, nullptr, ref, jn::kLongRefValue), -1);
    EXPECT_EQ(GetIntField(env, cls, nullptr, kIntegerValue), -1);
    EXPECT_EQ(GetBoolField(env, cls, nullptr, kBooleanValue), -1);
    EXPECT_EQ(GetByteArrayField(env, cls, nullptr, jn::kDateYear), nullptr);
    SetLongField(env, cls, nullptr, jn::kLongRefValue, 1);
    EXPECT_TRUE(monitor.tally().trace.empty());  // not a single JNI call
    EXPECT_EQ(GetLongField(env, cls, ref, jn::kLongRefValue), 42);
}

TEST_F(JutilTest, MissingFieldLeavesTheJvmErrorPending) {
    jclass cls = findClass(jn::kLongRef.path);
    jobject ref = longRef(42);
    EXPECT_EQ(GetLongField(env, cls, ref, kNoSuchField), -1);
    EXPECT_EQ(takeException(), "java.lang.NoSuchFieldError");
    SetLongField(env, cls, ref, kNoSuchField, 7);
    EXPECT_EQ(takeException(), "java.lang.NoSuchFieldError");
    EXPECT_EQ(getLong(ref, "value"), 42);
}

TEST_F(JutilTest, IntAndBooleanFields) {
    // java.lang.Integer and Boolean keep their value in a field "value".
    jclass integer = findClass("java/lang/Integer");
    jvalue arg;
    arg.i = -5;
    jobject minusFive = callStatic("java/lang/Integer", "valueOf", "(I)Ljava/lang/Integer;", {arg});
    EXPECT_EQ(GetIntField(env, integer, minusFive, kIntegerValue), -5);  // sign-extended
    jobject boxed = allocObject("java/lang/Integer");
    SetIntField(env, integer, boxed, kIntegerValue, 0x1'0000'0007LL);  // low 32 bits stored
    EXPECT_EQ(GetIntField(env, integer, boxed, kIntegerValue), 7);
    arg.z = JNI_TRUE;
    jobject truth = callStatic("java/lang/Boolean", "valueOf", "(Z)Ljava/lang/Boolean;", {arg});
    EXPECT_EQ(GetBoolField(env, findClass("java/lang/Boolean"), truth, kBooleanValue), 1);
}

TEST_F(JutilTest, ClassNameIsDottedAndOwnedByTheCaller) {
    char* name = GetClassName(env, session(1));
    ASSERT_NE(name, nullptr);
    EXPECT_STREQ(name, "kaltrix.morlin.CK_SESSION_HANDLE");
    free(name);
    name = GetClassName(env, makeBytes({1}));
    EXPECT_STREQ(name, "[B");
    free(name);
}

TEST_F(JutilTest, ClassNameExceptionPaths) {
    jobject obj = makeString("x");
    SweepCase c;
    c.name = "GetClassName";
    c.run = [&] {
        char* name = GetClassName(env, obj);
        const bool got = name != nullptr;
        free(name);
        return Result::of(jlong{got});
    };
    EXPECT_GT(sweep(env, c), 5);
}

// ReturnLongStringToJava over "hello" (5 bytes): size query, exact fit (no
// terminator), one byte short (CKR_DATA_LEN_RANGE, nothing copied), a short
// array or a negative value (copies what fits, value the whole length).
TEST_F(JutilTest, LongStringConvention) {
    auto deliver = [&](jbyteArray bytes, jobject ref) {
        return rvOf(ReturnLongStringToJava(env, "hello", bytes, ref));
    };
    jobject ref = longRef(-3);
    EXPECT_EQ(deliver(nullptr, ref), CKR_OK);
    EXPECT_EQ(getLong(ref, "value"), 5);
    jbyteArray six = makeBytes({0, 0, 0, 0, 0, 9});
    EXPECT_EQ(deliver(six, ref), CKR_OK);
    EXPECT_EQ(readBytes(six), (std::vector<unsigned char>{'h', 'e', 'l', 'l', 'o', 9}));

    setLong(ref, "value", 4);
    jbyteArray ones = makeBytes({1, 1, 1, 1, 1, 1});
    EXPECT_EQ(deliver(ones, ref), CKR_DATA_LEN_RANGE);
    EXPECT_EQ(getLong(ref, "value"), 5);
    EXPECT_EQ(readBytes(ones), std::vector<unsigned char>(6, 1));

    for (jlong room : {100L, -1L}) {
        setLong(ref, "value", room);
        jbyteArray three = makeBytes({0, 0, 0});
        EXPECT_EQ(deliver(three, ref), CKR_OK);
        EXPECT_EQ(readBytes(three), (std::vector<unsigned char>{'h', 'e', 'l'}));
        EXPECT_EQ(getLong(ref, "value"), 5);
    }
    EXPECT_EQ(deliver(six, nullptr), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(deliver(nullptr, nullptr), CKR_ARGUMENTS_BAD);
}

TEST_F(JutilTest, ByteArrayCopyTreatsEmptyLikeNull) {
    CK_BYTE_PTR p = reinterpret_cast<CK_BYTE_PTR>(1);
    CK_ULONG n = 99;
    jByteArrayToCKByteArray(env, makeBytes({}), &p, &n);
    EXPECT_EQ(p, nullptr);
    EXPECT_EQ(n, 0u);
    jByteArrayToCKByteArray(env, nullptr, &p, &n);
    EXPECT_EQ(p, nullptr);
    EXPECT_EQ(n, 0u);
    jByteArrayToCKByteArray(env, makeBytes({1, 2}), nullptr, &n);  // no output address: nothing
    EXPECT_EQ(n, 0u);

    jByteArrayToCKByteArray(env, makeBytes({7, 8, 9}), &p, &n);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(std::vector<unsigned char>(p, p + n), (std::vector<unsigned char>{7, 8, 9}));
    free(p);
}

// A failure frees the copy itself and leaves both outputs 0.
TEST_F(JutilTest, ByteArrayCopyExceptionPathsFreeAndZero) {
    jbyteArray array = makeBytes({1, 2, 3});
    CK_BYTE_PTR p = nullptr;
    CK_ULONG n = 0;
    SweepCase c;
    c.name = "jByteArrayToCKByteArray";
    c.run = [&] {
        jByteArrayToCKByteArray(env, array, &p, &n);
        const jlong copied = static_cast<jlong>(n);
        free(p);
        return Result::of(copied);
    };
    c.checkFaulted = [&](const Result& r) { EXPECT_EQ(r.value, 0); };
    EXPECT_EQ(sweep(env, c), 2);
}

TEST_F(JutilTest, StringCopyIsModifiedUtf8WithoutTerminatorCounted) {
    CK_CHAR_PTR p = nullptr;
    CK_ULONG n = 0;
    jStringToCKCharArray(env, makeString("abc"), &p, &n);
    EXPECT_EQ(n, 3u);
    EXPECT_STREQ(reinterpret_cast<char*>(p), "abc");
    free(p);
    jStringToCKCharArray(env, makeString("\xc3\xa9t\xc3\xa9"), &p, &n);  // "été"
    EXPECT_EQ(n, 5u);
    free(p);
    jStringToCKCharArray(env, nullptr, &p, &n);
    EXPECT_EQ(p, nullptr);
    EXPECT_EQ(n, 0u);
}

TEST_F(JutilTest, NewByteArrayFromCryptoki) {
    const CK_BYTE data[3] = {4, 5, 6};
    EXPECT_EQ(ckByteArrayToJByteArray(env, nullptr, 3), nullptr);
    EXPECT_FALSE(pending());
    // Only the low 32 bits of the length count.
    jbyteArray array = ckByteArrayToJByteArray(env, data, 0x1'0000'0003UL);
    EXPECT_EQ(readBytes(array), (std::vector<unsigned char>{4, 5, 6}));
}

TEST_F(JutilTest, InPlaceCopiesStopAtTheShorterSide) {
    const CK_BYTE ten[10] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    jbyteArray four = makeBytes({0, 0, 0, 0});
    CopyCKByteArrayToJByteArray(env, ten, 10, four);
    EXPECT_EQ(readBytes(four), (std::vector<unsigned char>{1, 2, 3, 4}));
    jbyteArray six = makeBytes({9, 9, 9, 9, 9, 9});
    CopyCKByteArrayToJByteArray(env, ten, 2, six);
    EXPECT_EQ(readBytes(six), (std::vector<unsigned char>{1, 2, 9, 9, 9, 9}));
    CopyCKByteArrayToJByteArray(env, nullptr, 2, six);
    CopyCKByteArrayToJByteArray(env, ten, 2, nullptr);
    EXPECT_FALSE(pending());

    const CK_ULONG longs[3] = {~0UL, 0x80000000UL, 5};
    jlongArray two = makeLongs({0, 0});
    CopyCKULongArrayToJLongArray(env, longs, 3, two);
    EXPECT_EQ(readLongs(two), (std::vector<jlong>{-1, 0x80000000LL}));
}

}  // namespace
}  // namespace morlin_test
