"""Searches for many queries with the program, as many at a time as there are processors. A query
that fails does not end the others; Ctrl-C ends all and leaves the results that are complete. Each
query's result is OUTPUT/<name of the query>.json. Paths in the list start at the current folder.

With --parts the list is searched in parts, each with a part of the memory, and the results of a
query are merged: exact for the methods shape and text, and refused for the others. With --slurm the
parts (the queries, if there is one part) are the tasks of a job array; the current folder and
OUTPUT have to be on a file system that all machines share, and sbatch takes its options from
variables such as SBATCH_PARTITION.

examples:
  quillon-tools run queries --list filelist.json
  quillon-tools run queries/*.json --list filelist.json --method shape --topk 20 --output by-shape
  quillon-tools run query.json --list filelist.json --method text --parts 4 --jobs 1
  quillon-tools run queries --list filelist.json --method shape --parts 16 --slurm
  quillon-tools run queries --list filelist.json --summary csv > summary.csv

exit status: 0 all queries succeeded, 1 some failed, 2 wrong usage
"""
import os
import shutil
import sys
import tempfile
import time
from concurrent.futures import FIRST_COMPLETED, ThreadPoolExecutor, wait
from dataclasses import dataclass
from glob import glob
from pathlib import Path

from quillon_tools.documents import READERS, read_document, write_document
from quillon_tools.errors import UserError
from quillon_tools.library import list_files
from quillon_tools.parts import merge, split
from quillon_tools.program import Search, Searches, add_search_arguments, find_program, \
    search_options
from quillon_tools.texts import counted, csv_table, json_table, text_table

TABLES = {"text": text_table, "csv": csv_table, "json": json_table}
HEAD = ["query", "status", "method", "hits", "ms", "message"]


@dataclass
class Query:
    """One query, its searches of the parts as (list, query, output), and where the result goes."""
    path: str
    result: Path
    searches: list


def add_arguments(parser):
    parser.add_argument("queries", nargs="+", metavar="QUERIES", help="queries, or folders of them")
    parser.add_argument("--list", required=True, metavar="LIST", help="the library")
    parser.add_argument("--output", type=Path, default=Path("results"), metavar="FOLDER",
                        help="folder of the results; results unless given")
    parser.add_argument("--jobs", type=positive, metavar="NUMBER", default=processors(),
                        help="searches at a time; one a processor unless given")
    parser.add_argument("--parts", type=positive, default=1, metavar="NUMBER",
                        help="search the library in so many parts and merge the results")
    parser.add_argument("--slurm", action="store_true", help="run as a job array of Slurm")
    parser.add_argument("--summary", choices=list(TABLES), default="text",
                        help="form of the table that is printed; text unless given")
    add_search_arguments(parser)


def positive(text):
    number = int(text)
    if number < 1:
        raise ValueError
    return number


def processors():
    """Those that this process may use: two searches of one thread beat one of two."""
    return len(os.sched_getaffinity(0)) if hasattr(os, "sched_getaffinity") else os.cpu_count() or 1


def run(options):
    if options.parts > 1 and options.method not in ("shape", "text"):
        raise UserError(f"results of parts do not merge for the method {options.method}; use shape "
                        "or text")
    program = find_program(options.program)
    paths = query_paths(options.queries)
    options.output.mkdir(parents=True, exist_ok=True)
    folder = Path(tempfile.mkdtemp(prefix=".parts-", dir=options.output))
    begin = time.monotonic()
    try:
        queries = planned(paths, options, folder)
        if options.slurm:
            is_stopped, ends = False, run_slurm(program, queries, options, folder)
        else:
            is_stopped, ends = run_here(program, queries, options)
        rows = [summary_row(query, ends, options) for query in queries]
    finally:
        shutil.rmtree(folder, ignore_errors=True)
    print(TABLES[options.summary](HEAD, rows), end="")
    failed = sum(row[1] != 0 for row in rows)
    print(f"{'stopped: ' if is_stopped else ''}{len(rows) - failed} of "
          f"{counted(len(rows), 'query').replace('querys', 'queries')} succeeded in "
          f"{time.monotonic() - begin:.1f} s", file=sys.stderr)
    return 1 if failed else 0


