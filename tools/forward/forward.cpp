// libcryptoki.so that forwards to a standard PKCS#11 module.
//
// libmorlin.so calls the token library by symbol. This library stands in
// that place in front of any module that offers C_GetFunctionList: it opens
// the module named by MORLIN_PKCS11_MODULE (SoftHSM2's install path if
// unset) on first use, and hands every standard call to the module's
// function list. The token library's vendor functions have no standard
// counterpart and answer CKR_FUNCTION_NOT_SUPPORTED.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "cryptoki.h"

namespace {

constexpr const char* kModuleVariable = "MORLIN_PKCS11_MODULE";
constexpr const char* kDefaultModule = "/usr/lib/softhsm/libsofthsm2.so";

CK_FUNCTION_LIST_PTR gModule = nullptr;
std::once_flag gLoadOnce;

void Load() {
    const char* path = getenv(kModuleVariable);
    if (path == nullptr || *path == '\0') path = kDefaultModule;
    void* handle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        fprintf(stderr, "libcryptoki (morlin forwarder): cannot load PKCS#11 module %s: %s\n", path, dlerror());
        return;
    }
    auto getList = reinterpret_cast<CK_RV (*)(CK_FUNCTION_LIST_PTR_PTR)>(dlsym(handle, "C_GetFunctionList"));
    CK_FUNCTION_LIST_PTR list = nullptr;
    if (getList == nullptr || getList(&list) != CKR_OK || list == nullptr) {
        fprintf(stderr, "libcryptoki (morlin forwarder): %s offers no usable C_GetFunctionList\n", path);
        return;
    }
    gModule = list;
}

// The module's function list, or null when it could not be loaded.
CK_FUNCTION_LIST_PTR Module() {
    std::call_once(gLoadOnce, Load);
    return gModule;
}

}  // namespace

extern "C" {

// Without a module every call answers CKR_GENERAL_ERROR, after one line on
// stderr that says why.
#define MORLIN_FORWARD_(name, params, args)                   \
    CK_RV name params {                                       \
        CK_FUNCTION_LIST_PTR m = Module();                    \
        if (m == nullptr) return CKR_GENERAL_ERROR;           \
        if (m->name == nullptr) return CKR_FUNCTION_NOT_SUPPORTED; \
        return m->name args;                                  \
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
