#!/usr/bin/env bash
# Runs all tests on a build that counts lines. Prints how many lines and branches of each file of
# src/ they run, and which lines they do not. Branches of exceptions are left out, because nearly
# every call has one.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-packages.sh gcovr
scripts/build.sh coverage
# A run adds to existing counts.
find build/coverage -name '*.gcda' -delete
scripts/test.sh coverage

counts=build/coverage/counts.json
gcovr --filter src/ --exclude-throw-branches --json "$counts" build/coverage
for report in --txt --branches; do
    gcovr --add-tracefile "$counts" $report
done