def query_paths(words):
    """The queries by the names of their results."""
    paths = {}
    for word in words:
        found = sorted(str(path) for path in Path(word).iterdir() if path.suffix in READERS) \
            if os.path.isdir(word) else \
            [word] if os.path.exists(word) else sorted(glob(word))  # Windows' shells do not expand
        if not found:
            raise UserError(f"{word}: no query there")
        for path in found:
            name = Path(path).stem
            if paths.setdefault(name, path) != path:
                raise UserError(f"{path}: {paths[name]} has the same name, and so would its result")
    return paths


def planned(paths, options, folder):
    """The searches of all queries; the lists of the parts are written into the folder."""
    lists = [options.list]
    if options.parts > 1:
        document = read_document(options.list)
        list_files(options.list, document)
        lists = []
        for number, files in enumerate(split(document["files"], options.parts)):
            lists.append(folder / f"list-{number}.json")
            write_document(lists[-1], {"files": files})
    queries = []
    for name, path in paths.items():
        result = options.output / f"{name}.json"
        outputs = [result] if len(lists) == 1 and not options.slurm else \
            [folder / f"{number}-{name}.json" for number in range(len(lists))]
        queries.append(Query(path, result, [(one, path, output)
                                            for one, output in zip(lists, outputs)]))
    return queries


def run_here(program, queries, options):
    """Whether Ctrl-C ended it, and the Search of each output that began."""
    from tqdm import tqdm
    searches = Searches(program, search_options(options))
    ends, is_stopped = {}, False
    todo = [search for query in queries for search in query.searches]
    with ThreadPoolExecutor(options.jobs) as pool, \
            tqdm(total=len(todo), disable=None, unit="search", file=sys.stderr) as bar:
        futures = {pool.submit(searches.run, *search): str(search[2]) for search in todo}
        waiting = set(futures)
        try:
            while waiting:
                # Without a limit of time Windows would not let Ctrl-C through.
                done, waiting = wait(waiting, timeout=0.5, return_when=FIRST_COMPLETED)
                ends.update((futures[one], one.result()) for one in done)
                bar.update(len(done))
        except KeyboardInterrupt:
            is_stopped = True
            searches.stop()
            for one in waiting:
                one.cancel()
    return is_stopped, {output: end for output, end in ends.items()
                        if not is_stopped or end.status >= 0}


def run_slurm(program, queries, options, folder):
    from quillon_tools.slurm import run_array
    groups = list(zip(*(query.searches for query in queries))) if options.parts > 1 else \
        [query.searches for query in queries]
    return run_array(program, search_options(options), groups, folder)


def summary_row(query, ends, options):
    """What became of the query; merges the results of its parts."""
    outputs = [output for *_, output in query.searches]
    found = [ends.get(str(output), Search(1, "stopped", 0.0)) for output in outputs]
    for number, end in enumerate(found):
        if end.status != 0:
            part = f"part {number}: " if len(found) > 1 and end.message != "stopped" else ""
            return [query.path, end.status, "", "", "", part + end.message]
    if outputs != [query.result]:
        texts = [output.read_text(encoding="utf-8") for output in outputs]
        query.result.write_text(
            texts[0] if len(texts) == 1 else
            merge(texts, options.topk, dedup=not options.no_dedup), encoding="utf-8", newline="")
    result = read_document(query.result)
    failed = result["stats"]["failedDrawings"]
    return [query.path, 0, found[0].method, len(result["blocks"] or []),
            round(1000 * sum(end.seconds for end in found)),
            f"{counted(failed, 'drawing')} failed" if failed else ""]
