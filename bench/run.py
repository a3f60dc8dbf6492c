"""Takes all figures: run.py BUILD [--smoke] [--document]. script/bench builds first and calls it."""

import argparse
import math
import os
import platform
import shutil
import sys
import tempfile
from dataclasses import dataclass
from pathlib import Path

from measure import Programs, alternate, cpu_seconds, progress, script_seconds
from replay import read_record, write_bash, write_list, write_python
from report import absolute, markdown, median, plain_text, plot, put_between, ratio, write_json
from sites import Site, make_appliances

PEERS = Path(__file__).parent / "peers"
DOCUMENT = Path(__file__).parents[1] / "docs/performance.md"
# Sites, scripts of the shell and traces lie in memory, so that the disk of the machine is not what is measured.
MEMORY = Path("/dev/shm")
PLOTS = ("backup", "spawn", "devices", "listings", "memory")


@dataclass
class Scale:
    """How much of everything."""

    repetitions: int
    min_time: float  # seconds of one sample of a micro-benchmark
    luns: tuple  # sizes of the sites that devices are looked up in
    lookups: int
    inventory_groups: int  # of 100 LUNs
    make_groups: int  # of 100 LUNs
    import_luns: tuple
    resident: tuple  # MiB
    cycles: int


FULL = Scale(9, 0.05, (100, 1000, 10000, 100000), 20000, 1000, 100, (100, 1000), (10, 100, 1024, 4096), 10000)
SMOKE = Scale(1, 0.001, (100, 200), 200, 3, 2, (5, 10), (10, 20), 3)


