// jniMonitor: watches, counts and fails the JNI calls that the code under
// test makes on this thread, through the thread's own JNIEnv.
//
// HotSpot finds the current thread from the address of the JNIEnv, so a
// JNIEnv object of our own cannot stand in for the real one. A JniMonitor
// copies the thread's function table, puts a shim in every entry of the copy
// and points env->functions at it for its lifetime. A shim only looks at
// calls made from the test program itself, where the bridge's code is linked:
// loading a class runs Java code whose natives use the same JNIEnv, and those
// calls must neither be counted nor failed. For each call of the code under
// test the shim
//   - notes a violation if a Java exception is pending and the entry is not
//     one that JNI allows then (ExceptionCheck, Release*, Delete*Ref, ...),
//     unless the call order is one of the few that the bridge prescribes
//     (runs of class lookups before one check, and a call that shares the
//     check of the conversion before it, see jniMonitor.cpp);
//   - counts it, if the entry can fail, and fails the chosen call the way a
//     JVM fails it: the entry's failure value with a
//     java.lang.IllegalStateException pending whose message names the call
//     ("injected fault #3 in GetFieldID");
//   - keeps the balance of global references and of JVM buffers taken with
//     Get*Chars, Get*ArrayElements and Get*Critical against their releases.
//
// Test code that runs inside a monitored stretch (helpers, checks) wraps its
// own JNI calls in an Unpatched scope, so that they are neither counted nor
// failed. The variadic entries are left alone: jni.h's C++ wrappers reach the
// V forms, which are watched.
#ifndef MORLIN_TEST_JNIMONITOR_H
#define MORLIN_TEST_JNIMONITOR_H

#include <jni.h>

#include <string>
#include <vector>

