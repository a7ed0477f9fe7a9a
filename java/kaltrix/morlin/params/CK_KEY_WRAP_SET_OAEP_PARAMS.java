package kaltrix.morlin.params;

/**
 * Parameters of {@code CKM_KEY_WRAP_SET_OAEP}, the key wrapping of the SET
 * protocol. On unwrapping, {@link kaltrix.morlin.Cryptoki#C_UnwrapKey}
 * writes the extra data that the token library returned back into
 * {@link #pX} and its length into {@link #XLen}, on {@code CKR_OK} only.
 */
public class CK_KEY_WRAP_SET_OAEP_PARAMS {
    /** The block contents byte. */
    public byte bBC;
    /**
     * The concatenation of the hash of the plaintext data, if any, and the
     * extra data, if any; or null. On unwrapping, the array to receive the
     * extra data: as many bytes as {@link #XLen} says and the array holds.
     */
    public byte[] pX;
    /**
     * The length of {@link #pX} that the token library sees: on unwrapping,
     * the room for the extra data. It is not compared with the array: keep it
     * at most the array's length. Receives the length of the extra data.
     */
    public long XLen;

    /** Creates parameters with every field null or 0. */
    public CK_KEY_WRAP_SET_OAEP_PARAMS() {
    }

    /** Creates parameters with {@link #XLen} the length of {@code pX}. */
    public CK_KEY_WRAP_SET_OAEP_PARAMS(byte bBC, byte[] pX) {
        this.bBC = bBC;
        this.pX = pX;
        this.XLen = pX == null ? 0 : pX.length;
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
