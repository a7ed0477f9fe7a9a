package kaltrix.morlin.examples;

import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import kaltrix.morlin.CK_ATTRIBUTE;
import kaltrix.morlin.CK_INFO;
import kaltrix.morlin.CK_MECHANISM;
import kaltrix.morlin.CK_MECHANISM_INFO;
import kaltrix.morlin.CK_OBJECT_HANDLE;
import kaltrix.morlin.CK_SESSION_HANDLE;
import kaltrix.morlin.CK_SESSION_INFO;
import kaltrix.morlin.CK_SLOT_INFO;
import kaltrix.morlin.CK_TOKEN_INFO;
import kaltrix.morlin.CTUtil;
import kaltrix.morlin.Cryptoki;
import kaltrix.morlin.CryptokiException;
import kaltrix.morlin.FindObjects;
import kaltrix.morlin.LongRef;
import kaltrix.morlin.TokenLibrary;
import kaltrix.morlin.Session;
import kaltrix.morlin.Template;
import kaltrix.morlin.constants.CK;
import kaltrix.morlin.constants.CK_KEY_TYPE;
import kaltrix.morlin.constants.CK_MECHANISM_TYPE;
import kaltrix.morlin.constants.CK_OBJECT_CLASS;
import kaltrix.morlin.constants.CK_RV;
import kaltrix.morlin.constants.CK_USER_TYPE;
import kaltrix.morlin.params.CK_GCM_PARAMS;

/**
 * A tour of the binding: what the token library is, which slots and tokens it
 * has, what a token can do, a session opened and logged in, the objects that
 * session sees, and some cryptography with keys made for the session.
 *
 * <pre>
 * java -Djava.library.path=DIR_OF_LIBMORLIN -cp morlin.jar:morlin-demo.jar \
 *     kaltrix.morlin.examples.Demo [--label LABEL] [--pin USER_PIN]
 * </pre>
 *
 * <p>The frame is made of the classes that close and throw: {@link TokenLibrary},
 * {@link Session}, {@link FindObjects}, {@link Template}. Underneath, every
 * Cryptoki native returns a {@link CK_RV}, and the listings and the
 * cryptography call the natives raw to show those answers. The token is the
 * one labelled LABEL, or else the first initialised one. Without a PIN the
 * session stays public; on a write-protected token it is read-only.
 */
public final class Demo {
    private Demo() {
    }

    public static void main(String[] args) {
        String label = null;
        String pin = null;
        for (int i = 0; i < args.length; i++) {
            if (args[i].equals("--label") && i + 1 < args.length) {
                label = args[++i];
            } else if (args[i].equals("--pin") && i + 1 < args.length) {
                pin = args[++i];
            } else {
                System.err.println("usage: Demo [--label LABEL] [--pin USER_PIN]");
                System.exit(2);
            }
        }
        System.exit(run(label, pin) ? 0 : 1);
    }

    private static boolean run(String label, String pin) {
        // TokenLibrary.initialize() is C_Initialize without arguments: this program
        // calls the token library from one thread only. Leaving the block
        // closes the session and then calls C_Finalize. A call that fails is
        // thrown as a CryptokiException naming the call and its CKR_ value.
        System.out.println("morlin: a PKCS#11 token library seen from Java");
        try (TokenLibrary library = TokenLibrary.initialize()) {
            libraryInformation();
            long slot = slotsAndTokens(label);
            if (slot < 0) {
                return false;
            }
            mechanisms(slot);
            boolean good;
            try (Session session = openSession(library, slot)) {
                good = session(session, pin);
            }
            line("Close", "CKR_OK");
            return good;
        } catch (CryptokiException e) {
            System.out.println();
            System.out.println("Stopped: " + e.getMessage() + describeMessage(e.getReturnValue()));
            return false;
        }
    }

    private static void libraryInformation() {
        CK_INFO info = new CK_INFO();
        if (!ok("C_GetInfo", Cryptoki.C_GetInfo(info))) {
            return;
        }
        heading("Library");
        line("Cryptoki version", info.cryptokiVersion);
        line("Manufacturer", info.getManufacturerID());
        line("Description", info.getLibraryDescription());
        line("Library version", info.libraryVersion);
    }

