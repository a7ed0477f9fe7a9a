// attrset: the life of an AttributeSet, and the two ways of merging one set
// into another: AddAttributeSets makes a new set under the edit rule (a
// template laid over an object's attributes), ConcatAttributeSets fills in
// what a set lacks and keeps what it has (defaults under a template).
#include <cstdlib>
#include <cstring>

#include "rowStore.h"

namespace {

void FreeRows(CK_ATTRIBUTE_PTR rows, CK_ULONG count, bool fill) {
    for (CK_ULONG i = 0; i < count; ++i) {
        if (rows[i].pValue == nullptr) continue;
        if (fill) {
            rowstore::Drop(rows[i]);
        } else {
            free(rows[i].pValue);
        }
    }
    free(rows);
}

// Sorted by type, unsigned, so that vendor types come last.
void SortByType(AttributeSet* set) {
    if (set->attributes != nullptr && set->count > 1)
        qsort(set->attributes, set->count, sizeof(CK_ATTRIBUTE), compMech);
}

}  // namespace

extern "C" {

// The row array's allocation is stored as it comes: a record can come back
// with rows counted and no array when memory runs out.
AttributeSet* NewAttributeSet(CK_ULONG count) {
    auto* set = static_cast<AttributeSet*>(malloc(sizeof(AttributeSet)));
    if (set == nullptr) return nullptr;
    set->count = count;
    set->attributes = count == 0 ? nullptr : static_cast<CK_ATTRIBUTE*>(calloc(count, sizeof(CK_ATTRIBUTE)));
    return set;
}

void FreeAttributeSet(AttributeSet* set) {
    if (set == nullptr) return;
    if (set->attributes != nullptr) FreeRows(set->attributes, set->count, true);
    free(set);
}

void FreeAttributes(CK_ATTRIBUTE_PTR pAttributes, CK_ULONG count) {
    if (pAttributes != nullptr) FreeRows(pAttributes, count, true);
}

void FreeAttributesNoClear(CK_ATTRIBUTE_PTR pAttributes, CK_ULONG count) {
    if (pAttributes != nullptr) FreeRows(pAttributes, count, false);
}

// All or nothing: on any failure the half-made set is released (its values
// filled) and *pResult is null.
CK_RV AddAttributeSets(AttributeSet** pResult, const AttributeSet* pAdd, const AttributeSet* pBase) {
    if (pResult != nullptr) *pResult = nullptr;
    if (pAdd == nullptr || pBase == nullptr) return CKR_HOST_MEMORY;
    if (pResult == nullptr) return CKR_ARGUMENTS_BAD;
    AttributeSet* result = DupAttributeSet(pBase);
    *pResult = result;
    if (result == nullptr) return CKR_HOST_MEMORY;
    CK_RV rv = CKR_OK;
    for (CK_ULONG i = 0; i < pAdd->count && pAdd->attributes != nullptr && rv == CKR_OK; ++i) {
        const CK_ATTRIBUTE& row = pAdd->attributes[i];
        rv = CopyAttr(row.pValue, row.ulValueLen, row.type, result);
        // A value that may not change is a contradiction between the two.
        if (rv == CKR_ATTRIBUTE_READ_ONLY) rv = CKR_TEMPLATE_INCONSISTENT;
    }
    SortByType(result);
    if (rv != CKR_OK) {
        FreeAttributeSet(result);
        *pResult = nullptr;
    }
    return rv;
}

CK_RV ConcatAttributeSets(AttributeSet* pDst, const AttributeSet* pSrc) {
    if (pSrc == nullptr || pSrc->count == 0 || pSrc->attributes == nullptr) return CKR_OK;
    if (pDst == nullptr) return CKR_HOST_MEMORY;
    // An absent CKA_MODIFIABLE reads as -1 and lets the rows in.
    if (intAttrLookup(CKA_MODIFIABLE, pDst->attributes, pDst->count) == 0) return CKR_ATTRIBUTE_READ_ONLY;
    for (CK_ULONG i = 0; i < pSrc->count; ++i) {
        const CK_ATTRIBUTE& row = pSrc->attributes[i];
        // The destination wins, whatever the source's value.
        if (FindAttr(row.type, pDst) != nullptr) continue;
        if (rowstore::Full(pDst)) return CKR_HOST_MEMORY;
        const CK_RV rv = rowstore::Append(pDst, row.type, row.pValue, row.ulValueLen);
        if (rv != CKR_OK) return rv;
    }
    return CKR_OK;
}

}  // extern "C"
