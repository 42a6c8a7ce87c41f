"""Many queries, and a library in four parts that is searched whole as well."""
import json
import os
import random
import signal
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path
from unittest import mock

import cbor2
from support import PROGRAM, ROOT, query, run_program, run_tools, write_json

PARTS = 4
HEAD = "query,status,method,hits,ms,message\n"

# Says who it is and waits for the end of a pipe that never comes.
WAITING = """#!/bin/sh
echo $$ > started
exec cat forever
"""


def unit_vector(width, halves, quarters=()):
    """All distances of such vectors are quarters, so that many are equal and none is rounded."""
    return [0.5 if i in halves else 0.25 if i in quarters else 0.0 for i in range(width)]


def made_up_block(code, numbers):
    """(code, shape, text), the vectors of length 1."""
    shape, text = numbers.sample(range(8), 7), numbers.sample(range(8), 7)
    return (code, unit_vector(512, shape[:3], shape[3:]), unit_vector(384, text[:3], text[3:]))


def made_up_drawings(drawings, blocks, copies):
    """The blocks of each drawing; so many of them are copies of earlier ones."""
    numbers = random.Random(1)
    made = [made_up_block(f"C{number}", numbers) for number in range(drawings * blocks - copies)]
    for _ in range(copies):
        made.insert(len(made) // 2, numbers.choice(made[:len(made) // 2]))
    return [made[i * blocks:(i + 1) * blocks] for i in range(drawings)]


QUERY = {"shape": unit_vector(512, range(4)), "text": unit_vector(384, range(4))}
TWIN = ("TWIN", QUERY["shape"], QUERY["text"])
NEAR = unit_vector(512, [0, 1, 2], [3, 4, 5, 6])
LESS_NEAR = unit_vector(512, [0, 1, 2], [4, 5, 6, 7])
FAR = unit_vector(512, [20, 21, 22, 23])
OTHER_TEXT = unit_vector(384, [20, 21, 22, 23])


class Library(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        write_json(self.folder / "query.json",
                   {"shape": [QUERY["shape"]], "text": [QUERY["text"]], "queryText": ["door"]})

    def write_library(self, drawings):
        """Each drawing is a list of blocks."""
        for number, blocks in enumerate(drawings):
            path = self.folder / f"library/drawing-{number}/encodings.cbor"
            path.parent.mkdir(parents=True)
            path.write_bytes(cbor2.dumps({
                "blocks": [f"block*{code}*{handle + 1}"
                           for handle, (code, _, _) in enumerate(blocks)],
                "shape": [shape for _, shape, _ in blocks],
                "text": [text for _, _, text in blocks]}))
        write_json(self.folder / "filelist.json", {
            "files": [f"library/drawing-{number}/encodings.cbor"
                      for number in range(len(drawings))]})

    def run_queries(self, *arguments):
        """Status, the rows of the summary without their times, and the standard error stream."""
        status, text, errors = run_tools(
            "run", "--list", "filelist.json", "--program", PROGRAM, "--summary", "csv", *arguments,
            folder=self.folder)
        rows = [line.split(",", 5) for line in text.splitlines()]
        return status, [row[:4] + row[5:] for row in rows[1:]], errors

    def document(self, name="results/query.json"):
        return json.loads((self.folder / name).read_text("utf-8"))

    def merged(self, method, k, options=""):
        """The result of the library in parts."""
        status, _, _ = self.run_queries("query.json", "--method", method, "--topk", k, "--parts",
                                        PARTS, *options.split())
        self.assertEqual((status, os.listdir(self.folder / "results")), (0, ["query.json"]))
        return self.document()

    def whole(self, method, k, options=""):
        options = options.replace("--", "/")
        status, _ = run_program(
            "/filelist", "filelist.json", "/encode", "query.json", "/output", "whole.json",
            "/method", method, "/topk", k, *options.split(), folder=self.folder)
        self.assertEqual(status, 0)
        return self.document("whole.json")

    def check_merge_is_exact(self, *arguments):
        """But for the rows of the hits, and for how often the codes in several parts count."""
        merged, whole = self.merged(*arguments), self.whole(*arguments)
        self.assertEqual(without_rows(merged["blocks"]), without_rows(whole["blocks"]))
        for document in [merged, whole]:
            del document["stats"]["uniqueBlocks"]
        self.assertEqual(merged["stats"], whole["stats"])
        return whole["blocks"]


class Parts(Library):
    def test_without_duplicates_the_bytes_are_those_of_one_run(self):
        self.write_library(made_up_drawings(drawings=10, blocks=30, copies=0))
        for method, options in [("shape", ""), ("text", "--min -3")]:
            for k in [1, 40, -1]:
                self.merged(method, k, options)
                self.whole(method, k, options)
                self.assertEqual((self.folder / "results/query.json").read_bytes(),
                                 (self.folder / "whole.json").read_bytes())

    def test_numbers_keep_their_digits(self):
        self.assertEqual(run_tools("run", "queries", "--list", "filelist.json", "--method", "shape",
                                   "--no-dedup", "--parts", 5, "--output", self.folder / "parts",
                                   "--topk", -1, "--program", PROGRAM)[0], 0)
        run_tools("run", "queries", "--list", "filelist.json", "--method", "shape", "--no-dedup",
                  "--topk", -1, "--output", self.folder / "whole", "--program", PROGRAM)
        for path in sorted((self.folder / "whole").iterdir()):
            self.assertEqual((self.folder / "parts" / path.name).read_text(), path.read_text())

    def test_shape_and_text_merge_exactly(self):
        self.write_library(made_up_drawings(drawings=10, blocks=30, copies=60))
        for method, options in [("shape", ""), ("text", "--min -3")]:
            for k in [1, 5, 40, 150, -1]:
                with self.subTest(method=method, k=k):
                    hits = self.check_merge_is_exact(method, k, options)
            distances = [hit["distOrScore"] for hit in hits]
            self.assertGreater(len(distances), 50)
            self.assertGreater(len(set(distances)), 1)

    def test_duplicates_that_are_kept_merge_exactly(self):
        self.write_library(made_up_drawings(drawings=10, blocks=30, copies=60))
        for k in [5, -1]:
            self.merged("shape", k, "--no-dedup")
            hits = self.whole("shape", k, "--no-dedup")["blocks"]
            self.assertEqual((self.folder / "results/query.json").read_bytes(),
                             (self.folder / "whole.json").read_bytes())
        self.assertLess(len({hit["code"] for hit in hits}), len(hits))

    def test_no_hits_merge_into_null(self):
        self.write_library([[(f"C{i}", FAR, OTHER_TEXT)] for i in range(4)])
        self.assertEqual(self.check_merge_is_exact("shape", 5), None)

    def test_codes_in_two_parts_count_twice(self):
        near = [(f"C{i}", NEAR, QUERY["text"]) for i in range(4)]
        self.write_library([near[:1], near[1:2], near[2:3], [near[0], near[3]]])
        merged, whole = self.merged("shape", 5), self.whole("shape", 5)
        self.assertEqual([hit["index"] for hit in merged["blocks"]], [0, 1, 2, 4])
        self.assertEqual([hit["index"] for hit in whole["blocks"]], [0, 1, 2, 3])
        self.assertEqual(merged["stats"]["uniqueBlocks"], 5)
        self.assertEqual(whole["stats"]["uniqueBlocks"], 4)

    def test_places_of_twins_are_filled(self):
        drawings = made_up_drawings(drawings=8, blocks=20, copies=0)
        drawings[1].append(TWIN)
        drawings[6].append(("TWIN 2", *TWIN[1:]))
        self.write_library(drawings)
        merged, whole = self.merged("shape", 5)["blocks"], self.whole("shape", 5)["blocks"]
        self.assertEqual((len(merged), len(whole)), (5, 3))
        self.assertEqual(merged[:3], whole)
        self.assertEqual(merged, self.whole("shape", 7)["blocks"])
        self.check_merge_is_exact("text", 5, "--min -3")

    def write_equal_codes(self, first_shape):
        """The first block of the code SAME in the first part, a nearer one in the last."""
        self.write_library([[("SAME", first_shape, OTHER_TEXT)], [("C1", FAR, OTHER_TEXT)],
                            [("C2", FAR, OTHER_TEXT)],
                            [("SAME", NEAR, OTHER_TEXT), ("C3", LESS_NEAR, OTHER_TEXT)]])

    def test_equal_codes_with_unequal_vectors_can_give_another_hit(self):
        self.write_equal_codes(FAR)
        for k, merged, whole in [(5, ["SAME", "C3"], ["C3"]), (1, ["SAME"], ["C3"])]:
            self.assertEqual(codes(self.merged("shape", k)["blocks"]), merged)
            self.assertEqual(codes(self.whole("shape", k)["blocks"]), whole)

    def test_equal_codes_merge_exactly_where_the_first_block_is_a_hit(self):
        self.write_equal_codes(LESS_NEAR)
        self.assertEqual(codes(self.check_merge_is_exact("shape", 5)), ["SAME", "C3"])

    def test_adaptive_and_simple_do_not_merge(self):
        for method in ["adaptive", "simple"]:
            self.assertEqual(self.run_queries("query.json", "--method", method, "--parts", 2), (
                1, [], f"quillon-tools run: results of parts do not merge for the method {method}; "
                "use shape or text\n"))

    def test_a_part_that_fails_is_not_merged(self):
        self.write_library([[("C1", NEAR, OTHER_TEXT)]] * 3 + [[]])
        status, rows, _ = self.run_queries("query.json", "--method", "shape", "--parts", PARTS)
        self.assertEqual((status, rows, os.listdir(self.folder / "results")), (1, [[
            "query.json", "1", "", "", "part 3: No encodings are loaded from files."]], []))


class Queries(Library):
    def write_queries(self):
        for number in range(3):
            write_json(self.folder / f"queries/{number}.json",
                       {"shape": [unit_vector(512, range(number, number + 4))],
                        "text": [QUERY["text"]], "queryText": ["12" if number == 2 else "door"]})

    def test_give_what_each_gives_alone(self):
        self.write_library(made_up_drawings(drawings=10, blocks=30, copies=60))
        self.write_queries()
        status, rows, errors = self.run_queries("queries", "--topk", 7)
        self.assertEqual((status, rows), (0, [
            ["queries/0.json", "0", "adaptive", mock.ANY, ""],
            ["queries/1.json", "0", "adaptive", mock.ANY, ""],
            ["queries/2.json", "0", "shape", mock.ANY, ""]]))
        self.assertRegex(errors, r"^3 of 3 queries succeeded in \d+\.\d s\n$")
        for number in range(3):
            self.assertEqual(run_program(
                "/filelist", "filelist.json", "/encode", f"queries/{number}.json", "/topk", 7,
                "/output", "alone.json", folder=self.folder)[0], 0)
            alone = (self.folder / "alone.json").read_bytes()
            self.assertEqual((self.folder / f"results/{number}.json").read_bytes(), alone)
            self.assertEqual(int(rows[number][3]), len(json.loads(alone)["blocks"] or []))

    def test_one_that_fails_does_not_end_the_others(self):
        self.write_library(made_up_drawings(drawings=2, blocks=5, copies=0))
        self.write_queries()
        write_json(self.folder / "queries/1.json", {})
        write_json(self.folder / "filelist.json", {"files": [
            *self.document("filelist.json")["files"], "lost.json"]})
        status, rows, errors = self.run_queries("queries", "--jobs", 1, "--method", "text", "--min",
                                                "-3", "--output", "new/results")
        self.assertEqual((status, rows), (1, [
            ["queries/0.json", "0", "text", "5", "1 drawing failed"],
            ["queries/1.json", "1", "", "", "[json.exception.out_of_range.403] key 'shape' not found"],
            ["queries/2.json", "0", "shape", "5", "1 drawing failed"]]))
        self.assertIn("2 of 3 queries succeeded", errors)
        self.assertEqual(sorted(os.listdir(self.folder / "new/results")), ["0.json", "2.json"])

    def test_a_search_that_fails_late_leaves_no_file(self):
        (self.folder / "program").write_text("""#!/bin/sh
            echo cut off > "$6"
            printf 'exception: broken'
            exit 1""")
        (self.folder / "program").chmod(0o755)
        status, rows, _ = self.run_queries("query.json", "--program", "./program")
        self.assertEqual((status, rows, os.listdir(self.folder / "results")),
                         (1, [["query.json", "1", "", "", "broken"]], []))

    def test_summaries(self):
        self.write_library(made_up_drawings(drawings=2, blocks=5, copies=0))
        arguments = ["run", "query.json", "--list", "filelist.json", "--program", PROGRAM]
        status, text, _ = run_tools(*arguments, folder=self.folder)
        lines = text.splitlines()
        self.assertEqual((status, lines[0].split(), lines[1].split()[:4]), (
            0, ["query", "status", "method", "hits", "ms", "message"],
            ["query.json", "0", "adaptive", "5"]))
        status, text, _ = run_tools(*arguments, "--summary", "json", folder=self.folder)
        self.assertEqual((status, json.loads(text)), (0, [
            {"query": "query.json", "status": 0, "method": "adaptive", "hits": 5, "ms": mock.ANY,
             "message": ""}]))

    def test_mistakes_have_a_message(self):
        self.write_queries()
        write_json(self.folder / "other/0.json", query())
        (self.folder / "empty").mkdir()
        for arguments, message in [
                (["lost.json"], "lost.json: no query there"),
                (["empty"], "empty: no query there"),
                (["queries", "other"], "other/0.json: queries/0.json has the same name, and so would "
                 "its result"),
                (["queries", "--program", "lost"], "lost: is no program"),
                (["query.json", "--method", "shape", "--parts", "2"],
                 "filelist.json: No such file or directory")]:
            self.assertEqual(self.run_queries(*arguments),
                             (1, [], f"quillon-tools run: {message}\n"))
        status, _, errors = self.run_queries("query.json", "--jobs", "0")
        self.assertEqual((status, errors.splitlines()[-1]), (
            2, "quillon-tools run: error: argument --jobs: invalid positive value: '0'"))

    def test_ctrl_c_ends_all_searches(self):
        for name in ["started", "forever"]:
            os.mkfifo(self.folder / name)
        (self.folder / "program").write_text(WAITING)
        (self.folder / "program").chmod(0o755)
        self.write_queries()
        tools = subprocess.Popen(
            [sys.executable, "-m", "quillon_tools", "run", "queries", "--list", "l.json", "--program",
             "./program", "--jobs", "2", "--summary", "csv"], cwd=self.folder,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
            env={**os.environ, "PYTHONPATH": str(ROOT / "tools")},
            # Tests in the background have it ignored, and would pass that on.
            preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL))
        self.addCleanup(tools.kill)
        started = []
        while len(started) < 2:
            started += (self.folder / "started").read_text().split()
        tools.send_signal(signal.SIGINT)
        text, errors = tools.communicate(timeout=300)
        self.assertEqual((tools.returncode, text), (1, HEAD + "".join(
            f"queries/{number}.json,1,,,,stopped\n" for number in range(3))))
        self.assertIn("stopped: 0 of 3 queries succeeded", errors)
        self.assertEqual(os.listdir(self.folder / "results"), [])
        for number in started:
            with self.assertRaises(ProcessLookupError):
                os.kill(int(number), 0)


def codes(hits):
    return [hit["code"] for hit in hits]


def without_rows(hits):
    return hits and [{key: value for key, value in hit.items() if key != "index"} for hit in hits]


if __name__ == "__main__":
    unittest.main()
