"""What has to hold after a backup was disturbed, and after it was brought into order again."""
import pathlib
import re

from sweep.site import error_of, need, wait_for

# The exit codes of docs/fictl.md that a command may end with when the appliance fails, with the names in its errors.
EXIT_NAMES = {5: "state", 6: "provider", 7: "not-claimed", 8: "failed", 9: "partial", 10: "not-deleted",
              13: "bad-record"}
ALLOWED = {"create": {0, 6, 7, 8, 9}, "list": {0}, "export": {0}, "receive": {0, 13}, "import": {0, 6, 8, 13},
           "release": {0, 5, 8, 10}, "unmount": {0, 5, 6, 10}, "delete": {0, 5, 6, 10}}
# States in which the record of a killed or failed command may be found; None: no record.
AFTER_FAILURE = {"create": {None, "partial", "failed", "interrupted"},
                 "receive": {None},
                 "import": {"complete", "import-failed", "import-interrupted"},
                 "release": {"imported", "release-failed", "release-interrupted"},
                 "unmount": {"imported", "delete-failed", "delete-interrupted"},
                 "delete": {"complete", "delete-failed", "delete-interrupted"}}
# A kill after the last change that a command makes leaves what the command leaves.
AFTER_SUCCESS = {"create": "complete", "receive": "complete", "import": "imported", "release": "complete",
                 "unmount": None, "delete": None}
BACKUP = ("receive", "import", "release", "unmount")  # steps of the other host


def check_covered(records, checkpoints, images):
    """A record covers whatever is on the appliances."""
    known = {(device["appliance"], device["group"], record["checkpoint"]) for record in records
             for device in record["devices"] if device["made"] != "no"}
    need(checkpoints <= known, f"no catalog knows the checkpoints {checkpoints - known}")
    unknown = {image for image in images if image[:2] + image[3:4] not in known}
    need(not unknown, f"no catalog knows the time images {unknown}")


def check_history(site, checkpoints, images):
    """The histories tell who made whatever is on the appliances, also after a kill, and no command that has ended or
    was killed is told to be running."""
    entries = [entry for host in ("production", "backup") for entry in site.history(host)]
    made = {(done["kind"], done["appliance"], done["group"], done["name"]) for entry in entries
            for done in entry["objects"] if done["verb"] == "create" and done["outcome"] != "refused"}
    there = {("checkpoint", *checkpoint) for checkpoint in checkpoints} | {("image", *image[:3]) for image in images}
    need(there <= made, f"no history knows who made {there - made}")
    running = [entry["command"] for entry in entries if entry["state"] == "running"]
    need(not running, f"told to be running: {running}")


def check_whose(site, checkpoints, images):
    """Nothing that a host works with is told to be an orphan, or to be nobody's."""
    claimed = set()
    for host in ("production", "backup"):
        status, document = site.fictl(host, "reconcile")
        need(status in (0, 8), f"reconcile ends with {status} on {host}: {error_of(document)}")
        found = [entry for entry in document["reconcile"]["objects"] if entry["appliance"]]
        orphans = [entry for entry in found if entry["class"] == "orphan"]
        need(not orphans, f"told to be orphans on {host}: {orphans}")
        claimed |= {(entry["appliance"], entry["group"], entry["name"]) for entry in found
                    if entry["class"] in ("owned", "unknown")}
    there = checkpoints | {image[:3] for image in images}
    need(there <= claimed, f"told to be nobody's: {there - claimed}")


def check_truth(site):
    """Everything on the appliances belongs to a record, and every record's claims hold."""
    checkpoints, images = site.copies()
    records = {host: [site.record(host, name) for name in site.names(host)] for host in ("production", "backup")}
    check_covered(records["production"] + records["backup"], checkpoints, images)
    # A copy that the other host deleted is gone for both: only as long as nothing was deleted must all claims hold.
    deleting = any(record["state"].startswith("delet") for record in records["backup"])
    for record in records["production"]:
        for device in record["devices"]:
            there = (device["appliance"], device["group"], record["checkpoint"]) in checkpoints
            in_doubt = record["state"].startswith("delet") or deleting or site.unmounted
            need(there or in_doubt or device["made"] != "yes", f"{record['name']} claims a checkpoint that is not there")
            need(not there or device["made"] != "no", f"{record['name']} denies a checkpoint that is there")
    for record in records["backup"]:
        if record["state"] == "imported":
            for device in record["devices"]:
                need(pathlib.Path(device["import_path"]).exists(), "an imported copy does not show")


