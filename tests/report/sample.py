"""Catalogs with fixed times, of which reports are made."""
import contextlib
import datetime
import os
import sqlite3
import subprocess

NOW = datetime.datetime(2026, 1, 31, 15, 0, 0, tzinfo=datetime.timezone.utc)
HOSTILE = "</script><script>document.title='taken'</script><img src=x onerror=document.title='taken'>\"'&{{7*7}}${1}"


def at(days, hours=0, minutes=0):
    """A time so long before the end of the sample."""
    return NOW - datetime.timedelta(days=days, hours=hours, minutes=minutes)


def text(time):
    return time.strftime("%Y-%m-%dT%H:%M:%SZ")


class Catalog:
    """The catalog of a host that has only this root directory."""

    def __init__(self, fictl, root):
        self.fictl, self.root = str(fictl), str(root)
        self.environment = {**os.environ, "OBZX_ROOT": self.root}
        self._number = 100
        self.run("snapshot", "delete", "none")  # makes a catalog without records
        self._path = os.path.join(self.root, "var/lib/qz/fictl.db")
        self._database = None

    def run(self, *words):
        return subprocess.run([self.fictl, *map(str, words)], env=self.environment, capture_output=True, text=True,
                              check=False)

    def run_then(self, *words):
        """The same at the end of the sample, by a clock that is set back for it."""
        return subprocess.run(["faketime", NOW.strftime("%Y-%m-%d %H:%M:%S"), self.fictl, *map(str, words)],
                              env={**self.environment, "TZ": "UTC"}, capture_output=True, text=True, check=False)

    def job(self, name, every):
        """A job whose file is there since long ago."""
        folder = os.path.join(self.root, "etc/qz/jobs")
        os.makedirs(folder, exist_ok=True)
        path = os.path.join(folder, f"{name}.env")
        with open(path, "w", encoding="utf-8") as out:
            out.write(f"SNAPSHOT={name}-{{date}}\nDEVICES=/dev/lun0\nEVERY={every}\n")
        os.utime(path, (at(100).timestamp(),) * 2)

    @contextlib.contextmanager
    def change(self):
        """What is added within goes to the file at once."""
        self._database = sqlite3.connect(self._path)
        with self._database:
            yield
        self._database.close()

    def execute(self, statement, *values):
        self._database.execute(statement, values)

    def _insert(self, table, **values):
        return self._database.execute(
            f"INSERT INTO {table} ({', '.join(values)}) VALUES ({', '.join('?' * len(values))})",
            list(values.values())).lastrowid

    def snapshot(self, name, time, groups, state="complete", job="", note="", frozen=0.0, creator="root@payroll", copy="",
                 gone=False, message=""):
        """A snapshot with the command that made it; gives its checkpoint's number."""
        self._number += 1
        checkpoint = f"KSV_Check_Point_{self._number}"
        self.command(name, time, [("create", "checkpoint", group, checkpoint) for group in groups], frozen=frozen,
                     words=f"snapshot create {name}" + (f" --label job={job}" if job else ""), seconds=frozen + 0.8)
        if gone:
            return self._number
        self._insert("snapshot", name=name, state=state, provider="cdpfi", checkpoint=checkpoint, created=text(time),
                     origin="created", thaw="", message=message, pid=1, boot_id="", start_time=0, creator=creator, note=note)
        if job:
            self._insert("label", snapshot=name, label_key="job", label_value=job)
        for position, (appliance, group) in enumerate(groups):
            serial = f"LMR{position:09}"
            self._insert("device", snapshot=name, position=position, source=f"/dev/lun{position}", node=f"<cdpfi>{serial}",
                         target=f"<cdpfi><DeviceID>{serial}<DeviceID/><Annotation>{checkpoint}<Annotation/>",
                         made=2 if state == "partial" and position else 1, import_path=copy, appliance_type="Lumora",
                         appliance=appliance, cgroup=group, time_image="", checkpoint=checkpoint, serial=serial)
        return self._number

    def command(self, snapshot, time, objects, host="payroll", frozen=0.0, seconds=1.0, words="", outcome="sure"):
        entry = self._insert("history", started=text(time), host=host, user="root", sudo_user="", command=f"fictl {words}",
                             snapshot=snapshot, pid=1, boot_id="", start_time=0, pid_namespace="", owner_lock=0,
                             microseconds=int(seconds * 1e6), frozen=int(frozen * 1e6), bytes=200)
        for position, (verb, kind, (appliance, group), name) in enumerate(objects):
            self._insert("history_object", entry=entry, position=position, verb=verb, kind=kind, appliance=appliance,
                         cgroup=group, name=name, outcome=outcome, made_at="")
        self._database.execute("UPDATE history SET ended = 1 WHERE id = ?", (entry,))

    def copies(self, snapshot, number, groups, begin, end=None, host="backup1", outcome="sure"):
        """Copies on a host from an import to a release, or still there; both answered alike."""
        image = f"KSV_Time_Image_{number}"
        self.command(snapshot, begin, [("create", "image", group, image) for group in groups], host=host,
                     words=f"snapshot import {snapshot}", outcome=outcome)
        if end:
            self.command(snapshot, end, [("delete", "image", group, image) for group in groups], host=host,
                         words=f"snapshot release {snapshot}", outcome=outcome)

    def deletion(self, snapshot, number, groups, time):
        self.command(snapshot, time, [("delete", "checkpoint", group, f"KSV_Check_Point_{number}") for group in groups],
                     words=f"snapshot delete {snapshot}")


