"""The situations of docs/troubleshooting.md, in its order. Each one is a generator: what stands before a `yield` brings
the site into the situation, the `yield` gives the commands of the entry's next session."""
import os
import time

SCENARIOS = {}

QUIET = """\
case "$1" in
{cases}
esac
"""


def scenario(words):
    """Enters a situation under words that stand in the heading of its entry."""
    def enter(function):
        assert words not in SCENARIOS, words
        SCENARIOS[words] = function
        return function
    return enter


def while_answers_are_odd(place, requests, answer):
    """One session while the requests have that answer, and one after it."""
    place.answer_oddly("production", requests, answer)
    yield
    place.answer_plainly()
    yield


@scenario("No appliance is configured")
def no_appliance(place):
    place.configure("production", "hls.conf", lambda text: "")
    yield


@scenario("The appliance shell")
def no_shell_at_the_fixed_path(place):
    (place.root("production") / "opt/QXPKlm/bin/lmsh").unlink()
    yield


@scenario("cannot be loaded")
def unknown_provider(place):
    place.install_apart()
    yield


@scenario("no appliance protects it")
def device_not_served(place):
    place.lmadm("--appliance", "alpha", "lun", "unpresent", "data", "production")
    yield


@scenario("is ambiguous")
def ambiguous_device(place):
    serial = place.serial("alpha", "data")
    place.standing["LM09B66463075361"] = serial
    place.lmadm("--appliance", "alpha", "group", "create", serial)
    yield


@scenario("an appliance did not answer everything")
def dead_appliance(place):
    yield from while_answers_are_odd(place, "*server*beta*", "echo 'lmsh: beta:9000: No route to host'; exit 1")


@scenario("is no listing")
def login_banner(place):
    yield from while_answers_are_odd(place, "*server*alpha*", "echo 'Maintenance tonight at ten.'")


@scenario("could be made for this host")
def unknown_host(place):
    place.carried()
    place.configure("backup", "cdpfi.conf", lambda text: text.replace("LOCAL_NAME=backup", "LOCAL_NAME=backup.example"))
    yield


@scenario("warning: not checked")
def no_inspector(place):
    place.install_apart()
    yield


@scenario("temporary folder")
def no_temporary_folder(place):
    place.before_each = "export TMPDIR=/no/such/folder"
    yield


@scenario("is partial")
def partial_snapshot(place):
    place.answer_oddly("production", "*server*beta*create*annotation*",
                       "echo 'lmsh: group \"books\" is being copied'; exit 5")
    yield
    place.answer_plainly()
    yield


@scenario("freeze command")
def freeze_fails(place):
    place.program("db-quiet", QUIET.format(cases="on) echo 'db-quiet: the database is not running' >&2; exit 3 ;;"))
    yield


@scenario("the thaw command failed")
def thaw_fails(place):
    stuck = place.folder / "stuck"
    stuck.touch()
    place.program("db-quiet", QUIET.format(cases=f"off) if rm {stuck} 2>/dev/null; then echo 'db-quiet: the database "
                                                 "is busy' >&2; exit 4; fi ;;"))
    yield


@scenario("it was frozen as long as --max-freeze allows")
def frozen_too_long(place):
    place.program("db-quiet", "exit 0")
    place.lmadm("fault", "arm", "slow", "--match", "create annotation", "--seconds", "20")
    yield


@scenario("no answer within")
def silent_appliance(place):
    place.configure("production", "cdpfi.conf", lambda text: text + "[FI_EXEC]\nMAX_TIMEOUT=1\n")
    place.lmadm("fault", "arm", "hang", "--match", "create annotation")
    yield


@scenario("is in the catalog already (interrupted)")
def killed_creation(place):
    place.killed_behind("production", "snapshot create nightly /dev/sdb /dev/sdd", "alpha: create annotation")
    yield


