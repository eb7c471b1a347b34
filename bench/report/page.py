"""The parts of docs/performance.md that are made from a record; the rest of the page is written by hand."""
import re

from report import charts, goals, tables

PAGE = charts.ROOT / "docs" / "performance.md"
# What the page shows of each family; every cell is in the table beside the data file.
SHOWN = {
    "kit": (r"kit/", r"(mix|4KiB|1MiB)$"),
    "wide": (r"wide/", r"(16|4096)$"),
    "codecs": (r"codecs/[\w]+$", r"(plain-64B|plain-4KiB|one-|20000|endless|sparse-|dense-hex-|dense-mixed-|\w+-1MiB$)"),
    "metrics": (r"metrics/", r"(64|4096)$"),
    "frame": (r"frame/", r"(1|16B|4KiB|1MiB)$"),
}


def growth(rows):
    """A line for each decoder: how much longer 4 MiB take than 64 KiB, for the text that grows most beside its copy."""
    grown = {}
    for row, sizes in rows.items():
        match = re.match(r"codecs/(\w+) growth (.*)", row)
        if match:
            ours, copy = (sizes["4MiB"][column]["ns"] / sizes["64KiB"][column]["ns"] for column in ("ours", "copy"))
            grown.setdefault(match[1], []).append((ours / max(copy, 64), match[2], ours, copy))
    lines = ["| decoder | texts | grows most | 4 MiB over 64 KiB | a copy of it |", "|---|---|---|---|---|"]
    for decoder, texts in grown.items():
        _, worst, ours, copy = max(texts)
        lines.append(f"| `{decoder}` | {len(texts)} | `{worst}` | {ours:.0f} x | {copy:.0f} x |")
    return lines


def missed(judged):
    """A line for each row that misses a goal, worst first: its sizes, and how many times the longest time it takes there."""
    over = {}
    for one in judged:
        if one.missed:
            over.setdefault(one.row, []).append((max(one.missed)[0], one.size))
    worst_first = sorted(over.items(), key=lambda item: -max(item[1])[0])
    return [f"- `{row}`: " + ", ".join(f"{size} {excess:.2f} x" for excess, size in sizes) for row, sizes in worst_first]


def threads(rows):
    """Throughput in GB/s of input, a line for each operation."""
    lines = ["| operation | 1 | 2 | 4 | 8 | 16 threads |", "|---|---|---|---|---|---|"]
    for row, sizes in rows.items():
        if row.startswith("threads/"):
            rates = [sizes[count]["ours"]["bytes"] / sizes[count]["ours"]["ns"] for count in ("1", "2", "4", "8", "16")]
            lines.append(f"| `{row.split('/')[1]}` | " + " | ".join(f"{rate:.3g}" for rate in rates) + " |")
    return lines


def summary(judged):
    lines = ["| family | goals met | cells with a peer | faster than the best peer |", "|---|---|---|---|"]
    for family in SHOWN:
        ours = [one for one in judged if one.row.startswith(family + "/")]
        wanted = [one for one in ours if one.bounds]
        paired = [one for one in ours if one.ratio]
        lines.append(f"| {family} | {sum(one.met for one in wanted)} of {len(wanted)} | {len(paired)} | "
                     f"{sum(one.ratio < 1 for one in paired)} |")
    return lines


def outside(rows):
    """The fastest of each peer that runs elsewhere, so that they can be seen although they are rarely the best."""
    lines = ["| row | size | ours | peers outside the process, fastest first |", "|---|---|---|---|"]
    for row, sizes in rows.items():
        for size, cells in sizes.items():
            peers = sorted((cell["ns"], name, cell) for name, cell in cells.items() if cell.get("outside"))
            if peers and "growth" not in row:
                said = "; ".join(f"{name} {tables.shown(cell)}" + (f" ({cell['note']})" if "note" in cell else "")
                                 for _, name, cell in peers)
                lines.append(f"| `{row}` | {size} | {tables.shown(cells['ours'])} | {said} |")
    return lines


def parts(record, path):
    """{name of a part: its text}."""
    rows, judged = record["rows"], goals.judged(record["rows"])
    data = path.relative_to(charts.ROOT).as_posix()
    made = {
        "machine": [tables.machine(record), "",
                    f"Data: [`{data}`](../{data}); every cell: [`{path.stem}.md`](../{data[:-5]}.md)."],
        "summary": summary(judged),
        "versions": [", ".join(f"{name} {version}" for name, version in record["versions"].items()) + "."],
        "limits": tables.limits(rows),
        "growth": growth(rows),
        "threads": threads(rows),
        "outside": outside(rows),
        "missed": missed(judged),
    }
    for family, (row, size) in SHOWN.items():
        shown = [one for one in judged if re.match(row, one.row) and re.match(size, one.size)]
        made[family] = [*tables.HEAD, *map(tables.line, shown)]
    return {name: "\n".join(lines) for name, lines in made.items()}


def filled(text, made):
    """The page with its parts replaced; each stands between two comments that name it."""
    for name, part in made.items():
        marked = re.compile(rf"(<!-- {name}: bench/run writes this -->\n).*?(<!-- end of {name} -->)", re.DOTALL)
        text, count = marked.subn(lambda match, part=part: f"{match[1]}\n{part}\n\n{match[2]}", text)
        if count != 1:
            raise ValueError(f"{PAGE}: {count} places for {name}")
    return text


def write(record, path):
    PAGE.write_text(filled(PAGE.read_text(), parts(record, path)))
