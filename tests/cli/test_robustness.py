"""Whatever is given to the tool: a clear message, a defined exit code, and never a signal."""

import itertools
import json
import os
import pathlib
import random
import resource
import subprocess
import unittest

from tool import DATA, DONE, LIBRARY, SANITIZED, SYSTEM, TOOL, USAGE, ToolTest, run

TEXT_COMMANDS = (["from", "utf8"], ["from", "utf16le"], ["from", "utf32be"], ["to", "utf8"], ["to", "utf16be"],
                 ["to", "utf32le"], ["decode", "ncr"], ["decode", "uesc"], ["decode", "uparen"],
                 ["decode", "uparen-ascii"], ["decode", "ncr", "--explain"], ["decode", "uesc", "--explain", "--json"],
                 ["encode", "ncr"], ["encode", "uesc"], ["encode", "uparen"], ["length"], ["width"], ["width", "--json"])


class Inputs(ToolTest):
    def test_directories(self):
        for command, lines in itertools.product(TEXT_COMMANDS, ([], ["--lines"])):
            self.fail_with(SYSTEM, f"cannot read {self.folder}: Is a directory", *command, *lines, str(self.folder))

    def test_what_is_not_there(self):
        for path, reason in (("/nonexistent", "No such file"), (self.file("x", b"") + "/y", "Not a directory"),
                             (str(self.folder / ("n" * 300)), "File name too long"), ("", "No such file")):
            self.fail_with(SYSTEM, f"cannot read {path}: {reason}", "to", "utf8", path)

    def test_without_permission(self):
        path = self.file("secret", b"text")
        os.chmod(path, 0)
        options = {"user": 65534, "group": 65534, "extra_groups": []} if os.geteuid() == 0 else {}
        os.chmod(self.folder, 0o755)
        try:
            self.fail_with(SYSTEM, f"cannot read {path}: Permission denied", "to", "utf8", path, **options)
        except PermissionError as error:
            self.skipTest(f"the tool lies where others cannot run it: {error}")

    def test_empty(self):
        for command, lines in itertools.product(TEXT_COMMANDS, ([], ["--lines"])):
            for path in ("/dev/null", self.file("empty", b"")):
                self.succeed(*command, *lines, path)

    def test_binary(self):
        source = random.Random(5)
        for size in (1, 3, 257, 70_000):
            path = self.file("binary", source.randbytes(size))
            for command, lines in itertools.product(TEXT_COMMANDS, ([], ["--lines"])):
                for options in ([], ["-s", "ISO-8859-1"], ["--flavour", "t"]):
                    result = run(*command, *lines, *options, path)
                    self.assertIn(result.returncode, (DONE, DATA), (command, size, result.stderr))
                    if result.returncode == DATA:
                        self.assertRegex(result.stderr.decode(), rf"^rqtext: {path}: .* at offset \d+, line \d+.*\n$")
                        self.assertEqual(result.stderr.count(b"\n"), 1)

    def test_malformed_text_in_many_encodings(self):
        source = random.Random(6)
        for line in self.succeed("encodings").decode().splitlines()[::9]:
            name = line.split("\t")[1]
            for size in (1, 100, 5000):
                for command in (["to", "utf8"], ["width"]):
                    result = run(*command, "-s", name, text=source.randbytes(size))
                    self.assertIn(result.returncode, (DONE, DATA), (name, size, result.stderr))

    def test_every_message_about_a_text_says_where(self):
        for message, arguments, text in (
                ("invalid bytes C3 at offset 3, line 2, column 2: not valid in UTF-8", ["to", "utf8"], b"a\nb\xc3x"),
                ("bytes E2 82 at offset 3, line 2, column 2, are not a whole character", ["to", "utf8"], b"a\nb\xe2\x82"),
                ("character U+20AC at offset 3, line 2, column 2 does not exist", ["from", "utf8", "-s", "latin1"],
                 "a\nb€".encode()),
                ("the text does not fit into the field: it begins at offset 2, line 2",
                 ["to", "utf16be", "--lines", "--pad", "2"], b"a\nbc\nd"),
                ("the text does not fit into the field: it begins at offset 0, line 1", ["to", "utf16be", "--pad", "2"], b"ab"),
                ("a line is longer than 64 MiB; without --lines there is no limit: it begins at offset 2, line 2",
                 ["to", "utf8", "--lines"], b"a\n" + b"x" * (65 << 20))):
            path = self.file("text", text)
            self.fail_with(DATA, f"rqtext: {path}: ", *arguments, path)
            self.fail_with(DATA, message, *arguments, path)
            self.fail_with(DATA, "rqtext: standard input: ", *arguments, text=text)

    @unittest.skipIf(SANITIZED, "a sanitizer needs more room than the limit leaves")
    def test_more_than_memory_holds(self):
        path = self.folder / "huge"
        with open(path, "wb") as file:
            file.write(b"&#")  # a reference that is open until its ';'
            file.truncate(1 << 40)
        limit = 1 << 30
        limited = {"preexec_fn": lambda: resource.setrlimit(resource.RLIMIT_AS, (limit, limit))}
        self.fail_with(SYSTEM, f"cannot read {path}: not enough memory for ", "decode", "ncr", str(path), **limited)
        self.fail_with(SYSTEM, "; --lines takes each line alone; --jobs 1 needs the least\n", "decode", "ncr", str(path), **limited)
        self.fail_with(SYSTEM, "; --lines takes each line alone\n", "decode", "ncr", "-j1", str(path), **limited)
        self.fail_with(DATA, "; --lines takes each line alone; --jobs 1 needs the least\n", "decode", "ncr", "--keep-going",
                       str(path), **limited)
        with open(path, "wb") as file:
            file.truncate(400 << 20)
        self.fail_with(DATA, "does not fit into the field", "to", "utf16be", "--pad", "8", str(path), **limited)
        self.succeed("encode", "uparen", "-o", "/dev/null", str(path), **limited)

    def test_an_input_that_is_the_output(self):
        path = self.file("text", b"text\n")
        for name in (path, "-"):
            with open(path, "rb") as source, open(path, "ab") as target:
                self.fail_with(USAGE, "is also the output", "to", "utf8", "--lines", name, stdin=source, stdout=target)
        self.assertEqual(pathlib.Path(path).read_bytes(), b"text\n")
        # An empty one gives nothing to read: a shell has made it anew for what is written.
        with open(path, "wb") as target:
            self.succeed("to", "utf8", "--lines", path, stdout=target)


