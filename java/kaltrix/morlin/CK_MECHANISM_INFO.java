package kaltrix.morlin;

/** Information about a mechanism, filled in by {@code Cryptoki.C_GetMechanismInfo}. */
public class CK_MECHANISM_INFO {
    /** Minimum key size, in bits or bytes depending on the mechanism. */
    public long minKeySize;
    /** Maximum key size, in bits or bytes depending on the mechanism. */
    public long maxKeySize;
    /** {@code CKF_} bits telling which functions support the mechanism. */
    public long flags;

    /** Creates an empty structure for the token library to fill. */
    public CK_MECHANISM_INFO() {
    }

    @Override
    public String toString() {
        return "CK_MECHANISM_INFO[minKeySize=" + minKeySize + ", maxKeySize=" + maxKeySize
                + ", flags=" + Text.hex(flags) + "]";
    }
}
