"""The examples of rqtext(1), run as they stand."""

import os
import re
import subprocess
import unittest

from tool import PROJECT, TOOL, ToolTest

EXAMPLES = [line.replace("\\e", "\\").replace("\\&", "")
            for line in re.findall(r"^\.Dl \$ (.*)$", (PROJECT / "docs/man/rqtext.1").read_text(), re.MULTILINE)]


class ManualExamples(ToolTest):
    def example(self, beginning):
        """What the example that begins so prints."""
        found = [line for line in EXAMPLES if line.startswith(beginning)]
        self.assertEqual(len(found), 1, beginning)
        EXAMPLES_RUN.add(found[0])
        path = os.path.dirname(TOOL) + os.pathsep + os.environ["PATH"]
        result = subprocess.run(["sh", "-c", found[0]], cwd=self.folder, capture_output=True, env={**os.environ, "PATH": path})
        self.assertEqual((result.returncode, result.stderr), (0, b""), found[0])
        return result.stdout

    def test_all(self):
        self.file("page.txt", b"caf&#233; &#8364;")
        self.assertEqual(self.example("rqtext decode ncr page.txt"), "café €".encode())
        rows = self.example("rqtext decode ncr -s ISO-8859-1 --explain").decode().splitlines()
        self.assertEqual(rows[2].split("\t")[3:], ["&#8364;", "U+20AC", "kept", "the session encoding lacks it"])

        self.file("letter.txt", "письмо".encode("koi8-r"))
        self.example("rqtext to utf16be -s KOI8-R")
        self.assertEqual((self.folder / "letter.utf16").read_bytes(), "письмо".encode("utf-16-be"))

        (self.folder / "texts").mkdir()
        (self.folder / "texts/a.txt").write_bytes(b"caf\\u00e9")
        self.example("rqtext decode uesc --in-place=.bak")
        self.assertEqual({path.name: path.read_text() for path in (self.folder / "texts").iterdir()},
                         {"a.txt": "café", "a.txt.bak": "caf\\u00e9"})

        self.file("text.txt", b"short\n" + b"x" * 81 + b"\n" + "日".encode() * 41 + b"\nend\n")
        self.assertEqual(self.example("rqtext width --lines text.txt"), b"2\n3\n")

        self.file("log", b"one\n\\u0041\ntwo \\u00e9\n")
        self.assertEqual(self.example("tail -n 2 log"), "A\ntwo é\n".encode())
        self.assertEqual(EXAMPLES_RUN, set(EXAMPLES))


EXAMPLES_RUN = set()

if __name__ == "__main__":
    unittest.main()
