// jniMonitor: the shims behind JniMonitor. One shim is instantiated per entry
// from the entry's own function type, so every argument (va_list and jvalue*
// included) is forwarded untouched. A shim finds its monitor through
// thread-local state: env->functions is patched for one thread only.
#include "jniMonitor.h"

#include <link.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace morlin_test {

// The runs of class lookups that the bridge makes back to back, checking
// for an exception once, after the last: a lookup of a run may follow the
// one before it with that one's exception pending. Any other call with an
// exception pending is a violation.
struct PrescribedOrder {
    const char* why;
    std::initializer_list<const char*> classes;
};

const PrescribedOrder kPrescribedOrders[] = {
    {"GetClassName looks up Object and Class together", {"java/lang/Object", "java/lang/Class"}},
    {"the session information copy looks up its class and CK_STATE together",
     {"kaltrix/morlin/CK_SESSION_INFO", "kaltrix/morlin/constants/CK_STATE"}},
    {"the handle array copy looks up element and array class together",
     {"kaltrix/morlin/CK_OBJECT_HANDLE", "[Lkaltrix/morlin/CK_OBJECT_HANDLE;"}},
    {"the mechanism-type array copy looks up element and array class together",
     {"kaltrix/morlin/constants/CK_MECHANISM_TYPE", "[Lkaltrix/morlin/constants/CK_MECHANISM_TYPE;"}},
    {"the unchecked mechanism-type array copy looks up array and element class together",
     {"[Lkaltrix/morlin/constants/CK_MECHANISM_TYPE;", "kaltrix/morlin/constants/CK_MECHANISM_TYPE"}},
    {"the attribute copy looks up CK_ATTRIBUTE and its type class together",
     {"kaltrix/morlin/CK_ATTRIBUTE", "kaltrix/morlin/constants/CK_ATTRIBUTE_TYPE"}},
    // The in-place value copy makes the first 18 of these lookups.
    {"the attribute value dispatch looks up all its value classes, then checks",
     {"[B",
      "java/lang/Long",
      "kaltrix/morlin/CK_BBOOL",
      "kaltrix/morlin/CK_DATE",
      "kaltrix/morlin/CK_OBJECT_HANDLE",
      "kaltrix/morlin/CK_SESSION_HANDLE",
      "kaltrix/morlin/constants/CK_ATTRIBUTE_TYPE",
      "kaltrix/morlin/constants/CK_CERTIFICATE_TYPE",
      "kaltrix/morlin/constants/CK_HW_FEATURE_TYPE",
      "kaltrix/morlin/constants/CK_KEY_TYPE",
      "kaltrix/morlin/constants/CK_MECHANISM_TYPE",
      "[Lkaltrix/morlin/constants/CK_MECHANISM_TYPE;",
      "kaltrix/morlin/constants/CK_OBJECT_CLASS",
      "kaltrix/morlin/constants/CK_RSA_PKCS_OAEP_SOURCE_TYPE",
      "kaltrix/morlin/constants/CK_RV",
      "kaltrix/morlin/constants/CK_STATE",
      "kaltrix/morlin/constants/CK_USER_TYPE",
      "java/lang/Boolean",
      "[J",
      "java/lang/String",
      "java/lang/Integer",
      "[I",
      "[Z",
      "[C",
      "java/lang/Byte",
      "java/lang/Character"}},
    {"FMSC_SendReceive looks up LongRef and converts its session before one check",
     {"kaltrix/morlin/LongRef", "kaltrix/morlin/CK_SESSION_HANDLE"}},
    {"the SSL3 key material write-back looks up its three classes together",
     {"kaltrix/morlin/params/CK_SSL3_KEY_MAT_PARAMS", "kaltrix/morlin/params/CK_SSL3_KEY_MAT_OUT",
      "kaltrix/morlin/CK_OBJECT_HANDLE"}},
    {"the parameter size query looks up all the classes of its chain, then checks",
     {"kaltrix/morlin/params/CK_RSA_PKCS_OAEP_PARAMS",
      "kaltrix/morlin/params/CK_RSA_PKCS_PSS_PARAMS",
      "java/lang/Long",
      "kaltrix/morlin/params/CK_RC2_CBC_PARAMS",
      "kaltrix/morlin/params/CK_RC2_MAC_GENERAL_PARAMS",
      "java/lang/Long",
      "kaltrix/morlin/params/CK_PBE_PARAMS",
      "kaltrix/morlin/params/CK_KEY_WRAP_SET_OAEP_PARAMS",
      "kaltrix/morlin/params/CK_SSL3_MASTER_KEY_DERIVE_PARAMS",
      "kaltrix/morlin/params/CK_SSL3_KEY_MAT_PARAMS",
      "java/lang/Long",
      "kaltrix/morlin/CK_VERSION",
      "kaltrix/morlin/params/CK_KEY_DERIVATION_STRING_DATA",
      "kaltrix/morlin/params/CK_MECH_TYPE_AND_OBJECT",
      "kaltrix/morlin/CK_OBJECT_HANDLE",
      "kaltrix/morlin/params/CK_DES_CBC_PARAMS",
      "kaltrix/morlin/params/CK_DES2_CBC_PARAMS",
      "kaltrix/morlin/params/CK_DES3_CBC_PARAMS",
      "kaltrix/morlin/params/CK_DES_CBC_ENCRYPT_DATA_PARAMS",
      "kaltrix/morlin/params/CK_AES_CBC_ENCRYPT_DATA_PARAMS",
      "kaltrix/morlin/params/CK_AES_GCM_PARAMS",
      "kaltrix/morlin/params/CK_GCM_PARAMS",
      "kaltrix/morlin/params/CK_AES_CTR_PARAMS",
      "kaltrix/morlin/params/CK_AES_CCM_PARAMS",
      "kaltrix/morlin/params/CK_PP_LOAD_SECRET_PARAMS",
      "kaltrix/morlin/params/CK_TIMESTAMP_PARAMS",
      "kaltrix/morlin/params/CK_REPLICATE_TOKEN_PARAMS",
      "kaltrix/morlin/params/CK_PKCS12_PBE_IMPORT_PARAMS",
      "kaltrix/morlin/params/CK_PKCS12_PBE_EXPORT_PARAMS",
      "kaltrix/morlin/params/CK_SECRET_SHARE_PARAMS",
      "kaltrix/morlin/params/CK_ECIES_PARAMS",
      "kaltrix/morlin/params/CK_ECDH1_DERIVE_PARAMS",
      "kaltrix/morlin/params/CK_BIP32_MASTER_DERIVE_PARAMS",
      "kaltrix/morlin/params/CK_BIP32_CHILD_DERIVE_PARAMS",
      "kaltrix/morlin/params/CK_GEN_PIK_PARAM",
      "kaltrix/morlin/params/CK_KDE_ECCP521_DERIVE_PARAMS",
      "kaltrix/morlin/params/CK_KDE_TOKEN_WRAP_PARAMS",
      "kaltrix/morlin/params/CK_EDDSA_PARAMS",
      "[B",
      "java/lang/String",
      "java/lang/Long",
      "java/lang/Boolean",
      "[C"}},
};

