// The mutex callbacks in a process that has never started a JVM: the token
// library may call them from a program that loaded the bridge without Java.
// No JVM is a failure for CreateMutex and silently a success for the others.
#include <gtest/gtest.h>

#include "morlin/initArgs.h"

namespace {

TEST(MutexWithoutJvm, CreateFailsAndTheOthersSucceed) {
    void* mutex = reinterpret_cast<void*>(1);
    EXPECT_EQ(callJCreateMutex(&mutex), CKR_MUTEX_BAD);
    EXPECT_EQ(mutex, nullptr);
    void* some = reinterpret_cast<void*>(0x10);
    EXPECT_EQ(callJLockMutex(some), CKR_OK);
    EXPECT_EQ(callJUnlockMutex(some), CKR_OK);
    EXPECT_EQ(callJDestroyMutex(some), CKR_OK);
    // A null mutex is refused before the JVM is looked for.
    EXPECT_EQ(callJLockMutex(nullptr), CKR_MUTEX_BAD);
    EXPECT_EQ(callJCreateMutex(nullptr), CKR_MUTEX_BAD);
}

}  // namespace
