#!/usr/bin/env bash
# Builds the benchmarks, makes the libraries that they load, measures and prints one table:
#     scripts/bench.sh [--full] [--keep] [process|load|search|python|growth ...]
# Without a group: process, load and search.
# The rows are also left in build/bench/rows.json. The growth group draws docs/growth.svg
# in full size. Everything else on the machine should rest meanwhile.
set -euo pipefail
cd "$(dirname "$0")/.."

full=false keep=false
for word in "$@"; do
    case $word in
        --full) full=true ;;
        --keep) keep=true ;;
        python) scripts/install-packages.sh python3-numpy python3-faiss python3-cbor2 ;;
        process | load | search | growth) ;;
        *)
            sed -n '/^set/q; s/^# //p' "$0" >&2
            exit 2
            ;;
    esac
done

scripts/build.sh release -DQUILLON_BUILD_BENCHMARKS=ON
data=$PWD/build/bench-data
rows=$PWD/build/bench/rows.json
mkdir -p build/bench
rm -f "$rows"
[ "$keep" = true ] || trap 'rm -rf "$data"' EXIT
build/release/bench/quillon_bench --data "$data" --json "$rows" "$@"

if [ "$full" = true ] && grep -q '"growth/' "$rows"; then
    scripts/install-packages.sh gnuplot-nox jq
    # One line a size: the values of the operations given, in their order.
    growth_table() {
        jq -r '
            [.rows[] | select(.name | startswith("growth/")) | (.name / "/") as $name
                | {operation: $name[1], size: ($name[2] | tonumber), value}]
            | group_by(.size)[]
            | [.[0].size] + [$ARGS.positional[] as $operation
                | .[] | select(.operation == $operation) | .value]
            | @tsv' "$rows" --args "$@"
    }
    growth_table loadJson loadCbor byShape adaptive >build/bench/growth.tsv
    gnuplot -e "table='build/bench/growth.tsv'; output_file='docs/growth.svg'" scripts/growth.gnuplot
    echo "docs/growth.svg drawn"
fi
