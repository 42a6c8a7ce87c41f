"""The converter's files, read back by a decoder that is not its own, and searched."""
import json
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import cbor2
import numpy as np
from program import ROOT, run_query

sys.path.append(str(ROOT / "scripts"))
from npz_to_encodings import cbor_head  # noqa: E402, found by the line above

ROWS = 300
DRAWINGS = ["plan b.dwg", "a.dwg", "Grundriß.dwg"]


def vectors(width):
    """Vectors of length 1, of halves and quarters, so that no distance is rounded."""
    numbers = np.random.default_rng(width)
    made = np.zeros((ROWS, width))
    for row in made:
        row[numbers.choice(6, 3, replace=False)] = 0.5
        row[6 + numbers.choice(8, 4, replace=False)] = 0.25
    return made


def library():
    """As users have it: 64-bit floats, and rows of the drawings in any order."""
    return {
        "shape": vectors(512),
        "text": vectors(384),
        "blocks": np.array([f"Tür {row}*C{row:04}*{row + 1:X}" for row in range(ROWS)], "U100"),
        "drawing": np.array([DRAWINGS[row * 7 % 3] for row in range(ROWS)]),
    }


class NpzToEncodings(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def convert(self, arrays, *options):
        """Gives the status and both streams."""
        np.savez(self.folder / "blocks.npz", **arrays)
        ended = subprocess.run(
            [sys.executable, ROOT / "scripts/npz_to_encodings.py", *options, "blocks.npz",
             "library"], cwd=self.folder, capture_output=True, text=True, check=False)
        return ended.returncode, ended.stdout, ended.stderr

    def documents(self):
        """The decoded files by their drawings, in the order of the list."""
        files = json.loads((self.folder / "library/filelist.json").read_text("utf-8"))["files"]
        return {Path(file).parent.name: cbor2.loads(Path(file).read_bytes()) for file in files}

    def test_writes_what_it_reads(self):
        arrays = library()
        arrays["blocks"][5] = "long" * 20 + "*C0005*5"
        arrays["shape"] = np.random.default_rng(1).normal(size=(ROWS, 512)) / 512 ** 0.5
        for side in ["shape", "text"]:
            arrays[side] /= np.linalg.norm(arrays[side], axis=1)[:, None]
        self.assertEqual(self.convert(arrays), (0, "library/filelist.json\n", ""))
        documents = self.documents()
        self.assertEqual(list(documents), DRAWINGS)
        for drawing, document in documents.items():
            rows = np.flatnonzero(arrays["drawing"] == drawing)
            self.assertEqual(len(rows), ROWS // 3)
            self.assertEqual(set(document), {"blocks", "shape", "text"})
            self.assertEqual(document["blocks"], arrays["blocks"][rows].tolist())
            for side in ["shape", "text"]:
                np.testing.assert_array_equal(document[side], arrays[side][rows].astype("f4"))

    def test_takes_five_bytes_a_number(self):
        self.convert({name: array[:1] for name, array in library().items()})
        key = len("Tür 0*C0000*1".encode())
        size = (self.folder / "library/plan b.dwg/encodings.cbor").stat().st_size
        self.assertEqual(size, 1 + 7 + 1 + 1 + key + 6 + 1 + 3 + 5 * 512 + 5 + 1 + 3 + 5 * 384)

    def test_counts_have_the_shortest_heads(self):
        for count in [0, 1, 23, 24, 255, 256, 65535, 65536, 2 ** 32 - 1, 2 ** 32]:
            self.assertEqual(cbor_head(0, count), cbor2.dumps(count))

    def test_is_searched_with_exact_distances(self):
        arrays = library()
        self.assertEqual(self.convert(arrays), (0, "library/filelist.json\n", ""))
        order = np.argsort([DRAWINGS.index(name) for name in arrays["drawing"]], kind="stable")
        query = {side: np.zeros(width) for side, width in [("shape", 512), ("text", 384)]}
        for vector in query.values():
            vector[:3] = 0.5
            vector[6:10] = 0.25
        (self.folder / "query.json").write_text(json.dumps(
            {"queryText": ["door"], **{side: [query[side].tolist()] for side in query}}))
        for side, limit in [("shape", 0.8), ("text", 4)]:
            status, _ = run_query("/method", side, "/topk", "-1", "/min", "-3", folder=self.folder,
                                  files="library/filelist.json")
            self.assertEqual(status, 0)
            hits = json.loads((self.folder / "result.json").read_text("utf-8"))["blocks"]

            distances = ((arrays[side][order] - query[side]) ** 2).sum(axis=1)
            self.assertGreater(distances.min(), 0)
            ranked = [row for row in np.argsort(distances, kind="stable") if distances[row] < limit]
            self.assertGreater(len(ranked), 20)
            self.assertEqual([(hit["index"], hit["distOrScore"]) for hit in hits],
                             [(row, distances[row]) for row in ranked])
            self.assertEqual([(hit["code"], hit["dwgPathHash"]) for hit in hits],
                             [(f"C{order[row]:04}", arrays["drawing"][order[row]])
                              for row in ranked])

    def test_scales_to_unit_length_if_told(self):
        arrays = library()
        arrays["shape"] *= np.arange(1, ROWS + 1)[:, None]
        status, _, warning = self.convert(arrays)
        self.assertEqual((status, warning), (0, (
            "warning: 299 of 300 vectors in shape do not have length 1, which the thresholds "
            "expect; --unit-length scales them\n")))
        np.testing.assert_array_equal(self.documents()["a.dwg"]["shape"],
                                      arrays["shape"][arrays["drawing"] == "a.dwg"])
        self.assertEqual(self.convert(arrays, "--unit-length"), (0, "library/filelist.json\n", ""))
        lengths = np.linalg.norm(self.documents()["a.dwg"]["shape"], axis=1)
        np.testing.assert_allclose(lengths, 1, rtol=1e-6)

    def test_refuses_what_would_be_lost_or_wrong(self):
        good = library()

        def changed(name, index, value):
            array = good[name].astype("U40" if good[name].dtype.kind == "U" else float)
            array[index] = value
            return {name: array}

        not_finite = "has a number that is no finite 32-bit float"
        mistakes = [
            ({"shape": good["shape"][:, :511]},
             "shape must be n × 512 numbers, but is 300 × 511 of float64"),
            ({"text": good["shape"]},
             "text must be n × 384 numbers, but is 300 × 512 of float64"),
            ({"text": good["text"][0]}, "text must be n × 384 numbers, but is 384 of float64"),
            ({"shape": good["shape"] > 0},
             "shape must be n × 512 numbers, but is 300 × 512 of bool"),
            ({"text": good["text"][1:]},
             "the arrays differ in rows: "
             "{'shape': 300, 'text': 299, 'blocks': 300, 'drawing': 300}"),
            ({name: array[:0] for name, array in good.items()}, "there are no rows"),
            (changed("shape", (7, 3), np.nan), f"shape[7] {not_finite}"),
            (changed("text", (8, 3), 1e39), f"text[8] {not_finite}"),
            ({"blocks": np.arange(300)}, "blocks must be n texts, but is 300 of int64"),
            ({"drawing": np.array("plan")}, "drawing must be n texts, but is one of <U4"),
            ({"blocks": good["blocks"].astype(object)},
             "blocks.npz: Object arrays cannot be loaded when allow_pickle=False"),
            (changed("blocks", 4, "door*C4"), "blocks[4] is not name*code*handle: 'door*C4'"),
            (changed("blocks", [0, 3], ["door*C0*0", "door*C3*0"]),
             "blocks[3] is the second with the handle 0 in the drawing 'plan b.dwg'"),
            (changed("drawing", 5, "../plan"), "drawing[5] is no name for a folder: '../plan'"),
            (changed("drawing", 5, ".."), "drawing[5] is no name for a folder: '..'"),
        ]
        for change, complaint in mistakes:
            with self.subTest(complaint=complaint):
                self.assertEqual(self.convert({**good, **change}),
                                 (1, "", f"npz_to_encodings.py: {complaint}\n"))
        with self.subTest("a zero vector has no direction"):
            self.assertEqual(self.convert({**good, **changed("shape", 2, 0)}, "--unit-length"),
                             (1, "", "npz_to_encodings.py: shape[2] is all zeros and has no "
                              "direction\n"))
        with self.subTest("an array is missing"):
            del good["drawing"]
            status, _, complaint = self.convert(good)
            self.assertEqual(status, 1)
            self.assertTrue(re.match("npz_to_encodings.py: blocks.npz: 'drawing is not a file in",
                                     complaint), complaint)
        self.assertFalse((self.folder / "library").exists())


if __name__ == "__main__":
    unittest.main()
