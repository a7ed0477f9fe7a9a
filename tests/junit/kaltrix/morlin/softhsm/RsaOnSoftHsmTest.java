package kaltrix.morlin.softhsm;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static kaltrix.morlin.softhsm.SoftHsmToken.ok;
import static kaltrix.morlin.softhsm.SoftHsmToken.openssl;

import java.math.BigInteger;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.SecureRandom;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.HashMap;
import java.util.HexFormat;
import java.util.List;
import java.util.Map;
import java.util.function.BiFunction;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import kaltrix.morlin.CK_ATTRIBUTE;
import kaltrix.morlin.CK_MECHANISM;
import kaltrix.morlin.CK_OBJECT_HANDLE;
import kaltrix.morlin.Cryptoki;
import kaltrix.morlin.LongRef;
import kaltrix.morlin.constants.CK;
import kaltrix.morlin.constants.CK_RV;
import kaltrix.morlin.params.CK_RSA_PKCS_OAEP_PARAMS;
import kaltrix.morlin.params.CK_RSA_PKCS_PSS_PARAMS;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

/**
 * RSA-OAEP and RSA-PSS parameters on SoftHSM2 against the openssl command line, with a key pair that openssl
 * generated and the token imported. The token encrypts and signs, openssl decrypts and verifies, and the other way
 * round.
 */
@Tag("softhsm")
class RsaOnSoftHsmTest extends UserSessionTest {
    private static final HexFormat HEX = HexFormat.of();
    private static final SecureRandom RANDOM = new SecureRandom();
    /** CK_RSA_PKCS_MGF_TYPE and CK_RSA_PKCS_OAEP_SOURCE_TYPE values, which class CK does not name. */
    private static final long CKG_MGF1_SHA1 = 1;
    private static final long CKG_MGF1_SHA256 = 2;
    private static final long CKZ_DATA_SPECIFIED = 1;

    private Path privatePem;
    private Path publicPem;
    private CK_OBJECT_HANDLE publicKey;
    private CK_OBJECT_HANDLE privateKey;

    @BeforeEach
    void keyPairFromOpenSsl() throws Exception {
        privatePem = dir.resolve("private.pem");
        publicPem = dir.resolve("public.pem");
        openssl(new byte[0], "genpkey", "-quiet", "-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:2048", "-out",
                privatePem.toString());
        openssl(new byte[0], "pkey", "-in", privatePem.toString(), "-pubout", "-out", publicPem.toString());
        Map<String, byte[]> n = numbers(openssl(new byte[0], "pkey", "-in", privatePem.toString(), "-noout", "-text"));
        publicKey = create(CK.CKO_PUBLIC_KEY, new CK_ATTRIBUTE(CK.CKA_ENCRYPT, true),
                new CK_ATTRIBUTE(CK.CKA_VERIFY, true), new CK_ATTRIBUTE(CK.CKA_MODULUS, n.get("modulus")),
                new CK_ATTRIBUTE(CK.CKA_PUBLIC_EXPONENT, n.get("publicExponent")));
        privateKey = create(CK.CKO_PRIVATE_KEY, new CK_ATTRIBUTE(CK.CKA_DECRYPT, true),
                new CK_ATTRIBUTE(CK.CKA_SIGN, true), new CK_ATTRIBUTE(CK.CKA_MODULUS, n.get("modulus")),
                new CK_ATTRIBUTE(CK.CKA_PUBLIC_EXPONENT, n.get("publicExponent")),
                new CK_ATTRIBUTE(CK.CKA_PRIVATE_EXPONENT, n.get("privateExponent")),
                new CK_ATTRIBUTE(CK.CKA_PRIME_1, n.get("prime1")), new CK_ATTRIBUTE(CK.CKA_PRIME_2, n.get("prime2")),
                new CK_ATTRIBUTE(CK.CKA_EXPONENT_1, n.get("exponent1")),
                new CK_ATTRIBUTE(CK.CKA_EXPONENT_2, n.get("exponent2")),
                new CK_ATTRIBUTE(CK.CKA_COEFFICIENT, n.get("coefficient")));
    }

    /**
     * OAEP with SHA-1 and no label, then with SHA-256, MGF1-SHA256 and a label. SoftHSM2 2.6 takes only the
     * first, and answers CKR_ARGUMENTS_BAD to any other hash, MGF or label: there the second case ends at that
     * answer, and the label's way into the structure rests on the native tests.
     */
    @Test
    void oaepEncryptedOnTheTokenOpensInOpenSslAndBack() throws Exception {
        byte[] label = "morlin label".getBytes(StandardCharsets.US_ASCII);
        Object[][] cases = {{CK.CKM_SHA_1, CKG_MGF1_SHA1, null, "sha1"}, {CK.CKM_SHA256, CKG_MGF1_SHA256, label,
            "sha256"}};
        for (Object[] c : cases) {
            byte[] source = (byte[]) c[2];
            String md = (String) c[3];
            CK_MECHANISM oaep = new CK_MECHANISM(CK.CKM_RSA_PKCS_OAEP,
                    new CK_RSA_PKCS_OAEP_PARAMS((long) c[0], (long) c[1], CKZ_DATA_SPECIFIED, source));
            CK_RV rv = Cryptoki.C_EncryptInit(session, oaep, publicKey);
            if (source != null && rv.m_value == CK.CKR_ARGUMENTS_BAD) {
                continue;
            }
            ok(rv);
            byte[] plain = random(100);
            byte[] sealed = sized((out, len) -> Cryptoki.C_Encrypt(session, plain, plain.length, out, len));
            List<String> options = new ArrayList<>(List.of("pkeyutl", "-decrypt", "-inkey", privatePem.toString(),
                    "-pkeyopt", "rsa_padding_mode:oaep", "-pkeyopt", "rsa_oaep_md:" + md, "-pkeyopt",
                    "rsa_mgf1_md:" + md));
            if (source != null) {
                options.addAll(List.of("-pkeyopt", "rsa_oaep_label:" + HEX.formatHex(source)));
            }
            assertArrayEquals(plain, openssl(sealed, options.toArray(new String[0])), oaep.toString());

            options.set(1, "-encrypt");
            byte[] fromOpenSsl = openssl(plain, options.toArray(new String[0]));
            ok(Cryptoki.C_DecryptInit(session, oaep, privateKey));
            assertArrayEquals(plain,
                    sized((out, len) -> Cryptoki.C_Decrypt(session, fromOpenSsl, fromOpenSsl.length, out, len)));
        }
    }

