package kaltrix.morlin.params;

/** Parameters of the token library's {@code CKM_TOKEN_WRAP_KTK_ECC_P521}. */
public class CK_KDE_TOKEN_WRAP_PARAMS {
    /**
     * The peer's MAC tag, 64 bytes. A shorter array is padded with zero bytes,
     * a longer one cut to 64; null gives 64 zero bytes.
     */
    public byte[] bPeerMacTag;

    /** Creates parameters with a null tag. */
    public CK_KDE_TOKEN_WRAP_PARAMS() {
    }

    /** Creates parameters with the given tag. */
    public CK_KDE_TOKEN_WRAP_PARAMS(byte[] bPeerMacTag) {
        this.bPeerMacTag = bPeerMacTag;
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
