package kaltrix.morlin.constants;

import kaltrix.morlin.CK_ULONG_WRAPPER;

/** A mechanism type, one of the {@code CKM_} values. */
public class CK_MECHANISM_TYPE extends CK_ULONG_WRAPPER {
    /** Creates a wrapper holding 0. */
    public CK_MECHANISM_TYPE() {
    }

    /** Creates a wrapper holding {@code value}. */
    public CK_MECHANISM_TYPE(long value) {
        super(value);
    }

    /** The {@code CKM_} name of the value, from {@link CK}, or null if it has none. */
    @Override
    protected String valueName() {
        return ConstantNames.of("CKM_", m_value);
    }
}
