package kaltrix.morlin;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertSame;
import static org.junit.jupiter.api.Assertions.assertThrows;

import kaltrix.morlin.constants.CK;
import kaltrix.morlin.constants.CK_RV;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

/** A return value turned into an exception by one call, named as the constants name it. */
@Tag("fake")
class CheckTest {
    @Test
    void okPassesAndAnythingElseThrowsWithItsName() {
        CK_RV ok = new CK_RV(CK.CKR_OK);
        assertSame(ok, ok.check());
        assertSame(ok, ok.check("C_Login"));
        CryptokiException e = assertThrows(CryptokiException.class, () -> new CK_RV(CK.CKR_PIN_INCORRECT).check("C_Login"));
        assertEquals("C_Login: CKR_PIN_INCORRECT", e.getMessage());
        assertEquals(CK.CKR_PIN_INCORRECT, e.getReturnValue());
        e = assertThrows(CryptokiException.class, () -> new CK_RV(0x80001234L).check());
        assertEquals(0x80001234L, e.getReturnValue());
    }
}
