package kaltrix.morlin.bench;

import kaltrix.morlin.CK_ATTRIBUTE;
import kaltrix.morlin.CK_INFO;
import kaltrix.morlin.CK_MECHANISM;
import kaltrix.morlin.CK_OBJECT_HANDLE;
import kaltrix.morlin.CK_SESSION_HANDLE;
import kaltrix.morlin.Cryptoki;
import kaltrix.morlin.LongRef;
import kaltrix.morlin.constants.CK;
import kaltrix.morlin.constants.CK_KEY_TYPE;
import kaltrix.morlin.constants.CK_OBJECT_CLASS;
import kaltrix.morlin.constants.CK_RV;
import kaltrix.morlin.params.CK_GCM_PARAMS;

/**
 * The operations through morlin: {@link Cryptoki}'s natives, libmorlin.so and
 * the libcryptoki.so that the loader put behind it. Everything a loop needs
 * is made beforehand, as an application that cares would; the {@link CK_RV}
 * of every call is checked.
 */
final class MorlinDriver extends JavaDriver<CK_MECHANISM> {
    private final Fixture fixture;
    private final CK_SESSION_HANDLE session;
    private CK_SESSION_HANDLE keySession;
    private final CK_OBJECT_HANDLE aesKey;
    private final CK_OBJECT_HANDLE rsaKey;

    private final CK_INFO info = new CK_INFO();
    private final byte[] signature = new byte[Op.SIGNATURE];
    private final Buffers buffers = new Buffers();
    private final LongRef length = new LongRef();
    private final CK_MECHANISM rsaPkcs = new CK_MECHANISM(CK.CKM_RSA_PKCS);
    private final CK_MECHANISM aesKeyGen = new CK_MECHANISM(CK.CKM_AES_KEY_GEN);
    // Read targets: private Longs and Boolean that the call writes in place.
    private final CK_ATTRIBUTE[] keyAttributes;
    private final CK_ATTRIBUTE[] dataTemplate = {new CK_ATTRIBUTE(CK.CKA_CLASS, new CK_OBJECT_CLASS(CK.CKO_DATA))};
    private final CK_OBJECT_HANDLE[] found = new CK_OBJECT_HANDLE[Op.FIND_MAX];
    private final CK_ATTRIBUTE[] keyTemplate;
    private final CK_OBJECT_HANDLE newKey = new CK_OBJECT_HANDLE();

    /**
     * Initialises the module through morlin, logs in and makes the fixture on
     * the token; see {@link MorlinSetup}.
     *
     * @param label the token's label, or null for the first token
     * @param pin the user PIN
     * @param nullModule whether the module is the benchmark's null module
     */
    MorlinDriver(String label, byte[] pin, boolean nullModule) {
        super("morlin", new CK_MECHANISM(CK.CKM_AES_ECB),
                new CK_MECHANISM(CK.CKM_AES_CBC, new byte[16]),
                new CK_MECHANISM(CK.CKM_AES_GCM, new CK_GCM_PARAMS(new byte[12], new byte[16], 128)));
        MorlinSetup setup = new MorlinSetup(label, pin, nullModule);
        fixture = setup.fixture();
        session = setup.session();
        keySession = MorlinSetup.openSession(fixture.slot());
        aesKey = new CK_OBJECT_HANDLE(fixture.aesKey());
        rsaKey = new CK_OBJECT_HANDLE(fixture.rsaKey());
        keyAttributes = new CK_ATTRIBUTE[] {
            CK_ATTRIBUTE.readLong(CK.CKA_CLASS),
            CK_ATTRIBUTE.readLong(CK.CKA_KEY_TYPE),
            CK_ATTRIBUTE.readBytes(CK.CKA_LABEL, fixture.labelLength()),
            new CK_ATTRIBUTE(CK.CKA_ENCRYPT, false),
        };
        for (int i = 0; i < found.length; i++) {
            found[i] = new CK_OBJECT_HANDLE();
        }
        keyTemplate = new CK_ATTRIBUTE[] {
            new CK_ATTRIBUTE(CK.CKA_CLASS, new CK_OBJECT_CLASS(CK.CKO_SECRET_KEY)),
            new CK_ATTRIBUTE(CK.CKA_KEY_TYPE, new CK_KEY_TYPE(CK.CKK_AES)),
            new CK_ATTRIBUTE(CK.CKA_VALUE_LEN, 16L),
            new CK_ATTRIBUTE(CK.CKA_TOKEN, false),
            new CK_ATTRIBUTE(CK.CKA_ENCRYPT, true),
            new CK_ATTRIBUTE(CK.CKA_LABEL, fixture.keyLabel()),
        };
    }

    Fixture fixture() {
        return fixture;
    }

