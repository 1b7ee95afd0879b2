#!/bin/sh
# wine32.sh PROGRAM [ARGUMENT...]: runs a 32-bit Windows program. The Wine of a 64-bit system may not be
# able to; then it runs in the i386 root that cmake/wine32_root.sh makes, with the same paths, the same
# network and the same /tmp. The mounts that this takes are seen by that program only, so that nothing is
# left mounted and nobody who clears build/ clears more.
set -eu
project=$(cd "$(dirname "$0")/.." && pwd)
root=$project/build/i386-root
WINEPREFIX=${WINEPREFIX32:-$project/build/wine32}
export WINEPREFIX
[ ! -x /usr/lib/wine/wineserver32 ] || exec wine "$@"
exec unshare --mount --propagation private /bin/sh -c '
  project=$1 root=$2 directory=$3
  shift 3
  for shared in /proc /dev /tmp "$project"; do
    mkdir -p "$root$shared"
    mount --bind "$shared" "$root$shared" || exit 125
  done
  cd "$directory"
  exec chroot "$root" /bin/sh -c "cd \"\$0\" && exec \"\$@\"" "$directory" "$@"' \
  sh "$project" "$root" "$PWD" "${WINE32:-wine}" "$@"
