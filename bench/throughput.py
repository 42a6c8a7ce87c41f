#!/usr/bin/env python3
"""Measures the tables of docs/scaling.md, on block libraries that it makes.

    bench/throughput.py PROGRAM FOLDER [BLOCKS ...]    default: 1000 10000 100000 1000000

Makes missing libraries in FOLDER (4.5 GB for a million blocks): 50 blocks in each drawing, no
duplicates, unit vectors around a centre for every 50 blocks. The first table has the time and the
peak memory of one run. The second table has the queries a minute of a series of runs, one at a time
and two at a time, in turns, if a run takes less than ten seconds. The best of three rounds counts,
because disturbances only make a run slower. Needs python3-numpy, python3-cbor2 and an idle machine.
"""
import json
import math
import os
import resource
import subprocess
import sys
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import numpy as np

sys.path.append(str(Path(__file__).resolve().parents[1] / "tools"))
from quillon_tools.documents import write_document  # noqa: E402, found by the line above
from quillon_tools.vectors import WIDTHS  # noqa: E402

BLOCKS_A_DRAWING = 50
ROUNDS = 3
SERIES_SECONDS = 5  # at least, and two runs
LONGEST_RUN_IN_SERIES = 10  # seconds

SERIES = {"One at a time": 1, "Two at a time": 2}


def make_library(folder, blocks):
    """Writes folder/filelist.json and folder/query.json."""
    if (folder / "query.json").exists():
        return
    random = np.random.default_rng(blocks)
    centres = {side: random.normal(size=(blocks // 50, width)).astype(np.float32)
               for side, width in WIDTHS.items()}

    def unit_vectors(rows):
        """Returns rows × 512 and rows × 384: a random centre for each row, and half as much noise."""
        cluster = random.integers(blocks // 50, size=rows)
        for side, width in WIDTHS.items():
            noise = random.normal(size=(rows, width)).astype(np.float32)
            vectors = centres[side][cluster] + noise / 2
            yield side, vectors / np.linalg.norm(vectors, axis=1)[:, None]

    paths = []
    for first in range(0, blocks, BLOCKS_A_DRAWING):
        path = folder.resolve() / f"drawing-{first}" / "encodings.cbor"
        numbers = range(first, first + BLOCKS_A_DRAWING)
        keys = [f"block*{number:X}*{number + 1:X}" for number in numbers]
        write_document(path, {"blocks": keys, **dict(unit_vectors(len(keys)))})
        paths.append(str(path))
    query = {side: vectors.tolist() for side, vectors in unit_vectors(1)}
    (folder / "filelist.json").write_text(json.dumps({"files": paths}))
    (folder / "query.json").write_text(json.dumps({**query, "queryText": ["door"]}))


def run(program, folder, method, number=0):
    """Runs one query. Returns its seconds and its peak memory in MB."""
    begin = time.monotonic()
    process = subprocess.Popen(
        [program, "/filelist", folder / "filelist.json", "/encode", folder / "query.json",
         "/output", folder / f"result-{number}.json", "/method", method],
        stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"{method} in {folder} ended with {process.returncode}")
    return time.monotonic() - begin, usage.ru_maxrss * 1024 / 1e6


def queries_a_minute(count, runs_at_a_time, one_run):
    """Calls `one_run(number)` `count` times, several at a time."""
    begin = time.monotonic()
    with ThreadPoolExecutor(runs_at_a_time) as pool:
        list(pool.map(one_run, range(count)))
    return 60 * count / (time.monotonic() - begin)


def measure(program, folder, method):
    """Returns seconds and MB of one run, and queries a minute of each series."""
    run(program, folder, method)  # leaves the files in the page cache
    seconds, megabytes = map(min, zip(*[run(program, folder, method) for _ in range(ROUNDS)]))
    rates = dict.fromkeys(SERIES, 0)
    if seconds < LONGEST_RUN_IN_SERIES:
        count = 2 * math.ceil(SERIES_SECONDS / seconds / 2)
        for name, at_a_time in list(SERIES.items()) * ROUNDS:
            rates[name] = max(rates[name], queries_a_minute(
                count, at_a_time, lambda number: run(program, folder, method, number)))
    return seconds, megabytes, rates


def memory_text(megabytes):
    """Returns the peak as text. It includes memory of this process, so a small peak is unknown."""
    own = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss * 1024 / 1e6
    return f"{megabytes:,.0f} MB" if megabytes > 1.1 * own else f"under {1.1 * own:,.0f} MB"


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    program, folder = Path(sys.argv[1]).resolve(), Path(sys.argv[2])
    one_run, series = [], []
    for blocks in map(int, sys.argv[3:] or [1000, 10000, 100000, 1000000]):
        library = folder / str(blocks)
        make_library(library, blocks)
        for method in ["shape", "adaptive"]:
            seconds, megabytes, rates = measure(program, library, method)
            one_run.append([f"{blocks:,}", method, f"{seconds:.2f} s", memory_text(megabytes)])
            if any(rates.values()):
                series.append([f"{blocks:,}", method, *[f"{rate:,.0f}" for rate in rates.values()]])
    for head, rows in [(["Blocks", "Method", "Time", "Memory"], one_run),
                       (["Blocks", "Method", *SERIES], series)]:
        for row in [head, ["---"] * len(head), *rows]:
            print("|", " | ".join(row), "|")
        print()


if __name__ == "__main__":
    main()
