package kaltrix.morlin.bench;

import java.io.IOException;
import java.lang.management.ManagementFactory;
import java.nio.file.Files;
import java.nio.file.Path;
import java.time.OffsetDateTime;
import java.time.temporal.ChronoUnit;
import java.util.LinkedHashMap;
import java.util.Map;

/** What a run happened on: the JVM and its flags, the CPU, the system, the date. */
final class Machine {
    private Machine() {
    }

    static Map<String, String> describe() {
        Map<String, String> about = new LinkedHashMap<>();
        about.put("date", OffsetDateTime.now().truncatedTo(ChronoUnit.SECONDS).toString());
        about.put("jvm", System.getProperty("java.vm.name") + " " + System.getProperty("java.vm.version"));
        // As the JVM saw them, whoever started it.
        about.put("jvm_flags", String.join(" ", ManagementFactory.getRuntimeMXBean().getInputArguments()));
        about.put("cpu", cpuModel() + ", " + Runtime.getRuntime().availableProcessors() + " processors");
        about.put("os", System.getProperty("os.name") + " " + System.getProperty("os.version") + " "
                + System.getProperty("os.arch"));
        // They change how glibc copies memory, and so the cost of large copies.
        String tunables = System.getenv("GLIBC_TUNABLES");
        if (tunables != null && !tunables.isEmpty()) {
            about.put("glibc_tunables", tunables);
        }
        return about;
    }

    private static String cpuModel() {
        try {
            for (String line : Files.readAllLines(Path.of("/proc/cpuinfo"))) {
                if (line.startsWith("model name")) {
                    return line.substring(line.indexOf(':') + 1).trim();
                }
            }
        } catch (IOException e) {
            // not Linux, or not readable: said below
        }
        return "unknown CPU";
    }
}
