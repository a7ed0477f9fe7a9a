// Writes of Cryptoki results into Java objects, new or existing.
//
// The Copy... operations end without a word (nothing written, nothing
// pending) for a null source, a null object or an object of another class,
// so that the native still reports the token library's answer. A Java
// exception ends the copy where it happened and stays pending; fields
// written before it stay written.
#ifndef MORLIN_COPY_TO_JAVA_H
#define MORLIN_COPY_TO_JAVA_H

#include <jni.h>

#include <cstddef>

#include "cryptoki.h"

// One field of a fixed-shape Cryptoki structure as its Java class shows it.
struct InfoField {
    enum Kind { Bytes, Version, Long };
    const char* name;  // Java field
    Kind kind;         // "[B" of length bytes, CK_VERSION, or "J"
    size_t offset;     // in the Cryptoki structure
    size_t length;     // bytes, for Bytes
};

// The shared shape of the info copies: FindClass, IsInstanceOf, then each
// field in table order into a new byte[] or CK_VERSION, or with SetLongField.
void CopyCKInfoFields(JNIEnv* env, const char* classPath, const void* info, jobject object, const InfoField* fields,
                      size_t count);

void CopyCKInfoToJInfo(JNIEnv* env, const CK_INFO* info, jobject object);

// A new CK_VERSION (no constructor run), or null.
jobject ckVersionPtrToJVersion(JNIEnv* env, const CK_VERSION* version);
// Overwrites major and minor of an existing CK_VERSION.
void CopyCKVersionToJVersion(JNIEnv* env, const CK_VERSION* version, jobject object);

#endif