    /**
     * SHA256_RSA_PKCS_PSS with a 32-byte salt: openssl verifies the token's signature with that salt length, and
     * the token verifies openssl's only with the salt length it was made with.
     */
    @Test
    void pssSignaturesCrossVerifyWithOpenSsl() throws Exception {
        byte[] data = random(500);
        Path dataFile = Files.write(dir.resolve("data.bin"), data);
        CK_MECHANISM pss = new CK_MECHANISM(CK.CKM_SHA256_RSA_PKCS_PSS,
                new CK_RSA_PKCS_PSS_PARAMS(CK.CKM_SHA256, CKG_MGF1_SHA256, 32));
        ok(Cryptoki.C_SignInit(session, pss, privateKey));
        byte[] signature = sized((out, len) -> Cryptoki.C_Sign(session, data, data.length, out, len));
        Path signatureFile = Files.write(dir.resolve("signature.bin"), signature);
        assertEquals("Verified OK\n", new String(openssl(new byte[0], "dgst", "-sha256", "-sigopt",
                "rsa_padding_mode:pss", "-sigopt", "rsa_pss_saltlen:32", "-verify", publicPem.toString(),
                "-signature", signatureFile.toString(), dataFile.toString()), StandardCharsets.US_ASCII));

        byte[] theirs = openssl(data, "dgst", "-sha256", "-sigopt", "rsa_padding_mode:pss", "-sigopt",
                "rsa_pss_saltlen:32", "-sign", privatePem.toString());
        for (long saltLength : new long[] {32, 20}) {
            CK_MECHANISM verifying = new CK_MECHANISM(CK.CKM_SHA256_RSA_PKCS_PSS,
                    new CK_RSA_PKCS_PSS_PARAMS(CK.CKM_SHA256, CKG_MGF1_SHA256, saltLength));
            ok(Cryptoki.C_VerifyInit(session, verifying, publicKey));
            assertEquals(saltLength == 32 ? CK.CKR_OK : CK.CKR_SIGNATURE_INVALID,
                    Cryptoki.C_Verify(session, data, data.length, theirs, theirs.length).m_value, verifying::toString);
        }
    }

    // ---- helpers -------------------------------------------------------------

    /** A session key of class keyClass, type RSA, with the given attributes. */
    private CK_OBJECT_HANDLE create(long keyClass, CK_ATTRIBUTE... more) {
        List<CK_ATTRIBUTE> template = new ArrayList<>(List.of(new CK_ATTRIBUTE(CK.CKA_CLASS, keyClass),
                new CK_ATTRIBUTE(CK.CKA_KEY_TYPE, CK.CKK_RSA), new CK_ATTRIBUTE(CK.CKA_TOKEN, false)));
        template.addAll(List.of(more));
        CK_OBJECT_HANDLE key = new CK_OBJECT_HANDLE(-77);
        ok(Cryptoki.C_CreateObject(session, template.toArray(new CK_ATTRIBUTE[0]), template.size(), key));
        return key;
    }

    /** A call under the output rules of C_Encrypt: the size query, then the bytes, cut to the length reported. */
    private static byte[] sized(BiFunction<byte[], LongRef, CK_RV> call) {
        LongRef length = new LongRef(-77);
        ok(call.apply(null, length));
        byte[] out = new byte[(int) length.value];
        ok(call.apply(out, length));
        return Arrays.copyOf(out, (int) length.value);
    }

    /**
     * The numbers that {@code openssl pkey -text} prints ("modulus:" over indented lines of "xx:xx:", or
     * "publicExponent: 65537 (0x10001)"), unsigned big-endian without leading zeros.
     */
    private static Map<String, byte[]> numbers(byte[] text) {
        Matcher m = Pattern.compile("(?m)^(\\w+):(?: \\d+ \\(0x(\\p{XDigit}+)\\)$|\\n((?: +[\\p{XDigit}:]+\\n)+))")
                .matcher(new String(text, StandardCharsets.US_ASCII));
        Map<String, byte[]> numbers = new HashMap<>();
        while (m.find()) {
            String hex = m.group(2) != null ? m.group(2) : m.group(3).replaceAll("[\\s:]", "");
            byte[] signed = new BigInteger(hex, 16).toByteArray();
            numbers.put(m.group(1), signed[0] == 0 ? Arrays.copyOfRange(signed, 1, signed.length) : signed);
        }
        assertEquals(8, numbers.size(), numbers::toString);
        return numbers;
    }

    private static byte[] random(int length) {
        byte[] bytes = new byte[length];
        RANDOM.nextBytes(bytes);
        return bytes;
    }
}
