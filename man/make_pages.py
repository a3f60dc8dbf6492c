#!/usr/bin/env python3
"""Makes the manual pages: of each program and subcommand from its own --help, of each file format from this folder and from
the tables and sections of docs/ that describe it.

  man/make_pages.py BIN OUT [VERSION]   the programs' folder, and the folder for the pages

A page of a format is a file <name>.5.md here. Its first line is "name - what it is"; in the others, two forms stand for what
is said elsewhere:

  {{docs/FILE # HEADING}}   the text below that heading, with the headings below it
  {{docs/FILE | TEXT}}      the table that has the text in one of its rows
  {{parameters}}            the configuration values of the provider, as fictl provider show tells them
"""
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time

HERE = pathlib.Path(__file__).resolve().parent
TOP = HERE.parent
PROGRAMS = ("fictl", "lmadm", "lmsh", "kforutil")
FORMATS = {"fictl": ["fictl-record(5)", "fictl.conf(5)", "fictl-job(5)", "cdpfi.conf(5)", "hls.conf(5)", "cdpfi-inspection(5)"],
           "lmadm": ["appliance.conf(5)"], "lmsh": ["appliance.conf(5)"], "kforutil": ["appliance.conf(5)"]}


def run(*words, **more):
    return subprocess.run(words, check=True, capture_output=True, text=True, **more).stdout


def help_of(program, words):
    return run(program, *words, "--help")


def subcommands(text):
    """The names below "Subcommands:"."""
    block = re.search(r"^Subcommands:\n((?:  .*\n)+)", text, re.M)
    return re.findall(r"^  (\S+)", block.group(1), re.M) if block else []


def commands(program, words=()):
    """Each command of a program as the words behind its name, the program itself first."""
    yield list(words)
    for name in subcommands(help_of(program, words)):
        yield from commands(program, [*words, name])


def page_name(program, words):
    return "-".join([program, *words])


def summary(program, words, text):
    """What the page's name stands for, in a few words."""
    known = {"lmsh": "management shell of the embedded appliance", "kforutil": "disk utility of the embedded appliance"}
    first = known.get(program) or text.strip().splitlines()[0]
    return first[0].lower() + first[1:].rstrip(".")


def see_also(program, words):
    pages = FORMATS[program] if not words else [f"{page_name(program, words[:-1])}(1)"]
    if not words:
        pages = [f"{other}(1)" for other in PROGRAMS if other != program] + pages
    return "[see also]\n" + ",\n".join(rf"\fB{page[:-3]}\fR{page[-3:]}" for page in pages) + "\n"


def make_command_page(bin_folder, out, version, program, words):
    text = help_of(bin_folder / program, words)
    include = out / "see-also"
    include.write_text(see_also(program, words))
    page = run("help2man", "--no-info", "--no-discard-stderr", f"--version-string={version}",
               f"--name={summary(program, words, text)}", f"--include={include}",
               "--help-option=" + " ".join([*words, "--help"]), str(bin_folder / program))
    include.unlink()
    name = page_name(program, words)
    page = re.sub(r'^\.TH \S+ ', f'.TH {name.upper()} ', page, flags=re.M)
    page = page.replace(f".SH NAME\n{program} ", f".SH NAME\n{name} ", 1)
    (out / f"{name}.1").write_text(page)


def section(file, heading):
    lines = (TOP / file).read_text().splitlines()
    begin = next(i for i, line in enumerate(lines) if re.fullmatch(rf"#+ {re.escape(heading)}", line))
    level = len(lines[begin].split()[0])
    end = next((i for i in range(begin + 1, len(lines)) if re.match(rf"#{{1,{level}}} ", lines[i])), len(lines))
    return "\n".join(lines[begin + 1:end])


def table(file, text):
    blocks = re.findall(r"(?:^\|.*\n?)+", (TOP / file).read_text(), re.M)
    return next(block for block in blocks if text in block)


def parameters(bin_folder):
    shown = json.loads(run(bin_folder / "fictl", "--output", "json", "provider", "show"))
    lines, last = [], ""
    for entry in shown["provider"]["parameters"]:
        name, key = entry["name"].split("/")
        if name != last:
            lines += [f"## Section `{name}`", ""]
        default = f"default `{entry['default']}`" if entry["default"] not in (None, "") else "no default"
        lines += [f"`{key}` ({entry['type']}, {default})", f": {entry['help']}", ""]
        last = name
    return "\n".join(lines)


def whole(text, bin_folder):
    def replace(match):
        what = match.group(1).strip()
        if what == "parameters":
            return parameters(bin_folder)
        file, mark, name = re.fullmatch(r"(\S+) ([#|]) (.+)", what).groups()
        return section(file, name) if mark == "#" else table(file, name)

    return re.sub(r"^\{\{(.+)\}\}$", replace, text, flags=re.M)


def make_format_page(source, bin_folder, out, version, date):
    name, number, _ = source.name.rsplit(".", 2)
    first, _, rest = source.read_text().partition("\n")
    roff = run("lowdown", "-tman", "-", input=whole(rest, bin_folder))
    # Tables need their own formatter; in their narrow columns lines that are stretched look torn.
    what = first.replace(" - ", r" \- ", 1)
    head = (f"'\\\" t\n.TH {name.upper()} {number} \"{date}\" \"cdpfi {version}\" \"File formats\"\n.ad l\n"
            f".SH NAME\n{what}\n")
    (out / f"{name}.{number}").write_text(head + roff)


def main():
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    bin_folder, out = (pathlib.Path(word).resolve() for word in sys.argv[1:3])
    version = sys.argv[3] if len(sys.argv) == 4 else run(bin_folder / "fictl", "--version").strip()
    out.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory() as root:
        # What the programs say must not depend on the machine.
        os.environ.pop("LMADM_STORE", None)
        os.environ["OBZX_ROOT"] = root
        make_pages(bin_folder, out, version)


def make_pages(bin_folder, out, version):
    for program in PROGRAMS:
        for words in commands(bin_folder / program):
            make_command_page(bin_folder, out, version, program, words)
    date = time.strftime("%B %Y", time.gmtime(int(os.environ.get("SOURCE_DATE_EPOCH", time.time()))))
    for source in sorted(HERE.glob("*.md")):
        make_format_page(source, bin_folder, out, version, date)


if __name__ == "__main__":
    main()
