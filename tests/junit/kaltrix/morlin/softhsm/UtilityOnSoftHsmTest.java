package kaltrix.morlin.softhsm;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static kaltrix.morlin.softhsm.SoftHsmToken.ok;
import static kaltrix.morlin.softhsm.SoftHsmToken.openssl;

import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.MessageDigest;
import java.security.SecureRandom;
import java.util.Arrays;
import kaltrix.morlin.CK_ATTRIBUTE;
import kaltrix.morlin.CK_BBOOL;
import kaltrix.morlin.CK_MECHANISM;
import kaltrix.morlin.CK_OBJECT_HANDLE;
import kaltrix.morlin.CTUtil;
import kaltrix.morlin.Cryptoki;
import kaltrix.morlin.LongRef;
import kaltrix.morlin.constants.CK;
import kaltrix.morlin.constants.CK_ATTRIBUTE_TYPE;
import kaltrix.morlin.constants.CK_OBJECT_CLASS;
import kaltrix.morlin.constants.CK_RV;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

/**
 * The utility natives of CTUtil on SoftHSM2: a data object found by its label, read, written and renamed one
 * attribute at a time; EC key pairs made from encoded curve names, the encodings and the signatures checked by
 * openssl. Everything made is a session object.
 */
@Tag("softhsm")
class UtilityOnSoftHsmTest extends UserSessionTest {
    private static final SecureRandom RANDOM = new SecureRandom();


    @Test
    void dataObjectFoundByLabelReadAndRenamed() {
        String name = "notes-" + RANDOM.nextInt(1 << 30);
        byte[] content = new byte[200];
        RANDOM.nextBytes(content);
        CK_ATTRIBUTE[] template = {new CK_ATTRIBUTE(CK.CKA_CLASS, CK.CKO_DATA),
            new CK_ATTRIBUTE(CK.CKA_TOKEN, false), new CK_ATTRIBUTE(CK.CKA_LABEL, ascii(name)),
            new CK_ATTRIBUTE(CK.CKA_VALUE, content)};
        CK_OBJECT_HANDLE created = new CK_OBJECT_HANDLE(-77);
        ok(Cryptoki.C_CreateObject(session, template, template.length, created));
        CK_OBJECT_HANDLE found = new CK_OBJECT_HANDLE(-77);
        ok(find(name, found));
        assertEquals(created.m_value, found.m_value);

        LongRef length = new LongRef(-77);
        ok(get(found, CK.CKA_VALUE, null, 0, length));
        assertEquals(content.length, length.value);
        byte[] buffer = new byte[256];
        ok(get(found, CK.CKA_VALUE, buffer, buffer.length, length));
        assertEquals(content.length, length.value);
        assertArrayEquals(content, Arrays.copyOf(buffer, content.length));
        LongRef untouched = new LongRef(-77);
        byte[] tooShort = new byte[100];
        assertEquals(CK.CKR_ATTRIBUTE_TYPE_INVALID, get(found, CK.CKA_VALUE, tooShort, 100, untouched).m_value);
        assertEquals(-77, untouched.value);
        assertArrayEquals(new byte[100], tooShort);
        // Into the wrappers that take the value in place.
        CK_OBJECT_CLASS objectClass = new CK_OBJECT_CLASS(-77);
        ok(get(found, CK.CKA_CLASS, objectClass, 8, length));
        assertEquals(CK.CKO_DATA, objectClass.m_value);
        CK_BBOOL token = new CK_BBOOL(true);
        ok(get(found, CK.CKA_TOKEN, token, 1, length));
        assertEquals(false, token.m_value);

        String renamed = name + "-renamed";
        ok(CTUtil.CTU_SetAttributeValue(session, found, new CK_ATTRIBUTE_TYPE(CK.CKA_LABEL), ascii(renamed),
                renamed.length()));
        CK_OBJECT_HANDLE again = new CK_OBJECT_HANDLE(-77);
        assertEquals(CK.CKR_GENERAL_ERROR, find(name, again).m_value);
        assertEquals(-77, again.m_value);
        ok(find(renamed, again));
        assertEquals(created.m_value, again.m_value);

        // PKCS#11 lets a data object's value change; SoftHSM2 keeps it as created.
        byte[] replacement = ascii("replaced");
        long rv = CTUtil.CTU_SetAttributeValue(session, found, new CK_ATTRIBUTE_TYPE(CK.CKA_VALUE), replacement,
                replacement.length).m_value;
        assertTrue(rv == CK.CKR_OK || rv == CK.CKR_ATTRIBUTE_READ_ONLY, () -> new CK_RV(rv).toString());
        ok(get(found, CK.CKA_VALUE, buffer, buffer.length, length));
        assertArrayEquals(rv == CK.CKR_OK ? replacement : content, Arrays.copyOf(buffer, (int) length.value));
    }

