"""Takes all figures: run.py BUILD [--smoke] [--document]. script/bench builds first and calls it."""

import argparse
import math
import os
import platform
import shutil
import tempfile
from pathlib import Path

from figures.backup import backup
from figures.bench import FULL, SMOKE, Bench
from figures.cycles import cycles
from figures.devices import devices
from figures.growth import growth
from figures.inventory import inventory
from figures.pieces import entry_points, trace_lines
from figures.records import records
from figures.snapshots import snapshots
from figures.spawns import spawns
from figures.waiting import waiting
from measure import Programs, progress
from report import markdown, put_between, write_json

DOCUMENT = Path(__file__).parents[1] / "docs/performance.md"
# Sites, scripts of the shell and traces lie in memory, so that the disk of the machine is not what is measured.
MEMORY = Path("/dev/shm")
PARTS = (entry_points, trace_lines, backup, spawns, devices, inventory, snapshots, cycles, waiting, growth, records)
FIGURES = set(range(1, 12))


def run(bench, parts):
    for part in parts:
        progress(part.__name__.replace("_", " "))
        part(bench)


def report(bench):
    table = "\n".join([markdown(bench.rows), *bench.tables])
    (bench.out / "figures.md").write_text(table)
    write_json(bench.out / "figures.json", bench.rows, bench.raw)
    return table


def machine():
    with open("/proc/cpuinfo", encoding="ascii") as info:
        model = next((line.split(":")[1].strip() for line in info if line.startswith("model name")), platform.machine())
    return f"{os.cpu_count()} processors ({model}), Linux {platform.release()}, release preset."


def check(bench):
    """What a smoke run asserts: everything was measured and every plot was drawn. It says nothing of times."""
    figures = {row.figure for row in bench.rows}
    assert figures == FIGURES, f"figures taken: {figures}"
    for row in bench.rows:
        assert math.isfinite(row.value) and row.measured and row.text(row.value), row
    drawn = DOCUMENT.read_text()
    for name in bench.plots:
        assert "</svg>" in (bench.out / f"{name}.svg").read_text(), f"plot {name}"
        assert f"performance/{name}.svg" in drawn, f"plot {name} stands in no document"


def document(bench, table):
    """Puts the table and the plots into the tree's document."""
    text = f"{table}\n{machine()}"
    put_between(DOCUMENT, "<!-- figures -->", "<!-- end of figures -->", text)
    for name in bench.plots:
        shutil.copy(bench.out / f"{name}.svg", DOCUMENT.with_suffix("") / f"{name}.svg")


def arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("build", type=Path, help="folder of the release build")
    parser.add_argument("--smoke", action="store_true", help="take everything once and small, and check that it works")
    parser.add_argument("--document", action="store_true", help="put the table and the plots into docs/, too")
    parser.add_argument("--only", metavar="PART", choices=[part.__name__ for part in PARTS],
                        help="take this part's figures and nothing else")
    options = parser.parse_args()
    if options.only and (options.smoke or options.document):
        parser.error("--only takes a part; --smoke and --document need all of them")
    return options


def main():
    options = arguments()
    folder = options.build.resolve() / "bench"
    parts = [part for part in PARTS if options.only in (None, part.__name__)]
    in_memory = MEMORY.is_dir() and os.access(MEMORY, os.W_OK)
    with tempfile.TemporaryDirectory(dir=MEMORY if in_memory else folder, prefix="cdpfi-bench.") as work:
        os.environ["TMPDIR"] = work
        out = Path(work) / "out" if options.smoke else folder
        out.mkdir(exist_ok=True)
        bench = Bench(Programs(folder / "bin"), SMOKE if options.smoke else FULL, Path(work), out)
        run(bench, parts)
        table = report(bench)
        if options.smoke:
            check(bench)
        if options.document:
            document(bench, table)
    print(table, end="")


if __name__ == "__main__":
    main()
