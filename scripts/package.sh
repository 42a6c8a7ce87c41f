#!/usr/bin/env bash
# Makes the packages of the release build in build/packages: the Debian packages of the program and of
# quillon-tools, an archive, and their checksums. The same sources on the same machine give the same bytes: files have the commit's time.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-packages.sh dpkg-dev file
scripts/build.sh release

packages=build/packages
rm -rf "$packages"
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct)}
export SOURCE_DATE_EPOCH
umask 022
mkdir "$packages"
rm -rf build/release/wheel
mkdir build/release/wheel
scripts/build-wheel.sh build/release/wheel
if ! cpack --config build/release/CPackConfig.cmake -B "$packages" >"$packages/cpack.log" 2>&1; then
    cat "$packages/cpack.log"
    exit 1
fi
rm -r "$packages/_CPack_Packages" "$packages/cpack.log"
scripts/package-tools.sh "$packages"
cd "$packages"
sha256sum ./*.deb ./*.tar.gz | sed 's, \./, ,' | tee SHA256SUMS
