"""What has to hold at each quiet point of a storm, as far as it can be seen from outside."""
import pathlib
import signal

from storm.plan import HOSTS
from sweep import checks
from sweep.site import Workflow, error_of, need

# The exit codes of docs/fictl.md that a command may end with, whatever the appliance and the other commands do.
ALLOWED = {"create": {0, 4, 5, 6, 7, 8, 9}, "export": {0, 3, 5, 13, 14}, "receive": {0, 4, 6, 13, 14},
           "import": {0, 3, 5, 6, 8, 13}, "release": {0, 3, 5, 8, 10}, "delete": {0, 3, 5, 6, 8, 10},
           "take": {0, 3, 5, 6, 8, 10}, "list": {0}}
SETTLED = ("complete", "imported")
# A deletion that ended like this has asked the appliance for nothing: refused, nothing to delete, not started.
UNTOUCHED = {2, 3, 5, 6}


class Watch:
    """Follows a storm from quiet point to quiet point."""

    def __init__(self, site):
        self.site = site
        self.contents = {}  # (appliance, group, checkpoint) -> content of the sources when it was made
        self.deleted = set()  # (host, name, checkpoint) of records whose checkpoint another host may have deleted
        self.taken = set()  # the same, with --even-if-in-use
        self.gone = set()  # (name, checkpoint) of all records that somebody may have deleted
        self.records = {host: {} for host in HOSTS}

    def check(self, ends):
        """Everything, after a round with these ends of its commands."""
        for act, status, document in ends:
            check_end(act, status, document)
        records = self.site.records()
        checkpoints, images = self.site.copies()
        for act, status, _ in ends:
            self.note_deletion(act, status, (self.records, records))
        for act, _, _ in ends:
            self.note_late_receive(act, records[act.host].get(act.name))
        self.note_contents(checkpoints)
        checks.check_covered([record for host in HOSTS for record in records[host].values()], checkpoints, images)
        checks.check_history(self.site, checkpoints, images)
        for host in HOSTS:
            for record in records[host].values():
                self.check_record(host, record, checkpoints, images)
        checks.check_sources(self.site)
        self.records = records

    def note_deletion(self, act, status, sights):
        if act.verb not in ("delete", "take") or status in UNTOUCHED:
            return
        for other in HOSTS:
            for records in sights:
                record = records[other].get(act.name)
                if record is None:
                    continue
                self.gone.add((act.name, record["checkpoint"]))
                if other == act.host:
                    continue
                entry = (other, act.name, record["checkpoint"])
                self.deleted.add(entry)
                if act.verb == "take":
                    self.taken.add(entry)

    def note_late_receive(self, act, record):
        """A document may outlive what it tells of; who receives it without being able to look cannot know."""
        if act.verb == "receive" and record and (act.name, record["checkpoint"]) in self.gone:
            self.deleted.add((act.host, act.name, record["checkpoint"]))

    def note_contents(self, checkpoints):
        """The sources are written at quiet points only, so a new checkpoint has what they have now."""
        self.contents = {key: self.contents.get(key, self.site.content) for key in checkpoints}

    def check_record(self, host, record, checkpoints, images):
        key = (host, record["name"], record["checkpoint"])
        if record["state"] not in SETTLED:
            return
        for device in record["devices"]:
            copy = (device["appliance"], device["group"], record["checkpoint"])
            what = f"{record['name']} of {host}, which is {record['state']},"
            need(copy in checkpoints or key in self.deleted, f"{what} claims checkpoint {copy}, which is not there")
            need(device["made"] == "yes", f"{what} has a device that is not made")
            if record["state"] == "imported" and key not in self.taken:
                self.check_copy(what, host, device, copy, images)

    def check_copy(self, what, host, device, copy, images):
        mine = [image for image in images if image[:2] + image[3:4] == copy and host in image[4]]
        need(mine, f"{what} has no image of {copy} any more")
        path = pathlib.Path(device["import_path"])
        need(path.exists(), f"{what} shows no copy at {path}")
        lun = pathlib.Path(device["source"]).name
        need(path.read_bytes() == self.contents[copy][lun], f"{what} has a copy of {lun} with another content")


def check_end(act, status, document):
    """Exit code and document are those of docs/fictl.md."""
    what = f"{act.verb} {act.name} on {act.host} ends with {status}"
    if status == -signal.SIGKILL:
        need(act.kill, f"{what} and was not killed")
        return
    need(status in ALLOWED[act.verb], f"{what}: {error_of(document)}")
    if status != 0 and not act.kill:
        need(document["error"]["exit"] == status, f"{what} and says {document['error']}")


def clean(site):
    """The documented commands alone lead back to nothing, and a whole backup runs after that."""
    for last in (False, True):
        for host in HOSTS:
            for name in site.names(host):
                status, document = site.fictl(host, "snapshot", "delete", name)
                # What the other host has imported has to be deleted there first.
                need(status == 0 or (status == 5 and not last),
                     f"{name} cannot be deleted on {host}: {status} {error_of(document)}")
    clean_exports(site)
    Workflow(site, "nightly").run_clean()
    checks.wait_for_quiet(site)
    checks.check_nothing_left(site)


def clean_exports(site):
    """What a killed export has begun is taken over by the next one to that file."""
    left = list((site.folder / "exchange").glob("*.part"))
    if not left:
        return
    commands = [["create", "last", site.devices["data"]]]
    commands += [["export", "last", "--force", "--file", str(part.with_suffix(""))] for part in left]
    for words in [*commands, ["delete", "last"]]:
        status, document = site.fictl("production", "snapshot", *words)
        need(status == 0, f"{words[0]} at the end: {status} {error_of(document)}")
