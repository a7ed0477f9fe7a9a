// Named curves: the DER encoder under the two-phase length rule, the key
// size read back from an encoding, the key size of any bytes, and the
// fall-back search for a domain-parameter object on a token that answers
// from the fuzz input.
#include <cstring>
#include <iterator>

#include "input.h"
#include "morlin_util.h"
#include "tokenStub.h"

namespace {

struct Curve {
    const char* name;
    CK_ULONG bits;
};

// Every name the encoder knows and the size of its curve (Ed448 keys are
// counted as 456 bits on the token library).
const Curve kCurves[] = {
    {"P-192", 192},           {"prime192v1", 192},      {"secp192r1", 192},       {"P-224", 224},
    {"secp224r1", 224},       {"P-224K1", 224},         {"secp224k1", 224},       {"P-256", 256},
    {"prime256v1", 256},      {"secp256r1", 256},       {"P-384", 384},           {"secp384r1", 384},
    {"P-521", 521},           {"secp521r1", 521},       {"c2tnb191v1", 191},      {"c2tnb191v1e", 191},
    {"secp256k1", 256},       {"brainpoolP160r1", 160}, {"brainpoolP160t1", 160}, {"brainpoolP192r1", 192},
    {"brainpoolP192t1", 192}, {"brainpoolP224r1", 224}, {"brainpoolP224t1", 224}, {"brainpoolP256r1", 256},
    {"brainpoolP256t1", 256}, {"brainpoolP320r1", 320}, {"brainpoolP320t1", 320}, {"brainpoolP384r1", 384},
    {"brainpoolP384t1", 384}, {"brainpoolP512r1", 512}, {"brainpoolP512t1", 512}, {"curve25519", 256},
    {"curve448", 448},        {"ed25519", 256},         {"ed448", 456},
};

const Curve* Known(const std::string& name) {
    for (const Curve& c : kCurves)
        if (name == c.name) return &c;
    return nullptr;
}

CK_RV KeySize(const uint8_t* value, CK_ULONG length, CK_ULONG* bits) {
    const CK_ATTRIBUTE attribute = {CKA_EC_PARAMS, const_cast<uint8_t*>(value), length};
    return CT_GetECKeySize(&attribute, bits);
}

// The encoding of a known name: its length first, then into a buffer of
// the fuzzed size; too small leaves the buffer as it was. Returns the length.
CK_ULONG Encode(Input& in, const Curve& curve) {
    CK_ULONG length = 0;
    FUZZ_CHECK(CT_DerEncodeNamedCurve(nullptr, &length, curve.name) == CKR_OK);
    FUZZ_CHECK(length >= 2 && length <= 16);
    const CK_ULONG size = in.Byte() % 20;
    uint8_t* buffer = Block(size);
    CK_ULONG given = size;
    const CK_RV rv = CT_DerEncodeNamedCurve(buffer, &given, curve.name);
    FUZZ_CHECK(given == length);
    if (size < length) {
        FUZZ_CHECK(rv == CKR_BUFFER_TOO_SMALL);
        for (CK_ULONG i = 0; i < size; ++i) FUZZ_CHECK(buffer[i] == 0x5C);
    } else {
        FUZZ_CHECK(rv == CKR_OK);
        for (CK_ULONG i = length; i < size; ++i) FUZZ_CHECK(buffer[i] == 0x5C);
        // One whole OBJECT IDENTIFIER, whose size is the curve's.
        FUZZ_CHECK(buffer[0] == 0x06 && buffer[1] == length - 2);
        CK_ULONG bits = 0;
        FUZZ_CHECK(KeySize(buffer, length, &bits) == CKR_OK && bits == curve.bits);
    }
    free(buffer);
    return length;
}

// Any bytes: a size is one of the curves', and a value that matches keeps
// matching when cut shorter, as one that matches nothing does when longer.
void SizeOfBytes(const std::vector<uint8_t>& bytes) {
    uint8_t* value = Block(bytes.size(), bytes.data());
    CK_ULONG bits = 0;
    const CK_RV rv = KeySize(value, bytes.size(), &bits);
    FUZZ_CHECK(rv == CKR_OK || rv == CKR_ATTRIBUTE_VALUE_INVALID);
    if (rv == CKR_OK) {
        bool some = false;
        for (const Curve& c : kCurves) some = some || c.bits == bits;
        FUZZ_CHECK(some);
        if (!bytes.empty()) FUZZ_CHECK(KeySize(value, bytes.size() - 1, &bits) == CKR_OK);
    } else {
        std::vector<uint8_t> extended = bytes;
        extended.push_back(bytes.empty() ? 0 : bytes.back());
        uint8_t* longer = Block(extended.size(), extended.data());
        FUZZ_CHECK(KeySize(longer, extended.size(), &bits) == CKR_ATTRIBUTE_VALUE_INVALID);
        free(longer);
    }
    free(value);
}

// A curve the encoder cannot serve into the attribute is searched for on
// the token by label, without and then with the terminating NUL. A known
// curve's buffer that is too small has had its length raised to the
// encoding's by the encoder when the token is asked, so the token is
// offered that length: callers give a buffer at least as long as the
// length query reports, and so does this caller, whatever it claims.
void DomainParameters(Input& in, const std::string& name, const Curve* known, CK_ULONG length) {
    const CK_ULONG size = in.Byte() % 20;
    const bool null = in.Byte() & 1;
    const bool raised = known != nullptr && !null && size < length;
    uint8_t* buffer = null ? nullptr : Block(raised ? length : size);
    const CK_SESSION_HANDLE session = 7;
    CK_ATTRIBUTE attribute = {0x1234, buffer, size};
    StubReset(&in);
    const CK_RV rv = CT_GetECCDomainParameters(session, &attribute, name.c_str());
    const auto& calls = StubCalls();
    if (known != nullptr && (null || size >= length)) {
        FUZZ_CHECK(rv == CKR_OK && calls.empty() && attribute.type == 0x1234 && attribute.ulValueLen == length);
    } else {
        CK_OBJECT_CLASS cls = CKO_DOMAIN_PARAMETERS;
        CK_KEY_TYPE keyType = CKK_EC;
        const auto* pc = reinterpret_cast<const uint8_t*>(&cls);
        const auto* pk = reinterpret_cast<const uint8_t*>(&keyType);
        std::vector<LoggedRow> rows = {{CKA_LABEL, nullptr, name.size(), {name.begin(), name.end()}, 0},
                                       {CKA_CLASS, nullptr, 8, {pc, pc + 8}, 0},
                                       {CKA_KEY_TYPE, nullptr, 8, {pk, pk + 8}, 0}};
        size_t i = 0;
        CK_ULONG found = 0;
        CK_RV searched = CheckSearch(i, session, rows, nullptr, &found);
        if (searched == CKR_OK && found == 0) {
            rows[0].length += 1;
            rows[0].bytes.push_back(0);
            searched = CheckSearch(i, session, rows, nullptr, &found);
        }
        if (searched != CKR_OK || found == 0) {
            FUZZ_CHECK(i == calls.size());
            FUZZ_CHECK(rv == (searched != CKR_OK ? searched : CKR_DOMAIN_PARAMS_INVALID));
        } else {
            // The object found is read into the caller's attribute, now CKA_EC_PARAMS.
            FUZZ_CHECK(i + 1 == calls.size() && calls[i].fn == Fn::GetAttributeValue && rv == calls[i].rv);
            FUZZ_CHECK(calls[i].object == calls[i - 2].firstHandle && calls[i].rows.size() == 1);
            FUZZ_CHECK(calls[i].rows[0].type == CKA_EC_PARAMS && calls[i].rows[0].pointer == buffer);
            FUZZ_CHECK(calls[i].rows[0].length == (raised ? length : size));
            FUZZ_CHECK(attribute.type == CKA_EC_PARAMS);
        }
    }
    free(buffer);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in(data, size);
    const uint8_t pick = in.Byte();
    std::string name = pick < 2 * std::size(kCurves) ? kCurves[pick % std::size(kCurves)].name : in.Text();
    if (pick >= std::size(kCurves) && pick < 2 * std::size(kCurves)) name += in.Text();
    const Curve* known = Known(name);
    CK_ULONG length = 0xA5A5;
    if (known != nullptr) {
        length = Encode(in, *known);
    } else {
        // Unknown names, and names cut or lengthened, are refused untouched.
        FUZZ_CHECK(CT_DerEncodeNamedCurve(nullptr, &length, name.c_str()) == CKR_KEY_PARAMS_INVALID);
        FUZZ_CHECK(length == 0xA5A5);
    }
    uint8_t spare[1];
    FUZZ_CHECK(CT_DerEncodeNamedCurve(nullptr, nullptr, name.c_str()) == CKR_OK);
    FUZZ_CHECK(CT_DerEncodeNamedCurve(spare, nullptr, name.c_str()) == CKR_ARGUMENTS_BAD);
    SizeOfBytes(in.Bytes());
    DomainParameters(in, name, known, length);
    return 0;
}
