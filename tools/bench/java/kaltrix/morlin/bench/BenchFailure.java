package kaltrix.morlin.bench;

/**
 * A call that did not give the answer expected. The run stops: a benchmark
 * of failing calls would time the failure path.
 */
final class BenchFailure extends RuntimeException {
    private static final long serialVersionUID = 1L;

    BenchFailure(String message) {
        super(message);
    }
}
