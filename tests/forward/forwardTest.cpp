// The forwarder against the recording module: which mechanisms are rewritten
// into the PKCS#11 2.40 layout, in which functions, and what comes back.
#include <dlfcn.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cryptoki.h"
#include "mechanismCalls.h"
#include "recordingModule.h"
#include "standard_params.h"

namespace {

class ForwardToRecorder : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        const char* path = getenv("MORLIN_PKCS11_MODULE");
        ASSERT_NE(path, nullptr) << "MORLIN_PKCS11_MODULE must name the recording module";
        // The same handle that the forwarder gets when it opens the path.
        void* handle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(handle, nullptr) << dlerror();
        last_ = reinterpret_cast<RecordingLastFn>(dlsym(handle, "recording_last"));
        reset_ = reinterpret_cast<RecordingResetFn>(dlsym(handle, "recording_reset"));
        ASSERT_NE(last_, nullptr);
        ASSERT_NE(reset_, nullptr);
    }
    void SetUp() override { reset_(nullptr); }

    static const RecordedCall& Last() { return *last_(); }
    static StandardGcmParams ReceivedGcm() {
        StandardGcmParams p;
        memcpy(&p, Last().parameterBytes, sizeof p);
        return p;
    }

    static RecordingLastFn last_;
    static RecordingResetFn reset_;

    CK_BYTE iv_[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    CK_BYTE aad_[20] = {0xAA, 0xAB};
    CK_AES_GCM_PARAMS gcm_{iv_, 12, aad_, 20, 96};
};
RecordingLastFn ForwardToRecorder::last_;
RecordingResetFn ForwardToRecorder::reset_;

TEST_F(ForwardToRecorder, GcmParametersReachTheModuleInTheStandardLayoutInEveryMechanismFunction) {
    for (const MechanismCall& c : MechanismCalls()) {
        SCOPED_TRACE(c.name);
        reset_(nullptr);
        CK_MECHANISM mechanism{CKM_AES_GCM, &gcm_, sizeof gcm_};
        EXPECT_EQ(c.call(&mechanism), kRecordingAnswer);
        EXPECT_STREQ(Last().function, c.name);
        EXPECT_EQ(Last().type, CKM_AES_GCM);
        EXPECT_EQ(Last().parameterLen, 48u);
        EXPECT_NE(Last().parameter, static_cast<void*>(&gcm_));
        StandardGcmParams got = ReceivedGcm();
        EXPECT_EQ(got.pIv, iv_);
        EXPECT_EQ(got.ulIvLen, 12u);
        EXPECT_EQ(got.ulIvBits, 96u);
        EXPECT_EQ(got.pAAD, aad_);
        EXPECT_EQ(got.ulAADLen, 20u);
        EXPECT_EQ(got.ulTagBits, 96u);
        // The caller's mechanism and parameter are as they were.
        EXPECT_EQ(mechanism.pParameter, static_cast<void*>(&gcm_));
        EXPECT_EQ(mechanism.ulParameterLen, sizeof gcm_);
        EXPECT_EQ(gcm_.ulIvLen, 12u);
        EXPECT_EQ(gcm_.pAAD, aad_);
        EXPECT_EQ(gcm_.ulTagBits, 96u);
    }
}

TEST_F(ForwardToRecorder, GmacTakesTheGcmStructureButABareIvPassesAsItIs) {
    CK_MECHANISM gmac{CKM_AES_GMAC, &gcm_, sizeof gcm_};
    EXPECT_EQ(C_SignInit(1, &gmac, 2), kRecordingAnswer);
    EXPECT_EQ(Last().parameterLen, 48u);
    EXPECT_EQ(ReceivedGcm().ulIvBits, 96u);
    EXPECT_EQ(ReceivedGcm().ulTagBits, 96u);

    CK_MECHANISM bareIv{CKM_AES_GMAC, iv_, 16};
    EXPECT_EQ(C_SignInit(1, &bareIv, 2), kRecordingAnswer);
    EXPECT_EQ(Last().mechanism, &bareIv);
    EXPECT_EQ(Last().parameter, static_cast<void*>(iv_));
}

TEST_F(ForwardToRecorder, WhatTheModuleWritesIntoTheParameterComesBack) {
    reset_([](CK_MECHANISM_PTR m) {
        auto* p = static_cast<StandardGcmParams*>(m->pParameter);
        memset(p->pIv, 0x5C, 16);  // a module that generates the IV
        p->ulIvLen = 16;
        p->ulIvBits = 128;
        p->ulTagBits = 128;
    });
    CK_MECHANISM mechanism{CKM_AES_GCM, &gcm_, sizeof gcm_};
    EXPECT_EQ(C_EncryptInit(1, &mechanism, 2), kRecordingAnswer);
    EXPECT_EQ(gcm_.ulIvLen, 16u);
    EXPECT_EQ(gcm_.ulTagBits, 128u);
    EXPECT_EQ(gcm_.pIv, iv_);
    EXPECT_EQ(gcm_.pAAD, aad_);
    EXPECT_EQ(gcm_.ulAADLen, 20u);
    EXPECT_EQ(iv_[0], 0x5C);
    EXPECT_EQ(iv_[15], 0x5C);
}

