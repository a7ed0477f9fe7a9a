package kaltrix.morlin.softhsm;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertSame;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.util.Arrays;
import kaltrix.morlin.CK_MECHANISM_INFO;
import kaltrix.morlin.CK_SESSION_HANDLE;
import kaltrix.morlin.CK_SLOT_INFO;
import kaltrix.morlin.CK_TOKEN_INFO;
import kaltrix.morlin.Cryptoki;
import kaltrix.morlin.LongRef;
import kaltrix.morlin.constants.CK;
import kaltrix.morlin.constants.CK_MECHANISM_TYPE;
import kaltrix.morlin.constants.CK_USER_TYPE;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

/** Slots, tokens, mechanisms and token set-up on SoftHSM2. */
@Tag("softhsm")
class TokenOnSoftHsmTest {
    @BeforeEach
    void initialize() {
        assertEquals(CK.CKR_OK, Cryptoki.C_Initialize(null).m_value);
    }

    @AfterEach
    void finalizeLibrary() {
        assertEquals(CK.CKR_OK, Cryptoki.C_Finalize(null).m_value);
    }

    @Test
    void slotListInItsTwoCallsAndWithALargerArray() {
        LongRef count = new LongRef(9999);
        assertEquals(CK.CKR_OK, Cryptoki.C_GetSlotList(true, null, count).m_value);
        // SoftHSM2 shows the provisioned token and one empty slot at least.
        long n = count.value;
        assertTrue(n >= 2, "slots: " + n);

        long[] roomy = new long[(int) n + 3];
        Arrays.fill(roomy, -5);
        count.value = roomy.length;
        assertEquals(CK.CKR_OK, Cryptoki.C_GetSlotList(false, roomy, count).m_value);
        assertEquals(n, count.value);
        assertEquals(-5, roomy[(int) n]);
        assertTrue(Arrays.stream(roomy).limit(n).anyMatch(s -> s == SoftHsmToken.slot()));
    }

    @Test
    void slotAndTokenInformationKeepTheirFixedWidthBytes() {
        long slot = SoftHsmToken.slot();
        CK_SLOT_INFO slotInfo = new CK_SLOT_INFO();
        assertEquals(CK.CKR_OK, Cryptoki.C_GetSlotInfo(slot, slotInfo).m_value);
        assertEquals(64, slotInfo.slotDescription.length);
        assertEquals(32, slotInfo.manufacturerID.length);
        assertEquals("SoftHSM project", slotInfo.getManufacturerID());
        assertTrue(slotInfo.getSlotDescription().startsWith("SoftHSM slot ID"), slotInfo.toString());
        assertEquals(CK.CKF_TOKEN_PRESENT, slotInfo.flags & CK.CKF_TOKEN_PRESENT);

        CK_TOKEN_INFO token = new CK_TOKEN_INFO();
        assertEquals(CK.CKR_OK, Cryptoki.C_GetTokenInfo(slot, token).m_value);
        assertArrayEquals(SoftHsmToken.padded(SoftHsmToken.LABEL), token.label);
        assertEquals(SoftHsmToken.LABEL, token.getLabel());
        assertEquals("SoftHSM v2", token.getModel());
        long ready = CK.CKF_TOKEN_INITIALIZED | CK.CKF_USER_PIN_INITIALIZED | CK.CKF_LOGIN_REQUIRED | CK.CKF_RNG;
        assertEquals(ready, token.flags & ready);
        assertEquals(4, token.minPinLen);
        assertEquals(255, token.maxPinLen);
        // CK_UNAVAILABLE_INFORMATION and CK_EFFECTIVELY_INFINITE arrive bit for bit.
        assertEquals(-1, token.sessionCount);
        assertEquals(CK.CK_UNAVAILABLE_INFORMATION, token.sessionCount);
        assertEquals(CK.CK_EFFECTIVELY_INFINITE, token.maxSessionCount);

        long missing = Arrays.stream(SoftHsmToken.slots()).max().getAsLong() + 1000;
        CK_TOKEN_INFO untouched = new CK_TOKEN_INFO();
        assertEquals(CK.CKR_SLOT_ID_INVALID, Cryptoki.C_GetTokenInfo(missing, untouched).m_value);
        assertNull(untouched.label);
        assertEquals(CK.CKR_SLOT_ID_INVALID, Cryptoki.C_GetSlotInfo(missing, new CK_SLOT_INFO()).m_value);
    }

    @Test
    void mechanismListAndInformation() {
        long slot = SoftHsmToken.slot();
        LongRef count = new LongRef();
        assertEquals(CK.CKR_OK, Cryptoki.C_GetMechanismList(slot, null, count).m_value);
        long n = count.value;
        assertTrue(n > 20, "mechanisms: " + n);

        CK_MECHANISM_TYPE[] all = filled((int) n);
        assertEquals(CK.CKR_OK, Cryptoki.C_GetMechanismList(slot, all, count).m_value);
        assertEquals(n, count.value);
        assertTrue(Arrays.stream(all).anyMatch(m -> m.m_value == CK.CKM_AES_GCM));
        assertTrue(Arrays.stream(all).anyMatch(m -> m.m_value == CK.CKM_RSA_PKCS_KEY_PAIR_GEN));
        assertEquals(n, Arrays.stream(all).mapToLong(m -> m.m_value).distinct().count());

        // The count claims room for all, the array has three: the rest is dropped.
        CK_MECHANISM_TYPE[] three = filled(3);
        CK_MECHANISM_TYPE first = three[0];
        count.value = n;
        assertEquals(CK.CKR_OK, Cryptoki.C_GetMechanismList(slot, three, count).m_value);
        assertEquals(n, count.value);
        assertSame(first, three[0]);
        assertEquals(all[0], three[0]);
        assertEquals(all[2], three[2]);

        CK_MECHANISM_INFO gcm = new CK_MECHANISM_INFO();
        assertEquals(CK.CKR_OK,
                Cryptoki.C_GetMechanismInfo(slot, new CK_MECHANISM_TYPE(CK.CKM_AES_GCM), gcm).m_value);
        assertEquals(16, gcm.minKeySize);
        assertEquals(32, gcm.maxKeySize);
        assertEquals(CK.CKF_ENCRYPT | CK.CKF_DECRYPT, gcm.flags & (CK.CKF_ENCRYPT | CK.CKF_DECRYPT));

        assertEquals(CK.CKR_MECHANISM_INVALID,
                Cryptoki.C_GetMechanismInfo(slot, new CK_MECHANISM_TYPE(CK.CKM_VENDOR_DEFINED + 7),
                        new CK_MECHANISM_INFO()).m_value);
        // A null type reaches the token library as all bits set, a mechanism it does not know.
        assertEquals(CK.CKR_MECHANISM_INVALID,
                Cryptoki.C_GetMechanismInfo(slot, null, new CK_MECHANISM_INFO()).m_value);
    }

