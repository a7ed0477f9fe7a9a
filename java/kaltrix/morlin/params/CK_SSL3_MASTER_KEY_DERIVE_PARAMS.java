package kaltrix.morlin.params;

import kaltrix.morlin.CK_VERSION;

/**
 * Parameters of {@code CKM_SSL3_MASTER_KEY_DERIVE}. On {@code CKR_OK} of
 * {@link kaltrix.morlin.Cryptoki#C_DeriveKey}, {@link #pVersion} receives
 * the protocol version found in the pre-master secret.
 */
public class CK_SSL3_MASTER_KEY_DERIVE_PARAMS {
    /** The client's and the server's random data. */
    public CK_SSL3_RANDOM_DATA RandomInfo;
    /** Receives the SSL protocol version of the pre-master secret. Must not be null. */
    public CK_VERSION pVersion;

    /** Creates parameters with both fields null. */
    public CK_SSL3_MASTER_KEY_DERIVE_PARAMS() {
    }

    /** Creates parameters with a new {@link CK_VERSION} to receive the version. */
    public CK_SSL3_MASTER_KEY_DERIVE_PARAMS(CK_SSL3_RANDOM_DATA RandomInfo) {
        this(RandomInfo, new CK_VERSION());
    }

    /** Creates parameters with the given random data and version object. */
    public CK_SSL3_MASTER_KEY_DERIVE_PARAMS(CK_SSL3_RANDOM_DATA RandomInfo, CK_VERSION pVersion) {
        this.RandomInfo = RandomInfo;
        this.pVersion = pVersion;
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
