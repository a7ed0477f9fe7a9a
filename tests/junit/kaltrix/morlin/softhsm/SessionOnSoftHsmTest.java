package kaltrix.morlin.softhsm;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertSame;

import kaltrix.morlin.CK_OBJECT_HANDLE;
import kaltrix.morlin.CK_SESSION_HANDLE;
import kaltrix.morlin.CK_SESSION_INFO;
import kaltrix.morlin.Cryptoki;
import kaltrix.morlin.LongRef;
import kaltrix.morlin.constants.CK;
import kaltrix.morlin.constants.CK_RV;
import kaltrix.morlin.constants.CK_STATE;
import kaltrix.morlin.constants.CK_USER_TYPE;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

/** Sessions, login and logout, session information and operation state on SoftHSM2. */
@Tag("softhsm")
class SessionOnSoftHsmTest {
    private static final CK_USER_TYPE USER = new CK_USER_TYPE(CK.CKU_USER);

    @AfterEach
    void finalizeLibrary() {
        Cryptoki.C_Finalize(null);
    }

    private static CK_SESSION_HANDLE open(long slot, long flags) {
        CK_SESSION_HANDLE session = new CK_SESSION_HANDLE(-77);
        assertEquals(CK.CKR_OK, Cryptoki.C_OpenSession(slot, flags, null, null, session).m_value);
        assertNotEquals(-77, session.m_value);
        return session;
    }

    private static long state(CK_SESSION_HANDLE session) {
        CK_SESSION_INFO info = new CK_SESSION_INFO();
        assertEquals(CK.CKR_OK, Cryptoki.C_GetSessionInfo(session, info).m_value);
        return info.state.m_value;
    }

    @Test
    void loginMovesEverySessionOfTheTokenBetweenStates() {
        assertEquals(CK.CKR_OK, Cryptoki.C_Initialize(null).m_value);
        long slot = SoftHsmToken.slot();
        CK_SESSION_HANDLE ro = open(slot, CK.CKF_SERIAL_SESSION);
        CK_SESSION_HANDLE rw = open(slot, CK.CKF_SERIAL_SESSION | CK.CKF_RW_SESSION);
        assertNotEquals(ro.m_value, rw.m_value);

        CK_SESSION_INFO info = new CK_SESSION_INFO();
        CK_STATE stateObject = info.state;
        assertEquals(CK.CKR_OK, Cryptoki.C_GetSessionInfo(rw, info).m_value);
        assertSame(stateObject, info.state);
        assertEquals(slot, info.slotID);
        assertEquals(CK.CKS_RW_PUBLIC_SESSION, info.state.m_value);
        assertEquals(CK.CKF_SERIAL_SESSION | CK.CKF_RW_SESSION, info.flags);
        assertEquals(CK.CKS_RO_PUBLIC_SESSION, state(ro));

        // A wrong PIN is an answer of the token, not an exception.
        byte[] wrong = "000000000".getBytes();
        CK_RV rv = Cryptoki.C_Login(ro, USER, wrong, wrong.length);
        assertEquals(CK.CKR_PIN_INCORRECT, rv.m_value);
        assertEquals(CK.CKS_RO_PUBLIC_SESSION, state(ro));

        byte[] pin = SoftHsmToken.USER_PIN;
        assertEquals(CK.CKR_OK, Cryptoki.C_Login(ro, USER, pin, pin.length).m_value);
        assertEquals(CK.CKS_RO_USER_FUNCTIONS, state(ro));
        assertEquals(CK.CKS_RW_USER_FUNCTIONS, state(rw));
        assertEquals(CK.CKR_USER_ALREADY_LOGGED_IN, Cryptoki.C_Login(rw, USER, pin, pin.length).m_value);
        // The SO cannot log in while a read-only session exists.
        byte[] soPin = SoftHsmToken.SO_PIN;
        assertNotEquals(CK.CKR_OK,
                Cryptoki.C_Login(rw, new CK_USER_TYPE(CK.CKU_SO), soPin, soPin.length).m_value);

        assertEquals(CK.CKR_OK, Cryptoki.C_Logout(rw).m_value);
        assertEquals(CK.CKS_RO_PUBLIC_SESSION, state(ro));

        // The parallel-function leftovers need a real session and then decline.
        assertEquals(CK.CKR_FUNCTION_NOT_PARALLEL, Cryptoki.C_GetFunctionStatus(rw).m_value);
        assertEquals(CK.CKR_FUNCTION_NOT_PARALLEL, Cryptoki.C_CancelFunction(rw).m_value);
    }

