package kaltrix.morlin.constants;

import kaltrix.morlin.CK_ULONG_WRAPPER;

/** The source of the encoding parameter of RSA OAEP, one of the {@code CKZ_} values. */
public class CK_RSA_PKCS_OAEP_SOURCE_TYPE extends CK_ULONG_WRAPPER {
    /** Creates a wrapper holding 0. */
    public CK_RSA_PKCS_OAEP_SOURCE_TYPE() {
    }

    /** Creates a wrapper holding {@code value}. */
    public CK_RSA_PKCS_OAEP_SOURCE_TYPE(long value) {
        super(value);
    }
}
