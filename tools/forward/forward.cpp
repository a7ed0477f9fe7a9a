// libcryptoki.so that forwards to a standard PKCS#11 module.
//
// libmorlin.so calls the token library by symbol. This library stands in
// that place in front of any module that offers C_GetFunctionList: it opens
// the module named by MORLIN_PKCS11_MODULE (SoftHSM2's install path if
// unset) on first use, and hands every standard call to the module's
// function list. The token library's vendor functions have no standard
// counterpart and answer CKR_FUNCTION_NOT_SUPPORTED.
//
// Structures pass through untouched where the token library and PKCS#11
// 2.40 agree on the layout, which is everywhere but one place: the token
// library's GCM parameters have five words, without the ulIvBits that the
// published 2.40 headers put after ulIvLen. A standard module reads the
// 48-byte form, so the GCM mechanisms are rewritten on the way in and any
// field that the module changes is copied back on the way out.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "cryptoki.h"
#include "standard_params.h"

namespace {

constexpr const char* kModuleVariable = "MORLIN_PKCS11_MODULE";
constexpr const char* kDefaultModule = "/usr/lib/softhsm/libsofthsm2.so";

// The module's functions, gathered once; null until loaded, and then null
// for each function that the module lacks.
CK_FUNCTION_LIST gTable{};
bool gLoaded = false;
std::once_flag gLoadOnce;

// A module's own function list cannot be trusted in this process: the list
// is filled with the addresses of the module's exported C_* functions, and
// those references are bound through the global scope, where this library's
// exports of the same names come first (libmorlin.so needs them there). So a
// module such as SoftHSM2 hands back a list that points here, and forwarding
// to it would loop. dlsym on the module's own handle searches the module
// first; the list serves only for what the module does not export by name.
template <typename Fn>
Fn Resolve(void* handle, const char* name, Fn listed, Fn own) {
    auto found = reinterpret_cast<Fn>(dlsym(handle, name));
    if (found != nullptr && found != own) return found;
    return listed != own ? listed : nullptr;
}

void Load() {
    const char* path = getenv(kModuleVariable);
    if (path == nullptr || *path == '\0') path = kDefaultModule;
    void* handle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        fprintf(stderr, "libcryptoki (morlin forwarder): cannot load PKCS#11 module (%s): %s\n", kModuleVariable,
                dlerror());
        return;
    }
    auto getList = reinterpret_cast<CK_RV (*)(CK_FUNCTION_LIST_PTR_PTR)>(dlsym(handle, "C_GetFunctionList"));
    CK_FUNCTION_LIST_PTR list = nullptr;
    CK_RV rv = getList == nullptr ? CKR_FUNCTION_NOT_SUPPORTED : getList(&list);
    if (rv != CKR_OK || list == nullptr) {
        fprintf(stderr, "libcryptoki (morlin forwarder): %s offers no usable C_GetFunctionList (0x%lX)\n", path, rv);
        return;
    }
#define MORLIN_RESOLVE_(name, params, args) gTable.name = Resolve(handle, #name, list->name, &::name);
    CK_STANDARD_FUNCTIONS(MORLIN_RESOLVE_)
#undef MORLIN_RESOLVE_
    gLoaded = true;
}

// The module's functions, or null when it could not be loaded.
const CK_FUNCTION_LIST* Module() {
    std::call_once(gLoadOnce, Load);
    return gLoaded ? &gTable : nullptr;
}

// CKM_AES_GMAC takes the same structure since PKCS#11 3.0; under 2.40 its
// parameter was a bare IV, which has another length and is left alone.
bool TakesGcmParams(CK_MECHANISM_TYPE type) { return type == CKM_AES_GCM || type == CKM_AES_GMAC; }

template <typename T>
void CopyIfChanged(T& to, const T& from) {
    if (to != from) to = from;
}

