package kaltrix.morlin;

import java.nio.charset.StandardCharsets;
import java.util.Arrays;
import kaltrix.morlin.constants.CK_ATTRIBUTE_TYPE;
import kaltrix.morlin.constants.CK_MECHANISM_TYPE;

/**
 * One attribute of a Cryptoki template: a type, a value and the value's length.
 *
 * <p><b>{@code valueLen} is the length the token library sees.</b> It replaces
 * the length of the converted value, and nothing checks that the two agree: a
 * {@code byte[10]} with {@code valueLen} 20 reaches the token library as a
 * 10-byte block announced as 20 bytes. Two exceptions: a
 * {@code CKA_MECHANISM_LIST} value always counts 8 bytes per mechanism, and a
 * numeric attribute type (such as {@code CKA_VALUE_LEN}) with {@code valueLen}
 * 4 gets the 8 bytes of a {@code CK_ULONG}. The constructors that take a value
 * compute {@code valueLen} from it, as the token library needs it.
 *
 * <p>Value classes and their Cryptoki form: {@code byte[]} (the bytes),
 * {@code Long} and {@code Integer} (a {@code CK_ULONG}), the wrappers of
 * {@link kaltrix.morlin.constants} and the handles (a {@code CK_ULONG}),
 * {@link CK_BBOOL}, {@code Boolean} and {@code Byte} (one byte),
 * {@link CK_DATE}, {@code CK_MECHANISM_TYPE[]} and {@code long[]} (an array of
 * {@code CK_ULONG}), {@code boolean[]} and {@code char[]} (one byte each, a
 * char cut to its low 8 bits), and {@code String} (its modified UTF-8 bytes).
 * Any other class makes the native raise {@link UnsupportedOperationException}.
 *
 * <p><b>Read targets.</b> {@link Cryptoki#C_GetAttributeValue} writes into the
 * object that {@code pValue} holds: the bytes of a {@code byte[]}, the value of
 * a wrapper, and the private field {@code value} of a {@code Long} or
 * {@code Boolean}. A {@code Long} from {@code Long.valueOf} or autoboxing of a
 * small number, and {@code Boolean.TRUE} or {@code Boolean.FALSE}, are shared
 * by the whole JVM: writing into one changes that number or truth value for
 * every user in the process. The constructors and factories of this class
 * therefore always hold a private copy of a {@code Long} or {@code Boolean};
 * if you assign {@code pValue} yourself, never give it a shared one. Only
 * {@code byte[]}, {@code Long}, {@code Boolean}, {@link CK_BBOOL},
 * {@link CK_DATE}, the handles, the wrappers and {@code CK_MECHANISM_TYPE[]}
 * can be read back; a {@code String} value, for example, raises
 * {@link UnsupportedOperationException} once the token library answers.
 */
public class CK_ATTRIBUTE {
    /** The attribute type, one of the {@code CKA_} values. */
    public CK_ATTRIBUTE_TYPE type;
    /** The value, or null (the size query of {@code C_GetAttributeValue}). */
    public Object pValue;
    /** The length in bytes that the token library sees, or that it reported. */
    public long valueLen;

    /** Creates an attribute with every field null or 0. */
    public CK_ATTRIBUTE() {
    }

    /**
     * Creates an attribute without a value, for the size query of
     * {@link Cryptoki#C_GetAttributeValue}: the answer arrives in
     * {@link #valueLen}.
     */
    public CK_ATTRIBUTE(CK_ATTRIBUTE_TYPE type) {
        this.type = type;
    }

    /** As {@link #CK_ATTRIBUTE(CK_ATTRIBUTE_TYPE)} with a {@code CKA_} constant. */
    public CK_ATTRIBUTE(long type) {
        this(new CK_ATTRIBUTE_TYPE(type));
    }

    /**
     * Creates an attribute with a value and the length the token library needs
     * for it. A {@code Long} or {@code Boolean} is replaced by a private copy,
     * an {@code int[]} by the {@code long[]} of the same numbers.
     *
     * @throws IllegalArgumentException for a value of a class that has no
     *         Cryptoki form ({@code Character} included: use {@code Byte})
     */
    public CK_ATTRIBUTE(CK_ATTRIBUTE_TYPE type, Object value) {
        this.type = type;
        this.pValue = privateCopy(value);
        this.valueLen = lengthOf(pValue);
    }

    /** As {@link #CK_ATTRIBUTE(CK_ATTRIBUTE_TYPE, Object)} with a {@code CKA_} constant. */
    public CK_ATTRIBUTE(long type, Object value) {
        this(new CK_ATTRIBUTE_TYPE(type), value);
    }

    /**
     * Creates an attribute with a value and a length of your choosing, which
     * the token library sees unchecked. A {@code Long} or {@code Boolean} is
     * replaced by a private copy, an {@code int[]} by the {@code long[]} of the
     * same numbers.
     */
    public CK_ATTRIBUTE(CK_ATTRIBUTE_TYPE type, Object value, long valueLen) {
        this.type = type;
        this.pValue = privateCopy(value);
        this.valueLen = valueLen;
    }

