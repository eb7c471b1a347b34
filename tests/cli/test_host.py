"""Somebody else's host: real text goes through it, and whatever it does, the tool says so."""

import os
import pathlib
import signal
import subprocess
import time
import unittest

from tool import DATA, DONE, LIBRARY, PROJECT, SANITIZED, SYSTEM, TOOL, USAGE, ToolTest, run

MINIMAL, BROKEN, DEVELOPMENT = (os.environ[f"RQ_{name}_HOST"] for name in ("MINIMAL", "BROKEN", "DEVELOPMENT"))
# A crash is to be the host's own.
CALM = ":".join(("allocator_may_return_null=1", "handle_abort=0", "handle_segv=0", "detect_leaks=0"))
ENVIRONMENT = {**os.environ, **{f"{name}_OPTIONS": CALM for name in ("ASAN", "TSAN")}}
LATIN = ["-s", "ISO-8859-1"]


class WorkWithHost(ToolTest):
    def test_the_smallest_host_gives_what_the_tool_gives(self):
        text = "café \\u00e9 &#233; <U00E9> &#8364;\nnaïve  \n" * 200
        for arguments, given in (
                (["decode", "ncr"], "latin1"), (["decode", "uesc"], "latin1"), (["decode", "uparen"], "latin1"),
                (["decode", "uparen-ascii"], "latin1"), (["encode", "ncr"], "latin1"), (["encode", "uesc"], "latin1"),
                (["encode", "uparen"], "latin1"), (["length"], "latin1"), (["width"], "latin1"),
                (["to", "utf8"], "latin1"), (["to", "utf16"], "latin1"), (["to", "utf32be", "--bom"], "latin1"),
                (["from", "utf8"], "utf-8"), (["from", "utf16"], "utf-16"), (["from", "utf32le"], "utf-32-le"),
                (["decode", "ncr", "--explain"], "latin1"), (["decode", "ncr", "--unmappable=substitute"], "latin1")):
            encoded = text.encode(given)
            for options in ([], ["--lines"], ["--flavour", "s"]):
                own = self.succeed(*arguments, *LATIN, *options, text=encoded)
                self.assertEqual(self.succeed(*arguments, *LATIN, *options, "--host", MINIMAL, text=encoded), own, arguments)

    def test_sessions_of_all_kinds(self):
        text = "日本語 \\u65e5 ABC\n" * 300
        for session, python in (("UTF-8", "utf-8"), ("Shift_JIS", "shift_jis"), ("GB18030", "gb18030"),
                                ("ISO-2022-JP", "iso2022_jp"), ("UTF-16BE", "utf-16-be")):
            host = {"env": {**ENVIRONMENT, "RQ_SESSION": session}}
            options = ["-s", session, "--host", DEVELOPMENT]
            encoded = self.succeed("from", "utf8", *options, text=text.encode(), **host)
            self.assertEqual(encoded.decode(python), text)
            self.assertEqual(self.succeed("to", "utf8", *options, text=encoded, **host), text.encode())
            self.assertEqual(self.succeed("length", *options, text=encoded, **host), b"%d\n" % len(text))

    def test_text_that_the_host_cannot_take(self):
        host = [*LATIN, "--host", MINIMAL]
        self.fail_with(DATA, "character U+20AC at offset 3, line 1, column 3 does not exist", "from", "utf8", *host,
                       text="aé€".encode())
        self.fail_with(DATA, "invalid bytes FF at offset 1", "from", "utf8", *host, text=b"a\xff")
        self.assertEqual(self.succeed("decode", "ncr", *host, "--unmappable=keep", text=b"&#8364;"), b"&#8364;")
        self.fail_with(DATA, "does not fit into the field", "to", "utf16be", "--pad", "4", *LATIN, text=b"abc")

    def test_the_session_must_be_named(self):
        self.fail_with(USAGE, "has the number 100, which is its own: name it with --session", "length", "--host", MINIMAL)
        self.fail_with(USAGE, "has the number 100", "length", "--host", MINIMAL, "-s", "UTF-8")
        self.fail_with(USAGE, "is in UTF-8: name it with --session", "length", "--host", DEVELOPMENT, *LATIN, env=ENVIRONMENT)

    def test_what_is_no_host(self):
        self.fail_with(SYSTEM, "cannot work with the host /nonexistent.so: ", "length", "--host", "/nonexistent.so")
        self.fail_with(SYSTEM, "invalid ELF header", "length", "--host", self.file("x.so", b"no host, only words\n" * 9))
        self.fail_with(SYSTEM, "undefined symbol: rquni_host", "length", "--host", LIBRARY)

    def test_broken_hosts(self):
        for fault, message in (("entry", "it returns status 5"), ("entry null", "no kernel is stored"),
                               ("nls.createTranscoder", "could not make all transcoders"),
                               ("entry exit", "the host ended the process with exit code 5"),
                               ("entry crash", "the host crashed with signal 6, Aborted"),
                               ("kernel.words", "the host crashed with signal 11, Segmentation fault"),
                               ("transcoder.roundTrip abort", "the host crashed with signal 6, Aborted")):
            if SANITIZED and "crash" in message:
                continue  # it reports by itself
            path = self.file("out", b"old")
            result = self.fail_with(SYSTEM, message, "decode", "uesc", *LATIN, "--host", BROKEN, text=b"caf\\u0491",
                                    env={**ENVIRONMENT, "RQ_BROKEN": fault})
            self.assertEqual((result.stdout, result.stderr.count(b"\n")), (b"", 1), fault)
            quiet = run("decode", "uesc", "-q", *LATIN, "--host", BROKEN, "-o", path, text=b"caf\\u0491",
                        env={**ENVIRONMENT, "RQ_BROKEN": fault})
            self.assertEqual((quiet.returncode, quiet.stderr, pathlib.Path(path).read_bytes()), (SYSTEM, b"", b"old"))

    def own_host(self, source):
        """The shared object of a host that is the example but for `source`."""
        path = self.folder / "own.c"
        path.write_text(f'''#define rquni_host soundHost
#define main exampleMain
#include <signal.h>
#include <unistd.h>
#include "{PROJECT}/examples/minimal_host.c"
#undef rquni_host
#undef main
{source}''')
        include = pathlib.Path(LIBRARY).parents[1] / "include"
        subprocess.run(["cc", "-std=gnu11", "-shared", "-fPIC", "-I", include, "-o", path.with_suffix(".so"), path], check=True)
        return str(path.with_suffix(".so"))

    def host_that_converts(self, convert):
        """The same with another way to convert. The function has the name `other`."""
        return self.own_host(f'''
{convert}
static RQTranscoder* create(RQNlsServices* nls, uint64_t from, uint64_t to, uint64_t a, uint64_t b) {{
  RQTranscoder* const made = createTranscoder(nls, from, to, a, b);
  made->convert = other;
  return made;
}}
RQStatus rquni_host(RQKernel** kernel, RQContext** context) {{
  soundHost(kernel, context);
  (*context)->nls->createTranscoder = create;
  return RQ_SUCCESS;
}}''')

    def test_a_host_that_reads_less_than_there_is(self):
        host = self.host_that_converts('''
static RQStatus other(RQTranscoder* self, const void* in, uint64_t bytes, void* out, uint64_t room, uint64_t* n, uint64_t f) {
  const int reads = ((Transcoder*)self)->source == ISO_8859_1;
  return convert(self, in, reads && bytes > 1 ? bytes / 2 : bytes, out, room, n, f);
}''')
        for arguments in (["encode", "uparen"], ["encode", "ncr"], ["length"], ["width"]):
            self.fail_with(SYSTEM, "the host reads 2 of the text's 4 characters, with status 0x00000000: it begins at offset 0, "
                           "line 1", *arguments, *LATIN, "--host", host, text="abcé".encode("latin1"))

    def test_a_host_that_fails_without_a_reason(self):
        self.fail_with(SYSTEM, "the operation failed with status 0x00000001: it begins at offset 0, line 1", "from", "utf16be",
                       *LATIN, "--host", BROKEN, text="sevenxx".encode("utf-16-be"),
                       env={**ENVIRONMENT, "RQ_BROKEN": "transcoder.status failure"})
        self.fail_with(SYSTEM, "the host says that it wrote more than it had room for", "from", "utf8", *LATIN, "--host", BROKEN,
                       text="€".encode(), env={**ENVIRONMENT, "RQ_BROKEN": "transcoder.capacity reported"})

    def test_a_host_that_fills_whatever_room_it_gets(self):
        host = self.host_that_converts('''
static RQStatus other(RQTranscoder* self, const void* in, uint64_t bytes, void* out, uint64_t room, uint64_t* n, uint64_t f) {
  (void)self, (void)in, (void)bytes, (void)f;
  memset(out, 'x', *n = room);
  return FAILED;
}''')
        for arguments in (["from", "utf8"], ["to", "utf8"], ["to", "utf32be"]):
            self.fail_with(SYSTEM, "the operation failed with status 0x00000001", *arguments, *LATIN, "--host", host, text=b"x" * 300)

    def test_every_fault_ends_well(self):
        # Of every fault that the checker knows the tool makes a result or an error, and no crash of its own.
        source = (pathlib.Path(__file__).parents[1] / "checker" / "rules_test.cpp").read_text()
        faults = [line.split('"')[1] for line in source.splitlines() if line.startswith('    {"')]
        self.assertGreater(len(faults), 20)
        for fault in faults:
            if fault == "transcoder.roundTrip hang":
                continue
            for arguments in (["decode", "ncr"], ["to", "utf16be"], ["encode", "uesc"]):
                result = run(*arguments, *LATIN, "--host", BROKEN, text="café &#233; &#8364; A\n".encode("latin1") * 9,
                             env={**ENVIRONMENT, "RQ_BROKEN": fault})
                self.assertIn(result.returncode, (DONE, DATA, USAGE, SYSTEM), fault)
                if result.returncode != DONE:
                    self.assertIn(b"rqtext: ", result.stderr, fault)

    def test_what_the_host_prints_is_no_output(self):
        host = self.own_host("""
RQStatus rquni_host(RQKernel** kernel, RQContext** context) { puts("hello"); return soundHost(kernel, context); }""")
        result = run("length", *LATIN, "--host", host, text=b"x")
        self.assertEqual((result.returncode, result.stdout), (DONE, b"1\n"))
        self.assertIn(b"hello", result.stderr)

    def test_a_host_that_crashes_while_it_is_loaded(self):
        host = self.own_host("__attribute__((constructor)) static void crash(void) { raise(SIGKILL); }")
        self.fail_with(SYSTEM, "the host crashed with signal 9, Killed", "length", *LATIN, "--host", host, text=b"x")

    def test_an_ending_signal_ends_both_processes(self):
        self.end_by_a_signal(MINIMAL)  # which waits for input

    def test_an_ending_signal_ends_a_host_that_hangs_while_it_is_loaded(self):
        self.end_by_a_signal(self.own_host("__attribute__((constructor)) static void hang(void) { for (;;) pause(); }"))

    def end_by_a_signal(self, host):
        process = subprocess.Popen([TOOL, "length", "--host", host, *LATIN, "--library", LIBRARY], stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        time.sleep(0.3)
        children = pathlib.Path(f"/proc/{process.pid}/task/{process.pid}/children").read_text().split()
        process.send_signal(signal.SIGTERM)
        self.assertEqual(process.wait(10), -signal.SIGTERM)
        self.assertEqual(len(children), 1)
        until = time.monotonic() + 10
        while os.path.exists(f"/proc/{children[0]}") and time.monotonic() < until:
            time.sleep(0.01)
        self.assertFalse(os.path.exists(f"/proc/{children[0]}"))
        for stream in (process.stdin, process.stdout, process.stderr):
            stream.close()


if __name__ == "__main__":
    unittest.main()
