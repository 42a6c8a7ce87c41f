"""What `check` finds in the blocks of one encodings file, and between blocks of equal codes."""
import numpy as np

from quillon_tools.texts import counted
from quillon_tools.vectors import LENGTH_TOLERANCE, WIDTHS, is_array, lengths_of, rows_of, type_name

LEFT_OUT = "leaves the block out"
ENDS = "ends with status 1"
USED = "uses it as it is; the thresholds expect length 1"

# Sums of a vector's numbers with these random weights tell unequal vectors apart in 4 numbers a
# block, so that a library of millions need not be held. Equal vectors rounded to 6 digits differ
# by less than the tolerance.
SKETCHES = {side: np.random.default_rng(width).normal(size=(width, 4)).astype(np.float32)
            for side, width in WIDTHS.items()}
SKETCH_TOLERANCE = 1e-4


def check_encodings(check, path, document):
    """All findings of one encodings file, into `check`."""
    if document is None:
        check.add("error", path, "document", "is null", "goes on without it, silently")
        return
    if not isinstance(document, dict):
        check.add("error", path, "document", f"is {type_name(document)}, no object", ENDS)
        return
    if document.get("blocks") == []:
        return
    members = ["blocks", *WIDTHS]
    for name in members:
        if not is_array(document.get(name)):
            found = f"is {type_name(document[name])}, no array" if name in document \
                else "is missing"
            check.add("error", path, "member", f"{name} {found}", ENDS)
            return
    blocks = document["blocks"]
    check_sizes(check, path, {name: len(document[name]) for name in members})
    labels = [block_label(number, key) for number, key in enumerate(blocks)]
    usable = check_keys(check, path, blocks, labels)
    sketches = {}
    for side in WIDTHS:
        vectors = document[side][:len(blocks)]
        matrix, complete = check_vectors(check, path, side, vectors, labels, LEFT_OUT, ENDS)
        usable = [number for number in usable if number in complete]
        sketches[side] = matrix @ SKETCHES[side]
    check.blocks += len(blocks)
    check_codes(check, path, blocks, labels, usable, sketches)


def block_label(number, key):
    name = f" {key.split('*')[0] or '*' + key.split('*')[1]}" if isinstance(key, str) and \
        "*" in key else f" {key}" if isinstance(key, str) else ""
    return f"blocks[{number}]{name}"


def check_sizes(check, path, sizes):
    """Whether the three arrays have as many elements."""
    if len(set(sizes.values())) == 1:
        return
    found = ", ".join(f"{name} {size}" for name, size in sizes.items())
    lost = sizes["blocks"] - min(sizes.values())
    check.add("error", path, "sizes", f"arrays of unequal length: {found}",
              f"leaves the last {counted(lost, 'block')} out" if lost else "ignores the surplus")


def check_keys(check, path, blocks, labels):
    """The numbers of the blocks that the program takes, as far as their keys go."""
    usable, zeros = [], []
    for number, key in enumerate(blocks):
        if not isinstance(key, str):
            check.add("error", path, "key", f"key is {type_name(key)}, no text", ENDS,
                      labels[number])
            continue
        fields = key.split("*")
        check.keys += 1
        if len(fields) < 3:
            check.add("warning", path, "fields", f"key has fewer than three fields: {key}",
                      LEFT_OUT, labels[number])
            continue
        if len(fields) > 3:
            check.add_long_key(path, fields, labels[number])
        if fields[1] == "" and fields[0] != "":
            check.add("warning", path, "code", f"code is empty: {key}",
                      "takes all blocks without a code for one", labels[number])
        (zeros if fields[2] == "0" else usable).append(number)
    for number in zeros[:-1]:
        check.add("warning", path, "handle 0", f"has the handle 0, as {labels[zeros[-1]]}",
                  "uses the last of them alone, silently", labels[number])
    return usable + zeros[-1:]


def check_vectors(check, path, side, vectors, labels, wrong_width, no_numbers):
    """The vectors as a matrix, and the numbers of those that are complete."""
    rows = rows_of(vectors, WIDTHS[side])

    def add(level, number, kind, problem, program):
        check.add(level, path, f"{side} {kind}", f"{side} {problem}", program, labels[number])

    for number, problem in rows.wrong_width.items():
        add("error", number, "width", problem, wrong_width)
    for number, found in rows.no_numbers.items():
        add("error", number, "type", f"holds {found}, no number", no_numbers)
    faulty = rows.wrong_width.keys() | rows.no_numbers.keys()
    complete = [number for number in range(len(vectors)) if number not in faulty]
    finite = np.isfinite(rows.matrix).all(axis=1)
    with np.errstate(invalid="ignore", over="ignore"):
        lengths = lengths_of(rows.matrix)
    unusual = ~finite | (abs(lengths - 1) > LENGTH_TOLERANCE)
    for number in np.flatnonzero(unusual):
        if number in faulty:
            continue
        if not finite[number]:
            what = "NaN" if np.isnan(rows.matrix[number]).any() else "infinity"
            add("error", number, "not finite", f"holds {what}",
                "never finds the block" if labels[number] else "finds nothing")
        elif lengths[number] == 0:
            add("error", number, "zeros", "is all zeros",
                "uses it, equally far from every block")
        else:
            add("warning", number, "length", f"has length {lengths[number]:.4g}, not 1", USED)
    return np.where(finite[:, None], rows.matrix, 0), set(complete)


def check_codes(check, path, blocks, labels, usable, sketches):
    """Duplicates whose vectors differ from those of the first block of their code."""
    for number in usable:
        code = blocks[number].split("*")[1]
        mine = [sketches[side][number] for side in WIDTHS]
        if code not in check.codes:
            check.codes[code] = (str(path), labels[number], *mine)
            continue
        first_path, first_label, *first = check.codes[code]
        if code == "":
            continue  # reported as an empty code
        unequal = [not np.allclose(one, other, rtol=SKETCH_TOLERANCE, atol=SKETCH_TOLERANCE)
                   for one, other in zip(mine, first)]
        if unequal[0]:
            place = first_label if first_path == str(path) else f"{first_label} in {first_path}"
            check.add("warning", path, "unequal", f"code {code} has another shape in {place}",
                      "takes it for a duplicate and leaves it out", labels[number])
        elif unequal[1]:
            check.other_texts += 1
