// The answers to "list hosts", "list cgroups" and "list timeimages", as readers take them that must not believe a
// banner.
#include "fuzz/listing.h"
#include "providers/cdp/lmr/listings/lmr_name_listings.h"

using cdpfi::SLMRNameListing;
using fuzz::require;

namespace {

using CReader = SLMRNameListing (*)(const std::vector<std::string>&);

void check(CReader reader, const std::vector<std::string>& lines, const std::string& behind)
{
    const SLMRNameListing listing = reader(lines);
    require(listing.isListing || listing.names.empty(), "of what is no listing no name is taken");
    require(!listing.isListing || !listing.strayLine, "a listing has no stray line");
    require(!listing.strayLine || *listing.strayLine < lines.size(), "the stray line is one of the answer");
    std::vector<std::string> written;
    for (const std::string_view name : listing.names) {
        fuzz::requireRead(name, lines);
        require(!name.empty(), "a name is not empty");
        written.push_back(std::string(name) + behind);
    }
    if (written.empty()) return;
    require(reader(written).names == listing.names, "names that are written are read back the same");
    written.insert(written.begin(), "Welcome to the shell: type help.");
    require(!reader(written).isListing, "a greeting spoils the listing");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::vector<std::string> lines = fuzz::linesOf(data, size);
    check(cdpfi::readHostListing, lines, "  10.0.0.7");
    check(cdpfi::readGroupListing, lines, " luns=3 annotations=1");
    check(cdpfi::readTimeImageListing, lines, " 2026-11-21T01:51:22Z annotation=\"a\"");
    return 0;
}
