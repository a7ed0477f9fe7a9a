package kaltrix.morlin;

import java.nio.charset.StandardCharsets;

/** Formatting shared by the {@code toString} methods of the structure classes. */
final class Text {
    private Text() {
    }

    /**
     * Decodes a fixed-width Cryptoki text field. Such fields are UTF-8, padded
     * with blanks and carry no terminator; some token libraries pad with NULs
     * instead, so both are cut from the end.
     */
    static String trimmed(byte[] field) {
        if (field == null) {
            return null;
        }
        int end = field.length;
        while (end > 0 && (field[end - 1] == ' ' || field[end - 1] == 0)) {
            end--;
        }
        return new String(field, 0, end, StandardCharsets.UTF_8);
    }

    /** Quoted form of {@link #trimmed}, for {@code toString}. */
    static String quoted(byte[] field) {
        String s = trimmed(field);
        return s == null ? "null" : '"' + s + '"';
    }

    /** A CK_ULONG in hex, as PKCS#11 headers write them. */
    static String hex(long value) {
        return String.format("0x%08X", value);
    }
}