class Bench:
    """Takes the figures in turn. Sites and other files that are only needed meanwhile go to work, results to out."""

    def __init__(self, programs, scale, work, out):
        self.programs = Programs(programs)
        self.scale = scale
        self.work = work
        self.out = out
        self.rows = []
        self.raw = {}

    def site(self, name, appliances, **more):
        return Site(self.work / name, self.programs.path("instant_tool"), appliances, **more)

    def keep(self, name, samples):
        self.raw[name] = samples
        return samples

    def entry_points(self):
        pairs = self.programs.lock_pairs()
        samples = self.keep("entry", self.programs.google("entry_bench", self.scale.min_time, self.scale.repetitions,
                                                          {"BENCH_LOCK_PAIRS": str(pairs)}))
        call, locks = samples["gatedEntryPoint"], samples["lockPairsOfIt"]
        self.rows.append(ratio(1, "gated entry point, nothing traced", 2.0, call, locks, f"for its {pairs} lock pairs"))
        self.rows.append(absolute(1, "the same by itself", 300e-9, call, "s"))

    def trace_lines(self):
        samples = self.keep("trace", self.programs.google("trace_bench", self.scale.min_time, self.scale.repetitions))
        self.rows.append(absolute(2, "trace line that is not written", 5e-9, samples["disabledLine"], "s"))
        for threads in (1, 8):
            place = f"/real_time/threads:{threads}"
            self.rows.append(ratio(2, f"trace line that is written, {threads} threads", 1.5,
                                   samples["enabledLine" + place], samples["rawSpdlogLine" + place], "raw spdlog"))

    def backup(self):
        site = self.site("backup", make_appliances(["annex", "vault"], 8, 8))
        record = self.work / "record"
        self.programs.workflow("backup", site, environment={"INSTANT_TOOL_RECORD": str(record)})
        runs = read_record(record)
        run_list, bash, python = (write(self.work, runs) for write in (write_list, write_bash, write_python))
        discovered = site.answers / "discovered"

        def fresh(take):
            discovered.unlink(missing_ok=True)
            return take()

        samples = self.keep("backup", alternate(2 * self.scale.repetitions, {
            "provider": lambda: self.programs.workflow("backup", site)["wall"],
            "floor": lambda: fresh(lambda: self.programs.floor(run_list)),
            "bash": lambda: fresh(lambda: script_seconds(["bash", str(bash)])),
            "python": lambda: fresh(lambda: script_seconds([sys.executable, str(python)])),
        }))
        what = f"whole backup, 64 devices, {len(runs)} commands"
        self.rows.append(ratio(3, what, 1.05, samples["provider"], samples["floor"], "bare posix_spawn loop"))
        self.rows.append(ratio(3, what, 1.0, samples["provider"], samples["bash"], "Bash script"))
        self.rows.append(ratio(3, what, 1.0, samples["provider"], samples["python"], "Python script"))
        plot(self.out, "backup", "A whole backup, seconds", [
            "set style fill solid 0.6", "set boxwidth 0.6", "set yrange [0:*]", "unset key",
            "plot DATA using 0:2:xtic(1) with boxes lc rgb '#3366aa'",
        ], [(name, median(values)) for name, values in samples.items()])

    def spawns(self):
        takers = {size: (lambda size=size: self.programs.google("spawn_bench", self.scale.min_time, 3, {
            "BENCH_RESIDENT_MIB": str(size)})) for size in self.scale.resident}
        rounds = alternate(self.scale.repetitions // 2 + 1, takers)  # a fork of 4 GiB takes its time
        kinds = {"runtime": "runByRuntime", "posix_spawn": "spawnBare", "fork": "forkAndExec"}
        samples = {kind: {size: [value for taken in rounds[size] for value in taken[f"startTool<{name}>/real_time"]]
                          for size in self.scale.resident} for kind, name in kinds.items()}
        self.keep("spawn", samples)
        small, large = self.scale.resident[0], self.scale.resident[-1]
        own, bare, fork = samples["runtime"], samples["posix_spawn"], samples["fork"]
        self.rows.append(ratio(4, f"start of a tool, {large} MiB resident", 1.1, own[large], bare[large], "posix_spawn"))
        self.rows.append(ratio(4, f"the same, {large} beside {small} MiB", 1.1, own[large], own[small], f"at {small} MiB"))
        self.rows.append(ratio(4, f"the same, {large} MiB, beside fork", None, own[large], fork[large], "fork and exec"))
        plot(self.out, "spawn", "Starting a tool, by resident memory of the host", [
            "set logscale xy", "set xlabel 'MiB'", "set ylabel 'microseconds'",
            "plot DATA using 1:2 with linespoints title 'runtime', DATA using 1:3 with linespoints title 'posix\\_spawn',"
            " DATA using 1:4 with linespoints title 'fork and exec'",
        ], [(size, *(median(samples[kind][size]) * 1e6 for kind in kinds)) for size in self.scale.resident])

    def devices(self):
        sites = {count: self.site(f"devices{count}", make_appliances(["vault"], count // 100, 100),
                                  unprotected=max(100, count // 10)) for count in self.scale.luns}
        rounds = alternate(self.scale.repetitions, {
            count: (lambda site=site: self.programs.workflow("devices", site, self.scale.lookups))
            for count, site in sites.items()})
        samples = {kind: {count: [taken[kind] * 1e-9 for taken in rounds[count]] for count in sites}
                   for kind in ("protected", "unprotected")}
        self.keep("devices", samples)
        small, large = self.scale.luns[0], self.scale.luns[-1]
        names = {"protected": "interpose to deinit_node of a device", "unprotected": "interpose of a device without group"}
        for kind, by_count in samples.items():
            self.rows.append(ratio(5, f"{names[kind]}, {large:,} LUNs", 1.5, by_count[large], by_count[small],
                                   f"with {small:,} LUNs"))
        plot(self.out, "devices", "Processor time a device, in random order", [
            "set logscale x", "set xrange [*:*]", "set xlabel 'LUNs'", "set ylabel 'nanoseconds'", "set yrange [0:*]",
            "plot DATA using 1:2 with linespoints title 'interpose, claim, init\\_node, deinit\\_node',"
            " DATA using 1:3 with linespoints title 'interpose of a device without group'",
        ], [(count, *(median(samples[kind][count]) * 1e9 for kind in samples)) for count in sites])

    def inventory(self):
        groups = self.scale.inventory_groups
        luns = groups * 100
        site = self.site("inventory", make_appliances(["vault"], groups, 100))
        empty = self.site("nearly_empty", make_appliances(["vault"], 1, 1))
        files = {"disks": str(site.answers / "kforutil.listdisk"), "groups": str(site.all_group_listings())}
        takers = {"load": lambda: self.programs.workflow("load", site),
                  "empty": lambda: self.programs.workflow("load", empty),
                  "mawk": lambda: cpu_seconds(["mawk", "BEGIN { exit }"]),
                  "python": lambda: cpu_seconds([sys.executable, "-c", ""])}
        for kind, path in files.items():
            takers[f"mawk {kind}"] = lambda kind=kind, path=path: cpu_seconds(
                ["mawk", "-f", str(PEERS / f"{kind}.awk"), path])
            takers[f"python {kind}"] = lambda kind=kind, path=path: cpu_seconds(
                [sys.executable, str(PEERS / "listings.py"), kind, path])
        samples = self.keep("inventory", alternate(self.scale.repetitions, takers))
        bars = []
        for kind, tool, what in (("groups", "lmsh", f"reading {groups:,} group listings"),
                                 ("disks", "kforutil", f"reading a disk listing of {luns:,} lines")):
            own = [load["tools"][tool]["own"]["cpu"] + load["tools"][tool]["read"]["cpu"] for load in samples["load"]]
            # Without what starting the interpreter takes.
            peers = {peer: [max(a - b, 1e-6) for a, b in zip(samples[f"{peer} {kind}"], samples[peer])]
                     for peer in ("mawk", "python")}
            self.rows.append(ratio(6, what, 1 / 3, own, peers["mawk"], "mawk"))
            self.rows.append(ratio(6, what, None, own, peers["python"], "Python"))
            bars.append((kind, *(median(values) * 1e3 for values in (own, peers["mawk"], peers["python"]))))
        memory = [(a["peak"] - b["peak"]) / luns - site.name_bytes() for a, b in zip(samples["load"], samples["empty"])]
        self.rows.append(absolute(6, f"peak memory a LUN beyond its names, {luns:,} LUNs", 400, memory, "bytes",
                                  f"{site.name_bytes():.0f} bytes of names", plain_text))
        plot(self.out, "listings", f"Reading the listings of {luns:,} LUNs, milliseconds", [
            "set style data histogram", "set style fill solid 0.6", "set yrange [0:*]",
            "plot DATA using 2:xtic(1) title 'provider', DATA using 3 title 'mawk', DATA using 4 title 'Python'",
        ], bars)

    def snapshots(self):
        groups = self.scale.make_groups
        appliances = make_appliances(["vault"], groups, 100)
        silent = self.site("make_silent", appliances, trace=["LEVEL=0"])
        usual = self.site("make_usual", appliances)
        imports = {count: self.site(f"import{count}", make_appliances(["vault"], 1, count))
                   for count in self.scale.import_luns}
        takers = {"silent": lambda: self.programs.workflow("make", silent)["own"]["wall"],
                  "usual": lambda: self.programs.workflow("make", usual)["own"]["wall"]}
        for count, site in imports.items():
            takers[count] = lambda site=site: self.programs.workflow("import", site)["own"]["wall"]
        samples = self.keep("snapshots", alternate(self.scale.repetitions, takers))
        lines = 6 * 100 * groups
        raw = [value * lines for value in self.raw["trace"]["rawSpdlogLine/real_time/threads:1"]]
        what = f"own time of make, {100 * groups:,} nodes in {groups} groups"
        self.rows.append(absolute(7, f"{what}, its lines not traced", 50e-3, samples["silent"], "s"))
        self.rows.append(absolute(7, f"{what}, its {lines:,} lines traced", 50e-3, samples["usual"], "s",
                                  f"raw spdlog: {median(raw) * 1e3:.0f} ms for as many lines"))
        small, large = self.scale.import_luns
        self.rows.append(ratio(7, f"own time of import, {large:,} LUNs of a group", 12, samples[large], samples[small],
                               f"for {small:,}"))

    def cycles(self):
        # Trace files that are full soon: the code that changes them is in memory, too, by the hundredth cycle.
        site = self.site("cycles", make_appliances(["vault"], 1, 1), trace=["MAX_SIZE=16384"])
        taken = self.keep("cycles", self.programs.workflow("cycles", site, self.scale.cycles))["samples"]
        first, last = taken[0], taken[-1]
        for what, name, unit in (("resident bytes", "resident", "bytes"), ("open descriptors", "descriptors", "")):
            grown = last[name] - first[name]
            self.rows.append(absolute(8, f"growth of {what}, cycles {first['cycle']:,} to {last['cycle']:,}", 0, [grown],
                                      unit, f"{first[name]:,} after cycle {first['cycle']:,}", plain_text))
        plot(self.out, "memory", "Resident memory over backups of one device", [
            "set xlabel 'cycle'", "set ylabel 'MiB'", "set yrange [0:*]", "unset key",
            "plot DATA using 1:2 with linespoints lc rgb '#3366aa'",
        ], [(sample["cycle"], sample["resident"] / 2**20) for sample in taken])

    def run(self):
        for part in (self.entry_points, self.trace_lines, self.backup, self.spawns, self.devices, self.inventory,
                     self.snapshots, self.cycles):
            progress(part.__name__.replace("_", " "))
            part()

    def report(self):
        table = markdown(self.rows)
        (self.out / "figures.md").write_text(table)
        write_json(self.out / "figures.json", self.rows, self.raw)
        return table


def machine():
    with open("/proc/cpuinfo", encoding="ascii") as info:
        model = next((line.split(":")[1].strip() for line in info if line.startswith("model name")), platform.machine())
    return f"{os.cpu_count()} processors ({model}), Linux {platform.release()}, release preset."


def check(bench):
    """What a smoke run asserts: everything was measured and every plot was drawn. It says nothing of times."""
    figures = {row.figure for row in bench.rows}
    assert figures == set(range(1, 9)), f"figures taken: {figures}"
    for row in bench.rows:
        assert math.isfinite(row.value) and row.measured and row.text(row.value), row
    for name in PLOTS:
        assert "</svg>" in (bench.out / f"{name}.svg").read_text(), f"plot {name}"


def document(bench, table):
    """Puts the table and the plots into the tree's document."""
    text = f"{table}\n{machine()}"
    put_between(DOCUMENT, "<!-- figures -->", "<!-- end of figures -->", text)
    for name in PLOTS:
        shutil.copy(bench.out / f"{name}.svg", DOCUMENT.with_suffix("") / f"{name}.svg")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("build", type=Path, help="folder of the release build")
    parser.add_argument("--smoke", action="store_true", help="take everything once and small, and check that it works")
    parser.add_argument("--document", action="store_true", help="put the table and the plots into docs/, too")
    options = parser.parse_args()
    folder = options.build.resolve() / "bench"
    in_memory = MEMORY.is_dir() and os.access(MEMORY, os.W_OK)
    with tempfile.TemporaryDirectory(dir=MEMORY if in_memory else folder, prefix="cdpfi-bench.") as work:
        os.environ["TMPDIR"] = work
        out = Path(work) if options.smoke else folder
        bench = Bench(folder / "bin", SMOKE if options.smoke else FULL, Path(work), out)
        bench.run()
        table = bench.report()
        if options.smoke:
            check(bench)
        if options.document:
            document(bench, table)
    print(table, end="")


if __name__ == "__main__":
    main()
