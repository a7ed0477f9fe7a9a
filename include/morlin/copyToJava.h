// Writes of fixed-shape Cryptoki results into existing Java objects: the
// library, slot, token, mechanism and session information, and CK_VERSION.
//
// A copy ends without a word (nothing written, nothing pending) for a null
// structure, a null object or an object of another class, so that the native
// still reports the token library's CKR_OK. A Java exception ends the copy
// where it happened and stays pending; fields written before it stay written.
#ifndef MORLIN_COPYTOJAVA_H
#define MORLIN_COPYTOJAVA_H

#include <jni.h>

#include <tuple>

#include "cryptoki.h"

// Each field is replaced by a new byte[] or CK_VERSION, or set as a long;
// arrays and versions that the Java object held before are not written into.
void CopyCKInfoToJInfo(JNIEnv* env, const CK_INFO* info, jobject object);
void CopyCKSlotInfoToJSlotInfo(JNIEnv* env, const CK_SLOT_INFO* info, jobject object);
void CopyCKTokenInfoToJTokenInfo(JNIEnv* env, const CK_TOKEN_INFO* info, jobject object);
void CopyCKMechanismInfoToJMechanismInfo(JNIEnv* env, const CK_MECHANISM_INFO* info, jobject object);
// The CK_STATE object in field state keeps its identity and gets the value
// through setValue; a null state field is not caught.
void CopyCKSessionInfoToJSessionInfo(JNIEnv* env, const CK_SESSION_INFO* info, jobject object);

// A new CK_VERSION (no constructor run), or null.
jobject ckVersionPtrToJVersion(JNIEnv* env, const CK_VERSION* version);
// Overwrites major and minor of an existing CK_VERSION.
void CopyCKVersionToJVersion(JNIEnv* env, const CK_VERSION* version, jobject object);

// ---- argument kind of the frames (see frames.h) ------------------------------------
namespace frame {

template <class F>
struct CopiedStruct;
template <class S>
struct CopiedStruct<void (*)(JNIEnv*, const S*, jobject)> {
    using type = S;
};

// A query result: a structure on the frame's stack that the token library
// fills, copied into the caller's object only on CKR_OK. A null object is
// refused before the token library is called.
template <auto Copy>
struct Info {
    jobject object;
    typename CopiedStruct<decltype(Copy)>::type info{};

    bool check() const { return object != nullptr; }
    std::tuple<decltype(&info)> args() { return {&info}; }
    void writeBack(JNIEnv* env, CK_RV rv) {
        if (rv == CKR_OK) Copy(env, &info, object);
    }
};

}  // namespace frame

#endif
