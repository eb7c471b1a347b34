#!/usr/bin/env python3
"""Every row of docs/quirks.md names the tests that hold the library to it, and each of them exists.

usage: check_quirks.py

A test's name is that of a row ("GetDecimal"), a suite and its test ("Slack.EightBytesAreEnoughForEveryOperation") or a
test alone. The tests are read from their sources, so that no program has to be built."""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGE = ROOT / "docs" / "quirks.md"
TEST = re.compile(r"^(?:TYPED_)?TEST(?:_[FP])?\((\w+),\s*(\w+)\)", re.M)
ROW = re.compile(r'^\s*\{"(\w+)",', re.M)
TABLE_ROW = re.compile(r"^\| (.*) \|$", re.M)


def known_names():
    names = set()
    for source in (ROOT / "tests").rglob("*_test.cpp"):
        text = source.read_text()
        for suite, test in TEST.findall(text):
            names |= {test, f"{suite}.{test}"}
        names |= set(ROW.findall(text))
    return names


def main():
    known, rows, named, complaints = known_names(), 0, 0, []
    for line in TABLE_ROW.findall(PAGE.read_text()):
        cells = line.split(" | ")
        if set(line) <= set("-| ") or cells[-1] == "Tests":
            continue
        rows += 1
        names = [name.strip("` ") for name in cells[-1].split(",")]
        named += len(names)
        complaints += [f"{cells[0][:60]}: no test {name!r}" for name in names if name not in known]
    for complaint in complaints:
        print(complaint)
    print(f"{rows} rows, {named} tests named, {len(complaints)} missing")
    return bool(complaints) or rows < 30


if __name__ == "__main__":
    sys.exit(main())
