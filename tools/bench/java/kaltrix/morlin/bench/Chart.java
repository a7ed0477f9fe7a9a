package kaltrix.morlin.bench;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.EnumSet;
import java.util.List;
import java.util.Locale;
import java.util.Set;

/**
 * A bar chart, in SVG, of the time of morlin and of the JDK's wrapper
 * relative to the C floor, per operation, for every target whose results are
 * in the directory. The scale is logarithmic: on the null module the ratios
 * run to the tens, on SoftHSM2 they stay near 1.
 */
final class Chart {
    static final String FILE = "ratios.svg";

    private static final String[] TARGETS = {"null", "softhsm"};
    // A colour per driver, darker for the first target.
    private static final String[][] COLOURS = {{"#1f5fa8", "#e07b12"}, {"#8fb8e6", "#f5c07f"}};
    private static final String[] DRIVERS = {Results.MORLIN, Results.JDK};

    private static final int LEFT = 70;
    private static final int TOP = 80;
    private static final int PLOT_HEIGHT = 360;
    private static final int BAR = 16;
    private static final int GROUP_GAP = 22;
    private static final int BOTTOM = 110;

    private Chart() {
    }

    /** Writes the chart from the results files in dir; returns its path, or null if there are none. */
    static Path write(Path dir) throws IOException {
        List<Results> runs = new ArrayList<>();
        for (String target : TARGETS) {
            Path file = Results.file(dir, target);
            if (Files.exists(file)) {
                runs.add(Results.read(file));
            }
        }
        if (runs.isEmpty()) {
            return null;
        }
        Path chart = dir.resolve(FILE);
        Files.writeString(chart, svg(runs));
        return chart;
    }

    private static String svg(List<Results> runs) {
        Set<Op> opSet = EnumSet.noneOf(Op.class);
        double low = 1;
        double high = 2;  // an axis of at least 1 to 2
        for (Results run : runs) {
            opSet.addAll(run.ops());
            for (Op op : run.ops()) {
                for (String driver : DRIVERS) {
                    double r = run.ratio(op, driver, Results.C);
                    if (r > 0) {
                        low = Math.min(low, r);
                        high = Math.max(high, r);
                    }
                }
            }
        }
        List<Op> ops = new ArrayList<>(opSet);
        Scale scale = new Scale(low, high);
        int bars = runs.size() * DRIVERS.length;
        int group = bars * BAR + GROUP_GAP;
        int width = LEFT + ops.size() * group + 40;
        int height = TOP + PLOT_HEIGHT + BOTTOM;
        int bottom = TOP + PLOT_HEIGHT;

        StringBuilder s = new StringBuilder();
        s.append(String.format(Locale.ROOT, "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" height=\"%d\" "
                + "font-family=\"sans-serif\" font-size=\"12\">%n", width, height));
        s.append(String.format(Locale.ROOT, "<rect width=\"%d\" height=\"%d\" fill=\"white\"/>%n", width, height));
        text(s, LEFT, 24, "start", 16, "Time relative to the same operation in C (log scale; 1 = the C floor)");
        text(s, LEFT, 44, "start", 11, about(runs));
        legend(s, runs, LEFT, 62);
        for (double tick : scale.ticks) {
            double y = scale.y(tick, bottom);
            s.append(String.format(Locale.ROOT, "<line x1=\"%d\" x2=\"%d\" y1=\"%.1f\" y2=\"%.1f\" stroke=\"%s\"/>%n",
                    LEFT, width - 30, y, y, tick == 1 ? "#444" : "#ddd"));
            text(s, LEFT - 6, y + 4, "end", 11, String.format(Locale.ROOT, tick < 1 ? "%.1f" : "%.0f", tick));
        }
        for (int o = 0; o < ops.size(); o++) {
            int x = LEFT + GROUP_GAP / 2 + o * group;
            int bar = 0;
            for (int t = 0; t < runs.size(); t++) {
                for (int d = 0; d < DRIVERS.length; d++, bar++) {
                    double r = runs.get(t).ratio(ops.get(o), DRIVERS[d], Results.C);
                    if (!(r > 0)) {
                        continue;
                    }
                    double y = scale.y(r, bottom);
                    double left = x + bar * BAR;
                    s.append(String.format(Locale.ROOT,
                            "<rect x=\"%.1f\" y=\"%.1f\" width=\"%d\" height=\"%.1f\" fill=\"%s\">"
                                    + "<title>%s %s/C on %s: %s</title></rect>%n",
                            left, Math.min(y, bottom), BAR - 2, Math.abs(bottom - y),
                            COLOURS[Math.min(t, COLOURS.length - 1)][d], ops.get(o), DRIVERS[d],
                            runs.get(t).target, label(r)));
                    double valueX = left + BAR / 2.0 + 3;
                    s.append(String.format(Locale.ROOT, "<text x=\"%.1f\" y=\"%.1f\" font-size=\"9\" "
                            + "transform=\"rotate(-90 %.1f %.1f)\">%s</text>%n",
                            valueX, y - 3, valueX, y - 3, label(r)));
                }
            }
            double nameX = x + bars * BAR / 2.0;
            s.append(String.format(Locale.ROOT,
                    "<text x=\"%.1f\" y=\"%d\" text-anchor=\"end\" transform=\"rotate(-35 %.1f %d)\">%s</text>%n",
                    nameX, bottom + 16, nameX, bottom + 16, ops.get(o)));
        }
        s.append("</svg>\n");
        return s.toString();
    }

