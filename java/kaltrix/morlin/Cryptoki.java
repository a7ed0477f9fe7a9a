package kaltrix.morlin;

import java.nio.charset.StandardCharsets;
import java.util.Arrays;
import kaltrix.morlin.constants.CK_MECHANISM_TYPE;
import kaltrix.morlin.constants.CK_RV;
import kaltrix.morlin.constants.CK_USER_TYPE;

/**
 * The Cryptoki functions of the token library, as static native methods.
 *
 * <p>Each method returns a {@link CK_RV} holding the token library's answer, or
 * a code made up on this side for a missing argument ({@code CKR_ARGUMENTS_BAD}).
 * Java-side failures, such as a class that cannot be found or an out-of-memory
 * condition, are not turned into codes but propagate as exceptions. Call
 * {@link #C_Initialize} first and {@link #C_Finalize} last; in between, calls
 * may come from any number of threads, under the locking set up by
 * {@code C_Initialize}.
 *
 * <p>A count that travels beside an array goes to the token library as it
 * is given: one larger than the array makes the token library read or write
 * past the copy of it. Every native that takes an array and its count
 * therefore has an overload without the count, which passes the array's
 * length; prefer those.
 */
public final class Cryptoki {
    static {
        System.loadLibrary("morlin");
    }

    private Cryptoki() {
    }

    /**
     * Initialises the token library.
     *
     * <p>With null, the token library gets no arguments, which PKCS#11 takes to
     * mean that the application will not call it from several threads at once.
     * With arguments that hold at least one mutex callback, they are kept, and
     * their callbacks are served, until a {@link #C_Finalize} succeeds; any
     * {@code C_Initialize} while they are kept, including a retry after a
     * failure, reaches the token library without arguments, which then usually
     * answers {@code CKR_CRYPTOKI_ALREADY_INITIALIZED}. Arguments without
     * callbacks pass only their flags and are not kept.
     *
     * @param pInitArgs initialisation arguments, or null
     * @return the token library's result
     */
    public static native CK_RV C_Initialize(CK_C_INITIALIZE_ARGS pInitArgs);

    /**
     * Finalises the token library. On {@code CKR_OK} the arguments kept by
     * {@link #C_Initialize} are released; on any other result they stay. An
     * exception thrown by a {@code DestroyMutex} callback during the call
     * propagates.
     *
     * @param pReserved must be null; its reference is handed to the token
     *        library unconverted, where PKCS#11 expects {@code NULL_PTR}
     * @return the token library's result
     */
    public static native CK_RV C_Finalize(Object pReserved);

    /**
     * Reads general information about the token library. On {@code CKR_OK} the
     * fields of {@code pInfo} are replaced by new objects; otherwise it is left
     * untouched. A Java exception raised while copying propagates.
     *
     * @param pInfo receives the information; null gives {@code CKR_ARGUMENTS_BAD}
     *        without calling the token library
     * @return the token library's result
     */
    public static native CK_RV C_GetInfo(CK_INFO pInfo);

    /**
     * Legacy function for sessions running in parallel with the application;
     * PKCS#11 libraries answer {@code CKR_FUNCTION_NOT_PARALLEL}. A Java
     * exception raised on the way propagates.
     *
     * @param hSession the session; null is not rejected but reaches the token
     *        library as the handle with all bits set
     * @return the token library's result
     */
    public static native CK_RV C_GetFunctionStatus(CK_SESSION_HANDLE hSession);

    /**
     * Legacy function to cancel a function running in parallel with the
     * application; PKCS#11 libraries answer {@code CKR_FUNCTION_NOT_PARALLEL}.
     * A Java exception raised on the way propagates.
     *
     * @param hSession the session; null is not rejected but reaches the token
     *        library as the handle with all bits set
     * @return the token library's result
     */
    public static native CK_RV C_CancelFunction(CK_SESSION_HANDLE hSession);

    // ---- slots, tokens and mechanisms ----------------------------------------

    /**
     * Lists slots. With {@code pSlotList} null this is the size query: the
     * number of slots comes back in {@code pulCount}. Otherwise
     * {@code pulCount.value} tells the token library how many ids it may
     * deliver; the ids that fit into the array are copied, and
     * {@code pulCount} receives the number the token library reported, on
     * every result. On {@code CKR_BUFFER_TOO_SMALL} the array is untouched.
     *
     * @param tokenPresent true to list only slots with a token present
     * @param pSlotList receives the slot ids, or null
     * @param pulCount in: room in the list; out: the number of slots. Null gives
     *        {@code CKR_ARGUMENTS_BAD} without calling the token library
     * @return the token library's result
     */
    public static native CK_RV C_GetSlotList(boolean tokenPresent, long[] pSlotList, LongRef pulCount);

    /**
     * Reads information about a slot. On {@code CKR_OK} the fields of
     * {@code pInfo} are replaced by new objects; otherwise it is left untouched.
     *
     * @param slotID the slot
     * @param pInfo receives the information; null gives {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_GetSlotInfo(long slotID, CK_SLOT_INFO pInfo);

    /**
     * Reads information about the token in a slot. On {@code CKR_OK} the
     * fields of {@code pInfo} are replaced by new objects, the text fields
     * with their blank padding; otherwise it is left untouched.
     *
     * @param slotID the slot
     * @param pInfo receives the information; null gives {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_GetTokenInfo(long slotID, CK_TOKEN_INFO pInfo);

    /**
     * Waits for a slot event, or with {@code CKF_DONT_BLOCK} polls for one.
     * Only on {@code CKR_OK} is the slot written; {@code CKR_NO_EVENT} leaves
     * {@code pSlot} as it was. Blocking calls hold the calling thread inside
     * the token library for as long as it chooses.
     *
     * @param flags 0 or {@code CKF_DONT_BLOCK}
     * @param pSlot receives the slot of the event; its value is not read. Null
     *        gives {@code CKR_ARGUMENTS_BAD}
     * @param pReserved must be null; its reference is handed to the token
     *        library unconverted, where PKCS#11 expects {@code NULL_PTR}
     * @return the token library's result
     */
    public static native CK_RV C_WaitForSlotEvent(long flags, LongRef pSlot, Object pReserved);

    /**
     * Lists the mechanism types of a token, under the same size-query rules as
     * {@link #C_GetSlotList}. No wrapper is created: the array must come filled
     * with {@link CK_MECHANISM_TYPE} objects, whose values are replaced.
     *
     * @param slotID the slot
     * @param pMechanismList wrappers to receive the types, or null for the size query
     * @param pulCount in: room in the list; out: the number of types. Null gives
     *        {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_GetMechanismList(long slotID, CK_MECHANISM_TYPE[] pMechanismList, LongRef pulCount);

    /**
     * Reads information about one mechanism of a token. On {@code CKR_OK} the
     * fields of {@code pInfo} are set; otherwise it is left untouched.
     *
     * @param slotID the slot
     * @param type the mechanism; null reaches the token library as -1
     * @param pInfo receives the information; null gives {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_GetMechanismInfo(long slotID, CK_MECHANISM_TYPE type, CK_MECHANISM_INFO pInfo);

    /**
     * Initialises a token. Neither the PIN nor the label is padded or measured
     * here: the token library reads {@code ulPinLen} bytes of the PIN and 32
     * bytes of the label.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param slotID the slot
     * @param pPin the security officer's PIN; null with a length of 0 or less
     *        is the protected-path case, null with a positive length gives
     *        {@code CKR_ARGUMENTS_BAD}
     * @param ulPinLen the PIN length handed to the token library
     * @param pLabel the label, 32 blank-padded bytes; not checked
     * @return the token library's result
     */
    public static native CK_RV C_InitToken(long slotID, byte[] pPin, long ulPinLen, byte[] pLabel);

    /**
     * Sets the normal user's PIN, from a security officer's session.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pPin the new PIN; null with a positive length gives
     *        {@code CKR_ARGUMENTS_BAD}, null with a length of 0 is the
     *        protected-path case
     * @param ulPinLen the PIN length handed to the token library
     * @return the token library's result
     */
    public static native CK_RV C_InitPIN(CK_SESSION_HANDLE hSession, byte[] pPin, long ulPinLen);

    /**
     * Changes the PIN of the user logged in to the session. Both PINs are
     * checked before anything else.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pOldPin the current PIN; null with a positive length gives
     *        {@code CKR_ARGUMENTS_BAD}
     * @param ulOldLen its length
     * @param pNewPin the new PIN; null with a positive length gives
     *        {@code CKR_ARGUMENTS_BAD}
     * @param ulNewLen its length
     * @return the token library's result
     */
    public static native CK_RV C_SetPIN(CK_SESSION_HANDLE hSession, byte[] pOldPin, long ulOldLen, byte[] pNewPin, long ulNewLen);

