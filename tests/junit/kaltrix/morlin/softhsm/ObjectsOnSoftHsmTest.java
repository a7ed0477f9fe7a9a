package kaltrix.morlin.softhsm;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertNotSame;
import static org.junit.jupiter.api.Assertions.assertSame;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.math.BigInteger;
import java.nio.charset.StandardCharsets;
import java.security.SecureRandom;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.HashMap;
import java.util.HashSet;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import kaltrix.morlin.CK_ATTRIBUTE;
import kaltrix.morlin.CK_BBOOL;
import kaltrix.morlin.CK_DATE;
import kaltrix.morlin.CK_OBJECT_HANDLE;
import kaltrix.morlin.CK_SESSION_HANDLE;
import kaltrix.morlin.CK_ULONG_WRAPPER;
import kaltrix.morlin.Cryptoki;
import kaltrix.morlin.LongRef;
import kaltrix.morlin.constants.CK;
import kaltrix.morlin.constants.CK_ATTRIBUTE_TYPE;
import kaltrix.morlin.constants.CK_CERTIFICATE_TYPE;
import kaltrix.morlin.constants.CK_HW_FEATURE_TYPE;
import kaltrix.morlin.constants.CK_KEY_TYPE;
import kaltrix.morlin.constants.CK_MECHANISM_TYPE;
import kaltrix.morlin.constants.CK_OBJECT_CLASS;
import kaltrix.morlin.constants.CK_RSA_PKCS_OAEP_SOURCE_TYPE;
import kaltrix.morlin.constants.CK_RV;
import kaltrix.morlin.constants.CK_STATE;
import kaltrix.morlin.constants.CK_USER_TYPE;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

/**
 * Objects on SoftHSM2: templates in every value class the token takes, read
 * back in the two-call pattern, keys imported from OpenSSL, search, copy and
 * destruction. Everything made is a session object, gone at C_Finalize.
 */
@Tag("softhsm")
class ObjectsOnSoftHsmTest extends UserSessionTest {
    /** CKA_ALLOWED_MECHANISMS, which the constants of this binding do not name. */
    private static final long CKA_ALLOWED_MECHANISMS = 0x40000600L;
    /** The DER OID of prime256v1 (P-256), as CKA_EC_PARAMS holds it. */
    private static final byte[] P256 = {0x06, 0x08, 0x2A, (byte) 0x86, 0x48, (byte) 0xCE, 0x3D, 0x03, 0x01, 0x07};
    private static final SecureRandom RANDOM = new SecureRandom();


