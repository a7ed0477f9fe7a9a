package kaltrix.morlin.params;

import java.lang.reflect.Field;
import java.lang.reflect.Modifier;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Locale;

/**
 * The {@code toString} of the parameter classes: the class's simple name and
 * its public fields in order of declaration, those of a superclass first.
 * Byte arrays are shown in hex, except passwords, which show only their
 * length.
 */
final class ParamText {
    private ParamText() {
    }

    static String describe(Object params) {
        List<Class<?>> chain = new ArrayList<>();
        for (Class<?> c = params.getClass(); c != null && c != Object.class; c = c.getSuperclass()) {
            chain.add(0, c);
        }
        StringBuilder text = new StringBuilder(params.getClass().getSimpleName()).append('[');
        String separator = "";
        for (Class<?> c : chain) {
            for (Field field : c.getDeclaredFields()) {
                int modifiers = field.getModifiers();
                if (!Modifier.isPublic(modifiers) || Modifier.isStatic(modifiers)) {
                    continue;
                }
                text.append(separator).append(field.getName()).append('=');
                try {
                    text.append(value(field.getName(), field.get(params)));
                } catch (IllegalAccessException e) {
                    throw new AssertionError(e);  // a public field of a public class
                }
                separator = ", ";
            }
        }
        return text.append(']').toString();
    }

    private static String value(String name, Object v) {
        if (v instanceof byte[]) {
            byte[] bytes = (byte[]) v;
            if (name.toLowerCase(Locale.ROOT).contains("password")) {
                return "(" + bytes.length + " bytes)";
            }
            StringBuilder hex = new StringBuilder();
            for (byte b : bytes) {
                hex.append(String.format("%02X", b));
            }
            return hex.toString();
        }
        if (v instanceof long[]) {
            return Arrays.toString((long[]) v);
        }
        if (v instanceof Object[]) {
            return Arrays.toString((Object[]) v);
        }
        return String.valueOf(v);
    }
}
