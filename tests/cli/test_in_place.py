"""--in-place: the file holds the whole old text or the whole new one, whatever happens."""

import itertools
import os
import pathlib
import random
import resource
import signal
import stat
import struct
import subprocess
import threading
import time
import unittest

from tool import DATA, DONE, LIBRARY, SANITIZED, SYSTEM, TOOL, USAGE, ToolTest, run

FAILING_CALLS = os.environ["RQ_FAILING_CALLS"]  # failing_calls.c
KILL_AT_CALL = os.environ["RQ_KILL_AT_CALL"]  # kill_at_call.c

LINE = "naïve café, 日本語, 😀 and a tail of plain text\n".encode()


class Editing(ToolTest):
    def read(self, name):
        return (self.folder / name).read_bytes()

    def names(self):
        return sorted(path.name for path in self.folder.iterdir())

    def test_each_file_is_rewritten(self):
        one, two = self.file("one", b"caf&#233;"), self.file("two", b"&#65;&#66;\n&#67;\n")
        self.assertEqual(self.succeed("decode", "ncr", "--in-place", one, two), b"")
        self.assertEqual((self.read("one"), self.read("two")), ("café".encode(), b"AB\nC\n"))
        self.assertEqual(self.names(), ["one", "two"])

    def test_every_command_that_rewrites(self):
        text = "é\n".encode()
        for arguments, result in ((["encode", "uesc"], b"\\u00E9\n"), (["to", "utf16be", "--lines"], b"\0\xe9\0\n"),
                                  (["to", "utf32le", "--pad", "12"], "é\n ".encode("utf-32-le")),
                                  (["from", "utf8", "-s", "latin1"], b"\xe9\n"), (["decode", "uparen"], text)):
            path = self.file("text", text)
            self.succeed(*arguments, "-i", path)
            self.assertEqual(self.read("text"), result, arguments)

    def test_empty_file(self):
        self.succeed("decode", "ncr", "-i", self.file("empty", b""))
        self.assertEqual(self.read("empty"), b"")

    def test_permissions_and_owner_are_kept(self):
        path = self.file("text", b"&#65;")
        for mode in (0o640, 0o4711, 0o600, 0o666):
            if os.geteuid() == 0:
                os.chown(path, 1234, 4321)
            os.chmod(path, mode)
            before = os.stat(path)
            self.succeed("encode", "uesc", "-i", path, preexec_fn=lambda: os.umask(0o077))
            after = os.stat(path)
            self.assertEqual(stat.S_IMODE(after.st_mode), mode)
            self.assertEqual((after.st_uid, after.st_gid), (before.st_uid, before.st_gid))

    def test_extended_attributes_are_kept(self):
        path = self.file("text", b"&#65;")
        try:
            os.setxattr(path, "user.origin", b"a letter")
            os.setxattr(path, "user.empty", b"")
        except OSError as error:
            self.skipTest(f"no extended attributes here: {error}")
        self.succeed("decode", "ncr", "-i", path)
        self.assertEqual((self.read("text"), os.getxattr(path, "user.origin"), os.getxattr(path, "user.empty")),
                         (b"A", b"a letter", b""))
        self.check_refusal("fsetxattr", path)

    def check_refusal(self, call, path):
        """A file whose attributes cannot be kept stays as it is."""
        if SANITIZED:  # sanitizers want to be loaded first
            return
        self.fail_with(SYSTEM, f"cannot keep the attributes of {path}: Input/output error", "encode", "uparen", "-i", path,
                       env={**os.environ, "LD_PRELOAD": FAILING_CALLS, "RQ_FAIL": call})
        self.assertEqual((self.read("text"), self.names()), (b"A", ["text"]))

    def test_an_access_list_of_the_folder_opens_no_private_file(self):
        user, owner, group, mask, others = 2, 1, 4, 16, 32  # tags of an access list
        entries = ((owner, 7, -1), (user, 6, 1234), (group, 5, -1), (mask, 7, -1), (others, 0, -1))
        access = struct.pack("<I", 2) + b"".join(struct.pack("<HHi", *entry) for entry in entries)
        path = self.file("text", b"&#65;")
        os.chmod(path, 0o640)
        try:
            os.setxattr(self.folder, "system.posix_acl_default", access)
        except OSError as error:
            self.skipTest(f"no access lists here: {error}")
        self.assertNotIn("system.posix_acl_access", os.listxattr(path))
        self.succeed("decode", "ncr", "-i", path)
        self.assertEqual(self.read("text"), b"A")
        self.assertNotIn("system.posix_acl_access", os.listxattr(path))
        self.assertEqual(stat.S_IMODE(os.stat(path).st_mode), 0o640)
        self.check_refusal("fremovexattr", path)

    def test_a_link_that_is_turned_brings_no_text_into_another_file(self):
        old = {name: name.encode() + b" &#233;\n" for name in ("one", "two")}
        new = {name: name.encode() + " é\n".encode() for name in old}
        link, spare = self.folder / "link", self.folder / "spare"
        done = threading.Event()

        def turn():
            while not done.is_set():
                for name in old:
                    spare.symlink_to(name)
                    os.replace(spare, link)

        link.symlink_to("one")
        turner = threading.Thread(target=turn)
        turner.start()
        try:
            for _ in range(100):
                for name, text in old.items():
                    self.file(name, text)
                run("decode", "ncr", "-i", str(link))
                for name in old:
                    self.assertIn(self.read(name), (old[name], new[name]))
        finally:
            done.set()
            turner.join()

    def test_symbolic_links_stay_and_lead_to_the_new_text(self):
        folder = self.folder / "below"
        folder.mkdir()
        (folder / "text").write_bytes(b"&#65;")
        (self.folder / "link").symlink_to("below/text")
        (self.folder / "second").symlink_to("link")
        self.succeed("decode", "ncr", "-i", str(self.folder / "second"))
        self.assertEqual((folder / "text").read_bytes(), b"A")
        self.assertEqual((os.readlink(self.folder / "link"), os.readlink(self.folder / "second")), ("below/text", "link"))
        self.assertEqual([path.name for path in folder.iterdir()], ["text"])

    def test_other_hard_links_keep_the_old_text(self):
        os.link(self.file("text", b"&#65;"), self.folder / "other")
        self.succeed("decode", "ncr", "-i", str(self.folder / "text"))
        self.assertEqual((self.read("text"), self.read("other")), (b"A", b"&#65;"))

    def test_a_name_in_the_working_directory(self):
        self.file("text", b"&#65;")
        self.succeed("decode", "ncr", "-i", "text", cwd=self.folder)
        self.assertEqual(self.read("text"), b"A")

    def test_up_to_the_problem(self):
        files = [self.file(name, text) for name, text in (("a", b"a"), ("b", b"half\xff"), ("c", b"c"))]
        self.fail_with(DATA, "b: invalid bytes FF at offset 4, line 1, column 5", "to", "utf16be", "-i", *files)
        self.fail_with(DATA, "b: invalid bytes FF at offset 4", "to", "utf16be", "-i", "--lines", *files[1:])
        self.assertEqual([self.read(name) for name in "abc"], [b"\0a", b"half\xff", b"c"])
        self.assertEqual(self.names(), ["a", "b", "c"])

    def test_what_cannot_be_edited(self):
        fifo = str(self.folder / "fifo")
        os.mkfifo(fifo)
        (self.folder / "nowhere").symlink_to("nothing")
        for path, reason in ((str(self.folder), "not a regular file"), (fifo, "not a regular file"),
                             ("/dev/null", "not a regular file"), (str(self.folder / "nowhere"), "No such file"),
                             ("/nonexistent/x", "No such file"), (self.file("x", b"") + "/y", "Not a directory")):
            self.fail_with(SYSTEM, f"cannot edit {path}: {reason}", "decode", "ncr", "-i", path)
        self.assertEqual(self.names(), ["fifo", "nowhere", "x"])

    def test_messages_never_reach_a_file_in_place_of_a_closed_stream(self):
        for closed in itertools.chain.from_iterable(itertools.combinations(range(3), count) for count in range(1, 4)):
            with self.subTest(closed):
                bad, good = self.file("bad", b"\xff"), self.file("good", b"&#65;" * 1000)

                def close():
                    for descriptor in closed:  # pylint: disable=cell-var-from-loop
                        os.close(descriptor)

                run("decode", "ncr", "-i", "--keep-going", "--progress", bad, good, preexec_fn=close)
                self.assertEqual((self.read("bad"), self.read("good")), (b"\xff", b"A" * 1000))
                late = self.file("late", b"A" * 1_000_000 + b"\xff")
                run("decode", "ncr", "-o", str(self.folder / "out"), late, preexec_fn=close)
                self.assertEqual(self.read("out").strip(b"A"), b"")

    def test_wrong_usage(self):
        path = self.file("text", b"&#65;")
        (self.folder / "link").symlink_to("text")
        for message, arguments in (("needs files", ["-i"]), ("needs files", ["-i", path, "-"]),
                                   ("is given twice", ["-i", path, str(self.folder / "link")]),
                                   ("cannot go together", ["-i", path, "-o", "out"]),
                                   ("cannot go together", ["-i", path, "--explain"])):
            self.fail_with(USAGE, message, "decode", "ncr", *arguments)
        self.fail_with(USAGE, "unknown", "decode", "ncr", "-i", path, "-s", "no-such-encoding")
        self.assertEqual(self.read("text"), b"&#65;")

    def test_files_of_others_and_protected_ones(self):
        if os.geteuid() != 0:
            self.skipTest("needs to be root to become somebody else")
        os.chmod(self.folder, 0o777)
        path = self.file("text", b"&#65;")
        other = {"user": 65534, "group": 65534, "extra_groups": []}
        try:
            run("--version", **other)
        except PermissionError as error:
            self.skipTest(f"the tool lies where others cannot run it: {error}")
        os.chmod(path, 0o644)
        self.fail_with(SYSTEM, f"cannot edit {path}: Permission denied", "decode", "ncr", "-i", path, **other)
        os.chmod(path, 0o666)  # to be written, but its owner could not be kept
        self.fail_with(SYSTEM, f"cannot keep the owner of {path}", "decode", "ncr", "-i", path, **other)
        os.chown(path, 65534, 65534)
        os.chmod(self.folder, 0o755)
        self.fail_with(SYSTEM, f"cannot make a temporary file beside {path}: Permission denied", "decode", "ncr", "-i", path,
                       **other)
        self.assertEqual((self.read("text"), self.names()), (b"&#65;", ["text"]))
        os.chown(self.folder, 65534, 65534)
        os.chmod(self.folder, 0o300)  # names can be changed there, but not listed
        self.succeed("decode", "ncr", "-i", path, **other)
        os.chmod(self.folder, 0o700)
        self.assertEqual((self.read("text"), self.names()), (b"A", ["text"]))


