"""Streams: output comes when the input pauses, and memory is bounded whatever the length of the text."""

import contextlib
import os
import pathlib
import select
import subprocess
import time
import unittest

from tool import CORPUS, DATA, DONE, LIBRARY, SANITIZED, TOOL, ToolTest, peak_memory, run

REWRITES = (["from", "utf8"], ["from", "utf8", "-s", "GB18030"], ["from", "utf8", "-s", "UTF-7"], ["to", "utf16be"],
            ["decode", "ncr"], ["decode", "uesc"], ["decode", "uparen"], ["decode", "uparen-ascii"], ["encode", "ncr"],
            ["encode", "uesc"], ["encode", "uparen"])
MEASURES = (["length"], ["width"])
LATENCY = 0.1  # seconds that a line may take; the least of some tries, since the machine has other work as well


class Slow:
    """The tool with a producer that stays at it."""

    def __init__(self, *arguments):
        self.process = subprocess.Popen([TOOL, *arguments, "--library", LIBRARY], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        bufsize=0)

    def answer(self, text, length):
        """The next `length` bytes of output and the seconds they take to come after `text`."""
        begin = time.monotonic()
        self.process.stdin.write(text)
        output = b""
        while len(output) < length:
            ready, _, _ = select.select([self.process.stdout], [], [], 20)
            if not ready:
                break
            output += os.read(self.process.stdout.fileno(), 65536)
        return output, time.monotonic() - begin

    def end(self):
        self.process.stdin.close()
        rest = self.process.stdout.read()
        self.process.stdout.close()
        return rest, self.process.wait()


class Latency(ToolTest):
    def test_a_line_comes_through_at_once(self):
        line = "café 日本 &#65; \\u0041 <U0041> more\n".encode()
        for arguments in REWRITES:
            for lines in ([], ["--lines"]):
                if lines and "UTF-7" in arguments:
                    continue
                expected = self.succeed(*arguments, *lines, text=line)
                tool, times = Slow(*arguments, *lines), []
                for _ in range(5):
                    output, seconds = tool.answer(line, len(expected))
                    self.assertEqual(output, expected, arguments)
                    times.append(seconds)
                self.assertLess(min(times), LATENCY, arguments)
                self.assertEqual(tool.end(), (b"", DONE))

    def test_measured_lines_come_through_at_once(self):
        for arguments in MEASURES:
            tool = Slow(*arguments, "--lines")
            times = []
            for number in range(1, 6):
                output, seconds = tool.answer(b"abc\n", 4)
                self.assertEqual(output, b"%d\t3\n" % number)
                times.append(seconds)
            self.assertLess(min(times), LATENCY)
            self.assertEqual(tool.end(), (b"", DONE))

    def test_what_is_open_waits_and_nothing_else(self):
        tool = Slow("decode", "ncr")
        for byte in (b"0", b"1"):
            self.assertEqual(tool.answer(byte, 1)[0], byte)
        self.assertEqual(tool.answer(b"one &#6", 4)[0], b"one ")
        self.assertEqual(tool.answer(b"5; two &", 6)[0], b"A two ")
        self.assertEqual(tool.answer(b" three &#xD83D;", 8)[0], b"& three ")
        self.assertEqual(tool.answer(b"&#xDE00; four", 9)[0], "😀 four".encode())
        self.assertEqual(tool.answer(b"&#x4", 0)[0], b"")
        self.assertEqual(tool.end(), (b"&#x4", DONE))

    def test_a_field_that_is_just_full_is_written_before_the_end(self):
        tool = Slow("to", "utf16be", "--pad", "4")
        self.assertEqual(tool.answer(b"ab", 4)[0], b"\0a\0b")
        self.assertEqual(tool.end(), (b"", DONE))

    def test_one_byte_at_a_time(self):
        for path in sorted(CORPUS.glob("*.txt"))[:6]:
            text = path.read_bytes()[:700]
            text = text.decode(errors="ignore").encode()
            for arguments in (["decode", "ncr"], ["encode", "uesc"], ["to", "utf16le"]):
                tool = Slow(*arguments)
                for byte in text:
                    tool.process.stdin.write(bytes([byte]))
                self.assertEqual(tool.end(), (self.succeed(*arguments, text=text), DONE), (path, arguments))


class Problems(ToolTest):
    def test_a_problem_before_a_pause_ends_the_run(self):
        good = b"a line of text\n" * 200_000
        output = self.folder / "output"
        for jobs in ("1", "2", "2", "2", "2", "2"):
            with subprocess.Popen([TOOL, "decode", "ncr", "-j", jobs, "--library", LIBRARY, "-o", output], stdin=subprocess.PIPE,
                                  stderr=subprocess.PIPE, bufsize=0) as process:
                with contextlib.suppress(BrokenPipeError):
                    for text in (good + b"\xff\n", b"more\n", b"and more\n"):
                        process.stdin.write(text)
                        time.sleep(0.1)
                message = process.stderr.read()
            self.assertIn(b"invalid bytes FF at offset 3000000, line 200001, column 1", message)
            self.assertEqual(process.returncode, DATA)
            self.assertTrue(good.startswith(output.read_bytes()))


