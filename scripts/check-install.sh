#!/usr/bin/env bash
# Installs the release build under build/installed and has the installed program search the sample.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-packages.sh jq
scripts/build.sh release

installed=$PWD/build/installed
rm -rf "$installed"
cmake --install build/release --prefix "$installed"
test -s "$installed/share/man/man1/quillon.1"

result=$installed/result.json
(cd examples/drawings && "$installed/bin/quillon" /filelist filelist.json \
    /encode queries/1-door-23-3.json /output "$result" >"$installed/console.txt")
hits=$(jq -c '[.blocks[].name]' "$result")
expected='["Door 23_6","Door 23_4","Door 23_2","wipeout_door","start"]'
if [ "$hits" != "$expected" ]; then
    printf 'The installed program found\n  %s\ninstead of\n  %s\n' "$hits" "$expected" >&2
    exit 1
fi
