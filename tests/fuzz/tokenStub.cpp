#include "tokenStub.h"

#include <cstring>
#include <iterator>

namespace {

Input* gScript = nullptr;
std::vector<Call> gCalls;

// Mostly success; otherwise one of the codes a token gives on these calls,
// or one no caller expects.
CK_RV Answer() {
    static const CK_RV kFailures[] = {CKR_GENERAL_ERROR,         CKR_DEVICE_ERROR,     CKR_OPERATION_ACTIVE,
                                      CKR_ATTRIBUTE_SENSITIVE,   CKR_BUFFER_TOO_SMALL, CKR_ATTRIBUTE_TYPE_INVALID,
                                      CKR_SESSION_HANDLE_INVALID, 0x80000ABCUL};
    const uint8_t b = gScript->Byte();
    return b < 0xC0 ? CKR_OK : kFailures[b % std::size(kFailures)];
}

Call& Log(Fn fn, CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE_PTR rows, CK_ULONG count,
          bool readValues) {
    Call call{fn, session, object, {}, 0, nullptr, 0, 0, CKR_OK};
    for (CK_ULONG i = 0; i < count; ++i) {
        LoggedRow row{rows[i].type, rows[i].pValue, rows[i].ulValueLen, {}, 0};
        if (readValues && rows[i].pValue != nullptr) {
            const auto* p = static_cast<const uint8_t*>(rows[i].pValue);
            row.bytes.assign(p, p + rows[i].ulValueLen);
        }
        call.rows.push_back(row);
    }
    gCalls.push_back(call);
    return gCalls.back();
}

}  // namespace

void StubReset(Input* script) {
    gScript = script;
    gCalls.clear();
}

const std::vector<Call>& StubCalls() { return gCalls; }

CK_RV CheckSearch(size_t& i, CK_SESSION_HANDLE session, const std::vector<LoggedRow>& rows, CK_OBJECT_HANDLE_PTR out,
                  CK_ULONG* found) {
    FUZZ_CHECK(i < gCalls.size() && gCalls[i].fn == Fn::FindObjectsInit && gCalls[i].session == session);
    const Call& init = gCalls[i++];
    FUZZ_CHECK(init.rows.size() == rows.size());
    for (size_t r = 0; r < rows.size(); ++r)
        FUZZ_CHECK(init.rows[r].type == rows[r].type && init.rows[r].length == rows[r].length &&
                   init.rows[r].bytes == rows[r].bytes);
    if (init.rv != CKR_OK) return init.rv;
    FUZZ_CHECK(i < gCalls.size() && gCalls[i].fn == Fn::FindObjects && gCalls[i].session == session);
    const Call& find = gCalls[i++];
    FUZZ_CHECK(find.maxCount == 1 && (out == nullptr || find.out == out));
    if (find.rv != CKR_OK) return find.rv;  // the search is left open
    FUZZ_CHECK(i < gCalls.size() && gCalls[i].fn == Fn::FindObjectsFinal && gCalls[i].session == session);
    *found = find.found;
    return gCalls[i++].rv;
}

extern "C" {

CK_RV C_FindObjectsInit(CK_SESSION_HANDLE hSession, CK_ATTRIBUTE_PTR pTemplate, CK_ULONG ulCount) {
    return Log(Fn::FindObjectsInit, hSession, 0, pTemplate, ulCount, true).rv = Answer();
}

// Counts up to 3 whatever the maximum, handles written up to the maximum.
CK_RV C_FindObjects(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE_PTR phObject, CK_ULONG ulMaxObjectCount,
                    CK_ULONG_PTR pulObjectCount) {
    Call& call = Log(Fn::FindObjects, hSession, 0, nullptr, 0, false);
    call.maxCount = ulMaxObjectCount;
    call.out = phObject;
    call.rv = Answer();
    call.found = gScript->Byte() % 4;
    for (CK_ULONG k = 0; k < std::min(call.found, ulMaxObjectCount); ++k) phObject[k] = 1 + gScript->Number(2) + k;
    if (call.found > 0 && ulMaxObjectCount > 0) call.firstHandle = phObject[0];
    *pulObjectCount = call.found;
    return call.rv;
}

CK_RV C_FindObjectsFinal(CK_SESSION_HANDLE hSession) {
    return Log(Fn::FindObjectsFinal, hSession, 0, nullptr, 0, false).rv = Answer();
}

// Each row gets a value from the script and a length that may or may not
// be the value's: its own, a little more, any number, or unavailable. A
// value that does not fit the buffer given is not written.
CK_RV C_GetAttributeValue(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject, CK_ATTRIBUTE_PTR pTemplate,
                          CK_ULONG ulCount) {
    Call& call = Log(Fn::GetAttributeValue, hSession, hObject, pTemplate, ulCount, false);
    call.rv = Answer();
    for (CK_ULONG k = 0; k < ulCount; ++k) {
        const uint8_t how = gScript->Byte();
        const std::vector<uint8_t> value = gScript->Bytes();
        CK_ULONG length = value.size();
        switch (how & 3) {
            case 1: length += 1 + (how >> 4); break;
            case 2: length = gScript->Number(8); break;
            case 3: length = CK_UNAVAILABLE_INFORMATION; break;
        }
        CK_ATTRIBUTE& row = pTemplate[k];
        if (row.pValue != nullptr) {
            if (value.size() <= row.ulValueLen) {
                if (!value.empty()) memcpy(row.pValue, value.data(), value.size());
            } else {
                length = CK_UNAVAILABLE_INFORMATION;
                if (call.rv == CKR_OK) call.rv = CKR_BUFFER_TOO_SMALL;
            }
        }
        row.ulValueLen = call.rows[k].answer = length;
    }
    return call.rv;
}

CK_RV C_SetAttributeValue(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject, CK_ATTRIBUTE_PTR pTemplate,
                          CK_ULONG ulCount) {
    return Log(Fn::SetAttributeValue, hSession, hObject, pTemplate, ulCount, true).rv = Answer();
}

CK_RV C_CreateObject(CK_SESSION_HANDLE hSession, CK_ATTRIBUTE_PTR pTemplate, CK_ULONG ulCount,
                     CK_OBJECT_HANDLE_PTR phObject) {
    Call& call = Log(Fn::CreateObject, hSession, 0, pTemplate, ulCount, true);
    call.out = phObject;
    call.rv = Answer();
    if (call.rv == CKR_OK) *phObject = call.firstHandle = 1 + gScript->Number(2);
    return call.rv;
}

}  // extern "C"
