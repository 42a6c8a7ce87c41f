"""Measures how well the methods find known answers. ANSWERS is a document with the right blocks of
every query, by name or code, in any order:

    {"queries/door.json": ["Door 90", "3FB23430D53C9809"], "queries/tree.json": ["ARBRE10"]}

Paths of queries start at the current folder, or else at that of ANSWERS. For every method and /topk
the table has the share of queries with a right block among the first 1, 5 and 10 hits, the mean
reciprocal rank (1 for a first hit that is right, 1/2 for the second, 0 for none), and the mean time
of a search with the others in parallel.

examples:
  quillon-tools evaluate answers.json --list filelist.json
  quillon-tools evaluate answers.json --list filelist.json --methods adaptive shape --topk 5 10 20
  quillon-tools evaluate answers.json --list filelist.json --table markdown

exit status: 0 all searches succeeded, 1 one failed, 2 wrong usage
"""
import os
import tempfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from quillon_tools.documents import read_document
from quillon_tools.errors import UserError
from quillon_tools.program import METHODS, Searches, find_program
from quillon_tools.results import read_result
from quillon_tools.run import positive, processors
from quillon_tools.texts import csv_table, json_table, markdown_table, text_table

TABLES = {"text": text_table, "markdown": markdown_table, "csv": csv_table, "json": json_table}
PLACES = [1, 5, 10]
HEAD = ["method", "topk", *[f"hit@{place}" for place in PLACES], "MRR", "ms"]


def add_arguments(parser):
    parser.add_argument("answers", metavar="ANSWERS", help="the right blocks of every query")
    parser.add_argument("--list", required=True, metavar="LIST", help="the library")
    parser.add_argument("--program", metavar="PATH", help="quillon on the PATH unless given")
    parser.add_argument("--methods", nargs="+", choices=list(METHODS.values()),
                        default=list(METHODS.values()), metavar="METHOD",
                        help="methods to measure; all unless given")
    parser.add_argument("--topk", nargs="+", type=int, default=[5, 10], metavar="NUMBER",
                        help="hits of a query at most, one or more; 5 and 10 unless given")
    parser.add_argument("--min", type=float, metavar="NUMBER", help="threshold; 0.3 unless given")
    parser.add_argument("--jobs", type=positive, default=processors(), metavar="NUMBER",
                        help="searches at a time; one a processor unless given")
    parser.add_argument("--table", choices=list(TABLES), default="text",
                        help="form of the table; text unless given")


def run(options):
    program = find_program(options.program)
    answers = read_answers(options.answers)
    threshold = [] if options.min is None else ["/min", repr(options.min)]
    rows = []
    for method in options.methods:
        for topk in options.topk:
            words = ["/method", method, "/topk", str(topk), *threshold]
            ranks, times = search(Searches(program, words), answers, options)
            rows.append([method, topk, *rates(ranks), round(1000 * sum(times) / len(times), 1)])
    print(TABLES[options.table](HEAD, rows), end="")
    return 0


def read_answers(path):
    """The sets of right names and codes by the paths of the queries."""
    document = read_document(path)
    if not isinstance(document, dict) or not document:
        raise UserError(f"{path}: is no object with queries and their answers")
    answers = {}
    for query, right in document.items():
        if not isinstance(right, list) or not right or \
                not all(isinstance(one, str) for one in right):
            raise UserError(f"{path}: the answers of {query} are no array of texts")
        beside = os.path.join(os.path.dirname(path), query)
        answers[query if os.path.exists(query) else beside] = set(right)
    return answers


def search(searches, answers, options):
    """The rank of the first right hit of every query, None for none, and the seconds of each."""
    with tempfile.TemporaryDirectory() as folder, ThreadPoolExecutor(options.jobs) as pool:
        outputs = [Path(folder, f"{number}.json") for number in range(len(answers))]
        try:
            ends = list(pool.map(searches.run, [options.list] * len(answers), answers, outputs))
        except BaseException:
            searches.stop()
            raise
        for query, end in zip(answers, ends):
            if end.status != 0:
                raise UserError(f"{query}: {end.message}")
        ranks = [first_right(read_result(output)["blocks"], right)
                 for output, right in zip(outputs, answers.values())]
    return ranks, [end.seconds for end in ends]


def first_right(hits, right):
    return next((rank for rank, hit in enumerate(hits, 1)
                 if hit["name"] in right or hit["code"] in right), None)


def rates(ranks):
    """The hit rates at the PLACES and the mean reciprocal rank, each from 0 to 1."""
    found = [sum(rank is not None and rank <= place for rank in ranks) for place in PLACES]
    return [round(number / len(ranks), 3)
            for number in [*found, sum(1 / rank for rank in ranks if rank)]]
