package kaltrix.morlin.softhsm;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static kaltrix.morlin.softhsm.SoftHsmToken.ok;
import static kaltrix.morlin.softhsm.SoftHsmToken.openssl;

import java.io.ByteArrayOutputStream;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.AlgorithmParameters;
import java.security.SecureRandom;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.HexFormat;
import java.util.List;
import java.util.function.BiFunction;
import javax.crypto.Cipher;
import javax.crypto.KeyGenerator;
import javax.crypto.SecretKey;
import kaltrix.morlin.CK_ATTRIBUTE;
import kaltrix.morlin.CK_MECHANISM;
import kaltrix.morlin.CK_OBJECT_HANDLE;
import kaltrix.morlin.Cryptoki;
import kaltrix.morlin.LongRef;
import kaltrix.morlin.constants.CK;
import kaltrix.morlin.constants.CK_RV;
import kaltrix.morlin.params.CK_AES_GCM_PARAMS;
import kaltrix.morlin.params.CK_GCM_PARAMS;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

/**
 * Ciphers, digests, signatures, MACs, key wrapping and random numbers on SoftHSM2, each checked by the
 * openssl command line (the GCM tag, for which it has no command, by the JDK). Keys are session objects.
 */
@Tag("softhsm")
class CryptoOnSoftHsmTest extends UserSessionTest {
    private static final HexFormat HEX = HexFormat.of();
    /** DER OIDs: prime256v1 (as CKA_EC_PARAMS holds it), rsaEncryption. */
    private static final byte[] P256 = HEX.parseHex("06082A8648CE3D030107");
    private static final byte[] RSA_ENCRYPTION = HEX.parseHex("06092A864886F70D010101");
    /** The RSA public exponent 65537. */
    private static final byte[] F4 = {1, 0, 1};
    private static final SecureRandom RANDOM = new SecureRandom();


    /** CBC with a key of known bytes, CBC_PAD with a generated one; single-part, then in uneven parts. */
    @Test
    void aesCbcInOneAndInManyPartsMatchesOpenSsl() throws Exception {
        CK_ATTRIBUTE[] template = {new CK_ATTRIBUTE(CK.CKA_VALUE_LEN, 32L), new CK_ATTRIBUTE(CK.CKA_TOKEN, false),
            new CK_ATTRIBUTE(CK.CKA_ENCRYPT, true), new CK_ATTRIBUTE(CK.CKA_DECRYPT, true),
            new CK_ATTRIBUTE(CK.CKA_SENSITIVE, false), new CK_ATTRIBUTE(CK.CKA_EXTRACTABLE, true)};
        CK_OBJECT_HANDLE generated = new CK_OBJECT_HANDLE(-77);
        ok(Cryptoki.C_GenerateKey(session, new CK_MECHANISM(CK.CKM_AES_KEY_GEN), template, 6, generated));
        byte[] known = random(32);
        Object[][] cases = {{CK.CKM_AES_CBC, secret(CK.CKK_AES, known, CK.CKA_ENCRYPT, CK.CKA_DECRYPT), known, 64, 64,
            "-nopad"}, {CK.CKM_AES_CBC_PAD, generated, bytes(generated, CK.CKA_VALUE), 45, 48, "-e"}};
        for (Object[] c : cases) {
            CK_OBJECT_HANDLE key = (CK_OBJECT_HANDLE) c[1];
            byte[] value = (byte[]) c[2];
            byte[] plain = random((int) c[3]);
            byte[] iv = random(16);
            CK_MECHANISM mechanism = new CK_MECHANISM((long) c[0], iv);
            ok(Cryptoki.C_EncryptInit(session, mechanism, key));
            LongRef length = new LongRef(-77);
            ok(Cryptoki.C_Encrypt(session, plain, plain.length, null, length));
            assertEquals((int) c[4], length.value);
            // Room for one byte less than the array holds: the token is told the room, not the array's length.
            byte[] sealed = new byte[(int) length.value--];
            assertEquals(CK.CKR_BUFFER_TOO_SMALL,
                    Cryptoki.C_Encrypt(session, plain, plain.length, sealed, length).m_value);
            assertEquals(sealed.length, length.value);
            assertArrayEquals(new byte[sealed.length], sealed);
            // The operation goes on: the same call with room ends it.
            ok(Cryptoki.C_Encrypt(session, plain, plain.length, sealed, length));
            assertArrayEquals(openssl(plain, "enc", "-aes-256-cbc", "-K", HEX.formatHex(value), "-iv",
                    HEX.formatHex(iv), (String) c[5]), sealed, mechanism.toString());
            ok(Cryptoki.C_DecryptInit(session, mechanism, key));
            assertArrayEquals(plain, sized((out, len) -> Cryptoki.C_Decrypt(session, sealed, sealed.length, out, len)));
            assertArrayEquals(sealed, inParts(true, mechanism, key, plain, 7, 27));
            assertArrayEquals(plain, inParts(false, mechanism, key, sealed, 1, 31));
        }
    }

