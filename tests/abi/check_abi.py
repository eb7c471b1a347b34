#!/usr/bin/env python3
"""Compares what the library's binary interface is with the kept dump of it, types included.

usage: check_abi.py [--renew] [BUILD]

Builds the library with debug information in BUILD (a temporary folder when not given), for the types stand nowhere
else, and fails on every difference. What only adds to the interface is taken over by --renew, which writes the dump
anew; docs/versioning.md says what else a difference means. Ends with 77 (skipped) when abidiff is missing."""
import argparse
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
SOURCE = HERE.parents[1]
DUMP = HERE / "rquni-1.abi"


def build(folder):
    # Compilers name some types differently: the dump is what gcc makes of the headers.
    quietly = {"check": True, "stdout": subprocess.DEVNULL, "env": {**os.environ, "CC": "gcc", "CXX": "g++"}}
    subprocess.run(["cmake", "-S", SOURCE, "-B", folder, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=RelWithDebInfo",
                    "-DRQ_TESTS=OFF", "-DRQ_HOST=OFF"], **quietly)
    subprocess.run(["cmake", "--build", folder, "--target", "rquni", "--parallel", "2"], **quietly)
    return folder / "lib" / "librquni.so"


def renew(library):
    """Neither paths nor lines: the dump changes only with the interface."""
    subprocess.run(["abidw", "--no-corpus-path", "--no-comp-dir-path", "--no-show-locs", "--type-id-style", "hash",
                    "--no-parameter-names", "--suppressions", HERE / "internal.ini", "--out-file", DUMP, library],
                   check=True)


def compare(library):
    done = subprocess.run(["abidiff", "--harmless", DUMP, library], capture_output=True, text=True)
    print(done.stdout, done.stderr, sep="", end="")
    print(f"{DUMP.name}: {'the same' if done.returncode == 0 else 'DIFFERENT'}")
    return done.returncode != 0


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--renew", action="store_true")
    parser.add_argument("build", nargs="?", type=pathlib.Path)
    options = parser.parse_args()
    if not shutil.which("abidiff") or not shutil.which("abidw"):
        print("skipped: abidiff is missing (Debian package abigail-tools)")
        return 77
    with tempfile.TemporaryDirectory() as scratch:
        library = build(options.build or pathlib.Path(scratch))
        return renew(library) if options.renew else compare(library)


sys.exit(main())
