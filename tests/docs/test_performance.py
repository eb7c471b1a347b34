"""The figures of docs/performance.md and the charts are those of the data file that the page names."""
import hashlib
import json
import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).parents[2]
PAGE = (ROOT / "docs" / "performance.md").read_text()
CHARTS = ROOT / "docs" / "charts"
(DATA,) = (ROOT / "bench" / "results").glob("*.json")
ROWS = json.loads(DATA.read_text())["rows"]
NO_PEERS = ("ours", "host", "copy")
LINE = re.compile(r"^\| `(\w+/[^`]+)` \| (\S+) \| ([^|]*) \| ([^|]*) \| ([^|]*) \| ([^|]*) \| [^|]* \| [^|]* \|$", re.MULTILINE)


def figure(text, cell):
    """A figure of the page, as ns a call."""
    number, unit = re.match(r"([\d.e+-]+) (ns|GB/s)", text).groups()
    return float(number) if unit == "ns" else cell["bytes"] / float(number)


class Performance(unittest.TestCase):
    def test_the_page_names_the_one_data_file(self):
        self.assertEqual(set(re.findall(r"\.\./(bench/results/\S+?\.json)\)", PAGE)), {DATA.relative_to(ROOT).as_posix()})

    def test_every_line_of_the_tables_is_what_was_measured(self):
        count = 0
        for row, size, ours, best, name, ratio in LINE.findall(PAGE):
            cells = ROWS[row][size]
            with self.subTest(row, size=size):
                count += 1
                self.assertAlmostEqual(figure(ours, cells["ours"]) / cells["ours"]["ns"], 1, delta=0.06)
                peers = {column: cell["ns"] for column, cell in cells.items() if column not in NO_PEERS and "ns" in cell}
                self.assertEqual(bool(best.strip()), bool(peers))
                if peers:
                    fastest = min(peers, key=peers.get)
                    self.assertEqual(name.split(" (other")[0], fastest)
                    self.assertAlmostEqual(figure(best, cells[fastest]) / peers[fastest], 1, delta=0.06)
                    self.assertAlmostEqual(float(ratio) / (cells["ours"]["ns"] / peers[fastest]), 1, delta=0.06)
        self.assertGreater(count, 150)

    def test_every_chart_is_shown_and_drawn_from_the_data(self):
        shown = set(re.findall(r"\]\(charts/(\S+\.svg)\)", PAGE))
        self.assertGreater(len(shown), 10)
        self.assertEqual(shown, {path.name for path in CHARTS.iterdir()})
        digest = hashlib.sha256(DATA.read_bytes()).hexdigest()
        for name in shown:
            chart = (CHARTS / name).read_text()
            self.assertIn(f"<dc:source>{DATA.relative_to(ROOT).as_posix()}</dc:source>", chart, name)
            self.assertIn(f"<dc:identifier>{digest}</dc:identifier>", chart, name)


if __name__ == "__main__":
    unittest.main()
