package kaltrix.morlin;

/** An object handle. 0 is {@code CK_INVALID_HANDLE}. */
public class CK_OBJECT_HANDLE extends CK_ULONG_WRAPPER {
    /** Creates a wrapper holding 0. */
    public CK_OBJECT_HANDLE() {
    }

    /** Creates a wrapper holding {@code value}. */
    public CK_OBJECT_HANDLE(long value) {
        super(value);
    }
}
