#!/usr/bin/python3
"""The units of systemd and the lines of cron that run the jobs of an administrator, each as it stands.

  units_test.py CLASS BIN UNITS   the tests of one class below, with the programs and the units of these folders

What systemd makes of an ExecStart= line is done here in the same way, so that a run needs neither systemd nor root. Exits 77
where nothing could be tested, having said why.
"""
import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
TOP = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(TOP / "tests"))
from sweep.site import DEADLINE, Site  # noqa: E402  pylint: disable=wrong-import-position

PAGE = TOP / "docs/fictl.md"
SKIPPED = 77
# systemd's own reader of such files, where it is.
READER = pathlib.Path("/usr/lib/systemd/user-environment-generators/30-systemd-environment-d-generator")
BIN = UNITS = None


def values(unit, key):
    return re.findall(rf"^{key}=(.*)$", (UNITS / unit).read_text(), re.M)


def assignments(lines):
    """NAME=VALUE as systemd takes them from a file."""
    if READER.exists():
        with tempfile.TemporaryDirectory() as folder:
            (pathlib.Path(folder) / "environment.d").mkdir()
            (pathlib.Path(folder) / "environment.d/job.conf").write_text(lines)
            told = subprocess.run([READER], env={"XDG_CONFIG_HOME": folder, "HOME": folder}, capture_output=True, text=True,
                                  check=True).stdout
        lines = "\n".join(line for line in told.splitlines() if not line.startswith("PATH="))
    pairs = (line.split("=", 1) for line in map(str.strip, lines.splitlines()) if line and not line.startswith("#"))
    return {name: "".join(shlex.split(value)) for name, value in pairs}


def exec_words(unit, job, environment):
    """The words of the command of a unit, as systemd splits it and fills it in."""
    (line,) = values(unit, "ExecStart")
    words = []
    for word in line.replace("%i", job).split():
        if re.fullmatch(r"\$\w+", word):
            words += shlex.split(environment.get(word[1:], ""))
        else:
            words.append(re.sub(r"\$\{(\w+)\}", lambda found: environment.get(found.group(1), ""), word))
    return words


class OnASite(unittest.TestCase):
    """A host with a job that freezes an application."""

    def setUp(self):
        self.site = Site(BIN)
        self.addCleanup(self.site.remove)
        self.root = self.site.folder / "production"
        (self.root / "etc/qz/jobs").mkdir()
        self.frozen = self.site.folder / "frozen"
        self.give_job("db")

    def give_job(self, name, **other):
        devices = " ".join(self.site.devices[lun] for lun in ("data", "journal"))
        told = {"SNAPSHOT": "db-{date}-{n}", "DEVICES": devices, "FREEZE": f'printf "%s  " frozen >>{self.frozen}; printenv FICTL_SNAPSHOT >>{self.frozen}',
                "THAW": f"echo thawed >>{self.frozen}", "CREATE_OPTIONS": "--max-freeze 30 --note nightly",
                "PRUNE_OPTIONS": "--keep-last 1", "EVERY": "1d"} | other
        lines = [f"{key}='{value}'" for key, value in told.items() if value is not None]
        (self.root / f"etc/qz/jobs/{name}.env").write_text("# a job\n" + "\n".join(lines) + "\n")

    def job_file(self, name):
        return self.root / f"etc/qz/jobs/{name}.env"

    def run_words(self, words):
        return subprocess.run(words, env=self.site.environment | {"OBZX_ROOT": str(self.root)}, stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, timeout=DEADLINE, check=False)

    def status(self):
        run = self.run_words([BIN / "fictl", "--output", "json", "status"])
        return run.returncode, json.loads(run.stdout)["status"]

    def snapshots(self):
        run = self.run_words([BIN / "fictl", "--output", "json", "snapshot", "list", "--label", "job=db"])
        return [(each["state"], each["note"]) for each in json.loads(run.stdout)["snapshots"]]

    def commands(self):
        run = self.run_words([BIN / "fictl", "--output", "json", "history"])
        return [shlex.split(each["command"]) for each in json.loads(run.stdout)["history"]]

    def state(self):
        code, status = self.status()
        (job,) = status["jobs"]
        return code, job["state"], job["last_run"] and job["last_run"]["exit"]

    def check_life(self, create, prune):
        """What there is after each of the runs that a job may have."""
        self.assertEqual(self.state(), (0, "never ran", None))
        for _ in range(2):
            run = create()
            self.assertEqual(run.returncode, 0, run.stderr)
        self.assertEqual(self.snapshots(), [("complete", "nightly")] * 2)
        told = self.frozen.read_text().splitlines()
        self.assertEqual([re.sub(r"-\d+", "", line) for line in told], ["frozen  db", "thawed"] * 2)
        self.assertEqual(self.state(), (0, "ok", 0))
        run = prune()
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertEqual(len(self.snapshots()), 1)
        self.give_job("db", FREEZE="exit 3")
        self.assertEqual(create().returncode, 12)
        self.assertEqual(self.state(), (8, "failed", 12))
        self.give_job("db", FREEZE=None, THAW=None, CREATE_OPTIONS=None)
        run = create()
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertEqual(self.state(), (0, "ok", 0))
        self.give_job("db", PRUNE_OPTIONS=None)
        self.assertEqual(prune().returncode, 2, "nothing says what is to be kept")
        self.assertEqual(len(self.snapshots()), 2)


