// A PKCS#11 module that does nothing, as fast as it can: the benchmark's
// "null" target. With it behind all three callers, what is timed is the
// caller's own cost: argument conversion, JNI transitions, allocations.
//
// It is built as libcryptoki.so, so that libmorlin.so loads it by name, and
// offers C_GetFunctionList, so that C code and the JDK's wrapper reach the
// same instance by dlopen. Each answer is the least that lets a caller go
// on: lengths and handles are right, contents are filler. Several callers
// share it in one process, so C_Initialize always succeeds. No state is kept
// but two counters for handles; calls from several threads are not expected.
#include <algorithm>
#include <atomic>
#include <cstring>

#include "cryptoki.h"

namespace {

constexpr CK_SLOT_ID kSlot = 1;
constexpr CK_ULONG kSignatureLength = 256;  // an RSA-2048 signature
constexpr CK_ULONG kFoundPerCall = 10;

std::atomic<CK_ULONG> gSessions{0};
std::atomic<CK_ULONG> gObjects{0};

// Blank-padded text fields, as PKCS#11 lays them out.
template <size_t N>
void Pad(CK_UTF8CHAR (&field)[N], const char* text) {
    memset(field, ' ', N);
    memcpy(field, text, std::min(N, strlen(text)));
}

// The size rules of every function that delivers bytes: a null buffer asks
// for the length, a short one gets CKR_BUFFER_TOO_SMALL, and either way the
// length needed comes back.
CK_RV Deliver(const CK_BYTE* in, CK_ULONG inLen, CK_BYTE_PTR out, CK_ULONG_PTR outLen, CK_ULONG needed) {
    if (outLen == nullptr) return CKR_ARGUMENTS_BAD;
    if (out == nullptr) {
        *outLen = needed;
        return CKR_OK;
    }
    if (*outLen < needed) {
        *outLen = needed;
        return CKR_BUFFER_TOO_SMALL;
    }
    CK_ULONG copied = std::min(inLen, needed);
    if (in != nullptr) memcpy(out, in, copied);
    memset(out + copied, 0, needed - copied);
    *outLen = needed;
    return CKR_OK;
}

// Attribute values by type: numbers as a CK_ULONG, flags as a CK_BBOOL,
// anything else as eight bytes of filler. The numbers describe an AES key,
// which is what the benchmark reads.
bool IsNumber(CK_ATTRIBUTE_TYPE type) { return type == CKA_CLASS || type == CKA_KEY_TYPE || type == CKA_VALUE_LEN; }

// CKA_TOKEN and CKA_PRIVATE, and CKA_SENSITIVE (0x103) to CKA_DERIVE (0x10C)
// with their neighbours.
bool IsFlag(CK_ATTRIBUTE_TYPE type) {
    return type == CKA_TOKEN || type == CKA_PRIVATE || (type > CKA_KEY_TYPE && type <= 0x10F);
}

CK_ULONG AttributeLength(CK_ATTRIBUTE_TYPE type) {
    if (IsNumber(type)) return sizeof(CK_ULONG);
    return IsFlag(type) ? sizeof(CK_BBOOL) : 8;
}

void WriteAttribute(CK_ATTRIBUTE_TYPE type, void* value) {
    if (IsNumber(type)) {
        CK_ULONG number = type == CKA_CLASS ? CKO_SECRET_KEY : type == CKA_KEY_TYPE ? CKK_AES : 16;
        memcpy(value, &number, sizeof number);
    } else if (IsFlag(type)) {
        *static_cast<CK_BBOOL*>(value) = CK_TRUE;
    } else {
        memcpy(value, "nullnull", 8);
    }
}

// Every function answers CKR_FUNCTION_NOT_SUPPORTED here; the members of
// Null below hide those that answer otherwise, so that the exports can call
// Null::name for every name alike.
struct Unsupported {
#define MORLIN_UNSUPPORTED_(name, params, args) \
    static CK_RV name params { return CKR_FUNCTION_NOT_SUPPORTED; }
    CK_STANDARD_FUNCTIONS(MORLIN_UNSUPPORTED_)
    CK_VENDOR_FUNCTIONS(MORLIN_UNSUPPORTED_)
#undef MORLIN_UNSUPPORTED_
};

struct Null : Unsupported {
    static CK_RV C_Initialize(CK_VOID_PTR) { return CKR_OK; }
    static CK_RV C_Finalize(CK_VOID_PTR) { return CKR_OK; }