    // ---- sessions, login and operation state ------------------------------------

    /**
     * Opens a session. On {@code CKR_OK} the new handle is stored in
     * {@code phSession}; on any other result it keeps its old value.
     *
     * <p>{@code pApplication} and {@code notify} are declared as plain objects
     * and reach the token library as raw references: no notification callback
     * is ever delivered to Java, so pass null for both.
     *
     * @param slotID the slot
     * @param flags {@code CKF_SERIAL_SESSION}, and {@code CKF_RW_SESSION} for a
     *        read/write session
     * @param pApplication null
     * @param notify null
     * @param phSession receives the handle; null gives {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_OpenSession(long slotID, long flags, Object pApplication, Object notify, CK_SESSION_HANDLE phSession);

    /**
     * Closes a session. The wrapper keeps its value afterwards; a later call
     * with it gets the token library's error.
     *
     * @param hSession the session; null reaches the token library as the
     *        handle with all bits set
     * @return the token library's result
     */
    public static native CK_RV C_CloseSession(CK_SESSION_HANDLE hSession);

    /**
     * Closes all sessions of the application with a slot.
     *
     * @param slotID the slot
     * @return the token library's result
     */
    public static native CK_RV C_CloseAllSessions(long slotID);

    /**
     * Reads information about a session. On {@code CKR_OK} the fields of
     * {@code pInfo} are set, and the {@link kaltrix.morlin.constants.CK_STATE}
     * object in its {@code state} field, which must not be null, gets the new
     * value in place.
     *
     * @param hSession the session
     * @param pInfo receives the information; null gives {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_GetSessionInfo(CK_SESSION_HANDLE hSession, CK_SESSION_INFO pInfo);

    /**
     * Saves the state of the session's running operations as opaque bytes.
     * With {@code pOperationState} null this is the size query. The length is
     * written back on every result, the bytes only on {@code CKR_OK}.
     *
     * @param hSession the session
     * @param pOperationState receives the state, or null
     * @param pulOperationStateLen in: room for the state; out: its length. Null
     *        gives {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_GetOperationState(CK_SESSION_HANDLE hSession, byte[] pOperationState, LongRef pulOperationStateLen);

    /**
     * Restores a saved operation state.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pOperationState the saved state; null gives {@code CKR_ARGUMENTS_BAD}
     * @param ulOperationStateLen the length handed to the token library; 0 gives
     *        {@code CKR_ARGUMENTS_BAD}
     * @param hEncryptionKey the encryption key, or a handle holding 0 for none
     *        (null reaches the token library as -1, not as 0)
     * @param hAuthenticationKey the authentication key, or a handle holding 0
     *        for none
     * @return the token library's result
     */
    public static native CK_RV C_SetOperationState(CK_SESSION_HANDLE hSession, byte[] pOperationState, long ulOperationStateLen, CK_OBJECT_HANDLE hEncryptionKey, CK_OBJECT_HANDLE hAuthenticationKey);

    /**
     * Logs a user in to the token.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param userType {@code CKU_SO}, {@code CKU_USER} or
     *        {@code CKU_CONTEXT_SPECIFIC}; null reaches the token library as -1
     * @param pPin the PIN; null with a length of 0 is the protected-path login,
     *        null with a positive length gives {@code CKR_ARGUMENTS_BAD}
     * @param ulPinLen the PIN length handed to the token library
     * @return the token library's result
     */
    public static native CK_RV C_Login(CK_SESSION_HANDLE hSession, CK_USER_TYPE userType, byte[] pPin, long ulPinLen);

    /**
     * Logs the user out of the token.
     *
     * @param hSession the session
     * @return the token library's result
     */
    public static native CK_RV C_Logout(CK_SESSION_HANDLE hSession);

    // ---- objects -------------------------------------------------------------------

    /**
     * Creates an object from a template. On {@code CKR_OK} the new handle is
     * stored in {@code phObject}; on any other result it keeps its old value.
     *
     * <p>The token library sees {@code ulCount}, not the array's length, as
     * the number of attributes: keep the two equal. Each attribute's
     * {@code valueLen} is the length the token library sees (see
     * {@link CK_ATTRIBUTE}). A value of a class that cannot be converted
     * raises {@link UnsupportedOperationException} before the token library is
     * called.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pTemplate the attributes; null with a positive count gives
     *        {@code CKR_ARGUMENTS_BAD}, null with 0 is an empty template
     * @param ulCount the number of attributes handed to the token library
     * @param phObject receives the handle; null gives {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_CreateObject(CK_SESSION_HANDLE hSession, CK_ATTRIBUTE[] pTemplate, long ulCount, CK_OBJECT_HANDLE phObject);

    /**
     * Copies an object, changing the attributes of the template. On
     * {@code CKR_OK} the copy's handle is stored in {@code phNewObject}.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param hObject the object to copy
     * @param pTemplate the attributes to change; null with a positive count
     *        gives {@code CKR_ARGUMENTS_BAD}
     * @param ulCount the number of attributes handed to the token library
     * @param phNewObject receives the handle; null gives {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_CopyObject(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject, CK_ATTRIBUTE[] pTemplate, long ulCount, CK_OBJECT_HANDLE phNewObject);

    /**
     * Destroys an object.
     *
     * @param hSession the session
     * @param hObject the object
     * @return the token library's result
     */
    public static native CK_RV C_DestroyObject(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject);

    /**
     * Reads the size of an object in bytes. On {@code CKR_OK} the size is
     * stored in {@code pulSize}; on any other result it keeps its old value.
     *
     * @param hSession the session
     * @param hObject the object
     * @param pulSize receives the size; null gives {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_GetObjectSize(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject, LongRef pulSize);

    /**
     * Reads attribute values into the template, whatever the result.
     *
     * <p>Every attribute, up to {@code ulCount}, gets the length the token
     * library reported in {@code valueLen}, and its value wherever the token
     * library delivered one into a value object of a class that can be written
     * in place. So with {@code CKR_ATTRIBUTE_SENSITIVE},
     * {@code CKR_ATTRIBUTE_TYPE_INVALID} or {@code CKR_BUFFER_TOO_SMALL} the
     * attributes that could be read are delivered, and each of the others has
     * {@code valueLen} -1 ({@code CK_UNAVAILABLE_INFORMATION}).
     *
     * <p>A variable-length value is read in two calls: first with a null
     * value ({@link CK_ATTRIBUTE#CK_ATTRIBUTE(long)}), which
     * sets {@code valueLen} to the size; then with a {@code byte[]} of that
     * size. A {@code byte[]} shorter than the answer receives what fits and
     * {@code valueLen} tells the true size. Scalar values (a private
     * {@code Long}, a {@code CK_BBOOL}, a wrapper of a constant class) need no
     * first call. A value class that cannot be written in place, such as
     * {@code String}, raises {@link UnsupportedOperationException} once the
     * token library has delivered a value for it, and the result is lost.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param hObject the object
     * @param pTemplate the attributes to read; null with a positive count
     *        gives {@code CKR_ARGUMENTS_BAD}
     * @param ulCount the number of attributes handed to the token library
     * @return the token library's result
     */
    public static native CK_RV C_GetAttributeValue(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject, CK_ATTRIBUTE[] pTemplate, long ulCount);

    /**
     * Changes attribute values of an object. Nothing is written back.
     *
     * <p>A null {@code hObject} reaches the token library as the handle with
     * all bits set. A Java exception raised while reading {@code hObject}
     * propagates only after the token library has been called.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param hObject the object
     * @param pTemplate the new values; null with a positive count gives
     *        {@code CKR_ARGUMENTS_BAD}
     * @param ulCount the number of attributes handed to the token library
     * @return the token library's result
     */
    public static native CK_RV C_SetAttributeValue(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject, CK_ATTRIBUTE[] pTemplate, long ulCount);

    /**
     * Starts a search for the objects that match a template.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pTemplate the attributes to match; null with a count of 0 matches
     *        every object, null with a positive count gives
     *        {@code CKR_ARGUMENTS_BAD}
     * @param ulCount the number of attributes handed to the token library
     * @return the token library's result
     */
    public static native CK_RV C_FindObjectsInit(CK_SESSION_HANDLE hSession, CK_ATTRIBUTE[] pTemplate, long ulCount);

