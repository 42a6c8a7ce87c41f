#!/usr/bin/env bash
# Runs a Windows program under wine:  scripts/wine.sh PROGRAM [ARGUMENT ...]
# About one start of wine in 2,000 ends at once, with status 1 and no output, because an address that
# every process needs is taken. Such a start, and no other failure, is repeated, twice at most. Each is
# a line in the file WINE_FAILED_STARTS, if that is set, and so is each that PROGRAM itself met.
set -euo pipefail

failure='wine: failed to map the shared user data'
export WINEDEBUG=-all,err+virtual # the one message that tells
outputs=$(mktemp -d)
trap 'rm -rf "$outputs"' EXIT

for start in 1 2 3; do
    status=0
    wine "$@" >"$outputs/out" 2>"$outputs/error" || status=$?
    grep -F "$failure" "$outputs/error" >>"${WINE_FAILED_STARTS:-/dev/null}" || true
    if [ "$status" -ne 1 ] || [ -s "$outputs/out" ] ||
        [ "$(wc -l <"$outputs/error")" -ne 1 ] || ! grep -qF "$failure" "$outputs/error"; then
        break
    fi
    echo "wine did not start (start $start of at most 3)" >&2
done
cat "$outputs/out"
cat "$outputs/error" >&2
exit "$status"
