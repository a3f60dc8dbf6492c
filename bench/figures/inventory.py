"""Figure 6: reading what the appliance lists."""

import sys
from pathlib import Path

from measure import alternate, cpu_seconds
from plots import bars
from report import median, plain_text
from sites import make_appliances

PEERS = Path(__file__).parents[1] / "peers"


def inventory(bench):
    groups = bench.scale.inventory_groups
    luns = groups * 100
    # One command after the other: what follows a tool's end is told from what follows the next one's.
    site = bench.site("inventory", make_appliances(["vault"], groups, 100), parallel=1)
    empty = bench.site("nearly_empty", make_appliances(["vault"], 1, 1), parallel=1)
    samples = bench.keep("inventory", alternate(bench.scale.repetitions, takers_of(bench, site, empty)))
    times = []
    for kind, tool, what in (("groups", "lmsh", f"reading {groups:,} group listings"),
                             ("disks", "kforutil", f"reading a disk listing of {luns:,} lines")):
        own = [load["tools"][tool]["own"]["cpu"] + load["tools"][tool]["read"]["cpu"] for load in samples["load"]]
        # Without what starting the interpreter takes.
        peers = {peer: [max(a - b, 1e-6) for a, b in zip(samples[f"{peer} {kind}"], samples[peer])]
                 for peer in ("mawk", "python")}
        bench.ratio(6, what, 1 / 3, own, peers["mawk"], "mawk")
        bench.ratio(6, what, None, own, peers["python"], "Python")
        times.append((kind, *(median(values) * 1e3 for values in (own, peers["mawk"], peers["python"]))))
    memory = [(a["peak"] - b["peak"]) / luns - site.name_bytes() for a, b in zip(samples["load"], samples["empty"])]
    bench.absolute(6, f"peak memory a LUN beyond its names, {luns:,} LUNs", 400, memory, "bytes",
                   f"{site.name_bytes():.0f} bytes of names", plain_text)
    bench.plot("listings", f"Reading the listings of {luns:,} LUNs in {groups:,} groups", "what is listed",
               "processor time (milliseconds)", bars("provider", "mawk", "Python"), times)


def takers_of(bench, site, empty):
    files = {"disks": str(site.answers / "kforutil.listdisk"), "groups": str(site.all_group_listings())}
    takers = {"load": lambda: bench.programs.workflow("load", site),
              "empty": lambda: bench.programs.workflow("load", empty),
              "mawk": lambda: cpu_seconds(["mawk", "BEGIN { exit }"]),
              "python": lambda: cpu_seconds([sys.executable, "-c", ""])}
    for kind, path in files.items():
        takers[f"mawk {kind}"] = lambda kind=kind, path=path: cpu_seconds(
            ["mawk", "-f", str(PEERS / f"{kind}.awk"), path])
        takers[f"python {kind}"] = lambda kind=kind, path=path: cpu_seconds(
            [sys.executable, str(PEERS / "listings.py"), kind, path])
    return takers
