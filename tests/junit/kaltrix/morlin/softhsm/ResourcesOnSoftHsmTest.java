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
import kaltrix.morlin.CK_OBJECT_HANDLE;
import kaltrix.morlin.Cryptoki;
import kaltrix.morlin.CryptokiException;
import kaltrix.morlin.FindObjects;
import kaltrix.morlin.Module;
import kaltrix.morlin.Session;
import kaltrix.morlin.constants.CK;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

/** The library, a session and a search as resources that close, on SoftHSM2. */
@Tag("softhsm")
class ResourcesOnSoftHsmTest {
    @AfterEach
    void finalizeLibrary() {
        Cryptoki.C_Finalize(null);
    }

    @Test
    void searchSessionAndModuleCloseInTurn() {
        byte[] label = "resource".getBytes(StandardCharsets.US_ASCII);
        try (Module module = Module.initialize(); Session session = module.openSession(SoftHsmToken.slot(), true)) {
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
        try (Module module = Module.initialize(); Session session = module.openSession(SoftHsmToken.slot(), true)) {
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

    @Test
    void failuresThrowNamingTheCallAndClosingTwiceClosesOnce() {
        try (Module module = Module.initialize()) {
            CryptokiException e = assertThrows(CryptokiException.class, Module::initialize);
            assertEquals("C_Initialize: CKR_CRYPTOKI_ALREADY_INITIALIZED", e.getMessage());
            Session session = module.openSession(SoftHsmToken.slot(), false);
            session.close();
            session.close();
            long slot = SoftHsmToken.slot();
            assertTrue(LongStream.of(module.slots(true)).anyMatch(s -> s == slot));
        }
    }
}
