"""--jobs: several threads write the bytes of one, and name the problems that one would name."""

import os
import pathlib
import random
import signal
import subprocess
import time
import unittest

from tool import CORPUS, DATA, DONE, LIBRARY, SANITIZED, SYSTEM, TOOL, USAGE, ToolTest, run

KILLS = int(os.environ.get("RQ_KILLS", "12"))
COMMANDS = (["decode", "ncr"], ["decode", "uesc"], ["encode", "uparen"], ["encode", "ncr"], ["to", "utf16be"],
            ["from", "utf8"], ["from", "utf8", "-s", "GB18030"], ["to", "utf8", "-s", "UTF-7"], ["length"], ["width"],
            ["decode", "ncr", "--explain"], ["to", "utf32le", "--pad", str(64 << 20)])


def long_text():
    """Some megabytes of lines in many scripts: enough to start threads."""
    source = random.Random(5)
    lines = [line for path in sorted(CORPUS.glob("*.txt")) for line in path.read_text().splitlines()]
    lines += ["caf&#233; &#xD83D;&#xDE00; \\u00e9 <U00E9>"] * len(lines)
    return "\n".join(source.choice(lines) for _ in range(60_000)).encode()


class SameAsOne(ToolTest):
    def compare(self, *arguments, text=b""):
        """What both runs answer."""
        results = [run(*arguments, *jobs, text=text) for jobs in (["-j", "1"], ["-j", "2"], ["--jobs=7"], [])]
        for result in results[1:]:
            self.assertEqual((result.returncode, result.stderr), (results[0].returncode, results[0].stderr), arguments)
            self.assertTrue(result.stdout == results[0].stdout, arguments)
        return results[0]

    def test_bytes(self):
        text = long_text()
        path = self.file("long", text)
        ascii_only = b"plain text +AOk- " * 200_000
        for arguments in COMMANDS:
            for lines in ([], ["--lines"]):
                shifts = "UTF-7" in arguments
                if lines and (shifts or "--pad" in arguments):
                    continue
                result = self.compare(*arguments, *lines, text=ascii_only if shifts else text)
                self.assertEqual(result.returncode, DONE)
                # All threads read a file; a pipe is read by one.
                if not shifts:
                    self.assertTrue(self.succeed(*arguments, *lines, "-j", "2", path) == result.stdout, arguments)

    def test_the_first_of_several_problems(self):
        text = long_text()
        for at in (2_500_000, 3_000_000, len(text)):
            cut = text.rfind(b"\n", 0, at) + 1
            # From a file, whose pieces are the same whoever works on them.
            path = self.file("bad", text[:cut] + b"\xff" + text[cut:] + b"\xfe")
            for arguments in (["to", "utf16be"], ["decode", "ncr"], ["encode", "uesc"], ["width"]):
                for lines in ([], ["--lines"]):
                    result = self.compare(*arguments, *lines, path)
                    self.assertEqual(result.returncode, DATA)
                    self.assertIn(b"invalid bytes FF at offset %d, line %d," % (cut, 1 + text.count(b"\n", 0, cut)),
                                  result.stderr)

    def test_files_and_standard_input_in_their_order(self):
        text = long_text()
        names = [self.file(f"part {number}", text[number * 40_000:(number + 1) * 40_000]) for number in range(60)]
        whole = b"".join(pathlib.Path(name).read_bytes() for name in names)
        expected = self.succeed("decode", "uparen", "--invalid=keep", *names[:30], "-", *names[30:], "-j", "1", text=b"between")
        self.assertLess(len(expected), len(whole))
        for jobs in ("2", "9"):
            self.assertEqual(self.succeed("decode", "uparen", "--invalid=keep", *names[:30], "-", *names[30:], "-j", jobs,
                                          text=b"between"), expected)
        rows = self.succeed("length", "--lines", "-s", "ISO-8859-1", "-j", "3", *names)
        self.assertEqual(rows, self.succeed("length", "--lines", "-s", "ISO-8859-1", "-j", "1", *names))

    def test_problems_of_files_are_named_in_order(self):
        text = long_text()
        names = []
        for number in range(40):
            middle = b"\xff" if number % 7 == 3 else b""
            names.append(self.file(f"{number:02}", text[:60_000].rsplit(b"\n", 1)[0] + middle))
        names[20:20] = ["/nonexistent/a", str(self.folder)]
        for arguments in (["to", "utf16le"], ["decode", "ncr", "--keep-going"], ["encode", "ncr", "--keep-going", "--lines"]):
            result = self.compare(*arguments, *names)
            self.assertEqual(result.returncode, DATA)
            self.assertEqual(result.stderr.count(b"rqtext: "), 8 if "--keep-going" in arguments else 1)

    def test_wrong_numbers(self):
        for number in ("0", "-1", "65", "two", ""):
            result = run("to", "utf8", "-j", number)
            self.assertEqual(result.returncode, USAGE, number)

    @unittest.skipIf(SANITIZED, "a sanitizer may have a thread of its own")
    def test_threads_begin_with_a_long_text(self):
        usual = min(8, len(os.sched_getaffinity(0)))
        short, long = 1000, 3_000_000
        for size, options, threads in ((short, ["-j", "3"], 1), (long, ["-j", "1"], 1), (long, ["-j", "3"], 3), (long, [], usual)):
            output = pathlib.Path(self.file("output", b""))
            with subprocess.Popen([TOOL, "decode", "ncr", *options, "--library", LIBRARY, "-o", output], stdin=subprocess.PIPE) as process:
                process.stdin.write(b"x" * size)
                process.stdin.flush()
                until = time.monotonic() + 20
                while output.stat().st_size < size and time.monotonic() < until:
                    time.sleep(0.005)
                self.assertEqual(len(os.listdir(f"/proc/{process.pid}/task")), threads, options)

    def test_a_line_of_a_slow_producer_comes_through_at_once(self):
        process = subprocess.Popen([TOOL, "decode", "ncr", "-j", "2", "--library", LIBRARY], stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE, bufsize=0)
        start = b"x" * 3_000_000  # the threads have started
        feeder = subprocess.Popen(["cat"], stdin=subprocess.PIPE, stdout=process.stdin)
        read = 0
        os.set_blocking(process.stdout.fileno(), True)
        feeder_input = feeder.stdin
        pid = os.fork()
        if pid == 0:
            feeder_input.write(start)
            feeder_input.flush()
            os._exit(0)
        while read < len(start):
            read += len(os.read(process.stdout.fileno(), 1 << 20))
        os.waitpid(pid, 0)
        times = []
        for _ in range(5):
            begin = time.monotonic()
            process.stdin.write(b"&#65;\n")
            self.assertEqual(os.read(process.stdout.fileno(), 100), b"A\n")
            times.append(time.monotonic() - begin)
        self.assertLess(min(times), 0.1)
        feeder_input.close()
        feeder.wait()
        process.stdin.close()
        self.assertEqual((process.stdout.read(), process.wait()), (b"", DONE))
        process.stdout.close()


