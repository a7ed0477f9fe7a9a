// The fixed-shape results of the slot, token, mechanism and session queries:
// their fields in the order of the Java classes, and the copies into Java.
// A copy ends without a word for a null structure, a null object or an
// object of another class, so that the native reports CKR_OK with nothing
// written; the first Java exception ends it, leaving earlier fields written.
#ifndef MORLIN_INFOS_H
#define MORLIN_INFOS_H

#include <jni.h>

#include <cstddef>

#include "cryptoki.h"
#include "morlin/copy_to_java.h"
#include "morlin/java_names.h"

inline constexpr InfoField kSlotInfoFields[] = {
    {jn::kSlotInfoSlotDescription.name, InfoField::Bytes, offsetof(CK_SLOT_INFO, slotDescription), 64},
    {jn::kSlotInfoManufacturerID.name, InfoField::Bytes, offsetof(CK_SLOT_INFO, manufacturerID), 32},
    {jn::kSlotInfoFlags.name, InfoField::Long, offsetof(CK_SLOT_INFO, flags), 0},
    {jn::kSlotInfoHardwareVersion.name, InfoField::Version, offsetof(CK_SLOT_INFO, hardwareVersion), 0},
    {jn::kSlotInfoFirmwareVersion.name, InfoField::Version, offsetof(CK_SLOT_INFO, firmwareVersion), 0},
};

inline constexpr InfoField kTokenInfoFields[] = {
    {jn::kTokenInfoLabel.name, InfoField::Bytes, offsetof(CK_TOKEN_INFO, label), 32},
    {jn::kTokenInfoManufacturerID.name, InfoField::Bytes, offsetof(CK_TOKEN_INFO, manufacturerID), 32},
    {jn::kTokenInfoModel.name, InfoField::Bytes, offsetof(CK_TOKEN_INFO, model), 16},
    {jn::kTokenInfoSerialNumber.name, InfoField::Bytes, offsetof(CK_TOKEN_INFO, serialNumber), 16},
    {jn::kTokenInfoFlags.name, InfoField::Long, offsetof(CK_TOKEN_INFO, flags), 0},
    {jn::kTokenInfoMaxSessionCount.name, InfoField::Long, offsetof(CK_TOKEN_INFO, ulMaxSessionCount), 0},
    {jn::kTokenInfoSessionCount.name, InfoField::Long, offsetof(CK_TOKEN_INFO, ulSessionCount), 0},
    {jn::kTokenInfoMaxRwSessionCount.name, InfoField::Long, offsetof(CK_TOKEN_INFO, ulMaxRwSessionCount), 0},
    {jn::kTokenInfoRwSessionCount.name, InfoField::Long, offsetof(CK_TOKEN_INFO, ulRwSessionCount), 0},
    {jn::kTokenInfoMaxPinLen.name, InfoField::Long, offsetof(CK_TOKEN_INFO, ulMaxPinLen), 0},
    {jn::kTokenInfoMinPinLen.name, InfoField::Long, offsetof(CK_TOKEN_INFO, ulMinPinLen), 0},
    {jn::kTokenInfoTotalPublicMemory.name, InfoField::Long, offsetof(CK_TOKEN_INFO, ulTotalPublicMemory), 0},
    {jn::kTokenInfoFreePublicMemory.name, InfoField::Long, offsetof(CK_TOKEN_INFO, ulFreePublicMemory), 0},
    {jn::kTokenInfoTotalPrivateMemory.name, InfoField::Long, offsetof(CK_TOKEN_INFO, ulTotalPrivateMemory), 0},
    {jn::kTokenInfoFreePrivateMemory.name, InfoField::Long, offsetof(CK_TOKEN_INFO, ulFreePrivateMemory), 0},
    {jn::kTokenInfoHardwareVersion.name, InfoField::Version, offsetof(CK_TOKEN_INFO, hardwareVersion), 0},
    {jn::kTokenInfoFirmwareVersion.name, InfoField::Version, offsetof(CK_TOKEN_INFO, firmwareVersion), 0},
    {jn::kTokenInfoUtcTime.name, InfoField::Bytes, offsetof(CK_TOKEN_INFO, utcTime), 16},
};

inline constexpr InfoField kMechanismInfoFields[] = {
    {jn::kMechanismInfoMinKeySize.name, InfoField::Long, offsetof(CK_MECHANISM_INFO, ulMinKeySize), 0},
    {jn::kMechanismInfoMaxKeySize.name, InfoField::Long, offsetof(CK_MECHANISM_INFO, ulMaxKeySize), 0},
    {jn::kMechanismInfoFlags.name, InfoField::Long, offsetof(CK_MECHANISM_INFO, flags), 0},
};

// Each field is replaced by a new byte[] or CK_VERSION, or set as a long.
void CopyCKSlotInfoToJSlotInfo(JNIEnv* env, const CK_SLOT_INFO* info, jobject object);
void CopyCKTokenInfoToJTokenInfo(JNIEnv* env, const CK_TOKEN_INFO* info, jobject object);
void CopyCKMechanismInfoToJMechanismInfo(JNIEnv* env, const CK_MECHANISM_INFO* info, jobject object);
// The CK_STATE object in field state keeps its identity and gets the value
// through setValue; a null state field is not caught.
void CopyCKSessionInfoToJSessionInfo(JNIEnv* env, const CK_SESSION_INFO* info, jobject object);

#endif
