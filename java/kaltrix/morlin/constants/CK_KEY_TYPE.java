package kaltrix.morlin.constants;

import kaltrix.morlin.CK_ULONG_WRAPPER;

/** A key type, one of the {@code CKK_} values. */
public class CK_KEY_TYPE extends CK_ULONG_WRAPPER {
    /** Creates a wrapper holding 0. */
    public CK_KEY_TYPE() {
    }

    /** Creates a wrapper holding {@code value}. */
    public CK_KEY_TYPE(long value) {
        super(value);
    }

    /** The {@code CKK_} name of the value, from {@link CK}, or null if it has none. */
    @Override
    protected String valueName() {
        return ConstantNames.of("CKK_", m_value);
    }
}