// Every non-variadic entry of the function table with its class:
//   F  can fail with an exception; must not run with one pending
//   S  safe to call with an exception pending; never fails
//   N  neither fails nor may run with an exception pending
// The classes follow the exceptions that JNI documents for each
// function: IsInstanceOf and GetObjectClass, for instance, list none.
// clang-format off
#define MORLIN_TEST_JNI_ENTRIES(X) \
    X(GetVersion, N) X(DefineClass, F) X(FindClass, F) X(FromReflectedMethod, F) X(FromReflectedField, F) \
    X(ToReflectedMethod, F) X(GetSuperclass, N) X(IsAssignableFrom, N) X(ToReflectedField, F) X(Throw, F) \
    X(ThrowNew, F) X(ExceptionOccurred, S) X(ExceptionDescribe, S) X(ExceptionClear, S) X(FatalError, S) \
    X(PushLocalFrame, S) X(PopLocalFrame, S) X(NewGlobalRef, F) X(DeleteGlobalRef, S) X(DeleteLocalRef, S) \
    X(IsSameObject, N) X(NewLocalRef, F) X(EnsureLocalCapacity, F) X(AllocObject, F) X(NewObjectV, F) \
    X(NewObjectA, F) X(GetObjectClass, N) X(IsInstanceOf, N) X(GetMethodID, F) X(CallObjectMethodV, F) \
    X(CallObjectMethodA, F) X(CallBooleanMethodV, F) X(CallBooleanMethodA, F) X(CallByteMethodV, F) \
    X(CallByteMethodA, F) X(CallCharMethodV, F) X(CallCharMethodA, F) X(CallShortMethodV, F) X(CallShortMethodA, F) \
    X(CallIntMethodV, F) X(CallIntMethodA, F) X(CallLongMethodV, F) X(CallLongMethodA, F) X(CallFloatMethodV, F) \
    X(CallFloatMethodA, F) X(CallDoubleMethodV, F) X(CallDoubleMethodA, F) X(CallVoidMethodV, F) \
    X(CallVoidMethodA, F) X(CallNonvirtualObjectMethodV, F) X(CallNonvirtualObjectMethodA, F) \
    X(CallNonvirtualBooleanMethodV, F) X(CallNonvirtualBooleanMethodA, F) X(CallNonvirtualByteMethodV, F) \
    X(CallNonvirtualByteMethodA, F) X(CallNonvirtualCharMethodV, F) X(CallNonvirtualCharMethodA, F) \
    X(CallNonvirtualShortMethodV, F) X(CallNonvirtualShortMethodA, F) X(CallNonvirtualIntMethodV, F) \
    X(CallNonvirtualIntMethodA, F) X(CallNonvirtualLongMethodV, F) X(CallNonvirtualLongMethodA, F) \
    X(CallNonvirtualFloatMethodV, F) X(CallNonvirtualFloatMethodA, F) X(CallNonvirtualDoubleMethodV, F) \
    X(CallNonvirtualDoubleMethodA, F) X(CallNonvirtualVoidMethodV, F) X(CallNonvirtualVoidMethodA, F) \
    X(GetFieldID, F) X(GetObjectField, F) X(GetBooleanField, F) X(GetByteField, F) X(GetCharField, F) \
    X(GetShortField, F) X(GetIntField, F) X(GetLongField, F) X(GetFloatField, F) X(GetDoubleField, F) \
    X(SetObjectField, F) X(SetBooleanField, F) X(SetByteField, F) X(SetCharField, F) X(SetShortField, F) \
    X(SetIntField, F) X(SetLongField, F) X(SetFloatField, F) X(SetDoubleField, F) X(GetStaticMethodID, F) \
    X(CallStaticObjectMethodV, F) X(CallStaticObjectMethodA, F) X(CallStaticBooleanMethodV, F) \
    X(CallStaticBooleanMethodA, F) X(CallStaticByteMethodV, F) X(CallStaticByteMethodA, F) \
    X(CallStaticCharMethodV, F) X(CallStaticCharMethodA, F) X(CallStaticShortMethodV, F) \
    X(CallStaticShortMethodA, F) X(CallStaticIntMethodV, F) X(CallStaticIntMethodA, F) X(CallStaticLongMethodV, F) \
    X(CallStaticLongMethodA, F) X(CallStaticFloatMethodV, F) X(CallStaticFloatMethodA, F) \
    X(CallStaticDoubleMethodV, F) X(CallStaticDoubleMethodA, F) X(CallStaticVoidMethodV, F) \
    X(CallStaticVoidMethodA, F) X(GetStaticFieldID, F) X(GetStaticObjectField, F) X(GetStaticBooleanField, F) \
    X(GetStaticByteField, F) X(GetStaticCharField, F) X(GetStaticShortField, F) X(GetStaticIntField, F) \
    X(GetStaticLongField, F) X(GetStaticFloatField, F) X(GetStaticDoubleField, F) X(SetStaticObjectField, F) \
    X(SetStaticBooleanField, F) X(SetStaticByteField, F) X(SetStaticCharField, F) X(SetStaticShortField, F) \
    X(SetStaticIntField, F) X(SetStaticLongField, F) X(SetStaticFloatField, F) X(SetStaticDoubleField, F) \
    X(NewString, F) X(GetStringLength, F) X(GetStringChars, F) X(ReleaseStringChars, S) X(NewStringUTF, F) \
    X(GetStringUTFLength, F) X(GetStringUTFChars, F) X(ReleaseStringUTFChars, S) X(GetArrayLength, F) \
    X(NewObjectArray, F) X(GetObjectArrayElement, F) X(SetObjectArrayElement, F) X(NewBooleanArray, F) \
    X(NewByteArray, F) X(NewCharArray, F) X(NewShortArray, F) X(NewIntArray, F) X(NewLongArray, F) \
    X(NewFloatArray, F) X(NewDoubleArray, F) X(GetBooleanArrayElements, F) X(GetByteArrayElements, F) \
    X(GetCharArrayElements, F) X(GetShortArrayElements, F) X(GetIntArrayElements, F) X(GetLongArrayElements, F) \
    X(GetFloatArrayElements, F) X(GetDoubleArrayElements, F) X(ReleaseBooleanArrayElements, S) \
    X(ReleaseByteArrayElements, S) X(ReleaseCharArrayElements, S) X(ReleaseShortArrayElements, S) \
    X(ReleaseIntArrayElements, S) X(ReleaseLongArrayElements, S) X(ReleaseFloatArrayElements, S) \
    X(ReleaseDoubleArrayElements, S) X(GetBooleanArrayRegion, F) X(GetByteArrayRegion, F) X(GetCharArrayRegion, F) \
    X(GetShortArrayRegion, F) X(GetIntArrayRegion, F) X(GetLongArrayRegion, F) X(GetFloatArrayRegion, F) \
    X(GetDoubleArrayRegion, F) X(SetBooleanArrayRegion, F) X(SetByteArrayRegion, F) X(SetCharArrayRegion, F) \
    X(SetShortArrayRegion, F) X(SetIntArrayRegion, F) X(SetLongArrayRegion, F) X(SetFloatArrayRegion, F) \
    X(SetDoubleArrayRegion, F) X(RegisterNatives, F) X(UnregisterNatives, F) X(MonitorEnter, F) X(MonitorExit, S) \
    X(GetJavaVM, N) X(GetStringRegion, F) X(GetStringUTFRegion, F) X(GetPrimitiveArrayCritical, F) \
    X(ReleasePrimitiveArrayCritical, S) X(GetStringCritical, F) X(ReleaseStringCritical, S) X(NewWeakGlobalRef, F) \
    X(DeleteWeakGlobalRef, S) X(ExceptionCheck, S) X(NewDirectByteBuffer, F) X(GetDirectBufferAddress, N) \
    X(GetDirectBufferCapacity, N) X(GetObjectRefType, N) X(GetModule, N)