    /** GCM, 96-bit tag: the ciphertext is AES-CTR from counter IV || 2; with the tag, what the JDK makes. */
    @Test
    void aesGcmMatchesOpenSslCtrAndTheJdkTag() throws Exception {
        KeyGenerator generator = KeyGenerator.getInstance("AES");
        generator.init(256);
        SecretKey jdkKey = generator.generateKey();
        byte[] value = jdkKey.getEncoded();
        byte[] iv = random(12);
        byte[] aad = random(20);
        byte[] plain = random(50);
        CK_OBJECT_HANDLE key = secret(CK.CKK_AES, value, CK.CKA_ENCRYPT, CK.CKA_DECRYPT);
        CK_GCM_PARAMS parameters = new CK_GCM_PARAMS(iv.clone(), aad, 96);
        ok(Cryptoki.C_EncryptInit(session, new CK_MECHANISM(CK.CKM_AES_GCM, parameters), key));
        assertArrayEquals(iv, parameters.pIv);
        byte[] sealed = sized((out, len) -> Cryptoki.C_Encrypt(session, plain, plain.length, out, len));
        assertArrayEquals(openssl(plain, "enc", "-aes-256-ctr", "-K", HEX.formatHex(value), "-iv",
                HEX.formatHex(iv) + "00000002"), Arrays.copyOf(sealed, 50));
        // GCMParameters: SEQUENCE { OCTET STRING nonce, INTEGER tag length in bytes }.
        AlgorithmParameters gcm = AlgorithmParameters.getInstance("GCM");
        gcm.init(Der.element(0x30, Der.element(0x04, iv), Der.element(0x02, new byte[] {12})));
        Cipher jdk = Cipher.getInstance("AES/GCM/NoPadding");
        jdk.init(Cipher.ENCRYPT_MODE, jdkKey, gcm);
        jdk.updateAAD(aad);
        assertArrayEquals(jdk.doFinal(plain), sealed);
        CK_MECHANISM opening = new CK_MECHANISM(CK.CKM_AES_GCM, new CK_AES_GCM_PARAMS(iv, aad, 96));
        ok(Cryptoki.C_DecryptInit(session, opening, key));
        assertArrayEquals(plain, sized((out, len) -> Cryptoki.C_Decrypt(session, sealed, sealed.length, out, len)));
    }