TEST_F(ForwardToRecorder, OtherMechanismsReachTheModuleAsTheCallersOwnPointer) {
    struct Case {
        const char* what;
        CK_MECHANISM mechanism;
    };
    CK_BYTE ctr[24] = {};
    StandardGcmParams standard{iv_, 12, 96, aad_, 20, 128};
    Case cases[] = {
        {"AES-CTR parameter", {0x1086, ctr, sizeof ctr}},
        {"no parameter", {CKM_AES_KEY_GEN, nullptr, 0}},
        {"GCM already in the 48-byte layout", {CKM_AES_GCM, &standard, sizeof standard}},
        {"GCM without a parameter", {CKM_AES_GCM, nullptr, sizeof gcm_}},
        {"GCM with a length of neither layout", {CKM_AES_GCM, &gcm_, 32}},
        {"the token library's vendor GCM", {0x80000966, &gcm_, sizeof gcm_}},
    };
    for (Case& c : cases) {
        SCOPED_TRACE(c.what);
        reset_(nullptr);
        EXPECT_EQ(C_EncryptInit(1, &c.mechanism, 2), kRecordingAnswer);
        EXPECT_EQ(Last().mechanism, &c.mechanism);
        EXPECT_EQ(Last().parameter, c.mechanism.pParameter);
    }
    EXPECT_EQ(C_DecryptInit(1, nullptr, 2), kRecordingAnswer);
    EXPECT_STREQ(Last().function, "C_DecryptInit");
    EXPECT_EQ(Last().mechanism, nullptr);
}

TEST_F(ForwardToRecorder, TheForwardersOwnFunctionListTranslatesToo) {
    CK_FUNCTION_LIST_PTR list = nullptr;
    ASSERT_EQ(C_GetFunctionList(&list), CKR_OK);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->C_EncryptInit, &C_EncryptInit);
    CK_MECHANISM mechanism{CKM_AES_GCM, &gcm_, sizeof gcm_};
    EXPECT_EQ(list->C_DecryptInit(1, &mechanism, 2), kRecordingAnswer);
    EXPECT_EQ(Last().parameterLen, 48u);
    EXPECT_EQ(C_GetFunctionList(nullptr), CKR_ARGUMENTS_BAD);
}

TEST_F(ForwardToRecorder, GapsInTheModuleAndVendorFunctionsAnswerNotSupported) {
    CK_BYTE pin[] = {'1', '2', '3', '4'};
    EXPECT_EQ(C_Login(1, CKU_USER, pin, sizeof pin), CKR_FUNCTION_NOT_SUPPORTED);
    EXPECT_EQ(Last().function, nullptr);
    EXPECT_EQ(CT_InitToken(1, 0, pin, sizeof pin, pin), CKR_FUNCTION_NOT_SUPPORTED);
    EXPECT_EQ(CT_ResetToken(1, pin, sizeof pin, pin), CKR_FUNCTION_NOT_SUPPORTED);
    CK_OBJECT_HANDLE h;
    EXPECT_EQ(CT_CopyObject(1, 2, 3, nullptr, 0, &h), CKR_FUNCTION_NOT_SUPPORTED);
    CK_ULONG received;
    unsigned int status;
    EXPECT_EQ(FMSC_SendReceive(1, 0, pin, 4, pin, 4, &received, &status), CKR_FUNCTION_NOT_SUPPORTED);
    EXPECT_EQ(Last().function, nullptr);
}

// Run with MORLIN_PKCS11_MODULE naming a file that does not exist.
TEST(ForwardWithoutModule, EveryCallAnswersGeneralErrorAfterOneLineOnStderr) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(C_Initialize(nullptr), CKR_GENERAL_ERROR);
    CK_INFO info;
    EXPECT_EQ(C_GetInfo(&info), CKR_GENERAL_ERROR);
    EXPECT_EQ(C_Finalize(nullptr), CKR_GENERAL_ERROR);
    std::string err = testing::internal::GetCapturedStderr();
    EXPECT_NE(err.find("MORLIN_PKCS11_MODULE"), std::string::npos) << err;
    EXPECT_NE(err.find(getenv("MORLIN_PKCS11_MODULE")), std::string::npos) << err;
    ASSERT_FALSE(err.empty());
    EXPECT_EQ(err.find('\n'), err.size() - 1) << "one line only: " << err;
}

}  // namespace