// The calls that share one ExceptionCheck with the conversion before them:
// the call may come with that conversion's exception pending when the
// conversion's class was the last one looked up, and the call before it was
// one with which the conversion can end.
struct PrescribedCall {
    const char* why;
    Jni call;
    const char* lastClass;
    std::initializer_list<Jni> after;
};

const PrescribedCall kPrescribedCalls[] = {
    {"the find by label reads the label's length straight after converting the object class",
     Jni::GetArrayLength,
     "kaltrix/morlin/constants/CK_OBJECT_CLASS",
     {Jni::ExceptionCheck, Jni::GetLongField}},
};

bool PrescribedAfterConversion(Jni call, const std::string& lastClass, Jni previous) {
    for (const PrescribedCall& p : kPrescribedCalls) {
        if (p.call != call || lastClass != p.lastClass) continue;
        for (Jni a : p.after)
            if (a == previous) return true;
    }
    return false;
}

// Whether the class lookups of run, in order, open one of the prescribed
// runs: a run counts only from its own first lookup, so that two classes
// that happen to follow each other in some list do not excuse a lookup made
// with another lookup's exception pending.
bool Prescribed(const std::vector<std::string>& run) {
    for (const PrescribedOrder& p : kPrescribedOrders) {
        if (run.size() > p.classes.size()) continue;
        bool opens = true;
        auto c = p.classes.begin();
        for (const std::string& looked : run) opens = opens && looked == *c++;
        if (opens) return true;
    }
    return false;
}

