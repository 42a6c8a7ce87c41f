"""Reads a document for `check`, with what is wrong with it as a file, not as a library."""
import re
from collections import Counter
from pathlib import Path

import numpy as np

from quillon_tools import ubjson
from quillon_tools.documents import READERS, parse_document
from quillon_tools.vectors import WIDTHS, is_array, rows_of

UNREADABLE = object()
ROUNDED = "rounds to 32-bit floats; the file takes more space and time"
ENOUGH_DIGITS = 9  # tell all 32-bit floats apart
SPARED_BYTES = 6.5  # a number, on average: more than 32-bit floats with their heads take


def read_checked(check, path, program):
    """The document, or UNREADABLE with a finding. Raises OSError for a file that is not there.

    BJData of draft 1 reads as other numbers without an error, so the document comes in the byte
    order in which its vectors have plausible lengths, with a finding.
    """
    path = Path(path)
    if path.suffix not in READERS:
        check.add("error", path, "extension",
                 f"the extension is none of {' '.join(READERS)}", program)
        return UNREADABLE
    data = path.read_bytes()
    check.checked_files += 1
    document, failure = UNREADABLE, ""
    try:
        document = parse_document(data, path.suffix)
    except ValueError as error:
        failure = str(error)
    if path.suffix == ".jdb" and not has_plausible_numbers(document):
        document, failure = check_draft(check, path, data, document, failure)
    if failure:
        check.add("error", path, "parse", f"does not parse: {failure}", program)
    else:
        check_size(check, path, data, document)
    return document


def check_draft(check, path, data, document, failure):
    """The document in the byte order of draft 1 where that makes sense of its numbers."""
    try:
        turned = ubjson.loads(data, ">", bjdata=True)
    except Exception:  # hostile bytes, as in parse_document
        return document, failure
    if not has_plausible_numbers(turned):
        return document, failure
    check.add("error", path, "draft 1", "is BJData of draft 1, or UBJSON: the bytes of its "
              "numbers are in the other order", "reads other numbers, silently")
    return turned, ""


def check_size(check, path, data, document):
    """Whether the numbers take more bytes than 32-bit floats need."""
    numbers = sum(len(vector) for side in WIDTHS if isinstance(document, dict)
                  for vector in listed(document.get(side)) if is_array(vector))
    if path.suffix == ".json":
        numbers_text = re.sub(rb'"(?:[^"\\]|\\.)*"', b"", data[:100_000])
        digits = Counter(len(number.replace(b".", b"").lstrip(b"0"))
                         for number in re.findall(rb"[\d.]+", numbers_text))
        if sum(n for length, n in digits.items() if length > ENOUGH_DIGITS) > 10:
            check.add("note", path, "digits",
                     f"numbers have up to {max(digits)} digits, where {ENOUGH_DIGITS} are "
                     "enough", ROUNDED)
    elif path.suffix != ".bson" and numbers and len(data) / numbers > SPARED_BYTES:
        check.add("note", path, "64-bit floats", "numbers are 64-bit floats", ROUNDED)


def has_plausible_numbers(document):
    """Whether there are vectors, and numbers in them that unit vectors could have."""
    if not isinstance(document, dict):
        return False
    largest = 0
    for side, width in WIDTHS.items():
        with np.errstate(invalid="ignore"):
            matrix = abs(rows_of(listed(document.get(side)), width).matrix)
        if not np.isfinite(matrix).all():
            return False
        largest = max(largest, matrix.max(initial=0))
    return 1e-6 < largest < 1e6


def listed(value):
    return value if is_array(value) else []
