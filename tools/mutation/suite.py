"""The tests as mutants meet them: those of ctest, each test of GoogleTest and of unittest by itself, the likeliest to
notice first."""
import collections
import contextlib
import json
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time

HERE = pathlib.Path(__file__).resolve().parent
REFUSED = 86  # switch.c: the compiler would have refused this mutant
PASSED = (0, 77)
# The tests that load the library and nothing of what surrounds it.
OF_THE_LIBRARY = re.compile(r"rq_test_|differential\.|fuzz\.replay\.|guards\.")
TOO_LONG = {"merge", "night"}  # these labels
# Of a process that a mutant lets run away.
LIMITS = ("--core=0", f"--data={6 << 30}", f"--fsize={2 << 30}")
LIST_UNITTESTS = """import sys, unittest
def show(tests):
    for test in tests:
        show(test) if isinstance(test, unittest.TestSuite) else print(test.id())
show(unittest.defaultTestLoader.loadTestsFromName(sys.argv[1]))"""


def googletests(listed):
    """The names in what --gtest_list_tests prints."""
    group = ""
    for line in listed.splitlines():
        name = line.split("#")[0].strip()
        if line.startswith(" "):
            yield group + name
        elif name.endswith("."):
            group = name


class Test:
    def __init__(self, name, command, environment, place):
        self.name, self.command, self.environment, self.place = name, command, environment, place
        self.kernels = environment.get("RQUNI_KERNELS", "")
        self.seconds, self.processor = 30.0, 30.0  # without a mutant: until it ends, and of processors


def parts(command, environment, place):
    """The commands that run each test of a program by itself."""
    def listed(words):
        return subprocess.run(words, cwd=place, check=True, capture_output=True, text=True,
                              env=dict(os.environ, **environment)).stdout
    if any(word.startswith("--gtest_filter=") for word in command):
        return [[command[0], f"--gtest_filter={name}"] for name in googletests(listed([*command, "--gtest_list_tests"]))]
    if "unittest" in command and command[-1].endswith(".py"):
        names = listed([*command[:2], "-c", LIST_UNITTESTS, command[-1][:-3]]).split()
        return [[*command[:-1], name] for name in names]
    return [command]


def of_ctest(build, wanted, too_long=frozenset(TOO_LONG)):
    """The tests of a build whose names the pattern `wanted` finds at their beginning, but for those of such labels."""
    shown = subprocess.run(["ctest", "--test-dir", str(build), "--show-only=json-v1"], check=True, capture_output=True,
                           text=True).stdout
    for entry in json.loads(shown)["tests"]:
        properties = {p["name"]: p["value"] for p in entry["properties"]}
        command = entry.get("command")
        if not wanted.match(entry["name"]) or not command or too_long & set(properties.get("LABELS", ())):
            continue
        if pathlib.Path(command[0]).name.startswith("python3"):
            command[0] = sys.executable  # what CMake finds may be a script that looks for it
        environment = dict(pair.split("=", 1) for pair in properties.get("ENVIRONMENT", []) if pair)
        place = properties["WORKING_DIRECTORY"]
        for words in parts(command, environment, place):
            name = entry["name"] if words == command else f"{entry['name']} {words[-1].removeprefix('--gtest_filter=')}"
            yield Test(name, words, environment, place)


class Suite:
    def __init__(self, tests, folder, patience):
        self.tests, self.folder, self.patience = list(tests), folder, patience
        self.history = collections.defaultdict(lambda: [0.0, 1.0])  # (function or file, test): killed, tried
        self.reached = collections.Counter()  # test or (function, test): the mutants that it reaches

    def start(self, test, folder):
        """What a test's processes find in the environment, and the command, to try the mutants of `folder`."""
        return dict(test.environment), test.command

    def run(self, test, folder, mutant=0, reached=None):
        """Runs a test: (exit status, seconds until it ended, seconds of processors)."""
        environment, command = self.start(test, folder)
        limits = ["timeout", "-sKILL", str(20 + int(10 * test.seconds)), "prlimit", *LIMITS,
                  f"--cpu={2 + int(10 * test.processor)}"]
        with tempfile.TemporaryDirectory(dir=self.folder, ignore_cleanup_errors=True) as own:
            os.chmod(own, 0o755)
            refusal = pathlib.Path(own) / "refused"
            environment = dict(os.environ, **environment, RQ_MUTANT=str(mutant), RQ_REFUSED=str(refusal), TMPDIR=own,
                               PYTHONDONTWRITEBYTECODE="1")
            if reached:
                environment["RQ_REACHED"] = str(reached)
            begun = time.monotonic()
            process = subprocess.Popen([*limits, *command], cwd=test.place, env=environment, start_new_session=True,
                                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = os.waitstatus_to_exitcode(status)
            with contextlib.suppress(ProcessLookupError):
                os.killpg(process.pid, signal.SIGKILL)  # what it left behind
            status = REFUSED if refusal.exists() else process.returncode
        return status, time.monotonic() - begun, usage.ru_utime + usage.ru_stime

    def measure(self, test, folder, places):
        """Runs a test without a mutant: its time and the places that it reaches. False when it fails."""
        reached = self.folder / f"reached.{id(test)}"
        reached.touch()
        reached.chmod(0o666)
        status, test.seconds, test.processor = self.run(test, folder, 0, reached)
        for place, executed in enumerate(reached.read_bytes()):
            if executed:
                places.setdefault(place, []).append(test)
        reached.unlink()
        return status in PASSED

    def expect(self, mutant):
        """A test that reaches little else than a function is the likelier to notice what changes there."""
        for test in mutant.tests:
            self.reached[test] += 1
            self.reached[mutant.function, test] += 1

    def promise(self, mutant, test):
        """How much a test is worth trying for a mutant: its chance to notice for each second. What it noticed in the
        same function counts most."""
        (near, near_tried), (far, far_tried) = self.history[mutant.function, test], self.history[mutant.file, test]
        share = self.reached[mutant.function, test] / (self.reached[test] + 1)
        return ((4 * near + share) / near_tried + far / far_tried + 0.001) / (test.processor + 0.02)

    def judge(self, mutant, tests, folder, number):
        """("killed", by), ("build", "") or ("survived", "")."""
        waiting, spent = list(tests), 0.0
        while waiting and spent < self.patience:
            test = max(waiting, key=lambda t: self.promise(mutant, t))
            waiting.remove(test)
            status, _, seconds = self.run(test, folder, number)
            spent += seconds + 0.005
            if status == REFUSED:
                return "build", ""
            for place in (mutant.function, mutant.file):
                self.history[place, test][0] += status not in PASSED
                self.history[place, test][1] += 1
            if status not in PASSED:
                return "killed", test.name
        return "survived", ""


class LibrarySuite(Suite):
    """Tests of a build that load the library from another folder."""

    def __init__(self, build, folder, patience):
        super().__init__(of_ctest(build, OF_THE_LIBRARY), folder, patience)
        subprocess.run(["cc", "-shared", "-fPIC", "-o", str(folder / "load.so"), str(HERE / "load.c")], check=True)

    def start(self, test, folder):
        program, *arguments = test.command
        if program.endswith("/rq_test_kit_internal"):
            program = str(folder / "rq_test_kit_internal")
        preloaded = {"LD_PRELOAD": str(self.folder / "load.so"), "RQ_LOADED": str(folder / "librquni.so")}
        return {**test.environment, **preloaded}, [program, *arguments]
