"""docs/schema/ accepts what the program takes without a message and all that it writes, no more."""
import copy
import json
import tempfile
import unittest
from pathlib import Path

import jsonschema

from formats import READERS, read_document
from program import ROOT, SAMPLE, run_query

SCHEMAS = {
    name: json.loads((ROOT / f"docs/schema/{name}.schema.json").read_text())
    for name in ("list", "encodings", "query", "result")
}
METHODS = ("adaptive", "shape", "text", "simple")
DATA = ROOT / "tests/data"

# The keywords of ours that can refuse a document.
RULES = (
    "type",
    "required",
    "additionalProperties",
    "minItems",
    "maxItems",
    "minimum",
    "maximum",
    "pattern",
    "anyOf",
    "dependentSchemas",
)

LIST = {"files": ["plans/.blocksMetadata/5e/ground floor.dxf/encodings.cbor"]}
ENCODINGS = {
    "blocks": ["Door 80*a1b2*1F", "Zimmertür***more*fields"],
    "shape": [[0.5] * 512, [1] + [0] * 511],
    "text": [[-0.5] * 384, [0] * 383 + [1.0]],
}
QUERY = {"shape": [[0.5] * 512], "text": [[0.5] * 384], "queryText": ["Door 80"]}
HIT = {
    "code": "a1b2",
    "distOrScore": 0.6,
    "dwgPath": "/plans/ground floor.dxf",
    "handle": "1F",
    "index": 0,
    "name": "Door 80",
    "shapeWeight": 0.4000000059604645,
    "textWeight": 0.6000000238418579,
}
TEXTS, NUMBERS = ("code", "handle", "name"), ("distOrScore", "index", "shapeWeight", "textWeight")
LOOSE_HIT = {key: HIT[key] for key in TEXTS + NUMBERS}
RESULT = {
    "blocks": [HIT],
    "stats": {
        "failedDrawings": 0,
        "resultBlocks": 1,
        "totalBlocks": 3,
        "totalDrawings": 1,
        "uniqueBlocks": 2,
    },
}
EXAMPLES = {"list": LIST, "encodings": ENCODINGS, "query": QUERY, "result": RESULT}

NUMBER = ("$defs", "number")
HIT_RULES = ("$defs", "hit", "properties")
STATS_RULES = ("properties", "stats", "properties")
GONE = object()

