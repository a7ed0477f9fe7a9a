package kaltrix.morlin.constants;

/**
 * The Cryptoki constants by their names: object classes ({@code CKO_}), key
 * types ({@code CKK_}), attribute types ({@code CKA_}), mechanism types
 * ({@code CKM_}), key derivation functions ({@code CKD_}), return values
 * ({@code CKR_}), session states ({@code CKS_}), user types ({@code CKU_}) and
 * flags ({@code CKF_}), each a {@code long} carrying the bits of a
 * {@code CK_ULONG}. The token library's own values, with bit 31 set, are
 * positive numbers here.
 *
 * <p>All but one are literals. {@link #CK_UNAVAILABLE_INFORMATION} has the
 * width of {@code CK_ULONG}, so libmorlin.so supplies it when this class is
 * first used; that first use loads the library.
 */
public final class CK extends CKLiterals {
    static {
        System.loadLibrary("morlin");
    }

    /**
     * All bits of a {@code CK_ULONG} set: the length or count that the token
     * library reports for information it cannot give. -1 as a Java long.
     */
    public static final long CK_UNAVAILABLE_INFORMATION = GetConstantValue("UNAVAILABLE_INFORMATION");

    private CK() {
    }

    /**
     * Value of a constant that cannot be written as a Java literal. Knows only
     * {@code "UNAVAILABLE_INFORMATION"}.
     *
     * @param name the constant's name without its {@code CK_} prefix
     * @return the value
     * @throws UnsupportedOperationException for any other name
     */
    private static native long GetConstantValue(String name);
}
