"""Figure 9: what people wait for at a site whose tools take their time, beside the same commands in a Bash script."""

from dataclasses import dataclass
from subprocess import PIPE, Popen

from appliance_sites import ApplianceSite, Tools
from measure import alternate
from plots import lines
from replay import read_record, write_bash
from report import median

STEPS = ("device list", "snapshot create", "snapshot import", "snapshot delete")
SHARE_OF_SCRIPT = 1 / 6
FROZEN_TOOLS = 2.0 / 0.3  # frozen for 2 s, where a tool takes 0.3 s


@dataclass
class Recorded:
    """A step of fictl: the site as it was before, and the commands that it sent."""

    before: ApplianceSite
    runs: list


def words_of(step, devices):
    return {"device list": ["device", "list", *devices],
            "snapshot create": ["snapshot", "create", "nightly", *devices, "--freeze", "true", "--thaw", "true"],
            "snapshot import": ["snapshot", "import", "nightly"],
            "snapshot delete": ["snapshot", "delete", "nightly"]}[step]


class Waiting:
    def __init__(self, bench):
        self.bench = bench
        self.folder = bench.work / "waiting"
        self.folder.mkdir()
        scale = bench.scale
        tools = Tools(bench.programs.folder.parents[1] / "bin", bench.programs.folder)
        self.fresh = ApplianceSite.make(self.folder / "fresh", tools, scale.hosts, scale.groups)
        self.copies_after = dict(zip(STEPS, ((0, 0), (scale.groups, 0), (scale.groups, scale.groups), (0, 0))))

    def check(self, site, step):
        found, wanted = site.copies(), self.copies_after[step]
        if found != wanted:
            raise RuntimeError(f"{step}: checkpoints and images of {found} groups, not of {wanted}")

    def record(self):
        """The commands of each step, and what the site was before it."""
        site = self.fresh.copy(self.folder / "now")
        devices = site.one_device_of_each_group()
        steps = {}
        for step in STEPS:
            before = site.copy(self.folder / f"before {step}".replace(" ", "_"))
            record = self.folder / f"record {step}"
            site.fictl(*words_of(step, devices), record=record)
            self.check(site, step)
            steps[step] = Recorded(before, read_record(record))
        return steps

    def by_fictl(self, delay, parallel=None):
        """Seconds of each step, and how long the application was frozen."""
        site = self.fresh.copy(self.folder / "now")
        if parallel:
            site.set_parallel(parallel)
        devices = site.one_device_of_each_group()
        seconds = {}
        for step in STEPS:
            seconds[step], answer = site.fictl(*words_of(step, devices), delay=delay)
            if step == "snapshot create":
                seconds["frozen"] = answer["snapshot"]["frozen_seconds"]
            self.check(site, step)
        return seconds

    def start_script(self, step, recorded, delay):
        """A Bash script with the commands of a step, on a site as it was before the step."""
        site = recorded.before.copy(self.folder / f"script {step} {delay}".replace(" ", "_"))
        runs = [([word.replace(f"{self.folder}/now/", f"{site.folder}/") for word in arguments], text)
                for arguments, text in recorded.runs]
        return site, Popen(["bash", str(write_bash(site.folder, runs))], stdout=PIPE, text=True,
                           env=site.environment(delay))

    def ended(self, step, started):
        site, script = started
        told, _ = script.communicate()
        if script.returncode != 0:
            raise RuntimeError(f"script of {step}: status {script.returncode}")
        self.check(site, step)
        return float(told)

    def by_script(self, steps, delay):
        """Seconds of each step."""
        return {step: self.ended(step, self.start_script(step, steps[step], delay)) for step in STEPS}

    def in_turns(self, delay, count, steps):
        """One sample of each after the other, count times: who -> step -> samples."""
        takers = {"fictl": lambda: self.by_fictl(delay), "script": lambda: self.by_script(steps, delay),
                  "tool": lambda: {"run": self.fresh.tool_seconds(delay)}}
        if delay == 0:
            takers["one by one"] = lambda: self.by_fictl(delay, parallel=1)
        return {who: by_step(samples) for who, samples in alternate(count, takers).items()}

    def at_once(self, delays, steps):
        """
        One sample of each, for tools that take long: both sleep nearly all of the time, so the scripts of all steps run
        side by side, each on a site of its own, and fictl meanwhile. delay -> who -> step -> samples
        """
        scripts = {delay: {step: self.start_script(step, steps[step], delay) for step in STEPS} for delay in delays}
        try:
            samples = {delay: {"fictl": by_step([self.by_fictl(delay)]),
                               "tool": by_step([{"run": self.fresh.tool_seconds(delay)}])} for delay in delays}
            for delay in delays:
                samples[delay]["script"] = by_step([{step: self.ended(step, started)
                                                     for step, started in scripts[delay].items()}])
        finally:
            for started in scripts.values():
                for _, script in started.values():
                    script.kill()
        return samples


