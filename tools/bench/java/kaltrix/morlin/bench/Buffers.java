package kaltrix.morlin.bench;

/**
 * The Java arrays that a Java driver's operations read and fill, made once
 * per driver so that no loop allocates them. Outputs have exactly the room
 * the operation needs, given up front: no size query is timed.
 */
final class Buffers {
    final byte[] random = new byte[Op.RANDOM];
    final byte[] toSign = new byte[Op.SIGN_INPUT];
    private final byte[] small = new byte[Op.SMALL];
    private final byte[] medium = new byte[Op.MEDIUM];
    private final byte[] large = new byte[Op.LARGE];
    private final byte[] smallOut = new byte[Op.SMALL];
    private final byte[] mediumOut = new byte[Op.MEDIUM];
    private final byte[] largeOut = new byte[Op.LARGE];
    private final byte[] sealed = new byte[Op.MEDIUM + Op.GCM_TAG];

    /** The plaintext of an encryption operation. */
    byte[] input(Op op) {
        switch (op) {
        case EncryptEcb16:
        case EncryptCbc16:
            return small;
        case EncryptEcb1K:
        case EncryptGcm1K:
            return medium;
        case EncryptEcb64K:
            return large;
        default:
            throw new IllegalArgumentException(op + " encrypts nothing");
        }
    }

    /** The room for the ciphertext of an encryption operation: as long as the input, and the tag for GCM. */
    byte[] output(Op op) {
        switch (op) {
        case EncryptEcb16:
        case EncryptCbc16:
            return smallOut;
        case EncryptEcb1K:
            return mediumOut;
        case EncryptGcm1K:
            return sealed;
        case EncryptEcb64K:
            return largeOut;
        default:
            throw new IllegalArgumentException(op + " encrypts nothing");
        }
    }

    /** The length of the ciphertext that the module should report. */
    int encryptedLength(Op op, Fixture fixture) {
        return input(op).length + (op == Op.EncryptGcm1K ? fixture.gcmTagLength() : 0);
    }
}
