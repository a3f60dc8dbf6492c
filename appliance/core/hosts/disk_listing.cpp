#include "appliance/core/hosts/disk_listing.h"

#include "appliance/core/conventions/error.h"
#include "appliance/core/conventions/names.h"

namespace lumora {

namespace {

constexpr size_t RULE_LENGTH = 122;

}  // namespace

Lines listDisks(const std::string& host, const std::vector<SDisk>& disks)
{
    if (disks.empty()) return {"Host " + inQuotes(host) + " has no disks."};
    Lines lines = {"Disks of host " + host, "Device (Vendor) (Type) (Size) (Serial) State Access",
                   std::string(RULE_LENGTH, '=')};
    for (const SDisk& disk : disks) {
        lines.push_back(disk.device.path.string() + " (LUMORA) (VDISK) (" + formatSize(disk.device.volume.size) +
                        ") (" + disk.serial + ") online rw");
    }
    return lines;
}

}  // namespace lumora