    private static void legend(StringBuilder s, List<Results> runs, int x, int y) {
        for (int t = 0; t < runs.size(); t++) {
            for (int d = 0; d < DRIVERS.length; d++) {
                s.append(String.format(Locale.ROOT, "<rect x=\"%d\" y=\"%d\" width=\"12\" height=\"12\" "
                        + "fill=\"%s\"/>%n", x, y - 10, COLOURS[Math.min(t, COLOURS.length - 1)][d]));
                String name = DRIVERS[d] + "/C, " + runs.get(t).target;
                text(s, x + 16, y, "start", 12, name);
                x += 24 + 7 * name.length();
            }
        }
    }

    private static String about(List<Results> runs) {
        Results first = runs.get(0);
        return first.about.getOrDefault("cpu", "") + "; " + first.about.getOrDefault("jvm", "") + "; "
                + first.about.getOrDefault("date", "");
    }

    private static void text(StringBuilder s, double x, double y, String anchor, int size, String text) {
        s.append(String.format(Locale.ROOT, "<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"%s\" "
                + "font-size=\"%d\">%s</text>%n", x, y, anchor, size, escape(text)));
    }

    private static String label(double ratio) {
        return String.format(Locale.ROOT, ratio < 10 ? "%.2f" : "%.0f", ratio);
    }

    private static String escape(String text) {
        return text.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;");
    }

    /** A logarithmic axis from a 1-2-5 tick at or below low to one at or above high. */
    private static final class Scale {
        final List<Double> ticks = new ArrayList<>();
        final double min;
        final double max;

        Scale(double low, double high) {
            List<Double> all = new ArrayList<>();
            for (int exponent = (int) Math.floor(Math.log10(low)) - 1; exponent <= Math.ceil(Math.log10(high));
                    exponent++) {
                for (int mantissa : new int[] {1, 2, 5}) {
                    all.add(mantissa * Math.pow(10, exponent));
                }
            }
            double from = all.get(0);
            double to = all.get(all.size() - 1);
            for (double tick : all) {
                if (tick <= low) {
                    from = tick;
                }
            }
            for (int i = all.size() - 1; i >= 0; i--) {
                if (all.get(i) >= high) {
                    to = all.get(i);
                }
            }
            for (double tick : all) {
                if (tick >= from && tick <= to) {
                    ticks.add(tick);
                }
            }
            min = Math.log10(from);
            max = Math.log10(to);
        }

        double y(double value, int bottom) {
            return bottom - (Math.log10(value) - min) / (max - min) * PLOT_HEIGHT;
        }
    }
}
