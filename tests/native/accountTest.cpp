// The JNI calls of the operations that the benchmark times, counted one by
// one. Each operation must make exactly the calls its native's contract
// lists (lookups included, since nothing may be cached) and not one more:
// an extra call is a cost on every call a user makes.
//
// With MORLIN_JNI_ACCOUNT=<file> in the environment the counts are also
// written there, one line per operation and entry ("GetInfo FindClass 3"),
// and one with its lookups in order ("GetInfo lookups C:kaltrix/morlin/CK_INFO
// ... F:kaltrix/morlin/CK_INFO:flags:J ..."), for the benchmark's per-call
// account.
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "bridgeTest.h"

namespace morlin_test {
namespace {

using Counts = std::map<std::string, int>;

// An operation as the benchmark times it, and the calls that its natives'
// contracts list, by entry: every class, field and method lookup (nothing is
// cached), every check they name, and the checks that JNI requires before a
// further call. Two departures from the letter, both deliberate: the release
// of a mechanism asks ExceptionCheck before its first lookup, so that no
// lookup runs with an exception pending (one more per released mechanism),
// and a mechanism without a parameter skips the check after a conversion
// that made no JNI call (one less).
struct Operation {
    const char* name;
    std::function<void()> run;
    const char* prescribed;
};

Counts parse(const char* text) {
    Counts counts;
    std::istringstream in(text);
    std::string word;
    while (in >> word) {
        const size_t eq = word.find('=');
        counts[word.substr(0, eq)] = std::stoi(word.substr(eq + 1));
    }
    return counts;
}

constexpr const char* kEcb =
    "AllocObject=2 ExceptionCheck=53 FindClass=10 GetArrayLength=2 GetByteArrayElements=1 GetByteArrayRegion=1 "
    "GetFieldID=14 GetLongField=7 GetObjectField=4 IsInstanceOf=5 ReleaseByteArrayElements=1 SetLongField=3";

class AccountTest : public BridgeTest {
protected:
    // Every JNI call the operation makes, by entry, and its class, field and
    // method lookups, in order.
    Counts count(const std::function<void()>& run, std::vector<std::string>* classes) {
        Counts counts;
        JniMonitor monitor(env);
        monitor.recordLookups(true);
        run();
        EXPECT_FALSE(pending()) << pendingClassName();
        for (Jni entry : monitor.tally().trace) ++counts[jniName(entry)];
        *classes = monitor.tally().lookups;
        return counts;
    }

    jobject newBoolean(bool v) { return boxed(jn::kBoolean, "(Z)V", jvalue{.z = v}); }

