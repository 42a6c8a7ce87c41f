"""Converts between the six formats and NumPy's .npz: one document, or a library with its list.
Numbers are written as 32-bit floats, all files anew; what is read stays as it is.

IN is a document of any kind, or an .npz of four arrays with n rows, one row a block:
    shape    n × 512 numbers
    text     n × 384 numbers
    blocks   n texts, "name*code*handle"
    drawing  n texts, the name of the drawing that the block belongs to

OUT is a document (.json .bson .cbor .msgpack .ubj .jdb), an .npz, or a folder. A folder takes a
whole library: from an .npz the files DRAWING/encodings.FORMAT, from a list all of its files in
folders of the same names, below the folder that all have in common, so that that folder itself
takes the new files beside the old ones. Its filelist.json lists them by absolute paths.

examples:
  quillon-tools convert blocks.npz library             a library from NumPy arrays
  quillon-tools convert filelist.json faster           the same library in CBOR
  quillon-tools convert filelist.json blocks.npz       all vectors for NumPy
  quillon-tools convert query.json query.msgpack       one document
  quillon-tools convert blocks.npz library --normalise --replace-stars
"""
import sys
from collections import Counter
from pathlib import Path

from quillon_tools.convert_library import read_library, write_library
from quillon_tools.documents import READERS, read_document, write_document
from quillon_tools.errors import UserError
from quillon_tools.library import Encodings, encodings_of, list_files, matrix_of
from quillon_tools.npz import read_npz, write_npz
from quillon_tools.vectors import LENGTH_TOLERANCE, WIDTHS, lengths_of


def add_arguments(parser):
    parser.add_argument("source", type=Path, metavar="IN", help="a document or .npz")
    parser.add_argument("target", type=Path, metavar="OUT", help="a document, .npz or folder")
    parser.add_argument("--format", choices=[name[1:] for name in READERS], default="cbor",
                        help="format of the encodings files of a library; cbor unless given")
    parser.add_argument("--normalise", action="store_true", help="scale every vector to length 1")
    parser.add_argument("--replace-stars", action="store_true",
                        help="write * in names as _; code and handle are then the last two fields")


def run(options):
    source, target = options.source, options.target
    if target.suffix not in [*READERS, ".npz", ""]:
        raise UserError(f"{target}: the extension is none of {' '.join(READERS)} .npz; a folder "
                        "has none")
    other_lengths = Counter()
    print(convert(source, target, options, other_lengths))
    for side in WIDTHS:
        if other_lengths[side] and not options.normalise:
            print(f"warning: {source}: {other_lengths[side]} of {other_lengths['all']} vectors in "
                  f"{side} do not have length 1, which the thresholds expect; --normalise scales "
                  "them", file=sys.stderr)
    return 0


def convert(source, target, options, other_lengths):
    """Writes the target and gives its path, that of the list in a folder."""
    if source.suffix == ".npz":
        return convert_drawings(read_npz(source), options, other_lengths)
    document = read_document(source)
    if not isinstance(document, dict):
        raise UserError(f"{source}: is no list, encodings file, query or result")
    if "files" in document and target.suffix not in READERS:
        return convert_drawings(read_library(list_files(source, document)), options, other_lengths)
    if is_encodings(document) and target.suffix == ".npz":
        drawings = [(source.resolve().parent.name, source, encodings_of(source, document))]
        return convert_drawings(drawings, options, other_lengths)
    if target.suffix not in READERS:
        raise UserError(f"{target}: {source} is one document; give a file to write")
    write_document(target, converted(document, options, other_lengths))
    return target


def convert_drawings(drawings, options, other_lengths):
    """Writes the (name, path, Encodings) of a library. Those of an .npz are all tried before."""
    target = options.target
    changed = ((name, path, changed_encodings(encodings, path, options, other_lengths))
               for name, path, encodings in drawings)
    if options.source.suffix == ".npz":
        changed = list(changed)
    if target.suffix == ".npz":
        return write_npz(target, changed)
    if target.suffix == "":
        return write_library(target, changed, "." + options.format, options.source)
    if len(changed) != 1:
        raise UserError(f"{target}: {options.source} has {len(changed)} drawings; give a folder to "
                        "write")
    write_document(target, vars(changed[0][2]))
    return target


def is_encodings(document):
    return "blocks" in document and "stats" not in document


def converted(document, options, other_lengths):
    """The document with matrices of 32-bit floats, scaled and renamed if that is wanted."""
    source = options.source
    if is_encodings(document):
        encodings = encodings_of(source, document)
        return {**document, **vars(changed_encodings(encodings, source, options, other_lengths))}
    if "queryText" in document:
        sides = {side: matrix_of(source, side, document[side]) for side in WIDTHS
                 if side in document}
        return {**document, **{side: scaled(matrix, source, side, None, options, other_lengths)
                               for side, matrix in sides.items()}}
    return document


def changed_encodings(encodings, path, options, other_lengths):
    blocks = encodings.blocks
    if options.replace_stars:
        blocks = [without_stars(key) for key in blocks]
    return Encodings(blocks, *[
        scaled(getattr(encodings, side), path, side, blocks, options, other_lengths)
        for side in WIDTHS])


def without_stars(key):
    *name, code, handle = key.rsplit("*", 2)
    return "*".join([name[0].replace("*", "_"), code, handle]) if name else key


def scaled(matrix, path, side, blocks, options, other_lengths):
    """The rows divided by their lengths if that is wanted. Lengths other than 1 are counted."""
    lengths = lengths_of(matrix)
    other_lengths[side] += int((abs(lengths - 1) > LENGTH_TOLERANCE).sum())
    other_lengths["all"] += len(lengths) if side == "shape" else 0
    if not options.normalise:
        return matrix
    for row in (lengths == 0).nonzero()[0]:
        name = f" of {blocks[row]}" if blocks else ""
        raise UserError(f"{path}: {side}[{row}]{name} is all zeros and has no direction")
    return (matrix / lengths[:, None]).astype(matrix.dtype)
