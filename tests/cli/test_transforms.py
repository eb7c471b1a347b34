"""The commands from and to."""

import pathlib
import subprocess
import unittest

from tool import CORPUS, DATA, DONE, LIBRARY, SANITIZED, TOOL, USAGE, ToolTest, peak_memory, run

FORMS = {"utf8": "utf-8", "utf16be": "utf-16-be", "utf16le": "utf-16-le", "utf32be": "utf-32-be", "utf32le": "utf-32-le"}


class Transforms(ToolTest):
    def test_ten_transforms_and_back_in_a_single_byte_session(self):
        text = "naïve café, ÄÖÜ ¿sí? £5\r\n\0\x7f end"
        session = text.encode("latin-1")
        for form, python in FORMS.items():
            for flavour in ("plain", "s"):
                options = ["-s", "ISO-8859-1", "--flavour", flavour]
                self.assertEqual(self.succeed("from", form, *options, text=text.encode(python)), session)
                self.assertEqual(self.succeed("to", form, *options, text=session), text.encode(python))

    def test_ten_transforms_of_the_wide_flavour(self):
        text = "4-byte café 日本 😀"
        for form, python in FORMS.items():
            self.assertEqual(
                self.succeed("from", form, "--flavour", "t", text=text.encode(python)), text.encode("utf-32-le"))
            self.assertEqual(
                self.succeed("to", form, "--flavour", "t", text=text.encode("utf-32-le")), text.encode(python))

    def test_corpus_in_every_form_and_many_sessions(self):
        for path in sorted(CORPUS.glob("*.txt")):
            content = path.read_bytes()
            text = content.decode()
            for form, python in FORMS.items():
                self.assertEqual(self.succeed("to", form, str(path)), text.encode(python), path)
                self.assertEqual(self.succeed("from", form, text=text.encode(python)), content, path)
            for session in ("GB18030", "UTF-7", "SCSU", "UTF-16LE", "UTF-32BE", "BOCU-1"):
                encoded = self.succeed("from", "utf8", "-s", session, str(path))
                self.assertEqual(self.succeed("to", "utf8", "-s", session, text=encoded), content, (path, session))

    def test_python_agrees_on_multibyte_sessions(self):
        for name, session, python in (("japanese.txt", "EUC-JP", "euc_jp"), ("korean.txt", "EUC-KR", "euc_kr"),
                                      ("russian.txt", "KOI8-R", "koi8_r"), ("greek.txt", "ISO-8859-7", "iso8859_7")):
            text = (CORPUS / name).read_text().replace("ё", "е").replace("Ё", "Е")
            text = "".join(c for c in text if c.encode(python, "ignore") and c not in "〜−☎…")
            self.assertEqual(self.succeed("from", "utf8", "-s", session, text=text.encode()), text.encode(python), name)

    def test_empty_input(self):
        for form in FORMS:
            self.assertEqual(self.succeed("from", form), b"")
            self.assertEqual(self.succeed("to", form), b"")

    def test_large_input_is_complete(self):
        text = "aé日😀" * 300_000
        self.assertEqual(self.succeed("to", "utf32be", text=text.encode()), text.encode("utf-32-be"))
        self.assertEqual(self.succeed("from", "utf16le", "-s", "UTF-7", text=text.encode("utf-16-le")),
                         self.succeed("from", "utf8", "-s", "UTF-7", text=text.encode()))

    def test_byte_order_marks_are_text(self):
        self.assertEqual(self.succeed("from", "utf16be", text=b"\xfe\xff\0A"), "\ufeffA".encode())
        self.assertEqual(self.succeed("to", "utf16be", "-s", "UTF-16", text=b"\0A"), b"\0A")

    def test_a_mark_says_the_order(self):
        text = "aé\n日😀\n\n"
        for form, unit in (("utf16", 2), ("utf32", 4)):
            for order in ("le", "be"):
                encoded = ("\ufeff" + text).encode(f"utf-{8 * unit}-{order}")
                for options in ([], ["--lines"], ["--bom"], ["-s", "UTF-7"]):
                    expected = text if "UTF-7" not in options else self.succeed(
                        "from", "utf8", "-s", "UTF-7", text=text.encode()).decode()
                    self.assertEqual(self.succeed("from", form, *options, text=encoded).decode(), expected)
            without = text.encode(f"utf-{8 * unit}-be")
            self.assertEqual(self.succeed("from", form, text=without).decode(), text)
            for short in (b"", b"\xff", b"\xff\xfe"[:unit - 1]):
                result = run("from", form, text=short)
                self.assertEqual(result.returncode, DATA if short else DONE)

    def test_marks_are_written_as_iconv_writes_them(self):
        for form, iconv in (("utf16", "UTF-16"), ("utf32", "UTF-32")):
            for text in (b"", "aé日😀\nb".encode()):
                expected = subprocess.run(["iconv", "-f", "UTF-8", "-t", iconv], input=text, stdout=subprocess.PIPE, check=True)
                for options in ([], ["--lines"], ["--bom"]):
                    self.assertEqual(self.succeed("to", form, *options, text=text), expected.stdout)

    def test_a_mark_on_wish(self):
        for form, python in FORMS.items():
            marked = "\ufeffé\nz".encode(python)
            self.assertEqual(self.succeed("to", form, "--bom", text="é\nz".encode()), marked)
            self.assertEqual(self.succeed("from", form, "--bom", text=marked), "é\nz".encode())
            self.assertEqual(self.succeed("from", form, "--bom", text="é\nz".encode(python)), "é\nz".encode())
            self.assertEqual(self.succeed("from", form, "--bom", text=marked + marked), "é\nz\ufeffé\nz".encode())

    def test_each_file_has_its_mark_and_the_output_one(self):
        little, big = self.file("little", b"\xff\xfea\0"), self.file("big", b"\xfe\xff\0b")
        plain = self.file("plain", b"\0c")
        self.assertEqual(self.succeed("from", "utf16", little, big, plain, little), b"abca")
        self.assertEqual(self.succeed("to", "utf16", self.file("a", b"a"), self.file("b", b"b")), b"\xff\xfea\0b\0")
        self.succeed("from", "utf16", "-i", little, big)
        self.assertEqual((pathlib.Path(little).read_bytes(), pathlib.Path(big).read_bytes()), (b"a", b"b"))
        self.succeed("to", "utf32", "-i", little, big)
        self.assertEqual(pathlib.Path(big).read_bytes(), b"\xff\xfe\0\0b\0\0\0")

    def test_marked_text_arrives_in_any_pieces(self):
        text = "aé日😀\n" * 40
        encoded = ("\ufeff" + text).encode("utf-16-le")
        for step in (1, 3, 7):
            process = subprocess.Popen([TOOL, "from", "utf16", "--library", LIBRARY], stdin=subprocess.PIPE,
                                       stdout=subprocess.PIPE, bufsize=0)
            for at in range(0, len(encoded), step):
                process.stdin.write(encoded[at:at + step])
            process.stdin.close()
            self.assertEqual(process.stdout.read().decode(), text)
            process.stdout.close()
            self.assertEqual(process.wait(), DONE)

    def test_problems_behind_a_mark_are_shown_as_they_stand(self):
        self.fail_with(DATA, "invalid bytes 00 D8 at offset 6, line 2, column 1: not valid in UTF-16LE", "from", "utf16",
                       text=b"\xff\xfea\0\n\0\x00\xd8b\0")
        self.fail_with(DATA, "bytes 78 at offset 4, line 1, column 2", "from", "utf16", text=b"\xff\xfea\0x")
        self.fail_with(DATA, "U+20AC at offset 4, line 1, column 2 does not exist", "from", "utf16", "-s", "latin1",
                       text=b"\xff\xfea\0\xac\x20")
        self.fail_with(USAGE, "--pad cannot go together with a byte order mark", "to", "utf16", "--pad", "4")
        self.fail_with(USAGE, "--pad cannot go together with a byte order mark", "to", "utf16be", "--bom", "--pad", "4")

    def test_several_files_and_standard_input_in_order(self):
        one, two = self.file("one", b"1\xe9"), self.file("two", b"2")
        self.assertEqual(self.succeed("to", "utf8", "-s", "latin1", one, "-", two, text=b"-"), "1é-2".encode())

    def test_invalid_text_names_the_place(self):
        for text, form, message in (
                (b"ok\nab\xff", "utf8", "standard input: invalid bytes FF at offset 5, line 2, column 3: "),
                (b"ok\xe2\x82", "utf8", "the text ends inside a character: bytes E2 82 at offset 2, line 1, column 3"),
                (b"\0A\xd8\0\0A", "utf16be", "invalid bytes D8 00 at offset 2, line 1, column 2"),
                (b"\0A\0", "utf16be", "ends inside a character"),
                (b"\0\0\x11\0", "utf32le", "invalid bytes 00 00 11 00 at offset 0")):
            self.assertEqual(self.fail_with(DATA, message, "from", form, text=text).stdout, b"")
        self.fail_with(DATA, "invalid bytes E9", "to", "utf8", text=b"caf\xe9!")

    def test_unmappable_character_names_the_place(self):
        self.fail_with(DATA, "character U+20AC at offset 4, line 2, column 1 does not exist in ISO-8859-1",
                       "from", "utf8", "-s", "ISO-8859-1", text="é \n€".encode())

    def test_unmappable_characters_are_replaced_on_wish(self):
        text = "aé€ Ж\u200b\U0001F600 z\n".encode() * 3
        def replaced(action, session, *options):
            return self.succeed("from", "utf8", f"--unmappable={action}", "-s", session, *options, text=text)
        kept = "aé&#8364; &#1046;&#8203;&#128512; z\n" * 3
        self.assertEqual(replaced("keep", "latin1"), kept.encode("latin1"))
        self.assertEqual(self.succeed("to", "utf8", "-s", "ibm-1047", text=replaced("keep", "ibm-1047")).decode(), kept)
        self.assertEqual(replaced("substitute", "latin1"), "aé\x1a \x1a\x1a\x1a z\n".encode("latin1") * 3)
        self.assertEqual(replaced("keep", "Shift_JIS"), "a&#233;&#8364; Ж&#8203;&#128512; z\n".encode("shift_jis") * 3)
        shifted = self.succeed("to", "utf8", "-s", "ISO-2022-JP", text=replaced("keep", "ISO-2022-JP")).decode()
        self.assertEqual(shifted, "a&#233;&#8364; Ж&#8203;&#128512; z\n" * 3)
        self.assertEqual(replaced("keep", "UTF-8"), text)
        for session in ("latin1", "Shift_JIS"):
            self.assertEqual(replaced("keep", session, "--lines"), replaced("keep", session))
            self.fail_with(DATA, "does not exist in", "from", "utf8", "--unmappable", "error", "-s", session, text=text)
        long = "€" * 400_000
        self.assertEqual(self.succeed("from", "utf8", "--unmappable=keep", "-s", "latin1", text=long.encode()),
                         b"&#8364;" * 400_000)
        # Invalid text stays an error, and so does an encoding without the characters of a reference.
        self.fail_with(DATA, "invalid bytes FF", "from", "utf8", "--unmappable=keep", "-s", "latin1", text=b"a\xff")
        self.fail_with(DATA, "does not exist in", "from", "utf8", "--unmappable=keep", "-s", "ibm-16684_P110-2003",
                       text="日\u0e01".encode())
        self.fail_with(USAGE, "unknown choice for --unmappable 'drop'", "from", "utf8", "--unmappable=drop")

    def test_problem_names_the_file(self):
        self.fail_with(DATA, "bad.txt: invalid bytes", "to", "utf8", self.file("bad.txt", b"\xff"))

    def test_several_files_up_to_the_problem(self):
        good, bad = self.file("good", b"good"), self.file("bad", b"half\xff")
        self.assertEqual(self.fail_with(DATA, "bad", "to", "utf8", good, bad, good).stdout, b"good")


