"""Databases of other encodings, and a server that is short of memory."""
import unittest

from server import Server
from support import ServerTest

# encoding, statement, what it prints. Bytes that are not UTF-8 are shown by convert_to, as the database stores them.
ROWS = [
    ("LATIN1", "rq_decode('&#233;&#26085;&#0;', 'ncr')", "é&#26085;&#0;"),
    ("LATIN1", "convert_to(rq_decode('&#255;&#128;&#256;', 'ncr'), 'LATIN1')", r"\xff80" + b"&#256;".hex()),
    ("LATIN1", "rq_encode('é', 'uesc') || rq_encode('é', 'ncr') || rq_encode('é', 'uparen')", r"\u00E9&#233;<u00E9>"),
    ("LATIN1", "rq_length('é') + rq_width('éé')", "3"),
    ("LATIN1", "rq_to('é', 'utf16be') || rq_to('é', 'utf8')", r"\x00e9c3a9"),
    ("LATIN1", r"rq_from('\x00e900ff', 'utf16be')", "éÿ"),
    ("LATIN1", r"rq_from('\x004120ac', 'utf16be')", "22P05"),
    ("LATIN1", r"rq_from('\x0041d800', 'utf16be')", "22021"),
    ("WIN1252", "rq_decode('&#8364;&#129;', 'ncr')", "€&#129;"),
    ("KOI8R", "rq_encode('Ж', 'uesc') || rq_to('Ж', 'utf16be')::text", r"\u0416\x0416"),
    ("KOI8R", "rq_encode(repeat('Ж', 100), 'ncr') = repeat('&#1046;', 100)", "t"),
    ("KOI8R", "length(rq_to(repeat('─', 2000), 'utf8'))", "6000"),
    ("EUC_JP", "rq_decode('&#26085;&#233;&#128512;', 'ncr')", "日é&#128512;"),
    ("EUC_JP", "rq_encode(repeat('日本é', 1000), 'uesc') = repeat('\\u65E5\\u672C\\u00E9', 1000)", "t"),
    ("EUC_JP", "rq_encode(repeat('日本é', 1000), 'uparen') = repeat('<u65E5><u672C><u00E9>', 1000)", "t"),
    ("EUC_JP", "rq_length(repeat('日本é', 1000)) || ' ' || rq_width(repeat('日本é', 1000))", "3000 5000"),
    *(("EUC_JP", f"rq_from(rq_to(repeat('x日本é', 1000), '{form}'), '{form}') = repeat('x日本é', 1000)", "t")
      for form in ("utf8", "utf16le", "utf16be", "utf32le", "utf32be")),
    ("EUC_JP", r"rq_from(repeat('e9', 500)::bytea, 'utf8') = repeat('e9', 500)", "t"),
    ("EUC_JP", r"rq_from('\xc3a9f09f9880', 'utf8')", "22P05"),
    ("EUC_CN", "rq_encode('中', 'uesc') || rq_decode('&#22269;', 'ncr')", r"\u4E2D国"),
    ("EUC_TW", "rq_from(rq_to(repeat('日本', 3000), 'utf16le'), 'utf16le') = repeat('日本', 3000)", "t"),
    ("EUC_JIS_2004", "rq_from(rq_to(repeat('か゚𠀋', 3000), 'utf16le'), 'utf16le') = repeat('か゚𠀋', 3000)", "t"),
    ("EUC_JIS_2004", "rq_decode(rq_encode(repeat('か𠀋x', 3000), 'uparen'), 'uparen') = repeat('か𠀋x', 3000)", "t"),
    ("EUC_JIS_2004", "rq_length('か゚')", "2"),
    ("SQL_ASCII", "rq_decode('&#65;&#233;', 'ncr')", "A&#233;"),
    ("SQL_ASCII", r"encode(rq_decode(E'\xff&#65;', 'ncr')::bytea, 'hex')", "ff41"),
    ("SQL_ASCII", "rq_encode('A', 'uparen')", "<u0041>"),
    *(("SQL_ASCII", call, "22P05") for call in (r"rq_encode(E'ab\xff', 'uesc')", r"rq_encode(E'ab\xff', 'ncr')",
                                                r"rq_encode(E'ab\xff', 'uparen')", r"rq_length(E'ab\xff')",
                                                r"rq_width(E'ab\xff')", r"rq_to(E'ab\xff', 'utf8')")),
    ("SQL_ASCII", r"rq_from('\xc3a9', 'utf8')", "22P05"),
    ("MULE_INTERNAL", "rq_decode('&#65;&#233;', 'ncr')", "A&#233;"),
]
CLIENTS = {"MULE_INTERNAL": "MULE_INTERNAL"}  # it is not converted to UTF-8


