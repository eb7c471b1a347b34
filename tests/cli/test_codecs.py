"""The commands decode, encode, length and width."""

import json
import random
import unittest

from tool import CORPUS, DATA, ToolTest

NOTATIONS = ("ncr", "uesc", "uparen", "uparen-ascii")


class Decode(ToolTest):
    def test_examples_in_sessions_and_flavours(self):
        for notation, text, decoded in (("ncr", "caf&#233;", "café"), ("ncr", "caf&#xe9;", "café"),
                                        ("uesc", "caf\\u00e9", "café"), ("uparen", "caf<U00E9>", "café"),
                                        ("uparen-ascii", "<U0043>af<U00E9>", "Caf<U00E9>")):
            for session, python in (("UTF-8", "utf-8"), ("ISO-8859-1", "latin-1"), ("GB18030", "gb18030")):
                for flavour in ("plain", "s"):
                    self.assertEqual(
                        self.succeed("decode", notation, "-s", session, "--flavour", flavour, text=text.encode()),
                        decoded.encode(python))
            self.assertEqual(self.succeed("decode", notation, "--flavour", "t", text=text.encode("utf-32-le")),
                             decoded.encode("utf-32-le"))

    def test_what_the_session_lacks_stays(self):
        self.assertEqual(self.succeed("decode", "ncr", "-s", "ISO-8859-1", text=b"&#8364; &#233;"), b"&#8364; \xe9")

    def test_what_the_session_lacks_is_refused_or_replaced_on_wish(self):
        text = b"&#233;&#8364; x &#xD83D; &#7;\n&#x65E5;&#&#66 y;"
        kept = self.succeed("decode", "ncr", "-s", "latin1", text=text)
        self.assertEqual(self.succeed("decode", "ncr", "-s", "latin1", "--unmappable=keep", text=text), kept)
        self.assertEqual(self.succeed("decode", "ncr", "-s", "latin1", "--unmappable=substitute", text=text),
                         kept.replace(b"&#8364;", b"\x1a").replace(b"&#x65E5;", b"\x1a"))
        self.fail_with(DATA, "character U+20AC at offset 6, line 1, column 7 does not exist in ISO-8859-1", "decode", "ncr",
                       "-s", "latin1", "--unmappable=error", text=text)
        escapes = b"\\uu20AC \\u20AC \\u12 \\u00e9"
        self.assertEqual(self.succeed("decode", "uesc", "-s", "latin1", "--unmappable=substitute", text=escapes),
                         b"\\u20AC \x1a \\u12 \xe9")
        self.assertEqual(self.succeed("decode", "uparen-ascii", "-s", "latin1", "--unmappable=error", text=b"<U20AC><U0041>"),
                         b"<U20AC>A")
        self.assertEqual(self.succeed("decode", "ncr", "-s", "latin1", "--unmappable=error", "--invalid=keep",
                                      text=b"&#65;\xff"), b"A\xff")

    def test_replacing_agrees_with_the_decoder_where_nothing_is_replaced(self):
        parts = ["&#", "&#x", ";", "65", "233", "x41", "xD83D;", "xDE00;", "é", "\\u", "\\uu", "0041", "00E9", "D83D", "\\uDE00",
                 "<U", ">", "zz", "\n"]
        source = random.Random(21)
        for notation in NOTATIONS:
            text = "".join(source.choices(parts, k=2000)).encode()
            self.assertEqual(self.succeed("decode", notation, "--unmappable=error", text=text),
                             self.succeed("decode", notation, text=text))
        long = "".join(source.choices(parts, k=400_000)).encode()  # enough for pieces and threads
        self.assertEqual(self.succeed("decode", "uesc", "--unmappable=error", text=long), self.succeed("decode", "uesc", text=long))

    def test_pairs(self):
        self.assertEqual(self.succeed("decode", "ncr", text=b"&#xD83D;&#xDE00;"), "😀".encode())
        self.assertEqual(self.succeed("decode", "uesc", text=b"\\uD83D\\uDE00"), "😀".encode())

    def test_output_larger_than_the_input_is_complete(self):
        self.assertEqual(self.succeed("decode", "uparen", text=b"<U>" * 1000), b"\0" * 1000)
        self.assertEqual(self.succeed("decode", "ncr", "--flavour", "t", text="&#;".encode("utf-32-le") * 1000),
                         b"\0\0\0\0" * 1000)
        plain = b"no notation here " * 100_000
        for notation in NOTATIONS:
            self.assertEqual(self.succeed("decode", notation, text=plain), plain)
            self.assertEqual(self.succeed("decode", notation, text=b""), b"")

    def test_bytes_that_are_no_text_are_refused_or_pass_on_wish(self):
        self.fail_with(DATA, "invalid bytes FF at offset 0, line 1, column 1", "decode", "ncr", text=b"\xff&#65;\xfe")
        self.assertEqual(self.succeed("decode", "ncr", "--invalid=keep", text=b"\xff&#65;\xfe"), b"\xffA\xfe")
        self.fail_with(DATA, "invalid bytes 80 at offset 0, line 1, column 1", "decode", "ncr", text=b"\x80")
        self.fail_with(DATA, "ends inside a character", "decode", "uesc", text="é".encode()[:1])
        cp1251 = self.file("cp1251", "Привет \\u0416\n".encode("cp1251"))
        before = open(cp1251, "rb").read()
        self.fail_with(DATA, "not valid in UTF-8", "decode", "uesc", "-i", cp1251)
        self.assertEqual(open(cp1251, "rb").read(), before)
        self.succeed("decode", "uesc", "-i", "-s", "windows-1251", cp1251)
        self.assertEqual(open(cp1251, "rb").read(), "Привет Ж\n".encode("cp1251"))

    def test_lines_are_texts_of_their_own(self):
        text = b"&#65\n;&#66;\r\n\n&#67;"
        self.assertEqual(self.succeed("decode", "ncr", text=text), b"AB\r\n\nC")
        self.assertEqual(self.succeed("decode", "ncr", "--lines", text=text), b"&#65\n;B\r\n\nC")

    def test_without_end_is_linear(self):
        for notation, text in (("ncr", b"&#"), ("uesc", b"\\u"), ("uparen", b"<U")):
            long = text * 500_000
            self.assertEqual(self.succeed("decode", notation, text=long), long)
            self.assertEqual(self.succeed("decode", notation, "--explain", text=text * 20_000).count(b"\n"), 20_001)


