package kaltrix.morlin.softhsm;

import java.nio.file.Path;
import kaltrix.morlin.CK_SESSION_HANDLE;
import kaltrix.morlin.Cryptoki;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.io.TempDir;

/**
 * Tests that work in a read-write session logged in as the token's user, opened before each test; C_Finalize
 * after each takes the session objects with it. {@code dir} is a fresh directory for files handed to openssl.
 */
abstract class UserSessionTest {
    @TempDir
    Path dir;
    CK_SESSION_HANDLE session;

    @BeforeEach
    void openUserSession() {
        session = SoftHsmToken.userSession();
    }

    @AfterEach
    void finalizeLibrary() {
        Cryptoki.C_Finalize(null);
    }
}
