"""Rows of numbers of a document as a matrix of 32-bit floats, with what is wrong with each row."""
from dataclasses import dataclass, field

import numpy as np

WIDTHS = {"shape": 512, "text": 384}
LENGTH_TOLERANCE = 1e-3  # a length this far from 1 moves no block across a threshold by much


@dataclass
class Rows:
    """`matrix` is rows × width float32. The rows in the two dictionaries are zeros in it."""
    matrix: np.ndarray
    wrong_width: dict = field(default_factory=dict)  # row: what it is instead
    no_numbers: dict = field(default_factory=dict)  # row: the first element that is no number


def type_name(value):
    """The JSON type, as the program's messages name it."""
    for kinds, name in [(bool, "boolean"), ((int, float), "number"), (str, "string"),
                        ((list, np.ndarray), "array"), (dict, "object"), (type(None), "null")]:
        if isinstance(value, kinds):
            return name
    return "binary"


def is_array(value):
    """Whether it is an array of the document: a list, or the matrix that a reader made of one."""
    return isinstance(value, (list, np.ndarray))


def rows_of(vectors, width):
    """The Rows of an array of arrays of `width` numbers, or of objects of as many members.

    `vectors` is a list, or the matrix that a reader made of it.
    """
    if isinstance(vectors, np.ndarray) and vectors.shape[1] != width:
        vectors = vectors.tolist()
    if (matrix := fast_matrix(vectors, width)) is not None:
        return Rows(matrix)
    rows = Rows(np.zeros((len(vectors), width), np.float32))
    for number, vector in enumerate(vectors):
        if isinstance(vector, dict):  # the program reads its values in the order of the keys
            vector = [vector[key] for key in sorted(vector)]
        if not isinstance(vector, list):
            rows.wrong_width[number] = f"is {type_name(vector)}, not {width} numbers"
        elif len(vector) != width:
            rows.wrong_width[number] = f"has {len(vector)} numbers, not {width}"
        elif (matrix := fast_matrix([vector], width)) is not None:
            rows.matrix[number] = matrix[0]
        else:
            rows.no_numbers[number] = next(
                type_name(one) for one in vector if not isinstance(one, (int, float)))
    return rows


def fast_matrix(vectors, width):
    """rows × width 32-bit floats, or None where one of the vectors is something else."""
    if len(vectors) == 0:
        return np.zeros((0, width), np.float32)
    try:
        matrix = np.array(vectors)
        if matrix.dtype.kind == "O":  # integers beyond 64 bits, or no numbers
            matrix = np.array([[number + 0.0 for number in vector] for vector in vectors])
    except (ValueError, TypeError, OverflowError):
        return None
    if matrix.shape != (len(vectors), width) or matrix.dtype.kind not in "fiub":
        return None
    with np.errstate(over="ignore"):
        return matrix.astype(np.float32)


def lengths_of(matrix):
    """The length of every row, in 64 bits."""
    return np.sqrt(np.einsum("ij,ij->i", matrix, matrix, dtype=np.float64))