    // The token's answers, as the benchmark's null module gives them.
    void scriptToken() {
        fake::setDefault("C_Sign", fake::Reply().bytes(Bytes(256, 2)));
        fake::setDefault("C_FindObjects", fake::Reply().ulongs({1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
        fake::setDefault("C_GenerateKey", fake::Reply().handle(42));
        fake::setDefault("C_GetAttributeValue", fake::Reply()
                                                    .attributeUlong(CKA_CLASS, CKO_SECRET_KEY)
                                                    .attributeUlong(CKA_KEY_TYPE, CKK_AES)
                                                    .attribute(CKA_LABEL, Bytes(8, 'k'))
                                                    .attribute(CKA_ENCRYPT, Bytes{1}));
    }

    using Bytes = std::vector<unsigned char>;

    // Encrypt after an initialisation with the mechanism.
    void encrypt(jobject mechanism, size_t size) {
        jobject s = session(1);
        Java_kaltrix_morlin_Cryptoki_C_1EncryptInit(env, nullptr, s, mechanism, handle(2));
        fake::setDefault("C_Encrypt", fake::Reply().bytes(Bytes(size, 1)));
        setLong(outLen_, "value", static_cast<jlong>(size));
        Java_kaltrix_morlin_Cryptoki_C_1Encrypt(env, nullptr, s, in_, static_cast<jlong>(size), out_, outLen_);
    }

    std::vector<Operation> operations();

    jbyteArray in_ = nullptr;
    jbyteArray out_ = nullptr;
    jobject outLen_ = nullptr;
};

std::vector<Operation> AccountTest::operations() {
    auto ecb = [this](size_t size) { return [this, size] { encrypt(mechanism(CKM_AES_ECB), size); }; };
    return {
        {"GetInfo", [this] { Java_kaltrix_morlin_Cryptoki_C_1GetInfo(env, nullptr, allocObject(jn::kInfo.path)); },
         "AllocObject=3 ExceptionCheck=33 FindClass=4 GetFieldID=10 IsInstanceOf=1 NewByteArray=2 SetByteArrayRegion=2 "
         "SetByteField=4 SetLongField=2 SetObjectField=4"},
        {"GenerateRandom32",
         [this] { Java_kaltrix_morlin_Cryptoki_C_1GenerateRandom(env, nullptr, session(1), makeBytes(Bytes(32)), 32); },
         "AllocObject=1 ExceptionCheck=11 FindClass=2 GetArrayLength=1 GetByteArrayElements=1 GetFieldID=2 "
         "GetLongField=1 IsInstanceOf=1 ReleaseByteArrayElements=1 SetLongField=1"},
        // The amount of data changes what is copied, never which calls copy it.
        {"EncryptEcb16", ecb(16), kEcb},
        {"EncryptEcb1K", ecb(1024), kEcb},
        {"EncryptEcb64K", ecb(65536), kEcb},
        {"EncryptCbc16", [this] { encrypt(mechanism(CKM_AES_CBC, makeBytes(Bytes(16, 3)), 16), 16); },
         "AllocObject=2 ExceptionCheck=128 FindClass=106 GetArrayLength=3 GetByteArrayElements=1 GetByteArrayRegion=2 "
         "GetFieldID=14 GetLongField=7 GetObjectField=4 IsInstanceOf=76 ReleaseByteArrayElements=1 SetLongField=3"},
        {"EncryptGcm1K",
         [this] {
             encrypt(mechanism(CKM_AES_GCM, gcm(makeBytes(Bytes(12, 4)), makeBytes(Bytes(16, 5)), 128), 40), 1024);
         },
         "AllocObject=2 ExceptionCheck=120 FindClass=53 GetArrayLength=5 GetByteArrayElements=2 GetByteArrayRegion=3 "
         "GetFieldID=20 GetLongField=10 GetObjectField=7 IsInstanceOf=47 ReleaseByteArrayElements=2 SetLongField=3"},
        {"SignRsa32",
         [this] {
             jobject s = session(1);
             Java_kaltrix_morlin_Cryptoki_C_1SignInit(env, nullptr, s, mechanism(CKM_RSA_PKCS), handle(3));
             Java_kaltrix_morlin_Cryptoki_C_1Sign(env, nullptr, s, makeBytes(Bytes(32, 6)), 32, makeBytes(Bytes(256)),
                                                  longRef(256));
         },
         "AllocObject=2 ExceptionCheck=46 FindClass=9 GetArrayLength=2 GetByteArrayElements=1 GetByteArrayRegion=1 "
         "GetFieldID=12 GetLongField=6 GetObjectField=3 IsInstanceOf=4 ReleaseByteArrayElements=1 SetLongField=3"},
        {"GetAttributeValue4",
         [this] {
             jobjectArray t = attributes({attribute(CKA_CLASS, newLong(0), 8), attribute(CKA_KEY_TYPE, newLong(0), 8),
                                          attribute(CKA_LABEL, makeBytes(Bytes(8)), 8),
                                          attribute(CKA_ENCRYPT, newBoolean(false), 1)});
             Java_kaltrix_morlin_Cryptoki_C_1GetAttributeValue(env, nullptr, session(1), handle(2), t, 4);
         },
         "AllocObject=1 CallBooleanMethodV=1 CallLongMethodV=2 ExceptionCheck=150 FindClass=199 GetArrayLength=4 "
         "GetByteArrayElements=1 GetByteArrayRegion=1 GetFieldID=38 GetLongField=14 GetMethodID=3 "
         "GetObjectArrayElement=8 GetObjectField=16 IsInstanceOf=57 ReleaseByteArrayElements=1 SetBooleanField=1 "
         "SetLongField=7"},
        {"FindObjects10",
         [this] {
             jobject s = session(1);
             jobjectArray t = attributes({attribute(CKA_CLASS, wrapper(jn::kObjectClass, CKO_DATA), 8)});
             Java_kaltrix_morlin_Cryptoki_C_1FindObjectsInit(env, nullptr, s, t, 1);
             jobjectArray found = wrappers(jn::kObjectHandle, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
             Java_kaltrix_morlin_Cryptoki_C_1FindObjects(env, nullptr, s, found, 10, longRef(0));
             Java_kaltrix_morlin_Cryptoki_C_1FindObjectsFinal(env, nullptr, s);
         },
         "AllocObject=3 ExceptionCheck=91 FindClass=38 GetArrayLength=2 GetFieldID=22 GetLongField=6 "
         "GetObjectArrayElement=11 GetObjectField=2 IsInstanceOf=29 SetLongField=14"},
        {"GenerateKey6",
         [this] {
             jobjectArray t = attributes(
                 {attribute(CKA_CLASS, wrapper(jn::kObjectClass, CKO_SECRET_KEY), 8),
                  attribute(CKA_KEY_TYPE, wrapper(jn::kKeyType, CKK_AES), 8), attribute(CKA_VALUE_LEN, newLong(16), 8),
                  attribute(CKA_TOKEN, newBoolean(false), 1), attribute(CKA_ENCRYPT, newBoolean(true), 1),
                  attribute(CKA_LABEL, makeBytes(Bytes(5, 'k')), 5)});
             Java_kaltrix_morlin_Cryptoki_C_1GenerateKey(env, nullptr, session(1), mechanism(CKM_AES_KEY_GEN), t, 6,
                                                         handle(0));
         },
         "AllocObject=1 CallBooleanMethodV=2 CallLongMethodV=1 ExceptionCheck=142 FindClass=180 GetArrayLength=2 "
         "GetByteArrayRegion=1 GetFieldID=36 GetLongField=18 GetMethodID=3 GetObjectArrayElement=6 GetObjectField=16 "
         "IsInstanceOf=73 SetLongField=2"},
    };
}

TEST_F(AccountTest, EachOperationMakesThePrescribedCallsAndNoMore) {
    scriptToken();
    in_ = makeBytes(Bytes(65536, 9));
    out_ = makeBytes(Bytes(65536));
    outLen_ = longRef(65536);
    const char* path = std::getenv("MORLIN_JNI_ACCOUNT");
    std::ofstream file;
    if (path != nullptr) file.open(path);
    for (const Operation& op : operations()) {
        std::vector<std::string> classes;
        const Counts counts = count(op.run, &classes);
        EXPECT_EQ(counts, parse(op.prescribed)) << op.name;
        for (const auto& [entry, n] : counts) file << op.name << ' ' << entry << ' ' << n << '\n';
        // The lookups in order, so that the benchmark can time them as they come.
        file << op.name << " lookups";
        for (const std::string& name : classes) file << ' ' << name;
        file << '\n';
    }
    if (path != nullptr) {
        EXPECT_TRUE(file.good()) << path;
    }
}

}  // namespace
}  // namespace morlin_test
