"""What the measurements come to: ratios of medians with their spread, as Markdown and JSON."""

import json
import statistics
from dataclasses import asdict, dataclass
from pathlib import Path


def median(samples):
    return statistics.median(samples)


def quartiles(samples):
    if len(samples) < 2:
        return samples[0], samples[0]
    low, _, high = statistics.quantiles(samples, n=4, method="inclusive")
    return low, high


UNITS = {"ns": 1e-9, "µs": 1e-6, "ms": 1e-3, "s": 1.0}


def seconds_text(value):
    for unit, size in UNITS.items():
        if value < 1000 * size or unit == "s":
            return f"{value / size:.3g} {unit}"
    return ""


def plain_text(value):
    return f"{value:,.0f}"


@dataclass
class Row:
    """One line of the table. What was measured stands beside what it is compared with; limit is the most allowed."""

    figure: int
    what: str
    measured: str
    beside: str
    value: float
    low: float
    high: float
    unit: str  # "x": a ratio
    limit: float | None

    @property
    def met(self):
        return None if self.limit is None else self.value <= self.limit

    def text(self, number):
        if self.unit == "x":
            return f"{number:.2f}" if number >= 0.1 else f"{number:.4f}"
        return seconds_text(number) if self.unit == "s" else f"{number:.0f}"


def ratio(figure, what, limit, measured, beside, beside_name, show=seconds_text):
    """
    A row from two series that were taken in turns: median and spread of the single ratios, so that a machine that gets
    busy between two turns disturbs one of them and not the value.
    """
    singles = [a / b for a, b in zip(measured, beside, strict=True)]
    low, high = quartiles(singles)
    return Row(figure, what, show(median(measured)), f"{show(median(beside))} {beside_name}", median(singles), low, high,
               "x", limit)


def absolute(figure, what, limit, samples, unit, beside="", show=seconds_text):
    low, high = quartiles(samples)
    return Row(figure, what, show(median(samples)), beside, median(samples), low, high, unit, limit)


def markdown(rows):
    lines = ["| Figure | What | Measured | Beside | Value (quartiles) | At most | Reached |", "|---|---|---|---|---|---|---|"]
    for row in rows:
        value = f"{row.text(row.value)} ({row.text(row.low)} to {row.text(row.high)})"
        limit = "" if row.limit is None else row.text(row.limit)
        met = {None: "", True: "yes", False: "**no**"}[row.met]
        lines.append(f"| {row.figure} | {row.what} | {row.measured} | {row.beside} | {value} | {limit} | {met} |")
    return "\n".join(lines) + "\n"


def write_json(path, rows, raw):
    content = {"rows": [{**asdict(row), "met": row.met} for row in rows], "samples": raw}
    path.write_text(json.dumps(content, indent=1) + "\n")


def put_between(path, begin, end, text):
    """Replaces what stands between two marker lines of a document."""
    content = Path(path).read_text()
    head, rest = content.split(begin, 1)
    tail = rest.split(end, 1)[1]
    Path(path).write_text(f"{head}{begin}\n\n{text}\n{end}{tail}")
