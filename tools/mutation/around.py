"""Mutants of what surrounds the library: the rooms host, checker, cli and engines, in a copy of the tree that CMake
builds with all of them switched. The tests are those of ctest; RQ_MUTANT reaches every process that they start."""
import collections
import json
import os
import pathlib
import re
import shutil
import subprocess
import time

from mutation import suite, switched

HERE = pathlib.Path(__file__).resolve().parent
# The targets made of each room, and the tests of ctest that are tried for its mutants.
ROOMS = {
    "host": (("rqhost",), r"^(host|checker|cli\.)"),
    "checker": (("rqcheck",), r"^checker"),
    "cli": (("rqtool", "rqtext"), r"^(cli\.|checker\.check_host)"),
    "engines": (("rq_engines", "rq_sqlite", "rq_postgresql", "rq_postgresql_callbacks"), r"^engines\."),
}
PROGRAMS = {
    "host": ("host_test", "rq_host_differential"),
    "checker": ("checker_test", "rq_broken_host", "rq_development_host", "rq_minimal_host", "rqtext"),
    "cli": ("rqtext", "cli_pieces_tests", "rq_stub_library", "rq_failing_calls", "rq_kill_at_call"),
    "engines": ("all",),
}
MOST_ROUNDS = 12  # of leaving out what the compiler refuses
LIST_UNITTESTS = """import sys, unittest
def show(tests):
    for test in tests:
        show(test) if isinstance(test, unittest.TestSuite) else print(test.id())
show(unittest.defaultTestLoader.loadTestsFromName(sys.argv[1]))"""


def programs_of(rooms):
    """What the tests of these rooms run."""
    wanted = set()
    for room in rooms:
        pattern = re.compile(ROOMS[room][1])
        wanted |= {p for r, programs in PROGRAMS.items() if pattern.match(r + ".") or r == room for p in programs}
    return sorted(wanted)


class Tree:
    """The copy, and the mutants that it is built with."""

    def __init__(self, root, rooms, texts, folder):
        self.rooms, self.texts = rooms, texts
        self.sources, self.build = folder / "tree", folder / "build"
        listed = subprocess.run(["git", "-C", str(root), "ls-files", "-z"], check=True, capture_output=True, text=True)
        for name in filter(None, listed.stdout.split("\0")):
            if (root / name).is_file():
                (self.sources / name).parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(root / name, self.sources / name)
        switch = folder / "libswitch.a"
        subprocess.run(["cc", "-O1", "-fPIC", "-c", str(HERE / "switch.c"), "-o", str(folder / "switch.o")], check=True)
        subprocess.run(["ar", "rc", str(switch), str(folder / "switch.o")], check=True)
        targets = ";".join(target for room in rooms for target in ROOMS[room][0])
        subprocess.run(["cmake", "--preset", "gcc", "-B", str(self.build), f"-DRQ_SWITCHED={targets}",
                        f"-DRQ_SWITCH={switch}", f"-DCMAKE_PROJECT_rquni_INCLUDE={HERE / 'switches.cmake'}"],
                       cwd=self.sources, check=True, stdout=subprocess.DEVNULL)

    def write(self, names, mutants_of, left):
        for name in names:
            places = {m.begin: (m.place, m.number - m.place + 1) for m in mutants_of[name] if m not in left}
            (self.sources / name).write_text(switched.switched(name, self.texts[name], places))

    def build_switched(self, mutants, jobs):
        """Builds all. Returns the mutants that the compiler refuses as a switch."""
        mutants_of = collections.defaultdict(list)
        for mutant in mutants:
            mutants_of[mutant.file].append(mutant)
        left = {mutant for mutant in mutants if not switched.can_be(self.texts[mutant.file], mutant)}
        changed = set(mutants_of)
        place = re.compile(rf"^\S*?((?:{'|'.join(self.rooms)})/[\w/.]+):(\d+):\d+: +(?:error|required from here)", re.M)
        for _ in range(MOST_ROUNDS):
            self.write(changed, mutants_of, left)
            done = subprocess.run(["ninja", "-C", str(self.build), "-k0", f"-j{jobs}", *programs_of(self.rooms)],
                                  capture_output=True, text=True, check=False)
            if done.returncode == 0:
                return left
            lines = {(name, int(line)) for name, line in place.findall(done.stdout)}
            more = {m for name, line in lines for m in mutants_of[name]
                    if self.texts[name].count("\n", 0, m.begin) + 1 == line} - left
            if not more:
                raise RuntimeError(done.stdout[-4000:])
            left |= more
            changed = {m.file for m in more}
        raise RuntimeError("the switched tree does not build")


class Suite(suite.Suite):
    """The tests of ctest in the copy: those on GoogleTest and unittest one by one."""

    def __init__(self, tree, folder, patience):  # pylint: disable=super-init-not-called
        self.folder, self.patience, self.tree = folder, patience, tree
        self.history, self.folders = {}, collections.Counter()
        pattern = re.compile("|".join(ROOMS[room][1] for room in tree.rooms))
        shown = subprocess.run(["ctest", "--test-dir", str(tree.build), "--show-only=json-v1"], check=True,
                               capture_output=True, text=True).stdout
        self.tests = []
        for entry in json.loads(shown)["tests"]:
            if pattern.match(entry["name"]) and entry.get("command"):
                self.tests += self.made_of(entry)

    def made_of(self, entry):
        properties = {p["name"]: p["value"] for p in entry["properties"]}
        environment = dict(pair.split("=", 1) for pair in properties.get("ENVIRONMENT", []))
        place, command = properties["WORKING_DIRECTORY"], entry["command"]
        if "unittest" in command:
            listed = subprocess.run([*command[:2], "-c", LIST_UNITTESTS, command[-1][:-3]], cwd=place, check=True,
                                    capture_output=True, text=True, env=dict(os.environ, **environment)).stdout
            commands = [command[:-1] + [name] for name in listed.split()]
        elif command[-1].startswith("--gtest_filter=-"):
            listed = subprocess.run([command[0], "--gtest_list_tests"], check=True, capture_output=True, text=True).stdout
            commands = [[command[0], f"--gtest_filter={name}"] for name in suite.googletests(listed)]
        else:
            commands = [command]
        for words in commands:
            test = suite.Test(f"{entry['name']} {words[-1]}", words[0], words[1:])
            test.environment, test.place = environment, place
            yield test

    def run(self, test, folder, mutant=0, reached=None):
        environment = dict(os.environ, **test.environment, RQ_MUTANT=str(mutant), PYTHONDONTWRITEBYTECODE="1")
        refusal = folder / f"refused.{mutant}"
        environment["RQ_REFUSED"] = str(refusal)
        if reached:
            environment["RQ_REACHED"] = str(reached)
        limit, start = 30 + int(3 * test.seconds), time.monotonic()
        with subprocess.Popen(["timeout", "-k1", str(limit), test.program, *test.arguments], cwd=test.place,
                              env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, start_new_session=True) as process:
            status = process.wait()
        if refusal.exists():
            refusal.unlink()
            status = suite.REFUSED
        return status, time.monotonic() - start
