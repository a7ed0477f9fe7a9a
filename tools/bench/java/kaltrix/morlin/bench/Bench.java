package kaltrix.morlin.bench;

import java.io.IOException;
import java.io.PrintStream;
import java.nio.charset.StandardCharsets;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;

/**
 * Times the same Cryptoki operations side by side, in one JVM, through three
 * drivers on one module: C calling the module directly (the floor), morlin,
 * and the JDK's own PKCS#11 wrapper. One run is one target, since the
 * libcryptoki.so behind libmorlin.so is fixed for the process:
 *
 * <ul>
 * <li>null: the benchmark's null module, which answers at once; what remains
 * is each caller's own cost</li>
 * <li>softhsm: SoftHSM2, with morlin going through the forwarding
 * libcryptoki.so and the other two loading libsofthsm2.so directly; all three
 * share one SoftHSM2 instance</li>
 * </ul>
 *
 * <p>Prints a table, writes results-TARGET.tsv with the JNI step timings to
 * the output directory, and redraws the chart from every results file there.
 * tools/bench/run.sh starts it with the environment each target needs. Exits
 * with 1 when a call fails, 2 on a bad command line.
 */
public final class Bench {
    private Bench() {
    }

    public static void main(String[] args) throws IOException {
        if (args.length == 1 && (args[0].equals("--help") || args[0].equals("-h"))) {
            System.out.println(Options.USAGE);
            return;
        }
        Options options;
        try {
            options = Options.parse(args);
        } catch (IllegalArgumentException e) {
            System.err.println(e.getMessage());
            System.err.println(Options.USAGE);
            System.exit(2);
            return;
        }
        try {
            run(options, System.out);
        } catch (BenchFailure e) {
            System.err.println("bench: FAILED: " + e.getMessage());
            System.exit(1);
        }
    }

    private static void run(Options options, PrintStream out) throws IOException {
        if (options.profile != null) {
            // Nothing but the loop: the profiler counts inside the natives.
            MorlinDriver morlin = new MorlinDriver(options.label, options.pin.getBytes(StandardCharsets.UTF_8),
                    options.nullModule());
            long ns = morlin.time(options.profile, options.iterations);
            out.println(options.profile + ": " + options.iterations + " in " + ns + " ns");
            return;
        }
        Results results = new Results(options.target);
        results.about.put("module", options.module);
        results.about.putAll(Machine.describe());
        results.about.put("protocol", "warm-up " + options.warmupMs + " ms per cell, " + options.rounds
                + " rounds of about " + options.roundMs + " ms per cell");
        out.println("morlin benchmark, target " + options.target);
        results.about.forEach((key, value) -> out.printf("  %-10s %s%n", key, value));

        // morlin first: it initialises the module, logs in and makes the
        // objects that the others then use.
        byte[] pin = options.pin.getBytes(StandardCharsets.UTF_8);
        MorlinDriver morlin = new MorlinDriver(options.label, pin, options.nullModule());
        Fixture fixture = morlin.fixture();
        List<Driver> drivers = new ArrayList<>(List.of(new CDriver(options.module, fixture), morlin,
                new JdkDriver(options.module, fixture)));
        // With the account, the lookups that morlin's operations must make
        // take their turn in the rounds too.
        Account.Counted counted = options.account == null ? null : Account.read(options.account);
        if (counted != null) {
            drivers.add(new LookupsDriver(counted.lookups));
        }

        results.cells.addAll(new Protocol(options, drivers).run(out));
        out.println("JNI steps");
        results.steps.addAll(JniSteps.measure(options));
        if (counted != null) {
            results.account.addAll(Account.lines(results, counted.calls));
        }

        Table.print(results, out);
        Table.printSteps(results, out);
        if (counted != null) {
            Account.print(results.account, out);
        }
        results.write(options.out);
        out.println();
        out.println("results: " + Results.file(options.out, options.target));
        Path chart = Chart.write(options.out);
        out.println("chart:   " + chart);
    }
}
