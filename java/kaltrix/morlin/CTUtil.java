package kaltrix.morlin;

import kaltrix.morlin.constants.CK_ATTRIBUTE_TYPE;
import kaltrix.morlin.constants.CK_KEY_TYPE;
import kaltrix.morlin.constants.CK_MECHANISM_TYPE;
import kaltrix.morlin.constants.CK_OBJECT_CLASS;
import kaltrix.morlin.constants.CK_RV;
import kaltrix.morlin.constants.CK_STATE;

/**
 * Helpers of the token utility library for Java programs: the names of
 * Cryptoki constants as the library writes them, their values by name, one
 * object found by class and label, one attribute read or written without a
 * template, and the DER of a named curve.
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

    /**
     * Finds the one object of a class whose {@code CKA_LABEL} is
     * {@code label}, and stores its handle in {@code object}.
     *
     * <p>The label is the text without a terminator; a zero byte in it ends
     * it early. The handle is stored only when the answer is {@code CKR_OK}.
     * No such object, or more than one, answers {@code CKR_GENERAL_ERROR}, or
     * what the token library answered to the search. A null {@code object}
     * answers {@code CKR_ARGUMENTS_BAD}.
     *
     * <p>{@code label} must not be null: it is not tested, and the JVM does
     * not survive reading the length of a null array. Every call that gets as
     * far as reading the label keeps {@code label.length + 1} bytes of native
     * memory for good, so do not call it in an unbounded loop.
     */
    public static native CK_RV CTU_FindObject(CK_SESSION_HANDLE session, CK_OBJECT_CLASS objectClass, byte[] label,
            CK_OBJECT_HANDLE object);

    /**
     * Reads one attribute of an object into {@code value}, a Java object of
     * a class that can be written in place: {@code byte[]}, {@code Long},
     * {@code Boolean}, {@link CK_BBOOL}, {@link CK_DATE}, a handle or constant
     * wrapper, or {@code CK_MECHANISM_TYPE[]}. A {@code Long} or
     * {@code Boolean} is changed where it stands, so never pass a shared
     * boxed value such as {@code Long.valueOf(0)}.
     *
     * <p>{@code maxLen} is the number of bytes the token may write, and must
     * not exceed what {@code value} holds: nothing relates the two. With
     * {@code maxLen} 0 the call only asks for the length. On {@code CKR_OK}
     * the attribute's length goes into {@code valueLen} and, unless it was a
     * length query, the value into {@code value}. On any other answer nothing
     * is written; an attribute longer than {@code maxLen} answers
     * {@code CKR_ATTRIBUTE_TYPE_INVALID}, not {@code CKR_BUFFER_TOO_SMALL}. A
     * null {@code valueLen} answers {@code CKR_ARGUMENTS_BAD}.
     */
    public static native CK_RV CTU_GetAttributeValue(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object,
            CK_ATTRIBUTE_TYPE type, Object value, long maxLen, LongRef valueLen);

    /**
     * Writes one attribute of an object: {@code valueLen} bytes of
     * {@code value}, converted as a template value is. The length goes to the
     * token as given, so a {@code Long} with {@code valueLen} 4 is sent as
     * the first four bytes of a {@code CK_ULONG}; it must not exceed the
     * converted value's size.
     */
    public static native CK_RV CTU_SetAttributeValue(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object,
            CK_ATTRIBUTE_TYPE type, Object value, long valueLen);

    /**
     * DER encoding of a named curve's object identifier, for
     * {@code CKA_EC_PARAMS}. The curve name is ASCII ("P-256",
     * "secp256r1", "brainpoolP256r1", "Ed25519", ...).
     *
     * <p>Always answers {@code CKR_OK}; the outcome is in the numbers. A null
     * {@code der} stores the encoding's length in {@code derLen}. Otherwise,
     * if {@code derLen.value} is below {@code der.length}, only
     * {@code der.length} is stored. Else the encoding is written into
     * {@code der} and its length stored; for an array too small, {@code der}
     * stays as it was and the length needed is stored, above
     * {@code der.length}. An unknown curve leaves {@code der} as it was and
     * stores 0 for a null {@code der} and {@code der.length} otherwise; a
     * null or empty {@code curveName} changes nothing.
     */
    public static native CK_RV CTU_DerEncodeNamedCurve(byte[] curveName, byte[] der, LongRef derLen);
}