    /** SHA-256 in one part and in parts around a key's value; HMAC-SHA256 in one part and in parts. */
    @Test
    void sha256DigestAndHmacMatchOpenSsl() throws Exception {
        byte[] data = random(1000);
        byte[] head = Arrays.copyOf(data, 400);
        byte[] tail = Arrays.copyOfRange(data, 400, 1000);
        CK_MECHANISM sha256 = new CK_MECHANISM(CK.CKM_SHA256);
        ok(Cryptoki.C_DigestInit(session, sha256));
        byte[] digest = sized((out, len) -> Cryptoki.C_Digest(session, data, data.length, out, len));
        assertArrayEquals(openssl(data, "dgst", "-sha256", "-binary"), digest);
        byte[] value = random(32);
        CK_OBJECT_HANDLE key = secret(CK.CKK_GENERIC_SECRET, value, CK.CKA_SIGN, CK.CKA_VERIFY);
        ok(Cryptoki.C_DigestInit(session, sha256));
        ok(Cryptoki.C_DigestUpdate(session, head, 400));
        ok(Cryptoki.C_DigestKey(session, key));
        ok(Cryptoki.C_DigestUpdate(session, tail, 600));
        assertArrayEquals(openssl(Der.concat(head, value, tail), "dgst", "-sha256", "-binary"),
                sized((out, len) -> Cryptoki.C_DigestFinal(session, out, len)));
        CK_MECHANISM hmac = new CK_MECHANISM(CK.CKM_SHA256_HMAC);
        ok(Cryptoki.C_SignInit(session, hmac, key));
        byte[] mac = sized((out, len) -> Cryptoki.C_Sign(session, data, data.length, out, len));
        assertArrayEquals(openssl(data, "dgst", "-sha256", "-binary", "-mac", "HMAC", "-macopt",
                "hexkey:" + HEX.formatHex(value)), mac);
        ok(Cryptoki.C_SignInit(session, hmac, key));
        ok(Cryptoki.C_SignUpdate(session, head, 400));
        ok(Cryptoki.C_SignUpdate(session, tail, 600));
        assertArrayEquals(mac, sized((out, len) -> Cryptoki.C_SignFinal(session, out, len)));
        assertTokenVerifiesOnlyUnchanged(hmac, key, data, mac);
    }

    /** RSA PKCS#1 v1.5 with SHA-256, ECDSA on P-256 over the token's digest; openssl hashes the data itself. */
    @Test
    void rsaAndEcdsaSignaturesVerifiedByOpenSslAndTheToken() throws Exception {
        byte[] data = random(300);
        CK_ATTRIBUTE[] signing = {new CK_ATTRIBUTE(CK.CKA_TOKEN, false), new CK_ATTRIBUTE(CK.CKA_SIGN, true)};
        CK_ATTRIBUTE[] rsaPublic = {new CK_ATTRIBUTE(CK.CKA_TOKEN, false), new CK_ATTRIBUTE(CK.CKA_VERIFY, true),
            new CK_ATTRIBUTE(CK.CKA_MODULUS_BITS, 2048L), new CK_ATTRIBUTE(CK.CKA_PUBLIC_EXPONENT, F4)};
        CK_OBJECT_HANDLE[] rsa = {new CK_OBJECT_HANDLE(-77), new CK_OBJECT_HANDLE(-77)};
        ok(Cryptoki.C_GenerateKeyPair(session, new CK_MECHANISM(CK.CKM_RSA_PKCS_KEY_PAIR_GEN), rsaPublic, 4, signing,
                2, rsa[0], rsa[1]));
        CK_MECHANISM sha256Rsa = new CK_MECHANISM(CK.CKM_SHA256_RSA_PKCS);
        ok(Cryptoki.C_SignInit(session, sha256Rsa, rsa[1]));
        byte[] signature = sized((out, len) -> Cryptoki.C_Sign(session, data, data.length, out, len));
        byte[] modulus = bytes(rsa[0], CK.CKA_MODULUS);
        byte[] exponent = bytes(rsa[0], CK.CKA_PUBLIC_EXPONENT);
        assertOpenSslVerifies(Der.element(0x30, Der.element(0x30, RSA_ENCRYPTION, Der.element(0x05)),
                Der.element(0x03, new byte[1], Der.element(0x30, Der.integer(modulus), Der.integer(exponent)))), data, signature);
        assertTokenVerifiesOnlyUnchanged(sha256Rsa, rsa[0], data, signature);
        CK_ATTRIBUTE[] ecPublic = {new CK_ATTRIBUTE(CK.CKA_TOKEN, false), new CK_ATTRIBUTE(CK.CKA_VERIFY, true),
            new CK_ATTRIBUTE(CK.CKA_EC_PARAMS, P256)};
        CK_OBJECT_HANDLE[] ec = {new CK_OBJECT_HANDLE(-77), new CK_OBJECT_HANDLE(-77)};
        ok(Cryptoki.C_GenerateKeyPair(session, new CK_MECHANISM(CK.CKM_EC_KEY_PAIR_GEN), ecPublic, 3, signing, 2,
                ec[0], ec[1]));
        ok(Cryptoki.C_DigestInit(session, new CK_MECHANISM(CK.CKM_SHA256)));
        byte[] digest = sized((out, len) -> Cryptoki.C_Digest(session, data, data.length, out, len));
        CK_MECHANISM ecdsa = new CK_MECHANISM(CK.CKM_ECDSA);
        ok(Cryptoki.C_SignInit(session, ecdsa, ec[1]));
        byte[] rs = sized((out, len) -> Cryptoki.C_Sign(session, digest, digest.length, out, len));
        // CKA_EC_POINT: the uncompressed point (04 X Y, 65 bytes) in a DER OCTET STRING.
        byte[] point = bytes(ec[0], CK.CKA_EC_POINT);
        assertArrayEquals(new byte[] {0x04, 0x41, 0x04}, Arrays.copyOf(point, 3));
        assertOpenSslVerifies(Der.ecPublicKey(P256, Arrays.copyOfRange(point, 2, point.length)), data,
                Der.ecdsaSignature(rs));
        assertTokenVerifiesOnlyUnchanged(ecdsa, ec[0], digest, rs);
    }

