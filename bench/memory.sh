#!/usr/bin/env bash
# memory.sh BUILD_DIRECTORY [COUNT]...: boards of so many mails (1000, 10000 and 100000): the time and
# the peak memory of the program that retrieves them and generates their site. The last two columns of
# a row are bytes of memory for each mail more than in the row before.
#
# Then sites of so many pages of 100 forums: the first run, and a second one that writes every page
# again. Their templates have no page that shows all messages of the board, which is in memory whole.
set -euo pipefail
build=$(realpath "$1")
shift
[ $# -gt 0 ] || set -- 1000 10000 100000
counts=("$@")
peers=$(dirname "$(realpath "$0")")/peers
export BREVANT_HOST=$build/bin/brevant-host
. "$peers/ours/board.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cat >"$work/step" <<'SCRIPT'
set -e
. "$PEER_BOARD_FUNCTIONS"
set_mailbox "$BOARD" 127.0.0.1 "$POP3_PORT"
/usr/bin/time -o "$BOARD.retrieve" -f '%e %M' "$BREVANT_HOST" run "$BOARD" retrieve >/dev/null
SCRIPT
export PEER_BOARD_FUNCTIONS=$peers/ours/board.sh

printf '%8s %12s %8s %12s %9s %12s %12s\n' mails 'retrieve s' 'RSS KiB' 'generate s' 'RSS KiB' \
  'bytes/mail' 'bytes/page'
before=0 retrieved_before=0 generated_before=0
for count; do
  export BOARD=$work/board-$count
  python3 "$peers/gen_corpus.py" "$work/mail-$count" "$count" >/dev/null
  make_board "$BOARD" >/dev/null
  "$build/bench/peer-maildir-server" "$work/mail-$count/Maildir" "sh $work/step"
  /usr/bin/time -o "$BOARD.html" -f '%e %M' "$BREVANT_HOST" run "$BOARD" html >/dev/null
  read -r retrieve_time retrieved <"$BOARD.retrieve"
  read -r html_time generated <"$BOARD.html"
  more=$((count - before))
  printf '%8d %12s %8d %12s %9d' "$count" "$retrieve_time" "$retrieved" "$html_time" "$generated"
  if [ "$before" -gt 0 ]; then
    printf ' %12d %12d' $(((retrieved - retrieved_before) * 1024 / more)) \
      $(((generated - generated_before) * 1024 / more))
  fi
  printf '\n'
  before=$count retrieved_before=$retrieved generated_before=$generated
  rm -rf "$work/mail-$count" "$BOARD"
done

pages_run() {
  /usr/bin/time -o "$work/run" -f '%e %M' "$BREVANT_HOST" run "$BOARD" html >/dev/null
  read -r time memory <"$work/run"
}

printf '\n%8s %10s %9s %9s %11s %10s %11s %11s\n' pages 'first s' 'pages/s' 'RSS KiB' 'bytes/page' \
  'again s' 'RSS KiB' 'bytes/page'
before=0
for count in "${counts[@]}"; do
  export BOARD=$work/site-$count
  "$BREVANT_HOST" init "$BOARD" --name 'My Board' >/dev/null
  sed -i 's/\$FORUM_FILENAME\$/$FORUM_FILENAME(messages)$/' "$BOARD/Templates/index.htm"
  sed -i '/^HTML File - Message list=/d' "$BOARD/brevant.ini"
  "$build/bench/fill_forums" "$BOARD/Data/" 100 $((count / 100))
  pages_run
  first=$time first_memory=$memory
  printf '<!-- changed -->\n' | tee -a "$BOARD/Templates"/*.htm >/dev/null
  pages_run
  pages=$(find "$BOARD/Site" -name '*.htm' | wc -l)
  more=$((pages - before))
  rate=$(awk -v n="$pages" -v s="$first" 'BEGIN { printf "%d", n / (s > 0 ? s : 0.01) }')
  printf '%8d %10s %9d %9d' "$pages" "$first" "$rate" "$first_memory"
  if [ "$before" -gt 0 ]; then
    printf ' %11d %10s %11d %11d' $(((first_memory - first_before) * 1024 / more)) "$time" "$memory" \
      $(((memory - again_before) * 1024 / more))
  else
    printf ' %11s %10s %11d' '' "$time" "$memory"
  fi
  printf '\n'
  before=$pages first_before=$first_memory again_before=$memory
  rm -rf "$BOARD"
done
