// Every standard function that takes a mechanism, for the tests of the
// forwarder's rewriting: each entry calls its function through whatever
// libcryptoki.so is linked, with the mechanism given and fixed other
// arguments.
#ifndef MORLIN_TESTS_MECHANISMCALLS_H
#define MORLIN_TESTS_MECHANISMCALLS_H

#include <functional>
#include <vector>

#include "cryptoki.h"

struct MechanismCall {
    const char* name;
    std::function<CK_RV(CK_MECHANISM_PTR)> call;
};

inline std::vector<MechanismCall> MechanismCalls() {
    static CK_ATTRIBUTE attribute{CKA_TOKEN, nullptr, 0};
    static CK_OBJECT_HANDLE h1, h2;
    static CK_BYTE buffer[8];
    static CK_ULONG length = sizeof buffer;
    return {
        {"C_EncryptInit", [](CK_MECHANISM_PTR m) { return C_EncryptInit(1, m, 2); }},
        {"C_DecryptInit", [](CK_MECHANISM_PTR m) { return C_DecryptInit(1, m, 2); }},
        {"C_DigestInit", [](CK_MECHANISM_PTR m) { return C_DigestInit(1, m); }},
        {"C_SignInit", [](CK_MECHANISM_PTR m) { return C_SignInit(1, m, 2); }},
        {"C_SignRecoverInit", [](CK_MECHANISM_PTR m) { return C_SignRecoverInit(1, m, 2); }},
        {"C_VerifyInit", [](CK_MECHANISM_PTR m) { return C_VerifyInit(1, m, 2); }},
        {"C_VerifyRecoverInit", [](CK_MECHANISM_PTR m) { return C_VerifyRecoverInit(1, m, 2); }},
        {"C_GenerateKey", [](CK_MECHANISM_PTR m) { return C_GenerateKey(1, m, &attribute, 1, &h1); }},
        {"C_GenerateKeyPair",
         [](CK_MECHANISM_PTR m) { return C_GenerateKeyPair(1, m, &attribute, 1, &attribute, 1, &h1, &h2); }},
        {"C_WrapKey", [](CK_MECHANISM_PTR m) { return C_WrapKey(1, m, 2, 3, buffer, &length); }},
        {"C_UnwrapKey",
         [](CK_MECHANISM_PTR m) { return C_UnwrapKey(1, m, 2, buffer, sizeof buffer, &attribute, 1, &h1); }},
        {"C_DeriveKey", [](CK_MECHANISM_PTR m) { return C_DeriveKey(1, m, 2, &attribute, 1, &h1); }},
    };
}

#endif
