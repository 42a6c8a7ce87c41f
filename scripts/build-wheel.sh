#!/usr/bin/env bash
# Builds the wheel of quillon-tools, without a network:
#     scripts/build-wheel.sh FOLDER    where the wheel goes
# The same sources give the same bytes: files have the commit's time.
set -euo pipefail
target=$(realpath "$1")
cd "$(dirname "$0")/.."

scripts/install-packages.sh python3-pip python3-setuptools python3-wheel
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct)}
export SOURCE_DATE_EPOCH
umask 022

# In a copy, since the build leaves files beside the sources.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r tools/pyproject.toml tools/quillon_tools "$work"
cp LICENSE "$work"
version=$(sed -n 's/^project(quillon VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
sed -i "s/^__version__ = .*/__version__ = \"$version\"/" "$work/quillon_tools/__init__.py"
find "$work" -name __pycache__ -prune -exec rm -r {} +
find "$work" -exec touch -d "@$SOURCE_DATE_EPOCH" {} +
/usr/bin/python3 -m pip wheel --quiet --no-build-isolation --no-deps --no-index --wheel-dir "$target" \
    "$work" 2>"$work/log" || { cat "$work/log" >&2; exit 1; }
