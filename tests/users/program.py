"""The program as its users have it: started from another program, on files that others wrote."""
import os
import subprocess
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
PROGRAM = Path(os.environ.get("QUILLON", ROOT / "build/release/quillon")).resolve()
SAMPLE = ROOT / "examples/drawings"


def run(*arguments, folder=SAMPLE):
    """One run in the folder. Gives its exit status and its console, whose bytes may be no UTF-8."""
    ended = subprocess.run([PROGRAM, *map(str, arguments)], cwd=folder, capture_output=True, check=False)
    if ended.stderr:
        raise AssertionError(f"on the standard error stream: {ended.stderr!r}")
    return ended.returncode, ended.stdout.decode("utf-8", errors="replace")


def run_query(
    *options, folder=SAMPLE, files="filelist.json", query="query.json", output="result.json"
):
    """One run that searches the listed files for the query; what `options` repeat they replace."""
    return run("/filelist", files, "/encode", query, "/output", output, *options, folder=folder)
