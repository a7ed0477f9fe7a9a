package kaltrix.morlin;

import java.util.concurrent.locks.ReentrantLock;
import kaltrix.morlin.constants.CK_RV;

/**
 * Arguments of {@link Cryptoki#C_Initialize}: optional mutex callbacks through
 * which the token library locks its shared state, and flags.
 *
 * <p>Set all four callbacks or none: PKCS#11 requires it, and a partial set
 * is handed to the token library unchecked. When any is set, the native library
 * keeps a reference to this object until a successful
 * {@link Cryptoki#C_Finalize} and reads the callback fields anew on every
 * callback, so replacing one takes effect at its next use. Callbacks work only
 * on threads attached to the JVM, such as a Java thread inside a
 * {@link Cryptoki} call; for a token library that locks from threads of its
 * own, use {@link #CKF_OS_LOCKING_OK} without callbacks instead. A
 * callback that throws makes the token library see {@code CKR_MUTEX_BAD}; the
 * exception then propagates from the {@link Cryptoki} method that was running.
 * A mutex is any non-null object that {@code CreateMutex} returns; the native
 * library holds a reference to it until {@code DestroyMutex} returns normally.
 */
public class CK_C_INITIALIZE_ARGS {
    /** Threads calling into the token library may not spawn new threads with operating-system calls. */
    public static final long CKF_LIBRARY_CANT_CREATE_OS_THREADS = 0x1;
    /** The token library may use the operating system's own locking. */
    public static final long CKF_OS_LOCKING_OK = 0x2;

    /** Creates a mutex. */
    @FunctionalInterface
    public interface CK_CREATEMUTEX {
        /** Returns a new mutex; null makes the token library see {@code CKR_MUTEX_BAD}. */
        Object CreateMutex();
    }

    /** Destroys a mutex. */
    @FunctionalInterface
    public interface CK_DESTROYMUTEX {
        /** Destroys {@code mutex} and returns a {@code CKR_} code. */
        long DestroyMutex(Object mutex);
    }

    /** Locks a mutex. */
    @FunctionalInterface
    public interface CK_LOCKMUTEX {
        /** Blocks until {@code mutex} is locked and returns a {@code CKR_} code. */
        long LockMutex(Object mutex);
    }

    /** Unlocks a mutex. */
    @FunctionalInterface
    public interface CK_UNLOCKMUTEX {
        /** Unlocks {@code mutex} and returns a {@code CKR_} code. */
        long UnlockMutex(Object mutex);
    }

    /** Creates mutexes, or null. */
    public CK_CREATEMUTEX createMutex;
    /** Destroys mutexes, or null. */
    public CK_DESTROYMUTEX destroyMutex;
    /** Locks mutexes, or null. */
    public CK_LOCKMUTEX lockMutex;
    /** Unlocks mutexes, or null. */
    public CK_UNLOCKMUTEX unlockMutex;
    /** {@code CKF_LIBRARY_CANT_CREATE_OS_THREADS} and {@code CKF_OS_LOCKING_OK} bits. */
    public long flags;
    /**
     * Must be null. Its reference is handed to the token library unconverted,
     * where PKCS#11 expects {@code NULL_PTR}.
     */
    public Object reserved;

    /** Creates arguments without callbacks and without flags. */
    public CK_C_INITIALIZE_ARGS() {
    }

    /** Creates arguments with the given callbacks and flags. */
    public CK_C_INITIALIZE_ARGS(CK_CREATEMUTEX createMutex, CK_DESTROYMUTEX destroyMutex,
            CK_LOCKMUTEX lockMutex, CK_UNLOCKMUTEX unlockMutex, long flags) {
        this.createMutex = createMutex;
        this.destroyMutex = destroyMutex;
        this.lockMutex = lockMutex;
        this.unlockMutex = unlockMutex;
        this.flags = flags;
    }

    /**
     * Returns arguments whose mutexes are {@link ReentrantLock}s. Unlocking a
     * lock that the calling thread does not hold gives
     * {@code CKR_MUTEX_NOT_LOCKED}; any mutex that is not a {@code ReentrantLock}
     * gives {@code CKR_MUTEX_BAD}.
     */
    public static CK_C_INITIALIZE_ARGS withReentrantLocks(long flags) {
        return new CK_C_INITIALIZE_ARGS(ReentrantLock::new,
                mutex -> mutex instanceof ReentrantLock ? CK_RV.CKR_OK : CK_RV.CKR_MUTEX_BAD,
                CK_C_INITIALIZE_ARGS::lock, CK_C_INITIALIZE_ARGS::unlock, flags);
    }

    private static long lock(Object mutex) {
        if (!(mutex instanceof ReentrantLock)) {
            return CK_RV.CKR_MUTEX_BAD;
        }
        ((ReentrantLock) mutex).lock();
        return CK_RV.CKR_OK;
    }

    private static long unlock(Object mutex) {
        if (!(mutex instanceof ReentrantLock)) {
            return CK_RV.CKR_MUTEX_BAD;
        }
        ReentrantLock lock = (ReentrantLock) mutex;
        if (!lock.isHeldByCurrentThread()) {
            return CK_RV.CKR_MUTEX_NOT_LOCKED;
        }
        lock.unlock();
        return CK_RV.CKR_OK;
    }
}