@scenario("is at work on it")
def creation_in_a_container(place):
    place.lmadm("fault", "arm", "hang", "--match", "create annotation")
    process = place.begin([place.bin / "fictl", "snapshot", "create", "nightly", "/dev/sdb"], "production")
    place.wait_for_fault()
    # What a record of a container looks like from outside of it: its process id is one of there.
    place.change_rows(place.catalog("production"), "UPDATE snapshot SET pid = 7, pid_namespace = 'pid:[4026539999]'")
    place.standing["4711"] = process.pid
    yield
    yield
    place.ended(process)
    place.lmadm("fault", "clear")
    yield


@scenario("is not in the catalog")
def catalog_of_another_host(place):
    place.given("production", "snapshot create nightly /dev/sdb")
    yield


@scenario("exists already; nothing was written")
def document_there_already(place):
    place.given("production", "snapshot create nightly /dev/sdb")
    (place.folder / "exchange/nightly.json").write_text("of yesterday\n", encoding="ascii")
    yield


@scenario("not a usable snapshot document")
def document_cut_short(place):
    place.given("production", "snapshot create nightly /dev/sdb")
    place.given("production", "snapshot export nightly --file nightly.json")
    path = place.folder / "exchange/nightly.json"
    path.write_text("{}\n", encoding="ascii")
    yield


@scenario("is not allowed on this host")
def provider_not_allowed(place):
    place.given("production", "snapshot create nightly /dev/sdb")
    place.given("production", "snapshot export nightly --file nightly.json")
    path = place.folder / "exchange/nightly.json"
    path.write_text(path.read_text(encoding="utf-8").replace("cdpfi", "otherfi"), encoding="utf-8")
    yield


@scenario("is not configured on this host")
def appliance_not_configured(place):
    place.given("production", "snapshot create nightly /dev/sdb")
    place.given("production", "snapshot export nightly --file nightly.json")
    place.configure("backup", "hls.conf", lambda text: "RSURL=beta:9000\n")
    yield


@scenario("has no checkpoint")
def document_of_a_deleted_snapshot(place):
    place.given("production", "snapshot create nightly /dev/sdb")
    place.given("production", "snapshot export nightly --file nightly.json")
    place.given("production", "snapshot delete nightly")
    yield


@scenario("a checkpoint has one time image")
def imported_elsewhere(place):
    place.carried()
    place.given("backup", "snapshot import nightly")
    yield


@scenario("import-interrupted")
def killed_import(place):
    place.carried()
    place.killed_behind("backup", "snapshot import nightly", "alpha: create timeimage")
    yield


@scenario("does not show on this host")
def discovery_fails(place):
    place.carried()
    place.fail_to_discover("backup", "echo 'kforutil: the bus cannot be scanned'; exit 1")
    yield
    place.discover_again()
    yield


@scenario("checkpoint … is gone")
def checkpoint_gone(place):
    place.carried()
    place.given("production", "snapshot delete nightly")
    yield


@scenario("not imported by this record")
def delete_while_imported_elsewhere(place):
    place.carried()
    place.given("backup", "snapshot import nightly")
    yield


@scenario("is in use: open in process")
def copy_in_use(place):
    place.carried()
    place.given("backup", "snapshot import nightly")
    process = place.begin(["/usr/bin/tail", "-f", "/dev/sdx"], "backup")
    place.standing["4711"] = process.pid
    yield
    place.ended(process)
    yield


@scenario("another host has its record")
def exported_and_not_known(place):
    place.carried()
    yield from while_answers_are_odd(place, "*server*beta*", "echo 'lmsh: beta:9000: No route to host'; exit 1")


@scenario("and was recorded in group")
def lun_moved(place):
    place.given("production", "snapshot create nightly /dev/sdb")
    place.lmadm("--appliance", "alpha", "group", "create", "archive")
    place.change_appliance("UPDATE lun SET cgroup_id = (SELECT id FROM cgroup WHERE name = 'archive') "
                           "WHERE name = 'data'")
    yield


