package kaltrix.morlin.bench;

import java.util.ArrayList;
import java.util.EnumSet;
import java.util.List;

/**
 * The operations timed, each one a unit of work as an application does it:
 * an initialisation and its single-part call count as one. The names are the
 * keys under which the results are written and the JNI calls accounted for.
 */
enum Op {
    GetInfo,
    GenerateRandom32,
    EncryptEcb16,
    EncryptEcb1K,
    EncryptEcb64K,
    EncryptCbc16,
    EncryptGcm1K,
    SignRsa32,
    GetAttributeValue4,
    FindObjects10,
    GenerateKey6;

    // The sizes that the names promise, in bytes, and the most handles one
    // FindObjects10 asks for.
    static final int RANDOM = 32;
    static final int SMALL = 16;
    static final int MEDIUM = 1024;
    static final int LARGE = 65536;
    static final int GCM_TAG = 16;
    static final int SIGN_INPUT = 32;
    static final int SIGNATURE = 256;
    static final int FIND_MAX = 10;

    /**
     * The operations named in a comma-separated list, in the order of this
     * enum.
     *
     * @throws IllegalArgumentException for a name that is not one
     */
    static List<Op> parse(String list) {
        EnumSet<Op> ops = EnumSet.noneOf(Op.class);
        for (String name : list.split(",")) {
            try {
                ops.add(valueOf(name.trim()));
            } catch (IllegalArgumentException e) {
                throw new IllegalArgumentException("no operation " + name.trim());
            }
        }
        return new ArrayList<>(ops);
    }
}
