"""The checker of hosts: sound hosts pass, and each broken one breaks the one rule that it should."""

import concurrent.futures
import json
import os
import re
import subprocess
import time
import unittest

from tool import DATA, DONE, LIBRARY, PROJECT, SANITIZED, SYSTEM, TOOL, USAGE, ToolTest, run

MINIMAL, BROKEN, DEVELOPMENT = (os.environ[f"RQ_{name}_HOST"] for name in ("MINIMAL", "BROKEN", "DEVELOPMENT"))
# A crash is to be the host's own, and freed memory is to be gone.
CALM = ":".join(("allocator_may_return_null=1", "handle_abort=0", "handle_segv=0", "quarantine_size_mb=0",
                 "thread_local_quarantine_size_kb=0", "detect_leaks=0"))
ENVIRONMENT = {**os.environ, **{f"{name}_OPTIONS": CALM for name in ("ASAN", "TSAN")}}

# The faults of broken_host.c whose row says more than that the rule is broken. What stands before a blank is the rule.
FAULTS = {
    "entry": "it returns status 5", "entry crash": "it crashed with signal 6, Aborted",
    "entry exit": "it ended the process with exit code 5", "entry null": "no kernel is stored",
    "kernel.words": "word 6 is null", "kernel.createPool": "two calls gave the same pool",
    "kernel.createPool kept": "it uses the parameter block after the call", "pool.words": "word 4 is null",
    "pool.alignment": "a block of 1 bytes lies 4 bytes beyond a multiple of 8", "pool.blocks": "shares memory with another one",
    "pool.refusal": "a block of 18446744073709551615 bytes is granted", "pool.release": "128 MiB were released",
    "pool.destroy": "128 MiB were freed with their pools", "context.words": "word 27 is null",
    "context.name": "it reads beyond the name", "context.name any": 'an option named "RQNLS.ZMX_SESSION_CE" is found',
    "context.value": "it writes beyond the value", "nls.words": "word 78 is null", "nls.querySession": "it returns 0x00000007",
    "nls.querySession nothing": "it reports success and stores no identifier",
    "nls.createTranscoder": "the transcoder from the session encoding to UTF-16BE is missing", "transcoder.words": "word 2 is null",
    "transcoder.length": "stores no length with a capacity of 0 bytes", "transcoder.capacity": "writes beyond a capacity of 0 bytes",
    "transcoder.capacity reported": "reports 1 bytes for a capacity of 0", "transcoder.input": "it reads beyond the input",
    "transcoder.whole": "leaves part of a character", "transcoder.status": "reports success where 0 bytes cannot hold the text",
    "transcoder.answer": "answers the same input differently", "transcoder.forms": "to UTF-16BE gives other characters",
    "transcoder.zero": "nothing is written for it", "nls.identifiers": "the session has the identifier of UTF-8",
    "transcoder.returns": "it crashed with signal 6, Aborted: an error must not leave the callback",
    "transcoder.destroy": "took another one with it", "transcoder.destroy leak": "100000 destroyed transcoders are still in memory",
    "transcoder.status failure": "reports a failure where there is none",
    "transcoder.status full": "reports a failure at an exactly full output",
    "transcoder.status invalid": "reports success for bytes that are no UTF-8",
    "transcoder.roundTrip": "U+00E0 becomes the bytes E1, and these U+00E1",
    "transcoder.roundTrip table": "U+00C0 becomes the bytes C1, and these U+00C1",
    "transcoder.roundTrip substitution": "U+0100 becomes the bytes 3F, and these U+003F",
    "transcoder.roundTrip half": "U+00F1 becomes the bytes 81, and these U+0081",
    "transcoder.roundTrip abort": "Aborted: one character makes it crash",
    "transcoder.roundTrip hang": "it did not return in time",
    "transcoder.bytes": "Aborted: some bytes make it crash",
    "transcoder.long": "converts a text of 1025 characters otherwise than a short one",
    "transcoder.long cut": "characters otherwise than a short one",
    "journal.status": "word 7 is null", "case.words": "word 31 is null",
    "case.any": "it crashed with signal 6, Aborted: a value that is no character makes it crash",
    "case.charset": "it reads beyond the name", "case.charset null": "word 54 is null",
    "charset.length": "with a length of 0 it changes other bytes", "charset.letters": '"abcdef09" becomes "abcdef09"',
    "object": '"x&#65;" does not become "xA"', "threads": "of 1600 results differ",
}


# A sanitizer ends these hosts before the checker sees what they do.
ENDED_BY_A_SANITIZER = {"pool.alignment", "transcoder.input", "context.name", "case.charset", "threads"}


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
        # It has no case service.
        self.assertEqual(self.with_verdict(rows, "not checked"),
                         {"case.words", "case.any", "case.charset", "charset.length", "charset.letters", "threads"})

    def test_the_development_host_passes(self):
        rows, _ = self.rows(DONE, "--threads", DEVELOPMENT)
        self.assertEqual(self.with_verdict(rows, "not checked"), {"nls.querySession"})
        for session in ("Shift_JIS", "GB18030", "ISO-2022-JP", "UTF-7", "SCSU", "UTF-16BE", "ibm-1047", "KOI8-R"):
            rows, _ = self.rows(DONE, DEVELOPMENT, RQ_SESSION=session)
            self.assertEqual(self.with_verdict(rows, "not checked") - {"charset.letters", "threads"}, set(), session)

    def test_each_fault_breaks_its_rule_alone(self):
        sound, _ = self.rows(DONE, BROKEN)
        self.assertEqual(self.with_verdict(sound, "not checked"), {"threads"})
        self.assertEqual({fault.split()[0] for fault in FAULTS}, set(sound), "every rule has a host that breaks it")
        faults = [fault for fault in FAULTS if not (SANITIZED and fault in ENDED_BY_A_SANITIZER)]

        def check(fault):
            return self.rows(DATA, BROKEN, *(["--threads"] if fault == "threads" else []), RQ_BROKEN=fault)

        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            checks = {fault: pool.submit(check, fault) for fault in faults}
        for fault in faults:
            with self.subTest(fault):
                rule, seen = fault.split()[0], FAULTS[fault]
                rows, message = checks[fault].result()
                self.assertEqual(self.with_verdict(rows, "broken"), {rule})
                # A race may also end the process.
                if rule != "threads" or not rows[rule]["seen"].startswith("it crashed"):
                    self.assertIn(seen, rows[rule]["seen"])
                self.assertTrue(message.endswith(f"rqtext: {BROKEN} breaks {rule}\n"), message)
                for row in rows.values():  # nothing is left out without a reason
                    if row["verdict"] == "not checked" and row["rule"] != "threads":
                        self.assertRegex(row["seen"], "^see [\\w.]+$|^the option is found: the library does not ask$")

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
