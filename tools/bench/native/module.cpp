#include "module.h"

#include <dlfcn.h>

namespace bench {

const CK_FUNCTION_LIST* OpenModule(const char* path, std::string& error) {
    void* handle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        error = std::string("cannot load ") + path + ": " + dlerror();
        return nullptr;
    }
    auto getList = reinterpret_cast<CK_RV (*)(CK_FUNCTION_LIST_PTR_PTR)>(dlsym(handle, "C_GetFunctionList"));
    CK_FUNCTION_LIST_PTR list = nullptr;
    if (getList == nullptr || getList(&list) != CKR_OK || list == nullptr) {
        error = std::string(path) + " offers no usable C_GetFunctionList";
        return nullptr;
    }
    Dl_info module{};
    if (dladdr(reinterpret_cast<void*>(getList), &module) == 0) {
        error = std::string("cannot locate C_GetFunctionList of ") + path;
        return nullptr;
    }
#define MORLIN_CHECK_ENTRY_(name, params, args)                                                                \
    if (Dl_info entry{}; list->name != nullptr && (dladdr(reinterpret_cast<void*>(list->name), &entry) == 0 || \
                                                   entry.dli_fbase != module.dli_fbase)) {                     \
        error = std::string("the function list of ") + path + " sends " #name " to " +                         \
                (entry.dli_fname != nullptr ? entry.dli_fname : "an unknown place");                           \
        return nullptr;                                                                                        \
    }
    CK_STANDARD_FUNCTIONS(MORLIN_CHECK_ENTRY_)
#undef MORLIN_CHECK_ENTRY_
    return list;
}

}  // namespace bench
