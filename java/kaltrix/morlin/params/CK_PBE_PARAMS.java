package kaltrix.morlin.params;

/**
 * Parameters of the password-based key generation mechanisms
 * {@code CKM_PBE_} and {@code CKM_PBA_SHA1_WITH_SHA1_HMAC}. Those that
 * also derive an initialisation vector write it into {@link #pInitVector} on
 * {@code CKR_OK} of {@link kaltrix.morlin.Cryptoki#C_GenerateKey}.
 */
public class CK_PBE_PARAMS {
    /**
     * Receives the initialisation vector that the mechanism derives, at most
     * its first 8 bytes; or null when no vector is wanted. The token library
     * writes into a copy as long as the array, so give it 8 bytes.
     */
    public byte[] pInitVector;
    /** The password. */
    public byte[] pPassword;
    /**
     * The length of {@link #pPassword} that the token library sees. It is not
     * compared with the array: keep it at most the array's length.
     */
    public long passwordLen;
    /** The salt. */
    public byte[] pSalt;
    /**
     * The length of {@link #pSalt} that the token library sees. It is not
     * compared with the array: keep it at most the array's length.
     */
    public long saltLen;
    /** The number of iterations. */
    public long iteration;

    /** Creates parameters with every field null or 0. */
    public CK_PBE_PARAMS() {
    }

    /** Creates parameters with the two length fields set to the lengths of the arrays. */
    public CK_PBE_PARAMS(byte[] pInitVector, byte[] pPassword, byte[] pSalt, long iteration) {
        this.pInitVector = pInitVector;
        this.pPassword = pPassword;
        this.passwordLen = pPassword == null ? 0 : pPassword.length;
        this.pSalt = pSalt;
        this.saltLen = pSalt == null ? 0 : pSalt.length;
        this.iteration = iteration;
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
