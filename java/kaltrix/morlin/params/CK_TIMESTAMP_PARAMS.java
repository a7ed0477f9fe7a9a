package kaltrix.morlin.params;

import kaltrix.morlin.CK_BBOOL;

/** Parameters of the token library's timestamp signature {@code CKM_SHA1_RSA_PKCS_TIMESTAMP}. */
public class CK_TIMESTAMP_PARAMS {
    /** Whether the timestamp carries milliseconds. Must not be null. */
    public CK_BBOOL useMilliseconds;
    /** The format of the timestamp, a value defined by the token library. */
    public long timestampFormat;

    /** Creates parameters with every field null or 0. */
    public CK_TIMESTAMP_PARAMS() {
    }

    /** Creates parameters with the given values. */
    public CK_TIMESTAMP_PARAMS(boolean useMilliseconds, long timestampFormat) {
        this.useMilliseconds = new CK_BBOOL(useMilliseconds);
        this.timestampFormat = timestampFormat;
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
