package kaltrix.morlin.bench;

/**
 * What the drivers share on the token: the slot, the user PIN, and the
 * objects that the morlin driver made once for all three (token objects,
 * so that every session sees them).
 *
 * @param slot the token's slot
 * @param pin the user PIN
 * @param aesKey an AES-128 key that may encrypt
 * @param rsaKey the private key of an RSA-2048 pair that may sign
 * @param labelLength the length of the AES key's label
 * @param gcmTagLength the bytes that AES-GCM adds to the ciphertext: 16 on a
 *        real token, none from the null module, which copies its input
 * @param keyLabel the label that GenerateKey6 gives each key
 */
record Fixture(long slot, byte[] pin, long aesKey, long rsaKey, int labelLength, int gcmTagLength, byte[] keyLabel) {
}
