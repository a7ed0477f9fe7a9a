package kaltrix.morlin;

/**
 * Information about a slot, filled in by {@code Cryptoki.C_GetSlotInfo}. The
 * text fields hold the blank-padded bytes that the token library gave.
 */
public class CK_SLOT_INFO {
    /** Slot description, 64 blank-padded UTF-8 bytes. */
    public byte[] slotDescription;
    /** Slot manufacturer, 32 blank-padded UTF-8 bytes. */
    public byte[] manufacturerID;
    /** {@code CKF_TOKEN_PRESENT}, {@code CKF_REMOVABLE_DEVICE} and {@code CKF_HW_SLOT} bits. */
    public long flags;
    /** Hardware version of the slot. */
    public CK_VERSION hardwareVersion;
    /** Firmware version of the slot. */
    public CK_VERSION firmwareVersion;

    /** Creates an empty structure for the token library to fill. */
    public CK_SLOT_INFO() {
    }

    /** Returns the slot description without padding, or null if unset. */
    public String getSlotDescription() {
        return Text.trimmed(slotDescription);
    }

    /** Returns the manufacturer without padding, or null if unset. */
    public String getManufacturerID() {
        return Text.trimmed(manufacturerID);
    }

    @Override
    public String toString() {
        return "CK_SLOT_INFO[slotDescription=" + Text.quoted(slotDescription)
                + ", manufacturerID=" + Text.quoted(manufacturerID)
                + ", flags=" + Text.hex(flags)
                + ", hardwareVersion=" + hardwareVersion
                + ", firmwareVersion=" + firmwareVersion + "]";
    }
}