    @Test
    void dataObjectsFromStringCharAndByteValues() {
        byte[] value = random(300);
        // SoftHSM2 makes data objects private and modifiable unless told otherwise.
        CK_OBJECT_HANDLE a = create(new CK_ATTRIBUTE(CK.CKA_CLASS, new CK_OBJECT_CLASS(CK.CKO_DATA)),
                new CK_ATTRIBUTE(CK.CKA_TOKEN, false), new CK_ATTRIBUTE(CK.CKA_PRIVATE, new CK_BBOOL(false)),
                new CK_ATTRIBUTE(CK.CKA_MODIFIABLE, false), new CK_ATTRIBUTE(CK.CKA_LABEL, "Datenträger"),
                new CK_ATTRIBUTE(CK.CKA_APPLICATION, "morlin".toCharArray()), new CK_ATTRIBUTE(CK.CKA_VALUE, value));
        CK_OBJECT_HANDLE b = create(
                // A numeric type with valueLen 4, as if a C int: the token still gets a CK_ULONG.
                new CK_ATTRIBUTE(new CK_ATTRIBUTE_TYPE(CK.CKA_CLASS), CK.CKO_DATA, 4),
                new CK_ATTRIBUTE(CK.CKA_TOKEN, (byte) 0), new CK_ATTRIBUTE(CK.CKA_PRIVATE, (byte) 0),
                new CK_ATTRIBUTE(CK.CKA_MODIFIABLE, new boolean[] {false}),
                // A char keeps its low 8 bits: U+0141 arrives as 'A'.
                new CK_ATTRIBUTE(CK.CKA_LABEL, new char[] {'x', '\u0141'}),
                // Any other type: the token sees valueLen, not the array's length.
                new CK_ATTRIBUTE(new CK_ATTRIBUTE_TYPE(CK.CKA_APPLICATION), utf8("morlin-cut"), 4),
                new CK_ATTRIBUTE(CK.CKA_VALUE, new byte[0]));

        assertArrayEquals(utf8("Datenträger"), bytes(a, CK.CKA_LABEL));
        assertArrayEquals(utf8("morlin"), bytes(a, CK.CKA_APPLICATION));
        assertArrayEquals(value, bytes(a, CK.CKA_VALUE));
        assertArrayEquals(utf8("xA"), bytes(b, CK.CKA_LABEL));
        assertArrayEquals(utf8("morl"), bytes(b, CK.CKA_APPLICATION));
        assertArrayEquals(new byte[0], bytes(b, CK.CKA_VALUE));
        for (CK_OBJECT_HANDLE object : List.of(a, b)) {
            CK_ATTRIBUTE[] flags = {new CK_ATTRIBUTE(CK.CKA_CLASS, new CK_OBJECT_CLASS(-5)),
                CK_ATTRIBUTE.readBool(CK.CKA_PRIVATE), new CK_ATTRIBUTE(CK.CKA_MODIFIABLE, true)};
            read(object, flags);
            assertEquals(CK.CKO_DATA, flags[0].longValue());
            assertFalse(flags[1].booleanValue());
            assertFalse(flags[2].booleanValue());
            assertEquals(1, flags[2].valueLen);
        }
    }

    /**
     * Every class that converts to a CK_ULONG carries CKK_AES into
     * CKA_KEY_TYPE, and a target of the same class takes it back; the truth
     * value and mechanism list forms ride along, against SoftHSM2's defaults.
     */
    @Test
    void keysFromEveryNumberTruthAndMechanismListForm() {
        long k = CK.CKK_AES;
        Object[] aes = {k, (int) k, new CK_KEY_TYPE(k), new CK_OBJECT_HANDLE(k), new CK_SESSION_HANDLE(k),
            new CK_ATTRIBUTE_TYPE(k), new CK_CERTIFICATE_TYPE(k), new CK_HW_FEATURE_TYPE(k), new CK_MECHANISM_TYPE(k),
            new CK_OBJECT_CLASS(k), new CK_RSA_PKCS_OAEP_SOURCE_TYPE(k), new CK_RV(k), new CK_STATE(k),
            new CK_USER_TYPE(k)};
        Object[] yes = {new CK_BBOOL(true), true, (byte) 1, new boolean[] {true}};
        Object[] no = {new CK_BBOOL(false), false, (byte) 0, new boolean[] {false}};
        Object[] mechanisms = {
            new CK_MECHANISM_TYPE[] {new CK_MECHANISM_TYPE(CK.CKM_AES_CBC), new CK_MECHANISM_TYPE(CK.CKM_AES_ECB)},
            new long[] {CK.CKM_AES_CBC, CK.CKM_AES_ECB}, new int[] {(int) CK.CKM_AES_CBC, (int) CK.CKM_AES_ECB}};
        for (int i = 0; i < aes.length; i++) {
            String form = aes[i].getClass().getSimpleName();
            CK_OBJECT_HANDLE key = create(new CK_ATTRIBUTE(CK.CKA_CLASS, new CK_OBJECT_CLASS(CK.CKO_SECRET_KEY)),
                    new CK_ATTRIBUTE(CK.CKA_KEY_TYPE, aes[i]), new CK_ATTRIBUTE(CK.CKA_TOKEN, false),
                    new CK_ATTRIBUTE(CK.CKA_VALUE, random(16)), new CK_ATTRIBUTE(CK.CKA_DERIVE, yes[i % yes.length]),
                    new CK_ATTRIBUTE(CK.CKA_ENCRYPT, no[i % no.length]),
                    new CK_ATTRIBUTE(CKA_ALLOWED_MECHANISMS, mechanisms[i % mechanisms.length]),
                    // SoftHSM2 takes a date but gives none back (CKR_GENERAL_ERROR):
                    // its acceptance of the 8 bytes is the check.
                    new CK_ATTRIBUTE(CK.CKA_START_DATE, new CK_DATE(2030, 1, 31)));

            Object target = aes[i] instanceof CK_ULONG_WRAPPER ? blank((CK_ULONG_WRAPPER) aes[i]) : 0L;
            CK_ATTRIBUTE[] back = {new CK_ATTRIBUTE(CK.CKA_KEY_TYPE, target), CK_ATTRIBUTE.readBool(CK.CKA_DERIVE),
                new CK_ATTRIBUTE(CK.CKA_ENCRYPT, true), new CK_ATTRIBUTE(CKA_ALLOWED_MECHANISMS)};
            read(key, back);
            assertEquals(k, back[0].longValue(), form);
            assertSame(target.getClass(), back[0].pValue.getClass(), form);
            assertTrue(back[1].booleanValue(), form);
            assertFalse(back[2].booleanValue(), form);
            assertEquals(16, back[3].valueLen, form);
            CK_MECHANISM_TYPE[] allowed = {new CK_MECHANISM_TYPE(), new CK_MECHANISM_TYPE()};
            read(key, new CK_ATTRIBUTE(CKA_ALLOWED_MECHANISMS, allowed));
            assertEquals(Set.of(CK.CKM_AES_CBC, CK.CKM_AES_ECB), Set.of(allowed[0].m_value, allowed[1].m_value), form);
        }
    }

