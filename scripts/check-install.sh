#!/usr/bin/env bash
# Installs the release build under build/installed, and searches the sample with that program.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-packages.sh jq
scripts/build.sh release

installed=$PWD/build/installed
rm -rf "$installed"
cmake --install build/release --prefix "$installed"
test -s "$installed/share/man/man1/quillon.1"

(cd examples/drawings && "$installed/bin/quillon" /filelist filelist.json \
    /encode queries/1-door-23-3.json /output "$installed/result.json" >"$installed/console.txt")
scripts/check-sample-hits.sh "$installed/result.json"
