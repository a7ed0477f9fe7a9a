package kaltrix.morlin.params;

/**
 * Parameters of {@code CKM_AES_GCM}, {@code CKM_AES_GCM_OLD} and
 * {@code CKM_AES_GMAC}, under the name of the token library's structure. It
 * has the fields of {@link CK_GCM_PARAMS}, which it extends and with which it
 * shares the Cryptoki form, the size and the write-back of the initialisation
 * vector. The native side creates objects of this class when it turns a
 * Cryptoki mechanism of these types into a Java one.
 */
public class CK_AES_GCM_PARAMS extends CK_GCM_PARAMS {
    /** Creates parameters with every field null or 0. */
    public CK_AES_GCM_PARAMS() {
    }

    /** Creates parameters; the two length fields are set to the arrays' lengths. */
    public CK_AES_GCM_PARAMS(byte[] pIv, byte[] pAAD, long ulTagBits) {
        super(pIv, pAAD, ulTagBits);
    }
}
