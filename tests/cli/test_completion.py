"""Completions: the shells themselves are asked, and offer what --help lists."""

import os
import pathlib
import pty
import re
import select
import shutil
import subprocess
import time
import unittest

from tool import DONE, TOOL, USAGE, ToolTest, run

COMMANDS = ("from", "to", "decode", "encode", "length", "width", "info", "encodings", "check-host")
PATH = os.path.dirname(TOOL) + os.pathsep + os.environ["PATH"]

# What is typed before the Tab key, and the arguments that the shell makes of it.
TYPED = [
    ("dec", ["decode"]),
    ("wid", ["width"]),
    ("--vers", ["--version"]),
    ("from utf16b", ["from", "utf16be"]),
    ("decode uparen-", ["decode", "uparen-ascii"]),
    ("encode uparen-", ["encode", "uparen-"]),
    ("decode --expl", ["decode", "--explain"]),
    ("encode --expl", ["encode", "--expl"]),
    ("to utf8 --no-p", ["to", "utf8", "--no-progress"]),
    ("decode --session KOI8-", ["decode", "--session", "KOI8-"]),
    ("decode --session utf-32l", ["decode", "--session", "UTF-32LE"]),
    ("decode -s HZ-GB-", ["decode", "-s", "HZ-GB-2312"]),
    ("to --flavour pl", ["to", "--flavour", "plain"]),
    ("to utf8 a-fi", ["to", "utf8", "a-file"]),
    ("length a-fi", ["length", "a-file"]),
    ("info a-fi", ["info", "a-fi"]),
    ("to utf8 -o a-fi", ["to", "utf8", "-o", "a-file"]),
    ("to -o x utf32b", ["to", "-o", "x", "utf32be"]),
]


def script(shell):
    return subprocess.run([TOOL, "completion", shell], capture_output=True, text=True, check=True).stdout


def listed_in_help(command):
    """The options that the help of a command lists."""
    text = subprocess.run([TOOL, *command, "--help"], capture_output=True, text=True, check=True).stdout
    return {name for names in re.findall(r"^  (-\S+)", text, re.MULTILINE) for name in names.split(",")}


class Terminal:
    """A shell at a terminal, whose rqtext prints its arguments."""

    def __init__(self, folder, command, preparation):
        self.child, self.end = pty.fork()
        if self.child == 0:
            os.chdir(folder)
            os.execvpe(command[0], command, {**os.environ, "PATH": PATH, "TERM": "vt100", "LC_ALL": "C.UTF-8",
                                             "HOME": str(folder), "INPUTRC": "/dev/null"})
        self.ask(preparation + "\n")

    def ask(self, keys):
        """What is printed between the marks after these keys."""
        os.write(self.end, keys.encode())
        shown, until = b"", time.monotonic() + 60
        while not (found := re.search(rb"<<([^<>]*)>>\r?\n", shown)):
            ready, _, _ = select.select([self.end], [], [], max(0, until - time.monotonic()))
            if not ready:
                raise AssertionError(f"no answer to {keys!r}, only {shown!r}")
            shown += os.read(self.end, 65536)
        return found[1].decode().split("|")[:-1]

    def close(self):
        os.write(self.end, b"exit\n")
        until = time.monotonic() + 30
        try:
            while time.monotonic() < until and os.read(self.end, 65536):
                pass
        except OSError:  # how a terminal tells that the other end is closed
            pass
        os.waitpid(self.child, 0)
        os.close(self.end)


# The function stands for the tool at the prompt alone; the completions ask the tool for the names of encodings.
ECHO = ("rqtext() { if [[ $# == 1 && $1 == encodings ]]; then command rqtext encodings; "
        "else printf '%s' '<''<'; printf '%s|' \"$@\"; echo '>>'; fi; }; ")


def shell_needed(name):
    return unittest.skipUnless(shutil.which(name), f"{name} is not installed")


class Scripts(ToolTest):
    def test_wrong_shell(self):
        self.fail_with(USAGE, "csh", "completion", "csh", library=False)

    def test_the_command_is_for_installers_and_not_listed(self):
        self.assertNotIn(b"completion", run("--help").stdout)
        self.assertEqual(run("completion", "--help", library=False).returncode, DONE)

    def test_shells_accept_their_scripts(self):
        for shell in ("bash", "zsh", "fish"):
            if shutil.which(shell):
                result = subprocess.run([shell, "-n", self.file(shell, script(shell).encode())], capture_output=True)
                self.assertEqual((result.returncode, result.stderr), (0, b""), shell)


