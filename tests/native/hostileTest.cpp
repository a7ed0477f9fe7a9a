// Every native called with hostile arguments made from its Java signature:
// null in every reference position, objects of any class where Java
// declares Object, wrappers holding odd values, templates and
// mechanisms holding values of no known class, and counts that are
// negative, huge or larger than their arrays. The JVM must survive each
// call, and a native must answer either its result or null with a Java
// exception pending. The binary runs under AddressSanitizer and under
// -Xcheck:jni as well, where each call is judged again.
//
// A few inputs are left out on purpose, each with its reason: the natives
// pass some Java values on as they are, and a JVM cannot survive them.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bridgeTest.h"
#include "kaltrix_morlin_CK_MECHANISM.h"

namespace morlin_test {
namespace {

// Every native takes JNIEnv*, jclass and at most ten Java values, each a
// reference, a jlong or a jboolean, and answers a reference or a jlong: on
// x86-64 each of those travels in one integer register or one 8-byte stack
// slot, so one pointer type with ten 8-byte arguments calls any of them.
using Word = std::uint64_t;
using Entry = Word (*)(JNIEnv*, jclass, Word, Word, Word, Word, Word, Word, Word, Word, Word, Word);
constexpr size_t kMaxArgs = 10;

struct Native {
    const char* name;
    const char* signature;
    Entry entry;
};

#define X(name, signature, function) {name, signature, reinterpret_cast<Entry>(reinterpret_cast<void*>(&function))},
const Native kNatives[] = {
#include "natives.inc"
};
#undef X

// The parameter descriptors of a JNI signature, and its result's.
std::vector<std::string> Parameters(const std::string& signature, std::string* result) {
    std::vector<std::string> out;
    size_t i = 1;
    while (signature[i] != ')') {
        size_t end = i;
        while (signature[end] == '[') ++end;
        end = signature[end] == 'L' ? signature.find(';', end) + 1 : end + 1;
        out.push_back(signature.substr(i, end - i));
        i = end;
    }
    *result = signature.substr(i + 1);
    return out;
}

// Inputs that the natives hand to the JVM or the token library unchecked,
// by contract, and that no process survives: (native, position, variant).
struct Unsurvivable {
    const char* native;
    int position;  // -1: any
    const char* variant;
    const char* why;
};
const Unsurvivable kLeftOut[] = {
    {"Java_kaltrix_morlin_CTUtil_CTU_1FindObject", 2, "null",
     "the label's length is read without a null test (GetArrayLength of null)"},
    {"Java_kaltrix_morlin_constants_CK_GetConstantValue", 0, "null",
     "the name's characters are taken without a null test (GetStringUTFChars of null)"},
    {nullptr, -1, "count above the template",
     "a template's count goes to the token library as it came, which then reads rows past the array's copy"},
};

class HostileTest : public BridgeTest {
protected:
    // An object of the parameter's class that a careful caller would pass.
    Word valid(const std::string& d, const std::string& before) {
        if (d == "J") return before == "[Lkaltrix/morlin/CK_ATTRIBUTE;" ? 1 : 16;  // the array's length
        if (d == "Z") return 1;
        if (d == "[B") return ref(makeBytes(std::vector<unsigned char>(16, 0x41)));
        if (d == "[J") return ref(makeLongs(std::vector<jlong>(16, 1)));
        if (d == "Ljava/lang/Object;") return ref(makeBytes(std::vector<unsigned char>(16, 0x41)));
        if (d == "Ljava/lang/String;") return ref(makeString("CKR_OK"));
        if (d == "Lkaltrix/morlin/CK_C_INITIALIZE_ARGS;") return 0;
        if (d == "Lkaltrix/morlin/LongRef;") return ref(longRef(16));
        if (d == "Lkaltrix/morlin/CK_MECHANISM;") return ref(mechanism(CKM_AES_ECB));
        if (d == "[Lkaltrix/morlin/CK_ATTRIBUTE;")
            return ref(attributes({attribute(CKA_VALUE, makeBytes(std::vector<unsigned char>(16, 1)), 16)}));
        if (d[0] == '[') {
            const std::string element = d.substr(2, d.size() - 3);
            std::vector<jobject> elements;
            for (int i = 0; i < 16; ++i) elements.push_back(wrapped(element, i + 1));
            return ref(makeObjects(element.c_str(), elements));
        }
        return ref(wrapped(d.substr(1, d.size() - 2), 1));
    }
    // A new object of the class, m_value set where it has one.
    jobject wrapped(const std::string& cls, jlong value) {
        jobject o = allocObject(cls.c_str());
        Unpatched real(env);
        jfieldID id = env->GetFieldID(findClass(cls.c_str()), "m_value", "J");
        if (id != nullptr) {
            env->SetLongField(o, id, value);
        } else {
            env->ExceptionClear();  // not a numeric wrapper
        }
        return o;
    }
    static Word ref(jobject o) { return reinterpret_cast<Word>(o); }

