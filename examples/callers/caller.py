#!/usr/bin/env python3
"""Calls Quillon and reads its result as typed hits.

    caller.py PROGRAM FILELIST QUERY OUTPUT.json [METHOD [OPTION ...]]

PROGRAM is a path, or a name to be found through PATH.
"""
import json
import subprocess
import sys
from dataclasses import dataclass
from typing import List, Optional

METHODS = {"Adaptive": "adaptive", "ByShape": "shape", "ByText": "text", "Simple": "simple"}


@dataclass
class Hit:
    name: str
    code: str
    handle: str
    index: int  # the row in the library that was loaded, from 0
    drawing: str  # the path of the drawing, or the folder of its encodings file
    dist_or_score: Optional[float]  # None: not finite, also below
    shape_weight: Optional[float]  # both weights are 0 but for the method adaptive
    text_weight: Optional[float]


@dataclass
class Result:
    method: str  # that really ran: "shape" whatever was asked for when the query text says nothing
    hits: List[Hit]
    failed_drawings: int


class SearchFailed(Exception):
    """With the program's own text. Status 255 is a missing path, 1 every other failure."""

    def __init__(self, status, text):
        super().__init__(text)
        self.status = status


class CannotStart(Exception):
    """There is no such program, or it may not be run."""


def search(program, file_list, query, output, method="adaptive", options=()):
    """One query. Relative paths, also those in the list, start at the current folder."""
    try:
        ended = subprocess.run(
            [program, "/filelist", file_list, "/encode", query, "/output", output,
             "/method", method, *options],
            stdout=subprocess.PIPE, check=False)
    except OSError as error:
        raise CannotStart from error
    # The console may hold raw bytes of a broken file, and may end without a line feed.
    console = ended.stdout.decode("utf-8", errors="replace").replace("\r\n", "\n")
    lines = console.rstrip("\n").split("\n")
    if ended.returncode != 0:
        # -1 is seen as 255 on Linux and as 4294967295 on Windows.
        status = 255 if ended.returncode == 4294967295 else ended.returncode
        raise SearchFailed(status, lines[-1].removeprefix("exception: "))

    with open(output, encoding="utf-8") as file:
        document = json.load(file)
    ran = next(line for line in lines if line.startswith("     queryType: "))
    hits = [Hit(hit["name"], hit["code"], hit["handle"], hit["index"],
                hit.get("dwgPath") or hit["dwgPathHash"],
                hit["distOrScore"], hit["shapeWeight"], hit["textWeight"])
            for hit in document["blocks"] or []]  # null without hits
    return Result(METHODS[ran.split(": ")[1]], hits, document["stats"]["failedDrawings"])


def number_text(number):
    return "not finite" if number is None else f"{number:.4f}"


def main():
    sys.stdout.reconfigure(encoding="utf-8")
    if len(sys.argv) < 5:
        print("caller PROGRAM FILELIST QUERY OUTPUT.json [METHOD [OPTION ...]]", file=sys.stderr)
        return 2
    program, file_list, query, output = sys.argv[1:5]
    method = sys.argv[5] if len(sys.argv) > 5 else "adaptive"
    try:
        result = search(program, file_list, query, output, method, sys.argv[6:])
    except SearchFailed as failure:
        print(f"failed with status {failure.status}: {failure}")
        return 1
    except CannotStart:
        print(f"cannot start {program}")
        return 1
    if result.method != method:
        print(f"asked for {method}, ran {result.method}")
    print(f"{len(result.hits)} hits, {result.failed_drawings} drawings failed")
    for hit in result.hits:
        print(f"{hit.name} | {hit.code} | {hit.handle} | {hit.index} | {hit.drawing} | "
              f"{number_text(hit.dist_or_score)} | {number_text(hit.shape_weight)} | "
              f"{number_text(hit.text_weight)}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
