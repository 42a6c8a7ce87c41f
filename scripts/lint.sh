#!/usr/bin/env bash
# Checks the formatting and the clang-tidy rules of our own code, and which folder includes which.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-packages.sh clang-format clang-tidy python3
scripts/build.sh dev

mapfile -t files < <(git ls-files '*.cpp' '*.h')
clang-format --dry-run --Werror "${files[@]}"

# Which folder of src must not include which: run sits on top, shared below everything.
forbid() {
    if grep -rnE "#include \"($2)/" "src/$1"; then
        echo "src/$1 must not include these" >&2
        exit 1
    fi
}
forbid output 'run|documents'
forbid search 'run|output|library|documents'
forbid library 'run|output|search'
forbid documents 'run|output|search|library'
forbid shared 'run|output|search|library|documents'

# Options of the compiler that the analyser does not know are no finding.
run-clang-tidy -quiet -extra-arg=-Wno-unused-command-line-argument -p build/dev "$PWD/src/.*\.cpp" "$PWD/tests/.*\.cpp" >build/tidy.log 2>&1 ||
    { grep -E 'warning:|error:' build/tidy.log | sort -u; exit 1; }
