"""A record: what one full run measured, and on what. As a file it is CSV under lines that begin with `# ` and describe
the run."""
import csv
import re

COLUMNS = ("row", "size", "column", "ns", "bytes", "characters", "outside", "note")
FACTS = ("date", "cpu", "cores", "caches", "compiler", "commit", "load", "passes", "versions")


def file_name(record):
    """One file for each machine and date."""
    cpu = re.sub(r"[^a-z0-9]+", "-", re.sub(r"\(\w+\)", "", record["cpu"]).lower()).strip("-")
    return f"{record['date'][:10]}-{cpu}.csv"


def line(row, size, column, cell):
    def figure(key, digits):
        return f"{cell[key]:.{digits}g}" if key in cell else ""

    return [row, size, column, figure("ns", 6), figure("bytes", 10), figure("characters", 10),
            "yes" if cell.get("outside") else "", cell.get("error", cell.get("note", ""))]


def write(record, path):
    with open(path, "w", encoding="utf-8", newline="") as file:
        for fact in FACTS:
            file.write(f"# {fact}: {record[fact]}\n")
        table = csv.writer(file, lineterminator="\n")
        table.writerow(COLUMNS)
        for row, sizes in record["rows"].items():
            for size, cells in sizes.items():
                table.writerows(line(row, size, column, cell) for column, cell in cells.items())


def cell_of(fields):
    if not fields["ns"]:
        return {"error": fields["note"]}
    cell = {key: float(fields[key]) for key in ("ns", "bytes", "characters") if fields[key]}
    if fields["outside"]:
        cell["outside"] = True
    if fields["note"]:
        cell["note"] = fields["note"]
    return cell


def read(path):
    """The facts of the run, and "rows": {row: {size: {column: cell}}}. A cell holds ns and bytes a call, or an error."""
    lines = path.read_text(encoding="utf-8").splitlines()
    facts = dict(line[2:].split(": ", 1) for line in lines if line.startswith("# "))
    rows = {}
    for fields in csv.DictReader(line for line in lines if not line.startswith("# ")):
        rows.setdefault(fields["row"], {}).setdefault(fields["size"], {})[fields["column"]] = cell_of(fields)
    return {**facts, "cores": int(facts["cores"]), "passes": int(facts["passes"]), "rows": rows}


def newest_of_each_machine(folder):
    """{path: record}, the oldest first."""
    newest = {}
    for path in sorted(folder.glob("*.csv")):
        record = read(path)
        newest.pop(record["cpu"], None)
        newest[record["cpu"]] = path, record
    return dict(newest.values())
