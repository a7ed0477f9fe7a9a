// gsattr: one attribute of a token object read or written without a
// template of the caller's, through a single CK_ATTRIBUTE on the stack.
#include "morlin_util.h"

extern "C" {

// First the length, then the value. A value that does not fit answers
// CKR_ATTRIBUTE_TYPE_INVALID, not CKR_BUFFER_TOO_SMALL: callers of this
// library test for that code, and the length they need is stored already.
CK_RV GetAttr(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject, CK_ATTRIBUTE_TYPE type, CK_VOID_PTR pValue,
              CK_ULONG bufferLen, CK_ULONG_PTR pValueLen) {
    CK_ATTRIBUTE attribute = {type, nullptr, 0};
    CK_RV rv = C_GetAttributeValue(hSession, hObject, &attribute, 1);
    if (rv != CKR_OK) return rv;
    if (pValueLen != nullptr) *pValueLen = attribute.ulValueLen;
    if (bufferLen == 0) return CKR_OK;  // a length query, whatever pValue holds
    if (attribute.ulValueLen > bufferLen) return CKR_ATTRIBUTE_TYPE_INVALID;
    attribute.pValue = pValue;
    return C_GetAttributeValue(hSession, hObject, &attribute, 1);
}

CK_RV SetAttr(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject, CK_ATTRIBUTE_TYPE type, CK_VOID_PTR pValue,
              CK_ULONG valueLen) {
    CK_ATTRIBUTE attribute = {type, pValue, valueLen};
    return C_SetAttributeValue(hSession, hObject, &attribute, 1);
}

}  // extern "C"