class RunAJob(OnASite):
    """The commands of the units."""

    def run_unit(self, unit, job="db"):
        environment = assignments("".join(f"{pair}\n" for line in values(unit, "Environment") for pair in line.split()))
        for file in values(unit, "EnvironmentFile"):
            self.assertEqual(file, "/etc/qz/jobs/%i.env")
            environment |= assignments(self.job_file(job).read_text())
        program, *words = exec_words(unit, job, environment)
        self.assertEqual(pathlib.Path(program).name, "fictl")
        return self.run_words([BIN / "fictl", *words])

    def test_from_the_first_run_to_a_failed_one(self):
        self.check_life(lambda: self.run_unit("fictl-create@.service"), lambda: self.run_unit("fictl-prune@.service"))

    def test_numbers(self):
        self.assertEqual(self.run_unit("fictl-create@.service").returncode, 0)
        words = values("fictl-status.service", "ExecStart")[0].split()
        self.assertEqual(words[1:-1], ["status", "--output=openmetrics"])
        option, file = words[-1].split("=")
        folder = pathlib.Path(file).parent
        self.assertEqual(values("fictl-status.service", "ConditionPathIsDirectory"), [str(folder)])
        self.assertIn(str(folder), values("fictl-status.service", "ReadWritePaths")[0].split())
        self.assertEqual(values("fictl-status.service", "SuccessExitStatus"), ["8"])
        here = self.site.folder / "exchange" / pathlib.Path(file).name
        run = self.run_words([BIN / "fictl", "status", "--output=openmetrics", f"{option}={here}"])
        self.assertEqual((run.returncode, run.stdout), (0, ""), run.stderr)
        self.assertIn('fictl_job_state{job="db",state="ok"} 1\n', here.read_text())


class RunAJobByCron(OnASite):
    """The lines of cron that the page shows."""

    def lines(self):
        found = re.findall(r"^    \S+ \S+ \S+ \S+ \S+  root  (.+)$", PAGE.read_text(), re.M)
        self.assertEqual([line.split("fictl ")[1].split(" --")[0] for line in found], ["snapshot create", "snapshot prune"])
        return found

    def run_line(self, line):
        self.assertEqual(line.count("/etc/qz/jobs"), 1)
        self.assertNotIn("%", line, "cron makes a line's end of it")
        here = line.replace("/etc/qz/jobs", str(self.root / "etc/qz/jobs"))
        path, = re.findall(r"^    PATH=(.+)$", PAGE.read_text(), re.M)
        self.assertIn("/usr/local/bin", path.split(":"))
        self.site.environment["PATH"] = path.replace("/usr/local/bin", str(BIN))
        return self.run_words(["/bin/sh", "-c", here])

    def test_from_the_first_run_to_a_failed_one(self):
        create, prune = self.lines()
        self.check_life(lambda: self.run_line(create), lambda: self.run_line(prune))

    def test_are_the_commands_of_the_units(self):
        for line, unit in zip(self.lines(), ("fictl-create@.service", "fictl-prune@.service")):
            of_unit = values(unit, "ExecStart")[0].replace("%i", "db")
            of_line = re.sub(r'"\$(\w+)"', r"${\1}", line.split("&& ")[1])
            self.assertEqual(of_line, f"fictl {of_unit.split(' ', 1)[1]}")


