package kaltrix.morlin;

/**
 * Base of the classes that wrap a single CK_ULONG-sized Cryptoki value: handles
 * and enumerated types. The value is carried bit for bit, so vendor values with
 * the top bit set and {@code CK_UNAVAILABLE_INFORMATION} (-1) survive unchanged.
 *
 * <p>Native code creates wrappers without running a constructor and accesses
 * {@code m_value} and {@code setValue(long)} by name, so subclasses must not
 * rely on constructors or field initialisers for anything else.
 */
public abstract class CK_ULONG_WRAPPER implements Cloneable {
    /** The wrapped value. */
    public long m_value;

    /** Creates a wrapper holding 0. */
    protected CK_ULONG_WRAPPER() {
    }

    /** Creates a wrapper holding {@code value}. */
    protected CK_ULONG_WRAPPER(long value) {
        m_value = value;
    }

    /** Returns the wrapped value. */
    public long getValue() {
        return m_value;
    }

    /** Replaces the wrapped value. */
    public void setValue(long value) {
        m_value = value;
    }

    /**
     * Symbolic name of the value, such as {@code CKR_BUFFER_TOO_SMALL}, or null
     * if none is known; {@link #toString} prefers it over the number.
     */
    protected String valueName() {
        return null;
    }

    /** A wrapper of the same class holding the same value. */
    @Override
    public CK_ULONG_WRAPPER clone() {
        try {
            return (CK_ULONG_WRAPPER) super.clone();
        } catch (CloneNotSupportedException e) {
            throw new AssertionError(e);
        }
    }

    /** Equal to a wrapper of exactly the same class holding the same value. */
    @Override
    public boolean equals(Object o) {
        return o != null && o.getClass() == getClass() && ((CK_ULONG_WRAPPER) o).m_value == m_value;
    }

    @Override
    public int hashCode() {
        return getClass().hashCode() * 31 + Long.hashCode(m_value);
    }

    /** The symbolic name if known, else the class name and the value in hex. */
    @Override
    public String toString() {
        String name = valueName();
        return name != null ? name : getClass().getSimpleName() + " " + Text.hex(m_value);
    }
}
