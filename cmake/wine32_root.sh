#!/bin/sh
# wine32_root.sh: makes what cmake/wine32.sh needs: build/i386-root, with debootstrap (about two minutes,
# 1.1 GB), and the Wine directory build/wine32. Ends with 1 and a reason when it cannot be had here.
set -eu
project=$(cd "$(dirname "$0")/.." && pwd)
root=$project/build/i386-root

cannot() { printf '%s\n' "$*"; exit 1; }

make_root() {
  [ "$(id -u)" = 0 ] || cannot "only root can make and enter an i386 root"
  case $(uname -m) in x86_64 | i?86) ;; *) cannot "this machine runs no i386 programs" ;; esac
  command -v debootstrap >/dev/null || cannot "debootstrap is not installed"
  # Made under another name, so that one that broke off is not taken for a whole one.
  rm -rf "$root.new"
  debootstrap --arch=i386 --variant=minbase --components=main --include=wine,wine32 \
    bookworm "$root.new" "${BREVANT_DEBIAN:-http://deb.debian.org/debian}" \
    >"$project/build/i386-root.log" 2>&1 || cannot "debootstrap failed, see build/i386-root.log"
  mv "$root.new" "$root"
}

mkdir -p "$project/build"
[ -x /usr/lib/wine/wineserver32 ] || [ -x "$root/usr/bin/wine" ] || make_root
# The programs there know the same names as those here, "localhost" above all.
[ ! -d "$root/etc" ] || cp /etc/hosts "$root/etc/hosts"
[ -d "$project/build/wine32/drive_c/windows" ] && exit 0
mkdir -p "$project/build/wine32"
"$project/cmake/wine32.sh" wineboot -i >/dev/null 2>&1 </dev/null ||
  cannot "the 32-bit Wine does not start"
WINE32=wineserver "$project/cmake/wine32.sh" -w >/dev/null 2>&1 || true
