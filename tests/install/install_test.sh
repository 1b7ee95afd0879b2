#!/usr/bin/env bash
# install_test.sh BUILD SOURCE: installs the built tree and uses it as a stranger would. The program
# that is built is the one printed in README.md.
set -euo pipefail
build=$1 source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$CMAKE" --install "$build" --prefix "$work/prefix" >/dev/null

for file in include/brevant/brevant.h include/brevant/platform_types.h lib/libbrevant.so \
  lib/libbrevant.a lib/pkgconfig/brevant.pc lib/cmake/brevant/brevant-config.cmake \
  bin/brevant-host; do
  [ -e "$work/prefix/$file" ] || { echo "not installed: $file"; exit 1; }
done
# What is installed must not lead back to where it was built.
if grep -rlF -e "$source" -e "$build" "$work/prefix/include" "$work/prefix/lib/cmake" \
  "$work/prefix/lib/pkgconfig"; then
  echo "these installed files name the source or build directory"
  exit 1
fi

mkdir "$work/consumer"
awk '/^```cpp$/ { on = 1; next } /^```$/ { on = 0 } on' "$source/README.md" >"$work/consumer/main.cpp"
lines=$(grep -c . "$work/consumer/main.cpp")
[ "$lines" -ge 8 ] || { echo "README.md holds no example"; exit 1; }
[ "$lines" -le 20 ] || { echo "the example in README.md has grown to $lines lines"; exit 1; }
cat >"$work/consumer/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(consumer LANGUAGES CXX)
find_package(brevant REQUIRED)
add_executable(with_shared main.cpp)
target_link_libraries(with_shared PRIVATE brevant::brevant)
add_executable(with_static main.cpp)
target_link_libraries(with_static PRIVATE brevant::static)
CMAKE
"$CMAKE" -S "$work/consumer" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$work/prefix" \
  -DCMAKE_CXX_COMPILER="$CXX" -DCMAKE_BUILD_TYPE=Debug >/dev/null
"$CMAKE" --build "$work/cmake" >/dev/null

flags=$(PKG_CONFIG_PATH="$work/prefix/lib/pkgconfig" "$PKG_CONFIG" --cflags --libs brevant)
# shellcheck disable=SC2086 # the flags are words
"$CXX" "$work/consumer/main.cpp" -o "$work/with_pkg_config" $flags \
  -Wl,-rpath,"$work/prefix/lib"

host=$work/prefix/bin/brevant-host
"$host" --version
for program in "$work/cmake/with_shared" "$work/cmake/with_static" "$work/with_pkg_config"; do
  rm -rf "$work/board"
  "$host" init "$work/board" --name Consumer >/dev/null
  "$host" forum create "$work/board" "General Talk" >/dev/null
  "$program" "$work/board" >"$work/out.txt" || {
    echo "$program failed:"; cat "$work/out.txt"; exit 1; }
  grep -q "General Talk" "$work/board/Site/index.htm" || {
    echo "$program made no page of the forum; it printed:"; cat "$work/out.txt"; exit 1; }
done
echo "the installed library was found and used through CMake (shared, static) and pkg-config"
