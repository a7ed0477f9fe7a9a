package kaltrix.morlin.params;

import kaltrix.morlin.CK_OBJECT_HANDLE;
import kaltrix.morlin.constants.CK_MECHANISM_TYPE;

/**
 * Parameters of the token library's {@code CKM_ENCODE_X_509_LOCAL_CERT}: a
 * mechanism and the object it is used with, such as the signature mechanism
 * and the signing key of the certificate.
 */
public class CK_MECH_TYPE_AND_OBJECT {
    /** The mechanism; null reaches the token library as -1. */
    public CK_MECHANISM_TYPE mechanism;
    /** The object; null reaches the token library as -1. */
    public CK_OBJECT_HANDLE hObj;

    /** Creates parameters with both fields null. */
    public CK_MECH_TYPE_AND_OBJECT() {
    }

    /** Creates parameters with the given mechanism and object. */
    public CK_MECH_TYPE_AND_OBJECT(CK_MECHANISM_TYPE mechanism, CK_OBJECT_HANDLE hObj) {
        this.mechanism = mechanism;
        this.hObj = hObj;
    }

    /** As {@link #CK_MECH_TYPE_AND_OBJECT(CK_MECHANISM_TYPE, CK_OBJECT_HANDLE)} with a {@code CKM_} constant and a handle value. */
    public CK_MECH_TYPE_AND_OBJECT(long mechanism, long hObj) {
        this(new CK_MECHANISM_TYPE(mechanism), new CK_OBJECT_HANDLE(hObj));
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
