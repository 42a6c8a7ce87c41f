#!/usr/bin/env bash
# Installs those of the given Debian packages that are missing. Without the right to install, it
# names them and fails. Quick and silent when nothing is missing.
set -euo pipefail

missing=()
for package in "$@"; do
    status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$status" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

if [ "$(id -u)" -ne 0 ]; then
    echo "These Debian packages are missing: ${missing[*]}" >&2
    echo "Install them with: sudo apt-get install --no-install-recommends ${missing[*]}" >&2
    exit 1
fi
echo "Installing ${missing[*]}"
apt-get update -qq
DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