class Padding(ToolTest):
    def test_fills_with_blanks(self):
        for form, python in list(FORMS.items())[1:]:
            for flavour, session in (("plain", "utf-8"), ("s", "utf-8"), ("t", "utf-32-le")):
                padded = self.succeed("to", form, "--pad", "24", "--flavour", flavour, text="é1".encode(session))
                unit = len("x".encode(python))
                self.assertEqual(padded.decode(python), "é1" + " " * (24 // unit - 2))

    def test_a_field_of_nothing(self):
        self.assertEqual(self.succeed("to", "utf16be", "--pad", "0"), b"")
        self.fail_with(DATA, "does not fit", "to", "utf16be", "--pad", "0", text=b"x")

    def test_exactly_full(self):
        self.assertEqual(self.succeed("to", "utf16le", "--pad", "4", text=b"ab"), b"a\0b\0")

    def test_text_that_does_not_fit(self):
        for pad in ("2", "4"):
            result = self.fail_with(DATA, "the text does not fit into the field", "to", "utf16be", "--pad", pad, text=b"abc")
            self.assertEqual(result.stdout, b"")

    def test_wrong_fields(self):
        self.fail_with(USAGE, "multiple of 2", "to", "utf16be", "--pad", "3")
        self.fail_with(USAGE, "multiple of 4", "to", "utf32le", "--pad", "6")
        self.fail_with(USAGE, "multiple of 4", "to", "utf16le", "--flavour", "t", "--pad", "2")
        self.fail_with(USAGE, "no padding for utf8", "to", "utf8", "--pad", "8")
        for wrong in ("-4", "99999999999999999999", "x", "1073741828"):
            self.fail_with(USAGE, "--pad", "to", "utf16be", "--pad", wrong)

    def test_each_line_is_a_field(self):
        self.assertEqual(self.succeed("to", "utf16be", "--pad", "4", "--lines", text=b"a\n\nbc").decode("utf-16-be"),
                         "a \n  \nbc")


class Lines(ToolTest):
    def test_same_bytes_as_the_whole(self):
        for path in sorted(CORPUS.glob("*.txt")):
            for form, python in FORMS.items():
                expected = path.read_text().encode(python)
                self.assertEqual(self.succeed("to", form, "--lines", str(path)), expected)
                self.assertEqual(self.succeed("from", form, "--lines", text=expected), path.read_bytes())

    def test_last_line_without_an_end_gets_none(self):
        for text in (b"", b"\n", b"a", b"a\n", b"\n\n", b"a\n\nb"):
            self.assertEqual(self.succeed("to", "utf8", "--lines", text=text), text)

    def test_line_feeds_count_at_whole_units_only(self):
        # U+010A and U+0A00 hold the byte 0A. U+0100 and U+0A41 hold a line end between them, in either order.
        text = "Ċ\u0a00\n\u0a0a\nĊ\u0100\u0a41\u0100\n"
        for form in ("utf16be", "utf16le", "utf32be", "utf32le"):
            self.assertEqual(self.succeed("from", form, "--lines", text=text.encode(FORMS[form])).decode(), text)

    def test_line_ends_follow_the_encoding(self):
        self.assertEqual(self.succeed("to", "utf16be", "-s", "ibm-1047", "--lines", text=b"\xc1\x25\xc2"), "A\nB".encode("utf-16-be"))

    def test_any_arrival_gives_the_same_bytes(self):
        text = ("ab\n日本😀\n" * 2000 + "end").encode("utf-16-le")
        expected = self.succeed("from", "utf16le", "--lines", text=text)
        for step in (1, 3, 1001, 65537):
            data = text[:3000] if step < 1000 else text
            process = subprocess.Popen([TOOL, "from", "utf16le", "--lines", "--library", LIBRARY],
                                       stdin=subprocess.PIPE, stdout=subprocess.PIPE, bufsize=0)
            for at in range(0, len(data), step):
                process.stdin.write(data[at:at + step])
            process.stdin.close()
            got = process.stdout.read()
            process.stdout.close()
            self.assertEqual(process.wait(), 0)
            self.assertEqual(got, expected if data is text else data.decode("utf-16-le").encode())

    def test_problem_names_line_and_offset_in_the_file(self):
        result = self.fail_with(DATA, "invalid bytes FF at offset 7, line 3, column 2", "to", "utf8", "--lines",
                                text=b"one\nt\nx\xff\nmore")
        self.assertEqual(result.stdout, b"one\nt\n")

    def test_stateful_encodings_cannot_be_cut(self):
        self.fail_with(USAGE, "--lines cannot cut UTF-7 text", "to", "utf8", "-s", "UTF-7", "--lines")

    def test_too_long_a_line(self):
        with open(self.folder / "long", "wb") as file:
            file.truncate((65 << 20))
        self.fail_with(DATA, "longer than 64 MiB", "to", "utf8", "--lines", str(self.folder / "long"))

    @unittest.skipIf(SANITIZED, "a sanitizer's own memory is not bounded")
    def test_memory_is_bounded(self):
        piece = b"a line of caf&#233; text that is repeated many times over\n" * 18_000
        for arguments in (["to", "utf16be"], ["decode", "ncr"], ["encode", "uparen"], ["width"]):
            process = subprocess.Popen([TOOL, *arguments, "--lines", "-j", "2", "--library", LIBRARY, "-o", "/dev/null"],
                                       stdin=subprocess.PIPE)
            for _ in range(64):
                process.stdin.write(piece)
            memory = peak_memory(process)
            process.stdin.close()
            self.assertEqual(process.wait(), 0)
            self.assertLess(memory, 16 << 10, arguments)  # KiB, for 64 MiB of text


if __name__ == "__main__":
    unittest.main()
