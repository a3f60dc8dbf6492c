#!/usr/bin/env bash
# The units of the examples are such as systemd understands without a complaint.
set -euo pipefail
cd "$(dirname "$0")/../../examples"
if ! command -v systemd-analyze >/dev/null; then
  echo 'systemd-analyze is not installed (package systemd)'
  exit 77
fi
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
for unit in */*.service */*.timer; do
  # As systemd names the instance of a template. Where a unit's program is to be put there is none here.
  instance=$folder/$(basename "${unit/@./@job.}")
  sed 's,^ExecStart=/usr/local/lib/[^ ]*,ExecStart=/bin/true,' "$unit" >"$instance"
done
told=$(systemd-analyze verify "$folder"/*.service "$folder"/*.timer 2>&1) || told+=$'\nsystemd-analyze does not take the units'
[ -z "$told" ] || { printf '%s\n' "$told" && exit 1; }
printf 'Ran systemd-analyze on %s units\n' "$(find "$folder" -type f | wc -l)"
