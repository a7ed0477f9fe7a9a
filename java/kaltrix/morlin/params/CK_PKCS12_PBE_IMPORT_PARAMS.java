package kaltrix.morlin.params;

import kaltrix.morlin.CK_ATTRIBUTE;
import kaltrix.morlin.CK_OBJECT_HANDLE;
import kaltrix.morlin.LongRef;

/**
 * Parameters of the token library's {@code CKM_PKCS12_PBE_IMPORT}, which
 * imports a key and its certificates from PKCS#12 data protected by two
 * passwords. The handles of the imported certificates come back in
 * {@link #hCert} and their number in {@link #hCertCount}, on {@code CKR_OK}
 * only, from the natives that write a mechanism back (see
 * {@link kaltrix.morlin.CK_MECHANISM}).
 */
public class CK_PKCS12_PBE_IMPORT_PARAMS {
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
    /** Attributes for the certificate objects that the import creates, or null. */
    public CK_ATTRIBUTE[] certAttr;
    /**
     * The number of attributes of {@link #certAttr} that the token library
     * sees. It is not compared with the array: keep it at most the array's
     * length.
     */
    public long certAttrCount;
    /**
     * In: the number of handles that {@link #hCert} has room for, at most its
     * length; with 0, {@link #hCert} is not read. Out: the number of
     * certificates the token library reported. Must not be null.
     */
    public LongRef hCertCount;
    /**
     * Receives the handles of the imported certificates in its elements,
     * which must not be null: as many as {@link #hCertCount} says and the
     * array holds. Its length is not passed on: the count is.
     */
    public CK_OBJECT_HANDLE[] hCert;

    /** Creates parameters with every field null or 0. */
    public CK_PKCS12_PBE_IMPORT_PARAMS() {
    }

    /**
     * Creates parameters with room for {@code maxCertificates} certificate
     * handles, and the length fields set to the lengths of the arrays.
     */
    public CK_PKCS12_PBE_IMPORT_PARAMS(byte[] passwordAuthSafe, byte[] passwordHMAC, CK_ATTRIBUTE[] certAttr,
            int maxCertificates) {
        this.passwordAuthSafe = passwordAuthSafe;
        this.passwordAuthSafeLen = passwordAuthSafe == null ? 0 : passwordAuthSafe.length;
        this.passwordHMAC = passwordHMAC;
        this.passwordHMACLen = passwordHMAC == null ? 0 : passwordHMAC.length;
        this.certAttr = certAttr;
        this.certAttrCount = certAttr == null ? 0 : certAttr.length;
        this.hCertCount = new LongRef(maxCertificates);
        this.hCert = new CK_OBJECT_HANDLE[maxCertificates];
        for (int i = 0; i < maxCertificates; i++) {
            hCert[i] = new CK_OBJECT_HANDLE();
        }
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
