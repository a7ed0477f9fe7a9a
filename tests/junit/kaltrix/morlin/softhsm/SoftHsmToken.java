package kaltrix.morlin.softhsm;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotNull;
import static org.junit.jupiter.api.Assertions.fail;

import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import kaltrix.morlin.CK_SESSION_HANDLE;
import kaltrix.morlin.CK_TOKEN_INFO;
import kaltrix.morlin.Cryptoki;
import kaltrix.morlin.LongRef;
import kaltrix.morlin.constants.CK;
import kaltrix.morlin.constants.CK_RV;
import kaltrix.morlin.constants.CK_USER_TYPE;

/**
 * The token that the test run provisioned (tools/provision-token.sh), as the
 * environment of the junit_softhsm test names it.
 */
final class SoftHsmToken {
    static final String LABEL = env("MORLIN_TEST_LABEL");
    static final byte[] SO_PIN = env("MORLIN_TEST_SO_PIN").getBytes(StandardCharsets.UTF_8);
    static final byte[] USER_PIN = env("MORLIN_TEST_USER_PIN").getBytes(StandardCharsets.UTF_8);

    private SoftHsmToken() {
    }

    private static String env(String name) {
        String value = System.getenv(name);
        assertNotNull(value, name + " must be set: the SoftHSM2 tests run under ctest (junit_softhsm)");
        return value;
    }

    /** A label as a token holds it: 32 bytes, UTF-8, blank padded. */
    static byte[] padded(String label) {
        byte[] field = new byte[32];
        Arrays.fill(field, (byte) ' ');
        byte[] text = label.getBytes(StandardCharsets.UTF_8);
        System.arraycopy(text, 0, field, 0, text.length);
        return field;
    }

    /** All slots with a token; the library must be initialised. */
    static long[] slots() {
        LongRef count = new LongRef();
        assertEquals(CK_RV.CKR_OK, Cryptoki.C_GetSlotList(true, null, count).m_value);
        long[] slots = new long[(int) count.value];
        assertEquals(CK_RV.CKR_OK, Cryptoki.C_GetSlotList(true, slots, count).m_value);
        return Arrays.copyOf(slots, (int) count.value);
    }

    /** The slot whose token has this label (blank-padded to 32 bytes). */
    static long slotOf(String label) {
        byte[] wanted = padded(label);
        for (long slot : slots()) {
            CK_TOKEN_INFO info = new CK_TOKEN_INFO();
            if (Cryptoki.C_GetTokenInfo(slot, info).isOk() && Arrays.equals(info.label, wanted)) {
                return slot;
            }
        }
        return fail("no token labelled " + label);
    }

    /** Fails the test unless the token library answered {@code CKR_OK}. */
    static void ok(CK_RV rv) {
        assertEquals(CK_RV.CKR_OK, rv.m_value, rv::toString);
    }

    /**
     * Runs {@code openssl ARGS} with {@code input} on standard input and
     * returns its standard output; a non-zero exit fails the test.
     */
    static byte[] openssl(byte[] input, String... args) throws Exception {
        List<String> command = new ArrayList<>(List.of(args));
        command.add(0, "openssl");
        Process process = new ProcessBuilder(command).redirectError(ProcessBuilder.Redirect.INHERIT).start();
        try (var in = process.getOutputStream()) {
            in.write(input);
        }
        byte[] output = process.getInputStream().readAllBytes();
        assertEquals(0, process.waitFor(), () -> String.join(" ", command));
        return output;
    }

    /** Initialises the library and opens a read-write session on the token, logged in as its user. */
    static CK_SESSION_HANDLE userSession() {
        ok(Cryptoki.C_Initialize(null));
        CK_SESSION_HANDLE session = new CK_SESSION_HANDLE();
        ok(Cryptoki.C_OpenSession(slot(), CK.CKF_SERIAL_SESSION | CK.CKF_RW_SESSION, null, null, session));
        ok(Cryptoki.C_Login(session, new CK_USER_TYPE(CK.CKU_USER), USER_PIN, USER_PIN.length));
        return session;
    }

    /** The slot of the provisioned token. */
    static long slot() {
        return slotOf(LABEL);
    }
}
