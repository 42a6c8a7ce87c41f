"""The wheel, installed into an environment of its own from Debian's packages."""
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from support import ROOT, SAMPLE

VERSION = re.search(r"^project\(quillon VERSION ([0-9.]+)",
                    (ROOT / "CMakeLists.txt").read_text(), re.MULTILINE)[1]


class Wheel(unittest.TestCase):
    def test_installs_a_command_that_runs(self):
        with tempfile.TemporaryDirectory() as folder:
            def run(*words):
                return subprocess.run(words, cwd=SAMPLE, check=True, capture_output=True,
                                      encoding="utf-8").stdout

            run(ROOT / "scripts/build-wheel.sh", folder)
            wheel = Path(folder, f"quillon_tools-{VERSION}-py3-none-any.whl")
            run(sys.executable, "-m", "venv", "--system-site-packages", f"{folder}/venv")
            run(f"{folder}/venv/bin/pip", "install", "--no-index", "--quiet", wheel)
            tools = f"{folder}/venv/bin/quillon-tools"
            self.assertEqual(run(tools, "--version"), f"quillon-tools {VERSION}\n")
            self.assertIn(": no findings\n", run(tools, "check", "filelist.json"))
            (Path(folder) / "r.json").write_text('{"blocks": null, "stats": {}}')
            self.assertIn("1 query, 0 hits", run(tools, "report", f"{folder}/r.json", "--output",
                                                 f"{folder}/report.html"))

    def test_is_the_same_bytes_from_the_same_sources(self):
        found = []
        for _ in range(2):
            with tempfile.TemporaryDirectory() as folder:
                subprocess.run([ROOT / "scripts/build-wheel.sh", folder], check=True)
                found += [path.read_bytes() for path in Path(folder).iterdir()]
        self.assertEqual(len(found), 2)
        self.assertTrue(found[0] == found[1])


if __name__ == "__main__":
    unittest.main()