    @Override
    void renewKeySession() {
        MorlinSetup.check("C_CloseSession", Cryptoki.C_CloseSession(keySession));
        keySession = MorlinSetup.openSession(fixture.slot());
    }

    private void check(Op op, String call, CK_RV rv) {
        if (!rv.isOk()) {
            throw failure(op, call + " returned " + rv);
        }
    }

    @Override
    long getInfo(long n) {
        long start = System.nanoTime();
        for (long i = 0; i < n; i++) {
            check(Op.GetInfo, "C_GetInfo", Cryptoki.C_GetInfo(info));
        }
        long elapsed = System.nanoTime() - start;
        expect(Op.GetInfo, "cryptokiVersion.major", info.cryptokiVersion.major, 2);
        return elapsed;
    }

    @Override
    long generateRandom(long n) {
        long start = System.nanoTime();
        for (long i = 0; i < n; i++) {
            check(Op.GenerateRandom32, "C_GenerateRandom",
                    Cryptoki.C_GenerateRandom(session, buffers.random, buffers.random.length));
        }
        return System.nanoTime() - start;
    }

    @Override
    long encrypt(Op op, CK_MECHANISM mechanism, long n) {
        byte[] in = buffers.input(op);
        byte[] out = buffers.output(op);
        long start = System.nanoTime();
        for (long i = 0; i < n; i++) {
            check(op, "C_EncryptInit", Cryptoki.C_EncryptInit(session, mechanism, aesKey));
            length.value = out.length;
            check(op, "C_Encrypt", Cryptoki.C_Encrypt(session, in, in.length, out, length));
        }
        long elapsed = System.nanoTime() - start;
        expect(op, "C_Encrypt length", length.value, buffers.encryptedLength(op, fixture));
        return elapsed;
    }

    @Override
    long sign(long n) {
        long start = System.nanoTime();
        for (long i = 0; i < n; i++) {
            check(Op.SignRsa32, "C_SignInit", Cryptoki.C_SignInit(session, rsaPkcs, rsaKey));
            length.value = signature.length;
            check(Op.SignRsa32, "C_Sign",
                    Cryptoki.C_Sign(session, buffers.toSign, buffers.toSign.length, signature, length));
        }
        long elapsed = System.nanoTime() - start;
        expect(Op.SignRsa32, "C_Sign length", length.value, Op.SIGNATURE);
        return elapsed;
    }

    @Override
    long getAttributeValue(long n) {
        long start = System.nanoTime();
        for (long i = 0; i < n; i++) {
            check(Op.GetAttributeValue4, "C_GetAttributeValue",
                    Cryptoki.C_GetAttributeValue(session, aesKey, keyAttributes, keyAttributes.length));
        }
        long elapsed = System.nanoTime() - start;
        expect(Op.GetAttributeValue4, "CKA_CLASS", keyAttributes[0].longValue(), CK.CKO_SECRET_KEY);
        expect(Op.GetAttributeValue4, "CKA_KEY_TYPE", keyAttributes[1].longValue(), CK.CKK_AES);
        expect(Op.GetAttributeValue4, "CKA_LABEL length", keyAttributes[2].valueLen, fixture.labelLength());
        expect(Op.GetAttributeValue4, "CKA_ENCRYPT", keyAttributes[3].booleanValue() ? 1 : 0, 1);
        return elapsed;
    }

    @Override
    long findObjects(long n) {
        long start = System.nanoTime();
        for (long i = 0; i < n; i++) {
            check(Op.FindObjects10, "C_FindObjectsInit",
                    Cryptoki.C_FindObjectsInit(session, dataTemplate, dataTemplate.length));
            check(Op.FindObjects10, "C_FindObjects", Cryptoki.C_FindObjects(session, found, found.length, length));
            check(Op.FindObjects10, "C_FindObjectsFinal", Cryptoki.C_FindObjectsFinal(session));
        }
        long elapsed = System.nanoTime() - start;
        expect(Op.FindObjects10, "C_FindObjects count", length.value, Op.FIND_MAX);
        return elapsed;
    }

    @Override
    long generateKey(long n) {
        newKey.m_value = CK.CK_INVALID_HANDLE;
        long start = System.nanoTime();
        for (long i = 0; i < n; i++) {
            check(Op.GenerateKey6, "C_GenerateKey",
                    Cryptoki.C_GenerateKey(keySession, aesKeyGen, keyTemplate, keyTemplate.length, newKey));
        }
        long elapsed = System.nanoTime() - start;
        expect(Op.GenerateKey6, "C_GenerateKey made a key", newKey.m_value != CK.CK_INVALID_HANDLE ? 1 : 0, 1);
        return elapsed;
    }
}
