"""Sites of the embedded appliance, whose tools take as long as they are told."""

import json
import os
import shutil
import subprocess
import time
from dataclasses import dataclass
from pathlib import Path

APPLIANCE = "vault"
LOCAL_HOST = "production"
LUNS_PER_GROUP = 4


@dataclass
class Tools:
    """Programs of the build: the products' and those of the benchmarks."""

    products: Path
    benchmarks: Path


class ApplianceSite:
    """
    A store of the embedded appliance and a host of it, below one folder. The host's tools are front/lmsh and
    front/kforutil, which wait and then become the appliance's own. A site can be copied with all that is in it.
    """

    def __init__(self, folder, tools):
        self.folder = Path(folder)
        self.tools = tools
        self.root = self.folder / "host"

    @classmethod
    def make(cls, folder, tools, hosts, groups):
        site = cls(folder, tools)
        for name in ("store", "host", "front/tools"):
            (site.folder / name).mkdir(parents=True)
        for name in ("lmsh", "kforutil"):
            shutil.copy2(tools.benchmarks / "delayed_tool", site.folder / "front" / name)
            (site.folder / "front/tools" / name).symlink_to(tools.products / name)
        site._lmadm("appliance", "create", APPLIANCE)
        # Addresses: no host is looked up in a network.
        for host in (LOCAL_HOST, *(f"192.0.2.{number}" for number in range(1, hosts))):
            site._lmadm("host", "create", host)
        for number in range(groups):
            site._add_group(f"group{number:02}", number)
        site._lmadm("host", "setup", "--root", str(site.root), "--host", LOCAL_HOST, "--tools",
                    str(site.folder / "front"))
        return site

    def _add_group(self, group, number):
        self._lmadm("group", "create", group)
        for lun in range(number * LUNS_PER_GROUP, (number + 1) * LUNS_PER_GROUP):
            self._lmadm("lun", "create", f"lun{lun:03}", "--group", group, "--size", "64KiB")
            self._lmadm("lun", "present", f"lun{lun:03}", LOCAL_HOST)

    def _lmadm(self, *words):
        command = [self.tools.products / "lmadm", "--store", self.folder / "store", *words]
        return subprocess.run(command, stdout=subprocess.PIPE, check=True).stdout

    def copy(self, folder):
        """The same site below another folder; what was there is gone."""
        shutil.rmtree(folder, ignore_errors=True)
        shutil.copytree(self.folder, folder, symlinks=True)
        other = ApplianceSite(folder, self.tools)
        for file in (other.root / "etc/qz").iterdir():
            file.write_text(file.read_text().replace(f"{self.folder}/", f"{folder}/"))
        shell = other.root / "opt/QXPKlm/bin/lmsh"
        shell.unlink()
        shell.symlink_to(other.folder / "front/lmsh")
        return other

    def set_parallel(self, count):
        """How many commands may run at once; by itself what is configured where nothing is configured."""
        file = self.root / "etc/qz/cdpfi.conf"
        file.write_text(file.read_text().replace("[LMR_CLI_CONFIG]\n", f"[LMR_CLI_CONFIG]\nMAX_PARALLEL={count}\n"))

    def environment(self, delay=0, record=None):
        added = {"OBZX_ROOT": str(self.root), "BENCH_DELAY_MS": str(delay)}
        if record:
            added["BENCH_RECORD"] = str(record)
        return {**os.environ, **added}

    def fictl(self, *words, delay=0, record=None):
        """Runs it: seconds, and its answer."""
        start = time.perf_counter()
        done = subprocess.run([self.tools.products / "fictl", "--output", "json", *words], stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                              env=self.environment(delay, record))
        seconds = time.perf_counter() - start
        if done.returncode != 0:
            raise RuntimeError(f"fictl {' '.join(words)}: status {done.returncode}: {done.stderr.strip()}")
        return seconds, json.loads(done.stdout)

    def one_device_of_each_group(self):
        luns = json.loads(self._lmadm("--output", "json", "lun", "list"))["luns"]
        return [lun["device"] for lun in luns if int(lun["name"].removeprefix("lun")) % LUNS_PER_GROUP == 0]

    def tool_seconds(self, delay):
        """What one run of a tool takes."""
        start = time.perf_counter()
        subprocess.run([self.folder / "front/kforutil", "listdisk"], stdin=subprocess.DEVNULL,
                       stdout=subprocess.DEVNULL, env=self.environment(delay), check=True)
        return time.perf_counter() - start

    def copies(self):
        """How many groups have a checkpoint, and how many a time image."""
        script = f"server {APPLIANCE}\nlist cgroups\nexit\n"
        answer = subprocess.run([self.tools.products / "lmsh"], input=script, stdout=subprocess.PIPE, text=True,
                                env=self.environment(), check=True).stdout
        return answer.count(" annotations=1"), answer.count(" timeimages=1")
