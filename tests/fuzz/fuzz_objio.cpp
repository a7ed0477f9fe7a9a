// Data objects as named files over a token that answers from the fuzz
// input: reading a value in two steps, opening by name, writing. Whatever
// the token says, the reader offers it no more than the caller's buffer,
// reports the length the token gave, and maps the answers as documented.
#include <cstring>

#include "input.h"
#include "morlin_util.h"
#include "tokenStub.h"

namespace {

constexpr uint8_t kFill = 0x5C;

bool Untouched(const uint8_t* p, size_t n) {
    for (size_t i = 0; i < n; ++i)
        if (p[i] != kFill) return false;
    return true;
}

void Read(Input& in, CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object) {
    const uint8_t how = in.Byte();
    const CK_ULONG bufferLen = (how & 3) == 0 ? 0 : in.Byte();
    uint8_t* buffer = (how & 4) && bufferLen == 0 ? nullptr : Block(bufferLen, nullptr, kFill);
    CK_ULONG reported = 0xA5A5;
    StubReset(&in);
    const CK_RV rv = CT_ReadObject(session, object, buffer, bufferLen, (how & 8) ? nullptr : &reported);
    const auto& calls = StubCalls();
    FUZZ_CHECK(!calls.empty() && calls.size() <= 2);
    for (const Call& c : calls)
        FUZZ_CHECK(c.fn == Fn::GetAttributeValue && c.session == session && c.object == object &&
                   c.rows.size() == 1 && c.rows[0].type == CKA_VALUE);
    const LoggedRow& query = calls[0].rows[0];
    FUZZ_CHECK(query.pointer == nullptr && query.length == 0);
    if (calls[0].rv != CKR_OK) {
        FUZZ_CHECK(rv == calls[0].rv && calls.size() == 1);
    } else {
        if (!(how & 8)) FUZZ_CHECK(reported == query.answer);
        if (bufferLen == 0 || query.answer > bufferLen) {
            FUZZ_CHECK(rv == (bufferLen == 0 ? CKR_OK : CKR_ATTRIBUTE_TYPE_INVALID) && calls.size() == 1);
        } else {
            // The second call gets the caller's buffer and the length the
            // token reported, which fits in it.
            FUZZ_CHECK(calls.size() == 2 && rv == calls[1].rv);
            FUZZ_CHECK(calls[1].rows[0].pointer == buffer && calls[1].rows[0].length == query.answer);
        }
    }
    if (calls.size() == 1 && buffer != nullptr) FUZZ_CHECK(Untouched(buffer, bufferLen));
    free(buffer);
}

void Open(Input& in, CK_SESSION_HANDLE session) {
    const CK_OBJECT_CLASS objectClass = in.Byte() < 0x80 ? in.Byte() % 8 : in.Number(8);
    const std::string name = in.Text();
    const CK_OBJECT_HANDLE none = 0xBAD;
    CK_OBJECT_HANDLE handle = none;
    StubReset(&in);
    const CK_RV rv = CT_OpenObject(session, objectClass, name.c_str(), &handle);
    const auto* c = reinterpret_cast<const uint8_t*>(&objectClass);
    std::vector<LoggedRow> rows = {{CKA_CLASS, nullptr, sizeof objectClass, {c, c + sizeof objectClass}, 0},
                                   {CKA_LABEL, nullptr, name.size(), {name.begin(), name.end()}, 0}};
    size_t i = 0;
    CK_ULONG found = 0;
    const CK_RV searched = CheckSearch(i, session, rows, &handle, &found);
    FUZZ_CHECK(i == StubCalls().size());  // one search, nothing after it
    if (searched != CKR_OK) {
        FUZZ_CHECK(rv == searched);
    } else {
        // Exactly one object is success; none, or more than asked for, is not.
        FUZZ_CHECK(rv == (found == 1 ? CKR_OK : CKR_GENERAL_ERROR));
        if (found == 1) FUZZ_CHECK(handle == StubCalls()[1].firstHandle);
    }
    if (i >= 2 && StubCalls()[1].found == 0) FUZZ_CHECK(handle == none);
}

void Write(Input& in, CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object) {
    const std::vector<uint8_t> value = in.Bytes();
    uint8_t* buffer = Block(value.size(), value.data());
    CK_ULONG written = 0;
    StubReset(&in);
    const CK_RV rv = CT_WriteObject(session, object, buffer, value.size(), &written);
    const auto& calls = StubCalls();
    FUZZ_CHECK(calls.size() == 1 && calls[0].fn == Fn::SetAttributeValue && calls[0].object == object);
    FUZZ_CHECK(calls[0].rows.size() == 1 && calls[0].rows[0].type == CKA_VALUE && calls[0].rows[0].bytes == value);
    FUZZ_CHECK(rv == calls[0].rv && written == value.size());
    free(buffer);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in(data, size);
    const uint8_t op = in.Byte();
    const CK_SESSION_HANDLE session = in.Number(2);
    const CK_OBJECT_HANDLE object = in.Number(2);
    switch (op % 3) {
        case 0: Read(in, session, object); break;
        case 1: Open(in, session); break;
        case 2: Write(in, session, object); break;
    }
    return 0;
}
