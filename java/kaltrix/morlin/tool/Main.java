package kaltrix.morlin.tool;

import java.io.IOException;
import java.io.PrintStream;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.GeneralSecurityException;
import java.security.MessageDigest;
import java.security.SecureRandom;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.HexFormat;
import java.util.List;
import kaltrix.morlin.CK_ATTRIBUTE;
import kaltrix.morlin.CK_MECHANISM;
import kaltrix.morlin.CK_MECHANISM_INFO;
import kaltrix.morlin.CK_OBJECT_HANDLE;
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
import kaltrix.morlin.constants.CK_ATTRIBUTE_TYPE;
import kaltrix.morlin.constants.CK_MECHANISM_TYPE;
import kaltrix.morlin.constants.CK_OBJECT_CLASS;
import kaltrix.morlin.constants.CK_RV;

/**
 * {@code morlin-tool}: a token's slots, mechanisms and objects, keys made on
 * it, and files encrypted, signed and verified with them, from the command
 * line, through whichever {@code libcryptoki.so} the loader finds. Run
 * {@code java -jar morlin.jar --help}.
 */
public final class Main {
    private static final String USAGE = String.join("\n",
            "usage: morlin-tool [--slot N | --label TOKEN] [--pin PIN] COMMAND [ARGS]   (or: java -jar morlin.jar ...)",
            "  slots                        slots and the tokens in them",
            "  mechanisms                   the token's mechanisms, key sizes and flags",
            "  objects                      the objects a session sees: class, key type, label",
            "  genkey aes BITS LABEL        an AES key on the token",
            "  genkey ec CURVE LABEL        an EC key pair on the token (CURVE: P-256, secp384r1, ...)",
            "  encrypt LABEL IN OUT         AES-CBC with padding; OUT is a random IV, then the cipher text",
            "  decrypt LABEL IN OUT         the reverse of encrypt",
            "  sign LABEL IN SIGNATURE      ECDSA over SHA-256 of IN; SIGNATURE is r then s",
            "  verify LABEL IN SIGNATURE    exits 0 if the signature verifies, 1 if not",
            "  attribute LABEL NAME         an attribute of an object labelled LABEL that has it, bytes in hex (NAME: CKA_ID, ...)",
            "The token is the one in slot N, the one labelled TOKEN, or the first there is. Only genkey",
            "opens a read-write session. The token library is the libcryptoki.so the loader finds; the",
            "installed morlin-tool puts the forwarder in front when MORLIN_PKCS11_MODULE names a module.");

    private final PrintStream out;
    private Long slot;
    private String tokenLabel;
    private byte[] pin;

    private Main(PrintStream out) {
        this.out = out;
    }

    /** Runs the tool and exits with its status. */
    public static void main(String[] args) {
        System.exit(run(args, System.out, System.err));
    }

    /** Runs the tool: 0 done, 1 a signature that does not verify or a token's refusal, 2 a usage error. */
    public static int run(String[] args, PrintStream out, PrintStream err) {
        Main main = new Main(out);
        List<String> rest = new ArrayList<>(Arrays.asList(args));
        try {
            while (!rest.isEmpty() && rest.get(0).startsWith("--")) {
                String option = rest.remove(0);
                switch (option) {
                    case "--help" -> {
                        out.println(USAGE);
                        return 0;
                    }
                    case "--slot" -> main.slot = Long.parseLong(take(rest, option));
                    case "--label" -> main.tokenLabel = take(rest, option);
                    case "--pin" -> main.pin = Cryptoki.pin(take(rest, option));
                    default -> throw new IllegalArgumentException("unknown option " + option);
                }
            }
            if (rest.isEmpty()) {
                throw new IllegalArgumentException("no command");
            }
            try (TokenLibrary library = TokenLibrary.initialize()) {
                return main.command(library, rest.remove(0), rest);
            }
        } catch (IllegalArgumentException e) {
            err.println("morlin-tool: " + e.getMessage());
            err.println(USAGE);
            return 2;
        } catch (CryptokiException | IOException | GeneralSecurityException e) {
            err.println("morlin-tool: " + e.getMessage());
            return 1;
        } catch (UnsatisfiedLinkError e) {
            // libmorlin.so itself, or the libcryptoki.so it needs, not found.
            err.println("morlin-tool: " + e.getMessage());
            err.println("morlin-tool: name a PKCS#11 module with MORLIN_PKCS11_MODULE (the launcher puts the"
                    + " forwarding libcryptoki.so in front), or put the directory of a libcryptoki.so on"
                    + " LD_LIBRARY_PATH");
            return 1;
        }
    }

