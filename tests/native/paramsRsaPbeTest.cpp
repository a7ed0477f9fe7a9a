// The RSA padding, password-based encryption and PKCS#12 parameter classes:
// each structure field by field through the mechanism conversion and its
// release, swept over its exception paths; the two converters that end
// differently after an exception; and what the token library writes into
// the PBE, PKCS#12 import and SET OAEP structures, back in the Java objects
// through C_GenerateKey and C_UnwrapKey.
#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <tuple>
#include <utility>
#include <vector>

#include "allocations.h"
#include "morlin/mechanism.h"
#include "morlin/names/paramsRsaPbe.h"
#include "morlin/params.h"
#include "paramsTest.h"
#include "sweep.h"

namespace morlin_test {
namespace {

using Bytes = std::vector<unsigned char>;
constexpr const char* kMechSig = "Lkaltrix/morlin/constants/CK_MECHANISM_TYPE;";
constexpr const char* kHandleSig = "Lkaltrix/morlin/CK_OBJECT_HANDLE;";

Bytes Counting(unsigned char first, size_t n) {
    Bytes b(n);
    for (size_t i = 0; i < n; ++i) b[i] = static_cast<unsigned char>(first + i);
    return b;
}
// The n bytes at p; nothing for null.
Bytes Of(const void* p, size_t n) {
    auto* b = static_cast<const CK_BYTE*>(p);
    return b == nullptr ? Bytes{} : Bytes(b, b + n);
}

// One field of a Java object to fill: "J" and "B" take number, any other
// signature value.
struct Value {
    const char* name;
    const char* sig;
    jlong number;
    jobject value = nullptr;
};

class RsaPbeParamsTest : public ParamsTest {
protected:
    jobject make(const jn::Class& cls, std::initializer_list<Value> fields) {
        jobject o = allocObject(cls.path);
        for (const Value& f : fields) {
            if (std::strcmp(f.sig, "J") == 0) {
                setLong(o, f.name, f.number);
            } else if (std::strcmp(f.sig, "B") == 0) {
                env->SetByteField(o, env->GetFieldID(findClass(cls.path), f.name, "B"), static_cast<jbyte>(f.number));
            } else {
                setObject(o, f.name, f.sig, f.value);
            }
        }
        return o;
    }
    Value bytes(const char* name, const Bytes& b) { return {name, "[B", 0, makeBytes(b)}; }
    Bytes array(jobject o, const char* name) { return readBytes(static_cast<jbyteArray>(getObject(o, name, "[B"))); }
    Value num(const char* name, jlong v) { return {name, "J", v}; }
    Value obj(const char* name, const char* sig, jobject value) { return {name, sig, 0, value}; }
    Value mech(const char* name, jlong v) { return {name, kMechSig, 0, wrapper(jn::kMechanismType, v)}; }

