// Names of the token library's own parameter classes: the fields that their
// converters read. The classes themselves are named in names/params.h.
#ifndef MORLIN_NAMES_PARAMSVENDOR_H
#define MORLIN_NAMES_PARAMSVENDOR_H

#include "morlin/javaNames.h"
#include "morlin/names/params.h"

// clang-format off
#define MORLIN_NAMES_PARAMSVENDOR(CLASS, ABSENT_CLASS, FIELD, METHOD)                                          \
    FIELD(MechTypeAndObjectMechanism, MechTypeAndObject, "mechanism",                                          \
          "Lkaltrix/morlin/constants/CK_MECHANISM_TYPE;")                                                      \
    FIELD(MechTypeAndObjectHandle, MechTypeAndObject, "hObj", "Lkaltrix/morlin/CK_OBJECT_HANDLE;")             \
    FIELD(PpLoadSecretMaskInput, PpLoadSecretParams, "bMaskInput", "Lkaltrix/morlin/CK_BBOOL;")                \
    FIELD(PpLoadSecretConvert, PpLoadSecretParams, "cConvert", "I")                                            \
    FIELD(PpLoadSecretTimeout, PpLoadSecretParams, "cTimeout", "I")                                            \
    FIELD(PpLoadSecretPrompt, PpLoadSecretParams, "prompt", "[B")                                              \
    FIELD(TimestampUseMilliseconds, TimestampParams, "useMilliseconds", "Lkaltrix/morlin/CK_BBOOL;")           \
    FIELD(TimestampFormat, TimestampParams, "timestampFormat", "J")                                            \
    FIELD(ReplicateTokenPeerId, ReplicateTokenParams, "peerId", "[B")                                          \
    FIELD(SecretShareN, SecretShareParams, "n", "J")                                                           \
    FIELD(SecretShareM, SecretShareParams, "m", "J")
// clang-format on

MORLIN_JAVA_NAMES(paramsVendor, MORLIN_NAMES_PARAMSVENDOR)

#endif
