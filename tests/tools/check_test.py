"""Every defect is planted in a clean library, and the whole table is compared."""
import json
import tempfile
import unittest
from pathlib import Path
from unittest import mock

import bson
import cbor2
import msgpack
import numpy as np
import ubjson
from support import ROOT, SAMPLE, encodings, query, run_program, run_tools, unit, write_json

HEAD = ["LEVEL", "FILE", "BLOCK", "PROBLEM", "THE PROGRAM"]
FAILED = "counts a failed drawing and goes on without it"
OUT = "leaves the block out"
ENDS = "ends with status 1"
EXPECTED = "uses it as it is; the thresholds expect length 1"
SPACE = "rounds to 32-bit floats; the file takes more space and time"
IF_NEEDED = "ends with status 1 where the method needs this side"


def table_of(text):
    """The cells of the table, by the columns of its head, and the lines behind it."""
    table, _, rest = text.partition("\n\n")
    lines = table.split("\n")
    starts = [lines[0].index(title) for title in HEAD] + [None]
    return [[line[start:end].strip() for start, end in zip(starts, starts[1:])]
            for line in lines[1:]], rest


class Library(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.document = encodings("Door*c1*1F", "Tür*c2*2F", "plan*c3*0")

    def write_list(self, *files):
        write_json(self.folder / "list.json", {"files": list(files)})

    def check(self, *arguments):
        return run_tools("check", *arguments, folder=self.folder)

    def check_library(self, document=None, name="plan/e.json", entry=None):
        """The rows of the table for a list of one file."""
        if document is not None:
            write_json(self.folder / name, document)
        self.write_list(entry or name)
        status, text, errors = self.check("list.json")
        self.assertEqual(errors, "")
        rows = [] if "no findings" in text else table_of(text)[0]
        self.assertEqual(status, int(any(row[0] != "note" for row in rows)))
        return rows

    def row(self, level, block, problem, program, file="plan/e.json"):
        return [level, file, block, problem, program]


class Clean(Library):
    def test_sample_has_no_findings(self):
        self.assertEqual(run_tools("check", "filelist.json"), (
            0, "40 files, 265 blocks, 179 codes: no findings\n"
            "86 duplicates of a code with another text vector than the first of that code, which is "
            "the one that counts\n", ""))

    def test_libraries_of_other_encoders_have_notes_at_most(self):
        for name in ["json", "bson", "cbor", "msgpack", "ubj", "jdb"]:
            folder = ROOT / "tests/data" / name
            status, text, errors = run_tools("check", f"list.{name}", f"query.{name}",
                                             folder=folder)
            self.assertEqual((status, errors), (0, ""), name)
            lines = text.splitlines()
            if name in ["json", "bson"]:
                self.assertEqual(lines, ["4 files, 5 blocks, 5 codes: no findings"])
            else:
                self.assertEqual(lines[-1], "4 files, 5 blocks, 5 codes: 3 notes")
                self.assertEqual([row[3:] for row in table_of(text)[0]],
                                 [["numbers are 64-bit floats", SPACE]] * 3)

    def test_narrow_floats_have_no_findings(self):
        folder = ROOT / "tests/data/narrow"
        files = sorted(path.name for path in folder.iterdir())
        self.assertEqual(run_tools("check", *files, folder=folder),
                         (0, "5 files, 10 blocks, 2 codes: no findings\n", ""))

    def test_unit_vectors_of_numpy_have_no_errors(self):
        numbers = np.random.default_rng(1)
        for kind in [np.float64, np.float32]:
            for side, width in [("shape", 512), ("text", 384)]:
                rows = numbers.normal(size=(3, width)).astype(kind)
                rows /= np.linalg.norm(rows, axis=1)[:, None]
                self.document[side] = rows.tolist()
            self.assertEqual(self.check_library(self.document), [self.row(
                "note", "", mock.ANY, SPACE)])

    def test_further_fields_of_all_keys_are_no_stars(self):
        self.assertEqual(self.check_library(encodings("a*c1*1F*x", "b*c2*2F*y")), [])


class Blocks(Library):
    def planted(self, change):
        change(self.document)
        return self.check_library(self.document)

    def test_lengths(self):
        self.document["shape"][1][1] = 2.0
        self.document["text"][0] = [0.0] * 384
        self.assertEqual(self.check_library(self.document), [
            self.row("warning", "blocks[1] Tür", "shape has length 2, not 1", EXPECTED),
            self.row("error", "blocks[0] Door", "text is all zeros",
                     "uses it, equally far from every block")])

    def test_numbers_that_are_not_finite(self):
        self.document["shape"][0][3] = float("nan")
        self.document["shape"][1][3] = 1e39
        self.document["text"][2][3] = float("-inf")
        (self.folder / "e.msgpack").write_bytes(
            msgpack.packb(self.document, use_single_float=False))
        rows = self.check_library(name="e.msgpack")
        self.assertEqual(rows[1:], [
            self.row("error", "blocks[0] Door", "shape holds NaN", "never finds the block",
                     "e.msgpack"),
            self.row("error", "blocks[1] Tür", "shape holds infinity", "never finds the block",
                     "e.msgpack"),
            self.row("error", "blocks[2] plan", "text holds infinity", "never finds the block",
                     "e.msgpack")])

    def test_widths(self):
        self.document["shape"][0].pop()
        self.document["text"][1] = None
        self.document["text"][2] = [[1.0]]
        self.assertEqual(self.check_library(self.document), [
            self.row("error", "blocks[0] Door", "shape has 511 numbers, not 512", OUT),
            self.row("error", "blocks[1] Tür", "text is null, not 384 numbers", OUT),
            self.row("error", "blocks[2] plan", "text has 1 numbers, not 384", OUT)])

    def test_elements_that_are_no_numbers(self):
        self.document["shape"][1][4] = "0.5"
        self.assertEqual(self.check_library(self.document), [
            self.row("error", "blocks[1] Tür", "shape holds string, no number", ENDS)])

    def test_vectors_as_objects_and_booleans_are_numbers(self):
        self.document["shape"][0] = {f"{place:03}": float(place == 0) for place in range(512)}
        self.document["text"][1] = [place == 1 for place in range(384)]
        self.assertEqual(self.check_library(self.document), [])

    def test_arrays_of_unequal_length(self):
        self.document["shape"].pop()
        self.document["text"].append(unit(384, 9))
        self.assertEqual(self.check_library(self.document), [
            self.row("error", "", "arrays of unequal length: blocks 3, shape 2, text 4",
                     "leaves the last 1 block out")])

    def test_duplicates_with_other_shapes(self):
        self.document["blocks"][1] = "Tür*c1*2F"
        write_json(self.folder / "plan/e.json", self.document)
        write_json(self.folder / "other/e.json", encodings("x*c9*1F", "Door*c3*2F"))
        self.write_list("plan/e.json", "other/e.json")
        status, text, _ = self.check("list.json")
        taken = "takes it for a duplicate and leaves it out"
        self.assertEqual((status, table_of(text)), (1, ([
            self.row("warning", "blocks[1] Tür", "code c1 has another shape in blocks[0] Door",
                     taken),
            self.row("warning", "blocks[1] Door",
                     "code c3 has another shape in blocks[2] plan in plan/e.json", taken,
                     "other/e.json")], "3 files, 5 blocks, 3 codes: 2 warnings\n")))

    def test_duplicates_of_rounded_shapes_are_equal(self):
        shape = np.random.default_rng(3).normal(size=512)
        shape /= np.linalg.norm(shape)
        self.document["blocks"][1] = "Tür*c1*2F"
        self.document["shape"][0] = [float(f"{number:.6g}") for number in shape]
        self.document["shape"][1] = [float(f"{number:.8g}") for number in shape]
        self.document["text"][1] = self.document["text"][0]
        self.assertEqual(self.check_library(self.document), [])

    def test_keys(self):
        document = encodings("Door**1F", "one*two", "A*B*c4*4F", "*U25*c5*5F", "plain*c6*0",
                             "plan*c7*0", "x*c8*8F")
        document["blocks"].append(7)
        for side, width in [("shape", 512), ("text", 384)]:
            document[side].append(unit(width, 7))
        self.assertEqual(self.check_library(document), [
            self.row("warning", "blocks[0] Door", "code is empty: Door**1F",
                     "takes all blocks without a code for one"),
            self.row("warning", "blocks[1] one", "key has fewer than three fields: one*two", OUT),
            self.row("error", "blocks[7]", "key is number, no text", ENDS),
            self.row("warning", "blocks[4] plain", "has the handle 0, as blocks[5] plan",
                     "uses the last of them alone, silently"),
            self.row("warning", "blocks[2] A", "key has 4 fields; a * in the name? A*B*c4*4F",
                     "takes 'B' for the code and 'c4' for the handle"),
            self.row("warning", "blocks[3] *U25", "key has 4 fields; a * in the name? *U25*c5*5F",
                     "takes 'U25' for the code and 'c5' for the handle")])

    def test_many_findings_of_a_kind_are_cut_short(self):
        document = encodings(*[f"b{i}*c{i}*{i + 1}" for i in range(9)])
        for vector in document["shape"]:
            vector[400] = 1.0
        rows = self.check_library(document)
        self.assertEqual(len(rows), 4)
        self.assertEqual(rows[-1], self.row("warning", "", "the same of 6 more", EXPECTED))
        status, text, _ = self.check("list.json", "--json")
        self.assertEqual((status, len(json.loads(text)["findings"])), (1, 9))

    def test_names_cannot_move_the_cursor(self):
        document = encodings("\x1b[2J\n*c1*1F")
        document["shape"][0][0] = 2.0
        self.assertEqual(self.check_library(document)[0][2], "blocks[0] \\x1b[2J\\n")


class Files(Library):
    def test_structure(self):
        for change, problem in [({"shape": 5}, "shape is number, no array"),
                                ({"blocks": "x"}, "blocks is string, no array")]:
            self.assertEqual(self.check_library({**self.document, **change}),
                             [self.row("error", "", problem, ENDS)])
        del self.document["text"]
        self.assertEqual(self.check_library(self.document),
                         [self.row("error", "", "text is missing", ENDS)])
        self.assertEqual(self.check_library([]),
                         [self.row("error", "", "is array, no object", ENDS)])
        (self.folder / "plan/e.json").write_text("null")
        self.assertEqual(self.check_library(),
                         [self.row("error", "", "is null", "goes on without it, silently")])

    def test_files_that_do_not_parse(self):
        (self.folder / "plan").mkdir()
        for name, data, words in [
                ("e.json", b'{"blocks": [}', "Expecting value: line 1 column 13 (char 12)"),
                ("e.json", b'{"shape": [NaN]}', "NaN is no JSON"),
                ("e.json", b"[1e999]", "number overflow parsing '1e999'"),
                ("e.json", b'["\xff"]', "'utf-8' codec can't decode byte 0xff in position 2: "
                 "invalid start byte"),
                ("e.json", b'["\\uD800"]', "'utf-8' codec can't encode character '\\ud800' in "
                 "position 2: surrogates not allowed"),
                ("e.cbor", cbor2.dumps({"blocks": []}) + b"\0", "bytes behind the document"),
                ("e.msgpack", b"\xc1", "FormatError"),
                ("e.ubj", b"[", "unexpected end of input behind byte 1"),
                ("e.jdb", b"[u", "unexpected end of input behind byte 2"),
                ("e.bson", b"\x05\0\0\0\x01", "bad eoo")]:
            (self.folder / "plan" / name).write_bytes(data)
            self.assertEqual(self.check_library(name="plan/" + name), [
                self.row("error", "", f"does not parse: {words}", FAILED, "plan/" + name)])

    def test_draft_1_of_bjdata(self):
        import bjdata
        rows = np.random.default_rng(2).normal(size=(3, 512))
        self.document["shape"] = (rows / np.linalg.norm(rows, axis=1)[:, None]).tolist()
        self.document["blocks"][0] = "Door" * 99 + "*c1*1F"
        (self.folder / "e.jdb").write_bytes(bjdata.dumpb(self.document, no_float32=False))
        self.assertEqual(self.check_library(name="e.jdb"), [self.row(
            "error", "", "is BJData of draft 1, or UBJSON: the bytes of its numbers are in the other "
            "order", "reads other numbers, silently", "e.jdb")])

    def test_numbers_that_take_space(self):
        self.document["shape"] = [[512 ** -0.5] * 512] * 3
        self.assertEqual(self.check_library(self.document), [self.row(
            "note", "", "numbers have up to 16 digits, where 9 are enough", SPACE)])
        for name, data in [("e.cbor", cbor2.dumps(self.document)),
                           ("e.msgpack", msgpack.packb(self.document)),
                           ("e.ubj", ubjson.dumpb(self.document))]:
            (self.folder / name).write_bytes(data)
            self.assertEqual(self.check_library(name=name), [self.row(
                "note", "", "numbers are 64-bit floats", SPACE, name)])
        (self.folder / "e.bson").write_bytes(bson.encode(self.document))
        self.assertEqual(self.check_library(name="e.bson"), [])

    def test_metadata_at_another_depth(self):
        name = "tree/.blocksMetadata/plan.dwg/e.json"
        self.assertEqual(self.check_library(self.document, name), [self.row(
            "warning", "", "is not .blocksMetadata/ANY/DRAWING/FILE",
            f"gives hits the dwgPath {self.folder.resolve()}/plan.dwg", name)])
        good = "tree/.blocksMetadata/a1/plan.dwg/e.json"
        self.assertEqual(self.check_library(self.document, good), [])


class Lists(Library):
    def test_paths(self):
        write_json(self.folder / "plan/e.json", self.document)
        self.write_list("plan/e.json", "lost.json", "plan\\e.json", 7, "plan", "plan/e.json",
                        "plan/e.txt")
        (self.folder / "plan/e.txt").write_text("")
        status, text, _ = self.check("list.json")
        row = lambda problem, program: self.row("error", "", problem, program, "list.json")
        self.assertEqual((status, table_of(text)[0]), (1, [
            ["warning", "list.json", "", "has plan/e.json 2 times",
             "takes all its blocks but the first for duplicates"],
            row("files[2] has \\ between folders: plan\\e.json",
                "finds it on Windows alone; elsewhere " + FAILED),
            row("files[3] is number, no text", FAILED),
            row("files[1] is no file: lost.json", FAILED),
            row("files[4] is no file: plan", FAILED),
            self.row("error", "", "the extension is none of .json .bson .cbor .msgpack .ubj .jdb",
                     FAILED, "plan/e.txt")]))

    def test_paths_from_the_folder_of_the_list(self):
        write_json(self.folder / "lib/plan/e.json", self.document)
        write_json(self.folder / "lib/list.json", {"files": ["plan/e.json"]})
        status, text, _ = self.check("lib/list.json")
        self.assertEqual((status, table_of(text)), (1, ([[
            "error", "lib/list.json", "", "1 of 1 paths lead to files from the list's own folder "
            "alone; start the program in lib", ENDS]], "2 files, 3 blocks, 3 codes: 1 error\n")))

    def test_lists_that_are_none(self):
        for files, problem in [([], '"files" is empty'), ("x", '"files" is string, no array')]:
            write_json(self.folder / "list.json", {"files": files})
            self.assertEqual(table_of(self.check("list.json")[1])[0],
                             [["error", "list.json", "", problem, ENDS]])


class Queries(Library):
    def rows(self, document):
        write_json(self.folder / "q.json", document)
        status, text, errors = self.check("q.json")
        self.assertEqual(errors, "")
        return status, [row[:1] + row[3:] for row in table_of(text)[0]]

    def test_queries(self):
        for change, status, level, problem, program in [
                ({"shape": unit(512, 0)}, 1, "error", "shape is not [[512 numbers]]", IF_NEEDED),
                ({"text": []}, 1, "error", "text is not [[384 numbers]]", IF_NEEDED),
                ({"text": [[1.0]]}, 1, "error", "text has 1 numbers, not 384", IF_NEEDED),
                ({"shape": [[None] * 512]}, 1, "error", "shape holds null, no number", ENDS),
                ({"shape": [unit(512, 0)] * 2}, 0, "note", "shape has 2 rows",
                 "uses the first alone"),
                ({"shape": [[0.5] + [0] * 511]}, 1, "warning", "shape has length 0.5, not 1",
                 EXPECTED),
                ({"queryText": "door"}, 1, "error", "queryText is string, no array of texts", ENDS),
                ({"queryText": [5]}, 1, "error", "queryText is number in an array, no array of texts",
                 ENDS),
                ({"queryText": ["12 3"]}, 0, "note", "queryText says nothing: '12 3'",
                 "searches by shape, whatever the method")]:
            self.assertEqual(self.rows({**query(), **change}),
                             (status, [[level, problem, program]]))
        self.assertEqual(self.rows({"shape": [unit(512, 0)]}),
                         (1, [["error", "has no text and no queryText", ENDS]]))
        self.assertEqual(self.rows([1]), (1, [["error", "is array, no object", ENDS]]))

    def test_texts_say_something_where_the_program_says_so(self):
        for text in ["ab", "12 3", "A$C1", "a$c1", "A$c1", " A$C", "a\tb c", "Tür", "ü", "\xa0\x9f",
                     "1-2", "abc\ufdd0", "\ufffe..", "日本語", "١٢٣", "x\x7fy"]:
            write_json(self.folder / "q.json", query(text))
            write_json(self.folder / "e.json", self.document)
            self.write_list("e.json")
            _, console = run_program("/filelist", "list.json", "/encode", "q.json", "/output",
                                     "r.json", folder=self.folder)
            _, report, _ = self.check("q.json")
            self.assertEqual("says nothing" in report, "queryType: ByShape" in console, repr(text))


class Usage(Library):
    def test_mistakes_have_a_message(self):
        write_json(self.folder / "result.json", {"blocks": None, "stats": {}})
        for arguments, message in [
                (["lost.json"], "lost.json: No such file or directory"),
                ([str(SAMPLE)], f"{SAMPLE}: is a folder"),
                (["result.json"], "result.json: is a result; only lists, encodings files and "
                 "queries are checked")]:
            self.assertEqual(self.check(*arguments),
                             (1, "", f"quillon-tools check: {message}\n"))
        status, _, text = self.check()
        self.assertEqual((status, text.splitlines()[-1]), (
            2, "quillon-tools check: error: the following arguments are required: FILE"))

    def test_hostile_documents_give_findings(self):
        corpus = ROOT / "tests/fuzz/corpus"
        extensions = [".json", ".bson", ".cbor", ".msgpack", ".ubj", ".jdb"]
        names = []
        for number, path in enumerate(sorted(corpus.glob("*/*"))):
            for extension in extensions:
                name = f"{number}{extension}"
                (self.folder / name).write_bytes(path.read_bytes())
                (self.folder / ("1" + name)).write_bytes(path.read_bytes()[1:])
                names += [name, "1" + name]
        self.assertGreater(len(names), 4000)
        self.write_list(*names)
        status, text, errors = self.check("list.json", *names[:500])
        self.assertEqual((status, errors), (1, ""))


if __name__ == "__main__":
    unittest.main()