    private static String take(List<String> rest, String what) {
        if (rest.isEmpty()) {
            throw new IllegalArgumentException(what + " needs a value");
        }
        return rest.remove(0);
    }

    private int command(TokenLibrary library, String name, List<String> a) throws IOException, GeneralSecurityException {
        switch (name) {
            case "slots" -> slots(library);
            case "mechanisms" -> mechanisms(slot(library));
            case "objects" -> {
                try (Session s = session(library, false)) {
                    objects(s);
                }
            }
            case "genkey" -> {
                expect(a, 3, "genkey aes|ec SIZE_OR_CURVE LABEL");
                try (Session s = session(library, true)) {
                    generate(s, a.get(0), a.get(1), a.get(2));
                }
            }
            case "encrypt", "decrypt" -> {
                expect(a, 3, name + " LABEL IN OUT");
                try (Session s = session(library, false)) {
                    crypt(s, name.equals("encrypt"), a.get(0), Path.of(a.get(1)), Path.of(a.get(2)));
                }
            }
            case "sign", "verify" -> {
                expect(a, 3, name + " LABEL IN SIGNATURE");
                try (Session s = session(library, false)) {
                    return signOrVerify(s, name.equals("sign"), a.get(0), Path.of(a.get(1)), Path.of(a.get(2)));
                }
            }
            case "attribute" -> {
                expect(a, 2, "attribute LABEL NAME");
                try (Session s = session(library, false)) {
                    attribute(s, a.get(0), a.get(1));
                }
            }
            default -> throw new IllegalArgumentException("unknown command " + name);
        }
        return 0;
    }

    private static void expect(List<String> a, int n, String usage) {
        if (a.size() != n) {
            throw new IllegalArgumentException("usage: " + usage);
        }
    }

    // ---- token and session -------------------------------------------------------------

    private long slot(TokenLibrary library) {
        if (slot != null) {
            return slot;
        }
        for (long s : library.slots(true)) {
            CK_TOKEN_INFO token = new CK_TOKEN_INFO();
            Cryptoki.C_GetTokenInfo(s, token).check("C_GetTokenInfo");
            if (tokenLabel == null || Arrays.equals(token.label, Cryptoki.label(tokenLabel))) {
                return s;
            }
        }
        throw new IllegalArgumentException(tokenLabel == null ? "no token" : "no token labelled " + tokenLabel);
    }

    // Read-write only to make keys: a read-only session also works on a
    // write-protected token, and can still use and read its objects.
    private Session session(TokenLibrary library, boolean readWrite) {
        Session session = library.openSession(slot(library), readWrite);
        if (pin != null) {
            session.login(CK.CKU_USER, pin);
        }
        return session;
    }

    // ---- listing -----------------------------------------------------------------------

    private void slots(TokenLibrary library) {
        for (long s : library.slots(false)) {
            CK_SLOT_INFO info = new CK_SLOT_INFO();
            Cryptoki.C_GetSlotInfo(s, info).check("C_GetSlotInfo");
            out.printf("slot %d: %s%n", s, text(info.slotDescription));
            if ((info.flags & CK.CKF_TOKEN_PRESENT) != 0) {
                CK_TOKEN_INFO token = new CK_TOKEN_INFO();
                Cryptoki.C_GetTokenInfo(s, token).check("C_GetTokenInfo");
                out.printf("  token %s (%s %s, serial %s)%n", text(token.label), text(token.manufacturerID),
                        text(token.model), text(token.serialNumber));
            }
        }
    }

    private static final long[] MECHANISM_FLAGS = {CK.CKF_HW, CK.CKF_ENCRYPT, CK.CKF_DECRYPT, CK.CKF_DIGEST,
        CK.CKF_SIGN, CK.CKF_VERIFY, CK.CKF_GENERATE, CK.CKF_GENERATE_KEY_PAIR, CK.CKF_WRAP, CK.CKF_UNWRAP,
        CK.CKF_DERIVE};
    private static final String[] MECHANISM_FLAG_NAMES = {"hw", "encrypt", "decrypt", "digest", "sign", "verify",
        "generate", "generate_key_pair", "wrap", "unwrap", "derive"};