    /** AES key wrap (RFC 3394) after the size query; a damaged wrapping leaves the handle as it was. */
    @Test
    void aesKeyWrapMatchesOpenSslAndUnwrapsToTheSameValue() throws Exception {
        byte[] kekValue = random(32);
        byte[] value = random(32);
        CK_OBJECT_HANDLE kek = secret(CK.CKK_AES, kekValue, CK.CKA_WRAP, CK.CKA_UNWRAP);
        CK_OBJECT_HANDLE key = secret(CK.CKK_AES, value, CK.CKA_EXTRACTABLE);
        CK_MECHANISM wrap = new CK_MECHANISM(CK.CKM_AES_KEY_WRAP);
        byte[] wrapped = sized((out, len) -> Cryptoki.C_WrapKey(session, wrap, kek, key, out, len));
        assertArrayEquals(openssl(value, "enc", "-id-aes256-wrap", "-K", HEX.formatHex(kekValue), "-iv",
                "A6A6A6A6A6A6A6A6"), wrapped);
        CK_ATTRIBUTE[] template = {new CK_ATTRIBUTE(CK.CKA_CLASS, CK.CKO_SECRET_KEY),
            new CK_ATTRIBUTE(CK.CKA_KEY_TYPE, CK.CKK_AES), new CK_ATTRIBUTE(CK.CKA_TOKEN, false),
            new CK_ATTRIBUTE(CK.CKA_SENSITIVE, false), new CK_ATTRIBUTE(CK.CKA_EXTRACTABLE, true)};
        CK_OBJECT_HANDLE unwrapped = new CK_OBJECT_HANDLE(-77);
        byte[] damaged = wrapped.clone();
        damaged[3] ^= 1;
        assertNotEquals(CK.CKR_OK, Cryptoki.C_UnwrapKey(session, wrap, kek, damaged, 40, template, 5, unwrapped)
                .m_value);
        assertEquals(-77, unwrapped.m_value);
        ok(Cryptoki.C_UnwrapKey(session, wrap, kek, wrapped, 40, template, 5, unwrapped));
        assertArrayEquals(value, bytes(unwrapped, CK.CKA_VALUE));
    }

    /** The token makes ulRandomLen bytes; the array takes as many as it holds. */
    @Test
    void randomBytesAndSeed() {
        byte[] a = new byte[32];
        byte[] b = new byte[32];
        byte[] head = new byte[32];
        ok(Cryptoki.C_GenerateRandom(session, a, 32));
        ok(Cryptoki.C_GenerateRandom(session, b, 64));
        ok(Cryptoki.C_GenerateRandom(session, head, 8));
        assertFalse(Arrays.equals(new byte[32], a));
        assertFalse(Arrays.equals(a, b));
        assertArrayEquals(new byte[24], Arrays.copyOfRange(head, 8, 32));
        long rv = Cryptoki.C_SeedRandom(session, random(16), 16).m_value;
        assertTrue(rv == CK.CKR_OK || rv == CK.CKR_RANDOM_SEED_NOT_SUPPORTED, "C_SeedRandom: " + new CK_RV(rv));
    }

