package kaltrix.morlin.params;

/**
 * Parameters of {@code CKM_CONCATENATE_BASE_AND_DATA},
 * {@code CKM_XOR_BASE_AND_DATA} and the other derivations that combine a
 * base key with a byte string.
 */
public class CK_KEY_DERIVATION_STRING_DATA {
    /** The byte string, or null. */
    public byte[] pData;
    /**
     * The length of {@link #pData} that the token library sees. It is not
     * compared with the array: keep it at most the array's length.
     */
    public long len;

    /** Creates parameters with every field null or 0. */
    public CK_KEY_DERIVATION_STRING_DATA() {
    }

    /** Creates parameters with {@link #len} the length of {@code pData}. */
    public CK_KEY_DERIVATION_STRING_DATA(byte[] pData) {
        this(pData, pData == null ? 0 : pData.length);
    }

    /** Creates parameters with a length of your choosing, which the token library sees unchecked. */
    public CK_KEY_DERIVATION_STRING_DATA(byte[] pData, long len) {
        this.pData = pData;
        this.len = len;
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
