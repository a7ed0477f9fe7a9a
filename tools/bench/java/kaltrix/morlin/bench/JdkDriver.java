package kaltrix.morlin.bench;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import kaltrix.morlin.constants.CK;
import sun.security.pkcs11.wrapper.CK_ATTRIBUTE;
import sun.security.pkcs11.wrapper.CK_GCM_PARAMS;
import sun.security.pkcs11.wrapper.CK_INFO;
import sun.security.pkcs11.wrapper.CK_MECHANISM;
import sun.security.pkcs11.wrapper.PKCS11;
import sun.security.pkcs11.wrapper.PKCS11Exception;

/**
 * The operations through the JDK's own PKCS#11 wrapper,
 * {@code sun.security.pkcs11.wrapper.PKCS11} of module jdk.crypto.cryptoki,
 * the layer under the SunPKCS11 provider. It loads the module itself, by
 * path, and reports a failed call as a {@link PKCS11Exception}. Reaching it
 * takes {@code --add-exports
 * jdk.crypto.cryptoki/sun.security.pkcs11.wrapper=ALL-UNNAMED} at compile and
 * run time.
 *
 * <p>Without initialisation arguments getInstance gives the variant whose
 * methods are all synchronized: that is the wrapper as the JDK hands it out
 * here, and its lock is timed with it.
 */
final class JdkDriver extends JavaDriver<CK_MECHANISM> {
    private final PKCS11 p11;
    private final Fixture fixture;
    private final long session;
    private long keySession;

    private final Buffers buffers = new Buffers();
    private final CK_MECHANISM rsaPkcs = new CK_MECHANISM(CK.CKM_RSA_PKCS);
    private final CK_MECHANISM aesKeyGen = new CK_MECHANISM(CK.CKM_AES_KEY_GEN);
    // No values: the wrapper sizes and makes them on each call.
    private final CK_ATTRIBUTE[] keyAttributes = {
        new CK_ATTRIBUTE(CK.CKA_CLASS),
        new CK_ATTRIBUTE(CK.CKA_KEY_TYPE),
        new CK_ATTRIBUTE(CK.CKA_LABEL),
        new CK_ATTRIBUTE(CK.CKA_ENCRYPT),
    };
    private final CK_ATTRIBUTE[] dataTemplate = {new CK_ATTRIBUTE(CK.CKA_CLASS, CK.CKO_DATA)};
    private final CK_ATTRIBUTE[] keyTemplate;

    JdkDriver(String modulePath, Fixture fixture) {
        super("JDK", new CK_MECHANISM(CK.CKM_AES_ECB),
                new CK_MECHANISM(CK.CKM_AES_CBC, new byte[16]),
                new CK_MECHANISM(CK.CKM_AES_GCM, new CK_GCM_PARAMS(128, new byte[12], new byte[16])));
        this.fixture = fixture;
        keyTemplate = new CK_ATTRIBUTE[] {
            new CK_ATTRIBUTE(CK.CKA_CLASS, CK.CKO_SECRET_KEY),
            new CK_ATTRIBUTE(CK.CKA_KEY_TYPE, CK.CKK_AES),
            new CK_ATTRIBUTE(CK.CKA_VALUE_LEN, 16L),
            new CK_ATTRIBUTE(CK.CKA_TOKEN, false),
            new CK_ATTRIBUTE(CK.CKA_ENCRYPT, true),
            new CK_ATTRIBUTE(CK.CKA_LABEL, fixture.keyLabel()),
        };
        try {
            // Accepts CKR_CRYPTOKI_ALREADY_INITIALIZED by itself.
            p11 = PKCS11.getInstance(modulePath, "C_GetFunctionList", null, false);
            session = openSession();
            try {
                p11.C_Login(session, CK.CKU_USER, new String(fixture.pin(), StandardCharsets.UTF_8).toCharArray());
            } catch (PKCS11Exception e) {
                if (e.getErrorCode() != CK.CKR_USER_ALREADY_LOGGED_IN) {
                    throw e;
                }
            }
            keySession = openSession();
        } catch (IOException | PKCS11Exception e) {
            throw new BenchFailure("JDK: setting up " + modulePath + ": " + e);
        }
    }

