package kaltrix.morlin;

/**
 * A mutable {@code long} for lengths and counts that a Cryptoki call reads,
 * writes or both, such as the {@code pulCount} and output-length arguments.
 * Native code reads and writes the field {@code value} directly.
 */
public final class LongRef {
    /** The length or count. */
    public long value;

    /** Creates a reference holding 0. */
    public LongRef() {
    }

    /** Creates a reference holding {@code value}. */
    public LongRef(long value) {
        this.value = value;
    }

    /** Returns the value. */
    public long get() {
        return value;
    }

    /** Sets the value. */
    public void set(long value) {
        this.value = value;
    }

    @Override
    public boolean equals(Object o) {
        return o instanceof LongRef && ((LongRef) o).value == value;
    }

    @Override
    public int hashCode() {
        return Long.hashCode(value);
    }

    @Override
    public String toString() {
        return Long.toString(value);
    }
}
