// The appliance's answer to "show timeimage".
#include <algorithm>

#include "fuzz/listing.h"
#include "providers/cdp/lmr/listings/lmr_timeimage_listing.h"

using cdpfi::EImageListing;
using cdpfi::SLMRImageListing;
using cdpfi::SLMRImageLun;
using fuzz::require;

namespace {

// A blank beside each value keeps an empty one a piece of the line.
std::vector<std::string> write(const SLMRImageListing& listing)
{
    std::vector<cdpfi::answers::SImageLun> luns;
    for (const SLMRImageLun& lun : listing.luns) {
        luns.push_back({{" " + std::string(lun.targetDevice), " " + std::string(lun.targetSerial)},
                        {" " + std::string(lun.sourceDevice), " " + std::string(lun.sourceSerial)}});
    }
    return base_test::linesOf(cdpfi::answers::timeImage("ti1", luns));
}

bool same(const SLMRImageLun& a, const SLMRImageLun& b)
{
    return a.targetDevice == b.targetDevice && a.targetSerial == b.targetSerial && a.sourceDevice == b.sourceDevice &&
           a.sourceSerial == b.sourceSerial;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::vector<std::string> lines = fuzz::linesOf(data, size);
    const SLMRImageListing listing = cdpfi::parseTimeImage(lines);
    for (const SLMRImageLun& lun : listing.luns) {
        for (const std::string_view value : {lun.targetDevice, lun.targetSerial, lun.sourceDevice, lun.sourceSerial}) {
            fuzz::requireRead(value, lines);
        }
    }
    require(listing.luns.size() <= lines.size(), "a line shows one LUN at most");
    require(listing.result == EImageListing::BAD_LUN || listing.badPieces.empty(), "pieces are those of a bad line");
    if (listing.result == EImageListing::NO_LUNS) {
        require(listing.luns.empty(), "nothing is read from a listing without the section");
        return 0;
    }
    const std::vector<std::string> written = write(listing);
    const SLMRImageListing again = cdpfi::parseTimeImage(written);
    require(again.result == EImageListing::COMPLETE, "an image that is written can be read");
    require(std::equal(again.luns.begin(), again.luns.end(), listing.luns.begin(), listing.luns.end(), same),
            "LUNs that are written are read back the same");
    return 0;
}
