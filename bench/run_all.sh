#!/usr/bin/env bash
# run_all.sh DIRECTORY [BENCHMARK_OPTION...]: runs every benchmark program that was built there.
set -euo pipefail
directory=$1
shift
found=0
for program in "$directory"/*_bench; do
  [ -x "$program" ] || continue
  found=1
  printf '\n== %s\n' "$(basename "$program")"
  "$program" --benchmark_counters_tabular=true "$@" 2>/dev/null
done
[ "$found" = 1 ] || { echo "no benchmark was built in $directory" >&2; exit 1; }
