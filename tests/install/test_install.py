"""Installs the build tree into a prefix, moves that, and builds and runs a stranger's programs against each place."""
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import tempfile
import unittest

from command import run

BUILD = pathlib.Path(os.environ["RQ_BUILD"])
VERSION = os.environ["RQ_VERSION"]
MAJOR = VERSION.split(".")[0]
BASH_COMPLETION = pathlib.Path("/usr/share/bash-completion/bash_completion")
HOST_CONSUMER = pathlib.Path(__file__).parent / "host_consumer"
WITH_HOST = os.environ.get("RQ_HOST") == "1"
CONSUMER = pathlib.Path(__file__).parent / "consumer"
EXPECTED = "V.{:0>2}.{:0>2}M{}P INSTALLED\n".format(*VERSION.split("."))


def install(prefix, component=None):
    run("cmake", "--install", BUILD, "--prefix", prefix, *(["--component", component] if component else []))


def files(prefix):
    return {str(path.relative_to(prefix)) for path in prefix.rglob("*") if not path.is_dir()}


class Installed(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory(prefix="rquni install ")  # the blank is part of the test
        self.addCleanup(directory.cleanup)
        self.root = pathlib.Path(directory.name)
        self.prefix = self.root / "prefix"

    def library_directory(self):
        (library,) = self.prefix.rglob(f"librquni.so.{VERSION}")
        return library.parent

    def check_output(self, program):
        self.assertEqual(run(program, LD_LIBRARY_PATH=str(self.library_directory())), EXPECTED)

    def check_find_package(self):
        build = self.root / "consumer build"
        shutil.rmtree(build, ignore_errors=True)
        run("cmake", "-S", CONSUMER, "-B", build, "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={self.prefix}")
        run("cmake", "--build", build)
        for program in ("consumer_c", "consumer_cpp"):
            self.check_output(build / program)

    def check_host_package(self):
        """The example is the consumer: all it knows is what is installed."""
        build = self.root / "host consumer build"
        shutil.rmtree(build, ignore_errors=True)
        (example,) = self.prefix.rglob("text_session.cpp")
        run("cmake", "-S", HOST_CONSUMER, "-B", build, "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={self.prefix}",
            f"-DEXAMPLE={example}", "-DCMAKE_BUILD_TYPE=Release")
        run("cmake", "--build", build)
        self.assertIn("takes 7 columns", run(build / "text_session", self.library_directory() / f"librquni.so.{MAJOR}"))

    def built_by_pkg_config(self, directory, package):
        environment = {"PKG_CONFIG_PATH": str(directory)}
        self.assertEqual(run("pkg-config", "--modversion", package, **environment), VERSION + "\n")
        run("pkg-config", "--exists", f"{package} >= 1.0", **environment)
        flags = shlex.split(run("pkg-config", "--cflags", "--libs", package, **environment))
        for compiler, standard, source in (("CC", "-std=c11", "consumer.c"), ("CXX", "-std=c++17", "consumer.cpp")):
            program = self.root / ("consumer by " + compiler)
            run(os.environ[compiler], standard, "-Wall", "-Wextra", "-Wpedantic", "-Werror", CONSUMER / source,
                "-o", program, *flags)
            yield program

    def test_programs_build_in_the_prefix_and_where_it_is_moved(self):
        install(self.prefix)
        for place in ("prefix", "moved/elsewhere"):
            with self.subTest(place):
                if place != "prefix":
                    moved = self.root / place
                    moved.parent.mkdir()
                    self.prefix = self.prefix.rename(moved)
                self.check_find_package()
                if WITH_HOST:
                    self.check_host_package()
                for program in self.built_by_pkg_config(self.library_directory() / "pkgconfig", "rquni"):
                    self.check_output(program)

    @unittest.skipUnless(WITH_HOST, "the development host is not built")
    def test_the_host_builds_by_pkg_config(self):
        install(self.prefix)
        (example,) = self.prefix.rglob("text_session.cpp")
        environment = {"PKG_CONFIG_PATH": str(self.library_directory() / "pkgconfig")}
        flags = shlex.split(run("pkg-config", "--cflags", "--libs", "rquni-host", **environment))
        program = self.root / "text session"
        run(os.environ["CXX"], "-std=c++20", example, "-o", program, *flags)
        self.assertIn("takes 7 columns", run(program, self.library_directory() / f"librquni.so.{MAJOR}"))

    def test_paths_are_plain_in_a_prefix_that_pkg_config_knows(self):
        """Flags with .. in them are not recognised as the compiler's own directories."""
        run("cmake", "--install", BUILD, "--prefix", "/usr", "--component", "development", DESTDIR=str(self.root))
        (directory,) = {path.parent for path in self.root.rglob("rquni.pc")}
        for file in directory.iterdir():
            self.assertNotIn("..", file.read_text(), file.name)
            self.assertIn("prefix=/usr\n", file.read_text(), file.name)

    @unittest.skipUnless(WITH_HOST, "the development host is not built")
    def test_a_missing_icu_is_named(self):
        install(self.prefix)
        result = subprocess.run(["cmake", "-S", HOST_CONSUMER, "-B", self.root / "build",
                                 f"-DCMAKE_PREFIX_PATH={self.prefix}", f"-DEXAMPLE={HOST_CONSUMER}",
                                 "-DCMAKE_DISABLE_FIND_PACKAGE_ICU=ON"], text=True, capture_output=True)
        self.assertNotEqual(result.returncode, 0)
        self.assertIn("install libicu-dev", " ".join(result.stderr.split()))

    def test_programs_build_against_the_build_tree(self):
        for program in self.built_by_pkg_config(BUILD, "rquni-uninstalled"):
            self.assertEqual(run(program, LD_LIBRARY_PATH=str(BUILD / "lib")), EXPECTED)

    @unittest.skipUnless(WITH_HOST, "the development host is not built")
    def test_the_hosts_public_headers_need_no_others(self):
        install(self.prefix, "development")
        headers = self.prefix / "include" / "rqhost"
        self.assertEqual({path.name for path in headers.iterdir()}, {"text_session.h", "notation.h", "result.h"})
        for header in headers.iterdir():
            for standard in ("-std=c++17", "-std=c++20"):
                run(os.environ["CXX"], standard, "-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Wshadow", "-Werror",
                    "-fsyntax-only", "-x", "c++", header)

    def test_another_major_version_is_refused(self):
        install(self.prefix, "library")
        install(self.prefix, "development")
        project = self.root / "project"
        project.mkdir()
        (project / "CMakeLists.txt").write_text(
            "cmake_minimum_required(VERSION 3.16)\nproject(p LANGUAGES C)\n"
            f"find_package(rquni {int(MAJOR) + 1}.0 QUIET)\n"
            "if(rquni_FOUND)\n  message(FATAL_ERROR found)\nendif()\n")
        run("cmake", "-S", project, "-B", project / "build", f"-DCMAKE_PREFIX_PATH={self.prefix}")

    def test_links_and_soname(self):
        install(self.prefix, "library")
        directory = self.library_directory()
        self.assertEqual({path.name for path in directory.iterdir()},
                         {f"librquni.so.{VERSION}", f"librquni.so.{MAJOR}"})
        self.assertEqual(os.readlink(directory / f"librquni.so.{MAJOR}"), f"librquni.so.{VERSION}")
        self.assertIn(f"Library soname: [librquni.so.{MAJOR}]", run("readelf", "-d", directory / "librquni.so.1"))
        install(self.prefix, "development")
        self.assertEqual(os.readlink(directory / "librquni.so"), f"librquni.so.{MAJOR}")

    def test_components_share_nothing_and_make_up_the_whole(self):
        install(self.prefix)
        parts = []
        for component in ("library", "development", "tools", "documentation"):
            part = self.root / component
            install(part, component)
            parts.append(files(part) if part.exists() else set())
        self.assertEqual(sum(len(part) for part in parts), len(set().union(*parts)))
        self.assertEqual(set().union(*parts), files(self.prefix))

    def test_completions_lie_where_the_shells_look(self):
        install(self.prefix, "tools")
        share = self.prefix / "share"
        for file, mark in ((share / "bash-completion/completions/rqtext", "complete -F _rqtext rqtext"),
                           (share / "zsh/site-functions/_rqtext", "#compdef rqtext"),
                           (share / "fish/vendor_completions.d/rqtext.fish", "complete -c rqtext")):
            self.assertIn(mark, file.read_text())
        if BASH_COMPLETION.exists():
            load = f". {BASH_COMPLETION}; _completion_loader rqtext; complete -p rqtext"
            self.assertEqual(run("bash", "-c", load, XDG_DATA_DIRS=str(share)), "complete -F _rqtext rqtext\n")
        if shutil.which("fish"):
            path = str(self.prefix / "bin") + os.pathsep + os.environ["PATH"]
            ask = run("fish", "-c", "complete -C 'rqtext dec'", XDG_DATA_DIRS=str(share), HOME=str(self.root), PATH=path)
            self.assertEqual(ask.split("\t")[0], "decode")

    def test_links_in_the_installed_pages_lead_somewhere(self):
        install(self.prefix)
        (start,) = self.prefix.rglob("doc/rquni/README.md")
        pages = list(start.parent.rglob("*.md"))
        self.assertGreater(len(pages), 8)
        count = 0
        for page in pages:
            text = re.sub(r"^```.*?^```$", "", page.read_text(), flags=re.MULTILINE | re.DOTALL)
            for target in re.findall(r"\]\(([^)\s#]+)", text):
                if not re.match(r"[a-z]+:", target):
                    count += 1
                    self.assertTrue((page.parent / target).exists(), f"{page.name}: {target}")
        self.assertGreater(count, 30)

    def test_the_headers_alone_are_installed(self):
        install(self.prefix, "development")
        headers = {path.name for path in (self.prefix / "include" / "rquni").iterdir()}
        included = set()
        for name in headers:
            for line in (self.prefix / "include" / "rquni" / name).read_text().splitlines():
                if line.startswith('#include "'):
                    included.add(line.split('"')[1])
        self.assertEqual(headers, included | {"rquni.h", "host_entry.h"})


if __name__ == "__main__":
    unittest.main()
