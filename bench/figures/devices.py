"""Figure 5: the calls that are made for each device."""

from measure import alternate
from plots import lines
from report import median
from sites import make_appliances

NAMES = {"protected": "interpose to deinit_node of a device", "unprotected": "interpose of a device without group"}


def devices(bench):
    scale = bench.scale
    sites = {count: bench.site(f"devices{count}", make_appliances(["vault"], count // 100, 100),
                               unprotected=max(100, count // 10)) for count in scale.luns}
    rounds = alternate(scale.repetitions, {
        count: (lambda site=site: bench.programs.workflow("devices", site, scale.lookups))
        for count, site in sites.items()})
    samples = {kind: {count: [taken[kind] * 1e-9 for taken in rounds[count]] for count in sites} for kind in NAMES}
    bench.keep("devices", samples)
    small, large = scale.luns[0], scale.luns[-1]
    for kind, by_count in samples.items():
        bench.ratio(5, f"{NAMES[kind]}, {large:,} LUNs", 1.5, by_count[large], by_count[small], f"with {small:,} LUNs")
    bench.plot("devices", "Calls for one device, in random order", "LUNs of the host",
               "processor time a device (nanoseconds)", [
                   "set logscale x", "set format x '10^{%T}'", f"set xrange [{small // 2}:{large * 2}]", "set yrange [0:*]",
                   lines("interpose, claim, init\\_node, deinit\\_node", "interpose of a device without group"),
               ], [(count, *(median(samples[kind][count]) * 1e9 for kind in NAMES)) for count in sites])
