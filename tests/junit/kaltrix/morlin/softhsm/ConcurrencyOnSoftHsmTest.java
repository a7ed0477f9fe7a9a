package kaltrix.morlin.softhsm;

import static java.util.concurrent.TimeUnit.NANOSECONDS;
import static java.util.concurrent.TimeUnit.SECONDS;
import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static org.junit.jupiter.api.Assertions.fail;
import static kaltrix.morlin.softhsm.SoftHsmToken.ok;

import java.security.KeyFactory;
import java.security.MessageDigest;
import java.security.PublicKey;
import java.security.Signature;
import java.security.spec.X509EncodedKeySpec;
import java.time.Duration;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.HashSet;
import java.util.HexFormat;
import java.util.List;
import java.util.Map;
import java.util.Queue;
import java.util.Set;
import java.util.SplittableRandom;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.ConcurrentLinkedQueue;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.ExecutionException;
import java.util.concurrent.ExecutorCompletionService;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;
import java.util.concurrent.atomic.AtomicInteger;
import java.util.concurrent.atomic.AtomicLong;
import java.util.concurrent.locks.ReentrantLock;
import java.util.function.BiFunction;
import javax.crypto.Cipher;
import javax.crypto.spec.IvParameterSpec;
import javax.crypto.spec.SecretKeySpec;
import kaltrix.morlin.CK_ATTRIBUTE;
import kaltrix.morlin.CK_C_INITIALIZE_ARGS;
import kaltrix.morlin.CK_MECHANISM;
import kaltrix.morlin.CK_OBJECT_HANDLE;
import kaltrix.morlin.CK_SESSION_HANDLE;
import kaltrix.morlin.Cryptoki;
import kaltrix.morlin.LongRef;
import kaltrix.morlin.constants.CK;
import kaltrix.morlin.constants.CK_RV;
import kaltrix.morlin.constants.CK_USER_TYPE;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

/**
 * Several Java threads in SoftHSM2 at once, each with sessions of its own: AES-CBC with padding there and back
 * (checked against the JDK), ECDSA on P-256 signed and verified (by the token, which also refuses a changed
 * signature, and by the JDK), C_FindObjects over a template (exactly the handles the thread made) and
 * C_GetAttributeValue of a key, a data object and a public key (the values the thread gave or first read).
 * Every result is checked. Keys and data objects are session objects that the threads make themselves.
 *
 * <p>The same workload runs three ways, each between its own C_Initialize and C_Finalize:
 * <ul>
 * <li>with Java mutex callbacks (ReentrantLocks behind counting wrappers): every mutex created is destroyed by
 * the end of C_Finalize, every lock is unlocked, no callback sees a mutex it did not create or answers anything
 * but CKR_OK, and every worker thread locked through Java;
 * <li>with CKF_OS_LOCKING_OK and no callbacks, so that SoftHSM2 locks with its own mutexes;
 * <li>with no arguments, so that SoftHSM2 takes no lock at all. The application then promises that no two
 * threads are inside the token library at once, and SoftHSM2 holds it to that even for threads on sessions of
 * their own: it keeps state of all sessions, its memory bookkeeping among it, unguarded, and overlapping calls
 * on different sessions corrupt its heap (seen in C_Sign and C_Verify). So here the workers take turns through
 * a fair lock, one step of work at a time (making its sessions and objects, one encryption, one signature, one
 * search, the reads, closing its sessions): the token library sees the same calls from several threads,
 * interleaved between sessions, but one at a time.
 * </ul>
 *
 * <p>Size: 4 threads x 50 rounds by default, each round one of each of the four kinds of work. With the system
 * property or the environment variable {@code MORLIN_CONCURRENCY_LONG} set (to anything), 16 threads x 2000
 * rounds, e.g. {@code MORLIN_CONCURRENCY_LONG=1 ctest --test-dir build/default -R junit_softhsm}. The workers
 * run in a pool that must finish within a time limit (60 s, 20 min for the long run): a deadlock or a hang
 * fails the test with the stacks of the workers, and the library is then left initialised rather than
 * finalised under threads still inside it.
 */
