package kaltrix.morlin;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotNull;

import kaltrix.morlin.constants.CK_MECHANISM_TYPE;
import kaltrix.morlin.constants.CK_RV;
import kaltrix.morlin.constants.CK_STATE;
import kaltrix.morlin.constants.CK_USER_TYPE;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

/**
 * The slot and session natives bound through System.loadLibrary, with their
 * Java argument types, against the fake token library, which answers CKR_OK
 * and writes nothing.
 */
@Tag("fake")
class SlotsSessionsTest {
    @Test
    void slotAndTokenQueries() {
        LongRef count = new LongRef(3);
        assertEquals(0L, Cryptoki.C_GetSlotList(true, null, count).m_value);
        assertEquals(3L, count.value);  // nothing written: the local kept what went in
        assertEquals(CK_RV.CKR_ARGUMENTS_BAD, Cryptoki.C_GetSlotList(true, new long[1], null).m_value);
        assertEquals(0L, Cryptoki.C_GetMechanismList(0, new CK_MECHANISM_TYPE[] {new CK_MECHANISM_TYPE()}, count).m_value);

        CK_TOKEN_INFO token = new CK_TOKEN_INFO();
        assertEquals(0L, Cryptoki.C_GetTokenInfo(0, token).m_value);
        assertEquals(32, token.label.length);
        assertEquals(16, token.utcTime.length);
        assertEquals(0L, Cryptoki.C_GetMechanismInfo(0, null, new CK_MECHANISM_INFO()).m_value);

        LongRef slot = new LongRef(9);
        assertEquals(0L, Cryptoki.C_WaitForSlotEvent(0, slot, null).m_value);
        assertEquals(0L, slot.value);
        assertEquals(0L, Cryptoki.C_InitToken(0, null, 0, new byte[32]).m_value);
    }

    @Test
    void sessionLifecycle() {
        CK_SESSION_HANDLE session = new CK_SESSION_HANDLE(5);
        assertEquals(0L, Cryptoki.C_OpenSession(0, 4, null, null, session).m_value);
        assertEquals(0L, session.m_value);

        CK_SESSION_INFO info = new CK_SESSION_INFO();
        CK_STATE state = info.state;
        assertEquals(0L, Cryptoki.C_GetSessionInfo(session, info).m_value);
        assertEquals(state, info.state);

        CK_USER_TYPE user = new CK_USER_TYPE(1);
        assertEquals(CK_RV.CKR_ARGUMENTS_BAD, Cryptoki.C_Login(session, user, null, 4).m_value);
        assertEquals(0L, Cryptoki.C_Login(session, user, "1234".getBytes(), 4).m_value);
        assertEquals(CK_RV.CKR_ARGUMENTS_BAD,
                Cryptoki.C_SetOperationState(session, new byte[2], 0, null, null).m_value);
        CK_RV rv = Cryptoki.C_GetOperationState(session, null, new LongRef());
        assertNotNull(rv);
        assertEquals(0L, Cryptoki.C_Logout(session).m_value);
        assertEquals(0L, Cryptoki.C_CloseSession(session).m_value);
        assertEquals(0L, Cryptoki.C_CloseAllSessions(0).m_value);
    }
}
