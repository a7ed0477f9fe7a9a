package kaltrix.morlin.bench;

import java.io.PrintStream;
import java.util.Locale;

/** The results as text tables for the terminal. */
final class Table {
    private Table() {
    }

    static void print(Results results, PrintStream out) {
        out.println();
        out.println("Target " + results.target + ": ns per operation, median of the rounds [lowest-highest]");
        String format = "%-19s %12s  %-28s %-28s %9s %9s %11s%n";
        out.printf(Locale.ROOT, format, "operation", "C", "morlin", "JDK", "morlin/C", "JDK/C", "morlin/JDK");
        for (Op op : results.ops()) {
            out.printf(Locale.ROOT, format, op, median(results.cell(op, Results.C)),
                    withRange(results.cell(op, Results.MORLIN)), withRange(results.cell(op, Results.JDK)),
                    ratio(results.ratio(op, Results.MORLIN, Results.C)),
                    ratio(results.ratio(op, Results.JDK, Results.C)),
                    ratio(results.ratio(op, Results.MORLIN, Results.JDK)));
        }
    }

    static void printSteps(Results results, PrintStream out) {
        out.println();
        out.println("JNI steps: ns per step, median");
        for (Results.Step step : results.steps) {
            out.printf(Locale.ROOT, "  %-52s %10s%n", step.name(), ns(step.ns()));
        }
    }

    private static String median(Results.Cell cell) {
        return cell == null ? "-" : ns(cell.medianNs());
    }

    private static String withRange(Results.Cell cell) {
        return cell == null ? "-" : ns(cell.medianNs()) + " [" + ns(cell.lowNs()) + "-" + ns(cell.highNs()) + "]";
    }

    /** Three significant digits at least, no more decimals than make sense for a nanosecond. */
    static String ns(double value) {
        if (value < 10) {
            return String.format(Locale.ROOT, "%.2f", value);
        }
        return String.format(Locale.ROOT, value < 100 ? "%.1f" : "%.0f", value);
    }

    private static String ratio(double value) {
        return Double.isNaN(value) ? "-" : String.format(Locale.ROOT, value < 10 ? "%.2f" : "%.1f", value);
    }
}
