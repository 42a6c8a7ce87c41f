"""Makes a library out of DXF drawings. This is an example of an encoder, to see the whole way from
drawings to hits: its vectors tell lines and words apart, and know nothing of what blocks mean.

OUTPUT gets filelist.json with an encodings file for each drawing, queries/ with some of the blocks,
pictures/ with an SVG of every block and query, and drawings/ with the drawings themselves (hard
links where that is possible), so that hits lead to them. Vectors of different runs do not compare.

examples:
  quillon-tools encode-dxf drawings --output library
  quillon-tools encode-dxf a.dxf b.dxf --output library --queries "Door*" npn

then:
  quillon-tools run library/queries --list library/filelist.json --output library/results
  quillon-tools report library/results --pictures library/pictures --queries library/queries

exit status: 0 all drawings were read, 1 some were not, 2 wrong usage
"""
import os
import re
import shutil
import sys
from fnmatch import fnmatchcase
from pathlib import Path

import numpy as np

from quillon_tools.block_picture import block_picture
from quillon_tools.documents import write_document
from quillon_tools.dxf_blocks import read_blocks
from quillon_tools.errors import UserError
from quillon_tools.query_text import is_meaningless
from quillon_tools.shape_vectors import shape_vector
from quillon_tools.text_vectors import text_vectors
from quillon_tools.texts import counted, printable

QUERIES = 5  # written unless names are given


def add_arguments(parser):
    parser.add_argument("drawings", nargs="+", metavar="DRAWINGS",
                        help="DXF files, or folders of them")
    parser.add_argument("--output", type=Path, default=Path("library"), metavar="FOLDER",
                        help="folder of the library; library unless given")
    parser.add_argument("--queries", nargs="+", metavar="NAME",
                        help=f"blocks of these names, * for any letters; {QUERIES} blocks from all "
                        "over the drawings unless given")


def run(options):
    from tqdm import tqdm
    drawings, failures = [], 0
    for path, name in tqdm(drawing_paths(options.drawings), disable=None, unit="drawing"):
        try:
            drawings.append((path, name, encoded_shapes(path)))
        except OSError as error:
            failures += 1
            print(f"{path}: {error.strerror or error}", file=sys.stderr)
        except Exception as error:  # ezdxf raises what it likes for damaged files
            failures += 1
            print(f"{path}: cannot be read as DXF: {printable(error)}", file=sys.stderr)
    blocks = [(path, block, shape) for path, _, found in drawings for block, shape in found]
    if not blocks:
        raise UserError("the drawings have no blocks")
    texts = text_vectors([words_of(path, block) for path, block, _ in blocks])
    write_library(options.output, drawings, texts)
    queries = write_queries(options.output / "queries", options.output / "pictures", blocks, texts,
                            options.queries)
    print(f"{options.output}: {counted(len(drawings), 'drawing')}, "
          f"{counted(len(blocks), 'block')}, {queries} {'query' if queries == 1 else 'queries'}")
    return 1 if failures else 0


def drawing_paths(words):
    """(path, name below OUTPUT/drawings) of every drawing, those of folders in their order."""
    found = {}
    for word in map(Path, words):
        paths = sorted(path for path in word.rglob("*") if path.suffix.lower() == ".dxf") \
            if word.is_dir() else [word]
        if not paths:
            raise UserError(f"{word}: has no .dxf files")
        for path in paths:
            name = path.relative_to(word) if word.is_dir() else Path(path.name)
            if found.setdefault(name, path) != path:
                raise UserError(f"{path}: {found[name]} has the same name")
    return [(path, name) for name, path in found.items()]


def encoded_shapes(path):
    """The blocks of the drawing that have a shape, with their shape vectors."""
    blocks = [(block, shape_vector(block.lines)) for block in read_blocks(path)]
    return [(block, shape) for block, shape in blocks if shape is not None]


def words_of(path, block):
    """What the text vector is about. The name counts more than the rest."""
    return " ".join([*[block.name] * 3, *block.texts, *block.layers, path.stem, path.parent.name])


def write_library(output, drawings, texts):
    """The encodings file of each drawing, the list, the drawings and the pictures."""
    pictures = output / "pictures"
    pictures.mkdir(parents=True, exist_ok=True)
    files, first = [], 0
    for number, (path, name, blocks) in enumerate(drawings):
        copy = output / "drawings" / name
        link_or_copy(path, copy)
        rows = texts[first:first + len(blocks)]
        first += len(blocks)
        place = Path(os.path.abspath(copy.parent / ".blocksMetadata" / f"{number % 256:02x}"
                                     / copy.name / "encodings.cbor"))
        write_document(place, {
            "blocks": [f"{block.name}*{block.code}*{block.handle}" for block, _ in blocks],
            "shape": np.array([shape for _, shape in blocks], np.float32).reshape(-1, 512),
            "text": rows})
        files.append(str(place))
        for block, _ in blocks:
            picture = pictures / f"{block.code}.svg"
            picture.write_text(block_picture(block.lines), encoding="utf-8")
    write_document(output / "filelist.json", {"files": files})


def link_or_copy(source, target):
    target.parent.mkdir(parents=True, exist_ok=True)
    if target.exists():
        if target.samefile(source):
            return
        target.unlink()
    try:
        os.link(source, target)
    except OSError:  # another disk, or a file system without hard links
        shutil.copyfile(source, target)


def write_queries(folder, pictures, blocks, texts, names):
    """The queries with their pictures. Gives their number; duplicates of a code are one."""
    chosen = {}
    for row in range(len(blocks)):
        block = blocks[row][1]
        if names is None or any(fnmatchcase(block.name, name) for name in names):
            chosen.setdefault(block.code, row)
    rows = list(chosen.values())
    if names is None:
        rows = [row for row in rows if not is_meaningless(blocks[row][1].name)] or rows
        rows = [rows[len(rows) * number // QUERIES] for number in range(QUERIES)] \
            if len(rows) > QUERIES else rows
    elif not rows:
        raise UserError(f"no block has a name like {' '.join(names)}")
    for row in rows:
        _, block, shape = blocks[row]
        stem = f"{re.sub(r'[^A-Za-z0-9.-]+', '-', block.name).strip('-.')[:40]}-{block.code[:6]}"
        write_document(folder / f"{stem}.json", {
            "shape": shape[None], "text": texts[row][None], "queryText": [block.name]})
        shutil.copyfile(pictures / f"{block.code}.svg", pictures / f"{stem}.svg")
    return len(rows)
