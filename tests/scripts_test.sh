#!/usr/bin/env bash
# Each script tells its use, from any folder, and does nothing for an option that it does not know.
set -uo pipefail
cd "$(dirname "$0")/../script" || exit 1

failed=0
complain() {
  printf '%s\n' "$1" >&2
  failed=1
}
for script in *; do
  for folder in . /; do
    told=$(cd "$folder" && "$OLDPWD/$script" --help </dev/null 2>/dev/null) || complain "$script --help fails in $folder"
    [ -n "$told" ] || complain "$script --help says nothing in $folder"
  done
  out=$(./"$script" --no-such-option </dev/null 2>/dev/null)
  [ $? -eq 2 ] || complain "$script takes an option that it does not know"
  [ -z "$out" ] || complain "$script tells its use on standard output though it was called wrongly"
done
exit "$failed"
