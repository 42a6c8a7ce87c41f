"""What the README claims in numbers, and the traps that it warns of."""
import array
import json
import math
import os
import random
import re
import tempfile
import unittest
from pathlib import Path

import bjdata
import bson
import cbor2
import msgpack
import ubjson

from program import ROOT, SAMPLE, run_query

README = (ROOT / "README.md").read_text()
SHAPE, TEXT = [1.0] + [0.0] * 511, [1.0] + [0.0] * 383
NEAR = [0.8, 0.6] + [0.0] * 510
QUERY = {"shape": [SHAPE], "text": [TEXT], "queryText": ["door"]}
PLAN = {"blocks": ["Door 90*a1b2*1F"], "shape": [NEAR], "text": [TEXT]}


def rounded_to_32_bits(row):
    return array.array("f", row).tolist()


def rounded_to_6_digits(row):
    return [float(f"{value:.6g}") for value in row]


def random_rows(generator, count, width):
    """Rows of length 1 without zeros."""
    rows = [[generator.gauss(0, 1) for _ in range(width)] for _ in range(count)]
    return [[value / math.hypot(*row) for value in row] for row in rows]


def with_rows(document, change):
    return {
        **document,
        "shape": [change(row) for row in document["shape"]],
        "text": [change(row) for row in document["text"]],
    }


