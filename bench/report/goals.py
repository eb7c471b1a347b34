"""Judges each cell of a record: the best peer, the goals of goals.toml, and the machine's limits that excuse a goal."""
import dataclasses
import fnmatch
import pathlib
import statistics
import tomllib

FILE = tomllib.loads((pathlib.Path(__file__).parents[1] / "goals.toml").read_text())
GOALS, LIMITS, MEANS = FILE["goals"], FILE["limits"], FILE["means"]
TOLERANCE = 1.05  # what a virtual machine is allowed to be off
NOT_PEERS = {"ours", "host", "copy"}  # a part of the row and a limit, not other ways to do its job


@dataclasses.dataclass
class Goal:
    """A goal of a cell: the longest time in ns that meets it, and how to say it."""
    bound: float
    said: str
    limits: list  # (longest time in ns, name) of each limit that the goal refers to and this run measured


@dataclasses.dataclass
class Judged:
    """A cell of the library beside its best peer."""
    row: str
    size: str
    cells: dict
    name: str | None  # of the best peer
    peer: dict | None
    goals: list

    @property
    def ours(self):
        return self.cells["ours"]

    @property
    def ratio(self):
        """Our time over the best peer's; None without peer or figure."""
        return self.ours["ns"] / self.peer["ns"] if self.peer and "ns" in self.ours else None

    def within(self, bound):
        return self.ours["ns"] <= TOLERANCE * bound

    def limit_of(self, goal):
        """The first limit that a goal was missed for; None when there is none."""
        return next((name for bound, name in goal.limits if self.within(bound)), None)

    @property
    def over(self):
        """The goals not met, each with the limit that excuses it or None."""
        return [(goal, self.limit_of(goal)) for goal in self.goals if not self.within(goal.bound)]

    @property
    def missed(self):
        """The goals missed without a reason, as (times the goal, goal)."""
        return [(self.ours["ns"] / max(goal.bound, 1e-9), goal.said) for goal, limit in self.over if not limit]

    @property
    def at_limits(self):
        """The limits that the cell has reached instead of a goal."""
        return sorted({limit for _, limit in self.over if limit})


def best(cells):
    peers = {name: cell for name, cell in cells.items() if name not in NOT_PEERS and "ns" in cell}
    return min(peers.items(), key=lambda item: item[1]["ns"], default=(None, None))


def wanted(row, size):
    for pattern, entries in GOALS.items():
        if fnmatch.fnmatchcase(row, pattern):
            for goal in entries:
                if size in goal.get("sizes", size).split():
                    yield goal


def reference(goal, rows, row, size, cells):
    """The cell whose time a goal is a multiple of, and its name."""
    of = goal.get("of", "best")
    if of == "best":
        return best(cells)[1], "best peer"
    if "/" not in of:
        return cells.get(of), of
    other = rows.get(of.replace("*", row.split("/")[1]), {}).get(goal.get("of_size", size), {})
    column = goal.get("column", "")
    cell = other.get(column) if column else best({k: v for k, v in other.items() if k != "ours"})[1]
    return cell, of + (" " + column if column else "")


def jump(rows):
    """What a jump through a table adds to a call, in ns, whatever the call's size."""
    prices = [cells["jump"]["ns"] - cells["nothing"]["ns"] for cells in rows.get("limits/call", {}).values()]
    return max(statistics.median(prices), 0) if prices else None


def bound_of(goal, rows, row, size, cells):
    """The longest time in ns that meets the goal, and how to say it; None where what it refers to was not measured."""
    ours = cells["ours"]
    if goal.get("own"):
        own = bound_of({**goal, "own": False}, rows, row, size, cells)
        return own and "ns" in cells.get("host", {}) and (own[0] + cells["host"]["ns"], "own share " + own[1])
    if "gbps" in goal:
        return ours["bytes"] / goal["gbps"], f">= {goal['gbps']} GB/s"
    if "ns" in goal:
        return goal["ns"], f"<= {goal['ns']:.12g} ns"
    factor = 1 / goal["share"] if "share" in goal else goal.get("factor", 1)
    plus = goal.get("plus", 0) + goal.get("plus_per_character", 0) * ours.get("characters", 0)
    if "plus_of" in goal:
        service = rows.get(goal["plus_of"], {}).get(goal["plus_size"], {}).get("host", {})
        plus += service.get("ns", 0) * ours["characters"]
    if goal.get("jump"):
        price = jump(rows)
        if price is None:
            return None
        plus += price
    if factor == 0:
        return plus, f"<= {goal['plus_per_character']} ns a character"
    cell, name = reference(goal, rows, row, size, cells)
    if not cell or "ns" not in cell:
        return None
    said = f"<= {factor:.3g} x {name}" if "share" not in goal else f">= {goal['share']} of {name}"
    bound = factor * cell["ns"] + plus
    if "or_copy" in goal:
        bound = max(bound, goal["or_copy"] * cells.get("copy", {}).get("ns", 0))
        said += f" or {goal['or_copy']} x copy"
    return bound, said + (f" + {plus:.3g} ns" if plus else "")


def goals_of(rows, row, size, cells):
    for goal in wanted(row, size):
        bound = bound_of(goal, rows, row, size, cells)
        if bound:
            limits = [(bound_of(LIMITS[name], rows, row, size, cells), name) for name in goal.get("limits", "").split()]
            yield Goal(*bound, [(limit[0], name) for limit, name in limits if limit])


def judged(rows):
    """A Judged for each cell that the library has."""
    made = []
    for row, sizes in rows.items():
        for size, cells in sizes.items():
            if "ours" in cells:
                goals = list(goals_of(rows, row, size, cells)) if "ns" in cells["ours"] else []
                made.append(Judged(row, size, cells, *best(cells), goals))
    return made


def means(judged):
    """For each family with such a goal the geometric mean of the ratios to the best peer, and the goal."""
    made = {}
    for family, goal in MEANS.items():
        ratios = [one.ratio for one in judged if one.row.startswith(family + "/") and one.ratio]
        if ratios:
            made[family] = statistics.geometric_mean(ratios), goal
    return made


def wrong(rows):
    return [f"{row}/{size}/{column}" for row, sizes in rows.items() for size, cells in sizes.items()
            for column, cell in cells.items() if cell.get("error") == "wrong answer"]
