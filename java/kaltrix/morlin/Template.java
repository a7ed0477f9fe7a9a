package kaltrix.morlin;

import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.List;
import kaltrix.morlin.constants.CK;
import kaltrix.morlin.constants.CK_MECHANISM_TYPE;

/**
 * Builds attribute templates whose lengths are those the token library needs
 * and whose values no one else holds.
 *
 * <pre>{@code
 * CK_ATTRIBUTE[] aes = Template.of()
 *     .add(CK.CKA_CLASS, new CK_OBJECT_CLASS(CK.CKO_SECRET_KEY))
 *     .add(CK.CKA_TOKEN, true)
 *     .add(CK.CKA_VALUE_LEN, 32)
 *     .add(CK.CKA_LABEL, "backup")
 *     .toArray();
 * }</pre>
 *
 * <p>A {@code boolean} becomes a {@link CK_BBOOL} (one byte), a {@code long} a
 * {@code Long} of its own (a {@code CK_ULONG}), a {@code String} its UTF-8
 * bytes, as labels and identifiers are stored; other values go through
 * {@link CK_ATTRIBUTE#CK_ATTRIBUTE(long, Object)}. Each {@link #toArray} gives
 * new attributes with new value objects, so a template can be passed to a
 * native that writes into it without changing the builder or an earlier array.
 *
 * <p>{@link #read(long...)} makes read targets for
 * {@link Cryptoki#C_GetAttributeValue}: a {@link CK_BBOOL} for a Boolean
 * attribute, a private {@code Long} for a numeric one, and no value (the size
 * query) for the rest; {@link Session#getAttributes} does both steps.
 */
public final class Template {
    // Attributes whose value is one CK_BBOOL: the standard ones and the token
    // library's own flags.
    private static final long[] BOOLEAN_TYPES = {
        CK.CKA_TOKEN, CK.CKA_PRIVATE, CK.CKA_TRUSTED, CK.CKA_SENSITIVE, CK.CKA_ENCRYPT, CK.CKA_DECRYPT,
        CK.CKA_WRAP, CK.CKA_UNWRAP, CK.CKA_SIGN, CK.CKA_SIGN_RECOVER, CK.CKA_VERIFY, CK.CKA_VERIFY_RECOVER,
        CK.CKA_DERIVE, CK.CKA_EXTRACTABLE, CK.CKA_LOCAL, CK.CKA_NEVER_EXTRACTABLE, CK.CKA_ALWAYS_SENSITIVE,
        CK.CKA_MODIFIABLE, CK.CKA_SECONDARY_AUTH, CK.CKA_RESET_ON_INIT, CK.CKA_HAS_RESET,
        CK.CKA_SIGN_LOCAL_CERT, CK.CKA_EXPORT, CK.CKA_EXPORTABLE, CK.CKA_DELETABLE, CK.CKA_IMPORT,
        CK.CKA_PURGE, CK.CKA_EVENT_LOG_FULL, CK.CKA_TAMPER_CMD, CK.CKA_HALT_CMD, CK.CKA_RTC_AAC_ENABLED,
        CK.CKA_VERIFY_OS, CK.CKA_HIFACE_MASTER, CK.CKA_LOCAL_IDENTITY_CERT, CK.CKA_HSM_OWNER_CERT,
        CK.CKA_HSM_ROOT_CERT, CK.CKA_AUDIT_KEY,
    };

