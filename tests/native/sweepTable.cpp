// One row for every native: how to call it with arguments that take it down
// its longest road, and which token function it must reach. One test sweeps
// every row (sweep.h says what each run must show); another fails when a
// native that the Java side declares has no row.
#include <dirent.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <regex>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "bridgeTest.h"
#include "kaltrix_morlin_CK_MECHANISM.h"
#include "morlin/initArgs.h"
#include "sweep.h"

namespace morlin_test {
namespace {

constexpr const char* kScripted = "kaltrix/morlin/testing/ScriptedMutexes";

// The JNI name of a native and the native itself, from the same tokens.
#define NATIVE(cls, method) "Java_kaltrix_morlin_" #cls "_" #method, Java_kaltrix_morlin_##cls##_##method

class SweepTable : public BridgeTest {
protected:
    // A row calling native with the arguments that args() makes afresh for
    // every run. A native of class Cryptoki must reach the token function of
    // its own name, which answers as reply scripts it, and return CKR_OK
    // from the run without a fault.
    template <class R, class... P, class Args>
    SweepCase row(const char* name, R (*native)(JNIEnv*, jclass, P...), Args args,
                  std::optional<fake::Reply> reply = std::nullopt) {
        SweepCase c;
        c.name = name;
        c.run = [this, native, args] {
            return Result::of(std::apply(native, std::tuple_cat(std::make_tuple(env, jclass{}), args())));
        };
        const std::string prefix = "Java_kaltrix_morlin_Cryptoki_";
        if (c.name.rfind(prefix, 0) == 0) {
            c.reaches = std::regex_replace(c.name.substr(prefix.size()), std::regex("_1"), "_");
            c.checkClean = [this](const Result& r) { EXPECT_EQ(rvOf(r.object), CKR_OK); };
            if (reply) c.setup = [function = c.reaches, reply] { fake::setDefault(function, *reply); };
        }
        return c;
    }

    jobject initArgs(bool callbacks, jlong flags) {
        jvalue a[5];
        a[0].z = a[1].z = a[2].z = a[3].z = callbacks;
        a[4].j = flags;
        return callStatic(kScripted, "args", "(ZZZZJ)Lkaltrix/morlin/CK_C_INITIALIZE_ARGS;", {a, a + 5});
    }
    // C_Finalize, which the fake answers with CKR_OK: back to the clear state.
    void finalize() { Java_kaltrix_morlin_Cryptoki_C_1Finalize(env, nullptr, nullptr); }
    jbyteArray bytes(size_t n, unsigned char fill = 0x5A) { return makeBytes(std::vector<unsigned char>(n, fill)); }
    jbyteArray text(const std::string& s) { return makeBytes({s.begin(), s.end()}); }