    /**
     * Continues a search. {@code pulObjectCount} gets the number of handles
     * found whatever the result; on {@code CKR_OK} they are stored in the
     * {@code CK_OBJECT_HANDLE} objects that {@code phObject} already holds,
     * as many as it holds (no element is created, a null element is skipped).
     * Call again until the count is 0.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param phObject handles to fill, or null with {@code ulMaxObjectCount} 0;
     *        null with a positive maximum gives {@code CKR_ARGUMENTS_BAD}
     * @param ulMaxObjectCount the most handles the token library may return;
     *        keep it at most the array's length, or found handles are lost
     * @param pulObjectCount receives the count; null gives
     *        {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_FindObjects(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE[] phObject, long ulMaxObjectCount, LongRef pulObjectCount);

    /**
     * Ends a search.
     *
     * @param hSession the session
     * @return the token library's result
     */
    public static native CK_RV C_FindObjectsFinal(CK_SESSION_HANDLE hSession);

    // ---- encryption and decryption ------------------------------------------------

    /**
     * Starts an encryption. The mechanism's {@code parameterLen} is the
     * parameter length the token library sees (see {@link CK_MECHANISM}); a
     * parameter of a class that cannot be converted raises
     * {@link UnsupportedOperationException} before the token library is
     * called.
     *
     * <p>On {@code CKR_OK}, results that the token library leaves in the
     * parameter are copied back into the parameter object, such as the
     * initialisation vector that a token generates for {@code CKM_AES_GCM}
     * into {@link kaltrix.morlin.params.CK_GCM_PARAMS#pIv}. On any other
     * result the parameter object is left untouched. A Java exception raised
     * while copying back propagates, although the operation has started in
     * the token library.
     *
     * @param hSession the session
     * @param pMechanism the mechanism; null gives {@code CKR_ARGUMENTS_BAD}
     *        without calling the token library
     * @param hKey the key; null is not rejected but reaches the token library
     *        as the handle with all bits set
     * @return the token library's result
     */
    public static native CK_RV C_EncryptInit(CK_SESSION_HANDLE hSession, CK_MECHANISM pMechanism, CK_OBJECT_HANDLE hKey);

    /**
     * Encrypts single-part data. With {@code pEncryptedData} null this is the
     * size query: the length of the result comes back in
     * {@code pulEncryptedDataLen}. Otherwise the token library gets room for
     * {@code pulEncryptedDataLen.value} bytes, whatever the array's length, so
     * set it to the array's length. The length is written back on every
     * result, the bytes only on {@code CKR_OK}, as many as the array holds. On
     * {@code CKR_BUFFER_TOO_SMALL} the array is untouched and
     * {@code pulEncryptedDataLen} holds the length needed.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pData the data; null or empty reaches the token library as a null
     *        pointer
     * @param ulDataLen the data length handed to the token library; not
     *        compared with the array, so keep it at most the array's length
     * @param pEncryptedData receives the encrypted data, or null for the size
     *        query
     * @param pulEncryptedDataLen in: room for the encrypted data; out: its
     *        length. Null gives {@code CKR_ARGUMENTS_BAD} without calling the
     *        token library
     * @return the token library's result
     */
    public static native CK_RV C_Encrypt(CK_SESSION_HANDLE hSession, byte[] pData, long ulDataLen, byte[] pEncryptedData, LongRef pulEncryptedDataLen);

    /**
     * Continues a multiple-part encryption, under the size-query and output
     * rules of {@link #C_Encrypt}.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pPart the data part; null or empty reaches the token library as a
     *        null pointer
     * @param ulPartLen the part length handed to the token library; keep it at
     *        most the array's length
     * @param pEncryptedPart receives the encrypted part, or null for the size
     *        query
     * @param pulEncryptedPartLen in: room for the encrypted part; out: its
     *        length. Null gives {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_EncryptUpdate(CK_SESSION_HANDLE hSession, byte[] pPart, long ulPartLen, byte[] pEncryptedPart, LongRef pulEncryptedPartLen);

    /**
     * Finishes a multiple-part encryption, under the size-query and output
     * rules of {@link #C_Encrypt}.
     *
     * @param hSession the session
     * @param pLastEncryptedPart receives the last encrypted part, or null for
     *        the size query
     * @param pulLastEncryptedPartLen in: room for the last part; out: its
     *        length. Null gives {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_EncryptFinal(CK_SESSION_HANDLE hSession, byte[] pLastEncryptedPart, LongRef pulLastEncryptedPartLen);

    /**
     * Starts a decryption. The mechanism is converted as for
     * {@link #C_EncryptInit}, but nothing is copied back: the parameter object
     * is left as it is.
     *
     * @param hSession the session
     * @param pMechanism the mechanism; null gives {@code CKR_ARGUMENTS_BAD}
     * @param hKey the key; null reaches the token library as the handle with
     *        all bits set
     * @return the token library's result
     */
    public static native CK_RV C_DecryptInit(CK_SESSION_HANDLE hSession, CK_MECHANISM pMechanism, CK_OBJECT_HANDLE hKey);

    /**
     * Decrypts single-part data, under the size-query and output rules of
     * {@link #C_Encrypt}.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pEncryptedData the encrypted data; null or empty reaches the token
     *        library as a null pointer
     * @param ulEncryptedDataLen the length handed to the token library; keep it
     *        at most the array's length
     * @param pData receives the data, or null for the size query
     * @param pulDataLen in: room for the data; out: its length. Null gives
     *        {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_Decrypt(CK_SESSION_HANDLE hSession, byte[] pEncryptedData, long ulEncryptedDataLen, byte[] pData, LongRef pulDataLen);

    /**
     * Continues a multiple-part decryption, under the size-query and output
     * rules of {@link #C_Encrypt}.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pEncryptedPart the encrypted part; null or empty reaches the token
     *        library as a null pointer
     * @param ulEncryptedPartLen the length handed to the token library; keep it
     *        at most the array's length
     * @param pPart receives the decrypted part, or null for the size query
     * @param pulPartLen in: room for the part; out: its length. Null gives
     *        {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_DecryptUpdate(CK_SESSION_HANDLE hSession, byte[] pEncryptedPart, long ulEncryptedPartLen, byte[] pPart, LongRef pulPartLen);

    /**
     * Finishes a multiple-part decryption, under the size-query and output
     * rules of {@link #C_Encrypt}.
     *
     * @param hSession the session
     * @param pLastPart receives the last decrypted part, or null for the size
     *        query
     * @param pulLastPartLen in: room for the last part; out: its length. Null
     *        gives {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_DecryptFinal(CK_SESSION_HANDLE hSession, byte[] pLastPart, LongRef pulLastPartLen);

    // ---- message digests ----------------------------------------------------------

    /**
     * Starts a message digest. The parameter object, if any, is left as it is.
     *
     * @param hSession the session
     * @param pMechanism the mechanism; null gives {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_DigestInit(CK_SESSION_HANDLE hSession, CK_MECHANISM pMechanism);

    /**
     * Digests single-part data, under the size-query and output rules of
     * {@link #C_Encrypt}.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pData the data; null or empty reaches the token library as a null
     *        pointer
     * @param ulDataLen the length handed to the token library; keep it at most
     *        the array's length
     * @param pDigest receives the digest, or null for the size query
     * @param pulDigestLen in: room for the digest; out: its length. Null gives
     *        {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_Digest(CK_SESSION_HANDLE hSession, byte[] pData, long ulDataLen, byte[] pDigest, LongRef pulDigestLen);

    /**
     * Continues a multiple-part digest. Nothing is checked: a null part
     * reaches the token library as a null pointer with {@code ulPartLen}.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pPart the data part; null or empty reaches the token library as a
     *        null pointer
     * @param ulPartLen the length handed to the token library; keep it at most
     *        the array's length
     * @return the token library's result
     */
    public static native CK_RV C_DigestUpdate(CK_SESSION_HANDLE hSession, byte[] pPart, long ulPartLen);

    /**
     * Continues a multiple-part digest with the value of a secret key.
     *
     * @param hSession the session
     * @param hKey the key; null reaches the token library as the handle with
     *        all bits set
     * @return the token library's result
     */
    public static native CK_RV C_DigestKey(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hKey);

