#!/usr/bin/env bash
# Runs the benchmark harness once per target, each in a JVM of its own: the
# libcryptoki.so behind libmorlin.so is chosen when the JVM loads it, so a
# process serves one target.
#   null     the null module, as libcryptoki.so itself
#   softhsm  SoftHSM2 behind the forwarding libcryptoki.so, on the token in
#            TOKEN_DIR (made by tools/provision-token.sh with label LABEL)
# Both run unless the harness options name one with --target. The C floor
# and the JDK's wrapper load the same module file as morlin's
# libcryptoki.so, so that the three share one instance of it.
#
# usage: run.sh --build BUILD_DIR [--token TOKEN_DIR --pin PIN] [--label LABEL]
#               [--softhsm-module PATH] [harness options, see Options.java]
set -euo pipefail

usage() {
  echo "usage: $0 --build BUILD_DIR [--token TOKEN_DIR --pin PIN] [--label LABEL] [--softhsm-module PATH] [harness options]" >&2
  exit 2
}
build=
token=
pin=
label=morlin-bench
softhsm=/usr/lib/softhsm/libsofthsm2.so
targets=(null softhsm)
harness=()
while [ $# -gt 0 ]; do
  case $1 in
    --build) build=$2; shift 2 ;;
    --token) token=$2; shift 2 ;;
    --pin) pin=$2; shift 2 ;;
    --label) label=$2; shift 2 ;;
    --softhsm-module) softhsm=$2; shift 2 ;;
    --target) [ $# -ge 2 ] || usage; targets=("$2"); shift 2 ;;
    --help|-h) targets=(); harness=(--help); shift ;;
    *) harness+=("$1"); shift ;;
  esac
done
[ -n "$build" ] || usage
build=$(cd "$build" && pwd)

# Fixed for every run, and recorded by the harness in its results: one
# collector without threads of its own, a heap that never resizes and whose
# pages are touched before the first loop (else the first pass through the
# young generation pays a page fault per page, in whichever loop it falls),
# no shared-memory statistics file.
jvm_flags=(-XX:+UseSerialGC -Xms512m -Xmx512m -XX:+AlwaysPreTouch -XX:-UsePerfData
  --add-exports jdk.crypto.cryptoki/sun.security.pkcs11.wrapper=ALL-UNNAMED
  -Djava.library.path="$build:$build/bench"
  -cp "$build/morlin.jar:$build/bench/morlin-bench.jar")
java=${JAVA:-java}
echo "JVM: $java ${jvm_flags[*]}"

if [ "${harness[*]-}" = "--help" ]; then
  exec "${JAVA:-java}" -cp "$build/bench/morlin-bench.jar" kaltrix.morlin.bench.Bench --help
fi
for target in "${targets[@]}"; do
  case $target in
    null)
      module=$build/bench/null/libcryptoki.so
      LD_LIBRARY_PATH="$build/bench/null" \
        "$java" "${jvm_flags[@]}" kaltrix.morlin.bench.Bench --target null --module "$module" \
          ${harness[@]+"${harness[@]}"}
      ;;
    softhsm)
      [ -n "$token" ] && [ -n "$pin" ] || { echo "$0: the softhsm target needs --token and --pin" >&2; exit 2; }
      SOFTHSM2_CONF="$(cd "$token" && pwd)/softhsm2.conf" LD_LIBRARY_PATH="$build/forward" \
        MORLIN_PKCS11_MODULE="$softhsm" \
        "$java" "${jvm_flags[@]}" kaltrix.morlin.bench.Bench --target softhsm --module "$softhsm" \
          --label "$label" --pin "$pin" ${harness[@]+"${harness[@]}"}
      ;;
    *) echo "$0: no target $target (null or softhsm)" >&2; exit 2 ;;
  esac
done