class InPlace(ToolTest):
    OLD = b"caf&#233; and &#8364;\n" * 1000
    NEW = OLD.replace(b"&#233;", "é".encode()).replace(b"&#8364;", "€".encode())

    def files(self, count):
        return [self.file(f"{number:03}", self.OLD) for number in range(count)]

    def read(self, names):
        return [pathlib.Path(name).read_bytes() for name in names]

    def test_many_files(self):
        names = self.files(150)  # more than one group goes to the disk
        self.succeed("decode", "ncr", "-i", "-j", "2", *names)
        self.assertEqual(set(self.read(names)), {self.NEW})
        self.assertEqual(len(list(self.folder.iterdir())), 150)

    def test_files_before_a_problem_are_done_and_those_behind_it_not(self):
        for at in (0, 135):
            for options in ([], ["--keep-going"], ["-i.bak"]):
                names = self.files(140)
                pathlib.Path(names[at]).write_bytes(self.OLD + b"\xff")
                result = self.fail_with(DATA, f"invalid bytes FF at offset {len(self.OLD)}", "decode", "ncr", "-i", "-j", "2", *options, *names)
                self.assertEqual(result.stderr.count(b"\n"), 1)
                behind = self.NEW if options == ["--keep-going"] else self.OLD
                self.assertEqual(self.read(names), [self.NEW] * at + [self.OLD + b"\xff"] + [behind] * (139 - at))
                backups = sum(path.suffix == ".bak" for path in self.folder.iterdir())
                self.assertEqual(backups, at if options == ["-i.bak"] else 0)
                for path in self.folder.iterdir():
                    path.unlink()

    def test_a_file_that_cannot_be_edited_comes_behind_those_before(self):
        names = self.files(20)
        self.fail_with(SYSTEM, "cannot edit /nonexistent", "decode", "ncr", "-i", "-j", "2", *names[:10], "/nonexistent", *names[10:])
        self.assertEqual(self.read(names), [self.NEW] * 10 + [self.OLD] * 10)

    def test_few_descriptors(self):
        names = self.files(60)
        command = ["sh", "-c", 'ulimit -n 24; exec "$@"', "sh", TOOL, "decode", "ncr", "-i", "-j", "2", "--library", LIBRARY, *names]
        self.assertEqual(subprocess.run(command, check=False).returncode, DONE)
        self.assertEqual(set(self.read(names)), {self.NEW})

    def test_killed_at_any_moment(self):
        source = random.Random(8)
        big = self.OLD * 200  # threads work on it
        seen = {"old": 0, "new": 0}
        names = self.files(12) + [self.file("big", big)]
        command = [TOOL, "decode", "ncr", "-i", "-j", "2", "--library", LIBRARY, *names]
        begin = time.monotonic()
        subprocess.run(command, check=True)
        longest = 1.2 * (time.monotonic() - begin)
        for _ in range(KILLS):
            self.files(12)
            self.file("big", big)
            with subprocess.Popen(command) as process:
                time.sleep(source.uniform(0, longest))
                process.kill()
            for name in names:
                old = big if name.endswith("big") else self.OLD
                text = pathlib.Path(name).read_bytes()
                self.assertTrue(text in (old, old.replace(b"&#233;", "é".encode()).replace(b"&#8364;", "€".encode())), name)
                seen["old" if text == old else "new"] += 1
            for path in self.folder.glob(".rqtext-*"):
                path.unlink()
        self.assertTrue(all(seen.values()), "the moments were not spread enough to prove anything")

    @unittest.skipIf(SANITIZED, "a sanitizer is slow to end")
    def test_signals_take_all_temporary_files_along(self):
        names = self.files(12) + [self.file("big", self.OLD * 600)]
        for number in (signal.SIGTERM, signal.SIGINT):
            with subprocess.Popen([TOOL, "decode", "ncr", "-i", "-j", "2", "--library", LIBRARY, *names]) as process:
                until = time.monotonic() + 20
                while not list(self.folder.glob(".rqtext-*")) and process.poll() is None:
                    self.assertLess(time.monotonic(), until)
                process.send_signal(number)
            self.assertEqual(list(self.folder.glob(".rqtext-*")), [])


if __name__ == "__main__":
    unittest.main()
