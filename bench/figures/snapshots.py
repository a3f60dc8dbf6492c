"""Figure 7: what make and import take beside the appliance's tools."""

from measure import alternate
from sites import make_appliances


def snapshots(bench):
    scale = bench.scale
    groups, nodes = scale.make_groups, 100 * scale.make_groups
    appliances = make_appliances(["vault"], groups, 100)
    silent = bench.site("make_silent", appliances, parallel=1, trace=["LEVEL=0"])
    usual = bench.site("make_usual", appliances, parallel=1)
    imports = {count: bench.site(f"import{count}", make_appliances(["vault"], 1, count), parallel=1)
               for count in scale.import_luns}
    takers = {"silent": lambda: bench.programs.workflow("make", silent),
              "usual": lambda: bench.programs.workflow("make", usual),
              "spdlog": lambda: bench.programs.spdlog_lines(bench.work / "spdlog.log", nodes, groups)}
    for count, site in imports.items():
        takers[count] = lambda site=site: bench.programs.workflow("import", site)["own"]["wall"]
    samples = bench.keep("snapshots", alternate(scale.repetitions, takers))
    own, least, traced = ([made[part]["cpu"] for made in samples[kind]]
                          for kind, part in (("silent", "own"), ("silent", "least"), ("usual", "own")))
    what = f"own processor time of make, {nodes:,} nodes in {groups} groups"
    bench.ratio(7, f"{what}, its lines not traced", 4, own, least, "to find each node and name its copy")
    bench.ratio(7, f"{what}, its {6 * nodes:,} lines traced", 1.3, traced, samples["spdlog"], "spdlog alone, the same lines")
    small, large = scale.import_luns
    bench.ratio(7, f"own time of import, {large:,} LUNs of a group", 12, samples[large], samples[small], f"for {small:,}")
