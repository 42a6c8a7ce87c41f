"""Rates of the methods, on answers whose ranks are known, and the table of the sample."""
import re
import tempfile
import unittest
from pathlib import Path

from support import PROGRAM, ROOT, SAMPLE, query, run_tools, write_json

from quillon_tools.evaluate import rates

PAGE = (ROOT / "docs/reading-the-hits.md").read_text("utf-8")


def near(width, cosine):
    """A unit vector of this cosine to the first axis."""
    return [cosine, (1 - cosine ** 2) ** 0.5] + [0.0] * (width - 2)


class Evaluate(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        count = 12
        cosines = [1 - number / 100 for number in range(1, count + 1)]
        write_json(self.folder / "e.json", {
            "blocks": [f"n{number}*c{number}*{number}" for number in range(1, count + 1)],
            "shape": [near(512, cosine) for cosine in cosines],
            "text": [near(384, cosine) for cosine in reversed(cosines)]})
        write_json(self.folder / "list.json", {"files": ["e.json"]})
        for name in ["a", "b", "c"]:
            write_json(self.folder / f"q/{name}.json", query())

    def evaluate(self, answers, *options):
        write_json(self.folder / "answers.json", answers)
        return run_tools("evaluate", "answers.json", "--list", "list.json", "--program", PROGRAM,
                         *options, folder=self.folder)

    def test_rates_by_method_and_topk(self):
        answers = {"q/a.json": ["n1", "n7"], "q/b.json": ["c4"], "q/c.json": ["c12", "n8"]}
        status, text, errors = self.evaluate(answers, "--methods", "shape", "text", "--topk", "3",
                                             "12", "--table", "csv")
        self.assertEqual((status, errors), (0, ""))
        self.assertEqual([line.rsplit(",", 1)[0] for line in text.splitlines()], [
            "method,topk,hit@1,hit@5,hit@10,MRR",
            "shape,3,0.333,0.333,0.333,0.333",  # ranks 1, none, none
            "shape,12,0.333,0.667,1.0,0.458",  # ranks 1, 4, 8
            "text,3,0.333,0.333,0.333,0.333",  # ranks none, none, 1
            "text,12,0.333,0.333,1.0,0.426"])  # ranks 6, 9, 1

    def test_rates_of_ranks(self):
        self.assertEqual(rates([1, 2, 10, 11, None]), [0.2, 0.4, 0.6, 0.338])

    def test_queries_lie_beside_the_answers(self):
        write_json(self.folder / "sub/answers.json", {"../q/a.json": ["n1"]})
        self.assertEqual(run_tools("evaluate", "sub/answers.json", "--list", "list.json",
                                   "--program", PROGRAM, "--methods", "shape", "--topk", 1,
                                   folder=self.folder)[0], 0)

    def test_mistakes_have_a_message(self):
        for answers, message in [
                ([], "answers.json: is no object with queries and their answers"),
                ({"q/a.json": "n1"}, "answers.json: the answers of q/a.json are no array of texts"),
                ({"lost.json": ["n1"]}, "lost.json: fail to open input file: lost.json")]:
            self.assertEqual(self.evaluate(answers),
                             (1, "", f"quillon-tools evaluate: {message}\n"))

    def test_table_in_the_documents_is_that_of_the_sample(self):
        command = re.search(r"^quillon-tools (evaluate .*)$", PAGE, re.MULTILINE)[1]
        status, text, errors = run_tools(*command.split(), "--program", PROGRAM, folder=SAMPLE)
        self.assertEqual((status, errors), (0, ""))
        without_time = [line.rsplit("|", 2)[0] for line in text.splitlines()]
        self.assertEqual(without_time, [line.rsplit("|", 2)[0] for line in PAGE.splitlines()
                                        if line.startswith("|")])


if __name__ == "__main__":
    unittest.main()
