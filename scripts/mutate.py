#!/usr/bin/env python3
"""Changes src/ in small ways, one at a time, and reports the changes that no test notices.

    scripts/mutate.py [--count N] [--seed S] [FILE ...]

Works on a copy of the tree in build/mutants. The tests are built once, and again for each change. A
change that no test notices is a missing test, or has no effect that can be observed.
"""
import argparse
import json
import os
import pathlib
import random
import re
import shutil
import signal
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
COPY = ROOT / "build/mutants/tree"
BUILD = ROOT / "build/mutants/build"
TESTS = BUILD / "tests/quillon_tests"
REFUSED_MEMORY_TESTS = BUILD / "tests/quillon_refused_memory_tests"

# Pattern and replacement. Each match in a line of code is one change.
CHANGES = [
    (r" < ", " <= "), (r" <= ", " < "), (r" > ", " >= "), (r" >= ", " > "),
    (r" == ", " != "), (r" != ", " == "), (r" && ", " || "), (r" \|\| ", " && "),
    (r" \+ 1\b(?![.\d])", ""), (r" - 1\b(?![.\d])", ""), (r" \+ ", " - "), (r" - ", " + "),
    (r" \* ", " + "), (r" \+= ", " -= "), (r"\+\+", "--"),
    (r"\btrue\b", "false"), (r"\bfalse\b", "true"), (r"\(!", "("),
    (r"std::min\b", "std::max"), (r"std::max\b", "std::min"),
    (r"(?<![\w.\"\[])([1-9]\d*)(?![\w.\"\]])", lambda m: str(int(m[1]) + 1)),
    (r"(?<![\w.])(\d+\.\d+)(?=F?\b)", lambda m: str(float(m[1]) * 2 + 0.125)),
    (r"^\s+[\w.>\[\]-]+(\(.*\)| [-+]?= .*);$", ""),  # a call or an assignment is left out
    (r"^(\s+)(break|continue|throw);$", r"\1;"),
]


def is_code(line):
    return line.strip() and not line.lstrip().startswith(("//", "#", "static_assert", "using ", "}"))


def changes_of(path):
    for number, line in enumerate((ROOT / path).read_text().splitlines()):
        if not is_code(line):
            continue
        code = line.split("  // ")[0].rstrip()
        for pattern, replacement in CHANGES:
            for match in re.finditer(pattern, code):
                new = replacement(match) if callable(replacement) else match.expand(replacement)
                if code.count('"', 0, match.start()) % 2 == 0:  # texts have tests of their own
                    yield path, number, line, code[:match.start()] + new + code[match.end():]


def run(*command, seconds=None):
    process = subprocess.Popen(command, cwd=COPY, stdout=subprocess.DEVNULL, env=ENVIRONMENT,
                               stderr=subprocess.DEVNULL, start_new_session=True)
    try:
        return process.wait(seconds)
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)  # with the programs that a test has started
        process.wait()
        return "timed out"


def suites_near(path):
    """Returns the test suites of a source's folder, which notice most changes."""
    folder = COPY / "tests" / pathlib.Path(path).parent.relative_to("src")
    names = re.findall(r"^TEST(?:_[FP])?\((\w+),", "".join(
        test.read_text() for test in sorted(folder.glob("*_test.cpp"))), re.MULTILINE)
    return ":".join(f"{name}.*:*/{name}.*" for name in sorted(set(names)))


def measure_tests():
    """Runs all tests once. Returns the quick and the slow selections for `verdict`, each with a time
    limit in seconds, after which a change has made an endless loop."""
    report = BUILD / "times.json"
    if run("cmake", "--build", BUILD) or run(TESTS, f"--gtest_output=json:{report}"):
        sys.exit("the tests do not pass without a change")
    seconds = {f"{suite['name']}.{test['name']}": float(test["time"].rstrip("s"))
               for suite in json.loads(report.read_text())["testsuites"]
               for test in suite["testsuite"]}
    slow = [name for name in seconds if seconds[name] > 1]
    slow_seconds = sum(seconds[name] for name in slow)
    return ":".join(slow), 30 + 3 * (sum(seconds.values()) - slow_seconds), 30 + 3 * slow_seconds


def verdict(path, slow, quick_limit, slow_limit):
    if run("cmake", "--build", BUILD, "--target", TESTS.name, REFUSED_MEMORY_TESTS.name):
        return "does not compile"
    near = suites_near(path)
    for tests, selection, seconds in ((TESTS, f"{near}:-{slow}", quick_limit),
                                      (TESTS, f"-{near}:{slow}", quick_limit),
                                      (TESTS, slow, slow_limit),
                                      (REFUSED_MEMORY_TESTS, "*", slow_limit)):
        outcome = run(tests, "--gtest_fail_fast", f"--gtest_filter={selection}", seconds=seconds)
        if outcome:
            return "timed out" if outcome == "timed out" else "noticed"
    return "SURVIVED"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--count", type=int, default=100)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("files", nargs="*")
    arguments = parser.parse_args()
    sources = arguments.files or [str(path.relative_to(ROOT)) for path in sorted(
        (ROOT / "src").rglob("*")) if path.suffix in (".cpp", ".h") and path.name != "main.cpp"]
    changes = [change for source in sources for change in changes_of(source)]
    random.Random(arguments.seed).shuffle(changes)
    print(f"{len(changes)} changes are possible, {min(arguments.count, len(changes))} are tried")

    shutil.rmtree(COPY, ignore_errors=True)
    COPY.mkdir(parents=True)
    for part in ("CMakeLists.txt", "debian-packages.txt", "src", "tests", "examples"):
        # With the present time, because objects of an earlier run may come from a change.
        if (ROOT / part).is_dir():
            shutil.copytree(ROOT / part, COPY / part, copy_function=shutil.copy)
        else:
            shutil.copy(ROOT / part, COPY / part)
    if run("cmake", "-S", COPY, "-B", BUILD, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=None",
           "-DCMAKE_CXX_FLAGS=-O1 -w", "-DQUILLON_PRECOMPILE=ON"):
        sys.exit("the copy can't be configured")
    selections = measure_tests()

    counts = {}
    # File by file, so that restoring a file is compiled together with its next change.
    for path, number, line, changed in sorted(changes[:arguments.count]):
        target = COPY / path
        original = target.read_text()
        lines = original.splitlines()
        lines[number] = changed
        target.write_text("\n".join(lines) + "\n")
        outcome = verdict(path, *selections)
        target.write_text(original)
        counts[outcome] = counts.get(outcome, 0) + 1
        print(f"{outcome}: {path}:{number + 1}: {line.strip()}  =>  {changed.strip()}", flush=True)
    print(counts)


ENVIRONMENT = {"PATH": "/usr/bin:/bin", "OMP_WAIT_POLICY": "PASSIVE", "LC_ALL": "C.UTF-8"}

if __name__ == "__main__":
    main()
