"""Every code point in the encodings of databases, and random texts, against the tool and against kept lists."""
import codecs
import concurrent.futures
import pathlib
import unittest

from support import HERE, ServerTest
from tool import CODE_POINTS, references, rqtext

# convert_to to the database's own encoding gives the bytes as they are stored. U+0000 is left out: its notation stays.
DECODED = """
SELECT string_agg(encode(convert_to(rq_decode('&#x' || lpad(upper(to_hex(i)), 6, '0') || ';|', 'ncr'), '{encoding}'), 'hex'), ''
                  ORDER BY i) FROM generate_series(1, 1114111) i;
"""
RANDOM = r"""
SET max_parallel_workers_per_gather = 0;
SELECT setseed(0.14);
CREATE TEMP TABLE sample AS
  SELECT i, string_agg((ARRAY['&#', '&#x', ';', '&#233;', '&#xD83D;', '&#xDE00;', '&#0;', '&#x65E5', '\u', '\U', '\uu', '00e9', '0001F600',
                              'd83d', '\ude00', '\', '<U', '<u', '>', '<U0041>', '<u65E5>', '<U0000>', 'é', '日', '😀', ' ', '7', 'x', E'\n',
                              '12345678'])[1 + floor(30 * random())::int], '') AS text
    FROM generate_series(1, 300000) i, generate_series(1, 1 + i % 9) GROUP BY i;
SELECT notation, count(*), count(*) FILTER (WHERE decoded <> text) > 10000,
       count(*) FILTER (WHERE position('\x00'::bytea IN convert_to(decoded, 'UTF8')) > 0),
       count(*) FILTER (WHERE convert_from(convert_to(decoded, 'UTF8'), 'UTF8') <> decoded)
  FROM (SELECT text, notation, rq_decode(text, notation) AS decoded
          FROM sample, unnest('{ncr,uesc,uparen,uparen-ascii}'::text[]) notation) t
 GROUP BY notation ORDER BY notation;
"""


def kept(encoding):
    """What a list in lists/ says about an encoding: {code point: bytes} of what differs from Python's codec."""
    lines = pathlib.Path(HERE, "lists", f"{encoding.lower()}.txt").read_text(encoding="ascii").splitlines()
    rows = (line.split() for line in lines if line and not line.startswith("#"))
    return {int(number[2:], 16): bytes.fromhex(digits) if digits != "-" else None for number, digits in rows}


class Exhaustive(ServerTest):
    def decoded(self, encoding):
        database = self.server.database(f"every_{encoding.lower()}", encoding)
        return bytes.fromhex(self.server.psql(DECODED.format(encoding=encoding), database))

    def test_every_code_point_decodes_as_with_the_tool(self):
        sessions = {"UTF8": "UTF-8", "LATIN1": "ISO-8859-1", "KOI8R": "KOI8-R"}
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            for (encoding, session), ours in zip(sessions.items(), pool.map(self.decoded, sessions), strict=True):
                with self.subTest(encoding):
                    self.assertTrue(ours == rqtext("decode", "ncr", text=references(1, CODE_POINTS), session=session))

    def test_every_code_point_decodes_as_the_lists_say(self):
        pythons = {"WIN1252": "cp1252", "EUC_JP": "euc_jp", "SQL_ASCII": "ascii"}
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            for (encoding, name), ours in zip(pythons.items(), pool.map(self.decoded, pythons), strict=True):
                with self.subTest(encoding):
                    self.assertEqual(self.differences(ours, name), kept(encoding))

    def differences(self, ours, name):
        encode = codecs.getencoder(name)
        found, at = {}, 0
        for number in range(1, CODE_POINTS):
            notation = b"&#x%06X;" % number
            try:
                pythons = encode(chr(number))[0]
            except UnicodeEncodeError:
                pythons = None
            end = ours.index(b"|", at + (number == ord("|")))
            bytes_ = None if ours[at:end] == notation else ours[at:end]
            at = end + 1
            if bytes_ != pythons:
                found[number] = bytes_
        self.assertEqual(at, len(ours))
        return found

    def test_random_texts_give_no_error_no_zero_and_valid_text(self):
        rows = self.server.psql(RANDOM, self.server.database("random")).split()
        self.assertEqual(rows, [f"{notation}|300000|{most}|0|0" for notation, most in
                                (("ncr", "t"), ("uesc", "t"), ("uparen", "t"), ("uparen-ascii", "t"))])


if __name__ == "__main__":
    unittest.main()