    /**
     * Finishes a multiple-part digest, under the size-query and output rules
     * of {@link #C_Encrypt}.
     *
     * @param hSession the session
     * @param pDigest receives the digest, or null for the size query
     * @param pulDigestLen in: room for the digest; out: its length. Null gives
     *        {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_DigestFinal(CK_SESSION_HANDLE hSession, byte[] pDigest, LongRef pulDigestLen);

    // ---- signatures and verification ----------------------------------------------

    /**
     * Starts a signature or MAC. The mechanism is converted as for
     * {@link #C_EncryptInit}, but nothing is copied back: the parameter object
     * is left as it is.
     *
     * @param hSession the session
     * @param pMechanism the mechanism; null gives {@code CKR_ARGUMENTS_BAD}
     * @param hKey the signing key; null reaches the token library as the handle
     *        with all bits set
     * @return the token library's result
     */
    public static native CK_RV C_SignInit(CK_SESSION_HANDLE hSession, CK_MECHANISM pMechanism, CK_OBJECT_HANDLE hKey);

    /**
     * Signs single-part data, under the size-query and output rules of
     * {@link #C_Encrypt}.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pData the data; null or empty reaches the token library as a null
     *        pointer
     * @param ulDataLen the length handed to the token library; keep it at most
     *        the array's length
     * @param pSignature receives the signature, or null for the size query
     * @param pulSignatureLen in: room for the signature; out: its length. Null
     *        gives {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_Sign(CK_SESSION_HANDLE hSession, byte[] pData, long ulDataLen, byte[] pSignature, LongRef pulSignatureLen);

    /**
     * Continues a multiple-part signature. Nothing is checked: a null part
     * reaches the token library as a null pointer with {@code ulPartLen}.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pPart the data part; null or empty reaches the token library as a
     *        null pointer
     * @param ulPartLen the length handed to the token library; keep it at most
     *        the array's length
     * @return the token library's result
     */
    public static native CK_RV C_SignUpdate(CK_SESSION_HANDLE hSession, byte[] pPart, long ulPartLen);

    /**
     * Finishes a multiple-part signature, under the size-query and output
     * rules of {@link #C_Encrypt}.
     *
     * @param hSession the session
     * @param pSignature receives the signature, or null for the size query
     * @param pulSignatureLen in: room for the signature; out: its length. Null
     *        gives {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_SignFinal(CK_SESSION_HANDLE hSession, byte[] pSignature, LongRef pulSignatureLen);

    /**
     * Starts a signature from which the data can be recovered. The mechanism
     * is converted as for {@link #C_EncryptInit}, but nothing is copied back.
     *
     * @param hSession the session
     * @param pMechanism the mechanism; null gives {@code CKR_ARGUMENTS_BAD}
     * @param hKey the signing key; null reaches the token library as the handle
     *        with all bits set
     * @return the token library's result
     */
    public static native CK_RV C_SignRecoverInit(CK_SESSION_HANDLE hSession, CK_MECHANISM pMechanism, CK_OBJECT_HANDLE hKey);

    /**
     * Signs data so that it can be recovered from the signature, under the
     * size-query and output rules of {@link #C_Encrypt}.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pData the data; null or empty reaches the token library as a null
     *        pointer
     * @param ulDataLen the length handed to the token library; keep it at most
     *        the array's length
     * @param pSignature receives the signature, or null for the size query
     * @param pulSignatureLen in: room for the signature; out: its length. Null
     *        gives {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_SignRecover(CK_SESSION_HANDLE hSession, byte[] pData, long ulDataLen, byte[] pSignature, LongRef pulSignatureLen);

    /**
     * Starts a verification of a signature or MAC. The mechanism is converted
     * as for {@link #C_EncryptInit}, but nothing is copied back.
     *
     * @param hSession the session
     * @param pMechanism the mechanism; null gives {@code CKR_ARGUMENTS_BAD}
     * @param hKey the verification key; null reaches the token library as the
     *        handle with all bits set
     * @return the token library's result
     */
    public static native CK_RV C_VerifyInit(CK_SESSION_HANDLE hSession, CK_MECHANISM pMechanism, CK_OBJECT_HANDLE hKey);

    /**
     * Verifies a signature on single-part data. Nothing is checked: a null
     * array reaches the token library as a null pointer with its length. A
     * signature that does not verify is a result such as
     * {@code CKR_SIGNATURE_INVALID} or {@code CKR_SIGNATURE_LEN_RANGE}, not an
     * exception.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pData the data; null or empty reaches the token library as a null
     *        pointer
     * @param ulDataLen the length handed to the token library; keep it at most
     *        the array's length
     * @param pSignature the signature; null or empty reaches the token library
     *        as a null pointer
     * @param ulSignatureLen the length handed to the token library; keep it at
     *        most the array's length
     * @return the token library's result
     */
    public static native CK_RV C_Verify(CK_SESSION_HANDLE hSession, byte[] pData, long ulDataLen, byte[] pSignature, long ulSignatureLen);

    /**
     * Continues a multiple-part verification. Nothing is checked: a null part
     * reaches the token library as a null pointer with {@code ulPartLen}.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pPart the data part; null or empty reaches the token library as a
     *        null pointer
     * @param ulPartLen the length handed to the token library; keep it at most
     *        the array's length
     * @return the token library's result
     */
    public static native CK_RV C_VerifyUpdate(CK_SESSION_HANDLE hSession, byte[] pPart, long ulPartLen);

    /**
     * Finishes a multiple-part verification. A signature that does not verify
     * is a result such as {@code CKR_SIGNATURE_INVALID}, not an exception.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pSignature the signature; null or empty reaches the token library
     *        as a null pointer
     * @param ulSignatureLen the length handed to the token library; keep it at
     *        most the array's length
     * @return the token library's result
     */
    public static native CK_RV C_VerifyFinal(CK_SESSION_HANDLE hSession, byte[] pSignature, long ulSignatureLen);

    /**
     * Starts a verification that recovers the data from the signature. The
     * mechanism is converted as for {@link #C_EncryptInit}, but nothing is
     * copied back.
     *
     * @param hSession the session
     * @param pMechanism the mechanism; null gives {@code CKR_ARGUMENTS_BAD}
     * @param hKey the verification key; null reaches the token library as the
     *        handle with all bits set
     * @return the token library's result
     */
    public static native CK_RV C_VerifyRecoverInit(CK_SESSION_HANDLE hSession, CK_MECHANISM pMechanism, CK_OBJECT_HANDLE hKey);

