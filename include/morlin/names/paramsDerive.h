// Names of the key-derivation parameter classes: the fields their converters
// read, and CK_SSL3_RANDOM_DATA, which only they reach. The fields that the
// write-back reads as well (pVersion, pReturnedKeyMaterial, IVSizeInBits,
// the CK_SSL3_KEY_MAT_OUT members, the BIP32 handles) stand in
// names/params.h and are not repeated here.
#ifndef MORLIN_NAMES_PARAMSDERIVE_H
#define MORLIN_NAMES_PARAMSDERIVE_H

#include "morlin/javaNames.h"
#include "morlin/names/params.h"

#define MORLIN_RANDOM_DATA_SIG_ "Lkaltrix/morlin/params/CK_SSL3_RANDOM_DATA;"
#define MORLIN_TEMPLATE_SIG_ "[Lkaltrix/morlin/CK_ATTRIBUTE;"

// clang-format off
#define MORLIN_NAMES_PARAMSDERIVE(CLASS, ABSENT_CLASS, FIELD, METHOD)                                  \
    CLASS(Ssl3RandomData, MORLIN_P_ "CK_SSL3_RANDOM_DATA")                                             \
    FIELD(Ssl3ClientRandom, Ssl3RandomData, "pClientRandom", "[B")                                     \
    FIELD(Ssl3ClientRandomLen, Ssl3RandomData, "clientRandomLen", "J")                                 \
    FIELD(Ssl3ServerRandom, Ssl3RandomData, "pServerRandom", "[B")                                     \
    FIELD(Ssl3ServerRandomLen, Ssl3RandomData, "serverRandomLen", "J")                                 \
    FIELD(Ssl3MasterRandomInfo, Ssl3MasterKeyDeriveParams, "RandomInfo", MORLIN_RANDOM_DATA_SIG_)      \
    FIELD(Ssl3KeyMatMacSize, Ssl3KeyMatParams, "macSizeInBits", "J")                                   \
    FIELD(Ssl3KeyMatKeySize, Ssl3KeyMatParams, "keySizeInBits", "J")                                   \
    FIELD(Ssl3KeyMatIsExport, Ssl3KeyMatParams, "bIsExport", "Lkaltrix/morlin/CK_BBOOL;")              \
    FIELD(Ssl3KeyMatRandomInfo, Ssl3KeyMatParams, "RandomInfo", MORLIN_RANDOM_DATA_SIG_)               \
    FIELD(StringDataData, KeyDerivationStringData, "pData", "[B")                                      \
    FIELD(StringDataLen, KeyDerivationStringData, "len", "J")                                          \
    FIELD(EcdhKdf, Ecdh1DeriveParams, "kdf", "J")                                                      \
    FIELD(EcdhSharedDataLen, Ecdh1DeriveParams, "ulSharedDataLen", "J")                                \
    FIELD(EcdhSharedData, Ecdh1DeriveParams, "pSharedData", "[B")                                      \
    FIELD(EcdhPublicDataLen, Ecdh1DeriveParams, "ulPublicDataLen", "J")                                \
    FIELD(EcdhPublicData, Ecdh1DeriveParams, "pPublicData", "[B")                                      \
    FIELD(EciesDhPrimitive, EciesParams, "dhPrimitive", "J")                                           \
    FIELD(EciesKdf, EciesParams, "kdf", "J")                                                           \
    FIELD(EciesSharedDataLen1, EciesParams, "ulSharedDataLen1", "J")                                   \
    FIELD(EciesSharedData1, EciesParams, "pSharedData1", "[B")                                         \
    FIELD(EciesEncScheme, EciesParams, "encScheme", "J")                                               \
    FIELD(EciesEncKeyLenInBits, EciesParams, "ulEncKeyLenInBits", "J")                                 \
    FIELD(EciesMacScheme, EciesParams, "macScheme", "J")                                               \
    FIELD(EciesMacKeyLenInBits, EciesParams, "ulMacKeyLenInBits", "J")                                 \
    FIELD(EciesMacLenInBits, EciesParams, "ulMacLenInBits", "J")                                       \
    FIELD(EciesSharedDataLen2, EciesParams, "ulSharedDataLen2", "J")                                   \
    FIELD(EciesSharedData2, EciesParams, "pSharedData2", "[B")                                         \
    FIELD(EddsaPhFlag, EddsaParams, "phFlag", "Z")                                                     \
    FIELD(EddsaContextData, EddsaParams, "pContextData", "[B")                                         \
    FIELD(Bip32MasterPublicTemplate, Bip32MasterDeriveParams, "publicKeyTemplate", MORLIN_TEMPLATE_SIG_) \
    FIELD(Bip32MasterPublicCount, Bip32MasterDeriveParams, "publicKeyAttributeCount", "J")             \
    FIELD(Bip32MasterPrivateTemplate, Bip32MasterDeriveParams, "privateKeyTemplate", MORLIN_TEMPLATE_SIG_) \
    FIELD(Bip32MasterPrivateCount, Bip32MasterDeriveParams, "privateKeyAttributeCount", "J")           \
    FIELD(Bip32ChildPublicTemplate, Bip32ChildDeriveParams, "publicKeyTemplate", MORLIN_TEMPLATE_SIG_) \
    FIELD(Bip32ChildPublicCount, Bip32ChildDeriveParams, "publicKeyAttributeCount", "J")               \
    FIELD(Bip32ChildPrivateTemplate, Bip32ChildDeriveParams, "privateKeyTemplate", MORLIN_TEMPLATE_SIG_) \
    FIELD(Bip32ChildPrivateCount, Bip32ChildDeriveParams, "privateKeyAttributeCount", "J")             \
    FIELD(Bip32ChildPath, Bip32ChildDeriveParams, "path", "[J")                                        \
    FIELD(Bip32ChildPathLen, Bip32ChildDeriveParams, "pathLen", "J")                                   \
    FIELD(GenPikSelfSign, GenPikParam, "bSelfSign", "Z")                                               \
    FIELD(KdePeerKTC, KdeEccP521DeriveParams, "pPeerKTC", "[B")                                        \
    FIELD(KdePeerMacTag, KdeTokenWrapParams, "bPeerMacTag", "[B")
// clang-format on

MORLIN_JAVA_NAMES(paramsDerive, MORLIN_NAMES_PARAMSDERIVE)

#endif
