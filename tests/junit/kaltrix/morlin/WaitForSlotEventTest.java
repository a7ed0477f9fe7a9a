package kaltrix.morlin;

import static org.junit.jupiter.api.Assertions.assertEquals;

import kaltrix.morlin.constants.CK_RV;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

/**
 * The one native that SoftHSM2 cannot answer with success, through
 * System.loadLibrary against the fake token library, which answers CKR_OK
 * without naming a slot: the slot comes back as the native's own local, 0.
 */
@Tag("fake")
class WaitForSlotEventTest {
    @Test
    void eventWithoutASlotStoresTheLocal() {
        LongRef slot = new LongRef(9);
        assertEquals(CK_RV.CKR_OK, Cryptoki.C_WaitForSlotEvent(0, slot, null).m_value);
        assertEquals(0L, slot.value);
        assertEquals(CK_RV.CKR_ARGUMENTS_BAD, Cryptoki.C_WaitForSlotEvent(0, null, null).m_value);
    }
}
