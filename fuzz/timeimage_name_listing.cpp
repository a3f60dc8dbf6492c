// The appliance's answer to "list timeimages".
#include "fuzz/listing.h"
#include "providers/cdp/lmr/listings/lmr_timeimage_listing.h"

using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::vector<std::string> lines = fuzz::linesOf(data, size);
    if (cdpfi::isEmptyTimeImageList(lines)) require(lines.size() == 1, "the answer that there are none is one line");
    for (const std::string& line : lines) {
        std::string_view name;
        if (!cdpfi::parseTimeImageName(line, name)) {
            require(line.find_first_not_of(" \t\n") == std::string::npos, "only a blank line names no image");
            continue;
        }
        fuzz::requireRead(name, lines);
        require(name.find_first_of(" \t") == std::string_view::npos, "a name is one word");
        std::string_view again;
        const std::string written = std::string(name) + "  2024-05-01 10:00:00";
        require(name.empty() || (cdpfi::parseTimeImageName(written, again) && again == name),
                "an image that is written is read back the same");
    }
    return 0;
}