class Encodings(ServerTest):
    def test_rows(self):
        for encoding in dict.fromkeys(row[0] for row in ROWS):
            database = self.server.database(encoding.lower(), encoding)
            for _, call, expected in (row for row in ROWS if row[0] == encoding):
                with self.subTest(encoding, call=call):
                    output = self.server.psql(f"SELECT {call};", database, stop=False, client=CLIENTS.get(encoding, "UTF8")).strip()
                    self.assertEqual(output.removeprefix("ERROR:  "), expected)

    def test_the_place_of_a_character_that_the_encoding_lacks_is_shown(self):
        for encoding, text, offset in (("LATIN1", "é€", 2), ("EUC_JP", "é😀x", 2), ("EUC_JP", "é" * 300 + "😀", 600)):
            database = self.server.database(f"lacking_{encoding.lower()}_{len(text)}", encoding)
            output = self.server.psql(f"SELECT rq_from('\\x{text.encode().hex()}', 'utf8');", database, stop=False, verbosity="default")
            self.assertEqual(output, f'ERROR:  the character at offset {offset} of the utf8 has no equivalent in encoding "{encoding}"\n')

    def test_the_byte_sequence_that_cannot_be_converted_is_shown(self):
        for encoding, text in (("SQL_ASCII", r"E'ab\xff'"), ("WIN1252", "convert_from('\\x6162', 'UTF8') || s.t")):
            database = self.server.database(f"shown_{encoding.lower()}", encoding)
            # A byte that the encoding does not assign comes into a table in a session that converts nothing.
            self.server.psql(r"SET client_encoding = 'SQL_ASCII'; CREATE TABLE s (t text); INSERT INTO s VALUES (E'\x81');", database)
            shown = {"SQL_ASCII": "0xff", "WIN1252": "0x81"}[encoding]
            for call in ("rq_encode({}, 'uesc')", "rq_length({})", "rq_width({})", "rq_to({}, 'utf16le')"):
                output = self.server.psql(f"SELECT {call.format(text)} FROM s;", database, stop=False, verbosity="default")
                self.assertEqual(output, f'ERROR:  character with byte sequence {shown} in encoding "{encoding}" has no '
                                         'equivalent in encoding "UTF8"\n', call)
            output = self.server.psql("SELECT encode(convert_to(rq_decode(t || '&#65;', 'ncr'), getdatabaseencoding()), 'hex') FROM s;", database)
            self.assertEqual(output, "8141\n", "decoding is total")


class Memory(ServerTest):
    def test_without_memory_the_session_goes_on(self):
        with Server(self.stage, "poor", start_memory=700_000) as poor:
            poor.psql("CREATE EXTENSION rquni;")
            output = poor.psql("SELECT rq_length(rq_encode(repeat('é', 30000000), 'uesc'));\n"  # no room for the result
                               "SELECT rq_width(repeat('é', 60000000));\n"                       # no working buffer
                               "SELECT rq_decode('caf&#233;', 'ncr');", stop=False)
            self.assertEqual(output, "ERROR:  53200\nERROR:  53200\ncafé\n")


if __name__ == "__main__":
    unittest.main()
