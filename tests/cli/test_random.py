"""Command lines by chance: every option, value, kind of file and wrong usage. Whatever is asked, the tool ends with one of
its exit codes, says why, and leaves nothing behind.

RQ_RANDOM_RUNS says how many, RQ_RANDOM_FIRST the number of the first: each number gives one command line.
"""

import concurrent.futures
import itertools
import os
import pathlib
import random
import re
import subprocess
import tempfile
import threading
import unittest

from tool import DATA, DONE, LIBRARY, SANITIZED, SYSTEM, TOOL, USAGE, run

RUNS = int(os.environ.get("RQ_RANDOM_RUNS", "250"))
FIRST = int(os.environ.get("RQ_RANDOM_FIRST", "1"))
STUB, MINIMAL, BROKEN = os.environ["RQ_STUB_LIBRARY"], os.environ["RQ_MINIMAL_HOST"], os.environ["RQ_BROKEN_HOST"]

COMMANDS = ["from", "to", "decode", "encode", "length", "width"] * 6 + ["info", "encodings", "completion", "check-host", "help"]
SUBJECTS = {"from": ["utf8", "utf16", "utf16be", "utf16le", "utf32", "utf32be", "utf32le"], "check-host": [MINIMAL, "text"],
            "decode": ["ncr", "uesc", "uparen", "uparen-ascii"], "encode": ["ncr", "uesc", "uparen"],
            "completion": ["bash", "zsh", "fish"]}
SUBJECTS["to"] = SUBJECTS["from"]
WRONG = ["", "-", "--", "x", "-1", "0", "99999999999999999999", "\x1b[31m", "a\nb", "%s%n", "日本", "=", "--=", "/", ".", "x" * 5000]
ENCODINGS = ["UTF-8", "latin1", "ISO-8859-5", "KOI8-R", "Shift_JIS", "GB18030", "EUC-KR", "UTF-16", "UTF-16LE", "UTF-32LE", "UTF-7",
             "ISO-2022-JP", "SCSU", "BOCU-1", "ibm-1047", "LMBCS-1", "HZ-GB-2312", "ibm-16684_P110-2003", "UTF-8"]
TEXT = "a line &#233; &#x1F600; \\u00e9 \\uu0041 <U00E9> <U0041> € é 日本 \U0001F600 ab0043<U0041>  \r\n\n&#&#xD83D;&#xDE00;<U\\u"
FILES = {"text": TEXT.encode(), "empty": b"", "latin": TEXT.encode("latin1", "replace"), "cyrillic": "Привет\n".encode("koi8-r"),
         "utf16": ("\ufeff" + TEXT).encode("utf-16-le"), "utf16be": TEXT.encode("utf-16-be"), "utf32": TEXT.encode("utf-32"),
         "binary": random.Random(1).randbytes(3000), "long": TEXT.encode() * 12_000, "open": b"&#" * 2000 + b"<U" * 2000,
         "japanese": "日本語\n".encode("shift_jis"), "a name\x1b\n": b"&#65;\n", "-dash": b"x", "zeros": bytes(70_000),
         "library.so": b"no library"}


def option_lines():
    """The options of each command as its help lists them: (names, kind of value)."""
    options = {}
    for command in sorted(set(COMMANDS) - {"help"}):
        text = subprocess.run([TOOL, command, "--help"], capture_output=True, text=True, check=True).stdout
        found = re.findall(r"^  (-\S+)(?: (\{\S+\}|[A-Z]+))?(?:  |$)", text, re.MULTILINE)
        options[command] = [(names.split(","), value) for names, value in found if "--help" not in names]
    return options


OPTIONS = option_lines()


