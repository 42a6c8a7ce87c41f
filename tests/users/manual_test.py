"""Compares the manual page with the program's sources, and checks it with two formatters."""
import os
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

from interface import extensions, methods, options
from program import PROGRAM, ROOT, SAMPLE

PAGE = (ROOT / "docs/quillon.1.in").read_text(encoding="utf-8")
HITS = ("0.023494062945246696\tDoor 23_4\n"
        "0.025388626381754875\tDoor 23_2\n"
        "0.03143298253417015\tDoor 23_6\n")


def section(name):
    """Returns the source lines of a section, with plain hyphens."""
    return re.search(rf"^\.SH {name}\n(.*?)(?=^\.SH |\Z)", PAGE, re.M | re.S)[1].replace(r"\-", "-")


class Manual(unittest.TestCase):
    def test_has_the_options_of_the_parser(self):
        described = re.findall(r'^\.TP\n\.BI? (/\S+)(?: (" [A-Z]+"))?$', section("OPTIONS"), re.M)
        self.assertEqual(len(described), 9)
        self.assertEqual({name: value != "" for name, value in described}, options())

    def test_has_the_methods_of_the_parser(self):
        self.assertEqual(re.findall(r"^\.TP\n\.B (\w+)$", section("METHODS"), re.M), methods())

    def test_has_the_formats_of_the_program(self):
        described = re.findall(r"^\.BR? (\.\w+)", section("FORMATS"), re.M)
        self.assertEqual(sorted(described), extensions())

    def test_has_examples_that_run(self):
        examples = re.findall(r"^\.nf\n\.RS\n(.*?)\.RE\n\.fi$", section("EXAMPLES"), re.M | re.S)
        script = "\n".join(examples).replace(r"\e", "\\").replace(r"\(aq", "'")
        with tempfile.TemporaryDirectory() as folder:
            for entry in SAMPLE.iterdir():
                Path(folder, entry.name).symlink_to(entry)
            Path(folder, "query.json").symlink_to(SAMPLE / "queries/1-door-23-3.json")
            Path(folder, "bin").mkdir()
            Path(folder, "bin/quillon").symlink_to(PROGRAM)
            ended = subprocess.run(["sh", "-ec", script], cwd=folder, capture_output=True, text=True,
                                   check=True, env={**os.environ, "PATH": f"{folder}/bin:{os.defpath}"})
        self.assertEqual(ended.stdout.split("successfully!\n")[1], HITS)

    def test_pleases_its_formatters(self):
        filled = PAGE.replace("@releaseDate@", "2026-11-21").replace("@PROJECT_VERSION@", "0.1.0")
        with tempfile.TemporaryDirectory() as folder:
            page = Path(folder, "quillon.1")
            page.write_text(filled, encoding="utf-8")
            for command in (["mandoc", "-T", "lint", "-W", "style"],
                            ["groff", "-man", "-ww", "-z", "-K", "utf8"]):
                ended = subprocess.run([*command, page], capture_output=True, text=True, check=False)
                self.assertEqual((ended.returncode, ended.stdout, ended.stderr), (0, "", ""), command)


if __name__ == "__main__":
    unittest.main()
