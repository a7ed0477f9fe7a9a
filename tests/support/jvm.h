// jvm: the one in-process JVM of a test binary, and the fixture that native
// tests derive from.
//
// The JVM starts once per process, before the first test (or at the first
// call of vm() or env(), whichever comes first), with the class path the
// build gave as MORLIN_TEST_CLASSPATH, -Xrs, and any further options from the
// environment variable MORLIN_TEST_JVM_OPTS (split at spaces), for example
// MORLIN_TEST_JVM_OPTS=-Xcheck:jni. It is never destroyed: DestroyJavaVM at
// exit hangs or crashes in some set-ups, and the process ends anyway.
//
// HotSpot takes SIGSEGV for its own purposes (null checks, safepoints). Under
// AddressSanitizer run the tests with
//   ASAN_OPTIONS=handle_segv=0:allow_user_segv_handler=1:detect_leaks=1
//   LSAN_OPTIONS=suppressions=<this directory>/lsan.supp
// so the JVM's handler is the one that sees those signals, and the JVM's own
// allocations are not reported as leaks.
//
//   class ConvertTest : public morlin_test::JniTest {};
//
//   TEST_F(ConvertTest, CopiesBytes) {
//       jbyteArray array = makeBytes({1, 2, 3});
//       CK_BYTE_PTR p = nullptr;
//       CK_ULONG n = 0;
//       jByteArrayToCKByteArray(env, array, &p, &n);
//       ASSERT_FALSE(pending());
//       EXPECT_EQ(std::vector<unsigned char>(p, p + n), readBytes(array));
//       free(p);
//   }
#ifndef MORLIN_TEST_JVM_H
#define MORLIN_TEST_JVM_H

#include <gtest/gtest.h>
#include <jni.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace morlin_test {

// The JVM, started on first use; null if it could not start (the reason is
// on stderr).
JavaVM* vm();

// The calling thread's JNIEnv. A thread other than the one that started the
// JVM is attached as a daemon and detached when it ends. Null without a JVM.
JNIEnv* env();

// Thrown by the JniTest helpers when the test's own set-up goes wrong (a
// class or field that does not exist, a null array to read): GoogleTest
// reports it as a failure of the test and goes on to TearDown. Going on with
// a null class instead would take the JVM, and every later test, down.
class HelperFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Base fixture of native tests. Each test runs in a local frame of its own,
// so local references do not pile up over thousands of tests, and TearDown
// fails a test that leaves a Java exception pending, then clears it, so that
// one test cannot poison the next.
//
// The helpers are test code: they run on the unpatched function table even
// inside an armed Fault, so they are neither counted nor failed. Class names
// are binary names with slashes ("kaltrix/morlin/CK_VERSION"); exception
// class names come back dotted, as Class.getName gives them.
class JniTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    JNIEnv* env = nullptr;

    // The class; throws HelperFailure if it cannot be loaded.
    jclass findClass(const char* name);
    // A new object of the class with no constructor run (AllocObject).
    jobject allocObject(const char* className);

    // Fields of obj by name; the signature follows from the type, except
    // for object fields ("[B", "Lkaltrix/morlin/CK_VERSION;", ...).
    jlong getLong(jobject obj, const char* field);
    void setLong(jobject obj, const char* field, jlong value);
    jint getInt(jobject obj, const char* field);
    void setInt(jobject obj, const char* field, jint value);
    bool getBoolean(jobject obj, const char* field);
    void setBoolean(jobject obj, const char* field, bool value);
    jbyte getByte(jobject obj, const char* field);
    void setByte(jobject obj, const char* field, jbyte value);
    jobject getObject(jobject obj, const char* field, const char* signature);
    void setObject(jobject obj, const char* field, const char* signature, jobject value);

    // Arrays and strings to and from Java. The read functions throw
    // HelperFailure on null.
    jbyteArray makeBytes(const std::vector<unsigned char>& bytes);
    std::vector<unsigned char> readBytes(jbyteArray array);
    jlongArray makeLongs(const std::vector<jlong>& values);
    std::vector<jlong> readLongs(jlongArray array);
    jstring makeString(const char* modifiedUtf8);
    std::string readString(jstring string);

    // Whether a Java exception is pending.
    bool pending();
    // Class of the pending exception, which stays pending; "" if none.
    std::string pendingClassName();
    // Clears the pending exception and returns its class name, with its
    // getMessage() in *message if asked for ("" for a null message);
    // "" if none was pending. Only tests clear exceptions.
    std::string takeException(std::string* message = nullptr);

private:
    jfieldID fieldOf(jobject obj, const char* field, const char* signature);
    bool framePushed_ = false;
};

}  // namespace morlin_test

#endif
