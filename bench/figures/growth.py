"""Figure 10: how init, memory and look-ups grow with the LUNs of a host, 100 in each group."""

import shutil

import plots
from plots import lines
from report import median, plain_text
from sites import make_appliances

NO_MORE_THAN_LINEAR = 1.3
NO_SEARCH = 4  # a look-up waits for memory where the site does not fit into the caches, and does nothing more
NAMES = {"protected": "interpose to deinit_node", "unprotected": "interpose of a device without group"}


def growth(bench):
    scale = bench.scale
    empty = bench.site("growth_empty", make_appliances(["vault"], 1, 1))
    base = bench.programs.workflow("load", empty)["peak"]
    sites = {count: bench.site(f"growth{count}", make_appliances(["vault"], count // 100, 100),
                               unprotected=max(100, count // 10)) for count in scale.growth}
    taken = {count: [] for count in sites}
    for number in range(max(scale.growth.values())):
        for count, repetitions in scale.growth.items():
            if number < repetitions:
                taken[count].append(a_lun(bench.programs.workflow("devices", sites[count], scale.lookups), count, base))
    for site in sites.values():
        shutil.rmtree(site.folder)
    bench.keep("growth", taken)
    add_rows(bench, taken)
    draw(bench, taken)


def a_lun(measured, count, base):
    """What each LUN takes of init, and each look-up: seconds, bytes."""
    luns = count + max(100, count // 10)
    return {"init": measured["init"]["cpu"] / luns, "memory": (measured["peak"] - base) / luns,
            **{kind: measured[kind] * 1e-9 for kind in NAMES}}


def add_rows(bench, taken):
    counts = list(taken)
    middle, large = counts[1], counts[-1]
    # The rounds in which both were measured.
    series = {part: [[sample[part] for sample in taken[count][:len(taken[large])]] for count in (large, middle)]
              for part in taken[large][0]}
    site, beside = f"{large:,} LUNs in {large // 100:,} groups", f"with {middle:,}"
    bench.ratio(10, f"init: processor time a LUN, {site}", NO_MORE_THAN_LINEAR, *series["init"], beside)
    bench.ratio(10, f"init: peak memory a LUN, {site}", NO_MORE_THAN_LINEAR, *series["memory"], beside, show=bytes_text)
    for kind, name in NAMES.items():
        bench.ratio(10, f"{name}, {site}", NO_SEARCH, *series[kind], beside)


def bytes_text(value):
    return f"{plain_text(value)} bytes"


def draw(bench, taken):
    columns = [(count, median([sample["init"] for sample in samples]) * 1e6,
                median([sample["memory"] for sample in samples]),
                *(median([sample[kind] for sample in samples]) * 1e9 for kind in NAMES))
               for count, samples in taken.items()]
    counts = list(taken)
    bench.plot("growth", "", "LUNs of the host", "", [
        "set multiplot layout 1,3 title 'What a LUN costs as the host grows'",
        f"set logscale x; set format x '10^{{%T}}'; set xrange [{counts[0] // 2}:{counts[-1] * 2}]; set yrange [0:*]",
        "unset key; set title 'init'; set ylabel 'processor time a LUN (microseconds)'", lines("init"),
        "set title 'memory after init'; set ylabel 'peak memory a LUN (bytes)'", lines("memory", first=3),
        f"{plots.KEY}; set title 'calls for one device'; set ylabel 'processor time a device (nanoseconds)'",
        lines("interpose to deinit\\_node", "no group: interpose", first=4), "unset multiplot",
    ], columns, size=(960, 420))
