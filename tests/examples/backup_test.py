#!/usr/bin/env python3
"""The nightly backup of examples/backup on two hosts: what it saves can be restored, and nothing that goes wrong loses a
snapshot or leaves a copy behind.

  backup_test.py PROGRAM FOLDER    PROGRAM: restic, borg, or copy, which needs no package; FOLDER: the programs
                                   (build/release/bin)

Ends with status 77 where PROGRAM is not installed.
"""
import contextlib
import json
import os
import pathlib
import shutil
import signal
import sqlite3
import subprocess
import sys
import unittest

TOP = pathlib.Path(__file__).resolve().parent.parent.parent
sys.dont_write_bytecode = True
sys.path.insert(0, str(TOP / "tests"))
from sweep.site import DEADLINE, Site, wait_for  # noqa: E402  pylint: disable=wrong-import-position

SKIPPED = 77  # what ctest takes for a test that was not run
SCRIPTS = TOP / "examples/backup"
PROGRAM, BIN = sys.argv[1], pathlib.Path(sys.argv[2]).resolve()
SAVER = TOP / "tests/examples/with-copy" if PROGRAM == "copy" else SCRIPTS / f"with-{PROGRAM}"
# What makes a repository, and the command that is at work while one saves.
MAKE_REPOSITORY = {"restic": ["restic", "init", "--quiet"], "borg": ["borg", "init", "--encryption", "none"], "copy": ["true"]}
AT_WORK = {"restic": ("restic", "backup"), "borg": ("borg", "create"), "copy": ("sleep", "0.4")}


class Nightly(Site):
    """A production host with a job of two LUNs in two groups, and a backup host with a repository."""

    def __init__(self):
        super().__init__(BIN)
        self.environment["PATH"] = f"{BIN}:{self.environment['PATH']}"
        self.repository = self.folder / "repository"
        for name in ("on-backup", "state", "production/etc/qz/jobs"):
            (self.folder / name).mkdir()
        self.job = self.folder / "production/etc/qz/jobs/job.env"
        self.job.write_text(
            f'SNAPSHOT="job-{{date}}-{{n}}"\nDEVICES="{self.devices["data"]} {self.devices["ledger"]}"\n'
            f"FREEZE='echo quiet >>{self.folder}/hooks'\nTHAW='echo on >>{self.folder}/hooks'\n"
            'CREATE_OPTIONS="--label backup=pending"\nPRUNE_OPTIONS="--label backup=saved --keep-last 1"\nEVERY=1d\n')
        self.settings = {
            "PRODUCTION": f"env OBZX_ROOT={self.folder}/production {SCRIPTS}/on-production job",
            "SAVE": str(SAVER), "COPIES": str(self.repository),
            "XDG_CACHE_HOME": f"{self.folder}/cache",
            "RESTIC_REPOSITORY": str(self.repository), "RESTIC_PASSWORD": "only here",
            "BORG_REPO": str(self.repository), "BORG_BASE_DIR": f"{self.folder}/cache",
            "BORG_UNKNOWN_UNENCRYPTED_REPO_ACCESS_IS_OK": "yes"}
        (self.folder / "on-backup/job.conf").write_text("".join(f'{key}="{value}"\n' for key, value in self.settings.items()))
        self.environment |= {"OBZX_ROOT": f"{self.folder}/backup", "NIGHTLY_BACKUP": f"{self.folder}/on-backup",
                             "STATE_DIRECTORY": f"{self.folder}/state"}
        subprocess.run(MAKE_REPOSITORY[PROGRAM], env=self.environment | self.settings, check=True)
        self.repository.mkdir(exist_ok=True)

    def begin(self):
        return subprocess.Popen([SCRIPTS / "nightly", "job"], env=self.environment, stdin=subprocess.DEVNULL,
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)

    @staticmethod
    def end(process):
        """What a run has said, once it has ended."""
        return process.communicate(timeout=DEADLINE)[0]

    def saver(self, *words):
        return subprocess.run([SAVER, *words], env=self.environment | self.settings,
                              stdin=subprocess.DEVNULL, capture_output=True, timeout=DEADLINE, check=False)

    def with_label(self, label):
        """The production host's snapshots with a label, the oldest first."""
        _, document = self.fictl("production", "snapshot", "list", "--label", f"backup={label}", "--sort", "created")
        return [entry["name"] for entry in document["snapshots"]]

    def images(self):
        return self.copies()[1]


def is_below(pid, ancestor):
    """Whether a process was started by another one, or by what that has started."""
    while pid not in (0, ancestor):
        pid = int(pathlib.Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()[1])
    return pid == ancestor


