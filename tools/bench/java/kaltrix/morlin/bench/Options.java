package kaltrix.morlin.bench;

import java.nio.file.Path;
import java.util.Arrays;
import java.util.List;

/** The command line of {@link Bench}. */
final class Options {
    static final String USAGE = String.join("\n",
            "usage: Bench --target null|softhsm --module PATH [options]",
            "  --module PATH     the PKCS#11 module that the C floor and the JDK's wrapper load; the same",
            "                    file that morlin's libcryptoki.so is or forwards to",
            "  --label LABEL     the token's label (default: the first token)",
            "  --pin PIN         the user PIN (default 123456)",
            "  --warmup-ms MS    warm-up of each operation and driver (default 1000)",
            "  --round-ms MS     length of each timed loop (default 1000)",
            "  --rounds N        timed rounds (default 5)",
            "  --ops A,B,...     the operations to time (default all: " + Arrays.toString(Op.values()) + ")",
            "  --out DIR         where results and chart go (default build/bench)",
            "  --account FILE    the JNI calls of each operation, as the counting test writes them:",
            "                    adds the per-call account to the table and the results",
            "  --profile OP      run only morlin's loop of OP, --iterations times, and nothing else",
            "                    (for a profiler that counts inside the natives)",
            "  --iterations N    the loop of --profile (default 2000)");

    String target;
    String module;
    String label;
    String pin = "123456";
    long warmupMs = 1000;
    long roundMs = 1000;
    int rounds = 5;
    List<Op> ops = List.of(Op.values());
    Path out = Path.of("build", "bench");
    Path account;
    Op profile;
    long iterations = 2000;

    /** The benchmark's own module: AES-GCM appends no tag, answers are filler. */
    boolean nullModule() {
        return target.equals("null");
    }

    /**
     * @throws IllegalArgumentException with a message for the user
     */
    static Options parse(String[] args) {
        Options o = new Options();
        for (int i = 0; i < args.length; i++) {
            String option = args[i];
            if (i + 1 >= args.length) {
                throw new IllegalArgumentException(option + " needs a value");
            }
            String value = args[++i];
            switch (option) {
            case "--target":
                o.target = value;
                break;
            case "--module":
                o.module = value;
                break;
            case "--label":
                o.label = value;
                break;
            case "--pin":
                o.pin = value;
                break;
            case "--warmup-ms":
                o.warmupMs = positive(option, value);
                break;
            case "--round-ms":
                o.roundMs = positive(option, value);
                break;
            case "--rounds":
                o.rounds = (int) positive(option, value);
                break;
            case "--ops":
                o.ops = Op.parse(value);
                break;
            case "--out":
                o.out = Path.of(value);
                break;
            case "--account":
                o.account = Path.of(value);
                break;
            case "--profile":
                o.profile = Op.parse(value).get(0);
                break;
            case "--iterations":
                o.iterations = positive(option, value);
                break;
            default:
                throw new IllegalArgumentException("unknown option " + option);
            }
        }
        if (o.target == null || !(o.target.equals("null") || o.target.equals("softhsm"))) {
            throw new IllegalArgumentException("--target must be null or softhsm");
        }
        if (o.module == null) {
            throw new IllegalArgumentException("--module is required");
        }
        return o;
    }

    private static long positive(String option, String value) {
        try {
            long n = Long.parseLong(value);
            if (n > 0 && n <= Integer.MAX_VALUE) {
                return n;
            }
        } catch (NumberFormatException e) {
            // reported below
        }
        throw new IllegalArgumentException(option + " takes a positive number, not " + value);
    }
}
