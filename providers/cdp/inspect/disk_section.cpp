#include "providers/cdp/inspect/disk_section.h"

#include "providers/cdp/lmr/listings/lmr_disk_listing.h"
#include "providers/cdp/lmr/listings/lmr_text.h"

namespace cdpfi::inspect {

namespace {

constexpr const char* NO_LISTING = "the answer to \"kforutil listdisk\" is no listing";

// no-disks = 'Host "' name '" has no disks.'
bool saysNoDisks(const std::vector<std::string>& lines)
{
    const std::string_view line = lines.size() == 1 ? trimBlanks(lines[0]) : std::string_view();
    return line.starts_with("Host \"") && line.ends_with("\" has no disks.");
}

}  // namespace

SDisks readDisks(const std::vector<std::string>& lines)
{
    SDisks disks;
    if (saysNoDisks(lines)) return disks;
    CLMRDiskListing listing;
    for (const std::string& line : lines) {
        if (listing.headingPassed() && trimBlanks(line).empty()) continue;
        SLMRDisk disk;
        const EDiskLine kind = listing.read(line, disk);
        if (kind == EDiskLine::HEADING) continue;
        if (kind != EDiskLine::DISK) {
            disks.problem = std::string(NO_LISTING) + ": [" + shortLine(line) + "] is no disk";
            return disks;
        }
        disks.devices.push_back({std::string(disk.path), std::string(disk.serial)});
    }
    if (!listing.headingPassed()) disks.problem = NO_LISTING;
    return disks;
}

SDisks readDisks(const SAnswer& answer)
{
    SDisks disks;
    if (!answer.problem && !answer.isCut) return readDisks(answer.lines);
    disks.problem = answer.problem ? answer.problem : std::string(NO_LISTING) + ": " + CUT_LISTING;
    return disks;
}

CDevicePaths::CDevicePaths(const SDisks& disks)
{
    for (const SDevice& device : disks.devices) {
        if (device.serial.empty()) continue;
        const auto [entry, isNew] = m_paths.emplace(device.serial, device.path);
        if (!isNew && device.path < entry->second) entry->second = device.path;
    }
}

std::optional<std::string> CDevicePaths::pathOf(const std::string& serial) const
{
    const auto found = m_paths.find(serial);
    return found == m_paths.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace cdpfi::inspect
