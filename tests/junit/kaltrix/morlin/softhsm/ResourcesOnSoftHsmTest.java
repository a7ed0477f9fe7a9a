package kaltrix.morlin.softhsm;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.nio.charset.StandardCharsets;
import java.util.HashSet;
import java.util.List;
import java.util.Set;
import java.util.stream.LongStream;
import kaltrix.morlin.CK_ATTRIBUTE;
import kaltrix.morlin.CK_INFO;
import kaltrix.morlin.CK_MECHANISM;
import kaltrix.morlin.CK_OBJECT_HANDLE;
import kaltrix.morlin.Cryptoki;
import kaltrix.morlin.CryptokiException;
import kaltrix.morlin.FindObjects;
import kaltrix.morlin.TokenLibrary;
import kaltrix.morlin.Session;
import kaltrix.morlin.Template;
import kaltrix.morlin.constants.CK;
import kaltrix.morlin.constants.CK_OBJECT_CLASS;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

/** The library, a session and a search as resources that close, and templates from the builder, on SoftHSM2. */
@Tag("softhsm")
class ResourcesOnSoftHsmTest {
    @AfterEach
    void finalizeLibrary() {
        Cryptoki.C_Finalize(null);
    }

    @Test
    void searchSessionAndModuleCloseInTurn() {
        byte[] label = "resource".getBytes(StandardCharsets.US_ASCII);
        try (TokenLibrary library = TokenLibrary.initialize(); Session session = library.openSession(SoftHsmToken.slot(), true)) {
            session.login(CK.CKU_USER, SoftHsmToken.USER_PIN);
            Set<Long> made = new HashSet<>();
            for (int i = 0; i < 20; i++) {
                CK_ATTRIBUTE[] template = {new CK_ATTRIBUTE(CK.CKA_CLASS, CK.CKO_DATA),
                    new CK_ATTRIBUTE(CK.CKA_TOKEN, false), new CK_ATTRIBUTE(CK.CKA_LABEL, label)};
                CK_OBJECT_HANDLE object = new CK_OBJECT_HANDLE();
                Cryptoki.C_CreateObject(session.handle(), template, template.length, object).check();
                made.add(object.m_value);
            }
            try (FindObjects search = session.findObjects(new CK_ATTRIBUTE(CK.CKA_LABEL, label))) {
                List<CK_OBJECT_HANDLE> two = search.next(2);
                assertEquals(2, two.size());
                Set<Long> found = new HashSet<>();
                two.forEach(h -> found.add(h.m_value));
                search.all().forEach(h -> found.add(h.m_value));  // more than one batch
                assertEquals(made, found);
            }
            // The search ended, so another may begin in the same session.
            try (FindObjects again = session.findObjects(new CK_ATTRIBUTE(CK.CKA_LABEL, label))) {
                assertEquals(3, again.next(3).size());
            }
        }
        assertEquals(CK.CKR_CRYPTOKI_NOT_INITIALIZED, Cryptoki.C_GetInfo(new CK_INFO()).m_value);
    }

    /** The overloads without counts pass each array's length. */
    @Test
    void countsFromTheArrays() {
        try (TokenLibrary library = TokenLibrary.initialize(); Session session = library.openSession(SoftHsmToken.slot(), true)) {
            session.login(CK.CKU_USER, SoftHsmToken.USER_PIN);
            byte[] random = new byte[40];
            Cryptoki.C_GenerateRandom(session.handle(), random).check();
            assertTrue(random[39] != 0 || random[38] != 0 || random[37] != 0, "the last bytes were filled");
            CK_ATTRIBUTE[] template = {new CK_ATTRIBUTE(CK.CKA_CLASS, CK.CKO_DATA),
                new CK_ATTRIBUTE(CK.CKA_TOKEN, false), new CK_ATTRIBUTE(CK.CKA_VALUE, random)};
            CK_OBJECT_HANDLE object = new CK_OBJECT_HANDLE();
            Cryptoki.C_CreateObject(session.handle(), template, object).check();
            CK_ATTRIBUTE[] read = {CK_ATTRIBUTE.readBytes(CK.CKA_VALUE, 64)};
            Cryptoki.C_GetAttributeValue(session.handle(), object, read).check();
            assertEquals(40, read[0].valueLen);
        }
    }

    /**
     * Templates from the builder create keys and objects as written, and
     * getAttributes reads every kind of attribute into targets of its own,
     * marking what the token will not give rather than throwing.
     */
    @Test
    void templatesCreateAndGetAttributesReadEachKind() {
        try (TokenLibrary library = TokenLibrary.initialize(); Session session = library.openSession(SoftHsmToken.slot(), true)) {
            session.login(CK.CKU_USER, SoftHsmToken.USER_PIN);
            Template secret = Template.of().add(CK.CKA_TOKEN, false).add(CK.CKA_SENSITIVE, true)
                    .add(CK.CKA_VALUE_LEN, 24).add(CK.CKA_LABEL, "schlüssel");
            CK_ATTRIBUTE[] first = secret.toArray();
            CK_OBJECT_HANDLE key = new CK_OBJECT_HANDLE();
            Cryptoki.C_GenerateKey(session.handle(), new CK_MECHANISM(CK.CKM_AES_KEY_GEN), first, key).check();

            CK_ATTRIBUTE[] read = session.getAttributes(key, CK.CKA_CLASS, CK.CKA_VALUE_LEN, CK.CKA_SENSITIVE,
                    CK.CKA_EXTRACTABLE, CK.CKA_LABEL, CK.CKA_VALUE, CK.CKA_MODULUS);
            assertEquals(CK.CKO_SECRET_KEY, read[0].longValue());
            assertEquals(24, read[1].longValue());
            assertTrue(read[2].booleanValue());
            assertEquals(1, read[3].valueLen);
            assertEquals("schlüssel", read[4].string());
            assertEquals(10, read[4].valueLen, "UTF-8, not the JVM's modified UTF-8");
            assertEquals(CK.CK_UNAVAILABLE_INFORMATION, read[5].valueLen, "sensitive");
            assertEquals(CK.CK_UNAVAILABLE_INFORMATION, read[6].valueLen, "not an attribute of the key");
            // The targets were private: the JVM's shared small Longs keep their values.
            assertEquals(4L, Long.valueOf(4).longValue());
            assertEquals(24L, Long.valueOf(24).longValue());

            CK_OBJECT_HANDLE other = session.createObject(Template.of()
                    .add(CK.CKA_CLASS, new CK_OBJECT_CLASS(CK.CKO_DATA)).add(CK.CKA_TOKEN, false)
                    .add(CK.CKA_LABEL, "schlüssel").add(CK.CKA_VALUE, new byte[3]).toArray());
            assertEquals("schlüssel", session.getAttributes(other, CK.CKA_LABEL)[0].string());
            session.destroyObject(other);
            assertThrows(CryptokiException.class, () -> session.getAttributes(other, CK.CKA_LABEL));
        }
    }

    @Test
    void failuresThrowNamingTheCallAndClosingTwiceClosesOnce() {
        try (TokenLibrary library = TokenLibrary.initialize()) {
            CryptokiException e = assertThrows(CryptokiException.class, TokenLibrary::initialize);
            assertEquals("C_Initialize: CKR_CRYPTOKI_ALREADY_INITIALIZED", e.getMessage());
            Session session = library.openSession(SoftHsmToken.slot(), false);
            session.close();
            session.close();
            long slot = SoftHsmToken.slot();
            assertTrue(LongStream.of(library.slots(true)).anyMatch(s -> s == slot));
        }
    }
}