@Tag("softhsm")
class ConcurrencyOnSoftHsmTest {
    private static final boolean LONG = System.getProperty("MORLIN_CONCURRENCY_LONG") != null
            || System.getenv("MORLIN_CONCURRENCY_LONG") != null;
    private static final int THREADS = LONG ? 16 : 4;
    private static final int ROUNDS = LONG ? 2000 : 50;
    private static final Duration LIMIT = LONG ? Duration.ofMinutes(20) : Duration.ofSeconds(60);
    /** Data objects per thread, found in batches of two so that each search takes several C_FindObjects. */
    private static final int DATA_OBJECTS = 3;
    /** prime256v1 as CKA_EC_PARAMS holds it. */
    private static final byte[] P256 = HexFormat.of().parseHex("06082A8648CE3D030107");
    private static final CK_USER_TYPE USER = new CK_USER_TYPE(CK.CKU_USER);

    @Test
    void javaMutexCallbacksServeEveryThreadAndAreAllReleased() throws Exception {
        CountingMutexes mutexes = new CountingMutexes();
        Set<Thread> workers = run("java mutexes", mutexes.arguments(), false);
        System.out.printf("ConcurrencyOnSoftHsmTest, java mutexes: %d created, %d destroyed, %d locks, %d unlocks%n",
                mutexes.created.get(), mutexes.destroyed.get(), mutexes.locked.get(), mutexes.unlocked.get());

        List<String> errors = new ArrayList<>(mutexes.errors);
        assertTrue(errors.isEmpty(), () -> "callbacks: " + errors);
        assertTrue(mutexes.created.get() > 0, "SoftHSM2 created no mutex through Java");
        assertEquals(mutexes.created.get(), mutexes.destroyed.get(), "mutexes created and destroyed");
        assertTrue(mutexes.live.isEmpty(), () -> mutexes.live.size() + " mutexes never destroyed");
        assertEquals(mutexes.locked.get(), mutexes.unlocked.get(), "locks and unlocks");
        for (ReentrantLock lock : mutexes.all) {
            assertFalse(lock.isLocked(), "a mutex is still locked after C_Finalize");
        }
        // Every call looks its session up under a lock, and a round is more than a dozen calls.
        assertTrue(mutexes.locked.get() >= (long) THREADS * ROUNDS, "locks: " + mutexes.locked.get());
        assertTrue(mutexes.lockers.containsAll(workers), "not every worker locked through the Java callbacks");
    }

    @Test
    void operatingSystemLocking() throws Exception {
        CK_C_INITIALIZE_ARGS args = new CK_C_INITIALIZE_ARGS();
        args.flags = CK_C_INITIALIZE_ARGS.CKF_OS_LOCKING_OK;
        run("os locking", args, false);
    }

    @Test
    void noLockingWithThreadsTakingTurns() throws Exception {
        run("no locking", null, true);
    }