class Streams(ToolTest):
    def test_any_of_them_closed(self):
        path = self.file("text", b"&#65;\n" * 100_000)
        for closed in itertools.chain.from_iterable(itertools.combinations((0, 1, 2), n) for n in range(4)):
            for arguments in (["decode", "ncr", path], ["decode", "ncr", "--lines"], ["encodings"], ["--help"], ["nonsense"]):
                result = run(*arguments, text=None, stdin=subprocess.DEVNULL,
                             preexec_fn=lambda: [os.close(number) for number in closed])
                self.assertIn(result.returncode, (DONE, USAGE, SYSTEM), (closed, arguments))
                writes = arguments[-1] != "nonsense" and arguments[-1] != "--lines"
                if 1 in closed and writes:
                    self.assertEqual(result.returncode, SYSTEM, (closed, arguments))
        self.assertEqual(pathlib.Path(path).read_bytes(), b"&#65;\n" * 100_000)

    def test_a_reader_that_leaves(self):
        path = self.file("text", b"x\n" * 5_000_000)
        for arguments in (["to", "utf32be", path], ["to", "utf8", "--lines", path], ["width", "--lines", path],
                          ["decode", "ncr", "--explain", self.file("many", b"&#65;" * 200_000)]):
            with subprocess.Popen([TOOL, *arguments, "--library", LIBRARY], stdout=subprocess.PIPE, stderr=subprocess.PIPE) as process:
                process.stdout.read(1)
                process.stdout.close()
                self.assertEqual((process.stderr.read(), process.wait(60)), (b"", SYSTEM))

    def test_outputs_that_cannot_be_written(self):
        for path, reason in ((str(self.folder), "Is a directory"), ("/nonexistent/x", "No such file"),
                             (self.file("x", b"") + "/y", "Not a directory"), ("/dev/full", "No space left")):
            for arguments in (["to", "utf8"], ["width", "--json"], ["encodings"], ["info", "--json"], ["completion", "zsh"]):
                self.fail_with(SYSTEM, f"cannot write {path}: {reason}", *arguments, "-o", path, text=b"x",
                               library=arguments[0] not in ("completion", "encodings"))


class Arguments(ToolTest):
    def test_encoding_names(self):
        for name in ("", " ", "%s%n", "x" * 100_000, "UTF-8;rm", "../../etc/passwd", "\x1b[31m", "utf\nsixteen", "日本",
                     b"\xff\xfe", "ibm-1047,swaplfnl,swaplfnl", ",", "version=1"):
            result = self.fail_with(USAGE, "is unknown", "to", "utf8", "-s", name)
            self.assertLess(len(result.stderr), 1000)

    def test_numbers_and_words(self):
        for arguments in (["to", "utf16be", "--pad", "1e3"], ["to", "utf16be", "--pad", "0x"], ["to", "utf16be", "--pad", ""],
                          ["to", ""], ["decode", "NCR "], ["", "utf8"], ["--lines"], ["to", "utf8", "--lines=perhaps"]):
            self.fail_with(USAGE, "", *arguments, library=False)