    // ---- helpers -------------------------------------------------------------

    /** A call under the output rules of C_Encrypt: the size query, then the bytes, cut to the length reported. */
    private static byte[] sized(BiFunction<byte[], LongRef, CK_RV> call) {
        LongRef length = new LongRef(-77);
        ok(call.apply(null, length));
        byte[] out = new byte[(int) length.value];
        ok(call.apply(out, length));
        return Arrays.copyOf(out, (int) length.value);
    }

    /** Init, Update with the pieces between the cuts, Final: all the bytes these give. */
    private byte[] inParts(boolean encrypt, CK_MECHANISM mechanism, CK_OBJECT_HANDLE key, byte[] data, int... cuts) {
        ok(encrypt ? Cryptoki.C_EncryptInit(session, mechanism, key) : Cryptoki.C_DecryptInit(session, mechanism, key));
        ByteArrayOutputStream all = new ByteArrayOutputStream();
        for (int i = 0; i <= cuts.length; i++) {
            byte[] part = Arrays.copyOfRange(data, i == 0 ? 0 : cuts[i - 1], i == cuts.length ? data.length : cuts[i]);
            all.writeBytes(sized((out, len) -> encrypt ? Cryptoki.C_EncryptUpdate(session, part, part.length, out, len)
                    : Cryptoki.C_DecryptUpdate(session, part, part.length, out, len)));
        }
        all.writeBytes(sized((out, len) -> encrypt ? Cryptoki.C_EncryptFinal(session, out, len)
                : Cryptoki.C_DecryptFinal(session, out, len)));
        return all.toByteArray();
    }

    /** The token accepts the signature and answers CKR_SIGNATURE_INVALID with one bit of it changed. */
    private void assertTokenVerifiesOnlyUnchanged(CK_MECHANISM mechanism, CK_OBJECT_HANDLE key, byte[] data,
            byte[] signature) {
        byte[] flipped = signature.clone();
        flipped[flipped.length / 2] ^= 0x10;
        for (byte[] candidate : List.of(signature, flipped)) {
            ok(Cryptoki.C_VerifyInit(session, mechanism, key));
            assertEquals(candidate == signature ? CK.CKR_OK : CK.CKR_SIGNATURE_INVALID,
                    Cryptoki.C_Verify(session, data, data.length, candidate, candidate.length).m_value);
        }
    }

    /** {@code openssl dgst -sha256 -verify} with a DER SubjectPublicKeyInfo and a DER signature. */
    private void assertOpenSslVerifies(byte[] publicKey, byte[] data, byte[] signature) throws Exception {
        Path key = Files.write(dir.resolve("key.der"), publicKey);
        Path sig = Files.write(dir.resolve("signature.der"), signature);
        assertEquals("Verified OK\n", new String(openssl(data, "dgst", "-sha256", "-keyform", "DER", "-verify",
                key.toString(), "-signature", sig.toString()), StandardCharsets.US_ASCII));
    }

    /** A session key of known bytes, with the given Boolean attributes true. */
    private CK_OBJECT_HANDLE secret(long keyType, byte[] value, long... usages) {
        List<CK_ATTRIBUTE> template = new ArrayList<>(List.of(new CK_ATTRIBUTE(CK.CKA_CLASS, CK.CKO_SECRET_KEY),
                new CK_ATTRIBUTE(CK.CKA_KEY_TYPE, keyType), new CK_ATTRIBUTE(CK.CKA_TOKEN, false),
                new CK_ATTRIBUTE(CK.CKA_VALUE, value)));
        Arrays.stream(usages).forEach(usage -> template.add(new CK_ATTRIBUTE(usage, true)));
        CK_OBJECT_HANDLE key = new CK_OBJECT_HANDLE(-77);
        ok(Cryptoki.C_CreateObject(session, template.toArray(new CK_ATTRIBUTE[0]), template.size(), key));
        return key;
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