class AreSound(unittest.TestCase):
    """What systemd itself says of the units, and of the drop-ins of the page."""

    def setUp(self):
        if not shutil.which("systemd-analyze"):
            self.skipTest("systemd-analyze is missing: script/bootstrap")
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="cdpfi-units."))
        self.addCleanup(shutil.rmtree, self.folder)
        for unit in UNITS.iterdir():
            # The program need not be installed.
            (self.folder / unit.name).write_text(unit.read_text().replace(program_of_units(), str(BIN / "fictl")))

    def complaints(self):
        names = [self.folder / name.replace("@.", "@db.") for name in sorted(path.name for path in self.folder.glob("*.*er*"))
                 if name.endswith((".service", ".timer"))]
        environment = os.environ | {"SYSTEMD_UNIT_PATH": f"{self.folder}:", "SYSTEMD_LOG_LEVEL": "warning"}
        run = subprocess.run(["systemd-analyze", "verify", "--man=no", *names], capture_output=True, text=True,
                             env=environment, timeout=DEADLINE, check=False)
        return run.stdout + run.stderr + (f"exit {run.returncode}" if run.returncode else "")

    def test_units(self):
        self.assertEqual(len(list(self.folder.iterdir())), 6)
        self.assertEqual(self.complaints(), "")

    def test_drop_ins_of_the_page(self):
        shown = re.findall(r"^    # /etc/systemd/system/(\S+)\n((?:    .*\n|\n(?=    (?!#)))+)", PAGE.read_text(), re.M)
        self.assertEqual([name for name, _ in shown], ["fictl-create@.service.d/tell.conf", "tell@.service"])
        for name, text in shown:
            (self.folder / name).parent.mkdir(exist_ok=True)
            (self.folder / name).write_text(re.sub(r"^    ", "", text, flags=re.M))
        self.assertEqual(self.complaints(), "")

    def test_a_fault_is_told(self):
        unit = self.folder / "fictl-prune@.service"
        unit.write_text(unit.read_text().replace("NoNewPrivileges=", "NoNewPrivilege="))
        self.assertIn("NoNewPrivilege", self.complaints())


class NumbersAreRead(OnASite):
    """The numbers, as the readers of both text formats understand them."""

    def setUp(self):
        try:
            # pylint: disable-next=import-outside-toplevel
            from prometheus_client import openmetrics, parser
            import prometheus_client.openmetrics.parser  # noqa: F401  pylint: disable=import-outside-toplevel,unused-import
        except ImportError:
            self.skipTest("python3-prometheus-client is missing: script/bootstrap")
        self.readers = (openmetrics.parser.text_string_to_metric_families, parser.text_string_to_metric_families)
        super().setUp()

    def test_each_reader_finds_all(self):
        words = exec_words("fictl-create@.service", "db", assignments(self.job_file("db").read_text()))
        self.assertEqual(self.run_words([BIN / "fictl", *words[1:]]).returncode, 0)
        self.give_job("odd", SNAPSHOT=None)
        text = self.run_words([BIN / "fictl", "--output", "openmetrics", "status"]).stdout
        _, status = self.status()
        lines = [line for line in text.splitlines() if not line.startswith("#")]
        for read in self.readers:
            families = list(read(text))
            self.assertEqual({family.type for family in families}, {"gauge"})
            samples = [sample for family in families for sample in family.samples]
            self.assertEqual(len(samples), len(lines))
            self.assertTrue(all(sample.timestamp is None for sample in samples))
            found = {(sample.name, *sorted(sample.labels.items())): sample.value for sample in samples}
            self.assertEqual(len(found), len(lines))
            self.assertEqual(found[("fictl_snapshots", ("state", "complete"))], status["snapshots"]["states"]["complete"])
            self.assertEqual(found[("fictl_job_state", ("job", "odd"), ("state", "unusable"))], 1)
        units = {family.name: family.unit for family in self.readers[0](text)}
        self.assertEqual({unit for name, unit in units.items() if name.endswith("_seconds")}, {"seconds"})
        self.assertEqual({unit for name, unit in units.items() if not name.endswith("_seconds")}, {""})

    def test_what_is_no_such_text_is_refused(self):
        with self.assertRaises(ValueError):
            list(self.readers[0]("# TYPE fictl_snapshots gauge\nfictl_snapshots 1\n"))


def program_of_units():
    return values("fictl-status.service", "ExecStart")[0].split()[0]


def main():
    global BIN, UNITS  # pylint: disable=global-statement
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    wanted = globals()[sys.argv[1]]
    BIN, UNITS = (pathlib.Path(word).resolve() for word in sys.argv[2:])
    tests = unittest.defaultTestLoader.loadTestsFromTestCase(wanted)
    result = unittest.TextTestRunner(verbosity=2).run(tests)
    if not result.wasSuccessful() or not result.testsRun:
        sys.exit(1)
    sys.exit(SKIPPED if len(result.skipped) == result.testsRun else 0)


if __name__ == "__main__":
    main()
