package kaltrix.morlin;

/**
 * A Cryptoki Boolean. Native code creates it without running a constructor and
 * sets it through {@link #setValue(boolean)}; a token byte other than
 * {@code CK_TRUE} (1) arrives as false.
 */
public class CK_BBOOL {
    /** The wrapped value. */
    public boolean m_value;

    /** Creates a wrapper holding {@code CK_FALSE}. */
    public CK_BBOOL() {
    }

    /** Creates a wrapper holding {@code value}. */
    public CK_BBOOL(boolean value) {
        m_value = value;
    }

    /** Returns the wrapped value. */
    public boolean getValue() {
        return m_value;
    }

    /** Replaces the wrapped value. */
    public void setValue(boolean value) {
        m_value = value;
    }

    /** Equal to a wrapper of exactly the same class holding the same value. */
    @Override
    public boolean equals(Object o) {
        return o != null && o.getClass() == getClass() && ((CK_BBOOL) o).m_value == m_value;
    }

    @Override
    public int hashCode() {
        return Boolean.hashCode(m_value);
    }

    /** {@code CK_TRUE} or {@code CK_FALSE}. */
    @Override
    public String toString() {
        return m_value ? "CK_TRUE" : "CK_FALSE";
    }
}
