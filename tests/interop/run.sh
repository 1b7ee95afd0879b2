#!/bin/bash
# Compound files between three implementations: this engine, libgsf (reads), ole32 under Wine
# (reads and writes).   run.sh NATIVE_STORAGE_TOOL
# A part whose programs are missing is left out with the reason printed.
set -euo pipefail
tool=$(realpath "${1:?usage: run.sh NATIVE_STORAGE_TOOL}")
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
work=$(mktemp -d)
export WINEPREFIX="${WINEPREFIX:-$work/wine}" WINEDEBUG=-all
stop() {
  [ -d "$work/wine" ] && timeout 20 wineserver -k 2>/dev/null || true
  rm -rf "$work"
}
trap stop EXIT
cd "$work"
failed=0

left_out() { echo "LEFT OUT: $1"; }
# same WHAT FILE_A FILE_B
same() {
  if [ -s "$2" ] && cmp -s "$2" "$3"; then
    echo "ok: $1 ($(wc -l <"$2") elements)"
  else
    echo "FAILED: $1"; diff "$2" "$3" | head -20 || true
    failed=1
  fi
}

"$tool" make ours.mwd
"$tool" walk ours.mwd >ours.0
cp ours.mwd steps.mwd
"$tool" extend steps.mwd; "$tool" walk steps.mwd >steps.1
"$tool" trim steps.mwd; "$tool" walk steps.mwd >steps.2

if pkg-config --exists libgsf-1 2>/dev/null && command -v gcc >/dev/null; then
  # shellcheck disable=SC2046
  gcc -O1 -o gsf_walk "$here/gsf_walk.c" $(pkg-config --cflags --libs libgsf-1)
  # libgsf keeps its own order of children.
  for step in ours.mwd:ours.0 steps.mwd:steps.2; do
    ./gsf_walk "${step%:*}" | sort >gsf.list
    sort "${step#*:}" >ours.list
    same "libgsf reads ${step%:*} as it was written" ours.list gsf.list
  done
else
  left_out "libgsf: package libgsf-1-dev is not installed"
fi

cxx=$(command -v x86_64-w64-mingw32-g++-posix || command -v x86_64-w64-mingw32-g++ || true)
if [ -z "$cxx" ]; then
  left_out "ole32: no MinGW compiler (package g++-mingw-w64-x86-64-posix)"
elif ! command -v wine >/dev/null; then
  left_out "ole32: wine is not installed"
else
  "$cxx" -std=c++20 -O1 -DWIN32_LEAN_AND_MEAN -DNOMINMAX -D_WIN32_WINNT=0x0601 \
    -I"$root/src" -I"$root/tests" -I"$root/include" -I"$root/src/platform/windows/include" \
    -o tool.exe "$here/storage_tool.cpp" -static -lole32 -luuid -lws2_32
  theirs() { timeout 240 wine tool.exe "$@" | tr -d '\r'; }

  theirs walk ours.mwd >theirs.0
  same "ole32 reads what this engine wrote" ours.0 theirs.0
  theirs walk steps.mwd >theirs.2
  same "ole32 reads what this engine changed" steps.2 theirs.2

  cp ours.mwd there.mwd
  theirs extend there.mwd
  "$tool" walk there.mwd >there.1
  same "ole32 extends this engine's file" steps.1 there.1

  theirs make foreign.mwd
  "$tool" walk foreign.mwd >foreign.0
  same "this engine reads what ole32 wrote" ours.0 foreign.0
  "$tool" extend foreign.mwd
  theirs walk foreign.mwd >foreign.1
  same "this engine extends ole32's file" steps.1 foreign.1
  "$tool" trim foreign.mwd
  theirs walk foreign.mwd >foreign.2
  same "this engine trims ole32's file" steps.2 foreign.2
  theirs trim there.mwd
  "$tool" walk there.mwd >there.2
  same "ole32 trims this engine's file" steps.2 there.2
fi
exit $failed
