#!/usr/bin/env python3
"""Fails when a document in a package names a file that the package does not have:

    scripts/check-links.py FOLDER

FOLDER is the unpacked zip or archive, or the root of a system with the Debian package.
"""
import gzip
import re
import sys
from pathlib import Path


def links_of(document):
    """The paths that a document names, relative to its own folder or absolute."""
    if document.suffix == ".gz":
        text = gzip.decompress(document.read_bytes()).decode()
    else:
        text = document.read_text(encoding="utf-8")
    if ".1" in document.suffixes:  # the manual page
        return re.findall(r"^\.I (/usr/share/\S+)$", text, re.MULTILINE)
    if document.suffix == ".md":
        links = (link.split("#")[0] for link in re.findall(r"\]\(([^)\s]+)\)", text))
        return [link for link in links if link and not link.startswith(("http", "mailto"))]
    # README.txt: a list of files with what they are, and paths with backslashes in the text.
    named = re.findall(r"^(\S+)  +\S", text, re.MULTILINE)
    named += re.findall(r"\b(?:docs|sample|licenses)\\[\w.\\]*\w", text)
    return [name.replace("\\", "/") for name in named]


def leads_to_a_file(root, document, link):
    if link.startswith("/usr/"):
        return (root / link[1:]).exists() or (root / link[len("/usr/"):]).exists()
    return (document.parent / link).exists()


def main():
    root = Path(sys.argv[1])
    places = [root / "usr/share/doc/quillon", root / "usr/share/man/man1"]
    if not places[0].exists():
        places = [root]
    documents = [path for place in places for pattern in ("*.md", "README.txt", "quillon.1*")
                 for path in sorted(place.rglob(pattern))]
    links = [(document, link) for document in documents for link in links_of(document)]
    dead = [(document, link) for document, link in links
            if not leads_to_a_file(root, document, link)]
    for document, link in dead:
        print(f"{document.relative_to(root)}: there is no {link}", file=sys.stderr)
    if not links:
        print(f"no links in {root}", file=sys.stderr)
    return 1 if dead or not links else 0


if __name__ == "__main__":
    sys.exit(main())