def by_step(samples):
    return {step: [sample[step] for sample in samples] for step in samples[0]}


def waiting(bench):
    site = Waiting(bench)
    steps = site.record()
    samples = {delay: site.in_turns(delay, count, steps) for delay, count in bench.scale.short_delays.items()}
    samples.update(site.at_once(bench.scale.long_delays, steps))
    bench.keep("waiting", samples)
    slow = list(samples)[-1]
    add_rows(bench, slow, samples[slow], samples[0], {step: len(recorded.runs) for step, recorded in steps.items()})
    bench.tables.append(seconds_table(samples))
    draw(bench, samples)


def seconds_table(samples):
    """Figure 9 in seconds."""
    def cell(taken, step):
        return " beside ".join(f"{median(taken[who][step]):.2f}" for who in ("fictl", "script"))

    table = ["| Figure 9, seconds: `fictl` beside the Bash script | " + " | ".join(STEPS) + " | frozen in create |",
             "|---|" + "---|" * (len(STEPS) + 1)]
    for delay, taken in samples.items():
        cells = [cell(taken, step) for step in STEPS]
        table.append(f"| tools of {delay} ms | {' | '.join(cells)} | {median(taken['fictl']['frozen']):.2f} |")
    return "\n".join(table) + "\n"


def add_rows(bench, slow, late, instant, commands):
    site = f"{bench.scale.hosts} hosts, {bench.scale.groups} groups"
    for step in STEPS:
        bench.ratio(9, f"{step}, {site}, tools of {slow} ms", SHARE_OF_SCRIPT, late["fictl"][step], late["script"][step],
                    f"Bash script with the same {commands[step]} commands")
    bench.ratio(9, f"the application is frozen, tools of {slow} ms", FROZEN_TOOLS, late["fictl"]["frozen"], late["tool"]["run"],
                "for one run of a tool")
    for step in STEPS:
        bench.ratio(9, f"{step}, tools of 0 ms", 1.0, instant["fictl"][step], instant["one by one"][step],
                    "one command after the other")
        bench.ratio(9, f"{step}, tools of 0 ms", None, instant["fictl"][step], instant["script"][step], "Bash script")


def draw(bench, samples):
    columns = []
    for delay, taken in samples.items():
        pairs = [(median(taken["fictl"][step]), median(taken["script"][step])) for step in STEPS]
        columns.append((delay, *(seconds for pair in pairs for seconds in pair), median(taken["fictl"]["frozen"])))
    commands = ["set multiplot layout 2,2 title 'What people wait for, by the time that a tool takes'",
                "set logscale y", "set yrange [0.02:200]", f"set xrange [-{list(samples)[-1] * 0.05}:*]"]
    for number, step in enumerate(STEPS):
        titles = ["fictl", "Bash script, the same commands"]
        plot = lines(*titles, first=2 + 2 * number)
        if step == "snapshot create":
            plot += f", DATA using 1:{2 + 2 * len(STEPS)} with linespoints lt 3 title 'application frozen'"
        commands += [f"set title 'fictl {step}'", plot]
    bench.plot("waiting", "", "time of a run of a tool (milliseconds)", "time (seconds)", [*commands, "unset multiplot"],
               columns, size=(860, 700))
