#!/usr/bin/env bash
# Lets the fuzzer look for inputs that break a promise, from the committed corpus on, the targets side
# by side:
#     scripts/fuzz.sh [TARGET [SECONDS]]    TARGET: paths, readers, query, run or all; 60 seconds unless told
# New inputs stay in build/fuzz/found/TARGET, findings in build/fuzz.
set -euo pipefail
cd "$(dirname "$0")/.."

case ${1:-all} in
    all) targets=(paths readers query run) ;;
    paths | readers | query | run) targets=("$1") ;;
    *)
        sed -n '/^set/q; s/^# //p' "$0" >&2
        exit 2
        ;;
esac
export seconds=${2:-60}

fuzz() {
    found=build/fuzz/found/$1
    log=build/fuzz/$1.log
    mkdir -p "$found"
    if ! "build/asan/tests/fuzz_$1" -max_total_time="$seconds" -max_len=8192 -timeout=60 -rss_limit_mb=4096 \
        -artifact_prefix="build/fuzz/$1-" "$found" "tests/fuzz/corpus/$1" >"$log" 2>&1; then
        tail -n 60 "$log"
        return 1
    fi
    echo "$1: $(grep -o 'cov: [0-9]*' "$log" | tail -n 1), $(grep '^Done' "$log"), no findings"
}
export -f fuzz

scripts/build.sh asan
echo "== fuzz ${targets[*]}, $seconds s"
printf '%s\n' "${targets[@]}" | xargs -P "$(nproc)" -I{} bash -euc 'fuzz {}'
