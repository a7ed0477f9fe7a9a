/*
 * fakeCryptoki.h - scripting and inspection API of the fake token library.
 *
 * libcryptoki.so built from fakeCryptoki.cpp exports every standard C_*
 * function and the four vendor functions. Each call is recorded (deep copies
 * of everything it was given) and answered as the test has scripted it:
 *
 *     fake::reset();
 *     fake::setDefault("C_Encrypt", fake::Reply().bytes({1, 2, 3}));
 *     ... run the native under test ...
 *     auto call = fake::last("C_Encrypt");
 *     EXPECT_EQ(call->inputs[0], fake::Bytes({9, 9}));
 *
 * Answers: per function a FIFO of replies, each used by one call, then a
 * persistent default once the FIFO is empty. With nothing scripted a function
 * returns CKR_OK and writes nothing.
 *
 * Under AddressSanitizer the fake never reads or writes past the end of the
 * memory it is handed, whatever length comes with the pointer: the bridge
 * passes Java counts unchecked, and a count larger than the converted array
 * must show up in the record, not as a report against the fake. Without the
 * sanitizer the lengths are trusted.
 */
#ifndef MORLIN_TESTS_FAKE_CRYPTOKI_H
#define MORLIN_TESTS_FAKE_CRYPTOKI_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "cryptoki.h"

#define FAKE_API __attribute__((visibility("default")))

namespace fake {

using Bytes = std::vector<CK_BYTE>;

/* One element of a CK_ATTRIBUTE array as the token library received it. */
struct Attribute {
    CK_ATTRIBUTE_TYPE type = 0;
    bool valueNull = true;
    CK_ULONG valueLen = 0;
    /* valueLen bytes from pValue; empty if pValue is null, valueLen is
     * CK_UNAVAILABLE_INFORMATION or not below 1 MiB. */
    Bytes value;
};
using Template = std::vector<Attribute>;

/* A CK_MECHANISM as received; parameter holds parameterLen raw bytes (same
 * rules as Attribute::value). Pointers inside the parameter structure are
 * recorded only as their bit patterns, inside these bytes. */
struct Mechanism {
    CK_MECHANISM_TYPE type = 0;
    bool parameterNull = true;
    CK_ULONG parameterLen = 0;
    Bytes parameter;
};

/* One call into the fake. Every list keeps the order of the parameters. */
struct Call {
    std::string name;
    std::thread::id thread;
    /* Arguments passed by value as integers: handles, slot ids, flags,
     * counts, lengths, CK_BBOOL, the FMSC selector. */
    std::vector<CK_ULONG> scalars;
    /* For every pointer argument (including function pointers and
     * pReserved): whether it was null, and its raw value. */
    std::vector<bool> nulls;
    std::vector<std::uintptr_t> pointers;
    /* Byte buffers passed with a by-value length, copied at that length, and
     * labels passed without one (first 32 bytes). nullopt: a null pointer. */
    std::vector<std::optional<Bytes>> inputs;
    /* *p on entry for each CK_ULONG pointer other than a list buffer: the
     * in/out lengths and counts, and the out handles, slot and size. */
    std::vector<std::optional<CK_ULONG>> lengthsIn;
    /* CK_ATTRIBUTE arrays, each copied at the count that follows it. */
    std::vector<std::optional<Template>> templates;
    /* nullopt if the function takes no mechanism or got a null pointer. */
    std::optional<Mechanism> mechanism;
    /* C_Initialize only: the structure, or nullopt if it got NULL. */
    std::optional<CK_C_INITIALIZE_ARGS> initArgs;
};

/* A hook gets the recorded call and the addresses of the C arguments:
 * args[i] points to the i-th parameter, so arg<CK_ULONG_PTR>(args, 4) is the
 * pulEncryptedDataLen of a C_Encrypt. Its result is what the function
 * returns; nothing scripted runs besides it. It runs without the fake's
 * lock, so it may call back into the fake and start threads that do. */
using Hook = std::function<CK_RV(const Call& call, void* const* args)>;

template <class T>
T& arg(void* const* args, std::size_t index) {
    return *static_cast<T*>(args[index]);
}

/* What C_GetAttributeValue answers for one attribute type. */
struct AttributeAnswer {
    Bytes value;
    std::optional<CK_ULONG> forcedLength;  // write value and this length, no checks
    std::optional<CK_RV> error;            // ulValueLen = CK_UNAVAILABLE_INFORMATION
};

/* One scripted answer. Outputs are written whenever they are scripted, also
 * when returns() forces an error, so a test can see that the bridge ignores
 * them then. */
struct Reply {
    std::optional<CK_RV> rv;
    std::optional<Bytes> data;
    std::optional<std::vector<CK_ULONG>> list;
    std::optional<CK_ULONG> forcedLength;
    std::optional<Bytes> fixedOut;
    std::vector<CK_ULONG> outValues;
    std::map<CK_ATTRIBUTE_TYPE, AttributeAnswer> attributes;
    std::optional<unsigned int> fmStatus;
    Hook hookFn;

