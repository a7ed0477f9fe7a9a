package kaltrix.morlin;

import kaltrix.morlin.constants.CK_RV;

/**
 * A Cryptoki call that did not answer {@code CKR_OK}, for callers who prefer
 * exceptions to testing every {@link CK_RV}: {@code rv.check()} throws one.
 * The message is the return value's name, such as
 * {@code "C_Login: CKR_PIN_INCORRECT"}.
 */
public class CryptokiException extends RuntimeException {
    private static final long serialVersionUID = 1L;

    /** The return value, a {@code CKR_} constant. */
    private final long returnValue;

    /** An exception for the return value, its name as the message. */
    public CryptokiException(CK_RV rv) {
        this(null, rv);
    }

    /** An exception for the return value of the named call. */
    public CryptokiException(String call, CK_RV rv) {
        super(call == null ? rv.toString() : call + ": " + rv);
        this.returnValue = rv.m_value;
    }

    /** The return value, a {@code CKR_} constant. */
    public long getReturnValue() {
        return returnValue;
    }
}
