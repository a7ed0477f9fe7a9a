// faults: make the n-th call of one JNI function fail, the way a real JVM
// fails it (a pending Java exception and the function's failure value), so
// that every exception path of a native can be driven from a test.
//
// How: HotSpot finds the current thread from the address of the JNIEnv, so a
// JNIEnv object of our own cannot stand in for the real one. Instead a Fault
// copies the thread's own function table, swaps one entry of the copy for a
// counting shim, and points the thread's env->functions at the copy until the
// Fault goes out of scope. Only the calling thread is affected. The shim
// raises its exception through the table that was in force before the first
// Fault, so it never re-enters a patched entry.
//
// The injected exception is a java.lang.IllegalStateException whose message
// names the entry and the call ("injected fault #2 in FindClass"): a test can
// tell it apart from a real one.
//
//   TEST_F(JutilTest, GetLongFieldFailures) {
//       jclass cls = findClass("kaltrix/morlin/CK_SESSION_HANDLE");
//       jobject handle = allocObject("kaltrix/morlin/CK_SESSION_HANDLE");
//       setLong(handle, "m_value", 42);
//       jlong value = 0;
//       morlin_test::sweepAllFaults(
//           env, [&] { value = GetLongField(env, cls, handle, "m_value"); },
//           [&](const char* entry, int n) {
//               // The contract is the pending exception; the value is -1
//               // only where the helper itself saw the failure.
//               if (std::string(entry) != "GetLongField") {
//                   EXPECT_EQ(value, -1);
//               }
//               EXPECT_EQ(pendingClassName(), morlin_test::kInjectedException);
//           });
//       EXPECT_EQ(value, 42);  // the last, unfaulted run
//       EXPECT_FALSE(pending());
//   }
//
// jni.h's C++ wrappers of the variadic calls (CallVoidMethod, NewObject, ...)
// go through the V entries (CallVoidMethodV, NewObjectV, ...): fault those.
#ifndef MORLIN_TEST_FAULTS_H
#define MORLIN_TEST_FAULTS_H

#include <gtest/gtest.h>
#include <jni.h>

#include <cstddef>
#include <string>
#include <vector>