    std::vector<SweepCase> rows();
};

std::vector<SweepCase> SweepTable::rows() {
    std::vector<SweepCase> t;
    // ---- lifecycle and information -----------------------------------------------
    t.push_back(row(NATIVE(Cryptoki, C_1Initialize), [] { return std::make_tuple(jobject{}); }));
    {
        // Arms the mutex callbacks: the global reference and the kept copy
        // stay until the C_Finalize of the clean-up.
        SweepCase c = row(NATIVE(Cryptoki, C_1Initialize), [this] { return std::make_tuple(initArgs(true, 3)); });
        c.name += " with callbacks";
        c.checkClean = [this](const Result& r) {
            EXPECT_EQ(rvOf(r.object), CKR_OK);
            EXPECT_NE(gInitArgsObject, nullptr);
            EXPECT_NE(gInitArgs, nullptr);
        };
        c.cleanup = [this] { finalize(); };
        t.push_back(c);
        SweepCase flagsOnly =
            row(NATIVE(Cryptoki, C_1Initialize), [this] { return std::make_tuple(initArgs(false, 3)); });
        flagsOnly.name += " with flags only";
        t.push_back(flagsOnly);
    }
    {
        SweepCase c = row(NATIVE(Cryptoki, C_1Finalize), [] { return std::make_tuple(jobject{}); });
        c.setup = [this] { Java_kaltrix_morlin_Cryptoki_C_1Initialize(env, nullptr, initArgs(true, 0)); };
        c.checkClean = [this](const Result& r) {
            EXPECT_EQ(rvOf(r.object), CKR_OK);
            EXPECT_EQ(gInitArgsObject, nullptr);
        };
        t.push_back(c);
    }
    CK_INFO info{};
    info.cryptokiVersion = {2, 40};
    t.push_back(row(
        NATIVE(Cryptoki, C_1GetInfo), [this] { return std::make_tuple(allocObject(jn::kInfo.path)); },
        fake::Reply().info(info)));
    t.push_back(row(NATIVE(Cryptoki, C_1GetFunctionStatus), [this] { return std::make_tuple(session(1)); }));
    t.push_back(row(NATIVE(Cryptoki, C_1CancelFunction), [this] { return std::make_tuple(session(1)); }));
    {
        // The mutex callbacks, called by the token library from inside a
        // native: their class, field and method lookups are swept too. A
        // mutex that a failed destroy left behind is destroyed again in the
        // clean-up, as a token library would retry it.
        auto mutex = std::make_shared<void*>(nullptr);
        SweepCase c = row(NATIVE(Cryptoki, C_1CancelFunction), [this] { return std::make_tuple(session(1)); });
        c.name += " calling the four mutex callbacks";
        c.setup = [this, mutex] {
            *mutex = nullptr;
            callStatic(kScripted, "reset", "()V");
            Java_kaltrix_morlin_Cryptoki_C_1Initialize(env, nullptr, initArgs(true, 0));
            fake::setDefault("C_CancelFunction", fake::Reply().hook([mutex](const fake::Call&, void* const*) {
                const std::optional<CK_C_INITIALIZE_ARGS> init = fake::lastInitArgs();
                if (!init || init->CreateMutex == nullptr) return CKR_GENERAL_ERROR;  // not armed
                const CK_C_INITIALIZE_ARGS a = *init;
                if (a.CreateMutex(mutex.get()) != CKR_OK) return CKR_CANT_LOCK;
                const CK_RV locked = a.LockMutex(*mutex);
                if (locked == CKR_OK) a.UnlockMutex(*mutex);
                if (a.DestroyMutex(*mutex) == CKR_OK) *mutex = nullptr;
                return locked;
            }));
        };
        c.cleanup = [this, mutex] {
            if (*mutex != nullptr) {
                EXPECT_EQ(callJDestroyMutex(*mutex), CKR_OK);
            }
            finalize();
        };
        t.push_back(c);
    }

    // ---- slots, tokens and mechanisms ------------------------------------------------
    t.push_back(row(
        NATIVE(Cryptoki, C_1GetSlotList),
        [this] {
            return std::make_tuple(JNI_TRUE, makeLongs({0, 0}), longRef(2));
        },
        fake::Reply().ulongs({7, 8})));
    t.push_back(row(
        NATIVE(Cryptoki, C_1GetSlotInfo), [this] { return std::make_tuple(jlong{1}, allocObject(jn::kSlotInfo.path)); },
        fake::Reply().info(CK_SLOT_INFO{})));
    t.push_back(row(
        NATIVE(Cryptoki, C_1GetTokenInfo),
        [this] { return std::make_tuple(jlong{1}, allocObject(jn::kTokenInfo.path)); },
        fake::Reply().info(CK_TOKEN_INFO{})));
    t.push_back(row(
        NATIVE(Cryptoki, C_1WaitForSlotEvent), [this] { return std::make_tuple(jlong{0}, longRef(0), jobject{}); },
        fake::Reply().slot(4)));
    t.push_back(row(
        NATIVE(Cryptoki, C_1GetMechanismList),
        [this] {
            return std::make_tuple(jlong{1}, wrappers(jn::kMechanismType, {0, 0}), longRef(2));
        },
        fake::Reply().ulongs({0x1081, 0x1082})));
    t.push_back(row(
        NATIVE(Cryptoki, C_1GetMechanismInfo),
        [this] {
            return std::make_tuple(jlong{1}, wrapper(jn::kMechanismType, 0x1081), allocObject(jn::kMechanismInfo.path));
        },
        fake::Reply().info(CK_MECHANISM_INFO{16, 32, 1})));
    t.push_back(row(NATIVE(Cryptoki, C_1InitToken),
                    [this] { return std::make_tuple(jlong{1}, text("1234"), jlong{4}, bytes(32, ' ')); }));
    t.push_back(
        row(NATIVE(Cryptoki, C_1InitPIN), [this] { return std::make_tuple(session(1), text("1234"), jlong{4}); }));
    t.push_back(row(NATIVE(Cryptoki, C_1SetPIN),
                    [this] { return std::make_tuple(session(1), text("old"), jlong{3}, text("new!"), jlong{4}); }));

    // ---- sessions ----------------------------------------------------------------------
    t.push_back(row(
        NATIVE(Cryptoki, C_1OpenSession),
        [this] { return std::make_tuple(jlong{1}, jlong{CKF_SERIAL_SESSION}, jobject{}, jobject{}, session(0)); },
        fake::Reply().handle(0x42)));
    t.push_back(row(NATIVE(Cryptoki, C_1CloseSession), [this] { return std::make_tuple(session(1)); }));
    t.push_back(row(NATIVE(Cryptoki, C_1CloseAllSessions), [] { return std::make_tuple(jlong{1}); }));
    t.push_back(row(
        NATIVE(Cryptoki, C_1GetSessionInfo),
        [this] {
            jobject info = allocObject(jn::kSessionInfo.path);
            setObject(info, "state", jn::kSessionInfoState.sig, wrapper(jn::kState, 0));
            return std::make_tuple(session(1), info);
        },
        fake::Reply().info(CK_SESSION_INFO{1, 2, 3, 4})));
    t.push_back(row(
        NATIVE(Cryptoki, C_1GetOperationState), [this] { return std::make_tuple(session(1), bytes(4), longRef(4)); },
        fake::Reply().bytes({1, 2, 3})));
    t.push_back(row(NATIVE(Cryptoki, C_1SetOperationState),
                    [this] { return std::make_tuple(session(1), bytes(3), jlong{3}, handle(2), handle(3)); }));
    t.push_back(row(NATIVE(Cryptoki, C_1Login), [this] {
        return std::make_tuple(session(1), wrapper(jn::kUserType, CKU_USER), text("1234"), jlong{4});
    }));
    t.push_back(row(NATIVE(Cryptoki, C_1Logout), [this] { return std::make_tuple(session(1)); }));

    // ---- objects -------------------------------------------------------------------
    // A template with a value of every class that converts (Character never
    // does, and int[] takes a route that -Xcheck:jni stops), so that every
    // conversion of the value dispatch is swept.
    auto everyClass = [this] {
        jobject booleans = nullptr, chars = nullptr;
        {
            Unpatched real(env);
            booleans = env->NewBooleanArray(2);
            chars = env->NewCharArray(2);
        }
        auto box = [this](const jn::Class& cls, const char* sig, jvalue v) { return boxed(cls, sig, v); };
        std::vector<jobject> values = {
            bytes(3),
            newLong(5),
            boxed(jn::kBBool, "(Z)V", jvalue{.z = JNI_FALSE}),
            date("20261123"),
            handle(6),
            session(7),
            wrapper(jn::kAttributeType, CKA_LABEL),
            wrapper(jn::kCertificateType, 0),
            wrapper(jn::kHWFeatureType, 1),
            wrapper(jn::kKeyType, CKK_AES),
            wrappers(jn::kMechanismType, {0x1081, 0x1082}),
            wrapper(jn::kMechanismType, 0x1081),
            wrapper(jn::kObjectClass, CKO_DATA),
            wrapper(jn::kOaepSourceType, 1),
            wrapper(jn::kRV, 0),
            wrapper(jn::kState, 2),
            wrapper(jn::kUserType, CKU_USER),
            box(jn::kBoolean, "(Z)V", jvalue{.z = JNI_TRUE}),
            makeLongs({1, 2}),
            makeString("label"),
            box(jn::kInteger, "(I)V", jvalue{.i = -1}),
            booleans,
            chars,
            box(jn::kByte, "(B)V", jvalue{.b = 7}),
        };
        std::vector<jobject> template_;
        for (size_t i = 0; i < values.size(); ++i) template_.push_back(attribute(0x80001000 + i, values[i], 8));
        return attributes(template_);
    };
    t.push_back(row(
        NATIVE(Cryptoki, C_1CreateObject),
        [this, everyClass] {
            jobjectArray t = everyClass();
            return std::make_tuple(session(1), t, static_cast<jlong>(readObjects(t).size()), handle(0));
        },
        fake::Reply().handle(0x42)));
    t.push_back(row(
        NATIVE(Cryptoki, C_1CopyObject),
        [this] {
            return std::make_tuple(session(1), handle(2), attributes({attribute(CKA_LABEL, text("copy"), 4)}), jlong{1},
                                   handle(0));
        },
        fake::Reply().handle(0x43)));
    t.push_back(row(NATIVE(Cryptoki, C_1DestroyObject), [this] { return std::make_tuple(session(1), handle(2)); }));
    t.push_back(row(
        NATIVE(Cryptoki, C_1GetObjectSize), [this] { return std::make_tuple(session(1), handle(2), longRef(0)); },
        fake::Reply().size(64)));
    {
        // A target of every class that can be written in place, each answered,
        // and a wildcard type that learns its attribute.
        const CK_ATTRIBUTE_TYPE kWildcard = 0xFFFF;
        fake::Reply answers;
        answers.attribute(CKA_LABEL, {1, 2, 3})
            .attributeUlong(CKA_VALUE_LEN, 16)
            .attribute(CKA_TOKEN, {1})
            .attribute(0x110, {'2', '0', '2', '6', '1', '1', '2', '3'})
            .attributeUlong(0x80000001, 9)
            .attributeUlong(0x80000002, 10)
            .attributeUlong(CKA_KEY_TYPE, CKK_AES)
            .attribute(0x80000104, fake::Bytes(16, 0))
            .attribute(CKA_PRIVATE, {1})
            .attribute(kWildcard, {9, 9});
        t.push_back(row(
            NATIVE(Cryptoki, C_1GetAttributeValue),
            [this, kWildcard] {
                jobjectArray t = attributes({
                    attribute(CKA_LABEL, bytes(4), 4),
                    attribute(CKA_VALUE_LEN, newLong(0), 8),
                    attribute(CKA_TOKEN, boxed(jn::kBBool, "(Z)V", jvalue{.z = JNI_FALSE}), 1),
                    attribute(0x110, date("00000000"), 8),
                    attribute(0x80000001, handle(0), 8),
                    attribute(0x80000002, session(0), 8),
                    attribute(CKA_KEY_TYPE, wrapper(jn::kKeyType, 0), 8),
                    attribute(0x80000104, wrappers(jn::kMechanismType, {0, 0}), 16),
                    attribute(CKA_PRIVATE, boxed(jn::kBoolean, "(Z)V", jvalue{.z = JNI_FALSE}), 1),
                    attribute(kWildcard, bytes(2), 2),
                });
                return std::make_tuple(session(1), handle(2), t, static_cast<jlong>(readObjects(t).size()));
            },
            answers));
    }
    {
        SweepCase c = row(NATIVE(Cryptoki, C_1SetAttributeValue), [this] {
            return std::make_tuple(session(1), handle(2), attributes({attribute(CKA_LABEL, text("new"), 3)}), jlong{1});
        });
        // The object is converted last and not checked before the call.
        c.reachedWithPending = c.reaches;
        t.push_back(c);
    }
    t.push_back(row(NATIVE(Cryptoki, C_1FindObjectsInit), [this] {
        return std::make_tuple(session(1), attributes({attribute(CKA_CLASS, wrapper(jn::kObjectClass, CKO_DATA), 8)}),
                               jlong{1});
    }));
    t.push_back(row(
        NATIVE(Cryptoki, C_1FindObjects),
        [this] {
            return std::make_tuple(session(1), wrappers(jn::kObjectHandle, {0, 0}), jlong{2}, longRef(0));
        },
        fake::Reply().ulongs({7, 8})));
    t.push_back(row(NATIVE(Cryptoki, C_1FindObjectsFinal), [this] { return std::make_tuple(session(1)); }));

    // ---- cryptography --------------------------------------------------------------
    // The parameter that a faulted run may keep: converted before the fault,
    // left by a release that finds the exception pending.
    auto keeping = [](SweepCase c, long blocks, long bytes) {
        c.keptBlocks = blocks;
        c.keptBytes = bytes;
        return c;
    };
    using DataNative = jobject (*)(JNIEnv*, jclass, jobject, jbyteArray, jlong, jbyteArray, jobject);
    auto data = [&](const char* name, DataNative native) {
        t.push_back(row(
            name, native, [this] { return std::make_tuple(session(1), bytes(4), jlong{4}, bytes(8), longRef(8)); },
            fake::Reply().bytes({1, 2, 3})));
    };
    data(NATIVE(Cryptoki, C_1Encrypt));
    data(NATIVE(Cryptoki, C_1EncryptUpdate));
    data(NATIVE(Cryptoki, C_1Decrypt));
    data(NATIVE(Cryptoki, C_1DecryptUpdate));
    data(NATIVE(Cryptoki, C_1Digest));
    data(NATIVE(Cryptoki, C_1Sign));
    data(NATIVE(Cryptoki, C_1SignRecover));
    data(NATIVE(Cryptoki, C_1VerifyRecover));
    data(NATIVE(Cryptoki, C_1DigestEncryptUpdate));
    data(NATIVE(Cryptoki, C_1DecryptDigestUpdate));
    data(NATIVE(Cryptoki, C_1SignEncryptUpdate));
    data(NATIVE(Cryptoki, C_1DecryptVerifyUpdate));
    using FinalNative = jobject (*)(JNIEnv*, jclass, jobject, jbyteArray, jobject);
    auto final = [&](const char* name, FinalNative native) {
        t.push_back(row(
            name, native, [this] { return std::make_tuple(session(1), bytes(8), longRef(8)); },
            fake::Reply().bytes({1, 2, 3})));
    };
    final(NATIVE(Cryptoki, C_1EncryptFinal));
    final(NATIVE(Cryptoki, C_1DecryptFinal));
    final(NATIVE(Cryptoki, C_1DigestFinal));
    final(NATIVE(Cryptoki, C_1SignFinal));
    using InputNative = jobject (*)(JNIEnv*, jclass, jobject, jbyteArray, jlong);
    auto input = [&](const char* name, InputNative native) {
        t.push_back(row(name, native, [this] { return std::make_tuple(session(1), bytes(4), jlong{4}); }));
    };
    input(NATIVE(Cryptoki, C_1DigestUpdate));
    input(NATIVE(Cryptoki, C_1SignUpdate));
    input(NATIVE(Cryptoki, C_1VerifyUpdate));
    input(NATIVE(Cryptoki, C_1VerifyFinal));
    t.push_back(row(NATIVE(Cryptoki, C_1Verify),
                    [this] { return std::make_tuple(session(1), bytes(4), jlong{4}, bytes(8), jlong{8}); }));
    // C_EncryptInit with a GCM parameter (structure, IV and AAD), whose IV
    // is written back; the others with a byte[] parameter (one block).
    t.push_back(keeping(row(NATIVE(Cryptoki, C_1EncryptInit),
                            [this] {
                                return std::make_tuple(
                                    session(1), mechanism(CKM_AES_GCM, gcm(bytes(12), bytes(4), 128), 40), handle(2));
                            }),
                        3, 40 + 12 + 4));
    using InitNative = jobject (*)(JNIEnv*, jclass, jobject, jobject, jobject);
    auto init = [&](const char* name, InitNative native) {
        t.push_back(
            keeping(row(name, native,
                        [this] { return std::make_tuple(session(1), mechanism(0x1082, bytes(16), 16), handle(2)); }),
                    1, 16));
    };
    init(NATIVE(Cryptoki, C_1DecryptInit));
    init(NATIVE(Cryptoki, C_1SignInit));
    init(NATIVE(Cryptoki, C_1SignRecoverInit));
    init(NATIVE(Cryptoki, C_1VerifyInit));
    init(NATIVE(Cryptoki, C_1VerifyRecoverInit));
    t.push_back(row(NATIVE(Cryptoki, C_1DigestInit), [this] { return std::make_tuple(session(1), mechanism(0x250)); }));
    t.push_back(row(NATIVE(Cryptoki, C_1DigestKey), [this] { return std::make_tuple(session(1), handle(2)); }));

    // ---- keys and random numbers -------------------------------------------------------
    auto label = [this] { return attributes({attribute(CKA_LABEL, text("k"), 1)}); };
    t.push_back(row(
        NATIVE(Cryptoki, C_1GenerateKey),
        [this, label] { return std::make_tuple(session(1), mechanism(CKM_AES_KEY_GEN), label(), jlong{1}, handle(0)); },
        fake::Reply().handle(0x42)));
    t.push_back(row(
        NATIVE(Cryptoki, C_1GenerateKeyPair),
        [this, label] {
            return std::make_tuple(session(1), mechanism(0x1040), label(), jlong{1}, label(), jlong{1}, handle(0),
                                   handle(0));
        },
        fake::Reply().handles(0x43, 0x44)));
    t.push_back(row(
        NATIVE(Cryptoki, C_1WrapKey),
        [this] { return std::make_tuple(session(1), mechanism(0x2109), handle(1), handle(2), bytes(40), longRef(40)); },
        fake::Reply().bytes({1, 2, 3})));
    t.push_back(row(
        NATIVE(Cryptoki, C_1UnwrapKey),
        [this, label] {
            return std::make_tuple(session(1), mechanism(0x2109), handle(1), bytes(24), jlong{24}, label(), jlong{1},
                                   handle(0));
        },
        fake::Reply().handle(0x45)));
    t.push_back(row(
        NATIVE(Cryptoki, C_1DeriveKey),
        [this, label] {
            return std::make_tuple(session(1), mechanism(0x1050), handle(1), label(), jlong{1}, handle(0));
        },
        fake::Reply().handle(0x46)));
    t.push_back(
        row(NATIVE(Cryptoki, C_1SeedRandom), [this] { return std::make_tuple(session(1), bytes(8), jlong{8}); }));
    t.push_back(row(
        NATIVE(Cryptoki, C_1GenerateRandom), [this] { return std::make_tuple(session(1), bytes(8), jlong{8}); },
        fake::Reply().bytes({9, 9, 9, 9, 9, 9, 9, 9})));

    // ---- the token library's own functions -------------------------------------------
    t.push_back(row(
        NATIVE(Cryptoki, CT_1CopyObject),
        [this] {
            return std::make_tuple(session(1), session(2), handle(3),
                                   attributes({attribute(CKA_LABEL, text("copy"), 4)}), jlong{1}, handle(0));
        },
        fake::Reply().handle(0x47)));
    t.push_back(row(NATIVE(Cryptoki, CT_1InitToken),
                    [this] { return std::make_tuple(session(1), jlong{1}, text("1234"), jlong{4}, bytes(32, ' ')); }));
    t.push_back(row(NATIVE(Cryptoki, CT_1ResetToken),
                    [this] { return std::make_tuple(session(1), text("1234"), jlong{4}, bytes(32, ' ')); }));
    t.push_back(row(
        NATIVE(Cryptoki, FMSC_1SendReceive),
        [this] {
            return std::make_tuple(session(1), jlong{7}, bytes(4), jlong{4}, bytes(8), jlong{8}, longRef(0),
                                   longRef(0));
        },
        fake::Reply().bytes({1, 2, 3}).status(0)));

    t.push_back(row(NATIVE(CK_1MECHANISM, getMechanismParameterSize),
                    [this] { return std::make_tuple(static_cast<jobject>(makeString("abc"))); }));
    {
        SweepCase c = row(NATIVE(CK_1MECHANISM, getMechanismParameterSize),
                          [this] { return std::make_tuple(boxed(jn::kInteger, "(I)V", jvalue{.i = 1})); });
        c.name += " of a class it does not know";
        c.cleanException = "java.lang.UnsupportedOperationException";
        t.push_back(c);
    }

    // ---- names -------------------------------------------------------------------------
    auto stringRow = [this](const char* name, jobject (*native)(JNIEnv*, jclass, jobject, jbyteArray, jobject),
                            const jn::Class& cls, jlong value) {
        return row(name, native,
                   [this, &cls, value] { return std::make_tuple(wrapper(cls, value), bytes(64), longRef(64)); });
    };
    t.push_back(stringRow(NATIVE(CTUtil, CTU_1GetAttributeTypeString), jn::kAttributeType, CKA_LABEL));
    t.push_back(stringRow(NATIVE(CTUtil, CTU_1GetErrorString), jn::kRV, CKR_PIN_INCORRECT));
    t.push_back(stringRow(NATIVE(CTUtil, CTU_1GetKeyTypeString), jn::kKeyType, CKK_AES));
    t.push_back(stringRow(NATIVE(CTUtil, CTU_1GetMechanismTypeString), jn::kMechanismType, 0x7FFF0000));
    t.push_back(stringRow(NATIVE(CTUtil, CTU_1GetObjectClassString), jn::kObjectClass, CKO_SECRET_KEY));
    t.push_back(stringRow(NATIVE(CTUtil, CTU_1GetSessionStateString), jn::kState, CKS_RW_USER_FUNCTIONS));
    auto valueRow = [this](const char* name, jobject (*native)(JNIEnv*, jclass, jbyteArray), const char* value) {
        return row(name, native, [this, value] { return std::make_tuple(text(value)); });
    };
    t.push_back(valueRow(NATIVE(CTUtil, CTU_1GetAttributeTypeValue), "CKA_LABEL"));
    t.push_back(valueRow(NATIVE(CTUtil, CTU_1GetErrorValue), "pin incorrect"));
    t.push_back(valueRow(NATIVE(CTUtil, CTU_1GetKeyTypeValue), "AES"));
    t.push_back(valueRow(NATIVE(CTUtil, CTU_1GetMechanismTypeValue), "CKM_AES_CBC"));
    t.push_back(valueRow(NATIVE(CTUtil, CTU_1GetObjectClassValue), "SECRET_KEY"));
    t.push_back(valueRow(NATIVE(CTUtil, CTU_1GetSessionStateValue), "Read Write User Functions"));

    // ---- objects, attributes and curves of the utility library -----------------------
    {
        SweepCase c = row(NATIVE(CTUtil, CTU_1FindObject), [this] {
            return std::make_tuple(session(1), wrapper(jn::kObjectClass, CKO_DATA), text("notes"), handle(0));
        });
        c.setup = [] { fake::setDefault("C_FindObjects", fake::Reply().ulongs({31})); };
        c.reaches = "C_FindObjectsFinal";
        c.checkClean = [this](const Result& r) { EXPECT_EQ(rvOf(r.object), CKR_OK); };
        // The label's text, which the native never frees.
        c.keptBlocks = 1;
        c.keptBytes = 6;
        c.keptWithoutFault = true;
        t.push_back(c);
    }
    {
        SweepCase c = row(NATIVE(CTUtil, CTU_1GetAttributeValue), [this] {
            return std::make_tuple(session(1), handle(2), wrapper(jn::kAttributeType, CKA_VALUE), bytes(8), jlong{8},
                                   longRef(0));
        });
        c.setup = [] { fake::setDefault("C_GetAttributeValue", fake::Reply().attribute(CKA_VALUE, {1, 2, 3, 4, 5})); };
        // The length query, then the read.
        c.checkClean = [this](const Result& r) {
            EXPECT_EQ(rvOf(r.object), CKR_OK);
            EXPECT_EQ(fake::count("C_GetAttributeValue"), 2u);
        };
        t.push_back(c);
    }
    {
        SweepCase c = row(NATIVE(CTUtil, CTU_1SetAttributeValue), [this] {
            return std::make_tuple(session(1), handle(2), wrapper(jn::kAttributeType, CKA_LABEL), text("name"),
                                   jlong{4});
        });
        c.reaches = "C_SetAttributeValue";
        c.checkClean = [this](const Result& r) { EXPECT_EQ(rvOf(r.object), CKR_OK); };
        t.push_back(c);
    }
    {
        SweepCase c = row(NATIVE(CTUtil, CTU_1DerEncodeNamedCurve),
                          [this] { return std::make_tuple(text("P-256"), bytes(16), longRef(16)); });
        c.checkClean = [this](const Result& r) { EXPECT_EQ(rvOf(r.object), CKR_OK); };
        t.push_back(c);
    }

    for (const char* name : {"UNAVAILABLE_INFORMATION", "MAX"}) {
        SweepCase c;
        c.name = std::string("Java_kaltrix_morlin_constants_CK_GetConstantValue of ") + name;
        c.run = [this, name] {
            return Result::of(Java_kaltrix_morlin_constants_CK_GetConstantValue(env, nullptr, makeString(name)));
        };
        // An unknown name is refused with an exception, and 0, by design.
        if (std::string(name) == "MAX") c.cleanException = "java.lang.UnsupportedOperationException";
        t.push_back(c);
    }
    return t;
}

TEST_F(SweepTable, EveryRowOnEveryExceptionPath) {
    for (const SweepCase& c : rows()) sweep(env, c);
}

// The natives that javac found in the Java sources, from the JNI headers it
// wrote: each must have a row, and each row must be one of them.
TEST_F(SweepTable, EveryJavaNativeHasARow) {
    std::set<std::string> declared;
    const std::regex entry("JNICALL (Java_[A-Za-z0-9_]+)");
    DIR* dir = opendir(MORLIN_JNI_HEADERS_DIR);
    ASSERT_NE(dir, nullptr) << MORLIN_JNI_HEADERS_DIR;
    while (dirent* e = readdir(dir)) {
        if (std::string(e->d_name).find(".h") == std::string::npos) continue;
        std::ifstream header(std::string(MORLIN_JNI_HEADERS_DIR) + "/" + e->d_name);
        const std::string body{std::istreambuf_iterator<char>(header), std::istreambuf_iterator<char>()};
        for (std::sregex_iterator m(body.begin(), body.end(), entry), end; m != end; ++m) declared.insert((*m)[1]);
    }
    closedir(dir);
    ASSERT_FALSE(declared.empty());
    std::set<std::string> covered;
    for (const SweepCase& c : rows()) covered.insert(c.name.substr(0, c.name.find(' ')));
    for (const std::string& native : declared) EXPECT_TRUE(covered.count(native)) << native << " has no sweep row";
    for (const std::string& name : covered) {
        if (name.rfind("Java_", 0) == 0) {
            EXPECT_TRUE(declared.count(name)) << name << " is not a native of morlin.jar";
        }
    }
}

}  // namespace
}  // namespace morlin_test
