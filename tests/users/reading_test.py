"""What docs/reading-the-hits.md says of scores, of /topk and of unusual vectors."""
import json
import math
import random
import re
import unittest
from pathlib import Path

import cbor2

from program import ROOT, SAMPLE, run_query
from readme_test import Search, TEXT, random_rows

PAGE = (ROOT / "docs/reading-the-hits.md").read_text("utf-8")
ZEROS = {"shape": [[0.0] * 512], "text": [[0.0] * 384], "queryText": ["door"]}


def drawings_of_the_sample():
    return [json.loads((SAMPLE / path).read_text())
            for path in json.loads((SAMPLE / "filelist.json").read_text())["files"]]


def scaled(rows, factor):
    return [[number * factor for number in row] for row in rows]


class Scores(Search):
    def test_of_the_door_by_topk(self):
        section = PAGE.split("## `/topk` changes")[1].split("\n## ")[0]
        rows = [[cell.strip() for cell in line.strip("|").split("|")]
                for line in section.splitlines() if re.match(r"\| \d", line)]
        self.assertEqual(len(rows), 6)
        output = self.folder / "result.json"
        for topk, first, score, count in rows:
            with self.subTest(topk):
                options = ["/topk", *topk.replace("with", "").replace("`", "").split()]
                run_query(*options, query="queries/1-door-23-3.json", output=output)
                hits = json.loads(output.read_text())["blocks"] or []
                shown = [hits[0]["name"], f"{hits[0]['distOrScore']:.3f}"] if hits else ["", ""]
                self.assertEqual([*shown, str(len(hits))], [first, score, count])

    def test_of_random_vectors_are_as_high_as_the_page_warns(self):
        generator = random.Random(1)
        self.write("plan.json", {"blocks": [f"{i}*{i}*1" for i in range(200)],
                                 "shape": random_rows(generator, 200, 512),
                                 "text": random_rows(generator, 200, 384)})
        self.write("query.json", {"shape": random_rows(generator, 1, 512),
                                  "text": random_rows(generator, 1, 384), "queryText": ["door"]})
        [hit] = self.hits("/topk", "1")
        self.assertIn(f"has a hit with the score {hit['distOrScore']:.2f} (`/topk 1`)",
                      PAGE.replace("\n  ", " "))
        self.write("query.json", ZEROS)
        hits = self.hits()
        self.assertEqual(len(hits), 5)
        self.assertIn(f"A query of zeros has five hits, from {hits[0]['distOrScore']:.2f} down.",
                      PAGE.replace("\n  ", " "))


class Vectors(Search):
    def search_sample(self, shape_factor, text_factor, *options):
        query = json.loads((SAMPLE / "queries/1-door-23-3.json").read_text())
        self.write("query.json", {**query, "shape": scaled(query["shape"], shape_factor),
                                  "text": scaled(query["text"], text_factor)})
        drawings = drawings_of_the_sample()
        for number, drawing in enumerate(drawings):
            self.write(f"{number}.json", {**drawing, "shape": scaled(drawing["shape"], shape_factor),
                                          "text": scaled(drawing["text"], text_factor)})
        self.write("filelist.json", {"files": [f"{number}.json" for number in range(len(drawings))]})
        return [(hit["name"], round(hit["distOrScore"], 4), round(hit["shapeWeight"], 4))
                for hit in self.hits(*options) or []]

    def test_of_another_length_change_no_score_when_both_sides_have_it(self):
        expected = self.search_sample(1, 1)
        self.assertEqual(len(expected), 5)
        for factor in (10, 0.1):
            self.assertEqual(self.search_sample(factor, factor), expected)
        self.assertEqual(self.search_sample(1, 10)[0][2], 0.4)
        self.assertGreater(self.search_sample(10, 1)[0][2], 0.9)

    def test_of_zeros_leave_the_search_to_the_other_side(self):
        hits = self.search_sample(1, 0)
        self.assertEqual((len(hits), hits[0][2]), (5, 1))
        self.assertEqual(len(self.search_sample(1, 0, "/method", "shape")), 3)
        self.assertEqual(self.search_sample(0, 1), [])
        self.assertEqual(self.search_sample(0, 1, "/method", "simple"), [])
        self.assertEqual(len(self.search_sample(0, 1, "/method", "text")), 3)

    def test_of_a_query_that_is_too_long_are_cut_but_for_adaptive(self):
        query = json.loads((self.folder / "query.json").read_text())
        expected = self.hits("/method", "shape")
        self.write("query.json", {**query, "shape": [query["shape"][0] + [7.0]]})
        self.assertEqual(self.hits("/method", "shape"), expected)
        self.assertEqual(self.search()[0], 1)

    def test_with_nan_can_end_the_hits_in_a_small_library(self):
        found = {}
        for name, first in [("number", 1.0), ("nan", math.nan)]:
            drawing = {
                "blocks": [f"{i}*{i}*1" for i in range(10)],
                "shape": [[first] + [0.0] * 511,
                          *([math.cos(i / 20), math.sin(i / 20)] + [0.0] * 510 for i in range(1, 10))],
                "text": [[math.cos(i / 9), math.sin(i / 9)] + [0.0] * 382 for i in range(10)],
            }
            Path(self.folder, "plan.cbor").write_bytes(cbor2.dumps(drawing))
            self.write("filelist.json", {"files": ["plan.cbor"]})
            self.write("query.json", {"shape": [[math.cos(0.11), math.sin(0.11)] + [0.0] * 510],
                                      "text": [TEXT], "queryText": ["door"]})
            found[name] = len(self.hits() or [])
        self.assertEqual(found, {"number": 5, "nan": 0})


del Search  # imported, its tests run in readme_test.py

if __name__ == "__main__":
    unittest.main()
