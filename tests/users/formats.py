"""Readers and writers of the six formats, independent of the program."""
import json
import struct

import bson
import cbor2
import msgpack
import ubjson

BJDATA_NUMBERS = {
    "i": "<b",
    "U": "<B",
    "I": "<h",
    "u": "<H",
    "l": "<i",
    "m": "<I",
    "L": "<q",
    "M": "<Q",
    "d": "<f",
    "D": "<d",
}
BJDATA_CONSTANTS = {"Z": None, "T": True, "F": False}


def read_bjdata(data):
    """Reads BJData of draft 2 whose containers have no size and no type."""
    position = 0

    def take(count):
        nonlocal position
        position += count
        return data[position - count : position]

    def marker():
        return take(1).decode()

    def value(kind):
        if kind in BJDATA_CONSTANTS:
            return BJDATA_CONSTANTS[kind]
        if kind in BJDATA_NUMBERS:
            layout = BJDATA_NUMBERS[kind]
            return struct.unpack(layout, take(struct.calcsize(layout)))[0]
        if kind == "S":
            return take(value(marker())).decode()
        if kind == "[":
            return list(iter(lambda: item("]"), END))
        if kind == "{":
            return dict(iter(member, END))
        raise ValueError(f"marker {kind!r} at byte {position - 1}")

    def item(end):
        kind = marker()
        return END if kind == end else value(kind)

    def member():
        kind = marker()
        return END if kind == "}" else (take(value(kind)).decode(), value(marker()))

    END = object()
    document = value(marker())
    if position != len(data):
        raise ValueError(f"{len(data) - position} bytes behind the document")
    return document


READERS = {
    "json": json.loads,
    "bson": bson.decode,
    "cbor": cbor2.loads,
    "msgpack": msgpack.unpackb,
    "ubj": ubjson.loadb,
    "jdb": read_bjdata,
}


def read_document(path):
    return READERS[path.suffix[1:]](path.read_bytes())
