"""docs/messages.md has every text of the program's own, and none that it does not have."""
import json
import re
import tempfile
import unittest
from pathlib import Path

import cbor2
import msgpack

from documents_test import run_section
from program import ROOT, run_query

PAGE = (ROOT / "docs/messages.md").read_text()

# Literals in src/ that are no console texts.
OPTIONS = "/encode /filelist /method /min /no-dedup /no-parallel-load /output /pretty /topk"
VALUES = "adaptive shape simple text Adaptive ByShape ByText Simple Unknown true false"
EXTENSIONS = ".bson .cbor .jdb .json .msgpack .ubj"
DOCUMENTS = "blocks files queryText shape stats text"
HITS = "code distOrScore dwgPath dwgPathHash handle index name shapeWeight textWeight"
STATS = "failedDrawings resultBlocks totalBlocks totalDrawings uniqueBlocks"
KERNELS = "baseline AVX2 AVX-512 avx2 avx512f"
OTHERS = "../../../.. .blocksMetadata .UTF8 0 A$C a$c C.UTF-8 {}"
NO_TEXTS = set(" ".join([OPTIONS, VALUES, EXTENSIONS, DOCUMENTS, HITS, STATS, KERNELS, OTHERS]).split())

# Words in the page that stand for something else.
PLACEHOLDERS = re.compile(
    r"\b(BYTES?|FILE|KEY|NUMBER|PATH|PLACE|REASON|SIDE|TEXT|TYPE|WHAT|WORD)\b"
)

TOKEN = re.compile(
    r"""
    //[^\n]* | /\*.*?\*/ | (?m:^)[ ]*\#[^\n]*  # comments and directives
    | "((?:[^"\\\n]|\\.)*)" | '(?:[^'\\\n]|\\.)+' | [;{}]
    """,
    re.DOTALL | re.VERBOSE,
)


def texts_of(source):
    """Each statement's literals that are console texts."""
    texts = []
    for token in TOKEN.finditer(source):
        if token[0] in ";{}":
            texts.append([])
        elif token[1] is not None and token[1] not in NO_TEXTS:
            texts[-1].append(token[1])
    return [statement for statement in texts if statement]


def lines_of(statement):
    """Regular expressions for the lines that the literals of a statement make."""
    whole = "{}".join(statement).replace('\\"', '"')
    lines = [line.replace("\\t", "").strip() for line in whole.split("\\n")]
    return [
        ".*" + ".*".join(map(re.escape, line.split("{}"))) + ".*"
        for line in lines
        if line.replace("{}", "")
    ]


def lines_of_the_program():
    files = [path for path in sorted((ROOT / "src").rglob("*")) if path.suffix in (".cpp", ".h")]
    return [
        (path.name, line)
        for path in files
        for statement in texts_of(path.read_text())
        for line in lines_of(statement)
    ]


def fenced(page):
    return re.findall(r"^```\n(.*?)^```$", page, re.MULTILINE | re.DOTALL)


def first_cells(page, *headings):
    """What stands as code in the first column of the tables with these headings."""
    cells, inside = [], False
    for line in page.splitlines():
        if not line.startswith("|"):
            inside = False
        elif line.startswith(tuple(f"| {heading} |" for heading in headings)):
            inside = True
        elif inside:
            cells += re.findall(r"`([^`]+)`", line.split(" | ")[0])
    return cells


def pattern_of(text):
    return re.compile(".+".join(map(re.escape, PLACEHOLDERS.sub("\0", text).split("\0"))))


