#!/usr/bin/env python3
"""Writes a library, encodings files and their list, from NumPy arrays.

    scripts/npz_to_encodings.py [--unit-length] BLOCKS.npz FOLDER

BLOCKS.npz has four arrays of n rows, one row a block, as numpy.savez writes them:

    shape    n × 512 numbers
    text     n × 384 numbers
    blocks   n texts, "name*code*handle"
    drawing  n texts, the name of the drawing that the block belongs to

Every drawing becomes FOLDER/<drawing>/encodings.cbor, so that hits carry its name as dwgPathHash;
FOLDER/filelist.json lists them by absolute paths, in the order of their first rows. Numbers are
written as 32-bit floats. With --unit-length every vector is divided by its length.
"""
import argparse
import json
import struct
import sys
import zipfile
from pathlib import Path

import numpy as np

WIDTHS = {"shape": 512, "text": 384}


def fail(complaint):
    sys.exit(f"npz_to_encodings.py: {complaint}")


def read_arrays(path):
    """The four arrays of the file by name, of equal numbers of rows, vectors as 32-bit floats."""
    arrays = {}
    try:
        with np.load(path) as file:  # without pickle: arrays of texts have the type U, not object
            for name in ["shape", "text", "blocks", "drawing"]:
                arrays[name] = file[name]
    except (OSError, ValueError, KeyError, zipfile.BadZipFile) as error:
        fail(f"{path}: {error}")
    for name, width in WIDTHS.items():
        arrays[name] = checked_vectors(name, width, arrays[name])
    for name in ["blocks", "drawing"]:
        if arrays[name].ndim != 1 or arrays[name].dtype.kind != "U":
            fail(f"{name} must be n texts, but is {size_text(arrays[name])} of "
                 f"{arrays[name].dtype}")
    rows = {name: len(array) for name, array in arrays.items()}
    if len(set(rows.values())) != 1:
        fail(f"the arrays differ in rows: {rows}")
    if rows["blocks"] == 0:
        fail("there are no rows")
    return arrays


def size_text(array):
    return " × ".join(map(str, array.shape)) or "one"


def checked_vectors(name, width, found):
    """n × width 32-bit floats, all finite."""
    if found.ndim != 2 or found.shape[1] != width or found.dtype.kind not in "fiu":
        fail(f"{name} must be n × {width} numbers, but is {size_text(found)} of {found.dtype}")
    with np.errstate(over="ignore"):
        vectors = found.astype(np.float32)
    for row in np.flatnonzero(~np.isfinite(vectors).all(axis=1)):
        fail(f"{name}[{row}] has a number that is no finite 32-bit float")
    return vectors


def check_keys(blocks, drawings):
    """Three fields a key, and one block with the handle 0 a drawing, since others would be lost."""
    drawings_with_zero = set()
    for row, (key, drawing) in enumerate(zip(blocks.tolist(), drawings.tolist())):
        if drawing in {"", ".", ".."} or set(drawing) & set("/\\\0"):
            fail(f"drawing[{row}] is no name for a folder: {drawing!r}")
        fields = key.split("*")
        if len(fields) < 3:
            fail(f"blocks[{row}] is not name*code*handle: {key!r}")
        if fields[2] == "0":
            if drawing in drawings_with_zero:
                fail(f"blocks[{row}] is the second with the handle 0 in the drawing {drawing!r}")
            drawings_with_zero.add(drawing)


def to_unit_length(name, vectors, is_wanted):
    """The rows divided by their lengths if that is wanted; else other lengths are only told."""
    lengths = np.sqrt(np.einsum("ij,ij->i", vectors, vectors, dtype=np.float64))
    if is_wanted:
        for row in np.flatnonzero(lengths == 0):
            fail(f"{name}[{row}] is all zeros and has no direction")
        return (vectors / lengths[:, None]).astype(np.float32)
    others = np.count_nonzero(abs(lengths - 1) > 1e-3)
    if others:
        print(f"warning: {others} of {len(lengths)} vectors in {name} do not have length 1, which "
              "the thresholds expect; --unit-length scales them", file=sys.stderr)
    return vectors


def cbor_head(major, count):
    """The head of a text (major type 3) or array (4): CBOR's shortest form of the count."""
    if count < 24:
        return bytes([major << 5 | count])
    size, form = next((size, form) for size, form in enumerate([">B", ">H", ">I", ">Q"], 24)
                      if count < 256 ** struct.calcsize(form))
    return bytes([major << 5 | size]) + struct.pack(form, count)


def cbor_text(text):
    utf8 = text.encode()
    return cbor_head(3, len(utf8)) + utf8


def cbor_vectors(vectors):
    """An array of arrays of 32-bit floats, all rows packed at once: a number at a time is slow."""
    rows, width = vectors.shape
    number = [("type", "u1"), ("value", ">f4")]
    packed = np.empty(rows, [("head", "u1", 3), ("numbers", number, width)])
    packed["head"] = list(cbor_head(4, width))
    packed["numbers"]["type"] = 7 << 5 | 26
    packed["numbers"]["value"] = vectors
    return cbor_head(4, rows) + packed.tobytes()


def write_drawing(path, blocks, shape, text):
    """One encodings file: `blocks` n texts, `shape` n × 512 and `text` n × 384 floats."""
    with open(path, "wb") as file:
        file.write(bytes([5 << 5 | 3]))  # a map of three
        file.write(cbor_text("blocks") + cbor_head(4, len(blocks)))
        file.write(b"".join(map(cbor_text, blocks)))
        file.write(cbor_text("shape") + cbor_vectors(shape))
        file.write(cbor_text("text") + cbor_vectors(text))


def write_library(folder, arrays):
    """One file a drawing, the rows of each in their order, and the list. Gives the list's path."""
    names, first_rows, drawing_of_row = np.unique(
        arrays["drawing"], return_index=True, return_inverse=True)
    rows_by_drawing = np.split(np.argsort(drawing_of_row, kind="stable"),
                               np.cumsum(np.bincount(drawing_of_row))[:-1])
    files = []
    for drawing in np.argsort(first_rows):
        path = folder.resolve() / names[drawing] / "encodings.cbor"
        path.parent.mkdir(parents=True, exist_ok=True)
        rows = rows_by_drawing[drawing]
        write_drawing(path, arrays["blocks"][rows].tolist(), arrays["shape"][rows],
                      arrays["text"][rows])
        files.append(str(path))
    file_list = folder / "filelist.json"
    file_list.write_text(json.dumps({"files": files}, ensure_ascii=False), encoding="utf-8")
    return file_list


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--unit-length", action="store_true", help="scale every vector to length 1")
    parser.add_argument("blocks", type=Path, metavar="BLOCKS.npz")
    parser.add_argument("folder", type=Path, metavar="FOLDER")
    options = parser.parse_args()

    arrays = read_arrays(options.blocks)
    check_keys(arrays["blocks"], arrays["drawing"])
    for name in WIDTHS:
        arrays[name] = to_unit_length(name, arrays[name], options.unit_length)
    print(write_library(options.folder, arrays))


if __name__ == "__main__":
    main()
