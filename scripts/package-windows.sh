#!/usr/bin/env bash
# Makes build/quillon-VERSION-win64.zip with the Windows program, documents and examples, and a
# file with the zip's SHA-256.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-packages.sh zip
scripts/build-windows.sh quillon

# The same sources give the same bytes, because all files have the commit's time.
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH

version=$(sed -n 's/^project(quillon VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
name=quillon-$version-win64
folder=build/package/$name
rm -rf build/package
mkdir -p "$folder/docs" "$folder/licenses"
x86_64-w64-mingw32-strip -o "$folder/quillon.exe" build/win64/quillon.exe

# add TEXT NAME: adds a text with the line ends of Windows.
add() { sed 's/$/\r/' "$1" >"$folder/$2"; }
sed "s/@VERSION@/$version/g" packaging/windows/README.txt.in >build/package/README.txt
add build/package/README.txt README.txt
for document in LICENSE THIRD-PARTY.md docs/messages.md docs/windows.md; do
    add "$document" "$document"
done
cp -r docs/schema "$folder/docs"
cp -r examples/callers "$folder"
cp -r examples/drawings "$folder/sample"
scripts/build-wheel.sh "$folder"

# The licenses, and the licenses that they refer to.
for package in nlohmann-json3-dev libsimdjson-dev libxtensor-dev xtl-dev \
    gcc-mingw-w64-base mingw-w64-x86-64-dev; do
    copyright=/usr/share/doc/$package/copyright
    sed 's,/usr/share/common-licenses/\([A-Za-z0-9.-]*[A-Za-z0-9]\),\1.txt,g' "$copyright" \
        >build/package/copyright
    add build/package/copyright "licenses/$package.txt"
    for license in $(grep -o '/usr/share/common-licenses/[A-Za-z0-9.-]*[A-Za-z0-9]' "$copyright"); do
        add "$license" "licenses/${license##*/}.txt"
    done
done

(cd "$folder" && find . -type f ! -name SHA256SUMS -print0 | sort -z | xargs -0 sha256sum >SHA256SUMS)
find "$folder" -exec touch -d "@$SOURCE_DATE_EPOCH" {} +
rm -f "build/$name.zip"
(cd build/package && find "$name" | sort | TZ=UTC zip -X -q "../$name.zip" -@)
(cd build && sha256sum "$name.zip" | tee "$name.zip.sha256")
