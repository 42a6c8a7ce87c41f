#!/usr/bin/env bash
# Makes the zip of the Windows program, unpacks it where nothing of mingw-w64 is in reach, and has
# the program search under wine, beside the Linux program, whose results must be the same bytes. The
# commands of the zip's README.txt are run, and its documents name no file that is missing:
#     scripts/check-windows-package.sh [PROGRAM]
# PROGRAM is the Linux program, build/release/quillon unless told, which is built.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-packages.sh jq python3 unzip wine wine64
scripts/package-windows.sh
[ $# -gt 0 ] || scripts/build.sh release
linux=$(realpath "${1:-build/release/quillon}")
version=$(sed -n 's/^project(quillon VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
name=quillon-$version-win64
(cd build && sha256sum --quiet -c "$name.zip.sha256")

checked=$PWD/build/windows-check
rm -rf "$checked"
mkdir "$checked"
unzip -q "build/$name.zip" -d "$checked"
(cd "$checked/$name" && sha256sum --quiet -c SHA256SUMS)

windows=$checked/$name/quillon.exe
scripts/check-links.py "$checked/$name"
scripts/check-build-paths.sh "$windows"
grep -qaF "version=\"$version.0\"" "$windows" || { echo "The manifest has another version" >&2; exit 1; }

# The licenses that others only refer to are there in full.
grep -q 'END OF TERMS AND CONDITIONS' "$checked/$name/licenses/Apache-2.0.txt"
grep -q 'END OF TERMS AND CONDITIONS' "$checked/$name/licenses/GPL-3.txt"
if grep -r /usr/share/common-licenses "$checked/$name/licenses"; then
    echo "These licenses are not in the zip" >&2
    exit 1
fi

# A new Windows, with nothing on its path but its own folders.
unset WINEPATH
export WINEPREFIX=$checked/wine WINEDEBUG=-all LC_ALL=C.UTF-8
mkdir "$WINEPREFIX"
wineserver -p
trap 'wineserver -k' EXIT
wineboot --init >/dev/null 2>&1

wine=$PWD/scripts/wine.sh
cp -r examples/drawings tests/data "$checked"

mkdir "$checked/first-steps"
cp -r "$checked/$name" "$checked/first-steps"
scripts/check-windows-readme.py "$checked/first-steps/$name"

(cd "$checked/drawings" && "$wine" "$windows" /filelist filelist.json \
    /encode queries/1-door-23-3.json /output "Z:$checked/doors.json" >"$checked/doors.txt")
scripts/check-sample-hits.sh "$checked/doors.json"

# Outside metadata trees a hit names a folder and no path, so that nothing in a result is the
# system's own. The new name is as long as the old one: in binary lists lengths stand before texts.
sources=("$checked/drawings" "$checked/data")
find "${sources[@]}" -depth -name .blocksMetadata -execdir mv {} _blocksMetadata \;
find "${sources[@]}" -name '*list.*' -exec sed -i 's/\.blocksMetadata/_blocksMetadata/' {} +

# The text that a program printed, without its times, the path of its own result and its line ends.
as_text() {
    sed 's/\r$//; s/: [0-9]* ms$/: T ms/; /^        Output: /d' "$1"
}

# compare FOLDER OUTPUT ARGUMENT ...: one run of each program.
compared=0
compare() {
    local folder=$checked/$1 output=$2
    local ours=$checked/windows/$output theirs=$checked/linux/$output
    shift 2
    mkdir -p "$checked/linux" "$checked/windows"
    (cd "$folder" && "$linux" "$@" /output "$theirs") >"$theirs.console"
    (cd "$folder" && "$wine" "$windows" "$@" /output "Z:$ours") >"$ours.console"
    # Lines of the console and of indented JSON end as each system ends lines.
    cmp <(as_text "$theirs.console") <(as_text "$ours.console")
    if [ "$output" = pretty.json ]; then
        cmp <(sed 's/$/\r/; $s/\r$//' "$theirs") "$ours"
    else
        cmp "$theirs" "$ours"
    fi
    compared=$((compared + 1))
}

for format in json bson cbor msgpack ubj jdb; do
    for method in adaptive shape text simple; do
        compare drawings "result.$format" /filelist filelist.json /encode queries/2-npn.json \
            /method "$method" /topk 12 /min 0.1
    done
    compare drawings "pretty.$format" /filelist filelist.json \
        /encode queries/1-door-23-3.json /pretty
    compare "data/$format" "result.$format" \
        /filelist "list.$format" /encode "query.$format" /topk -1
done
echo "$name.zip: the sample's doors found, $compared results and console texts as on Linux"
