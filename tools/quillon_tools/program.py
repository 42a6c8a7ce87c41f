"""Starts the program quillon for one search, without a shell."""
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
    """The end of one search. If it failed, only the first two members have values."""
    status: int
    message: str  # of a failure: the last line of the console
    seconds: float
    method: str = ""  # that really ran
    warnings: int = 0  # drawings and blocks that the program complained about


def find_program(given):
    """Returns the path of the program. Raises UserError if there is none."""
    found = shutil.which(given or "quillon")
    if found is None:
        where = f"{given}: is no program" if given else \
            "quillon is not on the PATH; name the program with --program"
        raise UserError(where)
    return os.path.abspath(found)


def add_search_arguments(parser):
    """Adds the options that are passed to every search."""
    parser.add_argument("--program", metavar="PATH",
                        help="path of the program (default: quillon, found through PATH)")
    parser.add_argument("--method", choices=list(METHODS.values()), default="adaptive",
                        help="how to rank (default: adaptive)")
    parser.add_argument("--topk", type=int, metavar="NUMBER", default=5,
                        help="largest number of hits of a query (default: 5; -1 for all)")
    parser.add_argument("--min", type=float, metavar="NUMBER", help="threshold (default: 0.3)")
    parser.add_argument("--no-dedup", action="store_true",
                        help="search all blocks of equal codes, not only the first one")


def search_options(options):
    """Returns the program's arguments for the options of `add_search_arguments`."""
    words = ["/method", options.method, "/topk", str(options.topk)]
    if options.min is not None:
        words += ["/min", repr(options.min)]
    return words + (["/no-dedup"] if options.no_dedup else [])


class Searches:
    """Searches that can be stopped from another thread."""

    def __init__(self, program, options):
        self.program, self.options = program, options
        self.running = set()
        self.is_stopped = False

    def run(self, file_list, query, output):
        """Runs one search. Writes the complete output, or none if the search fails."""
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
        """Ends the running searches, and prevents further ones."""
        self.is_stopped = True
        for process in list(self.running):
            process.kill()


def ended(status, console, seconds):
    """Returns the Search that the console describes."""
    lines = console.replace("\r\n", "\n").rstrip("\n").split("\n")
    if status != 0:
        # -1 is 255 on Linux and 4294967295 on Windows.
        return Search(255 if status == 4294967295 else status,
                      lines[-1].removeprefix("exception: "), seconds)
    ran = next((line for line in lines if line.startswith("     queryType: ")), "")
    warnings = sum(line.startswith(("Warning: ", "Invalid ")) for line in lines)
    return Search(0, "", seconds, METHODS.get(ran.partition(": ")[2], ""), warnings)
