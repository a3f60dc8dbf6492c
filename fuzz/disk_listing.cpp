// The host's disk utility: what shows which LUN.
#include <utility>

#include "fuzz/listing.h"
#include "providers/cdp/lmr/listings/lmr_disk_listing.h"

using cdpfi::CLMRDiskListing;
using cdpfi::EDiskLine;
using cdpfi::SLMRDisk;
using fuzz::require;

namespace {

using CDisks = std::vector<std::pair<std::string, std::string>>;

struct SRead
{
    CDisks disks;
    bool complete = true;
};

SRead read(const std::vector<std::string>& lines)
{
    SRead result;
    CLMRDiskListing listing;
    bool inHeading = true;
    for (const std::string& line : lines) {
        SLMRDisk disk;
        const EDiskLine kind = listing.read(line, disk);
        require(inHeading || kind != EDiskLine::HEADING, "there is one heading");
        inHeading = kind == EDiskLine::HEADING;
        if (inHeading) continue;
        result.complete = kind == EDiskLine::DISK;
        if (kind != EDiskLine::TOO_FEW_FIELDS) fuzz::requireRead(disk.path, lines);
        if (!result.complete) break;
        fuzz::requireRead(disk.serial, lines);
        result.disks.emplace_back(disk.path, disk.serial);
    }
    return result;
}

std::vector<std::string> write(const CDisks& disks)
{
    std::vector<std::string> lines{"Device", std::string(122, '=')};
    for (const auto& [path, serial] : disks) {
        lines.push_back(path + " (0:0:1:0) LUMORA (disk) 10GB (online) ( " + serial + ")");
    }
    return lines;
}

// A path with a parenthesis adds a group, one that is nothing but a carriage return goes with the blanks.
bool isPlain(const CDisks& disks)
{
    for (const auto& [path, serial] : disks) {
        if (path.empty() || path.find('(') != std::string::npos) return false;
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const SRead listing = read(fuzz::linesOf(data, size));
    if (!isPlain(listing.disks)) return 0;
    const SRead again = read(write(listing.disks));
    require(again.complete, "disks that are written can be read");
    require(again.disks == listing.disks, "disks that are written are read back the same");
    return 0;
}
