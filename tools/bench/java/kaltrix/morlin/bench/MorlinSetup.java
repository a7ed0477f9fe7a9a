package kaltrix.morlin.bench;

import java.nio.charset.StandardCharsets;
import kaltrix.morlin.CK_ATTRIBUTE;
import kaltrix.morlin.CK_MECHANISM;
import kaltrix.morlin.CK_OBJECT_HANDLE;
import kaltrix.morlin.CK_SESSION_HANDLE;
import kaltrix.morlin.CK_TOKEN_INFO;
import kaltrix.morlin.Cryptoki;
import kaltrix.morlin.LongRef;
import kaltrix.morlin.constants.CK;
import kaltrix.morlin.constants.CK_KEY_TYPE;
import kaltrix.morlin.constants.CK_OBJECT_CLASS;
import kaltrix.morlin.constants.CK_RV;
import kaltrix.morlin.constants.CK_USER_TYPE;

/**
 * The start of a run, through morlin: the module initialised, the token
 * found, a session logged in, and the {@link Fixture}'s objects made on the
 * token. morlin goes first, so every other driver finds the module
 * initialised and the user logged in; the objects are token objects, so that
 * the sessions of every driver see them.
 *
 * <p>The token should be fresh: the objects are made anew on each run.
 */
final class MorlinSetup {
    /** Beyond FindObjects10's ten, so that one call never sees the end. */
    private static final int DATA_OBJECTS = 12;
    private static final byte[] AES_LABEL = bytes("morlin-bench AES key");
    private static final byte[] RSA_LABEL = bytes("morlin-bench RSA key");
    private static final byte[] DATA_LABEL = bytes("morlin-bench data");
    private static final byte[] KEY_LABEL = bytes("morlin-bench session key");
    private static final byte[] F4 = {1, 0, 1};

    private final CK_SESSION_HANDLE session;
    private final Fixture fixture;

    MorlinSetup(String label, byte[] pin, boolean nullModule) {
        CK_RV rv = Cryptoki.C_Initialize(null);
        if (rv.m_value != CK.CKR_CRYPTOKI_ALREADY_INITIALIZED) {
            check("C_Initialize", rv);
        }
        long slot = findSlot(label);
        session = openSession(slot);
        rv = Cryptoki.C_Login(session, new CK_USER_TYPE(CK.CKU_USER), pin, pin.length);
        if (rv.m_value != CK.CKR_USER_ALREADY_LOGGED_IN) {
            check("C_Login", rv);
        }
        long aesKey = makeAesKey();
        long rsaKey = makeRsaKey();
        makeDataObjects();
        fixture = new Fixture(slot, pin, aesKey, rsaKey, labelLength(aesKey), nullModule ? 0 : Op.GCM_TAG, KEY_LABEL);
    }

    Fixture fixture() {
        return fixture;
    }

    /** The session the setup logged in, for the morlin driver's operations. */
    CK_SESSION_HANDLE session() {
        return session;
    }

    /** Fails unless the call succeeded. */
    static void check(String call, CK_RV rv) {
        if (!rv.isOk()) {
            throw new BenchFailure("morlin: " + call + " returned " + rv);
        }
    }

    static CK_SESSION_HANDLE openSession(long slot) {
        CK_SESSION_HANDLE session = new CK_SESSION_HANDLE();
        check("C_OpenSession",
                Cryptoki.C_OpenSession(slot, CK.CKF_SERIAL_SESSION | CK.CKF_RW_SESSION, null, null, session));
        return session;
    }

    /** The slot of the token with the label, or of the first token if label is null. */
    private static long findSlot(String label) {
        LongRef count = new LongRef();
        check("C_GetSlotList", Cryptoki.C_GetSlotList(true, null, count));
        long[] slots = new long[(int) count.value];
        check("C_GetSlotList", Cryptoki.C_GetSlotList(true, slots, count));
        for (int i = 0; i < count.value; i++) {
            CK_TOKEN_INFO token = new CK_TOKEN_INFO();
            check("C_GetTokenInfo", Cryptoki.C_GetTokenInfo(slots[i], token));
            if (label == null || label.equals(token.getLabel())) {
                return slots[i];
            }
        }
        throw new BenchFailure("morlin: no token" + (label == null ? "" : " labelled " + label));
    }

