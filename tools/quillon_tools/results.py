"""Result documents: read with a check of every member, since they may come from anywhere."""
import math
import re

from quillon_tools.documents import read_document
from quillon_tools.errors import UserError

TEXTS = ["name", "code", "handle"]
NUMBERS = ["distOrScore", "shapeWeight", "textWeight"]


def read_result(path):
    """The document, in which `blocks` is a list of complete hits and numbers are finite or None."""
    document = read_document(path)
    if not isinstance(document, dict) or "stats" not in document or "blocks" not in document:
        raise UserError(f"{path}: is no result")
    hits = document["blocks"] or []
    if not isinstance(hits, list):
        raise UserError(f"{path}: blocks is no array")
    document["blocks"] = [checked_hit(path, number, hit) for number, hit in enumerate(hits)]
    return document


def checked_hit(path, number, hit):
    if not isinstance(hit, dict):
        raise UserError(f"{path}: blocks[{number}] is no object")
    place = "dwgPath" if "dwgPath" in hit else "dwgPathHash"
    for name in [*TEXTS, place]:
        if not isinstance(hit.get(name), str):
            raise UserError(f"{path}: blocks[{number}] has no text {name}")
    for name in NUMBERS:
        if name not in hit or not isinstance(hit[name], (int, float, type(None))):
            raise UserError(f"{path}: blocks[{number}] has no number {name}")
    finite = {name: hit[name] if hit[name] is not None and math.isfinite(hit[name]) else None
              for name in NUMBERS}
    return {**hit, **finite}


def is_adaptive(document):
    """Whether the hits have scores; the other methods give distances, and weights of 0."""
    return any(hit["shapeWeight"] or hit["textWeight"] for hit in document["blocks"])


def drawing_name(hit):
    """The file name of the drawing, from a path of any system, or its folder."""
    return re.split(r"[/\\]", hit.get("dwgPath") or hit.get("dwgPathHash") or "")[-1]
