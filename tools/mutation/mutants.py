"""The mutants of sources: which tokens, and what becomes of them."""
import dataclasses
import re

ROOMS = ("frame", "kit", "codecs", "unicode")

SWAPS = {
    "<=": "<", ">=": ">", "==": "!=", "!=": "==", "&&": "||", "||": "&&", "+=": "-=", "-=": "+=", "<<": ">>",
    ">>": "<<", "++": "--", "--": "++", "<": "<=", ">": ">=", "+": "-", "-": "+", "*": "+", "/": "*", "%": "/",
    "&": "|", "|": "&", "^": "|", "~": "", "!": "",
}
UNARY = ("++", "--", "~", "!")
TOKEN = re.compile(r"""//[^\n]*|/\*.*?\*/|R"(?P<raw>\w*)\(.*?\)(?P=raw)"|"(?:\\.|[^"\\])*"|(?m:^[ ]*\#(?:[^\n]*\\\n)*[^\n]*)
    |static_assert\s*\(.*?\);|template\s*<[^{;]*?>(?=\s)|\w*_cast<[^()]*>|operator\S+
    |(?P<character>'(?:\\.|[^'\\])')|(?P<number>\b(?:0x[0-9A-Fa-f]+|\d+)[uUlL]*\b)|(?P<flag>\b(?:true|false)\b)
    |[A-Za-z_]\w*|->|::|(?P<operator><<|>>|<=|>=|==|!=|&&|\|\||\+=|-=|\+\+|--|[-+*/%<>&|^~!])|\S""",
                   re.S | re.X)
ATTRIBUTES = re.compile(r"\[\[.*?\]\]")
OPENING = re.compile(r"[^(\[{=]*?\b(\w+|operator\S+?)\s*(?:<[^(]*>)?[(\[{=]")
CONTROL = ("if", "for", "while", "switch", "do", "else", "return", "constexpr", "namespace")
COMMENT = re.compile(r"\s*//.*")
ESCAPES = {"0": 0, "n": 10, "t": 9, "r": 13}


@dataclasses.dataclass(eq=False)
class Mutant:
    """A stretch of a file, what stands there instead, and a name that edits of other functions do not change."""
    file: str
    begin: int
    end: int
    other: str
    label: str = ""
    number: int = 0  # in the switched sources
    place: int = 0  # the number that its place is known by
    tests: tuple = ()  # those that reach it

    @property
    def function(self):
        """The file and the function or table that it stands in, as its name has them."""
        return ": ".join(self.label.split(": ")[:2])


def is_operator(text, match):
    """Binary operators of our format stand between blanks; what does not is a template, a pointer or a sign."""
    between = text[match.start() - 1] == " " and text[match.end():match.end() + 1] in (" ", "\n")
    return between != (match.group() in UNARY)


LITERAL = re.compile(r'\s*"')


def joins_a_literal(text, match):
    """A string cannot be subtracted."""
    return match.group() in ("+", "+=") and (text[match.start() - 2] == '"' or LITERAL.match(text, match.end()))


def alternatives(text, match):
    kind, token = match.lastgroup, match.group()
    if kind == "operator" and token in SWAPS and is_operator(text, match) and not joins_a_literal(text, match):
        return [SWAPS[token]]
    if kind == "flag":
        return ["false" if token == "true" else "true"]
    if kind == "character":
        code = ESCAPES.get(token[2], ord(token[2])) if token[1] == "\\" else ord(token[1])
        return [repr(chr(code + 1)) if chr(code + 1) != "'" else r"'\''"]
    if kind == "number":
        digits, suffix = re.fullmatch(r"(.*?)([uUlL]*)", token).groups()
        value = int(digits, 0) if digits.startswith("0x") else int(digits)
        return [str(value + 1) + suffix] + ([str(value - 1) + suffix] if value > 1 else [])
    return []


def slots(text):
    """Each operation changed for the next one of its shape: a slot table that names the wrong function."""
    found = list(re.finditer(r"^OPERATION\(\d+, \w+, (\w+), (\w+)\)", text, re.M))
    for i, match in enumerate(found):
        later = (other.group(1) for other in found[i + 1:] + found[:i]
                 if other.group(2) == match.group(2) and other.group(1) != match.group(1))
        yield match.start(1), match.end(1), next(later)


def surroundings(text, begin):
    """The function or table that a place stands in: the name before the first bracket of the nearest line that is
    indented less and opens no control statement."""
    lines = text[:text.find("\n", begin)].split("\n")
    indent = len(lines[-1]) - len(lines[-1].lstrip())
    for line in reversed(lines[:-1]):
        found = OPENING.match(ATTRIBUTES.sub("", line))
        depth = len(line) - len(line.lstrip())
        if not line.strip() or depth >= indent:
            continue
        indent = depth
        if found and found.group(1) not in CONTROL:
            return found.group(1) + ": "
    return ""


def label(name, text, begin, end, other):
    """The file, what the place stands in, and its line without blanks at the ends and without a comment."""
    first, last = text.rfind("\n", 0, begin) + 1, text.find("\n", end)
    before, after = text[first:begin].lstrip(), COMMENT.sub("", text[end:last])
    return f"{name}: {surroundings(text, begin)}{before}[{text[begin:end]}=>{other}]{after}"


def of_text(name, text):
    found = [(m.start(), m.end(), other) for m in TOKEN.finditer(text) for other in alternatives(text, m)]
    if name.endswith(".def"):
        found += slots(text)
    return [Mutant(name, *place, label(name, text, *place)) for place in found]


def of_tree(root, rooms=ROOMS):
    """All mutants, by file, and the texts of the files. Equal names are told apart by a count."""
    paths = sorted(path for room in rooms for path in (root / room).rglob("*")
                   if path.suffix in (".cpp", ".h", ".def"))
    texts = {str(path.relative_to(root)): path.read_text() for path in paths}
    mutants = [mutant for name, text in texts.items() for mutant in of_text(name, text)]
    seen = {}
    for mutant in mutants:
        seen[mutant.label] = seen.get(mutant.label, 0) + 1
        if seen[mutant.label] > 1:
            mutant.label += f" #{seen[mutant.label]}"
    return mutants, texts