namespace {

enum Class { F, S, N };

constexpr const char* kNames[] = {
#define MORLIN_TEST_NAME(name, kind) #name,
    MORLIN_TEST_JNI_ENTRIES(MORLIN_TEST_NAME)
#undef MORLIN_TEST_NAME
};
constexpr Class kClasses[] = {
#define MORLIN_TEST_CLASS(name, kind) kind,
    MORLIN_TEST_JNI_ENTRIES(MORLIN_TEST_CLASS)
#undef MORLIN_TEST_CLASS
};

thread_local JniMonitor* active = nullptr;
// The table in force before the monitor: the shims forward to it.
thread_local const JNINativeInterface_* realTable = nullptr;

// The address range of the test program's own code, where the bridge's
// objects are linked: calls from anywhere else (the JDK's libraries) are not
// the code under test.
struct Range {
    std::uintptr_t begin = 0, end = 0;
};
Range programText() {
    static const Range range = [] {
        Range r;
        dl_iterate_phdr(
            [](dl_phdr_info* info, size_t, void* out) {
                if (info->dlpi_name != nullptr && info->dlpi_name[0] != '\0') return 0;  // the main program only
                auto* range = static_cast<Range*>(out);
                for (int i = 0; i < info->dlpi_phnum; ++i) {
                    const ElfW(Phdr)& ph = info->dlpi_phdr[i];
                    if (ph.p_type != PT_LOAD || !(ph.p_flags & PF_X)) continue;
                    const std::uintptr_t lo = info->dlpi_addr + ph.p_vaddr;
                    if (range->begin == 0 || lo < range->begin) range->begin = lo;
                    if (lo + ph.p_memsz > range->end) range->end = lo + ph.p_memsz;
                }
                return 1;
            },
            &r);
        return r;
    }();
    return range;
}

bool fromTestProgram(const void* caller) {
    const Range r = programText();
    const auto at = reinterpret_cast<std::uintptr_t>(caller);
    return at >= r.begin && at < r.end;
}

constexpr std::string_view kHeldTaken[] = {
    "GetStringChars",          "GetStringUTFChars",    "GetStringCritical",     "GetPrimitiveArrayCritical",
    "GetBooleanArrayElements", "GetByteArrayElements", "GetCharArrayElements",  "GetShortArrayElements",
    "GetIntArrayElements",     "GetLongArrayElements", "GetFloatArrayElements", "GetDoubleArrayElements"};

constexpr bool takesBuffer(std::string_view name) {
    for (std::string_view n : kHeldTaken)
        if (n == name) return true;
    return false;
}
constexpr bool releasesBuffer(std::string_view name) { return name.substr(0, 7) == "Release"; }

// The jint entries whose value is a status, 0 for success: a JVM fails them
// with a negative value, not with 0.
constexpr bool returnsStatus(Jni e) {
    return e == Jni::Throw || e == Jni::ThrowNew || e == Jni::EnsureLocalCapacity || e == Jni::MonitorEnter ||
           e == Jni::RegisterNatives || e == Jni::UnregisterNatives;
}

}  // namespace

