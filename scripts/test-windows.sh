#!/usr/bin/env bash
# Builds the Windows program and runs all tests under wine.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-packages.sh wine wine64
scripts/build-windows.sh

# A Windows of our own; its server stays until all tests are done, which saves its start for each.
export WINEPREFIX=${WINEPREFIX:-$PWD/build/wine} WINEDEBUG=-all LC_ALL=C.UTF-8
export WINE_FAILED_STARTS=$PWD/build/win64/failed-starts-of-wine
: >"$WINE_FAILED_STARTS"
mkdir -p "$WINEPREFIX"
wineserver -k || true  # one that a run left behind
wineserver -p
finish() {
    wineserver -k
    echo "Starts of wine that failed and were repeated: $(wc -l <"$WINE_FAILED_STARTS")"
}
trap finish EXIT
wineboot --init >/dev/null 2>&1
ctest --preset win64 -j "$(nproc)"