    /** RSA and EC key pairs that OpenSSL made come back from the token byte for byte. */
    @Test
    void rsaAndEcKeyPairsFromOpenSsl() throws Exception {
        Map<String, byte[]> rsa = openssl("-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:2048");
        long[] parts = {CK.CKA_MODULUS, CK.CKA_PUBLIC_EXPONENT, CK.CKA_PRIVATE_EXPONENT, CK.CKA_PRIME_1,
            CK.CKA_PRIME_2, CK.CKA_EXPONENT_1, CK.CKA_EXPONENT_2, CK.CKA_COEFFICIENT};
        String[] names = {"modulus", "publicExponent", "privateExponent", "prime1", "prime2", "exponent1",
            "exponent2", "coefficient"};
        CK_ATTRIBUTE[] numbers = new CK_ATTRIBUTE[parts.length];
        for (int i = 0; i < parts.length; i++) {
            numbers[i] = new CK_ATTRIBUTE(parts[i], rsa.get(names[i]));
        }
        CK_OBJECT_HANDLE rsaPublic = key(CK.CKO_PUBLIC_KEY, CK.CKK_RSA, Arrays.copyOf(numbers, 2));
        CK_OBJECT_HANDLE rsaPrivate = key(CK.CKO_PRIVATE_KEY, CK.CKK_RSA, numbers);
        CK_ATTRIBUTE[] facts = {new CK_ATTRIBUTE(CK.CKA_CLASS, new CK_OBJECT_CLASS()),
            new CK_ATTRIBUTE(CK.CKA_KEY_TYPE, new CK_KEY_TYPE(-1)), CK_ATTRIBUTE.readLong(CK.CKA_MODULUS_BITS)};
        read(rsaPublic, facts);
        assertEquals("CKO_PUBLIC_KEY", facts[0].pValue.toString());
        assertEquals("CKK_RSA", facts[1].pValue.toString());
        assertEquals(2048, facts[2].longValue());
        assertArrayEquals(rsa.get("modulus"), bytes(rsaPublic, CK.CKA_MODULUS));
        assertArrayEquals(new byte[] {1, 0, 1}, bytes(rsaPublic, CK.CKA_PUBLIC_EXPONENT));
        for (int i = 0; i < parts.length; i++) {
            assertArrayEquals(rsa.get(names[i]), bytes(rsaPrivate, parts[i]), names[i]);
        }

        // The point goes in as a DER OCTET STRING, the curve as its OID.
        Map<String, byte[]> ec = openssl("-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-256");
        byte[] point = ec.get("pub");
        assertEquals(65, point.length);
        byte[] octets = new byte[2 + point.length];
        octets[0] = 0x04;
        octets[1] = (byte) point.length;
        System.arraycopy(point, 0, octets, 2, point.length);
        CK_ATTRIBUTE params = new CK_ATTRIBUTE(CK.CKA_EC_PARAMS, P256);
        CK_OBJECT_HANDLE ecPublic = key(CK.CKO_PUBLIC_KEY, CK.CKK_EC, params, new CK_ATTRIBUTE(CK.CKA_EC_POINT, octets));
        CK_OBJECT_HANDLE ecPrivate = key(CK.CKO_PRIVATE_KEY, CK.CKK_EC, params,
                new CK_ATTRIBUTE(CK.CKA_VALUE, ec.get("priv")));
        CK_ATTRIBUTE keyType = new CK_ATTRIBUTE(CK.CKA_KEY_TYPE, new CK_KEY_TYPE());
        read(ecPrivate, keyType);
        assertEquals("CKK_EC", keyType.pValue.toString());
        assertArrayEquals(octets, bytes(ecPublic, CK.CKA_EC_POINT));
        assertArrayEquals(P256, bytes(ecPublic, CK.CKA_EC_PARAMS));
        assertArrayEquals(ec.get("priv"), bytes(ecPrivate, CK.CKA_VALUE));
    }

