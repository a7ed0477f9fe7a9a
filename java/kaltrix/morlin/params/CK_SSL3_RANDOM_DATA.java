package kaltrix.morlin.params;

/**
 * The client's and the server's random data of an SSL 3 handshake, part of
 * {@link CK_SSL3_MASTER_KEY_DERIVE_PARAMS} and {@link CK_SSL3_KEY_MAT_PARAMS}.
 */
public class CK_SSL3_RANDOM_DATA {
    /** The client's random data. */
    public byte[] pClientRandom;
    /**
     * The length of {@link #pClientRandom} that the token library sees. It is
     * not compared with the array: keep it at most the array's length.
     */
    public long clientRandomLen;
    /** The server's random data. */
    public byte[] pServerRandom;
    /**
     * The length of {@link #pServerRandom} that the token library sees. It is
     * not compared with the array: keep it at most the array's length.
     */
    public long serverRandomLen;

    /** Creates random data with every field null or 0. */
    public CK_SSL3_RANDOM_DATA() {
    }

    /** Creates random data with the two length fields set to the lengths of the arrays. */
    public CK_SSL3_RANDOM_DATA(byte[] pClientRandom, byte[] pServerRandom) {
        this.pClientRandom = pClientRandom;
        this.clientRandomLen = pClientRandom == null ? 0 : pClientRandom.length;
        this.pServerRandom = pServerRandom;
        this.serverRandomLen = pServerRandom == null ? 0 : pServerRandom.length;
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
