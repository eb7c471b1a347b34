"""The line that shows how far the work is, and where it must not stand."""

import ctypes
import os
import pty
import re
import signal
import subprocess
import time
import unittest

from tool import CORPUS, LIBRARY, TOOL, ToolTest, run

PR_SET_PDEATHSIG = 1
LINE = r"rqtext: \d+ % of [\d.]+ GB read, [\d.]+ \w+ written, [\d.]+ \w+/s, [\d.]+ s"


class Run:
    """A run in the foreground of a terminal of its own, or in its background."""

    def __init__(self, *arguments, background=False, stdout=subprocess.DEVNULL, stdin=None):
        self.text = ""
        try:
            self.child, self.terminal = pty.fork()
        except OSError as error:
            raise unittest.SkipTest(f"no terminals here: {error}") from error
        if self.child == 0:
            if background:
                if os.fork():
                    time.sleep(60)  # has the foreground
                ctypes.CDLL(None).prctl(PR_SET_PDEATHSIG, signal.SIGKILL)
                os.setpgid(0, 0)
            for target, number in ((stdout, 1), (stdin, 0)):
                if target is not None:
                    os.dup2(os.open(os.devnull, os.O_RDWR) if target == subprocess.DEVNULL else target, number)
            os.execv(TOOL, [TOOL, *arguments, "--library", LIBRARY])

    def shown(self):
        """What the terminal has shown so far."""
        os.set_blocking(self.terminal, False)
        try:
            while piece := os.read(self.terminal, 4096):
                self.text += piece.decode()
        except OSError:  # nothing is left
            pass
        return self.text

    def wait_for(self, expected):
        until = time.monotonic() + 30
        while not re.search("(?s)" + expected, self.shown()) and time.monotonic() < until:
            time.sleep(0.02)

    def end(self):
        os.kill(self.child, signal.SIGKILL)
        os.waitpid(self.child, 0)
        os.close(self.terminal)


class Progress(ToolTest):
    def test_where_it_stands_and_where_not(self):
        long = str(self.folder / "long")
        with open(long, "wb") as file:
            file.truncate(1 << 36)  # takes no room, and more time than this test
        begin = time.monotonic()
        # These first: who has the foreground would keep the pipes open.
        cases = {
            "in the background": ("^$", Run("width", long, background=True)),
            "in the background on wish": ("^$", Run("width", long, "--progress", background=True)),
        }
        silent, somebody = os.pipe()
        behind, pager = os.pipe()
        failing, failure = os.pipe()
        os.write(failure, b"a\xff")
        cases |= {
            "to a file": (LINE, Run("to", "utf16be", long, "-o", "/dev/null")),
            "to the terminal, when nothing is written yet": (LINE, Run("width", long, stdout=None)),
            "from a pipe on wish": (r"rqtext: 0 bytes read, 0 bytes written, 0 bytes/s", Run("width", "--progress", stdin=silent)),
            "before an error": (r"rqtext: 2 bytes read, .*\r\x1b\[K\r?\n?rqtext: 2 bytes read.*\r\nrqtext: standard input: invalid bytes FF",
                                Run("to", "utf8", "--progress", "-o", "/dev/null", stdin=failing)),
            "to a pager": ("^$", Run("to", "utf8", long, stdout=pager)),
            "from a program that may ask": ("^$", Run("width", stdin=silent)),
            "from somebody who types": ("^$", Run("length", "--progress")),
            "not wished": ("^$", Run("width", "--no-progress", long)),
            "quiet": ("^$", Run("width", "--quiet", long)),
        }
        early = {name: each.shown() for name, (_, each) in cases.items()}
        if time.monotonic() < begin + 0.9:
            self.assertEqual(set(early.values()), {""}, "nothing is shown before a second has gone")
        cases["before an error"][1].wait_for("rqtext: 2 bytes read")
        cases["from a pipe on wish"][1].wait_for("0 bytes written")  # at its end the answer is written
        os.close(failure)
        os.close(somebody)
        for expected, each in cases.values():
            each.wait_for(expected)
        time.sleep(max(0, begin + 2 - time.monotonic()))
        for name, (expected, each) in cases.items():
            with self.subTest(name):
                self.assertRegex(each.shown(), "(?s)" + expected)
            each.end()
        for end in (silent, behind, pager, failing):
            os.close(end)

    def test_wished_without_a_terminal(self):
        result = run("to", "utf16be", "--progress", text=b"abc")
        self.assertEqual(result.stdout, b"\0a\0b\0c")
        self.assertRegex(result.stderr.decode(), r"^rqtext: 3 bytes read, 6 bytes written, [\d.]+ \w+/s, \d+\.\d s\n$")
        result = run("to", "utf16be", "--progress", self.file("empty", b""))
        self.assertRegex(result.stderr.decode(), r"^rqtext: 0 bytes read, 0 bytes written, 0 bytes/s, \d+\.\d s\n$")
        for size, read, written in ((4_999, "4999 bytes", "9998 bytes"), (5_000, "5000 bytes", "10.0 kB"),
                                    (30_049, "30.0 kB", "60.1 kB"), (30_060, "30.1 kB", "60.1 kB"), (999_500, "999.5 kB", "2.0 MB"),
                                    (12_349_000, "12.3 MB", "24.7 MB"), (12_352_000, "12.4 MB", "24.7 MB")):
            result = run("to", "utf16be", "--progress", self.file("x", b"x" * size), "-o", "/dev/null")
            self.assertRegex(result.stderr.decode(), rf"^rqtext: 100 % of {read} read, {written} written, [\d.]+ \w+/s, \d+\.\d s\n$")
            rate, unit, seconds = re.search(r"([\d.]+) (\w+)/s, ([\d.]+) s", result.stderr.decode()).groups()
            if float(seconds) < 1:
                self.assertGreater(float(rate) * {"bytes": 1, "kB": 1e3, "MB": 1e6, "GB": 1e9}[unit], size)

    def test_quiet_in_pipes(self):
        self.succeed("to", "utf8", str(CORPUS / "emoji.txt"))


if __name__ == "__main__":
    unittest.main()
