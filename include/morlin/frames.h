// The shapes that the natives of class Cryptoki share, written once as
// templates over the token function (template <auto Fn>). A native is then a
// one-line instantiation; natives that fit no shape are written out whole.
//
// Every frame keeps one order: resolve the class it will write (LongRef or
// a handle class), test required arguments, convert the Java arguments in
// their order with an ExceptionCheck after each, call the token library,
// write outputs, free everything it allocated, and finally return null if
// an exception is pending or the CK_RV object otherwise. A Java exception is
// never cleared and never turned into a return code.
#ifndef MORLIN_FRAMES_H
#define MORLIN_FRAMES_H

#include <jni.h>

#include <cstdlib>
#include <tuple>
#include <type_traits>
#include <utility>

#include "cryptoki.h"
#include "morlin/java_names.h"
#include "morlin/jutil.h"
#include "morlin/wrappers.h"

// Declared here, defined with the mechanism conversions. A frame that takes a
// mechanism uses them by default; a test may put others in their place.
CK_MECHANISM jMechanismToCKMechanism(JNIEnv* env, jobject jMechanism);
void FreeCKMechanismParameter(JNIEnv* env, jobject jMechanism, CK_MECHANISM* ckMechanism);

namespace frame {

// ---- Java arguments as a frame sees them ------------------------------------
// A frame argument is either a plain value handed on as it came (jlong,
// CK_BBOOL, raw pointers such as an output structure), or one of these tags,
// which the frame converts and, where memory is handed out, frees.
struct Session {
    jobject obj;
};  // CK_SESSION_HANDLE wrapper
struct Object {
    jobject obj;
};  // CK_OBJECT_HANDLE wrapper
struct UserType {
    jobject obj;
};  // CK_USER_TYPE wrapper
struct MechType {
    jobject obj;
};  // CK_MECHANISM_TYPE wrapper
struct Bytes {
    jbyteArray arr;
};  // private copy; the Java count travels separately
struct Bool {
    jboolean value;
};  // 1 only if the low byte is exactly 1
struct Mechanism {
    jobject obj;
};  // CK_MECHANISM, released by the frame

// "Count greater than 0 with a null array" is the one array check: a null
// array with a count of 0 or below passes, the count unchanged.
inline bool ArrayCountOk(jobject array, jlong count) { return !(count > 0 && array == nullptr); }

// Step 9: null while an exception is pending, else the CK_RV object.
inline jobject Finish(JNIEnv* env, CK_RV rv) { return env->ExceptionCheck() ? nullptr : ckRVToJRV(env, rv); }

// What a frame's conversions handed out, released at the end of the frame in
// the order of conversion, whatever path the frame took. Frames that take a
// mechanism use MechanismScope, which converts and releases it.
template <auto ConvertMech = nullptr, auto FreeMech = nullptr>
class Scope {
public:
    explicit Scope(JNIEnv* env) : env_(env) {}
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;
    ~Scope() {
        for (int i = 0; i < count_; ++i) free(blocks_[i]);
        // The mechanism field marks a conversion that got far enough to own
        // memory; a mechanism of type 0 is therefore never released here.
        if constexpr (!std::is_null_pointer_v<decltype(FreeMech)>) {
            if (mech_.mechanism != 0) FreeMech(env_, jMech_, &mech_);
        }
    }

    JNIEnv* env() const { return env_; }

    CK_ULONG convert(jlong v) { return static_cast<CK_ULONG>(v); }
    CK_BBOOL convert(Bool b) { return (b.value & 0xFF) == 1 ? CK_TRUE : CK_FALSE; }
    template <typename P>
    P* convert(P* p) {
        return p;
    }
    CK_SESSION_HANDLE convert(Session s) { return jSessionHandleToCKSessionHandle(env_, s.obj); }
    CK_OBJECT_HANDLE convert(Object o) { return jObjectHandleToCKObjectHandle(env_, o.obj); }
    CK_USER_TYPE convert(UserType u) { return jUserTypeToCKUserType(env_, u.obj); }
    CK_MECHANISM_TYPE convert(MechType m) { return jMechanismTypeToCKMechanismType(env_, m.obj); }
    CK_BYTE_PTR convert(Bytes b) {
        CK_BYTE_PTR copy = nullptr;
        CK_ULONG measured = 0;  // the token library gets the Java count, not this
        jByteArrayToCKByteArray(env_, b.arr, &copy, &measured);
        own(copy);
        return copy;
    }
    CK_MECHANISM_PTR convert(Mechanism m) {
        jMech_ = m.obj;
        mech_ = ConvertMech(env_, m.obj);
        return &mech_;
    }

