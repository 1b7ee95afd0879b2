#!/bin/sh
# The job of bench_pop3.py: the mailbox of USER at HOST:PORT becomes the messages of a board's forums.
# The peers find their configuration ready; ours is PEER_BOARD, a board without messages.
set -e
. "${0%/*}/board.sh"
cp -r "$PEER_BOARD" "$OUT/board"
set_mailbox "$OUT/board" "$HOST" "$PORT"
# The peers are told to be quiet.
exec "$BREVANT_HOST" run "$OUT/board" retrieve >"$OUT/log"
