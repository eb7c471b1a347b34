"""Running rqtext and looking at what comes back."""

import os
import pathlib
import subprocess
import tempfile
import unittest

TOOL = os.environ["RQTEXT"]
LIBRARY = os.environ["RQ_LIBRARY"]
SANITIZED = os.environ.get("RQ_SANITIZE", "")  # with these, or not at all
VERSION = os.environ["RQ_VERSION"]  # of the project
PROJECT = pathlib.Path(os.environ["RQ_PROJECT"])
CORPUS = pathlib.Path(os.environ["RQ_CORPUS"])

DONE, DATA, USAGE, SYSTEM = 0, 1, 2, 3


def run(*arguments, text=b"", library=True, **options):
    """One run with `text` on standard input; returns the completed process with bytes."""
    command = [TOOL, *arguments]
    if library and arguments and arguments[0] != "encodings" and not arguments[0].startswith("-"):
        command += ["--library", LIBRARY]
    if "stdin" not in options:
        options["input"] = text
    options.setdefault("stdout", subprocess.PIPE)
    options.setdefault("stderr", subprocess.PIPE)
    return subprocess.run(command, check=False, timeout=120, **options)


def peak_memory(process):
    """The most memory in KiB that a running process had so far, its libraries included."""
    with open(f"/proc/{process.pid}/status", encoding="ascii") as status:
        return next(int(line.split()[1]) for line in status if line.startswith("VmHWM:"))


class ToolTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def file(self, name, content):
        path = self.folder / name
        path.write_bytes(content)
        return str(path)

    def succeed(self, *arguments, text=b"", **options):
        """The output of a run that must succeed without a word on standard error."""
        result = run(*arguments, text=text, **options)
        self.assertEqual((result.returncode, result.stderr), (DONE, b""), arguments)
        return result.stdout

    def fail_with(self, code, message, *arguments, text=b"", **options):
        """Runs what must fail: exit code and the text that standard error must hold."""
        result = run(*arguments, text=text, **options)
        self.assertEqual(result.returncode, code, (arguments, result.stderr))
        self.assertIn(message.encode(), result.stderr)
        self.assertTrue(result.stderr.startswith(b"rqtext: "), result.stderr)
        return result
