"""Documents of the six formats as files, chosen by extension as the program chooses.

A document is a tree of dict, list, str, int, float, bool and None. A NumPy matrix in it stands for
an array of arrays of 32-bit floats: writers take it, and the reader of CBOR gives it where all rows
are stored alike, since a number at a time is slow. Codecs are imported when needed.
"""
import json
import re
from pathlib import Path

import numpy as np

from quillon_tools import ubjson
from quillon_tools.errors import UserError


def read_json(data):
    def refuse(word):
        raise ValueError(f"{word} is no JSON")

    def finite(text):
        if float(text) in (float("inf"), float("-inf")):
            raise ValueError(f"number overflow parsing {text!r}")
        return float(text)

    has_large_exponent = re.search(rb"[eE]\+?\d{3}", data)
    document = json.loads(data.decode("utf-8-sig"), parse_constant=refuse,
                          parse_float=finite if has_large_exponent else None)
    if b"\\ud" in data.lower():  # half a surrogate pair has no UTF-8
        json.dumps(document, ensure_ascii=False).encode("utf-8")
    return document


def read_bson(data):
    import bson
    return bson.decode(data)


def read_cbor(data):
    from quillon_tools import cbor
    return cbor.loads(data)


def read_msgpack(data):
    import msgpack
    return msgpack.unpackb(data)


def write_json(document):
    return json_text(document).encode("utf-8")


def json_text(value):
    """JSON text. Numbers of matrices have the 9 digits that tell 32-bit floats apart."""
    if isinstance(value, np.ndarray):
        rows = (",".join(["%.9g" % number for number in row]) for row in value.tolist())
        return "[" + ",".join(f"[{row}]" for row in rows) + "]"
    if isinstance(value, dict):
        return "{" + ",".join(f"{json_text(name)}:{json_text(one)}"
                              for name, one in value.items()) + "}"
    if isinstance(value, list):
        return "[" + ",".join(map(json_text, value)) + "]"
    return json.dumps(value, ensure_ascii=False, allow_nan=False)


def write_bson(document):
    import bson
    return bson.encode(as_lists(document))


def write_cbor(document):
    from quillon_tools import cbor
    return cbor.dumps(document)


def write_msgpack(document):
    import msgpack
    return msgpack.packb(as_lists(document), use_single_float=True)


def as_lists(document):
    return {name: value.tolist() if isinstance(value, np.ndarray) else value
            for name, value in document.items()}


READERS = {
    ".json": read_json,
    ".bson": read_bson,
    ".cbor": read_cbor,
    ".msgpack": read_msgpack,
    ".ubj": lambda data: ubjson.loads(data, ">", bjdata=False),
    ".jdb": lambda data: ubjson.loads(data, "<", bjdata=True),
}
WRITERS = {
    ".json": write_json,
    ".bson": write_bson,
    ".cbor": write_cbor,
    ".msgpack": write_msgpack,
    ".ubj": lambda document: ubjson.dumps(document, ">"),
    ".jdb": lambda document: ubjson.dumps(document, "<"),
}


def parse_document(data, extension):
    """The document of these bytes. Raises ValueError with the decoder's words if there is none."""
    try:
        return READERS[extension](data)
    except Exception as error:  # decoders of hostile bytes raise what they like
        raise ValueError(f"{error}" or type(error).__name__) from error


def read_document(path):
    """The document in the file. Raises UserError, which names the file."""
    path = Path(path)
    if path.suffix not in READERS:
        raise UserError(f"{path}: the extension is none of {' '.join(READERS)}")
    try:
        return parse_document(path.read_bytes(), path.suffix)
    except ValueError as error:
        raise UserError(f"{path}: does not parse: {error}") from error


def write_document(path, document):
    """Writes the document in the format of the extension."""
    path = Path(path)
    if path.suffix not in WRITERS:
        raise UserError(f"{path}: the extension is none of {' '.join(WRITERS)}")
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(WRITERS[path.suffix](document))
