package kaltrix.morlin;

import kaltrix.morlin.constants.CK;
import kaltrix.morlin.constants.CK_USER_TYPE;

/**
 * A Cryptoki session that {@code C_CloseSession} ends when this object
 * closes, for use with try-with-resources. The raw handle is there for
 * every native of {@link Cryptoki}. Failures are thrown as
 * {@link CryptokiException}.
 */
public final class Session implements AutoCloseable {
    private final CK_SESSION_HANDLE handle;
    private boolean open = true;

    private Session(CK_SESSION_HANDLE handle) {
        this.handle = handle;
    }

    /** {@code C_OpenSession} of a serial session on the slot, read-write if asked. */
    public static Session open(long slot, boolean readWrite) {
        CK_SESSION_HANDLE handle = new CK_SESSION_HANDLE();
        long flags = CK.CKF_SERIAL_SESSION | (readWrite ? CK.CKF_RW_SESSION : 0);
        Cryptoki.C_OpenSession(slot, flags, null, null, handle).check("C_OpenSession");
        return new Session(handle);
    }

    /** The handle, for the natives of {@link Cryptoki}. */
    public CK_SESSION_HANDLE handle() {
        return handle;
    }

    /** {@code C_Login} with the whole PIN: its length is the array's, never a count that could read past it. */
    public void login(long userType, byte[] pin) {
        Cryptoki.C_Login(handle, new CK_USER_TYPE(userType), pin, pin.length).check("C_Login");
    }

    /** A search over the objects that match the template; close it to end the search. */
    public FindObjects findObjects(CK_ATTRIBUTE... template) {
        return FindObjects.start(handle, template);
    }

    /** {@code C_CloseSession}, once. */
    @Override
    public void close() {
        if (open) {
            open = false;
            Cryptoki.C_CloseSession(handle).check("C_CloseSession");
        }
    }
}
