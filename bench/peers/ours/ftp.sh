#!/bin/sh
# The job of bench_ftp.py: the site LOCAL goes to REMOTE at HOST:PORT. The peers find their
# configuration ready; ours is PEER_BOARD, a board without messages, kept in STATE between the phases.
set -e
board=$STATE/board
if [ "$PHASE" = full ]; then
  cp -r "$PEER_BOARD" "$board"
  sed -i -e '/^Local Directory=/d' -e '/^FTP /d' -e '/^Remote Directory=/d' "$board/brevant.ini"
  printf '%s\r\n' "Local Directory=$LOCAL/" "FTP Server=$HOST" "FTP Port=$PORT" "FTP Account=$USER" \
    "FTP Password=$PASS" "Remote Directory=$REMOTE/" >>"$board/brevant.ini"
else
  # A delivery is due when the settings or the pages changed; here nobody makes pages.
  touch "$board/brevant.ini"
fi
# The peers are told to be quiet.
exec "$BREVANT_HOST" run "$board" deliver >"$STATE/log"
