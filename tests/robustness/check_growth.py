#!/usr/bin/env python3
"""Counts the instructions of each operation's worst texts of n and of 2n units with callgrind: at most 2.2 times.

usage: check_growth.py RQ_GROWTH [--long]

The quick form: the texts known to be worst, and for the decoders every text in which a piece of one to three
characters of the notations' alphabet repeats. The long form: the same for all operations, the known ones up to 2 MiB,
and the worst of them up to 16 MiB."""
import pathlib
import re
import subprocess
import sys
import tempfile
import time

MOST = 2.2
LEAST = 1000  # instructions; long copies are single ones, so that twice the text may even take fewer
MEBIBYTE = 1 << 20
DECODERS = ("getNCR", "getUEsc", "getUParen", "getUParenP")
QUICK = (("all", 2000), ("known", 16000))
LONG = (("all", 4000), ("known", 16000), ("known", MEBIBYTE), ("largest", 8 * MEBIBYTE))  # and the double


def counts(program, operation, kind, size):
    """The instructions of each batch and size, in order, and the names of the batches."""
    with tempfile.TemporaryDirectory() as directory:
        out = pathlib.Path(directory) / "out"
        done = subprocess.run(["valgrind", "--tool=callgrind", "--toggle-collect=rq::test::callSlot*",
                               "--dump-after=rq::test::countedBatch*", f"--callgrind-out-file={out}",
                               program, operation, str(size), kind], capture_output=True, text=True, check=True)
        dumps = sorted(out.parent.glob("out.*"), key=lambda path: int(path.suffix[1:]))
        figures = [int(re.search(r"^summary: (\d+)", dump.read_text(), re.M).group(1)) for dump in dumps]
    return figures, done.stdout.splitlines()


def main(program, *options):
    operations = subprocess.run([program, "--list"], capture_output=True, text=True, check=True).stdout.split()
    sizes = LONG if "--long" in options else QUICK
    texts, worst, failed = 0, 0.0, False
    for operation in operations:
        for kind, size in sizes:
            if sizes is QUICK and kind == "all" and operation not in DECODERS:
                continue
            begun = time.monotonic()
            figures, names = counts(program, operation, kind, size)
            if not names or len(figures) < 2 * len(names):
                print(f"{operation}: {len(figures)} figures for {len(names)} batches")
                return 1
            most, at = 0.0, ""
            for name, once, twice in zip(names, figures[0::2], figures[1::2]):
                growth = twice / max(1, once)
                if growth > MOST or min(once, twice) < LEAST:
                    failed = True
                    print(f"{'TOO MUCH' if growth > MOST else 'NOTHING COUNTED'}: {once} {twice} {growth:.2f} {name}")
                if growth > most:
                    most, at = growth, name
            worst = max(worst, most)
            texts += len(names)
            print(f"{operation:17} {2 * size:>9} bytes, {len(names):>4} batches, at most {most:.2f} in {at[:60]}, "
                  f"{time.monotonic() - begun:.0f} s", flush=True)
    print(f"{texts} batches of texts, growth at most {worst:.2f}")
    return failed


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
