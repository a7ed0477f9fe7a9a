package kaltrix.morlin.params;

/** Parameters of {@code CKM_RC2_CBC} and {@code CKM_RC2_CBC_PAD}. */
public class CK_RC2_CBC_PARAMS {
    /** The effective number of key bits, 1 to 1024. */
    public long effectiveBits;
    /**
     * The initialisation vector, 8 bytes. A shorter array is padded with zero
     * bytes, a longer one cut to 8; null gives 8 zero bytes.
     */
    public byte[] iv;

    /** Creates parameters with every field null or 0. */
    public CK_RC2_CBC_PARAMS() {
    }

    /** Creates parameters with the given effective key bits and initialisation vector. */
    public CK_RC2_CBC_PARAMS(long effectiveBits, byte[] iv) {
        this.effectiveBits = effectiveBits;
        this.iv = iv;
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
