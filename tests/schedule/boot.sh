#!/usr/bin/env bash
# Boots the systemd of a root folder in namespaces of its own, has it run a program, and ends it with all that it has started.
# Prints what the program prints, and ends with its exit status.
#
#   boot.sh ROOT PROGRAM    as root
#
# The kernel of this machine is all that both have in common: no network, no device, no process and no mount. What is written
# there lies in memory, and nothing of it in ROOT.
set -euo pipefail
groups=$(findmnt -nt cgroup2 -o TARGET | head -n 1)/cdpfi-boot-$$
printed=$(mktemp)
finish() {
  rm -f "$printed"
  find "$groups" -depth -type d -exec rmdir {} +
}
mkdir "$groups"
trap finish EXIT

inside='set -e
root=$(realpath "$1") program=$(realpath "$2") printed=$3
mount --make-rprivate /
mount -t tmpfs tmpfs /mnt
cd /mnt
mkdir written work place
mount -t overlay -o "lowerdir=$root,upperdir=written,workdir=work" overlay place
cd place
install -m 755 "$program" trial
cat >etc/systemd/system/trial.service <<UNIT
[Unit]
Requires=basic.target
After=basic.target
SuccessAction=exit-force
FailureAction=exit-force

[Service]
Type=oneshot
ExecStart=/trial
StandardOutput=append:/trial.out
StandardError=inherit
UNIT
touch trial.out
mount --bind "$printed" trial.out
mount -t proc proc proc
mount -t sysfs -o ro sysfs sys
mount -t cgroup2 cgroup2 sys/fs/cgroup
for folder in dev run tmp; do mount -t tmpfs tmpfs "$folder"; done
for device in null:3 zero:5 full:7 random:8 urandom:9; do mknod -m 666 "dev/${device%:*}" c 1 "${device#*:}"; done
mknod -m 666 dev/tty c 5 0
mkdir dev/pts dev/shm dev/mqueue
mount -t devpts -o newinstance,ptmxmode=0666 devpts dev/pts
ln -s pts/ptmx dev/ptmx
mkdir run/before
pivot_root . run/before
cd /
umount -l run/before
exec env -i container=boot PATH=/usr/sbin:/usr/bin:/sbin:/bin /lib/systemd/systemd --unit=trial.service --show-status=0'
status=0
(
  printf '%s\n' "$BASHPID" >"$groups/cgroup.procs"
  exec timeout -k 5 120 unshare --pid --fork --kill-child --mount --uts --ipc --net --cgroup bash -c "$inside" boot "$1" "$2" "$printed"
) </dev/null >>"$printed" 2>&1 || status=$?
cat "$printed"
exit "$status"
