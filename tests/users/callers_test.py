"""The examples in three languages print the same lines for the same runs."""
import json
import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from program import PROGRAM, ROOT

CALLERS = ROOT / "examples/callers"

# Answers like the program, with a result that no library of ours has.
STAND_IN = """#!/bin/sh
printf '     queryType: Adaptive\\r\\nQuillon engine run successfully!'
cp result.json "$6"
"""
NOT_FINITE = {
    "blocks": [{"code": "C1", "distOrScore": None, "dwgPathHash": "plan.dwg", "handle": "1F",
                "index": 8589934592, "name": "Tür 1", "shapeWeight": None, "textWeight": None}],
    "stats": {"failedDrawings": 2, "resultBlocks": 1, "totalBlocks": 1, "totalDrawings": 3,
              "uniqueBlocks": 1},
}


def vector(width, place):
    """A unit vector with its only 1 at the place."""
    return [[float(i == place) for i in range(width)]]


def write(path, document):
    path.write_text(json.dumps(document), encoding="utf-8")


def write_files(folder):
    """A library of two blocks in a folder whose name has a blank, and queries of all kinds."""
    (folder / "a plan.dwg").mkdir()
    (folder / "tree/.blocksMetadata/00/house.dwg").mkdir(parents=True)
    write(folder / "a plan.dwg/encodings.json",
          {"blocks": ["Tür \"1\"*C1*1F"], "shape": vector(512, 0), "text": vector(384, 0)})
    write(folder / "tree/.blocksMetadata/00/house.dwg/encodings.json",
          {"blocks": ["house*C2*0"], "shape": vector(512, 1), "text": vector(384, 0)})
    write(folder / "it's a list.json",
          {"files": ["a plan.dwg/encodings.json", "lost.json",
                     "tree/.blocksMetadata/00/house.dwg/encodings.json"]})
    write(folder / "query.json",
          {"shape": [[0.5] * 2 + [0.0] * 510], "text": vector(384, 0), "queryText": ["door"]})
    write(folder / "no text.json",
          {"shape": [[0.5] + [0.0] * 511], "text": vector(384, 0), "queryText": ["12"]})
    write(folder / "far.json",
          {"shape": vector(512, 9), "text": vector(384, 9), "queryText": ["door"]})
    write(folder / "broken list.json", {"files": ["broken.json"]})
    write(folder / "broken.json",
          {"blocks": ["a*b*c"], "shape": [["x"] * 512], "text": [[0] * 384]})
    (folder / "raw.json").write_bytes(b'{"shape": "\xff"}')
    write(folder / "result.json", NOT_FINITE)
    (folder / "stand-in").write_text(STAND_IN)
    (folder / "stand-in").chmod(0o755)


def outputs(folder):
    """The arguments of a run behind the program, then the status and the lines of the caller."""
    tree = f"{folder}/tree/house.dwg"
    return [
        (["it's a list.json", "query.json", "a b.json", "text"], 0, [
            "2 hits, 1 drawings failed",
            'Tür "1" | C1 | 1F | 0 | a plan.dwg | 0.0000 | 0.0000 | 0.0000',
            f"house | C2 | 0 | 1 | {tree} | 0.0000 | 0.0000 | 0.0000"]),
        (["it's a list.json", "query.json", "r.json", "shape", "/topk", "1"], 0, [
            "1 hits, 1 drawings failed",
            'Tür "1" | C1 | 1F | 0 | a plan.dwg | 0.5000 | 0.0000 | 0.0000']),
        (["it's a list.json", "no text.json", "r.json"], 0, [
            "asked for adaptive, ran shape",
            "1 hits, 1 drawings failed",
            'Tür "1" | C1 | 1F | 0 | a plan.dwg | 0.2500 | 0.0000 | 0.0000']),
        (["it's a list.json", "far.json", "r.json", "text"], 0, ["0 hits, 1 drawings failed"]),
        (["broken list.json", "query.json", "r.json"], 1, [
            "failed with status 1: [json.exception.type_error.302] type must be number, "
            "but is string"]),
        (["it's a list.json", "lost.json", "r.json"], 1, [
            "failed with status 1: fail to open input file: lost.json"]),
        (["it's a list.json", "raw.json", "r.json"], 1, [
            "failed with status 1: [json.exception.parse_error.101] parse error at line 1, "
            "column 12: syntax error while parsing value - invalid string: ill-formed UTF-8 byte; "
            "last read: '\"\ufffd'"]),
        (["it's a list.json", "", "r.json"], 1, [
            "failed with status 255: ERROR: The input block encode path is empty"]),
        (["it's a list.json", "query.json", ""], 1, [
            "failed with status 255: ERROR: The input output file path is empty"]),
    ]


class Callers(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = Path(folder.name)
        write_files(cls.folder)
        built = cls.folder / "built"
        built.mkdir()
        subprocess.run(["g++", "-std=c++20", CALLERS / "caller.cpp", "-o", built / "caller",
                        "-lboost_filesystem", "-pthread"], check=True)
        subprocess.run(["mcs", "-r:System.Runtime.Serialization", CALLERS / "Caller.cs",
                        f"-out:{built / 'Caller.exe'}"], check=True)
        cls.callers = {"Python": [sys.executable, CALLERS / "caller.py"],
                       "C++": [built / "caller"],
                       "C#": ["mono", built / "Caller.exe"]}

    def check(self, program, arguments, status, lines):
        self.check_all([program, *arguments], status, lines, b"")

    def check_all(self, words, status, lines, errors, **variables):
        environment = os.environ | {"LC_ALL": "C.UTF-8"} | variables
        for language, caller in self.callers.items():
            with self.subTest(language=language, words=words):
                ended = subprocess.run([*caller, *words], cwd=self.folder, check=False,
                                       capture_output=True, env=environment)
                self.assertEqual(
                    (ended.returncode, ended.stdout.decode().splitlines(), ended.stderr),
                    (status, lines, errors))

    def test_print_what_the_program_answers(self):
        for arguments, status, lines in outputs(self.folder.resolve()):
            self.check(PROGRAM, arguments, status, lines)

    def test_find_the_program_through_path(self):
        (self.folder / "programs").mkdir()
        (self.folder / "programs/quillon").symlink_to(PROGRAM)
        arguments, status, lines = outputs(self.folder.resolve())[0]
        self.check_all(["quillon", *arguments], status, lines, b"",
                       PATH=f"{self.folder / 'programs'}:{os.environ['PATH']}")

    def test_say_that_there_is_no_such_program(self):
        for program in ("no-such-program", "./no-such-program"):
            self.check(program, ["list.json", "query.json", "r.json"], 1,
                       [f"cannot start {program}"])

    def test_say_what_arguments_they_need(self):
        usage = b"caller PROGRAM FILELIST QUERY OUTPUT.json [METHOD [OPTION ...]]\n"
        for words in ([], [PROGRAM, "list.json", "query.json"]):
            self.check_all(words, 2, [], usage)

    def test_read_numbers_that_are_not_finite(self):
        self.check(self.folder / "stand-in", ["list.json", "query.json", "r.json"], 0, [
            "1 hits, 2 drawings failed",
            "Tür 1 | C1 | 1F | 8589934592 | plan.dwg | not finite | not finite | not finite"])


if __name__ == "__main__":
    unittest.main()
