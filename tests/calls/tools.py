"""The commands of the appliance's tools on a site, each with one system call that is disturbed, and what has to hold
afterwards: everything that is listed is whole, and the next commands remove whatever is not."""
import pathlib
import shutil
import signal
import subprocess
import tempfile

from sweep import checks
from sweep.site import DEADLINE, Failure, Site, need, scratch_parent

ON = ("--appliance", "alpha")
# What stands in the host's files before they are set up anew, and has to stay.
SETTINGS = {"cdpfi.conf": "[OTHER]\nKEY=of somebody else\n", "hls.conf": "# of somebody else\n"}
SCRIPTS = {
    "list-hosts": "list hosts",
    "list-cgroups": "list cgroups",
    "show-host": 'show host "production"',
    "show-cgroup": 'show cgroup "payroll"',
    "create-annotation": 'create annotation "new" "payroll"\nset message M\ncommit',
    "delete-annotation": 'delete annotation "spare" "payroll"',
    "create-timeimage": 'create timeimage "new" "payroll"\nuse annotation "spare"\nadd permission "backup"\ncommit',
    "delete-timeimage": 'delete timeimage "shown" "payroll"',
    "list-timeimages": 'list timeimages "payroll"',
    "show-timeimage": 'show timeimage "shown" "payroll"',
    "update-cgroup": 'update timeimage "payroll"\nadd permission "backup"\ncommit',
    "update-timeimage": 'update timeimage "shown" "payroll"\ndelete permission "backup"\ncommit',
}
LMADM = {
    "appliance-create": ("appliance", "create", "gamma"),
    "appliance-delete": ("appliance", "delete", "empty"),
    "appliance-show": ("appliance", "show", "alpha"),
    "appliance-list": ("appliance", "list"),
    "host-create": (*ON, "host", "create", "new"),
    "host-delete": (*ON, "host", "delete", "idle"),
    "host-list": (*ON, "host", "list"),
    "host-setup": ("host", "setup", "--root", "{folder}/production", "--host", "production"),
    "group-create": (*ON, "group", "create", "new"),
    "group-delete": (*ON, "group", "delete", "void"),
    "group-show": (*ON, "group", "show", "payroll"),
    "group-list": (*ON, "group", "list"),
    "lun-create": (*ON, "lun", "create", "new", "--group", "bare", "--size", "8KiB"),
    "lun-create-from-file": (*ON, "lun", "create", "new", "--group", "bare", "--file", "{folder}/exchange/input"),
    "lun-delete": (*ON, "lun", "delete", "unused"),
    "lun-list": (*ON, "lun", "list"),
    "lun-present": (*ON, "lun", "present", "data", "backup"),
    "lun-unpresent": (*ON, "lun", "unpresent", "data", "production"),
    "write": (*ON, "write", "data", "--offset", "0", "--pattern", "content of data; "),
    "write-from-file": (*ON, "write", "unused", "--offset", "0", "--input", "{folder}/exchange/input"),
    "read": (*ON, "read", "data"),
    "checksum": (*ON, "checksum", "data"),
    "fault-arm": ("fault", "arm", "error", "--match", "no such command"),
    "fault-list": ("fault", "list"),
    "fault-clear": ("fault", "clear"),
}
COMMANDS = ([f"lmsh-{name}" for name in SCRIPTS] + ["kforutil-discover", "kforutil-listdisk"] +
            [f"lmadm-{name}" for name in LMADM])
# Exit statuses of docs/appliance.md that a command may end with when a call of it failed.
FAILURES = (1, 6, 7)
# What a command may answer that is given again, because the first one had its effect.
DONE_ALREADY = {"create": 4, "delete": 3, "unpresent": 3, "update-timeimage": 3}


class ToolStage:
    """A site with an annotation that has an image, one that has none, and something to delete of every kind."""

    def __init__(self, bin_folder):
        self.site = Site(bin_folder)
        self.kept = pathlib.Path(tempfile.mkdtemp(prefix="cdpfi-calls-kept.", dir=scratch_parent()))
        try:
            self.prepare()
            self.site.keep(self.kept)
        except BaseException:
            self.remove()
            raise

    def prepare(self):
        site = self.site
        for name, setting in SETTINGS.items():
            file = site.folder / "production/etc/qz" / name
            file.write_text(file.read_text() + setting)
        (site.folder / "exchange/input").write_bytes(b"from a file; " * 500)
        site.lmadm("appliance", "create", "empty")
        site.lmadm(*ON, "host", "create", "idle")
        site.lmadm(*ON, "group", "create", "void")
        site.lmadm(*ON, "group", "create", "bare")
        site.lmadm(*ON, "lun", "create", "unused", "--group", "bare", "--size", "8KiB")
        self.script('create annotation "kept" "payroll"\ncommit\n'
                    'create timeimage "shown" "payroll"\nuse annotation "kept"\nadd permission "backup"\ncommit')
        self.script('create annotation "spare" "payroll"\ncommit')

    def go_back(self, _):
        """Every command starts from the same situation."""
        self.site.go_back(self.kept)

    def script(self, commands):
        status, _, text = self.run("lmsh", (), commands)
        told = "; ".join(commands.splitlines())
        need(status == 0, f"lmsh: {told}: {status} {text}")

    def run(self, program, words, commands=None, tracer=(), host="production"):
        """Runs a tool; gives its status, what it said, and what it said on standard error."""
        site = self.site
        script = f"server alpha\n{commands}\nexit\n" if commands else ""
        words = [word.replace("{folder}", str(site.folder)) for word in words]
        environment = site.environment | {"OBZX_ROOT": str(site.folder / host)}
        try:
            run = subprocess.run([*tracer, site.bin / program, *words], input=script.encode(), env=environment,
                                 capture_output=True, timeout=DEADLINE, check=False)
        except subprocess.TimeoutExpired as error:
            raise Failure(f"{program} does not end") from error
        err = run.stderr.decode(errors="replace").strip()
        if site.talk:
            print(f"  {program} {' '.join(words)}{script}: {run.returncode}\n{err}", flush=True)
        return run.returncode, run.stdout, err

    def give(self, command, tracer=()):
        """Gives one of COMMANDS."""
        program, name = command.split("-", 1)
        if program == "lmsh":
            return self.run(program, (), SCRIPTS[name], tracer)
        if program == "kforutil":
            return self.run(program, (name,), None, tracer, "backup")
        return self.run(program, LMADM[name], None, tracer)

    def check(self, command, status, _, err):
        if status != -signal.SIGKILL:
            check_outcome(command, status, err)
        check_whole(self)
        check_repeated(self, command, status)
        check_whole(self)
        clean_up(self)
        check_nothing_unlisted(self)

    def forget(self):
        shutil.rmtree(self.kept)

    def remove(self):
        self.forget()
        self.site.remove()


