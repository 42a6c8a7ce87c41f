"""No verb trusts a file: the documents of the fuzzers' corpus give a message or are read."""
import contextlib
import io
import tempfile
import unittest
from argparse import Namespace
from collections import Counter
from pathlib import Path

from support import ROOT

from quillon_tools.convert import convert
from quillon_tools.documents import READERS
from quillon_tools.errors import UserError
from quillon_tools.npz import read_npz
from quillon_tools.report import query_text
from quillon_tools.results import read_result
from quillon_tools.ubjson import loads


class Hostile(unittest.TestCase):
    def test_documents_give_a_message(self):
        messages = Counter()
        with tempfile.TemporaryDirectory() as folder:
            target = Path(folder, "out.json")
            for path in sorted((ROOT / "tests/fuzz/corpus").glob("*/*")):
                data = path.read_bytes()
                for extension in READERS:
                    source = Path(folder, "in" + extension)
                    # The first byte of the corpus often tells the fuzzer which format follows.
                    for content in (data, data[1:]):
                        source.write_bytes(content)
                        options = Namespace(source=source, target=target, format="cbor",
                                            normalise=False, replace_stars=True)
                        for read in (lambda: convert(source, target, options, Counter()),
                                     lambda: read_result(source), lambda: query_text(source)):
                            try:
                                read()
                            except UserError as error:
                                self.assertTrue(str(error).startswith(str(source)), error)
                                messages[read.__code__.co_firstlineno] += 1
        self.assertGreater(sum(messages.values()), 10_000)

    def test_arrays_give_a_message(self):
        with tempfile.TemporaryDirectory() as folder, contextlib.redirect_stderr(io.StringIO()):
            source = Path(folder, "in.npz")
            for data in [b"", b"PK\3\4", b"\x93NUMPY\1\0", b"\x93NUMPY\1\0\x10\0{'descr': '<f4'",
                         b"\x80\4N."]:
                source.write_bytes(data)
                with self.assertRaises(UserError):
                    read_npz(source)

    def test_announced_sizes_cost_nothing(self):
        for data in [b"[$Z#l\x7f\xff\xff\xff", b"[$d#l\x7f\xff\xff\xff", b"[#L" + b"\x7f" * 8,
                     b"Sl\x7f\xff\xff\xff", b"[" * 100_000, b"{i\xff"]:
            for order in "<>":
                with self.assertRaises(ValueError):
                    loads(data, order, bjdata=True)


if __name__ == "__main__":
    unittest.main()
