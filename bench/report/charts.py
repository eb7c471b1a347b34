"""Draws the charts of a full run as SVG. The same data file gives the same files, byte for byte."""
import hashlib
import pathlib
import re

import matplotlib

matplotlib.use("svg")
from matplotlib import pyplot, ticker  # noqa: E402, the backend must be chosen first

from report import goals  # noqa: E402

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOLDER = ROOT / "docs" / "charts"
OURS, SLOWER, GUIDE = "#1f4e9c", "#d55e00", "#b0b0b0"
# A peer looks the same wherever it appears: its colour and its marker tell it apart, for the colour-blind too.
PEERS = [(r"(mem|str(len|cpy)|wcs|wmem|mbs|tow|snprintf)", "#e69f00", "s"),  # the C library
         (r"(icu|u_)", "#56b4e9", "v"), (r"(highway|libunistring|absl)$", "#009e73", "^"),
         (r"(stringzilla|utf8proc|libxml2)$", "#cc79a7", "D"), (r"(hand|lead-bytes|loop-native)$", "#7a5c3e", "P"),
         (r"(gumbo|loop-v3)$", "#8a8a8a", "h"), (r"(simdjson|loop-native-)", "#d55e00", "X"),
         (r"(rapidjson|loop-v3-)", "#000000", "*")]
matplotlib.rcParams.update({
    "svg.hashsalt": "rquni", "svg.fonttype": "none", "font.family": "DejaVu Sans", "font.size": 9, "axes.titlesize": 10,
    "axes.spines.top": False, "axes.spines.right": False, "axes.grid": True, "grid.color": "#e6e6e6",
    "grid.linewidth": 0.6, "axes.axisbelow": True, "legend.frameon": False, "legend.fontsize": 7.5,
    "lines.linewidth": 1.3, "lines.markersize": 4, "figure.facecolor": "white"})


def units(size):
    """The number in a size's name: bytes, characters or threads."""
    number = re.search(r"(\d+)(KiB|MiB)?B?$", size)
    return int(number[1]) * {"KiB": 1 << 10, "MiB": 1 << 20}.get(number[2], 1)


def size_name(number, _=None):
    for scale, unit in ((1 << 20, "MiB"), (1 << 10, "KiB")):
        if number >= scale:
            return f"{number / scale:g} {unit}"
    return f"{number:g} B"


def time_name(ns, _=None):
    for scale, unit in ((1e9, "s"), (1e6, "ms"), (1e3, "µs")):
        if ns >= scale:
            return f"{ns / scale:.12g} {unit}"
    return f"{ns:.12g} ns"


def times_name(ratio, _=None):
    return f"{ratio:.12g} x"


def plain_name(number, _=None):
    return f"{number:.12g}"


def lighter(svg):
    """A chart without what nobody sees: decimals beyond the hundredth, turns by 0 degrees, indentation."""
    def shortened(tag):
        text = re.sub(r"(\d\.\d\d)\d+", r"\1", tag[0])
        text = re.sub(r' transform="rotate\(-?0 [^"]*"', "", text)
        return re.sub("'DejaVu Sans'", "'DejaVu Sans', Verdana, sans-serif", " ".join(text.split()))

    head, drawing = svg.split("<defs>", 1)
    return f"{head}<defs>" + re.sub(r"\n\s+", "\n", re.sub(r"<[^>]*>", shortened, drawing))


class Sheet:
    """A figure of panels with a title, and a footer that names its data."""

    def __init__(self, title, rows, columns, size, source):
        self.figure, panels = pyplot.subplots(rows, columns, figsize=size, squeeze=False, layout="constrained")
        self.panels = [panel for line in panels for panel in line]
        self.title, self.source = title, source
        self.figure.suptitle(title, fontsize=12, fontweight="bold", x=0.01, ha="left")
        self.figure.supxlabel(source["footer"], fontsize=7, color="#555555", x=0.01, ha="left")

    def save(self, name):
        FOLDER.mkdir(parents=True, exist_ok=True)
        path = FOLDER / f"{name}.svg"
        self.figure.savefig(path, metadata={"Date": None, "Creator": "bench/run", "Title": self.title,
                                            "Source": self.source["path"], "Identifier": self.source["digest"]})
        pyplot.close(self.figure)
        path.write_text(lighter(path.read_text()))
        return path


def curve(cells_by_size, column, value):
    points = [(x, value(cells[column])) for x, cells in cells_by_size if "ns" in cells.get(column, {})]
    return zip(*sorted(points)) if len(points) > 1 else None


