package kaltrix.morlin.softhsm;

import java.io.ByteArrayOutputStream;
import java.math.BigInteger;
import java.util.Arrays;
import java.util.HexFormat;

/** The few DER structures the tests hand to openssl: elements, integers, EC public keys. */
final class Der {
    /** id-ecPublicKey. */
    static final byte[] EC_PUBLIC_KEY = HexFormat.of().parseHex("06072A8648CE3D0201");

    private Der() {
    }

    /** A DER element: tag, definite length (below 64 KiB), the parts one after another. */
    static byte[] element(int tag, byte[]... parts) {
        byte[] body = concat(parts);
        int n = body.length;
        byte[] head = n < 0x80 ? new byte[] {(byte) tag, (byte) n} : n < 0x100
                ? new byte[] {(byte) tag, (byte) 0x81, (byte) n} : new byte[] {(byte) tag, (byte) 0x82,
                    (byte) (n >> 8), (byte) n};
        return concat(head, body);
    }

    /** An unsigned big-endian number as a DER INTEGER. */
    static byte[] integer(byte[] unsigned) {
        return element(0x02, new BigInteger(1, unsigned).toByteArray());
    }

    /** The SubjectPublicKeyInfo of an EC key: its CKA_EC_PARAMS and the uncompressed point. */
    static byte[] ecPublicKey(byte[] ecParams, byte[] point) {
        return element(0x30, element(0x30, EC_PUBLIC_KEY, ecParams), element(0x03, new byte[1], point));
    }

    /** An ECDSA signature as the token gives it (r then s, each half) in DER. */
    static byte[] ecdsaSignature(byte[] rs) {
        int half = rs.length / 2;
        return element(0x30, integer(Arrays.copyOf(rs, half)), integer(Arrays.copyOfRange(rs, half, rs.length)));
    }

    static byte[] concat(byte[]... parts) {
        ByteArrayOutputStream out = new ByteArrayOutputStream();
        Arrays.stream(parts).forEach(out::writeBytes);
        return out.toByteArray();
    }
}
