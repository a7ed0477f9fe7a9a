// Plain values: arrays, boxed values, CK_DATE and the in-place copies.
#include <cstdlib>
#include <cstring>

#include "bridge_test.h"
#include "morlin/infos.h"
#include "morlin/java_names.h"
#include "morlin/values.h"

namespace morlin_test {
namespace {

constexpr const char* kMechType = "kaltrix/morlin/constants/CK_MECHANISM_TYPE";

class ValuesTest : public BridgeTest {
protected:
    jobjectArray wrappers(const char* cls, std::initializer_list<jlong> values) {
        jobjectArray array = env->NewObjectArray(static_cast<jsize>(values.size()), findClass(cls), nullptr);
        jsize i = 0;
        for (jlong v : values) env->SetObjectArrayElement(array, i++, wrapper(cls, v));
        return array;
    }
    std::vector<jlong> values(jobjectArray array) {
        std::vector<jlong> out;
        for (jsize i = 0; i < env->GetArrayLength(array); ++i)
            out.push_back(getLong(env->GetObjectArrayElement(array, i), "m_value"));
        return out;
    }
    jobject date(const char* y, const char* m, const char* d) {
        jobject o = allocObject(jn::kDate);
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

TEST_F(ValuesTest, JavaNamesResolve) {
    for (const char* cls : {jn::kDate, jn::kSlotInfo, jn::kTokenInfo, jn::kMechanismInfo, jn::kSessionInfo,
                            jn::kObjectHandleArray, jn::kMechanismTypeArray})
        EXPECT_NO_THROW(findClass(cls)) << cls;
    const std::pair<const char*, jn::Field> fields[] = {
        {jn::kDate, jn::kDateYear},
        {jn::kDate, jn::kDateMonth},
        {jn::kDate, jn::kDateDay},
        {jn::kSessionInfo, jn::kSessionInfoSlotID},
        {jn::kSessionInfo, jn::kSessionInfoState},
        {jn::kSessionInfo, jn::kSessionInfoFlags},
        {jn::kSessionInfo, jn::kSessionInfoDeviceError},
    };
    for (auto [cls, f] : fields) {
        EXPECT_NE(env->GetFieldID(findClass(cls), f.name, f.sig), nullptr) << cls << "." << f.name;
        env->ExceptionClear();
    }
    // The info tables carry their field names; their kinds fix the signature.
    auto checkTable = [&](const char* cls, const InfoField* rows, size_t n) {
        for (size_t i = 0; i < n; ++i) {
            const InfoField::Kind kind = rows[i].kind;
            const char* sig = kind == InfoField::Bytes ? "[B" : kind == InfoField::Long ? "J" : jn::kVersionSig;
            EXPECT_NE(env->GetFieldID(findClass(cls), rows[i].name, sig), nullptr) << cls << "." << rows[i].name;
            env->ExceptionClear();
        }
    };
    checkTable(jn::kSlotInfo, kSlotInfoFields, std::size(kSlotInfoFields));
    checkTable(jn::kTokenInfo, kTokenInfoFields, std::size(kTokenInfoFields));
    checkTable(jn::kMechanismInfo, kMechanismInfoFields, std::size(kMechanismInfoFields));
    for (const jn::Boxed& b : {jn::kBoxedLong, jn::kBoxedInteger, jn::kBoxedByte, jn::kBoxedBoolean})
        EXPECT_NE(env->GetMethodID(findClass(b.cls), b.method, b.methodSig), nullptr) << b.cls;
    EXPECT_NE(env->GetMethodID(findClass("java/lang/Long"), jn::kConstructor, jn::kLongConstructorSig), nullptr);
    // The one path that is meant not to exist.
    EXPECT_EQ(env->FindClass(jn::kBoxedChar.cls), nullptr);
    EXPECT_EQ(takeException(), "java.lang.NoClassDefFoundError");
}

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
    jobjectArray three = wrappers(kObjectHandle, {5, 6, 7});
    env->SetObjectArrayElement(three, 1, nullptr);  // not skipped: -1
    jObjectHandleArrayToCKObjectHandleArray(env, three, &handles, &n);
    EXPECT_EQ(n, 24u);
    EXPECT_EQ(owned(handles, 3), (std::vector<CK_ULONG>{5, ~0UL, 7}));

    CK_MECHANISM_TYPE_PTR types = nullptr;
    jobjectArray mixed = env->NewObjectArray(2, findClass("java/lang/Object"), nullptr);
    env->SetObjectArrayElement(mixed, 0, wrapper(kMechType, 0x1081));
    env->SetObjectArrayElement(mixed, 1, wrapper(kObjectHandle, 3));  // another class: -1
    jMechanismTypeArrayToCKMechanismTypeArray(env, mixed, &types, &n);
    EXPECT_EQ(n, 16u);
    EXPECT_EQ(owned(types, 2), (std::vector<CK_ULONG>{0x1081, ~0UL}));

    jObjectHandleArrayToCKObjectHandleArray(env, wrappers(kObjectHandle, {}), &handles, &n);
    EXPECT_NE(handles, nullptr);
    EXPECT_EQ(n, 0u);
    free(handles);
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

TEST_F(ValuesTest, DateOffsetsAreKeptAsDesigned) {
    // To Cryptoki: the month lands on the year's first two digits.
    CK_DATE* d = jDateObjectToCKDatePtr(env, date("2026", "03", "15"));
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(d), 4), "0326");
    EXPECT_EQ(std::string(reinterpret_cast<char*>(d) + 6, 2), "15");  // bytes 4 and 5 are unknown
    free(d);
    EXPECT_EQ(jDateObjectToCKDatePtr(env, allocObject("kaltrix/morlin/CK_VERSION")), nullptr);
    EXPECT_FALSE(pending());