    /** Attributes the token will not give: the others in the template still arrive. */
    @Test
    void sensitiveAndForeignAttributesAmongReadableOnes() {
        CK_OBJECT_HANDLE key = aesKey(random(32), new CK_ATTRIBUTE(CK.CKA_SENSITIVE, true),
                new CK_ATTRIBUTE(CK.CKA_LABEL, "secret"));
        byte[] untouched = {9, 9, 9};
        CK_ATTRIBUTE[] template = {new CK_ATTRIBUTE(CK.CKA_VALUE, untouched), CK_ATTRIBUTE.readBytes(CK.CKA_LABEL, 20),
            new CK_ATTRIBUTE(CK.CKA_KEY_TYPE, new CK_KEY_TYPE())};
        assertEquals(CK.CKR_ATTRIBUTE_SENSITIVE,
                Cryptoki.C_GetAttributeValue(session, key, template, template.length).m_value);
        assertEquals(CK.CK_UNAVAILABLE_INFORMATION, template[0].valueLen);
        assertArrayEquals(new byte[] {9, 9, 9}, untouched);
        assertEquals(6, template[1].valueLen);
        assertEquals("secret", template[1].string());
        assertEquals(CK.CKK_AES, template[2].longValue());

        CK_ATTRIBUTE[] foreign = {new CK_ATTRIBUTE(CK.CKA_MODULUS), CK_ATTRIBUTE.readLong(CK.CKA_VALUE_LEN)};
        assertEquals(CK.CKR_ATTRIBUTE_TYPE_INVALID,
                Cryptoki.C_GetAttributeValue(session, key, foreign, foreign.length).m_value);
        assertEquals(CK.CK_UNAVAILABLE_INFORMATION, foreign[0].valueLen);
        assertEquals(32, foreign[1].longValue());
    }

