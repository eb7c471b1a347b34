"""The SQL blocks of a page: statements, and behind each, in lines that begin with "-->", what it prints."""
import pathlib
import re

DOCS = pathlib.Path(__file__).parents[2] / "docs"
BLOCK = re.compile(r"^```(\w*)\n(.*?)^```$", re.MULTILINE | re.DOTALL)


def blocks(page):
    """The blocks of a page. It has no others, so that all of them are run."""
    for kind, text in BLOCK.findall((DOCS / page).read_text(encoding="utf-8")):
        assert kind == "sql", f"{page} has a block that is not run: {kind}"
        yield text


def expected(block):
    return "".join(line.removeprefix("-->").removeprefix(" ") for line in block.splitlines(True) if line.startswith("-->"))


def statements(block):
    return "".join(line for line in block.splitlines(True) if not line.startswith("-->"))
