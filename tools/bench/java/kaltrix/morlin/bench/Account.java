package kaltrix.morlin.bench;

import java.io.IOException;
import java.io.PrintStream;
import java.io.UncheckedIOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.EnumMap;
import java.util.List;
import java.util.Locale;
import java.util.Map;
import java.util.TreeMap;

/**
 * The per-call account: what each operation's JNI calls and buffers cost on
 * this JVM, against what morlin took.
 *
 * <p>The JNI calls of each operation, by entry, come from the native test
 * that counts them (MORLIN_JNI_ACCOUNT, see tests/native/accountTest.cpp),
 * which also holds them to the calls that the natives' contracts list. The
 * floor of an operation is then the C floor plus every one of those calls
 * priced at its single-step time from {@link JniSteps} in the same JVM (the
 * class, field and method lookups replayed in the operation's own order, in
 * the rounds, by {@link LookupsDriver}), plus
 * the buffers that the contracts make the bridge allocate and copy (a calloc
 * per converted input and per output buffer, a copy into the array elements).
 * What morlin takes beyond that floor is its own code, and everything that
 * the single steps do not capture (cache misses, the local references that
 * pile up during a call).
 */
final class Account {
    private Account() {
    }

    /** What the counting test wrote: each operation's JNI calls by entry, and its lookups in order. */
    static final class Counted {
        final Map<Op, Map<String, Integer>> calls = new EnumMap<>(Op.class);
        final Map<Op, List<String>> lookups = new EnumMap<>(Op.class);
    }

    static Counted read(Path file) {
        Counted counted = new Counted();
        try {
            for (String line : Files.readAllLines(file)) {
                String[] f = line.trim().split("\\s+");
                if (f.length >= 2 && f[1].equals("lookups")) {
                    counted.lookups.put(Op.valueOf(f[0]), List.of(f).subList(2, f.length));
                } else if (f.length == 3) {
                    counted.calls.computeIfAbsent(Op.valueOf(f[0]), k -> new TreeMap<>()).put(f[1],
                            Integer.parseInt(f[2]));
                }
            }
        } catch (IOException e) {
            throw new UncheckedIOException(e);
        }
        return counted;
    }

    /**
     * The bulk steps of an operation, by the step names of {@link JniSteps}:
     * array copies at the size they move, allocations of the bridge's own
     * buffers, and the copy into array elements. Small values (a 5-byte label,
     * a 12-byte IV, a CK_ULONG) are priced at 16 bytes.
     */
    static List<String> bulk(Op op) {
        switch (op) {
        case GetInfo:
            return List.of("NewByteArray@32", "NewByteArray@32", "SetByteArrayRegion@32", "SetByteArrayRegion@32");
        case GenerateRandom32:
            return List.of(pair(32), "calloc+free@32", "memcpy@32");
        case EncryptEcb16:
            return data(16);
        case EncryptEcb1K:
            return data(1024);
        case EncryptEcb64K:
            return data(65536);
        case EncryptCbc16:
            return concat(data(16), "GetByteArrayRegion@16", "calloc+free@16");
        case EncryptGcm1K:
            // The parameter structure, IV and AAD in, the IV written back.
            return concat(data(1024), "calloc+free@32", "GetByteArrayRegion@16", "calloc+free@16",
                    "GetByteArrayRegion@16", "calloc+free@16", pair(16), "memcpy@16");
        case SignRsa32:
            return List.of("GetByteArrayRegion@32", "calloc+free@32", pair(256), "calloc+free@256", "memcpy@256");
        case GetAttributeValue4:
            // The template array, four values (the label read and written back).
            return List.of("calloc+free@256", "calloc+free@16", "calloc+free@16", "calloc+free@16",
                    "calloc+free@16", "GetByteArrayRegion@16", pair(16));
        case FindObjects10:
            return List.of("calloc+free@32", "calloc+free@16", "calloc+free@256");
        case GenerateKey6:
            return List.of("calloc+free@256", "calloc+free@16", "calloc+free@16", "calloc+free@16",
                    "calloc+free@16", "calloc+free@16", "calloc+free@16", "GetByteArrayRegion@16");
        default:
            throw new IllegalArgumentException(op.name());
        }
    }

    /** The native methods that one operation calls. */
    static int natives(Op op) {
        switch (op) {
        case GetInfo:
        case GenerateRandom32:
        case GetAttributeValue4:
        case GenerateKey6:
            return 1;
        case FindObjects10:
            return 3;
        default:
            return 2;
        }
    }