class Explain(ToolTest):
    def rebuilt(self, notation, text, session, python, *options):
        """The decoder's output put together from its explanation."""
        result, end = b"", 0
        width = 4 if python == "utf-32-le" else 1
        for line in self.succeed("decode", notation, "--explain", "--json", "-s", session, *options, text=text).splitlines():
            found = json.loads(line)
            at, length = found["offset"], found["bytes"]
            self.assertGreaterEqual(at, end)
            result += text[end:at]
            source = text[at:at + length]
            if found["fate"] == "kept":
                self.assertTrue(found["why"])
                result += source
            elif found["character"] is None:
                result += source[:2 * width]
            else:
                result += chr(int(found["character"][2:], 16)).encode(python)
            end = at + length
        return result + text[end:]

    def test_explanations_agree_with_the_decoder(self):
        pieces = {
            "ncr": ["&#", "&#x", "&", "#", ";", "65", "233", "x41", "xD83D;", "xDE00;", "55357;", "8364", "é", "0", "12345678",
                    "\n", "&#xD83D;", "&#xDE00;"],
            "uesc": ["\\", "u", "U", "\\u", "\\U", "0041", "00e9", "D83D", "DE00", "20AC", "0001F600", "00", "3", "é", "\n",
                     "\\uD83D", "\\uDE00", "\\uu"],
            "uparen": ["<", "<U", "<u", ">", "0041", "00E9", "D83D", "20AC", "0001F600", "zz", "é", "\n", "0"],
        }
        pieces["uparen-ascii"] = pieces["uparen"]
        source = random.Random(20)
        for notation, parts in pieces.items():
            for session, python in (("UTF-8", "utf-8"), ("ISO-8859-1", "latin-1"), ("UTF-32LE", "utf-32-le")):
                options = ["--flavour", "t"] if session == "UTF-32LE" else []
                lines = ["".join(source.choices(parts, k=source.randint(0, 12))) for _ in range(400)]
                for text in ("".join(lines[:200]), "\n".join(lines)):
                    encoded = text.encode(python)
                    decoded = self.succeed("decode", notation, "-s", session, *options, text=encoded)
                    self.assertEqual(self.rebuilt(notation, encoded, session, python, *options), decoded)

    def test_columns(self):
        rows = self.succeed("decode", "ncr", "--explain", "-s", "ISO-8859-1",
                            text=b"\xe9 &#65;\n&#8364; &#7; &#66x; &#x12345678; &#x").decode().splitlines()
        self.assertEqual([row.split("\t") for row in rows], [
            ["offset", "line", "column", "source", "character", "fate", "why"],
            ["2", "1", "3", "&#65;", "U+0041", "decoded", ""],
            ["8", "2", "1", "&#8364;", "U+20AC", "kept", "the session encoding lacks it"],
            ["16", "2", "9", "&#7;", "U+0000", "decoded", "fewer than two digits stand for U+0000"],
            ["21", "2", "14", "&#66x;", "U+0042", "decoded", "text behind the digits is dropped"],
            ["28", "2", "21", "&#x12345678;", "U+12345678", "kept", "above U+10FFFF"],
            ["41", "2", "34", "&#", "", "kept", "no ';' follows"]])

    def test_columns_count_characters(self):
        rows = self.succeed("decode", "uesc", "--explain", text="日本\\u0041\n😀 \\u12".encode()).decode().splitlines()[1:]
        self.assertEqual([row.split("\t")[:3] for row in rows], [["6", "1", "3"], ["18", "2", "3"]])
        # A byte that is no character counts as one.
        rows = self.succeed("decode", "ncr", "--explain", text=b"\xff\x80 &#65;\n\x80\xe9&#66;").decode().splitlines()[1:]
        self.assertEqual([row.split("\t")[:3] for row in rows], [["3", "1", "4"], ["11", "2", "3"]])

    def test_lines_and_files(self):
        path = self.file("in", b"x\n&#65;\n&#66;")
        whole = self.succeed("decode", "ncr", "--explain", path)
        self.assertEqual(self.succeed("decode", "ncr", "--explain", "--lines", path), whole)
        both = self.succeed("decode", "ncr", "--explain", path, path).decode().splitlines()
        self.assertEqual(both[0].split("\t")[0], "file")
        self.assertEqual([row.split("\t")[:2] for row in both[1:]], [[path, "2"], [path, "8"]] * 2)

    def test_long_and_strange_sources_are_shown_briefly(self):
        row = self.succeed("decode", "ncr", "--explain", text=b"&#65 \t\x7f\xff\n" + b"x" * 1000 + b";").decode().splitlines()[1]
        self.assertEqual(row.split("\t")[3], "&#65 \\x09\\x7F\\xFF\\x0A" + "x" * 39 + "...")
        rows = self.succeed("decode", "ncr", "--explain", text=b"&#65\x1f;&#65 ;&#65~;&#65\x7f;").decode().splitlines()[1:]
        self.assertEqual([row.split("\t")[3] for row in rows], ["&#65\\x1F;", "&#65 ;", "&#65~;", "&#65\\x7F;"])


