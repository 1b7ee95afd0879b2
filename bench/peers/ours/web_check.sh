#!/bin/sh
# Every mail has its page: OUT holds one for each message of each forum, and the mails so far are all
# there. N is the number of mails of this phase.
set -e
had=0
[ "$PHASE" = full ] || had=$(cat "$STORE/pages")
pages=$(find "$OUT" -name 'message--f--*--*.htm' | wc -l)
[ "$PHASE" = add ] || echo "$pages" >"$STORE/pages"
[ "$pages" -eq $((had + N)) ]
