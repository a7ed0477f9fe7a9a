package kaltrix.morlin.testing;

import kaltrix.morlin.params.CK_GCM_PARAMS;

/**
 * GCM parameters of an application's own class: it extends
 * {@link CK_GCM_PARAMS} but not {@code CK_AES_GCM_PARAMS}, and declares a
 * tag length of its own that hides the inherited one. The native side takes
 * it as a {@code CK_GCM_PARAMS} and reads every field through that class, so
 * the hiding field never reaches the token library.
 */
public class TaggedGcmParams extends CK_GCM_PARAMS {
    /** Hides {@link CK_GCM_PARAMS#ulTagBits}; not read by the native side. */
    public long ulTagBits;

    /** Creates parameters with every field null or 0. */
    public TaggedGcmParams() {
    }
}
