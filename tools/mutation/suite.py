"""The tests as mutants meet them: one process for each, the likeliest to notice first."""
import collections
import os
import pathlib
import subprocess

HERE = pathlib.Path(__file__).resolve().parent
REFUSED = 86  # switch.c: the compiler would have refused this mutant
PASSED = (0, 77)
KIT = ("rq_test_kit", "rq_test_kit_internal")  # run with each set of kernels
PROGRAMS = ("rq_test_codecs", "rq_test_frame", "rq_test_unicode", "rq_test_loading", "rq_test_robustness")
KERNELS = ("sse2", "avx2", "avx512")
KERNEL_FAMILIES = ("kit", "wide")  # of the differential program


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
    def __init__(self, name, program, arguments, kernels=""):
        self.name, self.program, self.arguments = name, program, list(arguments)
        self.kernels = kernels
        self.seconds = 30.0  # of processor time, without a mutant


class Suite:
    def __init__(self, root, build, folder, patience):
        self.build, self.folder, self.patience = build, folder, patience
        subprocess.run(["cc", "-shared", "-fPIC", "-o", str(folder / "load.so"), str(HERE / "load.c")], check=True)
        self.tests = [Test(f"{name} {kernels}", program, [f"--gtest_filter={name}"], kernels)
                      for program in KIT for name in self.names(program) for kernels in KERNELS]
        self.tests += [Test(name, program, [f"--gtest_filter={name}"]) for program in PROGRAMS
                       for name in self.names(program)]
        self.tests += [Test(f"differential {' '.join(a)} {kernels}", "rq_differential", a, kernels)
                       for a, kernels in self.differential(root / "fuzz/corpus")]
        self.history = {}  # file: {test: [killed, tried]}
        self.folders = collections.Counter()

    @staticmethod
    def differential(corpora):
        yield ("all", "3", "8"), ""
        yield ("all", "4", "12"), ""
        for family in sorted(path.name for path in corpora.iterdir()):
            for kernels in KERNELS if family in KERNEL_FAMILIES else ("",):
                yield ("random", "1", "0.5", family), kernels
            yield ("replay", family, str(corpora / family)), ""

    def names(self, program):
        listed = subprocess.run([str(self.build / "bin" / program), "--gtest_list_tests"], check=True,
                                capture_output=True, text=True, env=dict(os.environ, RQUNI_KERNELS="sse2")).stdout
        return googletests(listed)

    def run(self, test, folder, mutant=0, reached=None):
        """Runs a test with the library of `folder`: (exit status, seconds of processor time)."""
        program = folder / test.program if test.program == "rq_test_kit_internal" else self.build / "bin" / test.program
        environment = dict(os.environ, LD_PRELOAD=str(self.folder / "load.so"),
                           RQ_LOADED=str(folder / "librquni.so"), RQ_MUTANT=str(mutant))
        if test.kernels:
            environment["RQUNI_KERNELS"] = test.kernels
        if reached:
            environment["RQ_REACHED"] = str(reached)
        limit = 1 + int(10 * test.seconds)
        limits = ["timeout", "-sKILL", str(60 + 10 * limit), "prlimit", f"--cpu={limit}", "--core=0"]
        process = subprocess.Popen(
            limits + [str(program)] + test.arguments,
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, env=environment,
            cwd=folder)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        return process.returncode, usage.ru_utime + usage.ru_stime

    def measure(self, test, folder, places):
        """Runs a test without a mutant: its time and the places that it reaches. False when it fails."""
        reached = self.folder / f"reached.{id(test)}"
        reached.touch()
        status, test.seconds = self.run(test, folder, 0, reached)
        for place, executed in enumerate(reached.read_bytes()):
            if executed:
                places.setdefault(place, []).append(test)
        reached.unlink()
        return status in PASSED

    def expect(self, mutant):
        """A test that reaches much of a file or its folder is the likelier to notice what changes there. What all
        reach runs when the library is loaded."""
        records = self.history.setdefault(mutant.file, {})
        for test in mutant.tests if len(mutant.tests) < len(self.tests) else ():
            records.setdefault(test, [0.0, 1])[0] += 0.001
            self.folders[mutant.file.rsplit("/", 1)[0], test] += 0.0003

    def promise(self, name, test):
        """How much a test is worth trying for a mutant of a file: its chance to notice for each second."""
        killed, tried = self.history[name].get(test, (0, 1))
        return (killed + self.folders[name.rsplit("/", 1)[0], test] + 0.001) / tried / (test.seconds + 0.02)

    def judge(self, mutant, tests, folder, number):
        """("killed", by), ("build", "") or ("survived", "")."""
        waiting, spent = list(tests), 0.0
        while waiting and spent < self.patience:
            test = max(waiting, key=lambda t: self.promise(mutant.file, t))
            waiting.remove(test)
            status, seconds = self.run(test, folder, number)
            spent += seconds
            if status == REFUSED:
                return "build", ""
            record = self.history[mutant.file].setdefault(test, [0, 1])
            record[0] += status not in PASSED
            record[1] += 1
            if status not in PASSED:
                return "killed", test.name
        return "survived", ""