@unittest.skipIf(SANITIZED, "sanitizers want to be loaded first")
class OnTheWayToTheDisk(ToolTest):
    def edit(self, **environment):
        path = self.file("text", b"&#65;")
        result = run("decode", "ncr", "-i", path,
                     env={**os.environ, "LD_PRELOAD": FAILING_CALLS, **environment})
        return path, result

    def test_calls_that_are_interrupted_and_short(self):
        text = b"caf&#233; " * 150_000  # enough to start threads
        whole = text.replace(b"&#233;", "é".encode())
        disturbed = {"env": {**os.environ, "LD_PRELOAD": FAILING_CALLS, "RQ_INTERRUPT": "1"}}
        path, output = self.file("long", text), self.folder / "output"
        for jobs in ("1", "2"):
            self.assertEqual(self.succeed("decode", "ncr", "-j", jobs, path, **disturbed), whole)
            self.assertEqual(self.succeed("decode", "ncr", "-j", jobs, text=text, **disturbed), whole)
            self.succeed("decode", "ncr", "-j", jobs, path, "-o", str(output), **disturbed)
            self.assertEqual(output.read_bytes(), whole)
            self.succeed("decode", "ncr", "-j", jobs, "-i", path, **disturbed)
            self.assertEqual(pathlib.Path(path).read_bytes(), whole)
            self.file("long", text)

    def test_errors_of_writing_and_closing_an_output(self):
        output = str(self.folder / "output")
        for call in ("write", "close"):
            result = run("decode", "ncr", "-o", output, text=b"&#65;",
                         env={**os.environ, "LD_PRELOAD": FAILING_CALLS, "RQ_FAIL": call})
            self.assertEqual((result.returncode, result.stderr.decode()),
                             (SYSTEM, f"rqtext: cannot write {output}: Input/output error\n"), call)

    def test_text_then_name_then_folder(self):
        trace = self.folder / "trace"
        _, result = self.edit(RQ_TRACE=str(trace))
        self.assertEqual(result.returncode, DONE)
        steps = [line for line in trace.read_text().splitlines() if not line.startswith("flistxattr")]
        self.assertEqual(steps, ["fchmod file", "fsync file", "close file", "renameat folder", "fsync folder"])

    def test_several_texts_go_to_the_disk_together(self):
        trace = self.folder / "trace"
        self.succeed("decode", "ncr", "-i", self.file("one", b"&#65;"), self.file("two", b"&#66;"),
                     env={**os.environ, "LD_PRELOAD": FAILING_CALLS, "RQ_TRACE": str(trace)})
        steps = [line for line in trace.read_text().splitlines() if not line.startswith("flistxattr")]
        self.assertEqual(steps, ["fchmod file"] * 2 + ["syncfs file"] + ["close file", "renameat folder"] * 2 + ["fsync folder"])

    def test_a_file_that_becomes_a_link_is_edited_where_it_leads(self):
        other = self.file("other", b"&#66;")
        path, result = self.edit(RQ_TURN="other")
        self.assertEqual((result.returncode, result.stderr), (DONE, b""))
        self.assertEqual((os.readlink(path), pathlib.Path(other).read_bytes()), ("other", b"B"))
        self.assertEqual(sorted(os.listdir(self.folder)), ["other", "text"])

    def test_each_failure_before_the_name_leaves_the_old_text(self):
        for call, what in (("flistxattr", "cannot keep the attributes of"), ("fchmod", "cannot keep the permissions of"),
                           ("write", "cannot write"), ("fsync", "cannot write"), ("close", "cannot write"), ("renameat", "cannot replace")):
            with self.subTest(call):
                path, result = self.edit(RQ_FAIL=call)
                self.assertEqual(result.returncode, SYSTEM)
                self.assertIn(f"{what} {path}: Input/output error", result.stderr.decode())
                self.assertEqual(sorted(entry.name for entry in self.folder.iterdir()), ["text"])
                with open(path, "rb") as file:
                    self.assertEqual(file.read(), b"&#65;")