def style(column):
    """Ours strong, the copy as a guide, each peer in its colour."""
    if column == "ours":
        return {"color": OURS, "marker": "o", "linewidth": 2.4, "zorder": 5, "label": "this library"}
    if column == "copy":
        return {"color": GUIDE, "linestyle": ":", "linewidth": 1.8, "label": "a copy (no peer)"}
    color, marker = next((color, marker) for pattern, color, marker in PEERS if re.match(pattern, column))
    return {"color": color, "marker": marker, "label": column}


def lines(panel, cells_by_size, value):
    """A line for each column with a figure at several sizes."""
    columns = {column for _, cells in cells_by_size for column in cells} - {"host"}
    for column in sorted(columns, key=lambda name: (name != "ours", name)):
        points = curve(cells_by_size, column, value)
        if points:
            panel.plot(*points, **style(column))


def size_axis(panel, ticks, formatter=size_name):
    panel.set_xscale("log", base=2)
    panel.xaxis.set_major_locator(ticker.FixedLocator(ticks))
    panel.xaxis.set_minor_locator(ticker.NullLocator())
    panel.xaxis.set_major_formatter(ticker.FuncFormatter(formatter))
    panel.tick_params(axis="x", labelsize=7.5)


def log_axis(axis, formatter):
    """A decade at least, so that noise does not look like a difference; labels as close as three of them need."""
    low, high = sorted(axis.get_view_interval())
    spare = max(10 / (high / low), 1) ** 0.5
    low, high = low / spare, high * spare
    axis.axes.set(**{f"{axis.axis_name}lim": (low, high)})
    for steps in ((1,), (1, 3), (1, 2, 5)):
        ticks = [step * 10.0**power for power in range(-6, 12) for step in steps if low <= step * 10.0**power <= high]
        if len(ticks) > 2:
            break
    axis.set_major_locator(ticker.FixedLocator(ticks))
    axis.set_major_formatter(ticker.FuncFormatter(formatter))
    axis.set_minor_locator(ticker.NullLocator())


def heading(panel, title, columns=3):
    """Title and legend above the panel, where they cover no line."""
    panel.legend(title=title, title_fontproperties={"size": 9.5, "weight": "bold"}, alignment="left", loc="lower left",
                 bbox_to_anchor=(-0.02, 1), ncols=columns, handlelength=1.8, labelspacing=0.25, columnspacing=1,
                 borderaxespad=0.1)


KIT = {"skMemScan": "skMemScan: find a byte", "skMemCmp": "skMemCmp: compare", "skMemSet": "skMemSet: fill",
       "skMemCpy": "skMemCpy: copy", "skStrUp": "skStrUp: ASCII upper case", "skMissArray": "skMissArray: find a NaN"}
# Family: title, panels per line, and of each panel its title, row, and the start of its sizes' names.
TIME = {
    "kit": ("Byte routines: time per byte over the size", 3, [(title, f"kit/{row}", "") for row, title in KIT.items()]),
    "wide": ("Wide strings: time per byte over the size", 2,
             [("case mapping, ASCII", "wide/rqzstup+rqzstlo ascii", ""),
              ("case mapping, Cyrillic", "wide/rqzstup+rqzstlo cyrillic", ""),
              ("rqzseqn, Cyrillic, all letters differ in case", "wide/rqzseqn cyrillic differing", ""),
              ("rqzseqn, Cyrillic, identical", "wide/rqzseqn cyrillic identical", "")]),
    "decoders": ("Decoders: time per byte of input over the size", 3,
                 [(f"{name}, {said}", f"codecs/{name}", start)
                  for start, said in (("plain-", "no escape"), ("dense-", "every letter escaped"))
                  for name in ("ulGetNCR", "ulGetUEsc", "ulGetUParen")]),
    "encoders": ("Encoders: time per byte of input over the size", 3,
                 [(f"{name}, {said}", f"codecs/{name}", start)
                  for start, said in (("plain-", "ASCII"), ("dense-", "Cyrillic"))
                  for name in ("ulPutNCR", "ulPutUEsc", "ulPutUParen")]),
    "metrics": ("Width and length: time per byte over the size, with the host's conversion", 2,
                [("width of UTF-32, Cyrillic", "metrics/T_ulGetUnicodeWidth cyrillic", ""),
                 ("width of UTF-32, CJK", "metrics/T_ulGetUnicodeWidth cjk", ""),
                 ("width of UTF-8, Cyrillic", "metrics/ulGetUnicodeWidth cyrillic", ""),
                 ("length of UTF-8, Cyrillic", "metrics/ulGetUnicodeLength cyrillic", "")]),
    "frame": ("Blank fill of a padded UTF-16 field: time per byte over the size", 1,
              [("ulPutUTF16L", "frame/ulPutUTF16L padding", "")]),
}
BYTE_SIZES = re.compile(r"(plain-|dense-)?\d+(B|KiB|MiB)?$")


