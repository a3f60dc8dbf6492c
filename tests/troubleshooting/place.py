"""The site that docs/troubleshooting.md speaks of: what its names stand for below a scratch folder."""
import pathlib
import re
import shutil
import sqlite3
import subprocess

from sweep.site import DEADLINE, Failure, Site, need, wait_for

# The page calls the devices of the production host by these names, and their copies on any host by the others.
DEVICES = {"/dev/sdb": "data", "/dev/sdc": "journal", "/dev/sdd": "ledger"}
COPIES = {"/dev/sdx": "data", "/dev/sdy": "journal", "/dev/sdz": "ledger"}
# These lie below the root folder of the host that the prompt names.
BELOW_ROOT = ("/etc/qz", "/var/lib/qz", "/var/log/qz", "/opt/QXPKlm")

# What differs from run to run, on the page as in what is printed.
VARYING = (
    (re.compile(r"(KSV_Check_Point_|KSV_Time_Image_)\d+"), r"\g<1>N"),
    (re.compile(r"LM[0-9A-F]{11,14}"), "SERIAL"),
    (re.compile(r"ksv_\w+"), "SCRIPT"),
    (re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ"), "TIME"),
    (re.compile(r"\d+\.\d+ s\b"), "N s"),
    (re.compile(r"within \d+ s\b"), "within N s"),
    (re.compile(r" +"), " "),  # columns are as wide as what stands in them
)

# Stands in place of a program of the appliance: what a script holds decides on the answer.
ODD_TOOL = """\
script=$(cat)
case "$script" in
{pattern}) {answer} ;;
esac
printf '%s\\n' "$script" | exec {tool} "$@"
"""


def settled(line):
    """A printed line without what differs from run to run."""
    for pattern, stand_in in VARYING:
        line = pattern.sub(stand_in, line)
    return line.strip()


class Place(Site):
    """Hosts production and backup, appliances alpha and beta, and an administrator at a shell of each."""

    def __init__(self, bin_folder):
        self.standing = {}  # what the page calls a process or a serial, and what it is here
        self.status = 0
        self.before_each = ":"  # a command of the shell, for surroundings that a process inherits
        self.prefix = bin_folder.parent  # what the page calls /usr/local
        self._background = []
        super().__init__(bin_folder)
        (self.folder / "programs").mkdir()
        self._find_programs()

    def remove(self):
        for process in self._background:
            process.kill()
            process.wait()
        super().remove()

    # What a scenario does to the site.

    def root(self, host):
        return self.folder / host

    def configure(self, host, file, change):
        """Gives a file of a host's configuration the text that `change` makes of it."""
        path = self.root(host) / "etc/qz" / file
        path.write_text(change(path.read_text(encoding="utf-8")), encoding="utf-8")

    def program(self, name, text):
        """Puts a script of the shell into the path of every host."""
        path = self.folder / "programs" / name
        path.write_text(f"#!/bin/sh\n{text}\n", encoding="utf-8")
        path.chmod(0o755)

    def answer_oddly(self, host, pattern, answer):
        """Has the appliance's shell, as this host is set up to use it, run `answer` for scripts like `pattern`."""
        self._use(host, "lmsh", ODD_TOOL.format(pattern=pattern, answer=answer, tool=self.bin / "lmsh"))

    def answer_plainly(self):
        self.program("lmsh", f'exec {self.bin / "lmsh"} "$@"')

    def fail_to_discover(self, host, answer):
        tool = self.bin / "kforutil"
        self._use(host, "kforutil", f'[ "$1" != discover ] || {{ {answer}; }}\nexec {tool} "$@"')

    def discover_again(self):
        self.program("kforutil", f'exec {self.bin / "kforutil"} "$@"')

    def _use(self, host, name, text):
        self.program(name, text)
        key = f"LMR_{name.upper()}_PATH"
        self.configure(host, "cdpfi.conf",
                       lambda its: re.sub(rf"(?m)^{key}=.*$", f"{key}={self.folder / 'programs'}/", its))

    def install_apart(self):
        """An installation of its own with the provider, and without the inspector."""
        self.prefix = self.folder / "usr"
        (self.prefix / "bin").mkdir(parents=True)
        (self.prefix / "libexec/obzx").mkdir(parents=True)
        (self.prefix / "lib/obzx/providers").mkdir(parents=True)
        shutil.copy(self.bin / "fictl", self.prefix / "bin/fictl")
        library = "lib/obzx/providers/libcdpfi.so"
        (self.prefix / library).symlink_to(self.bin.parent / library)
        self._find_programs()

    def given(self, host, words, expected=0):
        """A command of fictl that belongs to the situation, and stands on no page."""
        printed = self.shell(host, f"fictl {words}")
        need(self.status == expected, f"fictl {words} on {host} ends with {self.status}: {printed}")

    def carried(self, devices="/dev/sdb /dev/sdd"):
        """A snapshot of production whose record backup has received."""
        self.given("production", f"snapshot create nightly {devices}")
        self.given("production", "snapshot export nightly --file nightly.json")
        self.given("backup", "snapshot receive nightly.json")

    def begin(self, words, host):
        """Starts a program beside the page's commands; it is ended with the site, or with the test."""
        environment = self.environment | {"OBZX_ROOT": str(self.root(host))}
        # pylint: disable-next=consider-using-with
        process = subprocess.Popen(["setpriv", "--pdeathsig", "KILL", *(self.meant(host, str(word)) for word in words)],
                                   env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        self._background.append(process)
        return process

    @staticmethod
    def ended(process):
        """Waits for the end of what the page's commands have killed."""
        try:
            process.wait(timeout=DEADLINE)
        except subprocess.TimeoutExpired as error:
            raise Failure("no command of the page ended the process that it is about") from error

    def killed_behind(self, host, words, command):
        """A command of fictl that is killed when the appliance has carried out what it asked for and does not answer."""
        before = self.copies()
        self.lmadm("fault", "arm", "hang-after", "--match", command)
        process = self.begin([self.bin / "fictl", *words.split()], host)
        self.wait_for_fault()
        wait_for(lambda: self.copies() != before, f"the effect of {command}")
        process.kill()
        process.wait()
        self.lmadm("fault", "clear")

    def copies(self):
        """What the appliances have of the groups' content."""
        return [self.lmadm_json("--appliance", appliance, "group", "show", group)
                for appliance, group in sorted(set(self.LUNS.values()))]

    def wait_for_fault(self):
        # Every command that is struck is noted before the fault has its effect; the tool then does not answer.
        for _ in range(DEADLINE * 20):
            if any(fault["struck"] for fault in self.lmadm_json("fault", "list")["faults"]):
                return
            subprocess.run(["sleep", "0.05"], check=True)
        need(False, "the command that was to be struck never came")

    def catalog(self, host):
        return self.root(host) / "var/lib/qz/fictl.db"

    def change_rows(self, file, statement, *values):
        database = sqlite3.connect(file)
        with database:
            need(database.execute(statement, values).rowcount == 1, f"one row is changed by {statement}")
        database.close()

    def change_appliance(self, statement, *values):
        self.change_rows(self.folder / "store/var/lib/lumora/appliance.db", statement, *values)

    # What the page's words stand for.

    def serial(self, appliance, lun):
        luns = self.lmadm_json("--appliance", appliance, "lun", "list")["luns"]
        return next(entry["serial"] for entry in luns if entry["name"] == lun)

    def copy(self, lun):
        images = sorted(self.folder.glob(f"store/var/lib/lumora/*/images/*/dev/{lun}"))
        need(len(images) < 2, f"more than one copy of {lun}: {images}")
        return str(images[0]) if images else None

    def _find_programs(self):
        self.environment["PATH"] = f"{self.prefix}/bin:{self.folder / 'programs'}:{self.bin}:/usr/bin:/bin"

    def _paths(self, host):
        paths = {name: self.devices[lun] for name, lun in DEVICES.items()}
        paths |= {name: self.copy(lun) for name, lun in COPIES.items() if self.copy(lun)}
        return paths | {folder: f"{self.root(host)}{folder}" for folder in BELOW_ROOT}

    def meant(self, host, text):
        """A command of the page as it has to be given here."""
        names = self._paths(host) | {"/usr/local": str(self.prefix), "/var/tmp": str(self.folder / "tmp")}
        names |= {name: str(value) for name, value in self.standing.items()}
        names = {name: value for name, value in names.items() if value is not None}
        return re.sub("|".join(rf"(?<![\w/]){re.escape(name)}(?!\w)" for name in names),
                      lambda found: names[found[0]], text)

    def told(self, host, text, before):
        """What was printed here as the page tells it; `before` are the paths as they were before the command."""
        for name, path in sorted((before | self._paths(host)).items(), key=lambda item: -len(item[1])):
            text = text.replace(path, name)
        for folder, stand_in in ((self.root(host), ""), (self.folder / "tmp", "/tmp"), (self.prefix, "/usr/local"),
                                 (self.bin.parent, "/usr/local"), (self.folder / "programs", "/usr/local/bin")):
            text = text.replace(str(folder), stand_in)
        for name, value in self.standing.items():
            text = re.sub(rf"\b{re.escape(str(value))}\b", name, text)
        return text

    def shell(self, host, text):
        """Gives a command line at a host's shell; returns the lines that it prints, standard error among them."""
        before = self._paths(host)
        root = {} if host == "appliance" else {"OBZX_ROOT": str(self.root(host))}
        line = f"{self.before_each}; (exit {self.status}); {self.meant(host, text)}"
        try:
            run = subprocess.run(["bash", "-c", line], env=self.environment | root, stdin=subprocess.DEVNULL,
                                 stdout=subprocess.PIPE, stderr=subprocess.STDOUT, cwd=self.folder / "exchange",
                                 text=True, errors="replace", timeout=DEADLINE, check=False)
        except subprocess.TimeoutExpired as error:
            raise TimeoutError(f"does not end: {text}") from error
        self.status = run.returncode
        return self.told(host, run.stdout, before).splitlines()
