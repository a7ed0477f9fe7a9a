package kaltrix.morlin.params;

/**
 * Parameters of {@code CKM_ECDH1_DERIVE}. Each length field decides whether
 * its array is passed at all: with a length of 0 the array is not read and
 * the token library gets none; otherwise it gets the array with that length,
 * not compared with the array's own, so keep it at most the array's length.
 * When the native side creates an object of this class, {@link #ulPublicDataLen}
 * stays 0; the length of {@link #pPublicData} is that of the array.
 */
public class CK_ECDH1_DERIVE_PARAMS {
    /** The key derivation function applied to the shared secret, one of the {@code CKD_} values. */
    public long kdf;
    /** The length of {@link #pSharedData}; 0 for no shared data. */
    public long ulSharedDataLen;
    /** The shared data of the key derivation function, or null. */
    public byte[] pSharedData;
    /** The length of {@link #pPublicData}. */
    public long ulPublicDataLen;
    /** The other party's public value, an elliptic-curve point. */
    public byte[] pPublicData;

    /** Creates parameters with every field null or 0. */
    public CK_ECDH1_DERIVE_PARAMS() {
    }

    /** Creates parameters with the two length fields set to the lengths of the arrays. */
    public CK_ECDH1_DERIVE_PARAMS(long kdf, byte[] pSharedData, byte[] pPublicData) {
        this.kdf = kdf;
        this.ulSharedDataLen = pSharedData == null ? 0 : pSharedData.length;
        this.pSharedData = pSharedData;
        this.ulPublicDataLen = pPublicData == null ? 0 : pPublicData.length;
        this.pPublicData = pPublicData;
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
