// faults: the counting shims and the table patching behind Fault.
//
// One shim is instantiated per entry from the entry's own function type, so
// every argument (va_list and jvalue* included) is forwarded untouched. A
// shim finds its Fault through thread-local state: env->functions is patched
// for one thread only, so only that thread's shims can run.
#include "faults.h"

#include <dlfcn.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <type_traits>
#include <utility>

namespace morlin_test {
namespace {

struct ThreadFaults {
    detail::Armed* armed[kJniEntryCount] = {};
    // The table in force before the outermost Fault of this thread: the
    // shims forward to it and raise through it, so they never re-enter a
    // patched entry.
    const JNINativeInterface_* real = nullptr;
    int depth = 0;
};

thread_local ThreadFaults faults;

constexpr const char* kNames[] = {
#define MORLIN_TEST_NAME(name) #name,
    MORLIN_TEST_FAULTABLE_JNI(MORLIN_TEST_NAME)
#undef MORLIN_TEST_NAME
};

const std::size_t kOffsets[] = {
#define MORLIN_TEST_OFFSET(name) offsetof(JNINativeInterface_, name),
    MORLIN_TEST_FAULTABLE_JNI(MORLIN_TEST_OFFSET)
#undef MORLIN_TEST_OFFSET
};

// The jint entries whose value is a status, 0 for success: a JVM fails them
// with a negative value, not with 0.
constexpr bool returnsStatus(Jni entry) {
    switch (entry) {
        case Jni::Throw:
        case Jni::ThrowNew:
        case Jni::PushLocalFrame:
        case Jni::EnsureLocalCapacity:
        case Jni::MonitorEnter:
        case Jni::RegisterNatives:
        case Jni::UnregisterNatives:
            return true;
        default:
            return false;
    }
}

// Leaves the injected exception pending. If the code under test called the
// entry with an exception already pending (a fault of its own, which
// -Xcheck:jni reports), that exception is left as it is: FindClass must not
// run with one pending.
void raise(JNIEnv* env, Jni entry, int n) {
    const JNINativeInterface_* real = faults.real;
    if (real->ExceptionCheck(env)) return;
    jclass cls = real->FindClass(env, "java/lang/IllegalStateException");
    if (real->ExceptionCheck(env)) return;
    const std::string message = "injected fault #" + std::to_string(n) + " in " + kNames[static_cast<int>(entry)];
    real->ThrowNew(env, cls, message.c_str());
    real->DeleteLocalRef(env, cls);
}

// Whether a JNI call comes from the test program itself (the bridge's code
// is linked into it) rather than from the JDK: loading a class runs Java
// code whose own natives (reading the jar, say) use the same thread's
// JNIEnv, and a fault there would break the class loader for good instead of
// the code under test.
bool fromTestProgram(const void* caller) {
    static const void* const program = [] {
        Dl_info self{};
        dladdr(reinterpret_cast<const void*>(&raise), &self);
        return self.dli_fbase;
    }();
    Dl_info info{};
    return dladdr(caller, &info) != 0 && info.dli_fbase == program;
}

template <Jni E, auto Member, class F = std::remove_reference_t<decltype(std::declval<JNINativeInterface_&>().*Member)>>
struct Shim;

template <Jni E, auto Member, class R, class... A>
struct Shim<E, Member, R(JNICALL*)(JNIEnv*, A...)> {
    static R JNICALL call(JNIEnv* env, A... args) {
        detail::Armed* armed = faults.armed[static_cast<int>(E)];
        // Unarmed: a Fault that ended out of order left its shim in a later
        // Fault's table. Each entry is patched by one Fault at most, so the
        // real table is the right target in every case.
        if (armed != nullptr && fromTestProgram(__builtin_return_address(0)) && ++armed->calls == armed->n) {
            armed->fired = true;
            raise(env, E, armed->n);
            if constexpr (std::is_void_v<R>) {
                return;
            } else if constexpr (std::is_same_v<R, jint>) {
                return returnsStatus(E) ? JNI_ERR : 0;
            } else {
                return R{};
            }
        }
        return (faults.real->*Member)(env, args...);
    }
};

template <Jni E, auto Member>
void install(JNINativeInterface_& table) {
    table.*Member = &Shim<E, Member>::call;
}

using Installer = void (*)(JNINativeInterface_&);

constexpr Installer kInstallers[] = {
#define MORLIN_TEST_INSTALLER(name) &install<Jni::name, &JNINativeInterface_::name>,
    MORLIN_TEST_FAULTABLE_JNI(MORLIN_TEST_INSTALLER)
#undef MORLIN_TEST_INSTALLER
};

static_assert(sizeof(kNames) / sizeof(kNames[0]) == kJniEntryCount);
static_assert(sizeof(kInstallers) / sizeof(kInstallers[0]) == kJniEntryCount);

bool valid(Jni entry) {
    const int i = static_cast<int>(entry);
    return i >= 0 && i < kJniEntryCount;
}

}  // namespace

const char* jniName(Jni entry) { return valid(entry) ? kNames[static_cast<int>(entry)] : "(no entry)"; }

const std::vector<Jni>& commonFaultEntries() {
    static const std::vector<Jni> entries = {
        Jni::FindClass,
        Jni::GetFieldID,
        Jni::GetMethodID,
        Jni::GetStaticMethodID,
        Jni::GetObjectClass,
        Jni::IsInstanceOf,
        Jni::AllocObject,
        Jni::NewObjectV,
        Jni::NewObjectA,
        Jni::NewGlobalRef,
        Jni::PushLocalFrame,
        Jni::EnsureLocalCapacity,
        Jni::Throw,
        Jni::ThrowNew,
        Jni::GetObjectField,
        Jni::SetObjectField,
        Jni::GetLongField,
        Jni::SetLongField,
        Jni::GetIntField,
        Jni::SetIntField,
        Jni::GetBooleanField,
        Jni::SetBooleanField,
        Jni::GetByteField,
        Jni::SetByteField,
        Jni::GetCharField,
        Jni::SetCharField,
        Jni::CallObjectMethodV,
        Jni::CallVoidMethodV,
        Jni::CallLongMethodV,
        Jni::CallIntMethodV,
        Jni::CallBooleanMethodV,
        Jni::CallStaticObjectMethodV,
        Jni::CallStaticVoidMethodV,
        Jni::CallStaticLongMethodV,
        Jni::NewStringUTF,
        Jni::GetStringUTFChars,
        Jni::GetStringUTFLength,
        Jni::GetStringLength,
        Jni::GetArrayLength,
        Jni::NewObjectArray,
        Jni::GetObjectArrayElement,
        Jni::SetObjectArrayElement,
        Jni::NewByteArray,
        Jni::GetByteArrayElements,
        Jni::GetByteArrayRegion,
        Jni::SetByteArrayRegion,
        Jni::NewCharArray,
        Jni::GetCharArrayRegion,
        Jni::SetCharArrayRegion,
        Jni::NewLongArray,
        Jni::GetLongArrayElements,
        Jni::GetLongArrayRegion,
        Jni::SetLongArrayRegion,
        Jni::GetPrimitiveArrayCritical,
    };
    return entries;
}

const std::vector<Jni>& allFaultEntries() {
    static const std::vector<Jni> entries = [] {
        std::vector<Jni> all;
        for (int i = 0; i < kJniEntryCount; ++i) all.push_back(static_cast<Jni>(i));
        return all;
    }();
    return entries;
}

namespace detail {

bool entryAtOffset(std::size_t offset, Jni* entry) {
    for (int i = 0; i < kJniEntryCount; ++i) {
        if (kOffsets[i] == offset) {
            *entry = static_cast<Jni>(i);
            return true;
        }
    }
    return false;
}

std::string traceText(Jni entry, int n) {
    return std::string("fault injected at call #") + std::to_string(n) + " of " + jniName(entry);
}

void clearPending(JNIEnv* env) {
    Unpatched real(env);
    env->ExceptionClear();
}

}  // namespace detail

Fault::Fault(JNIEnv* env, Jni entry, int n) : env_(env), entry_(entry), table_() {
    armed_.n = n;
    if (!valid(entry)) return;  // entryOf has recorded the failure
    const int i = static_cast<int>(entry);
    if (n < 1) {
        ADD_FAILURE() << "a Fault counts calls from 1, got " << n;
        return;
    }
    if (faults.armed[i] != nullptr) {
        ADD_FAILURE() << kNames[i] << " is already armed on this thread";
        return;
    }
    armed_.previous = env->functions;
    if (faults.depth == 0) faults.real = env->functions;
    table_ = *env->functions;
    kInstallers[i](table_);
    faults.armed[i] = &armed_;
    ++faults.depth;
    env->functions = &table_;
    patched_ = true;
}

Fault::~Fault() {
    if (!patched_) return;
    faults.armed[static_cast<int>(entry_)] = nullptr;
    --faults.depth;
    if (faults.depth == 0) {
        env_->functions = faults.real;
        faults.real = nullptr;
    } else if (env_->functions == &table_) {
        env_->functions = armed_.previous;
    } else {
        // A Fault armed after this one is still alive and its table holds
        // our shim, now unarmed and forwarding: leave its table in place.
        ADD_FAILURE() << "Fault on " << kNames[static_cast<int>(entry_)] << " ended before a Fault armed after it";
    }
}

Unpatched::Unpatched(JNIEnv* env) : env_(env), saved_(env->functions) {
    if (faults.depth > 0) env->functions = faults.real;
}

Unpatched::~Unpatched() { env_->functions = saved_; }

}  // namespace morlin_test
