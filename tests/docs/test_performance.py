"""The figures of docs/performance.md and the charts are those of the data files that they name."""
import csv
import hashlib
import html
import pathlib
import re
import statistics
import unittest

ROOT = pathlib.Path(__file__).parents[2]
PAGE = (ROOT / "docs" / "performance.md").read_text()
CHARTS = ROOT / "docs" / "charts"
RESULTS = ROOT / "bench" / "results"
NO_PEERS = ("ours", "host", "copy")
FAMILIES = {"byte and 4-byte routines": "kit", "wide strings": "wide", "escape notations": "codecs",
            "length and width": "metrics", "blank fill of padded fields": "frame"}


def facts_of(path):
    return dict(line[2:].split(": ", 1) for line in path.read_text().splitlines() if line.startswith("# "))


def best_of(path):
    """{(row, size): (speed-up over the best peer, its name)}"""
    lines = [line for line in path.read_text().splitlines() if not line.startswith("# ")]
    times = {}
    for cell in csv.DictReader(lines):
        if cell["ns"]:
            times.setdefault((cell["row"], cell["size"]), {})[cell["column"]] = float(cell["ns"])
    found = {}
    for text, columns in times.items():
        peers = {name: ns for name, ns in columns.items() if name not in NO_PEERS}
        if peers and "ours" in columns:
            fastest = min(peers, key=peers.get)
            found[text] = peers[fastest] / columns["ours"], fastest
    return found


def texts_of(chart):
    return [html.unescape(text) for text in re.findall(r"<text [^>]*>([^<]*)</text>", chart)]


class Performance(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        (name,) = re.findall(r"The charts show \[`(\S+\.csv)`\]", PAGE)
        cls.drawn = RESULTS / name
        cls.charts = {path.name: path.read_text() for path in CHARTS.iterdir()}

    def test_the_page_names_the_newest_file_of_each_machine(self):
        newest = {facts_of(path)["cpu"]: path.name for path in sorted(RESULTS.glob("*.csv"))}
        named = re.findall(r"^- \[`(\S+)`\]\(\.\./bench/results/\1\)", PAGE, re.MULTILINE)
        self.assertEqual(sorted(named), sorted(newest.values()))
        self.assertIn(self.drawn.name, named)

    def test_the_summary_is_what_was_measured(self):
        files = re.findall(r"^- \[`(\S+\.csv)`\]", PAGE, re.MULTILINE)
        (head,) = re.findall(r"^\| \| (.*: faster .*) \|$", PAGE, re.MULTILINE)
        dates = re.findall(r"(\d{4}-\d\d-\d\d): faster", head)
        self.assertEqual(dates, [name[:10] for name in files])
        measured = [best_of(RESULTS / name) for name in files]
        for title, family in FAMILIES.items():
            (line,) = re.findall(rf"^\| {title} \| (.*) \|$", PAGE, re.MULTILINE)
            figures = re.findall(r"(\d+) of (\d+) \| ([\d.]+) x", line)
            self.assertEqual(len(figures), len(files))
            for (faster, count, median), best in zip(figures, measured):
                ups = [up for (row, _), (up, _) in best.items() if row.startswith(family + "/")]
                self.assertEqual((int(faster), int(count)), (sum(up > 1 for up in ups), len(ups)), title)
                self.assertAlmostEqual(float(median), statistics.median(ups), delta=0.011, msg=title)

    def test_every_chart_is_shown_and_drawn_from_the_data(self):
        shown = set(re.findall(r"\]\(charts/(\S+\.svg)\)", PAGE))
        self.assertGreater(len(shown), 10)
        self.assertEqual(shown, set(self.charts))
        digest = hashlib.sha256(self.drawn.read_bytes()).hexdigest()
        for name, chart in self.charts.items():
            self.assertIn(f"<dc:source>{self.drawn.relative_to(ROOT).as_posix()}</dc:source>", chart, name)
            self.assertIn(f"<dc:identifier>{digest}</dc:identifier>", chart, name)

    def test_charts_hold_text_as_text_and_name_their_axes(self):
        for name, chart in self.charts.items():
            texts = texts_of(chart)
            self.assertLess(len(chart), 100_000, name)
            self.assertTrue(any(re.match("size of the input|threads|how many times", text) for text in texts), name)
            self.assertTrue(any(re.match("ns per byte|time of a call|GB/s|routine", text) for text in texts), name)

    def test_each_bar_says_the_speed_up_and_has_its_colour(self):
        best, count = best_of(self.drawn), 0
        for name, chart in self.charts.items():
            if not name.startswith("speed-up-"):
                continue
            texts = texts_of(chart)
            bars = [match for match in (re.fullmatch(r"([\d.e+]+) x (\S.*)", text) for text in texts) if match]
            first = texts.index("routine, text" if "routine, text" in texts else "routine") - len(bars)
            colours = re.findall(r'style="fill: (#1f4e9c|#d55e00)"', chart)
            for bar, label, colour in zip(bars, texts[first:], colours):
                count += 1
                up, peer = float(bar[1]), bar[2]
                routine, _, size = label.partition(", ")
                if name.startswith("speed-up-kit-"):  # all bars are of one size
                    size = name.removeprefix("speed-up-kit-").removesuffix(".svg").replace("short", "mix")
                rows = [text for text, (measured, fastest) in best.items()
                        if text[0].split("/")[1] == routine and text[1].startswith(size) and fastest == peer
                        and abs(measured / up - 1) < 0.006]
                self.assertTrue(rows, f"{name}: {label} {bar[0]}")
                self.assertEqual(colour == "#1f4e9c", best[rows[0]][0] > 1, f"{name}: {label}")
        self.assertGreater(count, 150)


if __name__ == "__main__":
    unittest.main()
