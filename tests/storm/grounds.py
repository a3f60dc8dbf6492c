"""The site on which a storm is played: two hosts, and what they do at the same time."""
import json
import pathlib
import subprocess
import time

from sweep import checks
from sweep.faults import FAULTS
from sweep.site import DEADLINE, Failure, Site

LIMIT = 3  # seconds for an appliance command: what hangs is given up soon


class Grounds(Site):
    """Both hosts are shown all LUNs, so that each can take snapshots and import those of the other."""

    def build(self):
        super().build()
        for lun, (appliance, _) in self.LUNS.items():
            self.lmadm("--appliance", appliance, "lun", "present", lun, "backup")

    def words(self, act):
        document = str(self.folder / "exchange" / f"{act.name}.json")
        if act.verb == "create":
            devices = [self.devices[lun] for lun, (_, group) in self.LUNS.items() if act.groups in (group, "both")]
            return ["snapshot", "create", act.name, *devices]
        if act.verb == "export":
            return ["snapshot", "export", act.name, "--force", "--file", document]
        if act.verb == "receive":
            return ["snapshot", "receive", document]
        if act.verb == "list":
            return ["snapshot", "list"]
        if act.verb == "take":
            return ["snapshot", "delete", act.name, "--even-if-in-use"]
        return ["snapshot", act.verb, act.name]

    def write(self, number):
        """Gives every source a content of its own."""
        for lun, (appliance, _) in self.LUNS.items():
            self.lmadm("--appliance", appliance, "write", lun, "--offset", "0", "--pattern", f"{lun} {number}; ")
        self.content = {name: pathlib.Path(path).read_bytes() for name, path in self.devices.items()}

    def play(self, entry):
        """Plays a round; returns for each of its acts (act, exit status, document). Nothing runs and nothing is armed
        when it returns."""
        if entry.write:
            self.write(entry.write)
        for kind, command, number in entry.faults:
            self.lmadm("fault", "arm", *FAULTS[kind], "--match", command, "--nth", str(number))
        hangs = any(kind.startswith("hang") for kind, _, _ in entry.faults)
        self.limit_commands(LIMIT if hangs else 0)
        ends = self.run_side_by_side(entry.acts)
        self.lmadm("fault", "clear")
        self.limit_commands(0)
        checks.wait_for_quiet(self)
        return ends

    def run_side_by_side(self, acts):
        events = [(act.at, number, False) for number, act in enumerate(acts)]
        events += [(act.kill, number, True) for number, act in enumerate(acts) if act.kill]
        running = {}
        start = time.monotonic()
        try:
            for at, number, is_kill in sorted(events):
                time.sleep(max(0, at - (time.monotonic() - start)))
                if is_kill:
                    running[number].kill()
                else:
                    running[number] = self.start(acts[number].host, self.words(acts[number]))
            return [self.end(act, running[number]) for number, act in enumerate(acts)]
        except BaseException:
            for process in running.values():
                process.kill()
                process.communicate(timeout=DEADLINE)
            raise

    def end(self, act, process):
        """What a command has come to. One that was killed in the moment in which it wrote its document has none."""
        if not act.kill:
            status, document = self.finish(process, self.words(act))
            return act, status, document
        try:
            out, _ = process.communicate(timeout=DEADLINE)
        except subprocess.TimeoutExpired as error:
            raise Failure(f"fictl {act.verb} {act.name} does not end though it was killed") from error
        for report in (self.folder / "reports").glob(f"open.{process.pid}"):
            report.unlink()
        try:
            return act, process.returncode, json.loads(out) if out else {}
        except json.JSONDecodeError:
            return act, process.returncode, {}

    def documents(self):
        """Names whose record was exported."""
        return [document.stem for document in (self.folder / "exchange").glob("*.json")]

    def records(self):
        """All records: host -> name -> record."""
        return {host: {name: self.record(host, name) for name in self.names(host)}
                for host in ("production", "backup")}