@scenario("the record stays")
def image_made_by_hand(place):
    place.given("production", "snapshot create nightly /dev/sdb")
    checkpoint = place.record("production", "nightly")["checkpoint"]
    commands = ['create timeimage "by_hand" "payroll"', f'use annotation "{checkpoint}"', 'add permission "backup"',
                "set preserve mode no", "set prevent expiration timeout 0", "set proactive expiration timeout 0",
                "commit"]
    script = "\\n".join(["server alpha", *commands, "exit", ""])
    place.shell("production", f"printf '{script}' | lmsh")
    yield


@scenario("The appliance of a snapshot is gone for good")
def appliance_gone(place):
    place.given("production", "snapshot create nightly /dev/sdd")
    place.configure("production", "hls.conf", lambda text: "RSURL=alpha:9000\n")
    yield


@scenario("file is not a database")
def damaged_catalog(place):
    place.given("production", "snapshot create nightly /dev/sdb")
    place.standing["KSV_Check_Point_4711"] = place.record("production", "nightly")["checkpoint"]
    place.catalog("production").write_bytes(b"not a catalog any more\n" * 64)
    place.catalog("production").chmod(0o600)
    yield


@scenario("its record cannot be read")
def unreadable_record(place):
    place.given("production", "snapshot create nightly /dev/sdb")
    place.given("production", "snapshot create weekly /dev/sdd")
    place.change_rows(place.catalog("production"), "UPDATE snapshot SET state = 'weird' WHERE name = 'nightly'")
    yield
    place.change_rows(place.catalog("production"), "UPDATE snapshot SET state = 'complete' WHERE name = 'nightly'")
    yield


@scenario("it was cut to nothing")
def cut_catalog(place):
    place.given("production", "snapshot create nightly /dev/sdb")
    catalog = place.catalog("production")
    yesterday = catalog.with_name("fictl.db.yesterday")
    yesterday.write_bytes(catalog.read_bytes())
    yesterday.chmod(0o600)
    catalog.write_bytes(b"")
    yield


@scenario("A disk is full")
def disk_full(place):
    place.given("production", "snapshot delete none", 3)  # there is a catalog
    place.before_each = "trap '' XFSZ; ulimit -f 0"
    yield
    place.before_each = ":"
    yield


@scenario("Where is my copy")
def looking_for_a_copy(place):
    place.carried()
    place.given("backup", "snapshot import nightly")
    yield


@scenario("A nightly snapshot is missing")
def missed_run(place):
    file = place.root("production") / "etc/qz/jobs/payroll.env"
    file.parent.mkdir()
    devices = f'{place.devices["data"]} {place.devices["journal"]}'
    file.write_text(f'SNAPSHOT="payroll-{{n}}"\nDEVICES="{devices}"\nEVERY=1d\n', encoding="utf-8")
    two_days_ago = time.time() - 2 * 86400
    os.utime(file, (two_days_ago, two_days_ago))
    yield


@scenario("Whose is this checkpoint")
def without_a_record(place):
    place.given("production", "snapshot create nightly /dev/sdb")
    place.standing["KSV_Check_Point_4711"] = place.record("production", "nightly")["checkpoint"]
    place.given("production", "snapshot delete nightly --forget")
    place.shell("production", "printf 'server alpha\\ncreate annotation \"by_hand\" \"payroll\"\\nset message x\\ncommit\\nexit\\n'"
                " | /opt/QXPKlm/bin/lmsh")
    yield


@scenario("What has become of this snapshot")
def asking_the_history(place):
    place.killed_behind("production", "snapshot create nightly /dev/sdb", "create annotation")
    place.given("production", "snapshot delete nightly")
    yield


@scenario("A command goes wrong, and nobody sees why")
def recording(place):
    place.answer_oddly("production", "*create*annotation*", "echo 'lmsh: no space'; exit 6")
    yield