// The mechanism that the module sees in place of the caller's. Lives as a
// temporary for exactly the duration of one forwarded call: made before it,
// and on destruction, after the module has returned, it hands back what the
// module wrote. A mechanism that needs no rewriting is passed as the
// caller's own pointer. Made only by guaranteed copy elision, so the
// pointer into its own members stays valid.
class StandardMechanism {
public:
    explicit StandardMechanism(CK_MECHANISM_PTR caller) : caller_(caller) {
        if (caller == nullptr || !TakesGcmParams(caller->mechanism) || caller->pParameter == nullptr ||
            caller->ulParameterLen != sizeof(CK_AES_GCM_PARAMS))
            return;
        const auto* p = static_cast<const CK_AES_GCM_PARAMS*>(caller->pParameter);
        gcm_ = {p->pIv, p->ulIvLen, p->ulIvLen * 8, p->pAAD, p->ulAADLen, p->ulTagBits};
        standard_ = {caller->mechanism, &gcm_, sizeof gcm_};
        translated_ = true;
    }
    StandardMechanism(const StandardMechanism&) = delete;
    StandardMechanism& operator=(const StandardMechanism&) = delete;

    ~StandardMechanism() {
        if (!translated_) return;
        auto* p = static_cast<CK_AES_GCM_PARAMS*>(caller_->pParameter);
        CopyIfChanged(p->pIv, gcm_.pIv);
        CopyIfChanged(p->ulIvLen, gcm_.ulIvLen);
        CopyIfChanged(p->pAAD, gcm_.pAAD);
        CopyIfChanged(p->ulAADLen, gcm_.ulAADLen);
        CopyIfChanged(p->ulTagBits, gcm_.ulTagBits);
    }

    operator CK_MECHANISM_PTR() { return translated_ ? &standard_ : caller_; }

private:
    CK_MECHANISM_PTR caller_;
    bool translated_ = false;
    StandardGcmParams gcm_{};
    CK_MECHANISM standard_{};
};

// Every argument of a forwarded call goes through Adapt: mechanisms are
// rewritten, all else passes as it came.
template <typename T>
T Adapt(T value) {
    return value;
}
StandardMechanism Adapt(CK_MECHANISM_PTR mechanism) { return StandardMechanism(mechanism); }

// Forward(fn)(args...) calls fn with the adapted arguments. The adapted
// temporaries end with the full expression, that is after fn has returned.
template <typename... P>
struct Forwarder {
    CK_RV (*fn)(P...);
    template <typename... A>
    CK_RV operator()(A... args) const {
        return fn(Adapt(args)...);
    }
};
template <typename... P>
Forwarder<P...> Forward(CK_RV (*fn)(P...)) {
    return {fn};
}

}  // namespace

extern "C" {

// Without a module every call answers CKR_GENERAL_ERROR, after one line on
// stderr that says why.
#define MORLIN_FORWARD_(name, params, args)                        \
    CK_RV name params {                                            \
        const CK_FUNCTION_LIST* m = Module();                      \
        if (m == nullptr) return CKR_GENERAL_ERROR;                \
        if (m->name == nullptr) return CKR_FUNCTION_NOT_SUPPORTED; \
        return Forward(m->name) args;                              \
    }
CK_STANDARD_FUNCTIONS(MORLIN_FORWARD_)
#undef MORLIN_FORWARD_

#define MORLIN_UNSUPPORTED_(name, params, args) \
    CK_RV name params { return CKR_FUNCTION_NOT_SUPPORTED; }
CK_VENDOR_FUNCTIONS(MORLIN_UNSUPPORTED_)
#undef MORLIN_UNSUPPORTED_

CK_RV C_GetFunctionList(CK_FUNCTION_LIST_PTR_PTR ppFunctionList) {
    if (ppFunctionList == nullptr) return CKR_ARGUMENTS_BAD;
    static CK_FUNCTION_LIST list = [] {
        CK_FUNCTION_LIST l{};
        l.version = {2, 40};
#define MORLIN_ENTRY_(name, params, args) l.name = &name;
        CK_STANDARD_FUNCTIONS(MORLIN_ENTRY_)
#undef MORLIN_ENTRY_
        l.C_GetFunctionList = &C_GetFunctionList;
        return l;
    }();
    *ppFunctionList = &list;
    return CKR_OK;
}

}  // extern "C"
