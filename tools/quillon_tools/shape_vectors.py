"""An example of a shape vector: a histogram of directions. Part of the example encoder.

The lines are scaled to a unit box and drawn on a raster of 128 × 128. For 8 × 8 cells and 8
directions (modulo 180 degrees) the pixels are counted, with linear interpolation between
neighbouring cells and directions. Then the square root, a slight smoothing over the cells, and
length 1. The vector does not depend on position and scale, but on rotation and mirroring.
"""
import numpy as np

RASTER, CELLS, DIRECTIONS = 128, 8, 8
FINE_DIRECTIONS = 64  # a pixel counts once for each of these that cross it
SMOOTHING = np.array([1, 6, 1]) / 8


def shape_vector(lines):
    """512 floats of length 1 for arrays of n × 2 points; None where all points are one."""
    pixels, angles = drawn(lines)
    if len(pixels) == 0:
        return None
    counts = np.zeros((CELLS + 2, CELLS + 2, DIRECTIONS))  # with a border that is cut off
    place = (pixels + 0.5) / (RASTER / CELLS) - 0.5
    cell = np.floor(place).astype(int)
    near = place - cell
    direction = angles * DIRECTIONS / FINE_DIRECTIONS
    first = np.floor(direction).astype(int)
    for right in (0, 1):
        for up in (0, 1):
            for turned in (0, 1):
                weight = (abs(1 - right - near[:, 0]) * abs(1 - up - near[:, 1])
                          * abs(1 - turned - (direction - first)))
                np.add.at(counts, (cell[:, 1] + 1 + up, cell[:, 0] + 1 + right,
                                   (first + turned) % DIRECTIONS), weight)
    values = np.sqrt(counts[1:-1, 1:-1])
    for axis in (0, 1):
        values = np.apply_along_axis(np.convolve, axis, values, SMOOTHING, "same")
    return (values / np.linalg.norm(values)).astype(np.float32).ravel()


def drawn(lines):
    """The pixels (n × 2, column and row) and directions (n) that the lines cross, each once."""
    starts = np.concatenate([line[:-1] for line in lines])
    ends = np.concatenate([line[1:] for line in lines])
    low = np.minimum(starts.min(axis=0), ends.min(axis=0))
    high = np.maximum(starts.max(axis=0), ends.max(axis=0))
    size = (high - low).max()
    if not 0 < size < np.inf:
        return np.zeros((0, 2), int), np.zeros(0, int)
    margin = (size - (high - low)) / 2  # the aspect is kept, the block centred
    scale = (RASTER - 1) / size
    starts, ends = ((points - low + margin) * scale for points in (starts, ends))
    steps = ends - starts
    lengths = np.linalg.norm(steps, axis=1)
    angles = np.arctan2(steps[:, 1], steps[:, 0]) % np.pi
    samples = np.ceil(lengths * 2).astype(int) + 1  # two a pixel
    line = np.repeat(np.arange(len(samples)), samples)
    number = np.arange(len(line)) - np.repeat(np.cumsum(samples) - samples, samples)
    part = number / np.maximum(1, samples - 1)[line]
    pixels = np.rint(starts[line] + part[:, None] * steps[line]).astype(int)
    fine = np.rint(angles * FINE_DIRECTIONS / np.pi).astype(int) % FINE_DIRECTIONS
    has_length = lengths[line] > 0
    crossed = np.unique(np.column_stack([pixels, fine[line]])[has_length], axis=0)
    return crossed[:, :2], crossed[:, 2]
