"""What bench/run prints at its end."""
from report import goals


def shown(cell):
    if "error" in cell:
        return cell["error"]
    rate = cell["bytes"] / cell["ns"] if cell["ns"] else 0
    return f"{cell['ns']:.1f} ns" if cell["ns"] < 1000 and cell["bytes"] <= 256 else f"{rate:.3g} GB/s"


def line(one):
    peer = f"; {one.name} {shown(one.peer)}, ratio {one.ratio:.2f}" if one.ratio else ""
    return f"{one.row} {one.size}: {shown(one.ours)}{peer}"


def missed(judged):
    """A line for each goal that is missed, worst first."""
    over = sorted(((*goal, one) for one in judged for goal in one.missed), key=lambda item: -item[0])
    return [f"{one.row} {one.size}: {excess:.2f} x the goal ({said})" for excess, said, one in over] or ["none"]


def text(record):
    """Every cell of the library, then the goals it misses, then what was wrong."""
    judged = goals.judged(record["rows"])
    lines = [*map(line, judged), "", "Goals missed, worst first:", *missed(judged)]
    if goals.wrong(record["rows"]):
        lines += ["", "Wrong answers:", *goals.wrong(record["rows"])]
    return "\n".join(lines)
