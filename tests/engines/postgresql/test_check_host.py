"""The backend as a host keeps every rule of hosts, in each kind of database encoding."""
import os
import unittest

from rules import NOT_CHECKED_WITHOUT_CASES
from server import LIB
from support import ServerTest

# The server's own tables give two characters the same bytes there.
OF_THE_SERVER = {"EUC_JP": {"transcoder.roundTrip": "U+00A6 becomes the bytes 8F A2 C3, and these U+FFE4"}}


class CheckHost(ServerTest):
    module = os.environ["RQ_POSTGRESQL_CHECKED_MODULE"]

    def rows(self, encoding):
        """{rule: (verdict, what was seen)} of a backend in a database of that encoding."""
        database = self.server.database(f"checked_{encoding.lower()}", encoding)
        output = self.server.psql("CREATE FUNCTION rq_test_check(library text) RETURNS text AS '$libdir/rquni' LANGUAGE C;"
                                  f"SELECT rq_test_check('{self.stage.path / LIB}/librquni.so.1');", database)
        lines = [line.split("|", 2) for line in output.splitlines() if line]
        return {rule: (verdict, seen) for rule, verdict, seen in lines}

    def test_every_rule_is_kept(self):
        for encoding in ("UTF8", "LATIN1", "KOI8R", "EUC_KR", "EUC_JP", "SQL_ASCII"):
            with self.subTest(encoding):
                rows = self.rows(encoding)
                self.assertGreater(len(rows), 30)
                broken = {rule: seen for rule, (verdict, seen) in rows.items() if verdict == "broken"}
                self.assertEqual(broken, OF_THE_SERVER.get(encoding, {}))
                self.assertEqual({rule for rule, (verdict, seen) in rows.items()
                                  if verdict == "not checked" and seen != "see transcoder.roundTrip"},
                                 NOT_CHECKED_WITHOUT_CASES)


if __name__ == "__main__":
    unittest.main()