    /**
     * Verifies a signature and recovers the signed data, under the size-query
     * and output rules of {@link #C_Encrypt}.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pSignature the signature; null or empty reaches the token library
     *        as a null pointer
     * @param ulSignatureLen the length handed to the token library; keep it at
     *        most the array's length
     * @param pData receives the recovered data, or null for the size query
     * @param pulDataLen in: room for the data; out: its length. Null gives
     *        {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_VerifyRecover(CK_SESSION_HANDLE hSession, byte[] pSignature, long ulSignatureLen, byte[] pData, LongRef pulDataLen);

    // ---- dual-function operations -------------------------------------------------

    /**
     * Continues a digest and an encryption with the same part, under the
     * size-query and output rules of {@link #C_Encrypt}.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pPart the data part; null or empty reaches the token library as a
     *        null pointer
     * @param ulPartLen the length handed to the token library; keep it at most
     *        the array's length
     * @param pEncryptedPart receives the encrypted part, or null for the size
     *        query
     * @param pulEncryptedPartLen in: room for the encrypted part; out: its
     *        length. Null gives {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_DigestEncryptUpdate(CK_SESSION_HANDLE hSession, byte[] pPart, long ulPartLen, byte[] pEncryptedPart, LongRef pulEncryptedPartLen);

    /**
     * Continues a decryption and a digest of the decrypted part, under the
     * size-query and output rules of {@link #C_Encrypt}.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pEncryptedPart the encrypted part; null or empty reaches the token
     *        library as a null pointer
     * @param ulEncryptedPartLen the length handed to the token library; keep it
     *        at most the array's length
     * @param pPart receives the decrypted part, or null for the size query
     * @param pulPartLen in: room for the part; out: its length. Null gives
     *        {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_DecryptDigestUpdate(CK_SESSION_HANDLE hSession, byte[] pEncryptedPart, long ulEncryptedPartLen, byte[] pPart, LongRef pulPartLen);

    /**
     * Continues a signature and an encryption with the same part, under the
     * size-query and output rules of {@link #C_Encrypt}.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pPart the data part; null or empty reaches the token library as a
     *        null pointer
     * @param ulPartLen the length handed to the token library; keep it at most
     *        the array's length
     * @param pEncryptedPart receives the encrypted part, or null for the size
     *        query
     * @param pulEncryptedPartLen in: room for the encrypted part; out: its
     *        length. Null gives {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_SignEncryptUpdate(CK_SESSION_HANDLE hSession, byte[] pPart, long ulPartLen, byte[] pEncryptedPart, LongRef pulEncryptedPartLen);

    /**
     * Continues a decryption and a verification of the decrypted part, under
     * the size-query and output rules of {@link #C_Encrypt}.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pEncryptedPart the encrypted part; null or empty reaches the token
     *        library as a null pointer
     * @param ulEncryptedPartLen the length handed to the token library; keep it
     *        at most the array's length
     * @param pPart receives the decrypted part, or null for the size query
     * @param pulPartLen in: room for the part; out: its length. Null gives
     *        {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_DecryptVerifyUpdate(CK_SESSION_HANDLE hSession, byte[] pEncryptedPart, long ulEncryptedPartLen, byte[] pPart, LongRef pulPartLen);

    // ---- key management -----------------------------------------------------------

    /**
     * Generates a secret key or a set of domain parameters. On {@code CKR_OK}
     * the new handle is stored in {@code phKey}, and then the results that the
     * token library leaves in the mechanism's parameter are copied into the
     * parameter object (such as the initialisation vector of a
     * {@link kaltrix.morlin.params.CK_PBE_PARAMS}). On any other result
     * {@code phKey} and the parameter object keep their old values. A Java
     * exception raised while storing them propagates, although the key exists
     * on the token.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pMechanism the mechanism; null gives {@code CKR_ARGUMENTS_BAD}
     * @param pTemplate the new key's attributes; null with a positive count
     *        gives {@code CKR_ARGUMENTS_BAD}
     * @param ulCount the number of attributes handed to the token library
     * @param phKey receives the handle; null gives {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_GenerateKey(CK_SESSION_HANDLE hSession, CK_MECHANISM pMechanism, CK_ATTRIBUTE[] pTemplate, long ulCount, CK_OBJECT_HANDLE phKey);

    /**
     * Generates a key pair. On {@code CKR_OK} the new handles are stored in
     * {@code phPublicKey} and {@code phPrivateKey}, in that order, and then the
     * results that the token library leaves in the mechanism's parameter are
     * copied into the parameter object; on any other result all three keep
     * their old values. A Java exception raised while storing them stops the
     * stores that follow and propagates, although the pair exists on the token.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pMechanism the mechanism; null gives {@code CKR_ARGUMENTS_BAD}
     * @param pPublicKeyTemplate the public key's attributes; null with a
     *        positive count gives {@code CKR_ARGUMENTS_BAD}
     * @param ulPublicKeyAttributeCount the number of public key attributes
     *        handed to the token library
     * @param pPrivateKeyTemplate the private key's attributes; null with a
     *        positive count gives {@code CKR_ARGUMENTS_BAD}
     * @param ulPrivateKeyAttributeCount the number of private key attributes
     *        handed to the token library
     * @param phPublicKey receives the public key's handle; null gives
     *        {@code CKR_ARGUMENTS_BAD}
     * @param phPrivateKey receives the private key's handle; null gives
     *        {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_GenerateKeyPair(CK_SESSION_HANDLE hSession, CK_MECHANISM pMechanism, CK_ATTRIBUTE[] pPublicKeyTemplate, long ulPublicKeyAttributeCount, CK_ATTRIBUTE[] pPrivateKeyTemplate, long ulPrivateKeyAttributeCount, CK_OBJECT_HANDLE phPublicKey, CK_OBJECT_HANDLE phPrivateKey);

    /**
     * Wraps (encrypts) a key, under the size-query and output rules of
     * {@link #C_Encrypt}: with {@code pWrappedKey} null the length of the
     * wrapped key comes back in {@code pulWrappedKeyLen}. The parameter object
     * is left as it is.
     *
     * @param hSession the session
     * @param pMechanism the wrapping mechanism; null gives
     *        {@code CKR_ARGUMENTS_BAD}
     * @param hWrappingKey the wrapping key; null reaches the token library as
     *        handle 0 ({@code CK_INVALID_HANDLE}), for mechanisms that need no
     *        key
     * @param hKey the key to wrap; null reaches the token library as the handle
     *        with all bits set
     * @param pWrappedKey receives the wrapped key, or null for the size query
     * @param pulWrappedKeyLen in: room for the wrapped key; out: its length.
     *        Null gives {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_WrapKey(CK_SESSION_HANDLE hSession, CK_MECHANISM pMechanism, CK_OBJECT_HANDLE hWrappingKey, CK_OBJECT_HANDLE hKey, byte[] pWrappedKey, LongRef pulWrappedKeyLen);

    /**
     * Unwraps (decrypts) a wrapped key into a new key object. On
     * {@code CKR_OK} the new handle is stored in {@code phKey}, and then the
     * results that the token library leaves in the mechanism's parameter are
     * copied into the parameter object (such as the extra data of a
     * {@link kaltrix.morlin.params.CK_KEY_WRAP_SET_OAEP_PARAMS}). On any other
     * result {@code phKey} and the parameter object keep their old values. A
     * Java exception raised while storing them propagates, although the key
     * exists on the token.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pMechanism the unwrapping mechanism; null gives
     *        {@code CKR_ARGUMENTS_BAD}
     * @param hUnwrappingKey the unwrapping key; null reaches the token library
     *        as the handle with all bits set
     * @param pWrappedKey the wrapped key; null gives {@code CKR_ARGUMENTS_BAD},
     *        whatever its length
     * @param ulWrappedKeyLen the length handed to the token library; keep it at
     *        most the array's length
     * @param pTemplate the new key's attributes; null with a positive count
     *        gives {@code CKR_ARGUMENTS_BAD}
     * @param ulAttributeCount the number of attributes handed to the token
     *        library
     * @param phKey receives the handle; null gives {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV C_UnwrapKey(CK_SESSION_HANDLE hSession, CK_MECHANISM pMechanism, CK_OBJECT_HANDLE hUnwrappingKey, byte[] pWrappedKey, long ulWrappedKeyLen, CK_ATTRIBUTE[] pTemplate, long ulAttributeCount, CK_OBJECT_HANDLE phKey);

    /**
     * Derives a key from a base key. On {@code CKR_OK} the new handle is stored
     * in {@code phKey}, and then the results that the token library leaves in
     * the mechanism's parameter are copied into the parameter object, such as
     * the key handles and vectors of a
     * {@link kaltrix.morlin.params.CK_SSL3_KEY_MAT_PARAMS}. On any other result
     * {@code phKey} and the parameter object keep their old values. A Java
     * exception raised while storing them propagates, although the key exists
     * on the token.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pMechanism the derivation mechanism; null gives
     *        {@code CKR_ARGUMENTS_BAD}
     * @param hBaseKey the base key; null reaches the token library as the
     *        handle with all bits set
     * @param pTemplate the new key's attributes; null with a positive count
     *        gives {@code CKR_ARGUMENTS_BAD}
     * @param ulAttributeCount the number of attributes handed to the token
     *        library
     * @param phKey receives the handle. Null is not rejected: the key is made
     *        and its handle lost, with {@code CKR_OK}; pass null only for
     *        mechanisms whose results arrive in the parameter
     * @return the token library's result
     */
    public static native CK_RV C_DeriveKey(CK_SESSION_HANDLE hSession, CK_MECHANISM pMechanism, CK_OBJECT_HANDLE hBaseKey, CK_ATTRIBUTE[] pTemplate, long ulAttributeCount, CK_OBJECT_HANDLE phKey);

    // ---- random numbers -----------------------------------------------------------

    /**
     * Mixes seed material into the token's random number generator.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pSeed the seed; null with a positive length gives
     *        {@code CKR_ARGUMENTS_BAD}, null or empty with a length of 0
     *        reaches the token library as a null pointer
     * @param ulSeedLen the length handed to the token library; keep it at most
     *        the array's length
     * @return the token library's result
     */
    public static native CK_RV C_SeedRandom(CK_SESSION_HANDLE hSession, byte[] pSeed, long ulSeedLen);

    /**
     * Generates random bytes. The token library makes {@code ulRandomLen}
     * bytes; on {@code CKR_OK} as many of them as {@code pRandomData} holds are
     * copied into it, and the rest are dropped. On any other result the array
     * is untouched.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pRandomData receives the random bytes; null with a positive length
     *        gives {@code CKR_ARGUMENTS_BAD}
     * @param ulRandomLen the number of bytes asked of the token library
     * @return the token library's result
     */
    public static native CK_RV C_GenerateRandom(CK_SESSION_HANDLE hSession, byte[] pRandomData, long ulRandomLen);

