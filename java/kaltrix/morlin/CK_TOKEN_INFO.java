package kaltrix.morlin;

/**
 * Information about a token, filled in by {@code Cryptoki.C_GetTokenInfo}. The
 * text fields hold the blank-padded bytes that the token library gave. Counts
 * and sizes are unsigned; {@code CK_UNAVAILABLE_INFORMATION} reads as -1 and
 * {@code CK_EFFECTIVELY_INFINITE} as 0.
 */
public class CK_TOKEN_INFO {
    /** Token label, 32 blank-padded UTF-8 bytes. */
    public byte[] label;
    /** Token manufacturer, 32 blank-padded UTF-8 bytes. */
    public byte[] manufacturerID;
    /** Token model, 16 blank-padded UTF-8 bytes. */
    public byte[] model;
    /** Serial number, 16 blank-padded bytes. */
    public byte[] serialNumber;
    /** {@code CKF_} bits describing the token. */
    public long flags;
    /** Maximum number of sessions open at one time. */
    public long maxSessionCount;
    /** Number of sessions open now. */
    public long sessionCount;
    /** Maximum number of read/write sessions open at one time. */
    public long maxRwSessionCount;
    /** Number of read/write sessions open now. */
    public long rwSessionCount;
    /** Maximum PIN length in bytes. */
    public long maxPinLen;
    /** Minimum PIN length in bytes. */
    public long minPinLen;
    /** Total memory for public objects, in bytes. */
    public long totalPublicMemory;
    /** Free memory for public objects, in bytes. */
    public long freePublicMemory;
    /** Total memory for private objects, in bytes. */
    public long totalPrivateMemory;
    /** Free memory for private objects, in bytes. */
    public long freePrivateMemory;
    /** Hardware version of the token. */
    public CK_VERSION hardwareVersion;
    /** Firmware version of the token. */
    public CK_VERSION firmwareVersion;
    /** Token clock as {@code YYYYMMDDhhmmss00}, 16 bytes; meaningful only with {@code CKF_CLOCK_ON_TOKEN}. */
    public byte[] utcTime;

    /** Creates an empty structure for the token library to fill. */
    public CK_TOKEN_INFO() {
    }

    /** Returns the label without padding, or null if unset. */
    public String getLabel() {
        return Text.trimmed(label);
    }

    /** Returns the manufacturer without padding, or null if unset. */
    public String getManufacturerID() {
        return Text.trimmed(manufacturerID);
    }

    /** Returns the model without padding, or null if unset. */
    public String getModel() {
        return Text.trimmed(model);
    }

    /** Returns the serial number without padding, or null if unset. */
    public String getSerialNumber() {
        return Text.trimmed(serialNumber);
    }

    /** Returns the token clock without padding, or null if unset. */
    public String getUtcTime() {
        return Text.trimmed(utcTime);
    }

    @Override
    public String toString() {
        return "CK_TOKEN_INFO[label=" + Text.quoted(label)
                + ", manufacturerID=" + Text.quoted(manufacturerID)
                + ", model=" + Text.quoted(model)
                + ", serialNumber=" + Text.quoted(serialNumber)
                + ", flags=" + Text.hex(flags)
                + ", sessions=" + sessionCount + "/" + maxSessionCount
                + ", rwSessions=" + rwSessionCount + "/" + maxRwSessionCount
                + ", pinLen=" + minPinLen + ".." + maxPinLen
                + ", publicMemory=" + freePublicMemory + "/" + totalPublicMemory
                + ", privateMemory=" + freePrivateMemory + "/" + totalPrivateMemory
                + ", hardwareVersion=" + hardwareVersion
                + ", firmwareVersion=" + firmwareVersion
                + ", utcTime=" + Text.quoted(utcTime) + "]";
    }
}
