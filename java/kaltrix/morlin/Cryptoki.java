package kaltrix.morlin;

import kaltrix.morlin.constants.CK_RV;

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
}