class AtTheTabKey(ToolTest):
    def setUp(self):
        super().setUp()
        try:
            os.close(os.open("/dev/ptmx", os.O_RDWR))
            for end in pty.openpty():
                os.close(end)
        except OSError as error:
            self.skipTest(f"no terminals here: {error}")
        self.file("a-file", b"")

    def check(self, command, preparation):
        terminal = Terminal(self.folder, command, preparation)
        self.addCleanup(terminal.close)
        for typed, arguments in TYPED:
            with self.subTest(typed):
                self.assertEqual(terminal.ask(f"rqtext {typed}\t\n"), arguments)
        self.file("with blank", b"")
        self.assertEqual(terminal.ask("rqtext to utf8 -o with\t\n"), ["to", "utf8", "-o", "with blank"])

    @shell_needed("bash")
    def test_bash(self):
        self.check(["bash", "--norc", "--noprofile", "-i"],
                   f"{ECHO} . {self.file('script', script('bash').encode())}; rqtext ready")

    @shell_needed("zsh")
    def test_zsh(self):
        functions = self.folder / "functions"
        functions.mkdir()
        (functions / "_rqtext").write_text(script("zsh"))
        self.check(["zsh", "-f", "-i"], f"{ECHO} fpath=({functions} $fpath); autoload -Uz compinit; compinit -u -D; "
                                        "rqtext ready")


@shell_needed("fish")
class Fish(ToolTest):
    def offered(self, *lines):
        """What fish offers for each line."""
        questions = "".join(f"echo '<<'; complete -C 'rqtext {line}'\n" for line in lines)
        result = subprocess.run(["fish", "--no-config"], input=script("fish") + questions, capture_output=True, text=True,
                                cwd=self.folder, timeout=120,
                                env={**os.environ, "PATH": PATH, "HOME": str(self.folder), "LC_ALL": "C.UTF-8"})
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        return [[line.split("\t")[0] for line in answer.splitlines() if line] for answer in result.stdout.split("<<")[1:]]

    def test_typed(self):
        self.file("a-file", b"")
        for (typed, arguments), offered in zip(TYPED, self.offered(*(typed for typed, _ in TYPED))):
            with self.subTest(typed):
                if arguments[-1] == typed.split()[-1]:
                    self.assertNotEqual(len(offered), 1)
                else:
                    self.assertIn(arguments[-1], offered)

    def test_options_are_those_of_the_help(self):
        for command in COMMANDS:
            long, short = self.offered(f"{command} --", f"{command} -")
            self.assertEqual({name.rstrip("=") for name in long} | {name for name in short if re.fullmatch("-\\w", name)},
                             listed_in_help([command]), command)


@shell_needed("bash")
class Bash(ToolTest):
    def offered(self, *words):
        """The replies of the function, the last word being the one at the cursor."""
        ask = 'COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _rqtext; printf "%s\\n" "${COMPREPLY[@]}"'
        result = subprocess.run(["bash", "-c", script("bash") + ask, "bash", "rqtext", *words], capture_output=True,
                                text=True, cwd=self.folder, env={**os.environ, "PATH": PATH})
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        return set(result.stdout.split("\n")) - {""}

    def test_commands(self):
        self.assertEqual(self.offered(""), set(COMMANDS))

    def test_options_are_those_of_the_help(self):
        self.assertEqual(self.offered("-"), listed_in_help([]))
        for command in COMMANDS:
            self.assertEqual(self.offered(command, "-"), listed_in_help([command]), command)

    def test_encodings_are_those_that_the_tool_lists(self):
        names = {name for line in run("encodings").stdout.decode().splitlines()
                 for name in " ".join(line.split("\t")[1:]).split() if ":" not in name}
        self.assertEqual(self.offered("decode", "-s", ""), names)
        self.assertEqual(self.offered("decode", "--session", "=", "koi8-r"), {"KOI8-R"})
        self.assertEqual(self.offered("decode", "--session", "="), names)

    def test_files_after_the_subject(self):
        pathlib.Path(self.folder / "one").touch()
        self.assertEqual(self.offered("to", ""), {"utf8", "utf16", "utf16be", "utf16le", "utf32", "utf32be", "utf32le"})
        self.assertEqual(self.offered("to", "utf8", ""), {"one"})
        self.assertEqual(self.offered("to", "--lines", "utf8", ""), {"one"})
        self.assertEqual(self.offered("to", "--pad", ""), set())


if __name__ == "__main__":
    unittest.main()