class Search(unittest.TestCase):
    """Each test has a folder with a query, a list and one drawing of one block."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.write("query.json", QUERY)
        self.write("filelist.json", {"files": ["plan.json"]})
        self.write("plan.json", PLAN)

    def write(self, name, document):
        (self.folder / name).write_text(json.dumps(document))

    def search(self, *arguments):
        """Status, console and result of a run that succeeds or leaves no result."""
        result = self.folder / "result.json"
        result.unlink(missing_ok=True)
        status, console = run_query(*arguments, folder=self.folder)
        return status, console, json.loads(result.read_text()) if result.exists() else None

    def hits(self, *arguments):
        return self.search(*arguments)[2]["blocks"]


class Formats(Search):
    def setUp(self):
        super().setUp()
        generator = random.Random(1)
        self.drawing = {
            "blocks": [f"Door {i}*{i:016x}*{i:x}" for i in range(100)],
            "shape": random_rows(generator, 100, 512),
            "text": random_rows(generator, 100, 384),
        }
        self.rounded = with_rows(self.drawing, rounded_to_32_bits)
        self.short = with_rows(self.drawing, rounded_to_6_digits)

    def test_take_the_bytes_that_the_table_says(self):
        def size(encoded):
            return f"{round(len(encoded) / 100, -2):,.0f}"

        rows = re.findall(
            r"^\| `\.(\w+)` \|.*\| ([\d,]+)(?: \([^)]* ([\d,]+)\))? \|$", README, re.MULTILINE
        )
        self.assertEqual(
            {extension: (least, most) for extension, least, most in rows},
            {
                "cbor": (
                    size(cbor2.dumps(self.rounded, canonical=True)),
                    size(cbor2.dumps(self.rounded)),
                ),
                "msgpack": (
                    size(msgpack.packb(self.drawing, use_single_float=True)),
                    size(msgpack.packb(self.drawing)),
                ),
                "ubj": (
                    size(ubjson.dumpb(self.drawing, no_float32=False)),
                    size(ubjson.dumpb(self.drawing)),
                ),
                "jdb": (
                    size(bjdata.dumpb(self.drawing, no_float32=False)),
                    size(bjdata.dumpb(self.drawing)),
                ),
                "json": (
                    size(json.dumps(self.short).encode()),
                    size(json.dumps(self.rounded).encode()),
                ),
                "bson": (size(bson.encode(self.drawing)), ""),
            },
        )
        self.assertEqual(
            size(cbor2.dumps(self.drawing, canonical=True)), size(cbor2.dumps(self.drawing))
        )

    def test_written_so_are_read_alike(self):
        self.write("query.json", {**QUERY, "text": self.drawing["text"][:1]})
        self.write("plan.json", self.rounded)
        expected = self.hits("/method", "text", "/min", "-9")
        self.assertEqual(len(expected), 5)
        for name, encoded in [
            ("plan.cbor", cbor2.dumps(self.rounded, canonical=True)),
            ("plan.msgpack", msgpack.packb(self.drawing, use_single_float=True)),
            ("plan.ubj", ubjson.dumpb(self.drawing, no_float32=False)),
            ("plan.bson", bson.encode(self.drawing)),
        ]:
            with self.subTest(name):
                (self.folder / name).write_bytes(encoded)
                self.write("filelist.json", {"files": [name]})
                self.assertEqual(self.hits("/method", "text", "/min", "-9"), expected)

    def test_of_debians_bjdata_read_as_other_numbers_without_a_warning(self):
        (self.folder / "plan.jdb").write_bytes(bjdata.dumpb(PLAN))
        self.write("filelist.json", {"files": ["plan.jdb"]})
        self.assertEqual(self.hits("/method", "text", "/min", "-9")[0]["distOrScore"], 1.0)
        self.write("filelist.json", {"files": ["plan.json"]})
        self.assertEqual(self.hits("/method", "text", "/min", "-9")[0]["distOrScore"], 0.0)
        self.write("filelist.json", {"files": ["plan.jdb"]})
        self.assertNotIn("Warning", self.search()[1])


class Methods(Search):
    def names_with(self, side, cosines, *arguments):
        """The hits among blocks whose vectors of that side have these cosines to the query's."""
        width = {"shape": 512, "text": 384}[side]
        rows = [
            [cosine, math.sqrt(1 - cosine * cosine)] + [0.0] * (width - 2) for cosine in cosines
        ]
        drawing = {
            "blocks": [f"{cosine}*{cosine}*1" for cosine in cosines],
            "shape": [NEAR] * len(rows),
            "text": [TEXT] * len(rows),
            side: rows,
        }
        self.write("plan.json", drawing)
        return [float(hit["name"]) for hit in self.hits(*arguments) or []]

    def test_take_a_squared_distance_as_the_cosine_that_the_readme_says(self):
        self.assertEqual(
            self.names_with("shape", [0.59, 0.61], "/method", "shape", "/min", "0.9"), [0.61]
        )
        self.assertEqual(self.names_with("text", [0.64, 0.66], "/method", "text"), [0.66])
        self.assertEqual(self.names_with("shape", [0.64, 0.66], "/method", "simple"), [0.66])
        self.assertEqual(self.names_with("text", [0.49, 0.51], "/method", "simple"), [0.51])

    def test_admit_few_longer_vectors_and_too_many_shorter_ones(self):
        query = json.loads((SAMPLE / "queries/1-door-23-3.json").read_text())
        drawings = [
            json.loads((SAMPLE / path).read_text())
            for path in json.loads((SAMPLE / "filelist.json").read_text())["files"]
        ]
        for factor, expected in [(1, 3), (10, 0), (0.1, 179)]:

            def scale(row, factor=factor):
                return [value * factor for value in row]

            self.write("query.json", with_rows(query, scale))
            for i, drawing in enumerate(drawings):
                self.write(f"{i}.json", with_rows(drawing, scale))
            self.write("filelist.json", {"files": [f"{i}.json" for i in range(len(drawings))]})
            for method in ("shape", "text", "simple"):
                with self.subTest((factor, method)):
                    hits = self.hits("/method", method, "/topk", "-1") or []
                    self.assertEqual(len(hits), expected)

    def test_find_what_troubleshooting_says_about_topk(self):
        output = self.folder / "result.json"
        found = []
        for arguments in (["/topk", "20"], ["/topk", "20", "/min", "0.09"]):
            run_query(*arguments, query="queries/1-door-23-3.json", output=output)
            found.append(json.loads(output.read_text())["stats"]["resultBlocks"])
        self.assertEqual(found, [0, 20])


