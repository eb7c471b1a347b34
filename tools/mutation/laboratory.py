"""A copy of the library's sources in which mutants are built: with switches all at once, or one at a time."""
import concurrent.futures
import json
import pathlib
import re
import shlex
import shutil
import subprocess
import time

from mutation import mutants, switched

HERE = pathlib.Path(__file__).resolve().parent


def includers(texts, sources):
    """{file: the sources that include it, directly or not}."""
    includes = {}
    for name, text in texts.items():
        found = re.findall(r'#include "([^"]+)"', text)
        includes[name] = [i if "/" in i else f"{name.rsplit('/', 1)[0]}/{i}" for i in found]
    users = {}
    for source in sources:
        seen, todo = set(), [source]
        while todo:
            name = todo.pop()
            if name not in seen:
                seen.add(name)
                todo += includes.get(name, ())
        for name in seen:
            users.setdefault(name, []).append(source)
    return users


class Laboratory:
    """Sources in tree/, objects and the linked programs beside it; paths are relative, so that it can be copied."""

    def __init__(self, root, build, texts, folder):
        self.build, self.texts, self.folder = build, texts, folder
        self.commands = {}
        for entry in json.loads((build / "compile_commands.json").read_text()):
            path = pathlib.Path(entry["file"])
            if path.is_relative_to(root) and (name := str(path.relative_to(root))).split("/")[0] in mutants.ROOMS:
                self.commands[name] = self.command(shlex.split(entry["command"]), root, name)
        self.link_options = self.options_of_the_library(build)
        self.users = includers(texts, self.commands)
        self.cost = dict.fromkeys(self.commands, 0.0)  # seconds of compilation
        for name, text in texts.items():
            self.write(name, text)

    def command(self, words, root, name):
        words = words[words[0].endswith("ccache"):words.index("-o")]
        words = [f"-I{self.build / 'generated'}" if w.endswith("/generated") else w for w in words]
        words = [w for w in words if not w.startswith(("-Werror", "-D_FORTIFY", "-ffile-prefix-map"))]
        words = ["-Itree" if w == f"-I{root}" else w for w in words]
        return words + ["-O1", "-g0", "-w", "-o", self.object(name), "-c", f"tree/{name}"]

    @staticmethod
    def options_of_the_library(build):
        """The options of the linker: tests look at what they make of the library."""
        commands = subprocess.run(["ninja", "-C", str(build), "-t", "commands", "rquni"], check=True,
                                  capture_output=True, text=True).stdout
        (link,) = (line for line in commands.splitlines() if " -shared " in line)
        words = shlex.split(link)
        return [word for before, word in zip(words, words[1:])
                if word.startswith("-Wl,") or "-Xlinker" in (before, word)]

    @staticmethod
    def object(name):
        return name.replace("/", "_") + ".o"

    def write(self, name, text):
        path = self.folder / "tree" / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)

    def compile(self, name, *options):
        """What the compiler says when it refuses, or nothing."""
        start = time.monotonic()
        done = subprocess.run(self.commands[name] + list(options), cwd=self.folder, capture_output=True, text=True,
                              check=False)
        self.cost[name] = time.monotonic() - start
        return (done.stderr or "failed") if done.returncode else ""

    def compile_all(self, names, jobs, *options):
        """{source: what the compiler says} of those that it refuses."""
        with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
            said = pool.map(lambda name: (name, self.compile(name, *options)), sorted(names, reverse=True))
            return {name: errors for name, errors in said if errors}

    def link(self, *more):
        """The library, and the test program that holds the kit's objects itself."""
        objects = [self.object(name) for name in self.commands] + list(more)
        kit = [self.object(name) for name in self.commands if name.startswith("kit/")] + list(more)
        tests = [str(path) for path in self.build.glob("tests/kit/CMakeFiles/rq_test_kit_internal.dir/*.o")]
        library = ["cc", "-shared", "-o", "librquni.so"] + self.link_options + objects
        model = str(self.build / "tests/model/librq_test_model.a")
        program = ["c++", "-o", "rq_test_kit_internal"] + tests + kit + [model, "-lgtest", "-lpthread"]
        return all(subprocess.run(command, cwd=self.folder, stderr=subprocess.DEVNULL, check=False).returncode == 0
                   for command in (library, program))

    def copy(self, folder):
        other = object.__new__(Laboratory)
        other.__dict__ = dict(self.__dict__, folder=folder)
        shutil.copytree(self.folder, folder)
        return other

    def stages(self, mutant):
        """The sources that a mutant changes, with the kernels to test then: the costly ones last, few need them."""
        users = self.users.get(mutant.file, [])
        wide = [name for name in users if "avx" in name]
        narrow = [name for name in users if name not in wide]
        return [(narrow, "sse2"), (wide, "")] if wide and narrow else [(users, "")]

    def read_objects(self):
        return {name: (self.folder / self.object(name)).read_bytes() for name in self.commands}


def build_switched(laboratory, all_mutants, jobs):
    """Builds the library with all mutants switched. Returns those that it could not be built with."""
    mutants_of = {name: [] for name in laboratory.texts}
    for mutant in all_mutants:
        mutants_of[mutant.file].append(mutant)
    left = {mutant for mutant in all_mutants if not switched.can_be(laboratory.texts[mutant.file], mutant)}
    subprocess.run(["cc", "-O1", "-fPIC", "-c", str(HERE / "switch.c"), "-o", "switch.o"], cwd=laboratory.folder,
                   check=True)
    changed, sources = set(mutants_of), set(laboratory.commands)
    while sources:
        for name in changed:
            places = {}
            for mutant in mutants_of[name]:
                if mutant not in left:
                    places[mutant.begin] = (mutant.place, mutant.number - mutant.place + 1)
            laboratory.write(name, switched.switched(name, laboratory.texts[name], places))
        # Without the last, g++ 12 loses the zero extension of mask registers between switches.
        options = ("-include", str(HERE / "switch.h"), "-Wno-narrowing", "-fno-diagnostics-show-caret",
               "-fno-tree-ter")
        errors = laboratory.compile_all(sources, jobs, *options)
        lines = {line for error in errors.values() for line in switched.refused(error, "tree")}
        changed = {name for name, _ in lines}
        more = {mutant for name, line in lines for mutant in mutants_of[name]
                if laboratory.texts[name].count("\n", 0, mutant.begin) + 1 == line} - left
        if errors and not more:
            raise RuntimeError("\n".join(errors.values()))
        left |= more
        sources = set(errors) | {user for name in changed for user in laboratory.users[name]}
    if not laboratory.link("switch.o"):
        raise RuntimeError("the switched library does not link")
    return left


def build_one(laboratory, original, mutant, sources):
    """Builds these of the sources that a mutant changes: "built", or why there is nothing to test."""
    text = laboratory.texts[mutant.file]
    laboratory.write(mutant.file, text[:mutant.begin] + mutant.other + text[mutant.end:])
    if any(laboratory.compile(source) for source in sorted(sources, key=laboratory.cost.get)):
        return "build"
    if all((laboratory.folder / laboratory.object(source)).read_bytes() == original[source] for source in sources):
        return "same"  # the compiler makes the same of both
    return "built" if laboratory.link() else "build"


def restore(laboratory, original, mutant):
    laboratory.write(mutant.file, laboratory.texts[mutant.file])
    for user in laboratory.users.get(mutant.file, ()):
        (laboratory.folder / laboratory.object(user)).write_bytes(original[user])
