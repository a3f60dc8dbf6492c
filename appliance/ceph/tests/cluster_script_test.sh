#!/usr/bin/env bash
# script/cluster: what is written stays through a killed storage node and a stop of the whole; nothing stays after the end.
set -uo pipefail
cluster=$(realpath "$(dirname "$0")/../../../script/cluster")
folder=$(mktemp -d "${TMPDIR:-/tmp}/cdpfi-cluster.XXXXXX")/c
export CEPH_CONF=$folder/ceph.conf

failed=0
complain() {
  printf '%s\n' "$1" >&2
  failed=1
}
run() { "$cluster" "$@" --folder "$folder"; }
daemons() { grep -lzsFxf <(printf %s "$CEPH_CONF") /proc/[0-9]*/cmdline | wc -l; }
as_appliance() { timeout 60 rados --id appliance -p catalog "$@"; }
finish() {
  run remove 2>/dev/null
  rm -rf "${folder%/c}"
}
trap finish EXIT

told=$(run status 2>&1) && complain 'status finds a cluster that nobody made'
[ "$told" = "script/cluster: $folder holds no cluster; make one: script/cluster up --folder $folder" ] || complain "$told"
run up || complain 'up fails'
[ "$(daemons)" -eq 6 ] || complain "$(daemons) daemons run in place of 6"
as_appliance put before "$0" || complain 'it takes no writes'

run kill osd.1 || complain 'kill fails'
told=$(run status) && complain 'status finds nothing wrong with a killed storage node'
grep -qx 'osd\.1  127\.0\.0\.3  stopped' <<<"$told" || complain "$told"
as_appliance put meanwhile "$0" || complain 'it takes no writes without a storage node'
run start osd.1 || complain 'start fails'
run stop mon.a || complain 'stop fails'
as_appliance put without "$0" || complain 'it takes no writes without a monitor'

run down || complain 'down fails'
[ "$(daemons)" -eq 0 ] || complain "$(daemons) daemons run after down"
run up || complain 'up fails for what was stopped'
for object in before meanwhile without; do
  as_appliance get "$object" - | cmp -s - "$0" || complain "$object is not what was written"
done
run remove || complain 'remove fails'
[ "$(daemons)" -eq 0 ] || complain "$(daemons) daemons run after remove"
[ ! -e "$folder" ] || complain "remove leaves $(ls "$folder")"
exit "$failed"