def fill(catalog):
    """Two weeks of a host: a nightly backup of two groups, one that runs twice a day, and what went wrong meanwhile."""
    payroll = [("vault", "payroll-db"), ("vault", "payroll-log")]
    web = [("vault", "web")]
    mail = [("annex", "mail")]
    catalog.job("payroll", "1d")
    freezes = [0.8, 0.9, 0.7, 1.1, 0.8, 2.4, 0.9, 0.8, 0.8, 1.0, 0.7, 1.6, 0.9, 0.8]
    with catalog.change():
        for days in range(13, -1, -1):
            if days == 6:
                continue  # the host was down
            time = at(days, 14)
            name = f"payroll-{time:%Y-%m-%d}"
            state = {3: "partial", 0: "imported"}.get(days, "complete")
            number = catalog.snapshot(name, time, payroll, state, job="payroll", frozen=freezes[days],
                                      copy="/dev/sdk" if days == 0 else "",
                                      message="group \"payroll-log\" has no checkpoint" if days == 3 else "")
            if days != 3:
                end = at(days, 8 - freezes[days]) if days else None
                catalog.copies(name, number, payroll, at(days, 13), end)
        for days in range(12, -1, -1):
            time = at(days, 3)
            name = f"web-{time:%Y-%m-%d}"
            is_gone = days > 4 and days % 3 != 0  # as rotation does
            number = catalog.snapshot(name, time, web, "creating" if days == 1 else "complete", job="web", gone=is_gone)
            if days == 6:
                catalog.copies(name, number, web, at(5, 20), at(3, 2), host="staging")
            if is_gone:
                catalog.deletion(name, number, web, at(days - 4, 2))
        for days, note in ((12, ""), (9, ""), (5, "before the upgrade"), (2, "")):
            number = catalog.snapshot(f"mail-{days}", at(days, 2), mail, note=note, frozen=0.3, creator="root (anna)@payroll")
            if days == 5:
                catalog.copies(f"mail-{days}", number, mail, at(4, 20), at(3, 8), host="backup1", outcome="lost")


def fill_many(catalog, count, groups=3):
    """So many snapshots within the last month, in several groups."""
    lanes = [("vault", f"group{number}") for number in range(groups)]
    with catalog.change():
        for number in range(count):
            time = at(0, 720 * (1 - number / count))
            catalog.snapshot(f"db-{number}", time, [lanes[number % groups]], job="db", frozen=number % 5 / 2)


def fill_hostile(catalog):
    """Names and texts that want to be more than that."""
    groups = [(HOSTILE, HOSTILE), ("\u202eback\u202cwards", "\u0645\u062c\u0645\u0648\u0639\u0629"), ("a" * 300, "b" * 300)]
    with catalog.change():
        for days, group in enumerate(groups):
            number = catalog.snapshot(f"odd-{days}", at(days + 1), [group], note=HOSTILE, creator=HOSTILE, message=HOSTILE)
            catalog.copies(f"odd-{days}", number, [group], at(days, 12), host=HOSTILE)