    // ---- the token library's own functions ---------------------------------------

    /**
     * Copies an object with the token library's {@code CT_CopyObject}, which
     * takes a second session beside the first; which of the two holds the
     * object and which receives the copy is the token library's to define.
     * Otherwise as {@link #C_CopyObject}: on {@code CKR_OK} the copy's handle
     * is stored in {@code phNewObject}, on any other result it keeps its old
     * value.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the first session; null reaches the token library as the
     *        handle with all bits set
     * @param hSecondSession the second session; null reaches the token library
     *        as the handle with all bits set
     * @param hObject the object to copy
     * @param pTemplate the attributes to change; null with a positive count
     *        gives {@code CKR_ARGUMENTS_BAD}
     * @param ulCount the number of attributes handed to the token library
     * @param phNewObject receives the handle; null gives {@code CKR_ARGUMENTS_BAD}
     * @return the token library's result
     */
    public static native CK_RV CT_CopyObject(CK_SESSION_HANDLE hSession, CK_SESSION_HANDLE hSecondSession, CK_OBJECT_HANDLE hObject, CK_ATTRIBUTE[] pTemplate, long ulCount, CK_OBJECT_HANDLE phNewObject);

    /**
     * Initialises a token with the token library's {@code CT_InitToken}, the
     * arguments of {@link #C_InitToken} behind a session. Nothing is checked
     * here: a null array reaches the token library as a null pointer, whatever
     * length comes with it.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param slotID the slot
     * @param pPin the security officer's PIN, or null
     * @param ulPinLen the PIN length handed to the token library; keep it at
     *        most the array's length
     * @param pLabel the label, handed over as exactly the array's bytes with no
     *        length, padding or terminator added: give it in the form the
     *        token library expects (PKCS#11 labels are 32 blank-padded bytes),
     *        or null
     * @return the token library's result
     */
    public static native CK_RV CT_InitToken(CK_SESSION_HANDLE hSession, long slotID, byte[] pPin, long ulPinLen, byte[] pLabel);

    /**
     * Resets a token with the token library's {@code CT_ResetToken}: as
     * {@link #CT_InitToken} without the slot.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param pPin the security officer's PIN, or null
     * @param ulPinLen the PIN length handed to the token library; keep it at
     *        most the array's length
     * @param pLabel the label, handed over as exactly the array's bytes with no
     *        length, padding or terminator added, or null
     * @return the token library's result
     */
    public static native CK_RV CT_ResetToken(CK_SESSION_HANDLE hSession, byte[] pPin, long ulPinLen, byte[] pLabel);

    /**
     * Exchanges a request and a response with a functionality module of the
     * token through the token library's {@code FMSC_SendReceive}.
     *
     * <p>The lengths that the token library sees are those of the arrays: the
     * whole request is sent, and the response array, with its present
     * contents, is the room offered for the answer. {@code requestLen} and
     * {@code responseLen} are not read. Whatever the result, the length of the
     * answer is stored in {@code pReceivedLen} and the module's status in
     * {@code pStatus}, as an unsigned 32-bit value (0 to 4294967295). Only when
     * the result is {@code CKR_OK} and the status is 0 is the answer copied
     * into {@code response}, at most as many bytes as it holds, while
     * {@code pReceivedLen} still tells the whole length. A non-zero status is
     * the module's own report and is not turned into the result, which stays
     * {@code CKR_OK}: read it in {@code pStatus}.
     *
     * <p>The count-free overload of this method passes each array's length
     * instead: a count given here goes to the token library as it is, and one
     * larger than its array makes the token library read or write past the
     * array's copy.
     *
     * @param hSession the session
     * @param fmNumber the functionality module; only its low 16 bits are
     *        handed over
     * @param request the request, or null to send none
     * @param requestLen not read
     * @param response the room for the answer, or null to offer none
     * @param responseLen not read
     * @param pReceivedLen receives the length of the answer; null gives
     *        {@code CKR_ARGUMENTS_BAD} without calling the token library
     * @param pStatus receives the module's status; null gives
     *        {@code CKR_ARGUMENTS_BAD} without calling the token library
     * @return the token library's result
     */
    public static native CK_RV FMSC_SendReceive(CK_SESSION_HANDLE hSession, long fmNumber, byte[] request, long requestLen, byte[] response, long responseLen, LongRef pReceivedLen, LongRef pStatus);

    // ---- texts as PKCS#11 takes them ---------------------------------------------------------

    /**
     * A token label as {@code C_InitToken} reads it: the text in UTF-8,
     * padded with blanks to exactly 32 bytes and not terminated. A shorter
     * array would make the token library read past it.
     *
     * @throws IllegalArgumentException if the text takes more than 32 bytes
     */
    public static byte[] label(String text) {
        byte[] utf8 = text.getBytes(StandardCharsets.UTF_8);
        if (utf8.length > 32) {
            throw new IllegalArgumentException("a token label holds at most 32 bytes, not " + utf8.length);
        }
        byte[] label = Arrays.copyOf(utf8, 32);
        Arrays.fill(label, utf8.length, 32, (byte) ' ');
        return label;
    }

    /** A PIN as PKCS#11 takes it: the text in UTF-8, with no terminator. */
    public static byte[] pin(String text) {
        return text.getBytes(StandardCharsets.UTF_8);
    }

    // ---- the same with every count taken from its array ----------------------------------

    /**
     * C_InitToken with {@code ulPinLen} taken from the length of {@code pPin} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_InitToken(long, byte[], long, byte[])
     */
    public static CK_RV C_InitToken(long slotID, byte[] pPin, byte[] pLabel) {
        return C_InitToken(slotID, pPin, pPin == null ? 0 : pPin.length, pLabel);
    }

    /**
     * C_InitPIN with {@code ulPinLen} taken from the length of {@code pPin} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_InitPIN(CK_SESSION_HANDLE, byte[], long)
     */
    public static CK_RV C_InitPIN(CK_SESSION_HANDLE hSession, byte[] pPin) {
        return C_InitPIN(hSession, pPin, pPin == null ? 0 : pPin.length);
    }

    /**
     * C_SetPIN with {@code ulOldLen}, {@code ulNewLen} taken from the length of {@code pOldPin}, {@code pNewPin} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_SetPIN(CK_SESSION_HANDLE, byte[], long, byte[], long)
     */
    public static CK_RV C_SetPIN(CK_SESSION_HANDLE hSession, byte[] pOldPin, byte[] pNewPin) {
        return C_SetPIN(hSession, pOldPin, pOldPin == null ? 0 : pOldPin.length, pNewPin, pNewPin == null ? 0 : pNewPin.length);
    }

    /**
     * C_SetOperationState with {@code ulOperationStateLen} taken from the length of {@code pOperationState} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_SetOperationState(CK_SESSION_HANDLE, byte[], long, CK_OBJECT_HANDLE, CK_OBJECT_HANDLE)
     */
    public static CK_RV C_SetOperationState(CK_SESSION_HANDLE hSession, byte[] pOperationState, CK_OBJECT_HANDLE hEncryptionKey, CK_OBJECT_HANDLE hAuthenticationKey) {
        return C_SetOperationState(hSession, pOperationState, pOperationState == null ? 0 : pOperationState.length, hEncryptionKey, hAuthenticationKey);
    }

    /**
     * C_Login with {@code ulPinLen} taken from the length of {@code pPin} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_Login(CK_SESSION_HANDLE, CK_USER_TYPE, byte[], long)
     */
    public static CK_RV C_Login(CK_SESSION_HANDLE hSession, CK_USER_TYPE userType, byte[] pPin) {
        return C_Login(hSession, userType, pPin, pPin == null ? 0 : pPin.length);
    }

    /**
     * C_CreateObject with {@code ulCount} taken from the length of {@code pTemplate} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_CreateObject(CK_SESSION_HANDLE, CK_ATTRIBUTE[], long, CK_OBJECT_HANDLE)
     */
    public static CK_RV C_CreateObject(CK_SESSION_HANDLE hSession, CK_ATTRIBUTE[] pTemplate, CK_OBJECT_HANDLE phObject) {
        return C_CreateObject(hSession, pTemplate, pTemplate == null ? 0 : pTemplate.length, phObject);
    }

    /**
     * C_CopyObject with {@code ulCount} taken from the length of {@code pTemplate} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_CopyObject(CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_ATTRIBUTE[], long, CK_OBJECT_HANDLE)
     */
    public static CK_RV C_CopyObject(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject, CK_ATTRIBUTE[] pTemplate, CK_OBJECT_HANDLE phNewObject) {
        return C_CopyObject(hSession, hObject, pTemplate, pTemplate == null ? 0 : pTemplate.length, phNewObject);
    }

