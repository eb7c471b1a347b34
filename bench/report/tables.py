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


def excused(judged):
    """For each limit a line with its reason, and one for each cell that has reached it instead of a goal."""
    for name, limit in goals.LIMITS.items():
        cells = [one for one in judged if name in one.at_limits]
        if cells:
            yield f"{name}: {limit['why']}"
            for one in cells:
                said = ", ".join(goal.said for goal, found in one.over if found == name)
                yield f"  {one.row} {one.size}: {shown(one.ours)} ({said})"


def missed(judged):
    """A line for each goal that is missed without a reason, worst first."""
    over = sorted(((*goal, one) for one in judged for goal in one.missed), key=lambda item: -item[0])
    return [f"{one.row} {one.size}: {excess:.2f} x the goal ({said})" for excess, said, one in over] or ["none"]


def count(judged):
    """How many goals are met, replaced by a limit, and missed."""
    all_goals = sum(len(one.goals) for one in judged)
    over = [limit for one in judged for _, limit in one.over]
    at_limit = sum(limit is not None for limit in over)
    return all_goals - len(over), at_limit, len(over) - at_limit


def means(judged):
    return [f"{family}: geometric mean {mean:.2f} x the best peer, goal {goal}"
            for family, (mean, goal) in goals.means(judged).items()]


def text(record):
    """Every cell of the library, then the goals that it meets, those that a limit excuses, those that it misses, and
    what was wrong."""
    judged = goals.judged(record["rows"])
    met, at_limit, missing = count(judged)
    lines = [*map(line, judged), "", "Goals replaced by a limit of the machine in this run:", *excused(judged),
             "", "Goals missed without a reason, worst first:", *missed(judged),
             "", f"{met} goals met, {at_limit} replaced by a limit of the machine, {missing} missed without a reason", *means(judged)]
    if goals.wrong(record["rows"]):
        lines += ["", "Wrong answers:", *goals.wrong(record["rows"])]
    return "\n".join(lines)