    // The hostile variants of one parameter, by name.
    std::vector<std::pair<std::string, Word>> hostile(const std::string& d, const std::string& before) {
        std::vector<std::pair<std::string, Word>> v;
        if (d == "J") {
            v = {{"count -1", static_cast<Word>(-1)},
                 {"count of all ones but the top bit", static_cast<Word>(INT64_MAX)},
                 {"count of the top bit", static_cast<Word>(INT64_MIN)},
                 {"count 0", 0}};
            if (before == "[Lkaltrix/morlin/CK_ATTRIBUTE;") {
                v.push_back({"count above the template", 17});
            } else if (before[0] == '[') {
                v.push_back({"count above the array", 17});
            }
            return v;
        }
        if (d == "Z") return {{"boolean 2", 2}};
        v.push_back({"null", 0});
        // Java's types leave only the parameters declared Object open to
        // any class; a CK_MECHANISM parameter cannot hold another from Java.
        if (d == "Ljava/lang/Object;") {
            v.push_back({"an object of no known class", ref(allocObject("java/lang/Thread"))});
            v.push_back({"a String", ref(makeString("text"))});
        }
        if (d == "Lkaltrix/morlin/CK_MECHANISM;") {
            v.push_back({"a parameter of no known class", ref(mechanism(CKM_AES_CBC, allocObject("java/lang/Thread"), 8))});
            v.push_back({"a parameter length of -1", ref(mechanism(CKM_AES_CBC, makeBytes({1, 2}), -1))});
        }
        if (d == "[Lkaltrix/morlin/CK_ATTRIBUTE;") {
            v.push_back({"a null row", ref(attributes({nullptr}))});
            v.push_back({"a value of no known class", ref(attributes({attribute(CKA_VALUE, allocObject("java/lang/Thread"), 8)}))});
            v.push_back({"a valueLen of -1", ref(attributes({attribute(CKA_LABEL, makeBytes({1}), -1)}))});
            jobject noType = allocObject(jn::kAttribute.path);
            v.push_back({"a row without a type", ref(attributes({noType}))});
        } else if (d[0] == '[' && d[1] == 'L') {
            v.push_back({"a null element", ref(makeObjects(d.substr(2, d.size() - 3).c_str(), {nullptr}))});
        }
        if (d.rfind("Lkaltrix/morlin/CK_", 0) == 0 || d.rfind("Lkaltrix/morlin/constants/CK_", 0) == 0)
            v.push_back({"a wrapper holding the top bit", ref(wrapped(d.substr(1, d.size() - 2), INT64_MIN))});
        return v;
    }

    static bool leftOut(const std::string& native, int position, const std::string& variant) {
        for (const Unsurvivable& u : kLeftOut) {
            if (u.native != nullptr && native != u.native) continue;
            if (u.position >= 0 && u.position != position) continue;
            if (variant == u.variant) return true;
        }
        return false;
    }
};

TEST_F(HostileTest, NoNativeBringsTheJvmDownOnInputItHandles) {
    const bool trace = getenv("MORLIN_HOSTILE_TRACE") != nullptr;
    int cases = 0;
    for (const Native& n : kNatives) {
        std::string result;
        const std::vector<std::string> params = Parameters(n.signature, &result);
        ASSERT_LE(params.size(), kMaxArgs) << n.name;
        if (env->PushLocalFrame(256) != 0) FAIL();
        for (size_t p = 0; p < params.size(); ++p) {
            for (const auto& [variant, value] : hostile(params[p], p > 0 ? params[p - 1] : "")) {
                if (leftOut(n.name, static_cast<int>(p), variant)) continue;
                SCOPED_TRACE(std::string(n.name) + ", argument " + std::to_string(p) + ": " + variant);
                if (trace) fprintf(stderr, "%s %zu %s\n", n.name, p, variant.c_str());
                Word a[kMaxArgs] = {};
                if (env->PushLocalFrame(64) != 0) FAIL();
                for (size_t i = 0; i < params.size(); ++i)
                    a[i] = i == p ? value : valid(params[i], i > 0 ? params[i - 1] : "");
                fake::reset();
                const Word answer = n.entry(env, nullptr, a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8], a[9]);
                const bool thrown = pending();
                takeException();
                if (result[0] == 'L' && !thrown) {
                    EXPECT_NE(answer, 0u) << "null without an exception";
                }
                // Mutex callbacks armed by an initialisation are let go.
                Java_kaltrix_morlin_Cryptoki_C_1Finalize(env, nullptr, nullptr);
                takeException();
                env->PopLocalFrame(nullptr);
                ++cases;
            }
        }
        env->PopLocalFrame(nullptr);
    }
    RecordProperty("cases", cases);
    EXPECT_GT(cases, 650);  // the generator must not shrink unnoticed
    printf("%d hostile calls over %zu natives\n", cases, std::size(kNatives));
}

}  // namespace
}  // namespace morlin_test
