package kaltrix.morlin.params;

/** Parameters of {@code CKM_AES_CTR}. */
public class CK_AES_CTR_PARAMS {
    /** The number of bits of the counter block that are incremented, 1 to 128. */
    public long ulCounterBits;
    /**
     * The initial counter block, 16 bytes. A shorter array is padded with zero
     * bytes, a longer one cut to 16; null gives 16 zero bytes. When the native
     * side turns a Cryptoki mechanism into a Java one, this field stays null.
     */
    public byte[] cb;

    /** Creates parameters with every field null or 0. */
    public CK_AES_CTR_PARAMS() {
    }

    /** Creates parameters with the given counter width and initial counter block. */
    public CK_AES_CTR_PARAMS(long ulCounterBits, byte[] cb) {
        this.ulCounterBits = ulCounterBits;
        this.cb = cb;
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
