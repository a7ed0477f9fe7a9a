package kaltrix.morlin.bench;

/**
 * A driver whose loops run in Java, one loop per kind of operation, picked
 * here from the operation. M is the binding's own mechanism class. A loop
 * that throws a checked exception (the JDK's wrapper reports a failed call
 * so) fails the operation with its message.
 */
abstract class JavaDriver<M> extends Driver {
    private final M ecb;
    private final M cbc;
    private final M gcm;

    JavaDriver(String name, M ecb, M cbc, M gcm) {
        super(name);
        this.ecb = ecb;
        this.cbc = cbc;
        this.gcm = gcm;
    }

    @Override
    final long time(Op op, long n) {
        try {
            switch (op) {
            case GetInfo:
                return getInfo(n);
            case GenerateRandom32:
                return generateRandom(n);
            case EncryptEcb16:
            case EncryptEcb1K:
            case EncryptEcb64K:
                return encrypt(op, ecb, n);
            case EncryptCbc16:
                return encrypt(op, cbc, n);
            case EncryptGcm1K:
                return encrypt(op, gcm, n);
            case SignRsa32:
                return sign(n);
            case GetAttributeValue4:
                return getAttributeValue(n);
            case FindObjects10:
                return findObjects(n);
            case GenerateKey6:
                return generateKey(n);
            default:
                throw new AssertionError(op);
            }
        } catch (RuntimeException e) {
            throw e;
        } catch (Exception e) {
            throw failure(op, e.getMessage());
        }
    }

    abstract long getInfo(long n) throws Exception;

    abstract long generateRandom(long n) throws Exception;

    /** EncryptInit with the mechanism and one Encrypt of the operation's size, n times. */
    abstract long encrypt(Op op, M mechanism, long n) throws Exception;

    abstract long sign(long n) throws Exception;

    abstract long getAttributeValue(long n) throws Exception;

    abstract long findObjects(long n) throws Exception;

    abstract long generateKey(long n) throws Exception;
}
