"""The disk listing and the listings of all groups into tables, as disks.awk and groups.awk do: listings.py KIND FILE"""

import sys


def read_disks(lines):
    serial_of = {}
    ruled = False
    for line in lines:
        if not ruled:
            ruled = line.strip() == "=" * 122
            continue
        fields = line.split()
        parts = line.split("(")
        if len(fields) < 7 or len(parts) != 5:
            break
        serial_of[fields[0]] = parts[4].split(")")[0]
    return serial_of


def read_groups(lines):
    device_of, group_of = {}, {}
    group, protected = "", False
    for line in lines:
        if line.startswith("Consistency Group:"):
            group = line.split()[2]
        elif line.startswith("Protected LUNS:"):
            protected = True
        elif line.startswith("Monitor LUNS:"):
            protected = False
        elif protected:
            device, rest = line.split("[")
            serial = rest.split("]")[0]
            device_of[serial] = device.strip()
            group_of[serial] = group
    return device_of, group_of


with open(sys.argv[2], encoding="ascii") as listing:
    {"disks": read_disks, "groups": read_groups}[sys.argv[1]](listing)
