"""A library in parts: splits the list, and merges the results of the methods shape and text.

docs/scaling.md says what is exact.
"""
import json


class Number(float):
    """A number of a document that keeps the digits it was written with."""

    def __new__(cls, text):
        number = super().__new__(cls, text)
        number.text = text
        return number


def split(files, parts):
    """The files in parts of consecutive ones, fewer where there are fewer files."""
    ends = [len(files) * part // parts for part in range(parts + 1)]
    return [files[begin:end] for begin, end in zip(ends, ends[1:]) if begin < end]


def merge(texts, k, *, dedup):
    """The JSON text of one result from those of the parts, in the order of the list.

    `k` is the /topk of the runs, -1 for all. Of equal codes the first in the list counts, as in one
    run, unless `dedup` is False. The index of a hit is its row in the whole library as long as no
    code is in two parts.
    """
    results = [json.loads(text, parse_float=Number) for text in texts]
    hits, codes, first_row = [], set(), 0
    for result in results:
        for hit in result["blocks"] or []:
            hit["index"] += first_row
            if not dedup or hit["code"] not in codes:
                hits.append(hit)
            codes.add(hit["code"])
        first_row += result["stats"]["uniqueBlocks"]
    # The sort is stable: equal distances stay in the order of the list.
    hits.sort(key=lambda hit: hit["distOrScore"])
    hits = hits if k < 0 else hits[:k]
    counts = ["failedDrawings", "totalBlocks", "totalDrawings", "uniqueBlocks"]
    stats = {name: sum(result["stats"][name] for result in results) for name in counts}
    stats["resultBlocks"] = len(hits)
    return text_of({"blocks": hits or None, "stats": dict(sorted(stats.items()))})


def text_of(value):
    """Compact JSON text, the numbers as they were read."""
    if isinstance(value, Number):
        return value.text
    if isinstance(value, dict):
        members = (f"{text_of(name)}:{text_of(one)}" for name, one in value.items())
        return "{" + ",".join(members) + "}"
    if isinstance(value, list):
        return "[" + ",".join(map(text_of, value)) + "]"
    return json.dumps(value, ensure_ascii=False)
