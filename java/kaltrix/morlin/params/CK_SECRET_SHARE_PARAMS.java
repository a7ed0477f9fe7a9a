package kaltrix.morlin.params;

/**
 * Parameters of the token library's {@code CKM_SECRET_SHARE_WITH_ATTRIBUTES},
 * which splits a secret into shares.
 */
public class CK_SECRET_SHARE_PARAMS {
    /** The number of shares to make. */
    public long n;
    /** The number of shares needed to recover the secret. */
    public long m;

    /** Creates parameters with both fields 0. */
    public CK_SECRET_SHARE_PARAMS() {
    }

    /** Creates parameters for {@code n} shares of which {@code m} recover the secret. */
    public CK_SECRET_SHARE_PARAMS(long n, long m) {
        this.n = n;
        this.m = m;
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
