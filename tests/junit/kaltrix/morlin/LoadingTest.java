package kaltrix.morlin;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotNull;

import kaltrix.morlin.constants.CK_RV;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

/**
 * The road a Java program takes: morlin.jar loads libmorlin.so with
 * System.loadLibrary, which resolves libcryptoki.so by its soname. Here the
 * test fake stands behind it and answers CKR_OK with nothing written.
 */
@Tag("fake")
class LoadingTest {
    @Test
    void lifecycleThroughTheLoadedLibrary() {
        CK_RV rv = Cryptoki.C_Initialize(null);
        assertNotNull(rv);
        assertEquals(0L, rv.m_value);

        CK_INFO info = new CK_INFO();
        assertEquals(0L, Cryptoki.C_GetInfo(info).m_value);
        assertEquals(32, info.manufacturerID.length);
        assertEquals(32, info.libraryDescription.length);
        assertNotNull(info.cryptokiVersion);

        assertEquals(CK_RV.CKR_ARGUMENTS_BAD, Cryptoki.C_GetInfo(null).m_value);
        assertEquals(0L, Cryptoki.C_GetFunctionStatus(new CK_SESSION_HANDLE(1)).m_value);
        assertEquals(0L, Cryptoki.C_CancelFunction(new CK_SESSION_HANDLE(1)).m_value);
        assertEquals(0L, Cryptoki.C_Finalize(null).m_value);
    }
}
