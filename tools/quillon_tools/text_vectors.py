"""An example of text vectors: weighted n-grams of letters. Part of the example encoder.

Words are cut into pieces of 3 to 5 letters, counted, and weighed by how rare they are among the
blocks. With at least 384 blocks the vectors are reduced by a singular value decomposition of these
blocks; with fewer, every piece falls on one of 384 places. Either way vectors of different runs do
not compare.
"""
import re
import zlib
from collections import Counter

import numpy as np

WIDTH = 384
WIDE = 2048  # places of the pieces before the decomposition


def text_vectors(documents):
    """n × 384 floats, rows of length 1, for the words of n blocks."""
    counts = [Counter(pieces(document)) for document in documents]
    found_in = Counter(piece for count in counts for piece in count)
    is_wide = len(documents) >= WIDTH
    features = np.zeros((len(documents), WIDE if is_wide else WIDTH))
    for row, count in zip(features, counts):
        for piece, times in count.items():
            hashed = zlib.crc32(piece.encode("utf-8", "replace"))
            rarity = np.log((1 + len(documents)) / (1 + found_in[piece])) + 1
            row[hashed % len(row)] += (1 + np.log(times)) * rarity * (1 if hashed >> 31 else -1)
    features /= np.maximum(np.linalg.norm(features, axis=1), 1e-9)[:, None]
    if is_wide:
        # The triangle has the right singular vectors of the features, and at most WIDE rows.
        triangle = np.linalg.qr(features, mode="r")
        features = features @ np.linalg.svd(triangle, full_matrices=False)[2][:WIDTH].T
    lengths = np.linalg.norm(features, axis=1)
    features[lengths == 0, 0] = 1  # blocks without a word
    return (features / np.maximum(lengths, lengths == 0)[:, None]).astype(np.float32)


def pieces(document):
    for word in re.findall(r"\w+", document.lower()):
        padded = f" {word} "
        for length in (3, 4, 5):
            for start in range(max(1, len(padded) - length + 1)):
                yield padded[start:start + length]
