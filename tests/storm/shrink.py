"""Finds a short sequence that fails as a long one does."""
import copy
import time

TRIES = 3  # of each shorter plan: what depends on time does not fail each time


def shorter(rounds):
    """Plans with one part less, the largest parts first."""
    for number in range(len(rounds)):
        yield rounds[:number] + rounds[number + 1:]
    for number, entry in enumerate(rounds):
        for part in range(len(entry.acts)):
            yield without(rounds, number, lambda entry, part=part: entry.acts.pop(part))
        for part in range(len(entry.faults)):
            yield without(rounds, number, lambda entry, part=part: entry.faults.pop(part))
        if entry.write:
            yield without(rounds, number, lambda entry: setattr(entry, "write", 0))
        for part, act in enumerate(entry.acts):
            if act.kill:
                yield without(rounds, number, lambda entry, part=part: setattr(entry.acts[part], "kill", 0))


def without(rounds, number, change):
    changed = copy.deepcopy(rounds)
    change(changed[number])
    return changed


def shrink(rounds, fails, seconds):
    """The shortest plan found within the time of which one of a few tries fails.

    fails: plays a plan; says whether it fails
    """
    end = time.monotonic() + seconds
    is_shorter = True
    while is_shorter:
        is_shorter = False
        for candidate in shorter(rounds):
            if time.monotonic() > end:
                return rounds
            if candidate and any(fails(candidate) for _ in range(TRIES)):
                rounds, is_shorter = candidate, True
                break
    return rounds
