package kaltrix.morlin.bench;

import java.util.EnumMap;
import java.util.List;
import java.util.Map;

/**
 * Not a way of calling the module: the class, field and method lookups that
 * each morlin operation must make (nothing may be cached), replayed in the
 * operation's own order by {@link JniSteps#lookups}. It takes its turn in
 * every round beside the drivers, so that the lookups are timed under the
 * same conditions as the operations that make them; the account prices an
 * operation's lookups with its cell.
 */
final class LookupsDriver extends Driver {
    static final String NAME = "lookups";

    private final Map<Op, String[]> records = new EnumMap<>(Op.class);

    LookupsDriver(Map<Op, List<String>> lookups) {
        super(NAME);
        lookups.forEach((op, list) -> records.put(op, list.toArray(new String[0])));
    }

    @Override
    long time(Op op, long n) {
        String[] r = records.get(op);
        if (r == null) {
            throw failure(op, "no lookups counted for it");
        }
        return JniSteps.replay(r, n);
    }

    @Override
    void renewKeySession() {
        // no session
    }
}
