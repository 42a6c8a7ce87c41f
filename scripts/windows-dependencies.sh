#!/usr/bin/env bash
# Provides the libraries that the Windows program links in build/windows-dependencies. They are
# built once, out of the Debian source packages of the versions that the Linux build uses, and kept in
#     build/windows-cache    or in the folder QUILLON_WINDOWS_CACHE
# under a name made of everything that they are built from.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-packages.sh g++-mingw-w64-x86-64-posix cmake ninja-build dpkg-dev \
    nlohmann-json3-dev libxtensor-dev xtl-dev libsimdjson-dev libgtest-dev

simdjson=$(dpkg-query -W -f '${source:Package}=${source:Version}' libsimdjson-dev)

key=$({
    cat scripts/windows-dependencies.sh cmake/windows/{CMakeLists.txt,toolchain.cmake}
    dpkg-query -W -f '${Package} ${Version}\n' g++-mingw-w64-x86-64-posix mingw-w64-x86-64-dev \
        nlohmann-json3-dev libxtensor-dev xtl-dev libgtest-dev
    printf '%s\n' "$simdjson"
} | sha256sum | cut -c 1-16)
cache=${QUILLON_WINDOWS_CACHE:-$PWD/build/windows-cache}
prefix=$cache/$key
mkdir -p "$cache" build
ln -sfn "$prefix" build/windows-dependencies
[ ! -e "$prefix/complete" ] || exit 0

work=$PWD/build/windows-work
rm -rf "$work" "$prefix"
mkdir -p "$work/lists/partial" "$prefix/include" "$prefix/lib/cmake"
trap 'rm -rf "$work"' EXIT

# The machine's own mirrors, asked for sources. Lists of our own leave the machine's as they are.
keyring=/usr/share/keyrings/debian-archive-keyring.gpg
apt-get indextargets 'Origin: Debian' 'Created-By: Packages' 'Component: main' --format \
    "deb-src [signed-by=$keyring] \$(REPO_URI) \$(RELEASE) \$(COMPONENT)" |
    sort -u >"$work/sources.list"
fetch() {
    apt-get -qq -o Dir::Etc::SourceList="$work/sources.list" -o Dir::Etc::SourceParts=/dev/null \
        -o Dir::State::Lists="$work/lists" -o APT::Sandbox::User=root "$@"
}
echo "Fetching $simdjson"
(cd "$work" && fetch update && fetch source "$simdjson" >fetch.log 2>&1) ||
    { cat "$work/fetch.log"; exit 1; }
mv "$work"/simdjson-*/ "$work/simdjson"

echo "Building simdjson and GoogleTest for Windows"
if ! { cmake -G Ninja -S cmake/windows -B "$work/build" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/windows/toolchain.cmake" -DCMAKE_INSTALL_PREFIX="$prefix" \
    -DSOURCES="$work" &&
    cmake --build "$work/build" --target install; } \
    >"$work/build.log" 2>&1; then
    cat "$work/build.log"
    exit 1
fi

# Libraries of headers only are the same on every system. /usr/include itself must not be searched.
for headers in nlohmann xtensor xtl; do
    ln -s "/usr/include/$headers" "$prefix/include/$headers"
done
cp -r /usr/share/cmake/nlohmann_json /usr/share/cmake/xtl "$prefix/lib/cmake"
# Finds its headers four folders up.
mkdir -p "$prefix/xtensor/lib/cmake"
cp -r /usr/lib/*/cmake/xtensor "$prefix/xtensor/lib/cmake"

touch "$prefix/complete"
