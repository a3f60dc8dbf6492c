"""Which system calls are disturbed, and how: strace lets the n-th of a kind fail, or kills the program at it."""
import collections
import os
import re

from sweep.site import need

# What the kernel may answer to a call. Every kind is also one to be killed at. Those that only ask what a process is, set
# up signals or wait on a lock within a process are left out: they do not fail.
ERRORS = {
    # files by name
    "openat": ("EIO", "ENOSPC", "EMFILE", "EINTR", "ENOMEM"),
    "newfstatat": ("EIO", "ENOMEM"),
    "access": ("EIO", "ENOMEM"),
    "faccessat2": ("EIO", "ENOMEM"),
    "readlink": ("EIO", "ENOMEM"),
    "mkdir": ("EIO", "ENOSPC", "ENOMEM"),
    "rename": ("EIO", "ENOSPC", "ENOMEM"),
    "renameat2": ("EIO", "ENOSPC", "ENOMEM"),
    "symlink": ("EIO", "ENOSPC", "ENOMEM"),
    "unlink": ("EIO", "ENOMEM"),
    "unlinkat": ("EIO", "ENOMEM"),
    "rmdir": ("EIO", "ENOMEM"),
    # files that are open
    "read": ("EIO", "EINTR", "EAGAIN"),
    "pread64": ("EIO", "EINTR"),
    "write": ("EIO", "ENOSPC", "EINTR", "EAGAIN"),
    "pwrite64": ("EIO", "ENOSPC", "EINTR"),
    "copy_file_range": ("EIO", "ENOSPC", "EINTR", "ENOMEM"),
    "ftruncate": ("EIO", "ENOSPC", "EINTR"),
    "fsync": ("EIO", "ENOSPC", "EINTR"),
    "fdatasync": ("EIO", "ENOSPC", "EINTR"),
    "fchmod": ("EIO",),
    "fchown": ("EIO",),
    "getdents64": ("EIO", "ENOMEM"),
    "ioctl": ("EIO", "ENOSPC"),
    "lseek": ("EIO",),
    "flock": ("EINTR", "ENOMEM"),
    # descriptors
    "fcntl": ("EMFILE", "EINTR", "ENOMEM", "EAGAIN"),
    "close": (),  # one that fails has closed all the same, which a tracer cannot play
    "pipe2": ("EMFILE", "ENOMEM"),
    "eventfd2": ("EMFILE", "ENOMEM"),
    "pidfd_open": ("EMFILE", "ENOMEM"),
    "socket": ("EMFILE", "ENOMEM"),
    "socketpair": ("EMFILE", "ENOMEM"),
    "connect": ("EINTR", "EAGAIN"),
    "sendmsg": ("EINTR", "ENOMEM", "EAGAIN"),
    "recvmsg": ("EINTR", "ENOMEM"),
    "sendmmsg": ("EINTR", "ENOMEM"),
    "recvfrom": ("EINTR", "EAGAIN"),
    # processes
    "clone": ("EAGAIN", "ENOMEM"),
    "clone3": ("EAGAIN", "ENOMEM"),
    "waitid": ("EINTR",),
    "poll": ("EINTR", "ENOMEM"),
    # memory
    "mmap": ("ENOMEM", "EAGAIN"),
    "brk": ("ENOMEM",),
    "mremap": ("ENOMEM",),
    "mprotect": ("ENOMEM",),
    "getrandom": ("EINTR",),
}
KILL = "KILL"
# brk answers with the end of the heap, and a failed one with another than was asked for.
ANSWERS = {"brk": "retval=0"}


def disturbances():
    """Each kind of call with each thing that is done to it."""
    return [(kind, how) for kind, errors in ERRORS.items() for how in (*errors, KILL)]


def tracer(log, kind=None, number=0, how=None):
    """The words that a command is started with: only its first thread is traced, none of what it starts."""
    # Where the kernel can, only the calls that are traced stop the program.
    words = ["strace", "-q", "-o", str(log), "-e", f"trace={kind or ','.join([*ERRORS, 'munmap'])}"]
    if kind:
        what = "signal=KILL" if how == KILL else ANSWERS.get(kind, f"error={how}")
        words += ["-e", f"inject={kind}:{what}:when={number}"]
    return words


def was_struck(log, how):
    text = log.read_text(errors="replace") if log.exists() else ""
    return ("+++ killed by SIGKILL +++" if how == KILL else "(INJECTED)") in text


def calls_of(log):
    """What a traced command called: for each kind the numbers of its calls that the program itself made. Those of the
    loader come first; the last thing that it does is to give back the list of libraries that it had mapped. Those of the
    library that tells what is still open come last."""
    seen, own = collections.Counter(), collections.defaultdict(list)
    listed = maps = None
    loader = True
    for line in log.read_text(errors="replace").splitlines():
        call = re.match(r"(\w+)\((\w*)", line)
        if "/reports/open." in line:
            break
        if not call:
            continue
        seen[call[1]] += 1
        if not loader:
            own[call[1]].append(seen[call[1]])
        elif "/ld.so.cache" in line:
            listed = True
        elif listed and not maps and call[1] == "mmap":
            maps = line.rsplit(" = ", 1)[1]
        elif call[1] == "munmap" and call[2] == maps:
            loader = False
    need(not loader, f"{log}: where the loader ends cannot be told")
    return {kind: own[kind] for kind in ERRORS if kind in own}


def spread(numbers, most):
    """At most so many of the numbers, evenly spread, the first and the last among them."""
    if len(numbers) <= most:
        return numbers
    return [numbers[round(index * (len(numbers) - 1) / (most - 1))] for index in range(most)]


def check_installed():
    need(any(os.access(os.path.join(folder, "strace"), os.X_OK) for folder in os.get_exec_path()),
         "strace is not there: script/bootstrap installs it")
