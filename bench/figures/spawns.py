"""Figure 4: starting a tool from hosts of any size."""

from measure import alternate
from plots import lines
from report import median

KINDS = {"runtime": "runByRuntime", "posix_spawn": "spawnBare", "fork": "forkAndExec"}


def spawns(bench):
    scale = bench.scale
    takers = {size: (lambda size=size: bench.programs.google("spawn_bench", scale.min_time, 3, {
        "BENCH_RESIDENT_MIB": str(size)})) for size in scale.resident}
    rounds = alternate(scale.repetitions // 2 + 1, takers)  # a fork of 4 GiB takes its time
    samples = {kind: {size: [value for taken in rounds[size] for value in taken[f"startTool<{name}>/real_time"]]
                      for size in scale.resident} for kind, name in KINDS.items()}
    bench.keep("spawn", samples)
    small, large = scale.resident[0], scale.resident[-1]
    own, bare, fork = samples["runtime"], samples["posix_spawn"], samples["fork"]
    bench.ratio(4, f"start of a tool, {large} MiB resident", 1.1, own[large], bare[large], "posix_spawn")
    bench.ratio(4, f"the same, {large} beside {small} MiB", 1.1, own[large], own[small], f"at {small} MiB")
    bench.ratio(4, f"the same, {large} MiB, beside fork", None, own[large], fork[large], "fork and exec")
    bench.plot("spawn", "Starting a tool", "resident memory of the host (MiB)", "time of a start (microseconds)", [
        "set logscale xy", "set xrange [5:*]", "set yrange [100:*]", "set format y '10^{%T}'",
        lines("runtime", "posix\\_spawn", "fork and exec"),
    ], [(size, *(median(samples[kind][size]) * 1e6 for kind in KINDS)) for size in scale.resident])
