#!/usr/bin/python3
"""Times the filters uni2ascii and ascii2uni on the texts of a folder; see README.md here.

The time is the processor's for the whole process, less that of a run on an empty text. ascii2uni reads line by line, and
its time grows with the square of a line; so it gets every tenth blank of a text as the end of a line. The texts that
test growth have none, and are left out.
"""
import json
import os
import pathlib
import subprocess
import sys
import tempfile

WAYS = {
    "codecs/ulGetNCR": ["ascii2uni", "-q", "-a", "D"],
    "codecs/ulGetUEsc": ["ascii2uni", "-q", "-a", "U"],
    "codecs/ulGetUParen": ["ascii2uni", "-q", "-Z", "<u%04X>"],
    "codecs/ulPutNCR": ["uni2ascii", "-q", "-a", "D"],
    "codecs/ulPutUEsc": ["uni2ascii", "-q", "-a", "U"],
    "codecs/ulPutUParen": ["uni2ascii", "-q", "-p", "-s", "-n", "-a", "A"],
}
PATIENCE = 3  # seconds


def inLines(text):
    words = text.split(b" ")
    return b"".join(word + (b"\n" if i % 10 == 9 else b" ") for i, word in enumerate(words[:-1])) + words[-1] + b"\n"


def run(command, path):
    """The answer and the processor time in ns; no answer when the filter takes too long."""
    with open(path, "rb") as text, tempfile.TemporaryFile() as answer:
        process = subprocess.Popen(["timeout", str(PATIENCE), *command], stdin=text, stdout=answer, stderr=subprocess.DEVNULL)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        answer.seek(0)
        return (answer.read() if process.returncode == 0 else None), 1e9 * (usage.ru_utime + usage.ru_stime)


def measured(command, path, expected):
    answer, time = run(command, path)
    if answer is None:
        return {"error": f"not done in {PATIENCE} s"}
    if answer.lower() != expected.lower():
        return {"error": "not for this text"}
    empty = min(run(command, os.devnull)[1] for _ in range(4))
    time = min([time] + [run(command, path)[1] for _ in range(3)])
    return {"ns": max(time - empty, 1)} | ({"note": "other case"} if answer != expected else {})


def main():
    folder = pathlib.Path(sys.argv[1])
    for line in (folder / "index.tsv").read_text().splitlines():
        row, size, name = line.split("\t")
        command, path, expected = WAYS.get(row), folder / f"{name}.in", (folder / f"{name}.out").read_bytes()
        if command and command[0] == "ascii2uni":
            path = folder / f"{name}.lines"
            path.write_bytes(inLines((folder / f"{name}.in").read_bytes()))
            expected = inLines(expected)
        if command:
            cell = measured(command, path, expected)
            print(json.dumps({"row": row, "size": size, "column": command[0]} | cell), flush=True)


main()
