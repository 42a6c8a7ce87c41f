"""Starts the program quillon: one search, as a process of its own without a shell."""
import os
import shutil
import subprocess
import time
from dataclasses import dataclass
from pathlib import Path

from quillon_tools.errors import UserError

METHODS = {"Adaptive": "adaptive", "ByShape": "shape", "ByText": "text", "Simple": "simple"}


@dataclass
class Search:
    """How one search ended. Everything but the first two is empty where it failed."""
    status: int
    message: str  # of a failure: the last line of the console
    seconds: float
    method: str = ""  # that really ran
    warnings: int = 0  # drawings and blocks that the program complained about


def find_program(given):
    """The path of the program. Raises UserError where there is none."""
    found = shutil.which(given or "quillon")
    if found is None:
        where = f"{given}: is no program" if given else \
            "quillon is not on the PATH; name the program with --program"
        raise UserError(where)
    return os.path.abspath(found)


def add_search_arguments(parser):
    """The options that every search of the verb gets."""
    parser.add_argument("--program", metavar="PATH", help="quillon on the PATH unless given")
    parser.add_argument("--method", choices=list(METHODS.values()), default="adaptive",
                        help="how to rank; adaptive unless given")
    parser.add_argument("--topk", type=int, metavar="NUMBER", default=5,
                        help="hits of a query at most; 5 unless given, -1 for all")
    parser.add_argument("--min", type=float, metavar="NUMBER", help="threshold; 0.3 unless given")
    parser.add_argument("--no-dedup", action="store_true", help="keep blocks of equal codes")


def search_options(options):
    """The program's arguments for the options of `add_search_arguments`."""
    words = ["/method", options.method, "/topk", str(options.topk)]
    if options.min is not None:
        words += ["/min", repr(options.min)]
    return words + (["/no-dedup"] if options.no_dedup else [])


class Searches:
    """Searches that can be stopped from another thread, each with one thread for its products."""

    def __init__(self, program, options):
        self.program, self.options = program, options
        self.running = set()
        self.is_stopped = False

    def run(self, file_list, query, output):
        """One search. The output appears whole, or not at all where the search fails."""
        partial = Path(output).with_name(f".{os.getpid()}-{Path(output).name}")
        words = [self.program, "/filelist", file_list, "/encode", query, "/output", partial,
                 *self.options]
        begin = time.monotonic()
        try:
            process = subprocess.Popen(
                list(map(str, words)), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                stderr=subprocess.STDOUT)
            self.running.add(process)
            if self.is_stopped:
                process.kill()
            console = process.communicate()[0].decode("utf-8", errors="replace")
            self.running.discard(process)
            search = ended(process.returncode, console, time.monotonic() - begin)
            if search.status == 0:
                os.replace(partial, output)
            return search
        except OSError as error:
            return Search(1, f"{error.strerror}: {error.filename}", time.monotonic() - begin)
        finally:
            partial.unlink(missing_ok=True)

    def stop(self):
        """Ends the running searches and lets no other begin."""
        self.is_stopped = True
        for process in list(self.running):
            process.kill()


def ended(status, console, seconds):
    """The Search that its console tells of."""
    lines = console.replace("\r\n", "\n").rstrip("\n").split("\n")
    if status != 0:
        # -1 is seen as 255 on Linux and as 4294967295 on Windows.
        return Search(255 if status == 4294967295 else status,
                      lines[-1].removeprefix("exception: "), seconds)
    ran = next((line for line in lines if line.startswith("     queryType: ")), "")
    warnings = sum(line.startswith(("Warning: ", "Invalid ")) for line in lines)
    return Search(0, "", seconds, METHODS.get(ran.partition(": ")[2], ""), warnings)
