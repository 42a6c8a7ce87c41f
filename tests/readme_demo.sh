#!/usr/bin/env bash
# The table that the demo prints is the one that the README shows:
#     tests/readme_demo.sh PROGRAM
set -euo pipefail
cd "$(dirname "$0")/.."

diff <(sed -n '/^rank /,/^```/p' README.md | grep -v '^```') \
    <(scripts/demo.sh "$1" | sed -n '/^rank /,/^$/p' | sed '$d')