class Encode(ToolTest):
    def test_examples_in_sessions_and_flavours(self):
        for notation, text, encoded in (("ncr", "café 😀", "caf&#233; &#128512;"),
                                        ("uesc", "café 😀", "caf\\u00E9 \\u0001F600"),
                                        ("uparen", "é😀", "<u00E9><u0001F600>")):
            for session, python in (("UTF-8", "utf-8"), ("GB18030", "gb18030")):
                for flavour in ("plain", "s"):
                    self.assertEqual(
                        self.succeed("encode", notation, "-s", session, "--flavour", flavour, text=text.encode(python)),
                        encoded.encode())
            self.assertEqual(self.succeed("encode", notation, "--flavour", "t", text=text.encode("utf-32-le")),
                             encoded.encode("utf-32-le"))

    def test_corpus_comes_back(self):
        for path in sorted(CORPUS.glob("*.txt")):
            if path.name in ("references.txt", "escapes.txt", "parens.txt"):
                continue
            for notation in ("ncr", "uesc", "uparen"):
                encoded = self.succeed("encode", notation, str(path))
                self.assertTrue(encoded.isascii())
                self.assertEqual(self.succeed("decode", notation, text=encoded), path.read_bytes(), (path, notation))

    def test_everything_that_grows_most_is_complete(self):
        for notation, unit, encoded in (("ncr", "\U000F423F", "&#999999;"), ("uesc", "\U0010FFFF", "\\u0010FFFF"),
                                        ("uparen", "\U0010FFFF", "<u0010FFFF>"), ("uparen", "a", "<u0061>"),
                                        ("uesc", "\x7f", "\\u007F"), ("uesc", "\\u", None)):
            output = self.succeed("encode", notation, text=(unit * 5000).encode())
            if encoded:
                self.assertEqual(output, encoded.encode() * 5000)
            else:
                self.assertEqual(self.succeed("decode", notation, text=output), (unit * 5000).encode())

    def test_invalid_text_is_not_dropped_silently(self):
        for notation in ("ncr", "uesc", "uparen"):
            self.fail_with(DATA, "invalid bytes FF at offset 4, line 1, column 4", "encode", notation, text="né:".encode() + b"\xff")

    def test_lines(self):
        self.assertEqual(self.succeed("encode", "uparen", "--lines", text=b"a\n\nb\n"), b"<u0061>\n\n<u0062>\n")
        self.assertEqual(self.succeed("encode", "uparen", text=b"a\n"), b"<u0061><u000A>")


