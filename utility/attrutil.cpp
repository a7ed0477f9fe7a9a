// attrutil: rows assigned into caller-owned buffers, deep copies of rows and
// sets, and whether one set matches another. Nothing here talks to a token.
#include <cstdlib>
#include <cstring>

#include "morlin_util.h"

namespace {

// Whether two types may stand for each other in a transfer: the
// destination's wild card takes any source, and the check value's standard
// and deprecated numbers are one attribute.
bool TypesAgree(CK_ATTRIBUTE_TYPE destination, CK_ATTRIBUTE_TYPE source) {
    if (destination == source || destination == FIND_ANY_ATTRIBUTE) return true;
    return (destination == CKA_CHECK_VALUE && source == CKA_CHECK_VALUE_DEPRECATED) ||
           (destination == CKA_CHECK_VALUE_DEPRECATED && source == CKA_CHECK_VALUE);
}

// The source number zero-extended from its own width (1, 2, 4 or 8), cut to
// the destination's width w; a source of another width gives all ones of w.
CK_ULONG Widen(const void* value, CK_ULONG n, CK_ULONG w) {
    CK_ULONG number = 0;
    if (n != 1 && n != 2 && n != 4 && n != 8) return w == 8 ? ~0UL : (1UL << (8 * w)) - 1;
    memcpy(&number, value, n);  // little-endian: the low bytes come first
    return w == 8 ? number : number & ((1UL << (8 * w)) - 1);
}

// The value assignment of at_assign and of each row of TransferAttr; the
// caller has checked the types.
CK_RV Assign(CK_ATTRIBUTE& destination, const CK_ATTRIBUTE& source) {
    const CK_ULONG n = source.ulValueLen;
    if (source.pValue == nullptr || destination.pValue == nullptr) {
        destination.ulValueLen = n;
        return CKR_OK;
    }
    if (destination.ulValueLen < n) return CKR_BUFFER_TOO_SMALL;
    if (isNumericAttr(&source) && n <= 8) {
        // The destination keeps its width, and its length with it.
        const CK_ULONG w = destination.ulValueLen;
        if (w != 1 && w != 2 && w != 4 && w != 8) return CKR_GENERAL_ERROR;
        const CK_ULONG number =
            w == 1 && n != 1 ? 0xFF : w == 1 ? *static_cast<const CK_BYTE*>(source.pValue) : Widen(source.pValue, n, w);
        memcpy(destination.pValue, &number, w);
        return CKR_OK;
    }
    memcpy(destination.pValue, source.pValue, n);
    destination.ulValueLen = n;
    return CKR_OK;
}

}  // namespace

extern "C" {

CK_RV at_assign(CK_ATTRIBUTE_PTR pDst, const CK_ATTRIBUTE* pSrc) {
    if (pDst == nullptr || pSrc == nullptr) return CKR_ARGUMENTS_BAD;
    if (pDst->type != pSrc->type) return CKR_DATA_INVALID;
    return Assign(*pDst, *pSrc);
}

// Only the last row's result comes back: an earlier row that did not fit
// is not reported, and the walk goes on past it. A pair of types that do
// not agree stops the walk at once.
CK_RV TransferAttr(CK_ATTRIBUTE_PTR pDstRows, const CK_ATTRIBUTE* pSrcRows, CK_ULONG count) {
    if (count == 0) return CKR_OK;
    if (pDstRows == nullptr || pSrcRows == nullptr) return CKR_ARGUMENTS_BAD;
    CK_RV rv = CKR_OK;
    for (CK_ULONG i = 0; i < count; ++i) {
        if (!TypesAgree(pDstRows[i].type, pSrcRows[i].type)) return CKR_ATTRIBUTE_TYPE_INVALID;
        pDstRows[i].type = pSrcRows[i].type;
        rv = Assign(pDstRows[i], pSrcRows[i]);
    }
    return rv;
}

// The set's own row array is used as NewAttributeSet hands it over.
AttributeSet* DupAttributes(const CK_ATTRIBUTE* pAttributes, CK_ULONG count) {
    AttributeSet* set = NewAttributeSet(count);
    if (set == nullptr || pAttributes == nullptr || count == 0) return set;
    for (CK_ULONG i = 0; i < count; ++i) {
        const CK_ATTRIBUTE& source = pAttributes[i];
        CK_ATTRIBUTE& row = set->attributes[i];
        // The deprecated check value does not live on in a copy.
        row.type = source.type == CKA_CHECK_VALUE_DEPRECATED ? CKA_CHECK_VALUE : source.type;
        row.ulValueLen = source.ulValueLen;
        row.pValue = nullptr;
        if (source.ulValueLen == 0 || source.pValue == nullptr) continue;
        row.pValue = malloc(source.ulValueLen);
        if (row.pValue == nullptr) {
            FreeAttributeSet(set);
            return nullptr;
        }
        memcpy(row.pValue, source.pValue, source.ulValueLen);
    }
    return set;
}

AttributeSet* DupAttributeSet(const AttributeSet* set) {
    return set == nullptr ? nullptr : DupAttributes(set->attributes, set->count);
}

CK_ATTRIBUTE* CopyAttribute(CK_ATTRIBUTE_TYPE type, AttributeSet* pDstSet, const AttributeSet* pSrcSet) {
    const CK_ATTRIBUTE* source = FindAttr(type, pSrcSet);
    if (source != nullptr) WriteAttr(source->pValue, source->ulValueLen, type, pDstSet);
    return FindAttr(type, pDstSet);
}

// One way: each row of the needle must have a row of exactly its type in
// the haystack (no wild card, no alias) with the same value. A label may
// differ by one terminating NUL, so that C text and a token's label match.
int MatchAttributeSet(const AttributeSet* pNeedle, const AttributeSet* pHaystack) {
    if (pNeedle == pHaystack) return 1;
    if (pNeedle == nullptr) return pHaystack->count == 0;
    if (pHaystack == nullptr) return pNeedle->count == 0;
    if (pNeedle->count == 0) return 1;
    if (pNeedle->attributes == nullptr || pHaystack->attributes == nullptr) return 0;
    for (CK_ULONG i = 0; i < pNeedle->count; ++i) {
        const CK_ATTRIBUTE& wanted = pNeedle->attributes[i];
        const CK_ATTRIBUTE* held = nullptr;
        for (CK_ULONG j = 0; j < pHaystack->count && held == nullptr; ++j)
            if (pHaystack->attributes[j].type == wanted.type) held = &pHaystack->attributes[j];
        if (held == nullptr) return 0;
        CK_ULONG length = wanted.ulValueLen;
        if (held->ulValueLen != length) {
            const CK_ATTRIBUTE& longer = held->ulValueLen > length ? *held : wanted;
            const CK_ULONG shorter = held->ulValueLen > length ? length : held->ulValueLen;
            if (wanted.type != CKA_LABEL || longer.ulValueLen - shorter != 1 || longer.pValue == nullptr ||
                static_cast<const CK_BYTE*>(longer.pValue)[shorter] != 0)
                return 0;
            length = shorter;
        }
        if (length == 0) continue;
        if (wanted.pValue == nullptr || held->pValue == nullptr) {
            if (wanted.pValue != held->pValue) return 0;
            continue;
        }
        if (memcmp(wanted.pValue, held->pValue, length) != 0) return 0;
    }
    return 1;
}

}  // extern "C"
