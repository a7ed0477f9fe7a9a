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

// The JNIEnv of the thread that started the JVM; null on any other thread
// and without a JVM.
JNIEnv* env();

// Class of the pending exception, dotted, which stays pending; "" if none.
std::string pendingClassName(JNIEnv* env);
// Clears the pending exception and returns its class name, with its
// getMessage() in *message if asked for ("" for a null message); "" if none
// was pending. Only tests clear exceptions.
std::string takeException(JNIEnv* env, std::string* message = nullptr);

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
// The helpers are test code: they run on the unmonitored function table even
// inside a JniMonitor, so they are neither counted nor failed. Class names
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
    bool getBoolean(jobject obj, const char* field);
    jbyte getByte(jobject obj, const char* field);
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
    // An array of the class holding the elements, and the elements of one.
    jobjectArray makeObjects(const char* elementClass, const std::vector<jobject>& elements);
    std::vector<jobject> readObjects(jobjectArray array);
    bool isInstance(jobject obj, const char* className);

    // Static members, for test doubles that a test steers (fields of type
    // boolean and long; methods returning an object or nothing).
    void setStaticBoolean(const char* className, const char* field, bool value);
    void setStaticLong(const char* className, const char* field, jlong value);
    jobject callStatic(const char* className, const char* method, const char* signature,
                       const std::vector<jvalue>& args = {});

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
