#!/usr/bin/env bash
# Starts two background processes inside scripts/netns-run.sh (as a user's
# "daemon & simulator & tap" line does), sees them from outside, lets the
# command end with status 3, and checks that the status comes back and that
# neither process is left.
set -uo pipefail
netns_run="$1"
"$netns_run" --check 2>/dev/null || { [ "${CI:-}" = true ] && exit 1; exit 77; }
marker="plovrest-leftover-$$-$RANDOM"
go="$(mktemp -u)"
"$netns_run" bash -c '(exec -a "$1" sleep 600) & (exec -a "$1" sleep 601) &
                      while [ ! -e "$2" ]; do sleep 0.05; done; exit 3' _ "$marker" "$go" &
runner=$!
fail() { echo "FAIL: $*" >&2; touch "$go"; pkill -f "$marker"; rm -f "$go"; exit 1; }
for _ in $(seq 200); do [ "$(pgrep -c -f "^$marker")" = 2 ] && break; sleep 0.05; done
[ "$(pgrep -c -f "^$marker")" = 2 ] || fail "the two background processes never ran"
touch "$go"
wait "$runner"; status=$?
rm -f "$go"
[ "$status" = 3 ] || fail "exit status $status, expected the command's 3"
left="$(pgrep -a -f "^$marker")" && fail "left behind: $left"
echo "no process left behind"
