#!/usr/bin/env python3
"""Checks how the library's file is made: check_elf.py LIBRARY BUILD_DIRECTORY SOURCE_DIRECTORY.

Uses readelf and objdump of binutils. Prints each property that does not hold and ends with 1 when there is one.
"""
import re
import subprocess
import sys

# The symbols that the library may need: routines that every C library has, and those that compilers and linker add.
# The checked forms (__memset_chk) are not among them: only one C library has those.
MEMORY_ROUTINES = {"memcpy", "memmove", "memset", "memcmp", "memchr", "strlen"}
SYSTEM_CALLS = {"mprotect", "secure_getenv"}
COMPILERS_OWN = {"__stack_chk_fail"}
WEAK = {"__cxa_finalize", "__gmon_start__", "_ITM_deregisterTMCloneTable", "_ITM_registerTMCloneTable"}
# What may be written after loading: the kernel handle.
WRITABLE_BYTES = 8 + 48  # and what the compiler's start files and alignment add
PAGE = 4096


class Library:
    def __init__(self, path):
        self.path = path
        self.dynamic = self.tool("readelf", "-W", "-d")
        self.segments = self.tool("readelf", "-W", "-l")
        self.sections = self.tool("readelf", "-W", "-S")
        self.notes = self.tool("readelf", "-W", "-n")
        self.symbols = [line.split() for line in self.tool("readelf", "-W", "--dyn-syms").splitlines()]
        self.symbols = [s for s in self.symbols if len(s) >= 8 and s[0].rstrip(":").isdigit()]
        for symbol in self.symbols:
            symbol[7] = symbol[7].split("@")[0]

    def tool(self, *command):
        return subprocess.run([*command, self.path], check=True, capture_output=True, text=True).stdout

    def entries(self, tag):
        return re.findall(r"\(" + tag + r"\)\s+(.*)", self.dynamic)

    def bracketed(self, tag):
        return [re.search(r"\[(.*)\]", entry).group(1) for entry in self.entries(tag)]

    def section_bytes(self, name):
        found = re.search(r"\]\s+" + re.escape(name) + r"\s+\S+\s+[0-9a-f]+\s+[0-9a-f]+\s+([0-9a-f]+)", self.sections)
        return int(found.group(1), 16) if found else 0


def problems(library, build_directory, source_directory):
    if library.bracketed("SONAME") != ["librquni.so.1"]:
        yield f"SONAME is {library.bracketed('SONAME')}"
    if set(library.bracketed("NEEDED")) - {"libc.so.6"}:
        yield f"NEEDED is {library.bracketed('NEEDED')}"
    if not re.search(r"\bNOW\b|BIND_NOW", " ".join(library.entries("FLAGS") + library.entries("FLAGS_1"))
                     + " ".join(library.entries("BIND_NOW"))):
        yield "not bound at load (BIND_NOW)"
    for tag in ("TEXTREL", "RPATH", "RUNPATH"):
        if library.entries(tag):
            yield f"{tag} present"

    if "GNU_RELRO" not in library.segments:
        yield "no RELRO segment"
    stack = re.search(r"GNU_STACK.*?\s([RWE ]{3})\s+0x", library.segments)
    if not stack or "E" in stack.group(1):
        yield "the stack is executable"
    for flags in re.findall(r"LOAD\s+(?:0x\w+\s+){5}([RWE ]{3})", library.segments):
        if "W" in flags and "E" in flags:
            yield "a segment is writable and executable"
    if re.search(r"^\s+TLS\s", library.segments, re.M):
        yield "thread-local storage"
    if ".got.plt" in library.sections and "BIND_NOW" not in library.dynamic and " NOW" not in library.dynamic:
        yield "the procedure table stays writable"

    if not re.search(r"x86 feature:.*IBT.*SHSTK", library.notes):
        yield "no IBT and SHSTK in the property note"

    for symbol in library.symbols:
        name = symbol[7]
        kind, binding, place = symbol[3], symbol[4], symbol[6]
        if place != "UND" or not name:
            continue
        allowed = MEMORY_ROUTINES | SYSTEM_CALLS | COMPILERS_OWN
        if name not in allowed and not (binding == "WEAK" and name in WEAK):
            yield f"undefined symbol {name}"
        if kind == "TLS":
            yield f"thread-local symbol {name}"

    yield from writable_data(library)
    yield from unmarked_functions(library)

    with open(library.path, "rb") as file:
        content = file.read()
    for path in (build_directory, source_directory):
        if path.encode() in content:
            yield f"the path {path} is in the file"
    for word in (b"/home/", b"/tmp/", b"/root/"):
        if word in content:
            yield f"{word.decode()} is in the file"


def writable_data(library):
    size = library.section_bytes(".data") + library.section_bytes(".bss")
    if size > WRITABLE_BYTES:
        yield f"{size} bytes of writable data"
    if library.section_bytes("rq_sealed") != PAGE:
        yield "the kit's choice of kernels does not have one page for itself"
    sections = dict(re.findall(r"\[\s*(\d+)\]\s+(\S+)", library.sections))
    for symbol in library.symbols:
        if symbol[3] == "OBJECT" and sections.get(symbol[6]) in (".data", ".bss") and symbol[7] != "Exported_RQHandle":
            yield f"exported writable object {symbol[7]}"


def unmarked_functions(library):
    code = library.tool("objdump", "-d", "--no-show-raw-insn", "-j", ".text")
    first = {}
    for address, instruction in re.findall(r"^\s*([0-9a-f]+):\s+(\S+)", code, re.M):
        first[int(address, 16)] = instruction
    functions = [s for s in library.symbols if s[3] == "FUNC" and s[6] != "UND"]
    if not functions:
        yield "no function is exported"
    for symbol in functions:
        if first.get(int(symbol[1], 16)) != "endbr64":
            yield f"{symbol[7]} does not begin with endbr64"


def main():
    path, build_directory, source_directory = sys.argv[1:]
    library = Library(path)
    found = list(problems(library, build_directory, source_directory))
    for problem in found:
        print(problem)
    print(f"{len(library.symbols)} dynamic symbols looked at, {len(found)} problems")
    return bool(found)


sys.exit(main())
