package kaltrix.morlin.softhsm;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static kaltrix.morlin.softhsm.SoftHsmToken.ok;
import static kaltrix.morlin.softhsm.SoftHsmToken.openssl;

import java.nio.file.Files;
import java.nio.file.Path;
import java.security.SecureRandom;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.HexFormat;
import java.util.List;
import kaltrix.morlin.CK_ATTRIBUTE;
import kaltrix.morlin.CK_MECHANISM;
import kaltrix.morlin.CK_OBJECT_HANDLE;
import kaltrix.morlin.Cryptoki;
import kaltrix.morlin.constants.CK;
import kaltrix.morlin.constants.CK_RV;
import kaltrix.morlin.params.CK_ECDH1_DERIVE_PARAMS;
import kaltrix.morlin.params.CK_KEY_DERIVATION_STRING_DATA;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

/**
 * Key derivation on SoftHSM2, checked by the openssl command line: ECDH on P-256 against a peer key that openssl
 * makes, and AES-ECB encryption of string data. Keys are session objects; derived secrets are extractable.
 */
@Tag("softhsm")
class DeriveOnSoftHsmTest extends UserSessionTest {
    private static final HexFormat HEX = HexFormat.of();
    /** prime256v1 as CKA_EC_PARAMS holds it. */
    private static final byte[] P256 = HEX.parseHex("06082A8648CE3D030107");
    /**
     * The standard CKD_SHA256_KDF (ANSI X9.63 with SHA-256). CK.CKD_SHA256_KDF is the token library's own number for
     * it, which SoftHSM2 doesn't know.
     */
    private static final long STANDARD_SHA256_KDF = 6;
    private static final SecureRandom RANDOM = new SecureRandom();


    /**
     * The token's private key and the peer's point give the secret that {@code openssl pkeyutl -derive} computes from
     * the peer's private key and the token's public key. SoftHSM2 2.6 derives with the null KDF and no shared data
     * only: shared data, with the null KDF or with X9.63 SHA-256, is refused as CKR_MECHANISM_PARAM_INVALID, which
     * also shows that the shared data reached it.
     */
    @Test
    void ecdhWithTheNullKdfAgreesWithOpenSsl() throws Exception {
        CK_ATTRIBUTE[] publicTemplate = {new CK_ATTRIBUTE(CK.CKA_TOKEN, false), new CK_ATTRIBUTE(CK.CKA_EC_PARAMS, P256)};
        CK_ATTRIBUTE[] privateTemplate = {new CK_ATTRIBUTE(CK.CKA_TOKEN, false), new CK_ATTRIBUTE(CK.CKA_DERIVE, true)};
        CK_OBJECT_HANDLE[] ec = {new CK_OBJECT_HANDLE(-77), new CK_OBJECT_HANDLE(-77)};
        ok(Cryptoki.C_GenerateKeyPair(session, new CK_MECHANISM(CK.CKM_EC_KEY_PAIR_GEN), publicTemplate, 2,
                privateTemplate, 2, ec[0], ec[1]));
        // CKA_EC_POINT: the uncompressed point (04 X Y, 65 bytes) in a DER OCTET STRING.
        byte[] point = Arrays.copyOfRange(bytes(ec[0], CK.CKA_EC_POINT), 2, 67);
        Path tokenKey = Files.write(dir.resolve("token.der"), Der.ecPublicKey(P256, point));
        Path peer = dir.resolve("peer.pem");
        openssl(new byte[0], "genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-256", "-out",
                peer.toString());
        // The peer's SubjectPublicKeyInfo ends with its 65-byte point.
        byte[] peerInfo = openssl(new byte[0], "pkey", "-in", peer.toString(), "-pubout", "-outform", "DER");
        byte[] peerPoint = Arrays.copyOfRange(peerInfo, peerInfo.length - 65, peerInfo.length);

        CK_ECDH1_DERIVE_PARAMS params = new CK_ECDH1_DERIVE_PARAMS(CK.CKD_NULL, null, peerPoint);
        CK_MECHANISM ecdh = new CK_MECHANISM(CK.CKM_ECDH1_DERIVE, params);
        CK_OBJECT_HANDLE secret = new CK_OBJECT_HANDLE(-77);
        ok(Cryptoki.C_DeriveKey(session, ecdh, ec[1], secretTemplate(32), 6, secret));
        byte[] shared = openssl(new byte[0], "pkeyutl", "-derive", "-inkey", peer.toString(), "-peerkey",
                tokenKey.toString(), "-peerform", "DER");
        assertEquals(32, shared.length);
        assertArrayEquals(shared, bytes(secret, CK.CKA_VALUE));

        for (long kdf : new long[] {CK.CKD_NULL, STANDARD_SHA256_KDF}) {
            CK_MECHANISM withSharedData = new CK_MECHANISM(CK.CKM_ECDH1_DERIVE,
                    new CK_ECDH1_DERIVE_PARAMS(kdf, random(16), peerPoint));
            CK_OBJECT_HANDLE refused = new CK_OBJECT_HANDLE(-77);
            assertEquals(CK.CKR_MECHANISM_PARAM_INVALID,
                    Cryptoki.C_DeriveKey(session, withSharedData, ec[1], secretTemplate(32), 6, refused).m_value);
            assertEquals(-77, refused.m_value);
        }
    }

