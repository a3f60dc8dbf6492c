#!/bin/sh
# Answers as the appliance's shell (lmsh) and as the disk utility (kforutil), from the plain files in the folder "state"
# beside it. Every command is noted in state/log, one a line with single blanks.
#
#   <server>/hosts, <server>/cgroups     listings, as they stand
#   <server>/cg.<group>                  listing of a group, as it stands
#   <server>/ann.<group>.<name>          checkpoints; <server>/ti.<group>.<name> listings of time images
#   disks                                "path serial" lines; pending joins it at the delay-th discover
#   fail                                 one shell pattern a line: commands that match are refused
#   hollow                               if there: a new time image shows no LUNs section
state=$(dirname "$0")/state
set -f

refuse() {
    echo "$1"
    exit 1
}

note() {
    echo "$1" >>"$state/log"
    [ -f "$state/fail" ] || return 0
    while read -r pattern; do
        case "$1" in $pattern) refuse "Error: refused by the scenario" ;; esac
    done <"$state/fail"
}

unquote() {
    text=${1#\"}
    echo "${text%\"}"
}

discover() {
    delay=$(cat "$state/delay" 2>/dev/null || echo 1)
    echo $((delay - 1)) >"$state/delay"
    [ "$delay" -le 1 ] && [ -f "$state/pending" ] || return 0
    cat "$state/pending" >>"$state/disks"
    rm "$state/pending"
}

listdisk() {
    echo "Disks of this host"
    printf '=%.0s' $(seq 122)
    echo
    [ -f "$state/disks" ] || return 0
    while read -r path serial; do
        echo "$path (a) (b) (c) ($serial) online 10GB"
    done <"$state/disks"
}

case "$0" in
*kforutil)
    note "kforutil $1"
    case "$1" in
    discover) discover ;;
    listdisk) listdisk ;;
    esac
    exit 0
    ;;
esac

read -r word server
command=$(cat)
# shellcheck disable=SC2086 # the words of the command, without its doubled blanks and line ends
set -- ${command%exit*}
note "$server: $*"
own=$state/$server
[ -d "$own" ] || refuse "Error: no server $server"
kind="$1 $2"
name=$(unquote "$3")
group=$(unquote "$4")

createImage() {
    annotation=$(unquote "$7")
    [ -f "$own/ann.$group.$annotation" ] || refuse "Error: no annotation $annotation"
    image=$own/ti.$group.$name
    [ -f "$image" ] && refuse "Error: $name exists"
    if [ -f "$state/hollow" ]; then
        echo "nothing to see" >"$image"
        return
    fi
    echo "TimeImage LUNs:" >"$image"
    sed -n 's/^\(.*\) \[\(.*\)\] .*$/\2/p' "$own/cg.$group" | while read -r serial; do
        echo "image$serial [T$serial] <- lun$serial [$serial]" >>"$image"
        echo "/dev/image$serial T$serial" >>"$state/pending"
    done
}

# The images of a group by name.
listImages() {
    images=$(cd "$own" && set +f && ls -d "ti.$1."* 2>/dev/null | sed "s/^ti\\.$1\\.//")
    [ -n "$images" ] || images="There are none!"
    echo "$images"
}

case "$kind" in
"list hosts") cat "$own/hosts" ;;
"show host") echo "Host $name" ;;
"list cgroups") cat "$own/cgroups" ;;
"show cgroup") cat "$own/cg.$name" ;;
"create annotation")
    [ -f "$own/ann.$group.$name" ] && refuse "Error: $name exists"
    : >"$own/ann.$group.$name"
    ;;
"delete annotation")
    [ -f "$own/ann.$group.$name" ] || refuse "Error: no annotation $name"
    rm "$own/ann.$group.$name"
    ;;
"create timeimage") createImage "$@" ;;
"list timeimages") listImages "$name" ;;
"show timeimage") cat "$own/ti.$group.$name" ;;
"delete timeimage")
    [ -f "$own/ti.$group.$name" ] || refuse "Error: no time image $name"
    rm "$own/ti.$group.$name"
    ;;
"update timeimage") : ;;
*) refuse "Error: unknown command $kind" ;;
esac
