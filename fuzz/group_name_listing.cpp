// The appliance's answer to "list cgroups".
#include "fuzz/listing.h"
#include "providers/cdp/lmr/listings/lmr_inventory_listing.h"

using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::vector<std::string> lines = fuzz::linesOf(data, size);
    for (const std::string& line : lines) {
        std::string_view name = "untouched";
        const bool found = cdpfi::parseGroupName(line, name);
        require(found == (line.find("luns=") != std::string::npos),
                "a line with the mark names a group, no other does");
        if (!found) {
            require(name == "untouched", "a line that names no group leaves the name alone");
            continue;
        }
        fuzz::requireRead(name, lines);
        std::string_view again;
        const std::string written = std::string(name) + " luns=3";
        require(cdpfi::parseGroupName(written, again) && again == name,
                "a group that is written is read back the same");
    }
    return 0;
}