def over_size(rows, row, start):
    """(bytes of input, cells) of each size of a row that is one text of that size."""
    return [(cells["ours"]["bytes"], cells) for size, cells in rows.get(row, {}).items()
            if BYTE_SIZES.match(size) and size.startswith(start) and size not in ("1", "16-64")
            and size.removeprefix(start)[0].isdigit() and cells.get("ours", {}).get("bytes", 0) >= 16]


def draw_time(rows, source):
    for family, (title, columns, panels) in TIME.items():
        count = -(-len(panels) // columns)
        sheet = Sheet(title, count, columns, (4.4 * columns if columns > 1 else 7, 3.7 * count + 0.7), source)
        for panel, (name, row, start) in zip(sheet.panels, panels):
            lines(panel, over_size(rows, row, start), lambda cell: cell["ns"] / cell["bytes"])
            panel.set_yscale("log")
            size_axis(panel, [2**power for power in range(4, 27, 4 if columns == 3 else 3)])
            heading(panel, name)
        for panel in sheet.panels[-columns:]:
            panel.set_xlabel("size of the input")
        for panel in sheet.panels[::columns]:
            panel.set_ylabel("ns per byte (lower is better)")
        for panel in sheet.panels:
            log_axis(panel.yaxis, plain_name)
        yield sheet.save(f"time-{family}")


# Chart: title, rows, sizes.
SPEED = {
    "kit-short": ("Byte routines, 1 to 64 units in random order", r"kit/", r"mix$"),
    "kit-4KiB": ("Byte routines, 4 KiB", r"kit/", r"4KiB$"),
    "kit-1MiB": ("Byte routines, 1 MiB", r"kit/", r"1MiB$"),
    "wide": ("Wide strings, 4096 characters", r"wide/", r"4096$"),
    "decoders": ("Decoders", r"codecs/ulGet\w+$",
                 r"(plain-64B|plain-4KiB|one-|sparse-|dense-mixed-|endless-|(plain|dense)-1MiB)"),
    "encoders": ("Encoders, the host's conversion included", r"codecs/ulPut\w+$",
                 r"(plain-64B|sparse-|dense-mixed-|(plain|dense)-1MiB)"),
    "metrics": ("Width and length, the host's conversion included", r"metrics/",
                r"(64|4096)$"),
}


def draw_speed(judged, source):
    for name, (title, rows, sizes) in SPEED.items():
        shown = [one for one in judged if re.match(rows, one.row) and re.match(sizes, one.size) and one.ratio]
        same_size = len({one.size for one in shown}) == 1
        sheet = Sheet(title, 1, 1, (8.6, 0.235 * len(shown) + 1.5), source)
        (panel,) = sheet.panels
        labels = []
        for y, one in enumerate(shown):
            speed = 1 / one.ratio
            panel.barh(y, speed - 1, left=1, height=0.66, color=OURS if speed > 1 else SLOWER)
            panel.annotate(f"{speed:.3g} x {one.name}", (1.01, y), xycoords=("axes fraction", "data"), va="center",
                           fontsize=7.5, color="#333333", annotation_clip=False)
            labels.append(one.row.split("/")[1] + ("" if same_size else f", {one.size}"))
        panel.set_xscale("log")
        panel.axvline(1, color="black", linewidth=1)
        panel.set_yticks(range(len(shown)), labels, fontsize=7.5)
        panel.set_ylim(len(shown) - 0.4, -0.6)
        panel.grid(axis="y", visible=False)
        log_axis(panel.xaxis, times_name)
        panel.set_xlabel("how many times as fast as the best peer")
        panel.set_ylabel("routine" if same_size else "routine, text")
        handles = [pyplot.Rectangle((0, 0), 1, 1, color=color) for color in (OURS, SLOWER)]
        panel.legend(handles, ["faster than the best peer", "slower"], ncols=2, handlelength=1, loc="lower right",
                     bbox_to_anchor=(1, 1), borderpad=0)
        yield sheet.save(f"speed-up-{name}")


GROWTH = {"ulGetNCR": ("&#", "&&#1", "one terminator at the end"),
          "ulGetUEsc": ("\\u", "\\", "\\uD83D"),
          "ulGetUParen": ("<U", "<U00E", "one terminator at the end")}
SHADES = [(OURS, "o"), ("#56b4e9", "s"), ("#009e73", "^")]
RIVALS = {"hand": ("#7a5c3e", "P"), "python": ("#e69f00", "v"), "perl": ("#cc79a7", "D")}


def draw_rivals(panel, unit, cells):
    for start, (color, marker) in RIVALS.items():
        for column in sorted({name for _, columns in cells for name in columns if name.startswith(start)}):
            points = curve(cells, column, lambda cell: cell["ns"])
            if points:
                panel.plot(*points, color=color, marker=marker, linestyle=":", label=f"{unit}: {column}")
    points = curve(cells, "copy", lambda cell: cell["ns"])
    panel.plot(*points, **style("copy"))


def draw_growth(rows, source):
    sheet = Sheet("Growth on adversarial input: time of one call over the size", 1, 3, (13.2, 5.4), source)
    for panel, (name, repeated) in zip(sheet.panels, GROWTH.items()):
        for unit, (color, marker) in zip(repeated, SHADES):
            cells = [(units(size), cells) for size, cells in rows.get(f"codecs/{name} growth {unit}", {}).items()]
            sizes, times = curve(cells, "ours", lambda cell: cell["ns"])
            label = unit if unit.startswith("one") else f"{unit} repeated"
            panel.plot(sizes, times, color=color, marker=marker, linewidth=2, label=label, zorder=5)
            if unit == repeated[0]:
                panel.plot(sizes, [times[-1] * size / sizes[-1] for size in sizes], color="black", linewidth=0.9,
                           linestyle="--", label="linear", zorder=6)
                draw_rivals(panel, unit, cells)
        panel.set_yscale("log")
        size_axis(panel, [2**power for power in range(14, 23, 2)])
        log_axis(panel.yaxis, time_name)
        heading(panel, name, 2)
        panel.set_xlabel("size of the input")
    sheet.panels[0].set_ylabel("time of a call")
    yield sheet.save("growth")


def draw_threads(rows, source):
    sheet = Sheet("Threads on one interface object: throughput", 1, 1, (7.6, 4.6), source)
    (panel,) = sheet.panels
    cores = source["cores"]
    looks = [(OURS, "o"), ("#e69f00", "s"), ("#009e73", "^"), ("#cc79a7", "D")]
    for (color, marker), row in zip(looks, sorted(row for row in rows if row.startswith("threads/")), strict=True):
        points = sorted((int(size), cells["ours"]["bytes"] / cells["ours"]["ns"]) for size, cells in rows[row].items()
                        if "ns" in cells.get("ours", {}))
        counts, rates = zip(*points)
        panel.plot(counts, rates, color=color, marker=marker, linewidth=2, label=row.split("/")[1])
        panel.plot(counts, [rates[0] * min(count, cores) for count in counts], color=color, linestyle="--", linewidth=0.9)
    panel.plot([], [], color="black", linestyle="--", linewidth=0.9, label=f"one thread's rate x threads, at most x {cores}")
    panel.set_yscale("log")
    size_axis(panel, [1, 2, 4, 8, 16], plain_name)
    log_axis(panel.yaxis, plain_name)
    panel.set_xlabel(f"threads (the machine has {cores} cores, shared with other work)")
    panel.set_ylabel("GB/s of input, all threads together")
    heading(panel, None, 2)
    yield sheet.save("threads")


def source_of(record, path):
    """What a chart says about its data: the file, a digest of it, the machine."""
    name = path.relative_to(ROOT).as_posix() if path.is_relative_to(ROOT) else path.name
    compiler = re.sub(r"^\S+ \(.*\) ", "g++ ", record["compiler"])
    return {"path": name, "digest": hashlib.sha256(path.read_bytes()).hexdigest(), "cores": record["cores"],
            "footer": f"Data: {name}\n{record['cpu']}, virtual machine with {record['cores']} shared cores, {compiler}, "
                      f"{record['date'][:10]}; the fastest of {record['passes']} passes"}


def draw(record, path):
    """Draws all charts of a full run afresh; returns their paths."""
    rows, source = record["rows"], source_of(record, path)
    for old in FOLDER.glob("*.svg"):
        old.unlink()
    return [*draw_time(rows, source), *draw_speed(goals.judged(rows), source), *draw_growth(rows, source),
            *draw_threads(rows, source)]
