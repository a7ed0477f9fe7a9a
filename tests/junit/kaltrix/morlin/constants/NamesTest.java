package kaltrix.morlin.constants;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertSame;

import java.nio.charset.StandardCharsets;
import kaltrix.morlin.CTUtil;
import kaltrix.morlin.LongRef;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

/**
 * CK and CTUtil as a Java program meets them: CK's one library-supplied
 * constant, and names by value and values by name through the loaded library,
 * in agreement with the wrappers' toString.
 */
@Tag("fake")
class NamesTest {
    private static String mechanismName(long value) {
        LongRef length = new LongRef();
        assertEquals(CK_RV.CKR_OK, CTUtil.CTU_GetMechanismTypeString(new CK_MECHANISM_TYPE(value), null, length).m_value);
        byte[] text = new byte[(int) length.value];
        assertEquals(CK_RV.CKR_OK, CTUtil.CTU_GetMechanismTypeString(new CK_MECHANISM_TYPE(value), text, length).m_value);
        return new String(text, StandardCharsets.US_ASCII);
    }

    @Test
    void unavailableInformationComesFromTheLibrary() {
        assertEquals(-1L, CK.CK_UNAVAILABLE_INFORMATION);
        assertEquals(0x3L, CK.CKA_LABEL);
        assertEquals(0x80000000L, CK.CKM_VENDOR_DEFINED);
    }

    @Test
    void mechanismNamesAgreeBothWays() {
        assertEquals("AES_CBC", mechanismName(CK.CKM_AES_CBC));
        assertEquals("CKM_AES_CBC", new CK_MECHANISM_TYPE(CK.CKM_AES_CBC).toString());
        assertEquals("Vendor defined (0x80000000)", mechanismName(CK.CKM_VENDOR_DEFINED));
        CK_MECHANISM_TYPE byName = CTUtil.CTU_GetMechanismTypeValue("CKM_ECDSA_SHA256".getBytes(StandardCharsets.US_ASCII));
        assertEquals(CK.CKM_ECDSA_SHA256, byName.m_value);
        assertEquals(0x80000123L, byName.m_value);
    }

    @Test
    void textThatDoesNotFitIsDataLenRange() {
        LongRef length = new LongRef(2);
        byte[] text = new byte[2];
        CK_RV rv = CTUtil.CTU_GetKeyTypeString(new CK_KEY_TYPE(CK.CKK_AES), text, length);
        assertEquals(CK.CKR_DATA_LEN_RANGE, rv.m_value);
        assertEquals(3L, length.value);
        assertEquals("CKR_DATA_LEN_RANGE", rv.toString());
    }

    @Test
    void nullNameGivesArgumentsBadAsCkRv() {
        Object result = CTUtil.CTU_GetKeyTypeValue(null);
        assertSame(CK_RV.class, result.getClass());
        assertEquals(CK.CKR_ARGUMENTS_BAD, ((CK_RV) result).m_value);
    }
}
