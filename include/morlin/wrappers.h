// Handle and enumeration wrappers: one Java object with a field m_value for
// every Cryptoki handle, enumeration and CK_BBOOL.
//
// Wrapper to scalar: the class's failure value when the object is of
// another class or an exception is pending (which stays pending). Null is an
// instance of every class to the JVM, so a null wrapper reads as -1 through
// GetLongField for every numeric class, the handles included.
// Scalar to wrapper: a new local reference made with AllocObject (no
// constructor runs), or null with the exception pending.
#ifndef MORLIN_WRAPPERS_H
#define MORLIN_WRAPPERS_H

#include <jni.h>

#include <tuple>

#include "cryptoki.h"

// The twelve numeric wrapper classes, in one table (see wrappers.cpp).
enum class Wrapper {
    SessionHandle,
    ObjectHandle,
    AttributeType,
    CertificateType,
    HWFeatureType,
    KeyType,
    MechanismType,
    ObjectClass,
    RsaPkcsOaepSourceType,
    RV,
    State,
    UserType,
};

// The two directions, once for all numeric classes.
CK_ULONG jWrapperToCKULong(JNIEnv* env, Wrapper kind, jobject object);
jobject ckULongToJWrapper(JNIEnv* env, Wrapper kind, CK_ULONG value);
// The Java class path of a wrapper kind.
const char* WrapperClassPath(Wrapper kind);

// The named conversions, each one row of the table.
#define MORLIN_WRAPPER_PAIRS(X)                                                                                       \
    X(SessionHandle, CK_SESSION_HANDLE, jSessionHandleToCKSessionHandle, ckSessionHandleToJSessionHandle)             \
    X(ObjectHandle, CK_OBJECT_HANDLE, jObjectHandleToCKObjectHandle, ckObjectHandleToJObjectHandle)                   \
    X(AttributeType, CK_ATTRIBUTE_TYPE, jAttributeTypeToCKAttributeType, ckAttributeTypeToJAttributeType)             \
    X(CertificateType, CK_CERTIFICATE_TYPE, jCertificateTypeToCKCertificateType, ckCertificateTypeToJCertificateType) \
    X(HWFeatureType, CK_HW_FEATURE_TYPE, jHWFeatureTypeToCKHWFeatureType, ckHWFeatureTypeToJHWFeatureType)            \
    X(KeyType, CK_KEY_TYPE, jKeyTypeToCKKeyType, ckKeyTypeToJKeyType)                                                 \
    X(MechanismType, CK_MECHANISM_TYPE, jMechanismTypeToCKMechanismType, ckMechanismTypeToJMechanismType)             \
    X(ObjectClass, CK_OBJECT_CLASS, jObjectClassToCKObjectClass, ckObjectClassToJObjectClass)                         \
    X(RsaPkcsOaepSourceType, CK_RSA_PKCS_OAEP_SOURCE_TYPE, jRsaPkcsOaepSourceTypeToCKRsaPkcsOaepSourceType,           \
      ckRsaPkcsOaepSourceTypeToJRsaPkcsOaepSourceType)                                                                \
    X(RV, CK_RV, jRVToCKRV, ckRVToJRV)                                                                                \
    X(State, CK_STATE, jStateToCKState, ckStateToJState)                                                              \
    X(UserType, CK_USER_TYPE, jUserTypeToCKUserType, ckUserTypeToJUserType)

#define MORLIN_DECLARE_WRAPPER_PAIR_(kind, type, toCK, toJ)                                                 \
    inline type toCK(JNIEnv* env, jobject object) { return jWrapperToCKULong(env, Wrapper::kind, object); } \
    inline jobject toJ(JNIEnv* env, type value) { return ckULongToJWrapper(env, Wrapper::kind, value); }
MORLIN_WRAPPER_PAIRS(MORLIN_DECLARE_WRAPPER_PAIR_)
#undef MORLIN_DECLARE_WRAPPER_PAIR_

// CK_BBOOL: field m_value of signature "Z". 1 only if the field is exactly 1
// and nothing is pending, else 0; callers pass non-null objects only.
CK_BBOOL jBBoolToCKBBool(JNIEnv* env, jobject object);
// Through setValue(Z)V: true only for exactly 1, so 2 reads as false.
jobject ckBBoolToJBBool(JNIEnv* env, CK_BBOOL value);

// ---- argument kinds of the frames (see frames.h) -----------------------------------
namespace frame {

// A wrapper argument converted by its row; no check, since a null or
// wrong-class wrapper is data for the token library to judge.
template <CK_ULONG (*ToCK)(JNIEnv*, jobject)>
struct WrapperArg {
    jobject object;
    CK_ULONG value = 0;

    bool convert(JNIEnv* env) {
        value = ToCK(env, object);
        return !env->ExceptionCheck();
    }
    std::tuple<CK_ULONG> args() const { return {value}; }
};

using Session = WrapperArg<jSessionHandleToCKSessionHandle>;
using Object = WrapperArg<jObjectHandleToCKObjectHandle>;
using UserType = WrapperArg<jUserTypeToCKUserType>;
using MechType = WrapperArg<jMechanismTypeToCKMechanismType>;

}  // namespace frame

#endif
