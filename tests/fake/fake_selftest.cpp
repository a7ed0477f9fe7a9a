// Checks of the fake token library itself: the parts that the native tests
// lean on and that are easy to get subtly wrong.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

#include "fake_cryptoki.h"

namespace {

using fake::Bytes;
using fake::Reply;

class Fake : public ::testing::Test {
protected:
    void SetUp() override { fake::reset(); }
    void TearDown() override { fake::reset(); }
};

TEST_F(Fake, TwoPhaseOutputFollowsSizeQueryRules) {
    fake::setDefault("C_Encrypt", Reply().bytes({1, 2, 3, 4}));
    CK_BYTE in[2] = {7, 8};

    CK_ULONG len = 99;
    EXPECT_EQ(C_Encrypt(1, in, 2, nullptr, &len), CKR_OK);
    EXPECT_EQ(len, 4u);

    CK_BYTE out[8] = {0};
    len = 3;
    EXPECT_EQ(C_Encrypt(1, in, 2, out, &len), CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(len, 4u);
    EXPECT_EQ(out[0], 0) << "a too-small buffer is left alone";

    len = sizeof out;
    EXPECT_EQ(C_Encrypt(1, in, 2, out, &len), CKR_OK);
    EXPECT_EQ(len, 4u);
    EXPECT_EQ(Bytes(out, out + 5), Bytes({1, 2, 3, 4, 0}));

    // A forced error still writes, so a test can see the bridge ignore it.
    fake::enqueue("C_Encrypt", Reply().bytes({5}).returns(CKR_DEVICE_ERROR));
    len = sizeof out;
    EXPECT_EQ(C_Encrypt(1, in, 2, out, &len), CKR_DEVICE_ERROR);
    EXPECT_EQ(len, 1u);
    EXPECT_EQ(out[0], 5);

    // A forced length bypasses the rules: stored as given, bytes written whole.
    fake::enqueue("C_Encrypt", Reply().bytes({9, 9}).length(1000));
    len = 2;
    EXPECT_EQ(C_Encrypt(1, in, 2, out, &len), CKR_OK);
    EXPECT_EQ(len, 1000u);
    EXPECT_EQ(out[1], 9);

    auto calls = fake::calls("C_Encrypt");
    ASSERT_EQ(calls.size(), 5u);
    EXPECT_EQ(calls[0].lengthsIn, (std::vector<std::optional<CK_ULONG>>{99}));
    EXPECT_EQ(calls[0].nulls, (std::vector<bool>{false, true, false}));
    EXPECT_EQ(calls[1].lengthsIn[0], 3u);
    EXPECT_EQ(calls[1].inputs[0], Bytes({7, 8}));
}

TEST_F(Fake, ListOutputs) {
    fake::setDefault("C_GetSlotList", Reply().ulongs({3, 5}));
    CK_ULONG count = 0;
    EXPECT_EQ(C_GetSlotList(CK_TRUE, nullptr, &count), CKR_OK);
    EXPECT_EQ(count, 2u);
    CK_ULONG slots[2] = {0, 0};
    EXPECT_EQ(C_GetSlotList(CK_TRUE, slots, &count), CKR_OK);
    EXPECT_EQ(slots[1], 5u);
    EXPECT_EQ(fake::last("C_GetSlotList")->scalars, std::vector<CK_ULONG>{CK_TRUE});

    // C_FindObjects delivers at most ulMaxObjectCount and says how many.
    fake::setDefault("C_FindObjects", Reply().ulongs({10, 11, 12}));
    CK_OBJECT_HANDLE found[2] = {0, 0};
    CK_ULONG n = 77;
    EXPECT_EQ(C_FindObjects(4, found, 2, &n), CKR_OK);
    EXPECT_EQ(n, 2u);
    EXPECT_EQ(found[1], 11u);
    auto call = fake::last("C_FindObjects");
    EXPECT_EQ(call->scalars, (std::vector<CK_ULONG>{4, 2}));
    EXPECT_EQ(call->lengthsIn, (std::vector<std::optional<CK_ULONG>>{77}));
}

TEST_F(Fake, RecordsDeepCopiesOfTemplatesMechanismsAndInputs) {
    auto* label = static_cast<CK_BYTE*>(std::malloc(3));
    label[0] = 'a', label[1] = 'b', label[2] = 'c';
    auto* iv = static_cast<CK_BYTE*>(std::malloc(4));
    for (int i = 0; i < 4; ++i) iv[i] = static_cast<CK_BYTE>(0xA0 + i);
    CK_ATTRIBUTE tmpl[3] = {
        {CKA_LABEL, label, 3}, {CKA_VALUE, nullptr, 16}, {CKA_CLASS, label, CK_UNAVAILABLE_INFORMATION}};
    CK_MECHANISM mech = {0x1082, iv, 4};
    CK_OBJECT_HANDLE key = 0;
    fake::enqueue("C_GenerateKey", Reply().handle(42));
    EXPECT_EQ(C_GenerateKey(9, &mech, tmpl, 3, &key), CKR_OK);
    EXPECT_EQ(key, 42u);
    // The record must not point into the caller's memory.
    std::free(label);
    std::free(iv);

    auto call = fake::last("C_GenerateKey");
    ASSERT_TRUE(call);
    EXPECT_EQ(call->scalars, (std::vector<CK_ULONG>{9, 3}));
    ASSERT_TRUE(call->mechanism);
    EXPECT_EQ(call->mechanism->type, 0x1082u);
    EXPECT_FALSE(call->mechanism->parameterNull);
    EXPECT_EQ(call->mechanism->parameter, Bytes({0xA0, 0xA1, 0xA2, 0xA3}));
    ASSERT_EQ(call->templates.size(), 1u);
    const fake::Template& t = *call->templates[0];
    ASSERT_EQ(t.size(), 3u);
    EXPECT_EQ(t[0].value, Bytes({'a', 'b', 'c'}));
    EXPECT_TRUE(t[1].valueNull);
    EXPECT_EQ(t[1].valueLen, 16u);
    EXPECT_FALSE(t[2].valueNull);
    EXPECT_TRUE(t[2].value.empty()) << "an unavailable length is not read";

    // A null pointer and an empty buffer are different records.
    CK_BYTE any = 0;
    C_DigestUpdate(1, nullptr, 5);
    C_DigestUpdate(1, &any, 0);
    auto updates = fake::calls("C_DigestUpdate");
    ASSERT_EQ(updates.size(), 2u);
    EXPECT_FALSE(updates[0].inputs[0].has_value());
    EXPECT_EQ(updates[0].scalars, (std::vector<CK_ULONG>{1, 5}));
    ASSERT_TRUE(updates[1].inputs[0].has_value());
    EXPECT_TRUE(updates[1].inputs[0]->empty());

    // Null template and null mechanism.
    C_GenerateKey(9, nullptr, nullptr, 0, nullptr);
    call = fake::last("C_GenerateKey");
    EXPECT_FALSE(call->mechanism);
    EXPECT_FALSE(call->templates[0]);
    EXPECT_EQ(call->nulls, (std::vector<bool>{true, true, true}));
}

TEST_F(Fake, QueueIsUsedFirstThenTheDefault) {
    fake::enqueue("C_Login", Reply().returns(CKR_PIN_INCORRECT));
    fake::enqueue("C_Login", Reply().returns(CKR_PIN_LOCKED));
    fake::setDefault("C_Login", Reply().returns(CKR_USER_ALREADY_LOGGED_IN));
    CK_UTF8CHAR pin[] = {'1', '2'};
    EXPECT_EQ(C_Login(1, CKU_USER, pin, 2), CKR_PIN_INCORRECT);
    EXPECT_EQ(C_Login(1, CKU_USER, pin, 2), CKR_PIN_LOCKED);
    EXPECT_EQ(C_Login(1, CKU_USER, pin, 2), CKR_USER_ALREADY_LOGGED_IN);
    EXPECT_EQ(C_Login(1, CKU_USER, pin, 2), CKR_USER_ALREADY_LOGGED_IN);
    EXPECT_EQ(C_Logout(1), CKR_OK) << "unscripted functions answer CKR_OK";
    EXPECT_EQ(fake::count("C_Login"), 4u);
    EXPECT_EQ(fake::last("C_Login")->inputs[0], Bytes({'1', '2'}));

    fake::reset();
    EXPECT_EQ(C_Login(1, CKU_USER, pin, 2), CKR_OK) << "reset drops the scripts";
    EXPECT_EQ(fake::calls().size(), 1u);
    EXPECT_THROW(fake::enqueue("C_Logon", Reply()), std::invalid_argument);
}

// Mutex callbacks of the kind an application hands to C_Initialize.
std::atomic<int> created, locked, unlocked, destroyed;
CK_RV createMutex(CK_VOID_PTR_PTR m) {
    ++created;
    *m = &created;
    return CKR_OK;
}
CK_RV destroyMutex(CK_VOID_PTR) { return ++destroyed, CKR_OK; }
CK_RV lockMutex(CK_VOID_PTR) { return ++locked, CKR_OK; }
CK_RV unlockMutex(CK_VOID_PTR) { return ++unlocked, CKR_OK; }

TEST_F(Fake, HookCallsInitCallbacksFromOtherThreads) {
    created = locked = unlocked = destroyed = 0;
    fake::setDefault("C_Initialize", Reply().hook([](const fake::Call& call, void* const* args) {
        auto* init = static_cast<CK_C_INITIALIZE_ARGS*>(fake::arg<CK_VOID_PTR>(args, 0));
        EXPECT_EQ(call.initArgs->LockMutex, init->LockMutex);
        void* mutex = nullptr;
        EXPECT_EQ(init->CreateMutex(&mutex), CKR_OK);
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&] {
                init->LockMutex(mutex);
                CK_INFO info;
                C_GetInfo(&info);  // the fake's lock is not held during a hook
                init->UnlockMutex(mutex);
            });
        for (auto& t : threads) t.join();
        return init->DestroyMutex(mutex) == CKR_OK ? CKR_CANT_LOCK : CKR_GENERAL_ERROR;
    }));

