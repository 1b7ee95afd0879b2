#!/bin/sh
# Runs a program under Wine. What Wine starts along with the first program keeps its output open for
# as long as any program runs; so that nobody waits for that, the output goes to a file first.
output=$(mktemp) || exit 1
wine "$@" >"$output" 2>&1 </dev/null
code=$?
cat "$output"
rm -f "$output"
exit "$code"