    private static String pair(int size) {
        return "GetByteArrayElements+ReleaseByteArrayElements@" + size;
    }

    /** The data shape: input copied in, output buffer, elements written back. */
    private static List<String> data(int size) {
        return List.of("GetByteArrayRegion@" + size, "calloc+free@" + size, "calloc+free@" + size, pair(size),
                "memcpy@" + size);
    }

    private static List<String> concat(List<String> a, String... b) {
        List<String> all = new ArrayList<>(a);
        all.addAll(List.of(b));
        return all;
    }

    // Entries whose cost goes by size are priced through bulk().
    private static boolean sized(String entry) {
        return entry.equals("GetByteArrayRegion") || entry.equals("GetByteArrayElements")
                || entry.equals("ReleaseByteArrayElements") || entry.equals("NewByteArray")
                || entry.equals("SetByteArrayRegion");
    }

    /** The single step that prices one call of an entry. */
    private static String stepOf(String entry) {
        switch (entry) {
        case "IsInstanceOf":
            return "IsInstanceOf@other";
        case "CallLongMethodV":
            return "CallLongMethod";
        case "CallBooleanMethodV":
            return "CallBooleanMethod";
        default:
            return entry;
        }
    }

    /** One operation's account: its lookups and all its JNI calls, their prices, and morlin's time. */
    record Line(Op op, int lookups, int calls, double lookupNs, double floorNs, double morlinNs) {
    }

    private static boolean lookup(String entry) {
        return entry.equals("FindClass") || entry.equals("GetFieldID") || entry.equals("GetMethodID");
    }

    /** The account of every operation with counts and a morlin cell. */
    static List<Line> lines(Results results, Map<Op, Map<String, Integer>> calls) {
        Map<String, Double> steps = new TreeMap<>();
        for (Results.Step step : results.steps) {
            steps.put(step.name(), step.ns());
        }
        List<Line> lines = new ArrayList<>();
        for (Op op : results.ops()) {
            Map<String, Integer> counts = calls.get(op);
            Results.Cell c = results.cell(op, Results.C);
            Results.Cell morlin = results.cell(op, Results.MORLIN);
            Results.Cell replayed = results.cell(op, LookupsDriver.NAME);
            if (counts == null || c == null || morlin == null) {
                continue;
            }
            int lookups = 0;
            int all = 0;
            double lookupNs = 0;
            double otherNs = 0;
            for (Map.Entry<String, Integer> e : counts.entrySet()) {
                all += e.getValue();
                if (sized(e.getKey())) {
                    continue;
                }
                double ns = e.getValue() * price(steps, stepOf(e.getKey()));
                if (lookup(e.getKey())) {
                    lookups += e.getValue();
                    lookupNs += ns;
                } else {
                    otherNs += ns;
                }
            }
            // The lookups as the operation makes them, replayed in the rounds,
            // where that was done; else at their single-step prices.
            if (replayed != null) {
                lookupNs = replayed.medianNs();
            }
            double floor = c.medianNs() + natives(op) * price(steps, "native-call") + lookupNs + otherNs;
            for (String step : bulk(op)) {
                floor += price(steps, step);
            }
            lines.add(new Line(op, lookups, all, lookupNs, floor, morlin.medianNs()));
        }
        return lines;
    }

    private static double price(Map<String, Double> steps, String step) {
        Double ns = steps.get(step);
        if (ns == null) {
            throw new BenchFailure("the account needs the JNI step " + step);
        }
        return ns;
    }

    static void print(List<Line> lines, PrintStream out) {
        out.println();
        out.println("Account: JNI calls per operation, their cost at the single-step times, and morlin");
        String format = "%-19s %8s %8s %12s %12s %12s %9s%n";
        out.printf(Locale.ROOT, format, "operation", "lookups", "calls", "lookups ns", "floor ns", "morlin ns",
                "m/floor");
        for (Line l : lines) {
            out.printf(Locale.ROOT, format, l.op(), l.lookups(), l.calls(), Table.ns(l.lookupNs()),
                    Table.ns(l.floorNs()), Table.ns(l.morlinNs()),
                    String.format(Locale.ROOT, "%.2f", l.morlinNs() / l.floorNs()));
        }
    }
}
