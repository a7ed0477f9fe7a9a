// Names of Cryptoki constants for Java: the twelve name natives of class
// CTUtil, over the tables of the utility library (morlin_util.h).
//
// The string natives hand out text that nobody frees (a table's name or the
// utility library's static buffer) through ReturnLongStringToJava, so they
// answer a size query, a short LongRef (CKR_DATA_LEN_RANGE) and a copy as
// every text native does. The value natives read the name into a zeroed
// stack buffer; nothing is allocated on either road.
#include <jni.h>

#include "kaltrix_morlin_CTUtil.h"
#include "morlin/jutil.h"
#include "morlin/values.h"
#include "morlin/wrappers.h"
#include "morlin_util.h"

namespace {

// A null wrapper names itself "null" without a look at the table. Null with
// the exception pending if the wrapper cannot be read.
template <CK_ULONG (*ToCK)(JNIEnv*, jobject), const char* (*Str)(CK_ULONG)>
jobject StringNative(JNIEnv* env, jobject wrapper, jbyteArray bytes, jobject lengthRef) {
    const char* text = "null";
    if (wrapper != nullptr) {
        const CK_ULONG value = ToCK(env, wrapper);
        if (env->ExceptionCheck()) return nullptr;
        text = Str(value);
    }
    return ReturnLongStringToJava(env, text, bytes, lengthRef);
}

// The name is cut at 511 bytes, so the text always ends in NUL; a longer name
// simply matches nothing. No match is not an error: the wrapper then holds
// all ones. A null name answers a CK_RV object of CKR_ARGUMENTS_BAD even where
// the Java result is another wrapper class; Java callers depend on that.
template <CK_ULONG (*Val)(const char*), jobject (*ToJ)(JNIEnv*, CK_ULONG)>
jobject ValueNative(JNIEnv* env, jbyteArray name) {
    if (name == nullptr) return ckRVToJRV(env, CKR_ARGUMENTS_BAD);
    char text[512] = {};
    CopyJByteArrayToCKByteArray(env, name, reinterpret_cast<CK_BYTE_PTR>(text), sizeof text - 1);
    CK_ULONG value = 0;
    if (!env->ExceptionCheck()) value = Val(text);
    if (env->ExceptionCheck()) return nullptr;
    return ToJ(env, value);
}

}  // namespace

extern "C" {

// CK_RV CTU_GetAttributeTypeString(CK_ATTRIBUTE_TYPE type, byte[] buffer, LongRef length):
// strAttribute of type's value into buffer, its length into length.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_CTUtil_CTU_1GetAttributeTypeString(JNIEnv* env, jclass, jobject type,
                                                                                 jbyteArray buffer, jobject length) {
    return StringNative<jAttributeTypeToCKAttributeType, strAttribute>(env, type, buffer, length);
}

// CK_RV CTU_GetErrorString(CK_RV rv, byte[] buffer, LongRef length): strError.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_CTUtil_CTU_1GetErrorString(JNIEnv* env, jclass, jobject rv,
                                                                         jbyteArray buffer, jobject length) {
    return StringNative<jRVToCKRV, strError>(env, rv, buffer, length);
}

// CK_RV CTU_GetKeyTypeString(CK_KEY_TYPE keyType, byte[] buffer, LongRef length): strKeyType.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_CTUtil_CTU_1GetKeyTypeString(JNIEnv* env, jclass, jobject keyType,
                                                                           jbyteArray buffer, jobject length) {
    return StringNative<jKeyTypeToCKKeyType, strKeyType>(env, keyType, buffer, length);
}

// CK_RV CTU_GetMechanismTypeString(CK_MECHANISM_TYPE mechanism, byte[] buffer, LongRef length):
// strMechanism.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_CTUtil_CTU_1GetMechanismTypeString(JNIEnv* env, jclass, jobject mechanism,
                                                                                 jbyteArray buffer, jobject length) {
    return StringNative<jMechanismTypeToCKMechanismType, strMechanism>(env, mechanism, buffer, length);
}

// CK_RV CTU_GetObjectClassString(CK_OBJECT_CLASS objectClass, byte[] buffer, LongRef length):
// strObjClass.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_CTUtil_CTU_1GetObjectClassString(JNIEnv* env, jclass, jobject objectClass,
                                                                               jbyteArray buffer, jobject length) {
    return StringNative<jObjectClassToCKObjectClass, strObjClass>(env, objectClass, buffer, length);
}

// CK_RV CTU_GetSessionStateString(CK_STATE state, byte[] buffer, LongRef length): strSesState.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_CTUtil_CTU_1GetSessionStateString(JNIEnv* env, jclass, jobject state,
                                                                                jbyteArray buffer, jobject length) {
    return StringNative<jStateToCKState, strSesState>(env, state, buffer, length);
}

// CK_ATTRIBUTE_TYPE CTU_GetAttributeTypeValue(byte[] name): valAttribute of the name's bytes.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_CTUtil_CTU_1GetAttributeTypeValue(JNIEnv* env, jclass, jbyteArray name) {
    return ValueNative<valAttribute, ckAttributeTypeToJAttributeType>(env, name);
}

// CK_RV CTU_GetErrorValue(byte[] name): valError; the names are the messages.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_CTUtil_CTU_1GetErrorValue(JNIEnv* env, jclass, jbyteArray name) {
    return ValueNative<valError, ckRVToJRV>(env, name);
}

// CK_KEY_TYPE CTU_GetKeyTypeValue(byte[] name): valKeyType.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_CTUtil_CTU_1GetKeyTypeValue(JNIEnv* env, jclass, jbyteArray name) {
    return ValueNative<valKeyType, ckKeyTypeToJKeyType>(env, name);
}

// CK_MECHANISM_TYPE CTU_GetMechanismTypeValue(byte[] name): valMechanism.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_CTUtil_CTU_1GetMechanismTypeValue(JNIEnv* env, jclass, jbyteArray name) {
    return ValueNative<valMechanism, ckMechanismTypeToJMechanismType>(env, name);
}

// CK_OBJECT_CLASS CTU_GetObjectClassValue(byte[] name): valObjClass.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_CTUtil_CTU_1GetObjectClassValue(JNIEnv* env, jclass, jbyteArray name) {
    return ValueNative<valObjClass, ckObjectClassToJObjectClass>(env, name);
}

// CK_STATE CTU_GetSessionStateValue(byte[] name): valSesState, whose optional
// prefix is "CKM_".
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_CTUtil_CTU_1GetSessionStateValue(JNIEnv* env, jclass, jbyteArray name) {
    return ValueNative<valSesState, ckStateToJState>(env, name);
}

}  // extern "C"
