"""A copy of the sources and of build/release, in which a mutant is built without building what it does not change.

Programs know the folder that they were built in: there lie their libraries, and what a test starts. So a copy lies
beside build/release, its name is as long, and every file in it names the copy instead. Its build files name the copied
sources. As the commands differ by that, ninja is told not to look at them, only at times, which are copied too.
"""
import os
import re
import shutil
import subprocess

# Neither read nor run by a test of a mutant.
NOT_COPIED = {"Testing", "bench", "fuzz", "host"}


class CopyError(Exception):
    """The copy cannot be made, or cannot be made good again."""


def run(command, **options):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace",
                          check=False, **options)


class CopyOfBuild:
    """One copy; of several, each has a digit of its own."""

    def __init__(self, top, digit):
        self.top = top
        self.release = top / "build/release"
        self.build = top / f"build/mutant{digit}"
        self.tree = top / f"build/mutant{digit}.tree"
        self.times = {}  # of each file of build/release, by its name below it
        self.changed = None  # the source that holds a defect, and its text without
        self.remove()
        self.copy_sources()
        self.copy_build()

    def remove(self):
        for folder in (self.build, self.tree):
            shutil.rmtree(folder, ignore_errors=True)

    def copy_sources(self):
        listed = run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=self.top).stdout
        for name in listed.split("\0"):
            if name and (self.top / name).is_file():
                (self.tree / name).parent.mkdir(parents=True, exist_ok=True)
                shutil.copy2(self.top / name, self.tree / name)

    def copy_build(self):
        for folder, folders, files in os.walk(self.release):
            place = os.path.relpath(folder, self.release)
            if place == ".":
                folders[:] = [name for name in folders if name not in NOT_COPIED]
            (self.build / place).mkdir(parents=True, exist_ok=True)
            for name in files:
                try:
                    self.copy_file(os.path.normpath(os.path.join(place, name)))
                except FileNotFoundError:
                    continue  # of a test that runs meanwhile

    def copy_file(self, name):
        source, target = self.release / name, self.build / name
        target.unlink(missing_ok=True)
        if source.is_symlink():
            target.symlink_to(os.readlink(source))
            return
        status = source.stat()
        if self.times.setdefault(name, status.st_mtime_ns) != status.st_mtime_ns:
            raise CopyError(f"{source} was built anew meanwhile")
        text = source.read_bytes().replace(os.fsencode(self.release), os.fsencode(self.build))
        if name.endswith(".ninja"):
            text = self.for_copy(text)
        target.write_bytes(text)
        target.chmod(status.st_mode)
        os.utime(target, ns=(status.st_atime_ns, status.st_mtime_ns))

    def for_copy(self, text):
        """A build file that takes the copied sources, whatever the commands were that made the copied objects."""
        top = re.escape(os.fsencode(self.top))
        text = re.sub(top + rb"(?!/build/|[\w.-])", os.fsencode(self.tree), text)
        text = re.sub(rb"(?m)^(rule .*\n)", rb"\1  generator = 1\n", text)
        # A defect may leave something unused, and is compiled for one run.
        text = re.sub(rb"(?m)^  FLAGS = .*$", rb"\g<0> -O0 -w", text)
        # The tests of a program are chosen by its filter, not listed when it is linked.
        return re.sub(rb"(?m)^  POST_BUILD = .*GoogleTestAddTests.*$", b"  POST_BUILD = :", text)

    def put_in(self, name, text):
        """Gives a source another text; all that is made of it will be built."""
        source = self.tree / name
        self.changed = (source, source.stat(), source.read_bytes())
        source.write_text(text)
        if source.suffix == ".h":
            self.drop_objects_of(self.top / name)

    def drop_objects_of(self, header):
        """What was copied depends on the header that was copied from."""
        told = run(["ninja", "-C", str(self.build), "-t", "deps"]).stdout
        for entry in told.split("\n\n"):
            target, _, sources = entry.partition(": ")
            names = (os.path.normpath(self.build / line.strip()) for line in sources.splitlines()[1:])
            if str(header) in names:
                (self.build / target.strip()).unlink(missing_ok=True)

    def make(self, programs):
        """Builds the programs; gives what was told when that failed, else None."""
        built = run(["ninja", "-C", str(self.build), "-j", "1", *(f"tests/{program}" for program in programs)])
        return built.stdout if built.returncode != 0 else None

    def take_back(self):
        """Makes the copy what it was before the last defect."""
        source, status, text = self.changed
        source.write_bytes(text)
        os.utime(source, ns=(status.st_atime_ns, status.st_mtime_ns))
        for folder, _, files in os.walk(self.build):
            place = os.path.relpath(folder, self.build)
            for name in files:
                name = os.path.normpath(os.path.join(place, name))
                path = self.build / name
                if name not in self.times:
                    if not path.is_symlink():
                        path.unlink()
                elif path.stat().st_mtime_ns != self.times[name]:
                    self.copy_file(name)
        for name in self.times:
            if not (self.build / name).exists():
                self.copy_file(name)
