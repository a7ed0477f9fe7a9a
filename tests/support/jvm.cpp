// jvm: starts the test process's JVM and implements the JniTest helpers.
#include "jvm.h"

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <sstream>

#include "jniMonitor.h"

// The class path of the test JVM: morlin.jar and the test-only classes,
// given by the build.
#ifndef MORLIN_TEST_CLASSPATH
#define MORLIN_TEST_CLASSPATH ""
#endif

namespace morlin_test {
namespace {

#ifdef JNI_VERSION_10
constexpr jint kJniVersion = JNI_VERSION_10;
#else
constexpr jint kJniVersion = JNI_VERSION_1_8;
#endif

// Room for a test's local references before the JVM has to grow the frame.
constexpr jint kTestFrameCapacity = 64;

std::vector<std::string> jvmOptions() {
    std::vector<std::string> options;
    options.push_back(std::string("-Djava.class.path=") + MORLIN_TEST_CLASSPATH);
    // Keeps the JVM off SIGINT, SIGTERM, SIGHUP and SIGQUIT: the test runner
    // and the sanitizers own those.
    options.push_back("-Xrs");
    if (const char* extra = std::getenv("MORLIN_TEST_JVM_OPTS")) {
        std::istringstream words(extra);
        for (std::string word; words >> word;) options.push_back(word);
    }
    return options;
}

JavaVM* startJvm() {
    std::vector<std::string> options = jvmOptions();
    std::vector<JavaVMOption> jvmOptions(options.size());
    for (std::size_t i = 0; i < options.size(); ++i) {
        jvmOptions[i].optionString = options[i].data();
        jvmOptions[i].extraInfo = nullptr;
    }
    JavaVMInitArgs args{};
    args.version = kJniVersion;
    args.nOptions = static_cast<jint>(jvmOptions.size());
    args.options = jvmOptions.data();
    // A misspelt option in MORLIN_TEST_JVM_OPTS should stop the run, not be
    // dropped in silence.
    args.ignoreUnrecognized = JNI_FALSE;

    JavaVM* jvm = nullptr;
    JNIEnv* env = nullptr;
    const jint rc = JNI_CreateJavaVM(&jvm, reinterpret_cast<void**>(&env), &args);
    if (rc != JNI_OK) {
        std::fprintf(stderr, "morlin tests: JNI_CreateJavaVM failed (%d) with options:", static_cast<int>(rc));
        for (const std::string& option : options) std::fprintf(stderr, " %s", option.c_str());
        std::fprintf(stderr, "\n");
        return nullptr;
    }
    return jvm;
}

// Starts the JVM before the first test, so that its start-up time and any
// failure to start are not charged to whichever test happens to run first.
class JvmEnvironment : public ::testing::Environment {
    void SetUp() override { ASSERT_NE(vm(), nullptr) << "the JVM did not start; see stderr"; }
};

[[maybe_unused]] ::testing::Environment* const jvmEnvironment = ::testing::AddGlobalTestEnvironment(new JvmEnvironment);

// The unpatched table, and any pending exception put aside, for the life of
// a helper: helpers work whatever the test left pending (a check after a
// failed native reads fields too), and give it back as it was.
class HelperScope {
public:
    explicit HelperScope(JNIEnv* env) : env_(env), real_(env), saved_(env->ExceptionOccurred()) {
        if (saved_ != nullptr) env_->ExceptionClear();
    }
    ~HelperScope() {
        if (saved_ == nullptr) return;
        env_->ExceptionClear();
        env_->Throw(saved_);
        env_->DeleteLocalRef(saved_);
    }
    HelperScope(const HelperScope&) = delete;
    HelperScope& operator=(const HelperScope&) = delete;

private:
    JNIEnv* env_;
    Unpatched real_;
    jthrowable saved_;
};

// The text of a String-returning method of obj, "" for null, nullopt if
// anything throws (cleared). Runs with no exception pending; every call is
// checked so that -Xcheck:jni reports only the code under test.
std::optional<std::string> callForText(JNIEnv* env, jobject obj, const char* className, const char* method) {
    std::optional<std::string> text;
    jclass cls = env->FindClass(className);
    if (env->ExceptionCheck()) {
        env->ExceptionClear();
        return text;
    }
    jmethodID id = env->GetMethodID(cls, method, "()Ljava/lang/String;");
    auto string = env->ExceptionCheck() ? nullptr : static_cast<jstring>(env->CallObjectMethod(obj, id));
    if (!env->ExceptionCheck()) {
        if (string == nullptr) {
            text = "";
        } else if (const char* chars = env->GetStringUTFChars(string, nullptr); !env->ExceptionCheck()) {
            text = chars;
            env->ReleaseStringUTFChars(string, chars);
        }
    }
    env->ExceptionClear();
    if (string != nullptr) env->DeleteLocalRef(string);
    env->DeleteLocalRef(cls);
    return text;
}

std::string nameOfClass(JNIEnv* env, jclass cls) {
    return callForText(env, cls, "java/lang/Class", "getName").value_or("?");
}

std::string classNameOf(JNIEnv* env, jobject obj) {
    jclass cls = env->GetObjectClass(obj);
    std::string name = nameOfClass(env, cls);
    env->DeleteLocalRef(cls);
    return name;
}

}  // namespace

JavaVM* vm() {
    static JavaVM* const instance = startJvm();
    return instance;
}

JNIEnv* env() {
    JavaVM* jvm = vm();
    JNIEnv* threadEnv = nullptr;
    if (jvm == nullptr || jvm->GetEnv(reinterpret_cast<void**>(&threadEnv), kJniVersion) != JNI_OK) return nullptr;
    return threadEnv;
}

void JniTest::SetUp() {
    env = morlin_test::env();
    ASSERT_NE(env, nullptr) << "no JVM; see stderr";
    ASSERT_EQ(env->PushLocalFrame(kTestFrameCapacity), 0);
    framePushed_ = true;
}

void JniTest::TearDown() {
    if (env == nullptr) return;
    Unpatched real(env);
    if (env->ExceptionCheck()) {
        std::string message;
        const std::string name = takeException(&message);
        ADD_FAILURE() << "the test left " << name << " pending (" << message << ")";
    }
    if (framePushed_) env->PopLocalFrame(nullptr);
    framePushed_ = false;
}

jclass JniTest::findClass(const char* name) {
    HelperScope scope(env);
    jclass cls = env->FindClass(name);
    if (env->ExceptionCheck()) {
        const std::string why = takeException();
        throw HelperFailure(std::string("class ") + name + " not found: " + why);
    }
    return cls;
}

jobject JniTest::allocObject(const char* className) {
    jclass cls = findClass(className);
    HelperScope scope(env);
    jobject obj = env->AllocObject(cls);
    if (env->ExceptionCheck()) {
        const std::string why = takeException();
        throw HelperFailure(std::string("AllocObject of ") + className + " failed: " + why);
    }
    return obj;
}

// Runs inside a HelperScope of the caller.
jfieldID JniTest::fieldOf(jobject obj, const char* field, const char* signature) {
    if (obj == nullptr) throw HelperFailure(std::string("field ") + field + " of a null object");
    jclass cls = env->GetObjectClass(obj);
    jfieldID id = env->GetFieldID(cls, field, signature);
    if (env->ExceptionCheck()) {
        env->ExceptionClear();
        throw HelperFailure(std::string("no field ") + field + " " + signature + " in " + nameOfClass(env, cls));
    }
    env->DeleteLocalRef(cls);
    return id;
}

jlong JniTest::getLong(jobject obj, const char* field) {
    HelperScope scope(env);
    return env->GetLongField(obj, fieldOf(obj, field, "J"));
}

void JniTest::setLong(jobject obj, const char* field, jlong value) {
    HelperScope scope(env);
    env->SetLongField(obj, fieldOf(obj, field, "J"), value);
}

bool JniTest::getBoolean(jobject obj, const char* field) {
    HelperScope scope(env);
    return env->GetBooleanField(obj, fieldOf(obj, field, "Z")) != JNI_FALSE;
}

jbyte JniTest::getByte(jobject obj, const char* field) {
    HelperScope scope(env);
    return env->GetByteField(obj, fieldOf(obj, field, "B"));
}

jobject JniTest::getObject(jobject obj, const char* field, const char* signature) {
    HelperScope scope(env);
    return env->GetObjectField(obj, fieldOf(obj, field, signature));
}

void JniTest::setObject(jobject obj, const char* field, const char* signature, jobject value) {
    HelperScope scope(env);
    env->SetObjectField(obj, fieldOf(obj, field, signature), value);
}

jbyteArray JniTest::makeBytes(const std::vector<unsigned char>& bytes) {
    HelperScope scope(env);
    const auto length = static_cast<jsize>(bytes.size());
    jbyteArray array = env->NewByteArray(length);
    if (env->ExceptionCheck()) throw HelperFailure("NewByteArray failed: " + takeException());
    if (length > 0) env->SetByteArrayRegion(array, 0, length, reinterpret_cast<const jbyte*>(bytes.data()));
    if (env->ExceptionCheck()) throw HelperFailure("SetByteArrayRegion failed: " + takeException());
    return array;
}

std::vector<unsigned char> JniTest::readBytes(jbyteArray array) {
    if (array == nullptr) throw HelperFailure("readBytes of a null byte[]");
    HelperScope scope(env);
    const jsize length = env->GetArrayLength(array);
    std::vector<unsigned char> bytes(static_cast<std::size_t>(length));
    if (length > 0) env->GetByteArrayRegion(array, 0, length, reinterpret_cast<jbyte*>(bytes.data()));
    if (env->ExceptionCheck()) throw HelperFailure("GetByteArrayRegion failed: " + takeException());
    return bytes;
}

jlongArray JniTest::makeLongs(const std::vector<jlong>& values) {
    HelperScope scope(env);
    const auto length = static_cast<jsize>(values.size());
    jlongArray array = env->NewLongArray(length);
    if (env->ExceptionCheck()) throw HelperFailure("NewLongArray failed: " + takeException());
    if (length > 0) env->SetLongArrayRegion(array, 0, length, values.data());
    if (env->ExceptionCheck()) throw HelperFailure("SetLongArrayRegion failed: " + takeException());
    return array;
}

std::vector<jlong> JniTest::readLongs(jlongArray array) {
    if (array == nullptr) throw HelperFailure("readLongs of a null long[]");
    HelperScope scope(env);
    std::vector<jlong> values(static_cast<std::size_t>(env->GetArrayLength(array)));
    if (!values.empty()) env->GetLongArrayRegion(array, 0, static_cast<jsize>(values.size()), values.data());
    if (env->ExceptionCheck()) throw HelperFailure("GetLongArrayRegion failed: " + takeException());
    return values;
}

jstring JniTest::makeString(const char* modifiedUtf8) {
    HelperScope scope(env);
    jstring string = env->NewStringUTF(modifiedUtf8);
    if (env->ExceptionCheck()) throw HelperFailure("NewStringUTF failed: " + takeException());
    return string;
}

std::string JniTest::readString(jstring string) {
    if (string == nullptr) throw HelperFailure("readString of a null String");
    HelperScope scope(env);
    const char* chars = env->GetStringUTFChars(string, nullptr);
    if (env->ExceptionCheck()) throw HelperFailure("GetStringUTFChars failed: " + takeException());
    std::string text = chars;
    env->ReleaseStringUTFChars(string, chars);
    return text;
}

jobjectArray JniTest::makeObjects(const char* elementClass, const std::vector<jobject>& elements) {
    jclass cls = findClass(elementClass);
    HelperScope scope(env);
    jobjectArray array = env->NewObjectArray(static_cast<jsize>(elements.size()), cls, nullptr);
    if (env->ExceptionCheck()) throw HelperFailure("NewObjectArray failed: " + takeException());
    for (std::size_t i = 0; i < elements.size(); ++i) {
        env->SetObjectArrayElement(array, static_cast<jsize>(i), elements[i]);
        if (env->ExceptionCheck()) throw HelperFailure("SetObjectArrayElement failed: " + takeException());
    }
    return array;
}

std::vector<jobject> JniTest::readObjects(jobjectArray array) {
    if (array == nullptr) throw HelperFailure("readObjects of a null array");
    HelperScope scope(env);
    std::vector<jobject> out(static_cast<std::size_t>(env->GetArrayLength(array)));
    for (std::size_t i = 0; i < out.size(); ++i) {
        out[i] = env->GetObjectArrayElement(array, static_cast<jsize>(i));
        if (env->ExceptionCheck()) throw HelperFailure("GetObjectArrayElement failed: " + takeException());
    }
    return out;
}

bool JniTest::isInstance(jobject obj, const char* className) {
    jclass cls = findClass(className);
    HelperScope scope(env);
    return env->IsInstanceOf(obj, cls) == JNI_TRUE;
}

void JniTest::setStaticBoolean(const char* className, const char* field, bool value) {
    jclass cls = findClass(className);
    HelperScope scope(env);
    jfieldID id = env->GetStaticFieldID(cls, field, "Z");
    if (env->ExceptionCheck()) throw HelperFailure(std::string("no static boolean ") + field + ": " + takeException());
    env->SetStaticBooleanField(cls, id, value ? JNI_TRUE : JNI_FALSE);
}

void JniTest::setStaticLong(const char* className, const char* field, jlong value) {
    jclass cls = findClass(className);
    HelperScope scope(env);
    jfieldID id = env->GetStaticFieldID(cls, field, "J");
    if (env->ExceptionCheck()) throw HelperFailure(std::string("no static long ") + field + ": " + takeException());
    env->SetStaticLongField(cls, id, value);
}

jobject JniTest::callStatic(const char* className, const char* method, const char* signature,
                            const std::vector<jvalue>& args) {
    jclass cls = findClass(className);
    HelperScope scope(env);
    jmethodID id = env->GetStaticMethodID(cls, method, signature);
    if (env->ExceptionCheck()) throw HelperFailure(std::string("no static method ") + method + ": " + takeException());
    const bool returnsVoid = std::string(signature).back() == 'V';
    jobject result = nullptr;
    if (returnsVoid) {
        env->CallStaticVoidMethodA(cls, id, args.data());
    } else {
        result = env->CallStaticObjectMethodA(cls, id, args.data());
    }
    if (env->ExceptionCheck()) throw HelperFailure(std::string(method) + " threw: " + takeException());
    return result;
}

bool JniTest::pending() {
    Unpatched real(env);
    return env->ExceptionCheck() == JNI_TRUE;
}

std::string JniTest::pendingClassName() { return morlin_test::pendingClassName(env); }

std::string JniTest::takeException(std::string* message) { return morlin_test::takeException(env, message); }

std::string pendingClassName(JNIEnv* env) {
    Unpatched real(env);
    jthrowable t = env->ExceptionOccurred();
    if (t == nullptr) return "";
    env->ExceptionClear();
    std::string name = classNameOf(env, t);
    env->Throw(t);
    env->DeleteLocalRef(t);
    return name;
}

std::string takeException(JNIEnv* env, std::string* message) {
    Unpatched real(env);
    jthrowable t = env->ExceptionOccurred();
    if (t == nullptr) return "";
    env->ExceptionClear();
    std::string name = classNameOf(env, t);
    if (message != nullptr) *message = callForText(env, t, "java/lang/Throwable", "getMessage").value_or("?");
    env->DeleteLocalRef(t);
    return name;
}

}  // namespace morlin_test