    /** Each curve as openssl names it, and the name the encoder takes. */
    @Test
    void ecKeyPairsFromEncodedCurveNames() throws Exception {
        String[][] curves = {{"P-256", "prime256v1"}, {"P-384", "secp384r1"}, {"P-521", "secp521r1"},
            {"secp256k1", "secp256k1"}, {"brainpoolP256r1", "brainpoolP256r1"}};
        byte[] data = ascii("signed by the token, verified by openssl");
        byte[] digest = MessageDigest.getInstance("SHA-256").digest(data);
        for (String[] curve : curves) {
            LongRef length = new LongRef(-77);
            ok(CTUtil.CTU_DerEncodeNamedCurve(ascii(curve[0]), null, length));
            byte[] params = new byte[(int) length.value];
            ok(CTUtil.CTU_DerEncodeNamedCurve(ascii(curve[0]), params, length));
            assertEquals(params.length, length.value, curve[0]);
            assertArrayEquals(openssl(new byte[0], "ecparam", "-name", curve[1], "-outform", "DER"), params,
                    curve[0]);

            CK_ATTRIBUTE[] publicKey = {new CK_ATTRIBUTE(CK.CKA_TOKEN, false),
                new CK_ATTRIBUTE(CK.CKA_VERIFY, true), new CK_ATTRIBUTE(CK.CKA_EC_PARAMS, params)};
            CK_ATTRIBUTE[] privateKey = {new CK_ATTRIBUTE(CK.CKA_TOKEN, false), new CK_ATTRIBUTE(CK.CKA_SIGN, true)};
            CK_OBJECT_HANDLE pub = new CK_OBJECT_HANDLE(-77);
            CK_OBJECT_HANDLE priv = new CK_OBJECT_HANDLE(-77);
            ok(Cryptoki.C_GenerateKeyPair(session, new CK_MECHANISM(CK.CKM_EC_KEY_PAIR_GEN), publicKey, 3,
                    privateKey, 2, pub, priv));
            ok(Cryptoki.C_SignInit(session, new CK_MECHANISM(CK.CKM_ECDSA), priv));
            byte[] rs = new byte[200];
            LongRef rsLength = new LongRef(rs.length);
            ok(Cryptoki.C_Sign(session, digest, digest.length, rs, rsLength));

            ok(get(pub, CK.CKA_EC_POINT, null, 0, length));
            byte[] point = new byte[(int) length.value];
            ok(get(pub, CK.CKA_EC_POINT, point, point.length, length));
            // The uncompressed point inside its OCTET STRING, whose length takes one or two bytes.
            int header = (point[1] & 0x80) != 0 ? 2 + (point[1] & 0x7F) : 2;
            byte[] key = Der.ecPublicKey(params, Arrays.copyOfRange(point, header, point.length));
            Path keyFile = Files.write(dir.resolve(curve[1] + ".der"), key);
            Path signature = Files.write(dir.resolve(curve[1] + ".sig"),
                    Der.ecdsaSignature(Arrays.copyOf(rs, (int) rsLength.value)));
            assertEquals("Verified OK\n", new String(openssl(data, "dgst", "-sha256", "-keyform", "DER", "-verify",
                    keyFile.toString(), "-signature", signature.toString()), StandardCharsets.US_ASCII), curve[0]);
        }
    }

    private CK_RV find(String label, CK_OBJECT_HANDLE object) {
        return CTUtil.CTU_FindObject(session, new CK_OBJECT_CLASS(CK.CKO_DATA), ascii(label), object);
    }

    private CK_RV get(CK_OBJECT_HANDLE object, long type, Object value, long maxLen, LongRef length) {
        return CTUtil.CTU_GetAttributeValue(session, object, new CK_ATTRIBUTE_TYPE(type), value, maxLen, length);
    }

    private static byte[] ascii(String text) {
        return text.getBytes(StandardCharsets.US_ASCII);
    }
}
