// A PKCS#11 module reached as a C application reaches it: dlopen of its
// file and the function list from its C_GetFunctionList.
#ifndef MORLIN_BENCH_MODULE_H
#define MORLIN_BENCH_MODULE_H

#include <string>

#include "cryptoki.h"

namespace bench {

// Opens the module at path and returns its function list, or null with the
// reason in error. The handle is never closed: the list serves until the
// process ends.
//
// The list must point into the module itself. Were its entries bound to
// same-named exports of another library in the process (a libcryptoki.so
// standing in front of the module), the C floor and the JDK's wrapper would
// time that library too, and the comparison would be lost.
const CK_FUNCTION_LIST* OpenModule(const char* path, std::string& error);

}  // namespace bench

#endif