    /**
     * Initialises with {@code args}, logs the user in, runs the workload on THREADS workers and finalises. With
     * {@code takeTurns} the workers never call the token library at the same time. Returns the worker threads.
     */
    private static Set<Thread> run(String name, CK_C_INITIALIZE_ARGS args, boolean takeTurns) throws Exception {
        long start = System.nanoTime();
        ok(Cryptoki.C_Initialize(args));
        boolean stuck = false;
        CK_RV finalized = null;
        Set<Thread> threads = ConcurrentHashMap.newKeySet();
        try {
            long slot = SoftHsmToken.slot();
            CK_SESSION_HANDLE control = open(slot, true);
            ok(Cryptoki.C_Login(control, USER, SoftHsmToken.USER_PIN, SoftHsmToken.USER_PIN.length));
            String prefix = "morlin-concurrency-" + name.replace(' ', '-') + "-" + System.nanoTime() + "-";
            ReentrantLock turns = takeTurns ? new ReentrantLock(true) : null;
            List<Worker> workers = new ArrayList<>();
            for (int t = 0; t < THREADS; t++) {
                workers.add(new Worker(t, prefix + t, turns));
            }
            CountDownLatch ready = new CountDownLatch(THREADS);
            AtomicInteger number = new AtomicInteger();
            ExecutorService pool = Executors.newFixedThreadPool(THREADS, task -> {
                Thread thread = new Thread(task, "concurrency-" + name + "-" + number.getAndIncrement());
                // A worker stuck in the token library must not keep the JVM alive.
                thread.setDaemon(true);
                return thread;
            });
            ExecutorCompletionService<Void> done = new ExecutorCompletionService<>(pool);
            try {
                for (Worker worker : workers) {
                    done.submit(() -> {
                        threads.add(Thread.currentThread());
                        worker.thread = Thread.currentThread();
                        try {
                            worker.step(() -> worker.setUp(slot));
                        } finally {
                            ready.countDown();
                        }
                        // All start their rounds together, for the most overlap.
                        ready.await();
                        worker.rounds();
                        worker.step(worker::tearDown);
                        return null;
                    });
                }
                long deadline = System.nanoTime() + LIMIT.toNanos();
                for (int i = 0; i < THREADS; i++) {
                    Future<Void> result = done.poll(deadline - System.nanoTime(), NANOSECONDS);
                    if (result == null) {
                        stuck = true;
                        String message = name + ": workers still running after " + LIMIT + " (deadlock?)\n"
                                + stacks(workers);
                        // Now, not only in the report: the threads left inside the token library may hold up
                        // whatever runs after this test.
                        System.err.println(message);
                        fail(message);
                    }
                    try {
                        result.get();
                    } catch (ExecutionException e) {
                        throw new AssertionError(name + ": " + e.getCause(), e.getCause());
                    }
                }
            } finally {
                // After a failure the others stop at their next round.
                pool.shutdownNow();
                if (!pool.awaitTermination(10, SECONDS)) {
                    stuck = true;
                }
            }
            // Closing a session destroys its session objects: none of any worker is left.
            for (Worker worker : workers) {
                assertEquals(Set.of(), find(control, new CK_ATTRIBUTE(CK.CKA_APPLICATION, worker.application)),
                        worker.application);
                assertEquals(Set.of(), find(control, new CK_ATTRIBUTE(CK.CKA_LABEL, worker.application)),
                        worker.application);
            }
        } finally {
            // C_Finalize with threads still inside the token library would pull its state from under them.
            if (!stuck) {
                finalized = Cryptoki.C_Finalize(null);
            }
        }
        ok(finalized);
        System.out.printf("ConcurrencyOnSoftHsmTest, %s: %d threads x %d rounds in %d ms%n", name, THREADS, ROUNDS,
                Duration.ofNanos(System.nanoTime() - start).toMillis());
        return threads;
    }

    /** One thread's sessions, objects and rounds. */
    private static final class Worker {
        final int index;
        /** CKA_APPLICATION of its data objects and CKA_LABEL of its keys: no other worker's objects match. */
        final String application;
        final SplittableRandom random;
        /** Held around each step when the token library takes no locks; else null. */
        final ReentrantLock turns;
        volatile Thread thread;
        /** Read-write: makes the objects, encrypts and signs. */
        CK_SESSION_HANDLE crypto;
        /** Read-only: searches and reads, so objects are seen from a session other than their own. */
        CK_SESSION_HANDLE lookup;
        byte[] aesValue;
        CK_OBJECT_HANDLE aes;
        CK_OBJECT_HANDLE ecPublic;
        CK_OBJECT_HANDLE ecPrivate;
        byte[] ecPoint;
        PublicKey jdkPublic;
        final byte[][] dataValues = new byte[DATA_OBJECTS][];
        final CK_OBJECT_HANDLE[] data = new CK_OBJECT_HANDLE[DATA_OBJECTS];
        Set<Long> dataHandles;
        Cipher jdkCipher;
        Signature jdkVerifier;
        MessageDigest sha256;

        Worker(int index, String application, ReentrantLock turns) {
            this.index = index;
            this.application = application;
            this.turns = turns;
            this.random = new SplittableRandom(application.hashCode());
        }

