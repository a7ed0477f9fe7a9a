// A PKCS#11 module for the forwarder's tests: it offers C_GetFunctionList,
// records the last call it got and answers kRecordingAnswer. Its C_Login
// entry is left null, as a module may leave out functions it lacks.
//
// The recording is read through the extern "C" functions below, looked up
// with dlsym on the handle of the module that the forwarder loaded.
#ifndef MORLIN_TESTS_FORWARD_RECORDING_MODULE_H
#define MORLIN_TESTS_FORWARD_RECORDING_MODULE_H

#include "cryptoki.h"

extern "C" {

// A vendor-range code no forwarder would make up, so that a test can tell
// the module's answer from one of the forwarder's own.
constexpr CK_RV kRecordingAnswer = 0x80000ABCUL;

struct RecordedCall {
    const char* function;              // name of the standard function, null before the first call
    CK_MECHANISM_PTR mechanism;        // the mechanism pointer exactly as received, or null
    CK_MECHANISM_TYPE type;            // copied from *mechanism
    CK_VOID_PTR parameter;             // copied from *mechanism
    CK_ULONG parameterLen;             // copied from *mechanism
    unsigned char parameterBytes[64];  // the first bytes of the parameter, up to parameterLen
};

// Runs inside the module's function after recording, with the mechanism the
// module got: a test plays a module that writes into its parameter.
typedef void (*RecordingHook)(CK_MECHANISM_PTR mechanism);

typedef const RecordedCall* (*RecordingLastFn)(void);
typedef void (*RecordingResetFn)(RecordingHook hook);

}  // extern "C"

#endif
