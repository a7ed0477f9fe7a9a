// Java objects copied into Cryptoki memory that exists already. Targets are
// filled with a marker byte first, so that a byte written where it should
// not be, or not written where it should, shows; structures go out to Java
// from distinct bytes and come back field by field.
#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "bridgeTest.h"
#include "morlin/copyToCK.h"
#include "morlin/copyToJava.h"
#include "morlin/values.h"
#include "sweep.h"

namespace morlin_test {
namespace {

using Bytes = std::vector<unsigned char>;
constexpr unsigned char kMark = 0xEE;

template <class S>
S Marked() {
    S s;
    memset(&s, kMark, sizeof s);
    return s;
}

template <class T>
Bytes BytesOf(const T& field) {
    const auto* p = reinterpret_cast<const unsigned char*>(&field);
    return Bytes(p, p + sizeof field);
}

// The little-endian bytes of a CK_ULONG, as it sits in memory here.
Bytes U(CK_ULONG v) { return BytesOf(v); }
Bytes Cat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes& p : parts) out.insert(out.end(), p.begin(), p.end());
    return out;
}

#define EXPECT_FIELD(got, want, f) EXPECT_EQ(BytesOf((got).f), BytesOf((want).f)) << #f

// Swaps the thread's function table for one that notes the mode of every
// Release<Type>ArrayElements before passing the call on.
class ReleaseModes {
public:
    explicit ReleaseModes(JNIEnv* env) : env_(env) {
        real_ = env->functions;
        table_ = *real_;
        modes().clear();
        table_.ReleaseLongArrayElements = [](JNIEnv* e, jlongArray a, jlong* p, jint m) {
            note("long", m);
            real_->ReleaseLongArrayElements(e, a, p, m);
        };
        table_.ReleaseIntArrayElements = [](JNIEnv* e, jintArray a, jint* p, jint m) {
            note("int", m);
            real_->ReleaseIntArrayElements(e, a, p, m);
        };
        table_.ReleaseBooleanArrayElements = [](JNIEnv* e, jbooleanArray a, jboolean* p, jint m) {
            note("boolean", m);
            real_->ReleaseBooleanArrayElements(e, a, p, m);
        };
        table_.ReleaseCharArrayElements = [](JNIEnv* e, jcharArray a, jchar* p, jint m) {
            note("char", m);
            real_->ReleaseCharArrayElements(e, a, p, m);
        };
        table_.ReleaseByteArrayElements = [](JNIEnv* e, jbyteArray a, jbyte* p, jint m) {
            note("byte", m);
            real_->ReleaseByteArrayElements(e, a, p, m);
        };
        env->functions = &table_;
    }
    ~ReleaseModes() { env_->functions = real_; }
    static std::vector<std::pair<std::string, jint>>& modes() {
        static std::vector<std::pair<std::string, jint>> m;
        return m;
    }

private:
    static void note(const char* kind, jint mode) { modes().emplace_back(kind, mode); }
    JNIEnv* env_;
    static inline const JNINativeInterface_* real_ = nullptr;
    JNINativeInterface_ table_;
};

class CopyToCKTest : public BridgeTest {
protected:
    // Helpers that call JNI themselves stay outside a monitor's count.
    jobject box(const jn::Class& cls, const char* sig, jvalue v) {
        jclass c = findClass(cls.path);
        Unpatched real(env);
        return env->NewObjectA(c, env->GetMethodID(c, "<init>", sig), &v);
    }
    jobject newInteger(jint i) {
        jvalue v{};
        v.i = i;
        return box(jn::kInteger, "(I)V", v);
    }
    jobject newCharacter(jchar c) {
        jvalue v{};
        v.c = c;
        return box(jn::kCharacter, "(C)V", v);
    }
    jobject bbool(bool value) {
        jobject o = allocObject(jn::kBBool.path);
        Unpatched real(env);
        env->SetBooleanField(o, env->GetFieldID(findClass(jn::kBBool.path), "m_value", "Z"), value);
        return o;
    }
    jintArray ints(const std::vector<jint>& v) {
        Unpatched real(env);
        jintArray a = env->NewIntArray(static_cast<jsize>(v.size()));
        env->SetIntArrayRegion(a, 0, static_cast<jsize>(v.size()), v.data());
        return a;
    }
    jbooleanArray booleans(const std::vector<jboolean>& v) {
        Unpatched real(env);
        jbooleanArray a = env->NewBooleanArray(static_cast<jsize>(v.size()));
        env->SetBooleanArrayRegion(a, 0, static_cast<jsize>(v.size()), v.data());
        return a;
    }
    jcharArray chars(const std::vector<jchar>& v) {
        Unpatched real(env);
        jcharArray a = env->NewCharArray(static_cast<jsize>(v.size()));
        env->SetCharArrayRegion(a, 0, static_cast<jsize>(v.size()), v.data());
        return a;
    }
    jobject version(jbyte major, jbyte minor) {
        jobject o = allocObject(jn::kVersion.path);
        jclass c = findClass(jn::kVersion.path);
        Unpatched real(env);
        env->SetByteField(o, env->GetFieldID(c, "major", "B"), major);
        env->SetByteField(o, env->GetFieldID(c, "minor", "B"), minor);
        return o;
    }
    // A CK_MECHANISM of the type holding parameter, and a Cryptoki mechanism
    // pointing at structure, as a caller of the copy holds them.
    template <class S>
    void copyIn(CK_MECHANISM_TYPE type, S& structure, jobject parameter) {
        CK_MECHANISM target{type, &structure, sizeof(S)};
        CopyJMechanismToCKMechanism(env, mechanism(type, parameter, sizeof(S)), &target);
    }
    // The value copied into a marked buffer of 32 bytes with the length.
    Bytes copied(jobject value, CK_ULONG length) {
        Bytes buffer(32, kMark);
        CopyJObjectPrimativeToCKObjectPtr(env, value, buffer.data(), length);
        return buffer;
    }
    // want, then marker bytes up to 32.
    static Bytes Then(Bytes want) {
        want.resize(32, kMark);
        return want;
    }
};