    // A new CK_DATE gets the true offsets.
    CK_DATE stored;
    memcpy(&stored, "20260315", 8);
    jobject made = ckDatePtrToJDateObject(env, &stored);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(text(made, "year"), "2026");
    EXPECT_EQ(text(made, "month"), "03");
    EXPECT_EQ(text(made, "day"), "15");
    EXPECT_EQ(ckDatePtrToJDateObject(env, nullptr), nullptr);

    // In place: month reads the year's first digits; a short array takes what fits.
    jobject existing = date("xxxx", "xx", "x");
    CopyCKDateToJDate(env, &stored, existing);
    EXPECT_EQ(text(existing, "year"), "2026");
    EXPECT_EQ(text(existing, "month"), "20");
    EXPECT_EQ(text(existing, "day"), "1");
    setObject(existing, "month", "[B", nullptr);  // a null field is passed over
    CopyCKDateToJDate(env, &stored, existing);
    EXPECT_FALSE(pending());
}

TEST_F(ValuesTest, ArraysToJava) {
    const CK_ULONG raw[] = {~0UL, 3, 0x80000000UL};
    EXPECT_EQ(readLongs(ckULongArrayToJLongArray(env, raw, 3)), (std::vector<jlong>{-1, 3, 0x80000000LL}));
    EXPECT_EQ(ckULongArrayToJLongArray(env, nullptr, 3), nullptr);

    jobjectArray handles = ckObjHandleArrayToJObjHandleArray(env, raw, 3);
    ASSERT_NE(handles, nullptr);
    EXPECT_TRUE(env->IsInstanceOf(handles, findClass(jn::kObjectHandleArray)));
    EXPECT_EQ(values(handles), (std::vector<jlong>{-1, 3, 0x80000000LL}));
    jobjectArray types = ckMechanismTypeArrayToJMechanismTypeArray(env, raw, 2);
    EXPECT_TRUE(env->IsInstanceOf(types, findClass(jn::kMechanismTypeArray)));
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
    jobjectArray three = wrappers(kObjectHandle, {0, 0, 0});
    jobject first = env->GetObjectArrayElement(three, 0);
    CopyCKULongArrayToJObjectHandleArray(env, raw, 5, three);
    EXPECT_EQ(values(three), (std::vector<jlong>{11, 12, 13}));
    EXPECT_TRUE(env->IsSameObject(env->GetObjectArrayElement(three, 0), first));

    // A null element is passed over, and the copy goes on.
    jobjectArray holes = wrappers(kObjectHandle, {0, 0});
    env->SetObjectArrayElement(holes, 0, nullptr);
    CopyCKULongArrayToJObjectHandleArray(env, raw, 2, holes);
    EXPECT_EQ(getLong(env->GetObjectArrayElement(holes, 1), "m_value"), 12);
    // An array of another class is left alone.
    jobjectArray types = wrappers(kMechType, {0, 0});
    CopyCKULongArrayToJObjectHandleArray(env, raw, 2, types);
    EXPECT_EQ(values(types), (std::vector<jlong>{0, 0}));

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

// Each operation under every JNI failure: its sentinel or the exception
// pending, and whatever it handed out freed by the caller's rule (the asan
// preset checks the last).
TEST_F(ValuesTest, ExceptionPaths) {
    int checked = 0;
    auto expectPending = [&](const char* entry, int) {
        ++checked;
        EXPECT_TRUE(pending()) << entry;
    };
    const auto& all = allFaultEntries();

    // Null from the returning operations, with the exception pending.
    auto nullAndPending = [&](auto& result) {
        return [&](const char* entry, int) {
            EXPECT_EQ(result, nullptr) << entry;
            EXPECT_TRUE(pending()) << entry;
        };
    };
    // Arrays from Java: the caller frees whatever the pointer holds.
    auto sweepArrayIn = [&](auto convert, auto array) {
        sweepAllFaults(
            env,
            [&] {
                CK_ULONG_PTR p = nullptr;
                CK_ULONG n = 0;
                convert(env, array, &p, &n);
                free(p);
            },
            expectPending);
    };
    sweepArrayIn(jObjectHandleArrayToCKObjectHandleArray, wrappers(kObjectHandle, {1, 2, 3}));
    sweepArrayIn(jLongArrayToCKULongArray, makeLongs({1, 2}));

    jclass integer = findClass("java/lang/Integer");
    jobject boxed = env->NewObject(integer, env->GetMethodID(integer, "<init>", "(I)V"), jint{7});
    CK_ULONG_PTR unboxed = nullptr;
    sweepAllFaults(
        env, all,
        [&] {
            free(unboxed);
            unboxed = jIntegerObjectToCKULongPtr(env, boxed);
        },
        nullAndPending(unboxed));
    ASSERT_NE(unboxed, nullptr);
    EXPECT_EQ(*unboxed, 7u);
    free(unboxed);

    jobject d = date("2026", "03", "15");
    CK_DATE* converted = nullptr;
    sweepAllFaults(
        env,
        [&] {
            free(converted);
            converted = jDateObjectToCKDatePtr(env, d);
        },
        nullAndPending(converted));
    free(converted);

    CK_DATE stored;
    memcpy(&stored, "20260315", 8);
    jobject made = nullptr;
    sweepAllFaults(
        env, [&] { made = ckDatePtrToJDateObject(env, &stored); },
        [&](const char* entry, int) {
            EXPECT_TRUE(pending()) << entry;
            if (std::string(entry) != "SetObjectField") {
                EXPECT_EQ(made, nullptr) << entry;
            }
        });
    sweepAllFaults(
        env, [&] { CopyCKDateToJDate(env, &stored, d); }, expectPending);

    const CK_ULONG raw[] = {4, 5, 6};
    jobjectArray result = nullptr;
    sweepAllFaults(
        env, [&] { result = ckMechanismTypeArrayToJMechanismTypeArray(env, raw, 3); }, nullAndPending(result));
    jobjectArray types = wrappers(kMechType, {0, 0, 0});
    sweepAllFaults(
        env, [&] { CopyCKULongArrayToJMechanismTypeArray(env, raw, 3, types); }, expectPending);
    jobjectArray handles = wrappers(kObjectHandle, {1, 2, 3});
    sweepAllFaults(
        env, [&] { CopyCKULongArrayToJObjectHandleArray(env, raw, 3, handles); }, expectPending);
    EXPECT_GT(checked, 40);
}

}  // namespace
}  // namespace morlin_test
