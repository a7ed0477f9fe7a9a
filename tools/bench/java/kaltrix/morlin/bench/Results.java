package kaltrix.morlin.bench;

import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.EnumSet;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Locale;
import java.util.Map;
import java.util.Set;

/**
 * The results of one target's run, and their file: results-TARGET.tsv, one
 * record per line, tab-separated, its kind first. Lines starting with # are
 * comments. Times are nanoseconds per operation or per step.
 *
 * <pre>
 * about  KEY  VALUE                               the run: target, JVM, flags, CPU, date, protocol
 * cell   OP  DRIVER  MEDIAN  LOW  HIGH  ITERATIONS
 * ratio  OP  MORLIN/C  JDK/C  MORLIN/JDK           from the medians; not read back
 * jni    STEP  NS                                   one JNI step, see JniSteps
 * account  OP  LOOKUPS  CALLS  LOOKUP_NS  FLOOR_NS  MORLIN_NS   see Account; not read back
 * </pre>
 */
final class Results {
    static final String C = "C";
    static final String MORLIN = "morlin";
    static final String JDK = "JDK";

    record Cell(Op op, String driver, double medianNs, double lowNs, double highNs, long iterations) {
    }

    record Step(String name, double ns) {
    }

    final String target;
    final Map<String, String> about = new LinkedHashMap<>();
    final List<Cell> cells = new ArrayList<>();
    final List<Step> steps = new ArrayList<>();
    final List<Account.Line> account = new ArrayList<>();

    Results(String target) {
        this.target = target;
    }

    static Path file(Path dir, String target) {
        return dir.resolve("results-" + target + ".tsv");
    }

    /** The operations with results, in the order of {@link Op}. */
    List<Op> ops() {
        Set<Op> ops = EnumSet.noneOf(Op.class);
        for (Cell cell : cells) {
            ops.add(cell.op);
        }
        return new ArrayList<>(ops);
    }

    /** The cell, or null. */
    Cell cell(Op op, String driver) {
        for (Cell cell : cells) {
            if (cell.op == op && cell.driver.equals(driver)) {
                return cell;
            }
        }
        return null;
    }

    /** Median of driver a over median of driver b, or NaN if either is missing. */
    double ratio(Op op, String a, String b) {
        Cell x = cell(op, a);
        Cell y = cell(op, b);
        return x == null || y == null ? Double.NaN : x.medianNs / y.medianNs;
    }

    void write(Path dir) {
        StringBuilder text = new StringBuilder();
        text.append("# morlin benchmark, target ").append(target).append("; times in ns per operation or step\n");
        text.append("# about\tKEY\tVALUE\n");
        line(text, "about", "target", target);
        for (Map.Entry<String, String> entry : about.entrySet()) {
            line(text, "about", entry.getKey(), entry.getValue());
        }
        text.append("# cell\tOP\tDRIVER\tMEDIAN\tLOW\tHIGH\tITERATIONS\n");
        for (Cell c : cells) {
            line(text, "cell", c.op.name(), c.driver, number(c.medianNs), number(c.lowNs), number(c.highNs),
                    Long.toString(c.iterations));
        }
        text.append("# ratio\tOP\tMORLIN/C\tJDK/C\tMORLIN/JDK\n");
        for (Op op : ops()) {
            line(text, "ratio", op.name(), number(ratio(op, MORLIN, C)), number(ratio(op, JDK, C)),
                    number(ratio(op, MORLIN, JDK)));
        }
        text.append("# jni\tSTEP\tNS\n");
        for (Step s : steps) {
            line(text, "jni", s.name, number(s.ns));
        }
        if (!account.isEmpty()) {
            text.append("# account\tOP\tLOOKUPS\tCALLS\tLOOKUP_NS\tFLOOR_NS\tMORLIN_NS\n");
        }
        for (Account.Line a : account) {
            line(text, "account", a.op().name(), Integer.toString(a.lookups()), Integer.toString(a.calls()),
                    number(a.lookupNs()), number(a.floorNs()), number(a.morlinNs()));
        }
        try {
            Files.createDirectories(dir);
            Files.writeString(file(dir, target), text);
        } catch (IOException e) {
            throw new UncheckedIOException(e);
        }
    }

    /** The results in a file that {@link #write} made. */
    static Results read(Path file) throws IOException {
        Results results = null;
        for (String line : Files.readAllLines(file)) {
            if (line.isEmpty() || line.startsWith("#")) {
                continue;
            }
            String[] f = line.split("\t", -1);
            if (f[0].equals("about") && f[1].equals("target")) {
                results = new Results(f[2]);
            } else if (results == null) {
                throw new IOException(file + ": no target before " + line);
            } else if (f[0].equals("about")) {
                results.about.put(f[1], f[2]);
            } else if (f[0].equals("cell")) {
                results.cells.add(new Cell(Op.valueOf(f[1]), f[2], Double.parseDouble(f[3]),
                        Double.parseDouble(f[4]), Double.parseDouble(f[5]), Long.parseLong(f[6])));
            } else if (f[0].equals("jni")) {
                results.steps.add(new Step(f[1], Double.parseDouble(f[2])));
            }
        }
        if (results == null) {
            throw new IOException(file + ": no results");
        }
        return results;
    }

    private static void line(StringBuilder text, String... fields) {
        text.append(String.join("\t", fields)).append('\n');
    }

    private static String number(double value) {
        return String.format(Locale.ROOT, "%.3f", value);
    }
}
