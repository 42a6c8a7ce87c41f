#!/usr/bin/env python3
"""Runs one query in Python, with numpy, faiss, and json or cbor2 for the documents.

    search_in_python.py LIST QUERY RESULT METHOD

The benchmarks compare whole runs of this program with whole runs of the tool. It reads documents of
the benchmarks, and does not check them.
"""
import json
import os
import sys

import faiss
import numpy as np

TOP_K = 5
MIN_SCORE = 0.3


def read_document(path):
    if path.endswith(".json"):
        with open(path, encoding="utf-8") as file:
            return json.load(file)
    import cbor2
    with open(path, "rb") as file:
        return cbor2.load(file)


def load(list_path):
    """Returns keys, paths and the two matrices of the blocks without duplicates."""
    keys, paths, shapes, texts, seen = [], [], [], [], set()
    for path in read_document(list_path)["files"]:
        drawing = read_document(path)
        fields = [key.split("*") for key in drawing["blocks"]]
        whole = [i for i, field in enumerate(fields) if field[2] == "0"][-1:]
        order = [i for i, field in enumerate(fields) if field[2] != "0"] + whole
        order = [i for i in order if fields[i][1] not in seen and not seen.add(fields[i][1])]
        keys += [drawing["blocks"][i] for i in order]
        paths += [path] * len(order)
        for side, rows in (("shape", shapes), ("text", texts)):
            rows.append(np.array(drawing[side], dtype=np.float32)[order])
    return keys, paths, np.concatenate(shapes), np.concatenate(texts)


def nearest(query, rows, k):
    index = faiss.IndexFlatL2(rows.shape[1])
    index.add(rows)
    return index.search(query, min(k, len(rows)))


def search_one_side(query, rows, limit, twins):
    distances, labels = nearest(query, rows, TOP_K)
    return [(int(row), float(distance), 0.0, 0.0)
            for distance, row in zip(distances[0], labels[0])
            if distance < limit and (twins or not np.array_equal(rows[row], query[0]))]


def search_simple(query, sides):
    distances, labels = nearest(query[0], sides[0], 5 * TOP_K)
    candidates = [(int(row), float(distance)) for distance, row in zip(distances[0], labels[0])
                  if distance < 1 - MIN_SCORE and not np.array_equal(sides[0][row], query[0][0])]
    if not candidates:
        return []
    text, order = nearest(query[1], sides[1][[row for row, _ in candidates]], TOP_K)
    return [candidates[place] + (0.0, 0.0) for distance, place in zip(text[0], order[0])
            if distance < 1]


def rank_similarity(lists, column):
    """Returns the similarities of all rows to one, by the footrule of their neighbour lists."""
    count = lists.shape[1]
    positions = np.arange(count)
    absent = 2 * count - positions - 1
    worst = count * (count - 1) / 2 + count * count
    same = lists[:, :, None] == lists[column][None, None, :]  # row, its place, the other's place
    shift = np.abs(positions[:, None] - positions[None, :])
    one = np.where(same.any(2), (same * shift).sum(2), absent).sum(1) / worst
    other = np.where(same.any(1), (same * shift).sum(1), absent).sum(1) / worst
    similarity = (1 - (one + other) / 2).astype(np.float32)
    similarity[column] = 1
    return similarity


def search_adaptive(query, sides):
    areas, lists = [], []
    for vector, rows in zip(query, sides):
        stacked = np.concatenate([vector, rows])
        distances, labels = nearest(stacked, stacked, 101)
        curves = 1 - distances[:, 1:]
        areas.append(np.trapz((curves - curves.min(1, keepdims=True)) ** 2, axis=1))
        lists.append(labels[:, 1:6])
    weights = [area / (areas[0] + areas[1]) for area in areas]
    weights[0][0] = max(weights[0][0], 0.4)
    weights[1][0] = 1 - weights[0][0]

    def fused(column, row_weights):
        return sum(weight * rank_similarity(side, column)
                   for weight, side in zip(row_weights, lists))

    own = fused(0, [weight[0] for weight in weights])
    neighbours = [column for column in np.argsort(-own, kind="stable") if column != 0][:TOP_K]
    votes = sum(fused(column, weights) for column in neighbours)
    scores = (own + votes) / (TOP_K + 1)
    hits = []
    for column in np.argsort(-scores, kind="stable"):
        if column == 0 or np.array_equal(sides[0][column - 1], query[0][0]):
            continue
        if scores[column] < MIN_SCORE or len(hits) == TOP_K:
            break
        hits.append((int(column) - 1, float(scores[column]), float(weights[0][0]),
                     float(weights[1][0])))
    return hits


def drawing_of(path):
    folder = os.path.dirname(path)
    if ".blocksMetadata" in path:
        up = os.path.dirname(os.path.dirname(os.path.dirname(folder)))
        return {"dwgPath": os.path.abspath(os.path.join(up, os.path.basename(folder)))}
    return {"dwgPathHash": os.path.basename(folder)}


def main():
    list_path, query_path, result_path, method = sys.argv[1:]
    document = read_document(query_path)
    query = [np.array(document[side], dtype=np.float32) for side in ("shape", "text")]
    keys, paths, shapes, texts = load(list_path)
    hits = {"adaptive": lambda: search_adaptive(query, (shapes, texts)),
            "shape": lambda: search_one_side(query[0], shapes, 0.8, False),
            "text": lambda: search_one_side(query[1], texts, 1 - MIN_SCORE, True),
            "simple": lambda: search_simple(query, (shapes, texts))}[method]()
    blocks = []
    for row, score, shape_weight, text_weight in hits:
        name, code, handle = keys[row].split("*")[:3]
        blocks.append({"name": name, "code": code, "handle": handle, "index": row,
                       "distOrScore": score, "shapeWeight": shape_weight,
                       "textWeight": text_weight, **drawing_of(paths[row])})
    with open(result_path, "w", encoding="utf-8") as file:
        json.dump({"blocks": blocks or None, "stats": {"uniqueBlocks": len(keys)}}, file)


main()
