#!/usr/bin/env bash
# Lets the fuzzer look for inputs that break a promise, one target after the other, from the
# committed corpus on:
#     scripts/fuzz.sh [TARGET [SECONDS]]    TARGET: roads, readers, query, run or all; 60 seconds unless told
# New inputs stay in build/fuzz/found/TARGET, findings in build/fuzz.
set -euo pipefail
cd "$(dirname "$0")/.."

targets=${1:-all}
seconds=${2:-60}
[ "$targets" != all ] || targets="roads readers query run"

scripts/install-packages.sh clang libclang-rt-14-dev libomp-dev
scripts/build.sh fuzz
for target in $targets; do
    echo "== fuzz $target"
    found=build/fuzz/found/$target
    mkdir -p "$found"
    log=build/fuzz/$target.log
    # What belongs to the numerical libraries leaks nothing of ours but lives until the end.
    if ! build/fuzz/tests/"fuzz_$target" -max_total_time="$seconds" -max_len=8192 -timeout=20 \
        -rss_limit_mb=4096 -artifact_prefix=build/fuzz/ -print_final_stats=1 \
        "$found" "tests/fuzz/corpus/$target" >"$log" 2>&1; then
        tail -n 60 "$log"
        exit 1
    fi
    grep -E 'stat::number_of_executed_units|DONE' "$log"
done
