#!/usr/bin/env bash
# Runs every test of morlin: the native tests and the Java tests, in the
# optimised build and in the AddressSanitizer + UndefinedBehaviorSanitizer
# build, then a short run of every fuzz target. Installs missing Debian
# packages first when run as root.
set -euo pipefail
cd "$(dirname "$0")"
tools/deps.sh
jobs=$(nproc)
for preset in ${MORLIN_PRESETS:-default asan}; do
  echo "== $preset"
  cmake --preset "$preset" -DMORLIN_BUILD_TESTS=ON >/dev/null
  cmake --build --preset "$preset" -j "$jobs"
  ctest --preset "$preset" -j "$jobs"
done
echo "== fuzz"
tools/fuzz.sh
