#!/usr/bin/env bash
# Makes the Debian package of quillon-tools out of its wheel:
#     scripts/package-tools.sh FOLDER    where the package goes
set -euo pipefail
folder=$(realpath "$1")
cd "$(dirname "$0")/.."

scripts/install-packages.sh dpkg-dev
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct)}
export SOURCE_DATE_EPOCH
umask 022
version=$(sed -n 's/^project(quillon VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
day=$(sed -n "s/^## $version (\(.*\))$/\1/p" CHANGELOG.md)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
chmod 755 "$work"
scripts/build-wheel.sh "$work"
root=$work/root
share=$root/usr/share
mkdir -p "$root/DEBIAN" "$root/usr/bin" "$root/usr/lib/python3/dist-packages" \
    "$share/man/man1" "$share/doc/quillon-tools" "$share/bash-completion/completions" \
    "$share/lintian/overrides"
/usr/bin/python3 -m zipfile -e "$work"/*.whl "$root/usr/lib/python3/dist-packages"
rm -r "$root"/usr/lib/python3/dist-packages/*.dist-info

printf '%s\n' '#!/usr/bin/python3' 'import sys' '' 'from quillon_tools.cli import main' '' \
    'sys.exit(main())' >"$root/usr/bin/quillon-tools"
chmod 755 "$root/usr/bin/quillon-tools"
sed "s/@releaseDate@/$day/; s/@PROJECT_VERSION@/$version/" docs/quillon-tools.1.in \
    >"$share/man/man1/quillon-tools.1"
cp packaging/completions/quillon-tools.bash "$share/bash-completion/completions/quillon-tools"
# The head, and the paragraphs on our own files and their license.
awk -v RS= -v ORS='\n\n' 'NR == 1 { sub(/\nComment:.*/, "") } NR == 1 || /^Files: \*/ || /^License: Expat\n/' \
    packaging/copyright >"$share/doc/quillon-tools/copyright"
cat >"$share/doc/quillon-tools/changelog.Debian" <<END
quillon-tools ($version-1) bookworm; urgency=medium

  * Release $version.

 -- Quillon authors <maintainers@quillon.invalid>  $(LC_ALL=C date -u -R -d "$day")
END
# Not a package of Debian's archive, where a bug would have asked for it.
echo 'quillon-tools: initial-upload-closes-no-bugs [usr/share/doc/quillon-tools/changelog.Debian.gz:1]' \
    >"$share/lintian/overrides/quillon-tools"
gzip -9n "$share/man/man1/quillon-tools.1" "$share/doc/quillon-tools/changelog.Debian"

# Compiled when installed, so that nothing is left behind when removed.
for script in "postinst py3compile" "prerm py3clean"; do
    printf '#!/bin/sh\nset -e\nif command -v %s >/dev/null; then\n    %s -p quillon-tools\nfi\n' \
        "${script#* }" "${script#* }" >"$root/DEBIAN/${script% *}"
    chmod 755 "$root/DEBIAN/${script% *}"
done
cat >"$root/DEBIAN/control" <<END
Package: quillon-tools
Version: $version-1
Architecture: all
Maintainer: Quillon authors <maintainers@quillon.invalid>
Section: graphics
Priority: optional
Installed-Size: $(du -sk --apparent-size "$root/usr" | cut -f 1)
Depends: python3 (>= 3.10), python3-bson, python3-cbor2, python3-ezdxf, python3-jinja2, python3-matplotlib, python3-msgpack, python3-numpy, python3-tqdm
Recommends: quillon
Description: check, convert, search and show libraries of CAD blocks
 Tools around the program quillon, which finds the blocks of CAD drawings most
 like a given one: a check of libraries and queries, a converter between the
 formats of documents, searches for many queries, reports as web pages, and an
 example of an encoder for DXF drawings.
END
(cd "$root" && find usr -type f | sort | xargs md5sum >DEBIAN/md5sums)
find "$root" -exec touch -h -d "@$SOURCE_DATE_EPOCH" {} +
dpkg-deb --root-owner-group --build "$root" "$folder" >/dev/null
