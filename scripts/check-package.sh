#!/usr/bin/env bash
# Makes the packages and proves them, as root: lintian's opinion, the archive unpacked and run, and
# the Debian package installed into a Debian with nothing but its base, run there, and removed again.
# Their documents name no file that is missing, and their programs no path of this machine.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-packages.sh debootstrap jq lintian python3
scripts/package.sh
version=$(sed -n 's/^project(quillon VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
packages=$PWD/build/packages
debian=$packages/quillon_$version-1_amd64.deb
tools=$packages/quillon-tools_$version-1_all.deb
(cd "$packages" && sha256sum --check --quiet SHA256SUMS)
lintian --allow-root --fail-on error,warning "$debian" "$tools"

work=$(mktemp -d)
root=$work/root
cleanUp() {
    umount "$root/proc" "$root/sys" 2>/dev/null || true # left by a debootstrap that failed
    rm -rf --one-file-system "$work"
}
trap cleanUp EXIT

query=(/filelist filelist.json /encode queries/1-door-23-3.json /output)

archive=$work/quillon-$version-linux-x86_64
tar -xf "$packages/${archive##*/}.tar.gz" -C "$work"
scripts/check-links.py "$archive"
scripts/check-build-paths.sh "$archive/bin/quillon"
(cd examples/drawings && "$archive/bin/quillon" "${query[@]}" "$work/result.json" \
    >"$work/console.txt")
scripts/check-sample-hits.sh "$work/result.json"
test -f "$work/quillon-$version-linux-x86_64/share/quillon/quillon_tools-$version-py3-none-any.whl"

# From where this machine has its own packages.
mirror=$(apt-get indextargets --format '$(SITE)' 'Origin: Debian' 'Codename: bookworm' | sed -n 1p)
debootstrap --variant=minbase bookworm "$root" ${mirror:+"$mirror"} >"$work/debootstrap.log" ||
    { cat "$work/debootstrap.log"; exit 1; }
cp -r examples/drawings "$root/srv/drawings"
cp "$debian" "$root/srv/quillon.deb"

inRoot() {
    env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive chroot "$root" "$@"
}
paths() { # all but the package manager's own books and logs
    (cd "$root" && find . -xdev \( -path ./var/lib/apt -o -path ./var/lib/dpkg -o \
        -path ./var/cache/apt -o -path ./var/log \) -prune -o -print | sort)
}
paths >"$work/before"
inRoot apt-get install -y -qq --no-install-recommends /srv/quillon.deb >"$work/apt.log" 2>&1 ||
    { cat "$work/apt.log"; exit 1; }

{
    cat <<'END'
/usr/bin/quillon
/usr/share/bash-completion/completions/quillon
/usr/share/doc/quillon/LICENSE
/usr/share/doc/quillon/THIRD-PARTY.md
/usr/share/doc/quillon/changelog.Debian.gz
/usr/share/doc/quillon/changelog.gz
/usr/share/doc/quillon/copyright
/usr/share/doc/quillon/messages.md
/usr/share/fish/vendor_completions.d/quillon.fish
/usr/share/lintian/overrides/quillon
/usr/share/man/man1/quillon.1.gz
/usr/share/zsh/vendor-completions/_quillon
END
    find docs/schema -name '*.schema.json' -printf '/usr/share/quillon/schema/%f\n'
} | sort >"$work/expected"
inRoot dpkg -L quillon | while read -r path; do
    if [ -f "$root$path" ]; then printf '%s\n' "$path"; fi
done | sort | diff "$work/expected" -

scripts/check-links.py "$root"
scripts/check-build-paths.sh "$root/usr/bin/quillon"

zcat "$root/usr/share/man/man1/quillon.1.gz" | grep -q "^\.TH .* \"quillon $version\"" ||
    { echo "The manual page is not that of $version" >&2; exit 1; }

inRoot sh -c 'cd /srv/drawings && exec quillon "$@"' quillon "${query[@]}" /srv/result.json \
    >"$work/console.txt"
scripts/check-sample-hits.sh "$root/srv/result.json"

rm "$root/srv/result.json"
inRoot apt-get purge -y -qq --autoremove quillon >"$work/apt.log" 2>&1 ||
    { cat "$work/apt.log"; exit 1; }
paths | diff "$work/before" - || { echo 'The removed package left or took these' >&2; exit 1; }

# The tools with the program, and nothing of them when they are removed.
cp "$debian" "$root/srv/quillon.deb"
cp "$tools" "$root/srv/quillon-tools.deb"
inRoot apt-get install -y -qq --no-install-recommends /srv/quillon.deb /srv/quillon-tools.deb \
    >"$work/apt.log" 2>&1 || { cat "$work/apt.log"; exit 1; }
inRoot sh -ec 'cd /srv/drawings
    quillon-tools check filelist.json
    quillon-tools run queries --list filelist.json --output /srv/results
    quillon-tools report /srv/results --pictures pictures --output /srv/report.html'
scripts/check-sample-hits.sh "$root/srv/results/1-door-23-3.json"
inRoot apt-get purge -y -qq quillon-tools >"$work/apt.log" 2>&1 || { cat "$work/apt.log"; exit 1; }
left=$(find "$root/usr" "$root/var/cache" -name '*quillon[-_]tools*')
[ -z "$left" ] || { printf 'The removed quillon-tools left\n%s\n' "$left" >&2; exit 1; }