    static CK_RV C_GetInfo(CK_INFO_PTR info) {
        if (info == nullptr) return CKR_ARGUMENTS_BAD;
        info->cryptokiVersion = {2, 40};
        Pad(info->manufacturerID, "morlin");
        info->flags = 0;
        Pad(info->libraryDescription, "null module (benchmark)");
        info->libraryVersion = {1, 0};
        return CKR_OK;
    }

    static CK_RV C_GetSlotList(CK_BBOOL, CK_SLOT_ID_PTR list, CK_ULONG_PTR count) {
        if (count == nullptr) return CKR_ARGUMENTS_BAD;
        if (list == nullptr) {
            *count = 1;
            return CKR_OK;
        }
        CK_ULONG room = *count;
        *count = 1;
        if (room < 1) return CKR_BUFFER_TOO_SMALL;
        list[0] = kSlot;
        return CKR_OK;
    }

    static CK_RV C_GetTokenInfo(CK_SLOT_ID slot, CK_TOKEN_INFO_PTR info) {
        if (slot != kSlot) return CKR_SLOT_ID_INVALID;
        if (info == nullptr) return CKR_ARGUMENTS_BAD;
        *info = CK_TOKEN_INFO{};
        Pad(info->label, "null");
        Pad(info->manufacturerID, "morlin");
        Pad(info->model, "null");
        Pad(info->serialNumber, "1");
        info->flags = CKF_TOKEN_INITIALIZED | CKF_USER_PIN_INITIALIZED;
        return CKR_OK;
    }

    static CK_RV C_OpenSession(CK_SLOT_ID slot, CK_FLAGS, CK_VOID_PTR, CK_NOTIFY, CK_SESSION_HANDLE_PTR session) {
        if (slot != kSlot) return CKR_SLOT_ID_INVALID;
        if (session == nullptr) return CKR_ARGUMENTS_BAD;
        *session = ++gSessions;
        return CKR_OK;
    }
    static CK_RV C_CloseSession(CK_SESSION_HANDLE) { return CKR_OK; }
    static CK_RV C_Login(CK_SESSION_HANDLE, CK_USER_TYPE, CK_UTF8CHAR_PTR, CK_ULONG) { return CKR_OK; }
    static CK_RV C_Logout(CK_SESSION_HANDLE) { return CKR_OK; }

    static CK_RV C_EncryptInit(CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_OBJECT_HANDLE) { return CKR_OK; }
    static CK_RV C_DecryptInit(CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_OBJECT_HANDLE) { return CKR_OK; }
    static CK_RV C_DigestInit(CK_SESSION_HANDLE, CK_MECHANISM_PTR) { return CKR_OK; }
    static CK_RV C_SignInit(CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_OBJECT_HANDLE) { return CKR_OK; }
    static CK_RV C_VerifyInit(CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_OBJECT_HANDLE) { return CKR_OK; }
    static CK_RV C_SignRecoverInit(CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_OBJECT_HANDLE) { return CKR_OK; }
    static CK_RV C_VerifyRecoverInit(CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_OBJECT_HANDLE) { return CKR_OK; }

    static CK_RV C_Encrypt(CK_SESSION_HANDLE, CK_BYTE_PTR in, CK_ULONG inLen, CK_BYTE_PTR out, CK_ULONG_PTR outLen) {
        return Deliver(in, inLen, out, outLen, inLen);
    }
    static CK_RV C_Decrypt(CK_SESSION_HANDLE, CK_BYTE_PTR in, CK_ULONG inLen, CK_BYTE_PTR out, CK_ULONG_PTR outLen) {
        return Deliver(in, inLen, out, outLen, inLen);
    }
    static CK_RV C_Digest(CK_SESSION_HANDLE, CK_BYTE_PTR in, CK_ULONG inLen, CK_BYTE_PTR out, CK_ULONG_PTR outLen) {
        return Deliver(in, inLen, out, outLen, inLen);
    }
    static CK_RV C_Sign(CK_SESSION_HANDLE, CK_BYTE_PTR in, CK_ULONG inLen, CK_BYTE_PTR out, CK_ULONG_PTR outLen) {
        return Deliver(in, inLen, out, outLen, kSignatureLength);
    }

