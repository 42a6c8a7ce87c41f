"""NumPy's .npz with the blocks of a library: the arrays shape, text, blocks and drawing."""
import re
import zipfile

import numpy as np

from quillon_tools.errors import UserError
from quillon_tools.library import Encodings, matrix_of
from quillon_tools.vectors import WIDTHS


def read_npz(path):
    """(drawing, path, Encodings) of each drawing in the order of their first rows."""
    arrays = read_arrays(path)
    check_keys(path, arrays["blocks"].tolist(), arrays["drawing"].tolist())
    names, first_rows, drawing_of_row = np.unique(
        arrays["drawing"], return_index=True, return_inverse=True)
    rows_by_drawing = np.split(np.argsort(drawing_of_row, kind="stable"),
                               np.cumsum(np.bincount(drawing_of_row))[:-1])
    found = []
    for drawing in np.argsort(first_rows):
        rows = rows_by_drawing[drawing]
        found.append((str(names[drawing]), path, Encodings(
            arrays["blocks"][rows].tolist(), *[arrays[side][rows] for side in WIDTHS])))
    return found


def read_arrays(path):
    """The four arrays by name, of equal numbers of rows, the vectors finite 32-bit floats."""
    arrays = {}
    try:
        with np.load(path) as file:  # without pickle: arrays of texts have the type U, not object
            for name in [*WIDTHS, "blocks", "drawing"]:
                if name not in file:
                    raise UserError(f"{path}: has no array {name}")
                arrays[name] = file[name]
    except (ValueError, EOFError, zipfile.BadZipFile, AttributeError) as error:
        raise UserError(f"{path}: {error}") from error
    for name, width in WIDTHS.items():
        found = arrays[name]
        if found.ndim != 2 or found.shape[1] != width or found.dtype.kind not in "fiu":
            raise UserError(f"{path}: {name} must be n × {width} numbers, but is "
                            f"{size_text(found)} of {found.dtype}")
        arrays[name] = matrix_of(path, name, found)
    for name in ["blocks", "drawing"]:
        found = arrays[name]
        if found.ndim != 1 or found.dtype.kind != "U":
            raise UserError(f"{path}: {name} must be n texts, but is {size_text(found)} of "
                            f"{found.dtype}")
    rows = {name: len(array) for name, array in arrays.items()}
    if len(set(rows.values())) != 1:
        raise UserError(f"{path}: the arrays differ in rows: {rows}")
    if rows["blocks"] == 0:
        raise UserError(f"{path}: there are no rows")
    return arrays


def size_text(array):
    return " × ".join(map(str, array.shape)) or "one"


def check_keys(path, blocks, drawings):
    """Three fields a key, and one block with the handle 0 a drawing, since others would be lost."""
    drawings_with_zero = set()
    for row, (key, drawing) in enumerate(zip(blocks, drawings)):
        if not is_folder_name(drawing):
            raise UserError(f"{path}: drawing[{row}] is no name for a folder: {drawing!r}")
        fields = key.split("*")
        if len(fields) < 3:
            raise UserError(f"{path}: blocks[{row}] is not name*code*handle: {key!r}")
        if fields[2] == "0":
            if drawing in drawings_with_zero:
                raise UserError(f"{path}: blocks[{row}] is the second with the handle 0 in the "
                                f"drawing {drawing!r}")
            drawings_with_zero.add(drawing)


def is_folder_name(drawing):
    """A relative path with / that leads down, or a plain name."""
    return not re.search(r'[\\:\0]', drawing) and \
        all(part not in ("", ".", "..") for part in drawing.split("/"))


def write_npz(target, drawings):
    """Writes the (name, path, Encodings) of all drawings as four arrays. Gives the path."""
    found = list(drawings)
    target.parent.mkdir(parents=True, exist_ok=True)
    np.savez(target, blocks=np.array([key for *_, one in found for key in one.blocks], "U"),
             drawing=np.array([name for name, _, one in found for _ in one.blocks], "U"),
             **{side: np.concatenate([getattr(one, side) for *_, one in found])
                for side in WIDTHS})
    return target