    /**
     * C_GetAttributeValue with {@code ulCount} taken from the length of {@code pTemplate} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_GetAttributeValue(CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_ATTRIBUTE[], long)
     */
    public static CK_RV C_GetAttributeValue(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject, CK_ATTRIBUTE[] pTemplate) {
        return C_GetAttributeValue(hSession, hObject, pTemplate, pTemplate == null ? 0 : pTemplate.length);
    }

    /**
     * C_SetAttributeValue with {@code ulCount} taken from the length of {@code pTemplate} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_SetAttributeValue(CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_ATTRIBUTE[], long)
     */
    public static CK_RV C_SetAttributeValue(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject, CK_ATTRIBUTE[] pTemplate) {
        return C_SetAttributeValue(hSession, hObject, pTemplate, pTemplate == null ? 0 : pTemplate.length);
    }

    /**
     * C_FindObjectsInit with {@code ulCount} taken from the length of {@code pTemplate} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_FindObjectsInit(CK_SESSION_HANDLE, CK_ATTRIBUTE[], long)
     */
    public static CK_RV C_FindObjectsInit(CK_SESSION_HANDLE hSession, CK_ATTRIBUTE[] pTemplate) {
        return C_FindObjectsInit(hSession, pTemplate, pTemplate == null ? 0 : pTemplate.length);
    }

    /**
     * C_FindObjects with {@code ulMaxObjectCount} taken from the length of {@code phObject} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_FindObjects(CK_SESSION_HANDLE, CK_OBJECT_HANDLE[], long, LongRef)
     */
    public static CK_RV C_FindObjects(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE[] phObject, LongRef pulObjectCount) {
        return C_FindObjects(hSession, phObject, phObject == null ? 0 : phObject.length, pulObjectCount);
    }

    /**
     * C_Encrypt with {@code ulDataLen} taken from the length of {@code pData} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_Encrypt(CK_SESSION_HANDLE, byte[], long, byte[], LongRef)
     */
    public static CK_RV C_Encrypt(CK_SESSION_HANDLE hSession, byte[] pData, byte[] pEncryptedData, LongRef pulEncryptedDataLen) {
        return C_Encrypt(hSession, pData, pData == null ? 0 : pData.length, pEncryptedData, pulEncryptedDataLen);
    }

    /**
     * C_EncryptUpdate with {@code ulPartLen} taken from the length of {@code pPart} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_EncryptUpdate(CK_SESSION_HANDLE, byte[], long, byte[], LongRef)
     */
    public static CK_RV C_EncryptUpdate(CK_SESSION_HANDLE hSession, byte[] pPart, byte[] pEncryptedPart, LongRef pulEncryptedPartLen) {
        return C_EncryptUpdate(hSession, pPart, pPart == null ? 0 : pPart.length, pEncryptedPart, pulEncryptedPartLen);
    }

    /**
     * C_Decrypt with {@code ulEncryptedDataLen} taken from the length of {@code pEncryptedData} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_Decrypt(CK_SESSION_HANDLE, byte[], long, byte[], LongRef)
     */
    public static CK_RV C_Decrypt(CK_SESSION_HANDLE hSession, byte[] pEncryptedData, byte[] pData, LongRef pulDataLen) {
        return C_Decrypt(hSession, pEncryptedData, pEncryptedData == null ? 0 : pEncryptedData.length, pData, pulDataLen);
    }

    /**
     * C_DecryptUpdate with {@code ulEncryptedPartLen} taken from the length of {@code pEncryptedPart} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_DecryptUpdate(CK_SESSION_HANDLE, byte[], long, byte[], LongRef)
     */
    public static CK_RV C_DecryptUpdate(CK_SESSION_HANDLE hSession, byte[] pEncryptedPart, byte[] pPart, LongRef pulPartLen) {
        return C_DecryptUpdate(hSession, pEncryptedPart, pEncryptedPart == null ? 0 : pEncryptedPart.length, pPart, pulPartLen);
    }

    /**
     * C_Digest with {@code ulDataLen} taken from the length of {@code pData} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_Digest(CK_SESSION_HANDLE, byte[], long, byte[], LongRef)
     */
    public static CK_RV C_Digest(CK_SESSION_HANDLE hSession, byte[] pData, byte[] pDigest, LongRef pulDigestLen) {
        return C_Digest(hSession, pData, pData == null ? 0 : pData.length, pDigest, pulDigestLen);
    }

    /**
     * C_DigestUpdate with {@code ulPartLen} taken from the length of {@code pPart} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_DigestUpdate(CK_SESSION_HANDLE, byte[], long)
     */
    public static CK_RV C_DigestUpdate(CK_SESSION_HANDLE hSession, byte[] pPart) {
        return C_DigestUpdate(hSession, pPart, pPart == null ? 0 : pPart.length);
    }

    /**
     * C_Sign with {@code ulDataLen} taken from the length of {@code pData} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_Sign(CK_SESSION_HANDLE, byte[], long, byte[], LongRef)
     */
    public static CK_RV C_Sign(CK_SESSION_HANDLE hSession, byte[] pData, byte[] pSignature, LongRef pulSignatureLen) {
        return C_Sign(hSession, pData, pData == null ? 0 : pData.length, pSignature, pulSignatureLen);
    }

    /**
     * C_SignUpdate with {@code ulPartLen} taken from the length of {@code pPart} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_SignUpdate(CK_SESSION_HANDLE, byte[], long)
     */
    public static CK_RV C_SignUpdate(CK_SESSION_HANDLE hSession, byte[] pPart) {
        return C_SignUpdate(hSession, pPart, pPart == null ? 0 : pPart.length);
    }

    /**
     * C_SignRecover with {@code ulDataLen} taken from the length of {@code pData} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_SignRecover(CK_SESSION_HANDLE, byte[], long, byte[], LongRef)
     */
    public static CK_RV C_SignRecover(CK_SESSION_HANDLE hSession, byte[] pData, byte[] pSignature, LongRef pulSignatureLen) {
        return C_SignRecover(hSession, pData, pData == null ? 0 : pData.length, pSignature, pulSignatureLen);
    }

    /**
     * C_Verify with {@code ulDataLen}, {@code ulSignatureLen} taken from the length of {@code pData}, {@code pSignature} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_Verify(CK_SESSION_HANDLE, byte[], long, byte[], long)
     */
    public static CK_RV C_Verify(CK_SESSION_HANDLE hSession, byte[] pData, byte[] pSignature) {
        return C_Verify(hSession, pData, pData == null ? 0 : pData.length, pSignature, pSignature == null ? 0 : pSignature.length);
    }

    /**
     * C_VerifyUpdate with {@code ulPartLen} taken from the length of {@code pPart} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_VerifyUpdate(CK_SESSION_HANDLE, byte[], long)
     */
    public static CK_RV C_VerifyUpdate(CK_SESSION_HANDLE hSession, byte[] pPart) {
        return C_VerifyUpdate(hSession, pPart, pPart == null ? 0 : pPart.length);
    }

    /**
     * C_VerifyFinal with {@code ulSignatureLen} taken from the length of {@code pSignature} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_VerifyFinal(CK_SESSION_HANDLE, byte[], long)
     */
    public static CK_RV C_VerifyFinal(CK_SESSION_HANDLE hSession, byte[] pSignature) {
        return C_VerifyFinal(hSession, pSignature, pSignature == null ? 0 : pSignature.length);
    }

    /**
     * C_VerifyRecover with {@code ulSignatureLen} taken from the length of {@code pSignature} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_VerifyRecover(CK_SESSION_HANDLE, byte[], long, byte[], LongRef)
     */
    public static CK_RV C_VerifyRecover(CK_SESSION_HANDLE hSession, byte[] pSignature, byte[] pData, LongRef pulDataLen) {
        return C_VerifyRecover(hSession, pSignature, pSignature == null ? 0 : pSignature.length, pData, pulDataLen);
    }

    /**
     * C_DigestEncryptUpdate with {@code ulPartLen} taken from the length of {@code pPart} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_DigestEncryptUpdate(CK_SESSION_HANDLE, byte[], long, byte[], LongRef)
     */
    public static CK_RV C_DigestEncryptUpdate(CK_SESSION_HANDLE hSession, byte[] pPart, byte[] pEncryptedPart, LongRef pulEncryptedPartLen) {
        return C_DigestEncryptUpdate(hSession, pPart, pPart == null ? 0 : pPart.length, pEncryptedPart, pulEncryptedPartLen);
    }

