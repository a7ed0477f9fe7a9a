#!/usr/bin/env bash
# Builds the libFuzzer targets of tests/fuzz with clang into build/fuzz,
# then for each target replays its seed corpus and its regressions and
# fuzzes it for a bounded time (8 s each, or SECONDS with --long SECONDS).
# A crash, a leak or a property that does not hold fails the run; the
# input that did it is copied to tests/fuzz/regressions/<target>/, so that
# every later run replays it. The corpus that a run grows stays in
# build/fuzz/corpus; only the seeds are checked in.
#
#   tools/fuzz.sh                 short run
#   tools/fuzz.sh --long 600      ten minutes per target
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
seconds=8
if [ "${1:-}" = "--long" ]; then
  seconds=${2:?"--long needs a number of seconds"}
elif [ $# -gt 0 ]; then
  echo "usage: $0 [--long SECONDS]" >&2
  exit 2
fi
targets=(strmap ecattr attrset objio forward)
build="$root/build/fuzz"

cmake -S "$root/tests/fuzz" -B "$build" -DCMAKE_CXX_COMPILER=clang++ >/dev/null
cmake --build "$build" -j"$(nproc)" >/dev/null

# Copies what libFuzzer left after a failure into the regressions, unless
# an input with the same bytes is there already.
keep() {
  local target=$1 artifact
  for artifact in "$build/artifacts/$target"/*; do
    [ -f "$artifact" ] || continue
    if ! cmp -s "$artifact" "$root/tests/fuzz/regressions/$target/$(basename "$artifact")"; then
      cp "$artifact" "$root/tests/fuzz/regressions/$target/"
      echo "fuzz $target: kept $(basename "$artifact") in tests/fuzz/regressions/$target/" >&2
    fi
  done
}

failed=()
for target in "${targets[@]}"; do
  seeds="$root/tests/fuzz/corpus/$target"
  regressions="$root/tests/fuzz/regressions/$target"
  corpus="$build/corpus/$target"
  log="$build/$target.log"
  mkdir -p "$corpus" "$regressions"
  rm -rf "$build/artifacts/$target"
  mkdir -p "$build/artifacts/$target"
  flags=(-artifact_prefix="$build/artifacts/$target/" -rss_limit_mb=2048 -timeout=10 -print_final_stats=1)

  # Every seed and every regression once, then fuzzing from the grown corpus.
  if ! "$build/fuzz_$target" "${flags[@]}" -runs=0 "$seeds" "$regressions" >"$log" 2>&1 ||
     ! "$build/fuzz_$target" "${flags[@]}" -max_total_time="$seconds" "$corpus" "$seeds" >>"$log" 2>&1; then
    keep "$target"
    grep -E 'property does not hold|ERROR: |SUMMARY: ' "$log" | head -5 >&2 || true
    echo "fuzz $target: FAILED (log: $log)" >&2
    failed+=("$target")
    continue
  fi
  units=$(grep -o 'stat::number_of_executed_units: [0-9]*' "$log" | tail -1 | awk '{print $2}')
  echo "fuzz $target: ${units:-?} executions in ${seconds} s, no failure"
done

if [ ${#failed[@]} -gt 0 ]; then
  echo "fuzz: failed: ${failed[*]}" >&2
  exit 1
fi
