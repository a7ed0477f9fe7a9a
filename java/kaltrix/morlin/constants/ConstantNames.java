package kaltrix.morlin.constants;

import java.lang.reflect.Field;
import java.lang.reflect.Modifier;
import java.util.Collections;
import java.util.HashMap;
import java.util.Map;
import java.util.concurrent.ConcurrentHashMap;

/**
 * Names of values for the wrappers' {@code toString}, read from the literals of
 * {@link CKLiterals} by prefix. Pure Java: it needs neither libmorlin.so nor
 * the initialisation of {@link CK}.
 *
 * <p>Where several names share a value, the first declared wins, as the first
 * row of a name table does; {@code getDeclaredFields} gives fields in their
 * order of declaration on the JVMs this binding runs on. Deprecated names and
 * the {@code _VENDOR_DEFINED} bases of a range name no value of their own and
 * are left out.
 */
final class ConstantNames {
    private static final Map<String, Map<Long, String>> BY_PREFIX = new ConcurrentHashMap<>();

    private ConstantNames() {
    }

    /**
     * The name of {@code value} among the constants that start with
     * {@code prefix} ("CKM_"), or null if there is none.
     */
    static String of(String prefix, long value) {
        return BY_PREFIX.computeIfAbsent(prefix, ConstantNames::collect).get(value);
    }

    private static Map<Long, String> collect(String prefix) {
        Map<Long, String> names = new HashMap<>();
        for (Field field : CKLiterals.class.getDeclaredFields()) {
            String name = field.getName();
            if (!name.startsWith(prefix) || name.endsWith("_VENDOR_DEFINED")
                    || field.getType() != long.class || !Modifier.isStatic(field.getModifiers())
                    || field.isAnnotationPresent(Deprecated.class)) {
                continue;
            }
            try {
                names.putIfAbsent(field.getLong(null), name);
            } catch (IllegalAccessException e) {
                throw new AssertionError(e);  // a public field of this package
            }
        }
        return Collections.unmodifiableMap(names);
    }
}
