package kaltrix.morlin;

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
}
