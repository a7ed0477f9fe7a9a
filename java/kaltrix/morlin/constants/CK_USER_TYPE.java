package kaltrix.morlin.constants;

import kaltrix.morlin.CK_ULONG_WRAPPER;

/** A user type, one of the {@code CKU_} values. */
public class CK_USER_TYPE extends CK_ULONG_WRAPPER {
    /** Creates a wrapper holding 0. */
    public CK_USER_TYPE() {
    }

    /** Creates a wrapper holding {@code value}. */
    public CK_USER_TYPE(long value) {
        super(value);
    }

    /** The {@code CKU_} name of the value, from {@link CK}, or null if it has none. */
    @Override
    protected String valueName() {
        return ConstantNames.of("CKU_", m_value);
    }
}