    // Attributes whose value is one CK_ULONG.
    private static final long[] NUMERIC_TYPES = {
        CK.CKA_CLASS, CK.CKA_CERTIFICATE_TYPE, CK.CKA_KEY_TYPE, CK.CKA_MODULUS_BITS, CK.CKA_PRIME_BITS,
        CK.CKA_SUB_PRIME_BITS, CK.CKA_VALUE_BITS, CK.CKA_VALUE_LEN, CK.CKA_KEY_GEN_MECHANISM,
        CK.CKA_AUTH_PIN_FLAGS, CK.CKA_HW_FEATURE_TYPE, CK.CKA_USAGE_COUNT, CK.CKA_KEY_SIZE,
        CK.CKA_SERIAL_NUMBER_INT, CK.CKA_RECORD_COUNT, CK.CKA_RECORD_NUMBER, CK.CKA_SECURITY_MODE,
        CK.CKA_TRANSPORT_MODE, CK.CKA_BATCH, CK.CKA_HW_STATUS, CK.CKA_FREE_MEM, CK.CKA_APPLICATION_COUNT,
        CK.CKA_RTC_AAC_GUARD_SECONDS, CK.CKA_RTC_AAC_GUARD_COUNT, CK.CKA_AAC_GUARD_DURATION,
        CK.CKA_PERFORMANCE_LEVEL, CK.CKA_SLOT_ID, CK.CKA_MAX_SESSIONS, CK.CKA_MIN_PIN_LEN,
        CK.CKA_MAX_PIN_FAIL, CK.CKA_FLAGS, CK.CKA_ROM_SPACE, CK.CKA_RAM_SPACE, CK.CKA_FM_STATUS,
        CK.CKA_FM_STARTUP_STATUS, CK.CKA_FM_ID, CK.CKA_USAGE_LIMIT, CK.CKA_BIP32_VERSION_BYTES,
        CK.CKA_BIP32_CHILD_INDEX, CK.CKA_BIP32_CHILD_DEPTH,
    };

    private final List<CK_ATTRIBUTE> attributes = new ArrayList<>();

    private Template() {
    }

    /** An empty template to {@link #add} to. */
    public static Template of() {
        return new Template();
    }

    /**
     * A template holding copies of the given attributes, with the types,
     * values and lengths they have now.
     */
    public static Template of(CK_ATTRIBUTE... attributes) {
        Template t = new Template();
        for (CK_ATTRIBUTE a : attributes) {
            t.attributes.add(new CK_ATTRIBUTE(a.type, fresh(a.pValue), a.valueLen));
        }
        return t;
    }

    /** Adds a Boolean attribute, a one-byte {@link CK_BBOOL}. */
    public Template add(long type, boolean value) {
        attributes.add(new CK_ATTRIBUTE(type, new CK_BBOOL(value)));
        return this;
    }

    /** Adds a numeric attribute, a {@code CK_ULONG} of 8 bytes. */
    public Template add(long type, long value) {
        attributes.add(new CK_ATTRIBUTE(type, (Long) value));
        return this;
    }

    /** Adds a text attribute as its UTF-8 bytes, without a terminator. */
    public Template add(long type, String utf8) {
        attributes.add(new CK_ATTRIBUTE(type, utf8.getBytes(StandardCharsets.UTF_8)));
        return this;
    }

    /** Adds a byte-string attribute; the template keeps a copy of the array. */
    public Template add(long type, byte[] value) {
        attributes.add(new CK_ATTRIBUTE(type, fresh(value)));
        return this;
    }

    /**
     * Adds an attribute of any value class that {@link CK_ATTRIBUTE} converts,
     * such as a constant wrapper or a {@link CK_DATE}, with its computed length.
     * The template keeps a copy of a value that can be changed.
     *
     * @throws IllegalArgumentException for a class that has no Cryptoki form
     */
    public Template add(long type, Object value) {
        attributes.add(new CK_ATTRIBUTE(type, fresh(value)));
        return this;
    }

    /** The number of attributes added. */
    public int size() {
        return attributes.size();
    }

    /**
     * New attributes in the order added, each with a value object of its own,
     * for any native that takes a template; the count of the natives'
     * count-free overloads is this array's length.
     */
    public CK_ATTRIBUTE[] toArray() {
        CK_ATTRIBUTE[] out = new CK_ATTRIBUTE[attributes.size()];
        for (int i = 0; i < out.length; i++) {
            CK_ATTRIBUTE a = attributes.get(i);
            out[i] = new CK_ATTRIBUTE(a.type, fresh(a.pValue), a.valueLen);
        }
        return out;
    }

