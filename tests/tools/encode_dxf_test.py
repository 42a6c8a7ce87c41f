"""The example encoder: its vectors, on drawings of its own and on those in examples/dxf."""
import json
import os
import tempfile
import unittest
import xml.etree.ElementTree
from pathlib import Path
from unittest import mock

import ezdxf
import numpy as np
from sample_pictures import sample_pictures
from support import PROGRAM, ROOT, SAMPLE, run_tools

from quillon_tools.block_picture import LARGEST, block_picture
from quillon_tools.documents import read_document
from quillon_tools.dxf_blocks import read_blocks
from quillon_tools.shape_vectors import shape_vector
from quillon_tools.text_vectors import text_vectors

SQUARE = np.array([[0, 0], [4, 0], [4, 4], [0, 4], [0, 0]], float)
LETTER = [np.array([[0, 0], [0, 3], [2, 3]], float), np.array([[0, 1.5], [1, 1.5]], float)]

EXAMPLES = tempfile.TemporaryDirectory()


def setUpModule():
    """The drawings in examples/dxf as a library, for the tests that only look at it."""
    unittest.addModuleCleanup(EXAMPLES.cleanup)
    os.symlink(ROOT / "examples/dxf", Path(EXAMPLES.name, "drawings"))
    ended = run_tools("encode-dxf", "drawings", "--queries", "Door*", "npn", folder=EXAMPLES.name)
    assert ended == (0, "library: 20 drawings, 74 blocks, 5 queries\n", ""), ended


