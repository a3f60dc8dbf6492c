"""Two hosts with a catalog each, one snapshot, and the commands that they can give in any order."""
import dataclasses
import json
import pathlib

from sweep.checks import check_covered
from sweep.site import Site, error_of, need

NAME = "nightly"
HOSTS = ("production", "backup")


@dataclasses.dataclass
class Sight:
    """What the catalogs and the appliances have at one moment."""

    records: dict  # of each host, or None
    checkpoints: set  # (appliance, group, name)
    images: set  # (appliance, group, name, checkpoint, hosts that it is granted to)


class House(Site):
    """A small site, and what can be done with one snapshot on it."""

    LUNS = {"data": ("alpha", "payroll"), "ledger": ("beta", "books")}

    def __init__(self, bin_folder):
        super().__init__(bin_folder)
        self.document = self.folder / "exchange" / f"{NAME}.json"
        devices = [self.devices[lun] for lun in self.LUNS]
        self.commands = {
            "create": ("production", ["snapshot", "create", NAME, *devices]),
            "export": ("production", ["snapshot", "export", NAME, "--force", "--file", str(self.document)]),
        }
        for host in HOSTS:
            self.commands[f"receive@{host}"] = (host, ["snapshot", "receive", str(self.document)])
            for verb in ("import", "release", "delete"):
                self.commands[f"{verb}@{host}"] = (host, ["snapshot", verb, NAME])
            self.commands[f"delete-even-if-in-use@{host}"] = (host, ["snapshot", "delete", NAME, "--even-if-in-use"])

    def give(self, command):
        host, words = self.commands[command]
        return self.fictl(host, *words)

    def look(self):
        return Sight({host: self.record(host, NAME) for host in HOSTS}, *self.copies())

    def situation(self, sight):
        """What there is, without names that differ from run to run."""
        told = {}
        for host, record in sight.records.items():
            told[host] = record and [record["state"], sorted((device["group"], device["made"],
                                                              device["import_path"] is not None)
                                                             for device in record["devices"])]
        known = {record["checkpoint"] for record in sight.records.values() if record}
        written = json.loads(self.document.read_text()) if self.document.exists() else None
        return json.dumps([told, sorted((entry[:2], entry[2] in known) for entry in sight.checkpoints),
                           sorted((image[:2], image[4]) for image in sight.images),
                           written and written["checkpoint"] in known, len(known)])


def check_nothing_taken(command, before, after):
    """No command removes an image that a catalog holds as imported, but for that host's own release or delete, and
    what was told to."""
    if command.startswith("delete-even-if-in-use@"):
        return
    for appliance, group, image, _, hosts in before.images - after.images:
        for host in HOSTS:
            record = before.records[host]
            if not record or record["state"] != "imported" or host not in hosts:
                continue
            need(command in (f"release@{host}", f"delete@{host}"),
                 f"{command} removed {image} of {appliance}/{group}, which {host} holds as imported")


def check_no_orphan(sight):
    """A record on one of the hosts covers whatever is on the appliances."""
    check_covered(filter(None, sight.records.values()), sight.checkpoints, sight.images)


def check_imported(house, sight):
    for host, record in sight.records.items():
        if not record or record["state"] != "imported":
            continue
        for device in record["devices"]:
            lun = pathlib.Path(device["source"]).name
            path = pathlib.Path(device["import_path"])
            held = any(image[:2] == (device["appliance"], device["group"]) and host in image[4]
                       for image in sight.images)
            need(not held or path.read_bytes() == house.content[lun], f"the copy of {lun} on {host} is not the source's")


def check_cleanable(house):
    """From everywhere the documented commands alone lead back to nothing."""
    for command in ("delete@backup", "delete@production", "delete@backup"):
        status, document = house.give(command)
        need(status in (0, 3, 5), f"{command} ends with {status}: {error_of(document)}")
    left = house.look()
    need(not left.checkpoints and not left.images, f"cannot be cleaned: {left}")
