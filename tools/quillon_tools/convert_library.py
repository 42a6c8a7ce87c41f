"""Reads the drawings of a list one by one, and writes them into folders of the same names."""
import os
from pathlib import Path

from quillon_tools.documents import write_document
from quillon_tools.errors import UserError
from quillon_tools.library import read_encodings


def read_library(paths):
    """(name, path, Encodings) of each file, the name being its folder below the common folder."""
    absolute = [Path(os.path.abspath(path)) for path in paths]
    try:
        common = os.path.commonpath([root_of(path) for path in absolute])
    except ValueError as error:  # Windows: on several drives
        raise UserError(f"the files of the list have no folder in common: {error}") from error
    for path, place in zip(absolute, paths):
        yield path.parent.relative_to(common).as_posix(), Path(place), read_encodings(place)


def root_of(path):
    """The folder R of R/.blocksMetadata/X/D/file or R/D/file, which is not part of the name."""
    levels = 4 if len(path.parts) > 4 and path.parts[-4] == ".blocksMetadata" else 2
    return path.parents[min(levels, len(path.parents)) - 1]


def write_library(folder, drawings, extension, source):
    """One encodings file a drawing and FOLDER/filelist.json. Gives the path of the list."""
    file_list = folder / "filelist.json"
    if file_list.exists() and source.exists() and file_list.samefile(source):
        raise UserError(f"{file_list}: is IN, and would be replaced")
    files = {}
    for name, path, encodings in drawings:
        stem = path.stem if path.suffix != ".npz" else "encodings"
        target = Path(os.path.abspath(folder / name / (stem + extension)))
        if files.setdefault(target, path) != path:
            raise UserError(f"{path}: {files[target]} would become the same file {target}")
        if target.exists() and path.exists() and target.samefile(path):
            raise UserError(f"{target}: would be replaced by itself; give another folder or format")
        write_document(target, vars(encodings))
    write_document(file_list, {"files": [str(target) for target in files]})
    return file_list
