// Names of CK_C_INITIALIZE_ARGS, which C_Initialize reads, and of the four
// mutex interfaces nested in it, which the mutex callbacks call.
#ifndef MORLIN_NAMES_INITARGS_H
#define MORLIN_NAMES_INITARGS_H

#include "morlin/javaNames.h"

#define MORLIN_NAMES_INIT_ARGS(CLASS, ABSENT_CLASS, FIELD, METHOD)                                                 \
    CLASS(InitArgs, "kaltrix/morlin/CK_C_INITIALIZE_ARGS")                                                         \
    FIELD(InitArgsCreateMutex, InitArgs, "createMutex", "Lkaltrix/morlin/CK_C_INITIALIZE_ARGS$CK_CREATEMUTEX;")    \
    FIELD(InitArgsDestroyMutex, InitArgs, "destroyMutex", "Lkaltrix/morlin/CK_C_INITIALIZE_ARGS$CK_DESTROYMUTEX;") \
    FIELD(InitArgsLockMutex, InitArgs, "lockMutex", "Lkaltrix/morlin/CK_C_INITIALIZE_ARGS$CK_LOCKMUTEX;")          \
    FIELD(InitArgsUnlockMutex, InitArgs, "unlockMutex", "Lkaltrix/morlin/CK_C_INITIALIZE_ARGS$CK_UNLOCKMUTEX;")    \
    FIELD(InitArgsFlags, InitArgs, "flags", "J")                                                                   \
    FIELD(InitArgsReserved, InitArgs, "reserved", "Ljava/lang/Object;")                                            \
    CLASS(CreateMutex, "kaltrix/morlin/CK_C_INITIALIZE_ARGS$CK_CREATEMUTEX")                                       \
    METHOD(CreateMutexMethod, CreateMutex, "CreateMutex", "()Ljava/lang/Object;")                                  \
    CLASS(DestroyMutex, "kaltrix/morlin/CK_C_INITIALIZE_ARGS$CK_DESTROYMUTEX")                                     \
    METHOD(DestroyMutexMethod, DestroyMutex, "DestroyMutex", "(Ljava/lang/Object;)J")                              \
    CLASS(LockMutex, "kaltrix/morlin/CK_C_INITIALIZE_ARGS$CK_LOCKMUTEX")                                           \
    METHOD(LockMutexMethod, LockMutex, "LockMutex", "(Ljava/lang/Object;)J")                                       \
    CLASS(UnlockMutex, "kaltrix/morlin/CK_C_INITIALIZE_ARGS$CK_UNLOCKMUTEX")                                       \
    METHOD(UnlockMutexMethod, UnlockMutex, "UnlockMutex", "(Ljava/lang/Object;)J")

MORLIN_JAVA_NAMES(initArgs, MORLIN_NAMES_INIT_ARGS)

#endif
