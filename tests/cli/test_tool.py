"""What all commands share: usage, files, exit codes, information."""

import contextlib
import json
import os
import pathlib
import re
import subprocess
import unittest

from tool import CORPUS, DATA, DONE, LIBRARY, SYSTEM, TOOL, USAGE, VERSION, ToolTest, run

STUB = os.environ["RQ_STUB_LIBRARY"]  # stub_library.c


class Usage(ToolTest):
    def test_help_on_standard_output(self):
        for arguments in (["--help"], ["-h"], *([c, "--help"] for c in (
                "from", "to", "decode", "encode", "length", "width", "info", "encodings", "check-host"))):
            output = self.succeed(*arguments, library=False).decode()
            self.assertIn("Usage:", output)
            self.assertIn("Exit codes: 0 done", output)

    def test_version_on_standard_output(self):
        self.assertEqual(self.succeed("--version").decode(), f"rqtext {VERSION}\n")

    def test_wrong_usage(self):
        for message, arguments in (
                ("a command is required", []), ("required", ["from"]), ("utf9", ["from", "utf9"]),
                ("--nothing", ["to", "utf8", "--nothing"]), ("uparen-ascii", ["encode", "uparen-ascii"]),
                ("--json requires --explain", ["decode", "ncr", "--json"]), ("x", ["to", "utf8", "--flavour", "x"]),
                ("--pad", ["from", "utf16be", "--pad", "4"]), ("--explain", ["encode", "ncr", "--explain"])):
            result = self.fail_with(USAGE, message, *arguments, library=False)
            self.assertEqual(result.stdout, b"")

    def test_near_words_are_suggested_and_choices_listed(self):
        for message, arguments in (
                ("unknown command 'decde', did you mean decode?", ["decde"]),
                ("unknown command 'frobnicate'\n", ["frobnicate"]),
                ("unknown option '--sesion', did you mean --session?", ["to", "utf8", "--sesion", "x"]),
                ("unknown option '--inplace', did you mean --in-place?", ["to", "utf8", "--inplace"]),
                ("unknown form 'utf9', did you mean utf8?\nChoose one of: utf8, utf16, utf16be, utf16le, utf32, utf32be, utf32le", ["to", "utf9"]),
                ("unknown notation 'NCR'", ["decode", "NCR"]),
                ("unknown notation 'uese', did you mean uesc?\nChoose one of: ncr, uesc, uparen", ["encode", "uese"]),
                ("unknown flavour 'x'", ["to", "utf8", "--flavour", "x"]),
                ("unexpected argument 'x'", ["encodings", "x"]),
                ("a command is required\nChoose one of: from, to, decode, encode, length, width, info, encodings, check-host\n", []),
                ("notation is required\nChoose one of: ncr, uesc, uparen\n", ["encode"]), ("host is required\n", ["check-host"]),
                ("--session needs a value", ["to", "utf8", "--session"]),
                ("--session is given more than once", ["to", "utf8", "-s", "a", "-s", "b"]),
                ("--lines takes no value", ["to", "utf8", "--lines=perhaps"]),
                ("--pad needs a number from 0 to 1073741824, not 'x'", ["to", "utf16be", "--pad", "x"]),
                ("--jobs needs a number from 1 to 64, not '0'", ["width", "-j", "0"]),
                ("--in-place and --host cannot go together", ["to", "utf8", "-i", "--host", "x", "y"]),
                ("--in-place and --explain cannot go together", ["decode", "ncr", "--explain", "--json", "-i", "x"]),
                ("--host and --unmappable cannot go together", ["from", "utf8", "--host", "x", "--unmappable=keep"]),
                ("rqtext encodings lists all", ["to", "utf8", "-s", "nonsense"])):
            self.fail_with(USAGE, message, *arguments, library=False)

    def test_words_with_control_characters_are_shown_escaped(self):
        for arguments in (["\x1b[31m"], ["to", "\x1b[31m"], ["to", "utf8", "-s", "\x1b[31m"], ["to", "utf8", "--\x1b[31m"]):
            result = self.fail_with(USAGE, "\\x1B[31m", *arguments, library=False)
            self.assertNotIn(b"\x1b", result.stderr)

    def test_help_says_what_a_user_needs(self):
        self.assertEqual(self.succeed("help", library=False), self.succeed("--help", library=False))
        for command in ("from", "to", "decode", "encode", "length", "width", "info", "encodings", "check-host"):
            text = self.succeed(command, "--help", library=False).decode()
            self.assertEqual(self.succeed("help", command, library=False).decode(), text)
            self.assertEqual(text.count("\n  $ "), 2, command)
            for word in ("INT", "Excludes", "Needs", "REQUIRED", "TEXT"):
                self.assertNotIn(word, text)
        self.assertIn("&#233;", self.succeed("help", "decode", library=False).decode())
        self.assertIn("--session ENCODING ", self.succeed("help", "to", library=False).decode())
        self.assertEqual(self.succeed("-V"), self.succeed("--version"))

    def test_quiet(self):
        for option in ("-q", "--quiet"):
            result = run("to", "utf8", option, text=b"\xff")
            self.assertEqual((result.returncode, result.stdout, result.stderr), (DATA, b"", b""))

    def test_unknown_session_with_near_names(self):
        result = self.fail_with(USAGE, "encoding 'ISO-8858-1' is unknown; similar names: ", "to", "utf8", "-s", "ISO-8858-1")
        self.assertIn(b"ISO-8859-1", result.stderr.replace(b"ISO_8859", b"ISO-8859"))
        self.fail_with(USAGE, "encoding '' is unknown", "to", "utf8", "-s", "")

    def test_wide_flavour_needs_its_session(self):
        self.fail_with(USAGE, "must be UTF-32LE", "to", "utf8", "--flavour", "t", "-s", "UTF-8")
        self.succeed("to", "utf8", "--flavour", "t", "-s", "utf-32le")
        self.fail_with(DATA, "ends inside a character", "to", "utf8", "--flavour", "t", text=b"abc")

    def test_notations_need_ascii_sessions(self):
        for session in ("UTF-16BE", "ibm-1047", "ISO-2022-JP"):
            self.fail_with(USAGE, "the notations are ASCII text", "decode", "ncr", "-s", session)