    /**
     * SoftHSM2 2.6 has neither CKM_CONCATENATE_DATA_AND_BASE nor CKM_XOR_BASE_AND_DATA, so string data goes through
     * CKM_AES_ECB_ENCRYPT_DATA: the derived value is the data encrypted under the base key, as {@code openssl enc}
     * computes it. The Java len, not the array, tells the token how much data there is: with 16 of the 32 bytes it
     * has too little for a 32-byte secret.
     */
    @Test
    void aesEcbEncryptDataAgreesWithOpenSsl() throws Exception {
        byte[] baseValue = random(32);
        byte[] data = random(32);
        CK_ATTRIBUTE[] baseTemplate = {new CK_ATTRIBUTE(CK.CKA_CLASS, CK.CKO_SECRET_KEY),
            new CK_ATTRIBUTE(CK.CKA_KEY_TYPE, CK.CKK_AES), new CK_ATTRIBUTE(CK.CKA_TOKEN, false),
            new CK_ATTRIBUTE(CK.CKA_VALUE, baseValue), new CK_ATTRIBUTE(CK.CKA_DERIVE, true)};
        CK_OBJECT_HANDLE base = new CK_OBJECT_HANDLE(-77);
        ok(Cryptoki.C_CreateObject(session, baseTemplate, 5, base));
        byte[] encrypted = openssl(data, "enc", "-aes-256-ecb", "-K", HEX.formatHex(baseValue), "-nopad");
        CK_OBJECT_HANDLE derived = new CK_OBJECT_HANDLE(-77);
        ok(Cryptoki.C_DeriveKey(session, stringData(data, 32), base, secretTemplate(32), 6, derived));
        assertArrayEquals(encrypted, bytes(derived, CK.CKA_VALUE));
        ok(Cryptoki.C_DeriveKey(session, stringData(data, 16), base, secretTemplate(16), 6, derived));
        assertArrayEquals(Arrays.copyOf(encrypted, 16), bytes(derived, CK.CKA_VALUE));
        CK_OBJECT_HANDLE refused = new CK_OBJECT_HANDLE(-77);
        assertNotEquals(CK.CKR_OK, Cryptoki.C_DeriveKey(session, stringData(data, 16), base, secretTemplate(32), 6,
                refused).m_value);
        assertEquals(-77, refused.m_value);
    }

    // ---- helpers -------------------------------------------------------------

    /** CKM_AES_ECB_ENCRYPT_DATA over the whole array, with the Java len given. */
    private static CK_MECHANISM stringData(byte[] data, long len) {
        return new CK_MECHANISM(CK.CKM_AES_ECB_ENCRYPT_DATA, new CK_KEY_DERIVATION_STRING_DATA(data, len));
    }

    /** An extractable, not sensitive generic secret of the given length, as a session object. */
    private static CK_ATTRIBUTE[] secretTemplate(long length) {
        return new CK_ATTRIBUTE[] {new CK_ATTRIBUTE(CK.CKA_CLASS, CK.CKO_SECRET_KEY),
            new CK_ATTRIBUTE(CK.CKA_KEY_TYPE, CK.CKK_GENERIC_SECRET), new CK_ATTRIBUTE(CK.CKA_TOKEN, false),
            new CK_ATTRIBUTE(CK.CKA_VALUE_LEN, length), new CK_ATTRIBUTE(CK.CKA_SENSITIVE, false),
            new CK_ATTRIBUTE(CK.CKA_EXTRACTABLE, true)};
    }

    /** A byte-string attribute of at most 300 bytes. */
    private byte[] bytes(CK_OBJECT_HANDLE object, long type) {
        CK_ATTRIBUTE[] attribute = {CK_ATTRIBUTE.readBytes(type, 300)};
        ok(Cryptoki.C_GetAttributeValue(session, object, attribute, 1));
        return attribute[0].bytes();
    }

    private static byte[] random(int length) {
        byte[] bytes = new byte[length];
        RANDOM.nextBytes(bytes);
        return bytes;
    }
}
