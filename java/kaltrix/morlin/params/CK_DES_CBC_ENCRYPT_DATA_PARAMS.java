package kaltrix.morlin.params;

/**
 * Parameters of {@code CKM_DES_CBC_ENCRYPT_DATA} and
 * {@code CKM_DES3_CBC_ENCRYPT_DATA}: the new key's value is {@link #pData}
 * encrypted with the base key in CBC mode.
 */
public class CK_DES_CBC_ENCRYPT_DATA_PARAMS {
    /**
     * The initialisation vector, 8 bytes. A shorter array is padded with zero
     * bytes, a longer one cut to 8; null gives 8 zero bytes.
     */
    public byte[] iv;
    /** The data to encrypt, or null. */
    public byte[] pData;
    /**
     * The length of {@link #pData} that the token library sees. It is not
     * compared with the array: keep it at most the array's length.
     */
    public long length;

    /** Creates parameters with every field null or 0. */
    public CK_DES_CBC_ENCRYPT_DATA_PARAMS() {
    }

    /** Creates parameters with {@link #length} the length of {@code pData}. */
    public CK_DES_CBC_ENCRYPT_DATA_PARAMS(byte[] iv, byte[] pData) {
        this(iv, pData, pData == null ? 0 : pData.length);
    }

    /** Creates parameters with a length of your choosing, which the token library sees unchecked. */
    public CK_DES_CBC_ENCRYPT_DATA_PARAMS(byte[] iv, byte[] pData, long length) {
        this.iv = iv;
        this.pData = pData;
        this.length = length;
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
