"""The script that measures docs/scaling.md runs, and prints the tables of the page."""
import contextlib
import io
import re
import sys
import tempfile
import unittest
from unittest import mock

from program import PROGRAM, ROOT

sys.path.append(str(ROOT / "bench"))
import throughput  # noqa: E402, found by the line above

NUMBER = r"[\d,]+(\.\d\d)?"


def heads_of(text):
    """The first lines of the tables."""
    return re.findall(r"^(\|.*)\n\| ?---", text, re.MULTILINE)


class Throughput(unittest.TestCase):
    def test_measures_the_tables_of_the_page(self):
        printed = io.StringIO()
        with tempfile.TemporaryDirectory() as folder, \
                mock.patch.multiple(throughput, ROUNDS=1, SERIES_SECONDS=0.001), \
                mock.patch.object(sys, "argv", ["throughput.py", PROGRAM, folder, "100"]), \
                contextlib.redirect_stdout(printed):
            throughput.main()
        text = printed.getvalue()
        self.assertEqual(heads_of(text),
                         heads_of((ROOT / "docs/scaling.md").read_text("utf-8")))
        rows = [line for line in text.splitlines() if line.startswith("| 100 |")]
        for row, method in zip(rows, ["shape", "adaptive"] * 2, strict=True):
            self.assertRegex(row, rf"^\| 100 \| {method} ")
            self.assertRegex(row, rf"(\| (under )?{NUMBER}( s| MB)? )+\|$")
            self.assertNotRegex(row, r"\| 0[ .]\|")


if __name__ == "__main__":
    unittest.main()
