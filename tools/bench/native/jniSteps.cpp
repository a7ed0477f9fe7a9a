// Single JNI steps, each timed in a C loop from inside one native method, so
// that a morlin call can be accounted for as the sum of the steps it makes.
// A step is named by its JNI entry ("GetLongField"), with "@size" for those
// that move bytes; calloc+free and memcpy are there to compare with.
//
// Natives of kaltrix.morlin.bench.JniSteps: names() lists the steps, and
// run(step, n) runs one step n times and returns the nanoseconds taken.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench.h"
#include "kaltrix_morlin_bench_JniSteps.h"

namespace {

using bench::Escape;
using bench::NowNs;

constexpr jsize kSizes[] = {16, 32, 256, 1024, 65536};
constexpr int kSizeCount = sizeof kSizes / sizeof kSizes[0];

// Steps that return a local reference run in frames of this many
// iterations: the reference table stays small, and the frame's push and pop
// add well under a nanosecond per step.
constexpr long kFrame = 64;

// A native buffer of the largest size, on a page of its own: see
// PageAligned in floor.cpp for why its placement matters.
jbyte* PageAligned() {
    auto* block = static_cast<jbyte*>(aligned_alloc(4096, kSizes[kSizeCount - 1]));
    if (block != nullptr) memset(block, 7, kSizes[kSizeCount - 1]);
    return block;
}

// The classes, objects and IDs the steps work on, made once. Each is of the
// kind morlin handles: LongRef, boxed values, CK_ATTRIBUTE, the CK_BBOOL and
// CK_VERSION structures, CK_RV.
struct Objects {
    jclass longRefClass = nullptr;
    jclass longClass = nullptr;
    jclass rvClass = nullptr;
    jobject longRef = nullptr;
    jobject boxedLong = nullptr;
    jobject boxedBoolean = nullptr;
    jobject attribute = nullptr;
    jobject bbool = nullptr;
    jobject version = nullptr;
    jobjectArray attributes = nullptr;
    jfieldID longRefValue = nullptr;
    jfieldID attributeValue = nullptr;
    jfieldID bboolValue = nullptr;
    jfieldID versionMajor = nullptr;
    jmethodID longValue = nullptr;
    jmethodID booleanValue = nullptr;
    jbyteArray arrays[kSizeCount] = {};
    jbyte* from = PageAligned();
    jbyte* to = PageAligned();
};

template <typename T>
T Global(JNIEnv* env, T local) {
    return local == nullptr ? nullptr : static_cast<T>(env->NewGlobalRef(local));
}

jvalue LongValue(jlong j) {
    jvalue v;
    v.j = j;
    return v;
}

jvalue BooleanValue(jboolean z) {
    jvalue v;
    v.z = z;
    return v;
}

jobject Boxed(JNIEnv* env, const char* className, const char* signature, jvalue value) {
    jclass c = env->FindClass(className);
    jmethodID init = c == nullptr ? nullptr : env->GetMethodID(c, "<init>", signature);
    return init == nullptr ? nullptr : Global(env, env->NewObjectA(c, init, &value));
}

jobject Allocated(JNIEnv* env, const char* className) {
    jclass c = env->FindClass(className);
    return c == nullptr ? nullptr : Global(env, env->AllocObject(c));
}

// False with an exception pending when something is missing.
bool Make(JNIEnv* env, Objects& o) {
    if (o.from == nullptr || o.to == nullptr) {
        bench::ThrowFailure(env, "JNI steps: out of memory");
        return false;
    }
    if (!(o.longRefClass = Global(env, env->FindClass("kaltrix/morlin/LongRef")))) return false;
    if (!(o.longClass = Global(env, env->FindClass("java/lang/Long")))) return false;
    if (!(o.rvClass = Global(env, env->FindClass("kaltrix/morlin/constants/CK_RV")))) return false;
    if (!(o.longRef = Global(env, env->AllocObject(o.longRefClass)))) return false;
    if (!(o.boxedLong = Boxed(env, "java/lang/Long", "(J)V", LongValue(42)))) return false;
    if (!(o.boxedBoolean = Boxed(env, "java/lang/Boolean", "(Z)V", BooleanValue(JNI_TRUE)))) return false;
    if (!(o.attribute = Allocated(env, "kaltrix/morlin/CK_ATTRIBUTE"))) return false;
    if (!(o.bbool = Allocated(env, "kaltrix/morlin/CK_BBOOL"))) return false;
    if (!(o.version = Allocated(env, "kaltrix/morlin/CK_VERSION"))) return false;
    if (!(o.longRefValue = env->GetFieldID(o.longRefClass, "value", "J"))) return false;
    jclass attributeClass = env->GetObjectClass(o.attribute);
    if (!(o.attributeValue = env->GetFieldID(attributeClass, "pValue", "Ljava/lang/Object;"))) return false;
    if (!(o.bboolValue = env->GetFieldID(env->GetObjectClass(o.bbool), "m_value", "Z"))) return false;
    if (!(o.versionMajor = env->GetFieldID(env->GetObjectClass(o.version), "major", "B"))) return false;
    if (!(o.longValue = env->GetMethodID(o.longClass, "longValue", "()J"))) return false;
    jclass booleanClass = env->GetObjectClass(o.boxedBoolean);
    if (!(o.booleanValue = env->GetMethodID(booleanClass, "booleanValue", "()Z"))) return false;
    env->SetObjectField(o.attribute, o.attributeValue, o.boxedLong);
    if (!(o.attributes = Global(env, env->NewObjectArray(4, attributeClass, o.attribute)))) return false;
    for (int i = 0; i < kSizeCount; ++i) {
        if (!(o.arrays[i] = Global(env, env->NewByteArray(kSizes[i])))) return false;
    }
    return true;
}

template <typename Body>
long Timed(long n, Body body) {
    long start = NowNs();
    for (long i = 0; i < n; ++i) body();
    return NowNs() - start;
}

template <typename Body>
long TimedInFrames(JNIEnv* env, long n, Body body) {
    long start = NowNs();
    for (long done = 0; done < n;) {
        long batch = std::min(kFrame, n - done);
        if (env->PushLocalFrame(kFrame) != 0) return 0;
        for (long i = 0; i < batch; ++i) Escape(body());
        env->PopLocalFrame(nullptr);
        done += batch;
    }
    return NowNs() - start;
}

// GetByteArrayElements hands out a copy on every call, so a batch of copies
// can be held at once: the gets of a batch are timed together, then the
// releases. The pair timed as such is the figure to trust; the halves show
// how it divides, with a clock read per batch and colder blocks added.
long ElementsHalf(JNIEnv* env, Objects& o, long n, int size, bool gets) {
    jbyteArray array = o.arrays[size];
    // At most 64 KiB held at once: more, and free() hands the memory back to
    // the system after each batch, and each get pays for fresh pages.
    long batch = std::clamp<long>(65536 / kSizes[size], 1, 256);
    std::vector<jbyte*> held(batch);
    long getNs = 0;
    long releaseNs = 0;
    for (long done = 0; done < n; done += batch) {
        long count = std::min(batch, n - done);
        long start = NowNs();
        for (long i = 0; i < count; ++i) {
            held[i] = env->GetByteArrayElements(array, nullptr);
            if (held[i] == nullptr) return 0;  // out of memory, pending
        }
        long middle = NowNs();
        for (long i = 0; i < count; ++i) env->ReleaseByteArrayElements(array, held[i], 0);
        getNs += middle - start;
        releaseNs += NowNs() - middle;
    }
    return gets ? getNs : releaseNs;
}

using Timer = long (*)(JNIEnv* env, Objects& o, long n, int size);

struct Step {
    std::string name;
    Timer timer;
    int size = 0;  // index into kSizes, for the steps that move bytes
};

// Table entries: a step that is one statement, one that makes a local
// reference, and a half of GetByteArrayElements+ReleaseByteArrayElements.
// The statement sees env, the objects o and the size index size.
#define MORLIN_STEP_(name, statement)                                                                \
    Step {                                                                                           \
        name, [](JNIEnv* env, Objects& o, long n, int size) { return Timed(n, [&] { statement; }); } \
    }
#define MORLIN_LOCAL_STEP_(name, expression)                          \
    Step {                                                            \
        name, [](JNIEnv* env, Objects& o, long n, int size) {         \
            return TimedInFrames(env, n, [&] { return expression; }); \
        }                                                             \
    }
#define MORLIN_HALF_STEP_(name, gets)                                                                       \
    Step {                                                                                                  \
        name, [](JNIEnv* env, Objects& o, long n, int size) { return ElementsHalf(env, o, n, size, gets); } \
    }

std::vector<Step> MakeSteps() {
    // clang-format off
    std::vector<Step> steps = {
        MORLIN_LOCAL_STEP_("FindClass", env->FindClass("kaltrix/morlin/LongRef")),
        MORLIN_STEP_("GetFieldID", Escape(env->GetFieldID(o.longRefClass, "value", "J"))),
        MORLIN_STEP_("GetMethodID", Escape(env->GetMethodID(o.longClass, "longValue", "()J"))),
        MORLIN_STEP_("ExceptionCheck", Escape(env->ExceptionCheck())),
        MORLIN_LOCAL_STEP_("AllocObject", env->AllocObject(o.rvClass)),
        MORLIN_STEP_("IsInstanceOf@instance", Escape(env->IsInstanceOf(o.longRef, o.longRefClass))),
        MORLIN_STEP_("IsInstanceOf@other", Escape(env->IsInstanceOf(o.boxedLong, o.longRefClass))),
        MORLIN_LOCAL_STEP_("GetObjectField", env->GetObjectField(o.attribute, o.attributeValue)),
        MORLIN_STEP_("GetLongField", Escape(env->GetLongField(o.longRef, o.longRefValue))),
        MORLIN_STEP_("SetLongField", env->SetLongField(o.longRef, o.longRefValue, 42)),
        MORLIN_STEP_("SetBooleanField", env->SetBooleanField(o.bbool, o.bboolValue, JNI_TRUE)),
        MORLIN_STEP_("SetByteField", env->SetByteField(o.version, o.versionMajor, 2)),
        MORLIN_STEP_("SetObjectField", env->SetObjectField(o.attribute, o.attributeValue, o.boxedLong)),
        MORLIN_STEP_("GetArrayLength", Escape(env->GetArrayLength(o.arrays[0]))),
        MORLIN_LOCAL_STEP_("GetObjectArrayElement", env->GetObjectArrayElement(o.attributes, 1)),
        MORLIN_STEP_("CallLongMethod", Escape(env->CallLongMethod(o.boxedLong, o.longValue))),
        MORLIN_STEP_("CallBooleanMethod", Escape(env->CallBooleanMethod(o.boxedBoolean, o.booleanValue))),
    };
    // Each of these once per size; the name gets "@size".
    const std::vector<Step> sized = {
        MORLIN_LOCAL_STEP_("NewByteArray", env->NewByteArray(kSizes[size])),
        MORLIN_STEP_("SetByteArrayRegion", env->SetByteArrayRegion(o.arrays[size], 0, kSizes[size], o.from)),
        MORLIN_STEP_("GetByteArrayRegion",
                     env->GetByteArrayRegion(o.arrays[size], 0, kSizes[size], o.to); Escape(o.to)),
        MORLIN_STEP_("GetByteArrayElements+ReleaseByteArrayElements",
                     jbyte* elements = env->GetByteArrayElements(o.arrays[size], nullptr);
                     if (elements != nullptr) env->ReleaseByteArrayElements(o.arrays[size], elements, 0)),
        MORLIN_HALF_STEP_("GetByteArrayElements", true),
        MORLIN_HALF_STEP_("ReleaseByteArrayElements", false),
        MORLIN_STEP_("calloc+free", void* block = calloc(1, kSizes[size]); Escape(block); free(block)),
        MORLIN_STEP_("memcpy", memcpy(o.to, o.from, kSizes[size]); Escape(o.to)),
    };
    // clang-format on
    for (const Step& step : sized) {
        for (int size = 0; size < kSizeCount; ++size) {
            steps.push_back({step.name + "@" + std::to_string(kSizes[size]), step.timer, size});
        }
    }
    return steps;
}

#undef MORLIN_STEP_
#undef MORLIN_LOCAL_STEP_
#undef MORLIN_HALF_STEP_

// Made by the first names(); the Java side calls nothing else before it.
Objects* gObjects = nullptr;
const std::vector<Step>& Steps() {
    static const std::vector<Step> steps = MakeSteps();
    return steps;
}

// One lookup of a replayed sequence (see JniSteps_lookups below).
struct Lookup {
    char kind = 'C';
    std::string cls, name, sig;
    jclass resolved = nullptr;
};

}  // namespace

