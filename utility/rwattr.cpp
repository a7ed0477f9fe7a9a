// rwattr: reading, writing and ordering the attributes of token objects.
#include "morlin_util.h"

extern "C" {

// qsort hands over pointers into the array; the values compare as the
// unsigned numbers they are, so vendor values (bit 31 set) sort last.
int compMech(const void* a, const void* b) {
    const CK_MECHANISM_TYPE x = *static_cast<const CK_MECHANISM_TYPE*>(a);
    const CK_MECHANISM_TYPE y = *static_cast<const CK_MECHANISM_TYPE*>(b);
    if (x == y) return 0;
    return x > y ? 1 : -1;
}

}  // extern "C"
