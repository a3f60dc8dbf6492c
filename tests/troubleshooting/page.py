"""docs/troubleshooting.md as entries, each with the sessions that it shows."""
import dataclasses
import re

CONVERSATION = re.compile(r"Conversation: `tests/conversations/([\w-]+\.jsonl)`")
PROMPT = re.compile(r"(production|backup|appliance)# (.*)")


@dataclasses.dataclass
class Command:
    """A line behind a prompt, and the lines that the page shows below it."""

    host: str
    text: str
    shown: list


@dataclasses.dataclass
class Entry:
    """What stands below a heading: its sessions, each a list of commands."""

    heading: str
    sessions: list
    conversation: str = None  # file below tests/conversations that its last line names
    is_last: bool = False  # nothing follows that line


class Malformed(Exception):
    """The page is not of the form that its first section tells."""


def _commands(lines, number):
    commands = []
    for line in lines:
        prompt = PROMPT.fullmatch(line)
        if prompt:
            commands.append(Command(prompt[1], prompt[2], []))
        elif not commands:
            raise Malformed(f"line {number}: a session begins with a prompt")
        else:
            commands[-1].shown.append(line)
    return commands


def read(text):
    """All entries of the page in their order. Every fenced block is a session of the entry that it stands in."""
    entries, block, begin = [], None, 0
    for number, line in enumerate(text.splitlines(), start=1):
        if block is not None:
            if line != "```":
                block.append(line)
                continue
            entries[-1].is_last = False
            entries[-1].sessions.append(_commands(block, begin))
            block = None
        elif line.startswith("```"):
            if line != "```console" or not entries:
                raise Malformed(f"line {number}: a fenced block is a ```console session of an entry")
            block, begin = [], number
        elif line.startswith("### "):
            entries.append(Entry(line[4:], []))
        elif entries and CONVERSATION.fullmatch(line):
            entries[-1].conversation, entries[-1].is_last = CONVERSATION.fullmatch(line)[1], True
        elif entries and line and not line.startswith("## "):
            entries[-1].is_last = False
    if block is not None:
        raise Malformed(f"line {begin}: a block does not end")
    return entries


def write(text, entries):
    """The page with the sessions of these entries in place of its own."""
    sessions = iter([session for entry in entries for session in entry.sessions])
    lines, inside = [], False
    for line in text.splitlines():
        if line == "```console":
            inside = True
            lines.append(line)
            for command in next(sessions):
                lines += [f"{command.host}# {command.text}", *command.shown]
            continue
        inside = inside and line != "```"
        if not inside:
            lines.append(line)
    return "\n".join(lines) + "\n"


def with_conversations(text, entries):
    """The page with the line of each entry that has a conversation as the last of it."""
    parts = re.split(r"(?m)^(?=##)", text)
    of = {f"### {entry.heading}": entry.conversation for entry in entries}
    for number, part in enumerate(parts):
        conversation = of.get(part.partition("\n")[0])
        if conversation:
            kept = "\n".join(line for line in part.splitlines() if not CONVERSATION.fullmatch(line)).rstrip()
            parts[number] = f"{kept}\n\nConversation: `tests/conversations/{conversation}`\n\n"
    return "".join(parts).rstrip() + "\n"