class Libraries(ToolTest):
    def refused(self, path, reason):
        self.fail_with(SYSTEM, f"cannot load the library {path}: ", "info", "--library", path, library=False)
        self.fail_with(SYSTEM, reason, "length", "--library", path, library=False)

    def test_files_that_are_none(self):
        content = pathlib.Path(LIBRARY).read_bytes()
        other_machine = bytearray(content)
        other_machine[18:20] = (183).to_bytes(2, "little")  # e_machine: 64-bit ARM
        narrow = bytearray(content)
        narrow[4] = 1  # EI_CLASS: 32 bits
        for name, text, reason in (("text.so", b"no library, only some words\n" * 9, "invalid ELF header"),
                                   ("empty.so", b"", "file too short"), ("head.so", content[:64], ""),
                                   ("zeros.so", bytes(4096), "invalid ELF header"),
                                   ("arm.so", bytes(other_machine), ""), ("narrow.so", bytes(narrow), "wrong ELF class")):
            self.refused(self.file(name, text), reason)
        self.refused(str(self.folder), "")
        self.refused("/nonexistent/librquni.so", "No such file")
        self.refused(TOOL, "")  # an executable

    def test_libraries_of_another_kind(self):
        for name in ("libc.so.6", "libstdc++.so.6"):
            self.fail_with(SYSTEM, "lacks the symbol 'rqextver'", "info", "--library", name, library=False)


class JsonRows(ToolTest):
    def test_every_row_is_an_object(self):
        strange = self.file("a\tb\n\"c\"", b"&#65;\xff&#8364;\n&#66;")
        latin = ["-s", "ISO-8859-1", "--json"]
        for arguments in (["decode", "ncr", "--explain", *latin, strange], ["decode", "ncr", "--explain", *latin, strange, strange],
                          ["decode", "ncr", "--explain", "--lines", *latin, strange], ["length", *latin, strange],
                          ["width", "--lines", *latin, strange, strange], ["info", "--json"], ["encodings", "--json"]):
            rows = self.succeed(*arguments, library=arguments[0] != "encodings").decode().splitlines()
            self.assertTrue(rows)
            keys = {tuple(json.loads(row)) for row in rows}
            self.assertEqual(len(keys), 1, "every row has the same members")

    def test_control_characters_of_names_are_shown_escaped(self):
        path = self.file("a\n\x1b[31mb", b"\xff")
        shown = path.replace("\n", "\\x0A").replace("\x1b", "\\x1B")
        self.fail_with(DATA, f"rqtext: {shown}: invalid bytes FF", "to", "utf8", path)
        self.fail_with(SYSTEM, f"cannot read {shown}x: No such file", "to", "utf8", path + "x")
        self.fail_with(SYSTEM, f"cannot edit {shown}x: No such file", "decode", "ncr", "-i", path + "x")
        self.fail_with(USAGE, f"{shown} is given twice", "decode", "ncr", "-i", path, path)
        rows = self.succeed("length", "-s", "latin1", path, "-", text=b"ab")
        self.assertEqual(rows.decode(), f"{shown}\t1\n-\t2\n")

    def test_names_that_are_no_text(self):
        path = os.fsencode(self.folder) + b"/\xff\xfe"
        with open(path, "wb") as file:
            file.write(b"abc")
        self.assertEqual(json.loads(self.succeed("length", "--json", path))["length"], 3)


@unittest.skipIf(SANITIZED, "a sanitizer starts slowly")
class StartUp(ToolTest):
    def test_below_ten_milliseconds(self):
        # Time of the processor, which what else the machine does hardly changes.
        for arguments in (["--version"], ["to", "utf8"], ["to", "utf8", "-s", "Shift_JIS"], ["length", "--lines"], ["encodings"]):
            times = []
            for _ in range(20):
                with open(os.devnull, "r+b") as nothing:
                    process = subprocess.Popen([TOOL, *arguments], stdin=nothing, stdout=nothing)
                _, status, usage = os.wait4(process.pid, 0)
                process.returncode = os.waitstatus_to_exitcode(status)
                self.assertEqual(process.returncode, DONE)
                times.append(usage.ru_utime + usage.ru_stime)
            self.assertLess(min(times), 0.010, arguments)


if __name__ == "__main__":
    unittest.main()
