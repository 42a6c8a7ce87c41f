"""The command line: chooses the verb, and turns what ends it into a message and an exit status."""
import argparse
import os
import sys
from importlib import import_module

from quillon_tools import __version__
from quillon_tools.errors import UserError

VERBS = {
    "check": "say what is wrong with a library, a list, encodings files or queries",
    "convert": "convert documents and libraries between the formats and .npz",
    "run": "search for many queries, or in a library that is split into parts",
    "report": "show results as one HTML page, or as a bar chart",
    "evaluate": "measure how well the methods find known answers",
    "encode-dxf": "make a library out of DXF drawings, as an example of an encoder",
}
EPILOG = """\
Each verb has its own help with examples: quillon-tools VERB --help

exit status: 0 fine, 1 findings or failures, 2 wrong usage
"""


def parser_of_verbs(chosen):
    """The parser of all verbs. A verb is the module of its name, with - written as _.

    Only the chosen one is imported, so that no verb needs the packages of another.
    """
    parser = argparse.ArgumentParser(
        prog="quillon-tools", description="Tools around the program quillon.", epilog=EPILOG,
        formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--version", action="version", version=f"quillon-tools {__version__}")
    verbs = parser.add_subparsers(dest="verb", metavar="VERB", required=True)
    for verb, help_line in VERBS.items():
        if verb != chosen:
            verbs.add_parser(verb, help=help_line)
            continue
        module = import_module("quillon_tools." + verb.replace("-", "_"))
        description, _, examples = module.__doc__.partition("\nexamples:\n")
        one = verbs.add_parser(
            verb, help=help_line, description=description,
            epilog="examples:\n" + examples, formatter_class=argparse.RawDescriptionHelpFormatter)
        module.add_arguments(one)
        one.set_defaults(run=module.run)
    return parser


def main(arguments=None):
    """Runs the verb and returns its exit status. Wrong usage ends with status 2 in argparse."""
    for stream in (sys.stdout, sys.stderr):
        stream.reconfigure(encoding="utf-8", errors="backslashreplace")
    words = sys.argv[1:] if arguments is None else arguments
    try:
        options = parser_of_verbs(words[0] if words else "").parse_args(words)
        status = options.run(options)
        sys.stdout.flush()
        return status
    except UserError as error:
        problem = str(error)
    except KeyboardInterrupt:
        problem = "stopped"
    except BrokenPipeError:  # the reader of our output, such as head, has what it wants
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        return 1
    except ModuleNotFoundError as error:
        problem = f"the Python package {error.name} is not installed"
    except OSError as error:
        name = f"{error.filename}: " if error.filename else ""
        problem = f"{name}{error.strerror or error}"
    print(f"quillon-tools {words[0]}: {problem}", file=sys.stderr)
    return 1
