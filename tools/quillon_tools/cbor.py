"""Reads and writes CBOR, rows of 32-bit floats at once: a number at a time is slow.

The document is decoded and encoded by cbor2, but for the rows of `shape` and `text` that are all
stored alike. A NumPy matrix stands for these.
"""
import re
import struct
from io import BytesIO

import cbor2
import numpy as np

from quillon_tools.vectors import WIDTHS

FLOAT = 7 << 5 | 26  # the type of a 32-bit float
ARRAY = re.compile(rb"[\x81-\x97]|\x98.|\x99..|\x9a....", re.DOTALL)  # its head, not empty


def loads(data):
    file = BytesIO(data)
    decoder = cbor2.CBORDecoder(file)
    if data and 0xA0 <= data[0] < 0xB8:  # a map of known size
        file.seek(1)
        document = {}
        for _ in range(data[0] - 0xA0):
            name = decoder.decode()
            document[name] = read_rows(data, file) if name in WIDTHS else None
            if document[name] is None:
                document[name] = decoder.decode()
    else:
        document = decoder.decode()
    if file.tell() != len(data):
        raise ValueError("bytes behind the document")
    return document


def read_rows(data, file):
    """The matrix that `rows_bytes` would have written here, with `file` behind it; else None."""
    rows_head = ARRAY.match(data, file.tell())
    row_head = ARRAY.match(data, rows_head.end()) if rows_head else None
    if not row_head:
        return None
    head = row_head[0]
    rows, width = count_of(rows_head[0]), count_of(head)
    layout = row_layout(head, width)
    if rows * layout.itemsize > len(data) - row_head.start():
        return None
    packed = np.frombuffer(data, layout, rows, row_head.start())
    if (packed["head"] != list(head)).any() or (packed["numbers"]["type"] != FLOAT).any():
        return None
    file.seek(row_head.start() + packed.nbytes)
    return packed["numbers"]["value"].astype(np.float32)


def count_of(head):
    return int.from_bytes(head[1:], "big") if len(head) > 1 else head[0] - 0x80


def dumps(document):
    return cbor2.dumps(document, default=lambda encoder, matrix: encoder.write(rows_bytes(matrix)))


def rows_bytes(matrix):
    """An array of arrays of 32-bit floats, all rows packed at once."""
    rows, width = matrix.shape
    head = head_bytes(4, width)
    packed = np.empty(rows, row_layout(head, width))
    packed["head"] = list(head)
    packed["numbers"]["type"] = FLOAT
    packed["numbers"]["value"] = matrix
    return head_bytes(4, rows) + packed.tobytes()


def row_layout(head, width):
    """A row: the head of an array, then every number behind its type."""
    return np.dtype([("head", "u1", (len(head),)),
                     ("numbers", [("type", "u1"), ("value", ">f4")], (width,))])


def head_bytes(major, count):
    """The head of an item of this major type, 4 for an array: the shortest form of the count."""
    if count < 24:
        return bytes([major << 5 | count])
    size, form = next((size, form) for size, form in enumerate([">B", ">H", ">I", ">Q"], 24)
                      if count < 256 ** struct.calcsize(form))
    return bytes([major << 5 | size]) + struct.pack(form, count)
