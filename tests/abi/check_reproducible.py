#!/usr/bin/env python3
"""Builds the library twice, from one commit in two folders, and compares: check_reproducible.py SOURCE_DIRECTORY.

Ends with 77 (skipped) when the source is no git checkout.
"""
import filecmp
import os
import pathlib
import subprocess
import sys
import tempfile


def build(source, folder):
    run = lambda *command: subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    run("git", "-c", "advice.detachedHead=false", "clone", "--quiet", str(source), str(folder / "tree"))
    commit = subprocess.run(["git", "-C", str(source), "rev-parse", "HEAD"], check=True, capture_output=True, text=True)
    run("git", "-C", str(folder / "tree"), "checkout", "--quiet", "--detach", commit.stdout.strip())
    run("cmake", "-S", str(folder / "tree"), "-B", str(folder / "build"), "-G", "Ninja", "-DRQ_TESTS=OFF", "-DRQ_HOST=OFF")
    run("cmake", "--build", str(folder / "build"), "--target", "rquni", "--parallel", "2")
    return (folder / "build" / "lib" / "librquni.so").resolve()


def main():
    source = pathlib.Path(sys.argv[1])
    if subprocess.run(["git", "-C", str(source), "rev-parse"], capture_output=True).returncode:
        print("no git checkout")
        return 77
    with tempfile.TemporaryDirectory() as top:
        folders = [pathlib.Path(top) / "a", pathlib.Path(top) / "a-longer-name" / "and-deeper"]
        libraries = []
        for zone, folder in zip(("UTC", "Asia/Tokyo"), folders):
            folder.mkdir(parents=True)
            os.environ["TZ"] = zone
            libraries.append(build(source, folder))
        same = filecmp.cmp(*libraries, shallow=False)
        print(f"{libraries[0].stat().st_size} bytes,", "identical" if same else "DIFFERENT")
        return not same


sys.exit(main())
