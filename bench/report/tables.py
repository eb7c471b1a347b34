"""The tables of a record, in Markdown."""
from report import goals

HEAD = ["| row | size | ours | best peer | its name | ratio | goal | met |", "|---|---|---|---|---|---|---|---|"]


def shown(cell):
    if "error" in cell:
        return cell["error"]
    rate = cell["bytes"] / cell["ns"] if cell["ns"] else 0
    return f"{cell['ns']:.1f} ns" if cell["ns"] < 1000 and cell["bytes"] <= 256 else f"{rate:.3g} GB/s"


def host(one):
    """What part of the time was the host's conversions, where it is worth telling."""
    part = one.cells.get("host", {}).get("ns", 0) / one.ours.get("ns", 1)
    return f", host {part:.0%}" if part >= 0.05 else ""


def line(one):
    ratio = "" if one.ratio is None else f"{one.ratio:.2f}" if one.ratio >= 0.095 else f"{one.ratio:.2g}"
    met = {None: "", True: "yes", False: "**no**"}[one.met]
    peer = (one.name or "") + (f" ({one.peer['note']})" if one.peer and "note" in one.peer else "")
    return (f"| `{one.row}` | {one.size} | {shown(one.ours)}{host(one)} | {shown(one.peer) if one.peer else ''} | {peer} | {ratio} | "
            f"{'; '.join(said for _, said in one.bounds)} | {met} |")


def missed(judged):
    """A line for each goal that is missed, worst first."""
    over = sorted(((*goal, one) for one in judged for goal in one.missed), key=lambda item: -item[0])
    return [f"- `{one.row}` {one.size}: {excess:.2f} x the goal ({said})" for excess, said, one in over] or ["none"]


def limits(rows):
    lines = ["| limit | size | 256-bit | 512-bit |", "|---|---|---|---|"]
    for row, sizes in rows.items():
        if row.startswith("limits/"):
            lines += [f"| {row[7:]} | {size} | {shown(cells['256-bit'])} | {shown(cells['512-bit'])} |"
                      for size, cells in sizes.items()]
    return lines


def machine(record):
    about = record["machine"]
    caches = ", ".join(f"{name} {size}" for name, size in about["caches"])
    return (f"{about['cpu']}, {about['cores']} cores; {caches}; {about['compiler']}; commit {about['commit']}; "
            f"{about['date']}; load {about['load']:.2f} at the start; {record['passes']} passes.")


def full(record):
    """The file that lies beside a record: every cell of the library."""
    rows, judged = record["rows"], goals.judged(record["rows"])
    lines = [f"# Benchmarks, {record['machine']['date']}", "", machine(record), "",
             f"Of each cell the fastest pass counts; goals allow {goals.TOLERANCE - 1:.0%}. GB = 10^9 bytes of input. The "
             "ratio is our time over the best peer's. \"host\" is the part of the time that the transcoder calls took.", "",
             "## The machine's limits", "", *limits(rows), "",
             "## Rows", "", *HEAD, *[line(one) for one in judged], "",
             "## Missed, worst first", "", *missed(judged)]
    if goals.wrong(rows):
        lines += ["", "## Wrong answers", "", *[f"- {cell}" for cell in goals.wrong(rows)]]
    return "\n".join(lines) + "\n"
