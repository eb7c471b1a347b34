#!/usr/bin/env python3
"""Compares the exported symbols of the library with the symbols of a recorded ABI: check_exports.py LIBRARY ABI."""
import subprocess
import sys
import xml.etree.ElementTree


def exported(library):
    table = subprocess.run(["readelf", "-W", "--dyn-syms", library], check=True, capture_output=True, text=True).stdout
    names = set()
    for line in table.splitlines():
        fields = line.split()
        if len(fields) >= 8 and fields[0].rstrip(":").isdigit() and fields[6] not in ("UND", "ABS"):
            names.add(fields[7].split("@")[0])
    return names


def recorded(abi):
    return {symbol.get("name") for symbol in xml.etree.ElementTree.parse(abi).iter("elf-symbol")}


def main():
    library, abi = sys.argv[1:]
    wanted, found = recorded(abi), exported(library)
    for name in sorted(found - wanted):
        print("exported but not recorded:", name)
    for name in sorted(wanted - found):
        print("recorded but not exported:", name)
    print(f"{len(found)} symbols exported, {len(wanted)} recorded")
    return not wanted or found != wanted


sys.exit(main())