// ---- arrays, text, dates --------------------------------------------------------------

TEST_F(CopyToCKTest, ArraysConvertUpToTheShorterAndKeepTheTail) {
    CK_ULONG longs[4] = {1, 1, 1, 1};
    CopyJLongArrayToCKULongArray(env, makeLongs({-1, 1LL << 40, 3}), longs, 2);
    EXPECT_EQ(BytesOf(longs), Cat({U(~0UL), U(1UL << 40), U(1), U(1)}));
    CopyJLongArrayToCKULongArray(env, makeLongs({9}), longs + 2, 5);
    EXPECT_EQ(longs[2], 9u);
    EXPECT_EQ(longs[3], 1u);

    CK_ULONG widened[3] = {5, 5, 5};
    CopyJIntArrayToCKULongArray(env, ints({-1, 0x7FFFFFFF}), widened, 3);
    EXPECT_EQ(BytesOf(widened), Cat({U(0xFFFFFFFFUL), U(0x7FFFFFFFUL), U(5)}));

    CK_BBOOL bools[4] = {kMark, kMark, kMark, kMark};
    CopyJBooleanArrayToCKBBoolArray(env, booleans({1, 0, 2}), bools, 4);
    EXPECT_EQ(BytesOf(bools), (Bytes{1, 0, 0, kMark}));

    CK_CHAR narrow[3] = {kMark, kMark, kMark};
    CopyJCharArrayToCKCharArray(env, chars({0x0141, 0xFF7A, 'c'}), narrow, 2);
    EXPECT_EQ(BytesOf(narrow), (Bytes{0x41, 0x7A, kMark}));

    // A maximum of 0, a null array or a null target: nothing.
    CopyJLongArrayToCKULongArray(env, makeLongs({7}), longs, 0);
    CopyJLongArrayToCKULongArray(env, nullptr, longs, 4);
    CopyJLongArrayToCKULongArray(env, makeLongs({7}), nullptr, 4);
    EXPECT_EQ(longs[0], ~0UL);
    EXPECT_FALSE(pending());
}

// Long, int and boolean arrays release with mode 0, char and byte arrays
// with JNI_ABORT; the dispatch takes the same routes.
TEST_F(CopyToCKTest, ReleaseModes) {
    CK_ULONG wide[2];
    CK_BYTE narrow[2];
    {
        ReleaseModes spy(env);
        CopyJLongArrayToCKULongArray(env, makeLongs({1}), wide, 2);
        CopyJIntArrayToCKULongArray(env, ints({1}), wide, 2);
        CopyJBooleanArrayToCKBBoolArray(env, booleans({1}), narrow, 2);
        CopyJCharArrayToCKCharArray(env, chars({'a'}), narrow, 2);
        CopyJByteArrayToCKByteArray(env, makeBytes({1}), narrow, 2);
        CopyJObjectPrimativeToCKObjectPtr(env, makeLongs({1}), wide, 1);
        CopyJObjectPrimativeToCKObjectPtr(env, chars({'a'}), narrow, 1);
    }
    const std::vector<std::pair<std::string, jint>> want = {{"long", 0},         {"int", 0},          {"boolean", 0},
                                                            {"char", JNI_ABORT}, {"byte", JNI_ABORT}, {"long", 0},
                                                            {"char", JNI_ABORT}};
    EXPECT_EQ(ReleaseModes::modes(), want);
}

TEST_F(CopyToCKTest, StringFollowsStrncpy) {
    CK_CHAR three[5] = {kMark, kMark, kMark, kMark, kMark};
    CopyJStringToCKCharArray(env, makeString("abc"), three, 3);
    EXPECT_EQ(BytesOf(three), (Bytes{'a', 'b', 'c', kMark, kMark}));  // no terminator
    CK_CHAR five[6] = {kMark, kMark, kMark, kMark, kMark, kMark};
    CopyJStringToCKCharArray(env, makeString("abc"), five, 5);
    EXPECT_EQ(BytesOf(five), (Bytes{'a', 'b', 'c', 0, 0, kMark}));  // NUL filled up to the length
    CopyJStringToCKCharArray(env, makeString("zz"), five, 1);
    EXPECT_EQ(five[0], 'z');
    EXPECT_EQ(five[1], 'b');
    CopyJStringToCKCharArray(env, nullptr, five, 5);
    EXPECT_EQ(five[0], 'z');
}

