"""The commands of a backup as the provider sent them, for those who send them without it."""

import shlex
from pathlib import Path


def read_record(path):
    """Runs of the instant tool: (arguments, input)."""
    content = Path(path).read_bytes()
    runs = []
    at = 0
    while at < len(content):
        end = content.index(b"\n", at)
        _, words, size = content[at:end].split()
        at = end + 1
        arguments = []
        for _ in range(int(words)):
            end = content.index(b"\n", at)
            arguments.append(content[at:end].decode())
            at = end + 1
        runs.append((arguments, content[at:at + int(size)].decode()))
        at += int(size)
    return runs


def write_list(folder, runs):
    """The list that spawn_floor reads, with an input file for each run that has an input."""
    lines = []
    for number, (arguments, text) in enumerate(runs):
        source = "/dev/null"
        if text:
            source = str(folder / f"input{number:04d}")
            Path(source).write_text(text)
        lines.append("\t".join([source, *arguments]))
    path = folder / "runs"
    path.write_text("\n".join(lines) + "\n")
    return path


def write_bash(folder, runs):
    """What an administrator would write in Bash: each command with its text in place."""
    lines = ["set -euo pipefail", "start=$EPOCHREALTIME"]
    for arguments, text in runs:
        command = " ".join(shlex.quote(word) for word in arguments)
        if text:
            lines.append(f"answer=$({command} <<'END' 2>&1\n{text}END\n)")
        else:
            lines.append(f"answer=$({command} </dev/null 2>&1)")
    lines += ["end=$EPOCHREALTIME", 'us=$(( ${end/./} - ${start/./} ))', 'printf "%d.%06d\\n" $((us / 1000000)) $((us % 1000000))']
    path = folder / "backup.sh"
    path.write_text("\n".join(lines) + "\n")
    return path


def write_python(folder, runs):
    """The same in Python."""
    path = folder / "backup.py"
    path.write_text(
        "import subprocess\nimport time\n\n"
        f"RUNS = {runs!r}\n\n"
        "start = time.perf_counter()\n"
        "for arguments, text in RUNS:\n"
        "    done = subprocess.run(arguments, input=text, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,\n"
        "                          text=True, check=True)\n"
        "    lines = done.stdout.splitlines()\n"
        "print(time.perf_counter() - start)\n")
    return path