    /**
     * C_DecryptDigestUpdate with {@code ulEncryptedPartLen} taken from the length of {@code pEncryptedPart} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_DecryptDigestUpdate(CK_SESSION_HANDLE, byte[], long, byte[], LongRef)
     */
    public static CK_RV C_DecryptDigestUpdate(CK_SESSION_HANDLE hSession, byte[] pEncryptedPart, byte[] pPart, LongRef pulPartLen) {
        return C_DecryptDigestUpdate(hSession, pEncryptedPart, pEncryptedPart == null ? 0 : pEncryptedPart.length, pPart, pulPartLen);
    }

    /**
     * C_SignEncryptUpdate with {@code ulPartLen} taken from the length of {@code pPart} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_SignEncryptUpdate(CK_SESSION_HANDLE, byte[], long, byte[], LongRef)
     */
    public static CK_RV C_SignEncryptUpdate(CK_SESSION_HANDLE hSession, byte[] pPart, byte[] pEncryptedPart, LongRef pulEncryptedPartLen) {
        return C_SignEncryptUpdate(hSession, pPart, pPart == null ? 0 : pPart.length, pEncryptedPart, pulEncryptedPartLen);
    }

    /**
     * C_DecryptVerifyUpdate with {@code ulEncryptedPartLen} taken from the length of {@code pEncryptedPart} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_DecryptVerifyUpdate(CK_SESSION_HANDLE, byte[], long, byte[], LongRef)
     */
    public static CK_RV C_DecryptVerifyUpdate(CK_SESSION_HANDLE hSession, byte[] pEncryptedPart, byte[] pPart, LongRef pulPartLen) {
        return C_DecryptVerifyUpdate(hSession, pEncryptedPart, pEncryptedPart == null ? 0 : pEncryptedPart.length, pPart, pulPartLen);
    }

    /**
     * C_GenerateKey with {@code ulCount} taken from the length of {@code pTemplate} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_GenerateKey(CK_SESSION_HANDLE, CK_MECHANISM, CK_ATTRIBUTE[], long, CK_OBJECT_HANDLE)
     */
    public static CK_RV C_GenerateKey(CK_SESSION_HANDLE hSession, CK_MECHANISM pMechanism, CK_ATTRIBUTE[] pTemplate, CK_OBJECT_HANDLE phKey) {
        return C_GenerateKey(hSession, pMechanism, pTemplate, pTemplate == null ? 0 : pTemplate.length, phKey);
    }

    /**
     * C_GenerateKeyPair with {@code ulPublicKeyAttributeCount}, {@code ulPrivateKeyAttributeCount} taken from the length of {@code pPublicKeyTemplate}, {@code pPrivateKeyTemplate} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_GenerateKeyPair(CK_SESSION_HANDLE, CK_MECHANISM, CK_ATTRIBUTE[], long, CK_ATTRIBUTE[], long, CK_OBJECT_HANDLE, CK_OBJECT_HANDLE)
     */
    public static CK_RV C_GenerateKeyPair(CK_SESSION_HANDLE hSession, CK_MECHANISM pMechanism, CK_ATTRIBUTE[] pPublicKeyTemplate, CK_ATTRIBUTE[] pPrivateKeyTemplate, CK_OBJECT_HANDLE phPublicKey, CK_OBJECT_HANDLE phPrivateKey) {
        return C_GenerateKeyPair(hSession, pMechanism, pPublicKeyTemplate, pPublicKeyTemplate == null ? 0 : pPublicKeyTemplate.length, pPrivateKeyTemplate, pPrivateKeyTemplate == null ? 0 : pPrivateKeyTemplate.length, phPublicKey, phPrivateKey);
    }

    /**
     * C_UnwrapKey with {@code ulWrappedKeyLen}, {@code ulAttributeCount} taken from the length of {@code pWrappedKey}, {@code pTemplate} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_UnwrapKey(CK_SESSION_HANDLE, CK_MECHANISM, CK_OBJECT_HANDLE, byte[], long, CK_ATTRIBUTE[], long, CK_OBJECT_HANDLE)
     */
    public static CK_RV C_UnwrapKey(CK_SESSION_HANDLE hSession, CK_MECHANISM pMechanism, CK_OBJECT_HANDLE hUnwrappingKey, byte[] pWrappedKey, CK_ATTRIBUTE[] pTemplate, CK_OBJECT_HANDLE phKey) {
        return C_UnwrapKey(hSession, pMechanism, hUnwrappingKey, pWrappedKey, pWrappedKey == null ? 0 : pWrappedKey.length, pTemplate, pTemplate == null ? 0 : pTemplate.length, phKey);
    }

    /**
     * C_DeriveKey with {@code ulAttributeCount} taken from the length of {@code pTemplate} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_DeriveKey(CK_SESSION_HANDLE, CK_MECHANISM, CK_OBJECT_HANDLE, CK_ATTRIBUTE[], long, CK_OBJECT_HANDLE)
     */
    public static CK_RV C_DeriveKey(CK_SESSION_HANDLE hSession, CK_MECHANISM pMechanism, CK_OBJECT_HANDLE hBaseKey, CK_ATTRIBUTE[] pTemplate, CK_OBJECT_HANDLE phKey) {
        return C_DeriveKey(hSession, pMechanism, hBaseKey, pTemplate, pTemplate == null ? 0 : pTemplate.length, phKey);
    }

    /**
     * C_SeedRandom with {@code ulSeedLen} taken from the length of {@code pSeed} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_SeedRandom(CK_SESSION_HANDLE, byte[], long)
     */
    public static CK_RV C_SeedRandom(CK_SESSION_HANDLE hSession, byte[] pSeed) {
        return C_SeedRandom(hSession, pSeed, pSeed == null ? 0 : pSeed.length);
    }

    /**
     * C_GenerateRandom with {@code ulRandomLen} taken from the length of {@code pRandomData} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #C_GenerateRandom(CK_SESSION_HANDLE, byte[], long)
     */
    public static CK_RV C_GenerateRandom(CK_SESSION_HANDLE hSession, byte[] pRandomData) {
        return C_GenerateRandom(hSession, pRandomData, pRandomData == null ? 0 : pRandomData.length);
    }

    /**
     * CT_CopyObject with {@code ulCount} taken from the length of {@code pTemplate} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #CT_CopyObject(CK_SESSION_HANDLE, CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_ATTRIBUTE[], long, CK_OBJECT_HANDLE)
     */
    public static CK_RV CT_CopyObject(CK_SESSION_HANDLE hSession, CK_SESSION_HANDLE hSecondSession, CK_OBJECT_HANDLE hObject, CK_ATTRIBUTE[] pTemplate, CK_OBJECT_HANDLE phNewObject) {
        return CT_CopyObject(hSession, hSecondSession, hObject, pTemplate, pTemplate == null ? 0 : pTemplate.length, phNewObject);
    }

    /**
     * CT_InitToken with {@code ulPinLen} taken from the length of {@code pPin} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #CT_InitToken(CK_SESSION_HANDLE, long, byte[], long, byte[])
     */
    public static CK_RV CT_InitToken(CK_SESSION_HANDLE hSession, long slotID, byte[] pPin, byte[] pLabel) {
        return CT_InitToken(hSession, slotID, pPin, pPin == null ? 0 : pPin.length, pLabel);
    }

    /**
     * CT_ResetToken with {@code ulPinLen} taken from the length of {@code pPin} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #CT_ResetToken(CK_SESSION_HANDLE, byte[], long, byte[])
     */
    public static CK_RV CT_ResetToken(CK_SESSION_HANDLE hSession, byte[] pPin, byte[] pLabel) {
        return CT_ResetToken(hSession, pPin, pPin == null ? 0 : pPin.length, pLabel);
    }

    /**
     * FMSC_SendReceive with {@code requestLen}, {@code responseLen} taken from the length of {@code request}, {@code response} (0 for null), so
     * that the token library reads and writes no further than the array.
     *
     * @see #FMSC_SendReceive(CK_SESSION_HANDLE, long, byte[], long, byte[], long, LongRef, LongRef)
     */
    public static CK_RV FMSC_SendReceive(CK_SESSION_HANDLE hSession, long fmNumber, byte[] request, byte[] response, LongRef pReceivedLen, LongRef pStatus) {
        return FMSC_SendReceive(hSession, fmNumber, request, request == null ? 0 : request.length, response, response == null ? 0 : response.length, pReceivedLen, pStatus);
    }
}
