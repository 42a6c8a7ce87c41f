"""The commands and snippets of the documents do what the documents say.

The code blocks of one section are run in order in one fresh folder, in which `quillon` is the
program under test. A section with commands stands in RUN, with what fills its folder, or in
RUN_ELSEWHERE, or each of its commands stands in NOT_RUN with the reason; a new one that stands in
none fails the test.
"""
import os
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

from program import PROGRAM, ROOT

DOCUMENTS = [
    ROOT / "README.md",
    ROOT / "CONTRIBUTING.md",
    *sorted([*ROOT.glob("docs/**/*.md"), *ROOT.glob("examples/**/*.md")]),
]


def nothing(folder):
    """The section makes its own files."""


def checkout(folder):
    """The section is about files of the repository, by their places in it."""
    for name in ("docs", "examples", "scripts"):
        (folder / name).symlink_to(ROOT / name)


RUN = {("README.md", "Your own blocks"): nothing}

# Sections whose commands other tests run, with more than one library.
RUN_ELSEWHERE = {
    ("docs/scaling.md", "Many queries"): "tests/tools/run_test.py",
    ("docs/scaling.md", "A library in parts"): "tests/tools/run_test.py",
    ("examples/dxf/README.md", "Drawings for the example encoder"): "tests/tools/encode_dxf_test.py",
    ("docs/reading-the-hits.md", "Reading the hits"): "tests/tools/chart_test.py",
    ("docs/reading-the-hits.md", "The methods on the sample"): "tests/tools/evaluate_test.py",
}

CI = "a step of .ci/run"
NOT_RUN = {
    "./scripts/demo.sh": CI,
    "./scripts/test.sh": CI,
    "./scripts/test.sh asan tsan": CI,
    "./scripts/lint.sh": CI,
    "./scripts/build-windows.sh": CI,
    "./scripts/test-windows.sh": CI,
    "./scripts/package-windows.sh": "scripts/check-windows-package.sh starts with it",
    "./scripts/check-windows-package.sh": CI,
    "MSYS_NO_PATHCONV=1 ./quillon.exe /filelist filelist.json /encode query.json /output result.json":
        "for Windows alone",
    "./scripts/fuzz.sh paths 600": CI,
    "./scripts/bench.sh --full process load search growth": CI,
    "./scripts/coverage.sh": "builds everything once more, for numbers that nothing judges",
    "./.ci/run": "runs this test",
    "./scripts/check-package.sh": CI,
    "./scripts/package.sh": "scripts/check-package.sh starts it",
    "sudo apt install ./build/packages/quillon_*_amd64.deb": "scripts/check-package.sh does the same",
    "sudo apt install ./build/packages/quillon-tools_*_all.deb":
        "scripts/check-package.sh does the same",
    "cmake --preset release && cmake --build --preset release && "
    "cmake --install build/release --prefix ~/.local": "scripts/check-install.sh does the same",
}

# What stands in code blocks of these languages is not tried here. All others hold commands, and those
# in sh and python can be run.
NO_COMMANDS = {
    "": "what something prints",
    "json": "a document",
    "bat": "for Windows alone",
    "powershell": "for Windows alone",
    "csharp": "a piece of a program",
}
LOOKS_LIKE_A_COMMAND = re.compile(r"\s*(\$ |\./|\.ci/|scripts/|quillon /|cmake |sudo |apt)")


def code_blocks(document):
    """The fenced blocks, each as its section, its language and its text."""
    blocks, section, language, lines = [], "", None, []
    for line in document.read_text().splitlines():
        if line.startswith("```") and language is None:
            language, lines = line[3:].strip(), []
        elif line.startswith("```"):
            blocks.append((section, language, "\n".join(lines) + "\n"))
            language = None
        elif language is not None:
            lines.append(line)
        elif line.startswith("#"):
            section = line.lstrip("#").strip()
    return blocks


def commands(text):
    """The lines of a block without comments, continued ones joined."""
    lines = re.sub(r"\\\n\s*", "", text).splitlines()
    return [line for line in (re.sub(r"(^|\s+)#.*", "", line) for line in lines) if line]


def name_of(document):
    return str(document.relative_to(ROOT))


