#!/usr/bin/env python3
"""A PostgreSQL server with its data directory and its pg_wal on two LUNs of a group: what is imported of a snapshot under
load has every transaction that was acknowledged before it, and none that began after it.

  postgresql_test.py FOLDER    FOLDER: the programs (build/release/bin)

Ends with status 77 where PostgreSQL or the storage daemon is not installed, or file systems cannot be mounted.
"""
import contextlib
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys
import threading
import time
import unittest

TOP = pathlib.Path(__file__).resolve().parent.parent.parent
sys.dont_write_bytecode = True
sys.path.insert(0, str(TOP / "tests"))
from sweep.site import DEADLINE, Site, need, wait_for  # noqa: E402  pylint: disable=wrong-import-position

SKIPPED = 77  # what ctest takes for a test that was not run
SCRIPTS = TOP / "examples/postgresql"
BIN = pathlib.Path(sys.argv[1]).resolve()
PROGRAMS = pathlib.Path("/usr/lib/postgresql/15/bin")
OWNER = "postgres"
WRITERS = 4
ACCOUNTS = 50


class Database(Site):
    """A production host whose server has its data on one LUN and its write-ahead log on another; a backup host."""

    ENGINE = "qsd"  # fixes what any writer writes
    LUN_SIZE = "128MiB"
    LUNS = {"data": ("alpha", "server"), "wal": ("alpha", "server")}

    def __init__(self):
        self.mounted = []
        super().__init__(BIN)
        self.environment |= {"PATH": f"{BIN}:/usr/sbin:{self.environment['PATH']}", "PGHOST": f"{self.folder}/run",
                             "PGUSER": OWNER, "PGDATABASE": "postgres", "LC_ALL": "C"}
        self.folder.chmod(0o711)  # for the server's user
        (self.folder / "tmp").chmod(0o711)
        (self.folder / "run").mkdir()
        shutil.chown(self.folder / "run", OWNER)
        try:
            self.start_server()
        except BaseException:
            self.remove()
            raise

    def start_server(self):
        for lun, device in self.devices.items():
            self.give("mkfs.ext4", "-q", "-F", device)
            folder = self.folder / lun
            folder.mkdir()
            self.give("mount", device, str(folder))
            self.mounted.append(folder)
            (folder / "pg").mkdir(mode=0o700)
            shutil.chown(folder / "pg", OWNER)
        self.give_as_owner("initdb", "-D", f"{self.folder}/data/pg", "-X", f"{self.folder}/wal/pg", "--wal-segsize=1",
                           "--auth=trust", "--data-checksums")
        self.give_as_owner("pg_ctl", "start", "-D", f"{self.folder}/data/pg", "-l", f"{self.folder}/run/log", "-o",
                           f"-c unix_socket_directories={self.folder}/run -c listen_addresses=")
        self.sql("CREATE TABLE account (id int PRIMARY KEY, balance bigint NOT NULL);"
                 f"INSERT INTO account SELECT id, 0 FROM generate_series(1, {ACCOUNTS}) AS id;"
                 "CREATE TABLE entry (writer int, number int, key text, PRIMARY KEY (writer, number));"
                 "CREATE INDEX ON entry (key)")

    def remove(self):
        if (self.folder / "data/pg/postmaster.pid").exists():
            self.give_as_owner("pg_ctl", "stop", "-m", "immediate", "-D", f"{self.folder}/data/pg")
        for folder in self.mounted:
            self.give("umount", str(folder))
        super().remove()

    def give(self, *words, host=None):
        root = {"OBZX_ROOT": str(self.folder / host)} if host else {}
        run = subprocess.run(words, env=self.environment | root, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                             stderr=subprocess.STDOUT, text=True, timeout=DEADLINE, check=False)
        need(run.returncode == 0, f"{' '.join(words)} ends with {run.returncode}: {run.stdout}")
        return run.stdout

    def give_as_owner(self, program, *words):
        # To a file, since a server that it starts keeps what it is given.
        with open(self.folder / "given", "w+", encoding="utf-8") as told:
            run = subprocess.run(["setpriv", "--reuid", OWNER, "--regid", OWNER, "--init-groups", PROGRAMS / program, *words],
                                 env=self.environment, stdin=subprocess.DEVNULL, stdout=told, stderr=told,
                                 timeout=DEADLINE, check=False)
        need(run.returncode == 0, f"{program}: {(self.folder / 'given').read_text()}")

    def sql(self, text):
        return self.give(str(PROGRAMS / "psql"), "-XAtq", "-v", "ON_ERROR_STOP=1", "-c", text).split()

    # The hosts of the snapshot.

    def snapshot(self, name, *hooks):
        """Takes a snapshot, and brings its record to the other host; the instants between which it was taken."""
        before = time.monotonic()
        self.give("fictl", "snapshot", "create", name, *self.devices.values(), *hooks, host="production")
        after = time.monotonic()
        document = str(self.folder / f"{name}.json")
        self.give("fictl", "snapshot", "export", name, "--file", document, host="production")
        self.give("fictl", "snapshot", "receive", document, host="backup")
        return before, after

    def words_to_check(self, name):
        return [str(SCRIPTS / "check-copy"), name, f"{self.devices['data']}:pg", f"{self.devices['wal']}:pg"]

    def check_copy(self, name):
        """The server's log, and the numbers of the entries that the copy has of each writer."""
        text = self.give(*self.words_to_check(name), *QUERY, host="backup")
        return text, result_of(text)


