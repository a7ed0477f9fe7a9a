package kaltrix.morlin;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotSame;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import kaltrix.morlin.constants.CK;
import kaltrix.morlin.constants.CK_MECHANISM_TYPE;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

/** The lengths CK_ATTRIBUTE computes for the token library, and its private values. */
@Tag("fake")
class AttributeTest {
    private static long lengthOf(Object value) {
        return new CK_ATTRIBUTE(CK.CKA_VALUE, value).valueLen;
    }

    @Test
    void lengthsAreTheBytesTheTokenLibraryGets() {
        assertEquals(3, lengthOf(new byte[3]));
        assertEquals(8, lengthOf(7L));
        assertEquals(8, lengthOf(7));
        assertEquals(1, lengthOf(true));
        assertEquals(1, lengthOf(new CK_BBOOL(true)));
        assertEquals(8, lengthOf(new CK_OBJECT_HANDLE(1)));
        assertEquals(8, lengthOf(new CK_DATE(2026, 11, 23)));
        assertEquals(16, lengthOf(new long[2]));
        assertEquals(24, lengthOf(new CK_MECHANISM_TYPE[3]));
        assertEquals(2, lengthOf(new char[2]));
        // Modified UTF-8: NUL in two bytes, each surrogate in three.
        assertEquals(1 + 2 + 2 + 3 + 6, lengthOf("a\0\u00e9\u20ac\ud83d\ude00"));
        assertEquals(0, lengthOf(null));
        assertThrows(IllegalArgumentException.class, () -> lengthOf(1.5));
        assertThrows(IllegalArgumentException.class, () -> lengthOf('x'));
    }

    @Test
    void valuesWrittenInPlaceAreTheAttributesOwn() {
        Long shared = Long.valueOf(0);
        CK_ATTRIBUTE number = new CK_ATTRIBUTE(CK.CKA_VALUE_LEN, shared);
        assertNotSame(shared, number.pValue);
        assertNotSame(Boolean.TRUE, new CK_ATTRIBUTE(CK.CKA_TOKEN, Boolean.TRUE).pValue);
        assertNotSame(Long.valueOf(0), CK_ATTRIBUTE.readLong(CK.CKA_VALUE_LEN).pValue);
        // int[] would be read as longs: it becomes the long[] of its numbers.
        CK_ATTRIBUTE ints = new CK_ATTRIBUTE(CK.CKA_VALUE, new int[] {1, -1});
        assertArrayEquals(new long[] {1, -1}, (long[]) ints.pValue);
        assertEquals(16, ints.valueLen);
    }

    @Test
    void sizeQueryAndReadBack() {
        CK_ATTRIBUTE query = new CK_ATTRIBUTE(CK.CKA_LABEL);
        assertNull(query.pValue);
        assertEquals(0, query.valueLen);
        CK_ATTRIBUTE label = CK_ATTRIBUTE.readBytes(CK.CKA_LABEL, 8);
        System.arraycopy("key".getBytes(), 0, (byte[]) label.pValue, 0, 3);
        label.valueLen = 3;
        assertEquals("key", label.string());
        label.valueLen = -1;  // CK_UNAVAILABLE_INFORMATION
        assertEquals(0, label.bytes().length);
        assertTrue(label.toString().startsWith("CKA_LABEL = "), label.toString());
    }
}
