// The utility library's object and curve helpers for Java, class CTUtil:
// one object found by class and label, one attribute read or written
// without a template, and the DER of a named curve (morlin_util.h).
//
// The first three are frames over a utility call, as the Cryptoki natives
// are over a token function; the curve encoder calls no token function and
// has no answer of its own, so it is written out.
#include <jni.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <tuple>

#include "cryptoki.h"
#include "kaltrix_morlin_CTUtil.h"
#include "morlin/attributes.h"
#include "morlin/frames.h"
#include "morlin/jutil.h"
#include "morlin/values.h"
#include "morlin/wrappers.h"
#include "morlin_util.h"

using namespace frame;

namespace {

// The object class and the label as one conversion: the label's length is
// read at once after the class, and one ExceptionCheck covers both. The
// label is not tested for null. Its bytes go into a zeroed block one byte
// longer, so that the text ends in NUL behind them (an embedded zero byte
// ends it early). Nobody frees that block: every find that gets this far
// leaves it behind.
struct ClassAndLabel {
    jobject objectClass;
    jbyteArray label;
    CK_OBJECT_CLASS value = 0;
    CK_BYTE_PTR text = nullptr;

    bool convert(JNIEnv* env) {
        value = jObjectClassToCKObjectClass(env, objectClass);
        const jsize length = env->GetArrayLength(label);
        if (env->ExceptionCheck()) return false;
        const CK_ULONG size = static_cast<CK_ULONG>(length) + 1;
        text = static_cast<CK_BYTE_PTR>(calloc(size, 1));
        // A failed calloc leaves text null, which CT_OpenObject refuses.
        CopyJByteArrayToCKByteArray(env, label, text, size);
        return !env->ExceptionCheck();
    }
    std::tuple<CK_OBJECT_CLASS, const char*> args() const { return {value, reinterpret_cast<const char*>(text)}; }
};

// A Java value as one heap block, with the length it computed dropped: the
// length that goes with it comes from Java.
struct ValueBlock {
    jobject value;
    CK_VOID_PTR block = nullptr;

    bool convert(JNIEnv* env) {
        CK_ULONG computed = 0;
        jObjectToPrimitiveCKObjectPtrPtr(env, value, &block, &computed);
        return !env->ExceptionCheck();
    }
    std::tuple<CK_VOID_PTR> args() const { return {block}; }
    void release(JNIEnv*) { free(block); }
};

// The value that receives an attribute, the size Java gives for it and the
// LongRef for its length. The block starts with the value's own contents;
// maxLen is not compared with it. Only on CKR_OK are the length and then
// the value written back, so a short maxLen writes nothing.
struct AttributeInto {
    jobject value;
    jlong maxLen;
    jobject lengthRef;
    jclass cls = nullptr;
    ValueBlock block{value};
    CK_ULONG length = 0;