class Page(unittest.TestCase):
    def test_has_every_text_of_the_program(self):
        known = [line.strip() for block in fenced(PAGE) for line in block.splitlines()]
        known += re.findall(r"`([^`\n]+)`", PAGE)
        lines = lines_of_the_program()
        self.assertGreater(len(lines), 40)
        self.assertEqual(
            [line for line in lines if not any(re.fullmatch(line[1], text) for text in known)], []
        )

    def test_has_no_text_that_the_program_lacks(self):
        patterns = [line for _, line in lines_of_the_program() if "exception: " not in line]
        # One pattern matches everything that the report of an exception begins with.
        texts = [text.removeprefix("exception: ") for text in first_cells(PAGE, "Text")]
        self.assertGreater(len(texts), 20)
        self.assertEqual(
            [text for text in texts if not any(re.fullmatch(line, text) for line in patterns)], []
        )

    def test_leaves_out_no_literal_that_is_gone(self):
        literals = {
            token[1]
            for path in (ROOT / "src").rglob("*")
            if path.is_file()
            for token in TOKEN.finditer(path.read_text())
            if token[1]
        }
        self.assertEqual(NO_TEXTS - literals, set())

    def test_shows_the_console_of_the_readme(self):
        key = ("README.md", "Your own blocks")
        with tempfile.TemporaryDirectory() as name:
            run_section(key, Path(name))
            _, console = run_query("/method", "shape", "/pretty", folder=name)
        self.assertEqual(re.sub(r"\d+ ms", "0 ms", console), fenced(PAGE)[0])


NO_OBJECT = "[json.exception.type_error.305] cannot use operator[] with a string argument with "
NO_ARRAY = "[json.exception.type_error.305] cannot use operator[] with a numeric argument with "
OTHER_TYPE = "[json.exception.type_error.302] type must be "
CUT_OFF = "[json.exception.parse_error.110] parse error at byte "

SHAPE, TEXT = [1.0] + [0.0] * 511, [1.0] + [0.0] * 383
QUERY = {"shape": [SHAPE], "text": [TEXT], "queryText": ["door"]}
GOOD = {"blocks": ["good*good*1"], "shape": [[0.8, 0.6] + [0.0] * 510], "text": [TEXT]}
BAD = {**GOOD, "blocks": ["bad*bad*1"]}


def with_changes(document, **changes):
    return json.dumps({**document, **changes}).encode()


# The files beside or instead of query.json, list.json and good.json, further arguments, the end of
# the console, and the status.
ENDED = [
    ({}, ["/filelist", ""], "ERROR: The input dwg file list path is empty", 255),
    ({}, ["/encode", ""], "ERROR: The input block encode path is empty", 255),
    ({}, ["/output"], "ERROR: The input output file path is empty", 255),
    ({}, ["/topk", "x1"], "exception: invalid stoi argument", 1),
    ({}, ["/topk", "2147483648"], "exception: stoi argument out of range", 1),
    ({}, ["/min"], "exception: invalid stof argument", 1),
    ({}, ["/min", "1e-50"], "exception: stof argument out of range", 1),
    ({}, ["/method", "Shape"], "exception: Shape is not a valid query type", 1),
    ({}, ["/encode", "door.json"], "exception: fail to open input file: door.json", 1),
    ({}, ["/filelist", "."], "exception: fail to open input file: .", 1),
    (
        {"list.JSON": b"{}"},
        ["/filelist", "list.JSON"],
        "exception: Unknown input file format! list.JSON",
        1,
    ),
    (
        {"list.json": b"{}"},
        [],
        "exception: [json.exception.out_of_range.403] key 'files' not found",
        1,
    ),
    ({"list.json": b'{"files": []}'}, [], "exception: There are no files in list.json", 1),
    ({"list.json": b'{"files": [7]}'}, [], "exception: No encodings are loaded from files.", 1),
    (
        {"query.json": with_changes(QUERY, shape=SHAPE)},
        ["/method", "shape"],
        "exception: the query's shape vector has 0 elements, the library's rows have 512",
        1,
    ),
    (
        {"query.json": with_changes(QUERY, text=[[1]])},
        [],
        "exception: Incompatible dimension of arrays, compile in DEBUG for more info",
        1,
    ),
    (
        {"query.json": with_changes(QUERY, text=[TEXT, [1]])},
        [],
        "exception: [json.exception.out_of_range.401] array index 1 is out of range",
        1,
    ),
    (
        {"query.json": with_changes(QUERY, queryText="door")},
        [],
        "exception: " + NO_ARRAY + "string",
        1,
    ),
    ({"query.json": b"[]"}, [], "exception: " + NO_OBJECT + "array", 1),
    (
        {},
        ["/output", "results/result.json"],
        "exception: fail to open output file: results/result.json",
        1,
    ),
    ({}, ["/output", "result.txt"], "exception: Unknown output file format! result.txt", 1),
    ({}, ["/topk", "0", "/method", "text"], "'k > 0' failed", 1),
]