class Files(ToolTest):
    def test_output_file(self):
        target = self.folder / "out"
        target.write_bytes(b"an old and longer content")
        self.assertEqual(self.succeed("to", "utf16be", "-o", str(target), text=b"ab"), b"")
        self.assertEqual(target.read_bytes(), b"\0a\0b")
        self.succeed("to", "utf16be", "--output", str(target))
        self.assertEqual(target.read_bytes(), b"")

    def test_unreadable_input(self):
        self.fail_with(SYSTEM, "cannot read /nonexistent: No such file", "to", "utf8", "/nonexistent")
        self.fail_with(SYSTEM, "Is a directory", "to", "utf8", str(self.folder))
        self.fail_with(SYSTEM, "cannot read standard input", "to", "utf8", preexec_fn=lambda: os.close(0),
                       stdin=subprocess.DEVNULL)

    def test_unwritable_output(self):
        self.fail_with(SYSTEM, "cannot write /nonexistent/x: No such file", "to", "utf8", "-o", "/nonexistent/x")
        with open("/dev/full", "wb") as full:
            self.fail_with(SYSTEM, "cannot write standard output: No space left", "to", "utf8", text=b"x", stdout=full)
            self.fail_with(SYSTEM, "No space left", "to", "utf8", text=b"x" * 3_000_000, stdout=full)
            for arguments in (["--help"], ["--version"], ["encodings"], ["info"]):
                self.fail_with(SYSTEM, "No space left", *arguments, stdout=full)
        self.fail_with(SYSTEM, "No space left", "to", "utf8", "-o", "/dev/full", text=b"x")
        self.fail_with(SYSTEM, "cannot write standard output: Bad file descriptor", "to", "utf8", text=b"x",
                       preexec_fn=lambda: os.close(1), stdout=None)

    def test_output_must_not_be_an_input(self):
        path = self.file("both", b"text")
        self.fail_with(USAGE, "is also the output", "to", "utf16be", path, "-o", path)
        self.assertEqual(pathlib.Path(path).read_bytes(), b"text")

    def test_early_failure_leaves_the_output_file_alone(self):
        target = self.file("kept", b"old")
        self.fail_with(USAGE, "unknown", "to", "utf8", "-s", "nonsense-encoding", "-o", target)
        self.assertEqual(pathlib.Path(target).read_bytes(), b"old")

    def test_reader_that_leaves(self):
        process = subprocess.Popen([TOOL, "to", "utf32be", "--library", LIBRARY], stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        process.stdout.close()
        # The tool may leave while there is still something to write to it.
        with contextlib.suppress(BrokenPipeError):
            process.stdin.write(b"x" * 1_000_000)
        with contextlib.suppress(BrokenPipeError):
            process.stdin.close()
        self.assertEqual(process.stderr.read(), b"")
        process.stderr.close()
        self.assertEqual(process.wait(), SYSTEM)


class Libraries(ToolTest):
    def test_default_library_is_found_beside_the_tool(self):
        self.assertEqual(self.succeed("to", "utf16be", text=b"a", library=False), b"\0a")

    def test_library_that_cannot_be_loaded(self):
        self.fail_with(SYSTEM, "cannot load the library /nonexistent.so", "info", "--library", "/nonexistent.so", library=False)
        self.fail_with(SYSTEM, "cannot load the library", "info", "--library", self.file("x.so", b"no library"), library=False)

    def test_library_without_the_symbols(self):
        self.fail_with(SYSTEM, "lacks the symbol 'rqextver'", "info", "--library", "libc.so.6", library=False)

    def stub(self, fault):
        return {"library": False, "env": {**os.environ, "RQ_STUB": fault}}

    def test_open_slots_are_reported(self):
        for arguments in (["decode", "ncr"], ["decode", "uesc", "--explain"], ["encode", "uparen"], ["length"], ["width"],
                          ["from", "utf8"], ["to", "utf16be"]):
            self.fail_with(SYSTEM, "not supported by this library", *arguments, "--library", STUB, text=b"text",
                           **self.stub("unsupported"))

    def test_library_of_another_interface(self):
        self.assertIn(b"library version: missing\n", self.succeed("info", "--library", STUB, library=False))
        self.fail_with(SYSTEM, "speaks version 8.1 of the extension interface, the host 9.1", "info", "--library", STUB,
                       **self.stub("version"))
        self.fail_with(SYSTEM, "speaks version 9.0 of the extension interface, the host 9.1", "info", "--library", STUB,
                       **self.stub("minor"))

    def test_lengths_beyond_the_room_are_not_believed(self):
        for arguments in (["decode", "ncr"], ["encode", "ncr"], ["encode", "uparen"], ["from", "utf16be"], ["to", "utf8"],
                          ["to", "utf16be"], ["to", "utf32be", "--pad", "400"]):
            self.fail_with(SYSTEM, "the host says that it wrote more than it had room for", *arguments, "--library", STUB,
                           text=b"text", **self.stub("lying"))

    def test_a_length_just_beyond_the_capacity_wants_more_room(self):
        self.assertEqual(self.succeed("decode", "uesc", "--library", STUB, text=b"text", **self.stub("overshoot")), b"")

    def test_library_that_makes_no_object(self):
        self.fail_with(SYSTEM, "the library made no interface object", "length", "--library", STUB, **self.stub("object"))

    def test_object_without_transcoders(self):
        self.fail_with(SYSTEM, "could not make all transcoders", "length", "--library", STUB, **self.stub("transcoders"))

    def test_refused_memory_and_strange_statuses(self):
        for arguments in (["encode", "ncr"], ["length"], ["decode", "uparen"]):
            self.fail_with(SYSTEM, "not enough memory", *arguments, "--library", STUB, text=b"text", **self.stub("memory"))
        self.fail_with(SYSTEM, "not enough memory: it begins at offset 0, line 1; --jobs 1 needs the least\n", "length", "--lines",
                       "--library", STUB, text=b"text", **self.stub("memory"))
        self.fail_with(SYSTEM, "failed with status 0x00000007", "to", "utf8", "--library", STUB, text=b"text",
                       **self.stub("strange"))


class Information(ToolTest):
    def test_info(self):
        lines = dict(line.split(": ", 1) for line in self.succeed("info").decode().splitlines())
        self.assertEqual(lines["library version"], "1.0.0")
        self.assertEqual(lines["host interface required"], "9.1.1")
        self.assertEqual(lines["extension interface"], "9.1")
        self.assertEqual(os.path.realpath(lines["library"]), os.path.realpath(LIBRARY))
        self.assertEqual(lines["prefix"], "rq")
        self.assertEqual(lines["group"], "rqfnc")
        self.assertEqual([value for value in lines.values() if value != value.rstrip()], [])
        # The stamp is the project's version; the library version is the interface's own.
        self.assertRegex(lines["version stamp"], r"^V\.{:0>2}\.{:0>2}M{}P\d{{8}}$".format(*VERSION.split(".")))
        self.assertEqual(lines["stream"], "rqu/lib-rb{:0>2}{:0>2}{}".format(*VERSION.split(".")))
        self.assertRegex(lines["build date"], r"^\w{3} \w{3} [ \d]\d \d\d:\d\d:\d\d UTC \d{4}$")
        facts = json.loads(self.succeed("info", "--json"))
        self.assertIsInstance(facts["build_time"], int)
        self.assertEqual({name.replace("_", " "): str(value) for name, value in facts.items()}, lines)
        self.assertFalse([name for name in facts if not re.fullmatch("[a-z_]+", name)])

    def test_info_names_the_kernels(self):
        def kernels(wish):
            lines = self.succeed("info", env={**os.environ, "RQUNI_KERNELS": wish}).decode().splitlines()
            return next(line for line in lines if line.startswith("kernels: "))
        self.assertRegex(kernels(""), "^kernels: (sse2|avx2|avx512)$")
        self.assertEqual(kernels("sse2"), "kernels: sse2, by RQUNI_KERNELS")
        self.assertIn("asks for foo, which is none of sse2, avx2 and avx512", kernels("foo"))

    def test_encodings(self):
        rows = [line.split("\t") for line in self.succeed("encodings").decode().splitlines()]
        self.assertGreater(len(rows), 200)
        names = {row[1]: int(row[0]) for row in rows}
        self.assertEqual([names[n] for n in ("UTF-8", "UTF-16BE", "UTF-16LE", "UTF-32BE", "UTF-32LE")], [20, 24, 25, 26, 27])
        self.assertEqual(len(set(names.values())), len(rows))
        objects = [json.loads(line) for line in self.succeed("encodings", "--json").splitlines()]
        self.assertEqual({o["name"]: o["identifier"] for o in objects}, names)
        self.assertIn("latin1", next(o for o in objects if o["name"] == "ISO-8859-1")["aliases"])

    def test_every_encoding_can_be_a_session(self):
        for line in self.succeed("encodings", "--json").splitlines()[::7]:
            name = json.loads(line)["name"]
            # Some hold double-byte characters only, and one letter each of them has.
            letters = [c for c in ("A", "Ａ", "가") if run("from", "utf8", "-s", name, text=c.encode()).returncode == DONE]
            self.assertTrue(letters, name)
            encoded = self.succeed("from", "utf8", "-s", name, text=letters[0].encode())
            self.assertEqual(self.succeed("to", "utf8", "-s", name, text=encoded).decode(), letters[0], name)


if __name__ == "__main__":
    unittest.main()