// Every entry of the function table that a JVM can fail, one X(name) each.
// Left out: the variadic entries (their V forms are here), and the ones that
// run with an exception pending or cannot fail (Exception*, Release*,
// Delete*, PopLocalFrame, MonitorExit, IsSameObject, GetVersion, ...).
#define MORLIN_TEST_FAULTABLE_JNI(X)                                                                                  \
    /* classes and reflection */                                                                                      \
    X(DefineClass)                                                                                                    \
    X(FindClass) X(FromReflectedMethod) X(FromReflectedField) X(ToReflectedMethod) X(GetSuperclass)                   \
        X(IsAssignableFrom) X(ToReflectedField) /* raising */                                                         \
        X(Throw) X(ThrowNew)                    /* references and frames */                                           \
        X(PushLocalFrame) X(EnsureLocalCapacity) X(NewGlobalRef) X(NewLocalRef)                                       \
            X(NewWeakGlobalRef) /* objects and ids */                                                                 \
        X(AllocObject) X(NewObjectV) X(NewObjectA) X(GetObjectClass) X(IsInstanceOf) X(GetFieldID) X(GetMethodID)     \
            X(GetStaticFieldID) X(GetStaticMethodID) /* Call<T>MethodV/A */                                           \
        X(CallObjectMethodV) X(CallObjectMethodA) X(CallBooleanMethodV) X(CallBooleanMethodA) X(CallByteMethodV)      \
            X(CallByteMethodA) X(CallCharMethodV) X(CallCharMethodA) X(CallShortMethodV) X(CallShortMethodA)          \
                X(CallIntMethodV) X(CallIntMethodA) X(CallLongMethodV) X(CallLongMethodA) X(CallFloatMethodV)         \
                    X(CallFloatMethodA) X(CallDoubleMethodV) X(CallDoubleMethodA) X(CallVoidMethodV)                  \
                        X(CallVoidMethodA) /* CallNonvirtual<T>MethodV/A */                                           \
        X(CallNonvirtualObjectMethodV) X(CallNonvirtualObjectMethodA) X(CallNonvirtualBooleanMethodV)                 \
            X(CallNonvirtualBooleanMethodA) X(CallNonvirtualByteMethodV) X(CallNonvirtualByteMethodA)                 \
                X(CallNonvirtualCharMethodV) X(CallNonvirtualCharMethodA) X(CallNonvirtualShortMethodV)               \
                    X(CallNonvirtualShortMethodA) X(CallNonvirtualIntMethodV) X(CallNonvirtualIntMethodA)             \
                        X(CallNonvirtualLongMethodV) X(CallNonvirtualLongMethodA) X(CallNonvirtualFloatMethodV)       \
                            X(CallNonvirtualFloatMethodA) X(CallNonvirtualDoubleMethodV)                              \
                                X(CallNonvirtualDoubleMethodA) X(CallNonvirtualVoidMethodV)                           \
                                    X(CallNonvirtualVoidMethodA) /* CallStatic<T>MethodV/A */                         \
        X(CallStaticObjectMethodV) X(CallStaticObjectMethodA) X(CallStaticBooleanMethodV) X(CallStaticBooleanMethodA) \
            X(CallStaticByteMethodV) X(CallStaticByteMethodA) X(CallStaticCharMethodV) X(CallStaticCharMethodA)       \
                X(CallStaticShortMethodV) X(CallStaticShortMethodA) X(CallStaticIntMethodV) X(CallStaticIntMethodA)   \
                    X(CallStaticLongMethodV) X(CallStaticLongMethodA) X(CallStaticFloatMethodV)                       \
                        X(CallStaticFloatMethodA) X(CallStaticDoubleMethodV) X(CallStaticDoubleMethodA)               \
                            X(CallStaticVoidMethodV) X(CallStaticVoidMethodA) /* instance fields */                   \
        X(GetObjectField) X(GetBooleanField) X(GetByteField) X(GetCharField) X(GetShortField) X(GetIntField)          \
            X(GetLongField) X(GetFloatField) X(GetDoubleField) X(SetObjectField) X(SetBooleanField) X(SetByteField)   \
                X(SetCharField) X(SetShortField) X(SetIntField) X(SetLongField) X(SetFloatField)                      \
                    X(SetDoubleField) /* static fields */                                                             \
        X(GetStaticObjectField) X(GetStaticBooleanField) X(GetStaticByteField) X(GetStaticCharField)                  \
            X(GetStaticShortField) X(GetStaticIntField) X(GetStaticLongField) X(GetStaticFloatField)                  \
                X(GetStaticDoubleField) X(SetStaticObjectField) X(SetStaticBooleanField) X(SetStaticByteField)        \
                    X(SetStaticCharField) X(SetStaticShortField) X(SetStaticIntField) X(SetStaticLongField)           \
                        X(SetStaticFloatField) X(SetStaticDoubleField) /* strings */                                  \
        X(NewString) X(GetStringLength) X(GetStringChars) X(GetStringRegion) X(GetStringCritical) X(NewStringUTF)     \
            X(GetStringUTFLength) X(GetStringUTFChars) X(GetStringUTFRegion) /* arrays */                             \
        X(GetArrayLength) X(NewObjectArray) X(GetObjectArrayElement) X(SetObjectArrayElement)                         \
            X(GetPrimitiveArrayCritical) /* primitive arrays */                                                       \
        X(NewBooleanArray) X(NewByteArray) X(NewCharArray) X(NewShortArray) X(NewIntArray) X(NewLongArray)            \
            X(NewFloatArray) X(NewDoubleArray) X(GetBooleanArrayElements) X(GetByteArrayElements)                     \
                X(GetCharArrayElements) X(GetShortArrayElements) X(GetIntArrayElements) X(GetLongArrayElements)       \
                    X(GetFloatArrayElements) X(GetDoubleArrayElements) X(GetBooleanArrayRegion) X(GetByteArrayRegion) \
                        X(GetCharArrayRegion) X(GetShortArrayRegion) X(GetIntArrayRegion) X(GetLongArrayRegion)       \
                            X(GetFloatArrayRegion) X(GetDoubleArrayRegion) X(SetBooleanArrayRegion)                   \
                                X(SetByteArrayRegion) X(SetCharArrayRegion) X(SetShortArrayRegion)                    \
                                    X(SetIntArrayRegion) X(SetLongArrayRegion) X(SetFloatArrayRegion)                 \
                                        X(SetDoubleArrayRegion) /* natives, monitors, buffers */                      \
        X(RegisterNatives) X(UnregisterNatives) X(MonitorEnter) X(NewDirectByteBuffer)

namespace morlin_test {

// Names an entry of the JNI function table: Jni::FindClass is
// JNINativeInterface_::FindClass.
enum class Jni : int {
#define MORLIN_TEST_ENUMERATOR(name) name,
    MORLIN_TEST_FAULTABLE_JNI(MORLIN_TEST_ENUMERATOR)
#undef MORLIN_TEST_ENUMERATOR
};

inline constexpr int kJniEntryCount = 0
#define MORLIN_TEST_COUNT(name) +1
    MORLIN_TEST_FAULTABLE_JNI(MORLIN_TEST_COUNT)
#undef MORLIN_TEST_COUNT
    ;

// The class of the injected exception, dotted as takeException reports it.
inline constexpr const char* kInjectedException = "java.lang.IllegalStateException";

// "FindClass" for Jni::FindClass.
const char* jniName(Jni entry);

// The entries a conversion or frame of this bridge typically calls; the
// default list of sweepAllFaults.
const std::vector<Jni>& commonFaultEntries();
// Every entry of MORLIN_TEST_FAULTABLE_JNI, for a sweep that must miss none.
const std::vector<Jni>& allFaultEntries();

namespace detail {
struct Armed {
    int n = 0;
    int calls = 0;
    bool fired = false;
    const JNINativeInterface_* previous = nullptr;
};
bool entryAtOffset(std::size_t offset, Jni* entry);
std::string traceText(Jni entry, int n);
void clearPending(JNIEnv* env);
}  // namespace detail

// Arms call number n (from 1) of one entry to fail on this thread, for the
// life of the object. Calls before the n-th, and after it, reach the JVM.
// Faults on different entries nest; a second Fault on an entry that is
// already armed records a test failure and stays inert. Destroy them in
// reverse order of creation (scopes do that).
class Fault {
public:
    Fault(JNIEnv* env, Jni entry, int n);