    @Test
    void labelChangedThenCopiedAndDestroyed() {
        byte[] value = random(32);
        CK_OBJECT_HANDLE key = aesKey(value, new CK_ATTRIBUTE(CK.CKA_LABEL, "first"),
                new CK_ATTRIBUTE(CK.CKA_EXTRACTABLE, true));
        CK_ATTRIBUTE[] rename = {new CK_ATTRIBUTE(CK.CKA_LABEL, "renamed")};
        assertEquals(CK.CKR_OK, Cryptoki.C_SetAttributeValue(session, key, rename, 1).m_value);
        assertArrayEquals(utf8("renamed"), bytes(key, CK.CKA_LABEL));

        CK_OBJECT_HANDLE copy = new CK_OBJECT_HANDLE(-77);
        CK_ATTRIBUTE[] change = {new CK_ATTRIBUTE(CK.CKA_LABEL, utf8("copy"))};
        assertEquals(CK.CKR_OK, Cryptoki.C_CopyObject(session, key, change, 1, copy).m_value);
        assertNotEquals(-77, copy.m_value);
        assertNotEquals(key.m_value, copy.m_value);
        assertArrayEquals(utf8("copy"), bytes(copy, CK.CKA_LABEL));
        assertArrayEquals(value, bytes(copy, CK.CKA_VALUE));

        assertEquals(CK.CKR_OK, Cryptoki.C_DestroyObject(session, copy).m_value);
        CK_ATTRIBUTE[] label = {new CK_ATTRIBUTE(CK.CKA_LABEL)};
        assertEquals(CK.CKR_OBJECT_HANDLE_INVALID, Cryptoki.C_GetAttributeValue(session, copy, label, 1).m_value);
        assertEquals(CK.CKR_OBJECT_HANDLE_INVALID, Cryptoki.C_DestroyObject(session, copy).m_value);
        assertArrayEquals(utf8("renamed"), bytes(key, CK.CKA_LABEL));

        // Failures leave the caller's handle as it was.
        CK_OBJECT_HANDLE kept = new CK_OBJECT_HANDLE(-77);
        assertEquals(CK.CKR_OBJECT_HANDLE_INVALID, Cryptoki.C_CopyObject(session, copy, change, 1, kept).m_value);
        assertEquals(-77, kept.m_value);
        assertEquals(CK.CKR_TEMPLATE_INCOMPLETE, Cryptoki.C_CreateObject(session, change, 1, kept).m_value);
        assertEquals(-77, kept.m_value);
    }

    @Test
    void searchInBatchesAndWithAMaximumBeyondTheArray() {
        String application = "morlin-search-" + System.nanoTime();
        Set<Long> made = new HashSet<>();
        for (int i = 0; i < 5; i++) {
            made.add(create(new CK_ATTRIBUTE(CK.CKA_CLASS, new CK_OBJECT_CLASS(CK.CKO_DATA)),
                    new CK_ATTRIBUTE(CK.CKA_TOKEN, false), new CK_ATTRIBUTE(CK.CKA_APPLICATION, application)).m_value);
        }
        CK_ATTRIBUTE[] match = {new CK_ATTRIBUTE(CK.CKA_APPLICATION, application)};

        assertEquals(CK.CKR_OK, Cryptoki.C_FindObjectsInit(session, match, 1).m_value);
        CK_OBJECT_HANDLE[] batch = {new CK_OBJECT_HANDLE(), new CK_OBJECT_HANDLE()};
        CK_OBJECT_HANDLE[] elements = batch.clone();
        Set<Long> found = new HashSet<>();
        LongRef count = new LongRef(-1);
        int calls = 0;
        do {
            for (CK_OBJECT_HANDLE element : batch) {
                element.m_value = -77;
            }
            assertEquals(CK.CKR_OK, Cryptoki.C_FindObjects(session, batch, batch.length, count).m_value);
            // Filled up to the count, the rest left alone.
            for (int i = 0; i < batch.length; i++) {
                assertEquals(i < count.value, batch[i].m_value != -77, "element " + i + " of " + count);
                assertTrue(i >= count.value || found.add(batch[i].m_value), "found twice: " + batch[i]);
            }
        } while (count.value > 0 && ++calls < 10);
        assertEquals(CK.CKR_OK, Cryptoki.C_FindObjectsFinal(session).m_value);
        assertEquals(3, calls);
        assertEquals(made, found);
        assertSame(elements[0], batch[0]);
        assertSame(elements[1], batch[1]);

        // The token may deliver up to the maximum: the count says 5, the array holds 2.
        assertEquals(CK.CKR_OK, Cryptoki.C_FindObjectsInit(session, match, 1).m_value);
        assertEquals(CK.CKR_OK, Cryptoki.C_FindObjects(session, batch, 5, count).m_value);
        assertEquals(5, count.value);
        assertNotEquals(batch[0].m_value, batch[1].m_value);
        assertTrue(made.containsAll(Set.of(batch[0].m_value, batch[1].m_value)));
        assertEquals(CK.CKR_OK, Cryptoki.C_FindObjects(session, batch, 2, count).m_value);
        assertEquals(0, count.value);
        assertEquals(CK.CKR_ARGUMENTS_BAD, Cryptoki.C_FindObjects(session, batch, 2, null).m_value);
        assertEquals(CK.CKR_OK, Cryptoki.C_FindObjectsFinal(session).m_value);
    }

