#!/usr/bin/env bash
# Compares what the Windows program shows on a console with what it writes into a file:
#     tests/windows_console.sh PROGRAM
# Wine makes a console of a terminal, and `script` gives it one. Shown byte by byte, the characters
# beyond ASCII would be others.
set -euo pipefail

# The program writes the long one in pieces.
long=$(printf 'ü%.0s' {1..3000})
arguments=(/filelist "Lösung 椅子.json" /encode "Tür 椅子.json" /output "$long")
expected=$("$(dirname "$0")/../scripts/wine.sh" "$1" "${arguments[@]}" | tr -d '\r') || true
[[ $expected == *'exception: fail to open input file: Tür 椅子.json' ]]

# A terminal wide enough for every line.
printf -v command '%q ' wine "$1" "${arguments[@]}"
shown=$(TERM=xterm script -qec "stty cols 5000; exec $command" /dev/null </dev/null |
    sed 's/\x1b\[[?0-9;]*[A-Za-z]//g' | tr -d '\r') || true
diff <(echo "$expected") <(echo "$shown")
