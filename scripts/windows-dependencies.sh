#!/usr/bin/env bash
# Provides the libraries that the Windows program links in build/windows-dependencies. They are
# built once, out of the Debian source packages of the versions that the Linux build uses, and kept in
#     build/windows-cache    or in the folder QUILLON_WINDOWS_CACHE
# under a name made of everything that they are built from.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-packages.sh g++-mingw-w64-x86-64-posix gcc make cmake ninja-build dpkg-dev \
    libfaiss-dev libopenblas-openmp-dev nlohmann-json3-dev libxtensor-dev xtl-dev \
    libsimdjson-dev libgtest-dev

source_of() { dpkg-query -W -f '${source:Package}=${source:Version}' "$1"; }
sources=("$(source_of libfaiss-dev)" "$(source_of libopenblas-openmp-dev)"
    "$(source_of libsimdjson-dev)")

key=$({
    cat scripts/windows-dependencies.sh \
        cmake/windows/{CMakeLists.txt,toolchain.cmake,unused_lapack.c}
    dpkg-query -W -f '${Package} ${Version}\n' g++-mingw-w64-x86-64-posix mingw-w64-x86-64-dev \
        nlohmann-json3-dev libxtensor-dev xtl-dev libgtest-dev
    printf '%s\n' "${sources[@]}"
} | sha256sum | cut -c 1-16)
cache=${QUILLON_WINDOWS_CACHE:-$PWD/build/windows-cache}
prefix=$cache/$key
mkdir -p "$cache" build
ln -sfn "$prefix" build/windows-dependencies
[ ! -e "$prefix/complete" ] || exit 0

work=$PWD/build/windows-work
rm -rf "$work" "$prefix"
mkdir -p "$work/lists/partial" "$work/bin" "$prefix/include" "$prefix/lib/cmake"
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
echo "Fetching ${sources[*]}"
(cd "$work" && fetch update && fetch source "${sources[@]}" >fetch.log 2>&1) ||
    { cat "$work/fetch.log"; exit 1; }
for package in faiss openblas simdjson; do
    mv "$work/$package"-*/ "$work/$package"
done

# OpenBLAS compares the compiler's version "12-posix" as text with 4.6, and leaves AVX2 out.
cat >"$work/bin/x86_64-w64-mingw32-gcc" <<'END'
#!/bin/sh
case $1 in -dump*version) exec x86_64-w64-mingw32-gcc-posix -dumpfullversion | sed 's/-.*//' ;; esac
exec x86_64-w64-mingw32-gcc-posix "$@"
END
chmod +x "$work/bin/x86_64-w64-mingw32-gcc"

# Kernels for SSE3, AVX2 and AVX-512; the processor decides at run time. Of what can be called, only
# the single-precision products are built, and no kernels of their own for small ones.
echo "Building OpenBLAS for Windows"
if ! PATH=$work/bin:$PATH make -C "$work/openblas" -j "$(nproc)" libs \
    CC=x86_64-w64-mingw32-gcc AR=x86_64-w64-mingw32-ar RANLIB=x86_64-w64-mingw32-ranlib HOSTCC=gcc \
    TARGET=PRESCOTT DYNAMIC_ARCH=1 DYNAMIC_LIST="HASWELL SKYLAKEX" USE_OPENMP=1 NUM_THREADS=64 \
    BUILD_SINGLE=1 NOFORTRAN=1 NO_LAPACK=1 NO_CBLAS=1 NO_SHARED=1 SMALL_MATRIX_OPT=0 \
    MAKE_NB_JOBS=0 SUBDIRS="interface driver/level3 driver/others" \
    SBLAS1OBJS= SBLAS2OBJS= SBLAS3OBJS="sgemm.obj ssyrk.obj" >"$work/openblas.log" 2>&1; then
    tail -n 40 "$work/openblas.log"
    exit 1
fi
cp "$work/openblas/libopenblas.a" "$prefix/lib/"  # a link to the name with the version

# mingw-w64 has no posix_memalign; what faiss does for another Windows compiler fits it.
sed -i 's/^#define posix_memalign_free free$/#include <malloc.h>\
#include <cerrno>\
#define posix_memalign(p, a, s) (((*(p)) = _aligned_malloc((s), (a))), *(p) ? 0 : errno)\
#define posix_memalign_free _aligned_free/' "$work/faiss/faiss/impl/platform_macros.h"

echo "Building faiss, simdjson and GoogleTest for Windows"
faissVersion=${sources[0]#*=}
if ! { cmake -G Ninja -S cmake/windows -B "$work/build" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/windows/toolchain.cmake" -DCMAKE_INSTALL_PREFIX="$prefix" \
    -DSOURCES="$work" -DFAISS_VERSION="${faissVersion%-*}" &&
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