class Traps(Search):
    def test_min_ends_where_the_number_does(self):
        self.assertIn("\n  minThreshold: 0\n", self.search("/min", "0,5")[1])

    def test_topk_0(self):
        self.write(
            "plan.json",
            {
                **PLAN,
                "blocks": [f"{i}*{i}*1" for i in range(9)],
                "shape": [NEAR] * 9,
                "text": [TEXT] * 9,
            },
        )
        self.assertEqual(len(self.hits("/topk", "0", "/min", "0")), 9)
        for method in ("shape", "text", "simple"):
            self.assertEqual(self.search("/topk", "0", "/method", method)[::2], (1, None))

    def test_output_is_emptied_before_its_extension_is_looked_at(self):
        (self.folder / "result.txt").write_text("of yesterday")
        self.assertEqual(self.search("/output", "result.txt")[0], 1)
        self.assertEqual((self.folder / "result.txt").read_text(), "")
        self.write("good.json", "of yesterday")
        self.assertEqual(self.search("/output", "good.json", "/encode", "nothing.json")[0], 1)
        self.assertEqual((self.folder / "good.json").read_text(), '"of yesterday"')

    @unittest.skipUnless(os.path.exists("/dev/full"), "a device of Linux")
    def test_full_disk_is_not_noticed(self):
        (self.folder / "full.json").symlink_to("/dev/full")
        self.assertEqual(self.search("/output", "full.json")[0], 0)

    def test_only_the_last_handle_0_counts_and_comes_last(self):
        self.write(
            "plan.json",
            {"blocks": ["a*1*0", "b*2*0", "c*3*00*more"], "shape": [NEAR] * 3, "text": [TEXT] * 3},
        )
        _, _, result = self.search("/method", "shape")
        self.assertEqual(
            [(hit["index"], hit["name"], hit["handle"]) for hit in result["blocks"]],
            [(0, "c", "00"), (1, "b", "0")],
        )
        self.assertEqual(result["stats"]["totalBlocks"], 2)

    def test_drawing_is_absolute_in_a_metadata_tree(self):
        place = self.folder / "plans/.blocksMetadata/5e/floor.dxf/plan.json"
        place.parent.mkdir(parents=True)
        (self.folder / "plan.json").rename(place)
        self.write("filelist.json", {"files": [str(place.relative_to(self.folder))]})
        hit = self.hits("/method", "shape")[0]
        self.assertEqual(
            (hit["dwgPath"], hit.get("dwgPathHash")),
            (str(self.folder.resolve() / "plans/floor.dxf"), None),
        )

    def test_numbers_that_are_not_finite_are_no_hits(self):
        drawing = {
            "blocks": ["nan*1*1", "infinite*2*2", "Door*3*3"],
            "shape": [[math.nan] * 512, [math.inf] * 512, NEAR],
            "text": [TEXT] * 3,
        }
        (self.folder / "plan.cbor").write_bytes(cbor2.dumps(drawing))
        self.write("filelist.json", {"files": ["plan.cbor"]})
        for method in ("shape", "simple"):
            hits = self.hits("/method", method, "/min", "-inf", "/topk", "-1")
            self.assertEqual([hit["name"] for hit in hits], ["Door"])
        # By its text each of them is found.
        hits = self.hits("/method", "text")
        self.assertEqual([hit["name"] for hit in hits], ["nan", "infinite", "Door"])
        others = {
            "blocks": [f"{i}*{i}*1" for i in range(9)],
            "text": [TEXT] * 9,
            "shape": [[math.cos(i), math.sin(i)] + [0.0] * 510 for i in range(9)],
        }
        self.write("others.json", others)
        self.write("filelist.json", {"files": ["plan.cbor", "others.json"]})
        scores = [hit["distOrScore"] for hit in self.hits("/min", "-inf", "/topk", "0")]
        self.assertGreater(len(scores), 5)
        self.assertNotIn(None, scores)

    def test_query_texts_that_say_nothing_choose_shape(self):
        for text in ("ab", "12 34", "a\tbc", "A$C4711", "a$c4711"):
            with self.subTest(text):
                self.write("query.json", {**QUERY, "queryText": [text]})
                self.assertIn("\n     queryType: ByShape\n", self.search("/method", "text")[1])
        for texts in (["A$c"], ["12-34"], ["Zimmertür"], []):
            with self.subTest(texts):
                self.write("query.json", {**QUERY, "queryText": texts})
                self.assertIn("\n     queryType: ByText\n", self.search("/method", "text")[1])


if __name__ == "__main__":
    unittest.main()
