// The forwarder's rewriting of the token library's five-word GCM
// parameters into the 48-byte layout of a standard module, behind every
// function that takes a mechanism. Fields and lengths are arbitrary, IV and
// AAD pointers point anywhere into the fuzz input or nowhere, and the
// parameter lies in a block of exactly its stated length. The recording
// module must see the caller's fields, word for word, or the caller's own
// mechanism when nothing is to be rewritten; what the module writes must
// come back; and nothing may be read outside the caller's blocks.
#include <dlfcn.h>

#include <cstring>
#include <functional>
#include <iterator>

#include "input.h"
#include "mechanismCalls.h"
#include "recordingModule.h"
#include "standard_params.h"

namespace {

RecordingLastFn gLast;
RecordingResetFn gReset;

// What the module writes into the standard parameters it receives in
// place of the caller's mechanism.
bool gWrite;
StandardGcmParams gWritten;
CK_MECHANISM_PTR gCaller;

void Hook(CK_MECHANISM_PTR mechanism) {
    if (gWrite && mechanism != gCaller && mechanism->pParameter != nullptr &&
        mechanism->ulParameterLen == sizeof(StandardGcmParams))
        memcpy(mechanism->pParameter, &gWritten, sizeof gWritten);
}


// A pointer into the arena, one past its end, or null.
CK_BYTE_PTR Pointer(Input& in, uint8_t* arena, size_t size) {
    const uint64_t at = in.Number(2);
    return at == 0xFFFF ? nullptr : arena + at % (size + 1);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setenv("MORLIN_PKCS11_MODULE", MORLIN_FUZZ_RECORDING_MODULE, 1);
    void* handle = dlopen(MORLIN_FUZZ_RECORDING_MODULE, RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) FuzzFail(dlerror(), __FILE__, __LINE__);
    gLast = reinterpret_cast<RecordingLastFn>(dlsym(handle, "recording_last"));
    gReset = reinterpret_cast<RecordingResetFn>(dlsym(handle, "recording_reset"));
    FUZZ_CHECK(gLast != nullptr && gReset != nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    uint8_t* arena = Block(size, data);
    Input in(data, size);
    static const std::vector<MechanismCall> calls = MechanismCalls();
    const MechanismCall& entry = calls[in.Byte() % calls.size()];
    const uint8_t how = in.Byte();
    static const CK_MECHANISM_TYPE kTypes[] = {CKM_AES_GCM, CKM_AES_GMAC, CKM_AES_CBC};
    const CK_MECHANISM_TYPE type = (how & 3) < 3 ? kTypes[how & 3] : in.Number(8);
    // Mostly the five-word length; else any short one.
    const CK_ULONG length = (how & 4) ? in.Byte() % 64 : sizeof(CK_AES_GCM_PARAMS);
    CK_AES_GCM_PARAMS given{Pointer(in, arena, size), in.Number(8), Pointer(in, arena, size), in.Number(8), in.Number(8)};
    if (how & 8) given.ulIvLen %= 64, given.ulAADLen %= 64, given.ulTagBits %= 129;
    std::vector<uint8_t> raw = in.Take(length);
    raw.resize(length);
    if (length == sizeof given) memcpy(raw.data(), &given, sizeof given);
    uint8_t* parameter = (how & 16) ? nullptr : Block(length, raw.data());
    CK_MECHANISM mechanism{type, parameter, length};
    gWrite = how & 32;
    gWritten = {Pointer(in, arena, size), in.Number(8), in.Number(8), Pointer(in, arena, size), in.Number(8), in.Number(8)};
    gCaller = &mechanism;
    gReset(Hook);

    const bool none = how & 64;
    FUZZ_CHECK(entry.call(none ? nullptr : &mechanism) == kRecordingAnswer);
    const RecordedCall& seen = *gLast();
    FUZZ_CHECK(strcmp(seen.function, entry.name) == 0);
    const bool rewritten = !none && (type == CKM_AES_GCM || type == CKM_AES_GMAC) && parameter != nullptr &&
                           length == sizeof(CK_AES_GCM_PARAMS);
    // The caller's mechanism record itself is never changed.
    FUZZ_CHECK(mechanism.mechanism == type && mechanism.pParameter == parameter && mechanism.ulParameterLen == length);
    if (none) {
        FUZZ_CHECK(seen.mechanism == nullptr);
    } else if (!rewritten) {
        // Passed as it came: the caller's record, its parameter untouched.
        FUZZ_CHECK(seen.mechanism == &mechanism && seen.type == type && seen.parameter == parameter &&
                   seen.parameterLen == length);
        if (parameter != nullptr && length != 0) FUZZ_CHECK(memcmp(parameter, raw.data(), length) == 0);
    } else {
        StandardGcmParams got;
        memcpy(&got, seen.parameterBytes, sizeof got);
        FUZZ_CHECK(seen.mechanism != &mechanism && seen.type == type && seen.parameterLen == sizeof got);
        FUZZ_CHECK(seen.parameter != parameter);
        FUZZ_CHECK(got.pIv == given.pIv && got.ulIvLen == given.ulIvLen && got.ulIvBits == given.ulIvLen * 8 &&
                   got.pAAD == given.pAAD && got.ulAADLen == given.ulAADLen && got.ulTagBits == given.ulTagBits);
        // Back in the caller's five words: what the module wrote, where
        // there is a word for it; ulIvBits has none.
        CK_AES_GCM_PARAMS expected = given;
        if (gWrite) expected = {gWritten.pIv, gWritten.ulIvLen, gWritten.pAAD, gWritten.ulAADLen, gWritten.ulTagBits};
        FUZZ_CHECK(memcmp(parameter, &expected, sizeof expected) == 0);
    }
    free(parameter);
    free(arena);
    return 0;
}