TEST_F(CopyToCKTest, DateTakesTheMonthAtOffsetZeroAndTheDayAtSix) {
    CK_DATE d;
    memcpy(&d, "xxxxxxxx", 8);
    CopyJDateToCKDate(env, date("20260315"), &d, 8);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(&d), 8), "0326xx15");

    // Short and null fields leave their bytes; another class leaves all.
    jobject partial = allocObject(jn::kDate.path);
    setObject(partial, "year", "[B", makeBytes({'1', '9'}));
    setObject(partial, "day", "[B", makeBytes({'7', '8', '9'}));
    memcpy(&d, "xxxxxxxx", 8);
    CopyJDateToCKDate(env, partial, &d, 0);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(&d), 8), "19xxxx78");
    CopyJDateToCKDate(env, handle(1), &d, 8);
    CopyJDateToCKDate(env, nullptr, &d, 8);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(&d), 8), "19xxxx78");
    EXPECT_FALSE(pending());
}

TEST_F(CopyToCKTest, TheCountAloneBoundsTheObjectArrayLoops) {
    CK_MECHANISM_TYPE types[3] = {1, 1, 1};
    jobjectArray two = wrappers(jn::kMechanismType, {0x1081, 0x80000E00});
    CopyJMechanismTypeArrayToCKMechanismTypeArray(env, two, types, 1);
    EXPECT_EQ(BytesOf(types), Cat({U(0x1081), U(1), U(1)}));
    CopyJMechanismTypeArrayToCKMechanismTypeArray(env, two, types, 3);
    EXPECT_EQ(takeException(), "java.lang.ArrayIndexOutOfBoundsException");
    EXPECT_EQ(BytesOf(types), Cat({U(0x1081), U(0x80000E00), U(1)}));

    CK_BYTE buffers[2][4];
    memset(buffers, kMark, sizeof buffers);
    CK_ATTRIBUTE rows[2] = {{0, buffers[0], 4}, {0, buffers[1], 4}};
    jobjectArray one = attributes({attribute(0x11, makeBytes({1, 2}), 2)});
    CopyJAttributeArrayToCKAttributeArray(env, one, rows, 2);
    EXPECT_EQ(takeException(), "java.lang.ArrayIndexOutOfBoundsException");
    EXPECT_EQ(rows[0].type, 0x11u);
    EXPECT_EQ(rows[0].ulValueLen, 2u);
    EXPECT_EQ(BytesOf(buffers[0]), (Bytes{1, 2, kMark, kMark}));
    EXPECT_EQ(rows[1].type, 0u);
    EXPECT_EQ(rows[1].ulValueLen, 4u);
}

// ---- the value dispatch ---------------------------------------------------------------

