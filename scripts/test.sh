#!/usr/bin/env bash
# Builds and runs all tests:  scripts/test.sh [PRESET ...]  (dev unless told; asan, tsan)
set -euo pipefail
cd "$(dirname "$0")/.."

[ $# -gt 0 ] || set -- dev
for preset in "$@"; do
    echo "== $preset"
    if [ -n "${CI:-}" ]; then
        scripts/build.sh "$preset" -DQUILLON_WERROR=ON
    else
        scripts/build.sh "$preset"
    fi
    ctest --test-dir "build/$preset" --output-on-failure --no-tests=error --progress -j "$(nproc)"
done
