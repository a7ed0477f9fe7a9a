// findattr: the search over attribute rows that the whole utility library
// uses, on a plain array and on an AttributeSet. Two types search
// differently from the rest: the wild card FIND_ANY_ATTRIBUTE takes the
// first row of any list, and CKA_CHECK_VALUE_DEPRECATED falls back to a
// CKA_CHECK_VALUE row, as objects made before the token library moved to
// the standard type carry either. The fall-back is one-way.
#include "morlin_util.h"

extern "C" {

CK_ATTRIBUTE* FindAttribute(CK_ATTRIBUTE_TYPE type, CK_ATTRIBUTE* pAttributes, CK_ULONG count) {
    if (pAttributes == nullptr || count == 0) return nullptr;
    if (type == FIND_ANY_ATTRIBUTE) return &pAttributes[0];
    for (CK_ULONG i = 0; i < count; ++i)
        if (pAttributes[i].type == type) return &pAttributes[i];
    if (type == CKA_CHECK_VALUE_DEPRECATED) return FindAttribute(CKA_CHECK_VALUE, pAttributes, count);
    return nullptr;
}

CK_ATTRIBUTE* FindAttr(CK_ATTRIBUTE_TYPE type, const AttributeSet* set) {
    if (set == nullptr) return nullptr;
    return FindAttribute(type, set->attributes, set->count);
}

}  // extern "C"