def found_at_work(run):
    """The process of the backup program that a run has started, held in the middle of its work."""
    program, word = AT_WORK[PROGRAM]
    found = []

    def look():
        for process in pathlib.Path("/proc").glob("[0-9]*"):
            with contextlib.suppress(OSError):  # it has ended meanwhile
                words = (process / "cmdline").read_text().split("\0")
                names = [pathlib.Path(its).name for its in words[:2]]  # borg is a script of Python's
                if program in names and word in words and is_below(int(process.name), run.pid):
                    os.kill(int(process.name), signal.SIGSTOP)
                    found.append(int(process.name))
        return found

    wait_for(look, f"{PROGRAM} at work")
    return found[0]


class NightlyTest(unittest.TestCase):
    def setUp(self):
        self.site = Nightly()
        self.addCleanup(self.site.remove)

    def write(self, text):
        """New content for the LUNs of the job; what they hold then."""
        for lun in ("data", "ledger"):
            self.site.lmadm("--appliance", Site.LUNS[lun][0], "write", lun, "--offset", "0", "--pattern", f"{text} of {lun}; ")
        return {path: pathlib.Path(path).read_bytes() for path in (self.site.devices["data"], self.site.devices["ledger"])}

    def check_restored(self, name, content):
        """What the repository has of a snapshot is what the LUNs held, byte for byte."""
        record = json.loads(self.site.saver("record", name).stdout)
        self.assertEqual({entry["source"] for entry in record["snapshot"]["devices"]}, set(content))
        for entry in record["snapshot"]["devices"]:
            self.assertEqual(self.site.saver("restore", name, entry["serial"]).stdout, content[entry["source"]])

    def check_nothing_left(self):
        self.assertEqual(self.site.images(), set())
        self.assertEqual(self.site.names("backup"), [])

    def check_run(self, status, *texts):
        run = self.site.begin()
        text = self.site.end(run)
        self.assertEqual(run.returncode, status, text)
        for expected in texts:
            self.assertIn(expected, text)


class NightlyBackup(NightlyTest):
    def test_saves_each_snapshot_and_production_keeps_what_its_rules_say(self):
        first = self.write("monday")
        self.check_run(0)
        self.assertEqual((self.site.folder / "hooks").read_text(), "quiet\non\n")
        monday = self.site.names("production")
        second = self.write("tuesday")
        self.site.fictl("production", "snapshot", "label", monday[0], "backup=pending")  # as if nobody had heard of it
        self.check_run(0, f"{monday[0]} was saved before")
        tuesday = self.site.names("production")
        self.assertEqual((len(monday), len(tuesday)), (1, 1))
        self.assertNotEqual(monday, tuesday)
        self.write("wednesday")
        self.check_restored(monday[0], first)
        self.check_restored(tuesday[0], second)
        self.check_nothing_left()

    def test_what_one_run_cannot_save_the_next_one_does(self):
        contents = [self.write("monday")]
        away = self.site.repository.with_name("away")
        self.site.repository.rename(away)
        self.check_run(1, "is not saved")
        away.rename(self.site.repository)
        self.check_nothing_left()

        contents.append(self.write("tuesday"))
        run = self.site.begin()
        os.kill(found_at_work(run), signal.SIGKILL)
        text = self.site.end(run)
        self.assertEqual(run.returncode, 1, text)
        self.check_nothing_left()
        pending, saved = self.site.with_label("pending"), self.site.with_label("saved")
        self.assertEqual((len(pending), len(saved)), (1, 1))
        self.assertIn(f"{pending[0]} is not saved", text)
        self.assertLess(pending, saved)  # the second night went on with what it could save

        self.check_run(0)
        self.assertEqual(self.site.with_label("pending"), [])
        for name, content in zip(pending + saved, contents):
            self.check_restored(name, content)
        self.check_nothing_left()

    def test_a_run_that_is_killed_is_cleaned_up_by_the_next(self):
        content = self.write("monday")
        run = self.site.begin()
        program = found_at_work(run)
        self.check_run(75, "another run is at work")
        run.kill()
        self.site.end(run)
        wait_for(lambda: not pathlib.Path(f"/proc/{program}").exists(), f"the end of {PROGRAM}")
        self.assertEqual(len(self.site.images()), 2)  # otherwise there is nothing to clean up
        pending = self.site.with_label("pending")

        self.check_run(0, f"{pending[0]} was left by an earlier run")
        self.check_restored(pending[0], content)
        self.check_nothing_left()

    def test_a_run_that_is_stopped_ends_at_once_and_gives_back(self):
        run = self.site.begin()
        program = found_at_work(run)
        os.kill(program, signal.SIGCONT)
        run.terminate()
        text = self.site.end(run)
        self.assertEqual(run.returncode, 143, text)
        wait_for(lambda: not pathlib.Path(f"/proc/{program}").exists(), f"the end of {PROGRAM}")
        self.check_nothing_left()
        self.assertEqual(len(self.site.with_label("pending")), 1)

    def test_a_device_that_cannot_be_read_is_not_taken_for_saved(self):
        record = self.site.folder / "record.json"
        devices = [{"serial": "S1", "import_path": self.site.devices["data"]},
                   {"serial": "S2", "import_path": f"{self.site.folder}/gone"}]
        record.write_text(json.dumps({"snapshot": {"devices": devices}}))
        self.assertNotEqual(self.site.saver("save", "night", str(record)).returncode, 0)
        self.assertNotEqual(self.site.saver("record", "night").returncode, 0)
        record.write_text(json.dumps({"snapshot": {"devices": devices[:1]}}))
        self.assertEqual(self.site.saver("save", "night", str(record)).returncode, 0)
        self.assertEqual(self.site.saver("record", "night").returncode, 0)

    def test_a_snapshot_is_saved_beside_one_whose_name_begins_alike(self):
        record = self.site.folder / "record.json"
        record.write_text(json.dumps({"snapshot": {"devices": [{"serial": "S1", "import_path": self.site.devices["data"]}]}}))
        for name in ("night.party", "night"):
            run = self.site.saver("save", name, str(record))
            self.assertEqual(run.returncode, 0, run.stderr)
        for name in ("night.party", "night"):
            self.assertEqual(self.site.saver("record", name).returncode, 0, name)


