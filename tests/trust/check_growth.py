#!/usr/bin/env python3
"""Counts the instructions of each operation's worst texts of n and of 2n units with callgrind: at most 2.2 times.

usage: check_growth.py RQ_GROWTH [UNITS [PIECES]]"""
import re
import subprocess
import sys
import tempfile

MOST = 2.2


def instructions(program, operation, piece, units):
    with tempfile.NamedTemporaryFile() as out:
        done = subprocess.run(["valgrind", "--tool=callgrind", "--toggle-collect=rq::test::countedCall*",
                               f"--callgrind-out-file={out.name}", program, operation, str(piece), str(units)],
                              capture_output=True, text=True, check=True)
    return int(re.search(r"Collected : (\d+)", done.stderr).group(1))


def main(program, units=20000, pieces=4):
    operations = subprocess.run([program, "--list"], capture_output=True, text=True, check=True).stdout.split()
    worst = 0
    for operation in operations:
        for piece in range(int(pieces)):
            once = instructions(program, operation, piece, int(units))
            twice = instructions(program, operation, piece, 2 * int(units))
            growth = twice / max(1, once)
            worst = max(worst, growth)
            mark = "" if 1 < growth <= MOST else "   TOO MUCH" if growth > MOST else "   NOTHING COUNTED"
            print(f"{operation:17} text {piece}: {once:>12} {twice:>12} {growth:5.2f}{mark}", flush=True)
            if mark:
                return 1
    print(f"{len(operations) * int(pieces)} texts, growth at most {worst:.2f}")
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
