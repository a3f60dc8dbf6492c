"""Figure 3: a whole backup beside the same commands sent without the provider."""

import sys

from measure import alternate, script_seconds
from plots import SHADES
from replay import read_record, write_bash, write_list, write_python
from report import median
from sites import make_appliances


def backup(bench):
    programs = bench.programs
    appliances = make_appliances(["annex", "vault"], 8, 8)
    in_turn = bench.site("backup", appliances, parallel=1)
    side_by_side = bench.site("backup_default", appliances)
    record = bench.work / "record"
    programs.workflow("backup", in_turn, environment={"BENCH_RECORD": str(record)})
    runs = read_record(record)
    run_list, bash, python = (write(bench.work, runs) for write in (write_list, write_bash, write_python))

    def fresh(take):
        (in_turn.answers / "discovered").unlink(missing_ok=True)
        return take()

    samples = bench.keep("backup", alternate(2 * bench.scale.repetitions, {
        "provider": lambda: programs.workflow("backup", in_turn)["wall"],
        "default": lambda: programs.workflow("backup", side_by_side)["wall"],
        "loop": lambda: fresh(lambda: programs.floor(run_list)),
        "loop with scripts": lambda: fresh(lambda: programs.floor(run_list, "--scripts")),
        "bash": lambda: fresh(lambda: script_seconds(["bash", str(bash)])),
        "python": lambda: fresh(lambda: script_seconds([sys.executable, str(python)])),
    }))
    what = f"whole backup, 64 devices, {len(runs)} commands"
    one, default = f"{what}, one after the other", f"{what}, as configured by default"
    bare, scripted = "bare posix_spawn loop", "the same loop that writes and removes the scripts"
    bench.ratio(3, one, 1.05, samples["provider"], samples["loop"], bare)
    bench.ratio(3, one, 1.05, samples["provider"], samples["loop with scripts"], scripted)
    bench.ratio(3, "the floor itself", None, samples["loop with scripts"], samples["loop"], bare)
    bench.ratio(3, default, 1.05, samples["default"], samples["loop"], bare)
    bench.ratio(3, default, 1.0, samples["default"], samples["bash"], "Bash script")
    bench.ratio(3, default, 1.0, samples["default"], samples["python"], "Python script")
    names = {"provider": "one by one", "default": "default", "loop": "bare loop", "loop with scripts": "with scripts",
             "bash": "Bash", "python": "Python"}
    bench.plot("backup", f"A whole backup: {what.split(', ', 1)[1]}", "who sends the commands", "time (milliseconds)", [
        "set style fill solid 1 border lc rgb '#000000'", "set boxwidth 0.6", "set yrange [0:*]", "unset key",
        f"plot DATA using 0:2:xtic(1) with boxes lc rgb '{SHADES[1]}'",
    ], [(names[name], median(values) * 1e3) for name, values in samples.items()])
