// The token library's own parameter classes and functions. The structures
// field by field through the mechanism conversion and its release, swept
// over their exception paths; the four natives where they go beyond their
// frames: CT_CopyObject's second session and template, the unchecked arrays
// of CT_InitToken and CT_ResetToken, and FMSC_SendReceive, whose lengths come
// from its arrays and whose status stays out of the CK_RV.
#include <algorithm>
#include <tuple>
#include <vector>

#include "allocations.h"
#include "morlin/mechanism.h"
#include "morlin/names/paramsVendor.h"
#include "paramsTest.h"
#include "sweep.h"

namespace morlin_test {
namespace {

using Bytes = std::vector<unsigned char>;

Bytes Counting(unsigned char first, size_t n) {
    Bytes b(n);
    for (size_t i = 0; i < n; ++i) b[i] = static_cast<unsigned char>(first + i);
    return b;
}
Bytes Fit(Bytes b, size_t width) {
    b.resize(width, 0);
    return b;
}
// The n bytes at p; nothing for null.
Bytes Of(const void* p, size_t n) {
    auto* b = static_cast<const CK_BYTE*>(p);
    return b == nullptr ? Bytes{} : Bytes(b, b + n);
}

class VendorParamsTest : public ParamsTest {
protected:
    jobject bbool(bool value) { return boxed(jn::kBBool, "(Z)V", jvalue{.z = value}); }
    jobject ppLoadSecret(jobject mask, jint convert, jint timeout, jobject prompt) {
        jobject o = allocObject(jn::kPpLoadSecretParams.path);
        jclass cls = findClass(jn::kPpLoadSecretParams.path);
        setObject(o, "bMaskInput", jn::kPpLoadSecretMaskInput.sig, mask);
        env->SetIntField(o, env->GetFieldID(cls, "cConvert", "I"), convert);
        env->SetIntField(o, env->GetFieldID(cls, "cTimeout", "I"), timeout);
        setObject(o, "prompt", "[B", prompt);
        return o;
    }
};

// Each wrapper through its own conversion: a null one is all bits set.
TEST_F(VendorParamsTest, MechanismAndObjectComeFromTheirWrappers) {
    jobject given = allocObject(jn::kMechTypeAndObject.path);
    setObject(given, "mechanism", jn::kMechTypeAndObjectMechanism.sig, wrapper(jn::kMechanismType, 0x80000A01));
    setObject(given, "hObj", jn::kMechTypeAndObjectHandle.sig, handle(0x5D));
    auto check = [](CK_ULONG mechanism, CK_ULONG object) {
        return [=](const CK_MECH_TYPE_AND_OBJECT& p) {
            EXPECT_EQ(std::tuple(p.mechanism, p.hObj), std::tuple(mechanism, object));
        };
    };
    convertAndRelease<CK_MECH_TYPE_AND_OBJECT>(given, 16, check(0x80000A01, 0x5D));
    convertAndRelease<CK_MECH_TYPE_AND_OBJECT>(allocObject(jn::kMechTypeAndObject.path), 16, check(~0UL, ~0UL), kLength,
                                               false);
}

// A byte from an int: 255 above 255, the low byte below, so negatives wrap.
// The prompt is the whole array and a NUL, one NUL for an empty array. A null
// mask wrapper stays CK_FALSE and is not read.
TEST_F(VendorParamsTest, PinPadBytesClampAboveAndWrapBelow) {
    using P = CK_PP_LOAD_SECRET_PARAMS;
    auto check = [](CK_BBOOL mask, CK_CHAR convert, CK_CHAR timeout, const Bytes& prompt) {
        return [=](const P& p) {
            EXPECT_EQ(std::tuple(p.bMaskInput, p.cConvert, p.cTimeout, Of(p.prompt, prompt.size())),
                      std::tuple(mask, convert, timeout, prompt));
        };
    };
    const Bytes enter = {'E', 'n', 't', 'e', 'r'};
    convertAndRelease<P>(ppLoadSecret(bbool(true), 0x1C, -2, makeBytes(enter)), sizeof(P) + 6,
                         check(CK_TRUE, 0x1C, 0xFE, {'E', 'n', 't', 'e', 'r', 0}));
    convertAndRelease<P>(ppLoadSecret(bbool(false), 300, -1, makeBytes({})), sizeof(P) + 1,
                         check(CK_FALSE, 255, 255, {0}), kLength, false);
    convertAndRelease<P>(ppLoadSecret(nullptr, 256, 255, makeBytes({'x'})), sizeof(P) + 2,
                         check(CK_FALSE, 255, 255, {'x', 0}), kLength, false);
}

TEST_F(VendorParamsTest, TimestampReplicationAndSharingFieldByField) {
    jobject stamp = allocObject(jn::kTimestampParams.path);
    setObject(stamp, "useMilliseconds", jn::kTimestampUseMilliseconds.sig, bbool(true));
    setLong(stamp, "timestampFormat", 0x1122334455667788);
    convertAndRelease<CK_TIMESTAMP_PARAMS>(stamp, 16, [](const CK_TIMESTAMP_PARAMS& p) {
        EXPECT_EQ(std::tuple(p.useMilliseconds, p.timestampFormat), std::tuple(CK_TRUE, 0x1122334455667788UL));
    });

    // peerId: a short array leaves a zero tail, a long one is cut, null is zeros.
    const Bytes peer = Counting(0xA0, 32);
    for (size_t n : {10, 32, 0}) {
        jobject replicate = allocObject(jn::kReplicateTokenParams.path);
        setObject(replicate, "peerId", "[B", n == 0 ? nullptr : makeBytes(Fit(peer, n)));
        convertAndRelease<CK_REPLICATE_TOKEN_PARAMS>(
            replicate, 16,
            [&](const CK_REPLICATE_TOKEN_PARAMS& p) { EXPECT_EQ(Of(p.peerId, 16), Fit(Fit(peer, n), 16)); }, n == 10);
    }

    jobject share = allocObject(jn::kSecretShareParams.path);
    setLong(share, "n", 5);
    setLong(share, "m", 3);
    convertAndRelease<CK_SECRET_SHARE_PARAMS>(
        share, 16, [](const CK_SECRET_SHARE_PARAMS& p) { EXPECT_EQ(std::tuple(p.n, p.m), std::tuple(5UL, 3UL)); });
}

class VendorNativesTest : public ParamsTest {
protected:
    CK_RV copyObject(jobject second, jobjectArray t, jlong count, jobject made) {
        return rvOf(Java_kaltrix_morlin_Cryptoki_CT_1CopyObject(env, nullptr, session(0x11), second, handle(0x33), t,
                                                                count, made));
    }
    CK_RV initToken(jbyteArray pin, jlong pinLen, jbyteArray label) {
        return rvOf(Java_kaltrix_morlin_Cryptoki_CT_1InitToken(env, nullptr, session(0x15), 9, pin, pinLen, label));
    }
    CK_RV resetToken(jbyteArray pin, jlong pinLen, jbyteArray label) {
        return rvOf(Java_kaltrix_morlin_Cryptoki_CT_1ResetToken(env, nullptr, session(0x16), pin, pinLen, label));
    }
    jobject send(jlong fm, jbyteArray request, jlong requestLen, jbyteArray response, jlong responseLen,
                 jobject received, jobject status) {
        return Java_kaltrix_morlin_Cryptoki_FMSC_1SendReceive(env, nullptr, session(0x51), fm, request, requestLen,
                                                              response, responseLen, received, status);
    }
};

TEST_F(VendorNativesTest, CopyObjectPassesBothSessionsAndTheJavaCount) {
    jobjectArray t = attributes(
        {attribute(CKA_LABEL, makeBytes({'c', 'p'}), 2), attribute(CKA_CLASS, wrapper(jn::kObjectClass, CKO_DATA), 4)});
    fake::setDefault("CT_CopyObject", fake::Reply().handle(0x47));
    jobject made = handle(0);
    EXPECT_EQ(copyObject(session(0x22), t, 2, made), CKR_OK);
    fake::Call call = *fake::last("CT_CopyObject");
    EXPECT_EQ(call.scalars, (std::vector<CK_ULONG>{0x11, 0x22, 0x33, 2}));
    const fake::Template sent = *call.templates[0];
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_EQ(std::tuple(sent[0].type, sent[0].value, sent[1].type, sent[1].valueLen, sent[1].value),
              std::tuple(CKA_LABEL, fake::Bytes{'c', 'p'}, CKA_CLASS, 8UL, fake::Reply::raw(CKO_DATA)));
    EXPECT_EQ(getLong(made, "m_value"), 0x47);

    // An error keeps the old handle; a null second session is all bits set.
    fake::setDefault("CT_CopyObject", fake::Reply().handle(0x48).returns(CKR_SESSION_HANDLE_INVALID));
    EXPECT_EQ(copyObject(nullptr, t, 1, made), CKR_SESSION_HANDLE_INVALID);
    call = *fake::last("CT_CopyObject");
    EXPECT_EQ(std::tuple(call.scalars[1], call.scalars[3], call.templates[0]->size()), std::tuple(~0UL, 1UL, 1UL));
    EXPECT_EQ(getLong(made, "m_value"), 0x47);

    // Refused before any conversion: no output, a null template with a count.
    EXPECT_EQ(copyObject(session(0x22), t, 2, nullptr), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(copyObject(session(0x22), nullptr, 1, made), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(fake::count("CT_CopyObject"), 2u);
}

// The PIN goes with the Java length, the label as exactly the array's bytes
// (nothing padded or added: only the two copies are taken), and a null array
// is a null pointer whatever the length.
TEST_F(VendorNativesTest, InitAndResetTokenPassTheirArraysUnchecked) {
    const Bytes pin = {'1', '2', '3', '4'}, label = Counting('A', 32);
    long taken = -1;
    AllocationWatch memory;
    fake::setDefault("CT_InitToken", fake::Reply().hook([&](const fake::Call&, void* const*) {
        taken = memory.tally().bytes;
        return CKR_OK;
    }));
    EXPECT_EQ(initToken(makeBytes(pin), 3, makeBytes(label)), CKR_OK);
    fake::Call call = *fake::last("CT_InitToken");
    EXPECT_EQ(std::tuple(call.scalars, *call.inputs[0], *call.inputs[1], taken),
              std::tuple(std::vector<CK_ULONG>{0x15, 9, 3}, Fit(pin, 3), label, 36L));
    EXPECT_EQ(initToken(nullptr, 4, nullptr), CKR_OK);
    call = *fake::last("CT_InitToken");
    EXPECT_EQ(std::tuple(call.nulls, call.scalars[2]), std::tuple(std::vector<bool>{true, true}, 4UL));

    EXPECT_EQ(resetToken(makeBytes(pin), 4, makeBytes(label)), CKR_OK);
    call = *fake::last("CT_ResetToken");
    EXPECT_EQ(std::tuple(call.scalars, *call.inputs[0], *call.inputs[1]),
              std::tuple(std::vector<CK_ULONG>{0x16, 4}, pin, label));
    EXPECT_EQ(resetToken(nullptr, 6, nullptr), CKR_OK);
    call = *fake::last("CT_ResetToken");
    EXPECT_EQ(std::tuple(call.nulls, call.scalars[1]), std::tuple(std::vector<bool>{true, true}, 6UL));
    EXPECT_EQ(memory.tally().blocks, 0);
}

// The low 16 bits of the selector, the arrays' own lengths (the Java ones are
// not read), the response as it stands; the answer copied as far as the
// array reaches while the LongRef tells all of it.
TEST_F(VendorNativesTest, SendReceiveTakesItsLengthsFromTheArraysAndLeavesTheStatusToJava) {
    const Bytes answer = Counting(0x30, 200), before = Counting(0x90, 100), request = Counting(1, 5);
    fake::setDefault("FMSC_SendReceive", fake::Reply().bytes(answer).status(0));
    jbyteArray response = makeBytes(before);
    jobject received = longRef(-1), status = longRef(-1);
    EXPECT_EQ(rvOf(send(0x12345, makeBytes(request), 99, response, 10, received, status)), CKR_OK);
    const fake::Call call = *fake::last("FMSC_SendReceive");
    EXPECT_EQ(std::tuple(call.scalars, *call.inputs[0], *call.inputs[1]),
              std::tuple(std::vector<CK_ULONG>{0x51, 0x2345, 5, 100}, request, before));
    EXPECT_EQ(std::tuple(readBytes(response), getLong(received, "value"), getLong(status, "value")),
              std::tuple(Fit(answer, 100), 200, 0));

    // No arrays: null pointers and 0, and the length still delivered.
    fake::setDefault("FMSC_SendReceive", fake::Reply().bytes({7, 7, 7}).status(0));
    EXPECT_EQ(rvOf(send(1, nullptr, 4, nullptr, 4, received, status)), CKR_OK);
    const fake::Call empty = *fake::last("FMSC_SendReceive");
    EXPECT_EQ(std::tuple(empty.nulls[0], empty.nulls[1], empty.scalars[2], empty.scalars[3]),
              std::tuple(true, true, 0UL, 0UL));
    EXPECT_EQ(getLong(received, "value"), 3);

    // Both LongRefs are written on every answer, the status zero-extended;
    // the response only for CKR_OK with status 0. A status is no error.
    const Bytes kept = Counting(0x10, 4);
    response = makeBytes(kept);
    fake::setDefault("FMSC_SendReceive", fake::Reply().bytes({9, 9}).status(0xFFFFFFFF));
    EXPECT_EQ(rvOf(send(2, nullptr, 0, response, 4, received, status)), CKR_OK);
    EXPECT_EQ(std::tuple(readBytes(response), getLong(received, "value"), getLong(status, "value")),
              std::tuple(kept, 2, 4294967295));

    fake::setDefault("FMSC_SendReceive", fake::Reply().bytes({8, 8, 8}).status(0).returns(CKR_DEVICE_ERROR));
    EXPECT_EQ(rvOf(send(2, nullptr, 0, response, 4, received, status)), CKR_DEVICE_ERROR);
    EXPECT_EQ(std::tuple(readBytes(response), getLong(received, "value"), getLong(status, "value")),
              std::tuple(kept, 3, 0));
}

// The LongRefs are tested only after both copies are made, which are then
// freed. The LongRef class lookup has no check of its own: its exception is
// caught after the session's class lookup, which -Xcheck:jni reports.
TEST_F(VendorNativesTest, SendReceiveChecksItsLongRefsLate) {
    AllocationWatch memory;
    for (int missing = 0; missing < 2; ++missing) {
        jobject received = missing == 0 ? nullptr : longRef(0), status = missing == 1 ? nullptr : longRef(0);
        JniMonitor monitor(env);
        jobject rv = send(3, makeBytes({1}), 1, makeBytes({2}), 1, received, status);
        const std::vector<Jni>& trace = monitor.tally().trace;
        EXPECT_EQ(std::count(trace.begin(), trace.end(), Jni::GetByteArrayRegion), 2);
        EXPECT_EQ(rvOf(rv), CKR_ARGUMENTS_BAD);
    }
    if (checkJniMode()) return;
    std::vector<Jni> trace;
    jobject rv = nullptr;
    {
        JniMonitor monitor(env);
        monitor.failCall(Jni::FindClass, 1);
        rv = send(3, makeBytes({1}), 1, makeBytes({2}), 1, longRef(0), longRef(0));
        trace = monitor.tally().trace;
    }
    EXPECT_EQ(std::tuple(rv, takeException()), std::tuple(nullptr, std::string(kInjectedException)));
    trace.resize(3);
    EXPECT_EQ(trace, (std::vector<Jni>{Jni::FindClass, Jni::FindClass, Jni::ExceptionCheck}));
    EXPECT_EQ(std::tuple(fake::count("FMSC_SendReceive"), memory.tally().blocks), std::tuple(0u, 0L));
}

}  // namespace
}  // namespace morlin_test
