#!/usr/bin/python3
"""Makes the documents in this folder again, bit for bit:

    /usr/bin/python3 tests/data/make_data.py

needs Debian 12 with python3-cbor2 python3-msgpack python3-bson python3-ubjson python3-bjdata.
The encoders are deliberately none of the program's own, so that a mistake shared by a reader and
its writer can't hide.

<format>/  A query, a file list and two drawings, the same content in each of the six formats: five
           doors out of examples/drawings. The list's paths are relative to the folder. One drawing
           lies in a metadata tree, the other does not.
narrow/    One of these drawings with its numbers stored as 32-bit floats, and shorter ones where
           nothing is lost, in the ways the encoders have for it.
numbers/   A query of zeros and a drawing whose few other numbers are of every kind: integers of all
           lengths, booleans, floats of 16, 32 and 64 bits. The file name's ending tells the kind of
           encoding.
infinite/  A drawing with NaN and the two infinities. JSON text can't hold them; the encoders for
           UBJSON and BJData write null instead.
"""

import json
import pathlib
import struct
from unittest import mock

import bson
import cbor2
import msgpack
import ubjson


def little_endian(function):
    return lambda layout, *values: function(layout.replace(">", "<"), *values)


# BJData turned from big to little endian with its second draft, which readers follow. Debian's
# encoder writes the first one, so its pure Python form is loaded with the other byte order.
with mock.patch.multiple(
    struct, pack=little_endian(struct.pack), Struct=little_endian(struct.Struct)
):
    import bjdata.encoder

DATA = pathlib.Path(__file__).resolve().parent
DRAWINGS = DATA.parent.parent / "examples" / "drawings"
METADATA = "drawings/{}/.blocksMetadata/{}.dxf/encodings.json"


def json_text(document):
    return json.dumps(document, ensure_ascii=False, separators=(",", ":")).encode()


ENCODERS = {
    "json": json_text,
    "bson": bson.encode,
    "cbor": cbor2.dumps,
    "msgpack": msgpack.packb,
    "ubj": ubjson.dumpb,
    "jdb": bjdata.encoder.dumpb,
}


def single(document):
    """The document with every float rounded to 32 bits."""
    if isinstance(document, dict):
        return {key: single(value) for key, value in document.items()}
    if isinstance(document, list):
        return [single(value) for value in document]
    if isinstance(document, float):
        return struct.unpack("f", struct.pack("f", document))[0]
    return document


def write(name, content):
    path = DATA / name
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(content)


def read(path):
    return json.loads((DRAWINGS / path).read_text())


def pick(drawing, wanted):
    """The drawing with only those blocks whose name is wanted."""
    rows = [i for i, key in enumerate(drawing["blocks"]) if key.split("*")[0] in wanted]
    return {side: [drawing[side][i] for i in rows] for side in ("blocks", "shape", "text")}


def vector(width, values):
    return [*values, *[0] * (width - len(values))]


def drawing_of(named_values):
    """A drawing of one block a name: both vectors begin with its values, the rest is 0."""
    return {
        "blocks": [f"{name}*{code}*{code}" for code, name in enumerate(named_values, 1)],
        "shape": [vector(512, values) for values in named_values.values()],
        "text": [vector(384, values) for values in named_values.values()],
    }


# The squares of a block's values must leave their mark on a 32-bit sum, so values of one block are
# of one magnitude.
NUMBERS = {
    "short integers": [-1, 23, 24, -128, 255, -129, 256],
    "middle integers": [32767, 40000, -70000],
    "long integers": [3000000000, -5000000000],
    # Lies between two floats, and a detour over a double would make a tie of it.
    "wide integer": [2**60 + 2**36 + 1],
    "booleans": [True, True, False, True],
    "halves": [0.5, -1.5, 2.0**-10],
    "singles": [single(0.1), 1.0 + 2.0**-20],
    "doubles": [0.1, 1.0 / 3.0, -2.0 / 3.0, 1e-300, 5e-324],
    "past the largest single": [1e300],
}

INFINITE = {
    "nan": [float("nan")],
    "infinity": [float("inf")],
    "minus infinity": [float("-inf")],
    "finite": [0.5],
}


def make_real_documents():
    query = read("queries/1-door-23-3.json")
    doors = read(METADATA.format("skymakerolof-dxf", "5e/texts-in-block"))
    doors = pick(doors, ["Door 23_2", "Door 23_4", "Door 23_6"])
    wipeout = read(METADATA.format("mozman-ezdxf", "e7/wipeout_door"))
    for extension, encode in ENCODERS.items():
        places = [
            f"plan/.blocksMetadata/5e/texts-in-block.dxf/encodings.{extension}",
            f"loose/wipeout_door.dxf/encodings.{extension}",
        ]
        write(f"{extension}/query.{extension}", encode(query))
        write(f"{extension}/list.{extension}", encode({"files": places}))
        write(f"{extension}/{places[0]}", encode(doors))
        write(f"{extension}/{places[1]}", encode(wipeout))

    wipeout = single(wipeout)
    write("narrow/shortest.cbor", cbor2.dumps(wipeout, canonical=True))
    write("narrow/single.msgpack", msgpack.packb(wipeout, use_single_float=True))
    write("narrow/single.ubj", ubjson.dumpb(wipeout, no_float32=False))
    write("narrow/counted.ubj", ubjson.dumpb(wipeout, no_float32=False, container_count=True))
    write("narrow/single.jdb", bjdata.encoder.dumpb(wipeout, no_float32=False))


def make_number_documents():
    numbers = drawing_of(NUMBERS)
    query = {"shape": [vector(512, [])], "text": [vector(384, [])], "queryText": ["numbers"]}
    write("numbers/query.json", json_text(query))
    for extension, encode in ENCODERS.items():
        write(f"numbers/plain.{extension}", encode(numbers))
    write("numbers/shortest.cbor", cbor2.dumps(numbers, canonical=True))
    write("numbers/counted.ubj", ubjson.dumpb(numbers, container_count=True))
    write("numbers/counted.jdb", bjdata.encoder.dumpb(numbers, container_count=True))

    infinite = drawing_of(INFINITE)
    for extension, encode in ENCODERS.items():
        if extension != "json":
            write(f"infinite/plain.{extension}", encode(infinite))
    write("infinite/shortest.cbor", cbor2.dumps(infinite, canonical=True))
    write("infinite/single.msgpack", msgpack.packb(infinite, use_single_float=True))


if __name__ == "__main__":
    make_real_documents()
    make_number_documents()
