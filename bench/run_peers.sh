#!/usr/bin/env bash
# run_peers.sh BUILD_DIRECTORY [web|pop3|ftp|smtp|cfb]...: our programs beside well-known ones (see peers/README.md).
# ROUNDS is the number of rounds (3); QUICK=1 takes small sizes.
set -euo pipefail
build=$(realpath "$1")
shift
[ $# -gt 0 ] || set -- web pop3 ftp smtp cfb
peers=$(dirname "$(realpath "$0")")/peers
ours=$peers/ours
rounds=${ROUNDS:-3}
options=()
[ -z "${ONLY-}" ] || options=(--only "$ONLY")
web=(1000 5000) pop3=(1000) ftp=(2000) smtp=(500) cfb=(1000)
if [ -n "${QUICK-}" ]; then web=(50) pop3=(50) ftp=(50) smtp=(50) cfb=(50) rounds=1; fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export BREVANT_HOST=$build/bin/brevant-host
export PEER_MAILDIR_SERVER=$build/bench/peer-maildir-server
export PEER_BOARD=$work/board
export OURS_CFB="'$build/bench/peer-cfb'"
export OURS_FTP="'$ours/ftp.sh'"
export OURS_POP3="'$ours/pop3.sh'"
export OURS_SMTP="'$build/bench/peer-smtp'"
export OURS_WEB="'$ours/web.sh'"
export OURS_WEB_CHECK="'$ours/web_check.sh'"

# The account of the server that bench_pop3.py starts.
. "$ours/board.sh"
make_board "$PEER_BOARD" >/dev/null
"$BREVANT_HOST" config "$PEER_BOARD" set 'POP3 Account' board >/dev/null
echo secret | "$BREVANT_HOST" config "$PEER_BOARD" set 'POP3 Password' - >/dev/null

for job; do
  case $job in
    web) sizes=("${web[@]}") ;;
    pop3) sizes=("${pop3[@]}") ;;
    ftp) sizes=("${ftp[@]}") ;;
    smtp) sizes=("${smtp[@]}") ;;
    cfb) sizes=("${cfb[@]}") ;;
    *) echo "no such workload: $job" >&2; exit 2 ;;
  esac
  for size in "${sizes[@]}"; do
    python3 "$peers/bench_$job.py" -n "$size" -r "$rounds" "${options[@]}"
  done
done