    /**
     * Read targets for {@link Cryptoki#C_GetAttributeValue}, one per type: a
     * {@link CK_BBOOL} for a Boolean attribute, a {@code Long} of its own for a
     * numeric one, and no value for every other, which the call answers with
     * its length. Give those a {@code byte[]} of that length (or a
     * {@code CK_MECHANISM_TYPE[]} of length / 8 for {@code CKA_MECHANISM_LIST})
     * and call again; {@link Session#getAttributes} does so.
     */
    public static CK_ATTRIBUTE[] read(long... types) {
        CK_ATTRIBUTE[] out = new CK_ATTRIBUTE[types.length];
        for (int i = 0; i < types.length; i++) {
            long type = types[i];
            out[i] = isBoolean(type) ? CK_ATTRIBUTE.readBool(type)
                    : isNumeric(type) ? CK_ATTRIBUTE.readLong(type)
                    : new CK_ATTRIBUTE(type);
        }
        return out;
    }

    /**
     * Gives each read target that has no value yet, and whose length the token
     * library reported, a value of that length. Returns whether any was given.
     */
    static boolean sizeTargets(CK_ATTRIBUTE[] targets) {
        boolean any = false;
        for (CK_ATTRIBUTE a : targets) {
            if (a.pValue != null || a.valueLen < 0 || a.valueLen > Integer.MAX_VALUE) {
                continue;
            }
            a.pValue = a.type.m_value == CK.CKA_MECHANISM_LIST
                    ? newMechanismArray((int) (a.valueLen / 8))
                    : new byte[(int) a.valueLen];
            any = true;
        }
        return any;
    }

    static boolean isBoolean(long type) {
        return contains(BOOLEAN_TYPES, type);
    }

    static boolean isNumeric(long type) {
        return contains(NUMERIC_TYPES, type);
    }

    private static boolean contains(long[] list, long type) {
        for (long t : list) {
            if (t == type) {
                return true;
            }
        }
        return false;
    }

    private static CK_MECHANISM_TYPE[] newMechanismArray(int n) {
        CK_MECHANISM_TYPE[] out = new CK_MECHANISM_TYPE[n];
        for (int i = 0; i < n; i++) {
            out[i] = new CK_MECHANISM_TYPE(0);
        }
        return out;
    }

    // A value a native may write into is never shared between arrays. The
    // attribute constructor copies a Long or Boolean; the other writable
    // classes are copied here.
    private static Object fresh(Object v) {
        if (v instanceof byte[]) {
            return ((byte[]) v).clone();
        }
        if (v instanceof CK_BBOOL) {
            return new CK_BBOOL(((CK_BBOOL) v).m_value);
        }
        if (v instanceof CK_ULONG_WRAPPER) {
            return ((CK_ULONG_WRAPPER) v).clone();
        }
        if (v instanceof CK_DATE) {
            CK_DATE d = (CK_DATE) v;
            CK_DATE copy = new CK_DATE();
            copy.year = d.year == null ? null : d.year.clone();
            copy.month = d.month == null ? null : d.month.clone();
            copy.day = d.day == null ? null : d.day.clone();
            return copy;
        }
        if (v instanceof CK_MECHANISM_TYPE[]) {
            CK_MECHANISM_TYPE[] copy = ((CK_MECHANISM_TYPE[]) v).clone();
            for (int i = 0; i < copy.length; i++) {
                copy[i] = copy[i] == null ? null : (CK_MECHANISM_TYPE) copy[i].clone();
            }
            return copy;
        }
        if (v instanceof long[]) {
            return ((long[]) v).clone();
        }
        if (v instanceof boolean[]) {
            return ((boolean[]) v).clone();
        }
        if (v instanceof char[]) {
            return ((char[]) v).clone();
        }
        return v;
    }
}
