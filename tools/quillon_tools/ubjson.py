"""Reads and writes UBJSON and BJData draft 2, which differ in the byte order and in four markers.

UBJSON is big-endian, BJData draft 2 little-endian. Draft 1 of BJData was big-endian: `loads` reads
it when told so. Runs of floats are decoded by NumPy, since a marker at a time is slow.
"""
import struct

import numpy as np

NUMBERS = {"i": "b", "U": "B", "I": "h", "l": "i", "L": "q", "d": "f", "D": "d"}
BJDATA_NUMBERS = {**NUMBERS, "u": "H", "m": "I", "M": "Q", "h": "e"}
CONSTANTS = {"Z": None, "T": True, "F": False}
LONGEST_RUN = 1024  # floats that are looked at together
MOST_CONSTANTS = 1 << 20  # values without bytes of their own that a document may announce
DEEPEST = 250  # containers inside containers; Python ends at 1,000 calls
END = object()


class Reader:
    """Decodes one document. Raises ValueError for bytes that are none."""

    def __init__(self, data, order, numbers):
        self.data, self.order, self.position, self.depth = data, order, 0, 0
        self.numbers = {kind: struct.Struct(order + form) for kind, form in numbers.items()}
        self.runs = {kind: np.dtype([("kind", "u1"), ("number", order + form)])
                     for kind, form in [("d", "f4"), ("D", "f8")]}

    def take(self, count):
        if not 0 <= count <= len(self.data) - self.position:
            raise ValueError(f"unexpected end of input behind byte {self.position}")
        self.position += count
        return self.data[self.position - count:self.position]

    def marker(self):
        while True:
            kind = chr(self.take(1)[0])
            if kind != "N":  # stands for nothing
                return kind

    def count(self):
        kind = self.marker()
        number = self.value(kind) if kind in self.numbers and kind not in "dDh" else -1
        if number < 0:
            raise ValueError(f"no length at byte {self.position - 1}")
        return number

    def text(self):
        return self.take(self.count()).decode("utf-8")

    def value(self, kind):
        if kind in self.numbers:
            form = self.numbers[kind]
            return form.unpack(self.take(form.size))[0]
        if kind in CONSTANTS:
            return CONSTANTS[kind]
        if kind == "S":
            return self.text()
        if kind == "C":
            return self.take(1).decode("ascii")
        if kind == "H":
            return float(self.text())
        if kind in ("[", "{"):
            return self.container(kind)
        raise ValueError(f"unknown marker {kind!r} at byte {self.position - 1}")

    def container(self, kind):
        self.depth += 1
        if self.depth > DEEPEST:
            raise ValueError(f"nested deeper than {DEEPEST} levels")
        found = self.array() if kind == "[" else self.object()
        self.depth -= 1
        return found

    def type_and_count(self):
        """What a container announces: the kind of all values and their number, None where not."""
        start, kind = self.position, None
        first = self.marker()
        if first == "$":
            kind, first = self.marker(), self.marker()
            if first != "#":
                raise ValueError(f"a type without a count at byte {self.position - 1}")
        if first != "#":
            self.position = start
            return None, None
        if self.data[self.position:self.position + 1] == b"[":
            self.position += 1
            sizes = self.array()  # of an array of several dimensions; all but one are 1
            if not all(isinstance(size, int) for size in sizes) or \
                    sum(size != 1 for size in sizes) > 1:
                raise ValueError(f"an array of several dimensions at byte {start}")
            return kind, max([1, *sizes], key=abs)
        return kind, self.count()

    def array(self):
        kind, count = self.type_and_count()
        if kind in CONSTANTS and count > MOST_CONSTANTS:
            raise ValueError(f"announces {count} values without bytes")
        if kind in self.numbers:
            form = np.dtype(self.numbers[kind].format)
            return np.frombuffer(self.take(count * form.itemsize), form).tolist()
        if count is not None:
            return [self.value(kind or self.marker()) for _ in range(count)]
        values = []
        while (kind := self.marker()) != "]":
            if kind in self.runs:
                values.extend(self.run(kind))
            else:
                values.append(self.value(kind))
        return values

    def run(self, kind):
        """The float behind the marker just read, and those of the same kind right behind it."""
        layout, start = self.runs[kind], self.position - 1
        count = min(LONGEST_RUN, (len(self.data) - start) // layout.itemsize)
        items = np.frombuffer(self.data, layout, count, start)
        others = np.flatnonzero(items["kind"] != ord(kind))
        count = others[0] if others.size else count
        if count == 0:
            raise ValueError(f"unexpected end of input behind byte {start}")
        self.position = start + int(count) * layout.itemsize
        return items["number"][:count].tolist()

    def object(self):
        kind, count = self.type_and_count()
        found = {}
        if count is not None:
            for _ in range(count):
                name = self.text()
                found[name] = self.value(kind or self.marker())
            return found
        while True:
            start = self.position
            if self.marker() == "}":
                return found
            self.position = start
            name = self.text()
            found[name] = self.value(self.marker())


def loads(data, order, *, bjdata):
    """The document of all bytes. `order` is "<" for BJData draft 2 and ">" for UBJSON."""
    reader = Reader(data, order, BJDATA_NUMBERS if bjdata else NUMBERS)
    document = reader.value(reader.marker())
    while reader.data[reader.position:reader.position + 1] == b"N":
        reader.position += 1
    if reader.position != len(data):
        raise ValueError(f"{len(data) - reader.position} bytes behind the document")
    return document


def dumps(value, order):
    """The bytes of a document. NumPy matrices become arrays of arrays of 32-bit floats."""
    if value is None or isinstance(value, bool):
        return {None: b"Z", True: b"T", False: b"F"}[value]
    if isinstance(value, int):
        kind = next((kind for kind in "iIlL" if fits(value, NUMBERS[kind])), None)
        return kind.encode() + struct.pack(order + NUMBERS[kind], value) if kind else \
            b"D" + struct.pack(order + "d", value)
    if isinstance(value, float):
        return b"D" + struct.pack(order + "d", value)
    if isinstance(value, str):
        return b"S" + text_bytes(value, order)
    if isinstance(value, np.ndarray):
        return matrix_bytes(value, order)
    if isinstance(value, dict):
        members = [text_bytes(name, order) + dumps(one, order) for name, one in value.items()]
        return b"{" + b"".join(members) + b"}"
    return b"[" + b"".join(dumps(one, order) for one in value) + b"]"


def fits(number, form):
    bits = 8 * struct.calcsize(form) - 1
    return -(1 << bits) <= number < 1 << bits


def text_bytes(text, order):
    utf8 = text.encode("utf-8")
    return dumps(len(utf8), order) + utf8


def matrix_bytes(matrix, order):
    rows, width = matrix.shape
    packed = np.empty(rows, [("begin", "S1"),
                             ("numbers", [("kind", "S1"), ("number", order + "f4")], width),
                             ("end", "S1")])
    packed["begin"], packed["end"], packed["numbers"]["kind"] = b"[", b"]", b"d"
    packed["numbers"]["number"] = matrix
    return b"[" + packed.tobytes() + b"]"
