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
#include "morlin/names/core.h"
#include "morlin/names/infos.h"

namespace morlin_test {

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
