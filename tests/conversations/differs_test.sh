#!/usr/bin/env bash
# script/replay tells every kind of difference: differs_test.sh BIN
set -uo pipefail
cd "$(dirname "$0")" || exit 1
bin=$1
scratch=$(mktemp -d "${TMPDIR:-/tmp}/cdpfi-differs.XXXXXX") || exit 1
trap 'rm -rf "$scratch"' EXIT

failed=0
# expect NAME EDIT TEXT: a healthy conversation with an edit of sed's is told to differ, in a line with the text
expect() {
  sed "$2" healthy.jsonl >"$scratch/$1.jsonl"
  told=$(../../script/replay --bin "$bin" "$scratch/$1.jsonl" 2>&1)
  status=$?
  if [ "$status" -ne 1 ] || ! grep -qF -- "$3" <<<"$told"; then
    printf '%s: status %s, and no line with %s:\n%s\n' "$1" "$status" "$3" "$told" >&2
    failed=1
  fi
}
expect exit-code 's/{"end":{"exit":0/{"end":{"exit":8/' '-exit 8'
expect document 's/\\"state\\": \\"complete\\"/\\"state\\": \\"partial\\"/' '-    "state": "partial"'
expect answer '/create *annotation/s/"exit":0/"exit":3/' '-exit 0'
expect command 's/create *annotation/create annotations/' 'not asked then: server alpha; create annotation '
expect further-command '2{p;s/listdisk/scandisk/}' 'asked then and not now: 1 of '
expect trace '$i{"trace":{"level":2,"component":"cdpfi","text":"nothing traces this"}}' '-trace 2 nothing traces this'
expect version '1s/"version":1/"version":2/' 'no conversation of version 1'
expect no-end '$d' 'it has no end: the command was killed'

# A process may get the number that is in the name of a checkpoint which was there before it.
jq -c 'if has("format") then .checkpoint = .catalog.snapshot[0].checkpoint else . end' two-hosts.jsonl >"$scratch/number.jsonl"
told=$(../../script/replay --bin "$bin" "$scratch/number.jsonl" 2>&1) || { printf 'number: %s\n' "$told" >&2 && failed=1; }
exit "$failed"