QUERY = (str(PROGRAMS / "psql"), "-XAtq", "-c",
         "SELECT 'entry', writer, count(*), max(number) FROM entry GROUP BY writer",
         "-c", "SELECT 'sum', sum(balance) FROM account")


def result_of(text):
    """Of each writer the number of its last entry; that there is each one before it, and that no transfer is there by half."""
    need("sum|0\n" in text, f"a transfer is there by half: {text}")
    found = {}
    for writer, count, last in re.findall(r"^entry\|(\d+)\|(\d+)\|(\d+)$", text, re.MULTILINE):
        need(count == last, f"of writer {writer} there are {count} entries up to number {last}")
        found[int(writer)] = int(last)
    return found


class Load:
    """Writers that transfer sums between accounts, one transaction after the other, and remember when each one began and when
    it was acknowledged."""

    def __init__(self, database):
        self.seen = [[] for _ in range(WRITERS)]  # of each transaction (begun, acknowledged)
        self._database = database
        self._stopped = threading.Event()
        self._failed = []
        self._threads = [threading.Thread(target=self._write, args=(writer,)) for writer in range(WRITERS)]

    def __enter__(self):
        for thread in self._threads:
            thread.start()
        return self

    def __exit__(self, *_):
        self._stopped.set()
        for thread in self._threads:
            thread.join()
        need(not self._failed, f"a writer failed: {self._failed}")

    def _write(self, writer):
        with subprocess.Popen([PROGRAMS / "psql", "-XAtq", "-v", "ON_ERROR_STOP=1"], env=self._database.environment, text=True,
                              stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.STDOUT) as session:
            for number in range(1, 1000000):
                if self._stopped.is_set():
                    break
                one, other = sorted(random.sample(range(1, ACCOUNTS + 1), 2))  # in order, so that no two wait for each other
                begun = time.monotonic()
                session.stdin.write(f"BEGIN; INSERT INTO entry VALUES ({writer}, {number}, md5(random()::text));"
                                    f"UPDATE account SET balance = balance + {number} WHERE id = {one};"
                                    f"UPDATE account SET balance = balance - {number} WHERE id = {other}; COMMIT;\n"
                                    "\\echo acknowledged\n")
                session.stdin.flush()
                answer = session.stdout.readline()
                if answer != "acknowledged\n":
                    self._failed.append(answer)
                    break
                self.seen[writer].append((begun, time.monotonic()))
            session.stdin.close()

    def wait_for_more(self, count):
        """Until each writer has written so many more."""
        goals = [len(seen) + count for seen in self.seen]
        end = time.monotonic() + DEADLINE
        while any(len(seen) < goal for seen, goal in zip(self.seen, goals)):
            need(time.monotonic() < end and not self._failed, f"the writers do not get on: {self._failed}")
            time.sleep(0.01)

    def lost(self, found, before):
        """How many transactions are not there though they were acknowledged before this instant."""
        return sum(max(0, sum(1 for _, acknowledged in seen if acknowledged < before) - found.get(writer, 0))
                   for writer, seen in enumerate(self.seen))

    def from_later(self, found, after):
        """How many are there though they began after this instant."""
        return sum(max(0, found.get(writer, 0) - sum(1 for begun, _ in seen if begun < after))
                   for writer, seen in enumerate(self.seen))


def number_of(position):
    """A position in the write-ahead log."""
    high, low = position.split("/")
    return (int(high, 16) << 32) + int(low, 16)


