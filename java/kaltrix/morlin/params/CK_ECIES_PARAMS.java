package kaltrix.morlin.params;

/**
 * Parameters of the token library's {@code CKM_ECIES}, elliptic-curve
 * integrated encryption. Each length field of shared data decides whether its
 * array is passed at all: with a length of 0 the array is not read and the
 * token library gets none; otherwise it gets the array with that length, not
 * compared with the array's own, so keep it at most the array's length.
 */
public class CK_ECIES_PARAMS {
    /** The Diffie-Hellman primitive, one of the {@code CKDHP_} values. */
    public long dhPrimitive;
    /** The key derivation function, one of the {@code CKD_} values. */
    public long kdf;
    /** The length of {@link #pSharedData1}; 0 for none. */
    public long ulSharedDataLen1;
    /** The shared data of the key derivation function, or null. */
    public byte[] pSharedData1;
    /** The encryption scheme, one of the {@code CKES_} values. */
    public long encScheme;
    /** The length of the encryption key in bits. */
    public long ulEncKeyLenInBits;
    /** The MAC scheme, one of the {@code CKMS_} values. */
    public long macScheme;
    /** The length of the MAC key in bits. */
    public long ulMacKeyLenInBits;
    /** The length of the MAC in bits. */
    public long ulMacLenInBits;
    /** The length of {@link #pSharedData2}; 0 for none. */
    public long ulSharedDataLen2;
    /** The shared data of the MAC, or null. */
    public byte[] pSharedData2;

    /** Creates parameters with every field null or 0. */
    public CK_ECIES_PARAMS() {
    }

    /** Creates parameters with the two shared-data lengths set to the lengths of the arrays. */
    public CK_ECIES_PARAMS(long dhPrimitive, long kdf, byte[] pSharedData1, long encScheme, long ulEncKeyLenInBits,
            long macScheme, long ulMacKeyLenInBits, long ulMacLenInBits, byte[] pSharedData2) {
        this.dhPrimitive = dhPrimitive;
        this.kdf = kdf;
        this.ulSharedDataLen1 = pSharedData1 == null ? 0 : pSharedData1.length;
        this.pSharedData1 = pSharedData1;
        this.encScheme = encScheme;
        this.ulEncKeyLenInBits = ulEncKeyLenInBits;
        this.macScheme = macScheme;
        this.ulMacKeyLenInBits = ulMacKeyLenInBits;
        this.ulMacLenInBits = ulMacLenInBits;
        this.ulSharedDataLen2 = pSharedData2 == null ? 0 : pSharedData2.length;
        this.pSharedData2 = pSharedData2;
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
