package kaltrix.morlin.params;

import kaltrix.morlin.CK_ATTRIBUTE;
import kaltrix.morlin.CK_OBJECT_HANDLE;

/**
 * Parameters of the token library's {@code CKM_BIP32_MASTER_DERIVE}, which
 * derives a BIP32 master key pair from a seed, the base key of
 * {@link kaltrix.morlin.Cryptoki#C_DeriveKey}. The pair's handles arrive in
 * {@link #hPublicKey} and {@link #hPrivateKey} on {@code CKR_OK}.
 */
public class CK_BIP32_MASTER_DERIVE_PARAMS {
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
    /** Receives the handle of the new public key; not read. */
    public CK_OBJECT_HANDLE hPublicKey;
    /** Receives the handle of the new private key; not read. */
    public CK_OBJECT_HANDLE hPrivateKey;

    /** Creates parameters with every field null or 0. */
    public CK_BIP32_MASTER_DERIVE_PARAMS() {
    }

    /**
     * Creates parameters with the counts set to the templates' lengths, and
     * new handle objects to receive the keys.
     */
    public CK_BIP32_MASTER_DERIVE_PARAMS(CK_ATTRIBUTE[] publicKeyTemplate, CK_ATTRIBUTE[] privateKeyTemplate) {
        this.publicKeyTemplate = publicKeyTemplate;
        this.publicKeyAttributeCount = publicKeyTemplate == null ? 0 : publicKeyTemplate.length;
        this.privateKeyTemplate = privateKeyTemplate;
        this.privateKeyAttributeCount = privateKeyTemplate == null ? 0 : privateKeyTemplate.length;
        this.hPublicKey = new CK_OBJECT_HANDLE();
        this.hPrivateKey = new CK_OBJECT_HANDLE();
    }

    @Override
    public String toString() {
        return ParamText.describe(this);
    }
}
