package kaltrix.morlin.params;

import kaltrix.morlin.constants.CK_MECHANISM_TYPE;

/** Parameters of {@code CKM_RSA_PKCS_PSS} and the {@code _RSA_PKCS_PSS} signature mechanisms. */
public class CK_RSA_PKCS_PSS_PARAMS {
    /** The message digest of the encoding, such as {@code CKM_SHA256}; null reaches the token library as -1. */
    public CK_MECHANISM_TYPE hashAlg;
    /** The mask generation function, one of the {@code CKG_MGF1_} values. */
    public long mgf;
    /** The length of the salt in bytes. */
    public long sLen;

    /** Creates parameters with every field null or 0. */
    public CK_RSA_PKCS_PSS_PARAMS() {
    }

    /** Creates parameters with the given digest, mask generation function and salt length. */
    public CK_RSA_PKCS_PSS_PARAMS(CK_MECHANISM_TYPE hashAlg, long mgf, long sLen) {
        this.hashAlg = hashAlg;
        this.mgf = mgf;
        this.sLen = sLen;
    }

    /** As {@link #CK_RSA_PKCS_PSS_PARAMS(CK_MECHANISM_TYPE, long, long)} with a {@code CKM_} constant. */
    public CK_RSA_PKCS_PSS_PARAMS(long hashAlg, long mgf, long sLen) {
        this(new CK_MECHANISM_TYPE(hashAlg), mgf, sLen);
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
