"""--lines under GNU parallel and under xargs: the same bytes as in one run."""

import os
import pathlib
import random
import shlex
import shutil
import subprocess
import unittest

from tool import CORPUS, DATA, LIBRARY, TOOL, ToolTest, run

COMMANDS = (["decode", "ncr"], ["decode", "uesc"], ["encode", "uparen"], ["to", "utf16be"], ["to", "utf32le", "--pad", "4000"],
            ["from", "utf8", "-s", "GB18030"])


def some_text():
    """Some megabytes of lines in many scripts, of very different lengths, the last one without an end."""
    source = random.Random(12)
    lines = [line for path in sorted(CORPUS.glob("*.txt")) for line in path.read_text().splitlines()]
    return "\n".join(source.choice(lines) * source.choice((0, 1, 1, 1, 2, 7)) for _ in range(12_000)).encode()


def command_line(*arguments):
    return shlex.join([TOOL, *arguments, "--lines", "--library", LIBRARY])


class Parallel(ToolTest):
    def output(self, command, text):
        result = subprocess.run(command, input=text, capture_output=True, timeout=300,
                                env={**os.environ, "HOME": str(self.folder)})
        self.assertEqual((result.returncode, result.stderr), (0, b""), command)
        return result.stdout

    @unittest.skipUnless(shutil.which("parallel"), "GNU parallel is not installed")
    def test_blocks_of_a_pipe(self):
        parallel = ["parallel", "--will-cite", "--pipe", "--keep-order", "-j", "4"]
        if b"GNU parallel" not in subprocess.run(["parallel", "--version"], capture_output=True).stdout:
            self.skipTest("parallel is another program of that name")
        text = some_text()
        for arguments in COMMANDS:
            alone = self.succeed(*arguments, "--lines", text=text)
            for block in ("100k", "1M"):
                self.assertEqual(self.output([*parallel, "--block", block, command_line(*arguments)], text), alone, arguments)

    def test_files_side_by_side(self):
        text = some_text().splitlines(keepends=True)
        names = []
        for number in range(40):
            names.append(self.file(f"part {number}", b"".join(text[number * 300:(number + 1) * 300])))
        everything = "\0".join(names).encode()
        for arguments in COMMANDS:
            alone = [self.succeed(*arguments, "--lines", name) for name in names]
            self.output(["xargs", "-0", "-P", "4", "-I{}", TOOL, *arguments, "--lines", "--library", LIBRARY, "{}", "-o", "{}.out"],
                        everything)
            self.assertEqual([pathlib.Path(name + ".out").read_bytes() for name in names], alone, arguments)

    def test_files_edited_side_by_side(self):
        before = {str(number): b"&#65;&#x20AC; and so on\n" * 1000 * number for number in range(40)}
        for name, text in before.items():
            self.file(name, text)
        self.output(["xargs", "-P", "4", "-n", "3", TOOL, "decode", "ncr", "--in-place", "--lines", "--library", LIBRARY],
                    " ".join(str(self.folder / name) for name in before).encode())
        self.assertEqual({path.name: path.read_bytes() for path in self.folder.iterdir()},
                         {name: text.replace(b"&#65;&#x20AC;", "A€".encode()) for name, text in before.items()})

    def test_one_pipe_for_all(self):
        names = [self.file(str(number), b"abc" * number) for number in range(200)]
        output = self.output(["xargs", "-P", "4", "-n", "5", TOOL, "length", "--library", LIBRARY], " ".join(names).encode())
        self.assertEqual(sorted(output.decode().splitlines()), sorted(f"{name}\t{3 * int(name.rsplit('/', 1)[1])}" for name in names))

    def test_a_problem_comes_through(self):
        result = subprocess.run(["xargs", "-P", "2", "-n", "1", TOOL, "to", "utf8", "--lines", "--library", LIBRARY],
                                input=f"{self.file('good', b'good')} {self.file('bad', b'bad' + bytes([255]))}".encode(),
                                capture_output=True)
        self.assertEqual(result.returncode, 123)  # of xargs, when a command failed
        self.assertEqual(result.stdout, b"good")
        self.assertEqual(run("to", "utf8", str(self.folder / "bad")).returncode, DATA)


if __name__ == "__main__":
    unittest.main()
