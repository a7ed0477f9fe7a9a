package kaltrix.morlin.params;

/**
 * Parameters of the token library's {@code CKM_GEN_KDE_ECC_P521_DERIVE_SEND}
 * and {@code CKM_GEN_KDE_ECC_P521_DERIVE_RECV}. On {@code CKR_OK} of
 * {@link kaltrix.morlin.Cryptoki#C_DeriveKey} the token's MAC tag arrives in
 * {@link #bMacTagOut}.
 */
public class CK_KDE_ECCP521_DERIVE_PARAMS {
    /** The peer's key transport data; its length is that of the array. */
    public byte[] pPeerKTC;
    /**
     * Receives the 64-byte MAC tag, as much of it as the array holds; not
     * read. Null skips it.
     */
    public byte[] bMacTagOut;

    /** Creates parameters with both arrays null. */
    public CK_KDE_ECCP521_DERIVE_PARAMS() {
    }

    /** Creates parameters with a new 64-byte array to receive the MAC tag. */
    public CK_KDE_ECCP521_DERIVE_PARAMS(byte[] pPeerKTC) {
        this.pPeerKTC = pPeerKTC;
        this.bMacTagOut = new byte[64];
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
