// Names of the mechanism family: CK_MECHANISM and the parameter classes of
// kaltrix.morlin.params, with the fields of those whose converters stand in
// the bridge.
#ifndef MORLIN_NAMES_PARAMS_H
#define MORLIN_NAMES_PARAMS_H

#include "morlin/javaNames.h"

#define MORLIN_P_ "kaltrix/morlin/params/"

// clang-format off
#define MORLIN_NAMES_PARAMS(CLASS, ABSENT_CLASS, FIELD, METHOD)                                   \
    CLASS(Mechanism, "kaltrix/morlin/CK_MECHANISM")                                               \
    FIELD(MechanismTypeField, Mechanism, "mechanism", "Lkaltrix/morlin/constants/CK_MECHANISM_TYPE;")  \
    FIELD(MechanismParameter, Mechanism, "pParameter", "Ljava/lang/Object;")                      \
    FIELD(MechanismParameterLen, Mechanism, "parameterLen", "J")                                  \
    CLASS(RsaPkcsOaepParams, MORLIN_P_ "CK_RSA_PKCS_OAEP_PARAMS")                                 \
    CLASS(RsaPkcsPssParams, MORLIN_P_ "CK_RSA_PKCS_PSS_PARAMS")                                   \
    CLASS(Rc2CbcParams, MORLIN_P_ "CK_RC2_CBC_PARAMS")                                            \
    FIELD(Rc2CbcEffectiveBits, Rc2CbcParams, "effectiveBits", "J")                                \
    FIELD(Rc2CbcIv, Rc2CbcParams, "iv", "[B")                                                     \
    CLASS(Rc2MacGeneralParams, MORLIN_P_ "CK_RC2_MAC_GENERAL_PARAMS")                             \
    FIELD(Rc2MacEffectiveBits, Rc2MacGeneralParams, "effectiveBits", "J")                         \
    FIELD(Rc2MacLength, Rc2MacGeneralParams, "macLength", "J")                                    \
    CLASS(PbeParams, MORLIN_P_ "CK_PBE_PARAMS")                                                   \
    FIELD(PbeInitVector, PbeParams, "pInitVector", "[B")                                          \
    CLASS(Pkcs12PbeImportParams, MORLIN_P_ "CK_PKCS12_PBE_IMPORT_PARAMS")                         \
    FIELD(Pkcs12CertCount, Pkcs12PbeImportParams, "hCertCount", "Lkaltrix/morlin/LongRef;")       \
    FIELD(Pkcs12Cert, Pkcs12PbeImportParams, "hCert", "[Lkaltrix/morlin/CK_OBJECT_HANDLE;")      \
    CLASS(Pkcs12PbeExportParams, MORLIN_P_ "CK_PKCS12_PBE_EXPORT_PARAMS")                         \
    CLASS(KeyWrapSetOaepParams, MORLIN_P_ "CK_KEY_WRAP_SET_OAEP_PARAMS")                          \
    FIELD(KeyWrapOaepX, KeyWrapSetOaepParams, "pX", "[B")                                         \
    FIELD(KeyWrapOaepXLen, KeyWrapSetOaepParams, "XLen", "J")                                     \
    CLASS(Ssl3MasterKeyDeriveParams, MORLIN_P_ "CK_SSL3_MASTER_KEY_DERIVE_PARAMS")                \
    FIELD(Ssl3MasterVersion, Ssl3MasterKeyDeriveParams, "pVersion", "Lkaltrix/morlin/CK_VERSION;") \
    CLASS(Ssl3KeyMatParams, MORLIN_P_ "CK_SSL3_KEY_MAT_PARAMS")                                   \
    FIELD(Ssl3KeyMatOutField, Ssl3KeyMatParams, "pReturnedKeyMaterial",                          \
          "Lkaltrix/morlin/params/CK_SSL3_KEY_MAT_OUT;")                                          \
    FIELD(Ssl3KeyMatIVSize, Ssl3KeyMatParams, "IVSizeInBits", "J")                                \
    CLASS(Ssl3KeyMatOut, MORLIN_P_ "CK_SSL3_KEY_MAT_OUT")                                         \
    FIELD(Ssl3ClientMacSecret, Ssl3KeyMatOut, "hClientMacSecret", "Lkaltrix/morlin/CK_OBJECT_HANDLE;") \
    FIELD(Ssl3ServerMacSecret, Ssl3KeyMatOut, "hServerMacSecret", "Lkaltrix/morlin/CK_OBJECT_HANDLE;") \
    FIELD(Ssl3ClientKey, Ssl3KeyMatOut, "hClientKey", "Lkaltrix/morlin/CK_OBJECT_HANDLE;")        \
    FIELD(Ssl3ServerKey, Ssl3KeyMatOut, "hServerKey", "Lkaltrix/morlin/CK_OBJECT_HANDLE;")        \
    FIELD(Ssl3IVClient, Ssl3KeyMatOut, "pIVClient", "[B")                                         \
    FIELD(Ssl3IVServer, Ssl3KeyMatOut, "pIVServer", "[B")                                         \
    CLASS(KeyDerivationStringData, MORLIN_P_ "CK_KEY_DERIVATION_STRING_DATA")                     \
    CLASS(MechTypeAndObject, MORLIN_P_ "CK_MECH_TYPE_AND_OBJECT")                                 \
    CLASS(DesCbcParams, MORLIN_P_ "CK_DES_CBC_PARAMS")                                            \
    FIELD(DesCbcIv, DesCbcParams, "iv", "[B")                                                     \
    FIELD(DesCbcData, DesCbcParams, "data", "[B")                                                 \
    CLASS(Des2CbcParams, MORLIN_P_ "CK_DES2_CBC_PARAMS")                                          \
    FIELD(Des2CbcIv, Des2CbcParams, "iv", "[B")                                                   \
    FIELD(Des2CbcData, Des2CbcParams, "data", "[B")                                               \
    CLASS(Des3CbcParams, MORLIN_P_ "CK_DES3_CBC_PARAMS")                                          \
    FIELD(Des3CbcIv, Des3CbcParams, "iv", "[B")                                                   \
    FIELD(Des3CbcData, Des3CbcParams, "data", "[B")                                               \
    CLASS(DesCbcEncryptDataParams, MORLIN_P_ "CK_DES_CBC_ENCRYPT_DATA_PARAMS")                    \
    FIELD(DesEncryptDataIv, DesCbcEncryptDataParams, "iv", "[B")                                  \
    FIELD(DesEncryptDataData, DesCbcEncryptDataParams, "pData", "[B")                             \
    FIELD(DesEncryptDataLength, DesCbcEncryptDataParams, "length", "J")                           \
    CLASS(AesCbcEncryptDataParams, MORLIN_P_ "CK_AES_CBC_ENCRYPT_DATA_PARAMS")                    \
    FIELD(AesEncryptDataIv, AesCbcEncryptDataParams, "iv", "[B")                                  \
    FIELD(AesEncryptDataData, AesCbcEncryptDataParams, "pData", "[B")                             \
    FIELD(AesEncryptDataLength, AesCbcEncryptDataParams, "length", "J")                           \
    CLASS(AesGcmParams, MORLIN_P_ "CK_AES_GCM_PARAMS")                                            \
    FIELD(AesGcmIvLen, AesGcmParams, "ulIvLen", "J")                                              \
    FIELD(AesGcmIv, AesGcmParams, "pIv", "[B")                                                    \
    FIELD(AesGcmAADLen, AesGcmParams, "ulAADLen", "J")                                            \
    FIELD(AesGcmAAD, AesGcmParams, "pAAD", "[B")                                                  \
    FIELD(AesGcmTagBits, AesGcmParams, "ulTagBits", "J")                                          \
    CLASS(GcmParams, MORLIN_P_ "CK_GCM_PARAMS")                                                   \
    FIELD(GcmIvLen, GcmParams, "ulIvLen", "J")                                                    \
    FIELD(GcmIv, GcmParams, "pIv", "[B")                                                          \
    FIELD(GcmAADLen, GcmParams, "ulAADLen", "J")                                                  \
    FIELD(GcmAAD, GcmParams, "pAAD", "[B")                                                        \
    FIELD(GcmTagBits, GcmParams, "ulTagBits", "J")                                                \
    CLASS(AesCtrParams, MORLIN_P_ "CK_AES_CTR_PARAMS")                                            \
    FIELD(AesCtrCounterBits, AesCtrParams, "ulCounterBits", "J")                                  \
    FIELD(AesCtrCb, AesCtrParams, "cb", "[B")                                                     \
    CLASS(AesCcmParams, MORLIN_P_ "CK_AES_CCM_PARAMS")                                            \
    FIELD(AesCcmDataLen, AesCcmParams, "ulDataLen", "J")                                          \
    FIELD(AesCcmNonceLen, AesCcmParams, "ulNonceLen", "J")                                        \
    FIELD(AesCcmNonce, AesCcmParams, "pNonce", "[B")                                              \
    FIELD(AesCcmAADLen, AesCcmParams, "ulAADLen", "J")                                            \
    FIELD(AesCcmAAD, AesCcmParams, "pAAD", "[B")                                                  \
    FIELD(AesCcmMACLen, AesCcmParams, "ulMACLen", "J")                                            \
    CLASS(EddsaParams, MORLIN_P_ "CK_EDDSA_PARAMS")                                               \
    CLASS(PpLoadSecretParams, MORLIN_P_ "CK_PP_LOAD_SECRET_PARAMS")                               \
    CLASS(TimestampParams, MORLIN_P_ "CK_TIMESTAMP_PARAMS")                                       \
    CLASS(ReplicateTokenParams, MORLIN_P_ "CK_REPLICATE_TOKEN_PARAMS")                            \
    CLASS(SecretShareParams, MORLIN_P_ "CK_SECRET_SHARE_PARAMS")                                  \
    CLASS(EciesParams, MORLIN_P_ "CK_ECIES_PARAMS")                                               \
    CLASS(Ecdh1DeriveParams, MORLIN_P_ "CK_ECDH1_DERIVE_PARAMS")                                  \
    CLASS(Bip32MasterDeriveParams, MORLIN_P_ "CK_BIP32_MASTER_DERIVE_PARAMS")                     \
    FIELD(Bip32MasterPublicKey, Bip32MasterDeriveParams, "hPublicKey", "Lkaltrix/morlin/CK_OBJECT_HANDLE;") \
    FIELD(Bip32MasterPrivateKey, Bip32MasterDeriveParams, "hPrivateKey", "Lkaltrix/morlin/CK_OBJECT_HANDLE;") \
    CLASS(Bip32ChildDeriveParams, MORLIN_P_ "CK_BIP32_CHILD_DERIVE_PARAMS")                       \
    FIELD(Bip32ChildPublicKey, Bip32ChildDeriveParams, "hPublicKey", "Lkaltrix/morlin/CK_OBJECT_HANDLE;") \
    FIELD(Bip32ChildPrivateKey, Bip32ChildDeriveParams, "hPrivateKey", "Lkaltrix/morlin/CK_OBJECT_HANDLE;") \
    FIELD(Bip32ChildPathErrorIndex, Bip32ChildDeriveParams, "pathErrorIndex", "J")               \
    CLASS(GenPikParam, MORLIN_P_ "CK_GEN_PIK_PARAM")                                              \
    CLASS(KdeEccP521DeriveParams, MORLIN_P_ "CK_KDE_ECCP521_DERIVE_PARAMS")                       \
    FIELD(KdeMacTagOut, KdeEccP521DeriveParams, "bMacTagOut", "[B")                               \
    CLASS(KdeTokenWrapParams, MORLIN_P_ "CK_KDE_TOKEN_WRAP_PARAMS")
// clang-format on

MORLIN_JAVA_NAMES(params, MORLIN_NAMES_PARAMS)

#endif
