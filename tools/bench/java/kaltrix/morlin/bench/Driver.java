package kaltrix.morlin.bench;

/**
 * One way of calling the module: the C floor, morlin, or the JDK's wrapper.
 * Each driver works in sessions of its own, logged in, on the objects of one
 * {@link Fixture}, and times its loops itself.
 */
abstract class Driver {
    /** The name in tables and results: "C", "morlin" or "JDK". */
    final String name;

    Driver(String name) {
        this.name = name;
    }

    /**
     * Runs the operation n times back to back and returns the nanoseconds the
     * loop took. Every result is checked; a failed call or a result of the
     * wrong size raises {@link BenchFailure}.
     */
    abstract long time(Op op, long n);

    /**
     * Called after each loop, outside the time. The keys that GenerateKey6
     * makes live in a session of their own, renewed here: closing it destroys
     * the keys of the loop. Left in place they would slow down the token for
     * what follows; SoftHSM2, for one, looks at every session object of the
     * process in each search, so FindObjects10 would grow with them.
     */
    final void afterLoop(Op op) {
        if (op == Op.GenerateKey6) {
            renewKeySession();
        }
    }

    /** Closes the session for generated keys and opens a new one. */
    abstract void renewKeySession();

    /** The failure of a call made by this driver in an operation. */
    final BenchFailure failure(Op op, String what) {
        return new BenchFailure(name + ": " + op + ": " + what);
    }

    /** Fails unless a result has the value expected. */
    final void expect(Op op, String what, long got, long expected) {
        if (got != expected) {
            throw failure(op, what + " is " + got + ", expected " + expected);
        }
    }
}