    /** Lists every slot and its token; returns the slot to work with, or -1. */
    private static long slotsAndTokens(String wanted) {
        // The two-call pattern: ask for the count with a null array, then fetch.
        LongRef count = new LongRef();
        if (!ok("C_GetSlotList", Cryptoki.C_GetSlotList(false, null, count))) {
            return -1;
        }
        long[] slots = new long[(int) count.value];
        if (!ok("C_GetSlotList", Cryptoki.C_GetSlotList(false, slots, count))) {
            return -1;
        }
        heading("Slots (" + count.value + ")");
        long chosen = -1;
        for (int i = 0; i < count.value; i++) {
            long slot = slots[i];
            CK_SLOT_INFO slotInfo = new CK_SLOT_INFO();
            if (!ok("C_GetSlotInfo", Cryptoki.C_GetSlotInfo(slot, slotInfo))) {
                continue;
            }
            System.out.printf("  Slot %s: %s%n", hex(slot), slotInfo.getSlotDescription());
            line("  Manufacturer", slotInfo.getManufacturerID());
            line("  Flags", flags(slotInfo.flags, SLOT_FLAGS));
            line("  Hardware/firmware", slotInfo.hardwareVersion + " / " + slotInfo.firmwareVersion);
            if ((slotInfo.flags & CK.CKF_TOKEN_PRESENT) == 0) {
                continue;
            }
            CK_TOKEN_INFO token = new CK_TOKEN_INFO();
            if (!ok("C_GetTokenInfo", Cryptoki.C_GetTokenInfo(slot, token))) {
                continue;
            }
            boolean initialised = (token.flags & CK.CKF_TOKEN_INITIALIZED) != 0;
            // The label comes as 32 blank-padded bytes, exactly as the token has it.
            System.out.printf("    Token [%s]%n", new String(token.label, StandardCharsets.UTF_8));
            line("    Manufacturer", token.getManufacturerID());
            line("    Model", token.getModel());
            line("    Serial number", token.getSerialNumber());
            line("    Flags", flags(token.flags, TOKEN_FLAGS));
            line("    Sessions", "open " + limit(token.sessionCount) + ", at most " + limit(token.maxSessionCount)
                    + " (read/write: open " + limit(token.rwSessionCount) + ", at most "
                    + limit(token.maxRwSessionCount) + ")");
            line("    PIN length", token.minPinLen + " to " + token.maxPinLen);
            if (chosen < 0 && initialised && (wanted == null || wanted.equals(token.getLabel()))) {
                chosen = slot;
            }
        }
        if (chosen < 0) {
            System.out.println("No initialised token" + (wanted == null ? "" : " labelled " + wanted) + ".");
        }
        return chosen;
    }

    private static void mechanisms(long slot) {
        LongRef count = new LongRef();
        if (!ok("C_GetMechanismList", Cryptoki.C_GetMechanismList(slot, null, count))) {
            return;
        }
        // The array must come filled: the call overwrites the values of the
        // wrappers it is given.
        CK_MECHANISM_TYPE[] types = new CK_MECHANISM_TYPE[(int) count.value];
        for (int i = 0; i < types.length; i++) {
            types[i] = new CK_MECHANISM_TYPE();
        }
        if (!ok("C_GetMechanismList", Cryptoki.C_GetMechanismList(slot, types, count))) {
            return;
        }
        heading("Mechanisms of slot " + hex(slot) + " (" + count.value + ")");
        for (CK_MECHANISM_TYPE type : types) {
            CK_MECHANISM_INFO info = new CK_MECHANISM_INFO();
            String name = utilityName(type);
            if (Cryptoki.C_GetMechanismInfo(slot, type, info).isOk()) {
                System.out.printf("  %-10s %-30s %-18s %s%n", hex(type.m_value), name,
                        keySizes(info), flags(info.flags, MECHANISM_FLAGS));
            } else {
                System.out.printf("  %-10s %s%n", hex(type.m_value), name);
            }
        }
    }

    /**
     * A read-write session, so that the demo can make objects; a token that is
     * write-protected (a trust store, a card locked against changes) refuses
     * one with CKR_TOKEN_WRITE_PROTECTED, and then a read-only session does:
     * it can still read the token and make session objects.
     */
    private static Session openSession(TokenLibrary library, long slot) {
        heading("Session on slot " + hex(slot));
        try {
            return library.openSession(slot, true);
        } catch (CryptokiException e) {
            if (e.getReturnValue() != CK.CKR_TOKEN_WRITE_PROTECTED) {
                throw e;
            }
            line("Read/write session", describe(new CK_RV(e.getReturnValue())) + ", so read-only");
            return library.openSession(slot, false);
        }
    }

