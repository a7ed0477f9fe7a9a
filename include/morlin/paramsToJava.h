// CK_MECHANISM from Cryptoki to a new Java CK_MECHANISM, with a new Java
// parameter object. With no Java class to look at, the parameter's form is
// chosen by the mechanism number and the parameter length together; a
// parameter that no row knows reaches Java as the raw bytes of its
// structure, pointers included.
//
// Every object is built from nothing with AllocObject (no constructor runs,
// but for java.lang.Long), and each JNI call is followed by ExceptionCheck.
// A pending exception gives null and stays pending; nothing here throws,
// clears an exception or frees memory: the Cryptoki structure stays with the
// caller and the Java objects hold copies.
#ifndef MORLIN_PARAMSTOJAVA_H
#define MORLIN_PARAMSTOJAVA_H

#include <jni.h>

#include "cryptoki.h"

// A new CK_MECHANISM, or null for a null mechanism or with an exception
// pending. parameterLen is ulParameterLen as it stands, set last and
// unchecked.
jobject ckMechanismToJMechanism(JNIEnv* env, const CK_MECHANISM* mechanism);

// The parameter as a new Java object: the class of the row that matches both
// number and length exactly, else a byte[] of ulParameterLen bytes. Null for
// a null mechanism or a null pParameter, and with an exception pending.
jobject ckMechanismParameterToJMechanismParameter(JNIEnv* env, const CK_MECHANISM* mechanism);

// A new CK_SSL3_RANDOM_DATA; null for a null pointer.
jobject ckSsl3RandomDataPtrToJSsl3RandomData(JNIEnv* env, const CK_SSL3_RANDOM_DATA* randomData);

// A new CK_SSL3_KEY_MAT_OUT with its four handles and the two IVs, each of
// ivSizeInBits >> 3 bytes (rounded down: 12 bits give one byte); null for a
// null pointer.
jobject ckSsl3KeyMatOutPtrToJSsl3KeyMatOut(JNIEnv* env, const CK_SSL3_KEY_MAT_OUT* keyMatOut, CK_ULONG ivSizeInBits);

#endif