    private long makeAesKey() {
        CK_ATTRIBUTE[] template = {
            new CK_ATTRIBUTE(CK.CKA_CLASS, new CK_OBJECT_CLASS(CK.CKO_SECRET_KEY)),
            new CK_ATTRIBUTE(CK.CKA_KEY_TYPE, new CK_KEY_TYPE(CK.CKK_AES)),
            new CK_ATTRIBUTE(CK.CKA_VALUE_LEN, 16L),
            new CK_ATTRIBUTE(CK.CKA_TOKEN, true),
            new CK_ATTRIBUTE(CK.CKA_ENCRYPT, true),
            new CK_ATTRIBUTE(CK.CKA_DECRYPT, true),
            new CK_ATTRIBUTE(CK.CKA_LABEL, AES_LABEL),
        };
        CK_OBJECT_HANDLE key = new CK_OBJECT_HANDLE();
        check("C_GenerateKey", Cryptoki.C_GenerateKey(session, new CK_MECHANISM(CK.CKM_AES_KEY_GEN), template,
                template.length, key));
        return key.m_value;
    }

    private long makeRsaKey() {
        CK_ATTRIBUTE[] publicTemplate = {
            new CK_ATTRIBUTE(CK.CKA_TOKEN, true),
            new CK_ATTRIBUTE(CK.CKA_VERIFY, true),
            new CK_ATTRIBUTE(CK.CKA_MODULUS_BITS, 2048L),
            new CK_ATTRIBUTE(CK.CKA_PUBLIC_EXPONENT, F4),
            new CK_ATTRIBUTE(CK.CKA_LABEL, RSA_LABEL),
        };
        CK_ATTRIBUTE[] privateTemplate = {
            new CK_ATTRIBUTE(CK.CKA_TOKEN, true),
            new CK_ATTRIBUTE(CK.CKA_PRIVATE, true),
            new CK_ATTRIBUTE(CK.CKA_SENSITIVE, true),
            new CK_ATTRIBUTE(CK.CKA_SIGN, true),
            new CK_ATTRIBUTE(CK.CKA_LABEL, RSA_LABEL),
        };
        CK_OBJECT_HANDLE publicKey = new CK_OBJECT_HANDLE();
        CK_OBJECT_HANDLE privateKey = new CK_OBJECT_HANDLE();
        check("C_GenerateKeyPair", Cryptoki.C_GenerateKeyPair(session, new CK_MECHANISM(CK.CKM_RSA_PKCS_KEY_PAIR_GEN),
                publicTemplate, publicTemplate.length, privateTemplate, privateTemplate.length, publicKey, privateKey));
        return privateKey.m_value;
    }

    private void makeDataObjects() {
        for (int i = 0; i < DATA_OBJECTS; i++) {
            CK_ATTRIBUTE[] template = {
                new CK_ATTRIBUTE(CK.CKA_CLASS, new CK_OBJECT_CLASS(CK.CKO_DATA)),
                new CK_ATTRIBUTE(CK.CKA_TOKEN, true),
                new CK_ATTRIBUTE(CK.CKA_LABEL, DATA_LABEL),
                new CK_ATTRIBUTE(CK.CKA_VALUE, bytes("record " + i)),
            };
            CK_OBJECT_HANDLE object = new CK_OBJECT_HANDLE();
            check("C_CreateObject", Cryptoki.C_CreateObject(session, template, template.length, object));
        }
    }

    private int labelLength(long key) {
        CK_ATTRIBUTE[] label = {new CK_ATTRIBUTE(CK.CKA_LABEL)};
        check("C_GetAttributeValue", Cryptoki.C_GetAttributeValue(session, new CK_OBJECT_HANDLE(key), label, 1));
        return (int) label[0].valueLen;
    }

    private static byte[] bytes(String text) {
        return text.getBytes(StandardCharsets.UTF_8);
    }
}
