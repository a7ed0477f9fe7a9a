// In-place copies from Java objects into Cryptoki memory that the caller
// owns already: a structure on its stack, a CK_ATTRIBUTE row whose pValue and
// ulValueLen give a buffer and its capacity, the output fields of a
// mechanism parameter. The way back of copyToJava and of the write-back.
//
// Nothing is allocated for the caller and nothing is reported by a return
// code. A copy writes through the target it is given and never more than the
// length it is given. It ends without a word (target untouched, nothing
// pending) for a null object or target and for an object of another class.
// A Java exception ends it where it happened and stays pending; what was
// written before stays written. The one exception raised here is
// java.lang.UnsupportedOperationException, for a value of no known class.
// CopyJByteArrayToCKByteArray, the byte[] member of the family, is in
// values.h.
#ifndef MORLIN_COPYTOCK_H
#define MORLIN_COPYTOCK_H

#include <jni.h>

#include "cryptoki.h"

// ---- arrays: at most maximum elements, at most the array's length -------------------
// The rest of the target keeps what it held. Null array or target: nothing.

// The long's 64 bits.
void CopyJLongArrayToCKULongArray(JNIEnv* env, jlongArray array, CK_ULONG_PTR target, CK_ULONG maximum);
// Zero-extended, so -1 becomes 0xFFFFFFFF.
void CopyJIntArrayToCKULongArray(JNIEnv* env, jintArray array, CK_ULONG_PTR target, CK_ULONG maximum);
// CK_TRUE only for an element that is exactly 1.
void CopyJBooleanArrayToCKBBoolArray(JNIEnv* env, jbooleanArray array, CK_BBOOL* target, CK_ULONG maximum);
// The low 8 bits of each char.
void CopyJCharArrayToCKCharArray(JNIEnv* env, jcharArray array, CK_CHAR_PTR target, CK_ULONG maximum);

// strncpy of the String's modified UTF-8 into length bytes: a short text is
// padded with NUL bytes, a text of length bytes or more gets no terminator.
void CopyJStringToCKCharArray(JNIEnv* env, jstring string, CK_CHAR_PTR target, CK_ULONG length);

// year at offset 0 (4 bytes), month at offset 0 too (2 bytes, over the
// first digits of the year), day at offset 6 (2 bytes); the month bytes of
// the structure keep what they held. length is not read.
void CopyJDateToCKDate(JNIEnv* env, jobject date, CK_DATE* target, CK_ULONG length);

// count elements, the count alone bounding the loop: a count above the
// array's length ends in the JVM's index exception. A null element stores -1.
void CopyJMechanismTypeArrayToCKMechanismTypeArray(JNIEnv* env, jobjectArray array, CK_MECHANISM_TYPE_PTR target,
                                                   CK_ULONG count);

// A value of any of the 26 value classes into length bytes at buffer. The
// scalars that take a CK_ULONG (Long, Integer, CK_DATE, the wrappers) need
// a length of at least 8 and are not matched below it; the long[] and int[]
// rows take length as an element count. Null value or buffer, or a length
// of 0: nothing, after the class lookups. A class that matches no row
// raises java.lang.UnsupportedOperationException.
void CopyJObjectPrimativeToCKObjectPtr(JNIEnv* env, jobject object, CK_VOID_PTR buffer, CK_ULONG length);

// The type, then the value into the row's own buffer, pValue with capacity
// ulValueLen; then ulValueLen becomes the Java valueLen, whatever was copied.
void CopyJAttributeToCKAttribute(JNIEnv* env, jobject attribute, CK_ATTRIBUTE_PTR row);
// count rows, the count alone bounding the loop, as for mechanism types.
void CopyJAttributeArrayToCKAttributeArray(JNIEnv* env, jobjectArray array, CK_ATTRIBUTE_PTR rows, CK_ULONG count);

void CopyJVersionToCKVersion(JNIEnv* env, jobject version, CK_VERSION_PTR target);

// Every field in the order of the Java class; a byte[] shorter than the
// structure's field leaves that field's tail as it was.
void CopyJInfoToCKInfo(JNIEnv* env, jobject info, CK_INFO_PTR target);
void CopyJMechInfoToCKMechInfo(JNIEnv* env, jobject info, CK_MECHANISM_INFO_PTR target);
void CopyJSessionInfoToCKSessionInfo(JNIEnv* env, jobject info, CK_SESSION_INFO_PTR target);
void CopyJSlotInfoToCKSlotInfo(JNIEnv* env, jobject info, CK_SLOT_INFO_PTR target);
void CopyJTokenInfoToCKTokenInfo(JNIEnv* env, jobject info, CK_TOKEN_INFO_PTR target);

// The output fields of the parameter structure that target->pParameter
// points to, taken from the Java parameter, for the password-based
// mechanisms (the IV), PKCS12_PBE_IMPORT, KEY_WRAP_SET_OAEP,
// SSL3_MASTER_KEY_DERIVE and SSL3_KEY_AND_MAC_DERIVE; the mechanism number
// picks the branch, trusting the structure to match it. Any other number
// copies nothing.
void CopyJMechanismToCKMechanism(JNIEnv* env, jobject mechanism, CK_MECHANISM_PTR target);

#endif
