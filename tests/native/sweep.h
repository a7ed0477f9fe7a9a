// sweep: every exception path of a native or conversion, driven by failing
// its JNI calls one at a time.
//
// A case runs once without a fault, which counts its N calls of JNI entries
// that can fail, then N times more with call n = 1, 2, ..., N failed. Every
// run, faulted or not, is checked for:
//   - no JNI call made while an exception was pending (outside the few call
//     orders that the bridge prescribes, see jniMonitor.cpp);
//   - no token function called while an exception was pending;
//   - memory from the C allocator, JVM buffers (Get*Elements, Get*Chars) and
//     global references all given back once the case's clean-up has run.
// A faulted run must further return the sentinel (null, 0) with exactly the
// injected exception pending; the one allowed exception is a fault in the
// unchecked store that ends the making of a wrapper result, which returns
// the wrapper with the exception pending. The run without a fault must reach
// the token function the case names, and leave pending only the exception
// the case expects.
#ifndef MORLIN_TESTS_SWEEP_H
#define MORLIN_TESTS_SWEEP_H

#include <jni.h>

#include <functional>
#include <string>

namespace morlin_test {

// What a run returned: a reference, or a number for the natives that return
// a Java long.
struct Result {
    bool isObject = true;
    jobject object = nullptr;
    jlong value = 0;

    static Result of(jobject o) { return {true, o, 0}; }
    static Result of(jlong v) { return {false, nullptr, v}; }
    bool isSentinel() const { return isObject ? object == nullptr : value == 0; }
};

struct SweepCase {
    std::string name;
    std::function<Result()> run;
    // Before and after every run, on a thread with nothing pending; their
    // calls are watched for balance but never failed.
    std::function<void()> setup;
    std::function<void()> cleanup;
    // The token function the run without a fault must call, if any.
    std::string reaches;
    // A token function that the native calls even with an exception pending,
    // because its order leaves a conversion unchecked before the call.
    std::string reachedWithPending;
    // What a faulted run may keep of the C allocator's blocks: a mechanism
    // parameter converted before the fault, which the release must leave
    // allocated while the exception is pending. Exactly this, or nothing.
    long keptBlocks = 0;
    long keptBytes = 0;
    // The run without a fault keeps exactly keptBlocks as well: a block that
    // the native leaves behind on every call that gets far enough.
    bool keptWithoutFault = false;
    // The exception that the run without a fault leaves pending on purpose.
    std::string cleanException;
    // Further checks of the run without a fault.
    std::function<void(const Result&)> checkClean;
    // For conversions whose failure shows otherwise than by a sentinel: the
    // checks of a faulted run in place of the sentinel test.
    std::function<void(const Result&)> checkFaulted;
};

// Runs and checks the case; returns the number of faulted runs, so that a
// caller can see that the sweep reached the paths it meant to.
int sweep(JNIEnv* env, const SweepCase& c);

// A conversion that reports failure only by the pending exception: whatever
// it returns after a fault is not judged, the rest of the checks are.
inline int sweepConversion(JNIEnv* env, std::string name, std::function<void()> run, long keptBlocks = 0,
                           long keptBytes = 0) {
    SweepCase c;
    c.name = std::move(name);
    c.keptBlocks = keptBlocks;
    c.keptBytes = keptBytes;
    c.run = [run] {
        run();
        return Result::of(jlong{1});
    };
    c.checkFaulted = [](const Result&) {};
    return sweep(env, c);
}

}  // namespace morlin_test

#endif
