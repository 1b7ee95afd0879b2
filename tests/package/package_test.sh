#!/usr/bin/env bash
# package_test.sh ZIP WINE: unpacks the archive into an empty Wine directory, below a path with blanks,
# and uses what is in it as its README says.
set -euo pipefail
zip=$(realpath "$1") wine=$2
[[ $wine != */* ]] || wine=$(realpath "$wine")
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
export WINEPREFIX=$work/wine WINEPREFIX32=$work/wine WINEDEBUG=-all
export WINEDLLOVERRIDES="winemenubuilder.exe,mscoree,mshtml=d"
finish() {
  WINE32=wineserver "$wine" -k >/dev/null 2>&1 || true
  [ "$wine" != wine ] || wineserver -k >/dev/null 2>&1 || true
  rm -rf "$work"
}
trap finish EXIT
fail() { echo "FAILED: $*"; exit 1; }
passed=0
ok() { passed=$((passed + 1)); echo "ok: $*"; }

mkdir "$work/wine"
"$wine" wineboot -i >/dev/null 2>&1 </dev/null || fail "Wine does not start"
programs="$work/wine/drive_c/Program Files"
mkdir -p "$programs"
unzip -q "$zip" -d "$programs"
name=$(basename "$zip" .zip)
top=$programs/$name

for file in README.txt bin/brevant.dll bin/brevant-host.exe bin/brevant-demo.exe include/brevant/brevant.h \
  include/brevant/platform_types.h lib/libbrevant.dll.a lib/brevant.def \
  share/brevant/templates/index.htm examples/host.c examples/host.cpp examples/library.h docs/windows.md \
  share/brevant/demo/mail/01-plain.eml share/brevant/demo/later/15-answer.eml; do
  [ -s "$top/$file" ] || fail "not in the archive: $file"
done
ok "the archive is complete"

for file in README.txt lib/brevant.def docs/windows.md include/brevant/frame.h; do
  awk 'BEGIN { bad = 1 } { bad = 0 } !/\r$/ || /\r.*\r/ { bad = 1; exit } END { exit bad }' "$top/$file" ||
    fail "$file has no Windows line ends"
done
ok "texts have Windows line ends"

version=${name#brevant-} version=${version%%-*}
python3 "$here/check_product.py" "$version" "$top/bin/brevant.dll" "$top/bin/brevant-host.exe" \
  "$top/bin/brevant-demo.exe" ||
  fail "the products"
ok "imports and version resources"

diff <(sed -n 's/^  \(_.*\)\r$/\1/p' "$top/lib/brevant.def") <(sed 's/^/_/' "$here/../api/exports.txt") ||
  fail "brevant.def"
ok "brevant.def names the flat functions"

# A program of ours must not be found by its place in the build.
cd "$work/wine/drive_c"
host() { "$wine" "C:\\Program Files\\$name\\bin\\brevant-host.exe" "$@" | tr -d '\r'; }
board='C:\Boards\Garden Club'
mkdir Boards
[ "$(host --version)" = "brevant-host $version" ] || fail "the version is $(host --version)"
host init "$board" --name "Garden Club" >/dev/null || fail "init"
host forum create "$board" "General Talk" >/dev/null || fail "forum create"
printf 'Slugs again.\r\n' >post.txt
host post "$board" "General Talk" --from "Ann <ann@example.org>" --subject "Good morning" \
  --file 'C:\post.txt' >/dev/null || fail "post"
host question create "$board" "Tea or coffee" --answer Tea --answer Coffee >/dev/null || fail "question"
host run "$board" html >/dev/null || fail "run html"
host forum show "$board" "General Talk" | grep -q "Good morning" || fail "forum show"
site="Boards/Garden Club/Site"
grep -q "General Talk" "$site/index.htm" || fail "index.htm"
grep -rq "Slugs again" "$site" || fail "the post is on no page"
[ -s "$site/style.css" ] || fail "the style sheet was not copied"
grep -q $'\r$' "Boards/Garden Club/brevant.ini" || fail "the settings have no Windows line ends"
ok "a board is made, filled and published with the archive's own templates"

# The archive's own demonstration, with the archive's host and sample mails.
timeout 300 "$wine" "C:\\Program Files\\$name\\bin\\brevant-demo.exe" 'C:\Boards\A demonstration' \
  >demo.txt 2>&1 </dev/null || { tail -n 20 demo.txt; fail "the demonstration"; }
grep -A 1 "^LEFT OUT:" demo.txt || true
for line in "The server's directory equals the site, byte for byte" "Only the mailbox was looked into"; do
  grep -q "$line" demo.txt || fail "the demonstration does not say: $line"
done
[ -s "Boards/A demonstration/Site/index.htm" ] || fail "the demonstration made no site"
[ -s "Boards/A demonstration-web/www/index.htm" ] || fail "the demonstration uploaded no site"
ok "the demonstration runs from the archive, its host called $(grep -c '^\$ .*brevant-host' demo.txt) times"
echo "$passed passed: $name"
