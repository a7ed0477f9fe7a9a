package kaltrix.morlin;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertInstanceOf;
import static org.junit.jupiter.api.Assertions.assertNotSame;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertThrows;

import kaltrix.morlin.constants.CK;
import kaltrix.morlin.constants.CK_MECHANISM_TYPE;
import kaltrix.morlin.constants.CK_OBJECT_CLASS;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

/** Templates from the builder: the lengths a token library needs, and values that no two arrays share. */
@Tag("fake")
class TemplateTest {
    @Test
    void lengthsAreThoseOfTheCryptokiForms() {
        CK_ATTRIBUTE[] t = Template.of().add(CK.CKA_TOKEN, true).add(CK.CKA_VALUE_LEN, 32)
                .add(CK.CKA_LABEL, "\u0000é").add(CK.CKA_ID, new byte[5])
                .add(CK.CKA_CLASS, new CK_OBJECT_CLASS(CK.CKO_DATA)).toArray();
        assertEquals(5, t.length);
        assertEquals(1, t[0].valueLen);
        assertInstanceOf(CK_BBOOL.class, t[0].pValue);
        assertEquals(8, t[1].valueLen);
        assertEquals(32L, t[1].longValue());
        assertEquals(3, t[2].valueLen, "plain UTF-8: NUL is one byte");
        assertArrayEquals(new byte[] {0, (byte) 0xC3, (byte) 0xA9}, (byte[]) t[2].pValue);
        assertEquals(5, t[3].valueLen);
        assertEquals(8, t[4].valueLen);
        assertThrows(IllegalArgumentException.class, () -> Template.of().add(CK.CKA_LABEL, (Object) 'x'));
    }

    /** What a native writes into one array's values shows in no other array and not in the builder. */
    @Test
    void everyArrayHasValuesOfItsOwn() {
        byte[] id = {1, 2, 3};
        CK_MECHANISM_TYPE[] mechanisms = {new CK_MECHANISM_TYPE(CK.CKM_AES_GCM)};
        Template builder = Template.of().add(CK.CKA_ID, id).add(CK.CKA_SIGN, true)
                .add(CK.CKA_CLASS, new CK_OBJECT_CLASS(CK.CKO_DATA)).add(CK.CKA_START_DATE, new CK_DATE(2026, 1, 2))
                .add(CK.CKA_MECHANISM_LIST, mechanisms).add(CK.CKA_VALUE_LEN, 7);
        CK_ATTRIBUTE[] first = builder.toArray();
        id[0] = 9;
        mechanisms[0].m_value = 0;
        ((byte[]) first[0].pValue)[1] = 9;
        ((CK_BBOOL) first[1].pValue).m_value = false;
        ((CK_OBJECT_CLASS) first[2].pValue).m_value = CK.CKO_SECRET_KEY;
        ((CK_DATE) first[3].pValue).day[1] = '9';
        ((CK_MECHANISM_TYPE[]) first[4].pValue)[0].m_value = 1;

        CK_ATTRIBUTE[] second = builder.toArray();
        assertArrayEquals(new byte[] {1, 2, 3}, (byte[]) second[0].pValue);
        assertEquals(new CK_BBOOL(true), second[1].pValue);
        assertEquals(new CK_OBJECT_CLASS(CK.CKO_DATA), second[2].pValue);
        assertEquals(new CK_DATE(2026, 1, 2), second[3].pValue);
        assertEquals(CK.CKM_AES_GCM, ((CK_MECHANISM_TYPE[]) second[4].pValue)[0].m_value);
        assertNotSame(first[5].pValue, second[5].pValue, "a Long of its own for each array");
        assertEquals(8, Template.of(second).toArray()[4].valueLen);
    }

    @Test
    void readTargetsByKind() {
        CK_ATTRIBUTE[] r = Template.read(CK.CKA_SENSITIVE, CK.CKA_KEY_TYPE, CK.CKA_LABEL, CK.CKA_MECHANISM_LIST);
        assertInstanceOf(CK_BBOOL.class, r[0].pValue);
        assertFalse(((CK_BBOOL) r[0].pValue).m_value);
        assertInstanceOf(Long.class, r[1].pValue);
        assertNotSame(Long.valueOf(0), r[1].pValue);
        assertNull(r[2].pValue);
        r[2].valueLen = 6;
        r[3].valueLen = 16;
        Template.sizeTargets(r);
        assertEquals(6, ((byte[]) r[2].pValue).length);
        assertEquals(2, ((CK_MECHANISM_TYPE[]) r[3].pValue).length);
    }
}
