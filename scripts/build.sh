#!/usr/bin/env bash
# Builds one preset of CMakePresets.json, after installing what the build needs:
#     scripts/build.sh PRESET [CMAKE-ARGUMENT ...]
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-packages.sh g++ cmake ninja-build \
    libfaiss-dev libopenblas-openmp-dev nlohmann-json3-dev libxtensor-dev xtl-dev \
    libboost-dev libsimdjson-dev libgtest-dev

preset=$1
shift
[ -z "${CI:-}" ] || set -- "$@" -DQUILLON_WERROR=ON
echo "Building preset $preset"
log=build/$preset/build.log
mkdir -p "build/$preset"
if ! { cmake --preset "$preset" "$@" && cmake --build --preset "$preset"; } >"$log" 2>&1; then
    cat "$log"
    exit 1
fi
grep -A 4 'warning:' "$log" || true
