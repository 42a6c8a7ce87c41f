"""scripts/wine.sh starts wine again after the one failure that is wine's own, and after no other."""
import subprocess
import tempfile
import unittest
from pathlib import Path

from program import ROOT

LINE = "err:virtual:virtual_alloc_first_teb wine: failed to map the shared user data: c0000018\n"

# Stands in for wine: the first FAILURES starts print $OUT and $ERROR and end with $STATUS.
STAND_IN = """#!/bin/sh
echo start >>starts
[ "$(wc -l <starts)" -le "$FAILURES" ] || { echo "ran $*"; exit 7; }
printf '%s' "$OUT"
printf '%s' "$ERROR" >&2
exit "$STATUS"
"""


class Wine(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        (self.folder / "wine").write_text(STAND_IN)
        (self.folder / "wine").chmod(0o755)

    def run_wine(self, failures, status=1, out="", error=LINE):
        """Status, output, starts and counted failures of a run."""
        for name in ("starts", "failed"):
            (self.folder / name).unlink(missing_ok=True)
        ended = subprocess.run(
            [ROOT / "scripts/wine.sh", "a b.exe", "/min"], cwd=self.folder, capture_output=True,
            check=False, env={"PATH": f"{self.folder}:/usr/bin:/bin", "FAILURES": str(failures),
                              "STATUS": str(status), "OUT": out, "ERROR": error,
                              "WINE_FAILED_STARTS": str(self.folder / "failed")})
        counted = [len((self.folder / name).read_text().splitlines())
                   for name in ("starts", "failed")]
        return (ended.returncode, ended.stdout.decode(), *counted)

    def test_is_started_again_when_it_could_not_start(self):
        self.assertEqual(self.run_wine(0), (7, "ran a b.exe /min\n", 1, 0))
        self.assertEqual(self.run_wine(1), (7, "ran a b.exe /min\n", 2, 1))
        self.assertEqual(self.run_wine(2), (7, "ran a b.exe /min\n", 3, 2))

    def test_is_given_up_after_three_starts(self):
        self.assertEqual(self.run_wine(9), (1, "", 3, 3))

    def test_is_not_started_again_after_another_failure(self):
        self.assertEqual(self.run_wine(1, out="a failed test\n"), (1, "a failed test\n", 1, 1))
        self.assertEqual(self.run_wine(1, error="other\n"), (1, "", 1, 0))
        self.assertEqual(self.run_wine(1, error="other\n" + LINE), (1, "", 1, 1))
        self.assertEqual(self.run_wine(1, error=""), (1, "", 1, 0))
        self.assertEqual(self.run_wine(1, status=3), (3, "", 1, 1))


if __name__ == "__main__":
    unittest.main()
