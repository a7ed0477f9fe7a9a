#!/usr/bin/env bash
# Counts the instructions of each benchmarked operation on the null module
# under callgrind, with collection switched on only inside morlin's natives,
# and splits them by the object that ran them: libmorlin.so (the bridge's own
# code), libjvm.so (the JNI functions it calls), libc (allocation, copies),
# the module. Writes OUT/callgrind.tsv and the raw profiles in OUT/callgrind/.
#
# usage: callgrind.sh BUILD_DIR OUT_DIR [ITERATIONS]
#
# The JVM runs interpreted (-Xint): what is counted is native code, which
# does not change, and valgrind then has no generated code to follow.
set -euo pipefail
build=$(cd "$1" && pwd)
out=$2
iterations=${3:-2000}
mkdir -p "$out/callgrind"
out=$(cd "$out" && pwd)

# The natives that each operation calls.
declare -A natives=(
  [GetInfo]="GetInfo"
  [GenerateRandom32]="GenerateRandom"
  [EncryptEcb16]="EncryptInit Encrypt"
  [EncryptEcb1K]="EncryptInit Encrypt"
  [EncryptEcb64K]="EncryptInit Encrypt"
  [EncryptCbc16]="EncryptInit Encrypt"
  [EncryptGcm1K]="EncryptInit Encrypt"
  [SignRsa32]="SignInit Sign"
  [GetAttributeValue4]="GetAttributeValue"
  [FindObjects10]="FindObjectsInit FindObjects FindObjectsFinal"
  [GenerateKey6]="GenerateKey"
)
ops=(GetInfo GenerateRandom32 EncryptEcb16 EncryptEcb1K EncryptEcb64K EncryptCbc16 EncryptGcm1K SignRsa32
     GetAttributeValue4 FindObjects10 GenerateKey6)

table=$out/callgrind.tsv
printf 'op\tcalls\tIr/op\tmorlin\tjvm\tlibc\tmodule\tother\tmorlin%%\n' > "$table"
for op in "${ops[@]}"; do
  toggles=()
  for n in ${natives[$op]}; do toggles+=("--toggle-collect=Java_kaltrix_morlin_Cryptoki_C_1$n"); done
  profile=$out/callgrind/$op.out
  LD_LIBRARY_PATH=$build/bench/null valgrind --tool=callgrind --callgrind-out-file="$profile" \
      --collect-atstart=no "${toggles[@]}" \
      java -Xint -XX:+UseSerialGC -XX:-UsePerfData -Djava.library.path="$build:$build/bench" \
      -cp "$build/morlin.jar:$build/bench/morlin-bench.jar" kaltrix.morlin.bench.Bench \
      --target null --module "$build/bench/null/libcryptoki.so" --profile "$op" --iterations "$iterations" > "$out/callgrind/$op.log" 2>&1 \
    || { echo "callgrind run of $op failed, see $out/callgrind/$op.log" >&2; exit 1; }
  # Self cost by object: lines "1,234 (5.6%)  file:function [/path/object]".
  callgrind_annotate --inclusive=no --threshold=100 "$profile" | awk -v op="$op" -v n="$iterations" '
    /\[.*\]$/ && $1 ~ /^[0-9,]+$/ {
      ir = $1; gsub(",", "", ir)
      obj = $NF; gsub(/[\[\]]/, "", obj)
      if (obj ~ /libmorlin\.so/) k = "morlin"
      else if (obj ~ /libjvm\.so/) k = "jvm"
      else if (obj ~ /libc\.so|ld-linux/) k = "libc"
      else if (obj ~ /libcryptoki\.so/) k = "module"
      else k = "other"
      sum[k] += ir; total += ir
    }
    END {
      if (total == 0) { print "no instructions collected for " op > "/dev/stderr"; exit 1 }
      printf "%s\t%d\t%.0f\t%.0f\t%.0f\t%.0f\t%.0f\t%.0f\t%.1f\n", op, n, total / n, sum["morlin"] / n,
             sum["jvm"] / n, sum["libc"] / n, sum["module"] / n, sum["other"] / n, 100 * sum["morlin"] / total
    }' >> "$table"
done
column -t -s $'\t' "$table"