    private void mechanisms(long s) {
        LongRef count = new LongRef();
        Cryptoki.C_GetMechanismList(s, null, count).check("C_GetMechanismList");
        CK_MECHANISM_TYPE[] types = new CK_MECHANISM_TYPE[(int) count.value];
        for (int i = 0; i < types.length; i++) {
            types[i] = new CK_MECHANISM_TYPE();
        }
        Cryptoki.C_GetMechanismList(s, types, count).check("C_GetMechanismList");
        for (int i = 0; i < count.value; i++) {
            CK_MECHANISM_INFO info = new CK_MECHANISM_INFO();
            Cryptoki.C_GetMechanismInfo(s, types[i], info).check("C_GetMechanismInfo");
            StringBuilder flags = new StringBuilder();
            for (int f = 0; f < MECHANISM_FLAGS.length; f++) {
                if ((info.flags & MECHANISM_FLAGS[f]) != 0) {
                    flags.append(flags.length() == 0 ? "" : ",").append(MECHANISM_FLAG_NAMES[f]);
                }
            }
            out.printf("%-28s %6d-%-6d %s%n", "CKM_" + mechanismName(types[i]), info.minKeySize, info.maxKeySize,
                    flags);
        }
    }

    private void objects(Session session) {
        try (FindObjects search = session.findObjects()) {
            for (CK_OBJECT_HANDLE object : search.all()) {
                CK_ATTRIBUTE[] read = session.getAttributes(object, CK.CKA_CLASS, CK.CKA_KEY_TYPE, CK.CKA_LABEL);
                boolean key = read[1].valueLen >= 0;
                out.printf("%-8d %-18s %-6s %s%n", object.m_value, name(new CK_OBJECT_CLASS(read[0].longValue())),
                        key ? name(new kaltrix.morlin.constants.CK_KEY_TYPE(read[1].longValue())) : "",
                        read[2].string());
            }
        }
    }

    // ---- keys and files ----------------------------------------------------------------

    private void generate(Session session, String kind, String size, String label) {
        CK_OBJECT_HANDLE key = new CK_OBJECT_HANDLE();
        if (kind.equals("aes")) {
            CK_ATTRIBUTE[] template = Template.of().add(CK.CKA_TOKEN, true).add(CK.CKA_LABEL, label)
                    .add(CK.CKA_VALUE_LEN, Long.parseLong(size) / 8).add(CK.CKA_ENCRYPT, true)
                    .add(CK.CKA_DECRYPT, true).toArray();
            Cryptoki.C_GenerateKey(session.handle(), new CK_MECHANISM(CK.CKM_AES_KEY_GEN), template, key)
                    .check("C_GenerateKey");
            out.println("AES key " + key.m_value);
        } else if (kind.equals("ec")) {
            byte[] curve = size.getBytes(StandardCharsets.US_ASCII);
            LongRef length = new LongRef();
            CTUtil.CTU_DerEncodeNamedCurve(curve, null, length);
            if (length.value == 0) {
                throw new IllegalArgumentException("unknown curve " + size);
            }
            byte[] params = new byte[(int) length.value];
            CTUtil.CTU_DerEncodeNamedCurve(curve, params, length);
            Template common = Template.of().add(CK.CKA_TOKEN, true).add(CK.CKA_LABEL, label);
            CK_ATTRIBUTE[] publicKey = Template.of(common.toArray()).add(CK.CKA_VERIFY, true)
                    .add(CK.CKA_EC_PARAMS, params).toArray();
            CK_ATTRIBUTE[] privateKey = common.add(CK.CKA_SIGN, true).add(CK.CKA_PRIVATE, true).toArray();
            CK_OBJECT_HANDLE pair = new CK_OBJECT_HANDLE();
            Cryptoki.C_GenerateKeyPair(session.handle(), new CK_MECHANISM(CK.CKM_EC_KEY_PAIR_GEN), publicKey,
                    privateKey, key, pair).check("C_GenerateKeyPair");
            out.println("EC key pair " + key.m_value + " " + pair.m_value);
        } else {
            throw new IllegalArgumentException("genkey takes aes or ec, not " + kind);
        }
    }

    private CK_OBJECT_HANDLE find(Session session, long objectClass, String label) {
        CK_OBJECT_HANDLE object = new CK_OBJECT_HANDLE();
        CTUtil.CTU_FindObject(session.handle(), new CK_OBJECT_CLASS(objectClass),
                label.getBytes(StandardCharsets.UTF_8), object).check("no single " + name(new CK_OBJECT_CLASS(objectClass))
                        + " labelled " + label + " (CTU_FindObject)");
        return object;
    }

