"""Lists and encodings files for verbs that need them whole: the first mistake is a UserError."""
import os
from dataclasses import dataclass

import numpy as np

from quillon_tools.documents import read_document
from quillon_tools.errors import UserError
from quillon_tools.vectors import WIDTHS, is_array, rows_of, type_name


@dataclass
class Encodings:
    """The blocks of one drawing: n keys, and n × 512 and n × 384 finite 32-bit floats."""
    blocks: list
    shape: np.ndarray
    text: np.ndarray


def list_files(path, document):
    """The paths of the files of a list document, each as it can be opened from here.

    Relative paths start at the current folder, as in the program, or else at the list's folder.
    """
    files = document["files"]
    if not isinstance(files, list) or not all(isinstance(one, str) for one in files):
        raise UserError(f'{path}: "files" is no array of texts')
    if not files:
        raise UserError(f'{path}: "files" is empty')
    beside = [os.path.join(os.path.dirname(path), one) for one in files]
    return [second if not os.path.exists(first) and os.path.exists(second) else first
            for first, second in zip(files, beside)]


def encodings_of(path, document):
    """The Encodings in an encodings document."""
    for name in ["blocks", *WIDTHS]:
        if not isinstance(document, dict) or not is_array(document.get(name)):
            raise UserError(f"{path}: has no array {name}")
    blocks = document["blocks"]
    for number, key in enumerate(blocks):
        if not isinstance(key, str):
            raise UserError(f"{path}: blocks[{number}] is {type_name(key)}, no text")
    sizes = {name: len(document[name]) for name in ["blocks", *WIDTHS]}
    if len(set(sizes.values())) != 1:
        found = ", ".join(f"{name} {size}" for name, size in sizes.items())
        raise UserError(f"{path}: arrays of unequal length: {found}")
    return Encodings(blocks, *[matrix_of(path, side, document[side], blocks) for side in WIDTHS])


def read_encodings(path):
    return encodings_of(path, read_document(path))


def matrix_of(path, side, vectors, blocks=None):
    """The vectors of one side as a matrix; all are complete and finite."""
    rows = rows_of(vectors, WIDTHS[side])

    def fail(number, problem):
        name = f" of {blocks[number]}" if blocks else ""
        raise UserError(f"{path}: {side}[{number}]{name} {problem}")

    for number, problem in rows.wrong_width.items():
        fail(number, problem)
    for number, found in rows.no_numbers.items():
        fail(number, f"holds {found}, no number")
    for number in np.flatnonzero(~np.isfinite(rows.matrix).all(axis=1)):
        fail(number, "has a number that is no finite 32-bit float")
    return rows.matrix
