"""Draws the hits of a result as horizontal bars, the best on top, one colour a drawing.

Results of the method adaptive have scores, and one more bar for the weights of the sides; those of
the others have squared distances. Drawings differ in lightness or hatching too. The same result
gives the same bytes of an SVG.
"""
import matplotlib
from matplotlib.figure import Figure
from matplotlib.patches import Patch

from quillon_tools.results import drawing_name

# Far from each other in lightness, for readers in grey; each with a colour for lines upon it.
COLOURS = [("#08306b", "white"), ("#fd8d3c", "black"), ("#6a51a3", "white"), ("#c7e9c0", "black")]
HATCHES = ["", "//", "..", "xx"]  # the next one where the colours begin again
BAR_INCHES = 0.32


def printable(text):
    """Without what no font and no SVG can show."""
    return "".join(letter if letter.isprintable() else "\ufffd" for letter in text)


def styles_by_drawing(drawings):
    """Colour and hatching of each drawing, in the order in which they appear."""
    styles = {}
    for i, name in enumerate(dict.fromkeys(drawings)):
        face, line = COLOURS[i % len(COLOURS)]
        hatch = HATCHES[i // len(COLOURS) % len(HATCHES)]
        styles[name] = {"facecolor": face, "edgecolor": line, "linewidth": 0, "hatch": hatch}
    return styles


def draw_hits(axes, hits, is_adaptive):
    if not hits:
        axes.text(0.5, 0.5, "no hits", ha="center", va="center", transform=axes.transAxes)
        axes.set(xticks=[], yticks=[])
        return
    drawings = [printable(drawing_name(hit)) for hit in hits]
    styles = styles_by_drawing(drawings)
    longest = max(hit["distOrScore"] or 0 for hit in hits) or 1
    for row, (hit, drawing) in enumerate(zip(hits, drawings)):
        value = hit["distOrScore"]  # None: not finite
        axes.barh(row, value or 0, height=0.7, **styles[drawing])
        axes.text((value or 0) + longest / 100, row,
                  "not finite" if value is None else f"{value:.3f}", va="center", fontsize=9)
    axes.set_yticks(range(len(hits)))
    # Names may hold a $, which is no formula.
    axes.set_yticklabels([printable(hit["name"]) for hit in hits], parse_math=False)
    axes.set_ylim(len(hits) - 0.5, -0.5)
    axes.set_xlim(0, longest * 1.15)
    axes.set_xlabel("score, higher is better" if is_adaptive
                    else "squared distance, lower is better")
    legend = axes.legend([Patch(**style) for style in styles.values()], styles, title="drawing",
                         loc="upper left", bbox_to_anchor=(1.01, 1), frameon=False, fontsize=9,
                         alignment="left")
    for text in legend.get_texts():
        text.set_parse_math(False)


def draw_weights(axes, hit):
    """One bar of length 1, shape and text, which are the same for all hits of one result."""
    shape, text = hit["shapeWeight"], hit["textWeight"]
    axes.barh(0, shape, color="#525252", height=0.7)
    axes.barh(0, text, left=shape, color="#d9d9d9", height=0.7)
    axes.text(shape / 2, 0, f"shape {shape:.2f}", ha="center", va="center", fontsize=9,
              color="white")
    axes.text(shape + text / 2, 0, f"text {text:.2f}", ha="center", va="center", fontsize=9)
    axes.set_yticks([0], ["weights"])
    axes.set_xticks([])
    axes.set_xlim(0, shape + text)


def plot(document):
    """The figure of one result document."""
    hits = document["blocks"] or []
    is_adaptive = bool(hits and hits[0]["shapeWeight"])
    rows = [max(1, len(hits))] + ([1] if is_adaptive else [])
    height = BAR_INCHES * sum(rows) + (1 if is_adaptive else 0.8)
    figure = Figure(figsize=(8.5, height), layout="constrained")
    axes = figure.subplots(len(rows), 1, height_ratios=rows, squeeze=False)[:, 0]
    draw_hits(axes[0], hits, is_adaptive)
    if is_adaptive:
        draw_weights(axes[1], hits[0])
    for one in axes:
        one.spines[["top", "right", "left"]].set_visible(False)
        one.tick_params(axis="y", length=0)
    return figure


def write_chart(document, path):
    """Writes the picture of one result document, in the format of the extension."""
    # Texts stay texts, and neither the date nor a random number gets into the file.
    matplotlib.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": "quillon", "font.size": 10})
    metadata = {"Date": None, "Creator": None} if path.suffix == ".svg" else None
    plot(document).savefig(path, dpi=150, metadata=metadata)
