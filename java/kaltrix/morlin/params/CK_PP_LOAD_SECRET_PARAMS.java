package kaltrix.morlin.params;

import kaltrix.morlin.CK_BBOOL;

/**
 * Parameters of the token library's {@code CKM_PP_LOAD_SECRET}, which loads a
 * secret that the user enters on a PIN pad.
 */
public class CK_PP_LOAD_SECRET_PARAMS {
    /** Whether the PIN pad masks what is entered. Must not be null. */
    public CK_BBOOL bMaskInput;
    /**
     * How the entered characters are converted into the secret, one byte: a
     * value above 255 is passed as 255, any other value as its low 8 bits.
     */
    public int cConvert;
    /** The time allowed for the entry, one byte, with the same rule as {@link #cConvert}. */
    public int cTimeout;
    /**
     * The prompt shown on the PIN pad, without a terminator: the native side
     * adds the NUL. Must not be null; an empty array gives an empty prompt.
     */
    public byte[] prompt;

    /** Creates parameters with every field null or 0. */
    public CK_PP_LOAD_SECRET_PARAMS() {
    }

    /** Creates parameters with the given values. */
    public CK_PP_LOAD_SECRET_PARAMS(boolean bMaskInput, int cConvert, int cTimeout, byte[] prompt) {
        this.bMaskInput = new CK_BBOOL(bMaskInput);
        this.cConvert = cConvert;
        this.cTimeout = cTimeout;
        this.prompt = prompt;
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