class TroubleElsewhere(NightlyTest):
    """What has nothing to do with the program that saves."""

    def kill_a_creation(self):
        """The snapshot that it leaves."""
        self.site.lmadm("fault", "arm", "hang-after", "--match", "create annotation")
        run = self.site.begin()
        wait_for(lambda: any(fault["struck"] for fault in self.site.lmadm_json("fault", "list")["faults"]), "a creation")
        process = self.site.fictl("production", "history")[1]["history"][-1]["process"]
        os.kill(process, signal.SIGKILL)
        text = self.site.end(run)
        self.assertEqual(run.returncode, 1, text)
        self.assertIn("the production host has taken no snapshot", text)
        killed, = self.site.names("production")
        self.assertEqual(self.site.record("production", killed)["state"], "interrupted")
        wait_for(lambda: (self.site.folder / "hooks").read_text() == "quiet\non\n", "a thaw")
        return killed

    def test_a_creation_that_was_killed_is_left_to_a_person_and_keeps_no_run_from_its_own_snapshot(self):
        killed = self.kill_a_creation()
        self.check_run(1, f"the creation of {killed} was killed or failed: compare it with other hosts")
        self.assertEqual(self.site.record("production", killed)["state"], "interrupted")
        self.assertEqual(len(self.site.with_label("saved")), 1)
        self.site.fictl("production", "snapshot", "delete", killed)
        self.check_run(0)
        self.check_nothing_left()

    def test_what_cannot_be_cleaned_up_keeps_no_run_from_its_own_snapshot(self):
        killed = self.kill_a_creation()
        self.site.lmadm("fault", "arm", "error", "--match", "delete annotation", "--times", "0")
        self.site.fictl("production", "snapshot", "delete", killed)
        self.assertEqual(self.site.record("production", killed)["state"], "delete-failed")
        self.check_run(1, "or not deleted what an earlier run left")
        self.assertEqual(self.site.record("production", killed)["state"], "delete-failed")
        self.assertEqual(len(self.site.with_label("saved")), 1)
        self.site.lmadm("fault", "clear")
        self.check_run(0, f'snapshot "{killed}" is deleted')
        self.check_nothing_left()

    def test_a_copy_that_the_appliance_does_not_take_back_is_given_back_by_a_later_run(self):
        self.site.lmadm("fault", "arm", "error", "--match", "delete timeimage", "--times", "0")
        self.check_run(1, "the next run tries again")
        self.assertEqual(len(self.site.images()), 2)
        self.check_run(1, "was left by an earlier run")
        self.assertEqual(len(self.site.names("production")), 2)  # the next night has its snapshot all the same
        self.site.lmadm("fault", "clear")
        self.check_run(0, "was left by an earlier run")
        self.assertEqual(self.site.with_label("pending"), [])
        self.check_nothing_left()

    def test_what_production_has_imported_itself_is_pending_until_it_is_released(self):
        self.check_run(0)
        name, = self.site.names("production")
        self.site.fictl("production", "snapshot", "label", name, "backup=pending")
        self.site.fictl("production", "snapshot", "import", name)
        self.check_run(1, f"copies of {name} may show on the production host", f"{name} is not saved")
        self.assertEqual(self.site.record("production", name)["state"], "imported")
        self.site.fictl("production", "snapshot", "release", name)
        self.check_run(0, f"{name} was saved before")
        self.assertEqual(self.site.with_label("pending"), [])
        self.check_nothing_left()

    def test_what_cannot_be_compared_is_not_taken_for_saved(self):
        tools = self.site.folder / "tools"
        tools.mkdir()
        (tools / "jq").write_text(f'#!/bin/sh\ncase "$*" in *made_at*) exit 5 ;; esac\nexec {shutil.which("jq")} "$@"\n')
        (tools / "jq").chmod(0o755)
        path = self.site.environment["PATH"]
        self.site.environment["PATH"] = f"{tools}:{path}"
        self.check_run(1, "is not saved")
        self.assertEqual(len(self.site.with_label("pending")), 1)
        self.check_nothing_left()
        self.site.environment["PATH"] = path
        self.check_run(0)
        self.assertEqual(self.site.with_label("pending"), [])

    def test_a_record_that_cannot_be_read_keeps_no_other_snapshot_from_being_saved(self):
        for host in ("production", "backup"):
            self.site.fictl("production", "snapshot", "create", f"broken-{host}", self.site.devices["data"])
            if host == "backup":
                document = str(self.site.folder / "broken.json")
                self.site.fictl("production", "snapshot", "export", f"broken-{host}", "--file", document)
                self.site.fictl("backup", "snapshot", "receive", document)
            with contextlib.closing(sqlite3.connect(self.site.folder / host / "var/lib/qz/fictl.db")) as catalog, catalog:
                catalog.execute("UPDATE snapshot SET state = 'weird' WHERE name = ?", (f"broken-{host}",))
            self.check_run(1, "a record of the production host cannot be read")
        self.assertEqual(self.site.with_label("pending"), [])
        self.assertGreaterEqual(len(list(self.site.repository.glob("*.record"))), 2)
        self.assertEqual(self.site.images(), set())

    def test_the_job_that_is_shown_is_one(self):
        shutil.copy(SCRIPTS / "payroll.env", self.site.job.parent)
        _, document = self.site.fictl("production", "status")
        self.assertEqual({entry["name"]: entry["state"] for entry in document["status"]["jobs"]},
                         {"job": "never ran", "payroll": "never ran"})

    def test_a_name_that_comes_again_is_not_taken_for_saved(self):
        self.check_run(0)
        name, = self.site.names("production")
        self.site.fictl("production", "snapshot", "delete", name)
        self.check_run(1, f"another snapshot was saved as {name}")
        self.assertEqual(self.site.with_label("pending"), [name])

    def test_production_does_for_the_backup_host_what_the_job_needs_and_nothing_else(self):
        self.site.fictl("production", "snapshot", "create", "mine", self.site.devices["data"])
        production = self.site.settings["PRODUCTION"].split()
        for words in ([], ["delete"], ["document"], ["document", "mine"], ["saved", "mine"], ["saved", "--all"], ["create", "x"],
                      ["prune", "--keep-last", "0"], ["document", "--file=x"]):
            run = subprocess.run([*production, *words], env=self.site.environment, capture_output=True, check=False)
            self.assertEqual((run.returncode, run.stdout), (2, b""), words)
        self.assertEqual(len(self.site.history("production")), 1)

    def test_a_job_whose_rules_could_delete_what_is_not_saved_is_refused(self):
        whole = self.site.job.read_text()
        for label in ("pending", "saved"):
            self.site.job.write_text(whole.replace(f"--label backup={label}", ""))
            self.check_run(1, "PRUNE_OPTIONS --label backup=saved")
        self.assertEqual(self.site.history("production"), [])


if __name__ == "__main__":
    for needed in (AT_WORK[PROGRAM][0], "jq"):
        if shutil.which(needed) is None:
            print(f"{needed} is not installed: script/bootstrap --examples")
            sys.exit(SKIPPED)
    tests = ["NightlyBackup", "TroubleElsewhere"] if PROGRAM == "copy" else ["NightlyBackup"]
    unittest.main(argv=sys.argv[:1], defaultTest=tests, verbosity=2)
