#!/usr/bin/env python3
"""Every exported name and every slot must have a family of differential cases, which is a fuzz target as well.

usage: check_names.py LIBRARY RQ_DIFFERENTIAL"""
import subprocess
import sys

SLOTS = 69


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def main(library, program):
    exported = {line.split()[-1].split("@")[0] for line in output("nm", "-D", "--defined-only", library).splitlines()
                if line.split()[-2] != "A"}
    covered = set(output(program, "names").split())
    slots = {name for name in covered if "." in name}
    missing, unknown = exported - covered, covered - slots - exported
    for name in sorted(missing):
        print(f"{name}: no fuzz target")
    for name in sorted(unknown):
        print(f"{name}: fuzzed, but not exported")
    print(f"{len(exported - missing)} of {len(exported)} exported names, {len(slots)} of {SLOTS} slots")
    return 0 if exported and not missing and not unknown and len(slots) == SLOTS else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
