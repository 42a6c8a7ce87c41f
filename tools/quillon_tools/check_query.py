"""What `check` finds in a query."""
from quillon_tools.check_blocks import check_vectors
from quillon_tools.query_text import is_meaningless
from quillon_tools.vectors import WIDTHS, is_array, type_name

ENDS = "ends with status 1"
ENDS_IF_NEEDED = "ends with status 1 where the method needs this side"


def check_query(check, path, query):
    if not isinstance(query, dict):
        check.add("error", path, "document", f"is {type_name(query)}, no object", ENDS)
        return
    missing = [name for name in ("shape", "text", "queryText") if name not in query]
    if missing:
        check.add("error", path, "member", f"has no {' and no '.join(missing)}", ENDS)
    for side, width in WIDTHS.items():
        if side in query:
            check_query_side(check, path, side, query[side], width)
    if "queryText" in query:
        check_query_text(check, path, query["queryText"])


def check_query_side(check, path, side, value, width):
    if not is_array(value) or len(value) == 0 or not is_array(value[0]):
        check.add("error", path, "query", f"{side} is not [[{width} numbers]]",
                  ENDS_IF_NEEDED)
        return
    if len(value) > 1:
        check.add("note", path, "rows", f"{side} has {len(value)} rows", "uses the first alone")
    check_vectors(check, path, side, value[:1], [""], ENDS_IF_NEEDED, ENDS)


def check_query_text(check, path, texts):
    size = 0 if texts is None else len(texts) if isinstance(texts, (list, dict)) else 1
    if size == 0:
        return
    if not isinstance(texts, list) or not isinstance(texts[0], str):
        found = type_name(texts[0]) + " in an array" if isinstance(texts, list) \
            else type_name(texts)
        check.add("error", path, "query text", f"queryText is {found}, no array of texts", ENDS)
    elif is_meaningless(texts[0]):
        check.add("note", path, "query text", f"queryText says nothing: {texts[0]!r}",
                  "searches by shape, whatever the method")
