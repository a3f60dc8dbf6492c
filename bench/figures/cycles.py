"""Figure 8: a process that takes backups for as long as it lives."""

from plots import lines
from report import plain_text
from sites import make_appliances


def cycles(bench):
    # Trace files that are full soon: the code that changes them is in memory, too, by the hundredth cycle.
    site = bench.site("cycles", make_appliances(["vault"], 1, 1), trace=["MAX_SIZE=16384"])
    taken = bench.keep("cycles", bench.programs.workflow("cycles", site, bench.scale.cycles))["samples"]
    first, last = taken[0], taken[-1]
    for what, name, unit in (("resident bytes", "resident", "bytes"), ("open descriptors", "descriptors", "")):
        grown = last[name] - first[name]
        bench.absolute(8, f"growth of {what}, cycles {first['cycle']:,} to {last['cycle']:,}", 0, [grown], unit,
                       f"{first[name]:,} after cycle {first['cycle']:,}", plain_text)
    bench.plot("memory", "Backups of one device in one process", "backups since the start", "resident memory (MiB)",
               ["set xrange [0:*]", "set yrange [0:*]", "unset key", lines("memory")],
               [(sample["cycle"], sample["resident"] / 2**20) for sample in taken])
