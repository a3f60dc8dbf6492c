"""Figure 8: a process that takes backups for as long as it lives."""

from plots import lines
from report import plain_text
from sites import make_appliances


def cycles(bench):
    # Trace files that are full soon: the code that changes them is in memory, too, by the hundredth cycle.
    site = bench.site("cycles", make_appliances(["vault"], 1, 1), trace=["MAX_SIZE=16384"])
    taken = bench.keep("cycles", bench.programs.workflow("cycles", site, bench.scale.cycles))["samples"]
    first, last = taken[0], taken[-1]
    # Texts of the last backup that are still held differ in their length; what a backup leaves behind adds up.
    for what, name, unit, limit in (("bytes on the heap", "heap", "bytes", 4096), ("resident bytes", "resident", "bytes", 0),
                                    ("open descriptors", "descriptors", "", 0)):
        grown = last[name] - first[name]
        bench.absolute(8, f"growth of {what}, cycles {first['cycle']:,} to {last['cycle']:,}", limit, [grown], unit,
                       f"{first[name]:,} after cycle {first['cycle']:,}", plain_text)
    bench.plot("memory", "Backups of one device in one process", "backups since the start", "resident memory (MiB)",
               ["set xrange [0:*]", f"set yrange [0:{1.3 * last['resident'] / 2**20}]", "unset key", lines("memory")],
               [(sample["cycle"], sample["resident"] / 2**20) for sample in taken])
