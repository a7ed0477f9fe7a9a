package kaltrix.morlin.params;

import kaltrix.morlin.CK_OBJECT_HANDLE;
import kaltrix.morlin.constants.CK_MECHANISM_TYPE;

/**
 * Parameters of the token library's {@code CKM_PKCS12_PBE_EXPORT}, which
 * exports a key with its certificate as PKCS#12 data protected by two
 * passwords.
 */
public class CK_PKCS12_PBE_EXPORT_PARAMS {
    /** The key, with its certificate, to export; null reaches the token library as -1. */
    public CK_OBJECT_HANDLE keyCert;
    /** The password that encrypts the authenticated safe. */
    public byte[] passwordAuthSafe;
    /**
     * The length of {@link #passwordAuthSafe} that the token library sees. It
     * is not compared with the array: keep it at most the array's length.
     */
    public long passwordAuthSafeLen;
    /** The password of the integrity HMAC. */
    public byte[] passwordHMAC;
    /**
     * The length of {@link #passwordHMAC} that the token library sees. It is
     * not compared with the array: keep it at most the array's length.
     */
    public long passwordHMACLen;
    /** The password-based key generation mechanism for the safe bags. */
    public CK_MECHANISM_TYPE safeBagKgMech;
    /** The password-based key generation mechanism for the safe contents. */
    public CK_MECHANISM_TYPE safeContentKgMech;
    /** The password-based key generation mechanism for the HMAC key. */
    public CK_MECHANISM_TYPE hmacKgMech;

    /** Creates parameters with every field null or 0. */
    public CK_PKCS12_PBE_EXPORT_PARAMS() {
    }

    /** Creates parameters with the two length fields set to the lengths of the passwords. */
    public CK_PKCS12_PBE_EXPORT_PARAMS(CK_OBJECT_HANDLE keyCert, byte[] passwordAuthSafe, byte[] passwordHMAC,
            CK_MECHANISM_TYPE safeBagKgMech, CK_MECHANISM_TYPE safeContentKgMech, CK_MECHANISM_TYPE hmacKgMech) {
        this.keyCert = keyCert;
        this.passwordAuthSafe = passwordAuthSafe;
        this.passwordAuthSafeLen = passwordAuthSafe == null ? 0 : passwordAuthSafe.length;
        this.passwordHMAC = passwordHMAC;
        this.passwordHMACLen = passwordHMAC == null ? 0 : passwordHMAC.length;
        this.safeBagKgMech = safeBagKgMech;
        this.safeContentKgMech = safeContentKgMech;
        this.hmacKgMech = hmacKgMech;
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
