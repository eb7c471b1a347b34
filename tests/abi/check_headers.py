#!/usr/bin/env python3
"""Compiles the public headers alone and together, as C and C++: check_headers.py SOURCE_DIRECTORY.

Every compiler of the list that is installed takes part; at least one for each language must be.
"""
import pathlib
import shutil
import subprocess
import sys

WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Wshadow", "-Wundef", "-Werror"]
LANGUAGES = [("c", ("c11", "c17"), ("gcc", "clang")), ("c++", ("c++17", "c++20"), ("g++", "clang++"))]
# A host engineer's first lines: tables filled by slot, an operation called through the object.
USE = """
static RQStatus convert(RQInterface *object, const char *text, uint64_t bytes, char *out, uint64_t room) {
  uint64_t written = 0;
  return object->plain.getNCR(object, text, bytes, out, room, &written);
}
RQStatus use(RQInterface *object);
RQStatus use(RQInterface *object) {
  char out[8 + RQ_OUTPUT_SLACK_BYTES];
  return convert(object, "&#65;", 5, out, 8);
}
"""


def main():
    source = pathlib.Path(sys.argv[1])
    headers = ["rquni.h", "types.h", "host_tables.h", "host_entry.h", "interface.h", "journal_bridges.h", "kit_exports.h", "operations.h", "registration.h"]
    compiled, failed = 0, 0
    for language, standards, compilers in LANGUAGES:
        present = [compiler for compiler in compilers if shutil.which(compiler)]
        if not present:
            print("no compiler for", language)
            failed += 1
        for compiler in present:
            for standard in standards:
                for header in headers:
                    text = f'#include "frame/{header}"\n' + (USE if header == "rquni.h" else "")
                    command = [compiler, "-x", language, f"-std={standard}", *WARNINGS, f"-I{source}", "-fsyntax-only", "-"]
                    result = subprocess.run(command, input=text, capture_output=True, text=True)
                    compiled += 1
                    if result.returncode or result.stderr:
                        failed += 1
                        print(" ".join(command), f"# {header}\n{result.stderr}")
    print(f"{compiled} compilations, {failed} failed")
    return bool(failed)


sys.exit(main())
