package kaltrix.morlin.constants;

import kaltrix.morlin.CK_ULONG_WRAPPER;

/** A hardware feature type, one of the {@code CKH_} values. */
public class CK_HW_FEATURE_TYPE extends CK_ULONG_WRAPPER {
    /** Creates a wrapper holding 0. */
    public CK_HW_FEATURE_TYPE() {
    }

    /** Creates a wrapper holding {@code value}. */
    public CK_HW_FEATURE_TYPE(long value) {
        super(value);
    }
}