    private static boolean session(Session session, String pin) {
        line("Handle", hex(session.handle().m_value));
        sessionState(session.handle());
        if (pin == null) {
            System.out.println("  No PIN given (--pin): the session stays public.");
            objects(session);
            return true;
        }
        // A wrong PIN, called raw: a Cryptoki answer is a CK_RV, not an
        // exception. The count-free overload passes the array's length.
        byte[] wrong = Cryptoki.pin("not-the-pin");
        line("Login, wrong PIN", describe(Cryptoki.C_Login(session.handle(), new CK_USER_TYPE(CK.CKU_USER), wrong)));

        session.login(CK.CKU_USER, Cryptoki.pin(pin));
        line("Login as user", "CKR_OK");
        sessionState(session.handle());
        objects(session);
        boolean good = cryptography(session);
        heading("Leaving the session");
        Cryptoki.C_Logout(session.handle()).check("C_Logout");
        line("Logout", "CKR_OK");
        return good;
    }

    /** At most this many objects are listed; a trust store holds hundreds. */
    private static final int LISTED = 40;

    /**
     * Makes a data object that lives as long as the session, then lists every
     * object the session can see: the token's public objects, its private
     * ones once logged in, and the session's own.
     */
    private static void objects(Session session) {
        // Template gives each attribute the length the token library needs:
        // a boolean is a one-byte CK_BBOOL, a String its UTF-8 bytes.
        CK_ATTRIBUTE[] template = Template.of()
                .add(CK.CKA_CLASS, new CK_OBJECT_CLASS(CK.CKO_DATA))
                .add(CK.CKA_TOKEN, false)
                .add(CK.CKA_PRIVATE, false)
                .add(CK.CKA_LABEL, "morlin demo data")
                .add(CK.CKA_VALUE, "made by Demo.java".getBytes(StandardCharsets.UTF_8))
                .toArray();
        // Called raw, as a module may not keep session objects at all.
        CK_OBJECT_HANDLE made = new CK_OBJECT_HANDLE();
        CK_RV rv = Cryptoki.C_CreateObject(session.handle(), template, made);
        line("Create data object", describe(rv) + (rv.isOk() ? ", handle " + hex(made.m_value) : ""));

        // No template matches every object; closing the search calls
        // C_FindObjectsFinal.
        List<CK_OBJECT_HANDLE> found;
        try (FindObjects search = session.findObjects()) {
            found = search.all();
        }
        line("Objects", found.size() + (found.isEmpty() ? ": the session sees none" : ""));
        if (found.isEmpty()) {
            return;
        }
        System.out.printf("    %-10s %-18s %-12s %s%n", "Handle", "Class", "Key type", "Label");
        for (CK_OBJECT_HANDLE object : found.subList(0, Math.min(found.size(), LISTED))) {
            // getAttributes reads into targets of its own: the class as a Long,
            // the label in two calls (its length, then its bytes). A data
            // object has no key type: the token says CKR_ATTRIBUTE_TYPE_INVALID,
            // delivers the rest anyway and marks the key type with length -1.
            CK_ATTRIBUTE[] a = session.getAttributes(object, CK.CKA_CLASS, CK.CKA_KEY_TYPE, CK.CKA_LABEL);
            System.out.printf("    %-10s %-18s %-12s %s%n", hex(object.m_value),
                    a[0].valueLen < 0 ? "-" : new CK_OBJECT_CLASS(a[0].longValue()),
                    a[1].valueLen < 0 ? "-" : new CK_KEY_TYPE(a[1].longValue()),
                    a[2].valueLen < 0 ? "-" : '"' + a[2].string() + '"');
        }
        if (found.size() > LISTED) {
            System.out.printf("    ... and %d more%n", found.size() - LISTED);
        }
    }

