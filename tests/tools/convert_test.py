"""Converted files, read back by decoders that are not the tool's own, and searched."""
import json
import struct
import tempfile
import unittest
from pathlib import Path

import bson
import cbor2
import msgpack
import numpy as np
import ubjson as other_ubjson
from support import ROOT, encodings, query, run_program, run_tools, write_json

from quillon_tools import cbor, ubjson
from quillon_tools.cbor import head_bytes
from quillon_tools.documents import READERS, read_document

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


class Arrays(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def convert(self, arrays, *options):
        """Gives the status and both streams."""
        np.savez(self.folder / "blocks.npz", **arrays)
        return run_tools("convert", *options, "blocks.npz", "library", folder=self.folder)

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
            self.assertEqual(head_bytes(0, count), cbor2.dumps(count))

    def test_rows_of_32_bit_floats_are_read_at_once(self):
        for rows, width in [(1, 1), (3, 23), (24, 384), (300, 512), (1, 70_000)]:
            matrix = np.arange(rows * width, dtype="f4").reshape(rows, width)
            data = cbor.dumps({"shape": matrix, "blocks": ["a"]})
            self.assertEqual(cbor2.loads(data), {"shape": matrix.tolist(), "blocks": ["a"]})
            found = cbor.loads(data)
            self.assertIsInstance(found["shape"], np.ndarray)
            np.testing.assert_array_equal(found["shape"], matrix)

    def test_other_rows_are_read_one_by_one(self):
        for rows in [[], [[]], [[0.5] * 24, [0.5] * 23], [[0.1, 1]], [["a"]], 7, {}]:
            document = {"text": rows, "further": [[0.5]]}
            for data in [cbor2.dumps(document), cbor2.dumps(document, canonical=True)]:
                self.assertEqual(cbor.loads(data), document)

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
            status, _ = run_program("/filelist", "library/filelist.json", "/encode", "query.json",
                                    "/output", "result.json", "/method", side, "/topk", "-1",
                                    "/min", "-3", folder=self.folder)
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
            "warning: blocks.npz: 299 of 300 vectors in shape do not have length 1, which the "
            "thresholds expect; --normalise scales them\n")))
        np.testing.assert_array_equal(self.documents()["a.dwg"]["shape"],
                                      arrays["shape"][arrays["drawing"] == "a.dwg"])
        self.assertEqual(self.convert(arrays, "--normalise"), (0, "library/filelist.json\n", ""))
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
             "Object arrays cannot be loaded when allow_pickle=False"),
            (changed("blocks", 4, "door*C4"), "blocks[4] is not name*code*handle: 'door*C4'"),
            (changed("blocks", [0, 3], ["door*C0*0", "door*C3*0"]),
             "blocks[3] is the second with the handle 0 in the drawing 'plan b.dwg'"),
            (changed("drawing", 5, "../plan"), "drawing[5] is no name for a folder: '../plan'"),
            (changed("drawing", 5, ".."), "drawing[5] is no name for a folder: '..'"),
        ]
        for change, complaint in mistakes:
            with self.subTest(complaint=complaint):
                self.assertEqual(self.convert({**good, **change}),
                                 (1, "", f"quillon-tools convert: blocks.npz: {complaint}\n"))
        with self.subTest("a zero vector has no direction"):
            self.assertEqual(self.convert({**good, **changed("shape", 2, 0)}, "--normalise"),
                             (1, "", "quillon-tools convert: blocks.npz: shape[0] of Tür 2*C0002*3 is "
                              "all zeros and has no direction\n"))
        with self.subTest("an array is missing"):
            del good["drawing"]
            self.assertEqual(self.convert(good), (
                1, "", "quillon-tools convert: blocks.npz: has no array drawing\n"))
        self.assertFalse((self.folder / "library").exists())

    def test_replaces_stars_in_names(self):
        arrays = {name: array[:2] for name, array in library().items()}
        arrays["blocks"] = np.array(["*U25*C1*1F", "Door*90*C2*2F"])
        self.assertEqual(self.convert(arrays, "--replace-stars")[0], 0)
        self.assertEqual([document["blocks"] for document in self.documents().values()],
                         [["_U25*C1*1F"], ["Door_90*C2*2F"]])


