package kaltrix.morlin.params;

/**
 * Parameters of {@code CKM_AES_CCM}. The two length fields of the arrays are
 * not read: the token library sees the lengths of the arrays. When the native
 * side creates an object of this class it fills them in.
 */
public class CK_AES_CCM_PARAMS {
    /** The length in bytes of the data to be processed. */
    public long ulDataLen;
    /** The length of {@link #pNonce} in bytes. Not read: the array's length is used. */
    public long ulNonceLen;
    /** The nonce, 7 to 13 bytes, or null. */
    public byte[] pNonce;
    /** The length of {@link #pAAD} in bytes. Not read: the array's length is used. */
    public long ulAADLen;
    /** The additional authenticated data, or null. */
    public byte[] pAAD;
    /** The length of the MAC in bytes: 4, 6, 8, 10, 12, 14 or 16. */
    public long ulMACLen;

    /** Creates parameters with every field null or 0. */
    public CK_AES_CCM_PARAMS() {
    }

    /** Creates parameters; the two length fields of the arrays are set to their lengths. */
    public CK_AES_CCM_PARAMS(long ulDataLen, byte[] pNonce, byte[] pAAD, long ulMACLen) {
        this.ulDataLen = ulDataLen;
        this.pNonce = pNonce;
        this.ulNonceLen = pNonce == null ? 0 : pNonce.length;
        this.pAAD = pAAD;
        this.ulAADLen = pAAD == null ? 0 : pAAD.length;
        this.ulMACLen = ulMACLen;
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
