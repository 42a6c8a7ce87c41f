#!/usr/bin/env bash
# Installs the packages that the build needs, then builds one preset of CMakePresets.json:
#     scripts/build.sh PRESET [CMAKE-ARGUMENT ...]
set -euo pipefail
cd "$(dirname "$0")/.."

preset=${1:--}
case $preset in
    -*)
        echo "usage: scripts/build.sh PRESET [CMAKE-ARGUMENT ...]" >&2
        cmake --list-presets >&2 || true
        exit 2
        ;;
    asan) compiler=(clang libclang-rt-14-dev) ;;
    *) compiler=(g++) ;;
esac
shift

mapfile -t libraries < <(grep -v '^#' debian-packages.txt | sed 's/^[^ ]* *//' | tr ' ' '\n')
scripts/install-packages.sh "${compiler[@]}" cmake ninja-build "${libraries[@]}"

echo "Building preset $preset"
log=build/$preset/build.log
mkdir -p "build/$preset"
if ! { cmake --preset "$preset" "$@" && cmake --build --preset "$preset"; } >"$log" 2>&1; then
    cat "$log"
    exit 1
fi
grep -A 4 'warning:' "$log" || true
