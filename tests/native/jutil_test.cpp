// Field accessors, the class name, the text hand-over and the byte moves.
#include <cstdlib>
#include <cstring>

#include "bridge_test.h"
#include "morlin/jutil.h"

namespace morlin_test {
namespace {

class JutilTest : public BridgeTest {};

TEST_F(JutilTest, AccessorsFailWithoutExceptionOnNullObjectOrClass) {
    jclass cls = findClass(kLongRef);
    jobject ref = longRef(42);
    EXPECT_EQ(GetLongField(env, cls, nullptr, "value"), -1);
    EXPECT_EQ(GetLongField(env, nullptr, ref, "value"), -1);
    EXPECT_EQ(GetIntField(env, cls, nullptr, "value"), -1);
    EXPECT_EQ(GetBoolField(env, cls, nullptr, "value"), -1);
    EXPECT_EQ(GetByteArrayField(env, cls, nullptr, "value"), nullptr);
    SetLongField(env, cls, nullptr, "value", 1);
    EXPECT_FALSE(pending());
    EXPECT_EQ(GetLongField(env, cls, ref, "value"), 42);
}

TEST_F(JutilTest, MissingFieldLeavesTheJvmErrorPending) {
    jclass cls = findClass(kLongRef);
    jobject ref = longRef(42);
    EXPECT_EQ(GetLongField(env, cls, ref, "nosuch"), -1);
    EXPECT_EQ(takeException(), "java.lang.NoSuchFieldError");
    // The signature is part of the lookup: value is "J", not "I".
    EXPECT_EQ(GetIntField(env, cls, ref, "value"), -1);
    EXPECT_EQ(takeException(), "java.lang.NoSuchFieldError");
    SetLongField(env, cls, ref, "nosuch", 7);
    EXPECT_EQ(takeException(), "java.lang.NoSuchFieldError");
    EXPECT_EQ(getLong(ref, "value"), 42);
}

TEST_F(JutilTest, IntAndBooleanFields) {
    // java.lang.Integer and Boolean keep their value in a field "value".
    jclass integer = findClass("java/lang/Integer");
    jobject minusFive =
        env->CallStaticObjectMethod(integer, env->GetStaticMethodID(integer, "valueOf", "(I)Ljava/lang/Integer;"), -5);
    EXPECT_EQ(GetIntField(env, integer, minusFive, "value"), -5);  // sign-extended
    jobject boxed = env->AllocObject(integer);
    SetIntField(env, integer, boxed, "value", 0x1'0000'0007LL);  // low 32 bits stored
    EXPECT_EQ(GetIntField(env, integer, boxed, "value"), 7);
    jclass boolean = findClass("java/lang/Boolean");
    jobject truth = env->GetStaticObjectField(boolean, env->GetStaticFieldID(boolean, "TRUE", "Ljava/lang/Boolean;"));
    EXPECT_EQ(GetBoolField(env, boolean, truth, "value"), 1);
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
    char* name = nullptr;
    sweepAllFaults(
        env,
        [&] {
            free(name);
            name = GetClassName(env, obj);
        },
        [&](const char* entry, int) {
            EXPECT_EQ(name, nullptr) << entry;
            EXPECT_TRUE(pending()) << entry;
        });
    free(name);
}

// ReturnLongStringToJava over "hello" (5 bytes) with various buffers.
class LongStringTest : public BridgeTest {
protected:
    CK_RV deliver(jbyteArray bytes, jobject ref) { return rvOf(ReturnLongStringToJava(env, "hello", bytes, ref)); }
};

TEST_F(LongStringTest, SizeQueryAndExactFit) {
    jobject ref = longRef(-3);
    EXPECT_EQ(deliver(nullptr, ref), CKR_OK);
    EXPECT_EQ(getLong(ref, "value"), 5);

    jbyteArray bytes = makeBytes({0, 0, 0, 0, 0, 9});
    EXPECT_EQ(deliver(bytes, ref), CKR_OK);
    EXPECT_EQ(readBytes(bytes), (std::vector<unsigned char>{'h', 'e', 'l', 'l', 'o', 9}));  // no terminator
    EXPECT_EQ(getLong(ref, "value"), 5);
}

TEST_F(LongStringTest, OneShortIsDataLenRangeAndCopiesNothing) {
    jobject ref = longRef(4);
    jbyteArray bytes = makeBytes({1, 1, 1, 1, 1, 1});
    EXPECT_EQ(deliver(bytes, ref), CKR_DATA_LEN_RANGE);
    EXPECT_EQ(getLong(ref, "value"), 5);
    EXPECT_EQ(readBytes(bytes), (std::vector<unsigned char>{1, 1, 1, 1, 1, 1}));
}

TEST_F(LongStringTest, ShortArrayOrNegativeLengthCopiesWhatFits) {
    jobject ref = longRef(100);
    jbyteArray bytes = makeBytes({0, 0, 0});
    EXPECT_EQ(deliver(bytes, ref), CKR_OK);
    EXPECT_EQ(readBytes(bytes), (std::vector<unsigned char>{'h', 'e', 'l'}));
    EXPECT_EQ(getLong(ref, "value"), 5);

    setLong(ref, "value", -1);  // unsigned: very large
    EXPECT_EQ(deliver(makeBytes({0, 0, 0, 0, 0}), ref), CKR_OK);
    EXPECT_EQ(getLong(ref, "value"), 5);
}

TEST_F(LongStringTest, NullLengthRefIsArgumentsBad) {
    EXPECT_EQ(deliver(makeBytes({0}), nullptr), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(deliver(nullptr, nullptr), CKR_ARGUMENTS_BAD);
}

TEST_F(LongStringTest, ExceptionPaths) {
    jobject ref = longRef(10);
    jbyteArray bytes = makeBytes({0, 0, 0, 0, 0});
    jobject result = nullptr;
    sweepAllFaults(
        env, [&] { result = ReturnLongStringToJava(env, "hello", bytes, ref); },
        [&](const char* entry, int) { EXPECT_EXCEPTION_PATH(result, entry); });
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

TEST_F(JutilTest, ByteArrayCopyExceptionPathsFreeAndZero) {
    jbyteArray array = makeBytes({1, 2, 3});
    CK_BYTE_PTR p = nullptr;
    CK_ULONG n = 0;
    sweepAllFaults(
        env,
        [&] {
            free(p);
            jByteArrayToCKByteArray(env, array, &p, &n);
        },
        [&](const char* entry, int) {
            EXPECT_EQ(p, nullptr) << entry;
            EXPECT_EQ(n, 0u) << entry;
            EXPECT_TRUE(pending()) << entry;
        });
    free(p);
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
