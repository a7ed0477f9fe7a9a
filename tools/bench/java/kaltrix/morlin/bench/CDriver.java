package kaltrix.morlin.bench;

import java.util.Arrays;

/**
 * The floor: the operations in C, calling the module's function list from
 * dlopen and C_GetFunctionList, the loop and its clock in C too (see
 * native/floor.cpp in libmorlinbench.so). One native call per loop, so the
 * JNI transition is spread over the loop.
 */
final class CDriver extends Driver {
    static {
        System.loadLibrary("morlinbench");
    }

    private final long floor;
    private final long slot;
    private final long session;
    private long keySession;

    /**
     * Opens the module at modulePath, which must be the file that the other
     * drivers reach, so that all share one instance.
     */
    CDriver(String modulePath, Fixture fixture) {
        super("C");
        String[] known = operations();
        String[] ours = Arrays.stream(Op.values()).map(Op::name).toArray(String[]::new);
        if (!Arrays.equals(known, ours)) {
            throw new BenchFailure("C: libmorlinbench.so knows the operations " + Arrays.toString(known)
                    + ", not " + Arrays.toString(ours) + ": rebuild it");
        }
        floor = open(modulePath);
        useFixture(floor, fixture.aesKey(), fixture.rsaKey(), fixture.labelLength(), fixture.gcmTagLength(),
                fixture.keyLabel());
        slot = fixture.slot();
        session = openSession(floor, slot);
        login(floor, session, fixture.pin());
        keySession = openSession(floor, slot);
    }

    @Override
    long time(Op op, long n) {
        return run(floor, op.ordinal(), session, keySession, n);
    }

    @Override
    void renewKeySession() {
        closeSession(floor, keySession);
        keySession = openSession(floor, slot);
    }

    // Every native raises BenchFailure when a call fails.

    /** The operations that run() knows, in the order of their numbers. */
    private static native String[] operations();

    /** Loads the module and initialises it; returns the handle of the floor. */
    private static native long open(String modulePath);

    private static native void useFixture(long floor, long aesKey, long rsaKey, int labelLength, int gcmTagLength,
            byte[] keyLabel);

    private static native long openSession(long floor, long slot);

    private static native void closeSession(long floor, long session);

    /** Logs the user in; an earlier login by another driver is accepted. */
    private static native void login(long floor, long session, byte[] pin);

    /** Runs operation number op n times; returns the nanoseconds the loop took. */
    private static native long run(long floor, int op, long session, long keySession, long n);
}
