// The host's disk utility: what shows which LUN.
#include <algorithm>

#include "fuzz/listing.h"
#include "providers/cdp/lmr/listings/lmr_disk_listing.h"

using cdpfi::CLMRDiskListing;
using cdpfi::EDiskLine;
using cdpfi::SLMRDisk;
using fuzz::require;

namespace {

using cdpfi::answers::SLun;

struct SRead
{
    std::vector<SLun> disks;
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
        result.disks.push_back({std::string(disk.path), std::string(disk.serial)});
    }
    return result;
}

// A blank beside the serial keeps an empty one a piece of the line.
std::vector<std::string> write(std::vector<SLun> disks)
{
    for (SLun& disk : disks) {
        disk.serial.insert(0, 1, ' ');
    }
    return base_test::linesOf(cdpfi::answers::disks(disks));
}

bool same(const SLun& a, const SLun& b)
{
    return a.device == b.device && a.serial == b.serial;
}

// A path with a parenthesis adds a group, one that is nothing but a carriage return goes with the blanks.
bool isPlain(const std::vector<SLun>& disks)
{
    for (const SLun& disk : disks) {
        if (disk.device.empty() || disk.device.find('(') != std::string::npos) return false;
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
    require(std::ranges::equal(again.disks, listing.disks, same), "disks that are written are read back the same");
    return 0;
}
