#!/usr/bin/env bash
# package.sh BUILD BITS ZIP: makes a zip archive of a Windows build. What is packed is what was tested,
# without its debug information.
set -euo pipefail
build=$(realpath "$1") bits=$2
mkdir -p "$(dirname "$3")"
zip=$(realpath "$(dirname "$3")")/$(basename "$3")
source=$(cd "$(dirname "$0")/.." && pwd)
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
top=$work/$(basename "$zip" .zip)

cmake --install "$build" --prefix "$top" --strip >/dev/null
# Archives are not stripped by an installation.
strip=$(sed -n 's/^CMAKE_STRIP:FILEPATH=//p' "$build/CMakeCache.txt")
"$strip" --strip-debug "$top/lib/libbrevant_static.a"
mkdir -p "$top/examples" "$top/docs"
cp "$source"/examples/*.c "$source"/examples/*.cpp "$source"/examples/*.h "$source"/examples/windows/*.h \
  "$top/examples"
for page in windows reference brevant-host templates; do cp "$source/docs/$page.md" "$top/docs"; done
# For linkers that do not read the import library of this compiler.
{ echo "LIBRARY brevant.dll"; echo EXPORTS; sed 's/^/  _/' "$source/tests/api/exports.txt"; } \
  >"$top/lib/brevant.def"
sed -e "s/@version@/$version/" -e "s/@bits@/$bits/" "$source/cmake/package/README.txt.in" >"$top/README.txt"
# Texts as Windows programs expect them. Templates stay as they are: they become pages.
find "$top/README.txt" "$top/lib/brevant.def" "$top/docs" "$top/examples" "$top/include" -type f \
  -exec sed -i 's/\r*$/\r/' {} +

rm -f "$zip"
(cd "$work" && zip -qrX "$zip" "$(basename "$top")")
echo "$zip"
