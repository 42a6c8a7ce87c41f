"""Starts the program as users do: from another program, on files that others wrote."""
import os
import subprocess
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
PROGRAM = Path(os.environ.get("QUILLON", ROOT / "build/release/quillon")).resolve()
SAMPLE = ROOT / "examples/drawings"


def run(*arguments, folder=SAMPLE):
    """Runs the program in the folder. Returns exit status and console, decoded with replacement."""
    ended = subprocess.run([PROGRAM, *map(str, arguments)], cwd=folder, capture_output=True, check=False)
    if ended.stderr:
        raise AssertionError(f"on the standard error stream: {ended.stderr!r}")
    return ended.returncode, ended.stdout.decode("utf-8", errors="replace")


def run_query(
    *options, folder=SAMPLE, files="filelist.json", query="query.json", output="result.json"
):
    """Searches the listed files for the query. `options` come last and replace the others."""
    return run("/filelist", files, "/encode", query, "/output", output, *options, folder=folder)
