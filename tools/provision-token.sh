#!/usr/bin/env bash
# Makes a fresh SoftHSM2 token for morlin's tests and demo, inside DIR:
#   DIR/softhsm2.conf   the configuration; point SOFTHSM2_CONF at it
#   DIR/tokens/         the token directory it names
# Whatever DIR held of an earlier token is removed first, so each run starts
# from one initialised token (and the empty slot SoftHSM2 offers beside it).
#
# usage: provision-token.sh DIR [--label LABEL] [--so-pin PIN] [--pin PIN]
set -euo pipefail

usage() { echo "usage: $0 DIR [--label LABEL] [--so-pin PIN] [--pin PIN]" >&2; exit 2; }
[ $# -ge 1 ] || usage
dir=$1
shift
label=morlin
so_pin=87654321
pin=123456
while [ $# -gt 0 ]; do
  case $1 in
    --label) label=$2; shift 2 ;;
    --so-pin) so_pin=$2; shift 2 ;;
    --pin) pin=$2; shift 2 ;;
    *) usage ;;
  esac
done

command -v softhsm2-util >/dev/null || { echo "$0: softhsm2-util not found; run tools/deps.sh" >&2; exit 1; }

mkdir -p "$dir"
dir=$(cd "$dir" && pwd)
rm -rf "$dir/tokens"
mkdir -p "$dir/tokens"
cat > "$dir/softhsm2.conf" <<CONF
# Made by tools/provision-token.sh for morlin; removed with the build tree.
directories.tokendir = $dir/tokens
objectstore.backend = file
log.level = ERROR
slots.removable = false
slots.mechanisms = ALL
CONF

SOFTHSM2_CONF="$dir/softhsm2.conf" softhsm2-util --init-token --free \
  --label "$label" --so-pin "$so_pin" --pin "$pin" >/dev/null
