# The disk listing into a table from device path to LUN serial, with the checks that the listing's form asks for.
ruled {
    if (NF < 7 || split($0, group, "(") != 5) exit
    split(group[5], serial, ")")
    serial_of[$1] = serial[1]
    next
}
length($0) == 122 && /^=+$/ { ruled = 1 }