@unittest.skipIf(SANITIZED, "the sanitizers' own calls are too many")
class EndedAtEachSystemCall(ToolTest):
    """The name leads to the whole old text or to the whole new one, wherever the tool is ended."""

    OLD, NEW = b"caf&#233;", "café".encode()

    def end(self, call, number, *arguments):
        """Whether the tool was ended by the signal: false when it was through before that call."""
        command = [KILL_AT_CALL, str(call), str(int(number)), TOOL, *arguments, "--library", LIBRARY]
        code = subprocess.run(command, stdout=subprocess.DEVNULL, timeout=60, check=False).returncode
        self.assertIn(code, (0, 1), call)
        return code == 1

    def check(self, number, prepare, look, *arguments):
        seen = set()
        call = 1
        while True:
            prepare()
            ended = self.end(call, number, *arguments)
            text = look()
            self.assertIn(text, (self.OLD, self.NEW), call)
            seen.add(text)
            if not ended:
                break
            call += 1
        self.assertEqual((text, seen), (self.NEW, {self.OLD, self.NEW}))
        self.assertGreater(call, 50)

    def test_in_place(self):
        path = self.folder / "text"

        def prepare():
            for entry in self.folder.iterdir():
                entry.unlink()
            path.write_bytes(self.OLD)
            path.chmod(0o600)

        for number in (signal.SIGKILL, signal.SIGTERM):
            def look():
                for entry in self.folder.iterdir():
                    self.assertEqual(stat.S_IMODE(entry.stat().st_mode), 0o600, "others can read a private text")
                names = [entry.name for entry in self.folder.iterdir()]
                if number == signal.SIGTERM:
                    self.assertEqual(names, ["text"])
                return path.read_bytes()

            with self.subTest(number):
                self.check(number, prepare, look, "decode", "ncr", "-i", str(path))


