"""What a storm does: rounds of commands on two hosts, with kills and faults, made from a seed."""
import dataclasses
import json
import random

from sweep.faults import FAULTS

HOSTS = ("production", "backup")
NAMES = ("noon", "dusk")
GROUPS = ("payroll", "books", "both")
ROUNDS = 8
SPREAD = 1.0  # seconds within which the commands of a round begin
LONGEST = 0.7  # seconds that a command is let run before it is killed; an undisturbed one takes less
# Parts of commands of the appliance, for which faults are armed.
COMMANDS = ("alpha: create annotation", "beta: create annotation", "alpha: create timeimage", "beta: create timeimage",
            "alpha: delete timeimage", "beta: delete timeimage", "alpha: delete annotation", "beta: delete annotation",
            "show cgroup", "list cgroups", "list timeimages", "show timeimage", "list hosts", "kforutil discover",
            "kforutil listdisk", "alpha: ", "beta: ")


@dataclasses.dataclass
class Act:
    """One command of fictl."""

    at: float  # seconds since the beginning of the round
    host: str
    verb: str  # as in "fictl snapshot VERB", or "take": delete --even-if-in-use
    name: str
    groups: str = ""  # of a creation: one of GROUPS
    kill: float = 0.0  # seconds since the beginning of the round; 0: never


@dataclasses.dataclass
class Round:
    """Commands that run at the same time; when all have ended there is a quiet point."""

    acts: list
    faults: list  # (kind, part of a command, number): which of those commands is struck
    write: int = 0  # what the sources are written anew with before; 0: nothing


class Guess:
    """What there will be if every command succeeds, so that most commands find something to do."""

    def __init__(self, rng, records, documents):
        self.rng = rng
        self.states = {host: {name: record["state"] for name, record in records[host].items()} for host in HOSTS}
        self.documents = set(documents)  # names whose record was exported

    def others(self, host, name):
        """States of the record on the other hosts."""
        return [self.states[other][name] for other in HOSTS if other != host and name in self.states[other]]

    def likely(self, host):
        """Verbs and names that fit."""
        found = []
        for name in NAMES:
            state = self.states[host].get(name)
            others = self.others(host, name)
            if state is None:
                found += [("receive", name)] * 4 if others and name in self.documents else []
                found += [("create", name)] * 3 if not others else []
            elif "imported" in others:
                found += [("delete", name)] * 3 + [("import", name)] * 2
            elif state == "complete":
                found += [("import", name)] * 4 + [("delete", name)] + [("export", name)] * (1 if others else 6)
            elif state == "imported":
                found += [("release", name)] * 2 + [("import", name), ("delete", name), ("export", name)]
            else:  # left by a command that was killed or failed
                found += [("import", name), ("release", name), ("delete", name)]
        return found

    def choose(self, host):
        likely = self.likely(host)
        if likely and self.rng.random() < 0.9:
            verb, name = self.rng.choice(likely)
        else:
            verb = self.rng.choice(("create", "export", "receive", "import", "release", "delete", "list"))
            name = self.rng.choice(NAMES)
        if verb == "delete" and self.rng.random() < 0.08:
            verb = "take"
        return verb, name

    def enter(self, host, verb, name):
        states = self.states[host]
        is_held = "imported" in self.others(host, name)
        if verb in ("create", "receive"):
            states.setdefault(name, "complete")
        elif name not in states:
            return
        elif verb == "export":
            self.documents.add(name)
        elif verb == "release" or (verb == "import" and not is_held):
            states[name] = "complete" if verb == "release" else "imported"
        elif verb == "take" or (verb == "delete" and not is_held):
            del states[name]


def rounds_of(seed, look):
    """The rounds of a seed, each made for what there is when it begins.

    look: gives the records, host -> name -> record, and the names whose record was exported
    """
    rng = random.Random(seed)
    for number in range(1, ROUNDS + 1):
        guess = Guess(rng, *look())
        acts = []
        for at in sorted(round(rng.uniform(0, SPREAD), 3) for _ in range(rng.randint(2, 5))):
            host = rng.choice(HOSTS)
            verb, name = guess.choose(host)
            act = Act(at, host, verb, name)
            if verb == "create":
                act.groups = rng.choice(GROUPS)
            if rng.random() < 0.25:
                act.kill = round(act.at + rng.uniform(0.005, LONGEST), 3)
            else:
                guess.enter(host, verb, name)
            acts.append(act)
        faults = [(rng.choice([*FAULTS]), rng.choice(COMMANDS), rng.randint(1, 4))
                  for _ in range(rng.choice((0, 0, 1, 1, 2)))]
        yield Round(acts, faults, number if rng.random() < 0.5 else 0)


def size_of(rounds):
    """Commands, kills and faults of a plan."""
    return (sum(len(entry.acts) for entry in rounds), sum(act.kill > 0 for entry in rounds for act in entry.acts),
            sum(len(entry.faults) for entry in rounds))


def text_of(rounds):
    """A plan as lines, which `read` takes back."""
    return "".join(json.dumps(dataclasses.asdict(entry)) + "\n" for entry in rounds)


def read(text):
    return [Round([Act(**act) for act in entry["acts"]], [tuple(fault) for fault in entry["faults"]], entry["write"])
            for entry in map(json.loads, text.splitlines())]
