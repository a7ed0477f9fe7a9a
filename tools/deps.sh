#!/usr/bin/env bash
# Makes sure the Debian packages that morlin builds and tests with are
# installed. As root it installs what is missing; otherwise it names what is
# missing and stops. Further packages that a caller needs (the benchmark's
# valgrind, say) come as arguments.
set -euo pipefail

packages=(cmake make g++ pkgconf clang libclang-rt-14-dev openjdk-17-jdk-headless libgtest-dev junit5 softhsm2 p11-kit-modules ca-certificates libssl-dev openssl "$@")
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

if [ "$(id -u)" -ne 0 ]; then
  echo "morlin needs these Debian packages: ${missing[*]}" >&2
  echo "install them with: sudo apt-get install ${missing[*]}" >&2
  exit 1
fi
# One line per package; the package manager's own screens go to a log,
# which is shown only if it fails.
for p in "${missing[@]}"; do echo "installing $p" >&2; done
export DEBIAN_FRONTEND=noninteractive
log=$(mktemp)
if ! { apt-get update -qq && apt-get install -y -qq --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
  cat "$log" >&2
  rm -f "$log"
  exit 1
fi
rm -f "$log"
echo "installed ${#missing[@]} packages" >&2
