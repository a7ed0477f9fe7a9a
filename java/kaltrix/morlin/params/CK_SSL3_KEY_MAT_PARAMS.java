package kaltrix.morlin.params;

import kaltrix.morlin.CK_BBOOL;

/**
 * Parameters of {@code CKM_SSL3_KEY_AND_MAC_DERIVE}. The derived keys and
 * vectors arrive in {@link #pReturnedKeyMaterial} on {@code CKR_OK} of
 * {@link kaltrix.morlin.Cryptoki#C_DeriveKey}; the number of vector bytes
 * copied back is {@link #IVSizeInBits} rounded up to whole bytes.
 */
public class CK_SSL3_KEY_MAT_PARAMS {
    /** The length of the MAC secrets in bits. */
    public long macSizeInBits;
    /** The length of the keys in bits. */
    public long keySizeInBits;
    /** The length of the initialisation vectors in bits, 0 for none. */
    public long IVSizeInBits;
    /** Whether the keys are for an export version of the protocol. Must not be null. */
    public CK_BBOOL bIsExport;
    /** The client's and the server's random data. */
    public CK_SSL3_RANDOM_DATA RandomInfo;
    /** Receives the handles and vectors. Must not be null. */
    public CK_SSL3_KEY_MAT_OUT pReturnedKeyMaterial;

    /** Creates parameters with every field null or 0. */
    public CK_SSL3_KEY_MAT_PARAMS() {
    }

    /**
     * Creates parameters with a new {@link CK_SSL3_KEY_MAT_OUT} that has room
     * for initialisation vectors of {@code IVSizeInBits} bits.
     */
    public CK_SSL3_KEY_MAT_PARAMS(long macSizeInBits, long keySizeInBits, long IVSizeInBits, boolean bIsExport,
            CK_SSL3_RANDOM_DATA RandomInfo) {
        this.macSizeInBits = macSizeInBits;
        this.keySizeInBits = keySizeInBits;
        this.IVSizeInBits = IVSizeInBits;
        this.bIsExport = new CK_BBOOL(bIsExport);
        this.RandomInfo = RandomInfo;
        this.pReturnedKeyMaterial = new CK_SSL3_KEY_MAT_OUT(IVSizeInBits);
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