# The schema, where its example is broken and how, and the one rule that notices.
MISTAKES = [
    ("list", (), [], ("type",)),
    ("list", ("files",), GONE, ("required", "files")),
    ("list", ("files",), "plan.json", ("properties", "files", "type")),
    ("list", ("files",), [], ("properties", "files", "minItems")),
    ("list", ("files", 0), None, ("properties", "files", "items", "type")),
    ("list", ("files", 0), "plan.JSON", ("properties", "files", "items", "pattern")),
    ("list", ("files", 0), "plan.dxf", ("properties", "files", "items", "pattern")),
    ("list", ("files", 0), "plan/.json", ("properties", "files", "items", "pattern")),
    ("list", ("files", 0), "", ("properties", "files", "items", "pattern")),
    ("encodings", (), [[], [], []], ("type",)),
    ("encodings", ("blocks",), GONE, ("required", "blocks")),
    ("encodings", ("shape",), GONE, ("required", "shape")),
    ("encodings", ("text",), GONE, ("required", "text")),
    ("encodings", ("blocks",), "Door 80*a1b2*1F", ("properties", "blocks", "type")),
    ("encodings", ("shape",), None, ("properties", "shape", "type")),
    ("encodings", ("text",), {}, ("properties", "text", "type")),
    ("encodings", ("blocks", 0), 80, ("$defs", "key", "type")),
    ("encodings", ("blocks", 0), "Door 80*a1b2", ("$defs", "key", "pattern")),
    ("encodings", ("blocks", 0), "Door 80", ("$defs", "key", "pattern")),
    ("encodings", ("shape", 1), {}, ("$defs", "shapeVector", "type")),
    ("encodings", ("shape", 1), [0] * 511, ("$defs", "shapeVector", "minItems")),
    ("encodings", ("shape", 1), [0] * 513, ("$defs", "shapeVector", "maxItems")),
    ("encodings", ("text", 0), 0.5, ("$defs", "textVector", "type")),
    ("encodings", ("text", 0), [0] * 383, ("$defs", "textVector", "minItems")),
    ("encodings", ("text", 0), [0] * 512, ("$defs", "textVector", "maxItems")),
    ("encodings", ("text", 0, 7), "0.5", (*NUMBER, "type")),
    ("encodings", ("shape", 1, 511), None, (*NUMBER, "type")),
    ("encodings", ("shape", 1, 0), True, (*NUMBER, "type")),
    ("encodings", ("shape", 1, 0), -1e39, (*NUMBER, "minimum")),
    ("encodings", ("shape", 1, 0), 1e39, (*NUMBER, "maximum")),
    ("query", (), [QUERY], ("type",)),
    ("query", ("shape",), GONE, ("required", "shape")),
    ("query", ("text",), GONE, ("required", "text")),
    ("query", ("queryText",), GONE, ("required", "queryText")),
    ("query", ("shape",), 0.5, ("properties", "shape", "type")),
    ("query", ("shape",), [], ("properties", "shape", "minItems")),
    ("query", ("shape",), [[0] * 512] * 2, ("properties", "shape", "maxItems")),
    ("query", ("shape", 0), 0.5, ("properties", "shape", "items", "type")),
    ("query", ("shape", 0), [0] * 384, ("properties", "shape", "items", "minItems")),
    ("query", ("shape", 0), [0] * 513, ("properties", "shape", "items", "maxItems")),
    ("query", ("text",), "Door 80", ("properties", "text", "type")),
    ("query", ("text",), [], ("properties", "text", "minItems")),
    ("query", ("text",), [[0] * 384] * 2, ("properties", "text", "maxItems")),
    ("query", ("text", 0), "Door 80", ("properties", "text", "items", "type")),
    ("query", ("text", 0), [0] * 383, ("properties", "text", "items", "minItems")),
    ("query", ("text", 0), [0] * 512, ("properties", "text", "items", "maxItems")),
    ("query", ("text", 0, 0), [0.5], (*NUMBER, "type")),
    ("query", ("shape", 0, 0), -1e39, (*NUMBER, "minimum")),
    ("query", ("shape", 0, 0), 1e39, (*NUMBER, "maximum")),
    ("query", ("queryText",), "Door 80", ("properties", "queryText", "type")),
    ("query", ("queryText", 0), 80, ("properties", "queryText", "items", "type")),
    ("result", (), [HIT], ("type",)),
    ("result", ("blocks",), GONE, ("required", "blocks")),
    ("result", ("stats",), GONE, ("required", "stats")),
    ("result", ("queryType",), "Adaptive", ("additionalProperties",)),
    ("result", ("blocks",), {}, ("properties", "blocks", "type")),
    ("result", ("blocks",), [], ("properties", "blocks", "minItems")),
    ("result", ("blocks", 0), None, ("$defs", "hit", "type")),
    ("result", ("blocks", 0, "dwgPath"), GONE, ("$defs", "hit", "anyOf")),
    (
        "result",
        ("blocks", 0, "dwgPathHash"),
        "ground floor.dxf",
        ("$defs", "hit", "dependentSchemas"),
    ),
    ("result", ("blocks", 0, "rank"), 1, ("$defs", "hit", "additionalProperties")),
    *[
        ("result", ("blocks", 0, member), GONE, ("$defs", "hit", "required", member))
        for member in TEXTS + NUMBERS
    ],
    *[
        ("result", ("blocks", 0, member), 80, (*HIT_RULES, member, "type"))
        for member in (*TEXTS, "dwgPath")
    ],
    *[
        ("result", ("blocks", 0, member), "a*b", (*HIT_RULES, member, "pattern"))
        for member in TEXTS
    ],
    *[("result", ("blocks", 0, member), "0.5", (*HIT_RULES, member, "type")) for member in NUMBERS],
    *[("result", ("blocks", 0, member), -1, (*HIT_RULES, member, "minimum")) for member in NUMBERS],
    *[
        ("result", ("blocks", 0, member), 1.5, (*HIT_RULES, member, "maximum"))
        for member in ("shapeWeight", "textWeight")
    ],
    ("result", ("blocks", 0, "index"), 0.5, (*HIT_RULES, "index", "type")),
    (
        "result",
        ("blocks", 0, "dwgPath"),
        "plans/ground floor.dxf",
        (*HIT_RULES, "dwgPath", "pattern"),
    ),
    (
        "result",
        ("blocks", 0),
        {**LOOSE_HIT, "dwgPathHash": None},
        (*HIT_RULES, "dwgPathHash", "type"),
    ),
    (
        "result",
        ("blocks", 0),
        {**LOOSE_HIT, "dwgPathHash": "a/b"},
        (*HIT_RULES, "dwgPathHash", "pattern"),
    ),
    ("result", ("stats",), [0, 1, 3, 1, 2], ("properties", "stats", "type")),
    ("result", ("stats", "duplicatedBlocks"), 1, ("properties", "stats", "additionalProperties")),
    *[
        ("result", ("stats", member), GONE, ("properties", "stats", "required", member))
        for member in RESULT["stats"]
    ],
    *[
        ("result", ("stats", member), "1", (*STATS_RULES, member, "type"))
        for member in RESULT["stats"]
    ],
    *[
        ("result", ("stats", member), 1.5, (*STATS_RULES, member, "type"))
        for member in RESULT["stats"]
    ],
    *[
        ("result", ("stats", member), -1, (*STATS_RULES, member, "minimum"))
        for member in RESULT["stats"]
    ],
    ("result", ("stats", "totalDrawings"), 0, (*STATS_RULES, "totalDrawings", "minimum")),
]


