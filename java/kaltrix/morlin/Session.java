package kaltrix.morlin;

import kaltrix.morlin.constants.CK;
import kaltrix.morlin.constants.CK_RV;
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

    /**
     * {@code C_CreateObject} with the template (its count the array's length).
     *
     * @return the new object's handle
     */
    public CK_OBJECT_HANDLE createObject(CK_ATTRIBUTE... template) {
        CK_OBJECT_HANDLE object = new CK_OBJECT_HANDLE();
        Cryptoki.C_CreateObject(handle, template, template.length, object).check("C_CreateObject");
        return object;
    }

    /** {@code C_DestroyObject}. */
    public void destroyObject(CK_OBJECT_HANDLE object) {
        Cryptoki.C_DestroyObject(handle, object).check("C_DestroyObject");
    }

    /**
     * The object's attributes of the given types, read into targets of their
     * own ({@link Template#read}): Boolean attributes as {@link CK_BBOOL},
     * numeric ones as {@code Long}, {@code CKA_MECHANISM_LIST} as a
     * {@code CK_MECHANISM_TYPE[]}, every other as a {@code byte[]} of the
     * length the token reported, which a first {@code C_GetAttributeValue}
     * asks for.
     *
     * <p>An attribute the token will not reveal or does not know
     * ({@code CKR_ATTRIBUTE_SENSITIVE}, {@code CKR_ATTRIBUTE_TYPE_INVALID})
     * comes back with {@code valueLen} -1 ({@code CK_UNAVAILABLE_INFORMATION})
     * and the rest are still read; any other answer is thrown.
     */
    public CK_ATTRIBUTE[] getAttributes(CK_OBJECT_HANDLE object, long... types) {
        CK_ATTRIBUTE[] targets = Template.read(types);
        readInto(object, targets);
        if (Template.sizeTargets(targets)) {
            readInto(object, targets);
        }
        return targets;
    }

    private void readInto(CK_OBJECT_HANDLE object, CK_ATTRIBUTE[] targets) {
        CK_RV rv = Cryptoki.C_GetAttributeValue(handle, object, targets, targets.length);
        if (rv.m_value != CK.CKR_ATTRIBUTE_SENSITIVE && rv.m_value != CK.CKR_ATTRIBUTE_TYPE_INVALID) {
            rv.check("C_GetAttributeValue");
        }
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