def sections_to_run():
    """The blocks of each section in RUN, as (language, text) pairs in order."""
    sections = {}
    for document in DOCUMENTS:
        for section, language, text in code_blocks(document):
            if language not in NO_COMMANDS and (name_of(document), section) in RUN:
                sections.setdefault((name_of(document), section), []).append((language, text))
    return sections


def run_section(key, folder):
    """Runs its blocks in the folder. Each has to succeed and leave standard error silent."""
    (folder / ".bin").mkdir()
    (folder / ".bin/quillon").symlink_to(PROGRAM)
    environment = {**os.environ, "PATH": f"{folder / '.bin'}:/usr/bin:/bin"}
    RUN[key](folder)
    for language, text in sections_to_run()[key]:
        start = {"sh": ["bash", "-euo", "pipefail", "-c"], "python": ["/usr/bin/python3", "-c"]}[
            language
        ]
        ended = subprocess.run(
            [*start, text], cwd=folder, env=environment, capture_output=True, check=False
        )
        if ended.returncode != 0 or ended.stderr:
            raise AssertionError(
                f"{key}, status {ended.returncode}\n{text}"
                f"{ended.stdout.decode(errors='replace')}{ended.stderr.decode(errors='replace')}"
            )


class Commands(unittest.TestCase):
    def test_are_run_or_have_a_reason(self):
        unknown = [
            (name_of(document), section, command)
            for document in DOCUMENTS
            for section, language, text in code_blocks(document)
            if language not in NO_COMMANDS
            and (name_of(document), section) not in {**RUN, **RUN_ELSEWHERE}
            for command in commands(text)
            if command not in NOT_RUN
        ]
        self.assertEqual(unknown, [])

    def test_of_the_tables_are_in_the_documents(self):
        all_blocks = [
            (name_of(document), *block) for document in DOCUMENTS for block in code_blocks(document)
        ]
        written = {command for *_, text in all_blocks for command in commands(text)}
        self.assertEqual(set(NOT_RUN) - written, set())
        self.assertEqual(set(RUN) - set(sections_to_run()), set())
        sections = {(name_of(document), block[0])
                    for document in DOCUMENTS for block in code_blocks(document)}
        self.assertEqual(set(RUN_ELSEWHERE) - sections, set())

    def test_hide_in_no_other_block(self):
        hidden = [
            (name_of(document), line)
            for document in DOCUMENTS
            for _, language, text in code_blocks(document)
            if language in NO_COMMANDS
            for line in text.splitlines()
            if LOOKS_LIKE_A_COMMAND.match(line)
        ]
        hidden += [
            (name_of(document), line)
            for document in DOCUMENTS
            for line in document.read_text().splitlines()
            if line.startswith("    ") and LOOKS_LIKE_A_COMMAND.match(line)
        ]
        self.assertEqual(hidden, [])

    def test_that_ci_is_to_run_are_in_it(self):
        steps = (ROOT / ".ci/run").read_text()
        for command in (command for command, reason in NOT_RUN.items() if reason is CI):
            with self.subTest(command):
                self.assertIn("step " + command.split()[0].removeprefix("./"), steps)

    def test_succeed(self):
        for key in sections_to_run():
            with self.subTest(key), tempfile.TemporaryDirectory() as folder:
                run_section(key, Path(folder))


class Readme(unittest.TestCase):
    def test_shows_the_result_of_its_own_search(self):
        key = ("README.md", "Your own blocks")
        shown = [
            text
            for section, language, text in code_blocks(ROOT / "README.md")
            if (section, language) == (key[1], "json")
        ]
        with tempfile.TemporaryDirectory() as folder:
            run_section(key, Path(folder))
            self.assertEqual([Path(folder, "result.json").read_text() + "\n"], shown)


class Links(unittest.TestCase):
    def test_lead_to_files(self):
        links = [
            (document, link.split("#")[0])
            for document in DOCUMENTS
            for link in re.findall(r"\]\(([^)\s]+)\)", document.read_text())
            if not link.startswith(("http", "#", "mailto"))
        ]
        self.assertGreater(len(links), 5)
        self.assertEqual(
            [
                (name_of(document), link)
                for document, link in links
                if not (document.parent / link).exists()
            ],
            [],
        )


if __name__ == "__main__":
    unittest.main()
