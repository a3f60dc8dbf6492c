#!/usr/bin/env python3
"""Makes the conversations in which the entries of docs/troubleshooting.md end, and names them there.

  record.py --bin FOLDER            of all entries
  record.py --bin FOLDER WORDS...   of the entries whose heading holds one of these

The commands of an entry are given in its situation, each recorded. Of the conversations that can be held again, as
script/replay does it, the first is taken in which something goes wrong, else the first in which an appliance is asked
at all, else any. Paths stand in it as though the programs were installed and the site had a fixed name.
An entry about something that no clean root has ends in a conversation that somebody chose for it.
"""
import json
import pathlib
import subprocess
import sys

TOP = pathlib.Path(__file__).resolve().parent.parent.parent
sys.dont_write_bytecode = True
sys.path.insert(0, str(TOP / "tests"))
from troubleshooting import page, play  # noqa: E402  pylint: disable=wrong-import-position
from troubleshooting.place import Place  # noqa: E402  pylint: disable=wrong-import-position


# Stands in the place of fictl: records each command that is not recorded anyway, and asks for a document.
RECORDER = """\
[ -d {folder} ] || exec {fictl} "$@"
number=$(ls {folder} | wc -l)
case " $* " in
*" --record "*|*" --dry-run "*|*" history "*) exec {fictl} "$@" ;;
*" --output "*) exec {fictl} --record {folder}/$(printf %02d "$number").jsonl "$@" ;;
esac
exec {fictl} --output json --record {folder}/$(printf %02d "$number").jsonl "$@"
"""


class RecordedPlace(Place):
    """A place at which each fictl of the page is recorded."""

    def __init__(self, bin_folder):
        super().__init__(bin_folder)
        self.talks = self.folder / "talks"
        self.talks.mkdir()

    def given(self, host, words, expected=0):
        """Of the situation, not of the page: not recorded."""
        hidden = self.folder / "hidden"
        self.talks.rename(hidden)
        super().given(host, words, expected)
        hidden.rename(self.talks)

    def _find_programs(self):
        super()._find_programs()
        recorder = self.folder / "recorder/fictl"
        recorder.parent.mkdir(exist_ok=True)
        recorder.write_text("#!/bin/sh\n" + RECORDER.format(folder=self.folder / "talks", fictl=self.prefix / "bin/fictl"),
                            encoding="utf-8")
        recorder.chmod(0o755)
        self.environment["PATH"] = f"{recorder.parent}:{self.environment['PATH']}"

    def texts(self):
        """The conversations, in the order of the commands."""
        for file in sorted(self.talks.glob("*.jsonl")):
            text = file.read_text(encoding="utf-8")
            for path, stand_in in ((self.prefix, "/usr/local"), (self.bin.parent, "/usr/local"),
                                   (self.folder, "/tmp/cdpfi-site"),
                                   # in a document that a situation gave another provider
                                   (str(self.folder).replace("cdpfi", "otherfi"), "/tmp/otherfi-site")):
                text = text.replace(str(path), stand_in)
            yield text


def rank(text):
    """What is better to show comes first."""
    lines = [json.loads(line) for line in text.splitlines()]
    is_asked = any("run" in line for line in lines)
    return (0 if lines[-1]["end"]["exit"] and is_asked else 1 if is_asked else 2 if lines[-1]["end"]["exit"] else 3)


def can_be_held_again(file, bin_folder):
    return subprocess.run([TOP / "script/replay", "--bin", bin_folder, file], stdout=subprocess.DEVNULL, check=False,
                          timeout=600).returncode == 0


def record(entry, bin_folder):
    """The name of the conversation of an entry: where none of its commands can be held again, the one that it names
    already."""
    scenario = play.scenario_of(entry)
    place = RecordedPlace(bin_folder)
    try:
        for number, _ in enumerate(scenario(place)):
            play.give(place, entry.sessions[number])
        texts = sorted(place.texts(), key=rank)
    finally:
        place.remove()
    file = play.CONVERSATIONS / f"{scenario.__name__.replace('_', '-')}.jsonl"
    before = file.read_text(encoding="utf-8") if file.exists() else None
    for text in texts:
        file.write_text(text, encoding="utf-8")
        if can_be_held_again(file, bin_folder):
            return file.name
    if before is None:
        file.unlink(missing_ok=True)
    else:
        file.write_text(before, encoding="utf-8")
    return entry.conversation


def main():
    options = play.read_options()
    entries = page.read(play.PAGE.read_text(encoding="utf-8"))
    failed = False
    for entry in entries:
        if options.words and not any(words in entry.heading for words in options.words):
            continue
        name = record(entry, options.bin.resolve())
        failed = failed or name is None
        print(f"{name}: {entry.heading}", flush=True)
        if name:
            entry.conversation = name
            play.PAGE.write_text(page.with_conversations(play.PAGE.read_text(encoding="utf-8"), entries), encoding="utf-8")
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
