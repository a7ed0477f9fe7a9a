package kaltrix.morlin.params;

import kaltrix.morlin.CK_OBJECT_HANDLE;

/**
 * The keys and initialisation vectors that {@code CKM_SSL3_KEY_AND_MAC_DERIVE}
 * makes, part of {@link CK_SSL3_KEY_MAT_PARAMS}. On {@code CKR_OK} of
 * {@link kaltrix.morlin.Cryptoki#C_DeriveKey} the four handle objects receive
 * the new keys' handles, and the two arrays the vectors.
 */
public class CK_SSL3_KEY_MAT_OUT {
    /** Receives the handle of the client's MAC secret key. */
    public CK_OBJECT_HANDLE hClientMacSecret;
    /** Receives the handle of the server's MAC secret key. */
    public CK_OBJECT_HANDLE hServerMacSecret;
    /** Receives the handle of the client's key. */
    public CK_OBJECT_HANDLE hClientKey;
    /** Receives the handle of the server's key. */
    public CK_OBJECT_HANDLE hServerKey;
    /**
     * Receives the client's initialisation vector, or null when none is made.
     * The token library writes into a copy as long as the array, so give it
     * at least the vector's length in bytes.
     */
    public byte[] pIVClient;
    /**
     * Receives the server's initialisation vector, or null when none is made.
     * The token library writes into a copy as long as the array, so give it
     * at least the vector's length in bytes.
     */
    public byte[] pIVServer;

    /** Creates an output with every field null. */
    public CK_SSL3_KEY_MAT_OUT() {
    }

    /**
     * Creates an output with four new handle objects and two vector arrays
     * for initialisation vectors of {@code ivSizeInBits} bits, rounded up to
     * whole bytes.
     */
    public CK_SSL3_KEY_MAT_OUT(long ivSizeInBits) {
        this.hClientMacSecret = new CK_OBJECT_HANDLE();
        this.hServerMacSecret = new CK_OBJECT_HANDLE();
        this.hClientKey = new CK_OBJECT_HANDLE();
        this.hServerKey = new CK_OBJECT_HANDLE();
        int ivLength = (int) ((ivSizeInBits + 7) >>> 3);
        this.pIVClient = new byte[ivLength];
        this.pIVServer = new byte[ivLength];
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
