"""A small SVG picture of a block's lines. Part of the example encoder."""
import numpy as np

GRIDS = [500, 250, 125]  # the finest first
LARGEST = 8_000  # bytes


def block_picture(lines):
    """SVG text. Points are rounded to a grid, coarser where the picture would be too large."""
    low = np.min([line.min(axis=0) for line in lines], axis=0)
    high = np.max([line.max(axis=0) for line in lines], axis=0)
    extent = max((high - low).max(), 1e-9)
    for grid in GRIDS:
        scale = grid / extent
        width, height = np.rint((high - low) * scale).astype(int)
        paths = {path_of(np.rint((line - low) * scale).astype(int), height) for line in lines}
        if sum(map(len, paths)) < LARGEST:
            break
    drawn, size = [], 0
    for path in sorted(paths, key=lambda path: (-len(path), path)):  # long lines tell most
        if size + len(path) < LARGEST:
            drawn.append(path)
            size += len(path)
    margin, commands = grid // 50, "".join(drawn)
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="{-margin} {-margin} '
            f'{width + 2 * margin} {height + 2 * margin}"><path d="{commands}" fill="none" '
            'stroke="#000" stroke-width="1.2" vector-effect="non-scaling-stroke"/></svg>\n')


def path_of(points, height):
    """The commands that draw a line, each point relative to the one before; "" for a point."""
    points = points * [1, -1] + [0, height]  # upwards in drawings, downwards in pictures
    moved = np.any(np.diff(points, axis=0) != 0, axis=1)
    points = points[np.concatenate([[True], moved])]
    if len(points) < 2:
        return ""
    steps = "".join(f"{x} {y} ".replace(" -", "-") for x, y in np.diff(points, axis=0))
    return f"M{points[0][0]} {points[0][1]}l{steps.rstrip()}"
