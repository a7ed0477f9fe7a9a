package kaltrix.morlin.softhsm;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static kaltrix.morlin.softhsm.SoftHsmToken.openssl;

import java.io.ByteArrayOutputStream;
import java.io.PrintStream;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.HexFormat;
import java.util.List;
import java.util.stream.Stream;
import kaltrix.morlin.tool.Main;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** The command-line tool on SoftHSM2: lists, keys, files encrypted, signed and verified, checked by openssl. */
@Tag("softhsm")
class ToolOnSoftHsmTest {
    @TempDir
    Path dir;
    private String output;

    /** The tool on the provisioned token as its user; the exit status, with standard output kept. */
    private int tool(String... args) {
        ByteArrayOutputStream out = new ByteArrayOutputStream();
        ByteArrayOutputStream err = new ByteArrayOutputStream();
        String[] all = Stream.concat(Stream.of("--label", SoftHsmToken.LABEL, "--pin",
                new String(SoftHsmToken.USER_PIN, StandardCharsets.UTF_8)), Arrays.stream(args)).toArray(String[]::new);
        int status = Main.run(all, new PrintStream(out, true, StandardCharsets.UTF_8),
                new PrintStream(err, true, StandardCharsets.UTF_8));
        output = out.toString(StandardCharsets.UTF_8);
        System.err.print(err.toString(StandardCharsets.UTF_8));  // the tool's own complaints, for a failure's log
        System.err.print(status == 0 ? "" : output);
        return status;
    }

    @Test
    void listsKeysAndFilesRoundTripAndVerifyWithOpenSsl() throws Exception {
        assertEquals(0, tool("mechanisms"));
        assertTrue(output.contains("CKM_AES_CBC_PAD") && output.contains("encrypt,decrypt"), output);
        String name = "tool-" + System.nanoTime();
        assertEquals(0, tool("genkey", "aes", "256", name));
        assertEquals(0, tool("genkey", "ec", "P-256", name));
        assertEquals(0, tool("objects"));
        assertEquals(3, output.lines().filter(l -> l.endsWith(" " + name)).count(), output);

        Path plain = Files.write(dir.resolve("plain"), new byte[1000]);
        Path sealed = dir.resolve("sealed");
        Path opened = dir.resolve("opened");
        assertEquals(0, tool("encrypt", name, plain.toString(), sealed.toString()));
        assertEquals(16 + 1008, Files.size(sealed));
        assertEquals(0, tool("decrypt", name, sealed.toString(), opened.toString()));
        assertArrayEquals(Files.readAllBytes(plain), Files.readAllBytes(opened));

        Path signature = dir.resolve("signature");
        assertEquals(0, tool("sign", name, plain.toString(), signature.toString()));
        assertEquals(0, tool("verify", name, plain.toString(), signature.toString()));
        byte[] rs = Files.readAllBytes(signature);
        assertEquals(0, tool("attribute", name, "CKA_EC_PARAMS"));
        byte[] params = HexFormat.of().parseHex(output.trim());
        assertEquals(0, tool("attribute", name, "CKA_EC_POINT"));
        byte[] point = HexFormat.of().parseHex(output.trim());
        Path key = Files.write(dir.resolve("key.der"), Der.ecPublicKey(params, Arrays.copyOfRange(point, 2, point.length)));
        Path der = Files.write(dir.resolve("signature.der"), Der.ecdsaSignature(rs));
        assertEquals("Verified OK\n", new String(openssl(Files.readAllBytes(plain), "dgst", "-sha256", "-keyform",
                "DER", "-verify", key.toString(), "-signature", der.toString()), StandardCharsets.US_ASCII));
        rs[5] ^= 1;
        Files.write(signature, rs);
        assertEquals(1, tool("verify", name, plain.toString(), signature.toString()));
    }

    @Test
    void helpAndUsageErrors() {
        assertEquals(0, tool("--help"));
        assertTrue(output.startsWith("usage: "), output);
        for (List<String> wrong : List.of(List.of("bogus"), List.of("genkey", "rsa", "1", "x"), List.of("sign", "a"))) {
            assertEquals(2, tool(wrong.toArray(String[]::new)), wrong.toString());
        }
        assertEquals(1, tool("sign", "no-such-key", "/dev/null", dir.resolve("s").toString()));
    }
}