    /** SoftHSM2 answers CKR_OK with CK_UNAVAILABLE_INFORMATION; a size or "not supported" would do too. */
    @Test
    void objectSizeIsWrittenOnlyWhenTheTokenAnswers() {
        CK_OBJECT_HANDLE key = aesKey(random(32));
        LongRef size = new LongRef(-77);
        long rv = Cryptoki.C_GetObjectSize(session, key, size).m_value;
        if (rv == CK.CKR_OK) {
            assertTrue(size.value > 0 || size.value == CK.CK_UNAVAILABLE_INFORMATION, "size " + size);
        } else {
            assertEquals(CK.CKR_FUNCTION_NOT_SUPPORTED, rv);
            assertEquals(-77, size.value);
        }
        LongRef kept = new LongRef(-77);
        rv = Cryptoki.C_GetObjectSize(session, new CK_OBJECT_HANDLE(0), kept).m_value;
        assertTrue(rv == CK.CKR_OBJECT_HANDLE_INVALID || rv == CK.CKR_FUNCTION_NOT_SUPPORTED, "rv " + rv);
        assertEquals(-77, kept.value);
    }

    /**
     * C_GetAttributeValue writes the private field of a Long or Boolean in
     * place; the JVM's shared 0L and Boolean.TRUE must come through untouched.
     */
    @Test
    void readTargetsOfLongAndBooleanArePrivate() {
        byte[] value = random(32);
        CK_OBJECT_HANDLE key = aesKey(value, new CK_ATTRIBUTE(CK.CKA_EXTRACTABLE, true));
        CK_ATTRIBUTE[] template = {CK_ATTRIBUTE.readLong(CK.CKA_VALUE_LEN),
            new CK_ATTRIBUTE(CK.CKA_VALUE_LEN, Long.valueOf(0)), new CK_ATTRIBUTE(CK.CKA_SENSITIVE, Boolean.TRUE),
            CK_ATTRIBUTE.readBytes(CK.CKA_VALUE, 32)};
        read(key, template);
        assertEquals(32, template[0].longValue());
        assertEquals(32, template[1].longValue());
        assertNotSame(Long.valueOf(0), template[1].pValue);
        assertEquals(0, Long.valueOf(0).longValue());
        assertFalse(template[2].booleanValue());
        assertTrue(Boolean.TRUE.booleanValue());
        assertArrayEquals(value, template[3].bytes());

        // Only ulCount attributes reach the token, and only they come back: a
        // String, which cannot be written in place, may follow them.
        CK_ATTRIBUTE[] partly = {CK_ATTRIBUTE.readLong(CK.CKA_VALUE_LEN), new CK_ATTRIBUTE(CK.CKA_LABEL, "unsent")};
        assertEquals(CK.CKR_OK, Cryptoki.C_GetAttributeValue(session, key, partly, 1).m_value);
        assertEquals(32, partly[0].longValue());
        assertEquals("unsent", partly[1].pValue);
        assertEquals(6, partly[1].valueLen);
    }

    // ---- helpers -------------------------------------------------------------

    private CK_OBJECT_HANDLE create(CK_ATTRIBUTE... template) {
        CK_OBJECT_HANDLE object = new CK_OBJECT_HANDLE(-77);
        CK_RV rv = Cryptoki.C_CreateObject(session, template, template.length, object);
        assertEquals(CK.CKR_OK, rv.m_value, () -> rv + " for " + Arrays.toString(template));
        assertNotEquals(-77, object.m_value);
        return object;
    }

