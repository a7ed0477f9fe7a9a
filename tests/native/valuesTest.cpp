// Plain values: arrays, boxed values, CK_DATE and the in-place copies.
#include <cstdlib>
#include <cstring>

#include "bridgeTest.h"
#include "morlin/values.h"
#include "sweep.h"

#include <functional>

namespace morlin_test {
namespace {

class ValuesTest : public BridgeTest {
protected:
    jobject date(const char* y, const char* m, const char* d) {
        jobject o = allocObject(jn::kDate.path);
        auto bytes = [&](const char* s) { return makeBytes(std::vector<unsigned char>(s, s + strlen(s))); };
        setObject(o, "year", "[B", bytes(y));
        setObject(o, "month", "[B", bytes(m));
        setObject(o, "day", "[B", bytes(d));
        return o;
    }
    std::string text(jobject o, const char* field) {
        auto b = readBytes(static_cast<jbyteArray>(getObject(o, field, "[B")));
        return std::string(b.begin(), b.end());
    }
    template <class T>
    static std::vector<T> owned(T* p, size_t n) {
        std::vector<T> v(p, p + n);
        free(p);
        return v;
    }
};

TEST_F(ValuesTest, ScalarArraysGoThroughATemporaryAndCountElements) {
    CK_ULONG_PTR longs = nullptr;
    CK_ULONG n = 99;
    jLongArrayToCKULongArray(env, makeLongs({-1, 0, 1LL << 40}), &longs, &n);
    EXPECT_EQ(n, 3u);
    EXPECT_EQ(owned(longs, n), (std::vector<CK_ULONG>{~0UL, 0, 1UL << 40}));

    // Empty: a non-null pointer and 0, unlike a byte[]. Null: null and 0.
    jLongArrayToCKULongArray(env, makeLongs({}), &longs, &n);
    EXPECT_NE(longs, nullptr);
    EXPECT_EQ(n, 0u);
    free(longs);
    jLongArrayToCKULongArray(env, nullptr, &longs, &n);
    EXPECT_EQ(longs, nullptr);
    EXPECT_EQ(n, 0u);

    jbooleanArray booleans = env->NewBooleanArray(3);
    const jboolean raw[] = {1, 0, 2};  // 2 is not true here
    env->SetBooleanArrayRegion(booleans, 0, 3, raw);
    CK_BBOOL* bools = nullptr;
    jBooleanArrayToCKBBoolArray(env, booleans, &bools, &n);
    EXPECT_EQ(owned(bools, n), (std::vector<CK_BBOOL>{1, 0, 0}));

    jcharArray chars = env->NewCharArray(3);
    const jchar text[] = {0x0141, 'A', 0xFFFF};
    env->SetCharArrayRegion(chars, 0, 3, text);
    CK_CHAR_PTR narrow = nullptr;
    jCharArrayToCKCharArray(env, chars, &narrow, &n);
    EXPECT_EQ(owned(narrow, n), (std::vector<CK_CHAR>{0x41, 0x41, 0xFF}));
}

TEST_F(ValuesTest, WrapperArraysReportBytes) {
    CK_OBJECT_HANDLE_PTR handles = nullptr;
    CK_ULONG n = 0;
    jobjectArray three = wrappers(jn::kObjectHandle, {5, 6, 7});
    env->SetObjectArrayElement(three, 1, nullptr);  // not skipped: -1
    jObjectHandleArrayToCKObjectHandleArray(env, three, &handles, &n);
    EXPECT_EQ(n, 24u);
    EXPECT_EQ(owned(handles, 3), (std::vector<CK_ULONG>{5, ~0UL, 7}));

    CK_MECHANISM_TYPE_PTR types = nullptr;
    jobjectArray mixed = env->NewObjectArray(2, findClass("java/lang/Object"), nullptr);
    env->SetObjectArrayElement(mixed, 0, wrapper(jn::kMechanismType, 0x1081));
    env->SetObjectArrayElement(mixed, 1, handle(3));  // another class: -1
    jMechanismTypeArrayToCKMechanismTypeArray(env, mixed, &types, &n);
    EXPECT_EQ(n, 16u);
    EXPECT_EQ(owned(types, 2), (std::vector<CK_ULONG>{0x1081, ~0UL}));

    jObjectHandleArrayToCKObjectHandleArray(env, wrappers(jn::kObjectHandle, {}), &handles, &n);
    EXPECT_NE(handles, nullptr);
    EXPECT_EQ(n, 0u);
    free(handles);
}

// When the array's length cannot be read, the wrapper arrays leave both
// outputs as they were; the scalar arrays store the length first and leave
// only the pointer.
TEST_F(ValuesTest, UnreadableLengthLeavesTheOutputs) {
    auto* const marker = reinterpret_cast<CK_ULONG_PTR>(0x10);
    CK_ULONG_PTR p = marker;
    CK_ULONG n = 77;
    {
        JniMonitor monitor(env);
        monitor.failCall(Jni::GetArrayLength, 1);
        jObjectHandleArrayToCKObjectHandleArray(env, wrappers(jn::kObjectHandle, {1}), &p, &n);
    }
    EXPECT_EQ(takeException(), kInjectedException);
    EXPECT_EQ(p, marker);
    EXPECT_EQ(n, 77u);
    {
        JniMonitor monitor(env);
        monitor.failCall(Jni::GetArrayLength, 1);
        jLongArrayToCKULongArray(env, makeLongs({1}), &p, &n);
    }
    EXPECT_EQ(takeException(), kInjectedException);
    EXPECT_EQ(p, marker);
    EXPECT_EQ(n, 0u);  // the failed call's 0, stored before the check
}

TEST_F(ValuesTest, BoxedValues) {
    auto box = [&](const char* cls, const char* sig, jvalue v) {
        jclass c = findClass(cls);
        return env->NewObjectA(c, env->GetMethodID(c, "<init>", sig), &v);
    };
    jvalue v{};
    v.j = static_cast<jlong>(0x8000000000000001ULL);
    EXPECT_EQ(owned(jLongObjectToCKULongPtr(env, box("java/lang/Long", "(J)V", v)), 1)[0], 0x8000000000000001UL);
    v.i = -1;
    EXPECT_EQ(owned(jIntegerObjectToCKULongPtr(env, box("java/lang/Integer", "(I)V", v)), 1)[0], 0xFFFFFFFFUL);
    v.b = -2;
    EXPECT_EQ(owned(jByteObjectToCKBytePtr(env, box("java/lang/Byte", "(B)V", v)), 1)[0], 0xFE);
    v.z = JNI_TRUE;
    EXPECT_EQ(owned(jBooleanObjectToCKBBoolPtr(env, box("java/lang/Boolean", "(Z)V", v)), 1)[0], CK_TRUE);

    v.c = 0x0141;
    EXPECT_EQ(jCharObjectToCKCharPtr(env, box("java/lang/Character", "(C)V", v)), nullptr);
    EXPECT_EQ(takeException(), "java.lang.NoClassDefFoundError");

    jobject back = ckULongPtrToJLongObject(env, std::vector<CK_ULONG>{~0UL}.data());
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(env->CallLongMethod(back, env->GetMethodID(findClass("java/lang/Long"), "longValue", "()J")), -1);
}

TEST_F(ValuesTest, ArraysToJava) {
    const CK_ULONG raw[] = {~0UL, 3, 0x80000000UL};
    EXPECT_EQ(readLongs(ckULongArrayToJLongArray(env, raw, 3)), (std::vector<jlong>{-1, 3, 0x80000000LL}));
    EXPECT_EQ(ckULongArrayToJLongArray(env, nullptr, 3), nullptr);

    jobjectArray handles = ckObjHandleArrayToJObjHandleArray(env, raw, 3);
    ASSERT_NE(handles, nullptr);
    EXPECT_TRUE(env->IsInstanceOf(handles, findClass(jn::kObjectHandleArray.path)));
    EXPECT_EQ(values(handles), (std::vector<jlong>{-1, 3, 0x80000000LL}));
    jobjectArray types = ckMechanismTypeArrayToJMechanismTypeArray(env, raw, 2);
    EXPECT_TRUE(env->IsInstanceOf(types, findClass(jn::kMechanismTypeArray.path)));
    EXPECT_EQ(values(types), (std::vector<jlong>{-1, 3}));

    // A count of 0: an empty handle array, but no mechanism-type array.
    jobjectArray empty = ckObjHandleArrayToJObjHandleArray(env, raw, 0);
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(env->GetArrayLength(empty), 0);
    EXPECT_EQ(ckMechanismTypeArrayToJMechanismTypeArray(env, raw, 0), nullptr);
    EXPECT_FALSE(pending());
}

TEST_F(ValuesTest, InPlaceCopiesFillWhatIsThere) {
    const CK_ULONG raw[] = {11, 12, 13, 14, 15};
    jobjectArray three = wrappers(jn::kObjectHandle, {0, 0, 0});
    jobject first = env->GetObjectArrayElement(three, 0);
    CopyCKULongArrayToJObjectHandleArray(env, raw, 5, three);
    EXPECT_EQ(values(three), (std::vector<jlong>{11, 12, 13}));
    EXPECT_TRUE(env->IsSameObject(env->GetObjectArrayElement(three, 0), first));

    // A null element is passed over, and the copy goes on.
    jobjectArray holes = wrappers(jn::kObjectHandle, {0, 0});
    env->SetObjectArrayElement(holes, 0, nullptr);
    CopyCKULongArrayToJObjectHandleArray(env, raw, 2, holes);
    EXPECT_EQ(getLong(env->GetObjectArrayElement(holes, 1), "m_value"), 12);
    // An array of another class is left alone, even when it holds handles.
    jobjectArray types = wrappers(jn::kMechanismType, {0, 0});
    CopyCKULongArrayToJObjectHandleArray(env, raw, 2, types);
    EXPECT_EQ(values(types), (std::vector<jlong>{0, 0}));
    jobjectArray objects = makeObjects("java/lang/Object", {handle(0)});
    CopyCKULongArrayToJObjectHandleArray(env, raw, 1, objects);
    EXPECT_EQ(values(objects), (std::vector<jlong>{0}));

    CopyCKULongArrayToJMechanismTypeArray(env, raw, 1, types);
    EXPECT_EQ(values(types), (std::vector<jlong>{11, 0}));
    CopyCKMechanismTypeArrayToJMechanismTypeArray(env, raw + 2, 9, types);
    EXPECT_EQ(values(types), (std::vector<jlong>{13, 14}));
    EXPECT_FALSE(pending());
}

TEST_F(ValuesTest, CopyJByteArrayStopsAtTheShorterAndKeepsTheRest) {
    CK_BYTE target[6] = {9, 9, 9, 9, 9, 9};
    CopyJByteArrayToCKByteArray(env, makeBytes({1, 2, 3, 4}), target, 2);
    CopyJByteArrayToCKByteArray(env, makeBytes({5}), target + 3, 2);
    CopyJByteArrayToCKByteArray(env, makeBytes({7}), target + 5, 0);
    CopyJByteArrayToCKByteArray(env, nullptr, target, 6);
    EXPECT_EQ(std::vector<CK_BYTE>(target, target + 6), (std::vector<CK_BYTE>{1, 2, 9, 5, 9, 9}));
}

// The conversions that no native reaches yet, on every exception path: the
// sweep checks that what they handed out is freed by the caller's rule and
// that no JNI call follows a failure.
TEST_F(ValuesTest, ExceptionPaths) {
    jobjectArray handles = wrappers(jn::kObjectHandle, {1, 2, 3});
    jobjectArray types = wrappers(jn::kMechanismType, {0, 0, 0});
    jlongArray longs = makeLongs({1, 2});
    jvalue seven;
    seven.i = 7;
    jobject boxed = callStatic("java/lang/Integer", "valueOf", "(I)Ljava/lang/Integer;", {seven});
    jobject d = date("2026", "03", "15");
    CK_DATE stored;
    memcpy(&stored, "20260315", 8);
    const CK_ULONG raw[] = {4, 5, 6};
    // The caller frees whatever the output pointer holds, also after a failure.
    const std::pair<const char*, std::function<void()>> conversions[] = {
        {"jObjectHandleArrayToCKObjectHandleArray",
         [&] {
             CK_ULONG_PTR p = nullptr;
             CK_ULONG n = 0;
             jObjectHandleArrayToCKObjectHandleArray(env, handles, &p, &n);
             free(p);
         }},
        {"jLongArrayToCKULongArray",
         [&] {
             CK_ULONG_PTR p = nullptr;
             CK_ULONG n = 0;
             jLongArrayToCKULongArray(env, longs, &p, &n);
             free(p);
         }},
        {"jIntegerObjectToCKULongPtr", [&] { free(jIntegerObjectToCKULongPtr(env, boxed)); }},
        {"jDateObjectToCKDatePtr", [&] { free(jDateObjectToCKDatePtr(env, d)); }},
        {"ckDatePtrToJDateObject", [&] { ckDatePtrToJDateObject(env, &stored); }},
        {"CopyCKDateToJDate", [&] { CopyCKDateToJDate(env, &stored, d); }},
        {"ckMechanismTypeArrayToJMechanismTypeArray", [&] { ckMechanismTypeArrayToJMechanismTypeArray(env, raw, 3); }},
        {"CopyCKULongArrayToJMechanismTypeArray", [&] { CopyCKULongArrayToJMechanismTypeArray(env, raw, 3, types); }},
        {"CopyCKULongArrayToJObjectHandleArray", [&] { CopyCKULongArrayToJObjectHandleArray(env, raw, 3, handles); }},
        {"CopyCKMechanismTypeArrayToJMechanismTypeArray",
         [&] { CopyCKMechanismTypeArrayToJMechanismTypeArray(env, raw, 3, types); }},
    };
    for (const auto& [name, run] : conversions) EXPECT_GE(sweepConversion(env, name, run), 2) << name;
    SweepCase toJava;
    toJava.name = "ckULongArrayToJLongArray";
    toJava.run = [&] { return Result::of(ckULongArrayToJLongArray(env, raw, 3)); };
    EXPECT_EQ(sweep(env, toJava), 2);
}

}  // namespace
}  // namespace morlin_test
