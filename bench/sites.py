"""Sites for the benchmarks: a root directory of a host, tools that answer at once, and what they answer."""

import shutil
from dataclasses import dataclass, field
from pathlib import Path

RULE = "=" * 122
LOCAL_HOST = "192.0.2.11"
HOSTS = (LOCAL_HOST, "192.0.2.10")  # addresses, so that no resolver is asked


@dataclass(slots=True)
class Disk:
    path: str
    serial: str
    group: str = ""  # no group protects it


@dataclass
class Appliance:
    name: str
    groups: dict = field(default_factory=dict)  # group name -> its disks


def make_appliances(names, groups, luns_per_group):
    """Groups spread evenly over the appliances; LUNs are numbered through."""
    appliances = [Appliance(name) for name in names]
    lun = 0
    for number in range(groups):
        appliance = appliances[number * len(names) // groups]
        group = f"group{number:05d}"
        disks = []
        for _ in range(luns_per_group):
            disks.append(Disk(f"/dev/lumora/lun{lun:06d}", f"LMR{lun:012d}", group))
            lun += 1
        appliance.groups[group] = disks
    return appliances


def image_of(disk):
    return Disk(disk.path.replace("/lun", "/img"), disk.serial.replace("LMR", "IMG"))


def disk_listing(disks):
    lines = [f"Disks of host {LOCAL_HOST}", "Device (Vendor) (Type) (Size) (Serial) State Access", RULE]
    lines += [f"{disk.path} (LUMORA) (VDISK) (10.0GiB) ({disk.serial}) online rw" for disk in disks]
    return "\n".join(lines) + "\n"


def group_listing(group, disks):
    lines = [f"Consistency Group: {group}", "Protected LUNS:"]
    lines += [f"{disk.path} [{disk.serial}] 10.0GiB" for disk in disks]
    lines += ["Monitor LUNS:", "Permissions:", *HOSTS, "Stillmark LUNs:", "Annotations:", "Time images:"]
    return "\n".join(lines) + "\n"


def image_listing(group, disks):
    lines = [f"TimeImage: image of {group}", f"Consistency Group: {group}", "TimeImage LUNs:"]
    for disk in disks:
        image = image_of(disk)
        lines.append(f"{image.path} [{image.serial}] <- {disk.path} [{disk.serial}]")
    return "\n".join(lines) + "\n"


class Site:
    def __init__(self, folder, tool, appliances, unprotected=0, trace=(), parallel=None):
        """parallel: how many commands may run at once; by itself what is configured where nothing is configured."""
        self.folder = Path(folder)
        self.appliances = appliances
        self.answers = self.folder / "tools/answers"
        shutil.rmtree(self.folder, ignore_errors=True)
        self.answers.mkdir(parents=True)
        for name in ("lmsh", "kforutil"):
            shutil.copy2(tool, self.folder / "tools" / name)
        self.protected = [disk for appliance in appliances for disks in appliance.groups.values() for disk in disks]
        others = [Disk(f"/dev/local/disk{i:06d}", f"LOC{i:012d}") for i in range(unprotected)]
        self._write_root(trace, parallel)
        self._write_disks(others)
        for appliance in appliances:
            self._write_appliance(appliance)

    def _write_root(self, trace, parallel):
        conf = self.folder / "root/etc/qz"
        shell = self.folder / "root/opt/QXPKlm/bin/lmsh"
        for path in (conf, shell.parent):
            path.mkdir(parents=True)
        shell.symlink_to(self.folder / "tools/lmsh")
        tools = f"{self.folder}/tools/"
        lines = ["[LMR_CLI_CONFIG]", f"LMR_LMSH_PATH={tools}", f"LMR_KFORUTIL_PATH={tools}"]
        lines += [f"MAX_PARALLEL={parallel}"] if parallel else []
        lines += ["[FI_NETWORK]", f"LOCAL_NAME={LOCAL_HOST}"]
        lines += ["[FI_TRACE]", *trace]
        (conf / "cdpfi.conf").write_text("\n".join(lines) + "\n")
        (conf / "hls.conf").write_text("".join(f"RSURL={appliance.name}:12345\n" for appliance in self.appliances))

    def _write_disks(self, others):
        disks = self.protected + others
        (self.answers / "kforutil.listdisk").write_text(disk_listing(disks))
        if len(self.protected) <= 10000:  # sites that are imported
            (self.answers / "kforutil.listdisk.discovered").write_text(
                disk_listing(disks + [image_of(disk) for disk in self.protected]))
        (self.folder / "disks").write_text(
            "".join(f"{disk.path}\t{disk.serial}\t{disk.group}\n" for disk in disks))

    def _write_appliance(self, appliance):
        def answer(name, text):
            (self.answers / f"{appliance.name}.{name}").write_text(text)

        answer("list_hosts.", "".join(f"{host}\n" for host in HOSTS))
        for host in HOSTS:
            answer(f"show_host.{host}", f"Host: {host}\nPresented LUNs:\n")
        answer("list_cgroups.", "".join(f"{group} luns={len(disks)}\n" for group, disks in appliance.groups.items()))
        for group, disks in appliance.groups.items():
            answer(f"show_cgroup.{group}", group_listing(group, disks))
            if len(self.protected) <= 10000:
                answer(f"show_timeimage.{group}", image_listing(group, disks))

    def all_group_listings(self):
        """The listings of all groups in one file, for the peers; the path of the file."""
        path = self.folder / "groups"
        with path.open("w") as out:
            for appliance in self.appliances:
                for group, disks in appliance.groups.items():
                    out.write(group_listing(group, disks))
        return path

    def name_bytes(self):
        """Bytes of the names that an inventory holds of each LUN: path and serial, in the disk table and in the group."""
        return 2 * sum(len(disk.path) + len(disk.serial) for disk in self.protected) / len(self.protected)
