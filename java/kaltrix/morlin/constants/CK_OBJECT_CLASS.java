package kaltrix.morlin.constants;

import kaltrix.morlin.CK_ULONG_WRAPPER;

/** An object class, one of the {@code CKO_} values. */
public class CK_OBJECT_CLASS extends CK_ULONG_WRAPPER {
    /** Creates a wrapper holding 0. */
    public CK_OBJECT_CLASS() {
    }

    /** Creates a wrapper holding {@code value}. */
    public CK_OBJECT_CLASS(long value) {
        super(value);
    }

    /** The {@code CKO_} name of the value, from {@link CK}, or null if it has none. */
    @Override
    protected String valueName() {
        return ConstantNames.of("CKO_", m_value);
    }
}
