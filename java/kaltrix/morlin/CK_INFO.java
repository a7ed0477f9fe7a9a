package kaltrix.morlin;

/**
 * General information about the token library, filled in by
 * {@link Cryptoki#C_GetInfo}. The text fields hold the 32 blank-padded bytes
 * that the library gave.
 */
public class CK_INFO {
    /** Cryptoki interface version the library implements. */
    public CK_VERSION cryptokiVersion;
    /** Library manufacturer, 32 blank-padded UTF-8 bytes. */
    public byte[] manufacturerID;
    /** Bit flags, reserved by PKCS#11 and zero. */
    public long flags;
    /** Library description, 32 blank-padded UTF-8 bytes. */
    public byte[] libraryDescription;
    /** Library version. */
    public CK_VERSION libraryVersion;

    /** Creates an empty structure for {@link Cryptoki#C_GetInfo} to fill. */
    public CK_INFO() {
    }

    /** Returns the manufacturer without padding, or null if unset. */
    public String getManufacturerID() {
        return Text.trimmed(manufacturerID);
    }

    /** Returns the library description without padding, or null if unset. */
    public String getLibraryDescription() {
        return Text.trimmed(libraryDescription);
    }

    @Override
    public String toString() {
        return "CK_INFO[cryptokiVersion=" + cryptokiVersion
                + ", manufacturerID=" + Text.quoted(manufacturerID)
                + ", flags=" + Text.hex(flags)
                + ", libraryDescription=" + Text.quoted(libraryDescription)
                + ", libraryVersion=" + libraryVersion + "]";
    }
}
