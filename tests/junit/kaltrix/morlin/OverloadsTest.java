package kaltrix.morlin;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;

import java.nio.charset.StandardCharsets;
import java.util.Arrays;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

/** Labels and PINs as PKCS#11 takes them. */
@Tag("fake")
class OverloadsTest {
    @Test
    void labelsAreThirtyTwoBytesPaddedWithBlanks() {
        byte[] label = Cryptoki.label("Zoë");
        assertEquals(32, label.length);
        byte[] utf8 = "Zoë".getBytes(StandardCharsets.UTF_8);
        assertArrayEquals(utf8, Arrays.copyOf(label, utf8.length));
        for (int i = utf8.length; i < 32; i++) {
            assertEquals(' ', label[i]);
        }
        assertEquals(32, Cryptoki.label("x".repeat(32)).length);
        assertThrows(IllegalArgumentException.class, () -> Cryptoki.label("ë".repeat(17)));  // 34 bytes
        assertArrayEquals(new byte[] {'1', '2'}, Cryptoki.pin("12"));
    }
}
