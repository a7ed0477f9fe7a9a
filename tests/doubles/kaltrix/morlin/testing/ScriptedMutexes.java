package kaltrix.morlin.testing;

import java.util.concurrent.atomic.AtomicInteger;
import java.util.concurrent.locks.ReentrantLock;
import kaltrix.morlin.CK_C_INITIALIZE_ARGS;

/**
 * Mutex callbacks whose behaviour a native test sets through the static
 * fields: real ReentrantLocks by default, or null, fixed answers and
 * exceptions on demand. Counters show what the token library called.
 */
public final class ScriptedMutexes {
    public static volatile boolean createReturnsNull;
    public static volatile boolean lockThrows;
    public static volatile boolean destroyThrows;
    public static volatile long lockAnswer;
    private static final AtomicInteger creates = new AtomicInteger();
    private static final AtomicInteger locks = new AtomicInteger();
    private static final AtomicInteger unlocks = new AtomicInteger();
    private static final AtomicInteger destroys = new AtomicInteger();

    private ScriptedMutexes() {
    }

    public static void reset() {
        createReturnsNull = false;
        lockThrows = false;
        destroyThrows = false;
        lockAnswer = 0;
        creates.set(0);
        locks.set(0);
        unlocks.set(0);
        destroys.set(0);
    }

    /** How often each callback ran: creates, locks, unlocks, destroys. */
    public static long[] counts() {
        return new long[] {creates.get(), locks.get(), unlocks.get(), destroys.get()};
    }

    /** Arguments with the callbacks chosen by the four flags set, and the given flags word. */
    public static CK_C_INITIALIZE_ARGS args(boolean create, boolean destroy, boolean lock, boolean unlock, long flags) {
        CK_C_INITIALIZE_ARGS a = new CK_C_INITIALIZE_ARGS();
        if (create) {
            a.createMutex = () -> {
                creates.incrementAndGet();
                return createReturnsNull ? null : new ReentrantLock();
            };
        }
        if (destroy) {
            a.destroyMutex = m -> {
                destroys.incrementAndGet();
                if (destroyThrows) {
                    throw new IllegalStateException("destroy refused");
                }
                return 0;
            };
        }
        if (lock) {
            a.lockMutex = m -> {
                locks.incrementAndGet();
                if (lockThrows) {
                    throw new IllegalStateException("lock refused");
                }
                ((ReentrantLock) m).lock();
                return lockAnswer;
            };
        }
        if (unlock) {
            a.unlockMutex = m -> {
                unlocks.incrementAndGet();
                ((ReentrantLock) m).unlock();
                return 0;
            };
        }
        a.flags = flags;
        return a;
    }
}
