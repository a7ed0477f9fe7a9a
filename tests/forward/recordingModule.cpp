// See recordingModule.h. The functions carry names of their own: the
// forwarder, loaded before this module, exports the C_* names, and a module
// that took its own entries by those names could be bound to the forwarder's.
#include "recordingModule.h"

#include <algorithm>
#include <cstring>

#define RECORDING_API extern "C" __attribute__((visibility("default")))

namespace {

RecordedCall gLast{};
RecordingHook gHook = nullptr;

void Pick(CK_MECHANISM_PTR mechanism, CK_MECHANISM_PTR& found) { found = mechanism; }
template <typename T>
void Pick(T, CK_MECHANISM_PTR&) {}

// Records a call of `function` and finds its mechanism argument, if any, by type.
struct Recorder {
    const char* function;
    template <typename... A>
    CK_RV operator()(A... args) const {
        CK_MECHANISM_PTR mechanism = nullptr;
        (Pick(args, mechanism), ...);
        gLast = RecordedCall{};
        gLast.function = function;
        gLast.mechanism = mechanism;
        if (mechanism != nullptr) {
            gLast.type = mechanism->mechanism;
            gLast.parameter = mechanism->pParameter;
            gLast.parameterLen = mechanism->ulParameterLen;
            if (mechanism->pParameter != nullptr) {
                memcpy(gLast.parameterBytes, mechanism->pParameter,
                       std::min<CK_ULONG>(mechanism->ulParameterLen, sizeof gLast.parameterBytes));
            }
            if (gHook != nullptr) gHook(mechanism);
        }
        return kRecordingAnswer;
    }
};

#define RECORDING_FUNCTION_(name, params, args) \
    CK_RV Recording_##name params { return Recorder{#name} args; }
CK_STANDARD_FUNCTIONS(RECORDING_FUNCTION_)
#undef RECORDING_FUNCTION_

}  // namespace

RECORDING_API const RecordedCall* recording_last(void) { return &gLast; }

RECORDING_API void recording_reset(RecordingHook hook) {
    gLast = RecordedCall{};
    gHook = hook;
}

RECORDING_API CK_RV C_GetFunctionList(CK_FUNCTION_LIST_PTR_PTR ppFunctionList) {
    static CK_FUNCTION_LIST list = [] {
        CK_FUNCTION_LIST l{};
        l.version = {2, 40};
#define RECORDING_ENTRY_(name, params, args) l.name = &Recording_##name;
        CK_STANDARD_FUNCTIONS(RECORDING_ENTRY_)
#undef RECORDING_ENTRY_
        l.C_Login = nullptr;
        return l;
    }();
    *ppFunctionList = &list;
    return CKR_OK;
}
