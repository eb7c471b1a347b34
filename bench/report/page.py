"""The parts of docs/performance.md that are made from records; the rest of the page is written by hand."""
import re
import statistics

from report import charts, goals, tables

PAGE = charts.ROOT / "docs" / "performance.md"
FAMILIES = {
    "kit": "byte and 4-byte routines",
    "wide": "wide strings",
    "codecs": "escape notations",
    "metrics": "length and width",
    "frame": "blank fill of padded fields",
}


def short_name(record):
    """What stands at the head of a machine's column."""
    return re.sub(r"\(\w+\)", "", record["cpu"]) + f", {record['date'][:10]}"


def speed_ups(record, family):
    """How many times as fast as the best peer the library is, for each text of a family that has one."""
    return [1 / one.ratio for one in goals.judged(record["rows"]) if one.row.startswith(family + "/") and one.ratio]


def summary(records):
    heads = [f"{short_name(record)}: faster | median" for record in records.values()]
    lines = ["| | " + " | ".join(heads) + " |", "|---" * (1 + 2 * len(heads)) + "|"]
    for family, title in FAMILIES.items():
        line = f"| {title}"
        for record in records.values():
            ups = speed_ups(record, family)
            line += f" | {sum(up > 1 for up in ups)} of {len(ups)} | {statistics.median(ups):.2f} x"
        lines.append(line + " |")
    return lines


def reached(records):
    """How the goals stand on each machine whose limits were measured, and the limits that took the place of goals."""
    measured = [record for record in records.values() if "limits/call" in record["rows"]]
    if not measured:
        return ["No record here holds the machine's limits, so its goals are not judged."]
    heads = " | ".join(short_name(record) for record in measured)
    lines = [f"| goals | {heads} |", "|---" * (1 + len(measured)) + "|"]
    judged = [goals.judged(record["rows"]) for record in measured]
    counts = [tables.count(one) for one in judged]
    for i, title in enumerate(("met", "replaced by a limit of the machine", "missed without a reason")):
        lines.append(f"| {title} | " + " | ".join(str(count[i]) for count in counts) + " |")
    for family, goal in goals.MEANS.items():
        means = [goals.means(one)[family][0] for one in judged]
        lines.append(f"| {FAMILIES[family]}: geometric mean of the times, best peer 1, goal {goal} | " +
                     " | ".join(f"{mean:.2f}" for mean in means) + " |")
    lines += ["", f"| limit, and the texts that reach it instead of a goal | {heads} |", "|---" * (1 + len(measured)) + "|"]
    for name, limit in goals.LIMITS.items():
        cells = [sum(name in one.at_limits for one in all_cells) for all_cells in judged]
        if any(cells):
            lines.append(f"| {limit['why']} | " + " | ".join(map(str, cells)) + " |")
    return lines


def machines(records):
    """A paragraph for each record, with its file."""
    lines = []
    for path, record in records.items():
        lines += [f"- [`{path.name}`](../bench/results/{path.name}): {record['cpu']}, {record['cores']} processors; "
                  f"{record['caches']}; {record['compiler']}; commit {record['commit']}; {record['date']}; load "
                  f"{record['load']} at the start; the fastest of {record['passes']} passes. {record['versions']}."]
    return lines


def filled(text, made):
    """The page with its parts replaced; each stands between two comments that name it."""
    for name, lines in made.items():
        marked = re.compile(rf"(<!-- {name}: bench/run writes this -->\n).*?(<!-- end of {name} -->)", re.DOTALL)
        text, count = marked.subn(lambda match, part="\n".join(lines): f"{match[1]}\n{part}\n\n{match[2]}", text)
        if count != 1:
            raise ValueError(f"{PAGE}: {count} places for {name}")
    return text


def write(records, drawn):
    """`drawn` is the file that the charts show."""
    made = {"summary": summary(records), "goals": reached(records), "machines": machines(records),
            "charts": [f"The charts show [`{drawn.name}`](../bench/results/{drawn.name})."]}
    PAGE.write_text(filled(PAGE.read_text(), made))