    // Memory from malloc/calloc that the frame frees at its end.
    void own(void* block) { blocks_[count_++] = block; }

private:
    JNIEnv* env_;
    void* blocks_[4] = {};
    int count_ = 0;
    CK_MECHANISM mech_{};
    jobject jMech_ = nullptr;
};

using MechanismScope = Scope<jMechanismToCKMechanism, FreeCKMechanismParameter>;

// A conversion that made JNI calls is followed by an ExceptionCheck; a plain
// value made none, and needs none.
template <typename In>
constexpr bool kConverts = !(std::is_arithmetic_v<In> || std::is_pointer_v<In> || std::is_same_v<In, Bool>);

// Converts the arguments in their order, stopping at the first pending
// exception; only if all went through does it hand the converted values to
// then, and returns what then answers (false if it never ran).
template <typename S, typename Then, typename... In, std::size_t... I>
bool ConvertThenImpl(S& scope, Then&& then, std::index_sequence<I...>, In... in) {
    JNIEnv* env = scope.env();
    std::tuple<decltype(scope.convert(in))...> ck{};
    bool ok = true;
    ((ok = ok && (std::get<I>(ck) = scope.convert(in), !(kConverts<In> && env->ExceptionCheck()))), ...);
    return ok && std::apply(then, ck);
}

template <typename S, typename Then, typename... In>
bool ConvertThen(S& scope, Then&& then, In... in) {
    return ConvertThenImpl(scope, then, std::index_sequence_for<In...>{}, in...);
}

// Converts, then calls Fn with the converted values. Returns whether the
// token library was called.
template <auto Fn, typename S, typename... In>
bool Call(S& scope, CK_RV& rv, In... in) {
    return ConvertThen(
        scope,
        [&rv](auto... ck) {
            rv = Fn(ck...);
            return true;
        },
        in...);
}

// ---- session, two-handle and input frames --------------------------------------
// Convert, call, free, step 9. Session: C_Logout(Session{h}). Two-handle:
// C_DestroyObject(Session{h}, Object{o}). Input: byte arrays as Bytes{} with
// their Java counts as jlong; argsOk carries the count-and-array checks that
// the native made before any conversion.
template <auto Fn, typename S = Scope<>, typename... In>
jobject CallFrame(JNIEnv* env, bool argsOk, In... in) {
    if (!argsOk) return ckRVToJRV(env, CKR_ARGUMENTS_BAD);
    CK_RV rv = CKR_OK;
    {
        S scope(env);
        Call<Fn>(scope, rv, in...);
    }
    return Finish(env, rv);
}

// ---- init frame ----------------------------------------------------------------------
// A null mechanism gives CKR_ARGUMENTS_BAD; then session, Mechanism{} and key
// are converted in their order, and the mechanism is released after the call.
template <auto Fn, typename S = MechanismScope, typename... In>
jobject InitFrame(JNIEnv* env, jobject jMechanism, In... in) {
    return CallFrame<Fn, S>(env, jMechanism != nullptr, in...);
}

// ---- new-handle frame ----------------------------------------------------------------
// The handle's class is resolved first of all; then the argument checks
// (argsOk, which includes the test of the output wrapper where the native
// makes one); the new handle goes into a stack CK_ULONG, appended as the
// token function's last argument, and only on CKR_OK into m_value of the
// caller's wrapper. A null wrapper that got past the checks goes unwritten.
template <auto Fn, typename S = Scope<>, typename... In>
jobject NewHandleFrame(JNIEnv* env, const char* handleClass, bool argsOk, jobject outHandle, In... in) {
    jclass cls = env->FindClass(handleClass);
    if (env->ExceptionCheck()) return nullptr;
    if (!argsOk) return ckRVToJRV(env, CKR_ARGUMENTS_BAD);
    CK_RV rv = CKR_OK;
    CK_ULONG handle = 0;
    {
        S scope(env);
        if (Call<Fn>(scope, rv, in..., &handle) && rv == CKR_OK) {
            SetLongField(env, cls, outHandle, jn::kValueField, static_cast<jlong>(handle));
            env->ExceptionCheck();  // decides nothing further: step 9 looks again
        }
    }
    return Finish(env, rv);
}

// ---- pass-through frame ----------------------------------------------------------
// The Java argument goes to the token library as it came, and the answer
// comes back with no ExceptionCheck at all. After, if given, runs between the
// call and the result with the answer.
template <auto Fn, auto After = nullptr, typename Arg>
jobject PassThroughFrame(JNIEnv* env, Arg arg) {
    const CK_RV rv = Fn(arg);
    if constexpr (!std::is_null_pointer_v<decltype(After)>) After(env, rv);
    return ckRVToJRV(env, rv);
}

// ---- query frame -------------------------------------------------------------------
// Null output object gives CKR_ARGUMENTS_BAD; convert the handle, if any;
// call into a stack structure; only on CKR_OK copy it into the Java object.
template <auto Fn, auto Copy, typename Info, typename... In>
jobject QueryFrameOf(JNIEnv* env, jobject jInfo, In... in) {
    if (jInfo == nullptr) return ckRVToJRV(env, CKR_ARGUMENTS_BAD);
    CK_RV rv = CKR_OK;
    Info info{};
    {
        Scope<> scope(env);
        if (Call<Fn>(scope, rv, in..., &info) && rv == CKR_OK) {
            Copy(env, &info, jInfo);
            env->ExceptionCheck();  // decides nothing further: step 9 looks again
        }
    }
    return Finish(env, rv);
}

// The structure type is the pointee of the token function's last parameter.
template <typename F>
struct LastParam;
template <typename R, typename... P>
struct LastParam<R (*)(P...)> {
    using type = std::tuple_element_t<sizeof...(P) - 1, std::tuple<P...>>;
};

template <auto Fn, auto Copy, typename... In>
jobject QueryFrame(JNIEnv* env, jobject jInfo, In... in) {
    using Info = std::remove_pointer_t<typename LastParam<decltype(Fn)>::type>;
    return QueryFrameOf<Fn, Copy, Info>(env, jInfo, in...);
}

// ---- two-phase output: data, final and list frames -------------------------------
// The caller's array may be null (the PKCS#11 size query); the LongRef may
// not. The length local starts from LongRef.value, reaches the token library
// by address, and goes back into value after the call whatever the answer;
// only on CKR_OK is the buffer copied, at most as many elements as the array
// holds. Elem is CK_BYTE or CK_ULONG; UseMalloc selects malloc(value) over
// calloc(value, size) for the one native that asks for it.
template <auto Fn, auto Copy, typename Elem, bool UseMalloc, typename JArray, typename... In>
jobject TwoPhaseFrame(JNIEnv* env, JArray out, jobject lengthRef, In... in) {
    jclass longRef = env->FindClass(jn::kLongRef);
    if (env->ExceptionCheck()) return nullptr;
    if (lengthRef == nullptr) return ckRVToJRV(env, CKR_ARGUMENTS_BAD);
    CK_RV rv = CKR_OK;
    {
        Elem* buffer = nullptr;
        struct Buffer {
            Elem*& p;
            ~Buffer() { free(p); }
        } release{buffer};
        Scope<> scope(env);  // declared last, so the inputs go before the buffer
        CK_ULONG length = 0;
        auto callWithOutput = [&](auto... ck) {
            // Inputs are converted; now the length, then the buffer.
            length = static_cast<CK_ULONG>(GetLongField(env, longRef, lengthRef, jn::kLongRefValue.name));
            if (env->ExceptionCheck()) return false;
            if (out != nullptr)
                buffer = static_cast<Elem*>(UseMalloc ? malloc(length * sizeof(Elem)) : calloc(length, sizeof(Elem)));
            rv = Fn(ck..., buffer, &length);
            return true;
        };
        if (ConvertThen(scope, callWithOutput, in...)) {
            SetLongField(env, longRef, lengthRef, jn::kLongRefValue.name, static_cast<jlong>(length));
            if (!env->ExceptionCheck() && rv == CKR_OK) {
                Copy(env, buffer, length, out);
                env->ExceptionCheck();
            }
        }
    }
    return Finish(env, rv);
}

}  // namespace frame

#endif
