// Names of the Java side's classes, fields and methods that the bridge
// touches: the contract with morlin.jar, written once. A native test looks
// up every entry here in a JVM that loads morlin.jar, so a misspelt name
// fails a test rather than a user.
#ifndef MORLIN_JAVA_NAMES_H
#define MORLIN_JAVA_NAMES_H

namespace jn {  // Java names

struct Field {
    const char* name;
    const char* sig;
};

// Every wrapper keeps its value here (signature "J", or "Z" for CK_BBOOL).
inline constexpr const char* kValueField = "m_value";

inline constexpr const char* kLongRef = "kaltrix/morlin/LongRef";
inline constexpr Field kLongRefValue{"value", "J"};

inline constexpr const char* kSessionHandle = "kaltrix/morlin/CK_SESSION_HANDLE";
inline constexpr const char* kObjectHandle = "kaltrix/morlin/CK_OBJECT_HANDLE";
inline constexpr const char* kBBool = "kaltrix/morlin/CK_BBOOL";
inline constexpr const char* kAttributeType = "kaltrix/morlin/constants/CK_ATTRIBUTE_TYPE";
inline constexpr const char* kCertificateType = "kaltrix/morlin/constants/CK_CERTIFICATE_TYPE";
inline constexpr const char* kHWFeatureType = "kaltrix/morlin/constants/CK_HW_FEATURE_TYPE";
inline constexpr const char* kKeyType = "kaltrix/morlin/constants/CK_KEY_TYPE";
inline constexpr const char* kMechanismType = "kaltrix/morlin/constants/CK_MECHANISM_TYPE";
inline constexpr const char* kObjectClass = "kaltrix/morlin/constants/CK_OBJECT_CLASS";
inline constexpr const char* kOaepSourceType = "kaltrix/morlin/constants/CK_RSA_PKCS_OAEP_SOURCE_TYPE";
inline constexpr const char* kRV = "kaltrix/morlin/constants/CK_RV";
inline constexpr const char* kState = "kaltrix/morlin/constants/CK_STATE";
inline constexpr const char* kUserType = "kaltrix/morlin/constants/CK_USER_TYPE";

inline constexpr const char* kSetValue = "setValue";
inline constexpr const char* kSetLongValueSig = "(J)V";
inline constexpr const char* kSetBoolValueSig = "(Z)V";

inline constexpr const char* kVersion = "kaltrix/morlin/CK_VERSION";
inline constexpr Field kVersionMajor{"major", "B"};
inline constexpr Field kVersionMinor{"minor", "B"};
inline constexpr const char* kVersionSig = "Lkaltrix/morlin/CK_VERSION;";

inline constexpr const char* kInfo = "kaltrix/morlin/CK_INFO";
inline constexpr Field kInfoCryptokiVersion{"cryptokiVersion", kVersionSig};
inline constexpr Field kInfoManufacturerID{"manufacturerID", "[B"};
inline constexpr Field kInfoFlags{"flags", "J"};
inline constexpr Field kInfoLibraryDescription{"libraryDescription", "[B"};
inline constexpr Field kInfoLibraryVersion{"libraryVersion", kVersionSig};

inline constexpr const char* kInitArgs = "kaltrix/morlin/CK_C_INITIALIZE_ARGS";
inline constexpr Field kInitArgsFlags{"flags", "J"};
inline constexpr Field kInitArgsReserved{"reserved", "Ljava/lang/Object;"};

// One row per mutex callback: the field of CK_C_INITIALIZE_ARGS, the nested
// interface it holds, and the interface's method.
struct MutexCallback {
    Field field;
    const char* iface;
    const char* method;
    const char* methodSig;
};
inline constexpr MutexCallback kCreateMutex{{"createMutex", "Lkaltrix/morlin/CK_C_INITIALIZE_ARGS$CK_CREATEMUTEX;"},
                                            "kaltrix/morlin/CK_C_INITIALIZE_ARGS$CK_CREATEMUTEX",
                                            "CreateMutex",
                                            "()Ljava/lang/Object;"};
inline constexpr MutexCallback kDestroyMutex{{"destroyMutex", "Lkaltrix/morlin/CK_C_INITIALIZE_ARGS$CK_DESTROYMUTEX;"},
                                             "kaltrix/morlin/CK_C_INITIALIZE_ARGS$CK_DESTROYMUTEX",
                                             "DestroyMutex",
                                             "(Ljava/lang/Object;)J"};
inline constexpr MutexCallback kLockMutex{{"lockMutex", "Lkaltrix/morlin/CK_C_INITIALIZE_ARGS$CK_LOCKMUTEX;"},
                                          "kaltrix/morlin/CK_C_INITIALIZE_ARGS$CK_LOCKMUTEX",
                                          "LockMutex",
                                          "(Ljava/lang/Object;)J"};
inline constexpr MutexCallback kUnlockMutex{{"unlockMutex", "Lkaltrix/morlin/CK_C_INITIALIZE_ARGS$CK_UNLOCKMUTEX;"},
                                            "kaltrix/morlin/CK_C_INITIALIZE_ARGS$CK_UNLOCKMUTEX",
                                            "UnlockMutex",
                                            "(Ljava/lang/Object;)J"};

// ---- plain values --------------------------------------------------------------

inline constexpr const char* kDate = "kaltrix/morlin/CK_DATE";
inline constexpr Field kDateYear{"year", "[B"};
inline constexpr Field kDateMonth{"month", "[B"};
inline constexpr Field kDateDay{"day", "[B"};

inline constexpr const char* kObjectHandleArray = "[Lkaltrix/morlin/CK_OBJECT_HANDLE;";
inline constexpr const char* kMechanismTypeArray = "[Lkaltrix/morlin/constants/CK_MECHANISM_TYPE;";

// A boxed Java value and the method that unboxes it.
struct Boxed {
    const char* cls;
    const char* method;
    const char* methodSig;
};
inline constexpr Boxed kBoxedLong{"java/lang/Long", "longValue", "()J"};
inline constexpr Boxed kBoxedInteger{"java/lang/Integer", "intValue", "()I"};
// "java/lang/Char" on purpose: no such class exists, so this conversion always
// ends in the JVM's class-not-found error. Not to be corrected.
inline constexpr Boxed kBoxedChar{"java/lang/Char", "charValue", "()C"};
inline constexpr Boxed kBoxedByte{"java/lang/Byte", "byteValue", "()B"};
inline constexpr Boxed kBoxedBoolean{"java/lang/Boolean", "booleanValue", "()Z"};
inline constexpr const char* kConstructor = "<init>";
inline constexpr const char* kLongConstructorSig = "(J)V";

// ---- slot, token, mechanism and session information -------------------------

inline constexpr const char* kSlotInfo = "kaltrix/morlin/CK_SLOT_INFO";
inline constexpr Field kSlotInfoSlotDescription{"slotDescription", "[B"};
inline constexpr Field kSlotInfoManufacturerID{"manufacturerID", "[B"};
inline constexpr Field kSlotInfoFlags{"flags", "J"};
inline constexpr Field kSlotInfoHardwareVersion{"hardwareVersion", kVersionSig};
inline constexpr Field kSlotInfoFirmwareVersion{"firmwareVersion", kVersionSig};

inline constexpr const char* kTokenInfo = "kaltrix/morlin/CK_TOKEN_INFO";
inline constexpr Field kTokenInfoLabel{"label", "[B"};
inline constexpr Field kTokenInfoManufacturerID{"manufacturerID", "[B"};
inline constexpr Field kTokenInfoModel{"model", "[B"};
inline constexpr Field kTokenInfoSerialNumber{"serialNumber", "[B"};
inline constexpr Field kTokenInfoFlags{"flags", "J"};
inline constexpr Field kTokenInfoMaxSessionCount{"maxSessionCount", "J"};
inline constexpr Field kTokenInfoSessionCount{"sessionCount", "J"};
inline constexpr Field kTokenInfoMaxRwSessionCount{"maxRwSessionCount", "J"};
inline constexpr Field kTokenInfoRwSessionCount{"rwSessionCount", "J"};
inline constexpr Field kTokenInfoMaxPinLen{"maxPinLen", "J"};
inline constexpr Field kTokenInfoMinPinLen{"minPinLen", "J"};
inline constexpr Field kTokenInfoTotalPublicMemory{"totalPublicMemory", "J"};
inline constexpr Field kTokenInfoFreePublicMemory{"freePublicMemory", "J"};
inline constexpr Field kTokenInfoTotalPrivateMemory{"totalPrivateMemory", "J"};
inline constexpr Field kTokenInfoFreePrivateMemory{"freePrivateMemory", "J"};
inline constexpr Field kTokenInfoHardwareVersion{"hardwareVersion", kVersionSig};
inline constexpr Field kTokenInfoFirmwareVersion{"firmwareVersion", kVersionSig};
inline constexpr Field kTokenInfoUtcTime{"utcTime", "[B"};

inline constexpr const char* kMechanismInfo = "kaltrix/morlin/CK_MECHANISM_INFO";
inline constexpr Field kMechanismInfoMinKeySize{"minKeySize", "J"};
inline constexpr Field kMechanismInfoMaxKeySize{"maxKeySize", "J"};
inline constexpr Field kMechanismInfoFlags{"flags", "J"};

inline constexpr const char* kSessionInfo = "kaltrix/morlin/CK_SESSION_INFO";
inline constexpr Field kSessionInfoSlotID{"slotID", "J"};
inline constexpr Field kSessionInfoState{"state", "Lkaltrix/morlin/constants/CK_STATE;"};
inline constexpr Field kSessionInfoFlags{"flags", "J"};
inline constexpr Field kSessionInfoDeviceError{"deviceError", "J"};

inline constexpr const char* kObject = "java/lang/Object";
inline constexpr const char* kClass = "java/lang/Class";
inline constexpr const char* kGetClass = "getClass";
inline constexpr const char* kGetClassSig = "()Ljava/lang/Class;";
inline constexpr const char* kGetName = "getName";
inline constexpr const char* kGetNameSig = "()Ljava/lang/String;";

}  // namespace jn

#endif
