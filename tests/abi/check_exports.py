#!/usr/bin/env python3
"""Compares the exported symbols of the library with a list: check_exports.py LIBRARY LIST."""
import subprocess
import sys


def exported(library):
    table = subprocess.run(["readelf", "-W", "--dyn-syms", library], check=True, capture_output=True, text=True).stdout
    names = set()
    for line in table.splitlines():
        fields = line.split()
        if len(fields) >= 8 and fields[0].rstrip(":").isdigit() and fields[6] not in ("UND", "ABS"):
            names.add(fields[7].split("@")[0])
    return names


def main():
    library, list_file = sys.argv[1:]
    with open(list_file, encoding="ascii") as file:
        wanted = set(file.read().split())
    found = exported(library)
    for name in sorted(found - wanted):
        print("exported but not listed:", name)
    for name in sorted(wanted - found):
        print("listed but not exported:", name)
    print(f"{len(found)} symbols exported, {len(wanted)} listed")
    return found != wanted


sys.exit(main())