class Measures(ToolTest):
    def test_one_text(self):
        for text, length, width in (("", 0, 0), ("ab  ", 2, 2), ("日本", 2, 4), ("  x", 3, 3), ("   ", 0, 0), ("😀é", 2, 2),
                                    ("가\u3000", 2, 4), ("x" * 300 + "  ", 300, 300)):
            for flavour, python in (("plain", "utf-8"), ("s", "utf-8"), ("t", "utf-32-le")):
                encoded = text.encode(python)
                self.assertEqual(self.succeed("length", "--flavour", flavour, text=encoded), b"%d\n" % length)
                self.assertEqual(self.succeed("width", "--flavour", flavour, text=encoded), b"%d\n" % width)
        self.assertEqual(self.succeed("length", "-s", "UTF-16BE", text="日本".encode("utf-16-be")), b"2\n")
        self.assertEqual(self.succeed("length", "-s", "ISO-2022-JP", text=b"a\x1b$BF|\x1b(B"), b"2\n")

    def test_several_files(self):
        one, two = self.file("one", b"abc"), self.file("two", b"")
        self.assertEqual(self.succeed("length", one, two, "-", text=b"x"), f"{one}\t3\n{two}\t0\n-\t1\n".encode())

    def test_lines(self):
        text = "日本語\n\nab  \nlast".encode()
        self.assertEqual(self.succeed("width", "--lines", text=text), b"1\t6\n2\t0\n3\t2\n4\t4\n")
        path = self.file("in", text)
        self.assertEqual(self.succeed("width", "--lines", path, path).splitlines()[4], f"{path}\t1\t6".encode())

    def test_carriage_return_and_line_feed_end_a_line_together(self):
        self.assertEqual(self.succeed("width", "--lines", text="日本\r\n\r\nab  \r\nc\r".encode()), b"1\t4\n2\t0\n3\t2\n4\t2\n")
        self.assertEqual(self.succeed("length", "--lines", "-s", "UTF-16LE", text="ab\r\nc\n".encode("utf-16-le")), b"1\t2\n2\t1\n")
        for text, width in ((b"ab\r\n", b"4\n"), (b"ab\r", b"3\n")):
            self.assertEqual(self.succeed("width", text=text), width)

    def test_json(self):
        path = self.file("in", "日本\nx".encode())
        objects = [json.loads(line) for line in self.succeed("width", "--lines", "--json", path).splitlines()]
        self.assertEqual(objects, [{"file": path, "line": 1, "width": 4}, {"file": path, "line": 2, "width": 1}])
        self.assertEqual(json.loads(self.succeed("length", "--json", text=b"abc")), {"file": "-", "length": 3})

    def test_invalid_text(self):
        for command in ("length", "width"):
            self.fail_with(DATA, "standard input: invalid bytes FF at offset 1", command, text=b"a\xff")
            result = self.fail_with(DATA, "line 2, column 2", command, "--lines", text=b"ok\nb\xff\n")
            self.assertEqual(result.stdout, b"1\t2\n")


if __name__ == "__main__":
    unittest.main()
