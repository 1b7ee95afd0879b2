#!/bin/bash
# Whole boards between the library here and the DLL under Wine: made by one, changed by each in turn, and
# after each step listed by both, through the interface and element by element.
#   boards.sh NATIVE_BUILD WINDOWS_BOARD_TOOL WINDOWS_STORAGE_TOOL WINE
# Ends with 77 when the native tools are not there.
set -euo pipefail
native=$1/tests/interop here=$1
board_exe=$2 storage_exe=$3 wine=$4
[ -x "$native/board_tool" ] && [ -x "$native/storage_tool" ] || {
  echo "LEFT OUT: $here holds no native board_tool and storage_tool (./run windows builds them)"
  exit 77
}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
rounds=6
failed=0

ours() { "$native/board_tool" "$@"; }
theirs() { "$wine" "$board_exe" "$@" | tr -d '\r'; }
# compare WHAT FILE_A FILE_B
compare() {
  if [ -s "$2" ] && cmp -s "$2" "$3"; then return; fi
  echo "FAILED: $1"
  diff "$2" "$3" | head -n 20 || true
  failed=1
}
# equal WHAT DIRECTORY: both see the same board.
equal() {
  ours list "$2" >"$work/ours.list"
  theirs list "$2" >"$work/theirs.list"
  compare "$1: the lists" "$work/ours.list" "$work/theirs.list"
  local file elements=0
  for file in "$2"/*.mw?; do
    "$native/storage_tool" walk "$file" >"$work/ours.walk"
    "$wine" "$storage_exe" walk "$file" | tr -d '\r' >"$work/theirs.walk"
    compare "$1: the elements of $(basename "$file")" "$work/ours.walk" "$work/theirs.walk"
    elements=$((elements + $(wc -l <"$work/ours.walk")))
  done
  echo "$1: $(wc -l <"$work/ours.list") lines of 12 containers, $elements elements"
}

mkdir "$work/alone" "$work/here" "$work/there"
ours make "$work/alone"
ours make "$work/here"
theirs make "$work/there"
equal "made here" "$work/here"
equal "made under Wine" "$work/there"
for ((round = 1; round <= rounds; ++round)); do
  ours change "$work/alone" "$round"
  if ((round % 2)); then
    theirs change "$work/here" "$round"
    ours change "$work/there" "$round"
  else
    ours change "$work/here" "$round"
    theirs change "$work/there" "$round"
  fi
  # What was changed in turns reads as what was never elsewhere.
  ours list "$work/alone" >"$work/alone.list"
  for board in here there; do
    ours list "$work/$board" >"$work/board.list"
    compare "round $round, $board" "$work/alone.list" "$work/board.list"
  done
done
equal "made here, after $rounds rounds" "$work/here"
equal "made under Wine, after $rounds rounds" "$work/there"
[ "$failed" = 0 ] && echo "equal throughout"
exit $failed
