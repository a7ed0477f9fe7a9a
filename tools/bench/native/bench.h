// What the natives of libmorlinbench.so share: the clock that C loops are
// timed with, a barrier that keeps a result the compiler would otherwise
// drop, and the exception by which a native reports a failed run to Java.
#ifndef MORLIN_BENCH_BENCH_H
#define MORLIN_BENCH_BENCH_H

#include <jni.h>
#include <time.h>

namespace bench {

// CLOCK_MONOTONIC, the clock behind Java's System.nanoTime, so that loops
// timed in C and in Java read the same time.
inline long NowNs() {
    timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return t.tv_sec * 1000000000L + t.tv_nsec;
}

// Makes the compiler assume that the value, and memory, are used: a memcpy
// or calloc in a timed loop must not be optimised away.
template <typename T>
inline void Escape(T value) {
    asm volatile("" : : "g"(value) : "memory");
}

// Raises kaltrix.morlin.bench.BenchFailure with the message. The run stops
// there: a benchmark of calls that failed would time the failure path.
inline void ThrowFailure(JNIEnv* env, const char* message) {
    jclass failure = env->FindClass("kaltrix/morlin/bench/BenchFailure");
    if (failure != nullptr) env->ThrowNew(failure, message);
}

}  // namespace bench

#endif