    /* The return value, instead of the one the scripted outputs give. */
    Reply& returns(CK_RV value) {
        rv = value;
        return *this;
    }
    /* Byte output. Two-phase functions (buffer + CK_ULONG_PTR length) answer
     * with PKCS#11 size-query rules: null buffer -> length, CKR_OK; length too
     * small -> length, CKR_BUFFER_TOO_SMALL; else copy, length, CKR_OK.
     * C_GenerateRandom and FMSC_SendReceive's response get the bytes written
     * up to the buffer's by-value length. */
    Reply& bytes(Bytes value) {
        data = std::move(value);
        return *this;
    }
    /* CK_ULONG list for C_GetSlotList and C_GetMechanismList (two-phase, as
     * above) and C_FindObjects (at most ulMaxObjectCount, count = number
     * delivered). */
    Reply& ulongs(std::vector<CK_ULONG> value) {
        list = std::move(value);
        return *this;
    }
    /* Bypass the size-query rules: store this length (or object count) and,
     * if the buffer is non-null, the whole of bytes()/ulongs(), rv CKR_OK. */
    Reply& length(CK_ULONG value) {
        forcedLength = value;
        return *this;
    }
    /* Fixed-shape output: CK_INFO, CK_SLOT_INFO, CK_TOKEN_INFO,
     * CK_SESSION_INFO, CK_MECHANISM_INFO. fixed() takes raw bytes, written up
     * to the size of the function's structure. */
    Reply& info(const CK_INFO& value) { return fixed(raw(value)); }
    Reply& info(const CK_SLOT_INFO& value) { return fixed(raw(value)); }
    Reply& info(const CK_TOKEN_INFO& value) { return fixed(raw(value)); }
    Reply& info(const CK_SESSION_INFO& value) { return fixed(raw(value)); }
    Reply& info(const CK_MECHANISM_INFO& value) { return fixed(raw(value)); }
    Reply& fixed(Bytes value) {
        fixedOut = std::move(value);
        return *this;
    }
    /* Single-value outputs, in parameter order: the new handle(s), the slot of
     * C_WaitForSlotEvent, the size of C_GetObjectSize, the received length of
     * FMSC_SendReceive (which otherwise is the size of bytes()). */
    Reply& handle(CK_ULONG value) {
        outValues = {value};
        return *this;
    }
    Reply& handles(CK_ULONG publicKey, CK_ULONG privateKey) {
        outValues = {publicKey, privateKey};
        return *this;
    }
    Reply& slot(CK_SLOT_ID value) { return handle(value); }
    Reply& size(CK_ULONG value) { return handle(value); }
    Reply& received(CK_ULONG value) { return handle(value); }
    /* FMSC_SendReceive's status word. */
    Reply& status(unsigned int value) {
        fmStatus = value;
        return *this;
    }
    /* C_GetAttributeValue, per element of the template: a scripted type is
     * answered with size-query rules (null pValue -> size; ulValueLen too small
     * -> CK_UNAVAILABLE_INFORMATION and CKR_BUFFER_TOO_SMALL; else copy). Once
     * any type is scripted, an unscripted one gets CK_UNAVAILABLE_INFORMATION
     * and CKR_ATTRIBUTE_TYPE_INVALID. The first error found is returned. */
    Reply& attribute(CK_ATTRIBUTE_TYPE type, Bytes value) {
        attributes[type] = AttributeAnswer{std::move(value), std::nullopt, std::nullopt};
        return *this;
    }
    Reply& attributeUlong(CK_ATTRIBUTE_TYPE type, CK_ULONG value) { return attribute(type, raw(value)); }
    Reply& attributeError(CK_ATTRIBUTE_TYPE type, CK_RV error) {
        attributes[type] = AttributeAnswer{{}, std::nullopt, error};
        return *this;
    }
    Reply& attributeRaw(CK_ATTRIBUTE_TYPE type, CK_ULONG valueLen, Bytes value) {
        attributes[type] = AttributeAnswer{std::move(value), valueLen, std::nullopt};
        return *this;
    }
    /* Custom behaviour in place of everything above (see Hook). */
    Reply& hook(Hook value) {
        hookFn = std::move(value);
        return *this;
    }

    template <class T>
    static Bytes raw(const T& value) {
        Bytes out(sizeof(T));
        std::memcpy(out.data(), &value, sizeof(T));
        return out;
    }
};

/* Scripting. The function name must be one that the fake exports, else
 * std::invalid_argument is thrown. */
FAKE_API void enqueue(const std::string& function, Reply reply);     // answers one call
FAKE_API void setDefault(const std::string& function, Reply reply);  // after the queue runs dry

/* Inspection. */
FAKE_API void reset();  // clears the log and every script
FAKE_API std::vector<Call> calls();
FAKE_API std::vector<Call> calls(const std::string& function);
FAKE_API std::size_t count(const std::string& function);
FAKE_API std::optional<Call> last(const std::string& function);
/* The structure of the last C_Initialize, so that a test can call the mutex
 * callbacks itself; nullopt if that call got NULL or there was none. */
FAKE_API std::optional<CK_C_INITIALIZE_ARGS> lastInitArgs();

/* Called with every call as it arrives, before it is answered, on the
 * caller's thread and without the fake's lock; null stops it. reset() leaves
 * it in place. */
FAKE_API void observe(std::function<void(const Call&)> observer);

}  // namespace fake

#endif /* MORLIN_TESTS_FAKE_CRYPTOKI_H */
