"""Runs `quillon-tools` as its users do, and makes small documents for it."""
import json
import os
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
PROGRAM = Path(os.environ.get("QUILLON", ROOT / "build/release/quillon")).resolve()
SAMPLE = ROOT / "examples/drawings"
sys.path.insert(0, str(ROOT / "tools"))


def run_tools(*arguments, folder=SAMPLE, environment=None):
    """Its exit status, its standard output and its standard error stream."""
    ended = subprocess.run(
        [sys.executable, "-m", "quillon_tools", *map(str, arguments)], cwd=folder, check=False,
        capture_output=True, encoding="utf-8",
        env={**os.environ, "PYTHONPATH": str(ROOT / "tools"), **(environment or {})})
    return ended.returncode, ended.stdout, ended.stderr


def run_program(*arguments, folder=SAMPLE):
    """The exit status of one search, and its console."""
    ended = subprocess.run([PROGRAM, *map(str, arguments)], cwd=folder, capture_output=True,
                           check=False)
    return ended.returncode, ended.stdout.decode("utf-8", errors="replace")


def unit(width, place):
    """A vector of length 1 along one axis."""
    return [float(i == place) for i in range(width)]


def encodings(*keys):
    """An encodings document in which block i has its own axis i on both sides."""
    return {"blocks": list(keys), "shape": [unit(512, i) for i in range(len(keys))],
            "text": [unit(384, i) for i in range(len(keys))]}


def query(text="door"):
    return {"shape": [unit(512, 0)], "text": [unit(384, 0)], "queryText": [text]}


def write_json(path, document):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(json.dumps(document, ensure_ascii=False), encoding="utf-8")
