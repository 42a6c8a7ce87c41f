"""Runs the completions in their shells, and compares them with the program's sources."""
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

from interface import extensions, methods, options
from program import ROOT

COMPLETIONS = ROOT / "packaging/completions"
FILES = ["a.bson", "a.cbor", "a.csv", "a.jdb", "a.json", "a.msgpack", "a.ubj", "b c.json", "json"]


def offered_by_bash(folder, *words):
    """Returns what bash offers for the last of the words after the program's name, sorted."""
    script = """
        set -u
        source "$1"
        shift
        COMP_WORDS=(quillon "$@")
        COMP_CWORD=$#
        _quillon quillon "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
        [ ${#COMPREPLY[@]} -eq 0 ] || printf '%s\\n' "${COMPREPLY[@]}"
    """
    ended = subprocess.run(
        ["bash", "--norc", "-c", script, "bash", COMPLETIONS / "quillon.bash", *words],
        cwd=folder, capture_output=True, text=True, check=True)
    if ended.stderr:
        raise AssertionError(ended.stderr)
    return sorted(ended.stdout.splitlines())


def offered_by_fish(folder, line):
    """Returns what fish offers for the line, sorted and without descriptions."""
    ended = subprocess.run(
        ["fish", "--no-config", "-c", f"source {COMPLETIONS}/quillon.fish; complete -C '{line}'"],
        cwd=folder, capture_output=True, text=True, check=True)
    if ended.stderr:
        raise AssertionError(ended.stderr)
    return sorted(offer.split("\t")[0] for offer in ended.stdout.splitlines())


class Completion(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = Path(temporary.name)
        (self.folder / "drawings").mkdir()
        for name in FILES:
            (self.folder / name).touch()
        self.documents = ["b c.json", "drawings", *("a" + extension for extension in extensions())]


class Bash(Completion):
    def test_offers_the_options_of_the_parser(self):
        self.assertEqual(offered_by_bash(self.folder, ""), sorted(options()))
        self.assertEqual(offered_by_bash(self.folder, "/"), sorted(options()))
        self.assertEqual(offered_by_bash(self.folder, "/m"), ["/method", "/min"])
        self.assertEqual(offered_by_bash(self.folder, "/no-d"), ["/no-dedup"])
        self.assertEqual(offered_by_bash(self.folder, "/etc/pass"), [])

    def test_offers_the_methods_of_the_parser(self):
        self.assertEqual(offered_by_bash(self.folder, "/method", ""), sorted(methods()))
        self.assertEqual(offered_by_bash(self.folder, "/pretty", "/method", "s"), ["shape", "simple"])

    def test_offers_folders_and_documents_for_a_path(self):
        for option in ("/filelist", "/encode", "/output"):
            self.assertEqual(offered_by_bash(self.folder, option, ""), sorted(self.documents), option)
        self.assertEqual(offered_by_bash(self.folder, "/encode", "a.j"), ["a.jdb", "a.json"])
        self.assertEqual(offered_by_bash(self.folder, "/output", f"{self.folder}/d"),
                         [f"{self.folder}/drawings"])

    def test_reads_quoted_words(self):
        for typed in ("b\\ c", '"b c', "'b c"):
            self.assertEqual(offered_by_bash(self.folder, "/encode", typed), ["b c.json"], typed)

    def test_offers_nothing_for_numbers(self):
        self.assertEqual(offered_by_bash(self.folder, "/topk", ""), [])
        self.assertEqual(offered_by_bash(self.folder, "/min", ""), [])

    def test_knows_the_options_with_a_value(self):
        for option, takes_value in options().items():
            after = offered_by_bash(self.folder, option, "value", "")
            behind = offered_by_bash(self.folder, option, "/no")
            self.assertEqual(after, sorted(options()), option)
            self.assertEqual(behind, [] if takes_value else ["/no-dedup", "/no-parallel-load"], option)

    def test_accepts_an_option_name_as_a_value(self):
        self.assertEqual(offered_by_bash(self.folder, "/encode", "/method", "/pre"), ["/pretty"])

    def test_is_bound_to_the_program(self):
        script = f"source {COMPLETIONS}/quillon.bash; complete -p quillon"
        ended = subprocess.run(["bash", "--norc", "-c", script],
                               capture_output=True, text=True, check=True)
        self.assertEqual(ended.stdout, "complete -F _quillon quillon\n")


class Fish(Completion):
    def test_offers_what_bash_offers(self):
        self.assertEqual(offered_by_fish(self.folder, "quillon "), sorted(options()))
        self.assertEqual(offered_by_fish(self.folder, "quillon /method "), sorted(methods()))
        self.assertEqual(offered_by_fish(self.folder, "quillon /topk "), [])
        for option in ("/filelist", "/encode", "/output"):
            offers = offered_by_fish(self.folder, f"quillon {option} ")
            self.assertEqual(offers, sorted(name + "/" if name == "drawings" else name
                                            for name in self.documents), option)


class Zsh(unittest.TestCase):
    def offered(self, *words):
        """Returns the arguments of zsh's own functions for the last of the words, one in a line."""
        script = """
            _describe() { print -l ${${(P)2}%%:*} }
            _files() { print -r files $* }
            _message() { print -r message $* }
            compadd() { print -l $* }
            page=$1
            words=(quillon $argv[2,-1] '')
            CURRENT=$#words
            source $page
        """
        ended = subprocess.run(["zsh", "-f", "-c", script, "zsh", COMPLETIONS / "quillon.zsh", *words],
                               capture_output=True, text=True, check=True)
        self.assertEqual(ended.stderr, "")
        return ended.stdout.splitlines()

    def test_offers_what_bash_offers(self):
        self.assertEqual(sorted(self.offered()), sorted(options()))
        self.assertEqual(self.offered("/method"), methods())
        for option in ("/filelist", "/encode", "/output"):
            words = self.offered(option)
            self.assertEqual(len(words), 1)
            pattern = re.fullmatch(r"files -g \*\.\((.*)\)", words[0])[1]
            self.assertEqual(sorted("." + name for name in pattern.split("|")), extensions(), option)
        self.assertEqual(self.offered("/topk"), ["message number"])
        self.assertEqual(self.offered("/min"), ["message number"])
        for option, takes_value in options().items():
            if not takes_value:
                self.assertEqual(sorted(self.offered(option)), sorted(options()), option)


if __name__ == "__main__":
    unittest.main()
