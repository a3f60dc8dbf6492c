#!/usr/bin/env python3
"""Gives all commands of docs/first-day.md, as they stand there and in one shell, and compares what is printed with the page.

  first_day_test.py [--update] FOLDER    FOLDER: the programs (build/release/bin); --update writes what is printed into the page

Of two lines the same is asked but for what differs from run to run: process ids in names, serials, times, folders of images, and
how many blanks a column has. The page calls the folder that it is done in /srv/first-day.
"""
import difflib
import os
import pathlib
import re
import subprocess
import sys
import tempfile

TOP = pathlib.Path(__file__).resolve().parent.parent.parent
sys.dont_write_bytecode = True
sys.path.insert(0, str(TOP / "tests"))
from troubleshooting import place  # noqa: E402  pylint: disable=wrong-import-position

PAGE = TOP / "docs/first-day.md"
COMMANDS = 10  # of fictl, as the page's heading says
MARK = "-- what the next command prints --"


def blocks(text):
    """The page in parts: (kind, lines); a part of no kind stands outside of the blocks."""
    parts, kind, lines = [], None, []
    for line in text.splitlines():
        if line.startswith("```"):
            parts.append((kind, lines))
            kind, lines = (line[3:] or None) if kind is None else None, []
        else:
            lines.append(line)
    return [*parts, (kind, lines)]


def commands_of(parts):
    return [line[2:] for kind, lines in parts if kind == "console" for line in lines if line.startswith("$ ")]


def printed(parts, programs, folder):
    """What each command prints. A preparation that fails ends it all."""
    preparation = "\n".join(line for kind, lines in parts if kind == "sh" for line in lines)
    script = f"set -e\n{{\n{preparation}\n}} >/dev/null\nset +e\n"
    script += "\n".join(f"echo '{MARK}'\n{command}" for command in commands_of(parts))
    run = subprocess.run(["bash", "-c", f"exec 2>&1\n{script}"], cwd=folder, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                         env={"PATH": f"{programs}:{os.environ['PATH']}", "RES_OPTIONS": "timeout:1 attempts:1"},
                         text=True, timeout=120, check=False)
    first, *others = run.stdout.replace(folder, "/srv/first-day").split(f"{MARK}\n")
    if first or len(others) != len(commands_of(parts)):
        sys.exit(f"the preparation fails: {run.stdout}")
    return [text.splitlines() for text in others]


def written(parts, answers):
    """The page with these answers."""
    answers, lines = iter(answers), []
    for kind, content in parts:
        if kind == "console":
            content = [line for command in content if command.startswith("$ ") for line in (command, *next(answers))]
        lines += [f"```{kind}", *content, "```"] if kind else content
    return "\n".join(lines) + "\n"


def settled(text):
    """The lines without what differs from run to run."""
    return [place.settled(re.sub(r"images/[0-9a-f]{8,}", "images/ID", line)) for line in text.splitlines()]


def main(arguments):
    update = arguments[:1] == ["--update"]
    programs = pathlib.Path(arguments[-1]).resolve()
    text = PAGE.read_text(encoding="utf-8")
    parts = blocks(text)
    steps = [line for line in commands_of(parts) if line.split()[1:2] == ["fictl"]]
    if len(steps) != COMMANDS:
        sys.exit(f"the page has {len(steps)} commands: {steps}")
    with tempfile.TemporaryDirectory() as folder:
        today = written(parts, printed(parts, programs, folder))
    if update:
        PAGE.write_text(today, encoding="utf-8")
    difference = list(difflib.unified_diff(settled(text), settled(today), "the page", "what is printed", lineterm=""))
    for line in difference:
        print(line)
    return 1 if difference and not update else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
