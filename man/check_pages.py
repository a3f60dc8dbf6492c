#!/usr/bin/env python3
"""Fails where a manual page and what it is about do not agree: a command or an option of --help that has no page or does not
stand there, a page of no command, a value that is not named as it is written, or a page that the formatter complains of.

  man/check_pages.py BIN PAGES
"""
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True
import make_pages  # noqa: E402  pylint: disable=wrong-import-position


def shown(page):
    """The page as somebody reads it, on lines as long as they get."""
    return subprocess.run(["man", "--warnings", "-P", "cat", "-l", page], capture_output=True, text=True, check=False,
                          env=os.environ | {"MANWIDTH": "1000", "LC_ALL": "C.UTF-8", "MANROFFOPT": "-c"})


def options(text):
    return set(re.findall(r"(?<![\w-])--?[a-z][\w-]*", text))


def main():
    bin_folder, pages = (pathlib.Path(word).resolve() for word in sys.argv[1:])
    wanted, faults = {}, []
    with tempfile.TemporaryDirectory() as root:
        os.environ["OBZX_ROOT"] = root
        os.environ.pop("LMADM_STORE", None)
        for program in make_pages.PROGRAMS:
            for words in make_pages.commands(bin_folder / program):
                text = make_pages.help_of(bin_folder / program, words)
                name = make_pages.page_name(program, words)
                wanted[f"{name}.1"] = options(text) | set(make_pages.subcommands(text))
        told = json.loads(make_pages.run(bin_folder / "fictl", "--output", "json", "provider", "show"))
    for source in make_pages.HERE.glob("*.md"):
        wanted[source.name[:-3]] = set()
    for entry in told["provider"]["parameters"]:
        wanted["cdpfi.conf.5"] |= set(entry["name"].split("/"))
    wanted["appliance.conf.5"] |= {"STORE", "HOST", "ENGINE", "CATALOG", "CEPH_CONF", "CEPH_USER", "POOL", "ATTACH"}
    there = {page.name for page in pages.glob("*.[15]")}
    faults += [f"{name}: there is no page" for name in wanted.keys() - there]
    faults += [f"{name}: a page of nothing" for name in there - wanted.keys()]
    for name in sorted(there & wanted.keys()):
        page = shown(pages / name)
        words = set(re.findall(r"[\w-]+", page.stdout)) | options(page.stdout)
        faults += [f"{name}: {word} does not stand there" for word in sorted(wanted[name] - words)]
        faults += [f"{name}: {line}" for line in page.stderr.splitlines()]
    print("".join(f"{fault}\n" for fault in faults), end="")
    print(f"{len(there)} pages, {len(faults)} faults")
    sys.exit(bool(faults) or not there)


if __name__ == "__main__":
    main()