    /**
     * Cryptography with session keys: an AES key generated on the token
     * encrypts and decrypts with AES-GCM, an EC key pair on P-256 signs a
     * SHA-256 digest and verifies the signature. Returns whether every call
     * gave the answer expected.
     */
    private static boolean cryptography(Session owner) {
        heading("Cryptography");
        // From here on the natives are called raw, on the session's handle,
        // each CK_RV shown: the calls the classes above are made of.
        CK_SESSION_HANDLE session = owner.handle();
        CK_ATTRIBUTE[] aesTemplate = Template.of()
                .add(CK.CKA_TOKEN, false)
                .add(CK.CKA_VALUE_LEN, 32)
                .add(CK.CKA_ENCRYPT, true)
                .add(CK.CKA_DECRYPT, true)
                .add(CK.CKA_LABEL, "morlin demo AES key")
                .toArray();
        CK_OBJECT_HANDLE aes = new CK_OBJECT_HANDLE();
        // A mechanism without a parameter takes just its type. The raw native
        // takes a count beside each array; it is passed to the token library
        // as it stands, so a count above the array's length reads past it.
        CK_RV rv = Cryptoki.C_GenerateKey(session, new CK_MECHANISM(CK.CKM_AES_KEY_GEN), aesTemplate,
                aesTemplate.length, aes);
        line("Generate AES key", describe(rv) + (rv.isOk() ? ", handle " + hex(aes.m_value) : ""));
        if (!rv.isOk()) {
            return false;
        }

        // A fresh 12-byte IV from the token's generator for each encryption.
        byte[] iv = new byte[12];
        if (!ok("C_GenerateRandom", Cryptoki.C_GenerateRandom(session, iv, iv.length))) {
            return false;
        }
        byte[] aad = "demo header".getBytes(StandardCharsets.UTF_8);
        byte[] plain = "Attack at dawn, said the demo.".getBytes(StandardCharsets.UTF_8);
        // The constructor with a parameter computes parameterLen, the length
        // of the Cryptoki structure the token library gets.
        CK_MECHANISM gcm = new CK_MECHANISM(CK.CKM_AES_GCM, new CK_GCM_PARAMS(iv, aad, 128));
        line("Mechanism", gcm);
        if (!ok("C_EncryptInit", Cryptoki.C_EncryptInit(session, gcm, aes))) {
            return false;
        }
        byte[] sealed = output("C_Encrypt", (out, length) -> Cryptoki.C_Encrypt(session, plain, plain.length,
                out, length));
        if (sealed == null) {
            return false;
        }
        line("Plaintext", '"' + new String(plain, StandardCharsets.UTF_8) + '"');
        line("Ciphertext and tag", hex(sealed));
        if (!ok("C_DecryptInit", Cryptoki.C_DecryptInit(session, gcm, aes))) {
            return false;
        }
        byte[] opened = output("C_Decrypt", (out, length) -> Cryptoki.C_Decrypt(session, sealed, sealed.length,
                out, length));
        if (opened == null) {
            return false;
        }
        if (!Arrays.equals(plain, opened)) {
            System.out.println("Round trip failed: decrypted \"" + new String(opened, StandardCharsets.UTF_8) + '"');
            return false;
        }
        line("Decrypted", '"' + new String(opened, StandardCharsets.UTF_8) + "\", equal to the plaintext");

        // An EC key pair: the curve goes in as the DER encoding of its OID.
        CK_ATTRIBUTE[] publicTemplate = Template.of()
                .add(CK.CKA_TOKEN, false)
                .add(CK.CKA_VERIFY, true)
                .add(CK.CKA_EC_PARAMS, PRIME256V1)
                .toArray();
        CK_ATTRIBUTE[] privateTemplate = Template.of().add(CK.CKA_TOKEN, false).add(CK.CKA_SIGN, true).toArray();
        CK_OBJECT_HANDLE publicKey = new CK_OBJECT_HANDLE();
        CK_OBJECT_HANDLE privateKey = new CK_OBJECT_HANDLE();
        rv = Cryptoki.C_GenerateKeyPair(session, new CK_MECHANISM(CK.CKM_EC_KEY_PAIR_GEN), publicTemplate,
                publicTemplate.length, privateTemplate, privateTemplate.length, publicKey, privateKey);
        line("Generate EC key pair", describe(rv)
                + (rv.isOk() ? ", handles " + hex(publicKey.m_value) + " and " + hex(privateKey.m_value) : ""));
        if (!rv.isOk()) {
            return false;
        }
        // CKM_ECDSA signs a digest the caller made: here, the token's SHA-256.
        byte[] message = "morlin signs this".getBytes(StandardCharsets.UTF_8);
        if (!ok("C_DigestInit", Cryptoki.C_DigestInit(session, new CK_MECHANISM(CK.CKM_SHA256)))) {
            return false;
        }
        byte[] digest = output("C_Digest", (out, length) -> Cryptoki.C_Digest(session, message, message.length,
                out, length));
        if (digest == null || !ok("C_SignInit", Cryptoki.C_SignInit(session, new CK_MECHANISM(CK.CKM_ECDSA),
                privateKey))) {
            return false;
        }
        byte[] signature = output("C_Sign", (out, length) -> Cryptoki.C_Sign(session, digest, digest.length,
                out, length));
        if (signature == null) {
            return false;
        }
        line("SHA-256 of message", hex(digest));
        line("ECDSA signature", hex(signature));
        // A signature that does not verify is an answer, CKR_SIGNATURE_INVALID.
        boolean verified = true;
        for (boolean changed : new boolean[] {false, true}) {
            byte[] signed = digest.clone();
            if (changed) {
                signed[0] ^= 1;
            }
            if (!ok("C_VerifyInit", Cryptoki.C_VerifyInit(session, new CK_MECHANISM(CK.CKM_ECDSA), publicKey))) {
                return false;
            }
            rv = Cryptoki.C_Verify(session, signed, signed.length, signature, signature.length);
            line(changed ? "Verify, other digest" : "Verify", describe(rv));
            verified &= rv.m_value == (changed ? CK.CKR_SIGNATURE_INVALID : CK.CKR_OK);
        }
        if (!verified) {
            System.out.println("Verification failed: not the answers expected");
        }
        return verified;
    }

