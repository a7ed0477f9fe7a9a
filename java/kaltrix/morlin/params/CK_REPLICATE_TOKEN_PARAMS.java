package kaltrix.morlin.params;

/** Parameters of the token library's {@code CKM_REPLICATE_TOKEN_RSA_AES}, which replicates a token to a peer. */
public class CK_REPLICATE_TOKEN_PARAMS {
    /**
     * The identifier of the peer token, 16 bytes. A shorter array is padded
     * with zero bytes, a longer one cut to 16; null gives 16 zero bytes.
     */
    public byte[] peerId;

    /** Creates parameters with a null identifier. */
    public CK_REPLICATE_TOKEN_PARAMS() {
    }

    /** Creates parameters with the given peer identifier. */
    public CK_REPLICATE_TOKEN_PARAMS(byte[] peerId) {
        this.peerId = peerId;
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
