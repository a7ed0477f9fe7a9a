#!/usr/bin/env bash
# Runs morlin's demo against SoftHSM2: installs missing Debian packages (as
# root), builds libmorlin.so, morlin.jar, the demo and the forwarding
# libcryptoki.so, makes a fresh token under build/default/demo-token, and
# prints what the binding sees of it.
set -euo pipefail
cd "$(dirname "$0")"
tools/deps.sh
build=build/default
cmake --preset default >/dev/null
cmake --build --preset default -j "$(nproc)" --target morlin morlin_jar morlin_demo cryptoki_forward >/dev/null

label=morlin-demo
pin=1234-demo
tools/provision-token.sh "$build/demo-token" --label "$label" --so-pin 5678-demo-so --pin "$pin"

# The forwarder stands in as libcryptoki.so and loads SoftHSM2, which finds
# the token through its configuration.
unset MORLIN_PKCS11_MODULE
SOFTHSM2_CONF="$PWD/$build/demo-token/softhsm2.conf" LD_LIBRARY_PATH="$PWD/$build/forward" \
  exec java -XX:-UsePerfData -Djava.library.path="$PWD/$build" \
    -cp "$build/morlin.jar:$build/morlin-demo.jar" kaltrix.morlin.examples.Demo --label "$label" --pin "$pin"
