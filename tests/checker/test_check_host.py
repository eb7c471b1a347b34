"""The checker of hosts as a command: sound hosts pass, broken ones are named. rules_test.cpp has a host for each fault."""

import json
import os
import re
import subprocess
import time
import unittest

from rules import NOT_CHECKED_WITHOUT_CASES
from tool import DATA, DONE, LIBRARY, PROJECT, SANITIZED, SYSTEM, TOOL, USAGE, ToolTest, run

MINIMAL, BROKEN, DEVELOPMENT = (os.environ[f"RQ_{name}_HOST"] for name in ("MINIMAL", "BROKEN", "DEVELOPMENT"))
# A crash is to be the host's own, and freed memory is to be gone.
CALM = ":".join(("allocator_may_return_null=1", "handle_abort=0", "handle_segv=0", "quarantine_size_mb=0",
                 "thread_local_quarantine_size_kb=0", "detect_leaks=0"))
ENVIRONMENT = {**os.environ, **{f"{name}_OPTIONS": CALM for name in ("ASAN", "TSAN")}}


@unittest.skipIf("thread" in SANITIZED, "its own memory and threads look like the host's")
class CheckHost(ToolTest):
    def rows(self, code, *arguments, **environment):
        """Exit code as expected; the rows by their rule, and standard error."""
        result = run("check-host", "--json", *arguments, env={**ENVIRONMENT, **environment})
        self.assertEqual(result.returncode, code, result.stderr)
        *lines, closing = map(json.loads, result.stdout.splitlines())
        rows = {row["rule"]: row for row in lines}
        self.assertEqual({tuple(row) for row in rows.values()}, {("rule", "verdict", "statement", "seen")})
        self.assertEqual(closing, self.counted(rows))
        return rows, result.stderr.decode()

    def counted(self, rows):
        """The closing line that these rows need."""
        counts = {name: len(self.with_verdict(rows, verdict))
                  for name, verdict in (("kept", "ok"), ("broken", "broken"), ("not_checked", "not checked"))}
        return {"rules": len(rows), **counts}

    def with_verdict(self, rows, verdict):
        return {name for name, row in rows.items() if row["verdict"] == verdict}

    def test_the_smallest_host_passes(self):
        rows, _ = self.rows(DONE, MINIMAL)
        self.assertEqual(self.with_verdict(rows, "broken"), set())
        self.assertEqual(self.with_verdict(rows, "not checked"), NOT_CHECKED_WITHOUT_CASES)

    def test_the_development_host_passes(self):
        rows, _ = self.rows(DONE, "--threads", DEVELOPMENT)
        self.assertEqual(self.with_verdict(rows, "not checked"), {"nls.querySession"})
        for session in ("Shift_JIS", "GB18030", "ISO-2022-JP", "UTF-7", "SCSU", "UTF-16BE", "ibm-1047", "KOI8-R"):
            rows, _ = self.rows(DONE, DEVELOPMENT, RQ_SESSION=session)
            self.assertEqual(self.with_verdict(rows, "not checked") - {"charset.letters", "threads"}, set(), session)
            carries = session not in ("UTF-16BE", "ibm-1047")
            self.assertEqual(rows["object"]["seen"], "" if carries else
                             "made and ended; the session encoding cannot write the notations", session)

    def test_a_broken_rule_is_named(self):
        sound, _ = self.rows(DONE, BROKEN)
        self.assertEqual(self.with_verdict(sound, "not checked"), {"threads"})
        rows, message = self.rows(DATA, BROKEN, RQ_BROKEN="transcoder.zero")
        self.assertEqual(self.with_verdict(rows, "broken"), {"transcoder.zero"})
        self.assertTrue(message.endswith(f"rqtext: {BROKEN} breaks transcoder.zero\n"), message)

    def test_table(self):
        result = run("check-host", DEVELOPMENT, env=ENVIRONMENT)
        self.assertEqual((result.returncode, SANITIZED or result.stderr), (DONE, SANITIZED or b""))  # it warns there
        lines = result.stdout.decode().splitlines()
        self.assertEqual(lines[0].split("\t"), ["rule", "verdict", "what it says", "what was seen"])
        self.assertEqual(lines[1].split("\t"), ["entry", "ok", "rquni_host stores a kernel and a context and returns 0", ""])
        self.assertEqual({line.count("\t") for line in lines[:-1]}, {3})
        verdicts = [line.split("\t")[1] for line in lines[1:-1]]
        self.assertEqual(lines[-1], f"{len(verdicts)} rules: {verdicts.count('ok')} kept, 0 broken, "
                         f"{verdicts.count('not checked')} not checked")

    def hanging(self):
        return subprocess.Popen([TOOL, "check-host", "--json", BROKEN, "--library", LIBRARY], stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, env={**ENVIRONMENT, "RQ_BROKEN": "hang"})

    def test_a_hanging_host_ends_the_run(self):
        begin = time.monotonic()
        with self.hanging() as process:
            first = json.loads(process.stdout.readline())
            self.assertLess(time.monotonic() - begin, 5, "the first row waits for the rules that hang")
            self.assertEqual((first["rule"], first["verdict"]), ("entry", "ok"))
            *rows, closing = map(json.loads, process.stdout)
            self.assertEqual(process.wait(), DATA)
        self.assertLess(time.monotonic() - begin, 20)
        rows = {row["rule"]: row for row in (first, *rows)}
        self.assertEqual(closing, self.counted(rows))
        self.assertEqual(self.with_verdict(rows, "broken"), {"transcoder.length", "transcoder.capacity"})
        self.assertEqual({row["seen"] for row in rows.values() if row["verdict"] == "broken"}, {"it did not return in time"})
        self.assertEqual(rows["transcoder.forms"]["seen"], "other checks hung")

    def test_a_reader_that_leaves_ends_the_run(self):
        with self.hanging() as process:
            process.stdout.readline()
            process.stdout.close()
            self.assertEqual(process.wait(timeout=5), SYSTEM)  # at the next row, before a rule hangs

    def test_what_is_no_host(self):
        self.fail_with(SYSTEM, "cannot load the host /nonexistent.so: ", "check-host", "/nonexistent.so")
        self.fail_with(SYSTEM, "cannot load the host", "check-host", self.file("x.so", b"no library"))
        self.fail_with(SYSTEM, "undefined symbol: rquni_host", "check-host", LIBRARY)
        self.fail_with(SYSTEM, "cannot load the library /nonexistent.so", "check-host", MINIMAL, "--library", "/nonexistent.so",
                       library=False)
        self.fail_with(USAGE, "host is required", "check-host")

    def test_a_host_in_the_working_directory(self):
        os.symlink(MINIMAL, self.folder / "own.so")
        result = run("check-host", "own.so", cwd=self.folder, env=ENVIRONMENT)
        self.assertEqual(result.returncode, DONE, result.stderr)

    def test_the_page_lists_the_rules(self):
        rows, _ = self.rows(DONE, MINIMAL)
        page = (PROJECT / "docs" / "hosts.md").read_text()
        listed = dict(re.findall(r"^\| `([\w.]+)` \| (.*) \|$", page, re.MULTILINE))
        self.assertEqual({name: text.replace("`", "") for name, text in listed.items()},
                         {name: row["statement"] for name, row in rows.items()})


if __name__ == "__main__":
    unittest.main()
