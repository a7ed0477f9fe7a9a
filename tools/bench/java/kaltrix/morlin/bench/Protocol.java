package kaltrix.morlin.bench;

import java.io.PrintStream;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;

/**
 * How the cells (operation, driver) are timed. First each cell warms up for
 * the warm-up time, in loops that double in length; the last loop's time per
 * operation fixes the cell's iteration count, the number that takes about
 * one round length. Then come the rounds: in each, every operation, and
 * within it every driver in turn, runs one loop of its count. A cell's
 * result is the median time per operation over the rounds, with the lowest
 * and the highest. Drivers take turns within an operation so that all three
 * see the same state of the machine and of the token.
 */
final class Protocol {
    private final Options options;
    private final List<Driver> drivers;

    Protocol(Options options, List<Driver> drivers) {
        this.options = options;
        this.drivers = drivers;
    }

    List<Results.Cell> run(PrintStream log) {
        List<Op> ops = options.ops;
        long[][] iterations = new long[ops.size()][drivers.size()];
        log.printf("warm-up: %d ms for each of %d operations and %d drivers%n", options.warmupMs, ops.size(),
                drivers.size());
        for (int o = 0; o < ops.size(); o++) {
            for (int d = 0; d < drivers.size(); d++) {
                iterations[o][d] = warmUp(drivers.get(d), ops.get(o));
            }
        }
        double[][][] perOp = new double[ops.size()][drivers.size()][options.rounds];
        for (int r = 0; r < options.rounds; r++) {
            log.printf("round %d of %d%n", r + 1, options.rounds);
            for (int o = 0; o < ops.size(); o++) {
                for (int d = 0; d < drivers.size(); d++) {
                    Driver driver = drivers.get(d);
                    long n = iterations[o][d];
                    perOp[o][d][r] = (double) driver.time(ops.get(o), n) / n;
                    driver.afterLoop(ops.get(o));
                }
            }
        }
        List<Results.Cell> cells = new ArrayList<>();
        for (int o = 0; o < ops.size(); o++) {
            for (int d = 0; d < drivers.size(); d++) {
                double[] samples = perOp[o][d].clone();
                Arrays.sort(samples);
                cells.add(new Results.Cell(ops.get(o), drivers.get(d).name, median(samples), samples[0],
                        samples[samples.length - 1], iterations[o][d]));
            }
        }
        return cells;
    }

    /** Warms a cell up and returns its iteration count for a round. */
    private long warmUp(Driver driver, Op op) {
        long budget = options.warmupMs * 1_000_000;
        long spent = 0;
        long n = 1;
        double nsPerOp;
        do {
            long elapsed = Math.max(1, driver.time(op, n));
            driver.afterLoop(op);
            spent += elapsed;
            nsPerOp = (double) elapsed / n;
            if (elapsed < budget / 10) {
                n *= 2;
            }
        } while (spent < budget);
        return Math.max(1, Math.round(options.roundMs * 1e6 / nsPerOp));
    }

    /** The median of sorted numbers. */
    static double median(double[] sorted) {
        int middle = sorted.length / 2;
        return sorted.length % 2 == 1 ? sorted[middle] : (sorted[middle - 1] + sorted[middle]) / 2;
    }
}