def check_outcome(command, status, err):
    """A refusal of one line with a documented status, or success without one."""
    need(status == 0 or status in FAILURES, f"{command} ends with {status}: {err}")
    need(status == 0 or err.strip(), f"{command} ends with {status} and says nothing")


def check_whole(stage):
    """Everything that is listed can be used, and the sources keep every byte."""
    site = stage.site
    checks.check_sources(site)
    for appliance in [entry["name"] for entry in site.lmadm_json("appliance", "list")["appliances"]]:
        on = ("--appliance", appliance)
        for lun in site.lmadm_json(*on, "lun", "list")["luns"]:
            need(pathlib.Path(lun["device"]).stat().st_size == lun["bytes"], f"LUN {lun['name']} has not its size")
        for group in site.lmadm_json(*on, "group", "list")["groups"]:
            shown = site.lmadm_json(*on, "group", "show", group["name"])
            for image in shown["time_images"]:
                check_image(site, image)
            for annotation in shown["annotations"]:
                stage.script(f'create timeimage "probe" "{group["name"]}"\n'
                             f'use annotation "{annotation["name"]}"\nadd permission "backup"\ncommit')
                for image in site.lmadm_json(*on, "group", "show", group["name"])["time_images"]:
                    check_image(site, image)
                stage.script(f'delete timeimage "probe" "{group["name"]}"')
    for name, setting in SETTINGS.items():
        text = (site.folder / "production/etc/qz" / name).read_text()
        need(setting in text, f"{name} has lost a setting: {text}")


def check_image(site, image):
    for lun in image["luns"]:
        device = pathlib.Path(lun["device"])
        need(device.exists(), f"time image {image['name']} has no {lun['source']}")
        need(device.read_bytes() == site.content[lun["source"]],
             f"time image {image['name']} does not hold what {lun['source']} held")


def check_repeated(stage, command, first):
    """The same command again has its effect, or had it; one that told of success had it."""
    status, _, err = stage.give(command)
    already = next((answer for verb, answer in DONE_ALREADY.items() if verb in command), 0)
    need(status == already or (first != 0 and status == 0), f"{command}: first {first}, again {status}: {err}")


def clean_up(stage):
    """Deletes all copies, and gives the commands that remove what disturbed ones left."""
    site = stage.site
    site.lmadm("fault", "clear")
    shown = site.lmadm_json(*ON, "group", "show", "payroll")
    for kind, entries in (("timeimage", shown["time_images"]), ("annotation", shown["annotations"])):
        for entry in entries:
            stage.script(f'delete {kind} "{entry["name"]}" "payroll"')
    # An object of each kind, made and removed: what a disturbed command left of the kind goes with it.
    site.lmadm(*ON, "lun", "create", "last", "--group", "payroll", "--size", "1KiB")
    site.lmadm(*ON, "lun", "delete", "last")
    stage.script('create annotation "last" "payroll"\ncommit\ncreate timeimage "last" "payroll"\nuse annotation "last"\n'
                 'add permission "backup"\ncommit\ndelete timeimage "last" "payroll"\ndelete annotation "last" "payroll"')
    site.lmadm(*ON, "group", "create", "last")
    site.lmadm(*ON, "group", "delete", "last")
    site.lmadm("appliance", "create", "last")
    site.lmadm("appliance", "delete", "last")


def check_nothing_unlisted(stage):
    site = stage.site
    checks.check_nothing_on_appliances(site)
    home = site.folder / "store/var/lib/lumora"
    listed = {entry["name"] for entry in site.lmadm_json("appliance", "list")["appliances"]}
    found = {entry.name for entry in home.iterdir() if entry.is_dir()}
    need(found == listed, f"folders of appliances: {found}, listed: {listed}")
    for appliance in listed:
        luns = {lun["name"] for lun in site.lmadm_json("--appliance", appliance, "lun", "list")["luns"]}
        data = {entry.name for entry in (home / appliance / "dev").iterdir()}
        need(data == luns, f"data of LUNs on {appliance}: {data}, listed: {luns}")
    strange = [entry.name for folder in (home, *(site.folder / host / "etc/qz" for host in ("production", "backup")))
               for entry in folder.iterdir() if ".new" in entry.name]
    need(not strange, f"files are left: {strange}")
