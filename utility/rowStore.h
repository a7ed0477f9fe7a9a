// rowStore: how a set that stands for a token object keeps its values,
// shared by rwattr and attrset. A value is a calloc block of exactly its
// length, or null for length 0; a value that is dropped is overwritten with
// ATTRIBUTE_FILL_BYTE over its whole length first, so that no key material
// lingers in freed heap.
#ifndef MORLIN_UTILITY_ROWSTORE_H
#define MORLIN_UTILITY_ROWSTORE_H

#include "morlin_util.h"

namespace rowstore {

// Fills and frees the row's value and leaves pValue null.
void Drop(CK_ATTRIBUTE& row);
// A fresh block holding len bytes of value (zeros where value is null), or
// null for len 0. *failed tells a failed allocation from length 0.
CK_VOID_PTR Copy(const void* value, CK_ULONG len, bool* failed);
// Drops the row's value and stores type, length and a copy of the value.
// CKR_HOST_MEMORY if the copy cannot be made: the row then has its new
// length and a null value.
CK_RV Refill(CK_ATTRIBUTE& row, CK_ATTRIBUTE_TYPE type, const void* value, CK_ULONG len);
// Grows the array by one row and stores a row with a copy of the value.
// CKR_HOST_MEMORY if the array cannot grow, or if the value cannot be
// copied: count then stays as it was.
CK_RV Append(AttributeSet* set, CK_ATTRIBUTE_TYPE type, const void* value, CK_ULONG len);
// A set that may not grow: null, or above the limit.
inline bool Full(const AttributeSet* set) { return set == nullptr || set->count > ATTRIBUTE_SET_LIMIT; }

// The edit rule: whether a new value of the set's row may replace it or
// must equal it. strict adds CKA_TOKEN, CKA_PRIVATE and CKA_MODIFIABLE to
// the values that must stay.
enum class Decision { Replace, Compare };
Decision Rule(const CK_ATTRIBUTE& row, AttributeSet* set, bool strict);
// Stores under the rule: CKR_OK, CKR_ATTRIBUTE_READ_ONLY (the set
// unchanged) or CKR_HOST_MEMORY.
CK_RV Edit(const void* value, CK_ULONG len, CK_ATTRIBUTE_TYPE type, AttributeSet* set, bool strict);

}  // namespace rowstore

#endif