def accepts(schema, document):
    return jsonschema.Draft202012Validator(schema).is_valid(document)


def at(tree, path):
    for key in path:
        tree = tree[key]
    return tree


def changed(document, path, value):
    """A copy with the value, or with nothing, in that place."""
    if not path:
        return value
    document = copy.deepcopy(document)
    place = at(document, path[:-1])
    if value is GONE:
        del place[path[-1]]
    else:
        place[path[-1]] = value
    return document


def without(schema, rule):
    schema = copy.deepcopy(schema)
    place = at(schema, rule[:-1])
    if isinstance(place, list):
        place.remove(rule[-1])
    else:
        del place[rule[-1]]
    return schema


def rules(schema, path=()):
    """The paths of all that can refuse a document; of `required`, each name is one."""
    for key, value in schema.items():
        if key == "required":
            yield from ((*path, key, name) for name in value)
        elif key in RULES:
            yield (*path, key)
        elif key == "items":
            yield from rules(value, (*path, key))
        elif key in ("properties", "$defs"):
            for name, inner in value.items():
                yield from rules(inner, (*path, key, name))


def members(schema):
    """All schemas in a schema that are about a value of the document, by name."""
    for name, inner in [*schema.get("properties", {}).items(), *schema.get("$defs", {}).items()]:
        yield name, inner
        yield from members(inner)
    if "items" in schema:
        yield "items", schema["items"]
        yield from members(schema["items"])


