"""Runs the code blocks of the pages, and follows their links inside the tree.

A block marked `console` holds commands behind "$ " and what they print, standard error included; one marked `sh` holds
commands that must succeed. They run in an empty directory of their own, with the tools of RQ_BIN first in the path.
"""
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).parents[2]
PAGES = [ROOT / "README.md", ROOT / "CONTRIBUTING.md", ROOT / "SECURITY.md", ROOT / "CHANGELOG.md",
         *sorted((ROOT / "docs").rglob("*.md"))]
BLOCK = re.compile(r"^```(\w*)\n(.*?)^```$", re.MULTILINE | re.DOTALL)


def blocks(kind):
    for page in PAGES:
        text = page.read_text()
        for block in BLOCK.finditer(text):
            if block[1] == kind:
                yield f"{page.relative_to(ROOT)}:{text.count(chr(10), 0, block.start()) + 1}", block[2]


def steps(block):
    """The commands of a console block, each with the output that it should give."""
    for step in re.split(r"^\$ ", block, flags=re.MULTILINE)[1:]:
        command, _, output = step.partition("\n")
        yield command, output


def anchor(heading):
    """The name under which a rendered page offers a heading."""
    return re.sub(r"[^\w\- ]", "", heading.strip().lower()).replace(" ", "-")


class Pages(unittest.TestCase):
    def shell(self, command):
        environment = {**os.environ, "PATH": os.environ["RQ_BIN"] + os.pathsep + os.environ["PATH"],
                       "LC_ALL": "C.UTF-8"}
        with tempfile.TemporaryDirectory() as directory:
            return subprocess.run(["bash", "-c", command], cwd=directory, env=environment, encoding="utf-8",
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=60)

    def test_console_blocks_print_what_they_show(self):
        count = 0
        for place, block in blocks("console"):
            self.assertTrue(block.startswith("$ "), place)
            for command, output in steps(block):
                count += 1
                with self.subTest(place, command=command):
                    self.assertEqual(self.shell(command).stdout, output)
        self.assertGreater(count, 15)

    def test_shell_blocks_succeed(self):
        for place, block in blocks("sh"):
            with self.subTest(place):
                result = self.shell("set -e -o pipefail\n" + block)
                self.assertEqual(result.returncode, 0, result.stdout)

    def test_links_inside_the_tree_lead_somewhere(self):
        count = 0
        for page in PAGES:
            text = BLOCK.sub("", page.read_text())
            for target in re.findall(r"\]\(([^)\s]+)\)", text):
                if re.match(r"[a-z]+:", target):
                    continue
                count += 1
                path, _, fragment = target.partition("#")
                file = (page.parent / path).resolve() if path else page
                with self.subTest(str(page.relative_to(ROOT)), target=target):
                    self.assertTrue(file.exists())
                    if fragment:
                        headings = re.findall(r"^#+ (.*)$", BLOCK.sub("", file.read_text()), re.MULTILINE)
                        self.assertIn(fragment, [anchor(heading) for heading in headings])
        self.assertGreater(count, 5)


if __name__ == "__main__":
    unittest.main()
