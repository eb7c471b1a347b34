"""The example host in Python keeps every rule: its tables are checked in this process, where Python serves them."""

import ctypes
import os
import sys
import unittest

from rules import NOT_CHECKED_WITHOUT_CASES

PROJECT, LIBRARY, CHECKER = (os.environ[name] for name in ("RQ_PROJECT", "RQ_LIBRARY", "RQ_CHECKER_IN_PROCESS"))
sys.path.insert(0, os.path.join(PROJECT, "examples"))
import minimal_host  # noqa: E402  pylint: disable=wrong-import-position

TakeRow = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_char_p, ctypes.c_char_p, ctypes.c_char_p)


@unittest.skipIf(os.environ.get("RQ_SANITIZE"), "a plain Python cannot load a sanitized library")
class PythonHost(unittest.TestCase):
    def rows(self, session):
        """{rule: (verdict, what was seen)}."""
        host, found = minimal_host.Host(LIBRARY, session), {}
        self.addCleanup(host.close)

        @TakeRow
        def take(_, rule, verdict, seen):
            found[rule.decode()] = verdict.decode(), seen.decode()
        # The checker's child processes call back into Python: it keeps the interpreter's lock.
        ctypes.PyDLL(CHECKER).checkHostInProcess(ctypes.byref(host.kernel), ctypes.byref(host.context), LIBRARY.encode(), take,
                                                 None)
        return found

    def test_every_rule_is_kept(self):
        rows = self.rows("koi8-r")
        self.assertGreater(len(rows), 30)
        self.assertEqual({rule: seen for rule, (verdict, seen) in rows.items() if verdict == "broken"}, {})
        self.assertEqual({rule for rule, (verdict, _) in rows.items() if verdict == "not checked"},
                         NOT_CHECKED_WITHOUT_CASES)


if __name__ == "__main__":
    unittest.main()
