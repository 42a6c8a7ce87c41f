#!/bin/sh
# Brings the documents installed under PREFIX into the form that Debian requires:
#     debian_documents.sh PREFIX VERSION YEAR-MONTH-DAY MAINTAINER
set -eu

documents=$1/share/doc/quillon
mv "$documents/CHANGELOG.md" "$documents/changelog"
cat >"$documents/changelog.Debian" <<END
quillon ($2-1) bookworm; urgency=medium

  * Release $2. What is new is in changelog.gz.

 -- $4  $(date -u -R -d "$3")
END
chmod 644 "$documents/changelog.Debian"
gzip -9n "$documents/changelog" "$documents/changelog.Debian" "$1/share/man/man1/quillon.1"
