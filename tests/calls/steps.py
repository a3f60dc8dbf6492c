"""The steps of a backup with fictl as script/sweep plays them, each with one system call that is disturbed."""
import json
import signal
import subprocess
import time

from sweep import checks
from sweep.site import DEADLINE, Failure, Stage, Workflow, error_of, need

COMMANDS = [f"fictl-{step}" for step in ("create", "list", "export", "receive", "import", "release", "delete", "unmount")]
EXITS = range(16)  # of docs/fictl.md


class FictlStage(Stage):
    """Gives the steps, each from the situation that it needs."""

    def go_back(self, command):
        self.before(step_of(command))

    def give(self, command, tracer=()):
        """Gives one of COMMANDS; returns its status, what it said, and what it said on standard error."""
        host, words = Workflow(self.site, "nightly").step(step_of(command))
        process = self.site.start(host, words, tracer)
        try:
            out, err = process.communicate(timeout=DEADLINE)
        except subprocess.TimeoutExpired as error:
            process.kill()
            raise Failure(f"fictl {' '.join(words)} does not end") from error
        if self.site.talk:
            print(f"  fictl {' '.join(words)}: {process.returncode}\n{err}{out}", flush=True)
        return process.returncode, out, err

    def check(self, command, status, out, err):
        """What script/sweep asks after a disturbed step; of the exit codes each that is documented may be right."""
        step, site = step_of(command), self.site
        need(status in EXITS or status == -signal.SIGKILL, f"{step} ends with {status}: {err.strip()}")
        if status > 0 and out:
            check_document(step, status, out)
        for report in (site.folder / "reports").glob("open.*"):
            held = report.read_text()
            report.unlink()
            need(not held, f"{step} ended with {status} and still held the descriptors {held.strip()}")
        end = time.monotonic() + 5
        while checks.processes_of(site) and time.monotonic() < end:
            time.sleep(0.005)
        checks.check_truth(site)
        if step in ("receive", "import", "release"):
            checks.check_second_import(Workflow(site, "nightly"))
        if step == "export":  # takes over what a killed one had begun
            again, _, told = self.give(command)
            need(again == 0, f"a second export ends with {again}: {told.strip()}")
        checks.recover(site)
        # The next command that starts a provider removes the scripts of one that was killed.
        status, document = site.fictl("production", "device", "list", site.devices["data"])
        need(status == 0, f"a device cannot be listed: {status} {error_of(document)}")
        checks.check_nothing_left(site)


def step_of(command):
    return command.removeprefix("fictl-")


def check_document(step, status, out):
    try:
        told = json.loads(out)["error"]["exit"]
    except (ValueError, KeyError) as error:
        raise Failure(f"{step} ends with {status} and writes: {out}") from error
    need(told == status, f"{step} ends with {status} and says {told}")