extern "C" {

JNIEXPORT jobjectArray JNICALL Java_kaltrix_morlin_bench_JniSteps_names(JNIEnv* env, jclass) {
    if (gObjects == nullptr) {
        auto* objects = new Objects;
        if (!Make(env, *objects)) {
            delete objects;
            return nullptr;
        }
        gObjects = objects;
    }
    jclass string = env->FindClass("java/lang/String");
    if (string == nullptr) return nullptr;
    const std::vector<Step>& steps = Steps();
    jobjectArray names = env->NewObjectArray(steps.size(), string, nullptr);
    for (size_t i = 0; names != nullptr && i < steps.size(); ++i) {
        jstring name = env->NewStringUTF(steps[i].name.c_str());
        if (name == nullptr) return nullptr;
        env->SetObjectArrayElement(names, i, name);
        env->DeleteLocalRef(name);
    }
    return names;
}

JNIEXPORT jlong JNICALL Java_kaltrix_morlin_bench_JniSteps_run(JNIEnv* env, jclass, jint step, jlong n) {
    const std::vector<Step>& steps = Steps();
    if (gObjects == nullptr || step < 0 || step >= jint(steps.size())) {
        bench::ThrowFailure(env, "JNI steps: no such step, or names() not called first");
        return 0;
    }
    return steps[step].timer(env, *gObjects, n, steps[step].size);
}

// The lookups of one operation, replayed n times: each repetition makes
// every lookup in order inside one local frame, as a native call does, with
// the references piling up until the frame ends. A record is "C:class" for
// FindClass, "F:class:name:sig" for GetFieldID and "M:class:name:sig" for
// GetMethodID; the classes that F and M need are resolved before the clock
// starts. Returns the nanoseconds that the n repetitions took. A lookup costs
// more among other lookups (symbol table, dictionary and class data leave
// the caches) than alone in a loop, which is why the whole sequence is timed.
JNIEXPORT jlong JNICALL Java_kaltrix_morlin_bench_JniSteps_lookups(JNIEnv* env, jclass, jobjectArray records, jlong n) {
    std::vector<Lookup> lookups;
    const jsize count = env->GetArrayLength(records);
    for (jsize i = 0; i < count; ++i) {
        auto text = static_cast<jstring>(env->GetObjectArrayElement(records, i));
        const char* utf = text == nullptr ? nullptr : env->GetStringUTFChars(text, nullptr);
        if (utf == nullptr) return 0;  // pending
        std::string record = utf;
        env->ReleaseStringUTFChars(text, utf);
        env->DeleteLocalRef(text);
        Lookup l;
        l.kind = record[0];
        size_t a = record.find(':', 2);
        l.cls = record.substr(2, a == std::string::npos ? std::string::npos : a - 2);
        if (l.kind != 'C') {
            size_t b = a == std::string::npos ? a : record.find(':', a + 1);
            if (b == std::string::npos) {
                bench::ThrowFailure(env, ("JNI steps: no lookup " + record).c_str());
                return 0;
            }
            l.name = record.substr(a + 1, b - a - 1);
            l.sig = record.substr(b + 1);
            jclass local = env->FindClass(l.cls.c_str());
            if (local == nullptr) return 0;  // pending
            l.resolved = static_cast<jclass>(env->NewGlobalRef(local));
            env->DeleteLocalRef(local);
        }
        lookups.push_back(l);
    }
    long start = NowNs();
    for (jlong r = 0; r < n && start != 0; ++r) {
        if (env->PushLocalFrame(count + 16) != 0) return 0;
        for (const Lookup& l : lookups) {
            bool found = true;
            if (l.kind == 'C') {
                jclass c = env->FindClass(l.cls.c_str());
                Escape(c);
                found = c != nullptr;
            } else if (l.kind == 'F') {
                jfieldID f = env->GetFieldID(l.resolved, l.name.c_str(), l.sig.c_str());
                Escape(f);
                found = f != nullptr;
            } else {
                jmethodID m = env->GetMethodID(l.resolved, l.name.c_str(), l.sig.c_str());
                Escape(m);
                found = m != nullptr;
            }
            if (!found) {  // pending
                start = 0;
                break;
            }
        }
        env->PopLocalFrame(nullptr);
    }
    const long elapsed = start == 0 ? 0 : NowNs() - start;
    for (const Lookup& l : lookups) {
        if (l.resolved != nullptr) env->DeleteGlobalRef(l.resolved);
    }
    return elapsed;
}

// An empty native method: the cost of the transition itself, timed from Java.
JNIEXPORT void JNICALL Java_kaltrix_morlin_bench_JniSteps_nothing(JNIEnv*, jclass) {}

}  // extern "C"
