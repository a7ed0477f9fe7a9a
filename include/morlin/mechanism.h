// CK_MECHANISM between Java and Cryptoki: the conversion, its release, the
// write-back of what the token library put into a parameter, and the
// argument kinds that carry a mechanism through the frames.
#ifndef MORLIN_MECHANISM_H
#define MORLIN_MECHANISM_H

#include <jni.h>

#include <tuple>

#include "cryptoki.h"

// The mechanism of a non-null Java CK_MECHANISM; meaningful only with no
// exception pending afterwards. The parameter's length is always the Java
// parameterLen. The caller owns pParameter.
CK_MECHANISM jMechanismToCKMechanism(JNIEnv* env, jobject mechanism);
// Releases the parameter by the Java parameter's class, found again. Does
// nothing with an exception pending, or for a null Java parameter.
void FreeCKMechanismParameter(JNIEnv* env, jobject mechanism, CK_MECHANISM_PTR converted);
// Copies into the Java parameter what the token library wrote into the
// Cryptoki one, by the mechanism number; only the mechanisms that return
// something through their parameter have a branch.
void CopyCKMechanismToJMechanism(JNIEnv* env, CK_MECHANISM_PTR converted, jobject mechanism);

// ---- argument kinds of the frames (see frames.h) -----------------------------------
namespace frame {

// A mechanism, refused when null. Released only when its type was read
// non-zero: the type marks that the conversion got that far, so a
// parameter given with mechanism number 0 is never released. With an
// exception pending the release keeps the parameter, as it must.
struct Mechanism {
    jobject object;
    CK_MECHANISM mechanism{0, nullptr, 0};

    bool check() const { return object != nullptr; }
    bool convert(JNIEnv* env) {
        mechanism = jMechanismToCKMechanism(env, object);
        return !env->ExceptionCheck();
    }
    std::tuple<CK_MECHANISM_PTR> args() { return {&mechanism}; }
    void release(JNIEnv* env) {
        if (mechanism.mechanism != 0) FreeCKMechanismParameter(env, object, &mechanism);
    }
};

// A mechanism whose parameter may carry results back: copied into the Java
// parameter on CKR_OK, after the native's own outputs.
struct OutMechanism : Mechanism {
    static constexpr int kWriteBackPhase = 1;
    void writeBack(JNIEnv* env, CK_RV rv) {
        if (rv == CKR_OK) CopyCKMechanismToJMechanism(env, &mechanism, object);
    }
};

}  // namespace frame

#endif
