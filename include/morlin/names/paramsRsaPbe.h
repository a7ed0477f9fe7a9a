// Names of the RSA padding, password-based encryption and PKCS#12 parameter
// classes: the fields their converters read. The fields that the write-back
// reads as well (pInitVector, hCertCount, hCert, pX, XLen) stand in
// names/params.h and are not repeated here.
#ifndef MORLIN_NAMES_PARAMSRSAPBE_H
#define MORLIN_NAMES_PARAMSRSAPBE_H

#include "morlin/javaNames.h"
#include "morlin/names/params.h"

#define MORLIN_MECH_TYPE_SIG_ "Lkaltrix/morlin/constants/CK_MECHANISM_TYPE;"

// clang-format off
#define MORLIN_NAMES_PARAMSRSAPBE(CLASS, ABSENT_CLASS, FIELD, METHOD)                                  \
    FIELD(OaepHashAlg, RsaPkcsOaepParams, "hashAlg", MORLIN_MECH_TYPE_SIG_)                            \
    FIELD(OaepMgf, RsaPkcsOaepParams, "mgf", "J")                                                      \
    FIELD(OaepSource, RsaPkcsOaepParams, "source", "Lkaltrix/morlin/constants/CK_RSA_PKCS_OAEP_SOURCE_TYPE;") \
    FIELD(OaepSourceData, RsaPkcsOaepParams, "pSourceData", "[B")                                      \
    FIELD(OaepSourceDataLen, RsaPkcsOaepParams, "sourceDataLen", "J")                                  \
    FIELD(PssHashAlg, RsaPkcsPssParams, "hashAlg", MORLIN_MECH_TYPE_SIG_)                              \
    FIELD(PssMgf, RsaPkcsPssParams, "mgf", "J")                                                        \
    FIELD(PssSLen, RsaPkcsPssParams, "sLen", "J")                                                      \
    FIELD(KeyWrapOaepBC, KeyWrapSetOaepParams, "bBC", "B")                                             \
    FIELD(PbePassword, PbeParams, "pPassword", "[B")                                                   \
    FIELD(PbePasswordLen, PbeParams, "passwordLen", "J")                                               \
    FIELD(PbeSalt, PbeParams, "pSalt", "[B")                                                           \
    FIELD(PbeSaltLen, PbeParams, "saltLen", "J")                                                       \
    FIELD(PbeIteration, PbeParams, "iteration", "J")                                                   \
    FIELD(Pkcs12ImportAuthSafe, Pkcs12PbeImportParams, "passwordAuthSafe", "[B")                       \
    FIELD(Pkcs12ImportAuthSafeLen, Pkcs12PbeImportParams, "passwordAuthSafeLen", "J")                  \
    FIELD(Pkcs12ImportHmac, Pkcs12PbeImportParams, "passwordHMAC", "[B")                               \
    FIELD(Pkcs12ImportHmacLen, Pkcs12PbeImportParams, "passwordHMACLen", "J")                          \
    FIELD(Pkcs12ImportCertAttr, Pkcs12PbeImportParams, "certAttr", "[Lkaltrix/morlin/CK_ATTRIBUTE;")   \
    FIELD(Pkcs12ImportCertAttrCount, Pkcs12PbeImportParams, "certAttrCount", "J")                      \
    FIELD(Pkcs12ExportKeyCert, Pkcs12PbeExportParams, "keyCert", "Lkaltrix/morlin/CK_OBJECT_HANDLE;")  \
    FIELD(Pkcs12ExportAuthSafe, Pkcs12PbeExportParams, "passwordAuthSafe", "[B")                       \
    FIELD(Pkcs12ExportAuthSafeLen, Pkcs12PbeExportParams, "passwordAuthSafeLen", "J")                  \
    FIELD(Pkcs12ExportHmac, Pkcs12PbeExportParams, "passwordHMAC", "[B")                               \
    FIELD(Pkcs12ExportHmacLen, Pkcs12PbeExportParams, "passwordHMACLen", "J")                          \
    FIELD(Pkcs12ExportSafeBagKgMech, Pkcs12PbeExportParams, "safeBagKgMech", MORLIN_MECH_TYPE_SIG_)    \
    FIELD(Pkcs12ExportSafeContentKgMech, Pkcs12PbeExportParams, "safeContentKgMech", MORLIN_MECH_TYPE_SIG_) \
    FIELD(Pkcs12ExportHmacKgMech, Pkcs12PbeExportParams, "hmacKgMech", MORLIN_MECH_TYPE_SIG_)
// clang-format on

MORLIN_JAVA_NAMES(paramsRsaPbe, MORLIN_NAMES_PARAMSRSAPBE)

#endif