class Schemas(unittest.TestCase):
    def assertAccepted(self, name, document):
        jsonschema.validate(document, SCHEMAS[name], jsonschema.Draft202012Validator)

    def test_are_schemas(self):
        for name, schema in SCHEMAS.items():
            with self.subTest(name):
                self.assertEqual(schema["$schema"], "https://json-schema.org/draft/2020-12/schema")
                jsonschema.Draft202012Validator.check_schema(schema)

    def test_describe_every_value(self):
        silent = [
            (name, member)
            for name, schema in SCHEMAS.items()
            for member, inner in [("", schema), *members(schema)]
            if not ("$ref" in inner or inner.get("description", "").endswith("."))
        ]
        self.assertEqual(silent, [])

    def test_accept_what_makes_the_mistakes(self):
        for name, document in EXAMPLES.items():
            with self.subTest(name):
                self.assertAccepted(name, document)

    def test_accept_every_form_of_a_document(self):
        for name, place, value in [
            ("list", ("files",), ["a.json", "b.bson", "c.cbor", "d.msgpack", "e.ubj", "../f.jdb"]),
            ("list", ("remark",), "further members are ignored"),
            ("encodings", (), {"blocks": [], "shape": [], "text": []}),
            ("query", ("queryText",), []),
            ("query", ("queryText",), ["one", "two"]),
            ("result", ("blocks",), None),
            ("result", ("blocks", 0, "dwgPath"), r"C:\plans\ground floor.dxf"),
            ("result", ("blocks", 0, "dwgPath"), r"\\server\plans\ground floor.dxf"),
            ("result", ("blocks", 0, "distOrScore"), None),
        ]:
            with self.subTest((name, place, value)):
                self.assertAccepted(name, changed(EXAMPLES[name], place, value))

    def test_accept_the_documents_of_the_sample(self):
        documents = [("list", SAMPLE / "filelist.json")]
        documents += [("query", path) for path in SAMPLE.glob("queries/*")]
        documents += [
            ("encodings", SAMPLE / path)
            for path in json.loads(documents[0][1].read_text())["files"]
        ]
        self.assertEqual(len(documents), 1 + 5 + 39)
        for name, path in documents:
            with self.subTest(path):
                self.assertAccepted(name, read_document(path))

    def test_accept_documents_of_other_encoders(self):
        for extension in READERS:
            documents = [
                ("list", DATA / extension / f"list.{extension}"),
                ("query", DATA / extension / f"query.{extension}"),
                *(("encodings", path) for path in (DATA / extension).rglob("encodings.*")),
            ]
            self.assertEqual(len(documents), 4)
            for name, path in documents:
                with self.subTest(path):
                    self.assertAccepted(name, read_document(path))

    def test_accept_the_results_of_all_methods_in_all_formats(self):
        for method in METHODS:
            documents = {
                extension: self.result_of(extension, "/method", method) for extension in READERS
            }
            self.assertGreater(len(documents["json"]["blocks"]), 2)
            for extension, document in documents.items():
                with self.subTest((method, extension)):
                    self.assertAccepted("result", document)
                    self.assertEqual(document, documents["json"])

    def test_accept_results_without_hits(self):
        for extension in READERS:
            with self.subTest(extension):
                document = self.result_of(extension, "/min", "2")
                self.assertIsNone(document["blocks"])
                self.assertAccepted("result", document)

    def test_accept_results_of_loose_files(self):
        document = self.result_of(
            "json",
            "/method",
            "text",
            "/min",
            "-9",
            folder=DATA / "json",
            files="list.json",
            query="query.json",
        )
        self.assertEqual(
            {hit.get("dwgPathHash") for hit in document["blocks"]}, {None, "wipeout_door.dxf"}
        )
        self.assertAccepted("result", document)

    def result_of(
        self,
        extension,
        *options,
        folder=SAMPLE,
        files="filelist.json",
        query="queries/1-door-23-3.json",
    ):
        with tempfile.TemporaryDirectory() as output:
            path = Path(output, f"result.{extension}")
            status, console = run_query(
                *options, folder=folder, files=files, query=query, output=path
            )
            self.assertEqual(status, 0, console)
            return read_document(path)


class Mistakes(unittest.TestCase):
    def test_are_refused_by_the_one_rule_that_is_there_for_them(self):
        for name, place, value, rule in MISTAKES:
            with self.subTest((name, place, str(value)[:40])):
                document = changed(EXAMPLES[name], place, value)
                self.assertFalse(accepts(SCHEMAS[name], document))
                self.assertTrue(accepts(without(SCHEMAS[name], rule), document), f"without {rule}")

    def test_are_planted_for_every_rule(self):
        planted = {(name, rule) for name, _, _, rule in MISTAKES}
        self.assertEqual(
            {(name, rule) for name, schema in SCHEMAS.items() for rule in rules(schema)}, planted
        )


if __name__ == "__main__":
    unittest.main()
