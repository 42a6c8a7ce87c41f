#!/usr/bin/env python3
"""Makes queries with known answers out of a library, for `quillon-tools evaluate`.

    noisy_copies.py FILELIST FOLDER    list and encodings files in JSON

Every fourth block is copied with random noise: the vectors of a copy have a cosine of about 0.9 to
those of its block. The right answer to a copy is the code of its block. The same library gives the
same queries.
"""
import json
import math
import random
import sys
from pathlib import Path

NOISE = 0.5  # length of what is added to a vector of length 1


def unit(vector):
    length = math.hypot(*vector)
    return [number / length for number in vector]


def noisy(vector, generator):
    noise = unit([generator.gauss(0, 1) for _ in vector])
    return unit([number + NOISE * change for number, change in zip(unit(vector), noise)])


def main():
    if len(sys.argv) != 3:
        sys.exit("noisy_copies.py FILELIST FOLDER")
    folder = Path(sys.argv[2])
    blocks = {}  # the first block of each code
    for path in json.loads(Path(sys.argv[1]).read_text("utf-8"))["files"]:
        drawing = json.loads(Path(path).read_text("utf-8"))
        for key, shape, text in zip(drawing["blocks"], drawing["shape"], drawing["text"]):
            blocks.setdefault(key.split("*")[1], (shape, text))

    folder.mkdir(parents=True, exist_ok=True)
    generator = random.Random(1)
    answers = {}
    for number, (code, (shape, text)) in enumerate(list(blocks.items())[::4]):
        # Without a query text the method stays as chosen.
        query = {"shape": [noisy(shape, generator)], "text": [noisy(text, generator)], "queryText": []}
        (folder / f"{number}.json").write_text(json.dumps(query))
        answers[f"{number}.json"] = [code]
    (folder / "answers.json").write_text(json.dumps(answers))
    print(f"{len(answers)} queries in {folder}")


if __name__ == "__main__":
    main()
