// A token for the utility code that talks to one: the search, attribute and
// create functions, whose answers (return codes, lengths, values, handles)
// come from the fuzz input, in and out of line with what a token should say.
// It never writes past the lengths it is given, so any overflow that
// AddressSanitizer reports is a buffer the library offered too large. Every
// call is logged with what the library passed in.
#ifndef MORLIN_FUZZ_TOKEN_STUB_H
#define MORLIN_FUZZ_TOKEN_STUB_H

#include <vector>

#include "cryptoki.h"
#include "input.h"

enum class Fn { FindObjectsInit, FindObjects, FindObjectsFinal, GetAttributeValue, SetAttributeValue, CreateObject };

struct LoggedRow {
    CK_ATTRIBUTE_TYPE type;
    CK_VOID_PTR pointer;
    CK_ULONG length;              // as passed in
    std::vector<uint8_t> bytes;   // the value passed in, for the functions that read it
    CK_ULONG answer;              // the length answered, for C_GetAttributeValue
};

struct Call {
    Fn fn;
    CK_SESSION_HANDLE session;
    CK_OBJECT_HANDLE object;
    std::vector<LoggedRow> rows;
    CK_ULONG maxCount;               // C_FindObjects
    CK_OBJECT_HANDLE_PTR out;        // C_FindObjects, C_CreateObject
    CK_ULONG found;                  // the count answered by C_FindObjects
    CK_OBJECT_HANDLE firstHandle;    // the first handle written, if any
    CK_RV rv;
};

// Answers from here on come from `script`; the log starts empty.
void StubReset(Input* script);
const std::vector<Call>& StubCalls();

// Checks calls[i..] as one search for an object with exactly `rows` in its
// template: C_FindObjectsInit, then C_FindObjects for one handle into out,
// then C_FindObjectsFinal, each only after the one before succeeded. i ends
// past the search (out null: any place will do); the result is the first failing code, else CKR_OK with
// the count answered in *found.
CK_RV CheckSearch(size_t& i, CK_SESSION_HANDLE session, const std::vector<LoggedRow>& rows, CK_OBJECT_HANDLE_PTR out,
                  CK_ULONG* found);

#endif
