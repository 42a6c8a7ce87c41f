"""Tables and names for the terminal."""
import csv
import io
import json


def printable(text):
    """The text on one line, with everything that could move a cursor written as an escape."""
    return "".join(letter if letter.isprintable() else letter.encode("unicode_escape").decode()
                   for letter in str(text))


def text_table(head, rows):
    """Columns aligned by blanks, numbers to the right, without blanks at the ends of lines."""
    lines = [list(map(printable, row)) for row in [head, *rows]]
    widths = [max(map(len, column)) for column in zip(*lines)]
    is_number = [all(isinstance(row[place], (int, float)) or row[place] == "" for row in rows)
                 for place in range(len(head))]
    return "".join(
        "  ".join(cell.rjust(width) if right else cell.ljust(width)
                  for cell, width, right in zip(line, widths, is_number)).rstrip() + "\n"
        for line in lines)


def csv_table(head, rows):
    file = io.StringIO()
    csv.writer(file, lineterminator="\n").writerows([head, *rows])
    return file.getvalue()


def markdown_table(head, rows):
    lines = [head, ["---"] * len(head), *rows]
    return "".join("| " + " | ".join(map(printable, line)) + " |\n" for line in lines)


def json_table(head, rows):
    return json.dumps([dict(zip(head, row)) for row in rows], ensure_ascii=False, indent=2) + "\n"


def counted(number, noun):
    """"1 file", "2 files"."""
    return f"{number:,} {noun}{'' if number == 1 else 's'}"
