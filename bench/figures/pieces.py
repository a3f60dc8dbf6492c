"""Figures 1 and 2: an entry point whose operation does nothing, and lines of the trace."""


def entry_points(bench):
    scale = bench.scale
    pairs = bench.programs.lock_pairs()
    samples = bench.keep("entry", bench.programs.google("entry_bench", scale.min_time, scale.repetitions,
                                                        {"BENCH_LOCK_PAIRS": str(pairs)}))
    bench.ratio(1, "gated entry point, nothing traced", 2.0, samples["gatedEntryPoint"], samples["lockPairsOfIt"],
                f"for its {pairs} lock pairs")


def trace_lines(bench):
    samples = bench.keep("trace", bench.programs.google("trace_bench", bench.scale.min_time, bench.scale.repetitions))
    bench.ratio(2, "trace line that is not written", 5, samples["disabledLine"], samples["levelComparison"],
                "for comparing two levels")
    for threads in (1, 8):
        place = f"/real_time/threads:{threads}"
        bench.ratio(2, f"trace line that is written, {threads} thread{'s' * (threads > 1)}", 1.5,
                    samples["enabledLine" + place], samples["rawSpdlogLine" + place], "raw spdlog")