class FullDisk(ToolTest):
    def check(self, folder, **options):
        path = folder / "text"
        path.write_bytes(LINE * 800)
        for lines in ([], ["--lines"]):
            self.fail_with(SYSTEM, f"cannot write {path}: ", "encode", "uparen", "-i", *lines, str(path), **options)
            self.assertEqual(path.read_bytes(), LINE * 800)
            self.assertEqual([entry.name for entry in folder.iterdir()], ["text"])

    def test_file_size_limit(self):
        limit = 100_000
        self.check(self.folder, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))

    def test_file_system_without_room(self):
        mount = ["mount", "-t", "tmpfs", "-o", "size=128k", "none", str(self.folder)]
        if os.geteuid() != 0 or subprocess.run(mount, capture_output=True).returncode != 0:
            self.skipTest("a small file system cannot be mounted here")
        self.addCleanup(subprocess.run, ["umount", str(self.folder)], check=True)
        self.check(self.folder)


class Interrupted(ToolTest):
    def start(self, path, *options, **more):
        return subprocess.Popen([TOOL, "encode", "uparen", "-i", "--lines", "--library", LIBRARY, str(path), *options],
                                stderr=subprocess.PIPE, **more)

    def unfinished(self):
        return [entry for entry in self.folder.iterdir() if entry.name.startswith(".rqtext-")]

    def until_writing(self, process):
        """Waits for the temporary file to grow."""
        until = time.monotonic() + 60
        while not any(entry.stat().st_size > 0 for entry in self.unfinished()):
            self.assertIsNone(process.poll(), "too fast to be caught at it")
            self.assertLess(time.monotonic(), until)

    def ended(self, process):
        with process:
            return process.wait(60), process.stderr.read()

    def large_file(self):
        path = self.folder / "text"
        path.write_bytes(LINE * 600_000)
        return path

    def test_signals_leave_the_old_text_and_nothing_else(self):
        path = self.large_file()
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT):
            for options in ([], ["--progress"]):
                process = self.start(path, *options, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_CORE, (0, 0)))
                self.until_writing(process)
                process.send_signal(number)
                self.assertEqual(self.ended(process)[0], -number)
                self.assertEqual(self.unfinished(), [])
                self.assertEqual(path.stat().st_size, len(LINE) * 600_000)
        self.assertEqual(path.read_bytes(), LINE * 600_000)

    def test_a_kill_leaves_the_old_text(self):
        path = self.large_file()
        process = self.start(path)
        self.until_writing(process)
        process.kill()
        self.assertEqual(self.ended(process)[0], -signal.SIGKILL)
        self.assertEqual(path.read_bytes(), LINE * 600_000)
        self.assertEqual(len(self.unfinished()), 1)

    def test_at_any_moment(self):
        old = LINE * 4000
        new = self.succeed("encode", "uparen", "--lines", text=old)
        path = self.folder / "text"
        source = random.Random(6)
        began = time.monotonic()
        path.write_bytes(old)
        self.ended(self.start(path))
        longest = 1.3 * (time.monotonic() - began)
        seen = set()
        for number in (signal.SIGTERM, signal.SIGKILL):
            for _ in range(60):
                path.write_bytes(old)
                process = self.start(path)
                time.sleep(source.uniform(0, longest))
                process.send_signal(number)
                self.assertIn(self.ended(process)[0], (-number, DONE))
                text = path.read_bytes()
                self.assertIn(text, (old, new))
                seen.add(text)
                if number == signal.SIGTERM:
                    self.assertEqual(self.unfinished(), [])
                for entry in self.unfinished():
                    entry.unlink()
        self.assertEqual(seen, {old, new}, "the moments were not spread enough to prove anything")

    def test_ignored_signals_stay_ignored(self):
        path = self.large_file()
        process = self.start(path, preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))
        self.until_writing(process)
        process.send_signal(signal.SIGHUP)
        self.assertEqual(self.ended(process), (DONE, b""))
        self.assertGreater(path.stat().st_size, len(LINE) * 600_000)

    def test_a_file_that_changes_meanwhile_is_left_alone(self):
        path = self.large_file()
        process = self.start(path)
        self.until_writing(process)
        with open(path, "ab") as file:
            file.write(b"from somebody else\n")
        self.assertEqual(self.ended(process),
                         (SYSTEM, f"rqtext: cannot edit {path}: it was changed meanwhile\n".encode()))
        self.assertTrue(path.read_bytes().endswith(b"from somebody else\n"))
        self.assertEqual(self.unfinished(), [])

    def test_a_change_is_seen_when_its_time_is_set_back(self):
        path = self.large_file()
        before = path.stat()
        process = self.start(path)
        self.until_writing(process)
        with open(path, "r+b") as file:
            file.write(b"SOMEBODY")
        os.utime(path, ns=(before.st_atime_ns, before.st_mtime_ns))
        self.assertEqual(self.ended(process),
                         (SYSTEM, f"rqtext: cannot edit {path}: it was changed meanwhile\n".encode()))
        self.assertTrue(path.read_bytes().startswith(b"SOMEBODY"))