class Line:
    """One command line, and how it is run."""

    def __init__(self, number):
        self.source = random.Random(f"rqtext {number}")
        self.environment = dict(os.environ)
        chance = self.source.random
        command = self.source.choice(COMMANDS)
        self.arguments = [command] if chance() < 0.97 else [self.source.choice([*WRONG, "decde", "TO", "-V", "--help", "-q"])]
        if command in SUBJECTS and chance() < 0.97:
            self.arguments.append(self.source.choice(SUBJECTS[command] if chance() < 0.97 else WRONG))
        for _ in range(self.source.choice([0, 0, 1, 1, 2, 3, 5])):
            self.add_option(OPTIONS.get(command if chance() < 0.97 else self.source.choice(COMMANDS), []))
        if command in ("from", "to", "decode", "encode", "length", "width") or chance() < 0.02:
            self.arguments += [self.file() for _ in range(self.source.choice([0, 1, 1, 1, 2, 4]))]
        if chance() < 0.05:
            self.source.shuffle(self.arguments)
        if chance() < 0.8 and command in OPTIONS and command not in ("encodings", "completion"):
            self.arguments += ["--library", LIBRARY]
        if chance() < 0.1:
            self.environment["RQUNI_KERNELS"] = self.source.choice(["sse2", "avx2", "avx512", "", "none"])
        if chance() < 0.5:
            self.environment["RQ_STUB"] = self.source.choice(["unsupported", "version", "object", "transcoders", "memory", "strange"])
        if chance() < 0.5:
            self.environment["RQ_BROKEN"] = self.source.choice(["entry", "entry crash", "entry exit", "kernel.words", "pool.blocks",
                                                                "transcoder.whole", "transcoder.status", "transcoder.long cut"])
        self.input = FILES[self.source.choice(list(FILES))]
        self.arguments = [word.replace("\0", "") for word in self.arguments]
        if "--lines" in self.arguments:  # a megabyte for each line of the long file takes minutes to write
            self.arguments = [word.replace(str(1 << 20), str(1 << 12)) for word in self.arguments]

    def file(self):
        kinds = list(FILES) * 2 + ["-", "folder", "missing", "link", "/dev/null", "text/x", "", "./text"]
        return self.source.choice(kinds)

    def output(self):
        """/dev/full can be written to without success, and read from without end."""
        return "/dev/full" if self.source.random() < 0.1 else self.file()

    def value(self, kind):
        if self.source.random() < 0.06:
            return self.source.choice(WRONG)
        if kind.startswith("{"):
            return self.source.choice(kind.strip("{}").split(","))
        return {"ENCODING": lambda: self.source.choice(ENCODINGS), "BYTES": lambda: str(self.source.choice([0, 2, 4, 80, 65536, 1 << 20])),
                "NUMBER": lambda: str(self.source.choice([1, 2, 3, 64])), "SUFFIX": lambda: self.source.choice(["", ".bak", "~"])
                }.get(kind, self.file)()

    def add_option(self, options):
        if not options:
            return
        names, kind = self.source.choice(options)
        name = self.source.choice(names)
        if name == "--host":
            self.arguments += [name, self.source.choice([MINIMAL, MINIMAL, BROKEN, self.file()]), "-s", "latin1"]
        elif name == "--library":
            self.arguments += [name, self.source.choice([LIBRARY, STUB, STUB, "libc.so.6", "library.so", self.file()])]
        elif name in ("-o", "--output"):
            output = self.output()
            # In one word: as a file to read it has no end.
            self.arguments += [f"--output={output}"] if output == "/dev/full" else [name, output]
        elif name == "--pad" and self.source.random() < 0.5:
            self.arguments += [name, "256", "--lines"]
        elif not kind:
            self.arguments.append(name if self.source.random() < 0.97 else name + "=x")
        elif name.startswith("--") and self.source.random() < 0.5:
            self.arguments.append(f"{name}={self.value(kind)}")
        elif self.source.random() < 0.97:
            self.arguments += [name, self.value(kind)]
        else:
            self.arguments.append(name)


class Folder:
    """The files in a folder, the same before each run."""

    def __init__(self, path):
        self.path, self.known = path, {}
        path.mkdir(exist_ok=True)
        (path / "folder").mkdir()
        (path / "link").symlink_to("text")

    def identity(self, name):
        try:
            status = os.lstat(self.path / name)
        except FileNotFoundError:
            return None
        return status.st_ino, status.st_size, status.st_mtime_ns

    def restore(self):
        for entry in os.scandir(self.path):
            if entry.name not in FILES and entry.name not in ("folder", "link"):
                os.unlink(entry)
        for name, content in FILES.items():
            if self.identity(name) is None or self.identity(name) != self.known.get(name):
                (self.path / name).write_bytes(content)
                self.known[name] = self.identity(name)


def complaint(line, folder):
    """What is wrong with the end of a run, or nothing."""
    try:
        result = subprocess.run([TOOL, *line.arguments], input=line.input, capture_output=True, cwd=folder, env=line.environment,
                                timeout=60 if SANITIZED else 20, check=False)
    except subprocess.TimeoutExpired:
        return "hangs"
    code, messages = result.returncode, result.stderr
    if code not in (DONE, DATA, USAGE, SYSTEM):
        return f"ends with {code}: {messages[-500:]}"
    own = not any(word.startswith("--host") for word in line.arguments) and "check-host" not in line.arguments
    quiet = any(word in ("-q", "--quiet") for word in line.arguments)
    progress = "--progress" in line.arguments
    if own and code == DONE and messages and not progress:
        return f"is done and says {messages[:500]}"
    if own and code != DONE and not messages.startswith(b"rqtext: ") and not quiet:
        return f"ends with {code} and says {messages[:500]}"
    if own and re.search(rb"[\x00-\x09\x0b-\x1f\x7f]", messages):
        return f"says control characters: {messages[:500]}"
    if code == USAGE and result.stdout:
        return f"finds wrong usage behind output: {messages[:500]}"
    left = [name for name in os.listdir(folder) if name.startswith(".rqtext-")]
    return f"leaves {left}" if left else None


class Random(unittest.TestCase):
    maxDiff = None

    def test_every_end_is_a_documented_one(self):
        with tempfile.TemporaryDirectory() as root:
            names, folders = itertools.count(), threading.local()

            def attempt(number):
                if not hasattr(folders, "own"):
                    folders.own = Folder(pathlib.Path(root) / str(next(names)))
                folders.own.restore()
                line = Line(number)
                found = complaint(line, folders.own.path)
                return found and f"RQ_RANDOM_FIRST={number}: rqtext {line.arguments}\n  {found}"

            with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
                found = [each for each in pool.map(attempt, range(FIRST, FIRST + RUNS)) if each]
            self.assertEqual("\n".join(found[:20]), "")

    def test_the_lines_reach_every_option_and_exit_code(self):
        lines = [Line(number).arguments for number in range(1, 3000)]
        for command, options in OPTIONS.items():
            for names, _ in options:
                used = any(word.partition("=")[0] in names for line in lines if command in line for word in line)
                self.assertTrue(used, (command, names))
        with tempfile.TemporaryDirectory() as folder:
            Folder(pathlib.Path(folder)).restore()
            codes = {run(*Line(number).arguments, library=False, cwd=folder).returncode for number in range(1, 60)}
        self.assertEqual(codes, {DONE, DATA, USAGE, SYSTEM})


if __name__ == "__main__":
    unittest.main()
