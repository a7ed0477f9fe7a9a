// CK_MECHANISM from Java and back to the allocator: the search of the
// parameter class table in both directions, the Java parameterLen over any
// converted length, the release that keeps its blocks while an exception is
// pending, and the block-cipher and AEAD parameter structures field by field,
// each family swept over its exception paths.
#include <algorithm>
#include <cstdlib>
#include <functional>
#include <tuple>
#include <utility>
#include <vector>

#include "allocations.h"
#include "morlin/mechanism.h"
#include "morlin/params.h"
#include "paramsTest.h"
#include "sweep.h"

namespace morlin_test {
namespace {

using Bytes = std::vector<unsigned char>;
using Tried = std::pair<long, long>;

constexpr const char* kTaggedGcm = "kaltrix/morlin/testing/TaggedGcmParams";

// n bytes counting up from first.
Bytes Counting(unsigned char first, size_t n) {
    Bytes b(n);
    for (size_t i = 0; i < n; ++i) b[i] = static_cast<unsigned char>(first + i);
    return b;
}
// b cut to width, or padded with zeros to it.
Bytes Fit(Bytes b, size_t width) {
    b.resize(width, 0);
    return b;
}
// The n bytes at p; nothing for null.
Bytes Of(const CK_BYTE* p, size_t n) { return p == nullptr ? Bytes{} : Bytes(p, p + n); }

class MechanismTest : public ParamsTest {
protected:
    // An object of the class with the given long and byte[] fields set.
    jobject make(const jn::Class& cls, const std::vector<std::pair<const char*, jlong>>& longs,
                 const std::vector<std::pair<const char*, jobject>>& arrays = {}) {
        jobject o = allocObject(cls.path);
        for (const auto& [name, value] : longs) setLong(o, name, value);
        for (const auto& [name, array] : arrays) setObject(o, name, "[B", array);
        return o;
    }

