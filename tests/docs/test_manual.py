"""The manual pages: clean, and complete as to the tool's options and the exported names."""
import os
import pathlib
import re
import subprocess
import unittest

ROOT = pathlib.Path(__file__).parents[2]
PAGES = {path.name: path.read_text() for path in sorted((ROOT / "docs" / "man").glob("*.[1-9]"))}
TOOL = os.environ.get("RQ_TOOL")
COMMANDS = ("from", "to", "decode", "encode", "length", "width", "info", "encodings", "check-host")


def printed(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


class Manual(unittest.TestCase):
    def test_mandoc_has_no_complaint(self):
        self.assertGreater(len(PAGES), 5)
        result = subprocess.run(["mandoc", "-T", "lint", *PAGES], cwd=ROOT / "docs" / "man", capture_output=True, text=True)
        # What manuals the machine has is not the pages' business; those of our own are followed below.
        complaints = [line for line in (result.stdout + result.stderr).splitlines()
                      if "referenced manual not found" not in line and "outdated mandoc.db" not in line]
        self.assertEqual(complaints, [])

    def test_references_to_our_own_pages_lead_somewhere(self):
        for page, text in PAGES.items():
            for name, section in re.findall(r"^\.Xr (rq\w+) (\d)", text, re.MULTILINE):
                self.assertIn(f"{name}.{section}", PAGES, page)

    def test_every_export_has_its_page(self):
        exports = (ROOT / "cmake" / "exports.map.in").read_text()
        kit = (ROOT / "frame" / "kit_exports.def").read_text()
        names = set(re.findall(r"(\w+);", exports.split("local:")[0]) + re.findall(r"^RQ_KIT_EXPORT\((\w+)\)", kit, re.MULTILINE))
        slots = set(re.findall(r"^OPERATION\(\d+, (\w+),", (ROOT / "frame" / "operations.def").read_text(), re.MULTILINE))
        self.assertGreater(len(names), 40)
        library = "".join(text for page, text in PAGES.items() if page.endswith(".3"))
        self.assertEqual({name for name in names if not re.search(rf"^\.(Fn|Vt .*) ?\*?{name}\b", library, re.MULTILINE)},
                         set())
        self.assertEqual({slot for slot in slots if f".It Fa {slot} Ta" not in library}, set())

    @unittest.skipUnless(TOOL, "rqtext is not built")
    def test_the_tool_has_the_options_that_its_page_tells(self):
        helps = printed(TOOL, "--help") + "".join(printed(TOOL, command, "--help") for command in COMMANDS)
        offered = {option for line in re.findall(r"^  (-\S+)", helps, re.MULTILINE) for option in line.split(",")}
        described = set()
        for line in re.findall(r"^\.It Fl (.*)$", PAGES["rqtext.1"], re.MULTILINE):
            described |= {"-" + flag for flag in re.findall(r"(?:^|, Fl )(\S+)", line)}
        self.assertEqual(described, offered)

    @unittest.skipUnless(TOOL, "rqtext is not built")
    def test_the_tool_has_the_commands_that_its_page_tells(self):
        offered = set(re.findall(r"^  ([\w-]+)  ", printed(TOOL, "--help").split("Commands:")[1], re.MULTILINE))
        described = {name for line in re.findall(r"^\.It Cm (.*)$", PAGES["rqtext.1"], re.MULTILINE)
                     for name in re.findall(r"[\w-]+", line)}
        synopsis = set(re.findall(r"^\.Nm\n\.Cm (.*)$", PAGES["rqtext.1"], re.MULTILINE))
        self.assertEqual(described, offered)
        self.assertEqual({name for line in synopsis for name in line.split(" | ")}, offered)


if __name__ == "__main__":
    unittest.main()
