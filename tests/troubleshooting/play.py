#!/usr/bin/env python3
"""Gives every command of docs/troubleshooting.md in the situation that its entry is about, and compares what is printed
with what the page shows.

  play.py                    all entries
  play.py WORDS...           the entries whose heading holds one of these
  play.py --update           writes what is printed into the page where it differs; look at the difference
  play.py --bin FOLDER       takes the programs from this folder (build/release/bin)
  play.py --jobs N           so many entries at once (2)

A command without a scenario fails, and so does a scenario without an entry. Of two lines the same is asked but for what
differs from run to run: process ids in names, serials, times, and how many blanks a column has.
"""
import argparse
import concurrent.futures
import copy
import difflib
import pathlib
import re
import sys

TOP = pathlib.Path(__file__).resolve().parent.parent.parent
sys.dont_write_bytecode = True
sys.path.insert(0, str(TOP / "tests"))
from sweep.site import Failure, need  # noqa: E402  pylint: disable=wrong-import-position
from troubleshooting import page  # noqa: E402  pylint: disable=wrong-import-position
from troubleshooting.place import Place, settled  # noqa: E402  pylint: disable=wrong-import-position
from troubleshooting.scenarios import SCENARIOS  # noqa: E402  pylint: disable=wrong-import-position

PAGE = TOP / "docs/troubleshooting.md"
CONVERSATIONS = TOP / "tests/conversations"


def scenario_of(entry):
    found = [words for words in SCENARIOS if words in entry.heading]
    need(len(found) == 1, f"{len(found)} scenarios stand for this entry: {found}")
    return SCENARIOS[found[0]]


def give(place, session):
    """The session as it went."""
    went = copy.deepcopy(session)
    for command in went:
        command.shown = place.shell(command.host, command.text)
    return went


def play(entry, bin_folder):
    """The entry with its sessions as they went."""
    scenario = scenario_of(entry)
    went = page.Entry(entry.heading, [])
    place = Place(bin_folder)
    try:
        for _ in scenario(place):
            need(len(went.sessions) < len(entry.sessions), "the scenario has more sessions than the entry")
            went.sessions.append(give(place, entry.sessions[len(went.sessions)]))
    finally:
        place.remove()
    need(len(went.sessions) == len(entry.sessions), "the entry has more sessions than the scenario")
    return went


def lines_of(entry):
    return [line for session in entry.sessions for command in session
            for line in (f"{command.host}# {command.text}", *command.shown)]


def check_heading(entry, went):
    """A heading that quotes a message quotes what is printed; … stands for what varies."""
    printed = "\n".join(line for session in went.sessions for command in session for line in command.shown)
    for quoted in re.findall(r"`([^`]+)`", entry.heading):
        pattern = ".*".join(re.escape(part) for part in quoted.split("…"))
        need(re.search(pattern, printed), f"nothing is printed like {quoted}")


def compare(entry, went):
    shown, printed = ([settled(line) for line in lines_of(each)] for each in (entry, went))
    need(shown == printed, "\n".join(difflib.unified_diff(shown, printed, "page", "printed", lineterm="")))


def aligned(lines):
    """A table, as wide as it is with the names that stand here in the place of others."""
    rows = [re.split(r" {2,}", line.rstrip()) for line in lines]
    if not lines or rows[0][0] not in ("DEVICE", "NAME"):
        return lines
    table = [row for row in rows if len(row) == len(rows[0])]
    widths = [max(map(len, column)) for column in zip(*table)]
    told = ["  ".join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip() for row in table]
    return told + lines[len(table):]


def taken_over(entry, went):
    """The entry with what was printed where it differs from the page, so that nothing else changes."""
    kept = copy.deepcopy(entry)
    for session, its in zip(kept.sessions, went.sessions):
        for command, printed in zip(session, its):
            if [settled(line) for line in command.shown] != [settled(line) for line in printed.shown]:
                start = next((i for i, line in enumerate(printed.shown) if line.startswith(("DEVICE ", "NAME "))), 0)
                command.shown = printed.shown[:start] + aligned(printed.shown[start:])
    return kept


def check(entry, options):
    """The entry as it should stand on the page, and what is wrong with it."""
    try:
        went = play(entry, options.bin)
        entry = taken_over(entry, went) if options.update else entry
        compare(entry, went)
        check_heading(entry, went)
    except (Failure, TimeoutError) as failure:
        return entry, str(failure)
    return entry, ""


def check_scenarios(entries):
    """What is wrong with the page as a whole."""
    wrong = [f"no entry is about {words}" for words in SCENARIOS if not any(words in e.heading for e in entries)]
    wrong += [f"### {entry.heading}: no command" for entry in entries if not entry.sessions]
    return wrong + [f"### {entry.heading}: it does not end in a conversation of tests/conversations"
                    for entry in entries if not ends_in_conversation(entry)]


def ends_in_conversation(entry):
    """Whether its last line names a conversation that is there; being there, it is a test by itself."""
    return entry.is_last and (CONVERSATIONS / entry.conversation).is_file()


def check_page(text, options):
    """The page as it should be, how many entries were played, and all that is wrong."""
    entries = page.read(text)
    wanted = [entry for entry in entries if not options.words or any(words in entry.heading for words in options.words)]
    wrong = check_scenarios(entries)
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        done = dict(zip([entry.heading for entry in wanted], pool.map(lambda entry: check(entry, options), wanted)))
    wrong += [f"### {heading}\n{failure}" for heading, (_, failure) in done.items() if failure]
    whole = [done[entry.heading][0] if entry.heading in done else entry for entry in entries]
    return page.write(text, whole), len(wanted), wrong


def read_options(words=None):
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("words", nargs="*")
    parser.add_argument("--update", action="store_true")
    parser.add_argument("--bin", type=pathlib.Path, default=TOP / "build/release/bin")
    parser.add_argument("--jobs", type=int, default=2)
    return parser.parse_args(words)


def main():
    options = read_options()
    text = PAGE.read_text(encoding="utf-8")
    try:
        updated, count, wrong = check_page(text, options)
    except page.Malformed as error:
        print(f"{PAGE}: {error}")
        return 1
    if updated != text and options.update:
        PAGE.write_text(updated, encoding="utf-8")
    print("\n".join([*wrong, f"{count} entries, {len(wrong)} wrong"]))
    return 1 if wrong or not count else 0


if __name__ == "__main__":
    sys.exit(main())
