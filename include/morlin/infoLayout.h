// Where each Java field of the information classes sits in its Cryptoki
// structure. Both directions of the information copies walk these tables,
// copyToJava into new Java values and copyToCK into the caller's structure,
// so a field cannot land at one offset going out and another coming back.
// Rows stand in the order in which the fields are copied.
#ifndef MORLIN_INFOLAYOUT_H
#define MORLIN_INFOLAYOUT_H

#include <cstddef>

#include "cryptoki.h"
#include "morlin/javaNames.h"
#include "morlin/names/infos.h"

namespace layout {

// One field of a fixed-shape Cryptoki structure as its Java class shows it:
// "[B" of length bytes, "J", a CK_VERSION, or the CK_STATE of a session.
struct InfoField {
    const jn::Field& field;
    std::size_t offset;  // in the Cryptoki structure
    std::size_t length;  // bytes, for "[B"
};

inline constexpr InfoField kInfoFields[] = {
    {jn::kInfoCryptokiVersion, offsetof(CK_INFO, cryptokiVersion), 0},
    {jn::kInfoManufacturerID, offsetof(CK_INFO, manufacturerID), 32},
    {jn::kInfoFlags, offsetof(CK_INFO, flags), 0},
    {jn::kInfoLibraryDescription, offsetof(CK_INFO, libraryDescription), 32},
    {jn::kInfoLibraryVersion, offsetof(CK_INFO, libraryVersion), 0},
};

inline constexpr InfoField kSlotInfoFields[] = {
    {jn::kSlotInfoSlotDescription, offsetof(CK_SLOT_INFO, slotDescription), 64},
    {jn::kSlotInfoManufacturerID, offsetof(CK_SLOT_INFO, manufacturerID), 32},
    {jn::kSlotInfoFlags, offsetof(CK_SLOT_INFO, flags), 0},
    {jn::kSlotInfoHardwareVersion, offsetof(CK_SLOT_INFO, hardwareVersion), 0},
    {jn::kSlotInfoFirmwareVersion, offsetof(CK_SLOT_INFO, firmwareVersion), 0},
};

inline constexpr InfoField kTokenInfoFields[] = {
    {jn::kTokenInfoLabel, offsetof(CK_TOKEN_INFO, label), 32},
    {jn::kTokenInfoManufacturerID, offsetof(CK_TOKEN_INFO, manufacturerID), 32},
    {jn::kTokenInfoModel, offsetof(CK_TOKEN_INFO, model), 16},
    {jn::kTokenInfoSerialNumber, offsetof(CK_TOKEN_INFO, serialNumber), 16},
    {jn::kTokenInfoFlags, offsetof(CK_TOKEN_INFO, flags), 0},
    {jn::kTokenInfoMaxSessionCount, offsetof(CK_TOKEN_INFO, ulMaxSessionCount), 0},
    {jn::kTokenInfoSessionCount, offsetof(CK_TOKEN_INFO, ulSessionCount), 0},
    {jn::kTokenInfoMaxRwSessionCount, offsetof(CK_TOKEN_INFO, ulMaxRwSessionCount), 0},
    {jn::kTokenInfoRwSessionCount, offsetof(CK_TOKEN_INFO, ulRwSessionCount), 0},
    {jn::kTokenInfoMaxPinLen, offsetof(CK_TOKEN_INFO, ulMaxPinLen), 0},
    {jn::kTokenInfoMinPinLen, offsetof(CK_TOKEN_INFO, ulMinPinLen), 0},
    {jn::kTokenInfoTotalPublicMemory, offsetof(CK_TOKEN_INFO, ulTotalPublicMemory), 0},
    {jn::kTokenInfoFreePublicMemory, offsetof(CK_TOKEN_INFO, ulFreePublicMemory), 0},
    {jn::kTokenInfoTotalPrivateMemory, offsetof(CK_TOKEN_INFO, ulTotalPrivateMemory), 0},
    {jn::kTokenInfoFreePrivateMemory, offsetof(CK_TOKEN_INFO, ulFreePrivateMemory), 0},
    {jn::kTokenInfoHardwareVersion, offsetof(CK_TOKEN_INFO, hardwareVersion), 0},
    {jn::kTokenInfoFirmwareVersion, offsetof(CK_TOKEN_INFO, firmwareVersion), 0},
    {jn::kTokenInfoUtcTime, offsetof(CK_TOKEN_INFO, utcTime), 16},
};

inline constexpr InfoField kMechanismInfoFields[] = {
    {jn::kMechanismInfoMinKeySize, offsetof(CK_MECHANISM_INFO, ulMinKeySize), 0},
    {jn::kMechanismInfoMaxKeySize, offsetof(CK_MECHANISM_INFO, ulMaxKeySize), 0},
    {jn::kMechanismInfoFlags, offsetof(CK_MECHANISM_INFO, flags), 0},
};

// Only the way into Cryptoki walks this one: the way to Java updates the
// CK_STATE object in place and is written out in copyToJava.
inline constexpr InfoField kSessionInfoFields[] = {
    {jn::kSessionInfoSlotID, offsetof(CK_SESSION_INFO, slotID), 0},
    {jn::kSessionInfoState, offsetof(CK_SESSION_INFO, state), 0},
    {jn::kSessionInfoFlags, offsetof(CK_SESSION_INFO, flags), 0},
    {jn::kSessionInfoDeviceError, offsetof(CK_SESSION_INFO, ulDeviceError), 0},
};

}  // namespace layout

#endif
