// The appliance's answer to "show cgroup".
#include <algorithm>

#include "fuzz/listing.h"
#include "providers/cdp/lmr/listings/lmr_inventory_listing.h"

using cdpfi::EGroupListing;
using cdpfi::SLMRGroupListing;
using cdpfi::SLMRGroupLun;
using fuzz::require;

namespace {

// A blank beside each value keeps an empty one a piece of the line.
std::vector<std::string> write(const SLMRGroupListing& listing)
{
    std::vector<cdpfi::answers::SLun> luns;
    for (const SLMRGroupLun& lun : listing.luns) {
        luns.push_back({" " + std::string(lun.device), " " + std::string(lun.serial)});
    }
    return base_test::linesOf(cdpfi::answers::group("cg1", luns));
}

bool same(const SLMRGroupLun& a, const SLMRGroupLun& b)
{
    return a.device == b.device && a.serial == b.serial;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::vector<std::string> lines = fuzz::linesOf(data, size);
    const SLMRGroupListing listing = cdpfi::parseGroup(lines);
    for (const SLMRGroupLun& lun : listing.luns) {
        fuzz::requireRead(lun.device, lines);
        fuzz::requireRead(lun.serial, lines);
    }
    require(fuzz::isWithin(listing.badLine, lines), "the bad line is one of the listing");
    require(fuzz::isWithin(listing.badDevice, lines), "the bad device stands in the listing");
    const bool stopped = listing.result == EGroupListing::BAD_DEVICE || listing.result == EGroupListing::BAD_SERIAL;
    if (listing.result != EGroupListing::COMPLETE && !stopped) {
        require(listing.luns.empty(), "nothing is read from a listing that lacks a section");
        return 0;
    }
    const int section = std::max(listing.end - listing.begin - 1, 0);
    const auto read = static_cast<int>(listing.luns.size());
    require(stopped ? read < section : read == section, "every line of the section is a LUN, up to the bad one");

    const std::vector<std::string> written = write(listing);
    const SLMRGroupListing again = cdpfi::parseGroup(written);
    require(again.result == EGroupListing::COMPLETE, "a group that is written can be read");
    require(std::equal(again.luns.begin(), again.luns.end(), listing.luns.begin(), listing.luns.end(), same),
            "LUNs that are written are read back the same");
    return 0;
}
