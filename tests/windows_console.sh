#!/usr/bin/env bash
# Compares what the Windows program shows on a console with what it writes into a file:
#     tests/windows_console.sh PROGRAM
# Wine makes a console of a terminal, and `script` gives it one. Shown byte by byte, the characters
# beyond ASCII would be others.
set -euo pipefail

export WINEDEBUG=-all # its own messages would be on the console too
program=$1
wine=$(dirname "$0")/../scripts/wine.sh

# compare LAST ARGUMENT ...: a run that fails, whose text ends with LAST.
compare() {
    local last=$1 expected shown command
    shift
    expected=$("$wine" "$program" "$@" | tr -d '\r') || true
    [[ $expected == *"$last" ]]
    printf -v command '%q ' wine "$program" "$@"
    # A terminal wide enough for every line.
    shown=$(TERM=xterm script -qec "stty cols 5000; exec $command" /dev/null </dev/null |
        sed 's/\x1b\[[?0-9;]*[A-Za-z]//g' | tr -d '\r') || true
    diff <(echo "$expected") <(echo "$shown")
}

# The program writes the long name in pieces.
long=$(printf 'ü%.0s' {1..3000})
compare 'exception: fail to open input file: Tür 椅子.json' \
    /filelist "Lösung 椅子.json" /encode "Tür 椅子.json" /output "$long"
# A text without a line feed.
compare 'ERROR: The input dwg file list path is empty' /pretty
