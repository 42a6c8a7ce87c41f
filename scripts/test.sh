#!/usr/bin/env bash
# Builds and runs all tests:  scripts/test.sh [PRESET ...]  (dev unless told; asan, tsan)
set -euo pipefail
cd "$(dirname "$0")/.."

# For the test of another locale.
scripts/install-packages.sh locales

[ $# -gt 0 ] || set -- dev
for preset in "$@"; do
    echo "== $preset"
    scripts/build.sh "$preset"
    ctest --preset "$preset" -j "$(nproc)"
done