        void setUp(long slot) throws Exception {
            crypto = open(slot, true);
            lookup = open(slot, false);
            aesValue = bytes(32);
            aes = create(crypto, new CK_ATTRIBUTE(CK.CKA_CLASS, CK.CKO_SECRET_KEY),
                    new CK_ATTRIBUTE(CK.CKA_KEY_TYPE, CK.CKK_AES), new CK_ATTRIBUTE(CK.CKA_TOKEN, false),
                    new CK_ATTRIBUTE(CK.CKA_SENSITIVE, false), new CK_ATTRIBUTE(CK.CKA_EXTRACTABLE, true),
                    new CK_ATTRIBUTE(CK.CKA_ENCRYPT, true), new CK_ATTRIBUTE(CK.CKA_DECRYPT, true),
                    new CK_ATTRIBUTE(CK.CKA_LABEL, application), new CK_ATTRIBUTE(CK.CKA_VALUE, aesValue));
            CK_ATTRIBUTE[] publicTemplate = {new CK_ATTRIBUTE(CK.CKA_TOKEN, false),
                new CK_ATTRIBUTE(CK.CKA_VERIFY, true), new CK_ATTRIBUTE(CK.CKA_EC_PARAMS, P256),
                new CK_ATTRIBUTE(CK.CKA_LABEL, application)};
            CK_ATTRIBUTE[] privateTemplate = {new CK_ATTRIBUTE(CK.CKA_TOKEN, false),
                new CK_ATTRIBUTE(CK.CKA_SIGN, true), new CK_ATTRIBUTE(CK.CKA_LABEL, application)};
            ecPublic = new CK_OBJECT_HANDLE(-77);
            ecPrivate = new CK_OBJECT_HANDLE(-77);
            ok(Cryptoki.C_GenerateKeyPair(crypto, new CK_MECHANISM(CK.CKM_EC_KEY_PAIR_GEN), publicTemplate, 4,
                    privateTemplate, 3, ecPublic, ecPrivate));
            assertNotEquals(-77, ecPublic.m_value);
            assertNotEquals(-77, ecPrivate.m_value);
            CK_ATTRIBUTE[] point = {CK_ATTRIBUTE.readBytes(CK.CKA_EC_POINT, 100)};
            ok(Cryptoki.C_GetAttributeValue(crypto, ecPublic, point, 1));
            ecPoint = point[0].bytes();
            // The uncompressed point 04 X Y (65 bytes) in a DER OCTET STRING.
            assertArrayEquals(new byte[] {0x04, 0x41, 0x04}, Arrays.copyOf(ecPoint, 3));
            jdkPublic = KeyFactory.getInstance("EC").generatePublic(new X509EncodedKeySpec(
                    Der.ecPublicKey(P256, Arrays.copyOfRange(ecPoint, 2, ecPoint.length))));
            dataHandles = new HashSet<>();
            for (int i = 0; i < DATA_OBJECTS; i++) {
                dataValues[i] = bytes(16 + random.nextInt(48));
                data[i] = create(crypto, new CK_ATTRIBUTE(CK.CKA_CLASS, CK.CKO_DATA),
                        new CK_ATTRIBUTE(CK.CKA_TOKEN, false), new CK_ATTRIBUTE(CK.CKA_APPLICATION, application),
                        new CK_ATTRIBUTE(CK.CKA_LABEL, application + "/" + i),
                        new CK_ATTRIBUTE(CK.CKA_VALUE, dataValues[i]));
                assertTrue(dataHandles.add(data[i].m_value), "handle given twice: " + data[i]);
            }
            jdkCipher = Cipher.getInstance("AES/CBC/PKCS5Padding");
            jdkVerifier = Signature.getInstance("SHA256withECDSA");
            jdkVerifier.initVerify(jdkPublic);
            sha256 = MessageDigest.getInstance("SHA-256");
        }

        void rounds() throws Exception {
            for (int round = 0; round < ROUNDS; round++) {
                if (Thread.interrupted()) {
                    throw new InterruptedException("stopped in round " + round);
                }
                String step = "AES";
                int r = round;
                try {
                    step(this::aesThereAndBack);
                    step = "ECDSA";
                    step(this::signAndVerify);
                    step = "find";
                    step(() -> findOwnObjects(r));
                    step = "attributes";
                    step(() -> readAttributes(r));
                } catch (AssertionError | Exception e) {
                    AssertionError failure = new AssertionError(
                            "worker " + index + ", round " + round + ", " + step + ": " + e.getMessage(), e);
                    failure.setStackTrace(e.getStackTrace());
                    throw failure;
                }
            }
        }