    /** As {@link #CK_ATTRIBUTE(CK_ATTRIBUTE_TYPE, Object, long)} with a {@code CKA_} constant. */
    public CK_ATTRIBUTE(long type, Object value, long valueLen) {
        this(new CK_ATTRIBUTE_TYPE(type), value, valueLen);
    }

    /** A read target for a {@code CK_ULONG} attribute: a private {@code Long}. */
    public static CK_ATTRIBUTE readLong(long type) {
        return new CK_ATTRIBUTE(type, 0L);
    }

    /**
     * A read target for a Boolean attribute: a {@link CK_BBOOL}, which is true
     * only for {@code CK_TRUE}. A {@code Boolean} target gets the token's byte
     * as it stands, of which the JVM keeps the lowest bit.
     */
    public static CK_ATTRIBUTE readBool(long type) {
        return new CK_ATTRIBUTE(type, new CK_BBOOL());
    }

    /** A read target for a byte-string attribute of {@code length} bytes. */
    public static CK_ATTRIBUTE readBytes(long type, int length) {
        return new CK_ATTRIBUTE(type, new byte[length]);
    }

    /** The value as a number; for a {@code Long}, {@code Integer} or wrapper value. */
    public long longValue() {
        if (pValue instanceof CK_ULONG_WRAPPER) {
            return ((CK_ULONG_WRAPPER) pValue).m_value;
        }
        return ((Number) pValue).longValue();
    }

    /** The value as a truth value; for a {@link CK_BBOOL} or {@code Boolean} value. */
    public boolean booleanValue() {
        return pValue instanceof CK_BBOOL ? ((CK_BBOOL) pValue).m_value : (Boolean) pValue;
    }

    /**
     * The bytes delivered into a {@code byte[]} value: at most
     * {@code valueLen} of them, none if {@code valueLen} is -1.
     */
    public byte[] bytes() {
        byte[] all = (byte[]) pValue;
        if (all == null || valueLen < 0) {
            return new byte[0];
        }
        return Arrays.copyOf(all, (int) Math.min(valueLen, all.length));
    }

    /** {@link #bytes} decoded as UTF-8, as labels and identifiers are. */
    public String string() {
        return new String(bytes(), StandardCharsets.UTF_8);
    }

    /** The type's name, the value and the length. */
    @Override
    public String toString() {
        return type + " = " + describe(pValue) + " (" + valueLen + " bytes)";
    }

    // The constructors are deprecated for removal; here a fresh object, which
    // no one else can see, is the point.
    @SuppressWarnings("removal")
    private static Object privateCopy(Object value) {
        if (value instanceof Long) {
            return new Long((Long) value);
        }
        if (value instanceof Boolean) {
            return new Boolean((Boolean) value);
        }
        if (value instanceof int[]) {
            return Arrays.stream((int[]) value).asLongStream().toArray();
        }
        return value;
    }

    private static long lengthOf(Object v) {
        if (v == null) {
            return 0;
        }
        if (v instanceof byte[]) {
            return ((byte[]) v).length;
        }
        if (v instanceof Long || v instanceof Integer || v instanceof CK_ULONG_WRAPPER || v instanceof CK_DATE) {
            return 8;
        }
        if (v instanceof CK_BBOOL || v instanceof Boolean || v instanceof Byte) {
            return 1;
        }
        if (v instanceof long[]) {
            return 8L * ((long[]) v).length;
        }
        if (v instanceof CK_MECHANISM_TYPE[]) {
            return 8L * ((CK_MECHANISM_TYPE[]) v).length;
        }
        if (v instanceof boolean[]) {
            return ((boolean[]) v).length;
        }
        if (v instanceof char[]) {
            return ((char[]) v).length;
        }
        if (v instanceof String) {
            return modifiedUtf8Length((String) v);
        }
        throw new IllegalArgumentException("no Cryptoki form for a value of " + v.getClass().getName());
    }

    // The JVM's modified UTF-8: NUL takes two bytes, and each half of a
    // surrogate pair three.
    private static long modifiedUtf8Length(String s) {
        long n = 0;
        for (int i = 0; i < s.length(); i++) {
            char c = s.charAt(i);
            n += c != 0 && c < 0x80 ? 1 : c < 0x800 ? 2 : 3;
        }
        return n;
    }

    private static String describe(Object v) {
        if (v instanceof byte[]) {
            StringBuilder hex = new StringBuilder();
            for (byte b : (byte[]) v) {
                hex.append(String.format("%02X", b));
            }
            return hex.toString();
        }
        if (v instanceof Object[]) {
            return Arrays.toString((Object[]) v);
        }
        if (v instanceof long[]) {
            return Arrays.toString((long[]) v);
        }
        if (v instanceof boolean[]) {
            return Arrays.toString((boolean[]) v);
        }
        if (v instanceof char[]) {
            return new String((char[]) v);
        }
        if (v instanceof String) {
            return '"' + (String) v + '"';
        }
        return String.valueOf(v);
    }
}
