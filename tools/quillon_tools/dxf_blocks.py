"""The blocks of a DXF drawing as lines and texts, by ezdxf. Part of the example encoder."""
import hashlib
import logging
import re
from dataclasses import dataclass
from io import BytesIO
from itertools import islice

import numpy as np

MOST_PRIMITIVES = 20_000  # of a block: inserts within inserts can stand for any number
FLATTENING = 1 / 400  # of the block's size, the distance between a curve and its lines


@dataclass
class Block:
    name: str  # without stars
    code: str  # equal for blocks of equal entities
    handle: str
    lines: list  # arrays of n × 2 points
    texts: list  # texts and attribute tags
    layers: list


def read_blocks(path):
    """The blocks of the drawing with something to see, and the model space with the handle 0.

    Raises ezdxf's errors, and others on hostile files.
    """
    import ezdxf
    from ezdxf import recover
    if path.suffix.lower() != ".dxf":
        raise ValueError("the extension is not .dxf")
    logging.getLogger("ezdxf").setLevel(logging.CRITICAL)
    ezdxf.options.use_matplotlib = False  # boxes of texts shall not depend on the fonts here
    data = path.read_bytes()
    document = ezdxf.readfile(path) if data.startswith(b"AutoCAD Binary DXF") else \
        recover.read(BytesIO(with_proper_escapes(data)))[0]
    found = [block_of(layout, layout.name, layout.block.dxf.handle)
             for layout in document.blocks if is_own_block(layout)]
    found.append(block_of(document.modelspace(), path.stem, "0"))
    return [block for block in found if block is not None]


def with_proper_escapes(data):
    """The bytes with the digits of \\U+00E4 in capitals, since ezdxf 0.18 fails on others."""
    data = re.sub(rb"\\U\+[0-9A-Fa-f]{4}", lambda found: b"\\U" + found[0][2:].upper(), data)
    return re.sub(rb"\\U\+(?![0-9A-F]{4})", b"U+", data)


def is_own_block(layout):
    """Not a layout, the picture of a dimension, or an arrow head."""
    from ezdxf.render.arrows import ARROWS
    return not (layout.block_record.is_any_layout or layout.name.upper().startswith("*D")
                or ARROWS.is_acad_arrow(ARROWS.arrow_name(layout.name)))


def block_of(layout, name, handle):
    """The Block, or None where there are fewer than two entities or no lines."""
    if len(layout) < 2:
        return None
    primitives = list(islice(primitives_of(layout), MOST_PRIMITIVES))
    lines, entities = [], []
    distance = size_of(primitives) * FLATTENING or 1.0
    for primitive in primitives:
        points = points_of(primitive, distance)
        if points is None:
            continue
        lines.append(points)
        numbers = np.round(points - layout.base_point.vec2, 4) if hasattr(layout, "base_point") \
            else np.round(points, 4)
        entity = primitive.entity
        entities.append(f"{entity.dxftype()} {text_of(entity)} {(numbers + 0.0).tolist()}")
    if not lines:
        return None
    code = hashlib.sha1("\n".join(sorted(entities)).encode("utf-8", "replace")).hexdigest()
    sources = {id(primitive.entity): primitive.entity for primitive in primitives}.values()
    texts = [text_of(entity) for entity in [*layout.query("ATTDEF"), *sources]]
    layers = {entity.dxf.get("layer", "0") for entity in sources}
    return Block(name.replace("*", "_"), code[:16].upper(), handle, lines,
                 [text for text in texts if text], sorted(layers))


def primitives_of(layout):
    """The lines, curves and boxes of texts, those of nested inserts included.

    What ezdxf cannot compute, such as an insert scaled by 0, is left out.
    """
    from ezdxf import disassemble
    for entity in layout:
        try:
            parts = disassemble.recursive_decompose([entity])
            yield from disassemble.to_primitives(parts)
        except (ArithmeticError, ValueError, TypeError, KeyError, AttributeError, IndexError,
                RecursionError):
            continue


def size_of(primitives):
    """The longer side of the box around all control points."""
    corners = [(point.x, point.y) for primitive in primitives if primitive.path
               for point in primitive.path.control_vertices()]
    return float(np.ptp(np.array(corners), axis=0).max()) if corners else 0.0


def points_of(primitive, distance):
    """n × 2 finite points of the path, n > 1; None for points and meshes."""
    if primitive.path is None or len(primitive.path) == 0:
        return None
    try:
        points = np.array([(point.x, point.y)
                           for point in primitive.path.flattening(distance, segments=4)])
    except (ArithmeticError, ValueError):
        return None
    return points if len(points) > 1 and np.isfinite(points).all() else None


def text_of(entity):
    """The text of a text entity, the tag and the text of an attribute."""
    kind = entity.dxftype()
    if kind == "MTEXT":
        return entity.plain_text()
    words = [entity.dxf.get("tag", "")] if kind in ("ATTRIB", "ATTDEF") else []
    return " ".join([*words, entity.dxf.get("text", "")]) if kind in ("TEXT", "ATTRIB", "ATTDEF") \
        else ""