    CK_C_INITIALIZE_ARGS args = {createMutex, destroyMutex, lockMutex, unlockMutex, CKF_OS_LOCKING_OK, nullptr};
    EXPECT_EQ(C_Initialize(&args), CKR_CANT_LOCK);
    EXPECT_EQ(created, 1);
    EXPECT_EQ(locked, 4);
    EXPECT_EQ(unlocked, 4);
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(fake::count("C_GetInfo"), 4u);

    auto recorded = fake::lastInitArgs();
    ASSERT_TRUE(recorded);
    EXPECT_EQ(recorded->UnlockMutex, unlockMutex);
    EXPECT_EQ(recorded->flags, CKF_OS_LOCKING_OK);
    EXPECT_EQ(recorded->pReserved, nullptr);

    fake::reset();
    EXPECT_EQ(C_Initialize(nullptr), CKR_OK);
    EXPECT_FALSE(fake::lastInitArgs());
    EXPECT_TRUE(fake::last("C_Initialize")->nulls[0]);
}

TEST_F(Fake, AttributeValuesPerElement) {
    fake::setDefault("C_GetAttributeValue", Reply()
                                                .attribute(CKA_LABEL, {'k', 'e', 'y'})
                                                .attributeUlong(CKA_CLASS, CKO_SECRET_KEY)
                                                .attributeError(CKA_VALUE, CKR_ATTRIBUTE_SENSITIVE));
    CK_ATTRIBUTE query[2] = {{CKA_LABEL, nullptr, 0}, {CKA_CLASS, nullptr, 0}};
    EXPECT_EQ(C_GetAttributeValue(1, 2, query, 2), CKR_OK);
    EXPECT_EQ(query[0].ulValueLen, 3u);
    EXPECT_EQ(query[1].ulValueLen, sizeof(CK_ULONG));

    CK_BYTE small[2] = {0, 0}, big[8] = {0};
    CK_ULONG cls = 0;
    CK_ATTRIBUTE read[4] = {
        {CKA_LABEL, small, 2}, {CKA_CLASS, &cls, sizeof cls}, {CKA_VALUE, big, 8}, {CKA_TOKEN, big, 8}};
    EXPECT_EQ(C_GetAttributeValue(1, 2, read, 4), CKR_BUFFER_TOO_SMALL) << "first error wins";
    EXPECT_EQ(read[0].ulValueLen, CK_UNAVAILABLE_INFORMATION);
    EXPECT_EQ(small[0], 0);
    EXPECT_EQ(cls, CKO_SECRET_KEY);
    EXPECT_EQ(read[1].ulValueLen, sizeof(CK_ULONG));
    EXPECT_EQ(read[2].ulValueLen, CK_UNAVAILABLE_INFORMATION);
    EXPECT_EQ(read[3].ulValueLen, CK_UNAVAILABLE_INFORMATION) << "unscripted type";
    // The record is the template as it came in, before the answer.
    EXPECT_EQ(fake::last("C_GetAttributeValue")->templates[0]->at(0).valueLen, 2u);
}

