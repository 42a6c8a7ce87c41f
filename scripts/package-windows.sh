#!/usr/bin/env bash
# Makes build/quillon-VERSION-win64.zip: the Windows program with what belongs to it, and beside it
# the zip's SHA-256.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-packages.sh zip
scripts/build-windows.sh quillon

# The same bytes from the same sources: all times are that of the commit.
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH

version=$(sed -n 's/^project(quillon VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
name=quillon-$version-win64
folder=build/package/$name
rm -rf build/package
mkdir -p "$folder/licenses" "$folder/docs"
x86_64-w64-mingw32-strip -o "$folder/quillon.exe" build/win64/quillon.exe
# Documents with the line ends that every editor there shows.
for document in README.md LICENSE THIRD-PARTY.md docs/messages.md docs/windows.md; do
    sed 's/$/\r/' "$document" >"$folder/$document"
done
cp -r docs/schema "$folder/docs"
for package in libfaiss-dev libopenblas-openmp-dev nlohmann-json3-dev libsimdjson-dev \
    libxtensor-dev xtl-dev gcc-mingw-w64-base mingw-w64-x86-64-dev; do
    sed 's/$/\r/' "/usr/share/doc/$package/copyright" >"$folder/licenses/$package.txt"
done

(cd "$folder" && find . -type f ! -name SHA256SUMS | sort | xargs sha256sum >SHA256SUMS)
find build/package -exec touch -d "@$SOURCE_DATE_EPOCH" {} +
rm -f "build/$name.zip"
(cd build/package && find "$name" | sort | TZ=UTC zip -X -q "../$name.zip" -@)
(cd build && sha256sum "$name.zip" | tee "$name.zip.sha256")
