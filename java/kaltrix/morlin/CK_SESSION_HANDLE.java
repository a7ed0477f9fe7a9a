package kaltrix.morlin;

/** A session handle. 0 is {@code CK_INVALID_HANDLE}. */
public class CK_SESSION_HANDLE extends CK_ULONG_WRAPPER {
    /** Creates a wrapper holding 0. */
    public CK_SESSION_HANDLE() {
    }

    /** Creates a wrapper holding {@code value}. */
    public CK_SESSION_HANDLE(long value) {
        super(value);
    }
}
