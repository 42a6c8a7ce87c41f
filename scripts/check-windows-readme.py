#!/usr/bin/env python3
"""Runs the commands of README.txt in the unpacked zip, in the order in which they are written:

    scripts/check-windows-readme.py FOLDER

The program's own commands run in cmd, under wine. There is no PowerShell here, so the lines that
write the smallest documents are translated, which shows that the documents are right and not that
PowerShell writes them.
"""
import json
import os
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]
SAVE = """\
function Save($name, $document) {
    $json = ConvertTo-Json $document -Depth 5 -Compress
    [IO.File]::WriteAllText("$PWD\\$name", $json)
}
"""


def commands_of(readme):
    """The indented lines, by the number of their section."""
    sections, number = {}, None
    for line in readme.splitlines():
        heading = re.match(r"(\d)\. ", line)
        if heading:
            number = heading[1]
        elif line.startswith("    "):
            sections.setdefault(number, []).append(line[4:])
    return sections


def run(command, folder, search_path):
    ended = subprocess.run(
        [ROOT / "scripts/wine.sh", "cmd", "/c", *command.split()], cwd=folder, check=False,
        env=os.environ | {"WINEPATH": f"Z:{search_path}"}, capture_output=True)
    lines = ended.stdout.decode().splitlines()
    if ended.returncode != 0 or lines[-1:] != ["Quillon engine run successfully!"]:
        raise SystemExit(f"{command}\n{ended.stdout.decode()}{ended.stderr.decode()}")


def value_of(expression, variables):
    """`,value` is an array of one; a value is a variable or a text."""
    value = expression.strip().removeprefix(",")
    return [variables[value[1:]] if value.startswith("$") else json.loads(value)]


def write_documents(lines, folder):
    """What the lines of section 4 do, but for the program's own command."""
    variables = {}
    for line in lines:
        array = re.fullmatch(r"\$(\w+) = ([@()\d., +*]+)", line)
        save = re.fullmatch(r'Save "([\w.\\]+)" @\{ (.*) \}', line)
        if array:
            variables[array[1]] = eval(re.sub(r"@\(([^)]*)\)", r"[\1]", array[2]))
        elif save:
            members = (member.split(" = ") for member in save[2].split("; "))
            document = {name: value_of(value, variables) for name, value in members}
            (folder / save[1].replace("\\", "/")).write_text(json.dumps(document))
        elif line.startswith("mkdir "):
            (folder / line.split()[1]).mkdir()
        elif line not in ('$env:Path += ";$PWD"', "Get-Content result.json"):
            raise SystemExit(f"not known here: {line}")


def main():
    folder = Path(sys.argv[1]).resolve()
    sections = commands_of((folder / "README.txt").read_text())
    assert sections["1"] == [f"(Get-FileHash {folder.name}.zip).Hash"], sections["1"]

    [search] = sections["3"]
    run(search, folder / "sample", folder)
    subprocess.run([ROOT / "scripts/check-sample-hits.sh", folder / "doors.json"], check=True)

    text = "\n".join(sections["4"]) + "\n"
    assert SAVE in text, text
    lines = text.replace(SAVE, "").splitlines()
    [search] = [line for line in lines if line.startswith("quillon ")]
    write_documents([line for line in lines if line != search], folder)
    run(search, folder, folder)
    [hit] = json.loads((folder / "result.json").read_text())["blocks"]
    assert (hit["name"], hit["distOrScore"]) == ("Door 90", 0.4000000059604645), hit


if __name__ == "__main__":
    main()