    private long openSession() throws PKCS11Exception {
        return p11.C_OpenSession(fixture.slot(), CK.CKF_SERIAL_SESSION | CK.CKF_RW_SESSION, null, null);
    }

    @Override
    void renewKeySession() {
        try {
            p11.C_CloseSession(keySession);
            keySession = openSession();
        } catch (PKCS11Exception e) {
            throw new BenchFailure("JDK: renewing the key session: " + e);
        }
    }

    @Override
    long getInfo(long n) throws PKCS11Exception {
        CK_INFO info = null;
        long start = System.nanoTime();
        for (long i = 0; i < n; i++) {
            info = p11.C_GetInfo();
        }
        long elapsed = System.nanoTime() - start;
        expect(Op.GetInfo, "cryptokiVersion.major", info.cryptokiVersion.major, 2);
        return elapsed;
    }

    @Override
    long generateRandom(long n) throws PKCS11Exception {
        long start = System.nanoTime();
        for (long i = 0; i < n; i++) {
            p11.C_GenerateRandom(session, buffers.random);
        }
        return System.nanoTime() - start;
    }

    @Override
    long encrypt(Op op, CK_MECHANISM mechanism, long n) throws PKCS11Exception {
        byte[] in = buffers.input(op);
        byte[] out = buffers.output(op);
        int length = 0;
        long start = System.nanoTime();
        for (long i = 0; i < n; i++) {
            p11.C_EncryptInit(session, mechanism, fixture.aesKey());
            length = p11.C_Encrypt(session, 0, in, 0, in.length, 0, out, 0, out.length);
        }
        long elapsed = System.nanoTime() - start;
        expect(op, "C_Encrypt length", length, buffers.encryptedLength(op, fixture));
        return elapsed;
    }

    @Override
    long sign(long n) throws PKCS11Exception {
        byte[] signature = null;
        long start = System.nanoTime();
        for (long i = 0; i < n; i++) {
            p11.C_SignInit(session, rsaPkcs, fixture.rsaKey());
            signature = p11.C_Sign(session, buffers.toSign);
        }
        long elapsed = System.nanoTime() - start;
        expect(Op.SignRsa32, "C_Sign length", signature.length, Op.SIGNATURE);
        return elapsed;
    }

    @Override
    long getAttributeValue(long n) throws PKCS11Exception {
        long start = System.nanoTime();
        for (long i = 0; i < n; i++) {
            p11.C_GetAttributeValue(session, fixture.aesKey(), keyAttributes);
        }
        long elapsed = System.nanoTime() - start;
        expect(Op.GetAttributeValue4, "CKA_CLASS", keyAttributes[0].getLong(), CK.CKO_SECRET_KEY);
        expect(Op.GetAttributeValue4, "CKA_KEY_TYPE", keyAttributes[1].getLong(), CK.CKK_AES);
        // The wrapper gives a label as char[], a char per byte.
        expect(Op.GetAttributeValue4, "CKA_LABEL length", keyAttributes[2].getCharArray().length,
                fixture.labelLength());
        expect(Op.GetAttributeValue4, "CKA_ENCRYPT", keyAttributes[3].getBoolean() ? 1 : 0, 1);
        return elapsed;
    }

    @Override
    long findObjects(long n) throws PKCS11Exception {
        long[] found = null;
        long start = System.nanoTime();
        for (long i = 0; i < n; i++) {
            p11.C_FindObjectsInit(session, dataTemplate);
            found = p11.C_FindObjects(session, Op.FIND_MAX);
            p11.C_FindObjectsFinal(session);
        }
        long elapsed = System.nanoTime() - start;
        expect(Op.FindObjects10, "C_FindObjects count", found.length, Op.FIND_MAX);
        return elapsed;
    }

    @Override
    long generateKey(long n) throws PKCS11Exception {
        long key = CK.CK_INVALID_HANDLE;
        long start = System.nanoTime();
        for (long i = 0; i < n; i++) {
            key = p11.C_GenerateKey(keySession, aesKeyGen, keyTemplate);
        }
        long elapsed = System.nanoTime() - start;
        expect(Op.GenerateKey6, "C_GenerateKey made a key", key != CK.CK_INVALID_HANDLE ? 1 : 0, 1);
        return elapsed;
    }
}
