// The key-derivation parameter structures field by field, converted through
// the mechanism table and released, over their exception paths as far as
// each clean-up allows; then what the token library fills in, carried back
// by C_DeriveKey and C_GenerateKeyPair from the fake into the Java objects.
#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <tuple>
#include <utility>
#include <vector>

#include "allocations.h"
#include "bridgeTest.h"
#include "morlin/mechanism.h"
#include "morlin/names/paramsDerive.h"
#include "morlin/params.h"
#include "sweep.h"

namespace morlin_test {
namespace {

using Bytes = std::vector<unsigned char>;
using Counted = std::vector<Jni>;
using Row = std::pair<ParameterConverter, ParameterReleaser>;
constexpr Row kUnswept{};
// The converter and releaser of a row of the table.
#define ROW(name) \
    Row { convert##name, free##name }
constexpr CK_MECHANISM_TYPE kType = CKM_VENDOR_DEFINED | 0xD1;
constexpr jlong kLength = 0x5A5;  // a parameterLen that no structure has
constexpr const char* kHandle = "Lkaltrix/morlin/CK_OBJECT_HANDLE;";
constexpr const char* kTemplate = "[Lkaltrix/morlin/CK_ATTRIBUTE;";
constexpr const char* kOutHandles[] = {"hClientMacSecret", "hServerMacSecret", "hClientKey", "hServerKey"};

Bytes Counting(unsigned char first, size_t n) {
    Bytes b(n);
    for (size_t i = 0; i < n; ++i) b[i] = static_cast<unsigned char>(first + i);
    return b;
}
Bytes Of(const CK_BYTE* p, size_t n) { return p == nullptr ? Bytes{} : Bytes(p, p + n); }
// Position (from 1) of the k-th call of entry among the counted calls; the
// last for k = -1.
int Nth(const Counted& counted, Jni entry, int k) {
    int position = 0;
    for (size_t i = 0; i < counted.size() && k != 0; ++i)
        if (counted[i] == entry) position = static_cast<int>(i) + 1, --k;
    return position;
}

class DeriveParamsTest : public BridgeTest {
protected:
    // An object of the class with its fields set, each a name and a number
    // for a long field, or a name, a signature and a reference.
    template <class... Fields>
    jobject make(const jn::Class& cls, Fields... fields) {
        jobject o = allocObject(cls.path);
        set(o, fields...);
        return o;
    }
    void set(jobject) {}
    template <class... Rest>
    void set(jobject o, const char* name, jlong value, Rest... rest) {
        setLong(o, name, value);
        set(o, rest...);
    }
    template <class... Rest>
    void set(jobject o, const char* name, const char* sig, jobject value, Rest... rest) {
        setObject(o, name, sig, value);
        set(o, rest...);
    }
    void setFlag(jobject o, const char* name, bool value) {
        env->SetBooleanField(o, env->GetFieldID(env->GetObjectClass(o), name, "Z"), value);
    }
    jobject version(int major, int minor) {
        jclass c = findClass(jn::kVersion.path);
        const jvalue args[] = {jvalue{.i = major}, jvalue{.i = minor}};
        return env->NewObjectA(c, env->GetMethodID(c, "<init>", "(II)V"), args);
    }
    // A CK_ECIES_PARAMS whose every number field has its own value.
    jobject ecies() {
        return make(jn::kEciesParams, "dhPrimitive", 0x1050, "kdf", 2, "encScheme", 0x1082, "ulEncKeyLenInBits", 256,
                    "macScheme", 0x251, "ulMacKeyLenInBits", 160, "ulMacLenInBits", 96);
    }
    // CK_SSL3_KEY_MAT_PARAMS with handles 11 to 14 and the two IV arrays.
    jobject keyMaterial(const Bytes& client, const Bytes& ivClient, const Bytes& ivServer) {
        jobject out =
            make(jn::kSsl3KeyMatOut, "pIVClient", "[B", makeBytes(ivClient), "pIVServer", "[B", makeBytes(ivServer));
        for (int i = 0; i < 4; ++i) setObject(out, kOutHandles[i], kHandle, handle(11 + i));
        jobject random = make(jn::kSsl3RandomData, "clientRandomLen", 7, "pClientRandom", "[B", makeBytes(client),
                              "pServerRandom", "[B", makeBytes({0xEE, 0xEF}));
        return make(jn::kSsl3KeyMatParams, "macSizeInBits", 0x80, "keySizeInBits", 0x100, "IVSizeInBits", 48,
                    "bIsExport", jn::kSsl3KeyMatIsExport.sig, boxed(jn::kBBool, "(Z)V", jvalue{.z = JNI_TRUE}),
                    "RandomInfo", jn::kSsl3KeyMatRandomInfo.sig, random, "pReturnedKeyMaterial",
                    jn::kSsl3KeyMatOutField.sig, out);
    }

    jlong parameterLen = kLength;    // of the mechanisms that convertAndRelease makes
    long leftByRelease = 0;          // the bytes that a release leaves allocated
    bool lastReadUnchecked = false;  // a faulted conversion may hand its structure out

    // Converts a mechanism holding the parameter through the table, checks
    // the structure while heldBytes are taken, and releases it: all comes
    // back but leftByRelease. Then, given the row's converter and releaser,
    // the converter alone over every exception path, its result released:
    // a faulted run hands out nothing and gives back everything.
    template <class S, class Check>
    void convertAndRelease(jobject parameter, long heldBytes, Row row, Check check) {
        jobject m = mechanism(kType, parameter, parameterLen);
        {
            AllocationWatch memory;
            CK_MECHANISM ck = jMechanismToCKMechanism(env, m);
            ASSERT_FALSE(pending()) << takeException();
            EXPECT_EQ(std::tuple(ck.mechanism, ck.ulParameterLen), std::tuple(kType, CK_ULONG(parameterLen)));
            ASSERT_NE(ck.pParameter, nullptr);
            EXPECT_EQ(memory.tally().bytes, heldBytes);
            check(*static_cast<const S*>(ck.pParameter));
            FreeCKMechanismParameter(env, m, &ck);
            EXPECT_EQ(memory.tally().bytes, leftByRelease);
        }
        if (row.first == nullptr) return;
        jclass cls = env->GetObjectClass(parameter);
        auto run = [this, cls, parameter, row] {
            void* result = nullptr;
            CK_ULONG length = 0;
            row.first(env, cls, parameter, &result, &length);
            if (env->ExceptionCheck() && !lastReadUnchecked) {
                EXPECT_EQ(std::tuple(result, length), std::tuple(nullptr, 0UL));
            }
            row.second(result, length);
        };
        EXPECT_GT(sweepConversion(env, "conversion and release", run), 0);
    }

    // The converter called directly under a monitor failing call n (none for
    // 0); returns the counted calls.
    Counted convertFailing(ParameterConverter convert, const jn::Class& cls, jobject object, int n, void** result,
                           CK_ULONG* length) {
        JniMonitor monitor(env);
        monitor.failCall(n);
        convert(env, findClass(cls.path), object, result, length);
        EXPECT_EQ(std::tuple(monitor.tally().violations.size(), monitor.tally().heldBuffers), std::tuple(0UL, 0));
        return monitor.tally().counted;
    }
    // For the converters whose clean-up frees words that malloc left as they
    // were, which the sweep cannot drive: each counted call that safe admits
    // fails in a run of its own, which must hand out nothing, leave the
    // injected exception pending and give back all memory.
    int failEach(ParameterConverter convert, ParameterReleaser release, const jn::Class& cls, jobject object,
                 const std::function<bool(const Counted&, int)>& safe) {
        void* result = nullptr;
        CK_ULONG length = 0;
        const Counted counted = convertFailing(convert, cls, object, 0, &result, &length);
        release(result, length);
        int runs = 0;
        for (int n = 1; n <= static_cast<int>(counted.size()); ++n) {
            if (!safe(counted, n)) continue;
            AllocationWatch memory;
            result = &length;
            convertFailing(convert, cls, object, n, &result, &length);
            EXPECT_EQ(takeException(), kInjectedException) << "fault " << n;
            EXPECT_EQ(std::tuple(result, length, memory.tally().blocks), std::tuple(nullptr, 0UL, 0L)) << n;
            ++runs;
        }
        return runs;
    }

    // A token function that gives the parameter structure it gets to fill.
    template <class S, class Fill>
    static fake::Reply filling(Fill fill) {
        return fake::Reply().hook([fill](const fake::Call&, void* const* args) {
            fill(*static_cast<S*>(fake::arg<CK_MECHANISM_PTR>(args, 1)->pParameter));
            return CKR_OK;
        });
    }
    CK_RV derive(CK_MECHANISM_TYPE type, jobject parameter, jlong length) {
        return rvOf(Java_kaltrix_morlin_Cryptoki_C_1DeriveKey(
            env, nullptr, session(1), mechanism(type, parameter, length), handle(2), nullptr, 0, handle(0)));
    }
    CK_RV generatePair(CK_MECHANISM_TYPE type, jobject parameter, jlong length) {
        return rvOf(Java_kaltrix_morlin_Cryptoki_C_1GenerateKeyPair(env, nullptr, session(1),
                                                                    mechanism(type, parameter, length), nullptr, 0,
                                                                    nullptr, 0, handle(0), handle(0)));
    }
};

// The Java lengths win over the random arrays. A null RandomInfo is no
// error: null arrays, lengths all ones.
TEST_F(DeriveParamsTest, Ssl3MasterKeyTakesRandomDataAndVersion) {
    const Bytes client = Counting(0x10, 5), server = Counting(0x20, 3);
    jobject random = make(jn::kSsl3RandomData, "clientRandomLen", 9, "serverRandomLen", 2, "pClientRandom", "[B",
                          makeBytes(client), "pServerRandom", "[B", makeBytes(server));
    jobject master = make(jn::kSsl3MasterKeyDeriveParams, "RandomInfo", jn::kSsl3MasterRandomInfo.sig, random,
                          "pVersion", jn::kSsl3MasterVersion.sig, version(3, 0xF1));
    using S = CK_SSL3_MASTER_KEY_DERIVE_PARAMS;
    convertAndRelease<S>(master, sizeof(S) + 5 + 3 + 2, ROW(Ssl3MasterKeyDeriveParams), [&](const S& p) {
        const CK_SSL3_RANDOM_DATA& r = p.RandomInfo;
        EXPECT_EQ(std::tuple(Of(r.pClientRandom, 5), r.ulClientRandomLen, Of(r.pServerRandom, 3), r.ulServerRandomLen,
                             p.pVersion->major, p.pVersion->minor),
                  std::tuple(client, 9UL, server, 2UL, 3, 0xF1));
    });
    setObject(master, "RandomInfo", jn::kSsl3MasterRandomInfo.sig, nullptr);
    convertAndRelease<S>(master, sizeof(S) + 2, kUnswept, [](const S& p) {
        const CK_SSL3_RANDOM_DATA& r = p.RandomInfo;
        EXPECT_EQ(std::tuple(r.pClientRandom, r.ulClientRandomLen, r.pServerRandom, r.ulServerRandomLen),
                  std::tuple(nullptr, ~0UL, nullptr, ~0UL));
    });
}

// The IV buffers copy the caller's arrays, whatever IVSizeInBits says; a
// null bIsExport is CK_FALSE. The key material's block is unzeroed until
// both IVs are stored: faults go only before it exists and after.
TEST_F(DeriveParamsTest, Ssl3KeyMaterialBuffersAreAsLongAsTheJavaIvs) {
    const Bytes client = Counting(0x30, 4), ivClient = Counting(0xA0, 8), ivServer = Counting(0xB0, 6);
    jobject keyMat = keyMaterial(client, ivClient, ivServer);
    using S = CK_SSL3_KEY_MAT_PARAMS;
    const long held = sizeof(S) + 4 + 2 + sizeof(CK_SSL3_KEY_MAT_OUT) + 8 + 6;
    convertAndRelease<S>(keyMat, held, kUnswept, [&](const S& p) {
        const CK_SSL3_KEY_MAT_OUT& o = *p.pReturnedKeyMaterial;
        EXPECT_EQ(std::tuple(p.ulMacSizeInBits, p.ulKeySizeInBits, p.ulIVSizeInBits, p.bIsExport,
                             Of(p.RandomInfo.pClientRandom, 4), p.RandomInfo.ulClientRandomLen,
                             Of(p.RandomInfo.pServerRandom, 2), p.RandomInfo.ulServerRandomLen),
                  std::tuple(0x80UL, 0x100UL, 48UL, CK_TRUE, client, 7UL, Bytes{0xEE, 0xEF}, 0UL));
        EXPECT_EQ(std::tuple(o.hClientMacSecret, o.hServerMacSecret, o.hClientKey, o.hServerKey, Of(o.pIVClient, 8),
                             Of(o.pIVServer, 6)),
                  std::tuple(11UL, 12UL, 13UL, 14UL, ivClient, ivServer));
    });
    auto safe = [](const Counted& counted, int n) {
        return n < Nth(counted, Jni::FindClass, 3) || n > Nth(counted, Jni::GetObjectField, -1);
    };
    EXPECT_GT(failEach(convertSsl3KeyMatParams, freeSsl3KeyMatParams, jn::kSsl3KeyMatParams, keyMat, safe), 20);
    setObject(keyMat, "bIsExport", jn::kSsl3KeyMatIsExport.sig, nullptr);
    convertAndRelease<S>(keyMat, held, kUnswept, [](const S& p) { EXPECT_EQ(p.bIsExport, CK_FALSE); });
}

// The Java len wins, also beside a null array. A fault at the first read
// would free pData as malloc left it: the faults start after it.
TEST_F(DeriveParamsTest, StringDataKeepsTheJavaLength) {
    using S = CK_KEY_DERIVATION_STRING_DATA;
    jobject data = make(jn::kKeyDerivationStringData, "len", 9, "pData", "[B", makeBytes(Counting(0x40, 4)));
    convertAndRelease<S>(data, sizeof(S) + 4, kUnswept, [](const S& p) {
        EXPECT_EQ(std::tuple(Of(p.pData, 4), p.ulLen), std::tuple(Counting(0x40, 4), 9UL));
    });
    auto afterTheFirstRead = [](const Counted&, int n) { return n > 2; };
    EXPECT_EQ(failEach(convertKeyDerivationStringData, freeKeyDerivationStringData, jn::kKeyDerivationStringData, data,
                       afterTheFirstRead),
              4);
    setObject(data, "pData", "[B", nullptr);
    convertAndRelease<S>(data, sizeof(S), kUnswept,
                         [](const S& p) { EXPECT_EQ(std::tuple(p.pData, p.ulLen), std::tuple(nullptr, 9UL)); });
}

// A length of 0 leaves its array unread; a length beside a null or shorter
// array stays as Java gave it. ECDH goes without faults: its settled
// clean-up, the ECIES releaser, reads a word past the end of its block.
TEST_F(DeriveParamsTest, EcdhAndEciesLengthsGateTheirArrays) {
    const Bytes shared = Counting(0x50, 6), point = Counting(0x04, 3);
    jobject ecdh = make(jn::kEcdh1DeriveParams, "kdf", 6, "ulSharedDataLen", 0, "ulPublicDataLen", 65, "pSharedData",
                        "[B", makeBytes(shared), "pPublicData", "[B", makeBytes(point));
    using E = CK_ECDH1_DERIVE_PARAMS;
    convertAndRelease<E>(ecdh, sizeof(E) + 3, kUnswept, [&](const E& p) {
        EXPECT_EQ(std::tuple(p.kdf, p.ulSharedDataLen, p.pSharedData, p.ulPublicDataLen, Of(p.pPublicData, 3)),
                  std::tuple(6UL, 0UL, nullptr, 65UL, point));
    });
    set(ecdh, "ulSharedDataLen", 8, "pPublicData", "[B", nullptr);
    convertAndRelease<E>(ecdh, sizeof(E) + 6, kUnswept, [&](const E& p) {
        EXPECT_EQ(std::tuple(Of(p.pSharedData, 6), p.ulSharedDataLen, p.pPublicData, p.ulPublicDataLen),
                  std::tuple(shared, 8UL, nullptr, 65UL));
    });
    using I = CK_ECIES_PARAMS;
    jobject full = ecies();
    set(full, "ulSharedDataLen1", 4, "ulSharedDataLen2", 2, "pSharedData1", "[B", makeBytes(shared), "pSharedData2",
        "[B", makeBytes(point));
    convertAndRelease<I>(full, sizeof(I) + 6 + 3, ROW(EcIesParams), [&](const I& p) {
        EXPECT_EQ(std::tuple(p.dhPrimitive, p.kdf, p.ulSharedDataLen1, Of(p.pSharedData1, 6), p.encScheme,
                             p.ulEncKeyLenInBits, p.macScheme, p.ulMacKeyLenInBits, p.ulMacLenInBits,
                             p.ulSharedDataLen2, Of(p.pSharedData2, 3)),
                  std::tuple(0x1050UL, 2UL, 4UL, shared, 0x1082UL, 256UL, 0x251UL, 160UL, 96UL, 2UL, point));
    });
}

// The releaser frees only for a Java parameterLen of the structure's 24
// bytes; any other leaves structure and context. The context's length is
// the array's.
TEST_F(DeriveParamsTest, EddsaIsReleasedOnlyAtItsOwnSize) {
    using S = CK_EDDSA_PARAMS;
    jobject eddsa = make(jn::kEddsaParams, "pContextData", "[B", makeBytes(Counting(0x60, 5)));
    setFlag(eddsa, "phFlag", true);
    parameterLen = 24;
    convertAndRelease<S>(eddsa, sizeof(S) + 5, ROW(EDDSAParams), [](const S& p) {
        EXPECT_EQ(std::tuple(p.phFlag, Of(p.pContextData, 5), p.ulContextDataLen),
                  std::tuple(1, Counting(0x60, 5), 5UL));
    });
    {
        AllocationWatch memory;
        jobject other = mechanism(kType, eddsa, 25);
        CK_MECHANISM ck = jMechanismToCKMechanism(env, other);
        FreeCKMechanismParameter(env, other, &ck);
        EXPECT_EQ(std::tuple(memory.tally().blocks, memory.tally().bytes), std::tuple(2L, long(sizeof(S)) + 5));
        freeEDDSAParams(ck.pParameter, 24);
        EXPECT_EQ(memory.tally().blocks, 0);
    }
    setObject(eddsa, "pContextData", "[B", makeBytes({}));
    setFlag(eddsa, "phFlag", false);
    convertAndRelease<S>(eddsa, sizeof(S), kUnswept, [](const S& p) {
        EXPECT_EQ(std::tuple(p.phFlag, p.pContextData, p.ulContextDataLen), std::tuple(0, nullptr, 0UL));
    });
    // With nowhere to put its result it does nothing at all.
    CK_ULONG length = 77;
    void* result = &length;
    JniMonitor monitor(env);
    convertEDDSAParams(env, findClass(jn::kEddsaParams.path), eddsa, nullptr, &length);
    convertEDDSAParams(env, findClass(jn::kEddsaParams.path), eddsa, &result, nullptr);
    EXPECT_EQ(std::tuple(length, result, monitor.tally().trace.size()), std::tuple(77UL, (void*)&length, 0UL));
}

// The counts are Java's. The releasers free a template with one free and
// leave its attributes' values, so the sweep runs on attributes without
// values. The last read goes unchecked: a fault there hands the structure
// out, that count all ones.
TEST_F(DeriveParamsTest, Bip32TemplatesAndPathWithTheJavaCounts) {
    using C = CK_BIP32_CHILD_DERIVE_PARAMS;
    using M = CK_BIP32_MASTER_DERIVE_PARAMS;
    jobject child = make(jn::kBip32ChildDeriveParams, "publicKeyAttributeCount", 5, "privateKeyAttributeCount", 6,
                         "pathLen", 9, "path", "[J", makeLongs({1, 0x80000002, -1}), "publicKeyTemplate", kTemplate,
                         attributes({attribute(CKA_LABEL, nullptr, 0), attribute(CKA_VALUE, makeBytes({4}), 1)}),
                         "privateKeyTemplate", kTemplate, attributes({attribute(CKA_LABEL, makeBytes({5, 6}), 2)}));
    std::vector<void*> values;
    leftByRelease = 3;
    convertAndRelease<C>(child, sizeof(C) + 3 * sizeof(CK_ATTRIBUTE) + 3 + 3 * 8, kUnswept, [&](const C& p) {
        const CK_ATTRIBUTE &value = p.publicKeyTemplate[1], &label = p.privateKeyTemplate[0];
        values = {value.pValue, label.pValue};
        EXPECT_EQ(std::tuple(value.type, Of(static_cast<CK_BYTE*>(value.pValue), 1), p.publicKeyAttributeCount,
                             Of(static_cast<CK_BYTE*>(label.pValue), 2), p.privateKeyAttributeCount,
                             std::vector<CK_ULONG>(p.path, p.path + 3), p.pathLen, p.hPublicKey, p.hPrivateKey,
                             p.pathErrorIndex),
                  std::tuple(CKA_VALUE, Bytes{4}, 5UL, Bytes{5, 6}, 6UL, std::vector<CK_ULONG>{1, 0x80000002, ~0UL},
                             9UL, 0UL, 0UL, 0UL));
    });
    for (void* v : values) free(v);
    leftByRelease = 0;
    jobjectArray bare = attributes({attribute(CKA_LABEL, nullptr, 0), attribute(CKA_VALUE, nullptr, 0)});
    jobject master = make(jn::kBip32MasterDeriveParams, "publicKeyAttributeCount", 2, "privateKeyAttributeCount", 1,
                          "publicKeyTemplate", kTemplate, bare, "privateKeyTemplate", kTemplate,
                          attributes({attribute(CKA_LABEL, nullptr, 0)}));
    lastReadUnchecked = true;
    convertAndRelease<M>(master, sizeof(M) + 3 * sizeof(CK_ATTRIBUTE), ROW(BIP32MasterDeriveParams), [](const M& p) {
        EXPECT_EQ(std::tuple(p.publicKeyTemplate[1].type, p.publicKeyAttributeCount, p.privateKeyTemplate[0].type,
                             p.privateKeyAttributeCount),
                  std::tuple(CKA_VALUE, 2UL, CKA_LABEL, 1UL));
    });
    set(child, "publicKeyTemplate", kTemplate, nullptr, "privateKeyTemplate", kTemplate, bare);
    convertAndRelease<C>(child, sizeof(C) + 2 * sizeof(CK_ATTRIBUTE) + 3 * 8, ROW(BIP32ChildDeriveParams),
                         [](const C& p) {
                             EXPECT_EQ(std::tuple(p.publicKeyTemplate, p.privateKeyTemplate[0].type, p.path[2]),
                                       std::tuple(nullptr, CKA_LABEL, ~0UL));
                         });
    setObject(child, "path", "[J", nullptr);
    convertAndRelease<C>(child, sizeof(C) + 2 * sizeof(CK_ATTRIBUTE), kUnswept,
                         [](const C& p) { EXPECT_EQ(std::tuple(p.path, p.pathLen), std::tuple(nullptr, 9UL)); });
    // A fault at the GetFieldID of the last read.
    auto lastRead = [&](ParameterConverter convert, ParameterReleaser release, const jn::Class& cls, jobject object,
                        size_t size, size_t offset) {
        void* result = nullptr;
        CK_ULONG length = 0, count = 0;
        const Counted all = convertFailing(convert, cls, object, 0, &result, &length);
        release(result, length);
        convertFailing(convert, cls, object, static_cast<int>(all.size()) - 1, &result, &length);
        EXPECT_EQ(takeException(), kInjectedException);
        ASSERT_NE(result, nullptr);
        memcpy(&count, static_cast<char*>(result) + offset, sizeof count);
        EXPECT_EQ(std::tuple(length, count), std::tuple(CK_ULONG(size), ~0UL));
        release(result, length);
    };
    lastRead(convertBIP32MasterDeriveParams, freeBIP32MasterDeriveParams, jn::kBip32MasterDeriveParams, master,
             sizeof(M), offsetof(M, privateKeyAttributeCount));
    lastRead(convertBIP32ChildDeriveParams, freeBIP32ChildDeriveParams, jn::kBip32ChildDeriveParams, child, sizeof(C),
             offsetof(C, pathLen));
}

// PIK is one byte, 1 or 0. The peer's key transport has the array's length
// and the tag out stays zero; the peer's tag is a fixed 64 bytes, a short
// one padded with zeros.
TEST_F(DeriveParamsTest, PikAndKdeFieldByField) {
    jobject pik = allocObject(jn::kGenPikParam.path);
    for (bool selfSign : {true, false}) {
        setFlag(pik, "bSelfSign", selfSign);
        convertAndRelease<CK_GEN_PIK_PARAM>(pik, 1, ROW(GenPIKParamClass),
                                            [&](const auto& p) { EXPECT_EQ(p.bSelfSign, selfSign); });
    }
    using K = CK_KDE_ECCP521_DERIVE_PARAMS;
    jobject kde = make(jn::kKdeEccP521DeriveParams, "pPeerKTC", "[B", makeBytes(Counting(0x70, 5)));
    convertAndRelease<K>(kde, sizeof(K) + 5, ROW(KdeECCP521DeriveParamsClass), [](const K& p) {
        EXPECT_EQ(std::tuple(Of(p.pPeerKTC, 5), p.ulPeerKTCLen, Of(p.bMacTagOut, 64)),
                  std::tuple(Counting(0x70, 5), 5UL, Bytes(64, 0)));
    });
    using W = CK_KDE_TOKEN_WRAP_PARAMS;
    Bytes tag = Counting(0x80, 32);
    jobject wrap = make(jn::kKdeTokenWrapParams, "bPeerMacTag", "[B", makeBytes(tag));
    tag.resize(64, 0);
    convertAndRelease<W>(wrap, sizeof(W), ROW(KdeTokenWrapParamsClass),
                         [&](const W& p) { EXPECT_EQ(Of(p.bPeerMacTag, 64), tag); });
}

// What the token library writes into the structures it gets goes back by
// C_DeriveKey and C_GenerateKeyPair into the caller's objects; the outputs
// that Java doesn't supply arrive zero. ECIES and PIK return nothing: the
// token sees their bytes.
TEST_F(DeriveParamsTest, WhatTheTokenFillsInReachesTheJavaObjects) {
    jobject keyMat = keyMaterial({}, Bytes(6, 0), Bytes(6, 0));
    fake::enqueue("C_DeriveKey", filling<CK_SSL3_KEY_MAT_PARAMS>([](auto& p) {
                      CK_SSL3_KEY_MAT_OUT& o = *p.pReturnedKeyMaterial;
                      EXPECT_EQ(std::tuple(o.hClientMacSecret, o.hServerKey), std::tuple(11UL, 14UL));
                      o = {0x21, 0x22, 0x23, 0x24, o.pIVClient, o.pIVServer};
                      memset(o.pIVClient, 0xC1, 6);
                      memset(o.pIVServer, 0xC2, 6);
                  }));
    EXPECT_EQ(derive(0x372, keyMat, sizeof(CK_SSL3_KEY_MAT_PARAMS)), CKR_OK);
    jobject out = getObject(keyMat, "pReturnedKeyMaterial", jn::kSsl3KeyMatOutField.sig);
    std::vector<jlong> handles;
    for (const char* h : kOutHandles) handles.push_back(getLong(getObject(out, h, kHandle), "m_value"));
    auto bytes = [&](jobject o, const char* field) {
        return readBytes(static_cast<jbyteArray>(getObject(o, field, "[B")));
    };
    EXPECT_EQ(std::tuple(handles, bytes(out, "pIVClient"), bytes(out, "pIVServer")),
              std::tuple(std::vector<jlong>{0x21, 0x22, 0x23, 0x24}, Bytes(6, 0xC1), Bytes(6, 0xC2)));

    jobject bip = make(jn::kBip32ChildDeriveParams, "pathLen", 1, "pathErrorIndex", 77, "hPublicKey", kHandle,
                       handle(66), "hPrivateKey", kHandle, handle(67), "path", "[J", makeLongs({5}));
    fake::enqueue("C_GenerateKeyPair", filling<CK_BIP32_CHILD_DERIVE_PARAMS>([](auto& p) {
                      EXPECT_EQ(std::tuple(p.hPublicKey, p.hPrivateKey, p.pathErrorIndex), std::tuple(0UL, 0UL, 0UL));
                      std::tie(p.hPublicKey, p.hPrivateKey, p.pathErrorIndex) = std::tuple(0x31, 0x32, 3);
                  }));
    EXPECT_EQ(generatePair(0x80000E01, bip, sizeof(CK_BIP32_CHILD_DERIVE_PARAMS)), CKR_OK);
    EXPECT_EQ(std::tuple(getLong(getObject(bip, "hPublicKey", kHandle), "m_value"),
                         getLong(getObject(bip, "hPrivateKey", kHandle), "m_value"), getLong(bip, "pathErrorIndex")),
              std::tuple(0x31, 0x32, 3));

    jobject kde = make(jn::kKdeEccP521DeriveParams, "bMacTagOut", "[B", makeBytes(Bytes(64, 0x55)));
    fake::enqueue("C_DeriveKey", filling<CK_KDE_ECCP521_DERIVE_PARAMS>([](auto& p) {
                      EXPECT_EQ(Of(p.bMacTagOut, 64), Bytes(64, 0));
                      memcpy(p.bMacTagOut, Counting(0x90, 64).data(), 64);
                  }));
    EXPECT_EQ(derive(0x80001003, kde, sizeof(CK_KDE_ECCP521_DERIVE_PARAMS)), CKR_OK);
    EXPECT_EQ(bytes(kde, "bMacTagOut"), Counting(0x90, 64));

    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1EncryptInit(
                  env, nullptr, session(1), mechanism(0x80000A00, ecies(), sizeof(CK_ECIES_PARAMS)), handle(2))),
              CKR_OK);
    const CK_ECIES_PARAMS sent{0x1050, 2, 0, nullptr, 0x1082, 256, 0x251, 160, 96, 0, nullptr};
    EXPECT_EQ(fake::last("C_EncryptInit")->mechanism->parameter, fake::Reply::raw(sent));
    jobject pik = allocObject(jn::kGenPikParam.path);
    setFlag(pik, "bSelfSign", true);
    EXPECT_EQ(generatePair(0x80001000, pik, 1), CKR_OK);
    EXPECT_EQ(fake::last("C_GenerateKeyPair")->mechanism->parameter, Bytes{1});
}

}  // namespace
}  // namespace morlin_test
