"""Two hosts and two appliances below a scratch folder, and the backup that runs on them."""
import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import time

TOP = pathlib.Path(__file__).resolve().parent.parent.parent
DEADLINE = 60  # seconds; nothing here takes longer on a machine that works at all


class Failure(Exception):
    """What a case found wrong."""


def need(condition, text):
    if not condition:
        raise Failure(text)


def wait_for(condition, what, seconds=DEADLINE):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            raise Failure(f"{what} does not happen")
        time.sleep(0.002)


def error_of(document):
    """What a command's document says went wrong."""
    return document.get("error", {}).get("message", document)


def scratch_parent():
    """In memory where there is such a place: a killed process, unlike a power cut, loses nothing that was not synced."""
    memory = pathlib.Path("/dev/shm")
    return memory if "TMPDIR" not in os.environ and os.access(memory, os.W_OK | os.X_OK) else None


def leave_sockets_out(folder, names):
    return [name for name in names if (pathlib.Path(folder) / name).is_socket()]


class Site:
    """Two appliances with a group each, and two hosts, below a scratch folder of their own."""

    # What keeps the appliances' content: LMADM_ENGINE, as for lmadm itself. The engine ceph needs a cluster that runs.
    ENGINE = os.environ.get("LMADM_ENGINE", "files")
    CLUSTER = os.environ.get("CDPFI_CLUSTER", "")

    LUN_SIZE = "16KiB"
    LUNS = {"data": ("alpha", "payroll"), "journal": ("alpha", "payroll"), "ledger": ("beta", "books")}

    def __init__(self, bin_folder):
        self.bin = bin_folder
        self.libraries = bin_folder.parent / "tests"
        for name in ("libopen_at_exit.so", "libkill_at_sync.so"):
            need((self.libraries / name).exists(), f"{self.libraries / name} is missing: build the target sweep")
        self.talk = False  # whether each fictl is told of
        self.unmounted = False  # whether the other host was told to delete what it had imported
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="cdpfi-sweep.", dir=scratch_parent()))
        self.environment = {"PATH": "/usr/bin:/bin", "RES_OPTIONS": "timeout:1 attempts:1",
                            "TMPDIR": str(self.folder / "tmp"), "LMADM_STORE": str(self.folder / "store"),
                            "OPEN_AT_EXIT_PROGRAM": "fictl", "OPEN_AT_EXIT": str(self.folder / "reports/open"),
                            "LMADM_ENGINE": self.ENGINE, **self.sanitizer_options()}
        for name in ("store", "tmp", "exchange", "reports", "production", "backup"):
            (self.folder / name).mkdir()
        try:
            if self.ENGINE == "ceph":
                self.join_cluster()
            self.build()
        except BaseException:
            self.remove()
            raise
        self.devices = {entry["name"]: entry["device"] for appliance in dict(self.LUNS.values())
                        for entry in self.lmadm_json("--appliance", appliance, "lun", "list")["luns"]}
        self.content = {name: pathlib.Path(path).read_bytes() for name, path in self.devices.items()}

    def sanitizer_options(self):
        """For programs that are built with sanitizers: each report becomes a file. The address sanitizer would refuse a
        library that is loaded before its own. Its search for leaks guesses where the thread-local data of loaded libraries
        lies, and now and then ends itself on a wrong guess; the tests of the single programs search for leaks."""
        reports = f"log_path={self.folder}/reports/sanitizer"
        return {"ASAN_OPTIONS": f"detect_leaks=0:verify_asan_link_order=0:{reports}", "TSAN_OPTIONS": reports, "UBSAN_OPTIONS": reports}

    def build(self):
        for appliance, group in dict(self.LUNS.values()).items():
            self.lmadm("appliance", "create", appliance)
            for host in ("production", "backup"):
                self.lmadm("--appliance", appliance, "host", "create", host)
            self.lmadm("--appliance", appliance, "group", "create", group)
        for lun, (appliance, group) in self.LUNS.items():
            on = ("--appliance", appliance)
            self.lmadm(*on, "lun", "create", lun, "--group", group, "--size", self.LUN_SIZE)
            self.lmadm(*on, "lun", "present", lun, "production")
            self.lmadm(*on, "write", lun, "--offset", "0", "--pattern", f"content of {lun}; ")
        for host in ("production", "backup"):
            self.lmadm("host", "setup", "--root", str(self.folder / host), "--host", host)

    def join_cluster(self):
        """Puts the catalog and the content on the cluster."""
        need(self.CLUSTER, "the engine ceph needs a cluster: script/cluster up --folder DIR, and CDPFI_CLUSTER=DIR")
        settings = subprocess.run([TOP / "script/cluster", "settings", "--folder", self.CLUSTER, "--catalog", self.folder.suffix[1:]],
                                  capture_output=True, text=True, timeout=DEADLINE, check=True).stdout
        (self.folder / "store/etc/qz").mkdir(parents=True)
        (self.folder / "store/etc/qz/appliance.conf").write_text(settings)

    def can_be_kept(self):
        """Whether all of it lies below its folder."""
        return self.ENGINE != "ceph"

    def limit_commands(self, seconds):
        """Lets the provider give up a command that hangs; long enough for one that does not. 0: the usual limit."""
        section = "\n[FI_EXEC]\n"
        for host in ("production", "backup"):
            configuration = self.folder / host / "etc/qz/cdpfi.conf"
            text = configuration.read_text().split(section)[0]
            configuration.write_text(f"{text}{section}MAX_TIMEOUT={seconds}\n" if seconds else text)

    def remove(self):
        self.stop_appliances()
        shutil.rmtree(self.folder)

    def stop_appliances(self):
        """Takes the devices back of an engine that keeps them as something else than files."""
        if self.ENGINE == "files" or not (self.folder / "store/var").exists():
            return
        for entry in self.lmadm_json("appliance", "list")["appliances"]:
            self.lmadm("appliance", "stop", entry["name"])

    def start_appliances(self):
        """Attaches the devices again."""
        if self.ENGINE == "files":
            return
        for host in ("production", "backup"):
            run = subprocess.run([self.bin / "kforutil", "discover"], capture_output=True, text=True, timeout=DEADLINE,
                                 env=self.environment | {"OBZX_ROOT": str(self.folder / host)}, check=False)
            need(run.returncode == 0, f"kforutil discover on {host}: {run.stderr}")

    def lmadm(self, *words):
        run = subprocess.run([self.bin / "lmadm", *words], env=self.environment, stdin=subprocess.DEVNULL,
                             capture_output=True, text=True, timeout=DEADLINE, check=False)
        need(run.returncode == 0, f"lmadm {' '.join(words)} ended with {run.returncode}: {run.stderr}")
        return run.stdout

    def lmadm_json(self, *words):
        return json.loads(self.lmadm("--output", "json", *words))

    def keep(self, folder):
        """Copies the whole site."""
        shutil.rmtree(folder, ignore_errors=True)
        self.stop_appliances()
        shutil.copytree(self.folder, folder, symlinks=True, ignore=leave_sockets_out)
        self.start_appliances()

    def go_back(self, folder):
        """Makes the site what it was when `folder` was kept."""
        self.stop_appliances()
        for entry in self.folder.iterdir():
            shutil.rmtree(entry)
        shutil.copytree(folder, self.folder, symlinks=True, dirs_exist_ok=True)
        self.start_appliances()

    def start(self, host, words, tracer=(), **extra):
        """Starts fictl; LD_PRELOAD in `extra` names a library that is loaded too, `tracer` a program that starts it."""
        preload = [str(self.libraries / "libopen_at_exit.so"), extra.pop("LD_PRELOAD", "")]
        environment = self.environment | {"OBZX_ROOT": str(self.folder / host), "LD_PRELOAD": ":".join(preload)} | extra
        return subprocess.Popen([*tracer, self.bin / "fictl", "--output", "json", *words], env=environment, text=True,
                                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def finish(self, process, words):
        try:
            out, err = process.communicate(timeout=DEADLINE)
        except subprocess.TimeoutExpired as error:
            process.kill()
            raise Failure(f"fictl {' '.join(words)} does not end") from error
        if self.talk:
            print(f"  fictl {' '.join(words)}: {process.returncode}\n{err}{out}", flush=True)
        if process.returncode >= 0:
            self.check_closed(process, words)
        try:
            return process.returncode, json.loads(out) if out else {}
        except json.JSONDecodeError as error:
            raise Failure(f"fictl {' '.join(words)} wrote no document: {out}") from error

    def check_closed(self, process, words):
        """A fictl that ended by itself, however its work went, had closed everything but its standard descriptors."""
        report = self.folder / f"reports/open.{process.pid}"
        need(report.exists(), f"fictl {' '.join(words)} did not end in the way of a program: {process.returncode}")
        held = report.read_text()
        report.unlink()
        need(not held, f"fictl {' '.join(words)} ended and still held the descriptors {held}")

    def fictl(self, host, *words):
        return self.finish(self.start(host, words), words)

    def names(self, host):
        status, document = self.fictl(host, "snapshot", "list")
        need(status == 0, f"the catalog of {host} cannot be listed")
        return [entry["name"] for entry in document["snapshots"]]

    def record(self, host, name):
        """A record as the catalog shows it, or None."""
        status, document = self.fictl(host, "snapshot", "show", name)
        need(status in (0, 3), f"{name} cannot be shown on {host}")
        return document["snapshot"] if status == 0 else None

    def history(self, host):
        status, document = self.fictl(host, "history")
        need(status == 0, f"the history of {host} cannot be read")
        return document["history"]

    def copies(self):
        """What the appliances list: checkpoints as (appliance, group, name), time images as (appliance, group, name,
        checkpoint, hosts that it is granted to)."""
        checkpoints, images = set(), set()
        for appliance, group in set(self.LUNS.values()):
            shown = self.lmadm_json("--appliance", appliance, "group", "show", group)
            checkpoints |= {(appliance, group, entry["name"]) for entry in shown["annotations"]}
            images |= {(appliance, group, entry["name"], entry["annotation"], tuple(entry["permissions"]))
                       for entry in shown["time_images"]}
        return checkpoints, images


class Workflow:
    """The steps of a backup, in order; each is (step, host, words). The copy is given back before its checkpoint is
    deleted, so the last step, which deletes it on the other host, finds nothing. A case of that step starts earlier."""

    # The step whose situation a case starts from, where that is not the step itself: with the copy still imported.
    START = {"unmount": "release"}

    def __init__(self, site, name):
        self.site = site
        self.name = name
        self.document = site.folder / "exchange" / f"{name}.json"
        # What fictl still holds open once the checkpoints are made, or were refused. The thaw command's parent is its
        # guardian.
        self.open = site.folder / "exchange/open"
        fictl = "$(sed -n 's/^PPid://p' /proc/$PPID/status | tr -d '[:space:]')"
        hooks = ["true", f"ls -l /proc/{fictl}/fd >{self.open}"]
        devices = [site.devices[lun] for lun in ("data", "journal", "ledger")]
        self.steps = [
            ("create", "production", ["snapshot", "create", name, *devices, "--freeze", hooks[0], "--thaw", hooks[1]]),
            ("list", "production", ["snapshot", "list"]),
            ("export", "production", ["snapshot", "export", name, "--file", str(self.document), "--force"]),
            ("receive", "backup", ["snapshot", "receive", str(self.document)]),
            ("import", "backup", ["snapshot", "import", name]),
            ("release", "backup", ["snapshot", "release", name]),
            ("delete", "production", ["snapshot", "delete", name]),
            ("unmount", "backup", ["snapshot", "delete", name]),
        ]

    def step(self, name):
        """Host and words of a step."""
        return next((host, words) for step, host, words in self.steps if step == name)

    def after(self, name):
        """The steps that are left once this one is done."""
        start = self.START.get(name, name)
        names = [step for step, _, _ in self.steps]
        left = self.steps[names.index(start):]
        if start != name:
            left = [entry for entry in left if entry[0] != start]
        return [entry for entry in left if entry[0] != name]

    def run_clean(self, before=lambda step: None):
        """Runs all steps; every one has to succeed. `before` is told of each one."""
        for step, host, words in self.steps:
            before(step)
            status, document = self.site.fictl(host, *words)
            need(status == 0, f"the undisturbed step {step} of {self.name} ends with {status}: {error_of(document)}")
            self.check_step(step, document)

    def run_to(self, step):
        """Runs the steps before this one."""
        for name, host, words in self.steps:
            if name == step:
                return
            status, document = self.site.fictl(host, *words)
            need(status == 0, f"the undisturbed step {name} of {self.name} ends with {status}: {error_of(document)}")

    def import_again(self):
        """An import on the other host, whatever became of one before."""
        host, words = self.step("import")
        status, document = self.site.fictl(host, *words)
        need(status == 0, f"a second import ends with {status}: {error_of(document)}")
        self.check_import(document["snapshot"])

    def check_step(self, step, document):
        if step == "create":
            need(self.open.exists(), "the thaw command has not run")
            self.check_descriptors()
            need(document["snapshot"]["state"] == "complete", "the new snapshot is not complete")
        if step == "import":
            self.check_import(document["snapshot"])
        if step == "release":
            need(document["snapshot"]["state"] == "complete", "the snapshot that was given back is not complete")

    def check_descriptors(self):
        """Of a command that has ended nothing is open: no pipe, no script, no handle of its process. Nothing can be
        said of a creation that ended before it came to its thaw command."""
        lines = self.open.read_text().splitlines() if self.open.exists() else []
        self.open.unlink(missing_ok=True)
        targets = dict(line.rsplit(maxsplit=3)[1::2] for line in lines if " -> " in line)
        held = [target for number, target in targets.items() if int(number) > 2]
        left = [target for target in held if target.startswith(("pipe:", str(self.site.folder / "tmp")))]
        need(not left and not any("pidfd" in target for target in held), f"descriptors are left: {held}")

    def check_import(self, snapshot):
        need(snapshot["state"] == "imported", "the imported snapshot is not imported")
        for device in snapshot["devices"]:
            lun = pathlib.Path(device["source"]).name
            image = pathlib.Path(device["import_path"])
            need(image.read_bytes() == self.site.content[lun], f"the copy of {lun} does not hold what the source held")


class Stage:
    """A site that can be taken back to the moment before each step of a workflow: cases are independent of each other,
    and none has to build what another one has built already. A site that cannot be kept is built anew for each."""

    def __init__(self, bin_folder):
        self.bin = bin_folder
        self.site = Site(bin_folder)
        self.kept = pathlib.Path(tempfile.mkdtemp(prefix="cdpfi-sweep-kept.", dir=scratch_parent()))
        try:
            Workflow(self.site, "nightly").run_clean(self.keep)
        except BaseException:
            self.remove()
            raise

    def keep(self, step):
        if self.site.can_be_kept():
            self.site.keep(self.kept / step)
        else:
            (self.kept / step).mkdir()

    def before(self, step):
        start = self.kept / Workflow.START.get(step, step)
        need(start.is_dir(), f"there is no step {step}; script/sweep --list names the cases")
        if self.site.can_be_kept():
            self.site.go_back(start)
        else:
            self.build_anew(start.name)
        self.site.unmounted = step == "unmount"
        return self.site

    def build_anew(self, step):
        talk = self.site.talk
        self.site.remove()
        self.site = Site(self.bin)
        Workflow(self.site, "nightly").run_to(step)
        self.site.talk = talk

    def forget(self):
        """Removes what cases start from; the site stays."""
        shutil.rmtree(self.kept)

    def remove(self):
        self.forget()
        self.site.remove()
