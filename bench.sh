#!/usr/bin/env bash
# Times morlin against the same Cryptoki operations called from C and
# through the JDK's own PKCS#11 wrapper, first on the benchmark's null module
# and then on SoftHSM2: installs missing Debian packages (as root), builds
# what the benchmark needs, makes a fresh token under
# build/default/bench/softhsm, and runs tools/bench/run.sh. Arguments go to
# the harness, for example:
#   ./bench.sh --round-ms 200 --rounds 3 --ops GetInfo,EncryptEcb1K
# Tables go to the terminal; results-<target>.tsv, ratios.svg and
# callgrind.tsv to build/bench (--out DIR elsewhere, callgrind.tsv stays).
set -euo pipefail
cd "$(dirname "$0")"
case " $* " in
  *" --help "*|*" -h "*)
    echo "usage: $0 [harness options]; without options it runs everything with the defaults below" >&2
    [ -f build/default/bench/morlin-bench.jar ] && exec java -cp build/default/bench/morlin-bench.jar kaltrix.morlin.bench.Bench --help
    exit 0 ;;
esac
tools/deps.sh valgrind
build=build/default
cmake --preset default -DMORLIN_BUILD_TESTS=ON >/dev/null
cmake --build --preset default -j "$(nproc)" --target morlin morlin_jar cryptoki_forward morlin_bench_null \
  morlinbench morlin_bench_jar morlin_native_tests morlin_test_doubles >/dev/null

# The JNI calls of each operation, counted by the native test that holds
# them to the calls the natives' contracts list.
account=$build/bench/jni-account.txt
mkdir -p "$build/bench"
MORLIN_JNI_ACCOUNT=$account "$build/tests/morlin_native_tests" --gtest_filter='AccountTest.*' >/dev/null

label=morlin-bench
pin=1234-bench
tools/provision-token.sh "$build/bench/softhsm" --label "$label" --so-pin 5678-bench-so --pin "$pin"

unset MORLIN_PKCS11_MODULE
tools/bench/run.sh --build "$build" --token "$build/bench/softhsm" --label "$label" --pin "$pin" \
  --account "$account" "$@"

# Where the instructions of each call go: morlin's own code, the JVM, libc.
echo
echo "Instructions per operation on the null module (callgrind)"
tools/bench/callgrind.sh "$build" build/bench
