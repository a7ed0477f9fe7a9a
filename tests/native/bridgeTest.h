// Shared pieces of the native tests: the entry points under test (from the
// JNI headers that javac writes), the fixture that resets the fake token,
// and small makers and readers of the Java side's objects.
#ifndef MORLIN_TESTS_BRIDGETEST_H
#define MORLIN_TESTS_BRIDGETEST_H

#include <gtest/gtest.h>
#include <jni.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "cryptoki.h"
#include "fakeCryptoki.h"
#include "jniMonitor.h"
#include "jvm.h"
#include "kaltrix_morlin_CTUtil.h"
#include "kaltrix_morlin_Cryptoki.h"
#include "kaltrix_morlin_constants_CK.h"
#include "morlin/names/attributes.h"
#include "morlin/names/core.h"
#include "morlin/names/infos.h"
#include "morlin/names/params.h"

namespace morlin_test {

// A structure whose byte i is 151 i + 7 (mod 256): every field holds a value
// of its own, so a field copied from or to the wrong place shows.
template <class S>
S Distinct() {
    static_assert(sizeof(S) <= 256, "bytes would repeat");
    S s;
    auto* p = reinterpret_cast<unsigned char*>(&s);
    for (size_t i = 0; i < sizeof s; ++i) p[i] = static_cast<unsigned char>(i * 151 + 7);
    return s;
}

class BridgeTest : public JniTest {
protected:
    void SetUp() override {
        JniTest::SetUp();
        fake::reset();
    }

    // A wrapper of the class with m_value set, built as the bridge builds them.
    jobject wrapper(const jn::Class& cls, jlong value) {
        jobject o = allocObject(cls.path);
        setLong(o, "m_value", value);
        return o;
    }
    jobject session(jlong h) { return wrapper(jn::kSessionHandle, h); }
    jobject handle(jlong h) { return wrapper(jn::kObjectHandle, h); }
    jobject longRef(jlong v) {
        jobject o = allocObject(jn::kLongRef.path);
        setLong(o, "value", v);
        return o;
    }
    // An array of the class filled with wrappers holding the values.
    jobjectArray wrappers(const jn::Class& cls, std::initializer_list<jlong> values) {
        std::vector<jobject> elements;
        for (jlong v : values) elements.push_back(wrapper(cls, v));
        return makeObjects(cls.path, elements);
    }
    // The m_value of every element.
    std::vector<jlong> values(jobjectArray array) {
        std::vector<jlong> out;
        for (jobject element : readObjects(array)) out.push_back(getLong(element, "m_value"));
        return out;
    }

    // A fresh boxed value made by its constructor, never a cached instance:
    // tests write into some of them.
    jobject boxed(const jn::Class& cls, const char* constructor, jvalue value) {
        jclass c = findClass(cls.path);
        Unpatched real(env);
        return env->NewObjectA(c, env->GetMethodID(c, "<init>", constructor), &value);
    }
    jobject newLong(jlong v) { return boxed(jn::kLong, "(J)V", jvalue{.j = v}); }
    // A CK_ATTRIBUTE as the Java side fills one, and a template of them.
    jobject attribute(CK_ATTRIBUTE_TYPE type, jobject value, jlong valueLen) {
        jobject a = allocObject(jn::kAttribute.path);
        setObject(a, "type", jn::kAttributeTypeField.sig, wrapper(jn::kAttributeType, static_cast<jlong>(type)));
        setObject(a, "pValue", jn::kAttributeValue.sig, value);
        setLong(a, "valueLen", valueLen);
        return a;
    }
    jobjectArray attributes(const std::vector<jobject>& elements) { return makeObjects(jn::kAttribute.path, elements); }
    // A CK_MECHANISM as the Java side fills one.
    jobject mechanism(CK_MECHANISM_TYPE type, jobject parameter = nullptr, jlong parameterLen = 0) {
        jobject m = allocObject(jn::kMechanism.path);
        setObject(m, "mechanism", jn::kMechanismTypeField.sig, wrapper(jn::kMechanismType, static_cast<jlong>(type)));
        setObject(m, "pParameter", jn::kMechanismParameter.sig, parameter);
        setLong(m, "parameterLen", parameterLen);
        return m;
    }
    // A CK_GCM_PARAMS (or a class extending it) with its arrays and tag bits.
    jobject gcm(jbyteArray iv, jbyteArray aad, jlong tagBits, const char* cls = jn::kGcmParams.path) {
        jobject p = allocObject(cls);
        setObject(p, "pIv", "[B", iv);
        setObject(p, "pAAD", "[B", aad);
        setLong(p, "ulTagBits", tagBits);
        return p;
    }
    // A CK_DATE holding the digits of "yyyymmdd".
    jobject date(const char* digits) {
        jobject d = allocObject(jn::kDate.path);
        setObject(d, "year", "[B", makeBytes({digits, digits + 4}));
        setObject(d, "month", "[B", makeBytes({digits + 4, digits + 6}));
        setObject(d, "day", "[B", makeBytes({digits + 6, digits + 8}));
        return d;
    }

    // The m_value of a returned CK_RV; fails the test for null or another class.
    CK_RV rvOf(jobject rv) {
        EXPECT_NE(rv, nullptr);
        if (rv == nullptr) return ~0UL;
        EXPECT_TRUE(isInstance(rv, jn::kRV.path));
        return static_cast<CK_RV>(getLong(rv, "m_value"));
    }
};

}  // namespace morlin_test

#endif