    // The converter called with its row's class and the n-th GetFieldID
    // failed: what it handed out, with the injected exception taken.
    template <class Convert>
    std::pair<void*, CK_ULONG> failedAt(Convert convert, const jn::Class& cls, jobject object, int lookup) {
        void* result = &lookup;
        CK_ULONG length = 77;
        {
            JniMonitor monitor(env);
            monitor.failCall(Jni::GetFieldID, lookup);
            convert(env, findClass(cls.path), object, &result, &length);
        }
        EXPECT_EQ(takeException(), kInjectedException);
        return {result, length};
    }
};

TEST_F(RsaPbeParamsTest, OaepAndPssTakeEveryFieldAndTheJavaLabelLength) {
    const Bytes label = Counting(0xA0, 4);
    auto oaep = [&](Value data, jlong dataLen) {
        return make(jn::kRsaPkcsOaepParams, {mech("hashAlg", 0x251), num("mgf", 3),
                                             obj("source", jn::kOaepSource.sig, wrapper(jn::kOaepSourceType, 7)), data,
                                             num("sourceDataLen", dataLen)});
    };
    using Oaep = CK_RSA_PKCS_OAEP_PARAMS;
    convertAndRelease<Oaep>(oaep(bytes("pSourceData", label), 2), sizeof(Oaep) + 4, [&](const Oaep& p) {
        EXPECT_EQ(std::tuple(p.hashAlg, p.mgf, p.source, Of(p.pSourceData, 4), p.ulSourceDataLen),
                  std::tuple(0x251UL, 3UL, 7UL, label, 2UL));
    });
    convertAndRelease<Oaep>(oaep(obj("pSourceData", "[B", nullptr), 9), sizeof(Oaep), [](const Oaep& p) {
        EXPECT_EQ(std::tuple(p.pSourceData, p.ulSourceDataLen), std::tuple(nullptr, 9UL));
    });
    jobject pss = make(jn::kRsaPkcsPssParams, {mech("hashAlg", 0x252), num("mgf", 4), num("sLen", -32)});
    convertAndRelease<CK_RSA_PKCS_PSS_PARAMS>(pss, sizeof(CK_RSA_PKCS_PSS_PARAMS), [](const auto& p) {
        EXPECT_EQ(std::tuple(p.hashAlg, p.mgf, p.sLen), std::tuple(0x252UL, 4UL, CK_ULONG(-32)));
    });
}

// bBC keeps the bit pattern of a negative Java byte. After an exception the
// structure is gone but the length still says its size.
TEST_F(RsaPbeParamsTest, SetOaepTakesTheByteAndKeepsItsLengthAfterAFailure) {
    const Bytes x = Counting(0x31, 5);
    jobject set = make(jn::kKeyWrapSetOaepParams, {{"bBC", "B", -3}, bytes("pX", x), num("XLen", 3)});
    using S = CK_KEY_WRAP_SET_OAEP_PARAMS;
    convertAndRelease<S>(set, sizeof(S) + 5, [&](const S& p) {
        EXPECT_EQ(std::tuple(p.bBC, Of(p.pX, 5), p.ulXLen), std::tuple(0xFD, x, 3UL));
    });
    AllocationWatch memory;
    for (int lookup : {1, 2, 3}) {  // bBC, pX, XLen
        EXPECT_EQ(failedAt(convertKeyWrapSetOaepParams, jn::kKeyWrapSetOaepParams, set, lookup),
                  std::pair(static_cast<void*>(nullptr), CK_ULONG(sizeof(S))))
            << lookup;
    }
    EXPECT_EQ(memory.tally().blocks, 0);
}

// The IV buffer is as long as the array, with no length of its own; the
// Java lengths of password and salt go unchecked beside theirs. The
// iteration count is read last and not checked: a failure there hands the
// whole structure out, its count all bits set, with the exception pending;
// a failure before it hands nothing out.
TEST_F(RsaPbeParamsTest, PbeBuffersAndTheUncheckedIterationCount) {
    const Bytes iv = Counting(0x10, 8), password = Counting(0x20, 6), salt = Counting(0x40, 16);
    auto pbe = [&](Value initVector) {
        return make(jn::kPbeParams, {initVector, bytes("pPassword", password), num("passwordLen", 4),
                                     bytes("pSalt", salt), num("saltLen", 20), num("iteration", 2048)});
    };
    jobject full = pbe(bytes("pInitVector", iv));
    convertAndRelease<CK_PBE_PARAMS>(full, sizeof(CK_PBE_PARAMS) + 30, [&](const auto& p) {
        EXPECT_EQ(std::tuple(Of(p.pInitVector, 8), Of(p.pPassword, 6), p.ulPasswordLen, Of(p.pSalt, 16), p.ulSaltLen,
                             p.ulIteration),
                  std::tuple(iv, password, 4UL, salt, 20UL, 2048UL));
    });
    convertAndRelease<CK_PBE_PARAMS>(pbe(obj("pInitVector", "[B", nullptr)), sizeof(CK_PBE_PARAMS) + 22,
                                     [](const auto& p) { EXPECT_EQ(p.pInitVector, nullptr); });

    AllocationWatch memory;
    const auto [kept, length] = failedAt(convertPbeParams, jn::kPbeParams, full, 6);
    ASSERT_NE(kept, nullptr);
    const auto& p = *static_cast<CK_PBE_PARAMS*>(kept);
    EXPECT_EQ(std::tuple(length, Of(p.pSalt, 16), p.ulSaltLen, p.ulIteration),
              std::tuple(CK_ULONG(sizeof(CK_PBE_PARAMS)), salt, 20UL, ~0UL));
    freePbeParams(kept, length);
    EXPECT_EQ(failedAt(convertPbeParams, jn::kPbeParams, full, 5), std::pair(static_cast<void*>(nullptr), 0UL));
    EXPECT_EQ(memory.tally().blocks, 0);
}

TEST_F(RsaPbeParamsTest, Pkcs12ExportFieldByField) {
    const Bytes safe = Counting(0x50, 5), hmac = Counting(0x60, 3);
    jobject object = make(jn::kPkcs12PbeExportParams,
                          {obj("keyCert", kHandleSig, handle(0x61)), bytes("passwordAuthSafe", safe),
                           num("passwordAuthSafeLen", 7), bytes("passwordHMAC", hmac), num("passwordHMACLen", 2),
                           mech("safeBagKgMech", 0x3A1), mech("safeContentKgMech", 0x3A2), mech("hmacKgMech", 0x3A3)});
    using S = CK_PKCS12_PBE_EXPORT_PARAMS;
    convertAndRelease<S>(object, sizeof(S) + 8, [&](const S& p) {
        EXPECT_EQ(std::tuple(p.keyCert, Of(p.passwordAuthSafe, 5), p.passwordAuthSafeLen, Of(p.passwordHMAC, 3),
                             p.passwordHMACLen, p.safeBagKgMech, p.safeContentKgMech, p.hmacKgMech),
                  std::tuple(0x61UL, safe, 7UL, hmac, 2UL, 0x3A1UL, 0x3A2UL, 0x3A3UL));
    });
}

// The count that hCertCount's LongRef holds stays the count, whatever the
// handle array's length; a count of 0 leaves the handles unread, a null
// LongRef reads as all bits set. The template keeps the Java count.
TEST_F(RsaPbeParamsTest, Pkcs12ImportReadsTheHandlesForANonZeroCount) {
    const Bytes safe = Counting(0x70, 4), hmac = Counting(0x80, 6), label = Counting(0x90, 3), id = {0xEE, 0xEF};
    auto import = [&](jobject count) {
        jobjectArray attrs =
            attributes({attribute(CKA_LABEL, makeBytes(label), 3), attribute(0x102, makeBytes(id), 2)});
        return make(jn::kPkcs12PbeImportParams,
                    {bytes("passwordAuthSafe", safe), num("passwordAuthSafeLen", 9), bytes("passwordHMAC", hmac),
                     num("passwordHMACLen", 1), obj("certAttr", "[Lkaltrix/morlin/CK_ATTRIBUTE;", attrs),
                     num("certAttrCount", 2), obj("hCertCount", jn::kPkcs12CertCount.sig, count),
                     obj("hCert", jn::kPkcs12Cert.sig, wrappers(jn::kObjectHandle, {0x71, 0x72, 0x73}))});
    };
    using S = CK_PKCS12_PBE_IMPORT_PARAMS;
    const long base = sizeof(S) + sizeof(CK_ULONG) + 10 + 2 * sizeof(CK_ATTRIBUTE) + 5;
    convertAndRelease<S>(import(longRef(1)), base + 3 * sizeof(CK_OBJECT_HANDLE), [&](const S& p) {
        EXPECT_EQ(std::tuple(Of(p.passwordAuthSafe, 4), p.passwordAuthSafeLen, Of(p.passwordHMAC, 6), p.passwordHMACLen,
                             p.certAttrCount, *p.hCertCount),
                  std::tuple(safe, 9UL, hmac, 1UL, 2UL, 1UL));
        ASSERT_NE(p.certAttr, nullptr);
        ASSERT_NE(p.hCert, nullptr);
        EXPECT_EQ(std::tuple(p.certAttr[0].type, Of(p.certAttr[0].pValue, 3), p.certAttr[0].ulValueLen,
                             p.certAttr[1].type, Of(p.certAttr[1].pValue, 2), p.certAttr[1].ulValueLen),
                  std::tuple(CKA_LABEL, label, 3UL, 0x102UL, id, 2UL));
        EXPECT_EQ(std::tuple(p.hCert[0], p.hCert[1], p.hCert[2]), std::tuple(0x71UL, 0x72UL, 0x73UL));
    });
    convertAndRelease<S>(import(longRef(0)), base,
                         [](const S& p) { EXPECT_EQ(std::tuple(*p.hCertCount, p.hCert), std::tuple(0UL, nullptr)); });
    convertAndRelease<S>(import(nullptr), base + 3 * sizeof(CK_OBJECT_HANDLE), [](const S& p) {
        ASSERT_NE(p.hCert, nullptr);
        EXPECT_EQ(std::tuple(*p.hCertCount, p.hCert[2]), std::tuple(~0UL, 0x73UL));
    });
}

// What the token library writes into the structure reaches the Java
// parameter after C_GenerateKey and C_UnwrapKey.
TEST_F(RsaPbeParamsTest, TokenWritesComeBackThroughGenerateAndUnwrap) {
    auto writing = [](auto write) {
        return fake::Reply().hook([=](const fake::Call&, void* const* args) {
            write(fake::arg<CK_MECHANISM_PTR>(args, 1)->pParameter);
            return CKR_OK;
        });
    };
    // PBE_SHA1_DES3_EDE_CBC: at most 8 bytes of the IV come back.
    jobject pbe = make(jn::kPbeParams, {bytes("pInitVector", Bytes(16, 0)), num("iteration", 1)});
    fake::enqueue("C_GenerateKey",
                  writing([](void* p) { memset(static_cast<CK_PBE_PARAMS*>(p)->pInitVector, 0x5A, 16); }));
    EXPECT_EQ(rvOf(Java_kaltrix_morlin_Cryptoki_C_1GenerateKey(env, nullptr, session(1), mechanism(0x3A8, pbe, 48),
                                                               nullptr, 0, handle(0))),
              CKR_OK);
    Bytes expected(16, 0);
    std::fill_n(expected.begin(), 8, 0x5A);
    EXPECT_EQ(array(pbe, "pInitVector"), expected);

    auto unwrap = [&](CK_MECHANISM_TYPE type, jobject parameter, jlong length) {
        return rvOf(Java_kaltrix_morlin_Cryptoki_C_1UnwrapKey(env, nullptr, session(1),
                                                              mechanism(type, parameter, length), handle(2),
                                                              makeBytes({1}), 1, nullptr, 0, handle(0)));
    };
    // PKCS12_PBE_IMPORT: the token sees the Java count and answers with its own.
    jobject ref = longRef(3);
    jobjectArray certs = wrappers(jn::kObjectHandle, {0x71, 0x72, 0x73});
    jobject import = make(jn::kPkcs12PbeImportParams,
                          {obj("hCertCount", jn::kPkcs12CertCount.sig, ref), obj("hCert", jn::kPkcs12Cert.sig, certs)});
    CK_ULONG seen = 0;
    fake::enqueue("C_UnwrapKey", writing([&seen](void* p) {
                      auto* s = static_cast<CK_PKCS12_PBE_IMPORT_PARAMS*>(p);
                      seen = *s->hCertCount;
                      *s->hCertCount = 2;
                      if (s->hCert == nullptr) return;
                      s->hCert[0] = 0x901;
                      s->hCert[1] = 0x902;
                  }));
    EXPECT_EQ(unwrap(0x800009F3, import, 64), CKR_OK);
    EXPECT_EQ(std::tuple(seen, getLong(ref, "value"), values(certs)),
              std::tuple(3UL, jlong{2}, std::vector<jlong>{0x901, 0x902, 0x73}));

    // KEY_WRAP_SET_OAEP: XLen, and as many bytes of pX.
    jobject set = make(jn::kKeyWrapSetOaepParams, {bytes("pX", Bytes(5, 0x11)), num("XLen", 5)});
    fake::enqueue("C_UnwrapKey", writing([](void* p) {
                      auto* s = static_cast<CK_KEY_WRAP_SET_OAEP_PARAMS*>(p);
                      memset(s->pX, 0xE7, 3);
                      s->ulXLen = 3;
                  }));
    EXPECT_EQ(unwrap(0x401, set, 24), CKR_OK);
    EXPECT_EQ(std::tuple(getLong(set, "XLen"), array(set, "pX")),
              std::tuple(jlong{3}, Bytes{0xE7, 0xE7, 0xE7, 0x11, 0x11}));
}

}  // namespace
}  // namespace morlin_test
