"""Mutants of what surrounds the library: the rooms host, checker, cli and engines, in a copy of the tree that CMake
builds with all of them switched. The tests are those of ctest; RQ_MUTANT reaches every process that they start."""
import collections
import hashlib
import os
import pathlib
import re
import subprocess

from mutation import suite, switched

HERE = pathlib.Path(__file__).resolve().parent
HOSTS = ("rq_broken_host", "rq_development_host", "rq_minimal_host")
# The targets made of each room, what the tests for its mutants run, and the names in ctest that these tests begin with.
ROOMS = {
    "host": (("rqhost",), ("host_test", "rq_host_differential", "text_session", "rqtext", "cli_pieces_tests",
              "rq_stub_library", *HOSTS),
             r"host|examples\.text_session|cli\.(pieces|codecs|transforms|tool|streams)|checker\.check_host"),
    "checker": (("rqcheck",), ("checker_test", "checker_rules_test", "rq_checker_in_process", *HOSTS, "rqtext"), r"checker"),
    "cli": (("rqtool", "rqtext"),
            ("rqtext", "cli_pieces_tests", "rq_stub_library", "rq_failing_calls", "rq_kill_at_call", *HOSTS),
            r"cli\.|checker\.check_host"),
    "engines": (("rq_engines", "rq_sqlite", "rq_postgresql", "rq_postgresql_callbacks", "rq_postgresql_checked",
                 "rq_engines_differential"),
                ("rq_sqlite", "rq_sqlite_threads", "rq_engines_differential", "rq_postgresql", "rq_postgresql_callbacks",
                 "rq_postgresql_checked", "rq_engines_test", "rqtext"), r"engines\."),
}
MOST_ROUNDS = 12  # of leaving out what the compiler refuses


def write(path, text):
    """Writes what is not there already, so that a build that is kept makes nothing anew."""
    if not path.exists() or path.read_bytes() != text:
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(text)


class Tree:
    """The copy, and the mutants that it is built with."""

    def __init__(self, root, rooms, texts, folder, jobs):
        self.rooms, self.texts, self.folder, self.jobs = rooms, texts, folder, jobs
        self.sources, self.build = folder / "tree", folder / "build"
        self.mutants_of, self.left = collections.defaultdict(list), set()
        self.programs = sorted({program for room in rooms for program in ROOMS[room][1]})
        self.tests = re.compile("|".join(ROOMS[room][2] for room in rooms))
        listed = subprocess.run(["git", "-C", str(root), "ls-files", "-z", "-co", "--exclude-standard"], check=True,
                                capture_output=True, text=True)
        for name in filter(None, listed.stdout.split("\0")):
            if (root / name).is_file() and name not in texts:
                write(self.sources / name, (root / name).read_bytes())
                (self.sources / name).chmod((root / name).stat().st_mode)
        self.environment = dict(os.environ, CCACHE_BASEDIR=str(folder))
        switch, includes = folder / "libswitch.a", HERE / "switches.cmake"
        subprocess.run(["cc", "-O1", "-fPIC", "-c", str(HERE / "switch.c"), "-o", str(folder / "switch.o")], check=True)
        subprocess.run(["ar", "rcD", str(switch), str(folder / "switch.o")], check=True)
        self.targets = [target for room in rooms for target in ROOMS[room][0]]
        for name, text in texts.items():
            write(self.sources / name, text.encode())
        subprocess.run(["cmake", "--preset", "gcc", "-B", str(self.build), "-DRQ_UNITY=OFF",
                        f"-DRQ_SWITCHED={';'.join(self.targets)}", f"-DRQ_SWITCH={switch}",
                        f"-DCMAKE_PROJECT_rquni_INCLUDE={includes}"],
                       cwd=self.sources, check=True, stdout=subprocess.DEVNULL, env=self.environment)

    def write(self, names):
        for name in names:
            write(self.sources / name, switched.switched(name, self.texts[name], self.places(name)).encode())

    def places(self, name):
        return {m.begin: (m.place, m.number - m.place + 1) for m in self.mutants_of[name] if m not in self.left}

    def ninja(self):
        return subprocess.run(["ninja", "-C", str(self.build), "-k0", f"-j{self.jobs}", *self.programs],
                              capture_output=True, text=True, check=False, env=self.environment)

    def build_switched(self, mutants):
        """Builds all. Those that the compiler refuses as a switch are in `left` then."""
        for mutant in mutants:
            self.mutants_of[mutant.file].append(mutant)
        known = self.folder / "left"  # from the last time in this folder
        labels = set(known.read_text().splitlines()) if known.exists() else ()
        self.left = {m for m in mutants if m.label in labels or not switched.can_be(self.texts[m.file], m)}
        named = rf"\S*?((?:{'|'.join(self.rooms)})/[\w/.]+):(\d+):\d+:"
        place = re.compile(rf"(?:^|inlined from .* at ){named}(?: +(?:error|required from)|$)", re.M)
        for _ in range(MOST_ROUNDS):
            self.write(self.mutants_of)
            done = self.ninja()
            if done.returncode == 0:
                known.write_text("".join(f"{m.label}\n" for m in mutants if m in self.left))
                return
            lines = {(name, int(line)) for name, line in place.findall(done.stdout)}
            more = {m for name, line in lines for m in self.mutants_of[name]
                    if self.texts[name].count("\n", 0, m.begin) + 1 == line}
            # An expression over several lines is refused at its end.
            numbers = set(map(int, re.findall(r"In instantiation of .*\bmutant = (\d+)\]", done.stdout)))
            more = (more | {m for m in mutants if m.place in numbers}) - self.left
            if not more:
                raise RuntimeError(done.stdout[-4000:])
            self.left |= more
        raise RuntimeError("the switched tree does not build")

    def objects(self):
        """A sum over what the compiler makes of the rooms."""
        total = hashlib.sha256()
        for path in sorted(path for target in self.targets for path in self.build.rglob(f"{target}.dir/**/*.o")):
            total.update(path.read_bytes())
        return total.digest()

    def build_one(self, mutant):
        """Builds a mutant beside the switches of the others: whether the compiler takes it."""
        text, longer = self.texts[mutant.file], len(mutant.other) - (mutant.end - mutant.begin)
        places = {begin + (longer if begin > mutant.begin else 0): switch
                  for begin, switch in self.places(mutant.file).items() if begin != mutant.begin}
        text = text[:mutant.begin] + mutant.other + text[mutant.end:]
        write(self.sources / mutant.file, switched.switched(mutant.file, text, places).encode())
        return self.ninja().returncode == 0

    def restore(self, mutant):
        self.write([mutant.file])
