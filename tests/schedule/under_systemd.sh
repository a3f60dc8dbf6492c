#!/usr/bin/env bash
# A job under a systemd that runs: its units as the package brings them, with all that shuts them in, on the embedded appliance.
# Run as root where nothing else is, since it makes a site in / (script/package --try does).
set -euo pipefail
export RES_OPTIONS='timeout:1 attempts:1' # the site's host names are known to no resolver
fail() {
  printf 'units: %s\n' "$1"
  systemctl --no-pager --full status 'fictl-*' || true
  journalctl --no-pager -o cat -n 40
  exit 1
}
need() { # TEXT COMMAND...: that succeeds
  local text=$1
  shift
  "$@" || fail "$text"
}
wait_for() { # TEXT COMMAND...: that succeeds before long
  local text=$1 try
  shift
  for try in {1..300}; do
    if "$@"; then return; fi
    sleep 0.1
  done
  fail "$text"
}
hooks=/run/hooks
job=/etc/qz/jobs/db.env
numbers=/var/lib/prometheus/node-exporter/fictl.prom
states() { fictl --output json snapshot list | jq -r '[.snapshots[].state] | sort | join(" ")'; }
last_exit() { fictl --output json status | jq -r '.status.jobs[0].last_run | "\(.end) \(.exit)"'; }
frozen() { [ -e $hooks ] && [ "$(tail -n 1 $hooks)" = frozen ]; }
thawed() { [ "$(tail -n 1 $hooks)" = thawed ]; }

printf 'units: a site\n'
export LMADM_STORE=/srv/store
mkdir -p /etc/qz/jobs "$LMADM_STORE" "${numbers%/*}"
{
  lmadm appliance create alpha
  lmadm host create production
  lmadm group create payroll
  lmadm lun create data --group payroll --size 16KiB
  lmadm lun present data production
  lmadm host setup --root / --host production
} >/dev/null
device=$(lmadm --output json lun list | jq -r '.luns[0].device')
unset LMADM_STORE
cat >$job <<JOB
SNAPSHOT="db-{n}"
DEVICES="$device"
FREEZE='echo frozen >>$hooks'
THAW='sleep 1; echo thawed >>$hooks'
PRUNE_OPTIONS="--keep-last 1"
EVERY=1d
JOB
chmod 600 $job

printf 'units: two snapshots, a rotation, and the numbers\n'
need 'no snapshot was taken' systemctl start fictl-create@db.service
need 'no second snapshot was taken' systemctl start fictl-create@db.service
need 'the application was not frozen and thawed' [ "$(tr '\n' ' ' <$hooks)" = 'frozen thawed frozen thawed ' ]
need 'the rotation failed' systemctl start fictl-prune@db.service
need 'one snapshot should be left' [ "$(states)" = complete ]
need 'the numbers were not written' systemctl start fictl-status.service
need 'the numbers do not say that the job is well' grep -qxF 'fictl_job_state{job="db",state="ok"} 1' $numbers
need 'others cannot read the numbers' [ "$(stat -c %a $numbers)" = 644 ]

printf 'units: a run that is killed, and one that is stopped, while the application is frozen\n'
sed -i "s|^FREEZE=.*|FREEZE='echo frozen >>$hooks; sleep 50'|" $job
systemctl start --no-block fictl-create@db.service
wait_for 'the application is not frozen' frozen
systemctl kill --kill-who=main -s KILL fictl-create@db.service
wait_for 'nobody has thawed the application of a killed run' thawed
wait_for 'the killed run is no failed one' systemctl -q is-failed fictl-create@db.service
need 'the killed run ended' [ "$(last_exit)" = 'did not end null' ]
systemctl start --no-block fictl-create@db.service
wait_for 'the application is not frozen' frozen
need 'the run was not stopped' systemctl stop fictl-create@db.service
need 'nobody has thawed the application of a stopped run' thawed
need 'the stopped run did not end by itself' [ "$(last_exit)" = 'failed 15' ]
need 'the numbers of a failed job were not written' systemctl start fictl-status.service
need 'the numbers do not say that the job failed' grep -qxF 'fictl_job_state{job="db",state="failed"} 1' $numbers

printf 'units: the timers\n'
need 'the timers cannot be turned on' systemctl -q enable --now fictl-create@db.timer fictl-prune@db.timer fictl-status.timer
for timer in fictl-create@db fictl-prune@db fictl-status; do
  next=$(systemctl show -P NextElapseUSecRealtime $timer.timer)
  need "$timer.timer has no next time" [ -n "$next" ]
done
systemctl -q disable --now fictl-create@db.timer fictl-prune@db.timer fictl-status.timer
