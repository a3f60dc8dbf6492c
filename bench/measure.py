"""Runs the programs of the benchmarks and gives what they measured."""

import json
import os
import resource
import subprocess
import time


class Programs:
    def __init__(self, folder):
        self.folder = folder

    def path(self, name):
        return str(self.folder / name)

    def workflow(self, command, site, *arguments, environment=None):
        return json.loads(self._output([self.path("cdpfi_workflow"), command, str(site.folder), *map(str, arguments)],
                                       environment))

    def lock_pairs(self):
        return int(self._output([self.path("lock_count")]))

    def google(self, name, min_time, repetitions, environment=None):
        """Samples of each benchmark of a program, in seconds; its repetitions were taken in turns."""
        command = [self.path(name), "--benchmark_format=json", f"--benchmark_min_time={min_time}",
                   f"--benchmark_repetitions={repetitions}", "--benchmark_enable_random_interleaving=true"]
        report = json.loads(self._output(command, environment))
        scale = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3}
        samples = {}
        for run in report["benchmarks"]:
            if run.get("error_occurred"):
                raise RuntimeError(f"{name}: {run['name']}: {run['error_message']}")
            if run["run_type"] == "iteration":
                samples.setdefault(run["run_name"], []).append(run["real_time"] * scale[run["time_unit"]])
        return samples

    def floor(self, run_list, *options):
        """Seconds of the runs of a list by spawn_floor."""
        return float(self._output([self.path("spawn_floor"), *options, str(run_list)]).split()[0])

    def spdlog_lines(self, file, nodes, groups):
        """Processor seconds of spdlog alone for the lines that make traces of so many nodes."""
        return float(self._output([self.path("spdlog_lines"), str(file), str(nodes), str(groups)]))

    @staticmethod
    def _output(command, environment=None):
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                              env={**os.environ, **(environment or {})})
        if done.returncode != 0:
            raise RuntimeError(f"{' '.join(command)}: status {done.returncode}: {done.stderr.strip()}")
        return done.stdout


def cpu_seconds(command):
    """User and system time of a program that must succeed."""
    def children():
        usage = resource.getrusage(resource.RUSAGE_CHILDREN)
        return usage.ru_utime + usage.ru_stime

    before = children()
    subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, check=True)
    return children() - before


def script_seconds(command):
    """What a script tells of its own time: its output is one number."""
    return float(subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True, check=True).stdout)


def alternate(count, takers):
    """Takes one sample of each series after the other, count times: {name: taker} gives {name: samples}."""
    samples = {name: [] for name in takers}
    for _ in range(count):
        for name, take in takers.items():
            samples[name].append(take())
    return samples


def progress(text):
    print(f"{time.strftime('%H:%M:%S')} {text}", flush=True)
