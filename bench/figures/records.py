"""Figure 11: what a catalog of many records costs whoever lists it."""

import os
import sqlite3
import subprocess
import sys
import time

from measure import alternate, script_seconds

LIST_LIMIT = 0.1  # seconds, beyond which it is waited for
COMPLETION_LIMIT = 0.05
REPORT_LIMIT = 1.0
GROUPS = 2  # of each record, a LUN in each

# Reads the same columns into lines, and tells how long that took without its own start.
PEER = """
import sqlite3, sys, time
start = time.perf_counter()
rows = sqlite3.connect(f"file:{sys.argv[1]}?mode=ro", uri=True).execute(
    "SELECT name, state, created, count(position), group_concat(appliance || '/' || cgroup) FROM snapshot "
    "JOIN device ON device.snapshot = name GROUP BY name ORDER BY name")
text = "".join("  ".join(map(str, row)) + "\\n" for row in rows)
print(time.perf_counter() - start)
"""


def records(bench):
    fictl = str(bench.programs.folder.parents[1] / "bin/fictl")
    root = bench.work / "records"
    root.mkdir()
    environment = {**os.environ, "OBZX_ROOT": str(root)}
    subprocess.run([fictl, "snapshot", "delete", "none"], env=environment, stderr=subprocess.DEVNULL, check=False)
    catalog = root / "var/lib/qz/fictl.db"
    fill(catalog, bench.scale.records)
    peer = bench.work / "list.py"
    peer.write_text(PEER)

    def wall(*words):
        start = time.perf_counter()
        subprocess.run([fictl, *words], env=environment, stdout=subprocess.DEVNULL, check=True)
        return time.perf_counter() - start

    page = str(bench.work / "report.html")
    completed = ("completion", "bash", "--", "snapshot", "delete", "db-")
    samples = bench.keep("records", alternate(2 * bench.scale.repetitions, {
        "list": lambda: wall("snapshot", "list"), "json": lambda: wall("snapshot", "list", "--output", "json"),
        "completion": lambda: wall(*completed),
        "report": lambda: wall("report", "--html", page, "--force"),
        "peer": lambda: script_seconds([sys.executable, str(peer), str(catalog)]),
    }))
    what = f"of {bench.scale.records:,} records"
    bench.absolute(11, f"snapshot list {what}", LIST_LIMIT, samples["list"], "s")
    bench.absolute(11, f"the same in JSON, {what[3:]}", None, samples["json"], "s")
    bench.absolute(11, f"completion of a name {what}", COMPLETION_LIMIT, samples["completion"], "s")
    bench.absolute(11, f"report {what}", REPORT_LIMIT, samples["report"], "s")
    bench.ratio(11, f"snapshot list {what}", None, samples["list"], samples["peer"], "Python's sqlite3, without its start")


def fill(catalog, count):
    """Whole snapshots of two LUNs in two groups, each with a label."""
    with sqlite3.connect(catalog) as database:
        for number in range(count):
            name, checkpoint = f"db-{number}", f"KSV_Check_Point_{number + 1}"
            insert(database, "snapshot", name=name, state="complete", provider="cdpfi", checkpoint=checkpoint,
                   created=f"2026-01-{number % 28 + 1:02}T{number % 24:02}:00:00Z", origin="created", thaw="", message="",
                   pid=1, boot_id="", start_time=0, creator="root@payroll")
            insert(database, "label", snapshot=name, label_key="job", label_value="db")
            for position in range(GROUPS):
                group, serial = f"group{position}", f"LMR{position:012}"
                insert(database, "device", snapshot=name, position=position, source=f"/dev/lumora/lun{position}",
                       node=f"<cdpfi>{serial}", made=1, import_path="", appliance_type="Lumora", appliance="vault",
                       target=f"<cdpfi><DeviceID>{serial}<DeviceID/><Annotation>{checkpoint}<Annotation/>",
                       cgroup=group, time_image="", checkpoint=checkpoint, serial=serial)
                insert(database, "checkpoint_time", snapshot=name, appliance="vault", cgroup=group,
                       made_at="2026-01-31T12:00:00Z")
    database.close()


def insert(database, table, **values):
    database.execute(f"INSERT INTO {table} ({', '.join(values)}) VALUES ({', '.join('?' * len(values))})",
                     list(values.values()))
