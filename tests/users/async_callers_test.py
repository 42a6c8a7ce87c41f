"""The writer of encodings and the asynchronous caller in C#."""
import os
import subprocess
import tempfile
import unittest
from pathlib import Path

import msgpack
from program import PROGRAM, ROOT, run

CALLERS = ROOT / "examples/callers"
WAITING = """#!/bin/sh
echo $$ >> started
exec cat forever
"""


class CSharp(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        built = tempfile.TemporaryDirectory()
        cls.addClassCleanup(built.cleanup)
        cls.built = Path(built.name)
        subprocess.run(["mcs", CALLERS / "EncodingsWriter.cs",
                        f"-out:{cls.built / 'EncodingsWriter.exe'}"], check=True)
        subprocess.run(["mcs", "-r:System.Runtime.Serialization", "-main:AsyncCaller",
                        CALLERS / "AsyncCaller.cs", CALLERS / "Caller.cs",
                        f"-out:{cls.built / 'AsyncCaller.exe'}"], check=True)

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def mono(self, program, *words):
        return ["mono", self.built / f"{program}.exe", *map(str, words)]

    def call(self, program, *words):
        ended = subprocess.run(self.mono(program, *words), cwd=self.folder, check=False,
                               capture_output=True, env=os.environ | {"LC_ALL": "C.UTF-8"})
        return ended.returncode, ended.stdout.decode(), ended.stderr.decode()

    def test_writes_a_library_that_is_searched(self):
        self.assertEqual(self.call("EncodingsWriter", "plan.msgpack", "Tür *U5", "c1", "1F", "b", "c2",
                                   "0"), (0, "", ""))
        document = msgpack.unpackb((self.folder / "plan.msgpack").read_bytes())
        self.assertEqual(document["blocks"], ["Tür _U5*c1*1F", "b*c2*0"])
        for side, width in [("shape", 512), ("text", 384)]:
            small, large = 0.6000000238418579, 0.800000011920929  # as 32-bit floats
            self.assertEqual(document[side], [[small, large] + [0] * (width - 2),
                                              [0, small, large] + [0] * (width - 3)])
        (self.folder / "list.json").write_text('{"files": ["plan.msgpack"]}')
        (self.folder / "query.msgpack").write_bytes(msgpack.packb(
            {"shape": document["shape"][1:], "text": document["text"][:1], "queryText": []}))
        self.assertEqual(run("/filelist", "list.json", "/encode", "query.msgpack", "/output",
                             "r.msgpack", "/method", "text", folder=self.folder)[0], 0)
        result = msgpack.unpackb((self.folder / "r.msgpack").read_bytes())
        self.assertEqual([(hit["name"], hit["distOrScore"]) for hit in result["blocks"]],
                         [("Tür _U5", 0)])

    def test_refuses_codes_that_would_not_count(self):
        for code in ["", "a*b"]:
            self.assertEqual(self.call("EncodingsWriter", "plan.msgpack", "door", code, "1F"), (
                1, "", "block door: the code is empty, or the code or handle has a *\n"))
        self.assertEqual(os.listdir(self.folder), [])

    def test_say_what_arguments_they_need(self):
        self.assertEqual(self.call("EncodingsWriter", "x"), (
            2, "", "usage: EncodingsWriter OUTPUT.msgpack NAME CODE HANDLE ...\n"))
        self.assertEqual(self.call("AsyncCaller", "x"), (
            2, "", "usage: AsyncCaller PROGRAM FILELIST FOLDER SECONDS QUERY ...\n"))

    def test_searches_at_the_same_time(self):
        os.symlink(ROOT / "examples/drawings", self.folder / "sample")
        os.chdir(self.folder / "sample")
        self.addCleanup(os.chdir, ROOT)
        ended = subprocess.run(
            self.mono("AsyncCaller", PROGRAM, "filelist.json", self.folder, 600,
                      "queries/1-door-23-3.json", "lost.json", "queries/5-c28e158a8.json"),
            check=False, capture_output=True, text=True)
        self.assertEqual((ended.returncode, ended.stdout.splitlines(), ended.stderr), (0, [
            "queries/1-door-23-3.json: 5 hits by adaptive",
            "lost.json: failed with status 1: fail to open input file: lost.json",
            "queries/5-c28e158a8.json: 4 hits by shape"], ""))
        self.assertEqual(sorted(os.listdir(self.folder)),
                         ["1-door-23-3.json", "5-c28e158a8.json", "sample"])

    def test_cancels_searches(self):
        os.mkfifo(self.folder / "forever")
        (self.folder / "program").write_text(WAITING)
        (self.folder / "program").chmod(0o755)
        self.assertEqual(self.call("AsyncCaller", "./program", "list.json", ".", 3, "a.json", "b.json"),
                         (1, "a.json: cancelled\nb.json: cancelled\n", ""))
        self.assertEqual(sorted(os.listdir(self.folder)), ["forever", "program", "started"])
        for number in (self.folder / "started").read_text().split():
            with self.assertRaises(ProcessLookupError):
                os.kill(int(number), 0)


if __name__ == "__main__":
    unittest.main()