    // IsInstanceOf calls made by run.
    long instanceTests(const std::function<void()>& run) {
        JniMonitor monitor(env);
        run();
        const std::vector<Jni>& trace = monitor.tally().trace;
        return std::count(trace.begin(), trace.end(), Jni::IsInstanceOf);
    }
    // How many rows the conversion (beyond what a mechanism without a
    // parameter costs) and then the release tried: the matching row plus one.
    Tried rowsTried(jobject m) {
        CK_MECHANISM ck{};
        const long base = instanceTests([&] { jMechanismToCKMechanism(env, mechanism(kType)); });
        const long converting = instanceTests([&] { ck = jMechanismToCKMechanism(env, m); }) - base;
        return {converting, instanceTests([&] { FreeCKMechanismParameter(env, m, &ck); })};
    }
};

TEST_F(MechanismTest, TheJavaLengthWinsAndTheClassPicksTheRow) {
    CK_MECHANISM none = jMechanismToCKMechanism(env, mechanism(kType, nullptr, 16));
    EXPECT_EQ(std::tuple(none.mechanism, none.pParameter, none.ulParameterLen), std::tuple(kType, nullptr, 16UL));

    // A Long is row 2's CK_ULONG; a byte[] passes all 35 rows to the plain
    // values, and its release frees the one block in the no-match branch.
    auto isLong = [](const CK_ULONG& v) { EXPECT_EQ(v, 0x1122334455667788u); };
    convertAndRelease<CK_ULONG>(newLong(0x1122334455667788), sizeof(CK_ULONG), isLong, 3);
    EXPECT_EQ(rowsTried(mechanism(kType, newLong(1), 8)), Tried(3, 3));
    jbyteArray raw = makeBytes({9, 8, 7});
    auto isRaw = [](const CK_BYTE& b) { EXPECT_EQ(Of(&b, 3), (Bytes{9, 8, 7})); };
    convertAndRelease<CK_BYTE>(raw, 3, isRaw, 99);
    const Tried fallback = rowsTried(mechanism(kType, raw, 3));
    EXPECT_GT(fallback.first, 35);  // and the plain values' own tests
    EXPECT_EQ(fallback.second, 35);
}

// A class of the application's own extending CK_GCM_PARAMS takes row 20 both
// ways and is read through CK_GCM_PARAMS: its own ulTagBits hides the
// inherited one and must not be seen. Both length fields are read for
// nothing: the arrays' lengths win, a null or empty array gives null and 0.
TEST_F(MechanismTest, GcmLengthsComeFromTheArraysInEveryClassOfTheFamily) {
    const Bytes iv = Counting(0x40, 12), aad = Counting(0x70, 3);
    jobject own = gcm(makeBytes(iv), makeBytes(aad), 0xBAD, kTaggedGcm);
    env->SetLongField(own, env->GetFieldID(findClass(jn::kGcmParams.path), "ulTagBits", "J"), 104);
    setLong(own, "ulIvLen", 16);
    setLong(own, "ulAADLen", 1);
    convertAndRelease<CK_AES_GCM_PARAMS>(own, sizeof(CK_AES_GCM_PARAMS) + 15, [&](const CK_AES_GCM_PARAMS& p) {
        EXPECT_EQ(std::tuple(Of(p.pIv, 12), p.ulIvLen, Of(p.pAAD, 3), p.ulAADLen, p.ulTagBits),
                  std::tuple(iv, 12UL, aad, 3UL, 104UL));
    });
    EXPECT_EQ(rowsTried(mechanism(kType, own, 40)), Tried(21, 21));

    // CK_AES_GCM_PARAMS extends CK_GCM_PARAMS: the first of its two rows.
    jobject aes = gcm(nullptr, makeBytes({}), 0x60, jn::kAesGcmParams.path);
    setLong(aes, "ulIvLen", 16);
    setLong(aes, "ulAADLen", 7);
    EXPECT_EQ(rowsTried(mechanism(kType, aes, 40)), Tried(20, 20));
    convertAndRelease<CK_AES_GCM_PARAMS>(aes, sizeof(CK_AES_GCM_PARAMS), [](const CK_AES_GCM_PARAMS& p) {
        EXPECT_EQ(std::tuple(p.pIv, p.ulIvLen, p.pAAD, p.ulAADLen, p.ulTagBits),
                  std::tuple(nullptr, 0UL, nullptr, 0UL, 0x60UL));
    });
}

// parameterLen that cannot be read: the structure stays as converted, the
// length all bits set, and the release, finding the exception pending,
// neither frees nor touches it. The release reads the Java parameter again,
// so a null one releases nothing either.
TEST_F(MechanismTest, AReleaseWithAnExceptionPendingKeepsTheBlocks) {
    jobject parameter = gcm(makeBytes(Counting(1, 12)), makeBytes(Counting(2, 4)), 128);
    jobject m = mechanism(kType, parameter, 40);
    AllocationWatch memory;
    int lookups = 0;
    CK_MECHANISM ck{};
    {
        JniMonitor monitor(env);
        ck = jMechanismToCKMechanism(env, m);
        const std::vector<Jni>& counted = monitor.tally().counted;
        lookups = static_cast<int>(std::count(counted.begin(), counted.end(), Jni::GetFieldID));
        FreeCKMechanismParameter(env, m, &ck);
        monitor.reset();
        monitor.failCall(Jni::GetFieldID, lookups);  // the last one, parameterLen's
        ck = jMechanismToCKMechanism(env, m);
    }
    ASSERT_TRUE(pending());
    ASSERT_NE(ck.pParameter, nullptr);
    EXPECT_EQ(std::tuple(ck.ulParameterLen, static_cast<CK_AES_GCM_PARAMS*>(ck.pParameter)->ulIvLen),
              std::tuple(~0UL, 12UL));
    jthrowable before = env->ExceptionOccurred();
    FreeCKMechanismParameter(env, m, &ck);
    jthrowable after = env->ExceptionOccurred();
    EXPECT_EQ(takeException(), kInjectedException);
    EXPECT_TRUE(env->IsSameObject(before, after));
    EXPECT_EQ(std::tuple(memory.tally().blocks, memory.tally().bytes),
              std::tuple(3L, long(sizeof(CK_AES_GCM_PARAMS)) + 16));

    setObject(m, "pParameter", jn::kMechanismParameter.sig, nullptr);
    FreeCKMechanismParameter(env, m, &ck);
    EXPECT_EQ(memory.tally().blocks, 3);
    setObject(m, "pParameter", jn::kMechanismParameter.sig, parameter);
    FreeCKMechanismParameter(env, m, &ck);
    EXPECT_EQ(memory.tally().blocks, 0);
}

TEST_F(MechanismTest, VersionAndRc2FieldByField) {
    jclass versionClass = findClass(jn::kVersion.path);
    const jvalue majorMinor[] = {jvalue{.i = 0xFE}, jvalue{.i = 0x31}};
    jobject version = env->NewObjectA(versionClass, env->GetMethodID(versionClass, "<init>", "(II)V"), majorMinor);
    convertAndRelease<CK_VERSION>(version, sizeof(CK_VERSION), [](const CK_VERSION& v) {
        EXPECT_EQ(std::tuple(v.major, v.minor), std::tuple(0xFE, 0x31));
    });
    const Bytes iv = Counting(0x81, 5);
    jobject rc2 = make(jn::kRc2CbcParams, {{"effectiveBits", -2}}, {{"iv", makeBytes(iv)}});
    convertAndRelease<CK_RC2_CBC_PARAMS>(rc2, sizeof(CK_RC2_CBC_PARAMS), [&](const CK_RC2_CBC_PARAMS& p) {
        EXPECT_EQ(std::tuple(p.ulEffectiveBits, Of(p.iv, 8)), std::tuple(~1UL, Fit(iv, 8)));
    });
    jobject mac = make(jn::kRc2MacGeneralParams, {{"effectiveBits", 0x40}, {"macLength", 4}});
    convertAndRelease<CK_RC2_MAC_GENERAL_PARAMS>(mac, sizeof(CK_RC2_MAC_GENERAL_PARAMS), [](const auto& p) {
        EXPECT_EQ(std::tuple(p.ulEffectiveBits, p.ulMacLength), std::tuple(0x40UL, 4UL));
    });
}

// The three layouts differ in the width of data only; every inline array
// takes at most its width and leaves the rest zero, all of it for null.
TEST_F(MechanismTest, DesLayoutsCutAndPadTheirInlineArrays) {
    const Bytes iv = Counting(0x01, 12), data = Counting(0x21, 30);
    auto des = [&](const jn::Class& cls, jobject ivArray, size_t dataLength) {
        return make(cls, {}, {{"iv", ivArray}, {"data", makeBytes(Fit(data, dataLength))}});
    };
    auto expect = [](const Bytes& ivWanted, const Bytes& dataWanted) {
        return [=](const auto& p) {
            EXPECT_EQ(std::tuple(Of(p.iv, 8), Of(p.data, sizeof p.data)), std::tuple(ivWanted, dataWanted));
        };
    };
    convertAndRelease<CK_DES_CBC_PARAMS>(des(jn::kDesCbcParams, makeBytes(Fit(iv, 3)), 10), sizeof(CK_DES_CBC_PARAMS),
                                         expect(Fit(Fit(iv, 3), 8), Fit(data, 8)));
    convertAndRelease<CK_DES2_CBC_PARAMS>(des(jn::kDes2CbcParams, nullptr, 12), sizeof(CK_DES2_CBC_PARAMS),
                                          expect(Bytes(8, 0), Fit(Fit(data, 12), 16)));
    convertAndRelease<CK_DES3_CBC_PARAMS>(des(jn::kDes3CbcParams, makeBytes(iv), 30), sizeof(CK_DES3_CBC_PARAMS),
                                          expect(Fit(iv, 8), Fit(data, 24)));
}

// pData is copied whole and length is Java's, the two never compared.
TEST_F(MechanismTest, CbcEncryptDataKeepsTheJavaLengthBesideTheWholeArray) {
    const Bytes iv = Counting(0x90, 20), data = Counting(0x30, 32);
    auto params = [&](const jn::Class& cls, size_t ivLength, jobject pData, jlong length) {
        return make(cls, {{"length", length}}, {{"iv", makeBytes(Fit(iv, ivLength))}, {"pData", pData}});
    };
    using Des = CK_DES_CBC_ENCRYPT_DATA_PARAMS;
    using Aes = CK_AES_CBC_ENCRYPT_DATA_PARAMS;
    jobject whole = params(jn::kDesCbcEncryptDataParams, 5, makeBytes(data), 16);
    convertAndRelease<Des>(whole, sizeof(Des) + 32, [&](const Des& p) {
        EXPECT_EQ(std::tuple(Of(p.iv, 8), Of(p.pData, 32), p.length), std::tuple(Fit(Fit(iv, 5), 8), data, 16UL));
    });
    jobject longer = params(jn::kAesCbcEncryptDataParams, 20, makeBytes(Fit(data, 3)), 5);
    convertAndRelease<Aes>(longer, sizeof(Aes) + 3, [&](const Aes& p) {
        EXPECT_EQ(std::tuple(Of(p.iv, 16), Of(p.pData, 3), p.length), std::tuple(Fit(iv, 16), Fit(data, 3), 5UL));
    });
}

// A counter block of 16 bytes from any array; a parameterLen of 0 changes
// nothing. With nowhere to put its result the converter does nothing at all.
TEST_F(MechanismTest, CounterBlockIsCutOrPaddedToSixteenBytes) {
    const Bytes cb = Counting(0xC0, 20);
    for (size_t n : {8, 20}) {
        jobject ctr = make(jn::kAesCtrParams, {{"ulCounterBits", jlong(n)}}, {{"cb", makeBytes(Fit(cb, n))}});
        auto check = [&](const CK_AES_CTR_PARAMS& p) {
            EXPECT_EQ(std::tuple(p.ulCounterBits, Of(p.cb, 16)), std::tuple(n, Fit(Fit(cb, n), 16)));
        };
        convertAndRelease<CK_AES_CTR_PARAMS>(ctr, sizeof(CK_AES_CTR_PARAMS), check, n == 8 ? 0 : kLength);
    }
    jclass cls = findClass(jn::kAesCtrParams.path);
    jobject object = make(jn::kAesCtrParams, {{"ulCounterBits", 1}});
    CK_ULONG length = 77;
    void* result = &length;
    JniMonitor monitor(env);
    convertAesCtrParams(env, cls, object, nullptr, &length);
    convertAesCtrParams(env, cls, object, &result, nullptr);
    EXPECT_EQ(std::tuple(length, result, monitor.tally().trace.size()), std::tuple(77UL, (void*)&length, 0UL));
}

// After an exception the CCM converter frees the ulNonceLen word as a
// pointer, then the structure. A failure at pNonce finds the Java ulNonceLen
// in the word, here the address of a block of the test's own; a failure at
// the first read of ulNonceLen finds the word zero.
TEST_F(MechanismTest, CcmCleanUpFreesTheNonceLengthWord) {
    jclass cls = findClass(jn::kAesCcmParams.path);
    auto failedAt = [&](int fieldLookup, jobject object) {
        void* result = &cls;
        CK_ULONG length = 77;
        {
            JniMonitor monitor(env);
            monitor.failCall(Jni::GetFieldID, fieldLookup);  // ulDataLen, ulNonceLen, pNonce, ...
            convertAesCcmParams(env, cls, object, &result, &length);
        }
        EXPECT_EQ(takeException(), kInjectedException);
        EXPECT_EQ(std::tuple(result, length), std::tuple(nullptr, 0UL));
    };
    AllocationWatch memory;
    void* word = malloc(24);
    failedAt(3, make(jn::kAesCcmParams, {{"ulNonceLen", reinterpret_cast<jlong>(word)}},
                     {{"pNonce", makeBytes(Counting(1, 7))}}));
    EXPECT_EQ(memory.tally().blocks, 0);
    if (memory.tally().blocks != 0) free(word);
    failedAt(2, make(jn::kAesCcmParams, {{"ulNonceLen", 0}}));
    EXPECT_EQ(memory.tally().blocks, 0);
}

// The arrays' lengths win over the Java fields. Only the structure without a
// nonce and without an AAD is swept: the clean-up would free the nonce's
// length as a pointer, and leave the AAD behind.
TEST_F(MechanismTest, CcmArraysOverruleTheirLengthFields) {
    const Bytes nonce = Counting(0x50, 7), aad = Counting(0x60, 3);
    auto ccm = [&](jlong nonceLen, jobject pNonce, jlong aadLen, jobject pAAD) {
        return make(jn::kAesCcmParams,
                    {{"ulDataLen", 0x1000}, {"ulNonceLen", nonceLen}, {"ulAADLen", aadLen}, {"ulMACLen", 14}},
                    {{"pNonce", pNonce}, {"pAAD", pAAD}});
    };
    auto expect = [](const Bytes& nonceWanted, const Bytes& aadWanted) {
        return [=](const CK_AES_CCM_PARAMS& p) {
            EXPECT_EQ(std::tuple(p.ulDataLen, p.pNonce == nullptr, Of(p.pNonce, nonceWanted.size()), p.ulNonceLen,
                                 p.pAAD == nullptr, Of(p.pAAD, aadWanted.size()), p.ulAADLen, p.ulMACLen),
                      std::tuple(0x1000UL, nonceWanted.empty(), nonceWanted, nonceWanted.size(), aadWanted.empty(),
                                 aadWanted, aadWanted.size(), 14UL));
        };
    };
    // Not swept: a converted nonce's length would be freed as a pointer.
    convertAndRelease<CK_AES_CCM_PARAMS>(ccm(99, makeBytes(nonce), 5, makeBytes({})), sizeof(CK_AES_CCM_PARAMS) + 7,
                                         expect(nonce, {}), kLength, false);
    convertAndRelease<CK_AES_CCM_PARAMS>(ccm(13, nullptr, 1, makeBytes(aad)), sizeof(CK_AES_CCM_PARAMS) + 3,
                                         expect({}, aad), kLength, false);
    convertAndRelease<CK_AES_CCM_PARAMS>(ccm(0, nullptr, 6, nullptr), sizeof(CK_AES_CCM_PARAMS), expect({}, {}));
}

}  // namespace
}  // namespace morlin_test
