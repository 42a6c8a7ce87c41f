"""Draws the pictures of the sample's blocks whose drawings are in examples/dxf:

    /usr/bin/python3 tests/tools/sample_pictures.py

writes examples/drawings/pictures again. The files are named after the codes of the sample and after
its queries. Needs python3-ezdxf.
"""
import json

from support import ROOT, SAMPLE

from quillon_tools.block_picture import block_picture
from quillon_tools.dxf_blocks import read_blocks

DRAWINGS = ROOT / "examples/dxf"
QUERIES = {("texts-in-block", "9EF"): "1-door-23-3", ("npn", "0"): "2-npn",
           ("Ceco.NET-Architecture-Tm-53", "659"): "3-arbre11"}


def sample_pictures():
    """The SVG texts by the names of their files."""
    names = {}
    for file in json.loads((SAMPLE / "filelist.json").read_text())["files"]:
        _, project, _, _, drawing, _ = file.split("/")
        for key in json.loads((SAMPLE / file).read_text())["blocks"]:
            _, code, handle = key.split("*")
            names[project, drawing, handle] = code
    pictures = {}
    for path in sorted(DRAWINGS.glob("*/*.dxf")):
        for block in read_blocks(path):
            name = QUERIES.get((path.stem, block.handle)) or \
                names.get((path.parent.name, path.name, block.handle))
            if name:
                pictures.setdefault(f"{name}.svg", block_picture(block.lines))
    return pictures


if __name__ == "__main__":
    folder = SAMPLE / "pictures"
    folder.mkdir(exist_ok=True)
    for name, picture in sample_pictures().items():
        (folder / name).write_text(picture, encoding="utf-8")
