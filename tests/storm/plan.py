"""What a storm does: rounds of commands on two hosts, with kills and faults, made from a seed alone."""
import dataclasses
import json
import random

from sweep.faults import FAULTS

HOSTS = ("production", "backup")
NAMES = ("noon", "dusk")
GROUPS = ("payroll", "books", "both")
ROUNDS = 6
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
    """What there would be if every command succeeded, so that most commands find something to do."""

    def __init__(self, rng):
        self.rng = rng
        self.records = {host: {} for host in HOSTS}  # name -> "complete" or "imported"
        self.exported = set()

    def likely(self, host):
        """Verbs and names that fit."""
        found = []
        for name in NAMES:
            state = self.records[host].get(name)
            if state is None:
                found += [("receive", name)] * 4 if name in self.exported else []
                found += [("create", name)] * 2 if not any(name in self.records[other] for other in HOSTS) else []
            elif state == "complete":
                found += [("import", name)] * 4 + [("delete", name)]
                found += [("export", name)] * (1 if name in self.exported else 4)
            else:
                found += [("release", name)] * 2 + [("import", name), ("delete", name), ("export", name)]
        return found

    def choose(self, host):
        likely = self.likely(host)
        if likely and self.rng.random() < 0.85:
            verb, name = self.rng.choice(likely)
        else:
            verb = self.rng.choice(("create", "export", "receive", "import", "release", "delete", "delete", "list"))
            name = self.rng.choice(NAMES)
        if verb == "delete" and self.rng.random() < 0.08:
            verb = "take"
        return verb, name

    def enter(self, host, verb, name):
        records = self.records[host]
        if verb in ("create", "receive"):
            records.setdefault(name, "complete")
        elif verb == "export" and name in records:
            self.exported.add(name)
        elif verb in ("import", "release") and name in records:
            records[name] = "imported" if verb == "import" else "complete"
        elif verb in ("delete", "take"):
            records.pop(name, None)


def make_plan(seed):
    """The rounds of a seed."""
    rng = random.Random(seed)
    guess = Guess(rng)
    rounds = []
    for number in range(1, ROUNDS + 1):
        acts = []
        for _ in range(rng.randint(2, 5)):
            host = rng.choice(HOSTS)
            verb, name = guess.choose(host)
            act = Act(round(rng.uniform(0, SPREAD), 3), host, verb, name)
            if verb == "create":
                act.groups = rng.choice(GROUPS)
            if rng.random() < 0.25:
                act.kill = round(act.at + rng.uniform(0.005, LONGEST), 3)
            else:
                guess.enter(host, verb, name)
            acts.append(act)
        faults = [(rng.choice([*FAULTS]), rng.choice(COMMANDS), rng.randint(1, 4))
                  for _ in range(rng.choice((0, 0, 1, 1, 2)))]
        rounds.append(Round(acts, faults, number if rng.random() < 0.5 else 0))
    return rounds


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
