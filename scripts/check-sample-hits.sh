#!/usr/bin/env bash
# Compares a result of the sample's first query with the expected hits:
#     scripts/check-sample-hits.sh RESULT
set -euo pipefail

hits=$(jq -c '[.blocks[].name]' "$1")
expected='["Door 23_6","Door 23_4","Door 23_2","wipeout_door","start"]'
if [ "$hits" != "$expected" ]; then
    printf 'The program found\n  %s\ninstead of\n  %s\n' "$hits" "$expected" >&2
    exit 1
fi