    @Test
    void closedSessionsAndFailedOpens() {
        assertEquals(CK.CKR_OK, Cryptoki.C_Initialize(null).m_value);
        long slot = SoftHsmToken.slot();
        CK_SESSION_HANDLE a = open(slot, CK.CKF_SERIAL_SESSION);
        CK_SESSION_HANDLE b = open(slot, CK.CKF_SERIAL_SESSION);
        CK_SESSION_HANDLE c = open(slot, CK.CKF_SERIAL_SESSION);

        long handle = a.m_value;
        assertEquals(CK.CKR_OK, Cryptoki.C_CloseSession(a).m_value);
        assertEquals(handle, a.m_value);
        assertEquals(CK.CKR_SESSION_HANDLE_INVALID, Cryptoki.C_GetSessionInfo(a, new CK_SESSION_INFO()).m_value);
        assertEquals(CK.CKR_SESSION_HANDLE_INVALID, Cryptoki.C_CloseSession(a).m_value);

        assertEquals(CK.CKR_OK, Cryptoki.C_CloseAllSessions(slot).m_value);
        assertEquals(CK.CKR_SESSION_HANDLE_INVALID, Cryptoki.C_GetSessionInfo(b, new CK_SESSION_INFO()).m_value);
        assertEquals(CK.CKR_SESSION_HANDLE_INVALID, Cryptoki.C_GetSessionInfo(c, new CK_SESSION_INFO()).m_value);

        // Failures leave the caller's wrapper as it was.
        CK_SESSION_HANDLE kept = new CK_SESSION_HANDLE(4242);
        assertEquals(CK.CKR_SESSION_PARALLEL_NOT_SUPPORTED,
                Cryptoki.C_OpenSession(slot, 0, null, null, kept).m_value);
        assertEquals(4242, kept.m_value);
        long missing = slot + 1000;
        assertEquals(CK.CKR_SLOT_ID_INVALID,
                Cryptoki.C_OpenSession(missing, CK.CKF_SERIAL_SESSION, null, null, kept).m_value);
        assertEquals(4242, kept.m_value);
        assertEquals(CK.CKR_ARGUMENTS_BAD,
                Cryptoki.C_OpenSession(slot, CK.CKF_SERIAL_SESSION, null, null, null).m_value);
    }

    /** SoftHSM2 cannot save operation state; its answer reaches Java as it is. */
    @Test
    void operationStateIsRefusedByTheModule() {
        assertEquals(CK.CKR_OK, Cryptoki.C_Initialize(null).m_value);
        CK_SESSION_HANDLE session = open(SoftHsmToken.slot(), CK.CKF_SERIAL_SESSION);
        LongRef length = new LongRef(64);
        byte[] state = new byte[64];
        long rv = Cryptoki.C_GetOperationState(session, state, length).m_value;
        assertEquals(CK.CKR_FUNCTION_NOT_SUPPORTED, rv);
        assertEquals(CK.CKR_FUNCTION_NOT_SUPPORTED, Cryptoki.C_GetOperationState(session, null, length).m_value);
        CK_OBJECT_HANDLE none = new CK_OBJECT_HANDLE(0);
        assertEquals(CK.CKR_FUNCTION_NOT_SUPPORTED,
                Cryptoki.C_SetOperationState(session, state, state.length, none, none).m_value);
        assertEquals(CK.CKR_ARGUMENTS_BAD,
                Cryptoki.C_SetOperationState(session, state, 0, none, none).m_value);
    }
}