struct JniMonitor::Hooks {
    // Before a call of the code under test: the pending-exception rule, the
    // count, and whether this call fails.
    static bool before(JniMonitor& m, JNIEnv* env, Jni e, const char* className) {
        const int index = static_cast<int>(e);
        m.tally_.trace.push_back(e);
        if (e == Jni::FindClass)
            m.tally_.lookups.push_back(std::string("C:") + (className != nullptr ? className : ""));
        const bool pending = checkJniMode() ? false : m.real_->ExceptionCheck(env);
        bool inRun = false;
        if (pending && kClasses[index] != S) {
            // A lookup that goes on a run of lookups begun with nothing
            // pending, with no other call in between.
            if (e == Jni::FindClass && !m.run_.empty()) {
                m.run_.push_back(className);
                inRun = Prescribed(m.run_);
            }
            if (!inRun && !PrescribedAfterConversion(e, m.lastClass_, m.previous_)) {
                m.tally_.violations.push_back(std::string(kNames[index]) + " called with an exception pending (call " +
                                              std::to_string(m.tally_.trace.size()) + ", after " +
                                              kNames[static_cast<int>(m.previous_)] + ")");
            }
        }
        if (e == Jni::FindClass && !pending) {
            if (m.previous_ != Jni::FindClass) m.run_.clear();
            m.run_.push_back(className);
        } else if (!inRun) {
            m.run_.clear();
        }
        m.previous_ = e;
        if (e == Jni::FindClass) m.lastClass_ = className != nullptr ? className : "";
        if (kClasses[index] != F || m.paused_) return false;
        ++m.tally_.calls;
        m.tally_.counted.push_back(e);
        bool fail = false;
        if (m.failOneEntry_) {
            fail = e == m.failEntry_ && ++m.entryCalls_ == m.failAt_;
        } else {
            fail = m.tally_.calls == m.failAt_;
        }
        if (!fail) return false;
        m.tally_.firedAt = m.failOneEntry_ ? m.entryCalls_ : m.tally_.calls;
        m.tally_.firedEntry = e;
        // A faulted call that comes with an exception already pending (a
        // violation noted above) leaves that exception as it is.
        if (!m.real_->ExceptionCheck(env)) {
            jclass cls = m.real_->FindClass(env, "java/lang/IllegalStateException");
            if (!m.real_->ExceptionCheck(env)) {
                m.real_->ThrowNew(env, cls, injectedMessage(m.tally_.firedAt, e).c_str());
                m.real_->DeleteLocalRef(env, cls);
            }
        }
        return true;
    }

    // A field or method lookup, with its class named as FindClass takes it.
    static void noteMember(JniMonitor& m, JNIEnv* env, Jni e, jclass cls, const char* name, const char* sig) {
        if (!m.recordLookups_ || checkJniMode()) return;
        std::string record = e == Jni::GetFieldID ? "F:" : "M:";
        const JNINativeInterface_* real = m.real_;
        if (cls != nullptr && !real->ExceptionCheck(env)) {
            jclass classClass = real->FindClass(env, "java/lang/Class");
            jmethodID getName = real->GetMethodID(env, classClass, "getName", "()Ljava/lang/String;");
            auto text = static_cast<jstring>(real->CallObjectMethodA(env, cls, getName, nullptr));
            if (real->ExceptionCheck(env)) real->ExceptionClear(env);  // our own call's, not the bridge's
            const char* utf = text == nullptr ? nullptr : real->GetStringUTFChars(env, text, nullptr);
            if (utf != nullptr) {
                std::string dotted = utf;
                std::replace(dotted.begin(), dotted.end(), '.', '/');
                record += dotted;
                real->ReleaseStringUTFChars(env, text, utf);
            }
            real->DeleteLocalRef(env, text);
            real->DeleteLocalRef(env, classClass);
        }
        m.tally_.lookups.push_back(record + ":" + (name != nullptr ? name : "") + ":" + (sig != nullptr ? sig : ""));
    }

    template <Jni E, class R, class... A>
    static void after(JniMonitor& m, R* result, A... args) {
        constexpr std::string_view name = kNames[static_cast<int>(E)];
        if constexpr (E == Jni::NewGlobalRef || E == Jni::NewWeakGlobalRef) {
            if (*result != nullptr) ++m.tally_.globalRefs;
        } else if constexpr (E == Jni::DeleteGlobalRef || E == Jni::DeleteWeakGlobalRef) {
            if (std::get<0>(std::tie(args...)) != nullptr) --m.tally_.globalRefs;
        } else if constexpr (takesBuffer(name)) {
            if (*result != nullptr) ++m.tally_.heldBuffers;
        } else if constexpr (releasesBuffer(name)) {
            --m.tally_.heldBuffers;
        }
    }
};

