package kaltrix.morlin;

import kaltrix.morlin.constants.CK_ATTRIBUTE_TYPE;
import kaltrix.morlin.constants.CK_KEY_TYPE;
import kaltrix.morlin.constants.CK_MECHANISM_TYPE;
import kaltrix.morlin.constants.CK_OBJECT_CLASS;
import kaltrix.morlin.constants.CK_RV;
import kaltrix.morlin.constants.CK_STATE;

/**
 * Helpers of the token utility library for Java programs: the names of
 * Cryptoki constants as the library writes them, and their values by name.
 *
 * <p>The {@code ...String} methods deliver text as {@code byte[]} plus
 * {@link LongRef}: with a null buffer they store the text's length and answer
 * {@code CKR_OK}; with a buffer they copy the text (no terminator) if
 * {@code length.value} is at least its length, answering {@code CKR_OK},
 * and otherwise store the length and answer {@code CKR_DATA_LEN_RANGE}. A
 * null wrapper gives the text "null". Names of values without a table row
 * read "UNKNOWN (0x...)", or "Vendor defined (0x...)" when bit 31 is set.
 *
 * <p>The {@code ...Value} methods take a name in ASCII, with or without its
 * prefix ({@code "CKA_LABEL"} or {@code "LABEL"}), compared exactly, case
 * included; at most 511 bytes are read. A name that matches nothing gives a
 * wrapper holding -1. A null name gives a {@link CK_RV} holding
 * {@code CKR_ARGUMENTS_BAD} in place of the declared result, whatever that
 * is: test the result's class before trusting it when the name can be null.
 * Return values are named by their messages ("buffer too small"), and session
 * states by sentences ("Read Write User Functions", prefix {@code "CKM_"}).
 */
public final class CTUtil {
    static {
        System.loadLibrary("morlin");
    }

    private CTUtil() {
    }

    /** Name of an attribute type ("LABEL"); see the class comment for the buffer rules. */
    public static native CK_RV CTU_GetAttributeTypeString(CK_ATTRIBUTE_TYPE type, byte[] buffer, LongRef length);

    /** Message of a return value ("buffer too small"). */
    public static native CK_RV CTU_GetErrorString(CK_RV rv, byte[] buffer, LongRef length);

    /** Name of a key type ("AES"). */
    public static native CK_RV CTU_GetKeyTypeString(CK_KEY_TYPE keyType, byte[] buffer, LongRef length);

    /** Name of a mechanism type ("AES_CBC"). */
    public static native CK_RV CTU_GetMechanismTypeString(CK_MECHANISM_TYPE mechanism, byte[] buffer,
            LongRef length);

    /** Name of an object class ("SECRET_KEY"). */
    public static native CK_RV CTU_GetObjectClassString(CK_OBJECT_CLASS objectClass, byte[] buffer, LongRef length);

    /** Sentence for a session state ("Read Only Public Session"). */
    public static native CK_RV CTU_GetSessionStateString(CK_STATE state, byte[] buffer, LongRef length);

    /** Attribute type of a name; -1 if none matches. */
    public static native CK_ATTRIBUTE_TYPE CTU_GetAttributeTypeValue(byte[] name);

    /** Return value of a message ("buffer too small", not "CKR_BUFFER_TOO_SMALL"); -1 if none matches. */
    public static native CK_RV CTU_GetErrorValue(byte[] name);

    /** Key type of a name; -1 if none matches. */
    public static native CK_KEY_TYPE CTU_GetKeyTypeValue(byte[] name);

    /** Mechanism type of a name; -1 if none matches. */
    public static native CK_MECHANISM_TYPE CTU_GetMechanismTypeValue(byte[] name);

    /** Object class of a name; -1 if none matches. */
    public static native CK_OBJECT_CLASS CTU_GetObjectClassValue(byte[] name);

    /** Session state of a sentence; -1 if none matches. */
    public static native CK_STATE CTU_GetSessionStateValue(byte[] name);
}