    /** A call that delivers bytes: a null array asks for their length. */
    private interface Output {
        CK_RV call(byte[] out, LongRef length);
    }

    /** The two-call pattern for output bytes: the length, then the bytes; null on failure. */
    private static byte[] output(String function, Output call) {
        LongRef length = new LongRef();
        if (!ok(function, call.call(null, length))) {
            return null;
        }
        // The length may shrink on the second call: it is the size of the
        // result, the first only a bound for some mechanisms.
        byte[] out = new byte[(int) length.value];
        if (!ok(function, call.call(out, length))) {
            return null;
        }
        return Arrays.copyOf(out, (int) length.value);
    }

    private static void sessionState(CK_SESSION_HANDLE session) {
        CK_SESSION_INFO info = new CK_SESSION_INFO();
        if (ok("C_GetSessionInfo", Cryptoki.C_GetSessionInfo(session, info))) {
            line("State", info.state + ", flags " + flags(info.flags, SESSION_FLAGS));
        }
    }

    // ---- formatting ----------------------------------------------------------

    /** The token utility library's name of a mechanism ("AES_GCM"). */
    private static String utilityName(CK_MECHANISM_TYPE type) {
        LongRef length = new LongRef();
        if (!CTUtil.CTU_GetMechanismTypeString(type, null, length).isOk()) {
            return type.toString();
        }
        byte[] text = new byte[(int) length.value];
        if (!CTUtil.CTU_GetMechanismTypeString(type, text, length).isOk()) {
            return type.toString();
        }
        return new String(text, 0, (int) length.value, StandardCharsets.US_ASCII);
    }

    /** A result with its name and the utility library's message. */
    private static String describe(CK_RV rv) {
        LongRef length = new LongRef(128);
        byte[] text = new byte[128];
        String message = CTUtil.CTU_GetErrorString(rv, text, length).isOk()
                ? " (" + new String(text, 0, (int) length.value, StandardCharsets.US_ASCII) + ")"
                : "";
        return rv + message;
    }

    /** The utility library's message for a return value, in brackets. */
    private static String describeMessage(long rv) {
        String text = describe(new CK_RV(rv));
        int message = text.indexOf(" (");
        return message < 0 ? "" : text.substring(message);
    }

    private static boolean ok(String function, CK_RV rv) {
        if (!rv.isOk()) {
            System.out.println(function + " failed: " + describe(rv));
        }
        return rv.isOk();
    }

    private static String keySizes(CK_MECHANISM_INFO info) {
        return info.minKeySize == 0 && info.maxKeySize == 0 ? "" : "key " + info.minKeySize + ".." + info.maxKeySize;
    }

    private static String limit(long value) {
        if (value == CK.CK_EFFECTIVELY_INFINITE) {
            return "unlimited";
        }
        return value == CK.CK_UNAVAILABLE_INFORMATION ? "unknown" : Long.toString(value);
    }

    /** The DER encoding of the OID of prime256v1 (P-256), as CKA_EC_PARAMS holds it. */
    private static final byte[] PRIME256V1 = {0x06, 0x08, 0x2A, (byte) 0x86, 0x48, (byte) 0xCE, 0x3D, 0x03, 0x01, 0x07};

