package kaltrix.morlin.params;

/**
 * Parameters of the token library's deprecated key derivation
 * {@code CKM_DES_DERIVE_CBC_DEPRECATED} with 8 bytes of data, the length of a DES
 * key: the base key encrypts {@link #data} in CBC mode with {@link #iv}, and
 * the result becomes the new key's value. Both arrays are held inline in the
 * Cryptoki structure.
 */
public class CK_DES_CBC_PARAMS {
    /**
     * The initialisation vector, 8 bytes. A shorter array is padded with zero
     * bytes, a longer one cut to 8; null gives 8 zero bytes.
     */
    public byte[] iv;
    /**
     * The data to encrypt, 8 bytes. A shorter array is padded with zero
     * bytes, a longer one cut to 8; null gives 8 zero bytes.
     */
    public byte[] data;

    /** Creates parameters with both arrays null. */
    public CK_DES_CBC_PARAMS() {
    }

    /** Creates parameters with the given initialisation vector and data. */
    public CK_DES_CBC_PARAMS(byte[] iv, byte[] data) {
        this.iv = iv;
        this.data = data;
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
