"""The switched sources: all mutants in one library, of which RQ_MUTANT chooses one at run time (switch.h)."""
import re

from mutation import mutants

RUN_TIME = "kit/casemap/"  # tables of constants; their switched form is made when the library is loaded
BOUNDARY = {",", ";", "?", ":", "=", "return", "+=", "-=", "|=", "&=", "^=", "<<=", ">>=", "*=", "/=", "%=", "else"}
UNARY = {"!": "Not", "~": "Complement", "++": "Increment", "--": "Decrement"}


# Lines whose values must be constant for the compiler: what macros may paste, constraints, immediate operands.
CONSTANT = re.compile(r"\bRQ_[A-Z_]+\(|\brequires\b|\bconcept\b|\bsame_as\b"
                      r"|_mm\w*_(shuffle_epi32|extracti128|srli_si256|permute4x64|\w*gather)")
SIZE = r"(?:std::size_t|std::int8_t|(?:int|RQChar) \w+ =)"  # a constant that types depend on
CONSTANT_AT_RUN_TIME = re.compile(rf"std::array<\S+ |constexpr {SIZE}|<\d+>\(")


def can_be(text, mutant):
    """Whether a switch can stand there, as far as the text tells; the compiler knows more."""
    line = text[text.rfind("\n", 0, mutant.begin) + 1:text.find("\n", mutant.end)]
    postfix = text[mutant.begin:mutant.end] in ("++", "--") and re.match(r"[\w)\]]", text[mutant.begin - 1])
    at_run_time = mutant.file.startswith(RUN_TIME) and CONSTANT_AT_RUN_TIME.search(line)
    return not (postfix or at_run_time or mutant.file.endswith(".def") or CONSTANT.search(line))


def number(all_mutants):
    """Numbers the mutants of the tree from 1; those of one place follow each other and share the first one's number as
    place. A switch knows them by their distance from it: whoever runs a part of them numbers all the same."""
    previous = None
    for i, mutant in enumerate(all_mutants, 1):
        mutant.number = i
        same = previous and (previous.file, previous.begin) == (mutant.file, mutant.begin)
        mutant.place = previous.place if same else i
        previous = mutant


def at_run_time(text):
    """Constants as variables, what the compiler would refuse as a call."""
    text = re.sub(r"\bstatic_assert\(", "RQ_AT_RUN_TIME(", text)
    text = re.sub(r"^void (\w+\(\));$", r"inline void \1 { rqRefuse(); }", text, flags=re.M)
    text = re.sub(r"\bconstinit ", "", text)
    return re.sub(rf"\b(?:constexpr|consteval) (?!{SIZE}|auto\b.*=.*\bsize\b)", "inline const ", text)


def written(name, text, places):
    """The text with a switch at each of `places` ({begin: (first mutant, how many)})."""
    space = "rqr" if name.startswith(RUN_TIME) else "rqs"
    pieces, end = [], 0  # [text or bracket or operator, what it is]
    for match in mutants.TOKEN.finditer(text):
        pieces.append((text[end:match.start()], ""))
        token, end = match.group(), match.end()
        mutant, count = places.get(match.start(), (None, 0))
        if mutant is None:
            pieces.append((token, token))
        elif match.lastgroup in ("number", "character"):
            pieces.append((f"({space}::literal<{mutant}, {'true' if count > 1 else 'false'}>({token}))", ""))
        elif match.lastgroup == "flag":
            pieces.append((f"({space}::flag<{mutant}>({token}))", ""))
        elif token in UNARY:
            pieces.append((f"{space}::{UNARY[token]}<{mutant}>{{}} ->* {token}", ""))
        elif token in ("&&", "||"):
            pieces.append((f"{space}::on<{mutant}>()", token))
        else:
            pieces.append((f"{token} {space}::Place<{mutant}>{{}} {token}", ""))
    pieces.append((text[end:], ""))
    return conditions(iter(pieces), None)


def conditions(pieces, closing):
    """Joins pieces up to the closing bracket. && and || evaluate their right side or not, so their operands are
    needed: `a && b` becomes `on ^ ((on ^ a) && (on ^ b))`, which is `a || b` when the switch is on."""
    done, operand, stack = "", "", []  # stack: (left side, operator, switch), by precedence

    def fold(lowest):
        nonlocal operand
        while stack and (stack[-1][1] == "&&" or lowest == "||"):
            left, operator, switch = stack.pop()
            operand = (f" bool({switch} ^ (({switch} ^ bool({left})) {operator} ({switch} ^ bool({operand}))))"
                       if switch else f"{left}{operator}{operand}")

    for piece, kind in pieces:
        if kind == closing and kind is not None:
            fold("||")
            return done + operand + piece
        if kind in ("(", "[", "{"):
            operand += piece + conditions(pieces, {"(": ")", "[": "]", "{": "}"}[kind])
            if kind == "{":
                fold("||")
                done, operand = done + operand, ""
        elif kind in BOUNDARY:
            fold("||")
            done, operand = done + operand + piece, ""
        elif kind in ("&&", "||"):
            fold(kind)
            stack.append((operand, kind, piece if piece != kind else ""))
            operand = ""
        else:
            operand += piece
    fold("||")
    return done + operand


def switched(name, text, places):
    text = written(name, text, places)
    return at_run_time(text) if name.startswith(RUN_TIME) else text


def refused(errors, tree):
    """(file, line) of the places that a compiler's first messages name: where it says error, else what it was inlined
    from. Later ones may only follow from them."""
    place = re.escape(str(tree)) + r"/([\w/.]+):(\d+)"
    found = re.findall(rf"^{place}:\d+: error", errors, re.M)[:8] or re.findall(place, errors)
    return {(name, int(line)) for name, line in found}
