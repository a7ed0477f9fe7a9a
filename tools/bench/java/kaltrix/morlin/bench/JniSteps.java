package kaltrix.morlin.bench;

import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.function.LongUnaryOperator;

/**
 * Single JNI steps, each timed in a C loop inside one native method (see
 * native/jniSteps.cpp), so that a morlin call can be accounted for as the
 * sum of the steps it makes. One more is timed from Java: "native-call", a
 * call of an empty static native method, the transition that every
 * Cryptoki native pays once.
 */
final class JniSteps {
    static {
        System.loadLibrary("morlinbench");
    }

    private JniSteps() {
    }

    /**
     * Times every step: a loop calibrated to about a twentieth of a round,
     * repeated once per round; the result is the median.
     */
    static List<Results.Step> measure(Options options) {
        long loopNs = Math.max(1_000_000, options.roundMs * 1_000_000 / 20);
        String[] names = names();
        List<Results.Step> steps = new ArrayList<>();
        steps.add(new Results.Step("native-call", median(n -> time(-1, n), loopNs, options.rounds)));
        for (int i = 0; i < names.length; i++) {
            int step = i;
            steps.add(new Results.Step(names[i], median(n -> time(step, n), loopNs, options.rounds)));
        }
        return steps;
    }

    /**
     * Makes the lookups of the records in order, n times over, each time in
     * a fresh local frame, as one native call makes them; returns the
     * nanoseconds taken. A record is "C:class" for FindClass,
     * "F:class:name:sig" for GetFieldID and "M:class:name:sig" for
     * GetMethodID.
     */
    static long replay(String[] records, long n) {
        return lookups(records, n);
    }

    private static double median(LongUnaryOperator timer, long loopNs, int repeats) {
        long n = 1;
        long elapsed;
        while ((elapsed = Math.max(1, timer.applyAsLong(n))) < loopNs / 4) {
            n *= 2;
        }
        n = Math.max(1, Math.round((double) n * loopNs / elapsed));
        double[] perStep = new double[repeats];
        for (int r = 0; r < repeats; r++) {
            perStep[r] = (double) timer.applyAsLong(n) / n;
        }
        Arrays.sort(perStep);
        return Protocol.median(perStep);
    }

    /** Step -1 is the native call from Java; the others are the native steps. */
    private static long time(int step, long n) {
        if (step >= 0) {
            return run(step, n);
        }
        long start = System.nanoTime();
        for (long i = 0; i < n; i++) {
            nothing();
        }
        return System.nanoTime() - start;
    }

    /** The names of the native steps, in the order of their numbers; must come first. */
    private static native String[] names();

    /** Runs native step number step n times; returns the nanoseconds taken. */
    private static native long run(int step, long n);

    private static native void nothing();

    /** Makes the lookups in order, n times over, each time in a fresh local frame; nanoseconds taken. */
    private static native long lookups(String[] records, long n);
}
