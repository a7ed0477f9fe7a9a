// The shape that the natives of class Cryptoki share, written once as a
// template over the token function (template <auto Fn>) and over the kinds
// of its arguments. A native is then a one-line instantiation.
//
// Every native keeps one order: resolve the class it will write (LongRef or a
// handle class), test required arguments, convert the Java arguments in their
// order with an ExceptionCheck after each, call the token library, write
// outputs, release what the conversions handed out, and finally return null
// if an exception is pending or the CK_RV object otherwise. A Java exception
// is never cleared and never turned into a return code.
//
// An argument kind is a small aggregate that lives beside the conversion that
// owns it (wrappers.h: handles and enumerations; jutil.h: byte arrays,
// LongRef outputs and the two-phase output; values.h: CK_BBOOL;
// copyToJava.h: fixed-shape query results). It holds its Java argument and
// the state of its conversion, and has any of these members:
//
//   bool prepare(JNIEnv*)            resolve a class to write, before the checks
//   bool check() const               false: the native answers CKR_ARGUMENTS_BAD
//   bool convert(JNIEnv*)            false with an exception pending
//   std::tuple<...> args()           the token function's arguments it supplies
//   void writeBack(JNIEnv*, CK_RV)   its output, after the call
//   static constexpr int kWriteBackPhase   outputs of phase 0 go before phase 1
//   void release(JNIEnv*)            frees what convert handed out
//
// A bare jlong or pointer argument goes to the token library as it came.
// The kinds of one call live in one tuple, the frame's scope: they are
// converted in order, stopping at the first pending exception, and released
// in the same order on every path, each release doing nothing for a kind
// that never converted. The tuple has a place for every kind, so the scope
// can neither overflow nor lose a release.
#ifndef MORLIN_FRAMES_H
#define MORLIN_FRAMES_H

#include <jni.h>

#include <tuple>
#include <type_traits>
#include <utility>

#include "cryptoki.h"
#include "morlin/wrappers.h"

namespace frame {

// ---- what a kind offers --------------------------------------------------------

template <class K, class = void>
struct HasPrepare : std::false_type {};
template <class K>
struct HasPrepare<K, std::void_t<decltype(std::declval<K&>().prepare(nullptr))>> : std::true_type {};
template <class K, class = void>
struct HasCheck : std::false_type {};
template <class K>
struct HasCheck<K, std::void_t<decltype(std::declval<const K&>().check())>> : std::true_type {};
template <class K, class = void>
struct HasConvert : std::false_type {};
template <class K>
struct HasConvert<K, std::void_t<decltype(std::declval<K&>().convert(nullptr))>> : std::true_type {};
template <class K, class = void>
struct HasWriteBack : std::false_type {};
template <class K>
struct HasWriteBack<K, std::void_t<decltype(std::declval<K&>().writeBack(nullptr, CK_RV{}))>> : std::true_type {};
template <class K, class = void>
struct HasRelease : std::false_type {};
template <class K>
struct HasRelease<K, std::void_t<decltype(std::declval<K&>().release(nullptr))>> : std::true_type {};
template <class K, class = void>
struct WriteBackPhase : std::integral_constant<int, 0> {};
template <class K>
struct WriteBackPhase<K, std::void_t<decltype(K::kWriteBackPhase)>> : std::integral_constant<int, K::kWriteBackPhase> {
};

// A value handed on as it came: a jlong as CK_ULONG with the same 64 bits, a
// pointer (an output structure, a raw reference) unchanged.
template <class T>
struct Plain {
    T value;
    std::tuple<T> args() const { return {value}; }
};

template <class A>
auto AsKind(A a) {
    if constexpr (std::is_same_v<A, jlong>) {
        return Plain<CK_ULONG>{static_cast<CK_ULONG>(a)};
    } else if constexpr (std::is_pointer_v<A>) {
        return Plain<A>{a};
    } else {
        return a;
    }
}

// Null while an exception is pending, else the CK_RV object.
inline jobject Finish(JNIEnv* env, CK_RV rv) { return env->ExceptionCheck() ? nullptr : ckRVToJRV(env, rv); }

// What a kind leaves out does nothing and lets the frame go on.
template <class K>
bool PrepareOne(JNIEnv* env, K& k) {
    if constexpr (HasPrepare<K>::value) return k.prepare(env);
    return true;
}
template <class K>
bool CheckOne(const K& k) {
    if constexpr (HasCheck<K>::value) return k.check();
    return true;
}
template <class K>
bool ConvertOne(JNIEnv* env, K& k) {
    if constexpr (HasConvert<K>::value) return k.convert(env);
    return true;
}

// Releases every kind of a scope, in order, when the scope ends.
template <class Kinds>
struct Release {
    JNIEnv* env;
    Kinds& kinds;
    ~Release() {
        std::apply([this](auto&... k) { (ReleaseOne(k), ...); }, kinds);
    }
    template <class K>
    void ReleaseOne(K& k) {
        if constexpr (HasRelease<K>::value) k.release(env);
    }
};

// Each output is followed by an ExceptionCheck of its own, whose answer only
// decides whether the outputs after it are written.
template <int Phase, class K>
void WriteOne(JNIEnv* env, CK_RV rv, K& k, bool& more) {
    if constexpr (HasWriteBack<K>::value && WriteBackPhase<K>::value == Phase) {
        if (!more) return;
        k.writeBack(env, rv);
        more = !env->ExceptionCheck();
    }
}

// ---- the frame -------------------------------------------------------------------

// Fn(args...) with every argument a kind, a jlong or a pointer. Returns the
// CK_RV object, CKR_ARGUMENTS_BAD for a failed check, or null with the Java
// exception pending.
template <auto Fn, class... A>
jobject Call(JNIEnv* env, A... in) {
    std::tuple<decltype(AsKind(in))...> kinds{AsKind(in)...};
    // Folds over && stop at the first kind that answers false.
    if (!std::apply([env](auto&... k) { return (PrepareOne(env, k) && ...); }, kinds)) return nullptr;
    if (!std::apply([](const auto&... k) { return (CheckOne(k) && ...); }, kinds))
        return ckRVToJRV(env, CKR_ARGUMENTS_BAD);
    CK_RV rv = CKR_OK;
    {
        Release<decltype(kinds)> release{env, kinds};
        const bool converted = std::apply([env](auto&... k) { return (ConvertOne(env, k) && ...); }, kinds);
        if (converted) {
            rv = std::apply(Fn, std::apply([](auto&... k) { return std::tuple_cat(k.args()...); }, kinds));
            bool more = true;
            std::apply([&](auto&... k) { (WriteOne<0>(env, rv, k, more), ...); }, kinds);
            std::apply([&](auto&... k) { (WriteOne<1>(env, rv, k, more), ...); }, kinds);
        }
    }
    return Finish(env, rv);
}

// The pass-through shape: the Java argument goes to the token library as it
// came, and the answer comes back with no ExceptionCheck at all. After, if
// given, runs between the call and the result, with the answer.
template <auto Fn, auto After = nullptr, typename Arg>
jobject PassThrough(JNIEnv* env, Arg arg) {
    const CK_RV rv = Fn(arg);
    if constexpr (!std::is_null_pointer_v<decltype(After)>) After(env, rv);
    return ckRVToJRV(env, rv);
}

}  // namespace frame

#endif