class ServerFromACopy(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.database = Database()
        cls.addClassCleanup(cls.database.remove)

    def setUp(self):
        self.database.sql("TRUNCATE entry; UPDATE account SET balance = 0")
        self.load = Load(self.database)

    def check(self, name, before, after):
        log, found = self.database.check_copy(name)
        self.assertIn("automatic recovery in progress", log)
        self.assertEqual(self.load.lost(found, before), 0)
        self.assertEqual(self.load.from_later(found, after), 0)
        self.assertEqual(self.database.copies()[1], set())
        return log, found

    def test_has_what_was_acknowledged_without_any_hook(self):
        with self.load:
            for name in ("first", "second"):
                self.load.wait_for_more(30)
                before, after = self.database.snapshot(name)
                self.load.wait_for_more(5)  # there have to be some that began after it
                _, found = self.check(name, before, after)
        # That the same checks notice: of the time until now it lacks something, and it has something that is later than nothing.
        self.assertGreater(self.load.lost(found, time.monotonic()), 0)
        self.assertGreater(self.load.from_later(found, 0), 0)

    def test_a_checkpoint_before_it_makes_the_recovery_short(self):
        with self.load:
            self.load.wait_for_more(30)
            position = number_of(self.database.sql("SELECT pg_current_wal_insert_lsn()")[0])
            plain = self.database.snapshot("plain")
            hooked = self.database.snapshot("hooked", "--freeze", f"{PROGRAMS}/psql -Xqc CHECKPOINT", "--thaw", "true")
        begins = [number_of(re.search(r"redo starts at ([0-9A-F]+/[0-9A-F]+)", self.check(name, *instants)[0])[1])
                  for name, instants in (("plain", plain), ("hooked", hooked))]
        self.assertLess(begins[0], position)
        self.assertGreaterEqual(begins[1], position)

    def test_does_not_start_from_luns_of_two_instants(self):
        with self.load:
            self.load.wait_for_more(10)
            self.database.snapshot("earlier")
            self.load.wait_for_more(10)
            self.database.sql("CHECKPOINT")
            self.database.snapshot("later")
        earlier, later = self.imported("earlier"), self.imported("later")
        self.check_refused(later["data"], earlier["wal"], "could not locate a valid checkpoint record")

    def test_is_refused_with_a_page_that_is_not_whole(self):
        self.database.sql("CHECKPOINT")  # so that no recovery writes the page anew
        self.database.snapshot("damaged")
        copy = self.imported("damaged")
        folder = self.database.folder / "copy"
        folder.mkdir()
        self.database.give("mount", copy["data"], str(folder))
        with open(folder / "pg" / self.database.sql("SELECT pg_relation_filepath('account_pkey')")[0], "r+b") as index:
            index.seek(8192 + 4000)
            index.write(b"damage")
        self.database.give("umount", str(folder))
        self.check_refused(copy["data"], copy["wal"], "page verification failed")

    def test_a_check_that_is_killed_leaves_no_server_and_the_next_one_goes_on(self):
        self.database.snapshot("killed")
        words = [*self.database.words_to_check("killed"), "sh", "-c", "echo ready; exec sleep 60"]
        root = {"OBZX_ROOT": str(self.database.folder / "backup")}
        with subprocess.Popen(words, env=self.database.environment | root, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, text=True) as check:
            self.assertEqual(check.stdout.readline(), "ready\n")
            self.assertGreaterEqual(self.processes_of_copy(), 2)  # the server, and the command
            check.kill()
        wait_for(lambda: self.processes_of_copy() == 0, "the end of what a killed check had started")
        self.database.check_copy("killed")
        self.assertEqual(self.database.copies()[1], set())

    def test_a_check_that_is_stopped_gives_the_copies_back(self):
        self.database.snapshot("stopped")
        words = [*self.database.words_to_check("stopped"), "sh", "-c", "echo ready; exec sleep 60"]
        root = {"OBZX_ROOT": str(self.database.folder / "backup")}
        with subprocess.Popen(words, env=self.database.environment | root, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, text=True) as check:
            self.assertEqual(check.stdout.readline(), "ready\n")
            check.terminate()
            self.assertEqual(check.wait(DEADLINE), 143)
        self.assertEqual(self.processes_of_copy(), 0)
        self.assertEqual(self.database.copies()[1], set())

    def test_reaches_no_other_server_whatever_the_copy_says(self):
        self.database.sql("ALTER SYSTEM SET primary_conninfo = 'host=127.0.0.1 port=5432'")
        self.addCleanup(self.database.sql, "ALTER SYSTEM RESET primary_conninfo")
        signal_file = self.database.folder / "data/pg/standby.signal"
        signal_file.touch()
        self.addCleanup(signal_file.unlink)
        self.database.give("sync")  # what is not written yet is in no snapshot
        self.database.snapshot("reaching")
        interfaces = ("sh", "-c", "grep -c : /proc/net/dev; ip -o link show up 2>/dev/null | wc -l; exec \"$@\"", "sh")
        text = self.database.give(*self.database.words_to_check("reaching"), *interfaces, str(PROGRAMS / "psql"), "-XAtq", "-c",
                                  "SELECT 'settings', name, setting FROM pg_settings"
                                  " WHERE name IN ('primary_conninfo', 'max_logical_replication_workers')",
                                  "-c", "SELECT 'standby', pg_is_in_recovery()", host="backup")
        self.assertIn("settings|primary_conninfo|\n", text)
        self.assertIn("settings|max_logical_replication_workers|0\n", text)
        self.assertIn("standby|f\n", text)
        self.assertIn("\n1\n0\n", text)  # a loopback device, which is not up

    def test_is_refused_with_tablespaces(self):
        link = self.database.folder / "data/pg/pg_tblspc/4711"
        link.symlink_to(self.database.folder)
        self.addCleanup(link.unlink)
        self.database.give("sync")  # what is not written yet is in no snapshot
        self.database.snapshot("spread")
        copy = self.imported("spread")
        self.check_refused(copy["data"], copy["wal"], "the server has tablespaces")

    def test_is_refused_with_a_tablespace_of_which_only_the_log_tells(self):
        place = self.database.folder / "run/tablespace"
        place.mkdir()
        shutil.chown(place, OWNER)
        self.database.sql("CHECKPOINT")
        self.database.give("sync")
        self.database.sql(f"CREATE TABLESPACE aside LOCATION '{place}'")
        self.addCleanup(self.database.sql, "DROP TABLESPACE aside")
        self.database.snapshot("aside")
        copy = self.imported("aside")
        self.check_refused(copy["data"], copy["wal"], "the server has tablespaces")

    def test_starts_where_the_log_was_a_mounted_folder(self):
        self.database.snapshot("mounted")
        copy = self.imported("mounted")
        folder = self.database.folder / "copy-of-data"
        folder.mkdir()
        self.database.give("mount", copy["data"], str(folder))
        (folder / "pg/pg_wal").unlink()
        (folder / "pg/pg_wal").mkdir()
        self.database.give("umount", str(folder))
        self.database.give(str(SCRIPTS / "start-copy"), f"{copy['data']}:pg", f"{copy['wal']}:pg", *QUERY)

    def processes_of_copy(self):
        """How many processes were given the folder of a server that was started from a copy."""
        count = 0
        for process in pathlib.Path("/proc").glob("[0-9]*"):
            with contextlib.suppress(OSError):
                told = (process / "environ").read_bytes() + (process / "cmdline").read_bytes()
                count += f"{self.database.folder}/tmp/tmp.".encode() in told
        return count

    def imported(self, name):
        """The copies of a snapshot, until the end of the test."""
        self.database.give("fictl", "snapshot", "import", name, host="backup")
        self.addCleanup(self.database.give, "fictl", "snapshot", "release", name, host="backup")
        paths = {entry["source"]: entry["import_path"] for entry in self.database.record("backup", name)["devices"]}
        return {lun: paths[device] for lun, device in self.database.devices.items()}

    def check_refused(self, data, wal, reason):
        run = subprocess.run([SCRIPTS / "start-copy", f"{data}:pg", f"{wal}:pg"], env=self.database.environment,
                             stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                             timeout=DEADLINE, check=False)
        self.assertNotEqual(run.returncode, 0, run.stdout)
        self.assertIn(reason, run.stdout)


def missing():
    """What keeps the test from being run, or None."""
    for program, package in ((PROGRAMS / "postgres", "postgresql"), ("qemu-storage-daemon", "qemu-system-common"),
                             ("nbdkit", "nbdkit"), ("nbdfuse", "libnbd-bin"), ("jq", "jq"), ("mkfs.ext4", "e2fsprogs")):
        if shutil.which(program, path=f"{os.environ['PATH']}:/usr/sbin") is None:
            return f"{program} is not installed (package {package}): script/bootstrap --examples"
    if os.geteuid() != 0:
        return "only root mounts file systems"
    if not os.access("/dev/loop-control", os.W_OK) or not os.access("/dev/fuse", os.W_OK):
        return "/dev/loop-control and /dev/fuse are not there: file systems cannot be mounted"
    return None


if __name__ == "__main__":
    if missing():
        print(missing())
        sys.exit(SKIPPED)
    unittest.main(argv=sys.argv[:1], verbosity=2)
