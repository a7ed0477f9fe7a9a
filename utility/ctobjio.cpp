// ctobjio: data objects on a token used as named files. The label is the
// file's name, CKA_VALUE its content, and every operation names the class
// of object it works on. The objects are token objects, private unless made
// by CT_CreatePublicObject.
#include <cstring>
#include <iterator>

#include "morlin_util.h"

namespace {

// The CK_BBOOL values of the creating template, fixed here.
const CK_BBOOL kTrue = CK_TRUE;
const CK_BBOOL kFalse = CK_FALSE;

CK_RV Create(CK_SESSION_HANDLE session, CK_OBJECT_CLASS objectClass, const char* name, CK_OBJECT_HANDLE_PTR object,
             const CK_BBOOL* isPrivate) {
    if (name == nullptr) return CKR_ARGUMENTS_BAD;
    CK_ATTRIBUTE tmpl[] = {
        {CKA_CLASS, &objectClass, sizeof objectClass},
        {CKA_LABEL, const_cast<char*>(name), strlen(name)},
        {CKA_TOKEN, const_cast<CK_BBOOL*>(&kTrue), sizeof kTrue},
        {CKA_PRIVATE, const_cast<CK_BBOOL*>(isPrivate), sizeof *isPrivate},
    };
    return C_CreateObject(session, tmpl, std::size(tmpl), object);
}

}  // namespace

extern "C" {

CK_RV CT_CreateObject(CK_SESSION_HANDLE hSession, CK_OBJECT_CLASS objectClass, const char* name,
                      CK_OBJECT_HANDLE_PTR phObject) {
    return Create(hSession, objectClass, name, phObject, &kTrue);
}

CK_RV CT_CreatePublicObject(CK_SESSION_HANDLE hSession, CK_OBJECT_CLASS objectClass, const char* name,
                            CK_OBJECT_HANDLE_PTR phObject) {
    return Create(hSession, objectClass, name, phObject, &kFalse);
}

CK_RV CT_OpenObject(CK_SESSION_HANDLE hSession, CK_OBJECT_CLASS objectClass, const char* name,
                    CK_OBJECT_HANDLE_PTR phObject) {
    if (name == nullptr) return CKR_ARGUMENTS_BAD;
    CK_ATTRIBUTE tmpl[] = {
        {CKA_CLASS, &objectClass, sizeof objectClass},
        {CKA_LABEL, const_cast<char*>(name), strlen(name)},
    };
    CK_RV rv = C_FindObjectsInit(hSession, tmpl, std::size(tmpl));
    if (rv != CKR_OK) return rv;
    CK_ULONG found = 0;
    // A failure here leaves the search open.
    rv = C_FindObjects(hSession, phObject, 1, &found);
    if (rv != CKR_OK) return rv;
    rv = C_FindObjectsFinal(hSession);
    if (rv != CKR_OK) return rv;
    // An absent object is a general error, as callers of this layer expect.
    return found == 1 ? CKR_OK : CKR_GENERAL_ERROR;
}

CK_RV CT_RenameObject(CK_SESSION_HANDLE hSession, CK_OBJECT_CLASS objectClass, const char* oldName,
                      const char* newName) {
    if (newName == nullptr) return CKR_ARGUMENTS_BAD;
    CK_OBJECT_HANDLE object = CK_INVALID_HANDLE;
    const CK_RV rv = CT_OpenObject(hSession, objectClass, oldName, &object);
    if (rv != CKR_OK) return rv;
    CK_ATTRIBUTE label = {CKA_LABEL, const_cast<char*>(newName), strlen(newName)};
    return C_SetAttributeValue(hSession, object, &label, 1);
}

CK_RV CT_ReadObject(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject, CK_VOID_PTR pBuffer, CK_ULONG bufferLen,
                    CK_ULONG_PTR pValueLen) {
    // Left at 0 where GetAttr fails before it learns the length; callers
    // read the length on success only.
    CK_ULONG length = 0;
    const CK_RV rv = GetAttr(hSession, hObject, CKA_VALUE, pBuffer, bufferLen, &length);
    if (pValueLen != nullptr) *pValueLen = length;
    return rv;
}

CK_RV CT_WriteObject(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject, CK_VOID_PTR pBuffer, CK_ULONG bufferLen,
                     CK_ULONG_PTR pWritten) {
    const CK_RV rv = SetAttr(hSession, hObject, CKA_VALUE, pBuffer, bufferLen);
    if (pWritten != nullptr) *pWritten = bufferLen;
    return rv;
}

}  // extern "C"
