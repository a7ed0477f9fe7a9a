package kaltrix.morlin.softhsm;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotNull;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.Callable;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;
import java.util.concurrent.atomic.AtomicInteger;
import kaltrix.morlin.CK_C_INITIALIZE_ARGS;
import kaltrix.morlin.CK_INFO;
import kaltrix.morlin.CK_SESSION_HANDLE;
import kaltrix.morlin.CK_VERSION;
import kaltrix.morlin.Cryptoki;
import kaltrix.morlin.constants.CK_RV;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

/**
 * Start and stop of a real token library: SoftHSM2 behind the forwarding
 * libcryptoki.so, reached through morlin.jar and libmorlin.so.
 */
@Tag("softhsm")
class LifecycleOnSoftHsmTest {
    /** Whatever a test left initialised is finalised, so the next starts clear. */
    @AfterEach
    void finalizeLeftovers() {
        Cryptoki.C_Finalize(null);
    }

    @Test
    void initializeFinalizeAndTheirOrder() {
        assertEquals(CK_RV.CKR_CRYPTOKI_NOT_INITIALIZED, Cryptoki.C_GetInfo(new CK_INFO()).m_value);
        assertEquals(CK_RV.CKR_CRYPTOKI_NOT_INITIALIZED, Cryptoki.C_Finalize(null).m_value);

        assertEquals(CK_RV.CKR_OK, Cryptoki.C_Initialize(null).m_value);
        assertEquals(CK_RV.CKR_CRYPTOKI_ALREADY_INITIALIZED, Cryptoki.C_Initialize(null).m_value);
        assertEquals(CK_RV.CKR_OK, Cryptoki.C_Finalize(null).m_value);

        // Again after a finalisation, now with flags and no callbacks.
        CK_C_INITIALIZE_ARGS osLocking = new CK_C_INITIALIZE_ARGS();
        osLocking.flags = CK_C_INITIALIZE_ARGS.CKF_OS_LOCKING_OK;
        assertEquals(CK_RV.CKR_OK, Cryptoki.C_Initialize(osLocking).m_value);
        assertEquals(CK_RV.CKR_OK, Cryptoki.C_Finalize(null).m_value);
    }

    @Test
    void libraryInformationComesBackAsTheModuleGaveIt() {
        assertEquals(CK_RV.CKR_OK, Cryptoki.C_Initialize(null).m_value);
        CK_INFO info = new CK_INFO();
        info.manufacturerID = new byte[3];
        assertEquals(CK_RV.CKR_OK, Cryptoki.C_GetInfo(info).m_value);

        assertEquals(32, info.manufacturerID.length);
        assertEquals(32, info.libraryDescription.length);
        assertEquals("SoftHSM", info.getManufacturerID());
        assertEquals("Implementation of PKCS11", info.getLibraryDescription());
        // Blank padded to the full width, no terminator.
        assertEquals(' ', info.manufacturerID[31]);
        assertEquals(info.getManufacturerID(),
                new String(info.manufacturerID, StandardCharsets.UTF_8).trim());
        assertEquals(new CK_VERSION(2, 40), info.cryptokiVersion);
        assertEquals(new CK_VERSION(2, 6), info.libraryVersion);
        assertEquals(0, info.flags);

        assertEquals(CK_RV.CKR_ARGUMENTS_BAD, Cryptoki.C_GetInfo(null).m_value);
    }

    @Test
    void legacyParallelFunctionsNeedASession() {
        assertEquals(CK_RV.CKR_OK, Cryptoki.C_Initialize(null).m_value);
        // 0xB3: CKR_SESSION_HANDLE_INVALID.
        assertEquals(0xB3L, Cryptoki.C_GetFunctionStatus(new CK_SESSION_HANDLE(4711)).m_value);
        assertEquals(0xB3L, Cryptoki.C_CancelFunction(new CK_SESSION_HANDLE(4711)).m_value);
        assertEquals(0xB3L, Cryptoki.C_GetFunctionStatus(null).m_value);
    }

    /**
     * SoftHSM2 takes the application's mutexes when it is given callbacks, and
     * locks them on whatever thread calls it: here several Java threads at once.
     */
    @Test
    void javaMutexesServeSoftHsmFromSeveralThreads() throws Exception {
        AtomicInteger created = new AtomicInteger();
        AtomicInteger destroyed = new AtomicInteger();
        AtomicInteger locked = new AtomicInteger();
        AtomicInteger unlocked = new AtomicInteger();
        CK_C_INITIALIZE_ARGS locks = CK_C_INITIALIZE_ARGS.withReentrantLocks(0);
        CK_C_INITIALIZE_ARGS.CK_CREATEMUTEX create = locks.createMutex;
        CK_C_INITIALIZE_ARGS.CK_DESTROYMUTEX destroy = locks.destroyMutex;
        CK_C_INITIALIZE_ARGS.CK_LOCKMUTEX lock = locks.lockMutex;
        CK_C_INITIALIZE_ARGS.CK_UNLOCKMUTEX unlock = locks.unlockMutex;
        CK_C_INITIALIZE_ARGS counting = new CK_C_INITIALIZE_ARGS(
                () -> { created.incrementAndGet(); return create.CreateMutex(); },
                m -> { destroyed.incrementAndGet(); return destroy.DestroyMutex(m); },
                m -> { locked.incrementAndGet(); return lock.LockMutex(m); },
                m -> { unlocked.incrementAndGet(); return unlock.UnlockMutex(m); },
                0);

        assertEquals(CK_RV.CKR_OK, Cryptoki.C_Initialize(counting).m_value);
        assertTrue(created.get() > 0, "SoftHSM2 created no mutex through Java");

        int threads = 8;
        int rounds = 200;
        ExecutorService pool = Executors.newFixedThreadPool(threads);
        try {
            List<Callable<Long>> work = new ArrayList<>();
            for (int t = 0; t < threads; t++) {
                work.add(() -> {
                    long wrong = 0;
                    for (int i = 0; i < rounds; i++) {
                        // Looking up a session handle takes SoftHSM2's handle lock.
                        CK_RV rv = Cryptoki.C_GetFunctionStatus(new CK_SESSION_HANDLE(4711 + i));
                        CK_INFO info = new CK_INFO();
                        if (rv.m_value != 0xB3L || Cryptoki.C_GetInfo(info).m_value != CK_RV.CKR_OK) {
                            wrong++;
                        }
                    }
                    return wrong;
                });
            }
            for (Future<Long> f : pool.invokeAll(work)) {
                assertEquals(0L, f.get());
            }
        } finally {
            pool.shutdown();
        }
        assertTrue(locked.get() >= threads * rounds, "locks: " + locked.get());
        assertEquals(locked.get(), unlocked.get());

        assertEquals(CK_RV.CKR_OK, Cryptoki.C_Finalize(null).m_value);
        assertEquals(created.get(), destroyed.get());

        // The callbacks were released with the finalisation: a later start
        // without arguments takes none of them.
        int createdBefore = created.get();
        assertEquals(CK_RV.CKR_OK, Cryptoki.C_Initialize(null).m_value);
        assertNotNull(Cryptoki.C_Finalize(null));
        assertEquals(createdBefore, created.get());
    }
}