# A file of the list, by name and bytes, the text about it, and whether the default mode goes on.
DRAWINGS = [
    ("bad.json", None, "fail to open input file: bad.json", True),
    ("bad.txt", b"", "Unknown input file format! bad.txt", True),
    (
        "bad.json",
        b'{"blocks": "\xff"}',
        "[json.exception.parse_error.101] parse error at line 1, column 13: syntax "
        "error while parsing value - invalid string: ill-formed UTF-8 byte; last read: '\"\ufffd'",
        True,
    ),
    (
        "bad.json",
        b'{"shape": [[1e999]]}',
        "[json.exception.out_of_range.406] number overflow parsing '1e999'",
        True,
    ),
    (
        "bad.cbor",
        cbor2.dumps(BAD)[:-1],
        CUT_OFF + "8102: syntax error while parsing CBOR number: unexpected end of input",
        True,
    ),
    ("bad.cbor", b"\x81" * 501 + b"\0", "document nested deeper than 500 levels: bad.cbor", True),
    (
        "bad.ubj",
        b"[$Z#l\x7f\xff\xff\xff",
        "document announces more than 1048576 values: bad.ubj",
        True,
    ),
    (
        "bad.cbor",
        b"\x5f" * 100_000,
        "document nested too deeply for 4 MiB of stack: bad.cbor",
        True,
    ),
    (
        "bad.bson",
        b"\x11\0\0\0\2a\0\5\0\0\0abcd",
        CUT_OFF + "16: syntax error while parsing BSON string: unexpected end of input",
        True,
    ),
    ("bad.json", b"[]", NO_OBJECT + "array", False),
    ("bad.json", with_changes(BAD, text=7), NO_ARRAY + "number", False),
    (
        "bad.json",
        with_changes(BAD, text=[["x"] * 384]),
        OTHER_TYPE + "number, but is string",
        False,
    ),
    ("bad.json", with_changes(BAD, blocks=[7]), OTHER_TYPE + "string, but is number", False),
    (
        "bad.json",
        b'{"blocks": ["a*b*c"], "shape": []}',
        "[json.exception.out_of_range.403] key 'text' not found",
        False,
    ),
]

BLOCKS = [
    (with_changes(BAD, blocks=["a*b"]), "Warning: block key with fewer than three fields: a*b"),
    (with_changes(BAD, shape=[[1]]), 'Invalid shape vector for "bad*bad*1"'),
    (with_changes(BAD, text=[]), 'Invalid text vector for "bad*bad*1"'),
]

USUAL = {
    "query.json": json.dumps(QUERY).encode(),
    "list.json": b'{"files": ["good.json"]}',
    "good.json": json.dumps(GOOD).encode(),
}


def and_also(path, content):
    """The usual files, and one more in the list, which may be missing."""
    listed = {**USUAL, "list.json": json.dumps({"files": ["good.json", path]}).encode()}
    return listed if content is None else {**listed, path: content}


def start(files, *arguments):
    """Status, console and text of the result, if any, of a run in a folder with the files."""
    with tempfile.TemporaryDirectory() as name:
        for path, content in files.items():
            Path(name, path).write_bytes(content)
        status, console = run_query(*arguments, folder=name, files="list.json")
        result = Path(name, "result.json")
        return status, console, result.read_text() if result.exists() else None


def stats(result):
    return json.loads(result)["stats"]


def names(result):
    return [hit["name"] for hit in json.loads(result)["blocks"]]


