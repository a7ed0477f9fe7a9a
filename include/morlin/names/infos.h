// Names of the information classes that the query natives fill, with their
// fields in the order in which they are written.
#ifndef MORLIN_NAMES_INFOS_H
#define MORLIN_NAMES_INFOS_H

#include "morlin/javaNames.h"
#include "morlin/names/core.h"

#define MORLIN_NAMES_INFOS(CLASS, ABSENT_CLASS, FIELD, METHOD)                                   \
    CLASS(Info, "kaltrix/morlin/CK_INFO")                                                        \
    FIELD(InfoCryptokiVersion, Info, "cryptokiVersion", "Lkaltrix/morlin/CK_VERSION;")           \
    FIELD(InfoManufacturerID, Info, "manufacturerID", "[B")                                      \
    FIELD(InfoFlags, Info, "flags", "J")                                                         \
    FIELD(InfoLibraryDescription, Info, "libraryDescription", "[B")                              \
    FIELD(InfoLibraryVersion, Info, "libraryVersion", "Lkaltrix/morlin/CK_VERSION;")             \
    CLASS(SlotInfo, "kaltrix/morlin/CK_SLOT_INFO")                                               \
    FIELD(SlotInfoSlotDescription, SlotInfo, "slotDescription", "[B")                            \
    FIELD(SlotInfoManufacturerID, SlotInfo, "manufacturerID", "[B")                              \
    FIELD(SlotInfoFlags, SlotInfo, "flags", "J")                                                 \
    FIELD(SlotInfoHardwareVersion, SlotInfo, "hardwareVersion", "Lkaltrix/morlin/CK_VERSION;")   \
    FIELD(SlotInfoFirmwareVersion, SlotInfo, "firmwareVersion", "Lkaltrix/morlin/CK_VERSION;")   \
    CLASS(TokenInfo, "kaltrix/morlin/CK_TOKEN_INFO")                                             \
    FIELD(TokenInfoLabel, TokenInfo, "label", "[B")                                              \
    FIELD(TokenInfoManufacturerID, TokenInfo, "manufacturerID", "[B")                            \
    FIELD(TokenInfoModel, TokenInfo, "model", "[B")                                              \
    FIELD(TokenInfoSerialNumber, TokenInfo, "serialNumber", "[B")                                \
    FIELD(TokenInfoFlags, TokenInfo, "flags", "J")                                               \
    FIELD(TokenInfoMaxSessionCount, TokenInfo, "maxSessionCount", "J")                           \
    FIELD(TokenInfoSessionCount, TokenInfo, "sessionCount", "J")                                 \
    FIELD(TokenInfoMaxRwSessionCount, TokenInfo, "maxRwSessionCount", "J")                       \
    FIELD(TokenInfoRwSessionCount, TokenInfo, "rwSessionCount", "J")                             \
    FIELD(TokenInfoMaxPinLen, TokenInfo, "maxPinLen", "J")                                       \
    FIELD(TokenInfoMinPinLen, TokenInfo, "minPinLen", "J")                                       \
    FIELD(TokenInfoTotalPublicMemory, TokenInfo, "totalPublicMemory", "J")                       \
    FIELD(TokenInfoFreePublicMemory, TokenInfo, "freePublicMemory", "J")                         \
    FIELD(TokenInfoTotalPrivateMemory, TokenInfo, "totalPrivateMemory", "J")                     \
    FIELD(TokenInfoFreePrivateMemory, TokenInfo, "freePrivateMemory", "J")                       \
    FIELD(TokenInfoHardwareVersion, TokenInfo, "hardwareVersion", "Lkaltrix/morlin/CK_VERSION;") \
    FIELD(TokenInfoFirmwareVersion, TokenInfo, "firmwareVersion", "Lkaltrix/morlin/CK_VERSION;") \
    FIELD(TokenInfoUtcTime, TokenInfo, "utcTime", "[B")                                          \
    CLASS(MechanismInfo, "kaltrix/morlin/CK_MECHANISM_INFO")                                     \
    FIELD(MechanismInfoMinKeySize, MechanismInfo, "minKeySize", "J")                             \
    FIELD(MechanismInfoMaxKeySize, MechanismInfo, "maxKeySize", "J")                             \
    FIELD(MechanismInfoFlags, MechanismInfo, "flags", "J")                                       \
    CLASS(SessionInfo, "kaltrix/morlin/CK_SESSION_INFO")                                         \
    FIELD(SessionInfoSlotID, SessionInfo, "slotID", "J")                                         \
    FIELD(SessionInfoState, SessionInfo, "state", "Lkaltrix/morlin/constants/CK_STATE;")         \
    FIELD(SessionInfoFlags, SessionInfo, "flags", "J")                                           \
    FIELD(SessionInfoDeviceError, SessionInfo, "deviceError", "J")

MORLIN_JAVA_NAMES(infos, MORLIN_NAMES_INFOS)

#endif
