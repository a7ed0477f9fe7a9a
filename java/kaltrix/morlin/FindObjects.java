package kaltrix.morlin;

import java.util.ArrayList;
import java.util.List;

/**
 * An object search of one session, begun by {@code C_FindObjectsInit} and
 * ended by {@code C_FindObjectsFinal} when this object closes. Failures are
 * thrown as {@link CryptokiException}.
 */
public final class FindObjects implements AutoCloseable {
    private final CK_SESSION_HANDLE session;
    private boolean open = true;

    private FindObjects(CK_SESSION_HANDLE session) {
        this.session = session;
    }

    /** {@code C_FindObjectsInit} with the template, its count the array's length. */
    static FindObjects start(CK_SESSION_HANDLE session, CK_ATTRIBUTE[] template) {
        Cryptoki.C_FindObjectsInit(session, template, template.length).check("C_FindObjectsInit");
        return new FindObjects(session);
    }

    /** At most {@code max} more handles; none left gives an empty list. */
    public List<CK_OBJECT_HANDLE> next(int max) {
        CK_OBJECT_HANDLE[] handles = new CK_OBJECT_HANDLE[max];
        for (int i = 0; i < max; i++) {
            handles[i] = new CK_OBJECT_HANDLE();
        }
        LongRef found = new LongRef();
        Cryptoki.C_FindObjects(session, handles, max, found).check("C_FindObjects");
        return List.of(handles).subList(0, (int) Math.min(found.value, max));
    }

    /** Every handle left, fetched in batches. */
    public List<CK_OBJECT_HANDLE> all() {
        List<CK_OBJECT_HANDLE> all = new ArrayList<>();
        for (List<CK_OBJECT_HANDLE> batch = next(16); !batch.isEmpty(); batch = next(16)) {
            all.addAll(batch);
        }
        return all;
    }

    /** {@code C_FindObjectsFinal}, once. */
    @Override
    public void close() {
        if (open) {
            open = false;
            Cryptoki.C_FindObjectsFinal(session).check("C_FindObjectsFinal");
        }
    }
}
