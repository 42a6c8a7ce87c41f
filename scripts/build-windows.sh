#!/usr/bin/env bash
# Builds the software libraries for Windows, then the program and its tests with mingw-w64:
#     scripts/build-windows.sh [TARGET ...]    default: all targets
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/windows-dependencies.sh

echo "Building preset win64"
log=build/win64/build.log
mkdir -p build/win64
[ $# -gt 0 ] || set -- all
if ! { cmake --preset win64 && cmake --build --preset win64 --target "$@"; } >"$log" 2>&1; then
    cat "$log"
    exit 1
fi
grep -A 4 'warning:' "$log" || true
