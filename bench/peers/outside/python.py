#!/usr/bin/python3
"""Times Python's ways to do the jobs on the texts of a folder; see README.md here."""
import html
import json
import pathlib
import re
import sys
import time

import wcwidth

PAREN = re.compile("<[Uu]([0-9A-Fa-f]{4})>")

# Row: (column, form of the input, way, does it copy a text without notations?)
WAYS = {
    "codecs/ulGetNCR": [("python html.unescape", str, html.unescape, False)],
    "codecs/ulGetUEsc": [("python unicode_escape", bytes, lambda text: text.decode("unicode_escape"), True),
                         ("python json.loads", json, json.loads, True)],
    "codecs/ulGetUParen": [("python re.sub", str, lambda text: PAREN.sub(lambda m: chr(int(m[1], 16)), text), False)],
    "codecs/ulPutNCR": [("python xmlcharrefreplace", str, lambda text: text.encode("ascii", "xmlcharrefreplace"), False)],
    "codecs/ulPutUEsc": [("python unicode_escape", str, lambda text: text.encode("unicode_escape"), True),
                         ("python json.dumps", str, lambda text: json.dumps(text), True)],
    "codecs/ulPutUParen": [("python join", str, lambda text: "".join(["<u%04X>" % ord(c) for c in text]), True)],
    "metrics/T_ulGetUnicodeWidth": [("python wcwidth", str, wcwidth.wcswidth, True)],
}


def formed(form, data):
    """The input as the way takes it; making it is not timed."""
    if form is bytes:
        return data
    return data.decode() if form is str else f'"{data.decode()}"'


def plainly(result, column):
    result = result if isinstance(result, bytes) else str(result).encode()
    return result[1:-1] if column == "python json.dumps" else result


def fastest(way, text):
    times, end = [], time.perf_counter() + 0.3
    while len(times) < 4 or (time.perf_counter() < end and len(times) < 50):
        start = time.perf_counter_ns()
        way(text)
        times.append(time.perf_counter_ns() - start)
        if times[-1] > 2e9:
            break
    return min(times)


def measured(column, form, way, copies, size, data, expected):
    if not copies and size.startswith("plain"):
        return {"error": "returns its input"}
    text = formed(form, data)
    try:
        answer = plainly(way(text), column)
    except ValueError:
        return {"error": "not for this text"}
    if answer != expected and answer.lower() != expected.lower():
        return {"error": "not for this text"}
    return {"ns": fastest(way, text)} | ({"note": "other case"} if answer != expected else {})


def main():
    folder = pathlib.Path(sys.argv[1])
    for line in (folder / "index.tsv").read_text().splitlines():
        row, size, name = line.split("\t")
        for column, *way in WAYS.get(row.split(" ")[0], []):
            cell = measured(column, *way, size, (folder / f"{name}.in").read_bytes(), (folder / f"{name}.out").read_bytes())
            print(json.dumps({"row": row, "size": size, "column": column} | cell), flush=True)


main()
