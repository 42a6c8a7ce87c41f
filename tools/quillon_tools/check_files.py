"""What `check` finds in lists, encodings files and queries, file by file."""
import os
import re
from collections import Counter
from dataclasses import dataclass

from quillon_tools.check_blocks import check_encodings
from quillon_tools.check_query import check_query
from quillon_tools.check_reading import UNREADABLE, read_checked
from quillon_tools.errors import UserError
from quillon_tools.vectors import type_name

FAILED = "counts a failed drawing and goes on without it"
ENDS = "ends with status 1"


@dataclass
class Finding:
    level: str  # error, warning or note
    file: str
    block: str  # "" where the finding is about the file
    kind: str  # findings of one kind differ in block and numbers alone
    problem: str
    program: str  # what the program does


class Check:
    """The findings of all files, and what is known of the library that they make up."""

    def __init__(self):
        self.findings = []
        self.checked_files = 0
        self.blocks = 0
        self.codes = {}  # code: file, block and sketches of the first block that has it
        self.other_texts = 0
        self.long_keys = []  # findings of keys with more than three fields
        self.keys = 0

    def add(self, level, file, kind, problem, program, block=""):
        self.findings.append(Finding(level, str(file), block, kind, problem, program))

    def add_long_key(self, file, fields, block):
        """Kept back until all keys are known: see `check_keys_of_library`."""
        kind = "star" if fields[0] else "no name"
        self.long_keys.append(Finding(
            "warning", str(file), block, kind,
            f"key has {len(fields)} fields; a * in the name? {'*'.join(fields)}",
            f"takes {fields[1]!r} for the code and {fields[2]!r} for the handle"))

    def check_path(self, path):
        """A file that the user named: of whichever kind it is."""
        if os.path.isdir(path):
            raise UserError(f"{path}: is a folder")
        try:
            document = read_checked(self, path, ENDS)
        except OSError as error:
            raise UserError(f"{path}: {error.strerror}") from error
        if document is UNREADABLE:
            return
        if isinstance(document, dict) and "files" in document:
            self.check_list(path, document["files"])
        elif isinstance(document, dict) and "stats" in document:
            self.checked_files -= 1
            raise UserError(f"{path}: is a result; only lists, encodings files and queries "
                            "are checked")
        elif isinstance(document, dict) and "blocks" in document:
            check_encodings(self, path, document)
        else:
            check_query(self, path, document)

    def check_list(self, path, files):
        """The list's entries, and every file that can be found by them."""
        if not isinstance(files, list):
            self.add("error", path, "list", f'"files" is {type_name(files)}, no array', ENDS)
            return
        if not files:
            self.add("error", path, "list", '"files" is empty', ENDS)
        for entry, times in Counter(one for one in files if isinstance(one, str)).items():
            if times > 1:
                self.add("warning", path, "repeated", f"has {entry} {times} times",
                         "takes all its blocks but the first for duplicates")
        resolved = [(entry, self.resolve(path, number, entry))
                    for number, entry in enumerate(files)]
        self.check_starting_folder(path, resolved)
        for entry, place in resolved:
            if place is not None:
                self.check_listed(entry, place)

    def resolve(self, path, number, entry):
        """Where the file of an entry is, or None. Falls back on the folder of the list."""
        if not isinstance(entry, str):
            self.add("error", path, "entry", f"files[{number}] is {type_name(entry)}, no text",
                     FAILED)
            return None
        places = [entry, os.path.join(os.path.dirname(path), entry)]
        if "\\" in entry and os.sep == "/":
            self.add("error", path, "backslash", f"files[{number}] has \\ between folders: {entry}",
                     "finds it on Windows alone; elsewhere " + FAILED)
            places += [place.replace("\\", "/") for place in places]
        return next((place for place in places if is_file(place)), None)

    def check_starting_folder(self, path, resolved):
        """One finding for all entries that lead to files from the list's folder alone."""
        from_list = 0
        for number, (entry, place) in enumerate(resolved):
            if not isinstance(entry, str):
                continue
            if place is None:
                self.add("error", path, "missing", f"files[{number}] is no file: {entry}", FAILED)
            elif place not in (entry, entry.replace("\\", "/")):
                from_list += 1
        if from_list:
            folder = os.path.dirname(path)
            self.add("error", path, "folder",
                     f"{from_list} of {len(resolved)} paths lead to files from the list's own "
                     f"folder alone; start the program in {folder}",
                     FAILED if from_list < len(resolved) else ENDS)

    def check_listed(self, entry, place):
        try:
            document = read_checked(self, place, FAILED)
        except OSError as error:
            self.add("error", place, "open", f"cannot be read: {error.strerror}", FAILED)
            return
        if document is UNREADABLE:
            return
        self.check_depth(entry, place)
        check_encodings(self, place, document)

    def check_depth(self, entry, place):
        """Hits get the path of their drawing from a file three levels below .blocksMetadata."""
        folders = re.split(r"[/\\]", entry)
        if ".blocksMetadata" in entry and (len(folders) < 4 or folders[-4] != ".blocksMetadata"):
            given = os.path.normpath(os.path.join(os.path.abspath(place), *[".."] * 4,
                                                  os.path.basename(os.path.dirname(place))))
            self.add("warning", place, "depth",
                     "is not .blocksMetadata/ANY/DRAWING/FILE", f"gives hits the dwgPath {given}")

    def check_keys_of_library(self):
        """A star in a name looks like a further field, unless all keys have further fields."""
        if len(self.long_keys) < self.keys or self.keys == 1:
            self.findings += self.long_keys
        else:
            self.findings += [finding for finding in self.long_keys if finding.kind == "no name"]


def is_file(place):
    try:
        return os.path.isfile(place)
    except ValueError:  # a zero byte in the name
        return False
