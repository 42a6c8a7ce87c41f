#!/usr/bin/env bash
# Builds and runs all tests:  scripts/test.sh [PRESET ...]  (dev unless told; asan, tsan)
set -euo pipefail
cd "$(dirname "$0")/.."

# For the tests of another locale and of reads that no sanitizer sees.
scripts/install-packages.sh locales valgrind

[ $# -gt 0 ] || set -- dev
for preset in "$@"; do
    echo "== $preset"
    scripts/build.sh "$preset"
    ctest --preset "$preset" -j "$(nproc)"
done
