package kaltrix.morlin.params;

/** Parameters of {@code CKM_RC2_MAC_GENERAL}. */
public class CK_RC2_MAC_GENERAL_PARAMS {
    /** The effective number of key bits, 1 to 1024. */
    public long effectiveBits;
    /** The length of the MAC in bytes, 0 to 8. */
    public long macLength;

    /** Creates parameters with every field 0. */
    public CK_RC2_MAC_GENERAL_PARAMS() {
    }

    /** Creates parameters with the given effective key bits and MAC length. */
    public CK_RC2_MAC_GENERAL_PARAMS(long effectiveBits, long macLength) {
        this.effectiveBits = effectiveBits;
        this.macLength = macLength;
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
