package kaltrix.morlin;

/** A version number of Cryptoki, a library, or a slot's hardware or firmware. */
public class CK_VERSION {
    /** Major version, an unsigned byte. */
    public byte major;
    /** Minor version, an unsigned byte. */
    public byte minor;

    /** Creates version 0.0. */
    public CK_VERSION() {
    }

    /** Creates a version; each part keeps its low 8 bits. */
    public CK_VERSION(int major, int minor) {
        this.major = (byte) major;
        this.minor = (byte) minor;
    }

    @Override
    public boolean equals(Object o) {
        return o instanceof CK_VERSION && ((CK_VERSION) o).major == major && ((CK_VERSION) o).minor == minor;
    }

    @Override
    public int hashCode() {
        return (major & 0xFF) << 8 | (minor & 0xFF);
    }

    /** Both parts as unsigned decimals, such as {@code 2.40}. */
    @Override
    public String toString() {
        return Byte.toUnsignedInt(major) + "." + Byte.toUnsignedInt(minor);
    }
}
