#!/usr/bin/env bash
# Builds the tool, asks for the blocks most like a real door and shows the hits as a table and as a
# web page:
#     scripts/demo.sh [PROGRAM]    PROGRAM: one that is built already
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-packages.sh jq python3-jinja2 python3-numpy
[ $# -gt 0 ] || scripts/build.sh release

quillon=$(realpath "${1:-build/release/quillon}")
report=$PWD/build/demo/report.html
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
result=$work/1-door-23-3.json
export PYTHONPATH=$PWD/tools PYTHONDONTWRITEBYTECODE=1
cd examples/drawings
"$quillon" /filelist filelist.json /encode queries/1-door-23-3.json /output "$result"

printf '\n%4s  %-14s  %-32s  %7s  %7s  %7s\n' rank name drawing score shape text
jq -r '.blocks // [] | to_entries[] | [.key + 1, .value.name,
        (.value.dwgPath // .value.dwgPathHash | split("/") | last),
        .value.distOrScore, .value.shapeWeight, .value.textWeight] | @tsv' "$result" |
    awk -F '\t' '{ printf "%4d  %-14s  %-32s  %7.4f  %7.4f  %7.4f\n", $1, $2, $3, $4, $5, $6 }'

/usr/bin/python3 -m quillon_tools report "$result" --queries queries --pictures pictures \
    --output "$report" >"$work/log"
printf '\nThe same with pictures: %s\n' "$report"
