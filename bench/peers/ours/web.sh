#!/bin/sh
# The job of bench_web.py: the mails of MAILDIR become pages in OUT by way of a POP3 server and a board
# in STORE. Making the board and serving the mails count as ours. Starts itself again beside the server,
# which then has set POP3_PORT.
set -e
. "${0%/*}/board.sh"
board=$STORE/board
if [ -z "${POP3_PORT-}" ]; then
  exec "$PEER_MAILDIR_SERVER" "$MAILDIR" "\"$0\""
fi
if [ "$PHASE" = full ]; then
  make_board "$board"
  sed -i "s|^Local Directory=.*|Local Directory=$OUT/\r|" "$board/brevant.ini"
  set_mailbox "$board" 127.0.0.1 "$POP3_PORT"
else
  # Only here the server is elsewhere each time. A board whose settings changed writes pages anew, so
  # the file keeps its time.
  cp -p "$board/brevant.ini" "$STORE/before"
  set_mailbox "$board" 127.0.0.1 "$POP3_PORT"
  touch -r "$STORE/before" "$board/brevant.ini"
fi
exec "$BREVANT_HOST" run "$board" retrieve html >"$STORE/log"
