package kaltrix.morlin.constants;

import kaltrix.morlin.CK_ULONG_WRAPPER;
import kaltrix.morlin.CryptokiException;

/**
 * The result of a Cryptoki call, one of the {@code CKR_} values. Every method of
 * {@link kaltrix.morlin.Cryptoki} returns one; native code creates it without
 * running a constructor.
 */
public class CK_RV extends CK_ULONG_WRAPPER {
    /** The call succeeded. */
    public static final long CKR_OK = 0x0;
    /** A required argument was missing or malformed. */
    public static final long CKR_ARGUMENTS_BAD = 0x7;
    /** Input data, or an output buffer for text, has the wrong length. */
    public static final long CKR_DATA_LEN_RANGE = 0x21;
    /** The PIN is wrong. */
    public static final long CKR_PIN_INCORRECT = 0xA0;
    /** The output buffer is too small; the length argument holds the size needed. */
    public static final long CKR_BUFFER_TOO_SMALL = 0x150;
    /** The token library has not been initialised. */
    public static final long CKR_CRYPTOKI_NOT_INITIALIZED = 0x190;
    /** The token library was initialised already. */
    public static final long CKR_CRYPTOKI_ALREADY_INITIALIZED = 0x191;
    /** A mutex callback got an unusable mutex or failed. */
    public static final long CKR_MUTEX_BAD = 0x1A0;
    /** A mutex to be unlocked was not locked by the caller. */
    public static final long CKR_MUTEX_NOT_LOCKED = 0x1A1;

    /** Creates a result holding {@code CKR_OK}. */
    public CK_RV() {
    }

    /** Creates a result holding {@code value}. */
    public CK_RV(long value) {
        super(value);
    }

    /** Returns whether this is {@code CKR_OK}. */
    public boolean isOk() {
        return m_value == CKR_OK;
    }

    /**
     * Returns this result if it is {@code CKR_OK}, and throws otherwise, so
     * that a call reads {@code Cryptoki.C_Login(...).check()}.
     *
     * @throws CryptokiException naming the value, unless it is {@code CKR_OK}
     */
    public CK_RV check() {
        if (!isOk()) {
            throw new CryptokiException(this);
        }
        return this;
    }

    /**
     * As {@link #check()}, with the name of the call in the message
     * ({@code "C_Login: CKR_PIN_INCORRECT"}).
     *
     * @throws CryptokiException naming the call and the value, unless it is {@code CKR_OK}
     */
    public CK_RV check(String call) {
        if (!isOk()) {
            throw new CryptokiException(call, this);
        }
        return this;
    }

    /** The {@code CKR_} name of the value, from {@link CK}, or null if it has none. */
    @Override
    protected String valueName() {
        return ConstantNames.of("CKR_", m_value);
    }
}
