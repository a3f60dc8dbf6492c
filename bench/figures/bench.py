"""What the figures have in common: programs to measure, sites to measure them on, and where the results are kept."""

from dataclasses import dataclass

import plots
from report import absolute, ratio
from sites import Site


@dataclass
class Scale:
    """How much of everything."""

    repetitions: int
    min_time: float  # seconds of one sample of a micro-benchmark
    luns: tuple  # sizes of the sites that devices are looked up in
    lookups: int
    inventory_groups: int  # of 100 LUNs
    make_groups: int  # of 100 LUNs
    import_luns: tuple
    resident: tuple  # MiB
    cycles: int
    growth: dict  # LUNs of a site -> how often it is loaded; the growth is told of the last beside the middle one
    hosts: int  # of the site whose tools take their time
    groups: int
    short_delays: dict  # milliseconds that a tool of that site takes -> repetitions
    long_delays: tuple  # with these everybody sleeps nearly all of the time
    records: int  # of a catalog


FULL = Scale(9, 0.05, (100, 1000, 10000, 100000), 20000, 1000, 100, (100, 1000), (10, 100, 1024, 4096), 10000,
             {1000: 5, 10000: 5, 100000: 3, 1000000: 2}, 20, 50, {0: 3, 10: 1}, (100, 300), 10000)
SMOKE = Scale(1, 0.001, (100, 200), 200, 3, 2, (5, 10), (10, 20), 3,
              {500: 1, 2000: 1, 5000: 1}, 3, 2, {0: 1}, (5,), 100)


class Bench:
    """Sites and other files that are only needed meanwhile go to work, results to out."""

    def __init__(self, programs, scale, work, out):
        self.programs = programs
        self.scale = scale
        self.work = work
        self.out = out
        self.rows = []
        self.raw = {}
        self.plots = []
        self.tables = []  # what stands below the table of all figures

    def site(self, name, appliances, **more):
        return Site(self.work / name, self.programs.path("instant_tool"), appliances, **more)

    def keep(self, name, samples):
        self.raw[name] = samples
        return samples

    def ratio(self, *row, **more):
        self.rows.append(ratio(*row, **more))

    def absolute(self, *row, **more):
        self.rows.append(absolute(*row, **more))

    def plot(self, name, *drawing, **more):
        self.plots.append(name)
        plots.draw(self.out, name, *drawing, **more)