// clang-format on

namespace morlin_test {

enum class Jni : int {
#define MORLIN_TEST_ENUMERATOR(name, kind) name,
    MORLIN_TEST_JNI_ENTRIES(MORLIN_TEST_ENUMERATOR)
#undef MORLIN_TEST_ENUMERATOR
};

// "FindClass" for Jni::FindClass.
const char* jniName(Jni entry);

// The class of the injected exception, dotted as Class.getName gives it, and
// the message of the n-th injected fault of a monitor.
inline constexpr const char* kInjectedException = "java.lang.IllegalStateException";
std::string injectedMessage(int n, Jni entry);

// Under MORLIN_TEST_CHECKJNI=1 the JVM's own -Xcheck:jni judges the calls:
// the monitor then makes no ExceptionCheck of its own (it would count as the
// check that -Xcheck:jni looks for), and sweeps inject no faults.
bool checkJniMode();

// What the monitor saw since it started, or since the last reset().
struct JniTally {
    int calls = 0;                        // calls of entries that can fail
    int firedAt = 0;                      // the call that was failed, 0 if none
    Jni firedEntry{};                     //
    int globalRefs = 0;                   // global references made minus deleted
    int heldBuffers = 0;                  // JVM buffers taken minus released
    std::vector<std::string> violations;  // calls made with an exception pending
    std::vector<Jni> trace;               // every call, in order
    std::vector<Jni> counted;             // the counted calls, in order
    // With recordLookups, the lookups in order: "C:class" for FindClass,
    // "F:class:name:sig" for GetFieldID and "M:class:name:sig" for
    // GetMethodID (binary class names with slashes).
    std::vector<std::string> lookups;
};

class JniMonitor {
public:
    explicit JniMonitor(JNIEnv* env);
    ~JniMonitor();
    JniMonitor(const JniMonitor&) = delete;
    JniMonitor& operator=(const JniMonitor&) = delete;

    // Fail the n-th call (from 1) of an entry that can fail, counted over all
    // entries, or over one entry only. 0 fails nothing.
    void failCall(int n);
    void failCall(Jni entry, int n);
    // While paused, calls are watched for balance and violations but neither
    // counted towards the failing call nor failed: set-up and clean-up.
    void pause(bool paused);
    void reset();
    // Note the lookups in JniTally::lookups (not under -Xcheck:jni, where
    // the calls that naming a class takes would disturb the JVM's checks).
    void recordLookups(bool on) { recordLookups_ = on; }

    const JniTally& tally() const { return tally_; }
    bool fired() const { return tally_.firedAt != 0; }

    // The shims' side; not for tests.
    struct Hooks;

private:
    friend struct Hooks;
    JNIEnv* env_;
    const JNINativeInterface_* real_;
    JNINativeInterface_ table_;
    JniTally tally_;
    int failAt_ = 0;
    bool failOneEntry_ = false;
    Jni failEntry_{};
    int entryCalls_ = 0;
    bool paused_ = false;
    bool recordLookups_ = false;
    // The call before this one, the class lookups made back to back up to
    // it, the first with nothing pending, and the last class looked up: the
    // prescribed call orders.
    Jni previous_{};
    std::vector<std::string> run_;
    std::string lastClass_;
};

// Puts the thread's unmonitored table back for its lifetime, so that test
// code inside a monitored stretch is not counted or failed. Does nothing when
// no monitor is active.
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

}  // namespace morlin_test

#endif
