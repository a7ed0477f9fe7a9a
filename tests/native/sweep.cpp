// sweep: the runs of a case and their checks.
#include "sweep.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "allocations.h"
#include "fakeCryptoki.h"
#include "jniMonitor.h"
#include "jvm.h"

namespace morlin_test {
namespace {

// Everything one run did, gathered while it ran.
struct Run {
    Result result;
    JniTally jni;
    AllocationTally memory;
    std::vector<std::string> tokenCallsWithPending;
    std::string exception;  // class of what was left pending, "" for none
    std::string message;
};

// One run of the case, with call n failed (0: none), in a local frame of its
// own; inspect sees the result while its references are valid. Leaves
// nothing pending.
Run RunOnce(JNIEnv* env, const SweepCase& c, int n, const std::function<void(const Result&)>& inspect) {
    Run r;
    {
        Unpatched real(env);
        if (env->PushLocalFrame(32) != 0) std::abort();
    }
    fake::reset();
    if (!checkJniMode()) {
        fake::observe([&r, env](const fake::Call& call) {
            Unpatched real(env);
            if (env->ExceptionCheck()) r.tokenCallsWithPending.push_back(call.name);
        });
    }
    {
        AllocationWatch memory;
        {
            JniMonitor monitor(env);
            monitor.pause(true);
            if (c.setup) c.setup();
            monitor.pause(false);
            monitor.failCall(n);
            r.result = c.run();
            monitor.pause(true);
            if (inspect) inspect(r.result);
            r.exception = takeException(env, &r.message);
            if (c.cleanup) c.cleanup();
            r.jni = monitor.tally();
        }
        r.memory = memory.tally();
    }
    fake::observe(nullptr);
    Unpatched real(env);
    env->PopLocalFrame(nullptr);
    return r;
}

// The checks that every run must pass. Returns false after the first report.
bool CheckBalance(const SweepCase& c, const Run& r) {
    bool ok = true;
    for (const std::string& v : r.jni.violations) {
        ADD_FAILURE() << v;
        ok = false;
    }
    for (const std::string& name : r.tokenCallsWithPending) {
        if (name == c.reachedWithPending) continue;
        ADD_FAILURE() << name << " was called with a Java exception pending";
        ok = false;
    }
    const bool faulted = r.jni.firedAt != 0;
    const bool kept = (faulted || c.keptWithoutFault) && c.keptBlocks != 0 && r.memory.blocks == c.keptBlocks &&
                      r.memory.bytes == c.keptBytes;
    const bool mustKeep = !faulted && c.keptWithoutFault;
    if ((!kept && (mustKeep || r.memory.blocks != 0 || r.memory.bytes != 0)) || r.memory.foreignFrees != 0 ||
        r.memory.overflow) {
        ADD_FAILURE() << "allocations out of balance: " << r.memory.blocks << " blocks of " << r.memory.bytes
                      << " bytes kept, " << r.memory.foreignFrees << " blocks freed that the run did not take";
        ok = false;
    }
    if (r.jni.heldBuffers != 0) {
        ADD_FAILURE() << r.jni.heldBuffers << " JVM buffers taken and not released";
        ok = false;
    }
    if (r.jni.globalRefs != 0) {
        ADD_FAILURE() << r.jni.globalRefs << " global references made and not deleted";
        ok = false;
    }
    return ok;
}

// The unchecked store that ends the making of a new wrapper (GetFieldID and
// SetLongField of m_value, the last two calls): its failure leaves the
// wrapper in hand with the exception pending.
bool EndsWithWrapperStore(const std::vector<Jni>& counted, int faulted) {
    const int calls = static_cast<int>(counted.size());
    return calls >= 2 && faulted >= calls - 1 && counted[calls - 2] == Jni::GetFieldID &&
           counted[calls - 1] == Jni::SetLongField;
}

// Failures recorded so far in the running test.
int Failures() { return ::testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count(); }

}  // namespace

int sweep(JNIEnv* env, const SweepCase& c) {
    SCOPED_TRACE(c.name);
    const int failuresBefore = Failures();
    size_t reached = 0;
    const Run clean = RunOnce(env, c, 0, [&](const Result& result) {
        SCOPED_TRACE("the run without a fault");
        reached = c.reaches.empty() ? 1 : fake::count(c.reaches);
        if (c.cleanException.empty()) {
            EXPECT_FALSE(result.isSentinel()) << "the sentinel came back without a fault";
        }
        if (c.checkClean) c.checkClean(result);
    });
    {
        SCOPED_TRACE("the run without a fault");
        if (!CheckBalance(c, clean)) return 0;
        EXPECT_EQ(clean.exception, c.cleanException) << clean.message;
        EXPECT_EQ(reached, 1u) << c.reaches << " was not called once";
        if (Failures() != failuresBefore) return 0;
    }
    const int calls = clean.jni.calls;
    if (checkJniMode()) return calls;
    for (int n = 1; n <= calls; ++n) {
        bool sentinelOk = true;
        const Run r = RunOnce(env, c, n, [&](const Result& result) {
            if (c.checkFaulted) {
                SCOPED_TRACE("call " + std::to_string(n) + " failed");
                c.checkFaulted(result);
            } else {
                sentinelOk = result.isSentinel();
            }
        });
        const char* entry = jniName(r.jni.firedEntry);
        SCOPED_TRACE("call " + std::to_string(n) + " of " + std::to_string(calls) + " failed, in " + entry);
        bool ok = CheckBalance(c, r);
        if (r.jni.firedAt != n) {
            ADD_FAILURE() << "the run did not reach call " << n << ": it depends on more than its arguments";
            return n;
        }
        if (r.exception != kInjectedException || r.message != injectedMessage(n, r.jni.firedEntry)) {
            ADD_FAILURE() << "pending after the fault: " << (r.exception.empty() ? "nothing" : r.exception) << " ("
                          << r.message << ")";
            ok = false;
        }
        if (!sentinelOk && !EndsWithWrapperStore(clean.jni.counted, n)) {
            ADD_FAILURE() << "a result came back with the exception pending";
            ok = false;
        }
        if (!ok || Failures() != failuresBefore) return n;
    }
    return calls;
}

}  // namespace morlin_test
