#!/usr/bin/env bash
# Runs all tests on a build that counts, and prints how many lines and branches of each file of src/
# they reach, and which lines they do not. Branches that only an exception takes do not count: nearly
# every call has one.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-packages.sh gcovr
scripts/build.sh coverage
# A run adds to the counts that it finds.
find build/coverage -name '*.gcda' -delete
scripts/test.sh coverage

counts=build/coverage/counts.json
gcovr --filter src/ --exclude-throw-branches --json "$counts" build/coverage
for report in --txt --branches; do
    gcovr --add-tracefile "$counts" $report
done
