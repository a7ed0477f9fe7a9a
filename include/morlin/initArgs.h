// The only state of class Cryptoki that outlives a call: what C_Initialize
// armed for the mutex callbacks. Written by C_Initialize and C_Finalize,
// which the application calls while no other thread is in the library;
// read without a lock by the callbacks that the token library makes.
#ifndef MORLIN_INIT_ARGS_H
#define MORLIN_INIT_ARGS_H

#include <jni.h>

#include "cryptoki.h"

// JNI global reference to the Java CK_C_INITIALIZE_ARGS whose callbacks are
// in force; the callbacks read their fields through it on every call.
extern jobject gInitArgsObject;
// Heap copy of the callback members handed to the token library; only a
// mark that the callbacks are armed, nothing reads its content.
extern CK_C_INITIALIZE_ARGS* gInitArgs;

// The trampolines that the token library calls with the standard's mutex
// signatures. Every failure reaches the token library as CKR_MUTEX_BAD.
CK_RV callJCreateMutex(CK_VOID_PTR_PTR ppMutex);
CK_RV callJDestroyMutex(CK_VOID_PTR pMutex);
CK_RV callJLockMutex(CK_VOID_PTR pMutex);
CK_RV callJUnlockMutex(CK_VOID_PTR pMutex);

#endif
