#!/usr/bin/env bash
# Fails when a program holds a path of the machine that built it, which would show in messages and
# would make another program of the same sources in another folder:
#     scripts/check-build-paths.sh PROGRAM
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-packages.sh binutils

# Source files by their absolute paths, and whatever lies in a home folder, in this tree or in the
# folder of the libraries for Windows.
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