        /** One step of work, in turn with the other workers if they take turns. */
        void step(Step step) throws Exception {
            if (turns == null) {
                step.run();
                return;
            }
            turns.lock();
            try {
                step.run();
            } finally {
                turns.unlock();
            }
        }

        void tearDown() {
            ok(Cryptoki.C_CloseSession(lookup));
            ok(Cryptoki.C_CloseSession(crypto));
        }

        /**
         * CKM_AES_CBC_PAD of 1 to 100 random bytes: what the JDK makes, and back to the same bytes. Not 0: the
         * native passes an empty array as a null pointer, which SoftHSM2 refuses as input.
         */
        void aesThereAndBack() throws Exception {
            byte[] plain = bytes(1 + random.nextInt(100));
            byte[] iv = bytes(16);
            CK_MECHANISM mechanism = new CK_MECHANISM(CK.CKM_AES_CBC_PAD, iv);
            ok(Cryptoki.C_EncryptInit(crypto, mechanism, aes));
            byte[] sealed = sized((out, len) -> Cryptoki.C_Encrypt(crypto, plain, plain.length, out, len));
            jdkCipher.init(Cipher.ENCRYPT_MODE, new SecretKeySpec(aesValue, "AES"), new IvParameterSpec(iv));
            assertArrayEquals(jdkCipher.doFinal(plain), sealed, "ciphertext");
            ok(Cryptoki.C_DecryptInit(crypto, mechanism, aes));
            assertArrayEquals(plain, sized((out, len) -> Cryptoki.C_Decrypt(crypto, sealed, sealed.length, out, len)),
                    "decrypted");
        }

        /** CKM_ECDSA over SHA-256 of random data: the token and the JDK accept it, the token not with a bit changed. */
        void signAndVerify() throws Exception {
            byte[] message = bytes(1 + random.nextInt(200));
            byte[] digest = sha256.digest(message);
            CK_MECHANISM ecdsa = new CK_MECHANISM(CK.CKM_ECDSA);
            ok(Cryptoki.C_SignInit(crypto, ecdsa, ecPrivate));
            byte[] rs = sized((out, len) -> Cryptoki.C_Sign(crypto, digest, digest.length, out, len));
            assertEquals(64, rs.length, "signature length");
            ok(Cryptoki.C_VerifyInit(crypto, ecdsa, ecPublic));
            ok(Cryptoki.C_Verify(crypto, digest, digest.length, rs, rs.length));
            byte[] changed = rs.clone();
            changed[random.nextInt(changed.length)] ^= 0x10;
            ok(Cryptoki.C_VerifyInit(crypto, ecdsa, ecPublic));
            assertEquals(CK.CKR_SIGNATURE_INVALID,
                    Cryptoki.C_Verify(crypto, digest, digest.length, changed, changed.length).m_value);
            jdkVerifier.update(message);
            assertTrue(jdkVerifier.verify(Der.ecdsaSignature(rs)), "the JDK refuses the token's signature");
        }

        /**
         * In turn: its data objects by CKA_APPLICATION, its three keys by CKA_LABEL, its secret key by CKA_LABEL
         * and CKA_CLASS; each exactly. One search a round: SoftHSM2 reads every session object of every thread
         * for it, which with Java mutexes is some hundreds of callbacks.
         */
        void findOwnObjects(int round) {
            switch (round % 3) {
                case 0:
                    assertEquals(dataHandles, find(lookup, new CK_ATTRIBUTE(CK.CKA_APPLICATION, application)),
                            "data");
                    break;
                case 1:
                    assertEquals(Set.of(aes.m_value, ecPublic.m_value, ecPrivate.m_value),
                            find(lookup, new CK_ATTRIBUTE(CK.CKA_LABEL, application)), "keys");
                    break;
                default:
                    assertEquals(Set.of(aes.m_value), find(lookup, new CK_ATTRIBUTE(CK.CKA_LABEL, application),
                            new CK_ATTRIBUTE(CK.CKA_CLASS, CK.CKO_SECRET_KEY)), "secret key");
            }
        }