    private static final Object[][] SLOT_FLAGS = {
        {CK.CKF_TOKEN_PRESENT, "TOKEN_PRESENT"},
        {CK.CKF_REMOVABLE_DEVICE, "REMOVABLE_DEVICE"},
        {CK.CKF_HW_SLOT, "HW_SLOT"},
    };
    private static final Object[][] TOKEN_FLAGS = {
        {CK.CKF_RNG, "RNG"},
        {CK.CKF_WRITE_PROTECTED, "WRITE_PROTECTED"},
        {CK.CKF_LOGIN_REQUIRED, "LOGIN_REQUIRED"},
        {CK.CKF_USER_PIN_INITIALIZED, "USER_PIN_INITIALIZED"},
        {CK.CKF_RESTORE_KEY_NOT_NEEDED, "RESTORE_KEY_NOT_NEEDED"},
        {CK.CKF_CLOCK_ON_TOKEN, "CLOCK_ON_TOKEN"},
        {CK.CKF_PROTECTED_AUTHENTICATION_PATH, "PROTECTED_AUTHENTICATION_PATH"},
        {CK.CKF_DUAL_CRYPTO_OPERATIONS, "DUAL_CRYPTO_OPERATIONS"},
        {CK.CKF_TOKEN_INITIALIZED, "TOKEN_INITIALIZED"},
        {CK.CKF_SECONDARY_AUTHENTICATION, "SECONDARY_AUTHENTICATION"},
        {CK.CKF_USER_PIN_COUNT_LOW, "USER_PIN_COUNT_LOW"},
        {CK.CKF_USER_PIN_FINAL_TRY, "USER_PIN_FINAL_TRY"},
        {CK.CKF_USER_PIN_LOCKED, "USER_PIN_LOCKED"},
        {CK.CKF_USER_PIN_TO_BE_CHANGED, "USER_PIN_TO_BE_CHANGED"},
        {CK.CKF_SO_PIN_COUNT_LOW, "SO_PIN_COUNT_LOW"},
        {CK.CKF_SO_PIN_FINAL_TRY, "SO_PIN_FINAL_TRY"},
        {CK.CKF_SO_PIN_LOCKED, "SO_PIN_LOCKED"},
        {CK.CKF_SO_PIN_TO_BE_CHANGED, "SO_PIN_TO_BE_CHANGED"},
    };
    private static final Object[][] SESSION_FLAGS = {
        {CK.CKF_RW_SESSION, "RW_SESSION"},
        {CK.CKF_SERIAL_SESSION, "SERIAL_SESSION"},
    };
    private static final Object[][] MECHANISM_FLAGS = {
        {CK.CKF_HW, "hw"},
        {CK.CKF_ENCRYPT, "encrypt"},
        {CK.CKF_DECRYPT, "decrypt"},
        {CK.CKF_DIGEST, "digest"},
        {CK.CKF_SIGN, "sign"},
        {CK.CKF_SIGN_RECOVER, "sign-recover"},
        {CK.CKF_VERIFY, "verify"},
        {CK.CKF_VERIFY_RECOVER, "verify-recover"},
        {CK.CKF_GENERATE, "generate"},
        {CK.CKF_GENERATE_KEY_PAIR, "generate-pair"},
        {CK.CKF_WRAP, "wrap"},
        {CK.CKF_UNWRAP, "unwrap"},
        {CK.CKF_DERIVE, "derive"},
        {CK.CKF_EC_F_P, "ec-f-p"},
        {CK.CKF_EC_F_2M, "ec-f-2m"},
        {CK.CKF_EC_ECPARAMETERS, "ec-parameters"},
        {CK.CKF_EC_NAMEDCURVE, "ec-named-curve"},
        {CK.CKF_EC_UNCOMPRESS, "ec-uncompressed"},
        {CK.CKF_EC_COMPRESS, "ec-compressed"},
    };

    private static String flags(long value, Object[][] names) {
        List<String> set = new ArrayList<>();
        long known = 0;
        for (Object[] row : names) {
            long bit = (Long) row[0];
            known |= bit;
            if ((value & bit) != 0) {
                set.add((String) row[1]);
            }
        }
        if ((value & ~known) != 0) {
            set.add(hex(value & ~known));
        }
        return set.isEmpty() ? "none" : String.join(" ", set);
    }

    private static String hex(byte[] bytes) {
        StringBuilder text = new StringBuilder();
        for (byte b : bytes) {
            text.append(String.format("%02x", b));
        }
        return text.toString();
    }

    private static String hex(long value) {
        return "0x" + Long.toHexString(value).toUpperCase();
    }

    private static void heading(String title) {
        System.out.println();
        System.out.println(title);
    }

    private static void line(String label, Object value) {
        System.out.printf("  %-20s %s%n", label, value);
    }
}