def check_second_import(workflow):
    """After any disturbance the copies can be had, and nobody else can take them away."""
    site = workflow.site
    if not site.names("backup"):
        host, words = workflow.step("receive")
        status, document = site.fictl(host, *words)
        need(status == 0, f"a second receive ends with {status}: {error_of(document)}")
    workflow.import_again()
    host, words = workflow.step("delete")
    status, document = site.fictl(host, *words)
    need(status == 5, f"a copy that is imported elsewhere is deleted: {status} {error_of(document)}")
    check_truth(site)
    workflow.check_import(site.record("backup", workflow.name))


def recover(site):
    """What docs/fictl.md says under Recovery: delete, on both hosts, first where the copies are."""
    for host in ("backup", "production"):
        for name in site.names(host):
            status, document = site.fictl(host, "snapshot", "delete", name)
            need(status == 0, f"{name} cannot be deleted on {host}: {status} {error_of(document)}")


def check_sources(site):
    for name, path in site.devices.items():
        need(pathlib.Path(path).read_bytes() == site.content[name], f"source {name} has changed")


def check_nothing_left(site):
    for host in ("production", "backup"):
        need(not site.names(host), f"left in the catalog of {host}")
    check_nothing_on_appliances(site)


def check_nothing_on_appliances(site):
    checkpoints, images = site.copies()
    need(not checkpoints and not images, f"left on the appliances: {checkpoints} {images}")
    check_sources(site)
    home = site.folder / "store/var/lib/lumora"
    left = [entry for appliance in ("alpha", "beta") for area in ("annotations", "images", "work")
            for entry in (home / appliance / area).glob("*")]
    left += list((site.folder / "tmp").iterdir())
    left += [entry for entry in (site.folder / "exchange").iterdir() if entry.suffix == ".part"]
    need(not left, f"files are left: {[str(entry) for entry in left]}")
    processes = processes_of(site)
    need(not processes, f"processes are left: {processes}")


# What an engine of the appliance runs for as long as devices are attached.
OF_THE_APPLIANCE = re.compile(r"^(qemu-storage-daemon|nbdfuse|nbdkit|\S*lmadm --store \S+ appliance keep) ")


def processes_of(site):
    """Programs that were started for the site and still run, but for the appliance's own."""
    mark = str(site.folder).encode()
    found = []
    for process in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            if mark in (process / "environ").read_bytes():
                command = (process / "cmdline").read_bytes().decode().replace("\0", " ")
                if not OF_THE_APPLIANCE.match(command):
                    found.append(command)
        except OSError:
            continue  # somebody else's, or gone meanwhile
    return found


def wait_for_quiet(site):
    """What a killed fictl had started ends with it, and so does its guardian. No sanitizer found anything in them."""
    wait_for(lambda: not processes_of(site), "the end of all processes", 5)
    reports = [report.read_text(errors="replace") for report in (site.folder / "reports").glob("sanitizer.*")]
    need(not reports, f"{len(reports)} reports of sanitizers, the first one: {''.join(reports[:1])}")


def record_of(site, step, words):
    return site.record("backup" if step in BACKUP else "production", words[2] if step != "receive" else "nightly")


def check_outcome(site, step, status, document, words):
    """Exit code, error document and record fit each other and the documentation."""
    need(status in ALLOWED[step], f"{step} ends with {status}: {error_of(document)}")
    if status == 0:
        return
    error = document["error"]
    need(error["exit"] == status and error["code"] == EXIT_NAMES[status], f"the error document is {error}")
    need(error["message"] and (error["next"] or status == 6), f"the error says nothing of use: {error}")
    record = record_of(site, step, words)
    state = record["state"] if record else None
    need(state in AFTER_FAILURE[step] and state != "interrupted", f"{step} failed with {status} and is {state}")
    if step == "create":
        need((status == 9) == (state == "partial"), f"create failed with {status} and is {state}")


def check_killed(site, step, words):
    record = record_of(site, step, words)
    state = record["state"] if record else None
    if step in AFTER_FAILURE:
        need(state in AFTER_FAILURE[step] | {AFTER_SUCCESS[step]}, f"killed in {step}, the record is {state}")