@unittest.skipIf(SANITIZED, "a sanitizer's own memory is not bounded")
class Memory(ToolTest):
    LIMIT = 32 << 10  # KiB

    def peak(self, arguments, pieces):
        """The most memory in KiB that a run took for a text of these pieces."""
        with subprocess.Popen([TOOL, *arguments, "-j", "2", "--library", LIBRARY, "-o", "/dev/null"],
                              stdin=subprocess.PIPE) as process:
            for piece in pieces:
                process.stdin.write(piece)
            memory = peak_memory(process)
            process.stdin.close()
            self.assertEqual(process.wait(), DONE, arguments)
        return memory

    def test_bounded_without_lines(self):
        text = "a line of caf&#233; text, \\u00e9 and <U00E9> 日本語, without an end ".encode() * 15_000
        for arguments in (*REWRITES, *MEASURES, ["to", "utf8", "-s", "ISO-8859-1"], ["encode", "uesc", "-s", "ibm-850"],
                          ["to", "utf16be", "--pad", str(1 << 28)], ["decode", "ncr", "--explain", "--json"]):
            self.assertLess(self.peak(arguments, [text] * 64), self.LIMIT, arguments)
        self.assertLess(self.peak(["decode", "ncr", "--flavour", "t"], ["&#233; and 日本 ".encode("utf-32-le") * 20_000] * 48),
                        self.LIMIT)

    def test_bounded_with_long_fields_for_short_lines(self):
        lines, field = 4000, 1 << 16
        with subprocess.Popen([TOOL, "to", "utf16be", "--lines", "--pad", str(field), "-j", "2", "--library", LIBRARY],
                              stdin=subprocess.PIPE, stdout=subprocess.PIPE) as process:
            process.stdin.write(b"y\n" * lines)
            process.stdin.flush()
            awaited = lines * (field + len("\n".encode("utf-16-be")))
            while awaited > 0:
                awaited -= len(process.stdout.read1(1 << 20))
            self.assertLess(peak_memory(process), self.LIMIT)
            process.stdin.close()
            self.assertEqual(process.wait(), DONE)

    def test_bounded_when_nothing_but_notations_comes(self):
        for arguments, piece in ((["decode", "ncr"], b"&#233;" * 150_000), (["decode", "ncr"], b"&#;" * 300_000),
                                 (["decode", "uesc"], b"\\u00e9" * 150_000), (["decode", "uparen"], b"<U00E9>" * 150_000),
                                 (["encode", "uparen"], b"<U00E9>" * 150_000), (["encode", "ncr"], b"<U00E9>" * 150_000),
                                 (["encode", "uesc"], b"\\u00E9" * 150_000), (["encode", "uesc"], b"\\u" * 400_000), (["width"], b" " * 1_000_000)):
            self.assertLess(self.peak(arguments, [piece] * 64), self.LIMIT, arguments)

    def test_an_open_stretch_costs_its_own_memory_and_linear_time(self):
        begin = time.monotonic()
        stretch = [b"&#" + b"x" * 999_998] + [b"x" * 1_000_000] * 63
        self.assertLess(self.peak(["decode", "ncr"], stretch), 512 << 10)
        self.assertLess(time.monotonic() - begin, 20)


class Files(ToolTest):
    def test_files_in_place_and_several_files(self):
        text = "é&#65;\n".encode() * 200_000
        first, second = self.file("first", text), self.file("second", text)
        self.assertEqual(self.succeed("decode", "ncr", first, second), text.replace(b"&#65;", b"A") * 2)
        self.succeed("decode", "ncr", "-i", first)
        self.assertEqual(pathlib.Path(first).read_bytes(), text.replace(b"&#65;", b"A"))

    def test_a_problem_far_behind_names_its_place(self):
        text = "ab日\n".encode() * 200_000 + b"x\xff"
        result = run("to", "utf16be", text=text)
        self.assertIn(b"invalid bytes FF at offset 1200001, line 200001, column 2", result.stderr)
        self.assertEqual(result.returncode, 1)
        path = self.file("bad", text)
        self.fail_with(1, "at offset 1200001, line 200001, column 2", "encode", "ncr", "-i", path)
        self.assertEqual(pathlib.Path(path).read_bytes(), text)
        wide = self.file("wide", ("ab日\n" * 200_000).encode("utf-16-le") + b"\x00\xd8a\x00")
        self.fail_with(1, "at offset 1600000, line 200001, column 1", "from", "utf16le", "--lines", wide)


if __name__ == "__main__":
    unittest.main()