TEST_F(CopyToCKTest, EveryRowOfTheDispatch) {
    struct Case {
        const char* name;
        jobject value;
        CK_ULONG length;
        Bytes want;
    };
    jvalue v{};
    v.z = JNI_TRUE;
    jobject booleanTrue = box(jn::kBoolean, "(Z)V", v);
    v.b = -2;
    jobject byteValue = box(jn::kByte, "(B)V", v);
    const Case cases[] = {
        {"byte[]", makeBytes({1, 2, 3}), 8, {1, 2, 3}},
        {"Long", newLong(0x0102030405060708), 8, U(0x0102030405060708)},
        {"CK_BBOOL", bbool(true), 8, {1}},
        {"CK_DATE", date("20260315"), 8, {'0', '3', '2', '6', kMark, kMark, '1', '5'}},
        {"CK_OBJECT_HANDLE", wrapper(jn::kObjectHandle, 0x105), 8, U(0x105)},
        {"CK_SESSION_HANDLE", wrapper(jn::kSessionHandle, 0x106), 8, U(0x106)},
        {"CK_ATTRIBUTE_TYPE", wrapper(jn::kAttributeType, 0x107), 8, U(0x107)},
        {"CK_CERTIFICATE_TYPE", wrapper(jn::kCertificateType, 0x108), 8, U(0x108)},
        {"CK_HW_FEATURE_TYPE", wrapper(jn::kHWFeatureType, 0x109), 8, U(0x109)},
        {"CK_KEY_TYPE", wrapper(jn::kKeyType, 0x10A), 8, U(0x10A)},
        // Bytes in, 8 to an element: 20 bytes take two.
        {"CK_MECHANISM_TYPE[]", wrappers(jn::kMechanismType, {0x1081, 0x1082, 0x1083}), 20,
         Cat({U(0x1081), U(0x1082)})},
        {"CK_MECHANISM_TYPE", wrapper(jn::kMechanismType, 0x10C), 8, U(0x10C)},
        {"CK_OBJECT_CLASS", wrapper(jn::kObjectClass, 0x10D), 8, U(0x10D)},
        {"CK_RSA_PKCS_OAEP_SOURCE_TYPE", wrapper(jn::kOaepSourceType, 0x10E), 8, U(0x10E)},
        {"CK_RV", wrapper(jn::kRV, 0x10F), 8, U(0x10F)},
        {"CK_STATE", wrapper(jn::kState, 0x110), 8, U(0x110)},
        {"CK_USER_TYPE", wrapper(jn::kUserType, 0x111), 8, U(0x111)},
        {"Boolean", booleanTrue, 1, {1}},
        // The length counts elements here.
        {"long[]", makeLongs({-1, 2, 3}), 2, Cat({U(~0UL), U(2)})},
        {"String", makeString("abc"), 5, {'a', 'b', 'c', 0, 0}},
        {"Integer", newInteger(-1), 8, U(0xFFFFFFFFUL)},
        {"int[]", ints({-1, 7, 9}), 2, Cat({U(0xFFFFFFFFUL), U(7)})},
        {"boolean[]", booleans({1, 0, 1}), 3, {1, 0, 1}},
        {"char[]", chars({0x0141, 'B'}), 4, {0x41, 'B'}},
        {"Byte", byteValue, 1, {0xFE}},
        {"Character", newCharacter(0x0141), 1, {0x41}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(copied(c.value, c.length), Then(c.want)) << c.name;
        EXPECT_EQ(takeException(), "") << c.name;
    }
}

TEST_F(CopyToCKTest, ScalarsBelowEightBytesFallThroughToTheException) {
    std::string message;
    EXPECT_EQ(copied(newLong(5), 4), Then({}));
    EXPECT_EQ(takeException(&message), "java.lang.UnsupportedOperationException");
    EXPECT_EQ(message, "Can not copy from java.lang.Long to a CK type");
    EXPECT_EQ(copied(wrapper(jn::kObjectHandle, 5), 7), Then({}));
    EXPECT_EQ(takeException(&message), "java.lang.UnsupportedOperationException");
    EXPECT_EQ(message, "Can not copy from kaltrix.morlin.CK_OBJECT_HANDLE to a CK type");
    jvalue v{};
    v.d = 1.5;
    EXPECT_EQ(copied(box(jn::Class{"java/lang/Double"}, "(D)V", v), 8), Then({}));
    EXPECT_EQ(takeException(&message), "java.lang.UnsupportedOperationException");
    EXPECT_EQ(message, "Can not copy from java.lang.Double to a CK type");
    // The rows that need no room of 8 still match with less.
    EXPECT_EQ(copied(newCharacter('q'), 1), Then({'q'}));
}

TEST_F(CopyToCKTest, NothingToCopyStillLooksUpTheClasses) {
    Bytes buffer(8, kMark);
    JniMonitor monitor(env);
    monitor.recordLookups(true);
    CopyJObjectPrimativeToCKObjectPtr(env, nullptr, buffer.data(), 8);
    CopyJObjectPrimativeToCKObjectPtr(env, newLong(1), buffer.data(), 0);
    CopyJObjectPrimativeToCKObjectPtr(env, newLong(1), nullptr, 8);
    EXPECT_FALSE(pending());
    EXPECT_EQ(buffer, Bytes(8, kMark));
    if (checkJniMode()) return;  // lookups are not recorded under -Xcheck:jni
    std::vector<std::string> want;
    for (int i = 0; i < 3; ++i)
        for (const jn::Class* c : jn::kValueClasses) want.push_back(std::string("C:") + c->path);
    EXPECT_EQ(monitor.tally().lookups, want);
}

TEST_F(CopyToCKTest, AttributeRowKeepsItsBufferTailAndTakesValueLen) {
    Bytes buffer(16, kMark);
    CK_ATTRIBUTE row{0, buffer.data(), 16};
    CopyJAttributeToCKAttribute(env, attribute(0x102, makeBytes({1, 2, 3, 4}), 4), &row);
    EXPECT_EQ(row.type, 0x102u);
    EXPECT_EQ(row.pValue, buffer.data());
    EXPECT_EQ(row.ulValueLen, 4u);
    Bytes want(16, kMark);
    for (int i = 0; i < 4; ++i) want[i] = static_cast<unsigned char>(i + 1);
    EXPECT_EQ(buffer, want);

    // The capacity bounds the value; valueLen is taken whatever was copied.
    row.ulValueLen = 2;
    CopyJAttributeToCKAttribute(env, attribute(0x3, makeString("label"), 99), &row);
    EXPECT_EQ(row.type, 0x3u);
    EXPECT_EQ(row.ulValueLen, 99u);
    EXPECT_EQ(Bytes(buffer.begin(), buffer.begin() + 5), (Bytes{'l', 'a', 3, 4, kMark}));

    // An object of another class leaves the row alone.
    CopyJAttributeToCKAttribute(env, handle(1), &row);
    EXPECT_EQ(row.type, 0x3u);
    EXPECT_FALSE(pending());
}

// ---- fixed-shape structures -------------------------------------------------------------

// Each structure goes to Java from distinct bytes and comes back into a
// marked one: every field must arrive from its own Java field.
TEST_F(CopyToCKTest, InfoRoundTrip) {
    const auto info = Distinct<CK_INFO>();
    jobject o = allocObject(jn::kInfo.path);
    CopyCKInfoToJInfo(env, &info, o);
    auto back = Marked<CK_INFO>();
    CopyJInfoToCKInfo(env, o, &back);
    EXPECT_FIELD(back, info, cryptokiVersion);
    EXPECT_FIELD(back, info, manufacturerID);
    EXPECT_FIELD(back, info, flags);
    EXPECT_FIELD(back, info, libraryDescription);
    EXPECT_FIELD(back, info, libraryVersion);
}

TEST_F(CopyToCKTest, SlotInfoRoundTrip) {
    const auto slot = Distinct<CK_SLOT_INFO>();
    jobject o = allocObject(jn::kSlotInfo.path);
    CopyCKSlotInfoToJSlotInfo(env, &slot, o);
    auto back = Marked<CK_SLOT_INFO>();
    CopyJSlotInfoToCKSlotInfo(env, o, &back);
    EXPECT_FIELD(back, slot, slotDescription);
    EXPECT_FIELD(back, slot, manufacturerID);
    EXPECT_FIELD(back, slot, flags);
    EXPECT_FIELD(back, slot, hardwareVersion);
    EXPECT_FIELD(back, slot, firmwareVersion);
}

TEST_F(CopyToCKTest, TokenInfoRoundTripAndShortArrays) {
    const auto token = Distinct<CK_TOKEN_INFO>();
    jobject o = allocObject(jn::kTokenInfo.path);
    CopyCKTokenInfoToJTokenInfo(env, &token, o);
    auto back = Marked<CK_TOKEN_INFO>();
    CopyJTokenInfoToCKTokenInfo(env, o, &back);
    EXPECT_FIELD(back, token, label);
    EXPECT_FIELD(back, token, manufacturerID);
    EXPECT_FIELD(back, token, model);
    EXPECT_FIELD(back, token, serialNumber);
    EXPECT_FIELD(back, token, flags);
    EXPECT_FIELD(back, token, ulMaxSessionCount);
    EXPECT_FIELD(back, token, ulSessionCount);
    EXPECT_FIELD(back, token, ulMaxRwSessionCount);
    EXPECT_FIELD(back, token, ulRwSessionCount);
    EXPECT_FIELD(back, token, ulMaxPinLen);
    EXPECT_FIELD(back, token, ulMinPinLen);
    EXPECT_FIELD(back, token, ulTotalPublicMemory);
    EXPECT_FIELD(back, token, ulFreePublicMemory);
    EXPECT_FIELD(back, token, ulTotalPrivateMemory);
    EXPECT_FIELD(back, token, ulFreePrivateMemory);
    EXPECT_FIELD(back, token, hardwareVersion);
    EXPECT_FIELD(back, token, firmwareVersion);
    EXPECT_FIELD(back, token, utcTime);

    // Longer arrays are cut at the field, shorter ones leave its tail, a null
    // one leaves it whole.
    setObject(o, "label", "[B", makeBytes(Bytes(40, 'L')));
    setObject(o, "model", "[B", makeBytes({'m', 'o'}));
    setObject(o, "utcTime", "[B", nullptr);
    auto cut = Marked<CK_TOKEN_INFO>();
    CopyJTokenInfoToCKTokenInfo(env, o, &cut);
    EXPECT_EQ(BytesOf(cut.label), Bytes(32, 'L'));
    EXPECT_FIELD(cut, token, manufacturerID);
    Bytes model(16, kMark);
    model[0] = 'm';
    model[1] = 'o';
    EXPECT_EQ(BytesOf(cut.model), model);
    EXPECT_EQ(BytesOf(cut.utcTime), Bytes(16, kMark));
}

TEST_F(CopyToCKTest, MechanismAndSessionInfoRoundTrip) {
    const auto mech = Distinct<CK_MECHANISM_INFO>();
    jobject m = allocObject(jn::kMechanismInfo.path);
    CopyCKMechanismInfoToJMechanismInfo(env, &mech, m);
    auto mechBack = Marked<CK_MECHANISM_INFO>();
    CopyJMechInfoToCKMechInfo(env, m, &mechBack);
    EXPECT_FIELD(mechBack, mech, ulMinKeySize);
    EXPECT_FIELD(mechBack, mech, ulMaxKeySize);
    EXPECT_FIELD(mechBack, mech, flags);

    const auto session = Distinct<CK_SESSION_INFO>();
    jobject s = allocObject(jn::kSessionInfo.path);
    setObject(s, "state", jn::kSessionInfoState.sig, wrapper(jn::kState, 0));
    CopyCKSessionInfoToJSessionInfo(env, &session, s);
    auto sessionBack = Marked<CK_SESSION_INFO>();
    CopyJSessionInfoToCKSessionInfo(env, s, &sessionBack);
    EXPECT_FIELD(sessionBack, session, slotID);
    EXPECT_FIELD(sessionBack, session, state);
    EXPECT_FIELD(sessionBack, session, flags);
    EXPECT_FIELD(sessionBack, session, ulDeviceError);
}

TEST_F(CopyToCKTest, VersionAndSilentEnds) {
    CK_VERSION v{0, 0};
    CopyJVersionToCKVersion(env, version(static_cast<jbyte>(0xA1), 0x5B), &v);
    EXPECT_EQ(v.major, 0xA1);
    EXPECT_EQ(v.minor, 0x5B);
    CopyJVersionToCKVersion(env, handle(1), &v);
    CopyJVersionToCKVersion(env, nullptr, &v);
    EXPECT_EQ(v.major, 0xA1);

    // An object of another class or a null one: the structure stays as it was.
    auto slot = Marked<CK_SLOT_INFO>();
    CopyJSlotInfoToCKSlotInfo(env, allocObject(jn::kInfo.path), &slot);
    CopyJSlotInfoToCKSlotInfo(env, nullptr, &slot);
    EXPECT_EQ(BytesOf(slot), BytesOf(Marked<CK_SLOT_INFO>()));
    CopyJSlotInfoToCKSlotInfo(env, allocObject(jn::kSlotInfo.path), nullptr);
    EXPECT_FALSE(pending());
}

// ---- mechanism parameters ----------------------------------------------------------

TEST_F(CopyToCKTest, PbeTakesAtMostEightBytesOfTheIv) {
    Bytes iv(16, kMark);
    CK_PBE_PARAMS s{iv.data(), nullptr, 0, nullptr, 0, 0};
    jobject p = allocObject(jn::kPbeParams.path);
    Bytes sixteen(16);
    for (int i = 0; i < 16; ++i) sixteen[i] = static_cast<unsigned char>(0xA0 + i);
    setObject(p, "pInitVector", "[B", makeBytes(sixteen));
    copyIn(0x3A0, s, p);
    Bytes want(16, kMark);
    std::copy(sixteen.begin(), sixteen.begin() + 8, want.begin());
    EXPECT_EQ(iv, want);

    setObject(p, "pInitVector", "[B", makeBytes({1, 2, 3}));
    copyIn(0x3C0, s, p);
    want[0] = 1, want[1] = 2, want[2] = 3;
    EXPECT_EQ(iv, want);
    copyIn(0x3AC, s, p);  // not a password-based number: nothing
    EXPECT_EQ(iv, want);
}

TEST_F(CopyToCKTest, Pkcs12ImportTakesTheCountAndTheHandles) {
    CK_ULONG count = 0;
    CK_OBJECT_HANDLE certs[4] = {1, 1, 1, 1};
    CK_PKCS12_PBE_IMPORT_PARAMS s{nullptr, 0, nullptr, 0, nullptr, 0, certs, &count};
    jobject p = allocObject(jn::kPkcs12PbeImportParams.path);
    jobject ref = longRef(5);
    setObject(p, "hCertCount", jn::kPkcs12CertCount.sig, ref);
    setObject(p, "hCert", jn::kPkcs12Cert.sig, wrappers(jn::kObjectHandle, {0x201, 0x202, 0x203}));
    copyIn(0x800009F3, s, p);
    EXPECT_EQ(count, 5u);
    EXPECT_EQ(BytesOf(certs), Cat({U(0x201), U(0x202), U(0x203), U(1)}));  // as many as the array holds

    // A count of 0 takes no handles.
    setLong(ref, "value", 0);
    setObject(p, "hCert", jn::kPkcs12Cert.sig, wrappers(jn::kObjectHandle, {0x301}));
    copyIn(0x800009F3, s, p);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(certs[0], 0x201u);
    EXPECT_FALSE(pending());
}

TEST_F(CopyToCKTest, KeyWrapOaepTakesXOnlyWhenItFits) {
    Bytes x(6, kMark);
    CK_KEY_WRAP_SET_OAEP_PARAMS s{0x42, x.data(), 4};
    jobject p = allocObject(jn::kKeyWrapSetOaepParams.path);
    setObject(p, "pX", "[B", makeBytes({1, 2, 3, 4, 5}));
    setLong(p, "XLen", 5);  // above the room of 4: nothing at all
    copyIn(0x401, s, p);
    EXPECT_EQ(s.ulXLen, 4u);
    EXPECT_EQ(x, Bytes(6, kMark));

    setLong(p, "XLen", 3);
    copyIn(0x401, s, p);
    EXPECT_EQ(s.ulXLen, 3u);
    EXPECT_EQ(s.bBC, 0x42);
    EXPECT_EQ(x, (Bytes{1, 2, 3, kMark, kMark, kMark}));
}

TEST_F(CopyToCKTest, Ssl3BranchesTakeTheVersionHandlesAndIvs) {
    CK_VERSION v{0, 0};
    CK_SSL3_MASTER_KEY_DERIVE_PARAMS master{};
    master.pVersion = &v;
    jobject mp = allocObject(jn::kSsl3MasterKeyDeriveParams.path);
    setObject(mp, "pVersion", jn::kSsl3MasterVersion.sig, version(3, 1));
    copyIn(0x371, master, mp);
    EXPECT_EQ(v.major, 3);
    EXPECT_EQ(v.minor, 1);

    Bytes client(4, kMark), server(4, kMark);
    CK_SSL3_KEY_MAT_OUT out{0, 0, 0, 0, client.data(), server.data()};
    CK_SSL3_KEY_MAT_PARAMS s{};
    s.pReturnedKeyMaterial = &out;
    jobject material = allocObject(jn::kSsl3KeyMatOut.path);
    const char* sig = jn::kSsl3ClientMacSecret.sig;
    setObject(material, "hClientMacSecret", sig, handle(0x401));
    setObject(material, "hServerMacSecret", sig, handle(0x402));
    setObject(material, "hClientKey", sig, handle(0x403));
    setObject(material, "hServerKey", sig, handle(0x404));
    setObject(material, "pIVClient", "[B", makeBytes({0xC1, 0xC2, 0xC3}));
    setObject(material, "pIVServer", "[B", makeBytes({0x51, 0x52, 0x53}));
    jobject kp = allocObject(jn::kSsl3KeyMatParams.path);
    setObject(kp, "pReturnedKeyMaterial", jn::kSsl3KeyMatOutField.sig, material);
    setLong(kp, "IVSizeInBits", 12);  // two bytes
    copyIn(0x372, s, kp);
    EXPECT_EQ(out.hClientMacSecret, 0x401u);
    EXPECT_EQ(out.hServerMacSecret, 0x402u);
    EXPECT_EQ(out.hClientKey, 0x403u);
    EXPECT_EQ(out.hServerKey, 0x404u);
    EXPECT_EQ(client, (Bytes{0xC1, 0xC2, kMark, kMark}));
    EXPECT_EQ(server, (Bytes{0x51, 0x52, kMark, kMark}));
}

TEST_F(CopyToCKTest, OtherMechanismsAndOtherObjectsCopyNothing) {
    Bytes x(4, kMark);
    CK_KEY_WRAP_SET_OAEP_PARAMS s{0, x.data(), 4};
    jobject p = allocObject(jn::kKeyWrapSetOaepParams.path);
    setObject(p, "pX", "[B", makeBytes({1}));
    setLong(p, "XLen", 1);
    copyIn(0x1087, s, p);  // written back to Java, but not a branch here
    CK_MECHANISM target{0x401, &s, sizeof s};
    CopyJMechanismToCKMechanism(env, handle(1), &target);
    CopyJMechanismToCKMechanism(env, nullptr, &target);
    EXPECT_EQ(s.ulXLen, 4u);
    EXPECT_EQ(x, Bytes(4, kMark));
    EXPECT_FALSE(pending());
}

// ---- exception paths --------------------------------------------------------------------

TEST_F(CopyToCKTest, ExceptionPaths) {
    CK_ULONG wide[4];
    CK_BYTE narrow[32];
    CK_DATE d;
    CK_MECHANISM_TYPE types[2];
    CK_INFO info;
    CK_SLOT_INFO slot;
    CK_TOKEN_INFO token;
    CK_MECHANISM_INFO mech;
    CK_SESSION_INFO session;
    CK_VERSION v;
    const auto distinctToken = Distinct<CK_TOKEN_INFO>();
    jobject jInfo = allocObject(jn::kInfo.path);
    CopyCKInfoToJInfo(env, std::vector<CK_INFO>{Distinct<CK_INFO>()}.data(), jInfo);
    jobject jSlot = allocObject(jn::kSlotInfo.path);
    CopyCKSlotInfoToJSlotInfo(env, std::vector<CK_SLOT_INFO>{Distinct<CK_SLOT_INFO>()}.data(), jSlot);
    jobject jToken = allocObject(jn::kTokenInfo.path);
    CopyCKTokenInfoToJTokenInfo(env, &distinctToken, jToken);
    jobject jMech = allocObject(jn::kMechanismInfo.path);
    jobject jSession = allocObject(jn::kSessionInfo.path);
    setObject(jSession, "state", jn::kSessionInfoState.sig, wrapper(jn::kState, 2));
    jobject attr = attribute(0x102, makeBytes({1, 2, 3}), 3);
    jobjectArray attrs = attributes({attr, attribute(0x0, newLong(7), 8)});
    CK_ATTRIBUTE rows[2];

    // Mechanism parameters with every branch's fields filled.
    CK_ULONG certCount = 0;
    CK_OBJECT_HANDLE certs[2];
    CK_PKCS12_PBE_IMPORT_PARAMS pkcs12{nullptr, 0, nullptr, 0, nullptr, 0, certs, &certCount};
    jobject pkcs12Java = allocObject(jn::kPkcs12PbeImportParams.path);
    setObject(pkcs12Java, "hCertCount", jn::kPkcs12CertCount.sig, longRef(2));
    setObject(pkcs12Java, "hCert", jn::kPkcs12Cert.sig, wrappers(jn::kObjectHandle, {1, 2}));
    CK_PBE_PARAMS pbe{narrow, nullptr, 0, nullptr, 0, 0};
    jobject pbeJava = allocObject(jn::kPbeParams.path);
    setObject(pbeJava, "pInitVector", "[B", makeBytes({1, 2}));
    CK_KEY_WRAP_SET_OAEP_PARAMS oaep{0, narrow, 8};
    jobject oaepJava = allocObject(jn::kKeyWrapSetOaepParams.path);
    setObject(oaepJava, "pX", "[B", makeBytes({1, 2}));
    setLong(oaepJava, "XLen", 2);
    CK_SSL3_MASTER_KEY_DERIVE_PARAMS master{};
    master.pVersion = &v;
    jobject masterJava = allocObject(jn::kSsl3MasterKeyDeriveParams.path);
    setObject(masterJava, "pVersion", jn::kSsl3MasterVersion.sig, version(3, 0));
    CK_SSL3_KEY_MAT_OUT out{0, 0, 0, 0, narrow, narrow + 8};
    CK_SSL3_KEY_MAT_PARAMS keyMat{};
    keyMat.pReturnedKeyMaterial = &out;
    jobject material = allocObject(jn::kSsl3KeyMatOut.path);
    for (const char* h : {"hClientMacSecret", "hServerMacSecret", "hClientKey", "hServerKey"})
        setObject(material, h, jn::kSsl3ClientKey.sig, handle(9));
    setObject(material, "pIVClient", "[B", makeBytes({1}));
    setObject(material, "pIVServer", "[B", makeBytes({2}));
    jobject keyMatJava = allocObject(jn::kSsl3KeyMatParams.path);
    setObject(keyMatJava, "pReturnedKeyMaterial", jn::kSsl3KeyMatOutField.sig, material);
    setLong(keyMatJava, "IVSizeInBits", 8);
    auto mechanismCopy = [&](CK_MECHANISM_TYPE type, void* structure, jobject parameter) {
        return [=] {
            CK_MECHANISM target{type, structure, 0};
            CopyJMechanismToCKMechanism(env, mechanism(type, parameter, 0), &target);
        };
    };

    const std::pair<const char*, std::function<void()>> copies[] = {
        {"CopyJLongArrayToCKULongArray",
         [&] {
             CopyJLongArrayToCKULongArray(env, makeLongs({1, 2}), wide, 4);
         }},
        {"CopyJIntArrayToCKULongArray",
         [&] {
             CopyJIntArrayToCKULongArray(env, ints({1, 2}), wide, 4);
         }},
        {"CopyJBooleanArrayToCKBBoolArray",
         [&] {
             CopyJBooleanArrayToCKBBoolArray(env, booleans({1, 0}), narrow, 4);
         }},
        {"CopyJCharArrayToCKCharArray", [&] { CopyJCharArrayToCKCharArray(env, chars({'a'}), narrow, 4); }},
        {"CopyJDateToCKDate", [&] { CopyJDateToCKDate(env, date("20260315"), &d, 8); }},
        {"CopyJMechanismTypeArrayToCKMechanismTypeArray",
         [&] {
             CopyJMechanismTypeArrayToCKMechanismTypeArray(env, wrappers(jn::kMechanismType, {1, 2}), types, 2);
         }},
        {"CopyJObjectPrimativeToCKObjectPtr Long",
         [&] { CopyJObjectPrimativeToCKObjectPtr(env, newLong(1), narrow, 8); }},
        {"CopyJObjectPrimativeToCKObjectPtr Integer",
         [&] { CopyJObjectPrimativeToCKObjectPtr(env, newInteger(1), narrow, 8); }},
        {"CopyJObjectPrimativeToCKObjectPtr CK_KEY_TYPE",
         [&] { CopyJObjectPrimativeToCKObjectPtr(env, wrapper(jn::kKeyType, 3), narrow, 8); }},
        {"CopyJObjectPrimativeToCKObjectPtr CK_BBOOL",
         [&] { CopyJObjectPrimativeToCKObjectPtr(env, bbool(true), narrow, 8); }},
        {"CopyJObjectPrimativeToCKObjectPtr Character",
         [&] { CopyJObjectPrimativeToCKObjectPtr(env, newCharacter('c'), narrow, 1); }},
        {"CopyJObjectPrimativeToCKObjectPtr CK_MECHANISM_TYPE[]",
         [&] {
             CopyJObjectPrimativeToCKObjectPtr(env, wrappers(jn::kMechanismType, {1, 2}), narrow, 16);
         }},
        {"CopyJAttributeToCKAttribute",
         [&] {
             CK_ATTRIBUTE row{0, narrow, 8};
             CopyJAttributeToCKAttribute(env, attr, &row);
         }},
        {"CopyJAttributeArrayToCKAttributeArray",
         [&] {
             rows[0] = {0, narrow, 8};
             rows[1] = {0, narrow + 8, 8};
             CopyJAttributeArrayToCKAttributeArray(env, attrs, rows, 2);
         }},
        {"CopyJVersionToCKVersion", [&] { CopyJVersionToCKVersion(env, version(1, 2), &v); }},
        {"CopyJInfoToCKInfo", [&] { CopyJInfoToCKInfo(env, jInfo, &info); }},
        {"CopyJSlotInfoToCKSlotInfo", [&] { CopyJSlotInfoToCKSlotInfo(env, jSlot, &slot); }},
        {"CopyJTokenInfoToCKTokenInfo", [&] { CopyJTokenInfoToCKTokenInfo(env, jToken, &token); }},
        {"CopyJMechInfoToCKMechInfo", [&] { CopyJMechInfoToCKMechInfo(env, jMech, &mech); }},
        {"CopyJSessionInfoToCKSessionInfo", [&] { CopyJSessionInfoToCKSessionInfo(env, jSession, &session); }},
        {"CopyJMechanismToCKMechanism PBE", mechanismCopy(0x3A0, &pbe, pbeJava)},
        {"CopyJMechanismToCKMechanism PKCS12_PBE_IMPORT", mechanismCopy(0x800009F3, &pkcs12, pkcs12Java)},
        {"CopyJMechanismToCKMechanism KEY_WRAP_SET_OAEP", mechanismCopy(0x401, &oaep, oaepJava)},
        {"CopyJMechanismToCKMechanism SSL3_MASTER_KEY_DERIVE", mechanismCopy(0x371, &master, masterJava)},
        {"CopyJMechanismToCKMechanism SSL3_KEY_AND_MAC_DERIVE", mechanismCopy(0x372, &keyMat, keyMatJava)},
    };
    for (const auto& [name, run] : copies) EXPECT_GE(sweepConversion(env, name, run), 2) << name;
    // GetStringUTFChars is the string copy's one call that can fail.
    EXPECT_EQ(sweepConversion(env, "CopyJStringToCKCharArray",
                              [&] { CopyJStringToCKCharArray(env, makeString("abc"), narrow, 4); }),
              1);

    // The value of no class: the run without a fault leaves the exception.
    SweepCase unsupported;
    unsupported.name = "CopyJObjectPrimativeToCKObjectPtr Long of 4";
    unsupported.cleanException = "java.lang.UnsupportedOperationException";
    unsupported.run = [&] {
        CopyJObjectPrimativeToCKObjectPtr(env, newLong(1), narrow, 4);
        return Result::of(jlong{1});
    };
    unsupported.checkFaulted = [](const Result&) {};
    EXPECT_GE(sweep(env, unsupported), 27);
}

}  // namespace
}  // namespace morlin_test