    private void crypt(Session session, boolean encrypt, String label, Path in, Path to) throws IOException {
        CK_OBJECT_HANDLE key = find(session, CK.CKO_SECRET_KEY, label);
        byte[] input = Files.readAllBytes(in);
        byte[] iv = new byte[16];
        if (encrypt) {
            new SecureRandom().nextBytes(iv);
        } else {
            if (input.length < 16) {
                throw new IOException(in + " is too short for its IV");
            }
            iv = Arrays.copyOf(input, 16);
            input = Arrays.copyOfRange(input, 16, input.length);
        }
        CK_MECHANISM cbc = new CK_MECHANISM(CK.CKM_AES_CBC_PAD, iv);
        LongRef length = new LongRef();
        byte[] output;
        if (encrypt) {
            Cryptoki.C_EncryptInit(session.handle(), cbc, key).check("C_EncryptInit");
            Cryptoki.C_Encrypt(session.handle(), input, null, length).check("C_Encrypt");
            output = new byte[(int) length.value];
            Cryptoki.C_Encrypt(session.handle(), input, output, length).check("C_Encrypt");
        } else {
            Cryptoki.C_DecryptInit(session.handle(), cbc, key).check("C_DecryptInit");
            Cryptoki.C_Decrypt(session.handle(), input, null, length).check("C_Decrypt");
            output = new byte[(int) length.value];
            Cryptoki.C_Decrypt(session.handle(), input, output, length).check("C_Decrypt");
        }
        output = Arrays.copyOf(output, (int) length.value);
        Files.write(to, encrypt ? concat(iv, output) : output);
    }

    private int signOrVerify(Session session, boolean sign, String label, Path in, Path signature)
            throws IOException, GeneralSecurityException {
        byte[] digest = MessageDigest.getInstance("SHA-256").digest(Files.readAllBytes(in));
        CK_MECHANISM ecdsa = new CK_MECHANISM(CK.CKM_ECDSA);
        if (sign) {
            CK_OBJECT_HANDLE key = find(session, CK.CKO_PRIVATE_KEY, label);
            Cryptoki.C_SignInit(session.handle(), ecdsa, key).check("C_SignInit");
            LongRef length = new LongRef();
            Cryptoki.C_Sign(session.handle(), digest, null, length).check("C_Sign");
            byte[] rs = new byte[(int) length.value];
            Cryptoki.C_Sign(session.handle(), digest, rs, length).check("C_Sign");
            Files.write(signature, Arrays.copyOf(rs, (int) length.value));
            return 0;
        }
        CK_OBJECT_HANDLE key = find(session, CK.CKO_PUBLIC_KEY, label);
        Cryptoki.C_VerifyInit(session.handle(), ecdsa, key).check("C_VerifyInit");
        CK_RV rv = Cryptoki.C_Verify(session.handle(), digest, Files.readAllBytes(signature));
        out.println(rv.isOk() ? "verified" : "not verified: " + rv);
        return rv.isOk() ? 0 : 1;
    }

    private void attribute(Session session, String label, String attributeName) {
        CK_ATTRIBUTE_TYPE type = CTUtil.CTU_GetAttributeTypeValue(attributeName.getBytes(StandardCharsets.US_ASCII));
        if (type.m_value == -1) {
            throw new IllegalArgumentException("unknown attribute " + attributeName);
        }
        try (FindObjects search = session.findObjects(
                new CK_ATTRIBUTE(CK.CKA_LABEL, label.getBytes(StandardCharsets.UTF_8)))) {
            // The first of the objects so labelled that has the attribute:
            // a key pair's halves and a secret key may share a label.
            for (CK_OBJECT_HANDLE object : search.all()) {
                CK_ATTRIBUTE read = session.getAttributes(object, type.m_value)[0];
                if (read.valueLen < 0) {
                    continue;
                }
                out.println(read.pValue instanceof byte[] ? HexFormat.of().formatHex(read.bytes())
                        : read.pValue instanceof Object[] ? Arrays.toString((Object[]) read.pValue)
                        : String.valueOf(read.pValue));
                return;
            }
        }
        throw new IllegalArgumentException("no object labelled " + label + " has " + attributeName);
    }

    // ---- names and text ------------------------------------------------------------------

    private static String mechanismName(CK_MECHANISM_TYPE type) {
        byte[] text = new byte[128];
        LongRef length = new LongRef(text.length);
        CTUtil.CTU_GetMechanismTypeString(type, text, length);
        return new String(text, 0, (int) Math.min(length.value, text.length), StandardCharsets.US_ASCII);
    }

    private static String name(Object wrapper) {
        return wrapper.toString();
    }

    private static String text(byte[] field) {
        return new String(field, StandardCharsets.UTF_8).trim();
    }

    private static byte[] concat(byte[] a, byte[] b) {
        byte[] both = Arrays.copyOf(a, a.length + b.length);
        System.arraycopy(b, 0, both, a.length, b.length);
        return both;
    }
}
