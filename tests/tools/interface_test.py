"""The help, the manual page and the completion against the parser of every verb."""
import argparse
import os
import re
import shlex
import subprocess
import unittest
from importlib import import_module

from support import ROOT, run_tools

from quillon_tools.cli import VERBS

PAGE = (ROOT / "docs/quillon-tools.1.in").read_text("utf-8")
COMPLETION = ROOT / "packaging/completions/quillon-tools.bash"


def actions(verb):
    """The options of a verb as the parser has them, without --help."""
    parser = argparse.ArgumentParser()
    import_module("quillon_tools." + verb.replace("-", "_")).add_arguments(parser)
    return [action for action in parser._actions
            if action.option_strings and action.dest != "help"]


def complete(*words):
    script = (f". {shlex.quote(str(COMPLETION))}; COMP_WORDS=({shlex.join(words)}); "
              f"COMP_CWORD={len(words) - 1}; _quillon_tools; printf '%s\\n' \"${{COMPREPLY[@]}}\"")
    return subprocess.run(["bash", "-c", script], cwd=ROOT, check=True, capture_output=True,
                          text=True).stdout.split()


class Help(unittest.TestCase):
    def test_names_all_verbs_and_has_examples(self):
        status, text, errors = run_tools("--help", environment={"COLUMNS": "120"})
        self.assertEqual((status, errors), (0, ""))
        for verb, line in VERBS.items():
            self.assertIn(line, text)
            status, help_of_verb, errors = run_tools(verb, "--help")
            self.assertEqual((status, errors), (0, ""))
            self.assertIn(f"examples:\n  quillon-tools {verb} ", help_of_verb)

    def test_wrong_usage_has_status_2(self):
        for words in [[], ["chek"], ["check", "--jsno", "x"], ["run", "q"]]:
            status, text, errors = run_tools(*words)
            self.assertEqual((status, text), (2, ""))
            self.assertNotIn("Traceback", errors)

    def test_missing_package_has_a_message(self):
        ended = subprocess.run(  # without the folder of Debian's packages
            ["/usr/bin/python3", "-S", "-m", "quillon_tools", "check", "x"], check=False,
            capture_output=True, text=True, env={"PYTHONPATH": str(ROOT / "tools")})
        self.assertEqual((ended.returncode, ended.stdout, ended.stderr), (
            1, "", "quillon-tools check: the Python package numpy is not installed\n"))

    def test_output_that_nobody_reads_is_no_mistake(self):
        read, write = os.pipe()
        os.close(read)
        ended = subprocess.run(
            ["/usr/bin/python3", "-m", "quillon_tools", "--version"], stdout=write, check=False,
            stderr=subprocess.PIPE, env={**os.environ, "PYTHONPATH": str(ROOT / "tools")})
        os.close(write)
        self.assertNotIn(b"Traceback", ended.stderr)


class Manual(unittest.TestCase):
    def test_has_every_verb_and_option(self):
        sections = re.findall(r"^\.SS ([^\n]*)\n(.*?)(?=^\.S[SH] )", PAGE.replace("\\-", "-"),
                              re.MULTILINE | re.DOTALL)
        self.assertEqual([name for name, _ in sections], list(VERBS))
        for verb, text in sections:
            self.assertEqual(re.findall(r"^\.TP\n\.BI? (--\S+)", text, re.MULTILINE),
                             [action.option_strings[0] for action in actions(verb)])

    def test_pleases_its_formatters(self):
        page = PAGE.replace("@releaseDate@", "2026-11-21").replace("@PROJECT_VERSION@", "0.1.0")
        for command in (["mandoc", "-T", "lint", "-W", "style"],
                        ["groff", "-man", "-ww", "-z", "-K", "utf8"]):
            ended = subprocess.run(command, input=page, capture_output=True, text=True, check=False)
            self.assertEqual((ended.returncode, ended.stdout, ended.stderr), (0, "", ""), command)


class Completion(unittest.TestCase):
    def test_has_every_verb_and_option(self):
        self.assertEqual(complete("quillon-tools", ""), [*VERBS, "--help", "--version"])
        for verb in VERBS:
            self.assertEqual(complete("quillon-tools", verb, "--"),
                             [*[action.option_strings[0] for action in actions(verb)], "--help"])

    def test_has_the_words_of_options(self):
        for verb in VERBS:
            for action in actions(verb):
                if action.choices:
                    self.assertEqual(
                        complete("quillon-tools", verb, action.option_strings[0], ""),
                        list(action.choices))

    def test_has_files(self):
        self.assertEqual(complete("quillon-tools", "check", "CMakeL"), ["CMakeLists.txt"])


if __name__ == "__main__":
    unittest.main()