TEST_F(Fake, FixedShapeHandleAndVendorOutputs) {
    CK_TOKEN_INFO token{};
    token.label[0] = 'T';
    token.ulMaxPinLen = 64;
    fake::setDefault("C_GetTokenInfo", Reply().info(token));
    CK_TOKEN_INFO got{};
    EXPECT_EQ(C_GetTokenInfo(3, &got), CKR_OK);
    EXPECT_EQ(got.label[0], 'T');
    EXPECT_EQ(got.ulMaxPinLen, 64u);

    fake::setDefault("C_GenerateKeyPair", Reply().handles(100, 101));
    CK_OBJECT_HANDLE pub = 0, priv = 0;
    EXPECT_EQ(C_GenerateKeyPair(1, nullptr, nullptr, 0, nullptr, 0, &pub, &priv), CKR_OK);
    EXPECT_EQ(pub, 100u);
    EXPECT_EQ(priv, 101u);

    // FMSC: response filled up to its length, received length as scripted.
    fake::setDefault("FMSC_SendReceive", Reply().bytes({1, 2, 3}).received(200).status(0xFFFFFFFFu));
    CK_BYTE request[1] = {0x55}, response[2] = {0, 0};
    CK_ULONG received = 0;
    unsigned int status = 0;
    EXPECT_EQ(FMSC_SendReceive(7, 0x2345, request, 1, response, 2, &received, &status), CKR_OK);
    EXPECT_EQ(Bytes(response, response + 2), Bytes({1, 2}));
    EXPECT_EQ(received, 200u);
    EXPECT_EQ(status, 0xFFFFFFFFu);
    auto call = fake::last("FMSC_SendReceive");
    EXPECT_EQ(call->scalars, (std::vector<CK_ULONG>{7, 0x2345, 1, 2}));
    EXPECT_EQ(call->inputs[1], Bytes({0, 0})) << "the response as it came in";

    CK_FUNCTION_LIST_PTR list = nullptr;
    EXPECT_EQ(C_GetFunctionList(&list), CKR_OK);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->C_Encrypt, &C_Encrypt);
}

