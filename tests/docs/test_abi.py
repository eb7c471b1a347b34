"""Compares the tables of docs/abi.md with the headers, whose positions the compiler has checked."""
import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).parents[2]
PAGE = (ROOT / "docs" / "abi.md").read_text()
HEADERS = {path.name: path.read_text() for path in (ROOT / "frame").glob("*.h")}
EXTENT = {"transcoders": 14, "plain": 23, "served": 23, "wide": 23, "zero": 9}  # words of the larger members


def sections(title):
    """Sections of the page whose heading matches, as (match, text up to the next heading)."""
    for part in re.split(r"^#+ ", PAGE, flags=re.MULTILINE):
        heading, _, text = part.partition("\n")
        match = re.match(title, heading)
        if match:
            yield match, text


def rows(text):
    """The cells of each row of the tables in a text, without heads and rules."""
    for line in re.findall(r"^\|(.*)\|$", text, re.MULTILINE):
        cells = [cell.strip() for cell in line.split("|")]
        if re.match(r"`|\d", cells[0]):
            yield cells


def declared(table):
    """The members of a struct as (word, declaration), counted by size from the declarations alone."""
    (source,) = (text for text in HEADERS.values() if f"struct {table} {{" in text)
    body = source.split(f"struct {table} {{", 1)[1].split("\n}", 1)[0]
    body = re.sub(r"/\*.*?\*/", " ", body, flags=re.DOTALL)
    byte = 0
    for declaration in (" ".join(part.split()) for part in body.split(";") if part.strip()):
        gap = re.fullmatch(r"RQ_GAP\((\d+), (\d+)\)", declaration)
        if gap:
            byte = 8 * int(gap[2])
            continue
        yield byte // 8, declaration, byte % 8
        name = re.search(r"(\w+)(\[\w+\])?$", declaration)[1] if "(" not in declaration else ""
        count = re.search(r"\[(\d+)\]$", declaration)
        if declaration.startswith(("char ", "uint8_t ")) and "*" not in declaration:
            byte += int(count[1]) if count else 1
        else:
            byte += 8 * EXTENT.get(name, 1)


class Abi(unittest.TestCase):
    def test_every_word_of_every_table_is_drawn(self):
        tables = set()
        for match, text in sections(r"(RQ\w+)"):
            tables.add(match[1])
            with self.subTest(match[1]):
                members = [(word, declaration) for word, declaration, offset in declared(match[1])
                           if offset == 0 and not re.search(r"\b(empty|unused)\d+", declaration)]
                drawn = [(int(word), member.strip("`")) for word, member, use in rows(text)]
                self.assertEqual(drawn, members)
        structs = set(re.findall(r"struct (RQ\w+) \{", "".join(HEADERS.values())))
        self.assertEqual(tables, structs - {"RQOperations", "RQTranscoderPair", "RQPoolParameters"})

    def test_words_counted_here_are_those_that_the_compiler_checked(self):
        checked = re.findall(r"^RQ_WORD\((\w+), (\w+)(?:\[\w+\])?, (\d+)\);", "".join(HEADERS.values()), re.MULTILINE)
        self.assertGreater(len(checked), 40)
        for table, member, word in checked:
            if member != "transcoders":
                names = {re.search(r"\(\*(\w+)\)|(\w+)(?:\[\w+\])?$", declaration).group(0).strip("(*)").split("[")[0]:
                         counted for counted, declaration, _ in declared(table)}
                self.assertEqual(names[member], int(word), f"{table}::{member}")

    def test_transcoders_stand_in_pairs_of_their_forms(self):
        ((_, text),) = sections("Transcoders")
        checked = re.findall(r"^RQ_WORD\(RQInterface, transcoders\[\w+\], (\d+)\);", HEADERS["interface.h"],
                             re.MULTILINE)
        self.assertEqual([(int(to), int(come)) for to, come, *_ in rows(text)],
                         [(int(word), int(word) + 1) for word in checked])
        identifiers = {int(number) for number in re.findall(r"#define RQ_ENCODING_\w+ UINT32_C\((\d+)\)",
                                                            HEADERS["types.h"])}
        self.assertEqual({int(cells[3]) for cells in rows(text)}, identifiers)

    def test_operations_are_those_of_the_list(self):
        listed = re.findall(r"^OPERATION\((\d+), (\w+), (\w+), (\w+)\)", (ROOT / "frame" / "operations.def").read_text(),
                            re.MULTILINE)
        self.assertEqual(len(listed), 23)
        ((_, text),) = sections("Operations")
        drawn = [(int(plain), int(served), int(wide), slot.strip("`"), function.strip("`"), shape)
                 for plain, served, wide, slot, function, shape in rows(text)]
        self.assertEqual(drawn, [(59 + int(position), 82 + int(position), 105 + int(position), *names)
                                 for position, *names in listed])


if __name__ == "__main__":
    unittest.main()
