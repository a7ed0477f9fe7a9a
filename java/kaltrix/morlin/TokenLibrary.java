package kaltrix.morlin;

import java.util.Arrays;

/**
 * The token library, initialised for as long as this object is open:
 * {@code try (TokenLibrary library = TokenLibrary.initialize()) { ... }} calls
 * {@code C_Initialize} and, on leaving the block, {@code C_Finalize}.
 * Failures of either are thrown as {@link CryptokiException}.
 */
public final class TokenLibrary implements AutoCloseable {
    private boolean open = true;

    private TokenLibrary() {
    }

    /** {@code C_Initialize} with no arguments: the calling application promises one thread at a time. */
    public static TokenLibrary initialize() {
        return initialize(null);
    }

    /** {@code C_Initialize} with the given arguments, such as {@link CK_C_INITIALIZE_ARGS#withReentrantLocks(long)}. */
    public static TokenLibrary initialize(CK_C_INITIALIZE_ARGS args) {
        Cryptoki.C_Initialize(args).check("C_Initialize");
        return new TokenLibrary();
    }

    /** The slots, with a token present in them only if {@code tokenPresent}; both calls of the size query. */
    public long[] slots(boolean tokenPresent) {
        LongRef count = new LongRef();
        Cryptoki.C_GetSlotList(tokenPresent, null, count).check("C_GetSlotList");
        long[] slots = new long[(int) count.value];
        Cryptoki.C_GetSlotList(tokenPresent, slots, count).check("C_GetSlotList");
        return Arrays.copyOf(slots, (int) count.value);
    }

    /** A serial session on the slot, read-write if asked; close it, or the module's close ends it. */
    public Session openSession(long slot, boolean readWrite) {
        return Session.open(slot, readWrite);
    }

    /** {@code C_Finalize}, once; every session still open ends with it. */
    @Override
    public void close() {
        if (open) {
            open = false;
            Cryptoki.C_Finalize(null).check("C_Finalize");
        }
    }
}