class ShapeVector(unittest.TestCase):
    def test_has_length_1(self):
        vector = shape_vector(LETTER)
        self.assertEqual((vector.shape, vector.dtype), ((512,), np.float32))
        self.assertAlmostEqual(float(np.linalg.norm(vector)), 1, places=6)

    def test_does_not_depend_on_place_and_scale(self):
        moved = [line * 64 + [512, -256] for line in LETTER]
        np.testing.assert_array_equal(shape_vector(moved), shape_vector(LETTER))

    def test_depends_on_rotation_and_mirroring(self):
        for turn in [[[0, 1], [-1, 0]], [[-1, 0], [0, 1]]]:
            self.assertLess(shape_vector([line @ turn for line in LETTER]) @ shape_vector(LETTER), 0.8)

    def test_counts_a_line_once(self):
        np.testing.assert_array_equal(shape_vector([SQUARE, SQUARE[::-1]]), shape_vector([SQUARE]))

    def test_of_a_square_has_its_two_directions_at_the_border(self):
        directions = shape_vector([SQUARE]).reshape(8, 8, 8)
        self.assertEqual(np.flatnonzero(directions.any(axis=(0, 1))).tolist(), [0, 4])
        self.assertEqual(np.flatnonzero(directions[2:6, 2:6]).tolist(), [])
        np.testing.assert_allclose(directions[..., 0], directions[..., 4].T, atol=1e-6)

    def test_of_a_point_is_none(self):
        self.assertIsNone(shape_vector([np.ones((3, 2))]))

    def test_is_near_to_that_of_the_sample(self):
        """The same descriptor of another program; curves and boxes of texts differ slightly."""
        own = vectors_by_handle(read_document(f"{EXAMPLES.name}/library/filelist.json")["files"])
        sample = vectors_by_handle(str(SAMPLE / file) for file in
                                   read_document(SAMPLE / "filelist.json")["files"])
        cosines = sorted(own[place] @ sample[place] for place in own.keys() & sample.keys())
        self.assertGreater(len(cosines), 60)
        self.assertGreater(cosines[len(cosines) // 10], 0.95)
        self.assertGreater(cosines[len(cosines) // 2], 0.99)


def vectors_by_handle(files):
    found = {}
    for file in files:
        document = read_document(file)
        for key, vector in zip(document["blocks"], document["shape"]):
            place = (Path(file).parents[3].name, Path(file).parent.name, key.split("*")[2])
            found[place] = np.array(vector)
    return found


class TextVectors(unittest.TestCase):
    def check(self, documents):
        vectors = text_vectors(documents)
        self.assertEqual((vectors.shape, vectors.dtype), ((len(documents), 384), np.float32))
        np.testing.assert_allclose(np.linalg.norm(vectors, axis=1), 1, rtol=1e-6)
        return vectors

    def test_are_near_where_words_are(self):
        for filler in [0, 400]:  # hashed, and reduced
            words = [f"w{number * 7919 % 1000:03} x{number}" for number in range(filler)]
            door, doors, tree, empty = self.check(["door left", "doors right", "tree", "", *words])[:4]
            self.assertGreater(door @ doors, door @ tree + 0.1)
            self.assertLess(abs(tree @ empty), 0.5)

    def test_of_equal_words_are_equal(self):
        first, second, _ = self.check(["Tür 1", "tür 1", "Fenster"])
        np.testing.assert_array_equal(first, second)


class Picture(unittest.TestCase):
    def test_is_drawn_upside_down(self):
        self.assertEqual(block_picture([np.array([[0, 0], [2, 1]], float)]), (
            '<svg xmlns="http://www.w3.org/2000/svg" viewBox="-10 -10 520 270"><path '
            'd="M0 250l500-250" fill="none" stroke="#000" stroke-width="1.2" '
            'vector-effect="non-scaling-stroke"/></svg>\n'))

    def test_of_many_lines_is_small(self):
        random = np.random.default_rng(1)
        picture = block_picture([random.normal(size=(2, 2)) for _ in range(9000)])
        self.assertLess(len(picture), LARGEST + 300)
        self.assertGreater(len(picture), LARGEST / 2)
        xml.etree.ElementTree.fromstring(picture)

    def test_of_the_sample_are_those_of_its_drawings(self):
        folder = SAMPLE / "pictures"
        self.assertEqual({path.name: path.read_text() for path in folder.iterdir()},
                         sample_pictures())


class WholeWay(unittest.TestCase):
    def test_leads_from_drawings_to_a_report(self):
        folder = Path(EXAMPLES.name)
        status, text, _ = run_tools("check", "library/filelist.json",
                                    "library/queries/npn-7C7E4A.json", folder=folder)
        self.assertEqual((status, text.splitlines()[0]),
                         (0, "22 files, 74 blocks, 71 codes: no findings"))
        self.assertEqual(run_tools("run", "library/queries", "--list", "library/filelist.json",
                                   "--program", PROGRAM, folder=folder)[0], 0)
        hits = read_document(folder / "results/npn-7C7E4A.json")["blocks"]
        self.assertEqual([hit["name"] for hit in hits[:2]], ["pnp", "npn-phototransistor"])
        self.assertTrue(Path(hits[0]["dwgPath"]).samefile(
            folder / "library/drawings/leandromattioli-dxfsymbols/pnp.dxf"))
        door = next((folder / "results").glob("Door-23-3-*.json"))
        self.assertEqual([hit["name"].split(" ")[0] for hit in read_document(door)["blocks"][:3]],
                         ["Door"] * 3)
        self.assertEqual(run_tools("report", "results", "--pictures", "library/pictures",
                                   "--queries", "library/queries", folder=folder)[0], 0)
        page = (folder / "report.html").read_text("utf-8")
        self.assertGreater(page.count("<li "), 15)
        self.assertEqual(page.count("<li "), page.count('aria-label="Block '))


class Library(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def tools(self, *arguments):
        return run_tools(*arguments, folder=self.folder)

    def save(self, document, name="plan.dxf"):
        path = self.folder / "in" / name
        path.parent.mkdir(parents=True, exist_ok=True)
        document.saveas(path)

    def keys(self):
        files = json.loads((self.folder / "library/filelist.json").read_text())["files"]
        return [key for file in files for key in read_document(file)["blocks"]]

    def test_same_drawings_give_the_same_bytes(self):
        for name in ["a", "b"]:
            self.tools("encode-dxf", ROOT / "examples/dxf/skymakerolof-dxf/blocks1.dxf", "--output",
                       name)
        files = [sorted(path for path in (self.folder / name).rglob("*.*") if path.is_file()
                        and path.name != "filelist.json") for name in ["a", "b"]]
        self.assertGreater(len(files[0]), 5)
        self.assertEqual([path.read_bytes() for path in files[0]],
                         [path.read_bytes() for path in files[1]])

    def test_blocks(self):
        document = ezdxf.new()
        lines = [((0, 0), (1, 2)), ((1, 0), (0, 3))]
        names = ["Tür", "Copy", "*U7", "*D1", "_Dot", "single"]
        for name in names:
            block = document.blocks.new(name)
            for start, end in lines[:1 if name == "single" else 2]:
                block.add_line(start, end)
        points = document.blocks.new("points")
        for _ in range(3):
            points.add_point((1, 1))
        outer = document.blocks.new("outer")
        for scale in [1, 2]:
            outer.add_blockref("Tür", (3, 3), dxfattribs={"xscale": scale})
        self.save(document)
        self.assertEqual(self.tools("encode-dxf", "in")[0], 0)
        fields = [key.split("*") for key in self.keys()]
        self.assertEqual([name for name, *_ in fields], ["Tür", "Copy", "_U7", "outer"])
        self.assertEqual(len({code for _, code, _ in fields}), 2)

    def test_inserts_within_inserts_have_an_end(self):
        document = ezdxf.new()
        inner = document.blocks.new("b0")
        for _ in range(9):
            inner.add_line((0, 0), (1, 2))
        for depth in range(1, 12):
            block = document.blocks.new(f"b{depth}")
            for place in range(9):
                block.add_blockref(f"b{depth - 1}", (place, depth))
        block.add_blockref("b1", (0, 0), dxfattribs={"xscale": 0, "yscale": 0, "zscale": 0})
        self.save(document)
        with mock.patch("quillon_tools.dxf_blocks.MOST_PRIMITIVES", 100):
            blocks = read_blocks(self.folder / "in/plan.dxf")
        self.assertEqual([len(block.lines) for block in blocks], [9, 81, *[100] * 10])

    def test_mistakes_have_a_message(self):
        document = ezdxf.new()
        for end in [1, 2]:
            document.modelspace().add_line((0, 0), (end, 1))
        self.save(document, "good.dxf")
        (self.folder / "in/broken.dxf").write_bytes(b"  0\nSECTION\n\xff\xfe")
        (self.folder / "in/plan.dwg").write_bytes(b"AC1032")
        status, text, errors = self.tools("encode-dxf", "in", "--queries", "good")
        self.assertEqual((status, text), (1, "library: 1 drawing, 1 block, 1 query\n"))
        self.assertRegex(errors, r"^in/broken.dxf: cannot be read as DXF: .+\n$")
        for words, message in [
                (["in/plan.dwg"], "in/plan.dwg: cannot be read as DXF: the extension is not .dxf\n"
                 "quillon-tools encode-dxf: the drawings have no blocks\n"),
                (["lost.dxf"], "lost.dxf: No such file or directory\n"
                 "quillon-tools encode-dxf: the drawings have no blocks\n"),
                (["library/queries"],
                 "quillon-tools encode-dxf: library/queries: has no .dxf files\n"),
                (["in/good.dxf", "--queries", "x*"],
                 "quillon-tools encode-dxf: no block has a name like x*\n")]:
            self.assertEqual(self.tools("encode-dxf", *words, "--output", "other"),
                             (1, "", message))


if __name__ == "__main__":
    unittest.main()