class Backups(ToolTest):
    def test_the_old_text_stays_under_the_name_with_the_suffix(self):
        for option in ("-i.bak", "--in-place=.bak"):
            path = self.file("text", b"&#65;")
            self.succeed("decode", "ncr", option, path)
            self.assertEqual((pathlib.Path(path).read_bytes(), pathlib.Path(path + ".bak").read_bytes()), (b"A", b"&#65;"))
        for suffix in (".bak", "~"):
            self.succeed("decode", "ncr", f"-i{suffix}", path)
            self.assertEqual(pathlib.Path(path + suffix).read_bytes(), b"A")
        self.assertEqual(sorted(p.name for p in self.folder.iterdir()), ["text", "text.bak", "text~"])

    def test_a_problem_leaves_no_backup(self):
        path = self.file("text", b"\xff")
        self.fail_with(DATA, "invalid bytes", "decode", "ncr", "-i.bak", path)
        self.assertEqual([p.name for p in self.folder.iterdir()], ["text"])
        self.fail_with(USAGE, "must not contain a slash", "decode", "ncr", "--in-place=/x", path)


class KeepGoing(ToolTest):
    def test_in_place_all_but_those_with_a_problem(self):
        paths = [self.file(name, text) for name, text in (("1", b"&#65;"), ("2", b"\xff"), ("3", b"&#66;"), ("4", b"x\xfe"))]
        result = self.fail_with(DATA, f"{paths[1]}: invalid bytes FF", "decode", "ncr", "-i", "--keep-going", *paths)
        self.assertIn(f"rqtext: {paths[3]}: invalid bytes FE".encode(), result.stderr)
        self.assertEqual(result.stderr.count(b"\n"), 2)
        self.assertEqual([pathlib.Path(path).read_bytes() for path in paths], [b"A", b"\xff", b"B", b"x\xfe"])

    def test_into_one_output(self):
        good, bad = self.file("good", b"&#65;"), self.file("bad", b"\xff")
        result = self.fail_with(DATA, "cannot read /nonexistent", "decode", "ncr", "--keep-going", good, bad, "/nonexistent", good)
        self.assertEqual(result.stdout, b"AA")
        self.fail_with(SYSTEM, "cannot write", "decode", "ncr", "--keep-going", good, good, "-o", "/dev/full")

    def test_only_the_first_problem_of_a_file_is_named(self):
        twice = self.file("twice", b"\xff" + b"x" * 1_000_000 + b"\xfe")
        result = self.fail_with(DATA, "invalid bytes FF at offset 0", "decode", "ncr", "--keep-going", twice)
        self.assertEqual(result.stderr.count(b"\n"), 1)


if __name__ == "__main__":
    unittest.main()
