"""Compares the table in THIRD-PARTY.md with the packages that the program is built with."""
import re
import subprocess
import unittest

from program import ROOT

# The program's name in the table, and the Debian package whose version is meant.
PACKAGES = {"JSON for Modern C++": "nlohmann-json3-dev",
            "xtensor": "libxtensor-dev", "xtl": "xtl-dev",
            "simdjson": "libsimdjson14", "GCC": "libstdc++6",
            "glibc": "libc6"}


class ThirdParty(unittest.TestCase):
    def test_gives_the_versions_that_are_installed(self):
        table = dict(re.findall(r"^\| \[([^]]+)\]\([^)]+\) \| ([^ ]+) \|",
                                (ROOT / "THIRD-PARTY.md").read_text(encoding="utf-8"), re.M))
        for software, package in PACKAGES.items():
            installed = subprocess.run(["dpkg-query", "-W", "-f", "${Version}", package],
                                       capture_output=True, text=True, check=True).stdout
            self.assertRegex(installed, rf"^{re.escape(table[software])}[.+-]", software)


if __name__ == "__main__":
    unittest.main()
