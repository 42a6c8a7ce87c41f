"""The commands of docs/scaling.md, on a library in four parts that is searched whole as well."""
import json
import os
import random
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

import cbor2
from program import PROGRAM, ROOT, run_query

PARTS = 4
COMMANDS = re.findall(r"```sh\n(.*?)```", (ROOT / "docs/scaling.md").read_text("utf-8"), re.DOTALL)
MANY_QUERIES, SPLIT, SEARCH_AND_MERGE, SLURM_SCRIPT, SLURM_SUBMIT = COMMANDS

# Runs the tasks of an array one after the other and ends like the worst of them.
SBATCH = """#!/bin/bash
worst=0
for SLURM_ARRAY_TASK_ID in $(seq 0 "${2#--array=0-}"); do
    export SLURM_ARRAY_TASK_ID SLURM_CPUS_PER_TASK=2
    bash "$3" > /dev/null || worst=$?
done
exit $worst
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


class Scaling(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        (self.folder / "scripts").symlink_to(ROOT / "scripts")
        (self.folder / "quillon").symlink_to(PROGRAM)
        (self.folder / "sbatch").write_text(SBATCH)
        (self.folder / "sbatch").chmod(0o755)
        self.write("query.json",
                   {"shape": [QUERY["shape"]], "text": [QUERY["text"]], "queryText": ["door"]})

    def write(self, name, document):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(json.dumps(document), encoding="utf-8")

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
        self.write("filelist.json", {"files": [f"library/drawing-{number}/encodings.cbor"
                                               for number in range(len(drawings))]})

    def shell(self, command, replaced=()):
        """Runs the command with the pairs of options replaced in it."""
        for old, new in replaced:
            self.assertIn(old, command)
            command = command.replace(old, new)
        return subprocess.run(["bash", "-c", command], cwd=self.folder, check=False,
                              capture_output=True, text=True,
                              env=os.environ | {"PATH": f"{self.folder}:{os.environ['PATH']}",
                                                "HOME": str(self.folder)})

    def document(self, name="result.json"):
        return json.loads((self.folder / name).read_text("utf-8"))

    def search_parts(self, method, k, options="", merge_options=""):
        """Splits the library, searches the parts and merges their results into result.json."""
        self.assertEqual(self.shell("rm -rf parts; " + SPLIT).returncode, 0)
        parts = [self.document(path)["files"] for path in sorted(self.folder.glob("parts/list/*"))]
        self.assertEqual(len(parts), PARTS)
        self.assertEqual(sum(parts, []), self.document("filelist.json")["files"])
        return self.shell(SEARCH_AND_MERGE, [
            ("/method shape", f"/method {method} {options}"), ("/topk 5", f"/topk {k}"),
            ("--argjson k 5", f"--argjson k {k} {merge_options}")])

    def merged(self, *arguments):
        ended = self.search_parts(*arguments)
        self.assertEqual((ended.returncode, ended.stderr), (0, ""))
        return self.document()

    def whole(self, method, k, options=""):
        status, _ = run_query("/method", method, "/topk", k, *options.split(), folder=self.folder,
                              output="whole.json")
        self.assertEqual(status, 0)
        return self.document("whole.json")

    def check_merge_is_exact(self, *arguments, merge_options=""):
        """But for the rows of the hits, and for how often the codes in several parts count."""
        merged, whole = self.merged(*arguments, merge_options), self.whole(*arguments)
        self.assertEqual(without_rows(merged["blocks"]), without_rows(whole["blocks"]))
        for document in [merged, whole]:
            del document["stats"]["uniqueBlocks"]
        self.assertEqual(merged["stats"], whole["stats"])
        return whole["blocks"]

    def test_shape_and_text_merge_exactly(self):
        self.write_library(made_up_drawings(drawings=10, blocks=30, copies=60))
        for method, options in [("shape", ""), ("text", "/min -3")]:
            for k in [1, 5, 40, 150, -1]:
                with self.subTest(method=method, k=k):
                    hits = self.check_merge_is_exact(method, k, options)
            distances = [hit["distOrScore"] for hit in hits]
            self.assertGreater(len(distances), 50)
            self.assertGreater(len(set(distances)), 1)

    def test_copies_that_are_kept_merge_exactly(self):
        self.write_library(made_up_drawings(drawings=10, blocks=30, copies=60))
        for k in [5, -1]:
            hits = self.check_merge_is_exact("shape", k, "/no-dedup",
                                             merge_options="--argjson dedup false")
        self.assertLess(len({hit["code"] for hit in hits}), len(hits))

    def test_no_hits_merge_into_null(self):
        self.write_library([[(f"C{i}", FAR, OTHER_TEXT)] for i in range(4)])
        self.assertEqual(self.check_merge_is_exact("shape", 5), None)

    def test_rows_and_unique_blocks_are_those_of_the_parts(self):
        near = [(f"C{i}", NEAR, QUERY["text"]) for i in range(4)]
        self.write_library([near[:1], near[1:2], near[2:3], [near[0], near[3]]])
        merged, whole = self.merged("shape", 5), self.whole("shape", 5)
        self.assertEqual([hit["index"] for hit in merged["blocks"]], [0, 0, 0, 1])
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
        self.assertEqual(without_rows(merged[:3]), without_rows(whole))
        self.assertEqual(without_rows(merged),
                         without_rows(self.whole("shape", 7)["blocks"]))
        self.check_merge_is_exact("text", 5, "/min -3")

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
        self.write_library(made_up_drawings(drawings=10, blocks=30, copies=0))
        ended = self.search_parts("adaptive", 5)
        self.assertEqual((ended.returncode, ended.stderr.split(": ", 2)[2]),
                         (5, "results of /method adaptive do not merge\n"))
        self.assertNotEqual(without_rows(self.merged("simple", 5)["blocks"]),
                            without_rows(self.whole("simple", 5)["blocks"]))

    def test_a_part_that_fails_is_not_merged(self):
        self.write_library([[("C1", NEAR, OTHER_TEXT)]] * 3 + [[]])
        for search in [SEARCH_AND_MERGE, SLURM_SUBMIT]:
            self.assertEqual(self.shell("rm -rf parts; " + SPLIT).returncode, 0)
            (self.folder / "search-part.sh").write_text(SLURM_SCRIPT)
            self.assertEqual(self.shell(search).returncode, 1)
            self.assertFalse((self.folder / "result.json").exists())

    def test_an_array_of_jobs_does_the_same(self):
        self.write_library(made_up_drawings(drawings=10, blocks=30, copies=60))
        by_parallel = self.merged("shape", 5)
        self.assertEqual(self.shell("rm -rf parts result.json; " + SPLIT).returncode, 0)
        (self.folder / "search-part.sh").write_text(SLURM_SCRIPT)
        ended = self.shell(SLURM_SUBMIT)
        self.assertEqual((ended.returncode, ended.stderr), (0, ""))
        self.assertEqual(self.document(), by_parallel)

    def test_many_queries_give_what_each_gives_alone(self):
        self.write_library(made_up_drawings(drawings=10, blocks=30, copies=60))
        for number in range(3):
            self.write(f"queries/{number}.json",
                       {"shape": [unit_vector(512, range(number, number + 4))],
                        "text": [QUERY["text"]], "queryText": ["door"]})
        ended = self.shell(MANY_QUERIES)
        self.assertEqual((ended.returncode, ended.stderr), (0, ""))
        for number in range(3):
            self.assertEqual(run_query(folder=self.folder, query=f"queries/{number}.json",
                                       output="alone.json")[0], 0)
            self.assertEqual(self.document(f"results/{number}.json"), self.document("alone.json"))
            self.assertIn("run successfully!",
                          (self.folder / f"consoles/{number}.txt").read_text())
        self.assertNotEqual(self.document("results/0.json"), self.document("results/2.json"))

        self.write("queries/3.json", {})
        self.assertEqual(self.shell(MANY_QUERIES).returncode, 1)


def codes(hits):
    return [hit["code"] for hit in hits]


def without_rows(hits):
    return hits and [{key: value for key, value in hit.items() if key != "index"} for hit in hits]


if __name__ == "__main__":
    unittest.main()
