package kaltrix.morlin.params;

/**
 * Parameter of the token library's {@code CKM_GEN_PIK_ECC_P521}, one
 * {@code CK_BBOOL}; {@link kaltrix.morlin.CK_MECHANISM#getMechanismParameterSize}
 * answers 1 for it.
 */
public class CK_GEN_PIK_PARAM {
    /** Whether the token self-signs the generated key; passed as {@code CK_TRUE} or {@code CK_FALSE}. */
    public boolean bSelfSign;

    /** Creates a parameter with {@link #bSelfSign} false. */
    public CK_GEN_PIK_PARAM() {
    }

    /** Creates a parameter with the given flag. */
    public CK_GEN_PIK_PARAM(boolean bSelfSign) {
        this.bSelfSign = bSelfSign;
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
