package kaltrix.morlin.params;

/**
 * Parameters of {@code CKM_EDDSA}: the Ed25519ph, Ed25519ctx, Ed448 and
 * Ed448ph variants. The context's length is that of the array; the class has
 * no length field. Give the {@link kaltrix.morlin.CK_MECHANISM} the
 * {@code parameterLen} that
 * {@link kaltrix.morlin.CK_MECHANISM#getMechanismParameterSize} answers, 24:
 * with any other length the native copy of these parameters is not freed.
 */
public class CK_EDDSA_PARAMS {
    /** Whether the message is hashed first (the {@code ph} variants). */
    public boolean phFlag;
    /** The context data, or null or empty for none. */
    public byte[] pContextData;

    /** Creates parameters without pre-hashing and without context. */
    public CK_EDDSA_PARAMS() {
    }

    /** Creates parameters with the given pre-hash flag and context. */
    public CK_EDDSA_PARAMS(boolean phFlag, byte[] pContextData) {
        this.phFlag = phFlag;
        this.pContextData = pContextData;
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