namespace {

template <Jni E, auto Member, class F = std::remove_reference_t<decltype(std::declval<JNINativeInterface_&>().*Member)>>
struct Shim;

template <Jni E, auto Member, class R, class... A>
struct Shim<E, Member, R(JNICALL*)(JNIEnv*, A...)> {
    static R JNICALL call(JNIEnv* env, A... args) {
        JniMonitor* m = active;
        const JNINativeInterface_* real = realTable;
        if (m == nullptr || !fromTestProgram(__builtin_return_address(0))) return (real->*Member)(env, args...);
        const char* className = nullptr;
        if constexpr (E == Jni::FindClass) className = std::get<0>(std::tie(args...));
        if (JniMonitor::Hooks::before(*m, env, E, className)) {
            if constexpr (std::is_void_v<R>) {
                return;
            } else if constexpr (std::is_same_v<R, jint>) {
                return returnsStatus(E) ? JNI_ERR : 0;
            } else {
                return R{};
            }
        }
        if constexpr (std::is_void_v<R>) {
            (real->*Member)(env, args...);
            JniMonitor::Hooks::after<E, int>(*m, nullptr, args...);
        } else {
            if constexpr (E == Jni::GetFieldID || E == Jni::GetMethodID) {
                JniMonitor::Hooks::noteMember(*m, env, E, args...);
            }
            R result = (real->*Member)(env, args...);
            JniMonitor::Hooks::after<E>(*m, &result, args...);
            return result;
        }
    }
};

using Installer = void (*)(JNINativeInterface_&);
template <Jni E, auto Member>
void install(JNINativeInterface_& table) {
    table.*Member = &Shim<E, Member>::call;
}

constexpr Installer kInstallers[] = {
#define MORLIN_TEST_INSTALLER(name, kind) &install<Jni::name, &JNINativeInterface_::name>,
    MORLIN_TEST_JNI_ENTRIES(MORLIN_TEST_INSTALLER)
#undef MORLIN_TEST_INSTALLER
};

}  // namespace

const char* jniName(Jni entry) { return kNames[static_cast<int>(entry)]; }

std::string injectedMessage(int n, Jni entry) {
    return "injected fault #" + std::to_string(n) + " in " + jniName(entry);
}

bool checkJniMode() {
    static const bool on = [] {
        const char* v = std::getenv("MORLIN_TEST_CHECKJNI");
        return v != nullptr && std::strcmp(v, "1") == 0;
    }();
    return on;
}

JniMonitor::JniMonitor(JNIEnv* env) : env_(env), real_(env->functions), table_(*env->functions) {
    if (active != nullptr) std::abort();  // one monitor per thread at a time
    for (Installer install : kInstallers) install(table_);
    active = this;
    realTable = real_;
    env_->functions = &table_;
}

JniMonitor::~JniMonitor() {
    env_->functions = real_;
    active = nullptr;
    realTable = nullptr;
}

void JniMonitor::failCall(int n) {
    failOneEntry_ = false;
    failAt_ = n;
}

void JniMonitor::failCall(Jni entry, int n) {
    failOneEntry_ = true;
    failEntry_ = entry;
    failAt_ = n;
    entryCalls_ = 0;
}

void JniMonitor::pause(bool paused) { paused_ = paused; }

void JniMonitor::reset() {
    tally_ = JniTally{};
    entryCalls_ = 0;
    previous_ = Jni{};
    run_.clear();
    lastClass_.clear();
}

Unpatched::Unpatched(JNIEnv* env) : env_(env), saved_(env->functions) {
    if (active != nullptr) env->functions = realTable;
}

Unpatched::~Unpatched() { env_->functions = saved_; }

}  // namespace morlin_test
