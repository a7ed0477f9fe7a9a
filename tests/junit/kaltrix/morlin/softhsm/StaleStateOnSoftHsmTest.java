package kaltrix.morlin.softhsm;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertInstanceOf;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static kaltrix.morlin.softhsm.SoftHsmToken.ok;

import java.lang.reflect.Array;
import java.lang.reflect.Method;
import java.lang.reflect.Modifier;
import java.util.Arrays;
import java.util.Comparator;
import java.util.List;
import java.util.Set;
import kaltrix.morlin.CK_ATTRIBUTE;
import kaltrix.morlin.CK_MECHANISM;
import kaltrix.morlin.CK_SESSION_HANDLE;
import kaltrix.morlin.Cryptoki;
import kaltrix.morlin.LongRef;
import kaltrix.morlin.constants.CK;
import kaltrix.morlin.constants.CK_RV;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

/**
 * Every native of {@link Cryptoki} called on SoftHSM2 with a session that has been closed, and again after
 * C_Finalize: each must come back with a return value and no exception, and once the library is finalised, with
 * CKR_CRYPTOKI_NOT_INITIALIZED from every call that reaches the token library.
 */
@Tag("softhsm")
class StaleStateOnSoftHsmTest {
    /** Natives that change the library's own state, which the calls are made around. */
    private static final Set<String> AROUND = Set.of("C_Initialize", "C_Finalize");
    /** Answers that come before the token library: the bridge's own refusal, the forwarder's vendor functions. */
    private static final Set<Long> BEFORE_THE_MODULE = Set.of(CK.CKR_ARGUMENTS_BAD, CK.CKR_FUNCTION_NOT_SUPPORTED);

    @AfterEach
    void finalizeLibrary() {
        Cryptoki.C_Finalize(null);
    }

    @Test
    void everyNativeAnswersOnAClosedSessionAndAfterFinalize() throws Exception {
        ok(Cryptoki.C_Initialize(null));
        CK_SESSION_HANDLE closed = new CK_SESSION_HANDLE();
        ok(Cryptoki.C_OpenSession(SoftHsmToken.slot(), CK.CKF_SERIAL_SESSION | CK.CKF_RW_SESSION, null, null,
                closed));
        ok(Cryptoki.C_CloseSession(closed));
        List<Method> natives = Arrays.stream(Cryptoki.class.getDeclaredMethods())
                .filter(m -> Modifier.isNative(m.getModifiers()) && !AROUND.contains(m.getName()))
                .sorted(Comparator.comparing(Method::getName)).toList();
        assertTrue(natives.size() > 60, "natives found: " + natives.size());
        for (Method m : natives) {
            CK_RV rv = call(m, closed);
            if (Arrays.asList(m.getParameterTypes()).contains(CK_SESSION_HANDLE.class)) {
                assertNotEquals(CK.CKR_OK, rv.m_value, m.getName() + " on a closed session");
            }
        }
        ok(Cryptoki.C_Finalize(null));
        for (Method m : natives) {
            long rv = call(m, closed).m_value;
            if (!BEFORE_THE_MODULE.contains(rv)) {
                assertEquals(CK.CKR_CRYPTOKI_NOT_INITIALIZED, rv, m.getName() + " after C_Finalize: " + new CK_RV(rv));
            }
        }
    }

    /** The native with arguments a careful caller would pass, the session the closed one. */
    private static CK_RV call(Method m, CK_SESSION_HANDLE session) throws Exception {
        Class<?>[] types = m.getParameterTypes();
        Object[] args = new Object[types.length];
        for (int i = 0; i < types.length; i++) {
            args[i] = argument(types[i], i > 0 ? types[i - 1] : null, session);
        }
        Object result = m.invoke(null, args);
        return assertInstanceOf(CK_RV.class, result, m.getName());
    }

    private static Object argument(Class<?> type, Class<?> before, CK_SESSION_HANDLE session) throws Exception {
        if (type == long.class) {
            return before == CK_ATTRIBUTE[].class ? 1L : 16L;  // the array's length
        }
        if (type == boolean.class) {
            return true;
        }
        if (type == CK_SESSION_HANDLE.class) {
            return session;
        }
        if (type == byte[].class || type == Object.class) {
            return new byte[16];
        }
        if (type == long[].class) {
            return new long[16];
        }
        if (type == LongRef.class) {
            return new LongRef(16);
        }
        if (type == CK_MECHANISM.class) {
            return new CK_MECHANISM(CK.CKM_AES_ECB);
        }
        if (type == CK_ATTRIBUTE[].class) {
            return new CK_ATTRIBUTE[] {new CK_ATTRIBUTE(CK.CKA_LABEL, new byte[16])};
        }
        if (type.isArray()) {
            Object array = Array.newInstance(type.getComponentType(), 16);
            for (int i = 0; i < 16; i++) {
                Array.set(array, i, type.getComponentType().getConstructor().newInstance());
            }
            return array;
        }
        if (type.getName().equals("kaltrix.morlin.CK_C_INITIALIZE_ARGS")) {
            return null;
        }
        return type.getConstructor().newInstance();
    }
}
