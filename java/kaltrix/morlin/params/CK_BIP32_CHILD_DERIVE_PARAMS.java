package kaltrix.morlin.params;

import kaltrix.morlin.CK_ATTRIBUTE;
import kaltrix.morlin.CK_OBJECT_HANDLE;

/**
 * Parameters of the token library's {@code CKM_BIP32_CHILD_DERIVE}, which
 * derives a BIP32 child key pair along a path from the base key of
 * {@link kaltrix.morlin.Cryptoki#C_DeriveKey}. On {@code CKR_OK} the pair's
 * handles arrive in {@link #hPublicKey} and {@link #hPrivateKey}, and
 * {@link #pathErrorIndex} gets the token library's value.
 */
public class CK_BIP32_CHILD_DERIVE_PARAMS {
    /** The attributes of the new public key, or null. */
    public CK_ATTRIBUTE[] publicKeyTemplate;
    /**
     * The number of attributes of {@link #publicKeyTemplate} that the token
     * library sees. It is not compared with the array: keep it at most the
     * array's length.
     */
    public long publicKeyAttributeCount;
    /** The attributes of the new private key, or null. */
    public CK_ATTRIBUTE[] privateKeyTemplate;
    /**
     * The number of attributes of {@link #privateKeyTemplate} that the token
     * library sees. It is not compared with the array: keep it at most the
     * array's length.
     */
    public long privateKeyAttributeCount;
    /** The child indices of the path, a hardened index with bit 31 set; or null. */
    public long[] path;
    /**
     * The number of indices of {@link #path} that the token library sees. It
     * is not compared with the array: keep it at most the array's length.
     */
    public long pathLen;
    /** Receives the handle of the new public key; not read. */
    public CK_OBJECT_HANDLE hPublicKey;
    /** Receives the handle of the new private key; not read. */
    public CK_OBJECT_HANDLE hPrivateKey;
    /** Receives the position in {@link #path} at which derivation failed, as the token library reports it; not read. */
    public long pathErrorIndex;

    /** Creates parameters with every field null or 0. */
    public CK_BIP32_CHILD_DERIVE_PARAMS() {
    }

    /**
     * Creates parameters with the counts set to the lengths of the arrays,
     * and new handle objects to receive the keys.
     */
    public CK_BIP32_CHILD_DERIVE_PARAMS(CK_ATTRIBUTE[] publicKeyTemplate, CK_ATTRIBUTE[] privateKeyTemplate,
            long[] path) {
        this.publicKeyTemplate = publicKeyTemplate;
        this.publicKeyAttributeCount = publicKeyTemplate == null ? 0 : publicKeyTemplate.length;
        this.privateKeyTemplate = privateKeyTemplate;
        this.privateKeyAttributeCount = privateKeyTemplate == null ? 0 : privateKeyTemplate.length;
        this.path = path;
        this.pathLen = path == null ? 0 : path.length;
        this.hPublicKey = new CK_OBJECT_HANDLE();
        this.hPrivateKey = new CK_OBJECT_HANDLE();
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
