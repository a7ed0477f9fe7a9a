package kaltrix.morlin.constants;

import kaltrix.morlin.CK_ULONG_WRAPPER;

/** An attribute type, one of the {@code CKA_} values. */
public class CK_ATTRIBUTE_TYPE extends CK_ULONG_WRAPPER {
    /** Creates a wrapper holding 0. */
    public CK_ATTRIBUTE_TYPE() {
    }

    /** Creates a wrapper holding {@code value}. */
    public CK_ATTRIBUTE_TYPE(long value) {
        super(value);
    }

    /** The {@code CKA_} name of the value, from {@link CK}, or null if it has none. */
    @Override
    protected String valueName() {
        return ConstantNames.of("CKA_", m_value);
    }
}
