// Names of the classes that every family shares: LongRef, the handle and
// enumeration wrappers, CK_VERSION, CK_DATE, the boxed Java values and the
// reflection that GetClassName uses.
#ifndef MORLIN_NAMES_CORE_H
#define MORLIN_NAMES_CORE_H

#include "morlin/javaNames.h"

// Every wrapper keeps its value in m_value, "J" (CK_BBOOL: "Z"); those that
// are updated in place have setValue.
#define MORLIN_NAMES_CORE(CLASS, ABSENT_CLASS, FIELD, METHOD)                      \
    CLASS(LongRef, "kaltrix/morlin/LongRef")                                       \
    FIELD(LongRefValue, LongRef, "value", "J")                                     \
    CLASS(SessionHandle, "kaltrix/morlin/CK_SESSION_HANDLE")                       \
    FIELD(SessionHandleValue, SessionHandle, "m_value", "J")                       \
    CLASS(ObjectHandle, "kaltrix/morlin/CK_OBJECT_HANDLE")                         \
    FIELD(ObjectHandleValue, ObjectHandle, "m_value", "J")                         \
    CLASS(ObjectHandleArray, "[Lkaltrix/morlin/CK_OBJECT_HANDLE;")                 \
    CLASS(BBool, "kaltrix/morlin/CK_BBOOL")                                        \
    FIELD(BBoolValue, BBool, "m_value", "Z")                                       \
    METHOD(BBoolSetValue, BBool, "setValue", "(Z)V")                               \
    CLASS(AttributeType, "kaltrix/morlin/constants/CK_ATTRIBUTE_TYPE")             \
    FIELD(AttributeTypeValue, AttributeType, "m_value", "J")                       \
    CLASS(CertificateType, "kaltrix/morlin/constants/CK_CERTIFICATE_TYPE")         \
    FIELD(CertificateTypeValue, CertificateType, "m_value", "J")                   \
    CLASS(HWFeatureType, "kaltrix/morlin/constants/CK_HW_FEATURE_TYPE")            \
    FIELD(HWFeatureTypeValue, HWFeatureType, "m_value", "J")                       \
    CLASS(KeyType, "kaltrix/morlin/constants/CK_KEY_TYPE")                         \
    FIELD(KeyTypeValue, KeyType, "m_value", "J")                                   \
    CLASS(MechanismType, "kaltrix/morlin/constants/CK_MECHANISM_TYPE")             \
    FIELD(MechanismTypeValue, MechanismType, "m_value", "J")                       \
    METHOD(MechanismTypeSetValue, MechanismType, "setValue", "(J)V")               \
    CLASS(MechanismTypeArray, "[Lkaltrix/morlin/constants/CK_MECHANISM_TYPE;")     \
    CLASS(ObjectClass, "kaltrix/morlin/constants/CK_OBJECT_CLASS")                 \
    FIELD(ObjectClassValue, ObjectClass, "m_value", "J")                           \
    CLASS(OaepSourceType, "kaltrix/morlin/constants/CK_RSA_PKCS_OAEP_SOURCE_TYPE") \
    FIELD(OaepSourceTypeValue, OaepSourceType, "m_value", "J")                     \
    CLASS(RV, "kaltrix/morlin/constants/CK_RV")                                    \
    FIELD(RVValue, RV, "m_value", "J")                                             \
    CLASS(State, "kaltrix/morlin/constants/CK_STATE")                              \
    FIELD(StateValue, State, "m_value", "J")                                       \
    METHOD(StateSetValue, State, "setValue", "(J)V")                               \
    CLASS(UserType, "kaltrix/morlin/constants/CK_USER_TYPE")                       \
    FIELD(UserTypeValue, UserType, "m_value", "J")                                 \
    CLASS(Version, "kaltrix/morlin/CK_VERSION")                                    \
    FIELD(VersionMajor, Version, "major", "B")                                     \
    FIELD(VersionMinor, Version, "minor", "B")                                     \
    CLASS(Date, "kaltrix/morlin/CK_DATE")                                          \
    FIELD(DateYear, Date, "year", "[B")                                            \
    FIELD(DateMonth, Date, "month", "[B")                                          \
    FIELD(DateDay, Date, "day", "[B")                                              \
    CLASS(Long, "java/lang/Long")                                                  \
    METHOD(LongValue, Long, "longValue", "()J")                                    \
    METHOD(LongInit, Long, "<init>", "(J)V")                                       \
    CLASS(Integer, "java/lang/Integer")                                            \
    METHOD(IntegerValue, Integer, "intValue", "()I")                               \
    /* "java/lang/Char" on purpose: no such class exists, so the Character */      \
    /* conversion always ends in the JVM's class-not-found error. Meant. */        \
    ABSENT_CLASS(Char, "java/lang/Char")                                           \
    METHOD(CharValue, Char, "charValue", "()C")                                    \
    CLASS(Byte, "java/lang/Byte")                                                  \
    METHOD(ByteValue, Byte, "byteValue", "()B")                                    \
    CLASS(Boolean, "java/lang/Boolean")                                            \
    METHOD(BooleanValue, Boolean, "booleanValue", "()Z")                           \
    CLASS(Object, "java/lang/Object")                                              \
    METHOD(ObjectGetClass, Object, "getClass", "()Ljava/lang/Class;")              \
    CLASS(ClassClass, "java/lang/Class")                                           \
    METHOD(ClassGetName, ClassClass, "getName", "()Ljava/lang/String;")            \
    CLASS(UnsupportedOperation, "java/lang/UnsupportedOperationException")

MORLIN_JAVA_NAMES(core, MORLIN_NAMES_CORE)

#endif
