package kaltrix.morlin.params;

/**
 * Parameters of {@code CKM_AES_GCM}, {@code CKM_AES_GCM_OLD} and
 * {@code CKM_AES_GMAC}. The token library's structure has no
 * {@code ulIvBits} field: the initialisation vector is given in whole bytes.
 *
 * <p>The two length fields are not read: the token library sees the lengths
 * of the arrays. When the native side creates an object of this family it
 * fills them in.
 *
 * <p>With {@code CKM_AES_GCM}, {@link kaltrix.morlin.Cryptoki#C_EncryptInit}
 * copies the initialisation vector back into {@link #pIv} on {@code CKR_OK},
 * so a token that generates it delivers it there; the array must then have
 * the length of the vector the token makes. {@link CK_AES_GCM_PARAMS} is the
 * same structure under another name.
 */
public class CK_GCM_PARAMS {
    /** The initialisation vector, or null. On encryption it may receive the vector the token generated. */
    public byte[] pIv;
    /** The length of {@link #pIv} in bytes. Not read: the array's length is used. */
    public long ulIvLen;
    /** The additional authenticated data, or null. */
    public byte[] pAAD;
    /** The length of {@link #pAAD} in bytes. Not read: the array's length is used. */
    public long ulAADLen;
    /** The length of the authentication tag in bits, 0 to 128. */
    public long ulTagBits;

    /** Creates parameters with every field null or 0. */
    public CK_GCM_PARAMS() {
    }

    /** Creates parameters; the two length fields are set to the arrays' lengths. */
    public CK_GCM_PARAMS(byte[] pIv, byte[] pAAD, long ulTagBits) {
        this.pIv = pIv;
        this.ulIvLen = pIv == null ? 0 : pIv.length;
        this.pAAD = pAAD;
        this.ulAADLen = pAAD == null ? 0 : pAAD.length;
        this.ulTagBits = ulTagBits;
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
