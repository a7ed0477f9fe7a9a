package kaltrix.morlin.params;

import kaltrix.morlin.constants.CK_MECHANISM_TYPE;
import kaltrix.morlin.constants.CK_RSA_PKCS_OAEP_SOURCE_TYPE;

/** Parameters of {@code CKM_RSA_PKCS_OAEP}. */
public class CK_RSA_PKCS_OAEP_PARAMS {
    /** The message digest of the encoding, such as {@code CKM_SHA256}; null reaches the token library as -1. */
    public CK_MECHANISM_TYPE hashAlg;
    /** The mask generation function, one of the {@code CKG_MGF1_} values. */
    public long mgf;
    /** The source of the encoding parameter, one of the {@code CKZ_} values; null reaches the token library as -1. */
    public CK_RSA_PKCS_OAEP_SOURCE_TYPE source;
    /** The encoding parameter (the label), or null for none. */
    public byte[] pSourceData;
    /**
     * The length of {@link #pSourceData} that the token library sees. It is
     * not compared with the array: keep it at most the array's length.
     */
    public long sourceDataLen;

    /** Creates parameters with every field null or 0. */
    public CK_RSA_PKCS_OAEP_PARAMS() {
    }

    /** Creates parameters with {@link #sourceDataLen} the length of {@code pSourceData}. */
    public CK_RSA_PKCS_OAEP_PARAMS(CK_MECHANISM_TYPE hashAlg, long mgf, CK_RSA_PKCS_OAEP_SOURCE_TYPE source,
            byte[] pSourceData) {
        this.hashAlg = hashAlg;
        this.mgf = mgf;
        this.source = source;
        this.pSourceData = pSourceData;
        this.sourceDataLen = pSourceData == null ? 0 : pSourceData.length;
    }

    /**
     * As {@link #CK_RSA_PKCS_OAEP_PARAMS(CK_MECHANISM_TYPE, long, CK_RSA_PKCS_OAEP_SOURCE_TYPE, byte[])}
     * with a {@code CKM_} and a {@code CKZ_} constant.
     */
    public CK_RSA_PKCS_OAEP_PARAMS(long hashAlg, long mgf, long source, byte[] pSourceData) {
        this(new CK_MECHANISM_TYPE(hashAlg), mgf, new CK_RSA_PKCS_OAEP_SOURCE_TYPE(source), pSourceData);
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