    private CK_OBJECT_HANDLE aesKey(byte[] value, CK_ATTRIBUTE... more) {
        List<CK_ATTRIBUTE> template = new ArrayList<>(List.of(more));
        template.add(new CK_ATTRIBUTE(CK.CKA_VALUE, value));
        return key(CK.CKO_SECRET_KEY, CK.CKK_AES, template.toArray(new CK_ATTRIBUTE[0]));
    }

    /** A session key; a private key stays readable, so that its numbers can be compared. */
    private CK_OBJECT_HANDLE key(long keyClass, long keyType, CK_ATTRIBUTE... more) {
        List<CK_ATTRIBUTE> template = new ArrayList<>(List.of(
                new CK_ATTRIBUTE(CK.CKA_CLASS, new CK_OBJECT_CLASS(keyClass)),
                new CK_ATTRIBUTE(CK.CKA_KEY_TYPE, new CK_KEY_TYPE(keyType)), new CK_ATTRIBUTE(CK.CKA_TOKEN, false)));
        if (keyClass == CK.CKO_PRIVATE_KEY) {
            template.add(new CK_ATTRIBUTE(CK.CKA_SENSITIVE, false));
            template.add(new CK_ATTRIBUTE(CK.CKA_EXTRACTABLE, true));
        }
        template.addAll(List.of(more));
        return create(template.toArray(new CK_ATTRIBUTE[0]));
    }

    private void read(CK_OBJECT_HANDLE object, CK_ATTRIBUTE... template) {
        CK_RV rv = Cryptoki.C_GetAttributeValue(session, object, template, template.length);
        assertEquals(CK.CKR_OK, rv.m_value, () -> rv + " for " + Arrays.toString(template));
    }

    /** A byte-string attribute in two calls: its length, then its bytes. */
    private byte[] bytes(CK_OBJECT_HANDLE object, long type) {
        CK_ATTRIBUTE attribute = new CK_ATTRIBUTE(type);
        read(object, attribute);
        assertTrue(attribute.valueLen >= 0, attribute.toString());
        attribute.pValue = new byte[(int) attribute.valueLen];
        read(object, attribute);
        return attribute.bytes();
    }

    /** A fresh object of the wrapper's class, holding 0. */
    private static CK_ULONG_WRAPPER blank(CK_ULONG_WRAPPER like) {
        try {
            return like.getClass().getConstructor(long.class).newInstance(0L);
        } catch (ReflectiveOperationException e) {
            throw new AssertionError(e);
        }
    }

    private static byte[] random(int length) {
        byte[] bytes = new byte[length];
        RANDOM.nextBytes(bytes);
        return bytes;
    }

    private static byte[] utf8(String text) {
        return text.getBytes(StandardCharsets.UTF_8);
    }

    /**
     * A new key from {@code openssl genpkey -text ARGS}: the numbers it
     * prints ("modulus", "priv"), unsigned big-endian without leading zeros.
     */
    private static Map<String, byte[]> openssl(String... args) throws Exception {
        List<String> command = new ArrayList<>(List.of("openssl", "genpkey", "-text"));
        command.addAll(List.of(args));
        Process process = new ProcessBuilder(command).redirectErrorStream(true).start();
        String text = new String(process.getInputStream().readAllBytes(), StandardCharsets.US_ASCII);
        assertEquals(0, process.waitFor(), text);
        // "name:" over indented lines of "xx:xx:", or "name: 65537 (0x10001)".
        Matcher m = Pattern.compile("(?m)^(\\w+):(?: \\d+ \\(0x(\\p{XDigit}+)\\)$|\\n((?: +[\\p{XDigit}:]+\\n)+))")
                .matcher(text);
        Map<String, byte[]> numbers = new HashMap<>();
        while (m.find()) {
            String hex = m.group(2) != null ? m.group(2) : m.group(3).replaceAll("[\\s:]", "");
            byte[] signed = new BigInteger(hex, 16).toByteArray();
            numbers.put(m.group(1), signed[0] == 0 ? Arrays.copyOfRange(signed, 1, signed.length) : signed);
        }
        return numbers;
    }
}
