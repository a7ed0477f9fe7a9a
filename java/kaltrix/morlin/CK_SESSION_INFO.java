package kaltrix.morlin;

import kaltrix.morlin.constants.CK_STATE;

/** Information about a session, filled in by {@code Cryptoki.C_GetSessionInfo}. */
public class CK_SESSION_INFO {
    /** Slot the session belongs to. */
    public long slotID;
    /**
     * Session state. The call updates this object in place through
     * {@link CK_STATE#setValue(long)}, so it must not be null when the
     * structure is passed in.
     */
    public CK_STATE state = new CK_STATE();
    /** {@code CKF_RW_SESSION} and {@code CKF_SERIAL_SESSION} bits. */
    public long flags;
    /** Device-specific error code. */
    public long deviceError;

    /** Creates an empty structure, with a {@link CK_STATE} ready to be updated. */
    public CK_SESSION_INFO() {
    }

    @Override
    public String toString() {
        return "CK_SESSION_INFO[slotID=" + slotID + ", state=" + state
                + ", flags=" + Text.hex(flags) + ", deviceError=" + Text.hex(deviceError) + "]";
    }
}
