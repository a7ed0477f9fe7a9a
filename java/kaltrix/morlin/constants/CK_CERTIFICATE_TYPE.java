package kaltrix.morlin.constants;

import kaltrix.morlin.CK_ULONG_WRAPPER;

/** A certificate type, one of the {@code CKC_} values. */
public class CK_CERTIFICATE_TYPE extends CK_ULONG_WRAPPER {
    /** Creates a wrapper holding 0. */
    public CK_CERTIFICATE_TYPE() {
    }

    /** Creates a wrapper holding {@code value}. */
    public CK_CERTIFICATE_TYPE(long value) {
        super(value);
    }
}
