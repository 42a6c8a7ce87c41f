"""Shows results as one HTML page that needs no network: the query and its hits as cards with bars
for score or distance and for the weights of the sides, sorted and filtered in the page. Results
that have the same file name are one query, shown side by side.

Pictures of the blocks come from a folder with files named after codes (3FB23430D53C9809.svg), and
after queries (1-door-23-3.svg). With --svg or --png the hits of one result are drawn as a plain bar
chart instead.

examples:
  quillon-tools report results/*.json
  quillon-tools report results --pictures pictures --queries queries
  quillon-tools report by-shape/door.json by-text/door.json --output compared.html
  quillon-tools report result.json --svg hits.svg
"""
import os
import re
from pathlib import Path, PurePosixPath, PureWindowsPath

from quillon_tools.documents import READERS, read_document
from quillon_tools.errors import UserError
from quillon_tools.pictures import Pictures
from quillon_tools.results import drawing_name, is_adaptive, read_result
from quillon_tools.texts import counted

PAGE = Path(__file__).parent / "page"


def add_arguments(parser):
    parser.add_argument("results", nargs="+", metavar="RESULTS", help="results, or folders of them")
    parser.add_argument("--output", type=Path, default=Path("report.html"), metavar="FILE",
                        help="the page; report.html unless given")
    parser.add_argument("--pictures", metavar="FOLDER", help="pictures of blocks and queries")
    parser.add_argument("--queries", metavar="FOLDER", help="queries, for their texts")
    parser.add_argument("--svg", type=Path, metavar="FILE",
                        help="draw a bar chart of one result instead")
    parser.add_argument("--png", type=Path, metavar="FILE", help="the same as PNG")


def run(options):
    paths = result_paths(options.results)
    if options.svg or options.png:
        return draw_chart(paths, [path for path in (options.svg, options.png) if path])
    pictures = Pictures(options.pictures)
    queries = shown_queries(paths, pictures, options.queries)
    page = render(queries, pictures)
    options.output.parent.mkdir(parents=True, exist_ok=True)
    options.output.write_text(page, encoding="utf-8", newline="\n")
    hits = sum(len(result["hits"]) for query in queries for result in query["results"])
    print(f"{options.output}: {len(queries)} {'query' if len(queries) == 1 else 'queries'}, "
          f"{counted(hits, 'hit')}, {counted(len(pictures.styles), 'picture')}, "
          f"{len(page.encode()) / 1000:,.0f} kB")
    return 0


def result_paths(words):
    paths = []
    for word in map(Path, words):
        paths += sorted(path for path in word.iterdir() if path.suffix in READERS) \
            if word.is_dir() else [word]
    if not paths:
        raise UserError(f"{' '.join(words)}: no results there")
    return paths


def draw_chart(paths, pictures):
    if len(paths) != 1:
        raise UserError(f"a bar chart shows one result, not {len(paths)}")
    from quillon_tools.chart import write_chart
    for picture in pictures:
        write_chart(read_result(paths[0]), picture)
    return 0


def shown_queries(paths, pictures, query_folder):
    """The queries in the order of their first results, with everything that the page shows."""
    texts = {path.stem: path for path in Path(query_folder).iterdir() if path.suffix in READERS} \
        if query_folder else {}
    results_by_name = {}
    for path in paths:
        results_by_name.setdefault(path.stem, []).append((path, read_result(path)))
    return [{"name": name, "text": query_text(texts.get(name)), "picture": pictures.style_of(name),
             "results": [shown_result(path, document, pictures) for path, document in results]}
            for name, results in results_by_name.items()]


def query_text(path):
    """The first text of the query, or an empty one."""
    document = read_document(path) if path else None
    texts = document.get("queryText") if isinstance(document, dict) else None
    return texts[0] if isinstance(texts, list) and texts and isinstance(texts[0], str) else ""


def shown_result(path, document, pictures):
    hits, scores = document["blocks"], is_adaptive(document)
    largest = max((hit["distOrScore"] or 0 for hit in hits), default=0) or 1
    return {
        "title": os.path.basename(os.path.dirname(os.path.abspath(path))), "path": str(path),
        "scores": scores,
        "weights": [hits[0]["shapeWeight"] or 0, hits[0]["textWeight"] or 0] if scores else None,
        "failed": document["stats"].get("failedDrawings", 0)
                  if isinstance(document["stats"], dict) else 0,
        "hits": [{
            **{name: hit[name] for name in ("name", "code", "handle")},
            "rank": rank, "value": hit["distOrScore"],
            "width": round(100 * max(0, hit["distOrScore"] or 0) / largest, 1),
            "drawing": drawing_name(hit), "place": hit.get("dwgPath") or hit.get("dwgPathHash"),
            "link": file_url(hit.get("dwgPath", "")), "picture": pictures.style_of(hit["code"]),
        } for rank, hit in enumerate(hits, 1)]}


def file_url(path):
    """The address of an absolute path of any system, "" for another."""
    if re.match(r"[A-Za-z]:[/\\]|\\\\[^\\]+\\[^\\]", path):
        return PureWindowsPath(path).as_uri()
    return PurePosixPath(path).as_uri() if path.startswith("/") else ""


def render(queries, pictures):
    """The page. Every text in it is escaped by the template engine."""
    import jinja2
    environment = jinja2.Environment(loader=jinja2.FileSystemLoader(PAGE), autoescape=True,
                                     trim_blocks=True, lstrip_blocks=True)
    own = {name: jinja2.utils.markupsafe.Markup((PAGE / f"report.{name}").read_text("utf-8"))
           for name in ("css", "js")}
    pictures_css = jinja2.utils.markupsafe.Markup(pictures.css())
    return environment.get_template("report.html").render(
        queries=queries, pictures_css=pictures_css, **own)
