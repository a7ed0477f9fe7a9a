/*
 * morlin_util.h - the token utility library: names of Cryptoki constants,
 * attribute sets, attribute classification and the helpers built on them.
 * Plain C, for any C or C++ code that links libmorlin_util.a.
 */
#ifndef MORLIN_UTIL_H
#define MORLIN_UTIL_H

#include "cryptoki.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif
