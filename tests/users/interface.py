"""What the program's own sources say of its command line, for comparison with what documents say."""
import re

from program import ROOT


def options():
    """Every option's name with True when the next argument is its value, as the parser has them."""
    source = (ROOT / "src/run/options.cpp").read_text(encoding="utf-8")
    branches = re.findall(r'token == "(/[^"]+)"\) \{\n(.*)\n', source)
    return {name: "value()" in action for name, action in branches}


def methods():
    """The words of /method."""
    source = (ROOT / "src/run/options.cpp").read_text(encoding="utf-8")
    return re.findall(r'\{"(\w+)", QueryType::', source)


def extensions():
    """The extensions of documents, with their points."""
    source = (ROOT / "src/documents/json_file.cpp").read_text(encoding="utf-8")
    return sorted(set(re.findall(r'"(\.\w+)"', source)))
