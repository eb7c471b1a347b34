"""Builds the Debian packages from a tree of another name and in another time zone: their binaries must be those of the
tree under test to the bit, packing again must give the same packages, and lintian must not complain."""
import hashlib
import os
import pathlib
import re
import shutil
import sys
import tempfile
import unittest

from command import run

ROOT = pathlib.Path(__file__).parents[2]
sys.path.insert(0, str(ROOT / "tests" / "engines" / "postgresql"))
from server import LIB, SHARE, Server, Stage  # noqa: E402

BUILD = pathlib.Path(os.environ["RQ_BUILD"])
VERSION = os.environ["RQ_VERSION"]
MAJOR = VERSION.split(".")[0]


def digest(path):
    return hashlib.sha256(path.read_bytes()).hexdigest()


def binaries(tree):
    """The digests of the programs and libraries in a folder, by their names."""
    return {path.name: digest(path) for path in tree.rglob("*") if path.is_file() and not path.is_symlink()
            and path.read_bytes().startswith((b"\x7fELF", b"!<arch>\n"))}


class Packages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.directory = tempfile.TemporaryDirectory(prefix="rquni-packages-")
        cls.addClassCleanup(cls.directory.cleanup)
        folder = pathlib.Path(cls.directory.name)
        elsewhere = folder / "a longer name" / "and deeper" / "tree"
        shutil.copytree(ROOT, elsewhere, ignore=shutil.ignore_patterns("build"))
        cls.built = folder / "built"
        run(elsewhere / "packaging" / "build_packages", cls.built, LC_ALL="C.UTF-8", TZ="Asia/Tokyo")
        cls.packages = sorted(cls.built.glob("*.deb"))

    def test_there_are_five(self):
        names = [package.name.split("_")[0] for package in self.packages]
        self.assertEqual(names, ["librquni-dev", f"librquni{MAJOR}", "libsqlite3-mod-rquni", "postgresql-15-rquni", "rquni-tools"])

    def test_another_build_gives_the_same_binaries(self):
        tested = pathlib.Path(self.directory.name) / "tested"
        for component in "library", "development", "tools", "postgresql", "sqlite":
            run("cmake", "--install", BUILD, "--prefix", tested, "--strip", "--component", component)
        packaged = binaries(self.tree(*(package.name.split("_")[0] for package in self.packages)))
        self.assertEqual(sorted(packaged), ["librqhost.a", f"librquni.so.{VERSION}", "mod_rquni.so", "rqtext", "rquni.so"])
        self.assertEqual(binaries(tested), packaged)

    def test_packing_again_gives_the_same_bytes(self):
        again = pathlib.Path(self.directory.name) / "again"
        run("cpack", "--config", self.built / "CPackConfig.cmake", "-B", again, TZ="UTC",
            SOURCE_DATE_EPOCH=run("git", "-C", ROOT, "log", "-1", "--format=%ct").strip())
        for package in self.packages:
            self.assertEqual(digest(again / package.name), digest(package), package.name)

    def test_lintian_has_no_complaint(self):
        report = run("lintian", "--allow-root", "--fail-on", "error,warning", "--tag-display-limit", "0",
                     *self.packages)
        self.assertNotRegex(report, re.compile("^[EW]: ", re.MULTILINE))

    def tree(self, *names):
        """A folder with what the packages of these names install."""
        tree = pathlib.Path(self.directory.name) / "-".join(names)
        for package in self.packages:
            if package.name.split("_")[0] in names:
                run("dpkg-deb", "-x", package, tree)
        return tree

    def test_the_sqlite_extension_is_found_by_its_name(self):
        tree = self.tree(f"librquni{MAJOR}", "libsqlite3-mod-rquni")
        (module,) = tree.rglob("mod_rquni.so")
        result = run("sqlite3", "-cmd", ".load mod_rquni", ":memory:", "SELECT rq_decode('caf&#233;', 'ncr')",
                     LD_LIBRARY_PATH=str(module.parent))
        self.assertEqual(result, "café\n")

    def test_the_postgresql_extension_is_made_from_the_installed_files(self):
        tree = self.tree(f"librquni{MAJOR}", "postgresql-15-rquni")
        (library,) = tree.rglob(f"librquni.so.{VERSION}")
        stage = Stage(tree / LIB / "rquni.so", library, source=tree / SHARE)
        self.addCleanup(stage.remove)
        with Server(stage) as server:
            self.assertEqual(server.psql("CREATE EXTENSION rquni; SELECT rq_decode('caf&#233;', 'ncr');"), "café\n")

    def test_the_library_asks_for_no_newer_libc_than_its_package_says(self):
        (package,) = (package for package in self.packages if package.name.startswith(f"librquni{MAJOR}_"))
        tree = self.tree(f"librquni{MAJOR}")
        said = re.fullmatch(r"libc6 \(>= ([0-9.]+)\)\n", run("dpkg-deb", "-f", package, "Depends"))
        self.assertIsNotNone(said, "no other library is needed")
        (library,) = tree.rglob(f"librquni.so.{VERSION}")
        needed = re.findall(r"Name: GLIBC_([0-9.]+)", run("readelf", "-V", library))
        self.assertTrue(needed)
        number = lambda version: [int(part) for part in version.split(".")]
        self.assertLessEqual(max(map(number, needed)), number(said[1]))


if __name__ == "__main__":
    unittest.main()
