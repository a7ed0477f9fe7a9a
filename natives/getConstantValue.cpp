// GetConstantValue of class kaltrix.morlin.constants.CK: the one constant
// that CK cannot hold as a Java literal of its own, CK_UNAVAILABLE_INFORMATION,
// whose width follows CK_ULONG. Any other name is refused with
// java.lang.UnsupportedOperationException; nothing else is ever thrown here.
#include <jni.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "kaltrix_morlin_constants_CK.h"
#include "morlin/names/core.h"

extern "C" {

// long GetConstantValue(String name): all ones for "UNAVAILABLE_INFORMATION",
// else 0 with the exception pending. Entered with an exception pending, it
// returns 0 and touches nothing.
JNIEXPORT jlong JNICALL Java_kaltrix_morlin_constants_CK_GetConstantValue(JNIEnv* env, jclass, jstring name) {
    if (env->ExceptionCheck()) return 0;
    const char* chars = env->GetStringUTFChars(name, nullptr);
    if (env->ExceptionCheck()) return 0;
    // Equal over the terminator too: a longer name does not match.
    static const char kUnavailable[] = "UNAVAILABLE_INFORMATION";
    if (strncmp(chars, kUnavailable, sizeof kUnavailable) == 0) {
        env->ReleaseStringUTFChars(name, chars);
        return -1;
    }
    jclass unsupported = env->FindClass(jn::kUnsupportedOperation.path);
    if (env->ExceptionCheck()) {
        env->ReleaseStringUTFChars(name, chars);
        return 0;
    }
    static const char kFormat[] = "Constant %s not recognized";
    const size_t size = strlen(chars) + 27;  // room for the format's own text and NUL
    char* message = static_cast<char*>(malloc(size));
    snprintf(message, size, kFormat, chars);
    env->ReleaseStringUTFChars(name, chars);
    env->ThrowNew(unsupported, message);
    free(message);
    return 0;
}

}  // extern "C"