        /** The AES key, one data object in turn and the public key: the values given or first read. */
        void readAttributes(int round) {
            CK_ATTRIBUTE[] key = {CK_ATTRIBUTE.readLong(CK.CKA_CLASS), CK_ATTRIBUTE.readLong(CK.CKA_KEY_TYPE),
                CK_ATTRIBUTE.readLong(CK.CKA_VALUE_LEN), CK_ATTRIBUTE.readBytes(CK.CKA_VALUE, 48),
                CK_ATTRIBUTE.readBytes(CK.CKA_LABEL, 100), CK_ATTRIBUTE.readBool(CK.CKA_ENCRYPT)};
            ok(Cryptoki.C_GetAttributeValue(lookup, aes, key, key.length));
            assertEquals(CK.CKO_SECRET_KEY, key[0].longValue());
            assertEquals(CK.CKK_AES, key[1].longValue());
            assertEquals(32, key[2].longValue());
            assertArrayEquals(aesValue, key[3].bytes());
            assertEquals(application, key[4].string());
            assertTrue(key[5].booleanValue());

            int i = round % DATA_OBJECTS;
            CK_ATTRIBUTE[] object = {CK_ATTRIBUTE.readLong(CK.CKA_CLASS), CK_ATTRIBUTE.readBytes(CK.CKA_VALUE, 100),
                CK_ATTRIBUTE.readBytes(CK.CKA_APPLICATION, 100), CK_ATTRIBUTE.readBytes(CK.CKA_LABEL, 100)};
            ok(Cryptoki.C_GetAttributeValue(lookup, data[i], object, object.length));
            assertEquals(CK.CKO_DATA, object[0].longValue());
            assertArrayEquals(dataValues[i], object[1].bytes());
            assertEquals(application, object[2].string());
            assertEquals(application + "/" + i, object[3].string());

            CK_ATTRIBUTE[] point = {CK_ATTRIBUTE.readBytes(CK.CKA_EC_POINT, 100),
                CK_ATTRIBUTE.readBytes(CK.CKA_EC_PARAMS, 100)};
            ok(Cryptoki.C_GetAttributeValue(lookup, ecPublic, point, point.length));
            assertArrayEquals(ecPoint, point[0].bytes());
            assertArrayEquals(P256, point[1].bytes());
        }

        byte[] bytes(int length) {
            byte[] bytes = new byte[length];
            random.nextBytes(bytes);
            return bytes;
        }
    }

    @FunctionalInterface
    private interface Step {
        void run() throws Exception;
    }

    /**
     * The Java callbacks of {@code withReentrantLocks}, counted, and checked for a mutex used that is not live
     * or a callback that answers anything but CKR_OK.
     */
    private static final class CountingMutexes {
        final CK_C_INITIALIZE_ARGS base = CK_C_INITIALIZE_ARGS.withReentrantLocks(0);
        final AtomicLong created = new AtomicLong();
        final AtomicLong destroyed = new AtomicLong();
        final AtomicLong locked = new AtomicLong();
        final AtomicLong unlocked = new AtomicLong();
        final Set<Object> live = ConcurrentHashMap.newKeySet();
        final Queue<ReentrantLock> all = new ConcurrentLinkedQueue<>();
        final Set<Thread> lockers = ConcurrentHashMap.newKeySet();
        final Queue<String> errors = new ConcurrentLinkedQueue<>();

        CK_C_INITIALIZE_ARGS arguments() {
            return new CK_C_INITIALIZE_ARGS(this::create, this::destroy, this::lock, this::unlock, 0);
        }

        private Object create() {
            Object mutex = base.createMutex.CreateMutex();
            if (!(mutex instanceof ReentrantLock)) {
                errors.add("CreateMutex gave " + mutex);
                return mutex;
            }
            created.incrementAndGet();
            all.add((ReentrantLock) mutex);
            live.add(mutex);
            return mutex;
        }

        private long destroy(Object mutex) {
            if (!live.remove(mutex)) {
                errors.add("DestroyMutex of a mutex that is not live: " + mutex);
            }
            if (mutex instanceof ReentrantLock && ((ReentrantLock) mutex).isLocked()) {
                errors.add("DestroyMutex of a locked mutex: " + mutex);
            }
            return counted(destroyed, "DestroyMutex", base.destroyMutex.DestroyMutex(mutex));
        }