    // The same, naming the entry by its member: &JNINativeInterface_::FindClass.
    template <class F>
    Fault(JNIEnv* env, F JNINativeInterface_::*member, int n) : Fault(env, entryOf(member), n) {}

    ~Fault();
    Fault(const Fault&) = delete;
    Fault& operator=(const Fault&) = delete;

    // Whether the n-th call happened (and so failed).
    bool fired() const { return armed_.fired; }
    // Calls of the entry seen so far, the failed one included.
    int calls() const { return armed_.calls; }
    Jni entry() const { return entry_; }

private:
    template <class F>
    static Jni entryOf(F JNINativeInterface_::*member) {
        static const JNINativeInterface_ probe{};
        const auto offset = static_cast<std::size_t>(reinterpret_cast<const char*>(&(probe.*member)) -
                                                     reinterpret_cast<const char*>(&probe));
        Jni entry{};
        if (!detail::entryAtOffset(offset, &entry)) {
            ADD_FAILURE() << "this JNI entry cannot be faulted (variadic, cleanup or never failing); "
                             "for a variadic call fault its V form";
            return static_cast<Jni>(-1);
        }
        return entry;
    }

    JNIEnv* env_;
    Jni entry_;
    bool patched_ = false;
    detail::Armed armed_;
    JNINativeInterface_ table_;
};

// Puts the thread's unpatched table back for its lifetime, so that test code
// inside an armed region (helpers, argument set-up) is not counted or failed.
// Does nothing when no Fault is armed.
class Unpatched {
public:
    explicit Unpatched(JNIEnv* env);
    ~Unpatched();
    Unpatched(const Unpatched&) = delete;
    Unpatched& operator=(const Unpatched&) = delete;

private:
    JNIEnv* env_;
    const JNINativeInterface_* saved_;
};

// Upper bound of n in a sweep: a run that calls one entry more often than
// this is taken for a loop that does not stop on failure.
inline constexpr int kSweepLimit = 100000;

// Runs run() with call n of entry armed, for n = 1, 2, ..., until a run ends
// without reaching call n. After each run that did reach it, check(n) states
// what must hold (sentinel returned, exception pending, token not called,
// ...), then the sweep clears whatever exception is left. The run that did
// not fire is not checked and its exception, if any, stays pending.
//
// Each run and its check happen in a local frame of their own: references a
// run keeps in captured variables are valid only until its check returns.
// The sweep stops at the first n whose check records a failure.
template <class Run, class Check>
void sweepFaults(JNIEnv* env, Jni entry, Run run, Check check) {
    const bool failedBefore = ::testing::Test::HasFailure();
    for (int n = 1; n <= kSweepLimit; ++n) {
        SCOPED_TRACE(detail::traceText(entry, n));
        if (Unpatched real(env); env->PushLocalFrame(16) != 0) {
            ADD_FAILURE() << "PushLocalFrame failed";
            return;
        }
        struct PopFrame {
            JNIEnv* env;
            ~PopFrame() {
                Unpatched real(env);
                env->PopLocalFrame(nullptr);
            }
        } pop{env};
        bool fired = false;
        {
            Fault fault(env, entry, n);
            run();
            fired = fault.fired();
        }
        if (!fired) return;
        check(n);
        detail::clearPending(env);
        if (!failedBefore && ::testing::Test::HasFailure()) return;
    }
    ADD_FAILURE() << jniName(entry) << " was still called " << kSweepLimit << " times after failing";
}

// sweepFaults over each entry of a list; check(name, n) gets the entry's
// name ("GetFieldID") as well. Entries the run never calls cost one run each.
template <class Run, class Check>
void sweepAllFaults(JNIEnv* env, const std::vector<Jni>& entries, Run run, Check check) {
    const bool failedBefore = ::testing::Test::HasFailure();
    for (Jni entry : entries) {
        const char* name = jniName(entry);
        sweepFaults(env, entry, run, [&](int n) { check(name, n); });
        if (!failedBefore && ::testing::Test::HasFailure()) return;
    }
}

template <class Run, class Check>
void sweepAllFaults(JNIEnv* env, Run run, Check check) {
    sweepAllFaults(env, commonFaultEntries(), run, check);
}

}  // namespace morlin_test

#endif
