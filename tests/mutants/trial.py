"""Whether tests notice a mutant."""
import dataclasses
import os
import re
import signal
import subprocess
import time

from mutants.table import TableError, mutate

SECONDS = 60  # that the tests of a row may take, and as many times as long as undisturbed ones take
TIMES = 10
LAYER_SECONDS = 900  # that all tests of a program may take

KILLED, ELSEWHERE, HUNG, SURVIVED = "killed", "killed elsewhere", "killed by its limit", "SURVIVED"


@dataclasses.dataclass
class Outcome:
    verdict: str
    told: str = ""  # the first test that failed

    @property
    def is_killed(self):
        return self.verdict != SURVIVED


def play(copy, program, chosen, limit):
    """Runs tests; gives the status, None for those that did not end in time, and what they told."""
    command = [str(copy.build / "tests" / program), f"--gtest_filter={chosen}", "--gtest_brief=1", "--gtest_fail_fast"]
    with subprocess.Popen(command, cwd=copy.build / "tests", stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, errors="replace", start_new_session=True) as tests:
        try:
            told, _ = tests.communicate(timeout=limit)
            status = tests.returncode
        except subprocess.TimeoutExpired:
            status, told = None, ""
        try:
            os.killpg(tests.pid, signal.SIGKILL)  # and what they left
        except ProcessLookupError:
            pass
    return status, told


def failed_test(told):
    found = re.search(r"\[  FAILED  \] ([\w/.]+)", told)
    return found[1] if found else "a crash"


class Trial:
    """The tests of the table's rows on one copy."""

    def __init__(self, copy, named_only):
        self.copy = copy
        self.named_only = named_only
        self.limits = {}  # of a row's tests, that passed undisturbed

    def limit_of(self, mutant):
        """The tests of the row notice nothing where nothing is wrong; gives how long they may take."""
        if mutant.test not in self.limits:
            begin = time.monotonic()
            status, told = play(self.copy, mutant.program, mutant.filter, LAYER_SECONDS)
            if status != 0 or not re.search(r"\[  PASSED  \] [1-9]", told):
                raise TableError(f"{mutant.name}: {mutant.test} is no test that passes without it:\n{told}")
            self.limits[mutant.test] = SECONDS + TIMES * (time.monotonic() - begin)
        return self.limits[mutant.test]

    def of(self, mutant):
        limit = self.limit_of(mutant)
        text = mutate(mutant, (self.copy.tree / mutant.file).read_text())
        self.copy.put_in(mutant.file, text)
        try:
            self.build(mutant, mutant.program)
            status, told = play(self.copy, mutant.program, mutant.filter, limit)
            if status is None:
                return Outcome(HUNG)
            if status != 0:
                return Outcome(KILLED, failed_test(told))
            return Outcome(SURVIVED) if self.named_only else self.elsewhere(mutant)
        finally:
            self.copy.take_back()

    def build(self, mutant, program):
        failure = self.copy.make([program])
        if failure:
            raise TableError(f"{mutant.name} does not compile:\n{failure[-3000:]}")

    def elsewhere(self, mutant):
        """What the tests of the whole layer say, where those of the row say nothing."""
        for program in mutant.programs():
            self.build(mutant, program)
            status, told = play(self.copy, program, "*", LAYER_SECONDS)
            if status is None:
                return Outcome(HUNG)
            if status != 0:
                return Outcome(ELSEWHERE, f"{program} {failed_test(told)}")
        return Outcome(SURVIVED)
