package kaltrix.morlin;

import java.nio.charset.StandardCharsets;
import java.util.Arrays;

/**
 * A date attribute value such as {@code CKA_START_DATE}: year, month and day as
 * ASCII digits, 4, 2 and 2 bytes long. PKCS#11 lets a date be empty, which
 * tokens show as blanks.
 */
public class CK_DATE {
    /** Year, 4 ASCII digits. */
    public byte[] year;
    /** Month, 2 ASCII digits, 01 to 12. */
    public byte[] month;
    /** Day, 2 ASCII digits, 01 to 31. */
    public byte[] day;

    /** Creates a date with all fields null. */
    public CK_DATE() {
    }

    /**
     * Creates a date from numbers.
     *
     * @throws IllegalArgumentException if year is outside 0..9999, month
     *         outside 1..12 or day outside 1..31
     */
    public CK_DATE(int year, int month, int day) {
        if (year < 0 || year > 9999 || month < 1 || month > 12 || day < 1 || day > 31) {
            throw new IllegalArgumentException("bad date " + year + "-" + month + "-" + day);
        }
        this.year = digits(year, 4);
        this.month = digits(month, 2);
        this.day = digits(day, 2);
    }

    private static byte[] digits(int value, int width) {
        return String.format("%0" + width + "d", value).getBytes(StandardCharsets.US_ASCII);
    }

    private static String text(byte[] b) {
        return b == null ? "" : new String(b, StandardCharsets.US_ASCII);
    }

    @Override
    public boolean equals(Object o) {
        if (!(o instanceof CK_DATE)) {
            return false;
        }
        CK_DATE d = (CK_DATE) o;
        return Arrays.equals(year, d.year) && Arrays.equals(month, d.month) && Arrays.equals(day, d.day);
    }

    @Override
    public int hashCode() {
        return (Arrays.hashCode(year) * 31 + Arrays.hashCode(month)) * 31 + Arrays.hashCode(day);
    }

    /** The date as {@code YYYY-MM-DD}, with the digits as stored. */
    @Override
    public String toString() {
        return text(year) + "-" + text(month) + "-" + text(day);
    }
}
