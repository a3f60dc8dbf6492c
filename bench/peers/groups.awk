# The listings of all consistency groups, one after the other, into tables from LUN serial to device and to group.
/^Consistency Group:/ { group = $3; next }
/^Protected LUNS:/ { protected = 1; next }
/^Monitor LUNS:/ { protected = 0; next }
protected {
    if (split($0, part, "[") != 2 || split(part[2], serial, "]") != 2) exit
    device_of[serial[1]] = part[1]
    group_of[serial[1]] = group
}