    /**
     * A new token on SoftHSM2's empty slot, set up the whole way: label and SO
     * PIN, the user PIN by the SO, a changed user PIN by the user.
     */
    @Test
    void initTokenInitPinAndSetPin() {
        long empty = -1;
        for (long slot : SoftHsmToken.slots()) {
            CK_TOKEN_INFO info = new CK_TOKEN_INFO();
            assertEquals(CK.CKR_OK, Cryptoki.C_GetTokenInfo(slot, info).m_value);
            if ((info.flags & CK.CKF_TOKEN_INITIALIZED) == 0) {
                empty = slot;
            }
        }
        assertNotEquals(-1, empty, "SoftHSM2 always offers an empty slot");

        byte[] soPin = "so-pin-of-fresh".getBytes();
        byte[] label = SoftHsmToken.padded("fresh token");
        assertEquals(CK.CKR_OK, Cryptoki.C_InitToken(empty, soPin, soPin.length, label).m_value);
        long fresh = SoftHsmToken.slotOf("fresh token");
        CK_TOKEN_INFO info = new CK_TOKEN_INFO();
        assertEquals(CK.CKR_OK, Cryptoki.C_GetTokenInfo(fresh, info).m_value);
        assertEquals(CK.CKF_TOKEN_INITIALIZED, info.flags & CK.CKF_TOKEN_INITIALIZED);
        assertEquals(0, info.flags & CK.CKF_USER_PIN_INITIALIZED);

        // The provisioned token refuses a wrong SO PIN, in the CK_RV.
        byte[] wrong = "not-the-so-pin".getBytes();
        assertEquals(CK.CKR_PIN_INCORRECT, Cryptoki.C_InitToken(SoftHsmToken.slot(), wrong, wrong.length,
                SoftHsmToken.padded(SoftHsmToken.LABEL)).m_value);

        CK_SESSION_HANDLE session = new CK_SESSION_HANDLE();
        assertEquals(CK.CKR_OK, Cryptoki.C_OpenSession(fresh, CK.CKF_SERIAL_SESSION | CK.CKF_RW_SESSION,
                null, null, session).m_value);
        CK_USER_TYPE so = new CK_USER_TYPE(CK.CKU_SO);
        CK_USER_TYPE user = new CK_USER_TYPE(CK.CKU_USER);
        assertEquals(CK.CKR_OK, Cryptoki.C_Login(session, so, soPin, soPin.length).m_value);
        byte[] pin = "first-pin".getBytes();
        assertEquals(CK.CKR_OK, Cryptoki.C_InitPIN(session, pin, pin.length).m_value);
        assertEquals(CK.CKR_OK, Cryptoki.C_Logout(session).m_value);
        assertEquals(CK.CKR_OK, Cryptoki.C_GetTokenInfo(fresh, info).m_value);
        assertEquals(CK.CKF_USER_PIN_INITIALIZED, info.flags & CK.CKF_USER_PIN_INITIALIZED);

        assertEquals(CK.CKR_OK, Cryptoki.C_Login(session, user, pin, pin.length).m_value);
        byte[] second = "second-pin".getBytes();
        assertEquals(CK.CKR_PIN_INCORRECT, Cryptoki.C_SetPIN(session, wrong, wrong.length, second,
                second.length).m_value);
        assertEquals(CK.CKR_OK, Cryptoki.C_SetPIN(session, pin, pin.length, second, second.length).m_value);
        assertEquals(CK.CKR_OK, Cryptoki.C_Logout(session).m_value);

        assertEquals(CK.CKR_PIN_INCORRECT, Cryptoki.C_Login(session, user, pin, pin.length).m_value);
        assertEquals(CK.CKR_OK, Cryptoki.C_Login(session, user, second, second.length).m_value);
        // Only the given length of the array counts as the PIN.
        assertEquals(CK.CKR_OK, Cryptoki.C_Logout(session).m_value);
        byte[] longer = "second-pin-and-more".getBytes();
        assertEquals(CK.CKR_OK, Cryptoki.C_Login(session, user, longer, second.length).m_value);
        assertEquals(CK.CKR_OK, Cryptoki.C_CloseSession(session).m_value);
    }

    private static CK_MECHANISM_TYPE[] filled(int n) {
        CK_MECHANISM_TYPE[] types = new CK_MECHANISM_TYPE[n];
        for (int i = 0; i < n; i++) {
            types[i] = new CK_MECHANISM_TYPE(-1);
        }
        return types;
    }
}
