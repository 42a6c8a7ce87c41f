"""Says what is wrong with a library, a list, encodings files or queries, and what the program
would do with it. What a document is follows from its members: "files" make a list, "blocks" an
encodings file, a "queryText" or vectors alone a query. The files of a list are checked with it.
A list's paths start, as in the program, at the folder that the command is run in.

Errors end a run of the program or lose a drawing. Warnings let it leave out blocks or find wrong
ones. Notes cost space and time alone, or are worth knowing.

examples:
  quillon-tools check filelist.json            the list, and all encodings files in it
  quillon-tools check queries/*.json           queries
  quillon-tools check filelist.json --json     every finding, for programs

exit status: 0 without errors and warnings, 1 with, 2 wrong usage
"""
import json
import sys
from collections import Counter

from quillon_tools.check_files import Check
from quillon_tools.errors import UserError
from quillon_tools.texts import counted, text_table

SHOWN_OF_A_KIND = 3  # findings of one kind in one file; --json has all


def add_arguments(parser):
    parser.add_argument("files", nargs="+", metavar="FILE", help="a list, encodings file or query")
    parser.add_argument("--json", action="store_true", help="print all findings as JSON")


def run(options):
    check = Check()
    for path in options.files:
        check.check_path(path)
    check.check_keys_of_library()
    if check.checked_files == 0 and not check.findings:
        raise UserError("nothing to check")
    levels = Counter(finding.level for finding in check.findings)
    if options.json:
        json.dump({"files": check.checked_files, "blocks": check.blocks, "codes": len(check.codes),
                   "findings": [vars(finding) for finding in check.findings]},
                  sys.stdout, ensure_ascii=False, indent=2)
        print()
    else:
        print(table(check.findings), end="")
        print(summary(check, levels))
    return 1 if levels["error"] or levels["warning"] else 0


def table(findings):
    """The findings file by file, the many of one kind cut short."""
    if not findings:
        return ""
    kinds = Counter((finding.file, finding.kind) for finding in findings)
    shown, rows = Counter(), []
    for finding in findings:
        kind = (finding.file, finding.kind)
        shown[kind] += 1
        if shown[kind] <= SHOWN_OF_A_KIND or kinds[kind] == SHOWN_OF_A_KIND + 1:
            rows.append([finding.level, finding.file, finding.block, finding.problem,
                         finding.program])
        elif shown[kind] == kinds[kind]:
            rows.append([finding.level, finding.file, "",
                         f"the same of {kinds[kind] - SHOWN_OF_A_KIND} more", finding.program])
    return text_table(["LEVEL", "FILE", "BLOCK", "PROBLEM", "THE PROGRAM"], rows) + "\n"


def summary(check, levels):
    """One line of counts, and one more on duplicates whose texts differ, which is common."""
    found = [counted(levels[level], level)
             for level in ("error", "warning", "note") if levels[level]]
    line = (f"{counted(check.checked_files, 'file')}, {counted(check.blocks, 'block')}, "
            f"{counted(len(check.codes), 'code')}: {', '.join(found) or 'no findings'}")
    if check.other_texts:
        line += (f"\n{counted(check.other_texts, 'duplicate')} of a code with another text vector "
                 "than the first of that code, which is the one that counts")
    return line