    static CK_RV C_GenerateRandom(CK_SESSION_HANDLE, CK_BYTE_PTR out, CK_ULONG length) {
        if (out == nullptr && length > 0) return CKR_ARGUMENTS_BAD;
        if (length > 0) memset(out, 0x5A, length);
        return CKR_OK;
    }

    // Per PKCS#11: every attribute is answered, a short buffer gets
    // CK_UNAVAILABLE_INFORMATION as its length, and the call then reports
    // CKR_BUFFER_TOO_SMALL.
    static CK_RV C_GetAttributeValue(CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_ATTRIBUTE_PTR attributes, CK_ULONG count) {
        if (attributes == nullptr && count > 0) return CKR_ARGUMENTS_BAD;
        CK_RV rv = CKR_OK;
        for (CK_ULONG i = 0; i < count; ++i) {
            CK_ATTRIBUTE& a = attributes[i];
            CK_ULONG length = AttributeLength(a.type);
            if (a.pValue == nullptr) {
                a.ulValueLen = length;
            } else if (a.ulValueLen < length) {
                a.ulValueLen = CK_UNAVAILABLE_INFORMATION;
                rv = CKR_BUFFER_TOO_SMALL;
            } else {
                WriteAttribute(a.type, a.pValue);
                a.ulValueLen = length;
            }
        }
        return rv;
    }

    static CK_RV C_FindObjectsInit(CK_SESSION_HANDLE, CK_ATTRIBUTE_PTR, CK_ULONG) { return CKR_OK; }
    // Every call finds up to ten objects, 1 to n: a search never ends.
    static CK_RV C_FindObjects(CK_SESSION_HANDLE, CK_OBJECT_HANDLE_PTR found, CK_ULONG max, CK_ULONG_PTR count) {
        if (count == nullptr || (found == nullptr && max > 0)) return CKR_ARGUMENTS_BAD;
        CK_ULONG n = std::min(max, kFoundPerCall);
        for (CK_ULONG i = 0; i < n; ++i) found[i] = i + 1;
        *count = n;
        return CKR_OK;
    }
    static CK_RV C_FindObjectsFinal(CK_SESSION_HANDLE) { return CKR_OK; }

    static CK_RV C_CreateObject(CK_SESSION_HANDLE, CK_ATTRIBUTE_PTR, CK_ULONG, CK_OBJECT_HANDLE_PTR object) {
        if (object == nullptr) return CKR_ARGUMENTS_BAD;
        *object = ++gObjects;
        return CKR_OK;
    }
    static CK_RV C_GenerateKey(CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_ATTRIBUTE_PTR, CK_ULONG,
                               CK_OBJECT_HANDLE_PTR key) {
        if (key == nullptr) return CKR_ARGUMENTS_BAD;
        *key = ++gObjects;
        return CKR_OK;
    }
    static CK_RV C_GenerateKeyPair(CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_ATTRIBUTE_PTR, CK_ULONG, CK_ATTRIBUTE_PTR,
                                   CK_ULONG, CK_OBJECT_HANDLE_PTR publicKey, CK_OBJECT_HANDLE_PTR privateKey) {
        if (publicKey == nullptr || privateKey == nullptr) return CKR_ARGUMENTS_BAD;
        *publicKey = ++gObjects;
        *privateKey = ++gObjects;
        return CKR_OK;
    }
};

}  // namespace

extern "C" {

#define MORLIN_EXPORT_(name, params, args) \
    CK_RV name params { return Null::name args; }
CK_STANDARD_FUNCTIONS(MORLIN_EXPORT_)
CK_VENDOR_FUNCTIONS(MORLIN_EXPORT_)
#undef MORLIN_EXPORT_

CK_RV C_GetFunctionList(CK_FUNCTION_LIST_PTR_PTR ppFunctionList) {
    if (ppFunctionList == nullptr) return CKR_ARGUMENTS_BAD;
    static CK_FUNCTION_LIST list = [] {
        CK_FUNCTION_LIST l{};
        l.version = {2, 40};
#define MORLIN_ENTRY_(name, params, args) l.name = &::name;
        CK_STANDARD_FUNCTIONS(MORLIN_ENTRY_)
#undef MORLIN_ENTRY_
        l.C_GetFunctionList = &C_GetFunctionList;
        return l;
    }();
    *ppFunctionList = &list;
    return CKR_OK;
}

}  // extern "C"
