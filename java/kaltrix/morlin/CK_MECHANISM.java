package kaltrix.morlin;

import java.lang.reflect.Array;
import kaltrix.morlin.constants.CK_MECHANISM_TYPE;

/**
 * A mechanism for a Cryptoki call: its type, an optional parameter and the
 * parameter's length.
 *
 * <p><b>The parameter.</b> Use the class of {@link kaltrix.morlin.params} that
 * the mechanism takes, a {@code Long} for the {@code CK_MAC_GENERAL_PARAMS} of
 * the {@code _GENERAL} MAC mechanisms and other single {@code CK_ULONG}s, a
 * {@link CK_VERSION} for {@code CKM_SSL3_PRE_MASTER_KEY_GEN}, a {@code byte[]}
 * for an initialisation vector or any structure you lay out yourself, or null
 * for none. The native side picks the Cryptoki form from the parameter's run-time
 * class, not from the mechanism type; a subclass of a parameter class takes the
 * form of its parent. A value of a class without a Cryptoki form (see
 * {@link #getMechanismParameterSize}) makes the call that converts it raise
 * {@link UnsupportedOperationException}.
 *
 * <p><b>{@code parameterLen} is the length the token library sees</b>, as
 * {@code ulParameterLen}, whatever the parameter is: nothing compares it with
 * the converted parameter. The constructors that take a parameter and no
 * length fill it with {@link #getMechanismParameterSize}, which is what the
 * token library expects; if you replace {@code pParameter} later, set
 * {@code parameterLen} to match.
 *
 * <p><b>Outputs.</b> Some parameters carry results: a generated
 * initialisation vector, the handles of derived keys, a count of imported
 * certificates, a MAC tag. {@link Cryptoki#C_EncryptInit},
 * {@link Cryptoki#C_GenerateKey}, {@link Cryptoki#C_GenerateKeyPair},
 * {@link Cryptoki#C_DeriveKey} and {@link Cryptoki#C_UnwrapKey} write them
 * into the parameter object, chosen by the mechanism type, on {@code CKR_OK}
 * only; the other natives that take a mechanism leave it untouched. Each
 * parameter class tells which of its fields are written.
 */
public class CK_MECHANISM {
    /** The mechanism type, one of the {@code CKM_} values. */
    public CK_MECHANISM_TYPE mechanism;
    /**
     * The parameter: an object of {@link kaltrix.morlin.params}, a
     * {@code Long}, a {@link CK_VERSION}, a {@code byte[]}, or null for none.
     */
    public Object pParameter;
    /** The parameter's length in bytes, as the token library sees it. */
    public long parameterLen;

    /** Creates a mechanism with every field null or 0. */
    public CK_MECHANISM() {
    }

    /** Creates a mechanism without a parameter. */
    public CK_MECHANISM(CK_MECHANISM_TYPE mechanism) {
        this.mechanism = mechanism;
    }

    /** As {@link #CK_MECHANISM(CK_MECHANISM_TYPE)} with a {@code CKM_} constant. */
    public CK_MECHANISM(long mechanism) {
        this(new CK_MECHANISM_TYPE(mechanism));
    }

    /**
     * Creates a mechanism with a parameter, and its length from
     * {@link #getMechanismParameterSize}.
     *
     * @throws UnsupportedOperationException for a parameter of a class that has
     *         no Cryptoki form
     */
    public CK_MECHANISM(CK_MECHANISM_TYPE mechanism, Object parameter) {
        this(mechanism, parameter, Library.parameterSize(parameter));
    }

    /** As {@link #CK_MECHANISM(CK_MECHANISM_TYPE, Object)} with a {@code CKM_} constant. */
    public CK_MECHANISM(long mechanism, Object parameter) {
        this(new CK_MECHANISM_TYPE(mechanism), parameter);
    }

    /**
     * Creates a mechanism with a parameter and a length of your choosing, which
     * the token library sees unchecked.
     */
    public CK_MECHANISM(CK_MECHANISM_TYPE mechanism, Object parameter, long parameterLen) {
        this.mechanism = mechanism;
        this.pParameter = parameter;
        this.parameterLen = parameterLen;
    }

    /** As {@link #CK_MECHANISM(CK_MECHANISM_TYPE, Object, long)} with a {@code CKM_} constant. */
    public CK_MECHANISM(long mechanism, Object parameter, long parameterLen) {
        this(new CK_MECHANISM_TYPE(mechanism), parameter, parameterLen);
    }

    /**
     * The length in bytes of the Cryptoki form of a mechanism parameter: the
     * value that {@link #parameterLen} should hold for it.
     *
     * <ul>
     * <li>an object of a class of {@link kaltrix.morlin.params}: the size of
     * the Cryptoki structure it stands for, on the x86-64 layout (40 for
     * {@code CK_GCM_PARAMS}, for instance), except {@code CK_GEN_PIK_PARAM},
     * which answers 1; an object of a subclass answers for the first class it
     * extends, in the native side's order of classes</li>
     * <li>{@code Long} and {@link CK_OBJECT_HANDLE}: 8, one {@code CK_ULONG};
     * {@link CK_VERSION}: 2; {@code Boolean}: 1</li>
     * <li>{@code byte[]} and {@code char[]}: the number of elements</li>
     * <li>{@code String}: the length of its modified UTF-8 form</li>
     * <li>null: 0</li>
     * </ul>
     *
     * <p>Any other class raises {@link UnsupportedOperationException} with the
     * message "No Conversion from <i>class name</i> to a CK type". The native
     * looks up every class it knows on each call, so a missing one raises
     * {@link NoClassDefFoundError} whatever the argument. On an exception
     * the result is 0.
     *
     * <p>This method needs libmorlin.so loaded, as it is once {@link Cryptoki}
     * or a constructor of this class that computes the length has been used.
     *
     * @param pParameter the parameter, or null
     * @return its length in bytes
     */
    public static native long getMechanismParameterSize(Object pParameter);

    /** The {@code CKM_} name of the type, the parameter and its length. */
    @Override
    public String toString() {
        return "CK_MECHANISM[" + mechanism + ", pParameter=" + describe(pParameter)
                + ", parameterLen=" + parameterLen + "]";
    }

    private static String describe(Object v) {
        if (v instanceof byte[]) {
            StringBuilder hex = new StringBuilder();
            for (byte b : (byte[]) v) {
                hex.append(String.format("%02X", b));
            }
            return hex.toString();
        }
        if (v instanceof char[]) {
            return '"' + new String((char[]) v) + '"';
        }
        if (v instanceof String) {
            return '"' + (String) v + '"';
        }
        if (v != null && v.getClass().isArray()) {
            StringBuilder list = new StringBuilder("[");
            for (int i = 0; i < Array.getLength(v); i++) {
                list.append(i == 0 ? "" : ", ").append(Array.get(v, i));
            }
            return list.append(']').toString();
        }
        return String.valueOf(v);
    }

    // Loads libmorlin.so on first use of the size query by a constructor.
    // Class CK_MECHANISM itself loads nothing: native code creates and reads
    // its objects, and that must not depend on the library's file being on
    // java.library.path.
    private static final class Library {
        static {
            System.loadLibrary("morlin");
        }

        private Library() {
        }

        static long parameterSize(Object parameter) {
            return getMechanismParameterSize(parameter);
        }
    }
}