class Formats(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def result_of(self, file_list):
        status, _ = run_program("/filelist", file_list, "/encode", "queries/1-door-23-3.json",
                                "/output", self.folder / "result.json", "/topk", "12", "/min", "0.1")
        self.assertEqual(status, 0)
        found = json.loads((self.folder / "result.json").read_text("utf-8"))
        for hit in found["blocks"]:
            hit["dwgPath"] = "/".join(hit["dwgPath"].split("/")[-2:])
        return found

    def test_sample_has_the_same_hits_in_every_format(self):
        expected = self.result_of("filelist.json")
        self.assertEqual(len(expected["blocks"]), 12)
        for extension in READERS:
            target = self.folder / extension[1:]
            self.assertEqual(run_tools("convert", "filelist.json", target, "--format",
                                       extension[1:]), (0, f"{target}/filelist.json\n", ""))
            self.assertEqual(self.result_of(target / "filelist.json"), expected, extension)

    def test_library_comes_back_from_npz(self):
        blocks = self.folder / "blocks.npz"
        self.assertEqual(run_tools("convert", "filelist.json", blocks), (0, f"{blocks}\n", ""))
        self.assertEqual(run_tools("convert", blocks, self.folder / "back")[0], 0)
        self.assertEqual(run_tools("convert", "filelist.json", self.folder / "once")[0], 0)
        names = [sorted(str(path.relative_to(folder)) for path in folder.rglob("*.cbor"))
                 for folder in [self.folder / "once", self.folder / "back"]]
        self.assertEqual(names[0], names[1])
        self.assertEqual(len(names[0]), 39)
        for name in names[0]:
            self.assertEqual((self.folder / "once" / name).read_bytes(),
                             (self.folder / "back" / name).read_bytes())

    def test_new_files_can_lie_beside_the_old(self):
        place = self.folder / "tree/.blocksMetadata/a1/plan.dwg/encodings.json"
        write_json(place, encodings("Door*c1*1F"))
        write_json(self.folder / "list.json", {"files": [str(place)]})
        run_tools("convert", "list.json", "tree", folder=self.folder)
        self.assertTrue(place.with_suffix(".cbor").is_file())
        write_json(self.folder / "tree/filelist.json", {"files": [str(place)]})
        self.assertEqual(
            run_tools("convert", "tree/filelist.json", "tree", folder=self.folder),
            (1, "", "quillon-tools convert: tree/filelist.json: is IN, and would be replaced\n"))
        self.assertEqual(
            run_tools("convert", "list.json", "tree", "--format", "json", folder=self.folder),
            (1, "", f"quillon-tools convert: {place.resolve()}: would be replaced by itself; give "
             "another folder or format\n"))

    def test_documents_are_read_by_other_decoders(self):
        decoders = {"json": json.loads, "bson": bson.decode, "cbor": cbor2.loads,
                    "msgpack": msgpack.unpackb, "ubj": other_ubjson.loadb,
                    "jdb": lambda data: ubjson.loads(data, "<", bjdata=True)}
        document = {**query("Tür"), "further": [1, -300, 2 ** 40, True, None, {"a": "b"}]}
        document["shape"][0][0] = 0.9999
        write_json(self.folder / "q.json", document)
        document["shape"][0][0] = struct.unpack("f", struct.pack("f", 0.9999))[0]
        for name, decode in decoders.items():
            self.assertEqual(run_tools("convert", "q.json", f"new/q.{name}", folder=self.folder),
                             (0, f"new/q.{name}\n", ""))
            found = decode((self.folder / "new" / f"q.{name}").read_bytes())
            if name == "json":
                found["shape"] = np.array(found["shape"], np.float32).tolist()
            self.assertEqual(found, document, name)

    def test_documents_of_other_encoders_are_read(self):
        for path in sorted((ROOT / "tests/data").glob("n*/*.*")):
            if path.name == "query.json":
                continue
            with self.subTest(path):
                self.assertEqual(run_tools("convert", path, self.folder / "e.json",
                                           folder=path.parent)[0],
                                 int(path.parent.name == "numbers"))  # one is past 32-bit floats
        for name in ["json", "bson", "cbor", "msgpack", "ubj", "jdb"]:
            plain = read_document(ROOT / "tests/data/json/query.json")
            self.assertEqual(read_document(ROOT / f"tests/data/{name}/query.{name}"), plain)

    def test_results_are_converted_as_they_are(self):
        self.result_of("filelist.json")
        result = json.loads((self.folder / "result.json").read_text("utf-8"))
        self.assertEqual(run_tools("convert", "result.json", "r.msgpack", folder=self.folder)[0], 0)
        self.assertEqual(msgpack.unpackb((self.folder / "r.msgpack").read_bytes()), result)

    def test_mistakes_have_a_message(self):
        broken = encodings("Door*c1*1F", "Tür*c2*2F")
        broken["text"][1][7] = "x"
        write_json(self.folder / "plan/broken.json", broken)
        write_json(self.folder / "list.json", {"files": ["plan/broken.json"]})
        write_json(self.folder / "q.json", query())
        (self.folder / "no.npz").write_text("no zip")
        element = "plan/broken.json: text[1] of Tür*c2*2F holds string, no number"
        for source, target, message in [
                ("list.json", "out", element), ("plan/broken.json", "out.cbor", element),
                ("list.json", "out.npz", element),
                ("q.json", "out", "out: q.json is one document; give a file to write"),
                ("q.json", "out.txt", "out.txt: the extension is none of .json .bson .cbor .msgpack "
                 ".ubj .jdb .npz; a folder has none"),
                ("lost.npz", "out", "lost.npz: No such file or directory"),
                ("no.npz", "out", "no.npz: Cannot load file containing pickled data when "
                 "allow_pickle=False")]:
            self.assertEqual(run_tools("convert", source, target, folder=self.folder),
                             (1, "", f"quillon-tools convert: {message}\n"))


if __name__ == "__main__":
    unittest.main()