        private long lock(Object mutex) {
            if (!live.contains(mutex)) {
                errors.add("LockMutex of a mutex that is not live: " + mutex);
            }
            lockers.add(Thread.currentThread());
            return counted(locked, "LockMutex", base.lockMutex.LockMutex(mutex));
        }

        private long unlock(Object mutex) {
            if (!live.contains(mutex)) {
                errors.add("UnlockMutex of a mutex that is not live: " + mutex);
            }
            return counted(unlocked, "UnlockMutex", base.unlockMutex.UnlockMutex(mutex));
        }

        private long counted(AtomicLong count, String what, long rv) {
            if (rv == CK_RV.CKR_OK) {
                count.incrementAndGet();
            } else {
                errors.add(what + " answered " + new CK_RV(rv) + " on " + Thread.currentThread().getName());
            }
            return rv;
        }
    }

    // ---- helpers -------------------------------------------------------------

    private static CK_SESSION_HANDLE open(long slot, boolean readWrite) {
        CK_SESSION_HANDLE session = new CK_SESSION_HANDLE(-77);
        ok(Cryptoki.C_OpenSession(slot, CK.CKF_SERIAL_SESSION | (readWrite ? CK.CKF_RW_SESSION : 0), null, null,
                session));
        assertNotEquals(-77, session.m_value);
        return session;
    }

    private static CK_OBJECT_HANDLE create(CK_SESSION_HANDLE session, CK_ATTRIBUTE... template) {
        CK_OBJECT_HANDLE object = new CK_OBJECT_HANDLE(-77);
        ok(Cryptoki.C_CreateObject(session, template, template.length, object));
        assertNotEquals(-77, object.m_value);
        return object;
    }

    /** The handles that match {@code template}, in batches of two; a handle found twice fails. */
    private static Set<Long> find(CK_SESSION_HANDLE session, CK_ATTRIBUTE... template) {
        ok(Cryptoki.C_FindObjectsInit(session, template, template.length));
        Set<Long> found = new HashSet<>();
        CK_OBJECT_HANDLE[] batch = {new CK_OBJECT_HANDLE(-77), new CK_OBJECT_HANDLE(-77)};
        LongRef count = new LongRef(-77);
        for (int calls = 0; ; calls++) {
            assertTrue(calls < 10, "C_FindObjects does not come to an end");
            ok(Cryptoki.C_FindObjects(session, batch, batch.length, count));
            assertTrue(count.value >= 0 && count.value <= batch.length, "count " + count.value);
            if (count.value == 0) {
                break;
            }
            for (int i = 0; i < count.value; i++) {
                assertTrue(found.add(batch[i].m_value), "found twice: " + batch[i]);
                batch[i].m_value = -77;
            }
        }
        ok(Cryptoki.C_FindObjectsFinal(session));
        return found;
    }

    /** A call under the output rules of C_Encrypt: the size query, then the bytes, cut to the length reported. */
    private static byte[] sized(BiFunction<byte[], LongRef, CK_RV> call) {
        LongRef length = new LongRef(-77);
        ok(call.apply(null, length));
        assertTrue(length.value >= 0 && length.value < 1 << 16, "size " + length.value);
        byte[] out = new byte[(int) length.value];
        ok(call.apply(out, length));
        assertTrue(length.value >= 0 && length.value <= out.length, "length " + length.value);
        return Arrays.copyOf(out, (int) length.value);
    }

    /** Where each worker stands, for the failure message of a run that does not finish. */
    private static String stacks(List<Worker> workers) {
        StringBuilder text = new StringBuilder();
        Map<Thread, StackTraceElement[]> all = Thread.getAllStackTraces();
        for (Worker worker : workers) {
            Thread thread = worker.thread;
            text.append("worker ").append(worker.index).append(thread == null ? " (not started)" : " " + thread.getName())
                    .append('\n');
            if (thread != null) {
                for (StackTraceElement frame : all.getOrDefault(thread, new StackTraceElement[0])) {
                    text.append("    at ").append(frame).append('\n');
                }
            }
        }
        return text.toString();
    }
}
