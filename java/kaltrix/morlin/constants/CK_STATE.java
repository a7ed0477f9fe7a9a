package kaltrix.morlin.constants;

import kaltrix.morlin.CK_ULONG_WRAPPER;

/** A session state, one of the {@code CKS_} values. */
public class CK_STATE extends CK_ULONG_WRAPPER {
    /** Creates a wrapper holding 0. */
    public CK_STATE() {
    }

    /** Creates a wrapper holding {@code value}. */
    public CK_STATE(long value) {
        super(value);
    }

    /** The {@code CKS_} name of the value, from {@link CK}, or null if it has none. */
    @Override
    protected String valueName() {
        return ConstantNames.of("CKS_", m_value);
    }
}
