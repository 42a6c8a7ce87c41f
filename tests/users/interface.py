"""Reads the command line from the program's sources, for comparison with the documents."""
import re

from program import ROOT


def options():
    """Returns the names of the parser's options, with True if the next argument is the value."""
    source = (ROOT / "src/run/options.cpp").read_text(encoding="utf-8")
    branches = re.findall(r'token == "(/[^"]+)"\) \{\n(.*)\n', source)
    return {name: "value()" in action for name, action in branches}


def methods():
    """Returns the words of /method."""
    source = (ROOT / "src/run/options.cpp").read_text(encoding="utf-8")
    return re.findall(r'\{"(\w+)", QueryType::', source)


def extensions():
    """Returns the extensions of documents, with their points."""
    source = (ROOT / "src/documents/json_file.cpp").read_text(encoding="utf-8")
    return sorted(set(re.findall(r'"(\.\w+)"', source)))