    bool prepare(JNIEnv* env) {
        cls = env->FindClass(jn::kLongRef.path);
        return !env->ExceptionCheck();
    }
    bool check() const { return lengthRef != nullptr; }
    bool convert(JNIEnv* env) { return block.convert(env); }
    std::tuple<CK_VOID_PTR, CK_ULONG, CK_ULONG_PTR> args() {
        return {block.block, static_cast<CK_ULONG>(maxLen), &length};
    }
    void writeBack(JNIEnv* env, CK_RV rv) {
        if (rv != CKR_OK) return;
        SetLongField(env, cls, lengthRef, jn::kLongRefValue, static_cast<jlong>(length));
        if (env->ExceptionCheck()) return;
        CopyCKObjectPtrToJObjectPrimitive(env, block.block, length, value);
    }
    void release(JNIEnv* env) { block.release(env); }
};

using AttributeType = WrapperArg<jAttributeTypeToCKAttributeType>;

// The encoding of a named curve, written back by the numbers alone; see
// CTU_DerEncodeNamedCurve below.
jobject DerEncodeNamedCurve(JNIEnv* env, jbyteArray curveName, jbyteArray der, jobject derLen) {
    CK_BYTE_PTR nameCopy = nullptr;
    CK_ULONG nameLength = 0;
    CK_BYTE_PTR derCopy = nullptr;
    CK_ULONG length = 0;
    char* name = nullptr;
    jclass cls = env->FindClass(jn::kLongRef.path);
    if (env->ExceptionCheck()) return nullptr;
    jByteArrayToCKByteArray(env, curveName, &nameCopy, &nameLength);
    if (!env->ExceptionCheck() && nameCopy != nullptr) {
        // Ten bytes more than the NUL needs, which nothing uses.
        name = static_cast<char*>(malloc(nameLength + 10));
        if (name != nullptr && !env->ExceptionCheck()) {
            memcpy(name, nameCopy, nameLength);
            name[nameLength] = '\0';
            if (der == nullptr) {
                CT_DerEncodeNamedCurve(nullptr, &length, name);
                SetLongField(env, cls, derLen, jn::kLongRefValue, static_cast<jlong>(length));
            } else {
                CK_ULONG measured = 0;
                jByteArrayToCKByteArray(env, der, &derCopy, &measured);
                jlong value = 0;
                if (!env->ExceptionCheck()) value = GetLongField(env, cls, derLen, jn::kLongRefValue);
                if (!env->ExceptionCheck()) {
                    // Compared as Java ints: a value below the array's length
                    // only gets that length back, with no encoding.
                    if (static_cast<int32_t>(value) < static_cast<int32_t>(measured)) {
                        SetLongField(env, cls, derLen, jn::kLongRefValue, static_cast<jlong>(measured));
                    } else {
                        length = measured;
                        CT_DerEncodeNamedCurve(derCopy, &length, name);
                        CopyCKByteArrayToJByteArray(env, derCopy, length, der);
                        if (!env->ExceptionCheck())
                            SetLongField(env, cls, derLen, jn::kLongRefValue, static_cast<jlong>(length));
                    }
                }
            }
        }
    }
    free(derCopy);
    free(name);
    free(nameCopy);
    return Finish(env, CKR_OK);
}

}  // namespace

extern "C" {

// CK_RV CTU_FindObject(CK_SESSION_HANDLE session, CK_OBJECT_CLASS
// objectClass, byte[] label, CK_OBJECT_HANDLE object): CT_OpenObject; the
// handle into object on CKR_OK only.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_CTUtil_CTU_1FindObject(JNIEnv* env, jclass, jobject session,
                                                                     jobject objectClass, jbyteArray label,
                                                                     jobject object) {
    return Call<CT_OpenObject>(env, Session{session}, ClassAndLabel{objectClass, label},
                               OutLong{jn::kObjectHandleValue, object});
}

// CK_RV CTU_GetAttributeValue(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE
// object, CK_ATTRIBUTE_TYPE type, Object value, long maxLen, LongRef
// valueLen): GetAttr with maxLen as the buffer's size.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_CTUtil_CTU_1GetAttributeValue(JNIEnv* env, jclass, jobject session,
                                                                            jobject object, jobject type,
                                                                            jobject value, jlong maxLen,
                                                                            jobject valueLen) {
    return Call<GetAttr>(env, Session{session}, Object{object}, AttributeType{type},
                         AttributeInto{value, maxLen, valueLen});
}

// CK_RV CTU_SetAttributeValue(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE
// object, CK_ATTRIBUTE_TYPE type, Object value, long valueLen): SetAttr
// with the Java valueLen; nothing is looked up or refused first.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_CTUtil_CTU_1SetAttributeValue(JNIEnv* env, jclass, jobject session,
                                                                            jobject object, jobject type,
                                                                            jobject value, jlong valueLen) {
    return Call<SetAttr>(env, Session{session}, Object{object}, AttributeType{type}, ValueBlock{value}, valueLen);
}

// CK_RV CTU_DerEncodeNamedCurve(byte[] curveName, byte[] der, LongRef
// derLen): always CKR_OK, or null with an exception pending. A null or empty
// curveName does nothing. A null der stores the encoding's length. Else a
// derLen.value below der's length (as Java ints) only gets that length back;
// otherwise the encoder works on a copy of der, the copy goes back into der
// and the encoder's length into derLen. An array too small keeps its bytes
// and gets the length needed; an unknown curve keeps everything but the
// length, which stays the array's length.
JNIEXPORT jobject JNICALL Java_kaltrix_morlin_CTUtil_CTU_1DerEncodeNamedCurve(JNIEnv* env, jclass,
                                                                              jbyteArray curveName, jbyteArray der,
                                                                              jobject derLen) {
    return DerEncodeNamedCurve(env, curveName, der, derLen);
}

}  // extern "C"
