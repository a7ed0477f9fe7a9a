// The C floor: each operation as a C application does it, calling the
// module's function list directly. One JNI call times a whole loop, so the
// JNI transition is spread over the loop and what remains is the module's
// own cost: the floor that morlin and the JDK's wrapper are measured against.
//
// Natives of kaltrix.morlin.bench.CDriver. The Java class keeps the handle
// of the Floor and the sessions; the operations are numbered in the order of
// MORLIN_BENCH_OPERATIONS, which CDriver checks against its own list.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench.h"
#include "kaltrix_morlin_bench_CDriver.h"
#include "module.h"
#include "standard_params.h"

namespace {

// clang-format off
#define MORLIN_BENCH_OPERATIONS(X) \
    X(GetInfo)                     \
    X(GenerateRandom32)            \
    X(EncryptEcb16)                \
    X(EncryptEcb1K)                \
    X(EncryptEcb64K)               \
    X(EncryptCbc16)                \
    X(EncryptGcm1K)                \
    X(SignRsa32)                   \
    X(GetAttributeValue4)          \
    X(FindObjects10)               \
    X(GenerateKey6)
// clang-format on

enum class Operation {
#define MORLIN_ENUM_(name) name,
    MORLIN_BENCH_OPERATIONS(MORLIN_ENUM_)
#undef MORLIN_ENUM_
};

const char* const kOperationNames[] = {
#define MORLIN_NAME_(name) #name,
    MORLIN_BENCH_OPERATIONS(MORLIN_NAME_)
#undef MORLIN_NAME_
};

constexpr CK_ULONG kLargest = 65536;
constexpr CK_ULONG kGcmTagRoom = 16;
constexpr CK_ULONG kSignatureLength = 256;
constexpr CK_ULONG kFindMax = 10;

// A block that starts on a page. glibc copies blocks of 2 KiB and more with
// rep movsb, which some processors run many times slower when the
// destination lies just past the source modulo 4 KiB, as two blocks of one
// size from malloc in a row do. The floor must not depend on that accident.
CK_BYTE* PageAligned(size_t size, int fill) {
    size_t rounded = (size + 4095) / 4096 * 4096;
    auto* block = static_cast<CK_BYTE*>(aligned_alloc(4096, rounded));
    if (block != nullptr) memset(block, fill, rounded);
    return block;
}

// The module, the objects the Java side made for the benchmark, and the
// buffers the loops use. Lives until the process ends.
struct Floor {
    const CK_FUNCTION_LIST* f = nullptr;
    CK_OBJECT_HANDLE aesKey = 0;
    CK_OBJECT_HANDLE rsaKey = 0;
    CK_ULONG gcmTagLength = 0;
    std::vector<CK_BYTE> label;     // room for the AES key's label
    std::vector<CK_BYTE> keyLabel;  // the label of each generated key
    CK_BYTE* in = PageAligned(kLargest, 0x42);
    CK_BYTE* out = PageAligned(kLargest + kGcmTagRoom, 0);
    CK_BYTE iv[16] = {};
    CK_BYTE aad[16] = {};
};

// How a loop ended: call is null when every call succeeded and every
// checked result was as expected. Otherwise either rv holds the result of
// the call that failed, or got and expected the numbers that differ.
struct Outcome {
    const char* call = nullptr;
    CK_RV rv = CKR_OK;
    CK_ULONG got = 0;
    CK_ULONG expected = 0;
};

Outcome Expect(const char* what, CK_ULONG got, CK_ULONG expected) {
    return got == expected ? Outcome{} : Outcome{what, CKR_OK, got, expected};
}

// One loop: its floor, the sessions of the C driver and the iteration count.
struct Loop {
    Floor& floor;
    CK_SESSION_HANDLE session;
    CK_SESSION_HANDLE keySession;
    long n;
};

// Every call's result is checked, in the loop, as any C caller would.
#define MORLIN_CALL_(fn, ...)                           \
    if (CK_RV rv_ = f.fn(__VA_ARGS__); rv_ != CKR_OK) { \
        return Outcome{#fn, rv_, 0, 0};                 \
    }

Outcome GetInfo(const Loop& loop) {
    const CK_FUNCTION_LIST& f = *loop.floor.f;
    CK_INFO info{};
    for (long i = 0; i < loop.n; ++i) {
        MORLIN_CALL_(C_GetInfo, &info);
    }
    return Expect("C_GetInfo cryptokiVersion.major", info.cryptokiVersion.major, 2);
}

Outcome GenerateRandom(const Loop& loop, CK_ULONG length) {
    const CK_FUNCTION_LIST& f = *loop.floor.f;
    CK_BYTE* out = loop.floor.out;
    for (long i = 0; i < loop.n; ++i) {
        MORLIN_CALL_(C_GenerateRandom, loop.session, out, length);
    }
    return {};
}

// EncryptInit and a single-part Encrypt into a buffer of room bytes.
Outcome Encrypt(const Loop& loop, CK_MECHANISM mechanism, CK_ULONG length, CK_ULONG room, CK_ULONG expected) {
    const CK_FUNCTION_LIST& f = *loop.floor.f;
    Floor& floor = loop.floor;
    CK_ULONG outLength = 0;
    for (long i = 0; i < loop.n; ++i) {
        MORLIN_CALL_(C_EncryptInit, loop.session, &mechanism, floor.aesKey);
        outLength = room;
        MORLIN_CALL_(C_Encrypt, loop.session, floor.in, length, floor.out, &outLength);
    }
    return Expect("C_Encrypt length", outLength, expected);
}

Outcome EncryptEcb(const Loop& loop, CK_ULONG length) {
    return Encrypt(loop, {CKM_AES_ECB, nullptr, 0}, length, length, length);
}

Outcome EncryptCbc(const Loop& loop, CK_ULONG length) {
    return Encrypt(loop, {CKM_AES_CBC, loop.floor.iv, sizeof loop.floor.iv}, length, length, length);
}

// The module gets the GCM parameters of PKCS#11 2.40, with ulIvBits.
Outcome EncryptGcm(const Loop& loop, CK_ULONG length) {
    Floor& floor = loop.floor;
    StandardGcmParams gcm{floor.iv, 12, 96, floor.aad, 16, 128};
    return Encrypt(loop, {CKM_AES_GCM, &gcm, sizeof gcm}, length, length + kGcmTagRoom, length + floor.gcmTagLength);
}

Outcome SignRsa(const Loop& loop, CK_ULONG length) {
    const CK_FUNCTION_LIST& f = *loop.floor.f;
    Floor& floor = loop.floor;
    CK_MECHANISM mechanism{CKM_RSA_PKCS, nullptr, 0};
    CK_ULONG signatureLength = 0;
    for (long i = 0; i < loop.n; ++i) {
        MORLIN_CALL_(C_SignInit, loop.session, &mechanism, floor.rsaKey);
        signatureLength = kSignatureLength;
        MORLIN_CALL_(C_Sign, loop.session, floor.in, length, floor.out, &signatureLength);
    }
    return Expect("C_Sign length", signatureLength, kSignatureLength);
}

Outcome GetAttributeValue4(const Loop& loop) {
    const CK_FUNCTION_LIST& f = *loop.floor.f;
    Floor& floor = loop.floor;
    CK_OBJECT_CLASS objectClass = 0;
    CK_ULONG keyType = 0;
    CK_BBOOL encrypt = CK_FALSE;
    CK_ULONG labelLength = 0;
    for (long i = 0; i < loop.n; ++i) {
        CK_ATTRIBUTE wanted[] = {
            {CKA_CLASS, &objectClass, sizeof objectClass},
            {CKA_KEY_TYPE, &keyType, sizeof keyType},
            {CKA_LABEL, floor.label.data(), floor.label.size()},
            {CKA_ENCRYPT, &encrypt, sizeof encrypt},
        };
        MORLIN_CALL_(C_GetAttributeValue, loop.session, floor.aesKey, wanted, 4);
        labelLength = wanted[2].ulValueLen;
    }
    if (Outcome o = Expect("CKA_CLASS", objectClass, CKO_SECRET_KEY); o.call != nullptr) return o;
    if (Outcome o = Expect("CKA_LABEL length", labelLength, floor.label.size()); o.call != nullptr) return o;
    if (Outcome o = Expect("CKA_KEY_TYPE", keyType, CKK_AES); o.call != nullptr) return o;
    return Expect("CKA_ENCRYPT", encrypt, CK_TRUE);
}

Outcome FindObjects(const Loop& loop) {
    const CK_FUNCTION_LIST& f = *loop.floor.f;
    CK_OBJECT_CLASS data = CKO_DATA;
    CK_OBJECT_HANDLE found[kFindMax];
    CK_ULONG count = 0;
    for (long i = 0; i < loop.n; ++i) {
        CK_ATTRIBUTE wanted[] = {{CKA_CLASS, &data, sizeof data}};
        MORLIN_CALL_(C_FindObjectsInit, loop.session, wanted, 1);
        MORLIN_CALL_(C_FindObjects, loop.session, found, kFindMax, &count);
        MORLIN_CALL_(C_FindObjectsFinal, loop.session);
    }
    return Expect("C_FindObjects count", count, kFindMax);
}

// Session keys, in the session that the Java side renews before each loop.
Outcome GenerateKey6(const Loop& loop) {
    const CK_FUNCTION_LIST& f = *loop.floor.f;
    Floor& floor = loop.floor;
    CK_MECHANISM mechanism{CKM_AES_KEY_GEN, nullptr, 0};
    CK_OBJECT_CLASS secretKey = CKO_SECRET_KEY;
    CK_ULONG aes = CKK_AES;
    CK_ULONG length = 16;
    CK_BBOOL no = CK_FALSE;
    CK_BBOOL yes = CK_TRUE;
    CK_OBJECT_HANDLE key = CK_INVALID_HANDLE;
    for (long i = 0; i < loop.n; ++i) {
        CK_ATTRIBUTE attributes[] = {
            {CKA_CLASS, &secretKey, sizeof secretKey}, {CKA_KEY_TYPE, &aes, sizeof aes},
            {CKA_VALUE_LEN, &length, sizeof length},   {CKA_TOKEN, &no, sizeof no},
            {CKA_ENCRYPT, &yes, sizeof yes},           {CKA_LABEL, floor.keyLabel.data(), floor.keyLabel.size()},
        };
        MORLIN_CALL_(C_GenerateKey, loop.keySession, &mechanism, attributes, 6, &key);
    }
    return Expect("C_GenerateKey made a key", key != CK_INVALID_HANDLE, true);
}

#undef MORLIN_CALL_

// Outcome{"no such operation"} for an index outside the list.
Outcome Run(Operation operation, const Loop& loop) {
    switch (operation) {
        case Operation::GetInfo:
            return GetInfo(loop);
        case Operation::GenerateRandom32:
            return GenerateRandom(loop, 32);
        case Operation::EncryptEcb16:
            return EncryptEcb(loop, 16);
        case Operation::EncryptEcb1K:
            return EncryptEcb(loop, 1024);
        case Operation::EncryptEcb64K:
            return EncryptEcb(loop, 65536);
        case Operation::EncryptCbc16:
            return EncryptCbc(loop, 16);
        case Operation::EncryptGcm1K:
            return EncryptGcm(loop, 1024);
        case Operation::SignRsa32:
            return SignRsa(loop, 32);
        case Operation::GetAttributeValue4:
            return GetAttributeValue4(loop);
        case Operation::FindObjects10:
            return FindObjects(loop);
        case Operation::GenerateKey6:
            return GenerateKey6(loop);
    }
    return Outcome{"no such operation"};
}

Floor* FloorOf(jlong handle) { return reinterpret_cast<Floor*>(handle); }

// A call outside the timed loops: the result must be CKR_OK, or the one
// other answer that the caller accepts.
bool Succeeded(JNIEnv* env, const char* call, CK_RV rv, CK_RV accepted = CKR_OK) {
    if (rv == CKR_OK || rv == accepted) return true;
    char message[128];
    snprintf(message, sizeof message, "C: %s returned 0x%lX", call, rv);
    bench::ThrowFailure(env, message);
    return false;
}

std::vector<CK_BYTE> BytesOf(JNIEnv* env, jbyteArray array) {
    std::vector<CK_BYTE> bytes(array == nullptr ? 0 : env->GetArrayLength(array));
    if (!bytes.empty()) env->GetByteArrayRegion(array, 0, bytes.size(), reinterpret_cast<jbyte*>(bytes.data()));
    return bytes;
}

}  // namespace

extern "C" {

JNIEXPORT jobjectArray JNICALL Java_kaltrix_morlin_bench_CDriver_operations(JNIEnv* env, jclass) {
    jclass string = env->FindClass("java/lang/String");
    if (string == nullptr) return nullptr;
    jsize count = sizeof kOperationNames / sizeof kOperationNames[0];
    jobjectArray names = env->NewObjectArray(count, string, nullptr);
    for (jsize i = 0; names != nullptr && i < count; ++i) {
        jstring name = env->NewStringUTF(kOperationNames[i]);
        if (name == nullptr) return nullptr;
        env->SetObjectArrayElement(names, i, name);
    }
    return names;
}

JNIEXPORT jlong JNICALL Java_kaltrix_morlin_bench_CDriver_open(JNIEnv* env, jclass, jstring path) {
    const char* chars = env->GetStringUTFChars(path, nullptr);
    if (chars == nullptr) return 0;
    std::string error;
    const CK_FUNCTION_LIST* list = bench::OpenModule(chars, error);
    env->ReleaseStringUTFChars(path, chars);
    if (list == nullptr) {
        bench::ThrowFailure(env, ("C: " + error).c_str());
        return 0;
    }
    // Other callers in the process may have initialised the module first.
    if (!Succeeded(env, "C_Initialize", list->C_Initialize(nullptr), CKR_CRYPTOKI_ALREADY_INITIALIZED)) return 0;
    auto* floor = new Floor;
    if (floor->in == nullptr || floor->out == nullptr) {
        bench::ThrowFailure(env, "C: out of memory");
        return 0;
    }
    floor->f = list;
    return reinterpret_cast<jlong>(floor);
}

JNIEXPORT void JNICALL Java_kaltrix_morlin_bench_CDriver_useFixture(JNIEnv* env, jclass, jlong handle, jlong aesKey,
                                                                    jlong rsaKey, jint labelLength, jint gcmTagLength,
                                                                    jbyteArray keyLabel) {
    Floor* floor = FloorOf(handle);
    floor->aesKey = aesKey;
    floor->rsaKey = rsaKey;
    floor->label.assign(labelLength, 0);
    floor->gcmTagLength = gcmTagLength;
    floor->keyLabel = BytesOf(env, keyLabel);
}

JNIEXPORT jlong JNICALL Java_kaltrix_morlin_bench_CDriver_openSession(JNIEnv* env, jclass, jlong handle, jlong slot) {
    CK_SESSION_HANDLE session = CK_INVALID_HANDLE;
    CK_RV rv = FloorOf(handle)->f->C_OpenSession(slot, CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &session);
    return Succeeded(env, "C_OpenSession", rv) ? session : 0;
}

JNIEXPORT void JNICALL Java_kaltrix_morlin_bench_CDriver_closeSession(JNIEnv* env, jclass, jlong handle,
                                                                      jlong session) {
    Succeeded(env, "C_CloseSession", FloorOf(handle)->f->C_CloseSession(session));
}

// The login holds for every session of the process: another caller may have
// logged in already.
JNIEXPORT void JNICALL Java_kaltrix_morlin_bench_CDriver_login(JNIEnv* env, jclass, jlong handle, jlong session,
                                                               jbyteArray pin) {
    std::vector<CK_BYTE> bytes = BytesOf(env, pin);
    CK_RV rv = FloorOf(handle)->f->C_Login(session, CKU_USER, bytes.data(), bytes.size());
    Succeeded(env, "C_Login", rv, CKR_USER_ALREADY_LOGGED_IN);
}

JNIEXPORT jlong JNICALL Java_kaltrix_morlin_bench_CDriver_run(JNIEnv* env, jclass, jlong handle, jint operation,
                                                              jlong session, jlong keySession, jlong n) {
    if (operation < 0 || operation >= jint(sizeof kOperationNames / sizeof kOperationNames[0])) {
        bench::ThrowFailure(env, "C: no such operation");
        return 0;
    }
    Loop loop{*FloorOf(handle), static_cast<CK_SESSION_HANDLE>(session), static_cast<CK_SESSION_HANDLE>(keySession), n};
    long start = bench::NowNs();
    Outcome outcome = Run(static_cast<Operation>(operation), loop);
    long elapsed = bench::NowNs() - start;
    if (outcome.call == nullptr) return elapsed;
    char message[192];
    if (outcome.rv != CKR_OK) {
        snprintf(message, sizeof message, "C: %s: %s returned 0x%lX", kOperationNames[operation], outcome.call,
                 outcome.rv);
    } else {
        snprintf(message, sizeof message, "C: %s: %s is %lu, expected %lu", kOperationNames[operation], outcome.call,
                 outcome.got, outcome.expected);
    }
    bench::ThrowFailure(env, message);
    return 0;
}

}  // extern "C"
