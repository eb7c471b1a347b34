"""The version stands in CMakeLists.txt; the changelog, the tool, the library, the packages and the tags say the same."""
import datetime
import os
import pathlib
import re
import subprocess
import unittest

PROJECT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ["RQ_BUILD"])


def version_of(cmake):
    return re.search(r"^project\(rquni VERSION (\d+\.\d+\.\d+)", cmake, re.MULTILINE).group(1)


def git(*arguments):
    """What git prints, or nothing where this is no clone."""
    done = subprocess.run(["git", "-C", PROJECT, *arguments], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                          check=False)
    return done.stdout if done.returncode == 0 else ""


class Version(unittest.TestCase):
    version = version_of((PROJECT / "CMakeLists.txt").read_text())

    def test_changelog(self):
        headings = re.findall(r"^## (.*)$", (PROJECT / "CHANGELOG.md").read_text(), re.MULTILINE)
        if headings[0] == "Unreleased":
            headings.pop(0)
        releases = [re.fullmatch(r"(\d+)\.(\d+)\.(\d+), (\d{4}-\d\d-\d\d)", heading) for heading in headings]
        self.assertNotIn(None, releases, "a heading is no version with its day")
        self.assertEqual(".".join(releases[0].groups()[:3]), self.version)
        order = [(tuple(map(int, release.groups()[:3])), datetime.date.fromisoformat(release[4])) for release in releases]
        self.assertEqual(order, sorted(order, reverse=True), "the latest comes first")

    def test_tool_and_library(self):
        run = lambda *arguments: subprocess.run([os.environ["RQTEXT"], *arguments], stdout=subprocess.PIPE, text=True,
                                                check=True).stdout
        self.assertEqual(run("--version"), f"rqtext {self.version}\n")
        stamp = "V.{:0>2}.{:0>2}M{}P".format(*self.version.split("."))
        self.assertIn(f"version stamp: {stamp}", run("info", "--library", os.environ["RQ_LIBRARY"]))
        self.assertEqual(os.path.realpath(os.environ["RQ_LIBRARY"]).rsplit(".so.", 1)[-1], self.version)

    def test_packages(self):
        written = (BUILD / "CPackConfig.cmake").read_text()
        self.assertIn(f'set(CPACK_PACKAGE_VERSION "{self.version}")', written)

    def test_tags(self):
        tags = re.findall(r"^v(\d+\.\d+\.\d+)$", git("tag"), re.MULTILINE)
        for tag in tags:
            self.assertEqual(version_of(git("show", f"v{tag}:CMakeLists.txt")), tag)
            self.assertRegex(git("show", f"v{tag}:CHANGELOG.md"), rf"(?m)^## {re.escape(tag)}, ")
        newest = max((tuple(map(int, tag.split("."))) for tag in tags), default=(0, 0, 0))
        self.assertLessEqual(newest, tuple(map(int, self.version.split("."))))


if __name__ == "__main__":
    unittest.main()