class Program(unittest.TestCase):
    """Every text that can be had from outside appears where the page says, with that effect."""

    def setUp(self):
        self.known = [pattern_of(text) for text in first_cells(PAGE, "Text", "Pattern")]

    def assertKnown(self, text):
        short = re.sub(r"\[json\.exception\.\w+\.\d+\] ", "", text)
        forms = [
            form
            for whole in (text, short)
            for form in (whole, whole.removeprefix("exception: "), "exception: " + whole)
        ]
        self.assertTrue(any(known.fullmatch(form) for form in forms for known in self.known), text)

    def test_ends_as_described(self):
        for files, arguments, text, expected in ENDED:
            with self.subTest(text):
                status, console, result = start({**USUAL, **files}, *arguments)
                last = console.splitlines()[-1]
                self.assertTrue(last.endswith(text), last)
                self.assertKnown(last)
                self.assertEqual((status, result), (expected, None))

    def test_treats_drawings_as_described(self):
        for path, content, text, goes_on in DRAWINGS:
            with self.subTest(text):
                self.assertKnown(text)
                status, console, result = start(and_also(path, content))
                if goes_on:
                    self.assertIn(f"\nWarning: {text}\n", console)
                    self.assertEqual((status, stats(result)["failedDrawings"]), (0, 1))
                else:
                    self.assertEqual(console.splitlines()[-1], "exception: " + text)
                    self.assertEqual((status, result), (1, None))

                status, console, result = start(and_also(path, content), "/no-parallel-load")
                self.assertIn(f'\nFail to load "{path}"\n\t{text}\n', console)
                self.assertEqual((status, stats(result)["failedDrawings"]), (0, 1))

    def test_treats_drawings_of_null_as_described(self):
        files = and_also("bad.json", b"null")
        status, console, result = start(files)
        self.assertNotIn("null", console)
        self.assertEqual((status, stats(result)["failedDrawings"]), (0, 0))
        status, console, result = start(files, "/no-parallel-load")
        self.assertIn(f'\nFail to load "bad.json"\n\t{NO_OBJECT}null\n', console)
        self.assertEqual((status, stats(result)["failedDrawings"]), (0, 1))

    def test_treats_blocks_as_described(self):
        for content, text in BLOCKS:
            for options in ([], ["/no-parallel-load"]):
                with self.subTest((text, options)):
                    self.assertKnown(text)
                    status, console, result = start(and_also("bad.json", content), *options)
                    self.assertIn(f"\n{text}\n", console)
                    counts = stats(result)
                    self.assertEqual(
                        (status, counts["totalBlocks"], counts["failedDrawings"]), (0, 1, 0)
                    )

    def test_breaks_off_where_a_key_is_no_text(self):
        text = "[json.exception.type_error.316] invalid UTF-8 byte at index 3: 0xFF"
        self.assertKnown(text)
        bad = {**BAD, "blocks": [b"bad\xff*bad*1"]}

        files = and_also("bad.msgpack", msgpack.packb(bad, use_bin_type=False))
        status, console, result = start(files, "/method", "text")
        self.assertTrue(console.endswith(f" ms\nexception: {text}\n"), console)
        self.assertTrue(result.startswith('{"blocks":[{'), result)
        self.assertEqual((status, result.count("stats")), (1, 0))

        files = and_also("bad.msgpack", msgpack.packb({**bad, "shape": []}, use_bin_type=False))
        status, console, result = start(files)
        line = f'\nInvalid shape vector for "exception: {text}\n'
        self.assertTrue(console.endswith(line), console)
        self.assertEqual((status, result), (1, None))

    def test_puts_halves_of_a_block_under_other_names(self):
        files = {
            **USUAL,
            "list.json": b'{"files": ["good.json", "bad.json", "last.json"]}',
            "bad.json": with_changes(BAD, shape=[[0.6, "x"] + [0.0] * 510]),
            "last.json": with_changes(
                GOOD, blocks=["last*last*2"], shape=[[0.96, 0.28] + [0.0] * 510]
            ),
        }
        _, _, by_shape = start(files, "/no-parallel-load", "/method", "shape")
        self.assertEqual(names(by_shape), ["bad", "good"])
        _, _, by_text = start(files, "/no-parallel-load", "/method", "text")
        self.assertEqual(names(by_text), ["good", "bad"])


if __name__ == "__main__":
    unittest.main()