TEST_F(Fake, ConcurrentCallsAreAllRecorded) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t)
        threads.emplace_back([t] {
            for (CK_ULONG i = 0; i < 200; ++i) C_CloseSession(static_cast<CK_ULONG>(t) * 1000 + i);
        });
    for (auto& t : threads) t.join();
    EXPECT_EQ(fake::count("C_CloseSession"), 1600u);
}

#if defined(__SANITIZE_ADDRESS__)
// The bridge hands on Java counts unchecked; the fake must record what is
// there instead of reading past the block.
TEST_F(Fake, CountBeyondTheBlockIsClampedUnderAsan) {
    auto* data = static_cast<CK_BYTE*>(std::calloc(3, 1));
    C_SignUpdate(1, data, 100);
    EXPECT_EQ(fake::last("C_SignUpdate")->inputs[0]->size(), 3u);

    // An empty Java array arrives as a block of no elements with the Java count.
    auto* none = static_cast<CK_ATTRIBUTE*>(std::calloc(0, sizeof(CK_ATTRIBUTE)));
    fake::enqueue("C_GetAttributeValue", Reply().attribute(CKA_LABEL, {1}));
    C_GetAttributeValue(1, 2, none, 3);
    EXPECT_TRUE(fake::last("C_GetAttributeValue")->templates[0]->empty());

    // Writes stop at the block's end too, even with a bypassed length.
    fake::enqueue("C_Sign", Reply().bytes(Bytes(50, 0xEE)).length(50));
    CK_ULONG len = 3;
    EXPECT_EQ(C_Sign(1, nullptr, 0, data, &len), CKR_OK);
    EXPECT_EQ(len, 50u);
    EXPECT_EQ(data[2], 0xEE);
    std::free(none);
    std::free(data);
}
#endif

}  // namespace
