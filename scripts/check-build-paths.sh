#!/usr/bin/env bash
# Fails if a program contains a path of the machine that built it. Messages would show such a path,
# and the same sources would give another program in another folder:
#     scripts/check-build-paths.sh PROGRAM
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-packages.sh binutils

# Absolute paths of source files, and all paths in a home folder, in this tree or in the folder of
# the software libraries for Windows.
patterns=('(^|[^[:alnum:]_.])(/[[:alnum:]_.+-]+)+\.(c|cc|cpp|h|hpp|S)($|[^[:alnum:]])' '/(home|root)/')
for folder in "$PWD" build/windows-dependencies; do
    if [ -e "$folder" ]; then patterns+=("$(realpath "$folder" | sed 's/[].[*^$+?(){}|\\]/\\&/g')"); fi
done

texts=$(strings -n 5 "$1")
[ "$(wc -l <<<"$texts")" -gt 100 ]
for pattern in "${patterns[@]}"; do
    if grep -E "$pattern" <<<"$texts"; then
        echo "$1 holds these paths of the machine that built it" >&2
        exit 1
    fi
done
