#!/bin/sh
# Gives the documents installed under PREFIX the form that Debian asks for:
#     debian_documents.sh PREFIX VERSION YEAR-MONTH-DAY
set -eu

documents=$1/share/doc/quillon
mv "$documents/CHANGELOG.md" "$documents/changelog"
cat >"$documents/changelog.Debian" <<END
quillon ($2-1) bookworm; urgency=medium

  * Release $2; changelog.gz tells what is new.

 -- Quillon authors <maintainers@quillon.invalid>  $(date -u -R -d "$3")
END
chmod 644 "$documents/changelog.Debian"
gzip -9n "$documents/changelog" "$documents/changelog.Debian" "$1/share/man/man1/quillon.1"
